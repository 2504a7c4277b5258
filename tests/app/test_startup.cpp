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

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

const QString NotFound = QStringLiteral("Arquivo não encontrado");
const QString Corrupt = QStringLiteral("Arquivo de banco de dados empresa.mdb corrompido\r"
                                       "ou não é .mdb. Solicite ajuda do Adm. de Sistema");
const QString Improper = QStringLiteral("Solicite ajuda do Adm. de Sistema\rBanco de dados não encontrado\r"
                                        "ou com formato .mdb impróprio!");

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
        QTest::newRow("no Caminho.dad") << "caminho"
                                        << "Sumiu o arquivo path da rede" << vb::Exclamation << NotFound;
        QTest::newRow("data folder without closing separator")
            << "separator"
            << "Sumiu o arquivo Empresa.ini" << vb::Exclamation << NotFound;
        QTest::newRow("no Empresa.ini") << "ini"
                                        << "Sumiu o arquivo Empresa.ini" << vb::Exclamation << NotFound;
        QTest::newRow("garbage empresa.mdb")
            << "garbage" << Corrupt << vb::Critical << QStringLiteral("Arquivo corrompido ou com defeitos");
        QTest::newRow("empty empresa.mdb")
            << "empty" << Corrupt << vb::Critical << QStringLiteral("Arquivo corrompido ou com defeitos");
        QTest::newRow("no empresa.mdb")
            << "missing" << Improper << vb::Critical << QStringLiteral("Arquivo não existe ou impróprio");
        QTest::newRow("a database of something else")
            << "foreign" << Improper << vb::Critical << QStringLiteral("Arquivo não existe ou impróprio");
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
            writeFile(caminho, company.dataFolder().chopped(1).toUtf8() + "\r\n");
        else if (breakage == QLatin1String("ini"))
            QVERIFY(QFile::remove(company.dataFolder() + QStringLiteral("Empresa.ini")));
        else if (breakage == QLatin1String("garbage"))
            writeFile(company.databasePath(), QByteArray(8192, 'x'));
        else if (breakage == QLatin1String("empty"))
            writeFile(company.databasePath(), QByteArray());
        else if (breakage == QLatin1String("missing"))
            QVERIFY(QFile::remove(company.databasePath()));
        else if (breakage == QLatin1String("foreign")) {
            QVERIFY(QFile::remove(company.databasePath()));
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

    void loadsTheCompany()
    {
        test::TestCompany company;
        company.closeSql();
        AppState state;
        test::FakeDesktop desktop;
        const QString folder = company.programFolder().chopped(1);
        const auto window = start(folder, state, desktop);
        QVERIFY(window != nullptr);
        QCOMPARE(state.programFolder, company.programFolder());
        QCOMPARE(state.dataFolder, company.dataFolder());
        QCOMPARE(state.databasePath, company.databasePath());
        QCOMPARE(state.companyName, QStringLiteral("Padaria Teste Ltda"));
        QCOMPARE(state.versionText,
            QStringLiteral("%1.%2.%3").arg(state.major).arg(state.minor).arg(state.revision));
        QVERIFY(state.database && state.database->isOpen());
        QCOMPARE(QDir::currentPath(), QDir(company.dataFolder() + QStringLiteral("Dados")).canonicalPath());
        QVERIFY(desktop.boxes.isEmpty());
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
    // an empty one leaves the files to be found from the current folder.
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
        test::TestCompany company(test::TestCompany::Seed::Empty);
        company.closeSql();
        const QString accented = company.root() + QStringLiteral("Área Contábil");
        QVERIFY(QFile::link(company.dataFolder(), accented));
        QByteArray line;
        QString expected = accented + QLatin1Char('/');
        if (encoding == "utf8")
            line = expected.toUtf8() + "\r\n";
        else if (encoding == "cp1252")
            line = company.root().toUtf8()
                + "\xC1rea Cont\xE1"
                  "bil/\r\n";
        else if (encoding == "lf")
            line = expected.toUtf8() + "\n/outra/pasta/\n";
        else
            expected.clear();
        writeFile(company.programFolder() + QStringLiteral("Caminho.dad"), line);
        QVERIFY(QDir::setCurrent(fromDataFolder ? company.dataFolder() : company.root()));

        AppState state;
        test::FakeDesktop desktop;
        const auto window = start(company.programFolder(), state, desktop);
        QCOMPARE(state.dataFolder, expected);
        QCOMPARE(window != nullptr, starts);
        if (!starts)
            QCOMPARE(desktop.boxes.first().prompt, QStringLiteral("Sumiu o arquivo Empresa.ini"));
    }
};

VAREMO_TEST(TestStartup);
#include "test_startup.moc"
