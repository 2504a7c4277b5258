#include "app/startup.h"
#include "app/state.h"
#include "reliability/reliability.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "search/procontas.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QTest>

#include <vector>

using namespace varemo;
using namespace varemo::test;

namespace {

// The wait of a program that must give up quickly, and a lock at start-up that ends well
// before the usual wait.
constexpr int ShortWaitMs = 300;
constexpr int ShortLockMs = 150;

const QString Improper = QStringLiteral("Arquivo não existe ou impróprio");
const QString Locked
    = QStringLiteral("Não foi possível atualizar; bloqueado no momento por outro usuário ou módulo.");
// What the other module's sale leaves in the file once it commits.
const QStringList Sale {
    QStringLiteral("+Venda: 6|2026-11-24|1"), QStringLiteral("+VendaProdutos: 6|2|1|1|8|5")};

// The program started on a small company, as a person finds it.
struct Session {
    explicit Session(int busyTimeoutMs)
    {
        company.closeSql();
        window = start(company.programFolder(), state, desktop);
        if (window)
            state.database->setBusyTimeout(busyTimeoutMs);
    }
    ~Session()
    {
        dialogs.clear();
        if (window)
            window->Form_Unload();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    TestCompany company;
    AppState state;
    FakeDesktop desktop;
    std::unique_ptr<Contas> window;
    std::vector<std::unique_ptr<QWidget>> dialogs; // the action's own windows
};

// The click that writes, after what the person did before it. It may be clicked again.
using Click = std::function<void()>;

Click hierarchySave(Session& s)
{
    typeNewPath(*s.window);
    return [&s] { s.window->tool_click(QStringLiteral("ID_Gravar")); };
}

Click levelPageSave(Session& s)
{
    s.window->relocate(4, 9); // "CDB", under "Receitas Financeiras"
    s.window->PreencheCampos();
    s.window->tool_click(QStringLiteral("ID_Grupo"));
    s.window->tool_click(QStringLiteral("ID_Incluir"));
    s.window->Texto[2]->setText(QStringLiteral("Investimentos"));
    return [&s] { s.window->tool_click(QStringLiteral("ID_Gravar")); };
}

Click deleteItem(Session& s)
{
    s.window->tool_click(QStringLiteral("ID_Item"));
    s.window->Arvore_NodeClick(s.window->node(QStringLiteral("7N4"))); // "Condomínio", never moved
    s.window->tool_click(QStringLiteral("ID_Incluir"));
    s.window->tool_click(QStringLiteral("ID_Cancelar"));
    return [&s] {
        s.desktop.setNextAnswer(vb::Yes);
        s.window->tool_click(QStringLiteral("ID_Excluir"));
    };
}

Click reportSave(Session& s)
{
    auto* report = new ArvRelat(s.state, s.desktop, ArvRelat::NewDefinition);
    s.dialogs.emplace_back(report);
    report->Nome->setText(QStringLiteral("Relatório Novo"));
    for (const char* key : {"1N0", "2N0", "3N1"}) // two categories, then one sector off again
        report->Arvore_NodeClick(report->node(QString::fromLatin1(key)));
    return [&s, report] {
        s.desktop.setNextAnswer(vb::Yes);
        report->BotaoEscolha_Click(0);
    };
}

Click reportDelete(Session& s)
{
    s.window->tool_click(QStringLiteral("ID_Relatorios"));
    s.window->Relatos->setCurrentItem(
        s.window->Relatos->findItems(QStringLiteral("Resultado Mensal"), {})[0]);
    return [&s] {
        s.desktop.setNextAnswer(vb::Yes);
        s.window->tool_click(QStringLiteral("ID_Excluir"));
    };
}

Click searchMarking(Session& s)
{
    auto* search = new ProContas(s.state, s.desktop);
    s.dialogs.emplace_back(search);
    search->Campo[0]->setCurrentText(QStringLiteral("Item"));
    search->Conteudo[0]->setText(QStringLiteral("Pão"));
    search->BotaoMais_Click(0);
    search->Campo[1]->setCurrentText(QStringLiteral("Setor"));
    search->Conteudo[1]->setText(QStringLiteral("Receitas"));
    return [search] { search->BotaoProcura_Click(2); };
}

Click periodConfirmation(Session& s)
{
    auto* period = new DataPeriodo(s.state, s.desktop);
    s.dialogs.emplace_back(period);
    period->InicioSemana->setCurrentIndex((period->InicioSemana->currentIndex() + 2) % 7);
    period->OpcaoRetrocede[period->OpcaoRetrocede[0]->isChecked() ? 1 : 0]->click();
    return [period] { period->Botao_Click(1); };
}

const QMap<QString, Click (*)(Session&)> Actions {
    {QStringLiteral("hierarchy save"), hierarchySave},
    {QStringLiteral("level-page save"), levelPageSave},
    {QStringLiteral("delete"), deleteItem},
    {QStringLiteral("report save"), reportSave},
    {QStringLiteral("report delete"), reportDelete},
    {QStringLiteral("search marking"), searchMarking},
    {QStringLiteral("period confirmation"), periodConfirmation},
};

// The routine each action's failure is logged under.
const QMap<QString, QString> Routines {
    {QStringLiteral("hierarchy save"), QStringLiteral("Gravando Registro")},
    {QStringLiteral("level-page save"), QStringLiteral("Gravando Registro")},
    {QStringLiteral("delete"), QStringLiteral("Excluindo Registro")},
    {QStringLiteral("report save"), QStringLiteral("Gravar Relatório")},
    {QStringLiteral("report delete"), QStringLiteral("Excluindo Relatório")},
    {QStringLiteral("search marking"), QStringLiteral("Procura")},
    {QStringLiteral("period confirmation"), QStringLiteral("Período do Relatório")},
};

QStringList titles(const FakeDesktop& desktop)
{
    QStringList out;
    for (const Box& box : desktop.boxes)
        out << box.title;
    return out;
}

QStringList withoutSale(QStringList delta)
{
    delta.removeIf([](const QString& row) { return row.startsWith(QLatin1String("+Venda")); });
    return delta;
}

int shownCursor()
{
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor ? int(cursor->shape()) : -1;
}

} // namespace

// Another module holds the company file while the person clicks: a lock shorter than the wait
// only delays the action; a longer one fails it into the error log with nothing written, and
// once the lock is gone the same click writes exactly what it writes on a file nobody holds.
// The other module's own work is never lost.
class TestLocks : public QObject {
    Q_OBJECT

