#pragma once

// A user action killed after each of its statements, in a child process, on a small
// company: whatever the moment, the file holds the state before the action or the state
// after it, never a mix, and the program starts on it.

#include "app/startup.h"
#include "app/state.h"
#include "editor/contas.h"
#include "editor/widgets.h"
#include "reliability.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

#include <array>
#include <memory>

namespace varemo::test::crash {

// Every table of a company file, schema and autonumber counters included, each row's cells
// as text, rows sorted: two files hold the same data exactly when their dumps are equal.
using Dump = QMap<QString, QStringList>;

struct FileCheck {
    QString integrity;
    Dump dump;
};

// Opened read-write as the program opens it: a journal left by a kill is rolled back first.
inline FileCheck inspect(const QString& path)
{
    static int serial = 0;
    const QString name = QStringLiteral("crash-check-%1").arg(++serial);
    FileCheck check;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        db.open();
        QSqlQuery query(db);
        query.exec(QStringLiteral("PRAGMA integrity_check"));
        check.integrity = query.next() ? query.value(0).toString() : db.lastError().text();
        QStringList tables {QStringLiteral("sqlite_master")};
        query.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'"));
        while (query.next())
            tables << query.value(0).toString();
        for (const QString& table : std::as_const(tables)) {
            QStringList& rows = check.dump[table];
            query.exec(QStringLiteral("SELECT * FROM \"%1\"").arg(table));
            while (query.next()) {
                QStringList cells;
                for (int i = 0; i < query.record().count(); ++i)
                    cells << (query.isNull(i) ? QStringLiteral("<null>") : query.value(i).toString());
                rows << cells.join(QLatin1Char('|'));
            }
            rows.sort();
        }
    }
    QSqlDatabase::removeDatabase(name);
    return check;
}

inline QStringList changedTables(const Dump& before, const Dump& after)
{
    QStringList changed;
    for (auto table = after.cbegin(); table != after.cend(); ++table) {
        if (before.value(table.key()) != table.value())
            changed << table.key();
    }
    return changed;
}

// The program started on the company as after a power cut: its record counter, or why it
// did not start.
inline QString programCounter(const TestCompany& company)
{
    AppState state;
    FakeDesktop desktop;
    const std::unique_ptr<Contas> window = start(company.programFolder(), state, desktop);
    if (!window || !desktop.boxes.isEmpty())
        return QStringLiteral("did not start: ") + desktop.boxes.value(0).prompt;
    const QString counter = window->Status->panelText(StatusBar::Record);
    window->Form_Unload();
    return counter;
}

struct ChildRun {
    ChildRun(int k = 0, bool withSpill = false)
        : killAt(k)
        , spill(withSpill)
    {
    }
    int killAt;
    bool spill;
    bool killed = false;
    int exitCode = 0;
    QStringList statements;
    QString output; // what the child said on stderr
};

// Two installations, each with its child, so that one child runs while the other's
// leftovers are checked.
class Harness {
public:
    Harness(const QString& action, const QStringList& setup)
        : m_action(action)
    {
        for (const QString& statement : setup)
            m_slots[0].company.exec(statement);
        m_slots[0].company.closeSql();
        m_template = readFile(m_slots[0].company.databasePath());
    }

    const TestCompany& company(int slot) const { return m_slots[std::size_t(slot)].company; }
    QString beforeCopy() const { return company(0).root() + QStringLiteral("before.mdb"); }

    // A fresh copy of the company, then the child on it.
    void launch(int slot, int killAt, bool spill)
    {
        Slot& s = m_slots[std::size_t(slot)];
        writeFile(s.company.databasePath(), m_template);
        QFile::remove(s.company.databasePath() + QStringLiteral("-journal"));
        QFile::remove(s.company.errorLogPath());
        s.run = ChildRun(killAt, spill);
        s.process = std::make_unique<QProcess>();
        s.process->setWorkingDirectory(s.company.root());
        QStringList arguments {m_action, s.company.programFolder(), QString::number(killAt),
            spill ? QStringLiteral("spill") : QStringLiteral("normal")};
        if (killAt == 0)
            arguments << beforeCopy();
        s.process->start(childProgram(QStringLiteral("crash")), arguments);
    }

    ChildRun finish(int slot)
    {
        Slot& s = m_slots[std::size_t(slot)];
        s.process->waitForFinished(120000);
        s.run.killed = s.process->exitStatus() == QProcess::CrashExit;
        const QString out = QString::fromUtf8(s.process->readAllStandardOutput());
        s.run.statements = out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        s.run.output = QString::fromUtf8(s.process->readAllStandardError());
        s.run.exitCode = s.process->exitCode();
        s.process.reset();
        return s.run;
    }

private:
    struct Slot {
        TestCompany company;
        std::unique_ptr<QProcess> process;
        ChildRun run;
    };
    QString m_action;
    std::array<Slot, 2> m_slots;
    QByteArray m_template;
};

