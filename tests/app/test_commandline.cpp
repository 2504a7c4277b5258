#include "app/commandline.h"
#include "app/translations.h"
#include "support/testregistry.h"

#include <QCoreApplication>
#include <QTest>

using namespace varemo;

using Action = CommandLine::Action;
Q_DECLARE_METATYPE(CommandLine::Action)

class TestCommandLine : public QObject {
    Q_OBJECT

private slots:
    void parses_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("folder"); // the program or demo folder asked for
        const QString home = defaultDemoFolder();
        QTest::newRow("nothing") << QStringList() << Action::Run << "";
        QTest::newRow("--programa DIR") << QStringList {"--programa", "/opt/v"} << Action::Run << "/opt/v";
        QTest::newRow("--demo alone") << QStringList {"--demo"} << Action::Demo << home;
        QTest::newRow("--demo DIR") << QStringList {"--demo", "/tmp/d"} << Action::Demo << "/tmp/d";
        QTest::newRow("--demo=DIR") << QStringList {"--demo=/tmp/d"} << Action::Demo << "/tmp/d";
        QTest::newRow("--ajuda") << QStringList {"--ajuda"} << Action::Help << "";
        QTest::newRow("--programa without a folder") << QStringList {"--programa"} << Action::Error << "";
        QTest::newRow("--demo and --programa")
            << QStringList {"--demo", "/a", "--programa", "/b"} << Action::Error << "";
        QTest::newRow("unknown option") << QStringList {"--depurar"} << Action::Error << "";
    }

    void parses()
    {
        QFETCH(QStringList, arguments);
        QFETCH(Action, action);
        QFETCH(QString, folder);
        const CommandLine line = parseCommandLine(arguments);
        QCOMPARE(line.action, action);
        QCOMPARE(line.error.isEmpty(), action != Action::Error);
        QCOMPARE(action == Action::Demo ? line.demoFolder : line.programFolder, folder);
    }

    void reports_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("valid");
        const QStringList period {"--de", "01-03-2026", "--ate", "31-03-2026", "--pdf", "/tmp/r.pdf"};
        QTest::newRow("plano") << QStringList {"relatorio", "plano", "--nivel", "3", "--pdf", "/tmp/p.pdf"}
                               << true;
        QTest::newRow("plano level 5")
            << QStringList {"relatorio", "plano", "--nivel", "5", "--pdf", "o.pdf"} << false;
        QTest::newRow("plano without level") << QStringList {"relatorio", "plano", "--pdf", "o.pdf"} << false;
        QTest::newRow("plano without pdf") << QStringList {"relatorio", "plano", "--nivel", "2"} << false;
        QTest::newRow("personalizado")
            << QStringList {"relatorio", "personalizado", "Resultado Mensal"} + period << true;
        QTest::newRow("personalizado without name")
            << QStringList {"relatorio", "personalizado"} + period << false;
        QTest::newRow("personalizado, impossible date") << QStringList {"relatorio", "personalizado", "R",
            "--de", "31-02-2026", "--ate", "31-03-2026", "--pdf", "o"}
                                                        << false;
        QTest::newRow("personalizado, month first") << QStringList {"relatorio", "personalizado", "R", "--de",
            "03-31-2026", "--ate", "31-03-2026", "--pdf", "o"}
                                                    << false;
        QTest::newRow("personalizado, reversed period") << QStringList {"relatorio", "personalizado", "R",
            "--de", "01-04-2026", "--ate", "31-03-2026", "--pdf", "o"}
                                                        << false;
        QTest::newRow("personalizado does not take --nivel")
            << QStringList {"relatorio", "personalizado", "R", "--nivel", "2"} + period << false;
        QTest::newRow("unknown report") << QStringList {"relatorio", "balanco", "--pdf", "o.pdf"} << false;
        QTest::newRow("no report") << QStringList {"relatorio"} << false;
    }

    void reports()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, valid);
        const CommandLine line = parseCommandLine(arguments);
        QCOMPARE(line.action, valid ? Action::Report : Action::Error);
        if (valid)
            QVERIFY(!line.pdf.isEmpty() && (line.level > 0 || !line.reportName.isEmpty()));
    }

    // Standard buttons read "Sim" and "Não".
    void qtTextsInPortuguese()
    {
        QVERIFY(installTranslations(*QCoreApplication::instance()));
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "&Yes"), QStringLiteral("&Sim"));
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "&No"), QStringLiteral("&Não"));
        QCOMPARE(QLocale().monthName(3), QStringLiteral("março"));
    }
};

VAREMO_TEST(TestCommandLine);
#include "test_commandline.moc"
