#include "app/startup.h"
#include "app/state.h"
#include "editor/contas.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace varemo;

namespace {

void addRow(const char* tag, const char* breakage, const QString& prompt, int buttons, const QString& title)
{
    QTest::newRow(tag) << QString::fromLatin1(breakage) << prompt << buttons << title;
}

} // namespace

class TestStartup : public QObject {
    Q_OBJECT

    QString m_cwd;

private slots:
    void init() { m_cwd = QDir::currentPath(); }
    void cleanup() { QDir::setCurrent(m_cwd); }

    void stopsWithItsMessage_data()
    {
        QTest::addColumn<QString>("breakage");
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<int>("buttons");
        QTest::addColumn<QString>("title");
        const QString notFound = QStringLiteral("Arquivo não encontrado");
        const QString ini = QStringLiteral("Sumiu o arquivo Empresa.ini");
        const QString corrupt = QStringLiteral("Arquivo de banco de dados empresa.mdb corrompido\r"
                                               "ou não é .mdb. Solicite ajuda do Adm. de Sistema");
        const QString corruptTitle = QStringLiteral("Arquivo corrompido ou com defeitos");
        const QString improper
            = QStringLiteral("Solicite ajuda do Adm. de Sistema\r"
                             "Banco de dados não encontrado\rou com formato .mdb impróprio!");
        const QString improperTitle = QStringLiteral("Arquivo não existe ou impróprio");
        addRow("no Caminho.dad", "caminho", QStringLiteral("Sumiu o arquivo path da rede"), vb::Exclamation,
            notFound);
        addRow("data folder without closing separator", "separator", ini, vb::Exclamation, notFound);
        addRow("no Empresa.ini", "ini", ini, vb::Exclamation, notFound);
        addRow("garbage empresa.mdb", "garbage", corrupt, vb::Critical, corruptTitle);
        addRow("empty empresa.mdb", "empty", corrupt, vb::Critical, corruptTitle);
        addRow("no empresa.mdb", "missing", improper, vb::Critical, improperTitle);
        addRow("a database of something else", "foreign", improper, vb::Critical, improperTitle);
    }

    void stopsWithItsMessage()
    {
        QFETCH(QString, breakage);
        QFETCH(QString, prompt);
        QFETCH(int, buttons);
        QFETCH(QString, title);
        test::TestCompany company(test::TestCompany::Seed::Empty);
        company.closeSql();
        const QString caminho = company.programFolder() + QStringLiteral("Caminho.dad");
        if (breakage == QLatin1String("caminho"))
            QVERIFY(QFile::remove(caminho));
        else if (breakage == QLatin1String("separator"))
            test::writeFile(caminho, company.dataFolder().chopped(1).toUtf8() + "\r\n");
        else if (breakage == QLatin1String("ini"))
            QVERIFY(QFile::remove(company.dataFolder() + QStringLiteral("Empresa.ini")));
        else if (breakage == QLatin1String("garbage"))
            test::writeFile(company.databasePath(), QByteArray(8192, 'x'));
        else if (breakage == QLatin1String("empty"))
            test::writeFile(company.databasePath(), QByteArray());
        else
            QVERIFY(QFile::remove(company.databasePath()));
        if (breakage == QLatin1String("foreign")) {
            company.exec(QStringLiteral("CREATE TABLE Clientes (Codigo INTEGER PRIMARY KEY, Nome TEXT)"));
            company.closeSql();
        }

        AppState state;
        test::FakeDesktop desktop;
        QVERIFY(start(company.programFolder(), state, desktop) == nullptr);
        QCOMPARE(desktop.boxes.size(), 1);
        QCOMPARE(desktop.boxes.first().prompt, prompt);
        QCOMPARE(desktop.boxes.first().buttons, buttons);
        QCOMPARE(desktop.boxes.first().title, title);
        QVERIFY(!state.database);
        QVERIFY(!QFile::exists(company.errorLogPath())); // start-up failures are not logged
    }

    void runningCopyEndsAtOnce()
    {
        test::TestCompany company(test::TestCompany::Seed::Empty);
        AppState state;
        test::FakeDesktop desktop;
        desktop.runningCopy = true;
        QVERIFY(start(company.programFolder(), state, desktop) == nullptr);
        QCOMPARE(desktop.activations, 1);
        QVERIFY(desktop.boxes.isEmpty());
        QVERIFY(!state.database);
    }

    // The first line names the data folder whatever the file's text encoding and line end;
    // an empty one leaves the files to be found from the current folder. The program folder
    // may come without its closing separator.
    void caminhoDad_data()
    {
        QTest::addColumn<QByteArray>("encoding");
        QTest::addColumn<bool>("fromDataFolder"); // the current folder when Caminho.dad is read
        QTest::addColumn<bool>("starts");
        QTest::newRow("utf-8, accented folder, CR LF") << QByteArray("utf8") << false << true;
        QTest::newRow("windows-1252, accented folder") << QByteArray("cp1252") << false << true;
        QTest::newRow("lone LF and a second line") << QByteArray("lf") << false << true;
        QTest::newRow("empty, run from the data folder") << QByteArray("empty") << true << true;
        QTest::newRow("empty, run from elsewhere") << QByteArray("empty") << false << false;
    }

    void caminhoDad()
    {
        QFETCH(QByteArray, encoding);
        QFETCH(bool, fromDataFolder);
        QFETCH(bool, starts);
        test::TestCompany company;
        company.closeSql();
        const QString accented = company.root() + QStringLiteral("Área Contábil");
        QVERIFY(QFile::link(company.dataFolder(), accented));
        QString expected = accented + QLatin1Char('/');
        QByteArray line = expected.toUtf8() + "\r\n";
        if (encoding == "cp1252")
            line = company.root().toUtf8()
                + "\xC1rea Cont\xE1"
                  "bil/\r\n";
        else if (encoding == "lf")
            line = expected.toUtf8() + "\n/outra/pasta/\n";
        if (encoding == "empty") {
            line.clear();
            expected.clear();
        }
        test::writeFile(company.programFolder() + QStringLiteral("Caminho.dad"), line);
        QVERIFY(QDir::setCurrent(fromDataFolder ? company.dataFolder() : company.root()));

        AppState state;
        test::FakeDesktop desktop;
        const auto window = start(company.programFolder().chopped(1), state, desktop);
        QCOMPARE(state.dataFolder, expected);
        QCOMPARE(window != nullptr, starts);
        if (!starts)
            return;
        QCOMPARE(state.programFolder, company.programFolder());
        QCOMPARE(state.companyName, QStringLiteral("Padaria Teste Ltda"));
        QVERIFY(state.database && state.database->isOpen());
        QCOMPARE(QDir::currentPath(), QDir(company.dataFolder() + QStringLiteral("Dados")).canonicalPath());
        if (!expected.isEmpty())
            QCOMPARE(state.databasePath, expected + QStringLiteral("Dados/empresa.mdb"));
        QVERIFY(desktop.boxes.isEmpty());
    }
};

VAREMO_TEST(TestStartup);
#include "test_startup.moc"
