#pragma once

#include "reports/relpersonal.h"

#include <QDate>
#include <QString>

#include <optional>

namespace varemo {

class Database;

namespace reports {

// The chart listed down to `level` (1 Setor .. 4 Item): every name on a line of its own under
// its parent, alphabetical at every level, Categoria names in capitals. The names above the
// listing level are headings, those of the level itself details. Throws JetError.
Table relContasTable(Database& database, int level, QDate today);
// The same in steps: nothing when `progress` stops it. For a level outside 1..4 the
// statement `current` is listed as it stands.
std::optional<Table> buildRelContas(
    Database& database, int level, QDate today, const Progress& progress, const QString& current = {});

} // namespace reports
} // namespace varemo
