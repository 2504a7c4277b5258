#include "data/database.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

#include <functional>

using varemo::Database;
using varemo::JetError;
using varemo::Recordset;
using varemo::RecordsetType;
using varemo::test::TestCompany;

namespace {

const QString byCode = QStringLiteral("SELECT * FROM NivelCategoria4 ORDER BY Codigo");
const QString levelOneJoin = QStringLiteral(
    "SELECT * FROM (NivelCategoria1 LEFT JOIN NivelCategoria0 ON "
    "NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) ORDER BY NivelCategoria1.Codigo;");

constexpr int AtEof = -1;
constexpr int AtBof = -2;

// The Jet number a call fails with, 0 when it does not fail.
int failure(const std::function<void()>& call)
{
    try {
        call();
    } catch (const JetError& error) {
        return error.number();
    }
    return 0;
}

// Where a recordset stands: the current Codigo, AtEof or AtBof.
int where(const Recordset& rs)
{
    if (rs.eof())
        return rs.bof() ? AtBof + AtEof : AtEof;
    if (rs.bof())
        return AtBof;
    return rs.value(QStringLiteral("Codigo")).toInt();
}

void standOn(Recordset& rs, int code)
{
    if (code == AtEof) {
        rs.moveLast();
        rs.moveNext();
    } else if (code == AtBof) {
        rs.moveFirst();
        rs.movePrevious();
    } else {
        QVERIFY(rs.findFirst(QStringLiteral("Codigo = %1").arg(code)));
    }
}

} // namespace

