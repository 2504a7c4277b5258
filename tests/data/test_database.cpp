#include "data/database.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlQuery>
#include <QTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using varemo::Database;
using varemo::JetError;
using varemo::RecordsetType;
using varemo::StorageBug;
using varemo::UnitOfWork;
using varemo::test::TestCompany;

namespace {

constexpr int ShortWaitMs = 150;

int failure(const std::function<void()>& call)
{
    try {
        call();
    } catch (const JetError& error) {
        return error.number();
    }
    return 0;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class TestDatabase : public QObject {
    Q_OBJECT

private slots:
    // A file that is not a database, or is damaged, is 3049; anything else another number.
    // The file is never created nor rewritten by a failed opening.
    void openFailures_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<bool>("corrupt");
        QTest::newRow("missing") << "missing" << false;
        QTest::newRow("a folder in its place") << "folder" << false;
        QTest::newRow("empty") << "empty" << true;
        QTest::newRow("garbage") << "garbage" << true;
        QTest::newRow("header overwritten") << "header" << true;
        QTest::newRow("cut in half") << "truncated" << true;
        QTest::newRow("a chart page overwritten") << "page" << true;
    }
    void openFailures()
    {
        QFETCH(QString, damage);
        QFETCH(bool, corrupt);
        TestCompany company;
        const QString path = company.databasePath();
        QByteArray bytes = readAll(path);
        if (damage == QLatin1String("page")) {
            const int page = company.scalar(QStringLiteral("PRAGMA page_size")).toInt();
            const int root = company
                                 .scalar(QStringLiteral(
                                     "SELECT rootpage FROM sqlite_master WHERE name = 'NivelCategoria4'"))
                                 .toInt();
            company.closeSql();
            bytes.replace((root - 1) * page + 8, page - 8, QByteArray(page - 8, '\xff'));
        }
        QFile::remove(path);
        if (damage == QLatin1String("folder"))
            QVERIFY(QDir().mkpath(path));
        else if (damage == QLatin1String("empty"))
            writeAll(path, {});
        else if (damage == QLatin1String("garbage"))
            writeAll(path, QByteArray("Standard Jet DB\0", 16) + QByteArray(4000, '\x5a'));
        else if (damage == QLatin1String("header"))
            writeAll(path, bytes.replace(0, 16, QByteArray("Standard Jet DB\0", 16)));
        else if (damage == QLatin1String("truncated"))
            writeAll(path, bytes.left(bytes.size() / 2));
        else if (damage == QLatin1String("page"))
            writeAll(path, bytes);
        const QByteArray left = readAll(path);

        const int number = failure([&] {
            const auto db = Database::open(path, ShortWaitMs);
            db->checkTables(varemo::schema::chartTables());
        });
        QVERIFY(number != 0);
        QCOMPARE(number == 3049, corrupt);
        QCOMPARE(QFileInfo::exists(path), damage != QLatin1String("missing"));
        QCOMPARE(readAll(path), left);
    }

    // Another module holding the file past the wait fails the action with 3218 (never
    // the damaged-file 3049), after the wait and not before.
    void lockOutlastingTheWait_data()
    {
        QTest::addColumn<QString>("lock");
        QTest::addColumn<QString>("action");
        QTest::newRow("write lock, statement") << "BEGIN IMMEDIATE"
                                               << "execute";
        QTest::newRow("write lock, unit of work") << "BEGIN IMMEDIATE"
                                                  << "unit";
        QTest::newRow("exclusive, opening") << "BEGIN EXCLUSIVE"
                                            << "open";
        QTest::newRow("exclusive, reading") << "BEGIN EXCLUSIVE"
                                            << "read";
    }
    void lockOutlastingTheWait()
    {
        QFETCH(QString, lock);
        QFETCH(QString, action);
        TestCompany company;
        std::unique_ptr<Database> db;
        if (action != QLatin1String("open"))
            db = Database::open(company.databasePath(), ShortWaitMs);
        company.exec(lock);
        QElapsedTimer clock;
        clock.start();
        const int number = failure([&] {
            if (action == QLatin1String("execute"))
                db->execute(QStringLiteral("DELETE * FROM Procura;"));
            else if (action == QLatin1String("unit"))
                UnitOfWork unit(*db);
            else if (action == QLatin1String("open"))
                Database::open(company.databasePath(), ShortWaitMs);
            else
                db->openRecordset(QStringLiteral("NivelCategoria1"));
        });
        const qint64 waited = clock.elapsed();
        company.exec(QStringLiteral("ROLLBACK"));
        QCOMPARE(number, 3218);
        QVERIFY2(waited >= ShortWaitMs - 20, qPrintable(QString::number(waited)));
        if (db) {
            QVERIFY(!db->inTransaction());
            QCOMPARE(db->execute(QStringLiteral("DELETE * FROM Procura;")), 0); // usable again
        }
    }

    void shortLockIsWaitedFor()
    {
        TestCompany company;
        const QString path = company.databasePath();
        const auto db = Database::open(path);
        std::atomic<bool> holding {false};
        std::thread holder([&path, &holding] {
            const QString name = QStringLiteral("other-module");
            {
                QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
                other.setDatabaseName(path);
                other.open();
                QSqlQuery query(other);
                query.exec(QStringLiteral("BEGIN IMMEDIATE"));
                query.exec(QStringLiteral("INSERT INTO Procura (Codigo) VALUES (77)"));
                holding = true;
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
                query.exec(QStringLiteral("COMMIT"));
                other.close();
            }
            QSqlDatabase::removeDatabase(name);
        });
        while (!holding)
            std::this_thread::yield();
        int deleted = -1;
        const int number = failure([&] { deleted = db->execute(QStringLiteral("DELETE * FROM Procura;")); });
        holder.join();
        QCOMPARE(number, 0);
        QCOMPARE(deleted, 1); // the other module's row, committed while we waited
    }

    // A unit that does not commit leaves the file and the recordsets it wrote as before.
    void failedUnitForgetsItsRows_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("failure");
        QTest::newRow("added, statement fails") << "add"
                                                << "statement";
        QTest::newRow("edited, statement fails") << "edit"
                                                 << "statement";
        QTest::newRow("deleted, statement fails") << "delete"
                                                  << "statement";
        QTest::newRow("added, inner unit abandoned") << "add"
                                                     << "inner";
        QTest::newRow("all three, COMMIT kept waiting by a reader") << "all"
                                                                    << "reader";
    }
    void failedUnitForgetsItsRows()
    {
        QFETCH(QString, change);
        QFETCH(QString, failure);
        TestCompany company;
        const auto db = Database::open(company.databasePath(), ShortWaitMs);
        auto rs = db->openRecordset(QStringLiteral("NivelCategoria1"), RecordsetType::Table);
        auto other = db->openRecordset(QStringLiteral("NivelCategoria2"), RecordsetType::Table);
        QVERIFY(rs->findFirst(QStringLiteral("Codigo = 3")));
        if (failure == QLatin1String("reader")) {
            company.exec(QStringLiteral("BEGIN"));
            QCOMPARE(company.count(QStringLiteral("SELECT count(*) FROM NivelCategoria1")), 4);
        }
        bool thrown = false;
        try {
            UnitOfWork unit(*db);
            if (change == QLatin1String("add") || change == QLatin1String("all")) {
                rs->addNew();
                rs->setValue(QStringLiteral("Nome"), QStringLiteral("Setor novo"));
                rs->setValue(QStringLiteral("CodigoCategoria0"), 2);
                rs->update();
            }
            if (change == QLatin1String("edit") || change == QLatin1String("all")) {
                rs->edit();
                rs->setValue(QStringLiteral("Nome"), QStringLiteral("Outro nome"));
                rs->update();
            }
            if (change == QLatin1String("delete") || change == QLatin1String("all")) {
                QVERIFY(rs->findFirst(QStringLiteral("Codigo = 4")));
                rs->deleteCurrent();
            }
            if (failure == QLatin1String("statement")) {
                db->execute(QStringLiteral("UPDATE NivelCategoria2 SET Nome = 'x'' WHERE Codigo = 1"));
            } else if (failure == QLatin1String("inner")) {
                UnitOfWork inner(*db);
                db->execute(QStringLiteral("DELETE * FROM Procura;"));
            }
            unit.commit();
        } catch (const JetError& error) {
            thrown = true;
            QCOMPARE(error.number() == 3218, failure == QLatin1String("reader"));
        } catch (const StorageBug&) {
            thrown = true;
            QCOMPARE(failure, QStringLiteral("inner"));
        }
        if (failure == QLatin1String("reader"))
            company.exec(QStringLiteral("ROLLBACK"));
        QVERIFY(thrown);
        QVERIFY(!db->inTransaction());
        QCOMPARE(company.count(QStringLiteral("SELECT count(*) FROM NivelCategoria1")), 4);
        QCOMPARE(
            company.scalar(QStringLiteral("SELECT Nome FROM NivelCategoria1 WHERE Codigo = 3")).toString(),
            QStringLiteral("Despesas Administrativas"));
        QCOMPARE(rs->recordCount(), 4);
        // back on the record that was current at the first write
        QCOMPARE(rs->value(QStringLiteral("Codigo")).toInt(), change == QLatin1String("delete") ? 4 : 3);
        QVERIFY(rs->findFirst(QStringLiteral("Codigo = 3")));
        QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), QStringLiteral("Despesas Administrativas"));
        QVERIFY(rs->findFirst(QStringLiteral("Codigo = 4")));
        QVERIFY(!rs->findFirst(QStringLiteral("Nome = 'Setor novo'")));
        QCOMPARE(other->recordCount(), 6);

        // The same action goes through once nothing stands in its way.
        UnitOfWork again(*db);
        rs->addNew();
        rs->setValue(QStringLiteral("Nome"), QStringLiteral("Setor novo"));
        rs->update();
        again.commit();
        QCOMPARE(company.count(QStringLiteral("SELECT count(*) FROM NivelCategoria1")), 5);
        QCOMPARE(rs->recordCount(), 5);
    }

    // Inner units join the outer one: only the outermost commit writes, once.
    void nestedUnitsCommitOnce_data()
    {
        QTest::addColumn<bool>("outerCommits");
        QTest::newRow("outer commits") << true;
        QTest::newRow("outer abandoned after the inner committed") << false;
    }
    void nestedUnitsCommitOnce()
    {
        QFETCH(bool, outerCommits);
        TestCompany company;
        const auto db = Database::open(company.databasePath());
        QStringList seen;
        db->statementHook = [&seen](const QString& sql) { seen << sql; };
        {
            UnitOfWork outer(*db);
            {
                UnitOfWork inner(*db);
                db->execute(QStringLiteral("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;"));
                inner.commit();
            }
            QVERIFY(db->inTransaction());
            if (outerCommits)
                outer.commit();
        }
        QVERIFY(!db->inTransaction());
        QCOMPARE(company.count(QStringLiteral("SELECT count(*) FROM Procura")), outerCommits ? 9 : 0);
        QCOMPARE(seen.count(QStringLiteral("BEGIN IMMEDIATE")), 1);
        QCOMPARE(seen.count(QStringLiteral("COMMIT")), outerCommits ? 1 : 0);
        QCOMPARE(seen.size(), 3); // BEGIN, the INSERT, and COMMIT or ROLLBACK
    }

    // Only one statement ever reaches the engine per text.
    void secondStatementNeverRuns_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("rows");
        QTest::newRow("action") << "DELETE * FROM Procura; DROP TABLE NivelCategoria4" << false;
        QTest::newRow("select") << "SELECT * FROM NivelCategoria0; DROP TABLE NivelCategoria4" << true;
        QTest::newRow("scalar") << "SELECT Nome FROM NivelCategoria0; DELETE FROM NivelCategoria4" << true;
    }
    void secondStatementNeverRuns()
    {
        QFETCH(QString, text);
        QFETCH(bool, rows);
        TestCompany company;
        const auto db = Database::open(company.databasePath());
        const int number = failure([&] {
            if (!rows)
                db->execute(text);
            else if (text.contains(QLatin1String("Nome")))
                db->scalar(text);
            else
                db->openRecordset(text);
        });
        QVERIFY(number != 0);
        QCOMPARE(company.count(QStringLiteral("SELECT count(*) FROM NivelCategoria4")), 9);
    }

    void statementsAnswer()
    {
        TestCompany company;
        const auto db = Database::open(company.databasePath());
        QCOMPARE(
            db->execute(QStringLiteral("UPDATE NivelCategoria4 SET Marca = True WHERE CodigoCategoria3 = 5")),
            2);
        QCOMPARE(db->scalar(QStringLiteral("SELECT Nome FROM NivelCategoria0 WHERE Codigo = 2")).toString(),
            QStringLiteral("Despesas"));
        QVERIFY(db->scalar(QStringLiteral("SELECT Nome FROM NivelCategoria0 WHERE Codigo = 99")).isNull());
        QVERIFY(db->hasTable(QStringLiteral("nivelcategoria4")));
        QVERIFY(!db->hasTable(QStringLiteral("NivelCategoria5")));
    }

    void closingLeavesRecordsetsClosed()
    {
        TestCompany company;
        auto db = Database::open(company.databasePath());
        auto rs = db->openRecordset(QStringLiteral("NivelCategoria0"));
        db->close();
        QVERIFY(!db->isOpen());
        QVERIFY(!rs->isOpen());
        QCOMPARE(failure([&] { rs->moveNext(); }), 3420);
        QCOMPARE(failure([&] { db->execute(QStringLiteral("DELETE * FROM Procura;")); }), 3420);
        db.reset();
        rs.reset(); // outliving its database is harmless
        const auto again = Database::open(company.databasePath());
        QCOMPARE(again->execute(QStringLiteral("DELETE * FROM Procura;")), 0);
    }
};

VAREMO_TEST(TestDatabase);
#include "test_database.moc"
