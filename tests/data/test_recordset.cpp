#include "data/database.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

#include <functional>
#include <map>

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

// One step of a script: "op argument", e.g. "find Codigo = 3", "edit CodigoCategoria3 6".
void act(Recordset& rs, const QString& step, Recordset::Bookmark& mark)
{
    const QString op = step.section(QLatin1Char(' '), 0, 0), arg = step.section(QLatin1Char(' '), 1);
    const QString field = arg.section(QLatin1Char(' '), 0, 0), value = arg.section(QLatin1Char(' '), 1);
    const auto write = [&] {
        rs.setValue(field, value.toInt() ? QVariant(value.toInt()) : QVariant(value));
        rs.update();
    };
    const std::map<QString, std::function<void()>> ops {{QStringLiteral("next"), [&] { rs.moveNext(); }},
        {QStringLiteral("previous"), [&] { rs.movePrevious(); }},
        {QStringLiteral("first"), [&] { rs.moveFirst(); }}, {QStringLiteral("last"), [&] { rs.moveLast(); }},
        {QStringLiteral("delete"), [&] { rs.deleteCurrent(); }},
        {QStringLiteral("find"), [&] { rs.findFirst(arg); }},
        {QStringLiteral("findnext"), [&] { rs.findNext(arg); }},
        {QStringLiteral("mark"), [&] { mark = rs.bookmark(); }},
        {QStringLiteral("tomark"), [&] { rs.setBookmark(arg.isEmpty() ? mark : arg.toLongLong()); }},
        {QStringLiteral("set"), [&] { rs.setValue(QStringLiteral("Nome"), QStringLiteral("x")); }},
        {QStringLiteral("read"), [&] { rs.value(arg); }}, {QStringLiteral("close"), [&] { rs.close(); }},
        {QStringLiteral("edit"), [&] { rs.edit(), write(); }},
        {QStringLiteral("add"), [&] { rs.addNew(), write(); }}};
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

    // "step -> where it stands", or "-> !number" for a failure. The random model walks every
    // other way; these pin the failures' numbers, finds through the number index (in the
    // recordset's order, on a Yes/No, on a join) and bookmarks and the index after writes.
    void steps_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("steps");
        QTest::newRow("past the end") << "NivelCategoria0"
                                      << "next -> 2; next -> 3; next -> EOF; read Nome -> !3021; "
                                         "next -> !3021; previous -> 3";
        QTest::newRow("empty") << "SELECT * FROM NivelCategoria4 WHERE Codigo = 9999"
                               << "first -> !3021; last -> !3021; next -> !3021; previous -> !3021";
        // a deleted row stays current but unreadable; the next move goes on from its place
        QTest::newRow("delete, next")
            << byCode << "find Codigo = 3 -> 3; delete -> !3167; next -> 4; previous -> 2";
        QTest::newRow("delete, find next")
            << byCode << "find Codigo = 3 -> 3; delete -> !3167; findnext Codigo > 0 -> 4";
        QTest::newRow("no match stays at EOF") << byCode << "last -> 9; next -> EOF; find Codigo = 99 -> EOF";
        QTest::newRow("first in the recordset's order")
            << "SELECT * FROM NivelCategoria4 ORDER BY Codigo DESC"
            << "find CodigoCategoria3 = 5 -> 7";
        QTest::newRow("on a Yes/No") << byCode << "last -> 9; find Marca = 0 -> 1";
        QTest::newRow("on a join") << levelOneJoin << "find NivelCategoria0.Codigo = 2 -> 2";
        // after AddNew and Update the record current before stays current
        QTest::newRow("lookups follow writes")
            << byCode
            << "find Codigo = 5 -> 5; mark -> 5; tomark -> 5; find CodigoCategoria3 = 6 -> 8; "
               "add CodigoCategoria3 8 -> 8; find CodigoCategoria3 = 8 -> 10; find Codigo = 6 -> 6; "
               "edit CodigoCategoria3 6 -> 6; find CodigoCategoria3 = 5 -> 7; find CodigoCategoria3 = 6 -> "
               "6; "
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
        auto rs = source == QLatin1String("snapshot") ? m_db->openRecordset(byCode, RecordsetType::Snapshot)
                                                      : m_db->openRecordset(source);
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
};

VAREMO_TEST(TestRecordset);
#include "test_recordset.moc"