class TestRecordset : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TestCompany> m_company;
    std::unique_ptr<Database> m_db;

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

    // Steps "move:expected", expected a Codigo, EOF, BOF, BOTH or !number for a failure.
    void walks_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("steps");
        const QString levels = QStringLiteral("NivelCategoria0");
        const QString none = QStringLiteral("SELECT * FROM NivelCategoria4 WHERE Codigo = 999");
        QTest::newRow("opens on the first row") << levels << "open:1";
        QTest::newRow("past the end is EOF, then no further")
            << levels << "open:1 next:2 next:3 next:EOF next:!3021 prev:3";
        QTest::newRow("before the start is BOF, then no further")
            << levels << "open:1 prev:BOF prev:!3021 next:1";
        QTest::newRow("last and first") << levels << "last:3 first:1 last:3";
        QTest::newRow("empty is both, no move")
            << none << "open:BOTH first:!3021 last:!3021 next:!3021 prev:!3021";
    }
    void walks()
    {
        QFETCH(QString, source);
        QFETCH(QString, steps);
        auto rs = m_db->openRecordset(source);
        for (const QString& step : steps.split(QLatin1Char(' '))) {
            const QString move = step.section(QLatin1Char(':'), 0, 0);
            const QString expected = step.section(QLatin1Char(':'), 1);
            const int number = failure([&] {
                if (move == QLatin1String("next"))
                    rs->moveNext();
                else if (move == QLatin1String("prev"))
                    rs->movePrevious();
                else if (move == QLatin1String("first"))
                    rs->moveFirst();
                else if (move == QLatin1String("last"))
                    rs->moveLast();
            });
            if (expected.startsWith(QLatin1Char('!'))) {
                QCOMPARE(number, expected.mid(1).toInt());
                continue;
            }
            QCOMPARE(number, 0);
            const int at = expected == QLatin1String("EOF") ? AtEof
                : expected == QLatin1String("BOF")          ? AtBof
                : expected == QLatin1String("BOTH")         ? AtBof + AtEof
                                                            : expected.toInt();
            QCOMPARE(where(*rs), at);
            if (at < 0) {
                QCOMPARE(rs->absolutePosition(), -1);
                QCOMPARE(failure([&] { rs->value(QStringLiteral("Nome")); }), 3021);
            }
        }
    }

    void finds_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("criteria");
        QTest::addColumn<bool>("found");
        QTest::addColumn<int>("after");
        const QString frenchBread = QStringLiteral("Nome = 'Pão francês'");
        const QString linked = QStringLiteral("CodigoProduto <> 0");
        const QString byCodeDown = QStringLiteral("SELECT * FROM NivelCategoria4 ORDER BY Codigo DESC");
        QTest::newRow("first ignores case") << byCode << 5 << "first"
                                            << "Nome = 'pão FRANCÊS'" << true << 1;
        QTest::newRow("next after the current") << byCode << 1 << "next" << frenchBread << true << 4;
        QTest::newRow("next without match stays") << byCode << 4 << "next" << frenchBread << false << 4;
        QTest::newRow("previous before the current") << byCode << 9 << "previous" << linked << true << 5;
        QTest::newRow("previous without match stays") << byCode << 1 << "previous" << linked << false << 1;
        QTest::newRow("last") << byCode << 1 << "last" << linked << true << 5;
        QTest::newRow("previous from EOF") << byCode << AtEof << "previous"
                                           << "Codigo = 9" << true << 9;
        QTest::newRow("first without match stays at EOF") << byCode << AtEof << "first"
                                                          << "Codigo = 99" << false << AtEof;
        QTest::newRow("number: first in the query's order") << byCodeDown << 1 << "first"
                                                            << "CodigoCategoria3 = 5" << true << 7;
        QTest::newRow("number: no such value") << byCode << 3 << "first"
                                               << "Codigo = 42" << false << 3;
        QTest::newRow("number on a Yes/No field") << byCode << 9 << "first"
                                                  << "Marca = 0" << true << 1;
        QTest::newRow("number on a join") << levelOneJoin << 4 << "first"
                                          << "NivelCategoria0.Codigo = 2" << true << 2;
    }
    void finds()
    {
        QFETCH(QString, source);
        QFETCH(int, start);
        QFETCH(QString, method);
        QFETCH(QString, criteria);
        QFETCH(bool, found);
        QFETCH(int, after);
        auto rs = m_db->openRecordset(source);
        if (source == levelOneJoin)
            QVERIFY(rs->findFirst(QStringLiteral("NivelCategoria1.Codigo = %1").arg(start)));
        else
            standOn(*rs, start);
        const bool result = method == QLatin1String("first") ? rs->findFirst(criteria)
            : method == QLatin1String("last")                ? rs->findLast(criteria)
            : method == QLatin1String("next")                ? rs->findNext(criteria)
                                                             : rs->findPrevious(criteria);
        QCOMPARE(result, found);
        QCOMPARE(rs->noMatch(), !found);
        if (source == levelOneJoin)
            QCOMPARE(rs->value(QStringLiteral("NivelCategoria1.Codigo")).toInt(), after);
        else
            QCOMPARE(where(*rs), after);
    }

    void unknownFieldInCriteriaIsRefused_data()
    {
        QTest::addColumn<QString>("criteria");
        QTest::newRow("a number") << "Apelido = 3";
        QTest::newRow("a text") << "Apelido = 'x'";
    }
    void unknownFieldInCriteriaIsRefused()
    {
        QFETCH(QString, criteria);
        auto rs = m_db->openRecordset(byCode);
        QCOMPARE(failure([&] { rs->findFirst(criteria); }), 3070);
    }

    // The value index answers "Field = number" finds; it must follow the rows it indexes.
    void indexFollowsWrites_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("criteria");
        QTest::addColumn<QString>("expected"); // Codigo, or "new" for the added row
        QTest::newRow("row added") << "add"
                                   << "CodigoCategoria3 = 8"
                                   << "new";
        QTest::newRow("key edited away") << "edit"
                                         << "CodigoCategoria3 = 5"
                                         << "7";
        QTest::newRow("key edited to") << "edit"
                                       << "CodigoCategoria3 = 6"
                                       << "6";
        QTest::newRow("earlier row deleted") << "delete"
                                             << "CodigoCategoria3 = 5"
                                             << "6";
    }
    void indexFollowsWrites()
    {
        QFETCH(QString, change);
        QFETCH(QString, criteria);
        QFETCH(QString, expected);
        auto rs = m_db->openRecordset(byCode);
        QVERIFY(rs->findFirst(QStringLiteral("CodigoCategoria3 = 5"))); // builds the index
        QVERIFY(rs->findFirst(QStringLiteral("CodigoCategoria3 = 6")));
        if (change == QLatin1String("add")) {
            rs->addNew();
            rs->setValue(QStringLiteral("Nome"), QStringLiteral("Novo"));
            rs->setValue(QStringLiteral("CodigoCategoria3"), 8);
            rs->update();
        } else if (change == QLatin1String("edit")) {
            QVERIFY(rs->findFirst(QStringLiteral("Codigo = 6")));
            rs->edit();
            rs->setValue(QStringLiteral("CodigoCategoria3"), 6);
            rs->update();
        } else {
            QVERIFY(rs->findFirst(QStringLiteral("Codigo = 1")));
            rs->deleteCurrent();
        }
        QVERIFY(rs->findFirst(criteria));
        if (expected == QLatin1String("new")) {
            rs->setBookmark(rs->lastModified());
            QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), QStringLiteral("Novo"));
        } else
            QCOMPARE(rs->value(QStringLiteral("Codigo")).toInt(), expected.toInt());
    }

    void bookmarksReturnToTheirRow_data()
    {
        QTest::addColumn<QString>("between");
        QTest::newRow("finds") << "finds";
        QTest::newRow("an earlier row deleted") << "delete";
        QTest::newRow("a row added") << "add";
    }
    void bookmarksReturnToTheirRow()
    {
        QFETCH(QString, between);
        auto rs = m_db->openRecordset(byCode);
        QVERIFY(rs->findFirst(QStringLiteral("Codigo = 5")));
        const Recordset::Bookmark mark = rs->bookmark();
        rs->setBookmark(mark); // builds the positions
        if (between == QLatin1String("finds")) {
            QVERIFY(rs->findLast(QStringLiteral("Codigo > 0")));
            QVERIFY(!rs->findNext(QStringLiteral("Codigo > 0")));
        } else if (between == QLatin1String("delete")) {
            QVERIFY(rs->findFirst(QStringLiteral("Codigo = 2")));
            rs->deleteCurrent();
        } else {
            rs->addNew();
            rs->setValue(QStringLiteral("Nome"), QStringLiteral("Novo"));
            rs->update();
            rs->setBookmark(rs->lastModified());
            QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), QStringLiteral("Novo"));
        }
        rs->setBookmark(mark);
        QCOMPARE(rs->value(QStringLiteral("Codigo")).toInt(), 5);
        QCOMPARE(failure([&] { rs->setBookmark(987654); }), 3159);
    }

    // After AddNew and Update the record current before stays current; the new row is
    // stored with its AutoNumber and any text, quotes included, as typed.
    void addNewKeepsTheCurrentRecord_data()
    {
        QTest::addColumn<int>("start");
        QTest::newRow("on a row") << 4;
        QTest::newRow("on the first row") << 1;
        QTest::newRow("at EOF") << AtEof;
    }
    void addNewKeepsTheCurrentRecord()
    {
        QFETCH(int, start);
        auto rs = m_db->openRecordset(QStringLiteral("NivelCategoria4"), RecordsetType::Table);
        standOn(*rs, start);
        const QString name = QStringLiteral("Pão d'água'; DROP TABLE NivelCategoria4; --");
        rs->addNew();
        QVERIFY(rs->value(QStringLiteral("Codigo")).isNull());
        rs->setValue(QStringLiteral("Nome"), name);
        rs->setValue(QStringLiteral("CodigoCategoria3"), 2);
        rs->setValue(QStringLiteral("Marca"), true);
        rs->update();
        QCOMPARE(where(*rs), start);
        QCOMPARE(rs->recordCount(), 10);
        if (start == AtEof) { // the new row comes last
            rs->movePrevious();
            QCOMPARE(rs->value(QStringLiteral("Codigo")).toInt(), 10);
        }
        rs->setBookmark(rs->lastModified());
        QCOMPARE(rs->value(QStringLiteral("Codigo")).toInt(), 10);
        QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), name);
        QCOMPARE(rs->value(QStringLiteral("Marca")), QVariant(true));
        QCOMPARE(rs->value(QStringLiteral("CodigoProduto")).toInt(), 0); // the table's default, read back
        QCOMPARE(
            m_db->scalar(QStringLiteral("SELECT Nome FROM NivelCategoria4 WHERE Codigo = 10")).toString(),
            name);
    }

    void editShowsAndStoresTheNewValues()
    {
        auto rs = m_db->openRecordset(byCode);
        QVERIFY(rs->findFirst(QStringLiteral("Codigo = 9")));
        rs->edit();
        rs->setValue(QStringLiteral("Nome"), QStringLiteral("CDB Banco"));
        QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), QStringLiteral("CDB Banco"));
        rs->cancelUpdate();
        QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), QStringLiteral("CDB"));
        rs->edit();
        rs->setValue(QStringLiteral("NivelCategoria4.Nome"), QStringLiteral("CDB Banco"));
        rs->update();
        QCOMPARE(rs->value(QStringLiteral("Nome")).toString(), QStringLiteral("CDB Banco"));
        QCOMPARE(
            m_company->scalar(QStringLiteral("SELECT Nome FROM NivelCategoria4 WHERE Codigo = 9")).toString(),
            QStringLiteral("CDB Banco"));
        QCOMPARE(
            m_company->count(QStringLiteral("SELECT count(*) FROM NivelCategoria4 WHERE Nome = 'CDB'")), 0);
    }

    void misusesFailWithJetNumbers_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("call");
        QTest::addColumn<int>("number");
        const int dynaset = int(RecordsetType::Dynaset);
        const int snapshot = int(RecordsetType::Snapshot);
        QTest::newRow("set without edit") << byCode << dynaset << "set" << 3020;
        QTest::newRow("update without edit") << byCode << dynaset << "update" << 3020;
        QTest::newRow("edit at EOF") << byCode << dynaset << "eofEdit" << 3021;
        QTest::newRow("delete at EOF") << byCode << dynaset << "eofDelete" << 3021;
        QTest::newRow("edit a join") << levelOneJoin << dynaset << "edit" << 3027;
        QTest::newRow("add to a snapshot") << byCode << snapshot << "add" << 3027;
        QTest::newRow("delete from a snapshot") << byCode << snapshot << "delete" << 3027;
        QTest::newRow("unknown field") << byCode << dynaset << "unknown" << 3265;
        QTest::newRow("position out of range") << byCode << dynaset << "position" << 3001;
        QTest::newRow("read after close") << byCode << dynaset << "closed" << 3420;
    }
    void misusesFailWithJetNumbers()
    {
        QFETCH(QString, source);
        QFETCH(int, type);
        QFETCH(QString, call);
        QFETCH(int, number);
        auto rs = m_db->openRecordset(source, RecordsetType(type));
        const int got = failure([&] {
            if (call.startsWith(QLatin1String("eof")))
                standOn(*rs, AtEof);
            if (call == QLatin1String("set"))
                rs->setValue(QStringLiteral("Nome"), QStringLiteral("x"));
            else if (call == QLatin1String("update"))
                rs->update();
            else if (call.endsWith(QLatin1String("dit")))
                rs->edit();
            else if (call.endsWith(QLatin1String("elete")))
                rs->deleteCurrent();
            else if (call == QLatin1String("add"))
                rs->addNew();
            else if (call == QLatin1String("unknown"))
                rs->value(QStringLiteral("Apelido"));
            else if (call == QLatin1String("position"))
                rs->setAbsolutePosition(rs->recordCount());
            else if (call == QLatin1String("closed")) {
                rs->close();
                rs->moveFirst();
            }
        });
        QCOMPARE(got, number);
        QCOMPARE(m_company->count(QStringLiteral("SELECT count(*) FROM NivelCategoria4")), 9);
    }

    void joinedFieldsByTableAndName()
    {
        auto rs = m_db->openRecordset(levelOneJoin);
        QVERIFY(rs->findFirst(QStringLiteral("NivelCategoria0.Nome <> 'Receitas'")));
        QCOMPARE(rs->value(QStringLiteral("NivelCategoria1.Nome")).toString(),
            QStringLiteral("Despesas Fornecedores"));
        QCOMPARE(rs->value(QStringLiteral("nivelcategoria0.nome")).toString(), QStringLiteral("Despesas"));
        QCOMPARE(rs->value(QStringLiteral("CodigoCategoria0")).toInt(), 2); // only one table has it
    }

    // A deleted row stays current but unreadable; the next move goes on from its place.
    void deleteThenMove_data()
    {
        QTest::addColumn<int>("deleted");
        QTest::addColumn<QString>("move");
        QTest::addColumn<int>("after");
        QTest::newRow("next from a middle row") << 3 << "next" << 4;
        QTest::newRow("previous from a middle row") << 3 << "previous" << 2;
        QTest::newRow("next from the last row") << 9 << "next" << AtEof;
        QTest::newRow("previous from the first row") << 1 << "previous" << AtBof;
        QTest::newRow("find next from the deleted row") << 3 << "findNext" << 4;
    }
    void deleteThenMove()
    {
        QFETCH(int, deleted);
        QFETCH(QString, move);
        QFETCH(int, after);
        auto rs = m_db->openRecordset(byCode);
        standOn(*rs, deleted);
        rs->deleteCurrent();
        QCOMPARE(failure([&] { rs->value(QStringLiteral("Nome")); }), 3167);
        QCOMPARE(rs->recordCount(), 8);
        if (move == QLatin1String("next"))
            rs->moveNext();
        else if (move == QLatin1String("previous"))
            rs->movePrevious();
        else
            QVERIFY(rs->findNext(QStringLiteral("Codigo > 0")));
        QCOMPARE(where(*rs), after);
        QCOMPARE(m_company->count(
                     QStringLiteral("SELECT count(*) FROM NivelCategoria4 WHERE Codigo = %1").arg(deleted)),
            0);
    }

    void typedValuesComeBackTyped()
    {
        auto rs = m_db->openRecordset(QStringLiteral("SELECT * FROM Venda WHERE Codigo = 4"));
        QCOMPARE(rs->value(QStringLiteral("Venda")), QVariant(false));
        QCOMPARE(rs->value(QStringLiteral("DataDocumento")), QVariant(QDate(2026, 3, 10)));
        auto lines
            = m_db->openRecordset(QStringLiteral("SELECT PrecoUnit FROM VendaProdutos WHERE Codigo = 3"));
        QCOMPARE(lines->value(QStringLiteral("PrecoUnit")).toDouble(), 8.0);
    }

    void requeryReadsOtherWritersRows()
    {
        auto rs = m_db->openRecordset(byCode);
        rs->moveLast();
        m_company->exec(
            QStringLiteral("INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3) VALUES ('Outro', 1)"));
        m_company->closeSql();
        rs->requery();
        QCOMPARE(rs->recordCount(), 10);
        QCOMPARE(where(*rs), 1);
        QVERIFY(rs->findFirst(QStringLiteral("Nome = 'Outro'")));
    }
};

VAREMO_TEST(TestRecordset);
#include "test_recordset.moc"
