#include "data/dialect.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

#include <memory>

using varemo::JetError;
using varemo::test::TestCompany;
namespace dialect = varemo::dialect;

namespace {

const QString join4 = QStringLiteral(
    "SELECT * FROM ((((NivelCategoria4 "
    "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
    "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) ");
const QString order4
    = QStringLiteral("ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
                     "NivelCategoria3.Nome, NivelCategoria4.Nome ;");

QString marker(int level, const QString& op, const QString& value)
{
    return join4 + QStringLiteral("WHERE NivelCategoria%1.Nome ").arg(level) + op + QStringLiteral(" '")
        + value + QStringLiteral("';");
}

QString total(const QString& lines, const QString& documents, const QString& saleTest, const QString& from,
    const QString& to, int code, int sector, const QString& flag)
{
    return QStringLiteral("SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde ")
        + QStringLiteral("FROM %1 INNER JOIN %2 ON ").arg(lines, documents)
        + QStringLiteral("%1.Codigo = %2.Codigo ").arg(lines, documents)
        + QStringLiteral("WHERE (DataDocumento BETWEEN #") + from + QStringLiteral("# AND #") + to
        + QStringLiteral("#) AND ") + saleTest + QStringLiteral("%1.CodigoProduto = %2").arg(lines).arg(code)
        + QStringLiteral(" AND %1.CodigoSetor = %2").arg(lines).arg(sector) + QStringLiteral(" AND ")
        + QStringLiteral("%1.Produto = ").arg(lines) + flag + QStringLiteral(";");
}

} // namespace

class TestDialect : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestCompany> m_company;
    QSqlDatabase m_db;

    dialect::Translation translate(const QString& jet)
    {
        return dialect::translate(jet, dialect::readCatalog(m_db));
    }

    // One column of the rows a Jet SELECT gives, as text ("<null>" for Null); sorted when
    // the statement asks for no order. Also checks that the result carries the promised names.
    QStringList column(const QString& jet, const QString& field)
    {
        const dialect::Translation translation = translate(jet);
        QSqlQuery query(m_db);
        if (!query.exec(translation.sql))
            qFatal("%s\n-> %s\n%s", qPrintable(jet), qPrintable(translation.sql),
                qPrintable(query.lastError().text()));
        QStringList names = translation.columns;
        if (!translation.rowidColumn.isEmpty())
            names << translation.rowidColumn;
        const QSqlRecord record = query.record();
        for (int i = 0; i < record.count(); ++i)
            if (record.fieldName(i) != names.value(i))
                qFatal("result column %d is %s, not %s", i, qPrintable(record.fieldName(i)),
                    qPrintable(names.value(i)));
        const int at = static_cast<int>(translation.columns.indexOf(field));
        if (at < 0)
            qFatal("no column %s in %s", qPrintable(field),
                qPrintable(translation.columns.join(QLatin1Char('|'))));
        QStringList out;
        while (query.next())
            out << (query.isNull(at) ? QStringLiteral("<null>") : query.value(at).toString());
        if (!jet.contains(QLatin1String("ORDER BY")))
            out.sort();
        return out;
    }

    void run(const QString& jet)
    {
        QSqlQuery query(m_db);
        if (!query.exec(translate(jet).sql))
            throw dialect::fromSqlite(
                query.lastError().nativeErrorCode().toInt(), query.lastError().databaseText(), jet);
    }