// What the kills of one mode left: the figures of the run.
struct Tally {
    int survived = 0, before = 0, after = 0, hotJournals = 0, changedFiles = 0;
};

struct Expected {
    int count = 0; // statements of the whole action
    int commitAt = 0; // the COMMIT's place among them, from 1
    QByteArray beforeBytes;
    Dump before, after;
};

// What is wrong with what a child left on `company`, empty when nothing is.
inline QString verify(const TestCompany& company, const ChildRun& run, const Expected& expected, Tally& tally)
{
    if (run.killed != (run.killAt <= expected.count)
        || (!run.killed && run.statements.size() != expected.count))
        return QStringLiteral("ran %1 statements ").arg(run.statements.size()) + run.output;
    const bool hot = QFileInfo(company.databasePath() + QStringLiteral("-journal")).size() > 0;
    const bool changed = hot && readFile(company.databasePath()) != expected.beforeBytes;
    const QString counter = programCounter(company);
    const FileCheck file = inspect(company.databasePath());
    const bool done = run.killAt >= expected.commitAt;
    const Dump& state = done ? expected.after : expected.before;
    if (file.integrity != QLatin1String("ok"))
        return file.integrity;
    if (file.dump != state)
        return QStringLiteral("not the state %1, see ").arg(done ? "after" : "before")
            + changedTables(state, file.dump).join(QLatin1Char(' '));
    if (counter != QStringLiteral("Registro 1/%1").arg(state.value(QStringLiteral("NivelCategoria4")).size()))
        return counter;
    if (run.killed) {
        ++tally.survived;
        ++(done ? tally.after : tally.before);
        tally.hotJournals += hot;
        tally.changedFiles += changed;
    }
    return {};
}

// Runs the action whole, then kills it after each of its statements in both modes (and
// once past its last, where it must end by itself); `written` are the tables it changes.
inline void killEveryStatement(const QString& action, const QStringList& setup, const QStringList& written)
{
    Harness harness(action, setup);
    harness.launch(0, 0, false);
    const ChildRun whole = harness.finish(0);
    QVERIFY2(!whole.killed && whole.exitCode == 0, qPrintable(whole.output));
    QVERIFY2(!QFile::exists(harness.company(0).errorLogPath()), "the action failed into the error log");
    // One transaction: a kill anywhere before its COMMIT must leave nothing.
    QCOMPARE(whole.statements.count(QStringLiteral("BEGIN IMMEDIATE")), 1);
    QCOMPARE(whole.statements.count(QStringLiteral("COMMIT")), 1);
    Expected expected;
    expected.count = int(whole.statements.size());
    expected.commitAt = int(whole.statements.indexOf(QStringLiteral("COMMIT"))) + 1;
    expected.beforeBytes = readFile(harness.beforeCopy());
    expected.before = inspect(harness.beforeCopy()).dump;
    expected.after = inspect(harness.company(0).databasePath()).dump;
    QCOMPARE(changedTables(expected.before, expected.after), written);

    QList<ChildRun> points;
    for (const bool spill : {false, true}) {
        for (int k = 1; k <= expected.count + 1; ++k)
            points.append(ChildRun(k, spill));
    }
    // Both children busy: one child's leftovers are checked while the other runs.
    std::array<Tally, 2> tally {};
    QStringList failures;
    for (qsizetype i = 0; i < points.size() + 2; ++i) {
        const int slot = int(i % 2);
        if (i >= 2) {
            const ChildRun run = harness.finish(slot);
            const QString wrong = verify(harness.company(slot), run, expected, tally[run.spill ? 1 : 0]);
            if (!wrong.isEmpty())
                failures << QStringLiteral("%1 k=%2: ").arg(run.spill ? "spill" : "normal").arg(run.killAt)
                        + wrong;
        }
        if (i < points.size())
            harness.launch(slot, points[i].killAt, points[i].spill);
    }
    for (const bool spill : {false, true}) {
        const Tally& t = tally[spill ? 1 : 0];
        qInfo("%s, %s: %d of %d kill points survived (%d before, %d after), %d hot journals, %d with the "
              "file already changed",
            qPrintable(action), spill ? "one-page cache" : "normal cache", t.survived, expected.count,
            t.before, t.after, t.hotJournals, t.changedFiles);
    }
    QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
}

} // namespace varemo::test::crash
