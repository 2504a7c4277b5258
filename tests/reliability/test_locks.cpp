#include "app/startup.h"
#include "reliability/reliability.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "search/procontas.h"
#include "support/testregistry.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QTest>

using namespace varemo;
using namespace varemo::test;

namespace {

constexpr int ShortWaitMs = 300; // the wait of a program that must give up quickly

const QString Locked
    = QStringLiteral("Não foi possível atualizar; bloqueado no momento por outro usuário ou módulo.");
const QString ErrorTitle = QStringLiteral("Tratamento de Erros");
// What the other module's sale leaves in the file once it commits.
const QStringList Sale {
    QStringLiteral("+Venda: 6|2026-11-24|1"), QStringLiteral("+VendaProdutos: 6|2|1|1|8|5")};

// The program started on a small company, as a person finds it. No event loop runs before the
// click, so what the load left unread is read by the click itself, under the other's lock.
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
    QString path() const { return company.databasePath(); }
    template<class Dialog, class... Args> Dialog* open(Args&&... args)
    {
        dialogs.push_back(std::make_unique<Dialog>(state, desktop, std::forward<Args>(args)...));
        return static_cast<Dialog*>(dialogs.back().get());
    }
    void click(const char* tool) { window->tool_click(QString::fromLatin1(tool)); }

    TestCompany company;
    AppState state;
    YesDesktop desktop; // a delete and a report save ask first
    std::unique_ptr<Contas> window;
    std::vector<std::unique_ptr<QWidget>> dialogs; // the action's own windows
};

// The click that writes, after what the person did before it. It may be clicked again.
using Click = std::function<void()>;

struct Action {
    const char* name;
    const char* routine; // its failure is logged under
    Click (*prepare)(Session&);
};

const Action Actions[] = {
    {"hierarchy save", "Gravando Registro",
        [](Session& s) -> Click {
            s.click("ID_Incluir");
            for (std::size_t level = 0; level < 5; ++level)
                s.window->Combo[level]->setText(QStringLiteral("Despesas|Despesas Novas|Grupo Novo|Conta "
                                                               "Nova|Item Novo")
                                                    .section('|', int(level), int(level)));
            return [&s] { s.click("ID_Gravar"); };
        }},
    {"level-page save", "Gravando Registro",
        [](Session& s) -> Click {
            s.window->relocate(4, 9); // "CDB", under "Receitas Financeiras"
            s.window->PreencheCampos();
            s.click("ID_Grupo");
            s.click("ID_Incluir");
            s.window->Texto[2]->setText(QStringLiteral("Investimentos"));
            return [&s] { s.click("ID_Gravar"); };
        }},
    {"delete", "Excluindo Registro",
        [](Session& s) -> Click {
            s.click("ID_Item");
            s.window->Arvore_NodeClick(s.window->node(QStringLiteral("7N4"))); // "Condomínio", never moved
            s.click("ID_Incluir");
            s.click("ID_Cancelar");
            return [&s] { s.click("ID_Excluir"); };
        }},
    {"report save", "Gravar Relatório",
        [](Session& s) -> Click {
            auto* report = s.open<ArvRelat>(ArvRelat::NewDefinition);
            report->Nome->setText(QStringLiteral("Relatório Novo"));
            for (const char* key : {"1N0", "2N0", "3N1"}) // two categories, then one sector off again
                report->Arvore_NodeClick(report->node(QString::fromLatin1(key)));
            return [report] { report->BotaoEscolha_Click(0); };
        }},
    {"report delete", "Excluindo Relatório",
        [](Session& s) -> Click {
            s.click("ID_Relatorios");
            s.window->Relatos->setCurrentItem(
                s.window->Relatos->findItems(QStringLiteral("Resultado Mensal"), {})[0]);
            return [&s] { s.click("ID_Excluir"); };
        }},
    {"search marking", "Procura",
        [](Session& s) -> Click {
            auto* search = s.open<ProContas>();
            search->Campo[0]->setCurrentText(QStringLiteral("Item"));
            search->Conteudo[0]->setText(QStringLiteral("Pão"));
            search->BotaoMais_Click(0);
            search->Campo[1]->setCurrentText(QStringLiteral("Setor"));
            search->Conteudo[1]->setText(QStringLiteral("Receitas"));
            return [search] { search->BotaoProcura_Click(2); };
        }},
    {"period confirmation", "Período do Relatório",
        [](Session& s) -> Click {
            auto* period = s.open<DataPeriodo>();
            period->InicioSemana->setCurrentIndex((period->InicioSemana->currentIndex() + 2) % 7);
            period->OpcaoRetrocede[period->OpcaoRetrocede[0]->isChecked() ? 1 : 0]->click();
            return [period] { period->Botao_Click(1); };
        }},
};

