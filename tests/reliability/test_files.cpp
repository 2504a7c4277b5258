#include "app/errorlog.h"
#include "app/qtdesktop.h"
#include "app/singleinstance.h"
#include "app/startup.h"
#include "reliability/reliability.h"
#include "reports/dataperiodo.h"
#include "reports/datebox.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDir>
#include <QListWidget>
#include <QTest>

using namespace varemo;
using namespace varemo::test;

namespace {

const QString ReadOnly
    = QStringLiteral("Não é possível atualizar. O banco de dados ou o objeto é somente leitura.");
const QString Damaged
    = QStringLiteral("Não é possível abrir o banco de dados. Talvez não seja um banco de dados "
                     "reconhecido pelo seu aplicativo ou o arquivo pode estar corrompido.");

// Binds `$1` over itself read-only, then runs the rest in that mount namespace: read-only for
// root too, as a write-protected network share is.
const QString MountReadOnly
    = QStringLiteral(R"(mount --bind "$1" "$1" && mount -o remount,bind,ro "$1" && shift && exec "$@")");

// Overwrites a table's first page past its header: its rows point nowhere.
void wreckPage(TestCompany& company, const QString& table)
{
    const int size = company.scalar(QStringLiteral("PRAGMA page_size")).toInt();
    const int root
        = company.scalar(QStringLiteral("SELECT rootpage FROM sqlite_master WHERE name = '%1'").arg(table))
              .toInt();
    company.closeSql();
    QByteArray bytes = readFile(company.databasePath());
    bytes.replace((root - 1) * size + 8, size - 8, QByteArray(size - 8, '\xff'));
    writeFile(company.databasePath(), bytes);
}

// The real desktop without what would reach the person's own desktop: boxes are recorded and
// answered, no running copy is asked, no placement is read or written.
class RecordingDesktop : public QtDesktop {
public:
    using QtDesktop::QtDesktop;
    int msgbox(const QString& prompt, int buttons, const QString& title) override
    {
        boxes << Box {prompt, buttons, title};
        return vb::OK;
    }
    bool activateRunningCopy(const QString&) override { return false; }
    bool restorePlacement(QWidget&, const QString&) override { return false; }
    void savePlacement(QWidget&, const QString&) override { }
    QList<Box> boxes;
};

} // namespace

// The files around the company database: missing, damaged, write-protected or odd. Start-up
// stops with its message and touches nothing; a running program logs what fails and goes on.
class TestFiles : public QObject {
    Q_OBJECT

    QString m_cwd;

private slots:
    void init() { m_cwd = QDir::currentPath(); }
    void cleanup() { QDir::setCurrent(m_cwd); }

    void startUp_data()
    {
        QTest::addColumn<QByteArray>("caminho"); // Caminho.dad, "%D" for the data folder; empty: as made
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("title"); // of the box start-up stops with; empty: it starts
        const QByteArray usual = "%D\r\n";
        const QString corrupt = "Arquivo corrompido ou com defeitos", notFound = "Arquivo não encontrado";
        QTest::newRow("no Dados folder") << usual << "no Dados"
                                         << "Arquivo não existe ou impróprio";
        QTest::newRow("empresa.mdb cut in half") << usual << "truncated" << corrupt;
        QTest::newRow("a page of the chart overwritten") << usual << "chart page" << corrupt;
        QTest::newRow("blanks around the folder") << QByteArray("  %D  \r\n") << "" << notFound;
        QTest::newRow("an empty line before the folder") << QByteArray("\r\n%D\r\n") << "" << notFound;
        QTest::newRow("a folder that is gone") << QByteArray("%Dantiga/\r\n") << "" << notFound;
        QTest::newRow("byte-order mark") << QByteArray("\xEF\xBB\xBF%D\r\n") << "" << QString();
        QTest::newRow("no line end") << QByteArray("%D") << "" << QString();
    }

