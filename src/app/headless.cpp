// The "relatorio" commands: a report written to files from a script or a scheduled job.

#include "app/headless.h"

#include "app/commandline.h"
#include "app/consoledesktop.h"
#include "app/desktop.h"
#include "app/startup.h"
#include "app/state.h"
#include "data/recordset.h"
#include "reports/export.h"
#include "reports/relcontas.h"
#include "reports/relpersonal.h"
#include "reports/reportlayout.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>

#include <optional>

namespace varemo {

namespace {

void say(const QString& text)
{
    ConsoleDesktop::say(text);
}

// The saved definition of this name, compared as the database compares names (letter case
// aside), with its name as saved.
std::optional<std::pair<qint32, QString>> findDefinition(Database& database, const QString& name)
{
    const auto reports = database.openRecordset(QStringLiteral("Relatorios"), RecordsetType::Table);
    std::optional<std::pair<qint32, QString>> found;
    for (; !found && !reports->eof(); reports->moveNext()) {
        const QString stored = reports->value(QStringLiteral("NomeRelatorio")).toString();
        if (stored.compare(name, Qt::CaseInsensitive) == 0)
            found = std::pair(reports->value(QStringLiteral("CodigoRelatorio")).toInt(), stored);
    }
    reports->close();
    return found;
}

std::optional<reports::Table> buildTable(const CommandLine& line, Database& database)
{
    const QDate today = QDate::currentDate();
    if (line.report == QLatin1String("plano"))
        return reports::relContasTable(database, line.level, today);
    const auto definition = findDefinition(database, line.reportName);
    if (!definition) {
        say(QStringLiteral("Relatório personalizado não encontrado: \"%1\"").arg(line.reportName));
        return std::nullopt;
    }
    return reports::relPersonalTable(database, reports::definitionEntries(database, definition->first),
        definition->second, line.from, line.to, today);
}

bool writeOutputs(const reports::Table& table, const QString& pdf, const QString& xlsx, const QString& csv)
{
    bool written = true;
    QString error;
    const auto check = [&](bool ok) {
        if (!ok)
            say(error);
        written = written && ok;
    };
    if (!pdf.isEmpty())
        check(reports::writePdfFile(reports::layoutReport(table), pdf, &error));
    if (!xlsx.isEmpty())
        check(reports::writeXlsx(table, xlsx, &error));
    if (!csv.isEmpty())
        check(reports::writeCsv(table, csv, &error));
    return written;
}

QString absolute(const QString& path)
{
    return path.isEmpty() ? path : QFileInfo(path).absoluteFilePath();
}

} // namespace

bool openCompanyForCommand(const QString& programFolder, AppState& state, ConsoleDesktop& desktop)
{
    const QString folder
        = programFolder.isEmpty() ? QCoreApplication::applicationDirPath() : absolute(programFolder);
    if (!QFileInfo(folder).isDir()) {
        say(QStringLiteral("Pasta do programa não encontrada: %1").arg(QDir::toNativeSeparators(folder)));
        return false;
    }
    if (!openCompany(folder, state, desktop)) {
        say(QStringLiteral("Não foi possível abrir a empresa da pasta do programa %1")
                .arg(QDir::toNativeSeparators(folder)));
        return false;
    }
    return true;
}

int runReport(const CommandLine& line, int argc, char** argv)
{
    // Fonts for the PDF need a GUI application, but never a display: a report runs from cron.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    // Opening the company changes the current folder: relative names are taken from here.
    const QString pdf = absolute(line.pdf);
    const QString xlsx = absolute(line.xlsx);
    const QString csv = absolute(line.csv);
    AppState state;
    ConsoleDesktop desktop;
    if (!openCompanyForCommand(line.programFolder, state, desktop))
        return ExitFailed;
    std::optional<reports::Table> table;
    try {
        table = buildTable(line, *state.database);
        if (table)
            table->company = state.companyName.trimmed().toUpper();
    } catch (const JetError& error) {
        say(QStringLiteral("Erro %1 ao ler a empresa: %2").arg(error.number()).arg(error.description()));
    }
    state.database->close();
    if (!table)
        return ExitFailed;
    return writeOutputs(*table, pdf, xlsx, csv) ? 0 : ExitFailed;
}

} // namespace varemo
