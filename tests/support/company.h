#pragma once

#include <QDate>
#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QVariant>

#include <functional>

namespace varemo::test {

// A whole installation in a temporary folder, removed with the object. With
// VAREMO_TEST_ENGINE=postgresql the company is copied to a fresh database of the test
// process's server and Empresa.ini names it, so the program opens it there.
class TestCompany {
public:
    enum class Seed { Small, Empty, Demo }; // Small: known row by row; Empty: the company row only
    explicit TestCompany(Seed seed = Seed::Small);
    // The last day of the demo's movements, fixed so that report totals are repeatable.
    static QDate demoToday() { return QDate(2026, 3, 31); }
    ~TestCompany();
    TestCompany(const TestCompany&) = delete;
    TestCompany& operator=(const TestCompany&) = delete;

    // Folders end in "/".
    QString root() const { return m_dir.path() + QLatin1Char('/'); }
    QString programFolder() const { return root() + QStringLiteral("programa/"); }
    QString dataFolder() const { return root() + QStringLiteral("empresa/"); }
    QString databasePath() const { return dataFolder() + QStringLiteral("Dados/empresa.mdb"); }
    QString errorLogPath() const { return dataFolder() + QStringLiteral("Dados/Erros.txt"); }

    QString serverDatabase() const { return m_serverDatabase; } // empty when it lives in its file
    // A direct connection to the file for checks, outside the program's data layer. On a
    // server, scalar() and exec() keep the file and the server alike: the checks hold on both.
    QSqlDatabase sql();
    QVariant scalar(const QString& sqliteQuery);
    int count(const QString& sqliteQuery) { return scalar(sqliteQuery).toInt(); }
    void exec(const QString& sqliteStatement);
    void closeSql();

private:
    void moveToServer();
    QSqlDatabase serverSql();
    void sync();
    QString fileStamp() const;
    QString serverPosition();
    bool serverTransaction(const QString& statement);

    QTemporaryDir m_dir;
    QString m_connection, m_serverDatabase;
    QString m_fileStamp, m_serverPosition; // the file's time and size, the server's WAL position, when alike
    bool m_serverTransaction = false;
};

// The items joined to their four levels above, as the item page reads them; ends in a blank.
QString itemChainJoin();

// Whole files. A file that cannot be written stops the run; one that cannot be read reads empty.
QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& contents);

// The Jet number a call fails with, 0 when it does not fail.
int jetFailure(const std::function<void()>& call);

} // namespace varemo::test
