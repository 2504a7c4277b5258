#include "data/database.h"
#include "data/dialect.h"
#include "data/errors.h"
#include "data/schema.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QDate>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

#include <array>
#include <functional>

using varemo::Database;
using varemo::JetError;
using varemo::Recordset;
using varemo::RecordsetType;
using varemo::test::TestCompany;

namespace {

constexpr int CasesPerSeed = 100;

// Random texts and Jet literals drawn from one seed: accents in both cases, apostrophes and
// the characters Like treats specially.
class Draw {
public:
    explicit Draw(quint32 seed)
        : m_random(seed)
    {
    }
    int below(int n) { return static_cast<int>(m_random.bounded(n)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool coin() { return below(2) == 0; }
    template<typename T> const T& pick(std::initializer_list<T> list)
    {
        return list.begin()[below(int(list.size()))];
    }
    QString word(const char* chars = "aAáÁçÇeÉõ o'#[]*?%_1")
    {
        const QString alphabet = QString::fromUtf8(chars);
        QString text;
        for (int n = below(5); n > 0; --n)
            text += alphabet[below(int(alphabet.size()))];
        return text;
    }
    QString op() { return QString::fromLatin1(pick({"=", "<>", "<", ">", "<=", ">="})); }
    QDate day() { return QDate(2020, 1, 1).addDays(below(90)); }

    // A Like pattern in Jet's words, and the same as an SQLite GLOB with the case classes
    // Jet's Like compares by (accents kept).
    std::pair<QString, QString> pattern()
    {
        QString jet, glob;
        for (int n = below(4); n > 0; --n) {
            switch (below(6)) {
            case 0:
                jet += QLatin1Char('*'), glob += QLatin1Char('*');
                break;
            case 1:
                jet += QLatin1Char('?'), glob += QLatin1Char('?');
                break;
            case 2:
                jet += QLatin1Char('#'), glob += QLatin1String("[0-9]");
                break;
            case 3:
                jet += QLatin1String("[!aç]"), glob += QStringLiteral("[^aAçÇ]");
                break;
            default:
                for (const QChar c : word("aAáÁçÇeÉõ o'#[]*?")) {
                    const bool special = QStringLiteral("#[*?").contains(c);
                    jet += special ? QLatin1Char('[') + c + QLatin1Char(']') : QString(c);
                    glob += c == QLatin1Char('#') ? QString(c)
                        : special || c.toLower() == c.toUpper()
                        ? QLatin1Char('[') + c + QLatin1Char(']')
                        : QLatin1Char('[') + c.toLower() + c.toUpper() + QLatin1Char(']');
                }
            }
        }
        return {jet, glob};
    }

private:
    QRandomGenerator m_random;
};

QString literal(const QString& text)
{
    return QLatin1Char('\'') + QString(text).replace(QLatin1Char('\''), QLatin1String("''"))
        + QLatin1Char('\'');
}

QString jetDate(QDate day)
{
    return day.toString(QStringLiteral("'#'MM/dd/yyyy'#'"));
}

QString shown(const QVariant& value)
{
    if (value.isNull())
        return QStringLiteral("Null");
    return value.typeId() == QMetaType::Bool ? QString::number(value.toBool() ? 1 : 0) : value.toString();
}

// The rows of an SQLite query on the program's own connection, one text per row, in order.
QStringList sqliteRows(Database& db, const QString& sql, int* affected = nullptr)
{
    QSqlQuery query(db.connection());
    if (!query.exec(sql))
        return {QStringLiteral("failed: ") + sql};
    if (affected)
        *affected = query.numRowsAffected();
    QStringList rows;
    while (query.next()) {
        QStringList cells;
        for (int c = 0; c < query.record().count(); ++c)
            cells << shown(query.value(c));
        rows << cells.join(QLatin1Char('|'));
    }
    return rows;
}

QStringList recordsetRows(const Recordset& rs, int width = -1)
{
    QStringList rows;
    for (const auto& row : rs.rows()) {
        QStringList cells;
        for (int c = 0; c < (width < 0 ? row.size() : width); ++c)
            cells << shown(row.at(c));
        rows << cells.join(QLatin1Char('|'));
    }
    return rows;
}

// One condition on table T as a find's criteria text. Two text fields compared with each other
// are left out: in SQL they compare by the first one's declared collation, not as a find does.
QString atom(Draw& d)
{
    const QString text = d.pick({QStringLiteral("Nome"), QStringLiteral("Obs")});
    const QString number = d.pick({QStringLiteral("Numero"), QStringLiteral("Codigo")});
    const QString no = d.coin() ? QStringLiteral("Not ") : QString();
    switch (d.below(11)) {
    case 0:
        return text + d.op() + literal(d.word());
    case 2:
        return number + d.op() + QString::number(d.between(-6, 14));
    case 3:
        return QStringLiteral("Marca ") + d.pick({"=", "<>"}) + QLatin1Char(' ') + d.pick({"True", "False"});
    case 4:
        return QStringLiteral("Dia ") + d.op() + jetDate(d.day());
    case 5:
        return text + QLatin1Char(' ') + no + QStringLiteral("Like ") + literal(d.pattern().first);
    case 6:
        return d.pick({QStringLiteral("Nome"), QStringLiteral("Numero"), QStringLiteral("Marca"),
                   QStringLiteral("Dia")})
            + QStringLiteral(" Is ") + no + QStringLiteral("Null");
    case 7:
        return QStringLiteral("Numero %1Between %2 And %3")
            .arg(no)
            .arg(d.between(-3, 2))
            .arg(d.between(2, 8));
    case 8:
        return d.coin()
            ? QStringLiteral("Numero %1In (%2, %3)").arg(no).arg(d.between(-3, 5)).arg(d.between(-3, 5))
            : text + QLatin1Char(' ') + no
                + QStringLiteral("In (%1, %2)").arg(literal(d.word()), literal(d.word()));
    case 9:
        return QStringLiteral("Numero %1 %2 %3 %4")
            .arg(QString::fromLatin1(d.pick({"+", "-", "*", "/"})))
            .arg(d.below(4))
            .arg(d.op())
            .arg(d.between(-4, 8));
    default:
        return d.pick({QStringLiteral("Nome"), QStringLiteral("Numero"), literal(d.word())})
            + QStringLiteral(" & ") + d.pick({QStringLiteral("Obs"), literal(d.word())}) + d.op()
            + literal(d.word());
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
        return criteriaText(d, depth - 1) + QLatin1Char(' ') + d.pick({"AND", "or"}) + QLatin1Char(' ')
            + atom(d);
    }
}

// A condition on the chain's tables between two levels, as Jet text and as hand-written SQLite.
std::pair<QString, QString> condition(Draw& d, int lowest, int highest)
{
    QString jet, hand;
    for (int n = d.between(1, 3); n > 0; --n) {
        const int level = d.between(lowest, highest);
        const QString field = QStringLiteral("NivelCategoria%1.").arg(level);
        QString j, h;
        switch (d.below(5)) {
        case 0:
            j = field + QStringLiteral("Nome ") + d.op() + QLatin1Char(' ') + literal(d.word());
            h = j + QStringLiteral(" COLLATE JETTEXT");
            break;
        case 1: {
            const auto [pattern, glob] = d.pattern();
            const bool no = d.coin();
            j = field + (no ? QStringLiteral("Nome Not Like ") : QStringLiteral("Nome Like "))
                + literal(pattern);
            h = field + (no ? QStringLiteral("Nome NOT GLOB ") : QStringLiteral("Nome GLOB "))
                + literal(glob);
            break;
        }
        case 2:
            j = h = field + QStringLiteral("Codigo ") + d.op() + QString::number(d.below(6));
            break;
        case 3:
            j = h = field + QStringLiteral("Nome Is Null");
            break;
        default: {
            const bool locked = d.coin();
            j = level == 1 || level == 2 ? field + QStringLiteral("Travado = ") + (locked ? "True" : "False")
                                         : field + QStringLiteral("Codigo Is Not Null");
            h = level == 1 || level == 2 ? field + QStringLiteral("Travado = ") + (locked ? "1" : "0") : j;
        }
        }
        const QString link = jet.isEmpty() ? QString() : QString::fromLatin1(d.pick({" AND ", " OR "}));
        jet += link + QLatin1Char('(') + j + QLatin1Char(')');
        hand += link + QLatin1Char('(') + h + QLatin1Char(')');
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
                values << (d.below(5) ? QString::number(d.between(1, 4)) : QStringLiteral("NULL"));
            if (level == 1 || level == 2)
                values << QString::fromLatin1(d.pick({"0", "1", "NULL"}));
            if (level == 4)
                values << QString::number(d.below(4)) << QString::number(d.below(2));
            sql << QStringLiteral("INSERT INTO NivelCategoria%1 VALUES (%2)")
                       .arg(level)
                       .arg(values.join(QLatin1String(", ")));
        }
    }
    return sql;
}

} // namespace

class TestProperties : public QObject {
    Q_OBJECT

