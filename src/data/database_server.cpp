#include "data/recordset_rows.h"
#include "data/schema.h"
#include "data/server_p.h"

#include <QDate>
#include <QDateTime>
#include <QSqlDriver>
#include <QStringDecoder>

#include <bit>
#include <libpq-fe.h>
#include <vector>

namespace varemo {

namespace {

// Type oids of the server's built-in types, fixed by PostgreSQL itself.
enum : Oid {
    BoolOid = 16,
    ByteaOid = 17,
    Int8Oid = 20,
    Int2Oid = 21,
    Int4Oid = 23,
    OidOid = 26,
    Float4Oid = 700,
    Float8Oid = 701,
    DateOid = 1082,
    TimestampOid = 1114,
    TimestampTzOid = 1184,
    NumericOid = 1700,
};

QString textOf(const PGresult* result, int row, int column)
{
    return QString::fromUtf8(PQgetvalue(result, row, column), PQgetlength(result, row, column));
}

QVariant valueOf(const PGresult* result, int row, int column, Oid type, bool yesNo)
{
    if (PQgetisnull(result, row, column))
        return {};
    const char* text = PQgetvalue(result, row, column);
    switch (type) {
    case BoolOid:
        return QVariant(text[0] == 't');
    case Int2Oid:
    case Int4Oid:
    case Int8Oid:
    case OidOid: {
        const qlonglong number = QByteArray::fromRawData(text, PQgetlength(result, row, column)).toLongLong();
        return yesNo ? QVariant(number != 0) : QVariant(number);
    }
    case Float4Oid:
    case Float8Oid:
    case NumericOid:
        return QVariant(QByteArray::fromRawData(text, PQgetlength(result, row, column)).toDouble());
    case DateOid:
        return QVariant(QDate::fromString(QString::fromLatin1(text), Qt::ISODate));
    case TimestampOid:
    case TimestampTzOid:
        return QVariant(QDateTime::fromString(
            QString::fromLatin1(text).replace(QLatin1Char(' '), QLatin1Char('T')), Qt::ISODate));
    case ByteaOid: {
        size_t length = 0;
        unsigned char* bytes = PQunescapeBytea(reinterpret_cast<const unsigned char*>(text), &length);
        const QByteArray value(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(length));
        PQfreemem(bytes);
        return QVariant(value);
    }
    default:
        return QVariant(textOf(result, row, column));
    }
}

// A value packed straight into a recordset's rows, as the embedded engine packs its own: no
// QVariant per cell, and a text decoded into a buffer kept from cell to cell, so only a text
// the rows have not seen yet is copied. The rarer kinds go through valueOf.
RowStore::Cell cellOf(const PGresult* result, int row, int column, Oid type, bool yesNo, RowStore& rows,
    QStringDecoder& decoder, QString& buffer)
{
    if (PQgetisnull(result, row, column))
        return {};
    const char* text = PQgetvalue(result, row, column);
    const int length = PQgetlength(result, row, column);
    switch (type) {
    case BoolOid:
        return {RowStore::Kind::Boolean, text[0] == 't' ? 1U : 0U};
    case Int2Oid:
    case Int4Oid:
    case Int8Oid:
    case OidOid: {
        const qlonglong number = QByteArray::fromRawData(text, length).toLongLong();
        if (yesNo)
            return {RowStore::Kind::Boolean, number != 0 ? 1U : 0U};
        return {RowStore::Kind::Integer, static_cast<quint64>(number)};
    }
    case Float4Oid:
    case Float8Oid:
    case NumericOid:
        return {
            RowStore::Kind::Real, std::bit_cast<quint64>(QByteArray::fromRawData(text, length).toDouble())};
    case DateOid:
    case TimestampOid:
    case TimestampTzOid:
    case ByteaOid:
        return rows.encode(column, valueOf(result, row, column, type, yesNo));
    default:
        break;
    }
    // UTF-8 never takes fewer bytes than UTF-16 takes code units.
    if (buffer.size() < length)
        buffer.resize(length);
    const QChar* end = decoder.appendToBuffer(buffer.data(), QByteArrayView(text, length));
    return rows.textCell(column, QStringView(buffer.constData(), end - buffer.constData()));
}

// A parameter as the text the server reads into the column's type; booleans as Jet's
// Yes/No numbers, byte arrays sent as they are.
QByteArray parameterText(const QVariant& value, bool& binary, Oid& type)
{
    binary = false;
    type = 0;
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        // A whole number is read as the widest one: a key compared with a bound far below
        // any code must not overflow the column's own type.
        type = Int8Oid;
        return QByteArray::number(value.toLongLong());
    case QMetaType::Bool:
        return value.toBool() ? QByteArrayLiteral("1") : QByteArrayLiteral("0");
    case QMetaType::Double:
    case QMetaType::Float:
        return QByteArray::number(value.toDouble(), 'g', 17);
    case QMetaType::QDate:
        return value.toDate().toString(Qt::ISODate).toLatin1();
    case QMetaType::QDateTime:
        return value.toDateTime().toString(Qt::ISODate).toLatin1();
    case QMetaType::QByteArray:
        binary = true;
        return value.toByteArray();
    default:
        return value.toString().toUtf8();
    }
}

// Whether the `index`th "?" of a statement (from 0) is a LIMIT's count.
bool limitParameter(const QString& sql, int index)
{
    int seen = -1;
    bool quoted = false;
    for (qsizetype i = 0; i < sql.size(); ++i) {
        if (sql[i] == QLatin1Char('\'') || sql[i] == QLatin1Char('"'))
            quoted = !quoted;
        else if (!quoted && sql[i] == QLatin1Char('?') && ++seen == index)
            return QStringView(sql).left(i).trimmed().endsWith(QLatin1String("LIMIT"), Qt::CaseInsensitive);
    }
    return false;
}

} // namespace

