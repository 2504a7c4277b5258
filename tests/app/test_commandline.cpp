#include "app/commandline.h"
#include "app/translations.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
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

    // The real program, as a script runs it: no display at all. "%P" is the demo company's program
    // folder, "%O" an empty folder, "%S" a server database and "%F" a file, each holding a table of
    // its own that no run may touch.
    void headless_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said"); // on stderr; for a success, the title in the text output
        const QString march = QStringLiteral(" --de 01-03-2026 --ate 31-03-2026 --programa %P");
        const QString notEmpty = QStringLiteral("O destino não está vazio");
        QTest::newRow("chart in three formats")
            << "relatorio plano --nivel 3 --programa %P --pdf %O/p.pdf --xlsx %O/p.xlsx --csv %O/p.csv" << 0
            << "Plano de Contas";
        QTest::newRow("a definition, named in any case")
            << "relatorio personalizado \"resultado mensal\" --pdf %O/r.pdf --csv %O/r.csv" + march << 0
            << "Relatório : Resultado Mensal";
        QTest::newRow("unknown definition") << "relatorio personalizado Balanço --pdf %O/r.pdf"
                + march << ExitFailed << "Relatório personalizado não encontrado: \"Balanço\"";
        QTest::newRow("no company in the program folder")
            << "relatorio plano --nivel 2 --programa %O --pdf %O/p.pdf" << ExitFailed
            << "Sumiu o arquivo path da rede";
        QTest::newRow("migrar to a server not empty")
            << "migrar --para-postgresql \"%S\" --programa %P" << ExitFailed << notEmpty;
        QTest::newRow("migrar to a file not empty")
            << "migrar --para-sqlite %F --programa %P" << ExitFailed << notEmpty;
        QTest::newRow("migrar to a server unreachable")
            << "migrar --para-postgresql \"host=/nao/existe port=1 dbname=x user=postgres\" --programa %P"
            << ExitFailed << "Não foi possível conectar ao servidor PostgreSQL";
        QTest::newRow("migrar without a company")
            << "migrar --para-sqlite %O/e.mdb --programa %O" << ExitFailed << "Sumiu o arquivo path da rede";
        QTest::newRow("migrar nowhere") << "migrar --programa %P" << ExitUsage << "Diga para onde migrar";
    }
    void headless()
    {
        QFETCH(QString, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        if (!m_company)
            m_company = std::make_unique<test::TestCompany>(test::TestCompany::Seed::Demo);
        QTemporaryDir out;
        const QString server = conninfo(test::PgServer::instance().createDatabase());
        const QString file = out.filePath(QStringLiteral("outra.mdb"));
        for (const QString& target : {server, file})
            QSqlQuery(open(target)).exec(QStringLiteral("CREATE TABLE Outra (x integer)"));
        arguments.replace(QLatin1String("%P"), m_company->programFolder())
            .replace(QLatin1String("%O"), out.path())
            .replace(QLatin1String("%S"), server)
            .replace(QLatin1String("%F"), file);
        const QStringList words = QProcess::splitCommand(arguments);
        QCOMPARE(run(words), exitCode);
        QVERIFY2(exitCode == 0 || m_err.contains(said), qPrintable(m_err));
        for (const QString& target : {server, file})
            QCOMPARE(open(target).tables().size(), 1);
        // Every output is written, the text ones naming the report.
        for (const QString& output : words.filter(out.path() + u'/')) {
            QFile written(output);
            QCOMPARE(
                written.open(QIODevice::ReadOnly) && written.size() > 0, exitCode == 0 || output == file);
            QVERIFY(!output.endsWith(QLatin1String(".csv"))
                || QString::fromUtf8(written.readAll()).contains(said));
        }
    }

    // The advice the program prints is what Empresa.ini gets: the company then opens on the
    // server, and the file made from it holds every row the first file held, keys included.
    void migrarThereAndBack()
    {
        test::TestCompany company(test::TestCompany::Seed::Demo);
        const QString server = conninfo(test::PgServer::instance().createDatabase());
        QCOMPARE(run({"migrar", "--para-postgresql", server, "--programa", company.programFolder()}), 0);
        const QString ini = company.dataFolder() + QStringLiteral("Empresa.ini");
        test::writeFile(ini, test::readFile(ini) + "\r\n" + m_out.mid(m_out.indexOf("[Servidor]")).toUtf8());
        QTemporaryDir out;
        QCOMPARE(run({"migrar", "--para-sqlite", out.filePath("volta.mdb"), "--programa",
                     company.programFolder()}),
            0);
        QVERIFY2(m_out.contains(QStringLiteral("Conferido")), qPrintable(m_out));
        QSqlDatabase again = open(out.filePath("volta.mdb"));
        for (const QString& table : schema::tableNames()) {
            const QStringList rows = dump(company.sql(), table);
            QVERIFY2(rows.size() > 0 || table == QLatin1String("Procura"), qPrintable(table));
            QCOMPARE(dump(again, table), rows);
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
    static QString conninfo(const QString& database)
    {
        return "host=" + test::PgServer::instance().socketFolder() + " dbname=" + database + " user=postgres";
    }

    // A connection, one per target, to a server database (by conninfo) or to a file.
    static QSqlDatabase open(const QString& target)
    {
        const bool server = target.startsWith(QLatin1String("host="));
        if (QSqlDatabase::contains(target))
            return QSqlDatabase::database(target);
        QSqlDatabase db = QSqlDatabase::addDatabase(server ? "QPSQL" : "QSQLITE", target);
        db.setHostName(test::PgServer::instance().socketFolder());
        db.setUserName(QStringLiteral("postgres"));
        db.setDatabaseName(server ? target.section(QLatin1String("dbname="), 1).section(u' ', 0, 0) : target);
        db.open();
        return db;
    }

    static QStringList dump(const QSqlDatabase& db, const QString& table)
    {
        QSqlQuery query(QStringLiteral("SELECT rowid, * FROM %1 ORDER BY rowid").arg(table), db);
        QStringList rows;
        while (query.next()) {
            rows << QString();
            for (int c = 0; c < query.record().count(); ++c)
                rows.last() += query.value(c).toString() + u'|';
        }
        return rows;
    }

    // The program with no display at all: its exit code, what it printed in m_out and m_err.
    int run(const QStringList& arguments)
    {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
            environment.remove(QLatin1String(name));
        program.setProcessEnvironment(environment);
        program.start(
            qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/varemo-contas"), arguments);
        if (!program.waitForFinished(300000))
            return -1;
        m_out = QString::fromLocal8Bit(program.readAllStandardOutput());
        m_err = QString::fromLocal8Bit(program.readAllStandardError());
        return program.exitCode();
    }

    std::unique_ptr<test::TestCompany> m_company;
    QString m_out, m_err;
};

VAREMO_TEST(TestCommandLine);
#include "test_commandline.moc"