    std::unique_ptr<TestCompany> m_company;
    std::unique_ptr<Database> m_db;

    static void seeds()
    {
        QTest::addColumn<quint32>("seed");
        for (const quint32 seed : {1u, 2u, 3u})
            QTest::addRow("seed %u", seed) << seed;
    }

    void exec(const QString& sql) { QVERIFY2(QSqlQuery(m_db->connection()).exec(sql), qPrintable(sql)); }

    // Up to twelve rows of T with every kind of value, Nulls among them.
    void fillT(Draw& d, int most = 12)
    {
        exec(QStringLiteral("DELETE FROM T"));
        for (int n = d.below(most + 1); n > 0; --n) {
            const auto maybe
                = [&](const QString& value) { return d.below(4) == 0 ? QStringLiteral("NULL") : value; };
            exec(QStringLiteral("INSERT INTO T (Nome, Numero, Marca, Dia, Obs) VALUES (%1, %2, %3, %4, %5)")
                     .arg(maybe(literal(d.word())), maybe(QString::number(d.between(-5, 5))),
                         maybe(QString::number(d.below(2))), maybe(literal(d.day().toString(Qt::ISODate))),
                         maybe(literal(d.word()))));
        }
    }

private slots:
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

    // Finds over a table select exactly the rows SQLite selects with the translated WHERE,
    // each once, in order, forwards and backwards.
    void findsSelectWhatSqliteSelects_data() { seeds(); }
    void findsSelectWhatSqliteSelects()
    {
        QFETCH(quint32, seed);
        Draw d(seed);
        for (int n = 0; n < CasesPerSeed; ++n) {
            fillT(d);
            const QString criteria = criteriaText(d);
            QStringList expected, forwards, backwards;
            try {
                const auto selected
                    = m_db->openRecordset(QStringLiteral("SELECT Codigo FROM T WHERE ") + criteria);
                expected = recordsetRows(*selected);
                const auto rs = m_db->openRecordset(QStringLiteral("T"), RecordsetType::Table);
                for (bool found = rs->findFirst(criteria); found; found = rs->findNext(criteria))
                    forwards << shown(rs->value(QStringLiteral("Codigo")));
                for (bool found = rs->findLast(criteria); found; found = rs->findPrevious(criteria))
                    backwards.prepend(shown(rs->value(QStringLiteral("Codigo"))));
            } catch (const JetError& error) {
                QFAIL(qPrintable(criteria + QStringLiteral(": ") + error.description()));
            }
            QVERIFY2(forwards == expected && backwards == expected,
                qPrintable(criteria + QStringLiteral("\nrows: ")
                    + sqliteRows(*m_db, QStringLiteral("SELECT * FROM T")).join(QLatin1String("; "))
                    + QStringLiteral("\nsqlite: ") + expected.join(QLatin1Char(','))
                    + QStringLiteral(" finds: ") + forwards.join(QLatin1Char(',')) + QStringLiteral(" back: ")
                    + backwards.join(QLatin1Char(','))));
        }
    }

