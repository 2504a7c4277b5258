#include "data/dialect.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <memory>

using varemo::test::TestCompany;
namespace dialect = varemo::dialect;

namespace {

QStringList list(const char* items)
{
    return *items ? QString::fromUtf8(items).split(QLatin1Char('|')) : QStringList();
}

} // namespace

// The Jet text the program writes, translated and run on the company file itself; every test
// runs in a transaction rolled back after it.
class TestDialect : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_company;
    QSqlDatabase m_db;

    void run(const QString& jet)
    {
        QSqlQuery query(m_db);
        if (!query.exec(dialect::translate(jet, dialect::readCatalog(m_db)).sql))
            throw dialect::fromSqlite(
                query.lastError().nativeErrorCode().toInt(), query.lastError().databaseText(), jet);
    }

private slots:
    void initTestCase()
    {
        m_company = std::make_unique<TestCompany>();
        m_db = m_company->sql();
        dialect::install(m_db);
    }
    void cleanupTestCase()
    {
        m_db = QSqlDatabase();
        m_company.reset();
    }
    void init() { m_db.transaction(); }
    void cleanup() { m_db.rollback(); }

    // Statements change what they say (the plain forms, DELETE *, the two-table UPDATE and INSERT
    // ... SELECT, are held against hand-written SQLite by the random tests); a text Jet refuses
    // fails with Jet's number and changes nothing. The rows read back: level-1 names / items, marked *.
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
            "NivelCategoria4.CodigoCategoria3 SET NivelCategoria4.Marca = True WHERE NivelCategoria3.Nome = "
            "'energia'",
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
        QCOMPARE(varemo::test::jetFailure([&] { run(jet); }), number);
        QSqlQuery query(m_db);
        QVERIFY(query.exec(QStringLiteral(
                    "SELECT (SELECT group_concat(Nome, '|') FROM (SELECT Nome FROM NivelCategoria1 ORDER BY "
                    "Codigo)) || ' / ' || (SELECT group_concat(Codigo || CASE Marca WHEN 1 THEN '*' ELSE '' "
                    "END) FROM (SELECT Codigo, Marca FROM NivelCategoria4 ORDER BY Codigo))"))
            && query.next());
        QCOMPARE(query.value(0).toString(), expected);
    }

    // Each pattern against texts it matches and texts it does not.
    void likeFollowsJetWildcards_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QStringList>("matching");
        QTest::addColumn<QStringList>("other");
        const auto row = [](const char* pattern, const char* matching, const char* other) {
            QTest::newRow(pattern) << QString::fromUtf8(pattern) << list(matching) << list(other);
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
};

VAREMO_TEST(TestDialect);
#include "test_dialect.moc"