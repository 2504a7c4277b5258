#pragma once

#include <QDate>
#include <QSqlDatabase>
#include <QString>
#include <QTemporaryDir>
#include <QVariant>

#include <functional>

namespace varemo::test {

// A whole installation in a temporary folder, as the suite lays it out: a program folder
// (Caminho.dad naming the data folder, Sons/, Ajuda/) and a data folder (Empresa.ini,
// Dados/empresa.mdb made with our schema and a small seeded chart, products, sales and
// purchases, two saved report definitions). Removed with the object.
class TestCompany {
public:
    // Small: a compact chart known row by row (see company.cpp); Empty: the tables and the
    // company row only; Demo: the demo bakery with its year of movements up to demoToday().
    enum class Seed { Small, Empty, Demo };
    explicit TestCompany(Seed seed = Seed::Small);

    // The last day of the demo's movements, fixed so that report totals are repeatable.
    static QDate demoToday() { return QDate(2026, 3, 31); }
    ~TestCompany();
    TestCompany(const TestCompany&) = delete;
    TestCompany& operator=(const TestCompany&) = delete;

    QString root() const; // the temporary folder, ending in "/"
    QString programFolder() const; // ends in "/"
    QString dataFolder() const; // ends in "/"
    QString databasePath() const;
    QString errorLogPath() const; // the suite's shared log, Dados/Erros.txt

    // A direct connection to the file for checks, outside the program's data layer.
    QSqlDatabase sql();
    QVariant scalar(const QString& sqliteQuery);
    int count(const QString& sqliteQuery) { return scalar(sqliteQuery).toInt(); }
    void exec(const QString& sqliteStatement);
    void closeSql();

private:
    QTemporaryDir m_dir;
    QString m_connection;
};

// The items joined to their four levels above, as the item page reads them; ends in a blank.
QString itemChainJoin();

// Whole files, for tests that read or damage an installation's files. A file that cannot be
// written stops the run; one that cannot be read reads empty.
QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& contents);

// The Jet number a call fails with, 0 when it does not fail.
int jetFailure(const std::function<void()>& call);

} // namespace varemo::test
