#include "data/criteria.h"
#include "data/demo.h"
#include "data/dialect.h"
#include "data/errors.h"
#include "data/generator.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDir>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

using varemo::test::readFile;
using varemo::test::TestCompany;
namespace criteria = varemo::criteria;
namespace dialect = varemo::dialect;

namespace {

// Rows that break a rule, counted by one query; a rule holds when its count is `expected`.
void rule(const char* name, const QString& query, int expected = 0, bool demoOnly = false)
{
    for (const char* company : {"demo", "gerado"})
        if (!demoOnly || QByteArray(company) == "demo")
            QTest::addRow("%s %s", company, name) << QString::fromLatin1(company) << query << expected;
}

} // namespace

// The company file: the Jet text the program writes, run on it, a find's criteria, the file as the
// schema makes it, and the made-up companies. Each test's writes to the small one roll back.
class TestDialect : public QObject {
    Q_OBJECT

    TestCompany m_company;
    QSqlDatabase m_db;
    TestCompany m_demo {TestCompany::Seed::Demo};
    TestCompany m_generated {TestCompany::Seed::Empty}; // the large-company generator, at a small size

    QStringList column(const QString& sql)
    {
        QSqlQuery query(m_db);
        QStringList values;
        for (query.exec(sql); query.next();)
            values << query.value(0).toString();
        return values;
    }

private slots:
    void initTestCase()
    {
        m_db = m_company.sql();
        dialect::install(m_db);
        m_generated.closeSql();
        varemo::demo::generateCompany(m_generated.databasePath(), 500, 5000, 1, TestCompany::demoToday());
    }
    void cleanupTestCase() { m_db = QSqlDatabase(); }
    void init() { m_db.transaction(); }
    void cleanup() { m_db.rollback(); }

    // Statements change what they say (the random tests hold the plain forms against hand-written
    // SQLite); a text Jet refuses fails with Jet's number and changes nothing. Read back: level-1
    // names / items, marked *.
    void statements_data()
    {
        QTest::addColumn<QString>("jet");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("expected");
        const QString names = QStringLiteral(
            "Receitas Clientes|Despesas Fornecedores|Despesas Administrativas|Receitas Financeiras");
        const auto row = [&](const char* name, const QString& jet, int number, const QString& changed = {}) {
            QTest::newRow(name) << jet << number
                                << (changed.isEmpty() ? names + QStringLiteral(" / 1,2,3,4,5,6,7,8,9")
                                                      : changed);
        };
        row("update over an inner join",
            "UPDATE NivelCategoria4 INNER JOIN NivelCategoria3 ON NivelCategoria3.Codigo = "
            "NivelCategoria4.CodigoCategoria3 SET NivelCategoria4.Marca = True WHERE NivelCategoria3.Nome "
            "= 'energia'",
            0, names + " / 1,2,3,4,5,6,7,8*,9");
        row("two minus signs are not a comment", "UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigo = 3 --1",
            0, QString(names).replace("Receitas Financeiras", "x") + " / 1,2,3,4,5,6,7,8,9");
        row("apostrophe in a name", "UPDATE NivelCategoria1 SET Nome = 'D'Avila' WHERE Codigo = 3", 3075);
        row("quote-balanced apostrophes",
            "UPDATE NivelCategoria1 SET Nome = 'D'Avila'Souza' WHERE Codigo = 3", 3075);
        row("value cut into an alias", "SELECT Nome FROM NivelCategoria1 WHERE Nome = 'a' 'b'", 3075);
        row("unclosed set in Like", "SELECT * FROM NivelCategoria4 WHERE Nome Like '*[ab*'", 3075);
        row("impossible date", "SELECT * FROM Venda WHERE DataDocumento = #02/30/2026#", 3075);
        row("second statement", "UPDATE NivelCategoria1 SET Nome = 'x'; DROP TABLE NivelCategoria4", 3142);
        row("comment opener", "UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigo = 3 /* a */", 3075);
        row("unknown table", "SELECT * FROM NaoExiste", 3078);
        row("unknown column", "UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigoo = 3", 3061);
        row("parameter mark", "UPDATE NivelCategoria1 SET Nome = ? WHERE Codigo = 3", 3075);
    }
    void statements()
    {
        QFETCH(QString, jet);
        QFETCH(int, number);
        QFETCH(QString, expected);
        QCOMPARE(varemo::test::jetFailure([&] {
            QSqlQuery query(m_db);
            if (!query.exec(dialect::translate(jet, dialect::readCatalog(m_db)).sql))
                throw dialect::fromSqlite(
                    query.lastError().nativeErrorCode().toInt(), query.lastError().databaseText(), jet);
        }),
            number);
        QCOMPARE(
            column("SELECT group_concat(Nome, '|') FROM (SELECT Nome FROM NivelCategoria1 ORDER BY Codigo)")
                + column("SELECT group_concat(Codigo || CASE Marca WHEN 1 THEN '*' ELSE '' END) FROM "
                         "(SELECT * FROM NivelCategoria4 ORDER BY Codigo)"),
            expected.split(QStringLiteral(" / ")));
    }

