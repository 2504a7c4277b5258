#include "data/database.h"
#include "support/company.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QDate>
#include <QTest>

#include <functional>
#include <map>

using namespace varemo;
using varemo::test::jetFailure;
using varemo::test::TestCompany;

namespace {

// The chart page's order: the five levels' names.
const QStringList itemOrder {QStringLiteral("NivelCategoria0.Nome"), QStringLiteral("NivelCategoria1.Nome"),
    QStringLiteral("NivelCategoria2.Nome"), QStringLiteral("NivelCategoria3.Nome"),
    QStringLiteral("NivelCategoria4.Nome")};

// The company after the statements, opened by the program's data layer.
std::unique_ptr<Database> openAfter(TestCompany& company, const QStringList& statements)
{
    for (const QString& statement : statements)
        company.exec(statement);
    company.closeSql();
    return Database::open(company.databasePath());
}

QStringList column(const Recordset& rows, const QString& field)
{
    QStringList values;
    for (const auto& row : rows.rows())
        values << (row.at(rows.fieldIndex(field)).isNull() ? QStringLiteral("<Null>")
                                                           : row.at(rows.fieldIndex(field)).toString());
    return values;
}

const QString byCode = QStringLiteral("SELECT * FROM NivelCategoria4 ORDER BY Codigo");
const QString levelOneJoin = QStringLiteral("SELECT * FROM (NivelCategoria1 LEFT JOIN NivelCategoria0 ON "
                                            "NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
                                            "ORDER BY NivelCategoria1.Codigo;");

// One step of a script: "op argument", e.g. "find Codigo = 3", "edit CodigoCategoria3 6".
void act(Recordset& rs, const QString& step, Recordset::Bookmark& mark)
{
    const QString op = step.section(QLatin1Char(' '), 0, 0), arg = step.section(QLatin1Char(' '), 1);
    const QString field = arg.section(QLatin1Char(' '), 0, 0), value = arg.section(QLatin1Char(' '), 1);
    const auto write = [&] {
        rs.setValue(field, value.toInt() ? QVariant(value.toInt()) : QVariant(value));
        rs.update();
    };
    const std::map<QString, std::function<void()>> ops {{"next", [&] { rs.moveNext(); }},
        {"previous", [&] { rs.movePrevious(); }}, {"first", [&] { rs.moveFirst(); }},
        {"last", [&] { rs.moveLast(); }}, {"delete", [&] { rs.deleteCurrent(); }},
        {"find", [&] { rs.findFirst(arg); }}, {"findnext", [&] { rs.findNext(arg); }},
        {"mark", [&] { mark = rs.bookmark(); }},
        {"tomark", [&] { rs.setBookmark(arg.isEmpty() ? mark : arg.toLongLong()); }},
        {"set", [&] { rs.setValue(QStringLiteral("Nome"), QStringLiteral("x")); }},
        {"read", [&] { rs.value(arg); }}, {"close", [&] { rs.close(); }},
        {"edit", [&] { rs.edit(), write(); }}, {"add", [&] { rs.addNew(), write(); }}};
    ops.at(op)();
}

// Where a recordset stands after a step: the current Codigo, EOF, BOF or empty.
QString where(const Recordset& rs)
{
    if (rs.eof() || rs.bof())
        return rs.eof() && rs.bof() ? QStringLiteral("empty") : rs.eof() ? QStringLiteral("EOF") : "BOF";
    return rs.value(QStringLiteral("Codigo")).toString();
}

} // namespace

