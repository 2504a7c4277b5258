#pragma once

// A user action killed after each of its statements, in a child process, on a small
// company: whatever the moment, the file holds the state before the action or the state
// after it, never a mix, and the program starts on it.

#include "app/startup.h"
#include "reliability.h"
#include "support/fakedesktop.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <memory>

namespace varemo::test::crash {

// What a person does, as child_program plays it ("arm" where the counting starts), and the
// tables the whole action changes; the rows are shared out between the two suites so that
// each ends in its time.
struct Row {
    int suite;
    const char* tag;
    const char* steps;
    const char* written;
};

inline constexpr Row Rows[] = {
    {0, "new sector, group, account and item",
        "click ID_Incluir; path Despesas|Despesas Novas|Grupo Novo|Conta Nova|Item Novo; arm; click "
        "ID_Gravar",
        "NivelCategoria1 NivelCategoria2 NivelCategoria3 NivelCategoria4 sqlite_sequence"},
    {0, "new group, account and item under a sector",
        "click ID_Incluir; path Despesas|Despesas Administrativas|Grupo Novo|Conta Nova|Item Novo; arm; "
        "click ID_Gravar",
        "NivelCategoria2 NivelCategoria3 NivelCategoria4 sqlite_sequence"},
    {0, "new item under an account", "at 4 8; click ID_Incluir; combo 4 Conta de água; arm; click ID_Gravar",
        "NivelCategoria4 sqlite_sequence"},
    {0, "item renamed", "at 4 8; click ID_Alterar; combo 4 Conta de energia; arm; click ID_Gravar",
        "NivelCategoria4"},
    {0, "item moved to another account",
        "at 4 8; click ID_Alterar; combo 3 Aluguel e condomínio; arm; click ID_Gravar", "NivelCategoria4"},
    {0, "account page, insert",
        "at 4 8; click ID_Conta; click ID_Incluir; texto 3 Telefone; arm; click ID_Gravar",
        "NivelCategoria3 sqlite_sequence"},
    {0, "account page, rename",
        "at 4 8; click ID_Conta; click ID_Alterar; texto 3 Água e luz; arm; click ID_Gravar",
        "NivelCategoria3"},
    {0, "item deleted", "click ID_Item; node 7N4; arm; click ID_Excluir", "NivelCategoria4"},
    {0, "account deleted", "click ID_Conta; node 8N3; arm; click ID_Excluir", "NivelCategoria3"},
    {0, "sector page, insert",
        "at 4 8; click ID_Setor; click ID_Incluir; texto 1 Despesas Gerais; arm; click ID_Gravar",
        "NivelCategoria1 sqlite_sequence"},
    {0, "group page, insert",
        "at 4 8; click ID_Grupo; click ID_Incluir; texto 2 Utilidades; arm; click ID_Gravar",
        "NivelCategoria2 sqlite_sequence"},
    {1, "definition renamed and marked again",
        "click ID_Relatorios; list Resultado Mensal; modal; nome Resultado Mensal Revisto; node 1N0; arm; "
        "escolha 0; disarm; back; click ID_Alterar",
        "RelatorioItens Relatorios"},
    {1, "definition deleted", "click ID_Relatorios; list Resultado Mensal; arm; click ID_Excluir",
        "RelatorioItens Relatorios"},
    {0, "group deleted", "click ID_Grupo; node 7N2; arm; click ID_Excluir", "NivelCategoria2"},
    {0, "new definition",
        "click ID_Relatorios; modal; nome Relatório Novo; node 3N1; node 8N4; arm; escolha 0; disarm; back; "
        "click ID_Incluir",
        "RelatorioItens Relatorios sqlite_sequence"},
    {1, "search marking",
        "modal; row 0 Item|contenha|Pão; row 1 Setor|contenha|Receitas; arm; procura 2; back; click "
        "ID_Filtrar",
        "NivelCategoria4 Procura"},
    // Coming up again, the search window clears the marks it left.
    {1, "search window brought up again",
        "modal; row 0 Item|contenha|Pão; row 1 Setor|contenha|Receitas; procura 2; back; click ID_Filtrar; "
        "modal; procura 1; back; arm; click ID_Filtrar",
        "NivelCategoria4 Procura"},
    {1, "search on five rows",
        "modal; row 0 Qualquer campo|contenha|Pão; row 1 Item|contenha|Pão; row 2 Setor|contenha|Receitas; "
        "row 3 Grupo|contenha|Vendas; row 4 Conta|seja igual a|Pães; arm; procura 2; back; click ID_Filtrar",
        "NivelCategoria4 Procura"},
    // Another week start and the other period type; the report that follows only reads.
    {1, "period confirmed",
        "click ID_Relatorios; list Resultado Mensal; modal; semana 2; retrocede; arm; botao 1; disarm; back; "
        "ver",
        "DadosEmpresa"},
};

struct ChildRun {
    int killAt = 0;
    bool spill = false;
    int exit = 0; // -1: killed
    QStringList statements;
    QString output; // what the child said on stderr
};

// Two installations, each with its child, so that one child runs while the other's
// leftovers are checked.
class Harness {
public:
    explicit Harness(const Row& row)
        : m_steps(QString::fromUtf8(row.steps))
    {
        // An account and a group with nothing under them, for the deletes.
        m_slots[0].company.exec(QStringLiteral("INSERT INTO NivelCategoria3 VALUES (8, 'Seguros', 5)"));
        m_slots[0].company.exec(QStringLiteral(
            "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1) VALUES (7, 'Sem Contas', 3)"));
        m_slots[0].company.closeSql();
        m_template = readFile(path(0));
    }