struct ServerEngine::Result {
    PGresult* handle = nullptr;
    explicit Result(PGresult* result)
        : handle(result)
    {
    }
    ~Result() { PQclear(handle); }
    Result(Result&& other) noexcept
        : handle(std::exchange(other.handle, nullptr))
    {
    }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
    Result& operator=(Result&&) = delete;
};

ServerEngine::ServerEngine(const QSqlDatabase& connection)
{
    const QVariant handle = connection.driver() ? connection.driver()->handle() : QVariant();
    // Qt names the type after the struct behind libpq's typedef.
    if (handle.isValid()
        && (qstrcmp(handle.typeName(), "PGconn*") == 0 || qstrcmp(handle.typeName(), "pg_conn*") == 0))
        m_connection = *static_cast<PGconn* const*>(handle.constData());
    if (!m_connection)
        throw StorageBug("the QPSQL driver gave no libpq connection");
    // Jet's "&" joins any two values as text, a Null side as an empty text unless both are
    // Null, writes a fraction with a decimal comma as a Brazilian machine does and a
    // comparison as the 1 or 0 the file holds. The server's concat() would write "420.5" and
    // "true". Kept with the connection (pg_temp) rather than in the company, so that a
    // company moved to the server earlier needs nothing added and a user without the right
    // to create objects there can still run it. Two independent polymorphic kinds let each
    // side keep its own type; PL/pgSQL, so that the cast to numeric is only ever tried on a
    // number.
    execute(QStringLiteral(
                "CREATE FUNCTION pg_temp.jet_concat(a anyelement, b anycompatible) RETURNS text "
                "LANGUAGE plpgsql STABLE AS $$ "
                "DECLARE left_text text := a::text; right_text text := b::text; "
                "BEGIN "
                "IF a IS NULL AND b IS NULL THEN RETURN NULL; END IF; "
                "IF pg_typeof(a) IN ('real'::regtype, 'double precision'::regtype, 'numeric'::regtype) THEN "
                "left_text := replace(trim_scale(a::numeric)::text, '.', ','); END IF; "
                "IF pg_typeof(b) IN ('real'::regtype, 'double precision'::regtype, 'numeric'::regtype) THEN "
                "right_text := replace(trim_scale(b::numeric)::text, '.', ','); END IF; "
                "IF pg_typeof(a) = 'boolean'::regtype THEN "
                "left_text := CASE WHEN a::text = 'true' THEN '1' ELSE '0' END; END IF; "
                "IF pg_typeof(b) = 'boolean'::regtype THEN "
                "right_text := CASE WHEN b::text = 'true' THEN '1' ELSE '0' END; END IF; "
                "RETURN concat(left_text, right_text); "
                "END $$"),
        {}, {});
}