class TestRecordset : public QObject {
    Q_OBJECT
private slots:
    // "step -> where it stands", or "-> !number" for a failure: the failures' numbers, finds
    // through the number index, and bookmarks and the index after writes.
    void steps_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("steps");
        QTest::newRow("past the end") << "NivelCategoria0"
                                      << "next -> 2; next -> 3; next -> EOF; read Nome -> !3021; "
                                         "next -> !3021; previous -> 3";
        QTest::newRow("empty") << "SELECT * FROM NivelCategoria4 WHERE Codigo = 9999"
                               << "first -> !3021; last -> !3021; next -> !3021; previous -> !3021";
        // a deleted row stays current but unreadable; the next move or find goes on from its place
        QTest::newRow("moves and finds after a delete")
            << byCode
            << "find Codigo = 3 -> 3; delete -> !3167; next -> 4; previous -> 2; find Codigo = 5 -> 5; "
               "delete -> !3167; findnext Codigo > 0 -> 6; last -> 9; next -> EOF; find Codigo = 99 -> "
               "EOF; find Marca = 0 -> 1";
        QTest::newRow("first in the recordset's order")
            << "SELECT * FROM NivelCategoria4 ORDER BY Codigo DESC"
            << "find CodigoCategoria3 = 5 -> 7";
        QTest::newRow("on a join") << levelOneJoin << "find NivelCategoria0.Codigo = 2 -> 2";
        // after AddNew and Update the record current before stays current
        QTest::newRow("lookups follow writes")
            << byCode
            << "find Codigo = 5 -> 5; mark -> 5; tomark -> 5; find CodigoCategoria3 = 6 -> 8; add "
               "CodigoCategoria3 8 -> 8; find CodigoCategoria3 = 8 -> 10; find Codigo = 6 -> 6; edit "
               "CodigoCategoria3 6 -> 6; find CodigoCategoria3 = 5 -> 7; find CodigoCategoria3 = 6 -> 6; "
               "find Codigo = 1 -> 1; delete -> !3167; find CodigoCategoria3 = 5 -> 7; tomark -> 5; "
               "tomark 987654 -> !3159";
        QTest::newRow("misuses") << byCode
                                 << "set -> !3020; read Apelido -> !3265; find Apelido = 3 -> !3070; "
                                    "close -> empty; first -> !3420";
        QTest::newRow("edit a join") << levelOneJoin << "edit Nome x -> !3027";
        QTest::newRow("add to a snapshot") << "snapshot"
                                           << "add Nome x -> !3027";
    }
    void steps()
    {
        QFETCH(QString, source);
        QFETCH(QString, steps);
        TestCompany company;
        const auto db = openAfter(company, {});
        auto rs = source == QLatin1String("snapshot") ? db->openRecordset(byCode, RecordsetType::Snapshot)
                                                      : db->openRecordset(source);
        Recordset::Bookmark mark = 0;
        QStringList done;
        for (const QString& step : steps.split(QStringLiteral("; "))) {
            QString at;
            if (const int number = jetFailure([&] {
                    act(*rs, step.section(QStringLiteral(" -> "), 0, 0), mark);
                    at = where(*rs);
                }))
                at = QLatin1Char('!') + QString::number(number);
            done << step.section(QStringLiteral(" -> "), 0, 0) + QStringLiteral(" -> ") + at;
        }
        QCOMPARE(done.join(QStringLiteral("; ")), steps);
    }
    // Rows left for later and read in slices, or by a first use, come as one read gives them:
    // the same rows, bookmarks and order, ties included, and a table stays writable.
    void readLater_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("keyField");
        QTest::addColumn<QString>("firstUse"); // empty: readMore until read
        const QString table = QStringLiteral("NivelCategoria4");
        const QString join = test::itemChainJoin();
        const QString key = QStringLiteral("NivelCategoria4.Codigo");
        QTest::newRow("table in slices of its rowid") << table << QString() << QString();
        QTest::newRow("join in slices of its key, sorted") << join << key << QString();
        QTest::newRow("join, a find reads the rest") << join << key << QStringLiteral("find");
        QTest::newRow("table, a write reads the rest") << table << QString() << QStringLiteral("write");
        QTest::newRow("own order, read whole")
            << QStringLiteral("SELECT * FROM NivelCategoria4 ORDER BY Nome DESC") << QString() << QString();
    }
    void readLater()
    {
        QFETCH(QString, source);
        QFETCH(QString, keyField);
        QFETCH(QString, firstUse);
        TestCompany company(TestCompany::Seed::Empty);
        // Gaps in the codes, names repeated (rows equal on every name keep the read's order),
        // then all different; a few items under named accounts.
        const auto db = openAfter(company,
            {QStringLiteral("INSERT INTO NivelCategoria3 (Codigo, Nome) VALUES (1, 'B'), (2, 'A')"),
                QStringLiteral(
                    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
                    "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) SELECT i * 3, CASE "
                    "WHEN i > 1500 THEN 'Único ' || i WHEN i % 5 = 0 THEN '' WHEN i % 5 = 1 THEN NULL "
                    "ELSE 'Nome ' || (i % 7) END, i % 4 FROM n WHERE i % 11 <> 0")});
        const bool table = source == QLatin1String("NivelCategoria4");
        const RecordsetType type = table ? RecordsetType::Table : RecordsetType::Dynaset;
        const auto whole = db->openRecordset(source, type);
        const auto later = Recordset::openLater(*db, source, type, keyField);
        if (!keyField.isEmpty()) {
            whole->sortByText(itemOrder);
            later->sortByText(itemOrder);
        }
        QCOMPARE(later->fieldNames(), whole->fieldNames());
        QVERIFY(!later->isRead());
        if (firstUse == QLatin1String("find")) {
            QVERIFY(!later->readMore(700));
            QVERIFY(later->findFirst(keyField + QStringLiteral(" = 2001")));
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
            QCOMPARE(slices > 1, !keyField.isEmpty() || table);
        }
        QVERIFY(later->isRead());
        QCOMPARE(later->rows(), whole->rows());
        for (int i = 0; i < whole->recordCount(); i += 97) {
            whole->setAbsolutePosition(i);
            later->setAbsolutePosition(i);
            QCOMPARE(later->bookmark(), whole->bookmark());
        }
    }

    // Rows sorted in memory come as the engine's ORDER BY gives them, read again too; names (when
    // given) with an accent beside its letter, case never apart, the shorter first; orphans first.
    void sortedAsTheEngine_data()
    {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QString>("added");
        const QString pinned
            = QStringLiteral("Abacate|agua|água|aguas|Eco|eco b|éden|ÉDEN B|Edu|pao|Pão|Pãozinho|Zebra");
        QTest::newRow("in a user's order") << QStringList {"Zebra", "água", "Abacate", "agua", "aguas",
            "éden", "Eco", "ÉDEN B", "eco b", "Edu", "Pãozinho", "Pão", "pao"}
                                           << pinned.split('|') << QStringLiteral("Ágata");
        QTest::newRow("prefixes, blanks, digits and symbols") << QStringList {"abc", "abcd", "ab c", "ab", "",
            " ab", "a-b", "a b", "10 Kg", "9 Kg", "#1", "Ç", "c", "cz", "Ca", "ç1"}
                                                              << QStringList() << QStringLiteral("abcd ");
    }
    void sortedAsTheEngine()
    {
        QFETCH(QStringList, items);
        QFETCH(QStringList, expected);
        QFETCH(QString, added);
        TestCompany company;
        QStringList inserts {
            QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Órfão', 99)")};
        for (const QString& name : items + QStringList {added})
            inserts << QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('%1', 6)")
                           .arg(name);
        const auto db = openAfter(company, inserts.mid(0, inserts.size() - 1));
        const QString ordered = test::itemChainJoin() + QStringLiteral("ORDER BY ") + itemOrder.join(", ");
        const QString code = QStringLiteral("NivelCategoria4.Codigo");
        const auto sorted = db->openRecordset(test::itemChainJoin());
        sorted->sortByText(itemOrder);
        QCOMPARE(column(*sorted, code), column(*db->openRecordset(ordered), code));
        QCOMPARE(sorted->value(QStringLiteral("NivelCategoria4.Nome")).toString(), QStringLiteral("Órfão"));
        QStringList names = column(*sorted, QStringLiteral("NivelCategoria4.Nome"));
        names.removeIf([&](const QString& name) { return expected.isEmpty() || !items.contains(name); });
        QCOMPARE(names, expected);
        db->execute(inserts.last());
        sorted->requery();
        QCOMPARE(column(*sorted, code), column(*db->openRecordset(ordered), code));
    }
    // Each cell is packed by its kind and reads back as the engine gave it, whole or in slices.
    void cellsReadBack_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariantList>("values");
        QTest::newRow("mistura") << QString()
                                 << QVariantList {1LL, "um", {}, -7LL, "", "um", 2.5, QByteArray("\0x", 2)};
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
        if (test::onServer())
            QSKIP("a column of mixed kinds is the embedded engine's");
        TestCompany company;
        const auto db = openAfter(
            company, {QStringLiteral("CREATE TABLE Mistura (Id INTEGER PRIMARY KEY, Valor %1)").arg(type)});
        const auto whole = db->openRecordset(QStringLiteral("Mistura"));
        const auto check = [&values](const Recordset& rows) {
            QCOMPARE(rows.recordCount(), int(values.size()));
            for (int i = 0; i < values.size(); ++i)
                QCOMPARE(std::pair(rows.cell(i, 1).typeId(), rows.cell(i, 1)),
                    std::pair(values.at(i).typeId(), values.at(i)));
        };
        UnitOfWork writing(*db);
        for (const QVariant& value : std::as_const(values)) {
            whole->addNew();
            whole->setValue(QStringLiteral("Valor"), value);
            whole->update();
        }
        writing.commit();
        whole->requery();
        check(*whole);
        const auto sliced = Recordset::openLater(*db, QStringLiteral("Mistura"));
        while (!sliced->readMore(7)) { }
        check(*sliced);
    }
};

VAREMO_TEST(TestRecordset);
#include "test_recordset.moc"