    void startUp()
    {
        QFETCH(QByteArray, caminho);
        QFETCH(QString, damage);
        QFETCH(QString, title);
        TestCompany company;
        const QString dados = company.dataFolder() + QStringLiteral("Dados");
        if (damage == QLatin1String("no Dados"))
            QVERIFY(QDir(dados).removeRecursively());
        else if (damage == QLatin1String("truncated"))
            writeFile(company.databasePath(),
                readFile(company.databasePath()).left(readFile(company.databasePath()).size() / 2));
        else if (damage == QLatin1String("chart page"))
            wreckPage(company, QStringLiteral("NivelCategoria4"));
        company.closeSql();
        caminho.replace("%D", company.dataFolder().toUtf8());
        writeFile(company.programFolder() + QStringLiteral("Caminho.dad"), caminho);
        const QByteArray left = readFile(company.databasePath());
        QVERIFY(QDir::setCurrent(company.root()));

        AppState state;
        FakeDesktop desktop;
        auto window = start(company.programFolder(), state, desktop);
        QCOMPARE(titles(desktop.boxes), title.isEmpty() ? QStringList() : QStringList {title});
        QCOMPARE(window != nullptr, title.isEmpty());
        const QByteArray firstLine
            = caminho.mid(caminho.startsWith("\xEF\xBB\xBF") ? 3 : 0).split('\r').first();
        QCOMPARE(state.dataFolder, QString::fromUtf8(firstLine)); // as written
        if (window)
            window->Form_Unload();
        QCOMPARE(readFile(company.databasePath()), left); // never repaired nor rewritten
        QCOMPARE(QFileInfo::exists(dados), damage != QLatin1String("no Dados"));
        QVERIFY(!QFileInfo::exists(company.dataFolder() + QStringLiteral("antiga")));
        QVERIFY(!QFile::exists(company.errorLogPath()));
    }

    // On a write-protected installation the program browses and prints; a save fails into the
    // error log with nothing written, and the insert mode it left open is cancelled with Escape.
    void readOnly_data()
    {
        QTest::addColumn<QString>("protect");
        QTest::addColumn<bool>("logged"); // the record reaches Dados/Erros.txt
        QTest::newRow("the data folder") << "data folder" << false;
        QTest::newRow("empresa.mdb only") << "empresa.mdb" << true;
    }