    // Each pattern against texts it matches and texts it does not.
    void likeFollowsJetWildcards_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QStringList>("matching");
        QTest::addColumn<QStringList>("other");
        const auto row = [](const char* pattern, const char* matching, const char* other) {
            QTest::newRow(pattern) << QString::fromUtf8(pattern) << QString::fromUtf8(matching).split('|')
                                   << QString::fromUtf8(other).split('|');
        };
        row("*BAN*", "Cabana|ban", "Cabna");
        row("a*bc", "abcbc|abc", "abcb");
        row("P?o", "Pão", "Po|Pãao");
        row("Sala #", "Sala 3", "Sala B|Sala 10");
        row("[ABC]olo", "Bolo", "Dolo");
        row("[!ABC]olo", "Dolo", "Bolo");
        row("[a-c]gua", "água", "egua");
        row("a[*]b", "a*b", "axb");
        row("água", "ÁGUA", "agua");
        row("10%_?", "10%_x", "10 x|10%x");
    }
    void likeFollowsJetWildcards()
    {
        QFETCH(QString, pattern);
        QFETCH(QStringList, matching);
        QFETCH(QStringList, other);
        for (const QString& text : matching + other)
            QVERIFY2(dialect::likeMatches(text, pattern) == matching.contains(text), qPrintable(text));
    }

    // A find's criteria on a row of (Codigo, Nome, Marca, Data, NivelCategoria4.Codigo): whether it
    // matches, or the number Jet refuses it with. The forms the random finds write are theirs.
    void criteria_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<criteria::Row>("values");
        QTest::addColumn<int>("result"); // 1 matches, 0 does not
        const auto row = [](const char* name, const char* text, const QVariant& mark, int result) {
            QTest::newRow(name) << QString::fromUtf8(
                text) << criteria::Row {12, QStringLiteral("D'Avila"), mark, QStringLiteral("2026-03-15"), 17}
                                << result;
        };
        row("True against a Yes/No", "Marca = True", true, 1);
        row("Like on a number", "Codigo Like '1#'", 0, 1);
        row("joined field", "NivelCategoria4.Codigo = 17", 0, 1);
        row("bracketed field, double quotes", "[Nome] = \"d'avila\"", 0, 1);
        row("trailing semicolon", "Codigo = 12;", 0, 1);
        row("apostrophe in a name", "Nome = 'D'Avila'", 0, 3077);
        row("open parenthesis", "(Codigo = 1", 0, 3077);
        row("two values", "Nome = 'a' 'b'", 0, 3077);
        row("unclosed set", "Nome Like '[ab'", 0, 3077);
        row("impossible date", "Data = #13/45/2026#", 0, 3077);
        row("unknown field", "Desconhecido = 1", 0, 3070);
        row("text against a number", "Nome = 5", 0, 3464);
    }
    void criteria()
    {
        QFETCH(QString, text);
        QFETCH(criteria::Row, values);
        QFETCH(int, result);
        const QStringList fields {QStringLiteral("Codigo"), QStringLiteral("Nome"), QStringLiteral("Marca"),
            QStringLiteral("Data"), QStringLiteral("NivelCategoria4.Codigo")};
        const auto resolve = [&](const QString& field) { return int(fields.indexOf(field)); };
        bool matches = false;
        const int number
            = varemo::test::jetFailure([&] { matches = criteria::compile(text, resolve)(values); });
        QCOMPARE(number ? number : int(matches), result);
    }

    // After the statements the query finds exactly one row.
    void schemaRows_data()
    {
        QTest::addColumn<QString>("statements");
        QTest::addColumn<QString>("query");
        const auto row = [](const char* name, const char* statements, const char* query) {
            QTest::newRow(name) << QString::fromUtf8(statements) << QString::fromUtf8(query);
        };
        // Names compare without regard to case, for any tool reading the file without our collation.
        row("group name", "INSERT INTO NivelCategoria0 (Nome) VALUES ('Receitas Extras')",
            "SELECT 1 FROM NivelCategoria0 WHERE Nome = 'RECEITAS extras'");
        row("product name", "INSERT INTO Produtos (CodigoLinha, NomeProduto) VALUES (1, 'Bolo')",
            "SELECT 1 FROM Produtos WHERE NomeProduto = 'BOLO'");
        // A new item is typed and unmarked, its name found in any case; a new group's lock is Null.
        row("new item", "INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Gas', 1)",
            "SELECT 1 FROM NivelCategoria4 WHERE Nome = 'GAS' AND CodigoProduto = 0 AND Marca = 0");
        row("new group", "INSERT INTO NivelCategoria2 (Nome, CodigoCategoria1) VALUES ('G', 1)",
            "SELECT 1 FROM NivelCategoria2 WHERE Nome = 'G' AND Travado IS NULL");
        row("capitals do not sort first",
            "INSERT INTO NivelCategoria3 (Nome, CodigoCategoria2) VALUES ('B', 1), ('a', 1)",
            "SELECT Nome = 'a' COLLATE BINARY FROM NivelCategoria3 WHERE Nome IN ('a', 'B') ORDER BY Nome "
            "LIMIT 1");
        // A deleted row's code is never given to a new one.
        for (const auto& [table, name] : {std::pair {"NivelCategoria1", "Nome"},
                 std::pair {"NivelCategoria4", "Nome"}, std::pair {"Relatorios", "NomeRelatorio"}})
            QTest::addRow("%s code not reused", table)
                << QStringLiteral(
                       "INSERT INTO %1 (%2) VALUES ('x'); INSERT INTO %1 (%2) VALUES ('x'); DELETE FROM "
                       "%1 WHERE rowid = (SELECT MAX(rowid) FROM %1); INSERT INTO %1 (%2) VALUES ('y')")
                       .arg(QLatin1String(table), QLatin1String(name))
                << QStringLiteral("SELECT (SELECT rowid FROM %1 WHERE %2 = 'y') = (SELECT MAX(rowid) FROM %1 "
                                  "WHERE %2 = 'x') + 2")
                       .arg(QLatin1String(table), QLatin1String(name));
    }
    void schemaRows()
    {
        QFETCH(QString, statements);
        QFETCH(QString, query);
        for (const QString& statement : statements.split(QStringLiteral("; ")))
            QVERIFY2(QSqlQuery(m_db).exec(statement), qPrintable(statement));
        QCOMPARE(column(query), QStringList {"1"});
    }

    // A table met half-way through makes the whole creation fail and leave nothing.
    void createIsAllOrNothing()
    {
        for (const QString& table : varemo::schema::tableNames())
            if (table != QLatin1String("Produtos"))
                QSqlQuery(m_db).exec(QStringLiteral("DROP TABLE ") + table);
        QVERIFY_THROWS_EXCEPTION(varemo::JetError, varemo::schema::create(m_db));
        QCOMPARE(
            column(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
                                  "'sqlite%'")),
            QStringList {"Produtos"});
    }

    // Every made-up company is shaped like a real one, so that the program meets what it will meet.
    void invariants_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("expected");
        // A year of sales and purchases up to the build, some sales only quoted.
        QString year = QStringLiteral("SELECT NOT EXISTS (SELECT 1 FROM Venda WHERE Venda = 0)");
        for (const char* table : {"Venda", "Compra"})
            year += QStringLiteral(
                " + (SELECT COUNT(*) FROM %1 WHERE DataDocumento NOT BETWEEN '2025-04-01' AND "
                "'2026-03-31') + (SELECT MIN(DataDocumento) > '2025-05-01' OR MAX(DataDocumento) < "
                "'2026-03-24' FROM %1)")
                        .arg(QLatin1String(table));
        rule("a year of documents", year);
        // Null and False both mean "not locked": the program must meet both.
        rule("locks locked, unlocked and Null",
            "SELECT (SELECT COUNT(DISTINCT IFNULL(Travado, 9)) FROM NivelCategoria1) + (SELECT "
            "COUNT(DISTINCT IFNULL(Travado, 9)) FROM NivelCategoria2)",
            6, true);
        QString orphans = QStringLiteral("SELECT 0");
        for (int level = 1; level <= 4; ++level)
            orphans
                += QStringLiteral(" + (SELECT COUNT(*) FROM NivelCategoria%1 WHERE CodigoCategoria%2 NOT IN "
                                  "(SELECT Codigo FROM NivelCategoria%2))")
                       .arg(level)
                       .arg(level - 1);
        rule("orphans", orphans);
        rule("names repeated under a parent",
            "SELECT COUNT(*) FROM (SELECT 1 FROM NivelCategoria4 GROUP BY CodigoCategoria3, Nome HAVING "
            "COUNT(*) > 1)");
        // An apostrophe in a name breaks the statements the program builds from names.
        rule("apostrophes, marks, a filled search",
            "SELECT (SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome LIKE '%''%' OR Marca <> 0) + (SELECT "
            "COUNT(*) FROM Produtos WHERE NomeProduto LIKE '%''%') + (SELECT COUNT(*) FROM Procura)");
        // A tied item carries its own product, under the account of that product's line.
        rule("tied to another product",
            "SELECT COUNT(*) FROM NivelCategoria4 i JOIN NivelCategoria3 c ON c.Codigo = "
            "i.CodigoCategoria3 WHERE i.CodigoProduto <> 0 AND NOT EXISTS (SELECT 1 FROM Produtos p JOIN "
            "Linhas l USING (CodigoLinha) WHERE p.CodigoProduto = i.CodigoProduto AND p.NomeProduto = "
            "i.Nome AND l.NomeLinha = c.Nome)");

        // The product-line groups hold, under their exact sector, every line of their kind as an
        // account and every product of it as an item.
        rule("product-line groups",
            "WITH g(sector, grp, insumo) AS (VALUES ('Receitas Clientes', 'Vendas Produtos', 0), "
            "('Receitas Clientes', 'Vendas Insumos', 1), ('Despesas Fornecedores', 'Fornecedores "
            "Produtos', 0), ('Despesas Fornecedores', 'Fornecedores Insumos', 1)), c(code, insumo) AS "
            "(SELECT (SELECT n2.Codigo FROM NivelCategoria2 n2 JOIN NivelCategoria1 n1 ON n1.Codigo = "
            "n2.CodigoCategoria1 WHERE n1.Nome = g.sector COLLATE BINARY AND n2.Nome = g.grp COLLATE "
            "BINARY), insumo FROM g) SELECT COUNT(*) FROM c WHERE code IS NULL OR EXISTS (SELECT Nome "
            "FROM NivelCategoria3 WHERE CodigoCategoria2 = c.code EXCEPT SELECT NomeLinha FROM Linhas "
            "WHERE Insumo = c.insumo) OR EXISTS (SELECT NomeLinha FROM Linhas WHERE Insumo = c.insumo "
            "EXCEPT SELECT Nome FROM NivelCategoria3 WHERE CodigoCategoria2 = c.code) OR (SELECT COUNT(*) "
            "FROM NivelCategoria4 WHERE CodigoCategoria3 IN (SELECT Codigo FROM NivelCategoria3 WHERE "
            "CodigoCategoria2 = c.code)) <> (SELECT COUNT(*) FROM Produtos JOIN Linhas USING "
            "(CodigoLinha) WHERE Insumo = c.insumo)");

        // Product lines point at a product and its line; item lines at an ordinary item of the
        // document's side (income for sales, expense for purchases) and its level-1 sector.
        const QString itemSector = QStringLiteral(
            "(SELECT n2.CodigoCategoria1 FROM NivelCategoria4 n4 JOIN NivelCategoria3 n3 ON n3.Codigo = "
            "n4.CodigoCategoria3 JOIN NivelCategoria2 n2 ON n2.Codigo = n3.CodigoCategoria2 WHERE "
            "n4.Codigo = l.CodigoProduto)");
        for (const auto& [table, category] :
            {std::pair {"VendaProdutos", 1}, std::pair {"CompraProdutos", 2}}) {
            const QString from = QStringLiteral("SELECT COUNT(*) FROM %1 l WHERE ").arg(QLatin1String(table));
            rule(table,
                QStringLiteral(
                    "SELECT ((%1Produto = 1) > 0 AND (%1Produto = 0) > 0) * 1000 + (%1Produto = 1 AND "
                    "CodigoSetor IS NOT (SELECT CodigoLinha FROM Produtos WHERE CodigoProduto = "
                    "l.CodigoProduto)) + (%1Produto = 0 AND CodigoSetor IS NOT %2) + (%1Produto = 0 AND "
                    "(SELECT CodigoCategoria0 FROM NivelCategoria1 WHERE Codigo = l.CodigoSetor) <> %3) + "
                    "(%1ROUND(PrecoUnit, 2) <> PrecoUnit OR PrecoUnit <= 0 OR QdeComprada <= 0)")
                    .arg(from, itemSector)
                    .arg(category),
                1000);
        }
    }
    void invariants()
    {
        QFETCH(QString, which);
        QFETCH(QString, query);
        QFETCH(int, expected);
        QCOMPARE((which == QLatin1String("demo") ? m_demo : m_generated).count(query), expected);
    }

    // An existing installation is kept unless rebuilt, and a rebuild on the same date gives the
    // same company again, byte for byte (the program starting from it is the other suites').
    void buildKeepsAnInstallationUnlessRebuilt()
    {
        QTemporaryDir dir;
        const QDate today = TestCompany::demoToday();
        const QString program = varemo::demo::build(dir.path(), {}, today);
        QCOMPARE(program, QDir::toNativeSeparators(dir.path() + QStringLiteral("/programa/")));
        const QString database = dir.path() + QStringLiteral("/empresa/Dados/empresa.mdb");
        const QByteArray built = readFile(database);
        QCOMPARE(varemo::demo::build(dir.path(), {}, today.addDays(10)), program);
        QCOMPARE(readFile(database), built);
        varemo::test::writeFile(database, "estragado");
        varemo::demo::build(dir.path(), {}, today, true);
        QCOMPARE(readFile(database), built);
        QVERIFY(!QFile::exists(database + QStringLiteral(".novo")));
    }
};

VAREMO_TEST(TestDialect);
#include "test_dialect.moc"