    QString m_cwd;
    QHash<QString, QStringList> m_uncontended;

    // What the action writes when nobody else holds the file.
    QStringList uncontended(const QString& action)
    {
        if (!m_uncontended.contains(action)) {
            Session s(Database::BusyTimeoutMs);
            if (!s.window)
                return {};
            const Click click = Actions[action](s);
            const QStringList before = tableRows(s.company);
            click();
            m_uncontended[action] = changes(before, tableRows(s.company));
        }
        return m_uncontended[action];
    }

private slots:
    void init() { m_cwd = QDir::currentPath(); }
    void cleanup() { QDir::setCurrent(m_cwd); }

    void actionUnderLock_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("lock");
        QTest::addColumn<bool>("outlasts");
        for (auto action = Actions.keyBegin(); action != Actions.keyEnd(); ++action) {
            for (const char* lock : {"reserved", "shared", "exclusive"}) {
                for (const bool outlasts : {false, true}) {
                    QTest::addRow("%s, %s, %s", qPrintable(*action), lock, outlasts ? "outlasting" : "short")
                        << *action << QString::fromLatin1(lock) << outlasts;
                }
            }
        }
    }

    void actionUnderLock()
    {
        QFETCH(QString, action);
        QFETCH(QString, lock);
        QFETCH(bool, outlasts);
        const QStringList expected = uncontended(action);
        QVERIFY2(!expected.isEmpty(), "the action writes nothing even on a free file");

        QList<int> cursors; // the override cursor each time a wait starts or ends
        Session s(outlasts ? ShortWaitMs : Database::BusyTimeoutMs);
        QVERIFY(s.window);
        const Click click = Actions[action](s);
        const QStringList before = tableRows(s.company);
        s.desktop.boxes.clear();
        s.desktop.sounds.clear();
        OtherProcess other(childProgram(QStringLiteral("lockholder")),
            {s.company.databasePath(), lock, QStringLiteral("0")});
        QVERIFY2(other.holds(), qPrintable(other.errors()));
        // A short lock ends while the program waits for it, however slow the machine.
        const auto programHook = s.state.database->busyHook;
        QVERIFY2(programHook, "the program does not follow the waits");
        s.state.database->busyHook = [&cursors, &other, outlasts, programHook](bool waiting) {
            programHook(waiting);
            cursors << shownCursor();
            if (waiting && !outlasts)
                other.letGo();
        };
        QElapsedTimer clock;
        clock.start();
        click();
        const qint64 waited = clock.elapsed();
        QCOMPARE(cursors.mid(0, 2), (QList<int> {int(Qt::WaitCursor), -1}));
        QCOMPARE(shownCursor(), -1);
        s.state.database->busyHook = programHook; // `other` goes before the window

        if (outlasts) {
            QVERIFY2(waited >= ShortWaitMs - 20, qPrintable(QString::number(waited)));
            const QStringList shown = titles(s.desktop);
            QCOMPARE(shown.count(QStringLiteral("Tratamento de Erros")), 1);
            const QString prompt
                = s.desktop.boxes[shown.indexOf(QStringLiteral("Tratamento de Erros"))].prompt;
            QVERIFY2(
                prompt.contains(QStringLiteral("Rotina em que houve o erro: ") + Routines[action] + '\r'),
                qPrintable(prompt));
            QVERIFY(prompt.endsWith(QStringLiteral("Erro número: 3218\rDescrição: ") + Locked));
            QVERIFY(s.desktop.sounds.contains(1));
            const QString log = errorLog(s.company);
            QVERIFY(log.contains(QStringLiteral("Rotina: ") + Routines[action] + QStringLiteral("\r\n")));
            QVERIFY(log.contains(QStringLiteral("Erro número: 3218\r\nDescrição: ") + Locked + "\r\n"));
            QVERIFY(other.release());
            QCOMPARE(withoutSale(changes(before, tableRows(s.company))), QStringList());
            s.desktop.boxes.clear();
            click(); // the window stayed as the failure left it
        } else {
            QVERIFY(other.release());
            QVERIFY(!QFile::exists(s.company.errorLogPath()));
        }
        QVERIFY2(!titles(s.desktop).contains(QStringLiteral("Tratamento de Erros")),
            qPrintable(titles(s.desktop).join('|')));
        const QStringList delta = changes(before, tableRows(s.company));
        QCOMPARE(withoutSale(delta), expected);
        QStringList sale = delta;
        sale.removeIf([](const QString& row) { return !row.startsWith(QLatin1String("+Venda")); });
        QCOMPARE(sale, lock == QLatin1String("shared") ? QStringList() : Sale);
    }