    void readOnly()
    {
        QFETCH(QString, protect);
        QFETCH(bool, logged);
        QProcess probe;
        probe.start(QStringLiteral("unshare"), {QStringLiteral("-rm"), QStringLiteral("true")});
        if (!probe.waitForFinished(10000) || probe.exitStatus() != QProcess::NormalExit || probe.exitCode())
            QSKIP("no mount namespace for a read-only folder here");
        TestCompany company;
        company.closeSql();
        const QStringList before = fileRows(company.databasePath());

        QProcess child;
        child.start(QStringLiteral("unshare"),
            {QStringLiteral("-rm"), QStringLiteral("sh"), QStringLiteral("-c"), MountReadOnly,
                QStringLiteral("sh"),
                protect == QLatin1String("empresa.mdb") ? company.databasePath() : company.dataFolder(),
                childProgram(),
                QStringLiteral(
                    "at 4 8; say current; click ID_Incluir; path Despesas|Despesas Novas|Grupo Novo|Conta "
                    "Nova|Item Novo; click ID_Gravar; say mode; escape; say mode; say chart; unload; tell"),
                company.programFolder(), QStringLiteral("0"), QStringLiteral("normal")});
        QVERIFY(child.waitForFinished(60000));
        QVERIFY2(child.exitCode() == 0, child.readAllStandardError().constData());
        const QString prompt
            = errorlog::message(AppState(), QStringLiteral("Gravando Registro"), ReadOnly, 3027);
        const QStringList seen {QStringLiteral("current Conta de luz"), QStringLiteral("mode Inserir"),
            QStringLiteral("mode Visualizar"), QStringLiteral("chart 9"),
            QStringLiteral("box Tratamento de Erros|") + QString(prompt).replace('\r', '~'),
            QStringLiteral("sound 1")};
        QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts), seen);
        QCOMPARE(fileRows(company.databasePath()), before);
        const QString log = errorLog(company);
        QCOMPARE(log.startsWith(errorlog::Header + QStringLiteral("\r\n\r\n")), logged);
        QCOMPARE(
            log.contains(QStringLiteral("Erro número: 3027\r\nDescrição: ") + ReadOnly + "\r\n"), logged);
    }

    // The chart is whole, so the program starts and lists it; the personalised report meets the
    // damaged purchase lines and logs them. The file is left as it was.
    void damagedMovementPage()
    {
        TestCompany company;
        wreckPage(company, QStringLiteral("CompraProdutos"));
        const QByteArray left = readFile(company.databasePath());
        AppState state;
        FakeDesktop desktop;
        const auto window = start(company.programFolder(), state, desktop);
        QVERIFY(window);
        QCOMPARE(chartDetails(state, desktop), 9);
        QCOMPARE(titles(desktop.boxes), QStringList());

        window->tool_click(QStringLiteral("ID_Relatorios"));
        window->Relatos->setCurrentRow(0);
        window->Relatos_Click();
        desktop.setNextModal([](QWidget& shown) { // March 2026, the month of the purchases
            auto* period = qobject_cast<DataPeriodo*>(&shown);
            period->Datas[0]->setText(QStringLiteral("01-03-2026"));
            period->Datas[1]->setText(QStringLiteral("31-03-2026"));
            period->Botao_Click(1);
        });
        window->BotaoVer_Click();
        QCOMPARE(titles(desktop.boxes).value(0), QStringLiteral("Tratamento de Erros"));
        QVERIFY(desktop.boxes[0].prompt.endsWith(QStringLiteral("Erro número: 3049\rDescrição: ") + Damaged));
        QCOMPARE(chartDetails(state, desktop), 9); // the window goes on
        window->Form_Unload();
        QCOMPARE(readFile(company.databasePath()), left);
    }

    // Without Sons/ the logged error is silent and still shows its box; without Ajuda/ F1 says
    // the help does not open.
    void missingSoundsAndHelp()
    {
        TestCompany company;
        company.closeSql();
        QVERIFY(QDir(company.programFolder() + QStringLiteral("Sons")).removeRecursively());
        QVERIFY(QDir(company.programFolder() + QStringLiteral("Ajuda")).removeRecursively());
        AppState state;
        RecordingDesktop desktop(state);
        const auto window = start(company.programFolder(), state, desktop);
        QVERIFY(window);
        window->Form_KeyDown(Qt::Key_F1);
        logError(state, desktop, rotina::Inserindo, QStringLiteral("falha"), 3000);
        QCOMPARE(titles(desktop.boxes),
            QStringList({QStringLiteral("Ajuda do Programa"), QStringLiteral("Tratamento de Erros")}));
        QCOMPARE(desktop.boxes[0].prompt, QtDesktop::HelpMessage);
        window->Form_Unload();
    }

    // A copy killed while running leaves its single-instance socket behind: the next copy is
    // not taken for a running one, starts, and answers the copies after it.
    void killedCopyLeavesItsSocket()
    {
        const QString title = QStringLiteral("Teste Copia Morta %1").arg(QCoreApplication::applicationPid());
        OtherProcess killed({QStringLiteral("guard"), title});
        QVERIFY2(killed.holds(), qPrintable(killed.errors()));
        QVERIFY(InstanceGuard::askRunningCopy(title)); // alive: it answers
        killed.kill();
        AppState state;
        QVERIFY(!QtDesktop(state).activateRunningCopy(title));
        InstanceGuard next(title);
        QVERIFY(next.listen());
        QVERIFY(InstanceGuard::askRunningCopy(title));
    }
};

VAREMO_TEST(TestFiles);
#include "test_files.moc"
