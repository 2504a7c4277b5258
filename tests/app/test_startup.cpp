#include "app/errorlog.h"
#include "app/singleinstance.h"
#include "app/startup.h"
#include "app/state.h"
#include "editor/contas.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace varemo;

// Start-up, the single running copy and the error log.
class TestStartup : public QObject {
    Q_OBJECT

    QString m_cwd;

private slots:
    void init() { m_cwd = QDir::currentPath(); }
    void cleanup() { QDir::setCurrent(m_cwd); }

    // Start-up stops with one box and logs nothing; another copy running ends it silently.
    void stopsWithItsMessage_data()
    {
        QTest::addColumn<QString>("breakage");
        QTest::addColumn<QString>("box");
        const auto row
            = [](const char* breakage, const QString& box) { QTest::newRow(breakage) << breakage << box; };
        const QString ini = QStringLiteral("box Sumiu o arquivo Empresa.ini|Arquivo não encontrado|%1")
                                .arg(vb::Exclamation);
        row("no Caminho.dad", QString(ini).replace("arquivo Empresa.ini", "arquivo path da rede"));
        row("data folder without closing separator", ini);
        row("no Empresa.ini", ini);
        row("garbage empresa.mdb",
            QStringLiteral(
                "box Arquivo de banco de dados empresa.mdb corrompido\rou não é .mdb. Solicite ajuda do "
                "Adm. de Sistema|Arquivo corrompido ou com defeitos|%1")
                .arg(vb::Critical));
        row("a database of something else",
            QStringLiteral(
                "box Solicite ajuda do Adm. de Sistema\rBanco de dados não encontrado\rou com formato "
                ".mdb impróprio!|Arquivo não existe ou impróprio|%1")
                .arg(vb::Critical));
        row("another copy running", {});
    }
    void stopsWithItsMessage()
    {
        QFETCH(QString, breakage);
        QFETCH(QString, box);
        test::TestCompany company(test::TestCompany::Seed::Empty);
        company.closeSql();
        const QString caminho = company.programFolder() + QStringLiteral("Caminho.dad");
        AppState state;
        test::FakeDesktop desktop;
        desktop.runningCopy = breakage.startsWith(u"another");
        if (breakage.startsWith(u"no Caminho"))
            QVERIFY(QFile::remove(caminho));
        else if (breakage.startsWith(u"data folder"))
            test::writeFile(caminho, company.dataFolder().chopped(1).toUtf8() + "\r\n");
        else if (breakage.startsWith(u"no Empresa"))
            QVERIFY(QFile::remove(company.dataFolder() + QStringLiteral("Empresa.ini")));
        else if (breakage.startsWith(u"garbage"))
            test::writeFile(company.databasePath(), QByteArray(8192, 'x'));
        else if (breakage.startsWith(u"a database")) {
            QVERIFY(QFile::remove(company.databasePath()));
            company.exec(QStringLiteral("CREATE TABLE Clientes (Codigo INTEGER PRIMARY KEY, Nome TEXT)"));
            company.closeSql();
        }
        QVERIFY(start(company.programFolder(), state, desktop) == nullptr);
        QCOMPARE(desktop.calls.join(u'/') + QString::number(desktop.activations), box + u'1');
        QVERIFY(!state.database && !QFile::exists(company.errorLogPath()));
    }

