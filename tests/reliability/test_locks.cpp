#include "app/startup.h"
#include "reliability/player.h"
#include "support/testregistry.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
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

// What the person does before the click that writes, and that click; `dialog` is the window
// they are in when it is not the main one. A failure is logged under `routine`.
struct Action {
    const char* name;
    const char* routine;
    const char* dialog;
    const char* before;
    const char* click;
};

const Action Actions[] = {
    {"hierarchy save", "Gravando Registro", "",
        "click ID_Incluir; path Despesas|Despesas Novas|Grupo Novo|Conta Nova|Item Novo", "click ID_Gravar"},
    // "CDB", under "Receitas Financeiras"
    {"level-page save", "Gravando Registro", "",
        "at 4 9; click ID_Grupo; click ID_Incluir; texto 2 Investimentos", "click ID_Gravar"},
    // "Condomínio", never moved
    {"delete", "Excluindo Registro", "", "click ID_Item; node 7N4; click ID_Incluir; click ID_Cancelar",
        "click ID_Excluir"},
    // two categories, then one sector off again
    {"report save", "Gravar Relatório", "ArvRelat", "nome Relatório Novo; node 1N0; node 2N0; node 3N1",
        "escolha 0"},
    {"report delete", "Excluindo Relatório", "", "click ID_Relatorios; list Resultado Mensal",
        "click ID_Excluir"},
    {"search marking", "Procura", "ProContas", "row 0 Item|contenha|Pão; row 1 Setor|contenha|Receitas",
        "procura 2"},
    {"period confirmation", "Período do Relatório", "DataPeriodo", "semana 2; retrocede", "botao 1"},
};

// The program started on a small company, as a person finds it, and what they did before the
// click. No event loop runs before the click, so what the load left unread is read by the
// click itself, under the other's lock.
struct Session {
    explicit Session(int busyTimeoutMs, const Action* action = nullptr)
    {
        company.closeSql();
        window = start(company.programFolder(), state, desktop);
        if (window)
            state.database->setBusyTimeout(busyTimeoutMs);
        if (!window || !action)
            return;
        const QLatin1String kind(action->dialog);
        if (kind == QLatin1String("ArvRelat"))
            dialog = std::make_unique<ArvRelat>(state, desktop, ArvRelat::NewDefinition);
        else if (kind == QLatin1String("ProContas"))
            dialog = std::make_unique<ProContas>(state, desktop);
        else if (kind == QLatin1String("DataPeriodo"))
            dialog = std::make_unique<DataPeriodo>(state, desktop);
        play(action->before);
    }
    ~Session()
    {
        dialog.reset();
        if (window)
            window->Form_Unload();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    QString path() const { return company.databasePath(); }
    void play(const char* steps)
    {
        Player {*window, state, desktop, {}}.play(QString::fromUtf8(steps), dialog.get());
    }

    TestCompany company;
    AppState state;
    YesDesktop desktop; // a delete and a report save ask first
    std::unique_ptr<Contas> window;
    std::unique_ptr<QWidget> dialog;
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

// The one error box and the log entry of an action that gave up waiting after `waited` ms.
void checkLockFailure(Session& s, const Action& action, qint64 waited)
{
    const QString routine = QString::fromUtf8(action.routine);
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
            Session free(Database::BusyTimeoutMs, &Actions[action]);
            QVERIFY(free.window);
            const QStringList before = fileRows(free.path());
            free.play(Actions[action].click);
            m_uncontended[action] = changes(before, fileRows(free.path()));
            QVERIFY2(!m_uncontended[action].isEmpty(), "the action writes nothing even on a free file");
        }
        QList<int> cursors; // the override cursor each time a wait starts or ends
        Session s(outlasts ? ShortWaitMs : Database::BusyTimeoutMs, &Actions[action]);
        QVERIFY(s.window);
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
        s.play(Actions[action].click);
        const qint64 waited = clock.elapsed();
        QCOMPARE(cursors.mid(0, 2), (QList<int> {int(Qt::WaitCursor), -1}));
        QCOMPARE(shownCursor(), -1);
        s.state.database->busyHook = programHook; // `other` goes before the window

        if (outlasts) {
            checkLockFailure(s, Actions[action], waited);
            QVERIFY(other.release());
            QCOMPARE(split(changes(before, fileRows(s.path())), false), QStringList());
            s.desktop.boxes.clear();
            s.play(Actions[action].click); // the window stayed as the failure left it
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

    // On a server another workstation in the middle of its own write action holds the chart
    // the same way: past the wait the action fails into the log with nothing written, and
    // once the other commits the same click writes what it writes on a free company.
    void workstationHolds_data()
    {
        QTest::addColumn<int>("action");
        for (int a = 0; a < int(std::size(Actions)); ++a)
            QTest::addRow("%s", Actions[a].name) << a;
    }

    void workstationHolds()
    {
        QFETCH(int, action);
        if (!EngineChoice::serverInstalled())
            QSKIP("no PostgreSQL server installed");
        const EngineChoice engine(true);
        Session s(ShortWaitMs, &Actions[action]);
        QVERIFY(s.window && !s.company.serverDatabase().isEmpty());
        s.company.count(QStringLiteral("SELECT 1")); // the file mirrors the server for fileRows
        const QStringList before = fileRows(s.path());
        s.desktop.boxes.clear();
        {
            const auto other = Database::open(s.path());
            UnitOfWork held(*other);
            QElapsedTimer clock;
            clock.start();
            s.play(Actions[action].click);
            checkLockFailure(s, Actions[action], clock.elapsed());
        }
        s.company.count(QStringLiteral("SELECT 1"));
        QCOMPARE(changes(before, fileRows(s.path())), QStringList());
        s.desktop.boxes.clear();
        s.play(Actions[action].click);
        QVERIFY(!titles(s.desktop.boxes).contains(ErrorTitle));
        s.company.count(QStringLiteral("SELECT 1"));
        const QStringList delta = changes(before, fileRows(s.path()));
        QVERIFY(!delta.isEmpty());
        if (m_uncontended.contains(action))
            QCOMPARE(delta, m_uncontended[action]);
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
