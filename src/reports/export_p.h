#pragma once

#include "reports/table.h"

#include <QByteArray>
#include <QString>

namespace varemo::reports::detail {

// Puts `bytes` in place of `fileName` in one step: a failed write leaves any older file whole.
// False with a Portuguese reason when the file cannot be written.
bool saveFile(const QString& fileName, const QByteArray& bytes, QString* error);

// The header of the text column; the number columns take their titles from the table.
inline const QString TextColumnTitle = QStringLiteral("Descrição");

// How many number columns a table prints: two are quantity and amount, one is the amount alone.
inline bool hasQuantityColumn(const Table& table)
{
    return table.columns.size() >= 2;
}
inline bool hasAmountColumn(const Table& table)
{
    return !table.columns.isEmpty();
}

} // namespace varemo::reports::detail
