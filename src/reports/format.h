#pragma once

#include <QString>

namespace varemo::reports {

// A money amount as the reports print it, "##,##0.00" in Brazilian Portuguese: 1.234,50.
QString formatMoney(double value);

} // namespace varemo::reports
