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
        const QString database = test::PgServer::instance().createDatabase();
        QCOMPARE(migrar({"--para-postgresql", conninfo(database)}, company.programFolder()), 0);
        QVERIFY2(m_out.contains(QStringLiteral("VendaProdutos")), qPrintable(m_out));
        const QString section = m_out.mid(m_out.indexOf(QLatin1String("[Servidor]")));
        test::writeFile(company.dataFolder() + QStringLiteral("Empresa.ini"),
            test::readFile(company.dataFolder() + QStringLiteral("Empresa.ini")) + "\r\n" + section.toUtf8());
        QTemporaryDir out;
        const QString back = out.filePath(QStringLiteral("volta.mdb"));
        QCOMPARE(migrar({"--para-sqlite", back}, company.programFolder()), 0);
        QVERIFY2(m_out.contains(QStringLiteral("Conferido")), qPrintable(m_out));
        QSqlDatabase again = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("volta"));
        again.setDatabaseName(back);
        QVERIFY(again.open());
        for (const QString& table : schema::tableNames()) {
            const QStringList rows = dump(company.sql(), table);
            QVERIFY2(rows.size() > 0 || table == QLatin1String("Procura"), qPrintable(table));
            QCOMPARE(dump(again, table), rows);
        }
        again.close();
        again = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("volta"));
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
        const QString file = empty.filePath(QStringLiteral("outra.mdb"));
        const QString database = test::PgServer::instance().createDatabase();
        const QString ownTable
            = QStringLiteral("CREATE TABLE Outra (x integer); INSERT INTO Outra VALUES (1)");
        const QStringList server = inDatabase(conninfo(database), QStringLiteral("QPSQL"), ownTable);
        const QStringList before = inDatabase(file, QStringLiteral("QSQLITE"), ownTable);
        for (QString& argument : arguments)
            argument.replace(QLatin1String("%S"), conninfo(database))
                .replace(QLatin1String("%F"), file)
                .replace(QLatin1String("%P"), company.programFolder())
                .replace(QLatin1String("%E"), empty.path());
        QCOMPARE(migrar(arguments, company.programFolder()), exitCode);
        QVERIFY2(m_err.contains(said), qPrintable(m_err));
        // Nothing written: each target holds its one table as before.
        QCOMPARE(inDatabase(conninfo(database), QStringLiteral("QPSQL"), {}), server);
        QCOMPARE(inDatabase(file, QStringLiteral("QSQLITE"), {}), before);
        QVERIFY(!QFile::exists(empty.filePath(QStringLiteral("e.mdb"))));
    }

private:
    static QString conninfo(const QString& database)
    {
        return QStringLiteral("host=%1 port=%2 dbname=%3 user=postgres")
            .arg(test::PgServer::instance().socketFolder())
            .arg(test::PgServer::instance().port())
            .arg(database);
    }

    // Runs the statements, then names every table the database holds.
    static QStringList inDatabase(const QString& where, const QString& driver, const QString& statements)
    {
        QStringList tables;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(driver, QStringLiteral("check"));
            const bool server = driver == QLatin1String("QPSQL");
            if (server) {
                db.setHostName(test::PgServer::instance().socketFolder());
                db.setUserName(QStringLiteral("postgres"));
            }
            db.setDatabaseName(
                server ? where.section(QLatin1String("dbname="), 1).section(u' ', 0, 0) : where);
            if (db.open()) {
                for (const QString& statement : statements.split(u';', Qt::SkipEmptyParts))
                    QSqlQuery(db).exec(statement);
                tables = db.tables();
            }
        }
        QSqlDatabase::removeDatabase(QStringLiteral("check"));
        return tables;
    }

    static QStringList dump(const QSqlDatabase& db, const QString& table)
    {
        QSqlQuery query(db);
        query.exec(QStringLiteral("SELECT rowid, * FROM %1 ORDER BY rowid").arg(table));
        QStringList rows;
        while (query.next()) {
            QStringList row;
            for (int c = 0; c < query.record().count(); ++c)
                row << query.value(c).toString();
            rows << row.join(u'|');
        }
        return rows;
    }

    int migrar(const QStringList& arguments, const QString& programFolder)
    {
        QStringList all = QStringList {QStringLiteral("migrar")} + arguments;
        if (!all.contains(QLatin1String("--programa")))
            all << QStringLiteral("--programa") << programFolder;
        QProcess program;
        program.start(qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/varemo-contas"), all);
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
