#include "data/database.h"
#include "data/errors.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDate>
#include <QDebug>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

#include <array>
#include <functional>

using varemo::Database;
using varemo::Recordset;
using varemo::RecordsetType;
using varemo::test::jetFailure;
using varemo::test::TestCompany;

namespace {

// Random values from one seed; texts with accents, apostrophes and Like's special characters.
struct Draw {
    QRandomGenerator random;
    int below(int n) { return int(random.bounded(n)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool coin() { return below(2) == 0; }
    QString pick(std::initializer_list<const char*> l)
    {
        return QString::fromUtf8(l.begin()[below(int(l.size()))]);
    }
    QString word(const char* chars = "aAáÁçÇeÉõ o'#[]*?%_1")
    {
        const QString alphabet = QString::fromUtf8(chars);
        QString text;
        for (int n = below(5); n > 0; --n)
            text += alphabet[below(int(alphabet.size()))];
        return text;
    }
    QString op() { return pick({"=", "<>", "<", ">", "<=", ">="}); }
    QString number(int low, int high) { return QString::number(between(low, high)); }
    QDate day() { return QDate(2020, 1, 1).addDays(below(90)); }
};

QString literal(const QString& text)
{
    return QStringLiteral("'%1'").arg(QString(text).replace(QLatin1Char('\''), QLatin1String("''")));
}

QString shown(const QVariant& value)
{
    return value.isNull()                   ? QStringLiteral("Null")
        : value.typeId() == QMetaType::Bool ? QString::number(int(value.toBool()))
                                            : value.toString();
}

QString joined(const QList<QVariant>& row, qsizetype width)
{
    QStringList cells;
    for (qsizetype c = 0; c < width; ++c)
        cells << shown(row.at(c));
    return cells.join(QLatin1Char('|'));
}

QStringList recordsetRows(const Recordset& rs, int width = 1)
{
    QStringList rows;
    for (const auto& row : rs.rows())
        rows << joined(row, width);
    return rows;
}

// A Like pattern: wildcards, a digit, a negated set and bracketed special characters.
QString pattern(Draw& d)
{
    QString jet;
    for (int n = d.below(4); n > 0; --n) {
        jet += d.pick({"*", "?", "#", "[!aç]", ""});
        for (const QChar c : d.word("aAáÁçÇeÉõ o'#[]*?"))
            jet += QStringLiteral("#[*?").contains(c) ? QLatin1Char('[') + c + QLatin1Char(']') : QString(c);
    }
    return jet;
}

// One condition on table T as a find's criteria text. Two text fields compared with each other
// are left out: in SQL they compare by the first one's declared collation, not as a find does.
QString atom(Draw& d)
{
    const QString text = d.pick({"Nome", "Obs"});
    const QString no = d.coin() ? QStringLiteral("Not ") : QString();
    switch (d.below(8)) {
    case 0:
        return d.coin() ? text + d.op() + literal(d.word())
                        : d.pick({"Numero", "Codigo"}) + d.op() + d.number(-6, 14);
    case 1:
        return d.coin()
            ? QStringLiteral("Marca ") + d.pick({"=", "<>"}) + d.pick({" True", " False"})
            : QStringLiteral("Dia ") + d.op() + d.day().toString(QStringLiteral("'#'MM/dd/yyyy'#'"));
    case 2:
        return text + QLatin1Char(' ') + no + QStringLiteral("Like ") + literal(pattern(d));
    case 3:
        return d.pick({"Nome", "Numero", "Marca", "Dia"}) + QStringLiteral(" Is ") + no
            + QStringLiteral("Null");
    case 4:
        return QStringLiteral("Numero %1Between %2 And %3").arg(no, d.number(-3, 2), d.number(2, 8));
    case 5:
        return d.coin()
            ? QStringLiteral("Numero %1In (%2, %3)").arg(no, d.number(-3, 5), d.number(-3, 5))
            : QStringLiteral("%1 %2In (%3, %4)").arg(text, no, literal(d.word()), literal(d.word()));
    case 6:
        return QStringLiteral("Numero %1 %2 %3 %4")
            .arg(d.pick({"+", "-", "*", "/"}), d.number(0, 3), d.op(), d.number(-4, 8));
    default:
        return (d.coin() ? d.pick({"Nome", "Numero"}) : literal(d.word())) + QStringLiteral(" & ")
            + (d.coin() ? QStringLiteral("Obs") : literal(d.word())) + d.op() + literal(d.word());
    }
}

QString criteriaText(Draw& d, int depth = 3)
{
    switch (depth == 0 ? 0 : d.below(4)) {
    case 0:
        return atom(d);
    case 1:
        return QStringLiteral("(%1) %2 (%3)")
            .arg(criteriaText(d, depth - 1), d.pick({"And", "OR"}), criteriaText(d, depth - 1));
    case 2:
        return QStringLiteral("Not (%1)").arg(criteriaText(d, depth - 1));
    default:
        return criteriaText(d, depth - 1) + d.pick({" AND ", " or "}) + atom(d);
    }
}

// A condition on the chain's tables between two levels, as Jet text and as hand-written SQLite.
std::pair<QString, QString> condition(Draw& d, int lowest)
{
    QString jet, hand;
    for (int n = d.between(1, 3); n > 0; --n) {
        const QString field = QStringLiteral("NivelCategoria%1.").arg(d.between(lowest, 4));
        const QString link = jet.isEmpty() ? QString() : d.pick({" AND ", " OR "});
        const bool text = d.coin();
        const QString test = text ? QStringLiteral("Nome %1 %2").arg(d.op(), literal(d.word()))
            : d.coin()            ? QStringLiteral("Nome Is Null")
                                  : QStringLiteral("Codigo ") + d.op() + d.number(0, 5);
        jet += link + field + test;
        hand += link + field + test + (text ? QStringLiteral(" COLLATE JETTEXT") : QString());
    }
    if (d.coin())
        return {QStringLiteral("NOT (%1)").arg(jet), QStringLiteral("NOT (%1)").arg(hand)};
    return {jet, hand};
}

// Up to four rows per level, parents possibly missing, Null names and locks.
QStringList levelRows(Draw& d)
{
    QStringList sql {QStringLiteral("DELETE FROM Procura")};
    for (int level = 0; level < 5; ++level) {
        sql << QStringLiteral("DELETE FROM NivelCategoria%1").arg(level);
        for (int code = 1, count = d.below(5); code <= count; ++code) {
            QStringList values {
                QString::number(code), d.below(4) ? literal(d.word()) : QStringLiteral("NULL")};
            if (level > 0)
                values << (d.below(5) ? d.number(1, 4) : QStringLiteral("NULL"));
            if (level == 1 || level == 2)
                values << d.pick({"0", "1", "NULL"});
            if (level == 4)
                values << d.number(0, 3) << d.number(0, 1);
            sql << QStringLiteral("INSERT INTO NivelCategoria%1 VALUES (%2)")
                       .arg(level)
                       .arg(values.join(", "));
        }
    }
    return sql;
}

} // namespace

class TestProperties : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_company;
    std::unique_ptr<Database> m_db;

