#include "data/database.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

using namespace varemo;
using varemo::test::TestCompany;

namespace {

// The chart page's order: the five levels' names.
const QStringList itemOrder {QStringLiteral("NivelCategoria0.Nome"), QStringLiteral("NivelCategoria1.Nome"),
    QStringLiteral("NivelCategoria2.Nome"), QStringLiteral("NivelCategoria3.Nome"),
    QStringLiteral("NivelCategoria4.Nome")};

QList<QVariant> itemCodes(const Recordset& rows)
{
    QList<QVariant> codes;
    for (const auto& row : rows.rows())
        codes << row.at(rows.fieldIndex(QStringLiteral("NivelCategoria4.Codigo")));
    return codes;
}

} // namespace

class TestRecordsetRows : public QObject {
    Q_OBJECT
private slots:
    // Texts read back as stored whether a column's repeats are shared or not (a column of
    // mostly different texts stops being shared part way), Null and empty kept apart.
    void textsReadBack_data()
    {
        QTest::addColumn<QString>("name"); // SQLite expression of the row number i, 1..3000
        QTest::newRow("runs of one name") << QStringLiteral("'Nome ' || (i / 100)");
        QTest::newRow("different, then repeated")
            << QStringLiteral("CASE WHEN i <= 1500 THEN 'Único ' || i ELSE 'Nome ' || (i % 3) END");
        QTest::newRow("empty and Null")
            << QStringLiteral("CASE i % 3 WHEN 0 THEN '' WHEN 1 THEN NULL ELSE 'x' END");
    }
    void textsReadBack()
    {
        QFETCH(QString, name);
        TestCompany company(TestCompany::Seed::Empty);
        company.exec(
            QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                           "INSERT INTO NivelCategoria4 (Codigo, Nome) SELECT i, %1 FROM n")
                .arg(name));
        // Read past the program's data layer, as one text.
        const QString stored
            = company
                  .scalar(QStringLiteral("SELECT group_concat(coalesce(Nome, '<Null>'), '|') "
                                         "FROM (SELECT Nome FROM NivelCategoria4 ORDER BY Codigo)"))
                  .toString();
        company.closeSql();
        auto db = Database::open(company.databasePath());
        auto items = db->openRecordset(QStringLiteral("NivelCategoria4"), RecordsetType::Table);
        QStringList read;
        for (const QList<QVariant>& row : items->rows())
            read << (row.at(1).isNull() ? QStringLiteral("<Null>") : row.at(1).toString());
        QCOMPARE(read.join(QLatin1Char('|')), stored);
    }

    // A row read apart and placed leaves the page as a requery in its order would, or is refused.
    void placeRow_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("code"); // the item read again
        QTest::addColumn<bool>("placed");
        QTest::newRow("moved to another account")
            << QStringLiteral("UPDATE NivelCategoria4 SET CodigoCategoria3 = 1 WHERE Codigo = 9") << 9
            << true;
        QTest::newRow("new, with no account") << QStringLiteral(
            "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) VALUES (50, 'Z', 99)")
                                              << 50 << true;
        QTest::newRow("same names as another row: only the engine knows the order") << QStringLiteral(
            "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) VALUES (50, 'BAGUETE', 1)")
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
        auto page = db->openRecordset(test::itemChainJoin());
        page->sortByText(itemOrder);
        db->execute(change);
        auto reread = db->openRecordset(test::itemChainJoin());
        reread->sortByText(itemOrder);
        const QList<QList<QVariant>> expected = placed ? reread->rows() : page->rows();
        auto row = db->openRecordset(
            test::itemChainJoin() + QStringLiteral("WHERE NivelCategoria4.Codigo = %1").arg(code));
        QCOMPARE(page->placeRow(QStringLiteral("NivelCategoria4.Codigo"), row->rows().first()), placed);
        QCOMPARE(page->rows(), expected);
    }

    // Rows left for later and read in slices, or by a first use, come as one read gives them:
    // the same rows, bookmarks and order, ties included, and a table stays writable.
    void readLater_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("keyField");
        QTest::addColumn<bool>("sorted");
        QTest::addColumn<QString>("firstUse"); // empty: readMore until read
        const QString table = QStringLiteral("NivelCategoria4");
        const QString join = test::itemChainJoin();
        const QString key = QStringLiteral("NivelCategoria4.Codigo");
        QTest::newRow("table in slices of its rowid") << table << QString() << false << QString();
        QTest::newRow("join in slices of its key, sorted") << join << key << true << QString();
        QTest::newRow("join, a find reads the rest") << join << key << true << QStringLiteral("find");
        QTest::newRow("table, a write reads the rest")
            << table << QString() << false << QStringLiteral("write");
        QTest::newRow("own order, read whole")
            << QStringLiteral("SELECT * FROM NivelCategoria4 ORDER BY Nome DESC") << QString() << false
            << QString();
    }
    void readLater()
    {
        QFETCH(QString, source);
        QFETCH(QString, keyField);
        QFETCH(bool, sorted);
        QFETCH(QString, firstUse);
        TestCompany company(TestCompany::Seed::Empty);
        // Gaps in the codes, names repeated (rows equal on every name keep the read's order),
        // a few items under named accounts.
        company.exec(QStringLiteral("INSERT INTO NivelCategoria3 (Codigo, Nome) VALUES (1, 'B'), (2, 'A')"));
        company.exec(
            QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                           "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) "
                           "SELECT i * 3, 'Nome ' || (i % 7), i % 4 FROM n WHERE i % 11 <> 0"));
        company.closeSql();
        auto db = Database::open(company.databasePath());
        const RecordsetType type = keyField.isEmpty() && !source.startsWith(QLatin1String("SELECT"))
            ? RecordsetType::Table
            : RecordsetType::Dynaset;
        auto whole = db->openRecordset(source, type);
        auto later = Recordset::openLater(*db, source, type, keyField);
        if (sorted) {
            whole->sortByText(itemOrder);
            later->sortByText(itemOrder);
        }
        QCOMPARE(later->fieldNames(), whole->fieldNames());
        QVERIFY(!later->isRead());
        if (firstUse == QLatin1String("find")) {
            QVERIFY(!later->readMore(700));
            QVERIFY(later->findFirst(
                (keyField.isEmpty() ? QStringLiteral("Codigo") : keyField) + QStringLiteral(" = 2001")));
        } else if (firstUse == QLatin1String("write")) {
            later->moveLast();
            later->edit();
            later->setValue(QStringLiteral("Nome"), QStringLiteral("Escrito"));
            later->update();
            whole->requery();
        } else {
            int slices = 1;
            while (!later->readMore(700))
                ++slices;
            QCOMPARE(slices > 1, !keyField.isEmpty() || type == RecordsetType::Table);
        }
        QVERIFY(later->isRead());
        QCOMPARE(later->rows(), whole->rows());
        for (int i = 0; i < whole->recordCount(); i += 97) {
            whole->setAbsolutePosition(i);
            later->setAbsolutePosition(i);
            QCOMPARE(later->bookmark(), whole->bookmark());
        }
    }

    // Rows sorted in memory come in the order the engine's ORDER BY gives them, read again too.
    void sortedAsTheEngine_data()
    {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QString>("added");
        // Names that differ in case only are equal to the engine, which then gives them in no
        // fixed order: none here.
        QTest::newRow("accents and case") << QStringList {"água", "Agua", "abacate", "Ábaco", "ZEBRA", "zebu",
            "Éclair", "eclair", "Eclairs"} << QStringLiteral("Ágata");
        QTest::newRow("prefixes and blanks")
            << QStringList {"abc", "abcd", "ab c", "ab", "", " ab", "a-b", "a b"} << QStringLiteral("abcd ");
        QTest::newRow("digits and symbols")
            << QStringList {"10 Kg", "9 Kg", "#1", "Ç", "c", "cz", "Ca", "ç1"} << QStringLiteral("Ça");
    }
    void sortedAsTheEngine()
    {
        QFETCH(QStringList, items);
        QFETCH(QString, added);
        TestCompany company;
        // An item whose account is gone: its ancestors' names are Null and come first.
        items << QStringLiteral("Órfão");
        for (const QString& name : items)
            company.exec(
                QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('%1', %2)")
                    .arg(name)
                    .arg(name == QStringLiteral("Órfão") ? 99 : 6));
        company.closeSql();
        auto db = Database::open(company.databasePath());
        const QString ordered
            = test::itemChainJoin() + QStringLiteral("ORDER BY ") + itemOrder.join(QStringLiteral(", "));
        auto sorted = db->openRecordset(test::itemChainJoin());
        sorted->sortByText(itemOrder);
        QCOMPARE(itemCodes(*sorted), itemCodes(*db->openRecordset(ordered)));
        QCOMPARE(sorted->value(QStringLiteral("NivelCategoria4.Nome")).toString(), QStringLiteral("Órfão"));
        db->execute(QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('%1', 6)")
                        .arg(added));
        sorted->requery();
        QCOMPARE(itemCodes(*sorted), itemCodes(*db->openRecordset(ordered)));
    }
};

VAREMO_TEST(TestRecordsetRows);
#include "test_recordsetrows.moc"