    // Opening the company while another module commits a large change: a short lock only
    // delays start-up; one that outlasts the wait stops it with the opening message, writing
    // nothing, and the next start goes through.
    void startUpUnderExclusiveLock_data()
    {
        QTest::addColumn<int>("holdMs"); // 0: past the wait
        QTest::newRow("short") << ShortLockMs;
        QTest::newRow("outlasting") << 0;
    }

    void startUpUnderExclusiveLock()
    {
        QFETCH(int, holdMs);
        TestCompany company;
        const QStringList before = tableRows(company);
        {
            AppState state;
            FakeDesktop desktop;
            OtherProcess other(childProgram(QStringLiteral("lockholder")),
                {company.databasePath(), QStringLiteral("exclusive"), QString::number(holdMs)});
            QVERIFY2(other.holds(), qPrintable(other.errors()));
            const auto window = start(company.programFolder(), state, desktop);
            QCOMPARE(titles(desktop), holdMs == 0 ? QStringList {Improper} : QStringList());
            QCOMPARE(window != nullptr, holdMs > 0);
            QVERIFY(other.release());
            if (window)
                window->Form_Unload();
        }
        AppState state;
        FakeDesktop desktop;
        const auto window = start(company.programFolder(), state, desktop);
        QVERIFY(window);
        QCOMPARE(state.companyName, QStringLiteral("Padaria Teste Ltda"));
        window->Form_Unload();
        QVERIFY(!QFile::exists(company.errorLogPath()));
        QCOMPARE(changes(before, tableRows(company)), Sale);
    }

    // Even reads wait behind a large commit: the chart listing gives up into the error log and
    // shows nothing, and the same command prints the chart once the lock is gone.
    void chartListingUnderExclusiveLock()
    {
        Session s(ShortWaitMs);
        QVERIFY(s.window);
        OtherProcess other(childProgram(QStringLiteral("lockholder")),
            {s.company.databasePath(), QStringLiteral("exclusive"), QStringLiteral("0")});
        QVERIFY2(other.holds(), qPrintable(other.errors()));
        QCOMPARE(chartDetails(s.state, s.desktop), -1);
        QCOMPARE(titles(s.desktop), QStringList {QStringLiteral("Tratamento de Erros")});
        QVERIFY(s.desktop.boxes[0].prompt.contains(QStringLiteral("Relatório Plano de Contas\r")));
        QVERIFY(s.desktop.boxes[0].prompt.endsWith(Locked));
        QVERIFY(other.release());
        QCOMPARE(chartDetails(s.state, s.desktop), 9);
        QCOMPARE(s.desktop.boxes.size(), 1);
    }
};

VAREMO_TEST(TestLocks);
#include "test_locks.moc"
