#include "data/database.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

using varemo::Database;
using varemo::Recordset;
using varemo::test::TestCompany;

namespace {

const QString itemsJoin = varemo::test::itemChainJoin();

const QStringList itemOrder = {QStringLiteral("NivelCategoria0.Nome"), QStringLiteral("NivelCategoria1.Nome"),
    QStringLiteral("NivelCategoria2.Nome"), QStringLiteral("NivelCategoria3.Nome"),
    QStringLiteral("NivelCategoria4.Nome")};

QList<int> itemCodes(Recordset& rows)
{
    QList<int> codes;
    for (const auto& row : rows.rows())
        codes << row.at(rows.fieldIndex(QStringLiteral("NivelCategoria4.Codigo"))).toInt();
    return codes;
}

} // namespace

// The rows sorted in memory must come in the order the engine's ORDER BY gives them.
class TestRecordsetSort : public QObject {
    Q_OBJECT
private slots:
    void sameOrderAsTheEngine_data()
    {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QString>("added");
        // Items added to account 6 ("Energia"), then one more added before the requery. Names
        // that differ in case only are equal to the engine, which then gives them in no fixed
        // order: none here.
        QTest::newRow("accents and case") << QStringList {"água", "Agua", "abacate", "Ábaco", "ZEBRA", "zebu",
            "Éclair", "eclair", "Eclairs"} << QStringLiteral("Ágata");
        QTest::newRow("prefixes and blanks")
            << QStringList {"abc", "abcd", "ab c", "ab", "", " ab", "a-b", "a b"} << QStringLiteral("abcd ");
        QTest::newRow("digits and symbols")
            << QStringList {"10 Kg", "9 Kg", "#1", "Ç", "c", "cz", "Ca", "ç1"} << QStringLiteral("Ça");
    }
    void sameOrderAsTheEngine()
    {
        QFETCH(QStringList, items);
        QFETCH(QString, added);
        TestCompany company;
        // An item whose account is gone: its ancestors' names are Null and come first.
        company.exec(
            QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Órfão', 99)"));
        for (const QString& name : items) {
            company.exec(
                QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('%1', 6)")
                    .arg(name));
        }
        company.closeSql();
        auto db = Database::open(company.databasePath());
        const QString ordered
            = itemsJoin + QStringLiteral("ORDER BY ") + itemOrder.join(QStringLiteral(", "));
        auto sorted = db->openRecordset(itemsJoin);
        sorted->sortByText(itemOrder);
        QCOMPARE(itemCodes(*sorted), itemCodes(*db->openRecordset(ordered)));
        QCOMPARE(sorted->value(QStringLiteral("NivelCategoria4.Nome")).toString(), QStringLiteral("Órfão"));

        // The order holds for the rows read again.
        db->execute(QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('%1', 6)")
                        .arg(added));
        sorted->requery();
        QCOMPARE(itemCodes(*sorted), itemCodes(*db->openRecordset(ordered)));
    }
};

VAREMO_TEST(TestRecordsetSort);
#include "test_recordsetsort.moc"