ServerEngine::Result ServerEngine::execute(const QString& sql, const Row& parameters, const QString& shown)
{
    const QByteArray text = dialect::serverText(sql).toUtf8();
    std::vector<QByteArray> values(static_cast<size_t>(parameters.size()));
    std::vector<const char*> pointers(values.size(), nullptr);
    std::vector<int> lengths(values.size(), 0);
    std::vector<int> formats(values.size(), 0);
    std::vector<Oid> types(values.size(), 0);
    for (size_t i = 0; i < values.size(); ++i) {
        const QVariant& value = parameters.at(static_cast<qsizetype>(i));
        if (value.isNull())
            continue;
        // SQLite reads a negative LIMIT as none; the server wants Null for that.
        if (value.toLongLong() < 0 && limitParameter(sql, static_cast<int>(i)))
            continue;
        bool binary = false;
        values[i] = parameterText(value, binary, types[i]);
        pointers[i] = values[i].constData();
        lengths[i] = static_cast<int>(values[i].size());
        formats[i] = binary ? 1 : 0;
    }
    Result result(PQexecParams(m_connection, text.constData(), static_cast<int>(values.size()), types.data(),
        pointers.data(), lengths.data(), formats.data(), 0));
    const ExecStatusType status = result.handle ? PQresultStatus(result.handle) : PGRES_FATAL_ERROR;
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK)
        return result;
    if (!result.handle)
        throw dialect::fromPostgres(QStringLiteral("08000"), QString::fromUtf8(PQerrorMessage(m_connection)));
    const char* state = PQresultErrorField(result.handle, PG_DIAG_SQLSTATE);
    throw dialect::fromPostgres(QString::fromLatin1(state ? state : "08000"),
        QString::fromUtf8(PQresultErrorMessage(result.handle)), shown.isEmpty() ? sql : shown);
}

const ServerEngine::Field* ServerEngine::fieldOf(unsigned int table, int column)
{
    if (table == 0 || column <= 0)
        return nullptr;
    auto found = m_fields.constFind(table);
    if (found == m_fields.cend()) {
        QHash<int, Field> fields;
        const Result result
            = execute(QStringLiteral("SELECT c.relname, a.attnum, a.attname, t.typname "
                                     "FROM pg_attribute a JOIN pg_class c ON c.oid = a.attrelid "
                                     "JOIN pg_type t ON t.oid = a.atttypid "
                                     "WHERE a.attrelid = ? AND a.attnum > 0"),
                {QVariant(table)}, {});
        for (int row = 0; row < PQntuples(result.handle); ++row) {
            const QString relation = textOf(result.handle, row, 0);
            fields.insert(textOf(result.handle, row, 1).toInt(),
                Field {m_tableNames.value(relation, relation), textOf(result.handle, row, 2),
                    textOf(result.handle, row, 3) == QLatin1String(schema::ServerYesNo)});
        }
        found = m_fields.insert(table, fields);
    }
    const auto field = found->constFind(column);
    return field == found->cend() ? nullptr : &*field;
}