private slots:
    void init()
    {
        m_company = std::make_unique<TestCompany>();
        m_db = m_company->sql();
        dialect::install(m_db);
    }

    void cleanup()
    {
        m_db = QSqlDatabase();
        m_company.reset();
    }

    void selectGivesJetRows_data()
    {
        QTest::addColumn<QString>("jet");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QStringList>("expected");
        const auto list = [](const char* items) { return QString::fromUtf8(items).split(QLatin1Char('|')); };
        const QString join3 = QStringLiteral(
            "SELECT * FROM (((NivelCategoria3 "
            "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
            "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
            "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
            "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
            "NivelCategoria3.Nome;");
        const QString join1 = QStringLiteral(
            "SELECT * FROM (NivelCategoria1 "
            "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
            "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome;");
        QTest::newRow("level-4 chain")
            << join4 + order4 << "NivelCategoria4.Codigo" << list("6|7|8|5|4|3|2|1|9");
        QTest::newRow("level-4 chain, Null Travado")
            << join4 + order4 << "NivelCategoria1.Travado" << list("<null>|<null>|<null>|1|1|1|1|1|0");
        QTest::newRow("level-3 chain") << join3 << "NivelCategoria3.Codigo" << list("5|6|4|3|2|1|7");
        QTest::newRow("level-1 chain") << join1 << "NivelCategoria1.Codigo" << list("3|2|1|4");
        QTest::newRow("level-4 chain with WHERE")
            << join4 + QStringLiteral("WHERE NivelCategoria1.Codigo = 3 ") + order4 << "NivelCategoria4.Nome"
            << list("Aluguel da loja|Condomínio|Conta de luz");
        QTest::newRow("categories as stored") << "SELECT * FROM NivelCategoria0"
                                              << "Nome" << list("Despesas|Receitas|Vazia");
        QTest::newRow("categories by name") << "SELECT * FROM NivelCategoria0 ORDER BY Nome"
                                            << "Nome" << list("Despesas|Receitas|Vazia");
        QTest::newRow("children of a category")
            << "SELECT * FROM NivelCategoria1 WHERE CodigoCategoria0 = 2 ORDER BY Nome"
            << "Nome" << list("Despesas Administrativas|Despesas Fornecedores");
        QTest::newRow("children with semicolon")
            << "SELECT * FROM NivelCategoria4 WHERE CodigoCategoria3 = 5 ORDER BY Nome;"
            << "Nome" << list("Aluguel da loja|Condomínio");
        QTest::newRow("lines and products")
            << "SELECT Linhas.CodigoLinha, Linhas.NomeLinha, Linhas.Insumo, Produtos.* "
               "FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = Produtos.CodigoLinha "
               " ORDER BY Linhas.Insumo, Linhas.NomeLinha, Produtos.NomeProduto;"
            << "Produtos.NomeProduto" << list("<null>|Baguete|Pão francês|Farinha de trigo");
        QTest::newRow("line list")
            << "SELECT Linhas.NomeLinha, Linhas.Insumo FROM Linhas WHERE Insumo = False "
               "ORDER BY Linhas.NomeLinha;"
            << "NomeLinha" << list("<null>|Pães|Sorvetes");
        QTest::newRow("product list")
            << "SELECT * FROM Produtos WHERE Produtos.CodigoLinha = 1 ORDER BY Produtos.NomeProduto;"
            << "NomeProduto" << list("<null>|Baguete|Pão francês");
        QTest::newRow("purchased items") << "SELECT CompraProdutos.CodigoProduto, CompraProdutos.Produto "
                                            "FROM CompraProdutos WHERE Produto = False; "
                                         << "CodigoProduto" << list("6|8");
        QTest::newRow("sales of an item") << "SELECT CodigoProduto FROM VendaProdutos WHERE CodigoProduto = 9"
                                          << "CodigoProduto" << list("9");
        QTest::newRow("report marks") << "SELECT * FROM RelatorioItens WHERE CodigoRelatorio = 1"
                                      << "CodigoConta" << list("2|3|5|5|6|6|7|8");
        QTest::newRow("marked count") << "SELECT COUNT(*) AS Items FROM NivelCategoria4 WHERE Marca = True"
                                      << "Items" << list("0");
        QTest::newRow("marker Like, any case")
            << marker(4, "Like", "*FARINHA*") << "NivelCategoria4.Codigo" << list("3|5");
        QTest::newRow("marker Not Like")
            << marker(1, "Not Like", "*Receitas*") << "NivelCategoria4.Codigo" << list("4|5|6|7|8");
        QTest::newRow("marker >, text order")
            << marker(4, ">", "Condomínio") << "NivelCategoria4.Nome"
            << list("Conta de luz|Farinha de trigo|Farinha de trigo|Pão francês|Pão francês");
        QTest::newRow("marker =, accented capital")
            << marker(3, "=", "PÃES") << "NivelCategoria4.Codigo" << list("1|2|4");
        QTest::newRow("marker =, accent kept")
            << marker(3, "=", "Paes") << "NivelCategoria4.Codigo" << QStringList();
        QTest::newRow("marker Like, literal %")
            << marker(4, "Like", "*o%*") << "NivelCategoria4.Codigo" << QStringList();
        QTest::newRow("sales total") << total(
            "VendaProdutos", "Venda", "Venda = True AND ", "03/01/2026", "03/31/2026", 1, 1, "True")
                                     << "Somatoria" << list("70");
        QTest::newRow("sales quantity, both ends counted")
            << total("VendaProdutos", "Venda", "Venda = True AND ", "03/01/2026", "03/31/2026", 1, 1, "True")
            << "Qtde" << list("140");
        QTest::newRow("sales total, empty period")
            << total("VendaProdutos", "Venda", "Venda = True AND ", "01/01/2025", "01/31/2025", 1, 1, "True")
            << "Somatoria" << list("<null>");
        QTest::newRow("purchase total")
            << total("CompraProdutos", "Compra", "", "03/01/2026", "03/05/2026", 6, 3, "False") << "Somatoria"
            << list("2500");
        QTest::newRow("date literal is month first")
            << "SELECT Codigo FROM Venda WHERE DataDocumento = #03/15/2026#"
            << "Codigo" << list("2");
        QTest::newRow("& joins text and numbers")
            << "SELECT Nome & ' (' & Codigo & ')' AS Rotulo FROM NivelCategoria0 WHERE Codigo = 1"
            << "Rotulo" << list("Receitas (1)");
        QTest::newRow("& writes a fraction as Brazil does")
            << "SELECT PrecoUnit & '' AS Preco FROM CompraProdutos WHERE CodigoProduto = 8"
            << "Preco" << list("420,5");
        QTest::newRow("& of two Nulls is Null")
            << "SELECT Travado & Travado AS Nada FROM NivelCategoria1 WHERE Codigo = 3"
            << "Nada" << list("<null>");
        QTest::newRow("/ keeps the fraction")
            << "SELECT Codigo / 2 AS Metade FROM NivelCategoria0 WHERE Codigo = 3"
            << "Metade" << list("1.5");
        QTest::newRow("Like with a digit and a set")
            << "SELECT Nome FROM NivelCategoria4 WHERE Nome Like '[A-C]*' AND Nome Not Like '* *'"
            << "Nome" << list("Baguete|CDB|Condomínio");
        QTest::newRow("IN compares text as Jet")
            << "SELECT Codigo FROM NivelCategoria3 WHERE Nome IN ('PÃES', 'energia')"
            << "Codigo" << list("1|3|6");
    }

    void selectGivesJetRows()
    {
        QFETCH(QString, jet);
        QFETCH(QString, field);
        QFETCH(QStringList, expected);
        QCOMPARE(column(jet, field), expected);
    }

    void textOrdersAsJet_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QStringList>("expected");
        const auto list = [](const char* items) { return QString::fromUtf8(items).split(QLatin1Char('|')); };
        QTest::newRow("accent beside its letter")
            << list("Zebra|água|Abacate|agua|aguas") << list("Abacate|agua|água|aguas|Zebra");
        QTest::newRow("case never separates")
            << list("éden|Eco|ÉDEN B|eco b|Edu") << list("Eco|eco b|éden|ÉDEN B|Edu");
        QTest::newRow("shorter first") << list("Pãozinho|Pão|pao") << list("pao|Pão|Pãozinho");
    }

    void textOrdersAsJet()
    {
        QFETCH(QStringList, names);
        QFETCH(QStringList, expected);
        m_company->exec(QStringLiteral("DELETE FROM NivelCategoria0"));
        for (const QString& name : names)
            m_company->exec(QStringLiteral("INSERT INTO NivelCategoria0 (Nome) VALUES ('%1')").arg(name));
        QCOMPARE(
            column(QStringLiteral("SELECT * FROM NivelCategoria0 ORDER BY Nome"), QStringLiteral("Nome")),
            expected);
        std::sort(names.begin(), names.end(),
            [](const QString& a, const QString& b) { return dialect::foldKey(a) < dialect::foldKey(b); });
        QCOMPARE(names, expected);
    }

    void actionStatementsChangeRows_data()
    {
        QTest::addColumn<QStringList>("statements");
        QTest::addColumn<QString>("check");
        QTest::addColumn<QString>("expected");
        const QString marked
            = QStringLiteral("SELECT group_concat(Codigo) FROM (SELECT Codigo FROM NivelCategoria4 "
                             "WHERE Marca = 1 ORDER BY Codigo)");
        const QStringList fill {QStringLiteral("DELETE * FROM Procura;"),
            QStringLiteral("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;")};
        QTest::newRow("report deleted")
            << QStringList {"DELETE * FROM RelatorioItens WHERE CodigoRelatorio = 1;",
                   "DELETE * FROM Relatorios WHERE CodigoRelatorio = 1;"}
            << "SELECT (SELECT COUNT(*) FROM RelatorioItens) + (SELECT COUNT(*) FROM Relatorios)"
            << "0";
        QTest::newRow("marks cleared")
            << QStringList {"UPDATE NivelCategoria4 SET Marca = True WHERE Codigo = 3",
                   "UPDATE NivelCategoria4 SET Marca = False WHERE Marca = True;"}
            << marked << "";
        QTest::newRow("search table filled")
            << fill << "SELECT COUNT(*) || '/' || SUM(Marca + Marca1 + Marca5) FROM Procura"
            << "9/0";
        QTest::newRow("links combined, AND before OR") << fill
                + QStringList {"UPDATE Procura SET Marca1 = True WHERE Codigo IN (1, 2, 3)",
                    "UPDATE Procura SET Marca2 = True WHERE Codigo IN (2, 3, 9)",
                    "UPDATE Procura SET Marca3 = True WHERE Codigo IN (7)",
                    "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True  AND Marca2 = True OR Marca3 = True",
                    "UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE WHERE "
                    "(Procura.Marca = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;"}
                                                       << marked << "2,3,7";
        QTest::newRow("Like marks both cases")
            << QStringList {"UPDATE NivelCategoria4 SET Marca = True WHERE Nome Like '*PÃO*'"} << marked
            << "1,4";
        QTest::newRow("update over an inner join")
            << QStringList {"UPDATE NivelCategoria4 INNER JOIN NivelCategoria3 ON NivelCategoria3.Codigo = "
                            "NivelCategoria4.CodigoCategoria3 SET NivelCategoria4.Marca = True WHERE "
                            "NivelCategoria3.Nome = 'energia'"}
            << marked << "8";
        QTest::newRow("delete over a join")
            << QStringList {"DELETE NivelCategoria4.* FROM NivelCategoria4 INNER JOIN NivelCategoria3 ON "
                            "NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3 WHERE "
                            "NivelCategoria3.Nome = 'pães'"}
            << "SELECT group_concat(Codigo) FROM (SELECT Codigo FROM NivelCategoria4 ORDER BY Codigo)"
            << "3,5,6,7,8,9";
        QTest::newRow("two minus signs are not a comment")
            << QStringList {"UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigo = 3 --1"}
            << "SELECT group_concat(Nome, '|') FROM (SELECT Nome FROM NivelCategoria1 WHERE Codigo IN (3, 4) "
               "ORDER BY Codigo)"
            << "Despesas Administrativas|x";
    }

    void actionStatementsChangeRows()
    {
        QFETCH(QStringList, statements);
        QFETCH(QString, check);
        QFETCH(QString, expected);
        for (const QString& statement : statements)
            run(statement);
        QCOMPARE(m_company->scalar(check).toString(), expected);
    }

    void brokenTextIsJetError_data()
    {
        QTest::addColumn<QString>("jet");
        QTest::addColumn<int>("number");
        QTest::newRow("apostrophe in a name")
            << "UPDATE NivelCategoria1 SET Nome = 'D'Avila' WHERE Codigo = 3" << 3075;
        QTest::newRow("quote-balanced apostrophes")
            << "UPDATE NivelCategoria1 SET Nome = 'D'Avila'Souza' WHERE Codigo = 3" << 3075;
        QTest::newRow("apostrophe in a marker") << marker(1, "Like", "*d'agua*") << 3075;
        QTest::newRow("value cut into an alias")
            << "SELECT Nome FROM NivelCategoria1 WHERE Nome = 'a' 'b'" << 3075;
        QTest::newRow("unclosed set in Like") << marker(4, "Like", "*[ab*") << 3075;
        QTest::newRow("impossible date") << "SELECT * FROM Venda WHERE DataDocumento = #02/30/2026#" << 3075;
        QTest::newRow("second statement")
            << "UPDATE NivelCategoria1 SET Nome = 'x'; DROP TABLE NivelCategoria4" << 3142;
        QTest::newRow("comment opener")
            << "UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigo = 3 /* a */" << 3075;
        QTest::newRow("unknown table") << "SELECT * FROM NaoExiste" << 3078;
        QTest::newRow("unknown column") << "UPDATE NivelCategoria1 SET Nome = 'x' WHERE Codigoo = 3" << 3061;
        QTest::newRow("parameter mark") << "UPDATE NivelCategoria1 SET Nome = ? WHERE Codigo = 3" << 3075;
    }

    void brokenTextIsJetError()
    {
        QFETCH(QString, jet);
        QFETCH(int, number);
        try {
            run(jet);
            QFAIL("no error");
        } catch (const JetError& error) {
            QCOMPARE(error.number(), number);
        }
        QCOMPARE(
            m_company
                ->scalar(QStringLiteral(
                    "SELECT group_concat(Nome, '|') FROM (SELECT Nome FROM NivelCategoria1 ORDER BY Codigo)"))
                .toString(),
            QStringLiteral(
                "Receitas Clientes|Despesas Fornecedores|Despesas Administrativas|Receitas Financeiras"));
        QCOMPARE(m_company->count(QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4")), 9);
    }

    void resultColumnsAreNamedAsJet_data()
    {
        QTest::addColumn<QString>("jet");
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("baseTable");
        QTest::newRow("one table") << "SELECT * FROM NivelCategoria1"
                                   << "Codigo|Nome|CodigoCategoria0|Travado"
                                   << "NivelCategoria1";
        QTest::newRow("table by name") << "NivelCategoria0"
                                       << "Codigo|Nome"
                                       << "NivelCategoria0";
        QTest::newRow("fields of one table") << "SELECT Linhas.NomeLinha, Insumo FROM Linhas"
                                             << "NomeLinha|Insumo"
                                             << "Linhas";
        QTest::newRow("join")
            << "SELECT * FROM (NivelCategoria1 LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = "
               "NivelCategoria1.CodigoCategoria0)"
            << "NivelCategoria1.Codigo|NivelCategoria1.Nome|NivelCategoria1.CodigoCategoria0|"
               "NivelCategoria1.Travado|NivelCategoria0.Codigo|NivelCategoria0.Nome"
            << "";
        QTest::newRow("join, fields and a star")
            << "SELECT Linhas.NomeLinha, Produtos.* FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = "
               "Produtos.CodigoLinha"
            << "Linhas.NomeLinha|Produtos.CodigoProduto|Produtos.CodigoLinha|Produtos.NomeProduto"
            << "";
        QTest::newRow("aliases")
            << "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde FROM Compra"
               "Produtos"
            << "Somatoria|Qtde"
            << "";
        QTest::newRow("unnamed expression") << "SELECT Count(*) FROM Procura"
                                            << "Expr1000"
                                            << "";
        QTest::newRow("distinct") << "SELECT DISTINCT Nome FROM NivelCategoria3"
                                  << "Nome"
                                  << "";
    }

    void resultColumnsAreNamedAsJet()
    {
        QFETCH(QString, jet);
        QFETCH(QString, columns);
        QFETCH(QString, baseTable);
        const dialect::Translation translation = translate(jet);
        QCOMPARE(translation.columns.join(QLatin1Char('|')), columns);
        QCOMPARE(translation.baseTable, baseTable);
        QCOMPARE(translation.rowidColumn.isEmpty(), baseTable.isEmpty());
        QSqlQuery query(m_db);
        QVERIFY2(query.exec(translation.sql), qPrintable(query.lastError().text()));
        QCOMPARE(query.record().count(), translation.columns.size() + (baseTable.isEmpty() ? 0 : 1));
    }

    void likeFollowsJetWildcards_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<bool>("matches");
        QTest::newRow("star anywhere") << "Cabana"
                                       << "*BAN*" << true;
        QTest::newRow("star backtracks") << "abcbc"
                                         << "a*bc" << true;
        QTest::newRow("question mark is one") << "Pão"
                                              << "P?o" << true;
        QTest::newRow("question mark not none") << "Po"
                                                << "P?o" << false;
        QTest::newRow("hash is a digit") << "Sala 3"
                                         << "Sala #" << true;
        QTest::newRow("hash not a letter") << "Sala B"
                                           << "Sala #" << false;
        QTest::newRow("set") << "Bolo"
                             << "[ABC]olo" << true;
        QTest::newRow("negated set") << "Bolo"
                                     << "[!ABC]olo" << false;
        QTest::newRow("range holds accented") << "água"
                                              << "[a-c]gua" << true;
        QTest::newRow("bracketed star is literal") << "a*b"
                                                   << "a[*]b" << true;
        QTest::newRow("bracketed star not a run") << "axb"
                                                  << "a[*]b" << false;
        QTest::newRow("accented capital") << "ÁGUA"
                                          << "água" << true;
        QTest::newRow("accent kept") << "agua"
                                     << "água" << false;
        QTest::newRow("SQLite wildcards literal") << "10%_x"
                                                  << "10%_?" << true;
        QTest::newRow("SQLite wildcards not wild") << "10 x"
                                                   << "10%?" << false;
    }

    void likeFollowsJetWildcards()
    {
        QFETCH(QString, text);
        QFETCH(QString, pattern);
        QFETCH(bool, matches);
        QCOMPARE(dialect::likeMatches(text, pattern), matches);
    }

    void sqliteFailuresAreJetErrors_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("number");
        QTest::newRow("busy") << 5 << "database is locked" << 3218;
        QTest::newRow("busy, extended code") << 261 << "database is locked" << 3218;
        QTest::newRow("not a database") << 26 << "file is not a database" << 3049;
        QTest::newRow("corrupt") << 11 << "database disk image is malformed" << 3049;
        QTest::newRow("read-only") << 8 << "attempt to write a readonly database" << 3027;
        QTest::newRow("unique") << 2067 << "UNIQUE constraint failed" << 3022;
        QTest::newRow("no such table") << 1 << "no such table: Xyz" << 3078;
    }

    void sqliteFailuresAreJetErrors()
    {
        QFETCH(int, code);
        QFETCH(QString, message);
        QFETCH(int, number);
        QCOMPARE(dialect::fromSqlite(code, message).number(), number);
    }
};

VAREMO_TEST(TestDialect);
#include "test_dialect.moc"
