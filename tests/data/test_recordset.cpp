#include "data/database.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

using varemo::Database;
using varemo::Recordset;
using varemo::RecordsetType;
using varemo::test::jetFailure;
using varemo::test::TestCompany;

namespace {

const QString byCode = QStringLiteral("SELECT * FROM NivelCategoria4 ORDER BY Codigo");
const QString levelOneJoin = QStringLiteral("SELECT * FROM (NivelCategoria1 LEFT JOIN NivelCategoria0 ON "
                                            "NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
                                            "ORDER BY NivelCategoria1.Codigo;");
constexpr int AtEof = -1;
constexpr int AtBof = -2;
constexpr int Empty = -3;

// Where a recordset stands: the current Codigo, AtEof, AtBof or Empty.
int where(const Recordset& rs)
{
    if (rs.eof() && rs.bof())
        return Empty;
    if (rs.eof() || rs.bof())
        return rs.eof() ? AtEof : AtBof;
    return rs.value("Codigo").toInt();
}

void standOn(Recordset& rs, int code)
{
    if (code == AtEof) {
        rs.moveLast();
        rs.moveNext();
    } else if (!rs.findFirst(QStringLiteral("Codigo = %1").arg(code))) {
        QFAIL("no such row");
    }
}

void move(Recordset& rs, const QString& how)
{
    if (how == QLatin1String("delete"))
        rs.deleteCurrent();
    else if (how == QLatin1String("go3"))
        standOn(rs, 3);
    else if (how == QLatin1String("findnext"))
        rs.findNext("Codigo > 0");
    else if (how == QLatin1String("next"))
        rs.moveNext();
    else if (how == QLatin1String("previous"))
        rs.movePrevious();
    else
        rs.moveLast();
}

} // namespace

class TestRecordset : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_company;
    std::unique_ptr<Database> m_db;

    int stored(const QString& sql) { return m_company->count(sql); }