    // The translated statements of every form the program writes leave the file as the same
    // statements written by hand for SQLite: the joined chain under its "Table.Field" names,
    // DELETE *, the two-table UPDATE, INSERT ... SELECT.
    void statementsDoWhatHandSqlDoes_data() { seeds(); }
    void statementsDoWhatHandSqlDoes()
    {
        QFETCH(quint32, seed);
        Draw d(seed);
        for (int n = 0; n < CasesPerSeed; ++n) {
            const QStringList rows = levelRows(d);
            const int kind = d.below(5);
            const int level = d.between(1, 4);
            const auto [jetWhere, handWhere]
                = condition(d, kind == 0 ? 0 : (kind == 2 ? 3 : 4), kind == 0 ? level : 4);
            for (const QString& sql : rows)
                exec(sql);
            QString jet, hand;
            QStringList jetRows, handRows;
            try {
                if (kind == 0) {
                    QString from = QStringLiteral("NivelCategoria%1").arg(level);
                    QStringList names;
                    for (int k = level; k >= 0; --k) {
                        const QString table = QStringLiteral("NivelCategoria%1").arg(k);
                        for (const QString& field : varemo::schema::columnNames(table))
                            names << table + QLatin1Char('.') + field;
                        if (k > 0)
                            from = QStringLiteral(
                                "(%1 LEFT JOIN NivelCategoria%2 ON NivelCategoria%2.Codigo = "
                                "NivelCategoria%3.CodigoCategoria%2)")
                                       .arg(from)
                                       .arg(k - 1)
                                       .arg(k);
                    }
                    jet = QStringLiteral("SELECT * FROM ") + from + QStringLiteral(" WHERE ") + jetWhere;
                    hand = QStringLiteral("SELECT ") + names.join(QLatin1String(", "))
                        + QStringLiteral(" FROM ") + from + QStringLiteral(" WHERE ") + handWhere;
                    const auto rs = m_db->openRecordset(jet);
                    QCOMPARE(rs->fieldNames(), names);
                    jetRows = recordsetRows(*rs);
                    handRows = sqliteRows(*m_db, hand);
                    jetRows.sort();
                    handRows.sort();
                } else {
                    const QString marks
                        = QStringLiteral("NivelCategoria4.CodigoCategoria3 = NivelCategoria3.Codigo AND ");
                    jet = QStringList {QStringLiteral("DELETE * FROM NivelCategoria4 WHERE %1;"),
                        QStringLiteral(
                            "UPDATE NivelCategoria4, NivelCategoria3 SET NivelCategoria4.Marca = TRUE WHERE ")
                            + marks + QStringLiteral("%1;"),
                        QStringLiteral("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4 WHERE %1;"),
                        QStringLiteral("UPDATE NivelCategoria4 SET Marca = False WHERE %1;")}[kind - 1]
                              .arg(jetWhere);
                    hand = QStringList {QStringLiteral("DELETE FROM NivelCategoria4 WHERE %1"),
                        QStringLiteral("UPDATE NivelCategoria4 SET Marca = 1 WHERE rowid IN (SELECT "
                                       "NivelCategoria4.rowid "
                                       "FROM NivelCategoria4, NivelCategoria3 WHERE ")
                            + marks + QStringLiteral("%1)"),
                        QStringLiteral(
                            "INSERT INTO Procura (Codigo) SELECT Codigo FROM NivelCategoria4 WHERE %1"),
                        QStringLiteral("UPDATE NivelCategoria4 SET Marca = 0 WHERE %1")}[kind - 1]
                               .arg(handWhere);
                    const QString dump = QStringLiteral(
                        "SELECT * FROM NivelCategoria4 UNION ALL SELECT *, 0, 0 FROM Procura");
                    jetRows = QStringList {QString::number(m_db->execute(jet))} + sqliteRows(*m_db, dump);
                    for (const QString& sql : rows)
                        exec(sql);
                    int touched = -1;
                    sqliteRows(*m_db, hand, &touched);
                    handRows = QStringList {QString::number(touched)} + sqliteRows(*m_db, dump);
                }
            } catch (const JetError& error) {
                QFAIL(qPrintable(jet + QStringLiteral(": ") + error.description()));
            }
            QVERIFY2(jetRows == handRows, qPrintable(jet + QLatin1Char('\n') + hand));
        }
    }

