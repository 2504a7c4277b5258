// The SQLite side of the dialect: what every connection must know (our collation and
// functions), the catalog, and SQLite's failures told as Jet's.

#include "data/dialect.h"
#include "data/jettext.h"

#include <QDate>
#include <QDateTime>
#include <QSqlDriver>
#include <QSqlRecord>

#include <new>
#include <sqlite3.h>

namespace varemo::dialect {

namespace {

QString textOf(sqlite3_value* value)
{
    const auto* data = static_cast<const QChar*>(sqlite3_value_text16(value));
    const int bytes = sqlite3_value_bytes16(value);
    return data ? QString(data, bytes / 2) : QString();
}

// A value as Jet's text operators see it.
QString valueTextOf(sqlite3_value* value)
{
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        return QString::number(sqlite3_value_int64(value));
    case SQLITE_FLOAT:
        return valueText(sqlite3_value_double(value));
    case SQLITE_NULL:
        return {};
    default:
        return textOf(value);
    }
}

int collate(void*, int aBytes, const void* a, int bBytes, const void* b)
{
    return jettext::compareText(
        static_cast<const QChar*>(a), aBytes / 2, static_cast<const QChar*>(b), bBytes / 2);
}

// jet_like(value, pattern): Null when either is Null.
void likeFunction(sqlite3_context* context, int, sqlite3_value** arguments)
{
    if (sqlite3_value_type(arguments[0]) == SQLITE_NULL || sqlite3_value_type(arguments[1]) == SQLITE_NULL) {
        sqlite3_result_null(context);
        return;
    }
    try {
        // A statement's pattern is usually the same on every row: SQLite keeps the compiled
        // one beside the argument for as long as the argument does not change.
        using Compiled = std::shared_ptr<const jettext::CompiledLike>;
        const auto* cached = static_cast<const Compiled*>(sqlite3_get_auxdata(context, 1));
        Compiled fresh;
        if (cached == nullptr) {
            fresh = jettext::compileLike(textOf(arguments[1]));
            if (!fresh) {
                sqlite3_result_error(context, "syntax error in Like pattern", -1);
                return;
            }
        }
        const jettext::CompiledLike& pattern = cached != nullptr ? **cached : *fresh;
        bool matched = false;
        if (sqlite3_value_type(arguments[0]) == SQLITE_TEXT) {
            // read in place: no copy of every row's text
            const auto* data = static_cast<const QChar*>(sqlite3_value_text16(arguments[0]));
            matched = jettext::likeMatches(
                QStringView(data, data ? sqlite3_value_bytes16(arguments[0]) / 2 : 0), pattern);
        } else {
            matched = jettext::likeMatches(valueTextOf(arguments[0]), pattern);
        }
        sqlite3_result_int(context, matched ? 1 : 0);
        // last: SQLite may free the kept pattern before this call returns
        if (cached == nullptr)
            sqlite3_set_auxdata(context, 1, new Compiled(std::move(fresh)),
                [](void* data) { delete static_cast<Compiled*>(data); });
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

// jet_concat(a, b): Jet's "&", where Null counts as an empty text unless both are Null.
void concatFunction(sqlite3_context* context, int, sqlite3_value** arguments)
{
    if (sqlite3_value_type(arguments[0]) == SQLITE_NULL && sqlite3_value_type(arguments[1]) == SQLITE_NULL) {
        sqlite3_result_null(context);
        return;
    }
    try {
        const QString joined = valueTextOf(arguments[0]) + valueTextOf(arguments[1]);
        sqlite3_result_text16(context, joined.utf16(), static_cast<int>(joined.size() * 2), SQLITE_TRANSIENT);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

} // namespace

void install(const QSqlDatabase& connection)
{
    const QVariant handle = connection.driver() ? connection.driver()->handle() : QVariant();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        throw StorageBug("dialect::install needs an open SQLite connection");
    sqlite3* database = *static_cast<sqlite3* const*>(handle.constData());
    if (!database)
        throw StorageBug("dialect::install needs an open SQLite connection");
    const int flags = SQLITE_UTF16 | SQLITE_DETERMINISTIC;
    int rc = sqlite3_create_collation(database, "JETTEXT", SQLITE_UTF16_ALIGNED, nullptr, collate);
    if (rc == SQLITE_OK)
        rc = sqlite3_create_function(database, "jet_like", 2, flags, nullptr, likeFunction, nullptr, nullptr);
    if (rc == SQLITE_OK)
        rc = sqlite3_create_function(
            database, "jet_concat", 2, flags, nullptr, concatFunction, nullptr, nullptr);
    if (rc != SQLITE_OK)
        throw fromSqlite(rc, QString::fromUtf8(sqlite3_errmsg(database)));
}

Catalog readCatalog(const QSqlDatabase& connection)
{
    Catalog catalog;
    const QStringList tables = connection.tables(QSql::Tables);
    for (const QString& table : tables) {
        const QSqlRecord record = connection.record(table);
        QStringList fields;
        for (int i = 0; i < record.count(); ++i)
            fields << record.fieldName(i);
        catalog.insert(table.toLower(), fields);
    }
    return catalog;
}

QString foldKey(const QString& text)
{
    return jettext::foldKey(text);
}

int compareText(const QString& a, const QString& b)
{
    return jettext::compareText(a, b);
}

bool likeMatches(const QString& text, const QString& jetPattern)
{
    if (!jettext::likePatternValid(jetPattern))
        throw syntaxErrorInQuery(jetPattern);
    return jettext::likeMatches(text, jetPattern);
}

QString valueText(const QVariant& value)
{
    if (value.isNull())
        return {};
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("-1") : QStringLiteral("0");
    case QMetaType::Double:
    case QMetaType::Float:
        // As Brazil writes it: a decimal comma, no thousands separator.
        return QString::number(value.toDouble(), 'g', 15).replace(QLatin1Char('.'), QLatin1Char(','));
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("dd/MM/yyyy"));
    case QMetaType::QDateTime: {
        const QDateTime moment = value.toDateTime();
        return moment.time() == QTime(0, 0) ? moment.toString(QStringLiteral("dd/MM/yyyy"))
                                            : moment.toString(QStringLiteral("dd/MM/yyyy hh:mm:ss"));
    }
    default:
        return value.toString();
    }
}

JetError syntaxErrorInQuery(const QString& text)
{
    return JetError(jet::SyntaxErrorInQueryExpression,
        QStringLiteral("Erro de sintaxe (operador faltando) na expressão de consulta '%1'.").arg(text));
}

JetError syntaxErrorInExpression(const QString& text)
{
    return JetError(
        jet::SyntaxError, QStringLiteral("Erro de sintaxe (operador faltando) na expressão '%1'.").arg(text));
}

JetError fromSqlite(int sqliteCode, const QString& message, const QString& statement)
{
    switch (sqliteCode & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return JetError(jet::Locked,
            QStringLiteral("Não foi possível atualizar; bloqueado no momento por outro usuário ou módulo."));
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return JetError(jet::Corrupted,
            QStringLiteral("Não é possível abrir o banco de dados. Talvez não seja um banco de dados "
                           "reconhecido pelo seu aplicativo ou o arquivo pode estar corrompido."));
    case SQLITE_READONLY:
        return JetError(jet::ReadOnly,
            QStringLiteral("Não é possível atualizar. O banco de dados ou o objeto é somente leitura."));
    case SQLITE_CONSTRAINT:
        return JetError(jet::KeyViolation,
            QStringLiteral("As alterações solicitadas à tabela não foram bem-sucedidas porque criariam "
                           "valores duplicados no índice, chave primária ou relacionamento."));
    case SQLITE_CANTOPEN:
        return JetError(jet::FileNotFound, QStringLiteral("Não foi possível encontrar ou abrir o arquivo."));
    case SQLITE_IOERR:
    case SQLITE_FULL:
        return JetError(jet::DiskOrNetwork, QStringLiteral("Erro de disco ou de rede."));
    default:
        break;
    }
    const QString lowered = message.toLower();
    if (lowered.contains(QLatin1String("no such table"))) {
        const QString name = message.section(QLatin1Char(':'), -1).trimmed();
        return JetError(jet::ObjectNotFound,
            QStringLiteral("O mecanismo de banco de dados não pode encontrar a tabela ou consulta de "
                           "entrada '%1'. Certifique-se de que ela existe e que seu nome está digitado "
                           "corretamente.")
                .arg(name));
    }
    if (lowered.contains(QLatin1String("no such column")))
        return JetError(jet::TooFewParameters, QStringLiteral("Parâmetros insuficientes. Eram esperados 1."));
    if (lowered.contains(QLatin1String("syntax error"))
        || lowered.contains(QLatin1String("unrecognized token"))
        || lowered.contains(QLatin1String("incomplete input")))
        return syntaxErrorInQuery(statement.isEmpty() ? message : statement);
    return JetError(jet::GeneralError, QStringLiteral("Erro do banco de dados: %1").arg(message));
}

} // namespace varemo::dialect