QStringList split(QStringList delta, bool sale)
{
    delta.removeIf([sale](const QString& row) { return row.startsWith(QLatin1String("+Venda")) != sale; });
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
    QHash<int, QStringList> m_uncontended;

private slots:
    void init() { m_cwd = QDir::currentPath(); }
    void cleanup() { QDir::setCurrent(m_cwd); }

    void actionUnderLock_data()
    {
        QTest::addColumn<int>("action");
        QTest::addColumn<QString>("lock");
        QTest::addColumn<bool>("outlasts");
        for (int a = 0; a < int(std::size(Actions)); ++a) {
            for (const char* lock : {"reserved", "shared", "exclusive"}) {
                for (const bool outlasts : {false, true})
                    QTest::addRow("%s, %s, %s", Actions[a].name, lock, outlasts ? "outlasting" : "short")
                        << a << QString::fromLatin1(lock) << outlasts;
            }
        }
    }

    void actionUnderLock()
    {
        QFETCH(int, action);
        QFETCH(QString, lock);
        QFETCH(bool, outlasts);
        if (!m_uncontended.contains(action)) { // what the action writes when nobody holds the file
            Session free(Database::BusyTimeoutMs);
            QVERIFY(free.window);
            const Click click = Actions[action].prepare(free);
            const QStringList before = fileRows(free.path());
            click();
            m_uncontended[action] = changes(before, fileRows(free.path()));
            QVERIFY2(!m_uncontended[action].isEmpty(), "the action writes nothing even on a free file");
        }
        QList<int> cursors; // the override cursor each time a wait starts or ends
        Session s(outlasts ? ShortWaitMs : Database::BusyTimeoutMs);
        QVERIFY(s.window);
        const Click click = Actions[action].prepare(s);
        const QStringList before = fileRows(s.path());
        s.desktop.boxes.clear();
        s.desktop.sounds.clear();
        OtherProcess other({QStringLiteral("hold"), s.path(), lock, QStringLiteral("0")});
        QVERIFY2(other.holds(), qPrintable(other.errors()));
        // A short lock ends once the program is seen waiting for it, however slow the machine.
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
            const QString routine = QString::fromUtf8(Actions[action].routine);
            const QStringList shown = titles(s.desktop.boxes); // a delete asks first
            QCOMPARE(shown.count(ErrorTitle), 1);
            const QString prompt = s.desktop.boxes[shown.indexOf(ErrorTitle)].prompt;
            const QString log = errorLog(s.company);
            QVERIFY2(waited >= ShortWaitMs - 20 && s.desktop.sounds.contains(1)
                    && prompt.contains(QStringLiteral("Rotina em que houve o erro: ") + routine + '\r')
                    && prompt.endsWith(QStringLiteral("Erro número: 3218\rDescrição: ") + Locked)
                    && log.contains(QStringLiteral("Rotina: ") + routine + QStringLiteral("\r\n"))
                    && log.contains(QStringLiteral("Erro número: 3218\r\nDescrição: ") + Locked + "\r\n"),
                qPrintable(QStringLiteral("%1 ms: ").arg(waited) + prompt));
            QVERIFY(other.release());
            QCOMPARE(split(changes(before, fileRows(s.path())), false), QStringList());
            s.desktop.boxes.clear();
            click(); // the window stayed as the failure left it
        } else {
            QVERIFY(other.release());
            QVERIFY(!QFile::exists(s.company.errorLogPath()));
        }
        QVERIFY(!titles(s.desktop.boxes).contains(ErrorTitle));
        const QStringList delta = changes(before, fileRows(s.path()));
        QCOMPARE(split(delta, false), m_uncontended[action]);
        QCOMPARE(split(delta, true), lock == QLatin1String("shared") ? QStringList() : Sale);
    }

    // Opening the company while another module commits a large change: a short lock only
    // delays start-up; one that outlasts the wait stops it with the opening message, writing
    // nothing, and the next start goes through.
    void startUpUnderExclusiveLock_data()
    {
        QTest::addColumn<int>("holdMs"); // 0: past the wait
        QTest::newRow("short") << 150;
        QTest::newRow("outlasting") << 0;
    }

    void startUpUnderExclusiveLock()
    {
        QFETCH(int, holdMs);
        TestCompany company;
        const QStringList before = fileRows(company.databasePath());
        for (const bool locked : {true, false}) {
            AppState state;
            FakeDesktop desktop;
            std::unique_ptr<OtherProcess> other;
            if (locked) {
                other = std::make_unique<OtherProcess>(QStringList {QStringLiteral("hold"),
                    company.databasePath(), QStringLiteral("exclusive"), QString::number(holdMs)});
                QVERIFY2(other->holds(), qPrintable(other->errors()));
            }
            const auto window = start(company.programFolder(), state, desktop);
            const bool stopped = locked && holdMs == 0;
            QCOMPARE(titles(desktop.boxes),
                stopped ? QStringList {QStringLiteral("Arquivo não existe ou impróprio")} : QStringList());
            QCOMPARE(window == nullptr, stopped);
            QVERIFY(!other || other->release());
            if (window) {
                QCOMPARE(state.companyName, QStringLiteral("Padaria Teste Ltda"));
                window->Form_Unload();
            }
        }
        QVERIFY(!QFile::exists(company.errorLogPath()));
        QCOMPARE(changes(before, fileRows(company.databasePath())), Sale);
    }

    // Even reads wait behind a large commit: the chart listing gives up into the error log and
    // shows nothing, and the same command prints the chart once the lock is gone.
    void chartListingUnderExclusiveLock()
    {
        Session s(ShortWaitMs);
        QVERIFY(s.window);
        OtherProcess other(
            {QStringLiteral("hold"), s.path(), QStringLiteral("exclusive"), QStringLiteral("0")});
        QVERIFY2(other.holds(), qPrintable(other.errors()));
        QCOMPARE(chartDetails(s.state, s.desktop), -1);
        QCOMPARE(titles(s.desktop.boxes), QStringList {ErrorTitle});
        QVERIFY(s.desktop.boxes[0].prompt.contains(QStringLiteral("Relatório Plano de Contas\r")));
        QVERIFY(s.desktop.boxes[0].prompt.endsWith(Locked));
        QVERIFY(other.release());
        QCOMPARE(chartDetails(s.state, s.desktop), 9);
        QCOMPARE(s.desktop.boxes.size(), 1);
    }
};

VAREMO_TEST(TestLocks);
#include "test_locks.moc"
