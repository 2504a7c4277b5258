#include "reports/format.h"

#include <QLocale>

namespace varemo::reports {

QString formatMoney(double value)
{
    static const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    // -0,00 would read as a debt that does not exist
    if (value > -0.005 && value < 0.005)
        value = 0;
    return brazil.toString(value, 'f', 2);
}

} // namespace varemo::reports
