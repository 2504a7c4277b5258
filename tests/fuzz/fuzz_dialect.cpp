// A Jet statement translated and run on a small company file, inside a transaction that is
// always rolled back. The first byte picks the statement the rest of the input completes,
// so that the fuzzer reaches every form the program builds: a text on its own, a WHERE of a
// table or of a join, DELETE, the two-table UPDATE, INSERT ... SELECT, a select list, a FROM.
// Only JetError may come out, and no text may end the program's transaction.

#include "data/database.h"
#include "data/dialect.h"
#include "data/schema.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

namespace {

// A chart with a missing parent, Null names and locks, marks and a filled search.
const char* const seed
    = "INSERT INTO NivelCategoria0 VALUES (1, 'Receitas'), (2, 'Despesas');"
      "INSERT INTO NivelCategoria1 VALUES (1, 'Receitas Clientes', 1, 1), (2, NULL, 2, NULL);"
      "INSERT INTO NivelCategoria2 VALUES (1, 'Vendas Produtos', 1, 1), (2, 'Ocupação', 2, 0);"
      "INSERT INTO NivelCategoria3 VALUES (1, 'Pães', 1), (2, 'Aluguel', 2);"
      "INSERT INTO NivelCategoria4 VALUES (1, 'Pão francês', 1, 1, 0), (2, 'ÁGUA', 1, 0, 1), "
      "(3, NULL, 2, 0, 0), (4, 'Condomínio', 9, 0, 1);"
      "INSERT INTO Procura (Codigo) VALUES (1), (2);"
      "INSERT INTO Venda VALUES (1, '2026-03-01', 1), (2, '2026-03-15', 0);"
      "INSERT INTO VendaProdutos VALUES (1, 1, 1, 1, 0.5, 100), (2, 1, 1, 1, 0.5, 40);";

const char* const forms[] = {
    "",
    "SELECT * FROM NivelCategoria4 WHERE ",
    ("SELECT * FROM (NivelCategoria4 LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = "
     "NivelCategoria4.CodigoCategoria3) WHERE "),
    "DELETE * FROM NivelCategoria4 WHERE ",
    "UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE WHERE ",
    "INSERT INTO Procura SELECT Codigo FROM NivelCategoria4 WHERE ",
    "SELECT ",
    "SELECT * FROM ",
};

[[noreturn]] void defect(const char* what)
{
    std::fprintf(stderr, "defect: %s\n", what);
    std::abort();
}

struct Company {
    QTemporaryDir folder;
    std::unique_ptr<varemo::Database> database;
    sqlite3* handle = nullptr;
    varemo::dialect::Catalog catalog;
    int steps = 0;

    Company()
    {
        const QString path = folder.filePath(QStringLiteral("empresa.mdb"));
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("seed"));
            db.setDatabaseName(path);
            if (!db.open())
                defect("cannot create the company file");
            varemo::schema::create(db);
        }
        QSqlDatabase::removeDatabase(QStringLiteral("seed"));
        database = varemo::Database::open(path);
        catalog = varemo::dialect::readCatalog(database->connection());
        handle = *static_cast<sqlite3* const*>(database->connection().driver()->handle().constData());
        if (sqlite3_exec(handle, seed, nullptr, nullptr, nullptr) != SQLITE_OK)
            defect("the seed does not fit the schema");
        sqlite3_exec(
            handle, "PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF", nullptr, nullptr, nullptr);
        // A join of many tables is a valid text that would run for minutes: cut it short (it
        // then fails as any interrupted statement does).
        sqlite3_progress_handler(
            handle, 1000, [](void* counter) { return ++*static_cast<int*>(counter) > 2000 ? 1 : 0; }, &steps);
    }
};

Company* company = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static QCoreApplication application(*argc, *argv);
    static Company theCompany;
    company = &theCompany;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QString text = QString::fromUtf8(forms[data[0] % std::size(forms)])
        + QString::fromUtf8(reinterpret_cast<const char*>(data) + 1, static_cast<qsizetype>(size - 1));
    company->steps = 0;
    varemo::UnitOfWork work(*company->database);
    try {
        const varemo::dialect::Translation translation = varemo::dialect::translate(text, company->catalog);
        if (translation.returnsRows) {
            // the rows come back under the names the translation promised
            if (company->database->openRecordset(text)->fieldNames() != translation.columns)
                defect("a result column under another name than its translation's");
        } else
            company->database->execute(text);
    } catch (const varemo::JetError&) {
        // a text Jet refuses, or one the engine fails on
    }
    if (sqlite3_get_autocommit(company->handle))
        defect("a statement ended the transaction it ran in");
    return 0;
}
