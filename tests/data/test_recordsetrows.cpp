#include "data/database.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

using varemo::Database;
using varemo::Recordset;
using varemo::test::TestCompany;

namespace {

const QString itemsJoin = QStringLiteral(
    "SELECT * FROM ((((NivelCategoria4 "
    "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
    "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) ");

const QStringList itemOrder = {QStringLiteral("NivelCategoria0.Nome"), QStringLiteral("NivelCategoria1.Nome"),
    QStringLiteral("NivelCategoria2.Nome"), QStringLiteral("NivelCategoria3.Nome"),
    QStringLiteral("NivelCategoria4.Nome")};

const QString itemCode = QStringLiteral("NivelCategoria4.Codigo");

} // namespace

class TestRecordsetRows : public QObject {
    Q_OBJECT
private slots:
    // Texts read back as stored, whether the column's repeats are shared or not, and each
    // row keeps its own value when another row holding the same text is changed.
    void textsReadBack_data()
    {
        QTest::addColumn<QString>("name"); // SQLite expression of the row number i, 1..3000
        QTest::newRow("runs of one name") << QStringLiteral("'Nome ' || (i / 100)");
        QTest::newRow("different names, then a few repeated")
            << QStringLiteral("CASE WHEN i <= 1500 THEN 'Único ' || i ELSE 'Nome ' || (i % 3) END");
        QTest::newRow("names alternating with empty and Null")
            << QStringLiteral("CASE i % 3 WHEN 0 THEN '' WHEN 1 THEN NULL ELSE 'x' END");
    }
    void textsReadBack()
    {
        QFETCH(QString, name);
        TestCompany company(TestCompany::Seed::Empty);
        company.exec(
            QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                           "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) "
                           "SELECT i, %1, 1 FROM n")
                .arg(name));
        company.exec(QStringLiteral("CREATE TABLE Esperado AS SELECT Codigo, Nome IS NULL AS Nulo, "
                                    "coalesce(Nome, '') AS Texto FROM NivelCategoria4"));
        company.closeSql();
        auto db = Database::open(company.databasePath());
        auto items = db->openRecordset(QStringLiteral("NivelCategoria4"), varemo::RecordsetType::Table);
        items->findFirst(QStringLiteral("Codigo = 2999"));
        items->edit();
        items->setValue(QStringLiteral("Nome"), QStringLiteral("Mudado"));
        items->update();
        db->execute(QStringLiteral("UPDATE Esperado SET Texto = 'Mudado', Nulo = 0 WHERE Codigo = 2999"));

        auto expected = db->openRecordset(QStringLiteral("SELECT Nulo, Texto FROM Esperado ORDER BY Codigo"));
        QCOMPARE(items->recordCount(), 3000);
        const int column = items->fieldIndex(QStringLiteral("Nome"));
        for (int i = 0; i < 3000; ++i) {
            const QVariant seen = items->rows().at(i).at(column);
            const QList<QVariant>& want = expected->rows().at(i);
            QCOMPARE(seen.isNull(), want.at(0).toBool());
            QCOMPARE(seen.toString(), want.at(1).toString());
        }
    }

    // A row read apart and placed must leave the page as a requery in that order would.
    void placeRow_data()
    {
        QTest::addColumn<QString>("change"); // a statement on the company
        QTest::addColumn<int>("code"); // the item read again
        QTest::addColumn<bool>("placed");
        QTest::newRow("renamed item moves")
            << QStringLiteral("UPDATE NivelCategoria4 SET Nome = 'Água' WHERE Codigo = 1") << 1 << true;
        QTest::newRow("item moved to another account")
            << QStringLiteral("UPDATE NivelCategoria4 SET CodigoCategoria3 = 1 WHERE Codigo = 9") << 9
            << true;
        QTest::newRow("new item") << QStringLiteral(
            "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) VALUES (50, 'Ábaco', 6)")
                                  << 50 << true;
        QTest::newRow("new item with no account") << QStringLiteral(
            "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) VALUES (50, 'Z', 99)")
                                                  << 50 << true;
        QTest::newRow("name equal to a sibling's, in other case: only the engine knows the order")
            << QStringLiteral(
                   "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) "
                   "SELECT 50, upper(Nome), CodigoCategoria3 FROM NivelCategoria4 WHERE Codigo = 2")
            << 50 << false;
    }
    void placeRow()
    {
        QFETCH(QString, change);
        QFETCH(int, code);
        QFETCH(bool, placed);
        TestCompany company;
        company.closeSql();
        auto db = Database::open(company.databasePath());
        auto page = db->openRecordset(itemsJoin);
        page->sortByText(itemOrder);
        const QList<QList<QVariant>> before = page->rows();
        db->execute(change);
        auto row
            = db->openRecordset(itemsJoin + QStringLiteral("WHERE NivelCategoria4.Codigo = %1").arg(code));
        QCOMPARE(page->placeRow(itemCode, row->rows().first()), placed);
        if (!placed) {
            QCOMPARE(page->rows(), before);
            return;
        }
        auto reread = db->openRecordset(itemsJoin);
        reread->sortByText(itemOrder);
        QCOMPARE(page->rows(), reread->rows());
        QCOMPARE(page->value(itemCode).toInt(), code);
    }
};

VAREMO_TEST(TestRecordsetRows);
#include "test_recordsetrows.moc"