QueryResult ServerEngine::query(const QString& sql, const Row& parameters, const QString& shown,
    bool firstRowOnly, bool rowidLast, RowStore* into)
{
    const Result result = execute(sql, parameters, shown);
    QueryResult out;
    const int width = PQnfields(result.handle);
    std::vector<Oid> types(static_cast<size_t>(width));
    std::vector<bool> yesNo(static_cast<size_t>(width), false);
    for (int c = 0; c < width; ++c) {
        types[static_cast<size_t>(c)] = PQftype(result.handle, c);
        out.names << QString::fromUtf8(PQfname(result.handle, c));
        const Field* field = fieldOf(PQftable(result.handle, c), PQftablecol(result.handle, c));
        out.origins << (field ? field->name : QString());
        out.tables << (field ? field->table : QString());
        yesNo[static_cast<size_t>(c)] = field && field->yesNo;
    }
    const int rows = firstRowOnly ? std::min(1, PQntuples(result.handle)) : PQntuples(result.handle);
    const int cells = rowidLast ? width - 1 : width;
    if (into) {
        into->setColumns(cells);
        // A text that begins with a byte-order mark keeps it, as the file's engine keeps it.
        QStringDecoder decoder(
            QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
        QString buffer;
        for (int r = 0; r < rows; ++r) {
            into->beginRow();
            for (int c = 0; c < cells; ++c)
                into->put(c,
                    cellOf(result.handle, r, c, types[static_cast<size_t>(c)], yesNo[static_cast<size_t>(c)],
                        *into, decoder, buffer));
            if (rowidLast)
                out.rowids.append(QByteArray(PQgetvalue(result.handle, r, cells)).toLongLong());
        }
        return out;
    }
    out.rows.reserve(rows);
    for (int r = 0; r < rows; ++r) {
        Row row;
        row.reserve(cells);
        for (int c = 0; c < cells; ++c)
            row.append(
                valueOf(result.handle, r, c, types[static_cast<size_t>(c)], yesNo[static_cast<size_t>(c)]));
        out.rows.append(std::move(row));
        if (rowidLast)
            out.rowids.append(QByteArray(PQgetvalue(result.handle, r, cells)).toLongLong());
    }
    return out;
}

int ServerEngine::run(const QString& sql, const Row& parameters, const QString& shown)
{
    // A write action takes its tables for writing at once, as SQLite's BEGIN IMMEDIATE
    // does: a company another workstation holds whole fails the action before anything
    // is written. The mode conflicts with itself, so two workstations' write actions take
    // turns, one starting only after the other's commit; readers still read.
    if (sql == QLatin1String("BEGIN IMMEDIATE")) {
        execute(QStringLiteral("BEGIN"), {}, {});
        if (!m_tables.isEmpty()) {
            try {
                execute(QStringLiteral("LOCK TABLE %1 IN SHARE ROW EXCLUSIVE MODE")
                            .arg(m_tables.join(QLatin1String(", "))),
                    {}, {});
            } catch (const JetError&) {
                rollback();
                throw;
            }
        }
        return 0;
    }
    const bool inserts = sql.trimmed().startsWith(QLatin1String("INSERT"), Qt::CaseInsensitive);
    const Result result
        = execute(inserts ? sql + QStringLiteral(" RETURNING rowid") : sql, parameters, shown);
    if (inserts) {
        const int rows = PQntuples(result.handle);
        if (rows > 0)
            m_lastRowid = QByteArray(PQgetvalue(result.handle, rows - 1, 0)).toLongLong();
    }
    return QByteArray(PQcmdTuples(result.handle)).toInt();
}

bool ServerEngine::inTransaction() const
{
    return PQtransactionStatus(m_connection) != PQTRANS_IDLE;
}

void ServerEngine::rollback() noexcept
{
    PQclear(PQexec(m_connection, "ROLLBACK"));
}

void ServerEngine::setLockTimeout(int milliseconds)
{
    run(QStringLiteral("SET lock_timeout = %1").arg(std::max(milliseconds, 1)), {}, {});
}

dialect::Catalog ServerEngine::readCatalog(dialect::Target& target)
{
    const Result result = execute(QStringLiteral("SELECT c.relname, a.attname, a.atttypid "
                                                 "FROM pg_class c JOIN pg_attribute a ON a.attrelid = c.oid "
                                                 "WHERE c.relnamespace = current_schema()::regnamespace "
                                                 "AND c.relkind IN ('r', 'v', 'p') AND a.attnum > 0 "
                                                 "AND NOT a.attisdropped ORDER BY c.relname, a.attnum"),
        {}, {});
    // Names as the program spells them where it knows the table.
    for (const QString& table : schema::tableNames())
        m_tableNames.insert(table.toLower(), table);
    dialect::Catalog catalog;
    m_tables.clear();
    target = dialect::Target {};
    target.server = true;
    for (int row = 0; row < PQntuples(result.handle); ++row) {
        const QString table = textOf(result.handle, row, 0);
        const QString field = textOf(result.handle, row, 1);
        if (field == QLatin1String("rowid"))
            continue;
        QString spelled = field;
        for (const QString& known : schema::columnNames(table)) {
            if (known.compare(field, Qt::CaseInsensitive) == 0)
                spelled = known;
        }
        if (!catalog.contains(table))
            m_tables << table;
        catalog[table].append(spelled);
        const Oid type = textOf(result.handle, row, 2).toUInt();
        if (type == 25 || type == 1042 || type == 1043) // text, char(n), varchar(n)
            target.textFields.insert(field.toLower());
    }
    return catalog;
}

} // namespace varemo