private slots:
    void init()
    {
        m_company = std::make_unique<TestCompany>();
        m_db = Database::open(m_company->databasePath());
    }
    void cleanup()
    {
        m_db.reset();
        m_company.reset();
    }

    // "move:expected", expected a Codigo, EOF or !number for a failure. (The random model
    // walks every other way; these pin the failures' numbers.)
    void walks_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("steps");
        const QString levels = QStringLiteral("NivelCategoria0");
        QTest::newRow("past the end") << levels << "next:2 next:3 next:EOF next:!3021 previous:3";
        QTest::newRow("empty") << "SELECT * FROM NivelCategoria4 WHERE Codigo = 9999"
                               << "first:!3021 last:!3021 next:!3021 previous:!3021";
        // a deleted row stays current but unreadable; the next move goes on from its place
        QTest::newRow("delete, next") << byCode << "go3:3 delete:!3167 next:4 previous:2";
        QTest::newRow("delete, find next") << byCode << "go3:3 delete:!3167 findnext:4";
    }
    void walks()
    {
        QFETCH(QString, source);
        QFETCH(QString, steps);
        auto rs = m_db->openRecordset(source);
        QCOMPARE(where(*rs), rs->recordCount() ? 1 : Empty);
        for (const QString& step : steps.split(QLatin1Char(' '))) {
            const QString expected = step.section(QLatin1Char(':'), 1);
            const int number = jetFailure([&] {
                move(*rs, step.section(QLatin1Char(':'), 0, 0));
                if (!rs->eof() && !rs->bof())
                    rs->value("Nome"); // a deleted row fails here
            });
            QCOMPARE(number, expected.startsWith(QLatin1Char('!')) ? expected.mid(1).toInt() : 0);
            if (number)
                continue;
            const int at = expected == QLatin1String("EOF") ? AtEof : expected.toInt();
            QCOMPARE(where(*rs), at);
            if (at < 0)
                QCOMPARE(jetFailure([&] { rs->value("Nome"); }), 3021);
        }
        if (source == byCode) // the file lost the rows the recordset did
            QCOMPARE(rs->recordCount(), stored("SELECT count(*) FROM NivelCategoria4"));
    }

    // A find by "Field = number" goes through an index: it must still honour the recordset's
    // order, a Yes/No, a joined name, and leave the record where it was when nothing matches.
    void finds_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("criteria");
        QTest::addColumn<int>("after");
        QTest::newRow("none, at EOF") << byCode << AtEof << "Codigo = 99" << AtEof;
        QTest::newRow("first in order")
            << "SELECT * FROM NivelCategoria4 ORDER BY Codigo DESC" << 1 << "CodigoCategoria3 = 5" << 7;
        QTest::newRow("on a Yes/No") << byCode << 9 << "Marca = 0" << 1;
        QTest::newRow("on a join") << levelOneJoin << 1 << "NivelCategoria0.Codigo = 2" << 2;
    }
    void finds()
    {
        QFETCH(QString, source);
        QFETCH(int, start);
        QFETCH(QString, criteria);
        QFETCH(int, after);
        auto rs = m_db->openRecordset(source);
        if (source != levelOneJoin)
            standOn(*rs, start);
        QCOMPARE(rs->findFirst(criteria), after != start);
        QCOMPARE(where(*rs), after);
    }

    // The value index answering "Field = number" and the bookmarks follow the rows.
    void lookupsFollowWrites_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("criteria");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* tag, const char* change, const char* criteria, int expected) {
            QTest::newRow(tag) << QString::fromLatin1(change) << QString::fromLatin1(criteria) << expected;
        };
        row("row added", "add", "CodigoCategoria3 = 8", 10);
        row("key edited away", "edit", "CodigoCategoria3 = 5", 7);
        row("key edited to", "edit", "CodigoCategoria3 = 6", 6);
        row("earlier row deleted", "delete", "CodigoCategoria3 = 5", 6);
    }
    void lookupsFollowWrites()
    {
        QFETCH(QString, change);
        QFETCH(QString, criteria);
        QFETCH(int, expected);
        auto rs = m_db->openRecordset(byCode);
        standOn(*rs, 5);
        const Recordset::Bookmark mark = rs->bookmark();
        rs->setBookmark(mark); // builds the positions
        QVERIFY(rs->findFirst("CodigoCategoria3 = 6")); // and the index
        if (change == QLatin1String("add")) {
            rs->addNew();
            rs->setValue("CodigoCategoria3", 8);
            rs->update();
        } else {
            standOn(*rs, change == QLatin1String("edit") ? 6 : 1);
            if (change == QLatin1String("delete")) {
                rs->deleteCurrent();
            } else {
                rs->edit();
                rs->setValue("CodigoCategoria3", 6);
                rs->update();
            }
        }
        QVERIFY(rs->findFirst(criteria));
        QCOMPARE(where(*rs), expected);
        rs->setBookmark(mark);
        QCOMPARE(where(*rs), 5);
        QCOMPARE(jetFailure([&] { rs->setBookmark(987654); }), 3159);
    }

    // After AddNew and Update the record current before stays current; the new row comes
    // last, read back with its AutoNumber, defaults and the text as typed.
    void addNewKeepsTheCurrentRecord()
    {
        auto rs = m_db->openRecordset("NivelCategoria4", RecordsetType::Table);
        standOn(*rs, 4);
        const QString name = QStringLiteral("Pão d'água'; DROP TABLE NivelCategoria4; --");
        rs->addNew();
        rs->setValue("Nome", name);
        rs->setValue("NivelCategoria4.Marca", true);
        QVERIFY(rs->value("Codigo").isNull());
        rs->update();
        QCOMPARE(where(*rs), 4);
        rs->moveLast();
        QCOMPARE(rs->bookmark(), rs->lastModified());
        const QVariantList row {
            rs->value("Codigo"), rs->value("Nome"), rs->value("Marca"), rs->value("CodigoProduto")};
        QCOMPARE(row, QVariantList({10, name, true, 0}));
        QCOMPARE(stored("SELECT count(*) FROM NivelCategoria4 WHERE Marca"), 1);
        QCOMPARE(
            m_db->scalar("SELECT DataDocumento FROM Venda WHERE Codigo = 4"), QVariant(QDate(2026, 3, 10)));
    }

    void misusesFailWithJetNumbers_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("call");
        QTest::addColumn<int>("number");
        const QString snapshot = QStringLiteral("snapshot");
        QTest::newRow("set without edit") << byCode << "set" << 3020;
        QTest::newRow("edit a join") << levelOneJoin << "edit" << 3027;
        QTest::newRow("add to a snapshot") << snapshot << "add" << 3027;
        QTest::newRow("unknown field") << byCode << "unknown" << 3265;
        QTest::newRow("unknown field, number criteria") << byCode << "find" << 3070;
        QTest::newRow("move after close") << byCode << "closed" << 3420;
    }
    void misusesFailWithJetNumbers()
    {
        QFETCH(QString, source);
        QFETCH(QString, call);
        QFETCH(int, number);
        auto rs = source == QLatin1String("snapshot") ? m_db->openRecordset(byCode, RecordsetType::Snapshot)
                                                      : m_db->openRecordset(source);
        QCOMPARE(jetFailure([&] {
            if (call == QLatin1String("set"))
                rs->setValue("Nome", QStringLiteral("x"));
            else if (call == QLatin1String("edit"))
                rs->edit();
            else if (call == QLatin1String("add"))
                rs->addNew();
            else if (call == QLatin1String("unknown"))
                rs->value("Apelido");
            else if (call == QLatin1String("find"))
                rs->findFirst("Apelido = 3");
            // every call above fails first; only "closed" gets here
            rs->close();
            rs->moveFirst();
        }),
            number);
    }
};

VAREMO_TEST(TestRecordset);
#include "test_recordset.moc"
