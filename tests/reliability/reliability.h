#pragma once

// Shared by the tests that put the program beside another process or kill it: the other
// process, and what the company file holds row by row.

#include "app/cp1252.h"
#include "app/state.h"
#include "editor/contas.h"
#include "editor/widgets.h"
#include "reports/runreport.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QFile>
#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace varemo::test {

// tests/reliability/child_program.cpp, built beside the tests.
inline QString childProgram()
{
    return qEnvironmentVariable("VAREMO_TEST_CHILD_DIR") + QStringLiteral("/child_program");
}

// While it lives, the companies the tests make are put on the test server or kept in their file.
class EngineChoice {
public:
    explicit EngineChoice(bool server)
        : m_before(qgetenv("VAREMO_TEST_ENGINE"))
    {
        qputenv("VAREMO_TEST_ENGINE", server ? "postgresql" : "sqlite");
    }
    ~EngineChoice() { qputenv("VAREMO_TEST_ENGINE", m_before); }
    EngineChoice(const EngineChoice&) = delete;
    EngineChoice& operator=(const EngineChoice&) = delete;
    static bool serverInstalled()
    {
        return QFile::exists(QStringLiteral("/usr/lib/postgresql/15/bin/initdb"));
    }

private:
    QByteArray m_before;
};

// A second process holding the file or listening as a running copy: it says "locked" once it
// holds, and lets go when a line reaches its standard input (or by itself, when told to).
class OtherProcess {
public:
    explicit OtherProcess(const QStringList& arguments)
    {
        m_process.start(childProgram(), arguments);
        m_holds = readLine() == "locked";
    }
    ~OtherProcess() { kill(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    bool holds() const { return m_holds; }
    QString errors() { return QString::fromLocal8Bit(m_process.readAllStandardError()); }
    // Tells it to let go, without waiting for it.
    void letGo()
    {
        if (m_process.state() == QProcess::Running && !std::exchange(m_toldToLetGo, true)) {
            m_process.write("\n");
            m_process.waitForBytesWritten(30000);
        }
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
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(30000);
        }
    }

private:
    // However loaded the machine, a line comes or the process ends: no fixed wait decides.
    QByteArray readLine()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(60000))
                return {};
        }
        return m_process.readLine().trimmed();
    }

    QProcess m_process;
    bool m_holds = false;
    bool m_toldToLetGo = false;
};

// The file's integrity, its schema and every row of every table as "Table: a|b|c", sorted,
// through a connection of its own opened read-write as the program opens it (a journal left
// by a kill is rolled back first). The autonumber counters only when asked for.
inline QStringList fileRows(const QString& path, bool counters = false)
{
    static int serial = 0;
    const QString name = QStringLiteral("file-rows-%1").arg(++serial);
    QStringList rows;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        db.open();
        QSqlQuery query(db);
        query.exec(QStringLiteral("PRAGMA integrity_check"));
        rows << QStringLiteral("integrity: ") + (query.next() ? query.value(0).toString() : QString());
        QStringList tables {QStringLiteral("sqlite_master")};
        query.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'"));
        while (query.next())
            tables << query.value(0).toString();
        if (!counters)
            tables.removeAll(QStringLiteral("sqlite_sequence"));
        for (const QString& table : std::as_const(tables)) {
            query.exec(QStringLiteral("SELECT * FROM \"%1\"").arg(table));
            while (query.next()) {
                QStringList cells;
                for (int i = 0; i < query.record().count(); ++i)
                    cells << (query.isNull(i) ? QStringLiteral("<null>") : query.value(i).toString());
                rows << table + QStringLiteral(": ") + cells.join(QLatin1Char('|'));
            }
        }
    }
    QSqlDatabase::removeDatabase(name);
    std::sort(rows.begin(), rows.end());
    return rows;
}

// The rows gone ("-Table: ...") and the rows new ("+Table: ...") from one state to another.
inline QStringList changes(QStringList before, const QStringList& after)
{
    QStringList added;
    for (const QString& row : after) {
        if (!before.removeOne(row))
            added << QLatin1Char('+') + row;
    }
    for (QString& row : before)
        row.prepend(QLatin1Char('-'));
    return before + added;
}

// A person who answers Yes to every question.
class YesDesktop : public FakeDesktop {
public:
    int msgbox(const QString& prompt, int buttons, const QString& title) override
    {
        FakeDesktop::msgbox(prompt, buttons, title);
        return (buttons & 0xF) == vb::YesNo ? vb::Yes : vb::OK;
    }
};

inline QStringList titles(const QList<Box>& boxes)
{
    QStringList out;
    for (const Box& box : boxes)
        out << box.title;
    return out;
}

// The suite's error log as the other modules read it.
inline QString errorLog(const TestCompany& company)
{
    return cp1252::decode(readFile(company.errorLogPath()));
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
