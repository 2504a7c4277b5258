#pragma once

// Shared by the tests that put the program beside another process: the other process, what
// the company file holds row by row, and the path a user types for a new item.

#include "app/cp1252.h"
#include "app/state.h"
#include "editor/contas.h"
#include "editor/widgets.h"
#include "reports/runreport.h"
#include "support/company.h"

#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>

#include <algorithm>

namespace varemo::test {

// A program of tests/reliability/child_*.cpp, built beside the tests.
inline QString childProgram(const QString& name)
{
    return qEnvironmentVariable("VAREMO_TEST_CHILD_DIR") + QStringLiteral("/child_") + name;
}

// A second process: it says "locked" once it holds what it was asked to hold, and lets go
// when a line reaches its standard input (or by itself, when told to after a while).
class OtherProcess {
public:
    explicit OtherProcess(const QString& program, const QStringList& arguments)
    {
        m_process.setProgram(program);
        m_process.setArguments(arguments);
        m_process.start();
        m_holds = readLine() == "locked";
    }
    ~OtherProcess() { kill(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    bool holds() const { return m_holds; }
    qint64 pid() const { return m_process.processId(); }
    QString errors() { return QString::fromLocal8Bit(m_process.readAllStandardError()); }

    // Tells it to let go, without waiting for it.
    void letGo()
    {
        if (m_process.state() != QProcess::Running || m_toldToLetGo)
            return;
        m_toldToLetGo = true;
        m_process.write("\n");
        m_process.waitForBytesWritten(30000);
    }
    // Lets go (when it has not yet) and waits for it to end; false unless it let go cleanly.
    bool release()
    {
        letGo();
        const bool released = readLine() == "released";
        return m_process.waitForFinished(30000) && released && m_process.exitStatus() == QProcess::NormalExit
            && m_process.exitCode() == 0;
    }
    // Ends it at once, as a crash or the task manager would.
    void kill()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.kill();
        m_process.waitForFinished(30000);
    }

private:
    QByteArray readLine()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(30000))
                return {};
        }
        return m_process.readLine().trimmed();
    }

    QProcess m_process;
    bool m_holds = false;
    bool m_toldToLetGo = false;
};

// Every row of every table of the company file, as "Table: a|b|c", sorted. SQLite's
// autonumber counters are its bookkeeping, not the company's data.
inline QStringList tableRows(TestCompany& company)
{
    QStringList rows;
    {
        QSqlQuery tables(company.sql());
        tables.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
                                   "'sqlite%' ORDER BY name"));
        QStringList names;
        while (tables.next())
            names << tables.value(0).toString();
        for (const QString& table : names) {
            QSqlQuery query(company.sql());
            query.exec(QStringLiteral("SELECT * FROM \"%1\"").arg(table));
            while (query.next()) {
                QStringList cells;
                for (int column = 0; column < query.record().count(); ++column)
                    cells << query.value(column).toString();
                rows << table + QStringLiteral(": ") + cells.join(QLatin1Char('|'));
            }
        }
    }
    company.closeSql(); // no lock of ours may stay on the file
    std::sort(rows.begin(), rows.end());
    return rows;
}

// The rows gone ("-Table: ...") and the rows new ("+Table: ...") from one state to another.
inline QStringList changes(const QStringList& before, const QStringList& after)
{
    QStringList out;
    for (const QString& row : before) {
        if (!after.contains(row))
            out << QLatin1Char('-') + row;
    }
    for (const QString& row : after) {
        if (!before.contains(row))
            out << QLatin1Char('+') + row;
    }
    return out;
}

// The suite's error log as the other modules read it.
inline QString errorLog(const TestCompany& company)
{
    return cp1252::decode(readFile(company.errorLogPath()));
}

// Insert mode with a new sector, group, account and item typed under "Despesas".
inline void typeNewPath(Contas& window)
{
    window.tool_click(QStringLiteral("ID_Incluir"));
    const QStringList path {QStringLiteral("Despesas"), QStringLiteral("Despesas Novas"),
        QStringLiteral("Grupo Novo"), QStringLiteral("Conta Nova"), QStringLiteral("Item Novo")};
    for (std::size_t level = 0; level < 5; ++level)
        window.Combo[level]->setText(path[qsizetype(level)]);
}

// The items the chart listing prints; -1 when it was not built.
inline int chartDetails(AppState& state, Desktop& desktop)
{
    state.listingLevel = 4;
    const auto report = makeReport(state, desktop, ChartListingReport);
    if (!report)
        return -1;
    return int(std::count_if(report->table.lines.begin(), report->table.lines.end(),
        [](const reports::Line& line) { return line.kind == reports::Line::Kind::Detail; }));
}

} // namespace varemo::test
