#include "data/schema.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QProcess>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QTest>

using namespace varemo;

// The real program moving a company to the tests' PostgreSQL server and back.
class TestMigrar : public QObject {
    Q_OBJECT

private slots:
    // The advice the program prints is what Empresa.ini gets: the company then opens on the
    // server, and the file made from it holds every row the first file held, keys included.
    void thereAndBack()
    {
        test::TestCompany company(test::TestCompany::Seed::Demo);
        const QString server = conninfo(test::PgServer::instance().createDatabase());
        QCOMPARE(migrar({"--para-postgresql", server}, company.programFolder()), 0);
        const QString ini = company.dataFolder() + QStringLiteral("Empresa.ini");
        test::writeFile(ini, test::readFile(ini) + "\r\n" + m_out.mid(m_out.indexOf("[Servidor]")).toUtf8());
        QTemporaryDir out;
        QCOMPARE(migrar({"--para-sqlite", out.filePath("volta.mdb")}, company.programFolder()), 0);
        QVERIFY2(m_out.contains(QStringLiteral("Conferido")), qPrintable(m_out));
        QSqlDatabase again = open(out.filePath("volta.mdb"));
        for (const QString& table : schema::tableNames()) {
            const QStringList rows = dump(company.sql(), table);
            QVERIFY2(rows.size() > 0 || table == QLatin1String("Procura"), qPrintable(table));
            QCOMPARE(dump(again, table), rows);
        }
    }

    // "%S" a server database holding a table of its own, "%F" a file holding one, "%P" the
    // company's program folder, "%E" an empty folder.
    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said");
        const QString notEmpty = QStringLiteral("O destino não está vazio");
        QTest::newRow("server not empty") << QStringList {"--para-postgresql", "%S"} << 1 << notEmpty;
        QTest::newRow("file not empty") << QStringList {"--para-sqlite", "%F"} << 1 << notEmpty;
        QTest::newRow("server unreachable")
            << QStringList {"--para-postgresql", "host=/nao/existe port=1 dbname=x user=postgres"} << 1
            << "Não foi possível conectar ao servidor PostgreSQL";
        QTest::newRow("no company") << QStringList {"--para-sqlite", "%E/e.mdb", "--programa", "%E"} << 1
                                    << "Sumiu o arquivo path da rede";
        QTest::newRow("nowhere to go") << QStringList {"--programa", "%P"} << 2 << "Diga para onde migrar";
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        test::TestCompany company(test::TestCompany::Seed::Small);
        QTemporaryDir empty;
        const QString server = conninfo(test::PgServer::instance().createDatabase());
        const QString file = empty.filePath(QStringLiteral("outra.mdb"));
        for (const QString& target : {server, file})
            QSqlQuery(open(target)).exec(QStringLiteral("CREATE TABLE Outra (x integer)"));
        for (QString& argument : arguments)
            argument.replace("%S", server)
                .replace("%F", file)
                .replace("%P", company.programFolder())
                .replace("%E", empty.path());
        QCOMPARE(migrar(arguments, company.programFolder()), exitCode);
        QVERIFY2(m_err.contains(said), qPrintable(m_err));
        // Nothing written: each target holds its one table as before.
        for (const QString& target : {server, file})
            QCOMPARE(open(target).tables().size(), 1);
        QVERIFY(!QFile::exists(empty.filePath(QStringLiteral("e.mdb"))));
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

    int migrar(QStringList arguments, const QString& programFolder)
    {
        if (!arguments.contains(QLatin1String("--programa")))
            arguments << QStringLiteral("--programa") << programFolder;
        QProcess program;
        program.start(qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/varemo-contas"),
            QStringList {QStringLiteral("migrar")} + arguments);
        if (!program.waitForFinished(120000))
            return -1;
        m_out = QString::fromLocal8Bit(program.readAllStandardOutput());
        m_err = QString::fromLocal8Bit(program.readAllStandardError());
        return program.exitCode();
    }

    QString m_out;
    QString m_err;
};

VAREMO_TEST(TestMigrar);
#include "test_migrar.moc"
