// Reports as spreadsheets.

#include "reports/export.h"

namespace varemo::reports {

bool writeXlsx(const Table&, const QString&, QString* error)
{
    if (error)
        *error = QStringLiteral("A exportação de planilhas não está disponível.");
    return false;
}

bool writeCsv(const Table&, const QString&, QString* error)
{
    if (error)
        *error = QStringLiteral("A exportação de planilhas não está disponível.");
    return false;
}

} // namespace varemo::reports
