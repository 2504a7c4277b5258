#pragma once

#include "reports/document.h"
#include "reports/table.h"

namespace varemo::reports {

// A report's lines on A4 pages: the title and subtitle lines on the first page, the number
// columns' titles on every page, names indented by level, amounts right-aligned in their
// columns, a heading never alone at a page's foot, "Página N" at every page's foot and a
// table-of-contents entry for every heading.
Document layoutReport(const Table& table, QSizeF pageSize = a4());

} // namespace varemo::reports