    // The first line names the data folder, in Windows-1252 or UTF-8, whatever its line end; an
    // empty one: the current folder. The program folder may come without its closing separator.
    void caminhoDad_data()
    {
        QTest::addColumn<QByteArray>("content"); // "%R": the installation's root
        QTest::addColumn<bool>("fromDataFolder"); // the current folder when Caminho.dad is read
        QTest::addColumn<bool>("starts");
        QTest::newRow("windows-1252, CR LF") << QByteArray("%R\xC1rea Cont\xE1"
                                                           "bil/\r\n")
                                             << false << true;
        QTest::newRow("utf-8, lone LF and a second line")
            << QStringLiteral("%RÁrea Contábil/\n/outra/pasta/\n").toUtf8() << false << true;
        QTest::newRow("empty, run from the data folder") << QByteArray() << true << true;
        QTest::newRow("empty, run from elsewhere") << QByteArray() << false << false;
    }
    void caminhoDad()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, fromDataFolder);
        QFETCH(bool, starts);
        test::TestCompany company;
        company.closeSql();
        const QString accented = company.root() + QStringLiteral("Área Contábil/");
        QVERIFY(QFile::link(company.dataFolder(), accented.chopped(1)));
        test::writeFile(company.programFolder() + QStringLiteral("Caminho.dad"),
            content.replace("%R", company.root().toUtf8()));
        QVERIFY(QDir::setCurrent(fromDataFolder ? company.dataFolder() : company.root()));
        AppState state;
        test::FakeDesktop desktop;
        const auto window = start(company.programFolder().chopped(1), state, desktop);
        QCOMPARE(state.dataFolder, content.isEmpty() ? QString() : accented);
        QCOMPARE(window != nullptr, starts);
        if (starts)
            QCOMPARE(QStringList({state.programFolder, state.companyName, QDir::currentPath(),
                         QString::number(desktop.boxes.size())}),
                QStringList({company.programFolder(), QStringLiteral("Padaria Teste Ltda"),
                    QDir(company.dataFolder() + QStringLiteral("Dados")).canonicalPath(), "0"}));
    }

    // Every later copy of the module, and no copy of another module, wakes the live one, whose
    // window comes back as it was before it was minimised.
    void laterCopiesActivateTheLiveOne()
    {
        const QString title = QStringLiteral("Teste Guarda %1").arg(QCoreApplication::applicationPid());
        InstanceGuard other(QStringLiteral("Outro Módulo") + title);
        QVERIFY(other.listen());
        QVERIFY(!InstanceGuard::askRunningCopy(title, 100));
        InstanceGuard first(title);
        QVERIFY(first.listen());
        QVERIFY(!InstanceGuard(title).listen());
        QSignalSpy activations(&first, &InstanceGuard::activationRequested);
        for (int copy = 1; copy <= 2; ++copy) {
            QVERIFY(InstanceGuard::askRunningCopy(title));
            QTRY_COMPARE(activations.size(), copy);
        }
        for (const auto was : {Qt::WindowNoState, Qt::WindowMaximized}) {
            QWidget window;
            window.setWindowState(was | Qt::WindowMinimized);
            bringToFront(window);
            QVERIFY(window.isVisible());
            QCOMPARE(window.windowState() & (Qt::WindowMinimized | Qt::WindowMaximized), was);
        }
    }

    // Each error adds its record under the header in Windows-1252, '?' for what it cannot hold;
    // the person hears and sees it too.
    void errorLog_data()
    {
        QTest::addColumn<QDateTime>("when");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QByteArray>("bytes"); // the date line, then the description
        const QDateTime november5(QDate(2025, 11, 5), QTime(9, 7, 41));
        QTest::newRow("march afternoon, accents")
            << QDateTime(QDate(2026, 3, 31), QTime(17, 59, 59)) << QStringLiteral("Ocupação Água")
            << QByteArray("31-mar\xE7o-2026  17:59|Ocupa\xE7\xE3o \xC1gua");
        QTest::newRow("midnight, cp1252 upper controls")
            << QDateTime(QDate(2024, 1, 1), QTime(0, 0)) << QStringLiteral("€ – “x” …")
            << QByteArray("01-janeiro-2024  00:00|\x80 \x96 \x93x\x94 \x85");
        QTest::newRow("emoji") << november5 << QStringLiteral("pão 😀!")
                               << QByteArray("05-novembro-2025  09:07|p\xE3o ?!");
        QTest::newRow("lone surrogate")
            << november5 << QString(QChar(0xD800)) + u'a' << QByteArray("05-novembro-2025  09:07|?a");
        QTest::newRow("line breaks kept")
            << november5 << QStringLiteral("a\r\nb") << QByteArray("05-novembro-2025  09:07|a\r\nb");
    }
    void errorLog()
    {
        QFETCH(QDateTime, when);
        QFETCH(QString, description);
        QFETCH(QByteArray, bytes);
        QTemporaryDir folder;
        QVERIFY(QDir().mkpath(folder.filePath(QStringLiteral("Dados"))));
        AppState state;
        state.dataFolder = folder.path() + u'/';
        state.major = 1;
        state.minor = 2;
        state.revision = 30;
        test::FakeDesktop desktop;
        for (int i = 0; i < 2; ++i)
            logError(state, desktop, rotina::Movimento, description, 3021, when);
        const QByteArray record = bytes.split('|')[0]
            + "\r\nUsu\xE1rio: \r\nPrograma: Plano de Contas\r\nRotina: Erro no Movimento_Click\r\nVers\xE3o "
              "1.2.30\r\nErro n\xFAmero: 3021\r\nDescri\xE7\xE3o: "
            + bytes.split('|')[1] + "\r\n\r\n";
        QCOMPARE(test::readFile(folder.filePath(QStringLiteral("Dados/Erros.txt"))),
            "***** NAO APAGUE AS LINHAS ABAIXO *****\r\n\r\n" + record + record);
        QCOMPARE(desktop.sounds, (QList<int> {1, 1}));
        QCOMPARE(desktop.calls.last(),
            QStringLiteral(
                "box Erro no Programa Plano de Contas\rAnote os dados abaixo e informe ao desenvolvedor "
                ":\r\rRotina em que houve o erro: Erro no Movimento_Click\rVersão 1.2.30\rErro número: "
                "3021\rDescrição: %1|Tratamento de Erros|%2")
                .arg(description)
                .arg(vb::Critical));
    }
};

VAREMO_TEST(TestStartup);
#include "test_startup.moc"
