#include "app/commandline.h"
#include "app/translations.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace varemo;

using Action = CommandLine::Action;
Q_DECLARE_METATYPE(CommandLine::Action)

class TestCommandLine : public QObject {
    Q_OBJECT

private slots:
    void parses_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("folder"); // the program or demo folder asked for
        const QString march = QStringLiteral(" --de 01-03-2026 --ate 31-03-2026 --pdf o.pdf");
        const auto row
            = [](const char* tag, const QString& arguments, Action action, const QString& folder = {}) {
                  QTest::newRow(tag) << arguments << action << folder;
              };
        row("nothing", "", Action::Run);
        row("--programa DIR", "--programa /opt/v", Action::Run, "/opt/v");
        row("--demo alone", "--demo", Action::Demo, defaultDemoFolder());
        row("--demo DIR", "--demo /tmp/d", Action::Demo, "/tmp/d");
        row("--ajuda", "--ajuda", Action::Help);
        row("--programa without a folder", "--programa", Action::Error);
        row("--demo and --programa", "--demo /a --programa /b", Action::Error);
        row("unknown option", "--depurar", Action::Error);
        row("plano", "relatorio plano --nivel 3 --pdf /tmp/p.pdf", Action::Report);
        row("plano level 5", "relatorio plano --nivel 5 --pdf o.pdf", Action::Error);
        row("plano without output", "relatorio plano --nivel 2", Action::Error);
        row("spreadsheet alone", "relatorio plano --nivel 1 --xlsx p.xlsx", Action::Report);
        row("personalizado", "relatorio personalizado Resultado" + march, Action::Report);
        row("personalizado without name", "relatorio personalizado" + march, Action::Error);
        row("impossible date", "relatorio personalizado R --de 31-02-2026 --ate 31-03-2026 --pdf o",
            Action::Error);
        row("reversed period", "relatorio personalizado R --de 01-04-2026 --ate 31-03-2026 --pdf o",
            Action::Error);
        row("personalizado with --nivel", "relatorio personalizado R --nivel 2" + march, Action::Error);
        row("unknown report", "relatorio balanco --pdf o.pdf", Action::Error);
    }
    void parses()
    {
        QFETCH(QString, arguments);
        QFETCH(Action, action);
        QFETCH(QString, folder);
        const CommandLine line = parseCommandLine(arguments.split(u' ', Qt::SkipEmptyParts));
        QCOMPARE(line.action, action);
        QCOMPARE(line.error.isEmpty(), action != Action::Error);
        QCOMPARE(action == Action::Demo ? line.demoFolder : line.programFolder, folder);
    }

    // The real program, as a script runs it: no display at all. "%P" is the demo company's
    // program folder, "%O" an empty folder for the output.
    void headless_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said"); // on stderr; for a success, the title in the text output
        const QString march = QStringLiteral(" --de 01-03-2026 --ate 31-03-2026 --programa %P");
        QTest::newRow("chart in three formats")
            << "relatorio plano --nivel 3 --programa %P --pdf %O/p.pdf --xlsx %O/p.xlsx --csv %O/p.csv" << 0
            << "Plano de Contas";
        QTest::newRow("a definition, named in any case")
            << "relatorio personalizado|resultado mensal|--pdf %O/r.pdf --csv %O/r.csv" + march << 0
            << "Relatório : Resultado Mensal";
        QTest::newRow("unknown definition") << "relatorio personalizado Balanço --pdf %O/r.pdf"
                + march << ExitFailed << "Relatório personalizado não encontrado: \"Balanço\"";
        QTest::newRow("no company in the program folder")
            << "relatorio plano --nivel 2 --programa %O --pdf %O/p.pdf" << ExitFailed
            << "Sumiu o arquivo path da rede";
    }
    void headless()
    {
        QFETCH(QString, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        if (!m_company)
            m_company = std::make_unique<test::TestCompany>(test::TestCompany::Seed::Demo);
        QTemporaryDir out;
        arguments.replace(QLatin1String("%P"), m_company->programFolder())
            .replace(QLatin1String("%O"), out.path());
        // A '|' keeps a name with blanks in one argument.
        QStringList words;
        const QStringList parts = arguments.split(u'|');
        for (qsizetype i = 0; i < parts.size(); ++i)
            words += i % 2 ? QStringList {parts[i]} : parts[i].split(u' ', Qt::SkipEmptyParts);
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QLatin1String(name));
        program.setProcessEnvironment(environment);
        program.start(qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/varemo-contas"), words);
        QVERIFY(program.waitForFinished(300000));
        const QString errors = QString::fromLocal8Bit(program.readAllStandardError());
        QCOMPARE(program.exitCode(), exitCode);
        QVERIFY2(exitCode == 0 || errors.contains(said), qPrintable(errors));
        // Every output is written, the text ones naming the report.
        for (const QString& output : words.filter(out.path() + u'/')) {
            QFile file(output);
            QCOMPARE(file.open(QIODevice::ReadOnly) && file.size() > 0, exitCode == 0);
            QVERIFY(
                !output.endsWith(QLatin1String(".csv")) || QString::fromUtf8(file.readAll()).contains(said));
        }
    }

    // Standard buttons read "Sim" and "Não".
    void qtTextsInPortuguese()
    {
        QVERIFY(installTranslations(*QCoreApplication::instance()));
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "&Yes"), QStringLiteral("&Sim"));
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "&No"), QStringLiteral("&Não"));
        QCOMPARE(QLocale().monthName(3), QStringLiteral("março"));
    }

private:
    std::unique_ptr<test::TestCompany> m_company;
};

VAREMO_TEST(TestCommandLine);
#include "test_commandline.moc"
