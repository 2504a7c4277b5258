#pragma once

#include "reports/document.h"
#include "reports/table.h"

#include <QString>

namespace varemo::reports {

// The report's lines as a spreadsheet: one row per printed line, levels as indentation,
// numbers as numbers in the "##,##0.00" format, sums as formulas. False with a Portuguese
// reason in `error` when the file cannot be written.
bool writeXlsx(const Table& table, const QString& fileName, QString* error = nullptr);
// The same rows as text: UTF-8 with a byte-order mark, ";" between fields, decimal comma.
bool writeCsv(const Table& table, const QString& fileName, QString* error = nullptr);
// A laid-out report as PDF, refusing a bad destination with the same reasons as the two above.
bool writePdfFile(const Document& document, const QString& fileName, QString* error = nullptr);

} // namespace varemo::reports