    // Moves, finds, edits, additions, deletions and bookmarks keep the recordset where DAO
    // keeps it (BOF/EOF, position, count, current row), its rows equal to the file's.
    void recordsetFollowsTheModel_data() { seeds(); }
    void recordsetFollowsTheModel()
    {
        QFETCH(quint32, seed);
        Draw d(seed);
        const QString stored = QStringLiteral("SELECT Codigo, Nome, Numero FROM T ORDER BY rowid");
        for (int n = 0; n < CasesPerSeed; ++n) {
            fillT(d, 5);
            const auto rs = m_db->openRecordset(QStringLiteral("T"), RecordsetType::Table);
            QStringList rows = sqliteRows(*m_db, stored); // the model: "Codigo|Nome|Numero" in order
            int pos = 0;
            bool deleted = false;
            QList<std::pair<Recordset::Bookmark, QString>> marks;
            QString steps;
            for (int step = d.below(25); step > 0; --step) {
                const qsizetype size = rows.size();
                const bool atBof = size == 0 || pos < 0, atEof = size == 0 || pos >= size;
                const bool current = !atBof && !atEof && !deleted;
                const QString code = current ? rows[pos].section(QLatin1Char('|'), 0, 0) : QString();
                const int action = d.below(12), number = d.below(5);
                const QString name = d.word("aAáÁ o");
                const QString criteria = d.coin() ? QStringLiteral("Numero = %1").arg(number)
                                                  : QStringLiteral("Nome = ") + literal(name);
                const auto matches = [&](const QString& row) {
                    const int column = criteria.startsWith(QLatin1String("Numero")) ? 2 : 1;
                    const QString field = row.section(QLatin1Char('|'), column, column);
                    return column == 2
                        ? field == QString::number(number)
                        : field != QLatin1String("Null") && varemo::dialect::compareText(field, name) == 0;
                };
                steps += QString::number(action) + QLatin1Char(' ');
                bool refused = false;
                qsizetype hit = -1, from = 0, to = size - 1, by = 1;
                switch (action) {
                case 0:
                case 1:
                    refused = size == 0;
                    if (!refused)
                        pos = action == 0 ? 0 : int(size) - 1, deleted = false;
                    break;
                case 2:
                    refused = !deleted && atEof;
                    if (!refused)
                        pos += deleted ? 0 : 1, deleted = false;
                    break;
                case 3:
                    refused = !deleted && atBof;
                    if (!refused)
                        pos -= 1, deleted = false;
                    break;
                case 4:
                    refused = !current;
                    if (current)
                        marks.append({rs->bookmark(), code});
                    break;
                case 5:
                    if (marks.isEmpty())
                        continue;
                    rs->setBookmark(marks[number % marks.size()].first);
                    pos = int(rows.indexOf(QRegularExpression(
                        QLatin1Char('^') + marks[number % marks.size()].second + QStringLiteral("\\|.*")))),
                    deleted = false;
                    break;
                case 6:
                    refused = number >= size;
                    pos = refused ? pos : number, deleted = deleted && refused;
                    break;
                case 7:
                    refused = !current;
                    if (current) {
                        rows.removeAt(pos), deleted = true;
                        marks.removeIf([&](const auto& mark) { return mark.second == code; });
                    }
                    break;
                case 8:
                case 9:
                    refused = action == 8 && !current;
                    if (!refused && action == 9 && pos >= size && !deleted)
                        ++pos;
                    break;
                case 10:
                    pos = 0, deleted = false;
                    break;
                default:
                    // find first, last, next, previous
                    if (number == 1 || number == 3)
                        std::swap(from, to), by = -1;
                    if (number == 2)
                        from = atBof ? 0 : (deleted ? pos : pos + 1);
                    if (number == 3)
                        from = atEof ? size - 1 : pos - 1;
                    for (qsizetype i = from; hit < 0 && i >= 0 && i < size && (by > 0 ? i <= to : i >= to);
                         i += by)
                        hit = matches(rows[i]) ? i : -1;
                    if (hit >= 0)
                        pos = int(hit), deleted = false;
                }
                const int failure = varemo::test::jetFailure([&] {
                    switch (action) {
                    case 0:
                        rs->moveFirst();
                        break;
                    case 1:
                        rs->moveLast();
                        break;
                    case 2:
                        rs->moveNext();
                        break;
                    case 3:
                        rs->movePrevious();
                        break;
                    case 4:
                        rs->bookmark();
                        break;
                    case 6:
                        rs->setAbsolutePosition(number);
                        break;
                    case 7:
                        rs->deleteCurrent();
                        break;
                    case 8:
                    case 9:
                        action == 8 ? rs->edit() : rs->addNew();
                        rs->setValue(QStringLiteral("Nome"), name);
                        rs->setValue(QStringLiteral("Numero"), number);
                        rs->update();
                        break;
                    case 10:
                        rs->requery();
                        break;
                    case 11: {
                        const std::array finds {&Recordset::findFirst, &Recordset::findLast,
                            &Recordset::findNext, &Recordset::findPrevious};
                        const bool found
                            = std::invoke(finds[number % 4 == number ? number : 0], rs.get(), criteria);
                        QCOMPARE(found, hit >= 0);
                        QCOMPARE(rs->noMatch(), hit < 0);
                    }
                    }
                });
                const QString edited
                    = QStringList {QString::number(rs->lastModified()), name, QString::number(number)}.join(
                        QLatin1Char('|'));
                if ((action == 8 || action == 9) && !refused)
                    action == 8 ? void(rows[pos] = edited) : rows.append(edited);
                const QString trail = steps + criteria;
                QVERIFY2((failure != 0) == refused, qPrintable(trail));
                QVERIFY2(rs->recordCount() == rows.size(), qPrintable(trail));
                QVERIFY2(rs->bof() == (!deleted && (rows.isEmpty() || pos < 0)), qPrintable(trail));
                QVERIFY2(
                    rs->eof() == (!deleted && (rows.isEmpty() || pos >= rows.size())), qPrintable(trail));
                const bool onRow = !deleted && pos >= 0 && pos < rows.size();
                QVERIFY2(rs->absolutePosition() == (onRow ? pos : -1), qPrintable(trail));
                if (onRow)
                    QVERIFY2(shown(rs->value(QStringLiteral("Codigo")))
                            == rows[pos].section(QLatin1Char('|'), 0, 0),
                        qPrintable(trail));
                QVERIFY2(
                    recordsetRows(*rs, 3) == rows && sqliteRows(*m_db, stored) == rows, qPrintable(trail));
            }
        }
    }
};

VAREMO_TEST(TestProperties);
#include "test_properties.moc"