    void exec(const QString& sql) { QVERIFY2(QSqlQuery(m_db->connection()).exec(sql), qPrintable(sql)); }

    // The rows of an SQLite query on the program's own connection, one text per row, in order.
    QStringList sqliteRows(const QString& sql, int* affected = nullptr)
    {
        QSqlQuery query(m_db->connection());
        if (!query.exec(sql))
            return {QStringLiteral("failed: ") + sql};
        if (affected)
            *affected = query.numRowsAffected();
        QStringList rows;
        while (query.next()) {
            QList<QVariant> row;
            for (int c = 0; c < query.record().count(); ++c)
                row << query.value(c);
            rows << joined(row, row.size());
        }
        return rows;
    }

    // Up to `most` rows of T with every kind of value, Nulls among them.
    void fillT(Draw& d, int most)
    {
        exec(QStringLiteral("DELETE FROM T"));
        const auto maybe
            = [&](const QString& value) { return d.below(4) == 0 ? QStringLiteral("NULL") : value; };
        for (int n = d.below(most + 1); n > 0; --n)
            exec(QStringLiteral("INSERT INTO T (Nome, Numero, Marca, Dia, Obs) VALUES (%1, %2, %3, %4, %5)")
                     .arg(maybe(literal(d.word())), maybe(d.number(-5, 5)), maybe(d.number(0, 1)),
                         maybe(literal(d.day().toString(Qt::ISODate))), maybe(literal(d.word()))));
    }

private slots:
    void initTestCase_data()
    {
        QTest::addColumn<quint32>("seed");
        for (const quint32 seed : {1u, 2u, 3u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void init()
    {
        m_company = std::make_unique<TestCompany>(TestCompany::Seed::Small);
        m_company->exec(QStringLiteral("CREATE TABLE T (Codigo INTEGER PRIMARY KEY AUTOINCREMENT, Nome TEXT, "
                                       "Numero INTEGER, Marca BOOLEAN, Dia DATE, Obs TEXT COLLATE NOCASE)"));
        m_company->closeSql();
        m_db = Database::open(m_company->databasePath());
        exec(QStringLiteral("PRAGMA synchronous = OFF"));
    }
    void cleanup()
    {
        m_db.reset();
        m_company.reset();
    }

    // Each form the program writes (DELETE *, the two-table UPDATE, INSERT ... SELECT), translated,
    // leaves the file as the same statement written by hand for SQLite.
    void statementsDoWhatHandSqlDoes()
    {
        QFETCH_GLOBAL(quint32, seed);
        Draw d {QRandomGenerator(seed)};
        const char* const forms[][2] = {
            {"DELETE * FROM NivelCategoria4 WHERE %1;", "DELETE FROM NivelCategoria4 WHERE %1"},
            {"UPDATE NivelCategoria4, NivelCategoria3 SET NivelCategoria4.Marca = TRUE WHERE "
             "NivelCategoria4.CodigoCategoria3 = NivelCategoria3.Codigo AND %1;",
                "UPDATE NivelCategoria4 SET Marca = 1 WHERE rowid IN (SELECT NivelCategoria4.rowid FROM "
                "NivelCategoria4, NivelCategoria3 WHERE NivelCategoria4.CodigoCategoria3 = "
                "NivelCategoria3.Codigo AND %1)"},
            {"INSERT INTO Procura SELECT Codigo FROM NivelCategoria4 WHERE %1;",
                "INSERT INTO Procura (Codigo) SELECT Codigo FROM NivelCategoria4 WHERE %1"},
            {"UPDATE NivelCategoria4 SET Marca = False WHERE %1;",
                "UPDATE NivelCategoria4 SET Marca = 0 WHERE %1"},
        };
        const QString dump
            = QStringLiteral("SELECT * FROM NivelCategoria4 UNION ALL SELECT *, 0, 0 FROM Procura");
        for (int n = 0; n < 100; ++n) {
            const QStringList rows = levelRows(d);
            const int kind = d.below(4);
            const auto [jetWhere, handWhere] = condition(d, kind == 1 ? 3 : 4);
            const QString jet = QString::fromLatin1(forms[kind][0]).arg(jetWhere);
            const QString hand = QString::fromLatin1(forms[kind][1]).arg(handWhere);
            for (const QString& sql : rows)
                exec(sql);
            int changed = -1, touched = -1;
            const int failure = jetFailure([&] { changed = m_db->execute(jet); });
            const QStringList jetRows = sqliteRows(dump);
            for (const QString& sql : rows)
                exec(sql);
            sqliteRows(hand, &touched);
            QVERIFY2(failure == 0 && changed == touched && jetRows == sqliteRows(dump),
                qPrintable(jet + QLatin1Char('\n') + hand));
        }
    }

    // Moves, finds and writes keep the recordset where DAO keeps it (BOF/EOF, position, count,
    // current row), its rows the file's; a find stops where SQLite's translated WHERE selects.
    void recordsetFollowsTheModel()
    {
        QFETCH_GLOBAL(quint32, seed);
        Draw d {QRandomGenerator(seed)};
        const QString stored = QStringLiteral("SELECT Codigo, Nome, Numero FROM T ORDER BY rowid");
        const auto state = [](QList<qsizetype> numbers, const QString& code, const QStringList& rows) {
            QString text;
            QDebug(&text) << numbers << code << rows;
            return text;
        };
        for (int n = 0; n < 100; ++n) {
            fillT(d, 8);
            const auto rs = m_db->openRecordset(QStringLiteral("T"), RecordsetType::Table);
            QStringList rows = sqliteRows(stored); // the model: "Codigo|Nome|Numero" in order
            int pos = 0;
            bool deleted = false; // the current row was deleted: unreadable until a move
            QString trail;
            for (int step = d.below(25); step > 0; --step) {
                const int size = int(rows.size());
                const bool atBof = size == 0 || pos < 0, atEof = size == 0 || pos >= size;
                const bool current = !atBof && !atEof && !deleted;
                const int action = d.below(9), number = d.below(5);
                const QString name = d.word("aAáÁ o");
                trail += QString::number(action) + QLatin1Char(' ');
                bool refused = false;
                int failure = 0;
                const auto call = [&](const std::function<void()>& f) { failure = jetFailure(f); };
                switch (action) {
                case 0:
                case 1:
                    refused = size == 0;
                    call([&] { action == 0 ? rs->moveFirst() : rs->moveLast(); });
                    if (!refused)
                        pos = action == 0 ? 0 : size - 1, deleted = false;
                    break;
                case 2:
                case 3:
                    refused = !deleted && (action == 2 ? atEof : atBof);
                    call([&] { action == 2 ? rs->moveNext() : rs->movePrevious(); });
                    if (!refused)
                        pos += action == 3 ? -1 : deleted ? 0 : 1, deleted = false;
                    break;
                case 4:
                    refused = !current;
                    call([&] { rs->deleteCurrent(); });
                    if (current)
                        rows.removeAt(pos), deleted = true;
                    break;
                case 5:
                case 6:
                    refused = action == 5 && !current;
                    if (!refused && action == 6 && pos >= size && !deleted)
                        ++pos;
                    call([&] {
                        action == 5 ? rs->edit() : rs->addNew();
                        rs->setValue(QStringLiteral("Nome"), name);
                        rs->setValue(QStringLiteral("Numero"), number);
                        rs->update();
                    });
                    if (!refused) {
                        const QString edited
                            = QStringLiteral("%1|%2|%3").arg(rs->lastModified()).arg(name).arg(number);
                        action == 5 ? void(rows[pos] = edited) : rows.append(edited);
                    }
                    break;
                case 7:
                    call([&] { rs->requery(); });
                    pos = 0, deleted = false;
                    break;
                default: {
                    // half of them by the index a plain "Field = number" goes through
                    const QString criteria
                        = d.coin() ? QStringLiteral("Numero = %1").arg(number) : criteriaText(d);
                    trail += criteria + QLatin1Char(' ');
                    QStringList selected;
                    if (const int error = jetFailure([&] {
                            selected = recordsetRows(*m_db->openRecordset(
                                QStringLiteral("SELECT Codigo FROM T WHERE ") + criteria));
                        }))
                        QFAIL(qPrintable(trail + QString::number(error)));
                    // first, last, next, previous: the model walks its rows for the next selected one
                    const int how = number % 4;
                    const int from = how == 2 ? (atBof ? 0 : (deleted ? pos : pos + 1))
                        : how == 3            ? (atEof ? size - 1 : pos - 1)
                                              : (how == 1 ? size - 1 : 0);
                    int hit = -1;
                    for (int i = from; hit < 0 && i >= 0 && i < size; i += how % 2 ? -1 : 1)
                        hit = selected.contains(rows[i].section(QLatin1Char('|'), 0, 0)) ? i : -1;
                    if (hit >= 0)
                        pos = hit, deleted = false;
                    const std::array finds {&Recordset::findFirst, &Recordset::findLast, &Recordset::findNext,
                        &Recordset::findPrevious};
                    call([&] {
                        QCOMPARE(std::invoke(finds[how], rs.get(), criteria), hit >= 0);
                        QCOMPARE(rs->noMatch(), hit < 0);
                    });
                }
                }
                const bool onRow = !deleted && pos >= 0 && pos < rows.size();
                const QString expected
                    = state({refused, rows.size(), !deleted && (rows.isEmpty() || pos < 0),
                                !deleted && (rows.isEmpty() || pos >= rows.size()), onRow ? pos : -1},
                        onRow ? rows[pos].section(QLatin1Char('|'), 0, 0) : QString(), rows);
                const bool readable = onRow && rs->absolutePosition() == pos;
                const QString actual = state(
                    {failure != 0, rs->recordCount(), rs->bof(), rs->eof(), rs->absolutePosition()},
                    readable ? shown(rs->value(QStringLiteral("Codigo"))) : QString(), recordsetRows(*rs, 3));
                QVERIFY2(actual == expected && sqliteRows(stored) == rows,
                    qPrintable(trail + QLatin1Char('\n') + actual + QLatin1Char('\n') + expected));
            }
        }
    }
};

VAREMO_TEST(TestProperties);
#include "test_properties.moc"
