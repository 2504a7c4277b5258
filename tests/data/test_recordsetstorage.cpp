#include "data/database.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QDate>
#include <QTest>

// A recordset packs each cell by its kind: each reads back as the engine gave it, whole or in slices.
class TestRecordsetStorage : public QObject {
    Q_OBJECT
private slots:
    void cellsReadBack_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariantList>("values");
        QTest::newRow("mistura") << QString()
                                 << QVariantList {1LL, "um", {}, -7LL, "um", 2.5, QByteArray("\0x", 2)};
        QTest::newRow("datas") << QStringLiteral("DATE")
                               << QVariantList {QDate(2024, 2, 29), {}, QDate(1899, 12, 30)};
        QTest::newRow("sim e não") << QStringLiteral("BIT") << QVariantList {true, false, {}};
        // Past a thousand texts, a column of mostly new ones is no longer looked up.
        QVariantList texts {QString(70000, QLatin1Char('a')) + "é"};
        for (int i = 0; i < 3000; ++i)
            texts << QStringLiteral("nome %1").arg(i % 3 == 0 ? 0 : i % 1500);
        QTest::newRow("textos") << QString() << texts;
    }
    void cellsReadBack()
    {
        QFETCH(QString, type);
        QFETCH(QVariantList, values);
        if (varemo::test::onServer())
            QSKIP("a column of mixed kinds is the embedded engine's");
        varemo::test::TestCompany company;
        company.exec(QStringLiteral("CREATE TABLE Mistura (Id INTEGER PRIMARY KEY, Valor %1)").arg(type));
        company.closeSql();
        const auto db = varemo::Database::open(company.databasePath());
        const auto whole = db->openRecordset(QStringLiteral("Mistura"));
        const auto check = [&values](const varemo::Recordset& rows) {
            QCOMPARE(rows.recordCount(), int(values.size()));
            for (int i = 0; i < values.size(); ++i)
                QCOMPARE(std::pair(rows.cell(i, 1).typeId(), rows.cell(i, 1)),
                    std::pair(values.at(i).typeId(), values.at(i)));
        };
        varemo::UnitOfWork writing(*db);
        for (const QVariant& value : std::as_const(values)) {
            whole->addNew();
            whole->setValue(QStringLiteral("Valor"), value);
            whole->update();
        }
        writing.commit();
        whole->requery();
        check(*whole);
        const auto sliced = varemo::Recordset::openLater(*db, QStringLiteral("Mistura"));
        while (!sliced->readMore(7)) { }
        check(*sliced);
    }
};

VAREMO_TEST(TestRecordsetStorage);
#include "test_recordsetstorage.moc"
