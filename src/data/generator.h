#pragma once

#include <QDate>
#include <QString>

#include <cstdint>

// Companies shaped like the demo at any size, for measuring the program on large files.
namespace varemo::demo {

// Creates (replacing any file there) a company file at `path` with `items` level-4 rows and
// `lines` movement lines spread over the year ending `end`, 60% sales and 40% purchases.
// The demo's categories, sectors and groups are kept; its accounts and items are repeated
// with a number ("Aluguel 2") until there are enough, and the product lines grow with them
// (half the items are products, under a sales group and under a supplier group).
// Throws std::invalid_argument for fewer than 8 items, JetError from the engine.
void generateCompany(
    const QString& path, int items, int lines, std::uint64_t seed = 0, QDate end = QDate::currentDate());

} // namespace varemo::demo