    QString path(int slot) const { return company(slot).databasePath(); }
    QString beforeCopy() const { return company(0).root() + QStringLiteral("before.mdb"); }
    bool failedIntoLog(int slot) const { return QFile::exists(company(slot).errorLogPath()); }

    // A fresh copy of the company, then the child on it.
    void launch(int slot, int killAt, bool spill)
    {
        Slot& s = m_slots[std::size_t(slot)];
        writeFile(path(slot), m_template);
        QFile::remove(path(slot) + QStringLiteral("-journal"));
        QFile::remove(s.company.errorLogPath());
        s.run = ChildRun {killAt, spill, 0, {}, {}};
        s.process = std::make_unique<QProcess>();
        s.process->start(childProgram(),
            {m_steps, s.company.programFolder(), QString::number(killAt),
                spill ? QStringLiteral("spill") : QStringLiteral("normal"),
                killAt == 0 ? beforeCopy() : QString()});
    }

    ChildRun finish(int slot)
    {
        Slot& s = m_slots[std::size_t(slot)];
        s.process->waitForFinished(120000);
        s.run.exit = s.process->exitStatus() == QProcess::CrashExit ? -1 : s.process->exitCode();
        s.run.statements
            = QString::fromUtf8(s.process->readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        s.run.output = QString::fromUtf8(s.process->readAllStandardError());
        s.process.reset();
        return s.run;
    }

    // The program started on what a kill left, as after a power cut: its record counter, or
    // why it did not start. Leftovers alike start alike: each is tried once.
    QString programCounter(int slot)
    {
        const QByteArray key = QCryptographicHash::hash(
            readFile(path(slot)) + readFile(path(slot) + QStringLiteral("-journal")),
            QCryptographicHash::Sha1);
        if (!m_counters.contains(key)) {
            AppState state;
            FakeDesktop desktop;
            const auto window = start(company(slot).programFolder(), state, desktop);
            if (!window || !desktop.boxes.isEmpty())
                return QStringLiteral("did not start: ") + desktop.boxes.value(0).prompt;
            m_counters[key] = window->Status->panelText(StatusBar::Record);
            window->Form_Unload();
        }
        return m_counters[key];
    }

private:
    struct Slot {
        TestCompany company;
        std::unique_ptr<QProcess> process;
        ChildRun run;
    };
    const TestCompany& company(int slot) const { return m_slots[std::size_t(slot)].company; }

    QString m_steps;
    std::array<Slot, 2> m_slots;
    QByteArray m_template;
    QHash<QByteArray, QString> m_counters;
};

// Runs the row's action whole, then kills it after each of its statements in both modes
// (and once past its last, where it must end by itself): integrity "ok", every table exactly
// as before the action until its COMMIT and exactly as after it from there, and the program
// starts on what is left.
inline void killEveryStatement(const Row& row)
{
    Harness harness(row);
    harness.launch(0, 0, false);
    const ChildRun whole = harness.finish(0);
    QVERIFY2(whole.exit == 0 && !harness.failedIntoLog(0), qPrintable(whole.output));
    // One transaction: a kill anywhere before its COMMIT must leave nothing.
    QCOMPARE(whole.statements.count(QStringLiteral("BEGIN IMMEDIATE")), 1);
    QCOMPARE(whole.statements.count(QStringLiteral("COMMIT")), 1);
    const int count = int(whole.statements.size());
    const int commitAt = int(whole.statements.indexOf(QStringLiteral("COMMIT"))) + 1;
    const QByteArray beforeBytes = readFile(harness.beforeCopy());
    const std::array<QStringList, 2> states {
        fileRows(harness.beforeCopy(), true), fileRows(harness.path(0), true)};
    QStringList written;
    for (const QString& change : changes(states[0], states[1]))
        written << change.mid(1).section(QStringLiteral(": "), 0, 0);
    written.sort();
    written.removeDuplicates();
    QCOMPARE(written.join(QLatin1Char(' ')), QString::fromUtf8(row.written));

    // Per mode: kills before and after COMMIT, hot journals, files already changed (the
    // journal alone could put them back).
    std::array<std::array<int, 4>, 2> tally {};
    QStringList failures;
    const auto check = [&](int slot) {
        const ChildRun run = harness.finish(slot);
        const QString path = harness.path(slot);
        const bool hot = QFileInfo(path + QStringLiteral("-journal")).size() > 0;
        const bool changed = hot && readFile(path) != beforeBytes;
        const bool done = run.killAt >= commitAt;
        const QString counter = harness.programCounter(slot);
        const QStringList delta = changes(states[done], fileRows(path, true));
        const auto items
            = states[done].filter(QRegularExpression(QStringLiteral("^NivelCategoria4: "))).size();
        QString wrong;
        if ((run.exit == -1) != (run.killAt <= count) || (run.exit != -1 && run.statements.size() != count))
            wrong = QStringLiteral("ran %1 statements ").arg(run.statements.size()) + run.output;
        else if (!delta.isEmpty())
            wrong = QStringLiteral("not the state %1: ").arg(done ? "after" : "before") + delta.join(' ');
        else if (counter != QStringLiteral("Registro 1/%1").arg(items))
            wrong = counter;
        std::array<int, 4>& t = tally[run.spill];
        if (!wrong.isEmpty())
            failures << QStringLiteral("%1 k=%2: ").arg(run.spill ? "spill" : "normal").arg(run.killAt)
                    + wrong;
        else if (run.exit == -1)
            t = {t[0] + !done, t[1] + done, t[2] + hot, t[3] + changed};
    };
    // Both children busy: one child's leftovers are checked while the other runs.
    int launched = 0;
    for (const bool spill : {false, true}) {
        for (int k = 1; k <= count + 1; ++k, ++launched) {
            if (launched >= 2)
                check(launched % 2);
            harness.launch(launched % 2, k, spill);
        }
    }
    check(launched % 2);
    check((launched + 1) % 2);
    static int suiteTotal = 0;
    suiteTotal += 2 * count;
    const auto& [normal, spill] = tally;
    qInfo("%s: %d kill points, %d per mode; survived with the normal cache %d before and %d after COMMIT "
          "(%d hot journals), with a one-page cache %d before and %d after (%d hot journals, %d of them "
          "with the file already changed); %d kill points in this suite so far",
        row.tag, 2 * count, count, normal[0], normal[1], normal[2], spill[0], spill[1], spill[2], spill[3],
        suiteTotal);
    QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
}

// The rows of one suite, tagged.
inline void addRows(int suite)
{
    QTest::addColumn<int>("row");
    for (int i = 0; i < int(std::size(Rows)); ++i) {
        if (Rows[i].suite == suite)
            QTest::newRow(Rows[i].tag) << i;
    }
}

} // namespace varemo::test::crash
