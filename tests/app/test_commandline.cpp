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
        const auto row = [](const char* tag, const char* arguments, bool valid) {
            QTest::newRow(tag) << QString::fromLatin1(arguments).split(u' ') << valid;
        };
        const QString period = QStringLiteral(" --de 01-03-2026 --ate 31-03-2026 --pdf /tmp/r.pdf");
        const auto withPeriod = [&period](const char* tag, const char* arguments, bool valid) {
            QTest::newRow(tag) << (QString::fromLatin1(arguments) + period).split(u' ') << valid;
        };
        row("plano", "relatorio plano --nivel 3 --pdf /tmp/p.pdf", true);
        row("plano level 5", "relatorio plano --nivel 5 --pdf o.pdf", false);
        row("plano without level", "relatorio plano --pdf o.pdf", false);
        row("plano without pdf", "relatorio plano --nivel 2", false);
        withPeriod("personalizado", "relatorio personalizado Resultado", true);
        withPeriod("personalizado without name", "relatorio personalizado", false);
        row("personalizado, impossible date",
            "relatorio personalizado R --de 31-02-2026 --ate 31-03-2026 --pdf o", false);
        row("personalizado, month first",
            "relatorio personalizado R --de 03-31-2026 --ate 31-03-2026 --pdf o", false);
        row("personalizado, reversed period",
            "relatorio personalizado R --de 01-04-2026 --ate 31-03-2026 --pdf o", false);
        withPeriod("personalizado does not take --nivel", "relatorio personalizado R --nivel 2", false);
        row("spreadsheet alone", "relatorio plano --nivel 1 --xlsx p.xlsx", true);
        row("unknown report", "relatorio balanco --pdf o.pdf", false);
        row("no report", "relatorio", false);
    }

    void reports()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, valid);
        const CommandLine line = parseCommandLine(arguments);
        QCOMPARE(line.action, valid ? Action::Report : Action::Error);
        if (valid)
            QVERIFY(!(line.pdf + line.xlsx + line.csv).isEmpty()
                && (line.level > 0 || !line.reportName.isEmpty()));
    }

    // The real program, as a script runs it: no display at all. "%P" is the demo company's
    // program folder, "%O" an empty folder for the output.
    void headless_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said"); // on stderr; for a success, the title in the PDF and text
        const QStringList march {"--de", "01-03-2026", "--ate", "31-03-2026", "--programa", "%P"};
        const QStringList monthly = QStringList {"relatorio", "personalizado", "resultado mensal"} + march;
        const QStringList chart {"relatorio", "plano", "--nivel", "3", "--programa", "%P"};
        QTest::newRow("chart in three formats")
            << chart + QStringList {"--pdf", "%O/p.pdf", "--xlsx", "%O/p.xlsx", "--csv", "%O/p.csv"} << 0
            << "Plano de Contas";
        QTest::newRow("a definition, named in any case")
            << monthly + QStringList {"--pdf", "%O/r.pdf", "--csv", "%O/r.csv"} << 0
            << "Relatório : Resultado Mensal";
        QTest::newRow("unknown definition")
            << QStringList {"relatorio", "personalizado", "Balanço"} + march
                + QStringList {"--pdf", "%O/r.pdf"}
            << ExitFailed << "Relatório personalizado não encontrado: \"Balanço\"";
        QTest::newRow("bad date") << QStringList {"relatorio", "personalizado", "R", "--de", "32-03-2026",
            "--ate", "31-03-2026", "--pdf", "%O/r.pdf"}
                                  << ExitUsage << "Data inválida em --de: 32-03-2026";
        QTest::newRow("output onto a folder")
            << chart + QStringList {"--xlsx", "%O"} << ExitFailed << "é uma pasta.";
        QTest::newRow("no company in the program folder")
            << QStringList {"relatorio", "plano", "--nivel", "2", "--programa", "%O", "--pdf", "%O/p.pdf"}
            << ExitFailed << "Sumiu o arquivo path da rede";
    }

    void headless()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        if (!m_company)
            m_company = std::make_unique<test::TestCompany>(test::TestCompany::Seed::Demo);
        QTemporaryDir out;
        QStringList outputs;
        for (QString& argument : arguments) {
            argument.replace(QLatin1String("%P"), m_company->programFolder())
                .replace(QLatin1String("%O"), out.path());
            if (argument.startsWith(out.path() + u'/'))
                outputs << argument;
        }
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QLatin1String(name));
        program.setProcessEnvironment(environment);
        program.start(
            qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/varemo-contas"), arguments);
        QVERIFY(program.waitForFinished(300000));
        const QString errors = QString::fromLocal8Bit(program.readAllStandardError());
        QCOMPARE(program.exitCode(), exitCode);
        if (exitCode != 0) {
            QVERIFY2(errors.contains(said), qPrintable(errors));
            QVERIFY(outputs.isEmpty() || !QFile::exists(outputs.last()));
            return;
        }
        for (const QString& output : outputs) {
            QFile file(output);
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(output));
            if (output.endsWith(QLatin1String(".csv")))
                QVERIFY(QString::fromUtf8(file.readAll()).contains(said));
            if (output.endsWith(QLatin1String(".pdf")))
                QVERIFY(pdfText(output).contains(said));
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
    // What a PDF reader shows: poppler's pdftotext, which the build's package list installs.
    static QString pdfText(const QString& path)
    {
        QProcess reader;
        reader.start(QStringLiteral("pdftotext"), {path, QStringLiteral("-")});
        reader.waitForFinished();
        return QString::fromUtf8(reader.readAllStandardOutput());
    }

    std::unique_ptr<test::TestCompany> m_company;
};

VAREMO_TEST(TestCommandLine);
#include "test_commandline.moc"
