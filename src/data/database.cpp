#include "data/database.h"

#include "data/database_p.h"
#include "data/recordset_p.h"
#include "data/recordset_rows.h"
#include "data/server_p.h"

#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QSqlDriver>
#include <QSqlError>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <iterator>
#include <sqlite3.h>
#include <unordered_set>

namespace varemo {

namespace {

// How a declared column type reads back: Jet's Yes/No and Date fields are stored as
// numbers and ISO texts, and the program compares them as booleans and dates.
enum class Kind { Plain, Boolean, Date };

Kind kindOf(const char* declared)
{
    if (!declared)
        return Kind::Plain;
    const QByteArray type = QByteArray(declared).toUpper();
    if (type.startsWith("BOOL") || type == "BIT" || type == "YESNO")
        return Kind::Boolean;
    if (type.startsWith("DATE"))
        return Kind::Date;
    return Kind::Plain;
}

QString textAt(sqlite3_stmt* statement, int column)
{
    const auto* data = static_cast<const QChar*>(sqlite3_column_text16(statement, column));
    const int bytes = sqlite3_column_bytes16(statement, column);
    return data ? QString(data, bytes / 2) : QString();
}

// Equal texts of one column come back as one shared string: a join repeats every ancestor's
// name on each row below it, tens of thousands of copies of a few thousand names otherwise.
// A column of mostly different texts (the items' own names) soon stops being pooled.
class TextPool {
public:
    QString take(sqlite3_stmt* statement, int column)
    {
        const auto* data = static_cast<const QChar*>(sqlite3_column_text16(statement, column));
        const int bytes = sqlite3_column_bytes16(statement, column);
        if (!data || bytes == 0)
            return textAt(statement, column);
        const QStringView text(data, bytes / 2);
        // Rows under one parent come together: the text of the row before needs no look-up.
        if (m_hasLast && QStringView(m_last) == text)
            return m_last;
        if (!m_pooling) {
            m_last = text.toString();
        } else {
            ++m_seen;
            auto found = m_texts.find(text);
            if (found == m_texts.end())
                found = m_texts.insert(text.toString()).first;
            m_last = *found;
            if (m_seen >= MinimumSample && static_cast<qsizetype>(m_texts.size()) * 2 > m_seen) {
                m_pooling = false;
                m_texts = {};
            }
        }
        m_hasLast = true;
        return m_last;
    }

private:
    static constexpr qsizetype MinimumSample = 1024;
    std::unordered_set<QString, TextViewHash, TextViewEqual> m_texts;
    QString m_last;
    bool m_hasLast = false;
    bool m_pooling = true;
    qsizetype m_seen = 0;
};

QVariant valueAt(sqlite3_stmt* statement, int column, Kind kind, TextPool& pool)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
        return {};
    case SQLITE_INTEGER: {
        const qlonglong number = sqlite3_column_int64(statement, column);
        if (kind == Kind::Boolean)
            return QVariant(number != 0);
        return QVariant(number);
    }
    case SQLITE_FLOAT: {
        const double number = sqlite3_column_double(statement, column);
        if (kind == Kind::Boolean)
            return QVariant(number != 0.0);
        return QVariant(number);
    }
    case SQLITE_BLOB: {
        const auto* data = static_cast<const char*>(sqlite3_column_blob(statement, column));
        return QVariant(QByteArray(data, sqlite3_column_bytes(statement, column)));
    }
    default:
        break;
    }
    if (kind == Kind::Plain)
        return QVariant(pool.take(statement, column));
    const QString text = textAt(statement, column);
    if (kind == Kind::Date) {
        const QDate date = QDate::fromString(text.left(10), Qt::ISODate);
        if (date.isValid())
            return QVariant(date);
    } else if (kind == Kind::Boolean) {
        return QVariant(!(text.isEmpty() || text == QLatin1String("0") || text == QLatin1String("0.0")));
    }
    return QVariant(text);
}

// The cell valueAt reads, packed straight into a recordset's rows: no QVariant for the plain
// kinds, and a text already in the recordset's pool is not copied out of the engine.
RowStore::Cell cellAt(sqlite3_stmt* statement, int column, Kind kind, RowStore& rows, TextPool& pool)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
        return {};
    case SQLITE_INTEGER: {
        const qint64 number = sqlite3_column_int64(statement, column);
        if (kind == Kind::Boolean)
            return {RowStore::Kind::Boolean, number != 0 ? 1U : 0U};
        return {RowStore::Kind::Integer, static_cast<quint64>(number)};
    }
    case SQLITE_FLOAT: {
        const double number = sqlite3_column_double(statement, column);
        if (kind == Kind::Boolean)
            return {RowStore::Kind::Boolean, number != 0.0 ? 1U : 0U};
        return {RowStore::Kind::Real, std::bit_cast<quint64>(number)};
    }
    case SQLITE_TEXT:
        if (kind == Kind::Plain) {
            const auto* data = static_cast<const QChar*>(sqlite3_column_text16(statement, column));
            if (data)
                return rows.textCell(
                    column, QStringView(data, sqlite3_column_bytes16(statement, column) / 2));
        }
        break;
    default:
        break;
    }
    return rows.encode(column, valueAt(statement, column, kind, pool));
}

int bindValue(sqlite3_stmt* statement, int index, const QVariant& value)
{
    if (!value.isValid() || value.isNull())
        return sqlite3_bind_null(statement, index);
    switch (value.typeId()) {
    case QMetaType::Bool:
        return sqlite3_bind_int(statement, index, value.toBool() ? 1 : 0);
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return sqlite3_bind_int64(statement, index, value.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return sqlite3_bind_double(statement, index, value.toDouble());
    case QMetaType::QDate:
        return sqlite3_bind_text(statement, index, value.toDate().toString(Qt::ISODate).toUtf8().constData(),
            -1, SQLITE_TRANSIENT);
    case QMetaType::QDateTime:
        return sqlite3_bind_text(statement, index,
            value.toDateTime().toString(Qt::ISODate).toUtf8().constData(), -1, SQLITE_TRANSIENT);
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return sqlite3_bind_blob(
            statement, index, bytes.constData(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
    }
    default: {
        const QString text = value.toString();
        return sqlite3_bind_text16(
            statement, index, text.utf16(), static_cast<int>(text.size() * 2), SQLITE_TRANSIENT);
    }
    }
}

// One prepared statement, finalized whatever happens: the connection can only close
// once every statement is gone.
class Statement {
public:
    Statement(sqlite3* handle, const QString& sql)
    {
        const QByteArray text = sql.toUtf8();
        const char* tail = nullptr;
        m_rc = sqlite3_prepare_v2(
            handle, text.constData(), static_cast<int>(text.size()), &m_statement, &tail);
        if (m_rc == SQLITE_OK && tail) {
            // Never a second statement behind the first one.
            for (const char* c = tail; *c; ++c) {
                if (*c != ';' && *c != ' ' && *c != '\t' && *c != '\r' && *c != '\n') {
                    m_trailing = true;
                    break;
                }
            }
        }
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    int prepareResult() const { return m_rc; }
    bool hasTrailingText() const { return m_trailing; }
    sqlite3_stmt* get() const { return m_statement; }

private:
    sqlite3_stmt* m_statement = nullptr;
    int m_rc = SQLITE_OK;
    bool m_trailing = false;
};

QString columnText(const char* text)
{
    return text ? QString::fromUtf8(text) : QString();
}

JetError trailingText()
{
    return JetError(
        jet::CharactersAfterEnd, QStringLiteral("Caracteres encontrados após o fim da instrução SQL."));
}

JetError closedObject()
{
    return JetError(jet::ObjectClosed, QStringLiteral("O objeto é inválido ou não está mais definido."));
}

std::atomic<int> connectionSerial {0};

qint64 nowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// Runs `done` when the scope is left, by return or by exception.
template<typename Done> class OnExit {
public:
    explicit OnExit(Done done)
        : m_done(std::move(done))
    {
    }
    ~OnExit() { m_done(); }
    OnExit(const OnExit&) = delete;
    OnExit& operator=(const OnExit&) = delete;

private:
    Done m_done;
};

} // namespace

// --- waiting for other modules -----------------------------------------------------

int Database::Private::onBusy(void* self, int attempt)
{
    auto* engine = static_cast<Private*>(self);
    const qint64 now = nowMs();
    if (attempt == 0)
        engine->waitStartedMs = now;
    const qint64 left = engine->busyTimeoutMs - (now - engine->waitStartedMs);
    if (left <= 0)
        return 0; // give up: the statement fails with SQLITE_BUSY, which is Jet's 3218
    if (!engine->waiting) {
        engine->waiting = true;
        if (engine->owner->busyHook) {
            try {
                engine->owner->busyHook(true);
            } catch (...) {
                // the engine calls us from C: nothing may escape
            }
        }
    }
    // Short sleeps first: most locks of the other modules last a few milliseconds.
    static constexpr int Delays[] = {1, 2, 5, 10, 15, 20, 25, 25, 25, 50, 50, 100};
    const int delay = Delays[std::min<std::size_t>(std::size_t(attempt), std::size(Delays) - 1)];
    sqlite3_sleep(static_cast<int>(std::min<qint64>(delay, left)));
    return 1;
}

void Database::Private::endWait() noexcept
{
    if (!waiting)
        return;
    waiting = false;
    if (owner->busyHook) {
        try {
            owner->busyHook(false);
        } catch (...) {
            // a hook that throws must not turn a finished statement into a failure
        }
    }
}

// --- engine -------------------------------------------------------------------------

void Database::Private::checkOpen() const
{
    if (!handle && !server)
        throw closedObject();
}

namespace {

[[noreturn]] void failOn(sqlite3* handle, const QString& original)
{
    throw dialect::fromSqlite(
        sqlite3_extended_errcode(handle), QString::fromUtf8(sqlite3_errmsg(handle)), original);
}

// One prepared statement with its parameters bound; a text holding a second statement, or
// none at all, is refused before anything runs.
sqlite3_stmt* bound(sqlite3* handle, Statement& statement, const Row& parameters, const QString& shown)
{
    if (statement.prepareResult() != SQLITE_OK)
        failOn(handle, shown);
    if (statement.hasTrailingText())
        throw trailingText();
    sqlite3_stmt* stmt = statement.get();
    if (!stmt)
        throw dialect::syntaxErrorInQuery(shown);
    for (int i = 0; i < parameters.size(); ++i) {
        if (bindValue(stmt, i + 1, parameters.at(i)) != SQLITE_OK)
            failOn(handle, shown);
    }
    return stmt;
}

} // namespace

void Database::Private::fail(const QString& original) const
{
    failOn(handle, original);
}

QueryResult Database::Private::query(const QString& sql, const Row& parameters, const QString& original,
    bool firstRowOnly, bool rowidLast, RowStore* into)
{
    if (server) {
        QueryResult result = server->query(sql, parameters, original, firstRowOnly, rowidLast, into);
        if (owner->statementHook)
            owner->statementHook(sql);
        return result;
    }
    checkOpen();
    // Whatever the statement ends in, a wait it began is over when it returns.
    const OnExit waitEnd([this] { endWait(); });
    const QString& shown = original.isEmpty() ? sql : original;
    Statement statement(handle, sql);
    sqlite3_stmt* stmt = bound(handle, statement, parameters, shown);
    QueryResult result;
    const int width = sqlite3_column_count(stmt);
    std::vector<Kind> kinds(static_cast<size_t>(width));
    std::vector<TextPool> pools(static_cast<size_t>(width));
    for (int c = 0; c < width; ++c) {
        kinds[static_cast<size_t>(c)] = kindOf(sqlite3_column_decltype(stmt, c));
        result.names << columnText(sqlite3_column_name(stmt, c));
        result.origins << columnText(sqlite3_column_origin_name(stmt, c));
        result.tables << columnText(sqlite3_column_table_name(stmt, c));
    }
    const int cells = rowidLast ? width - 1 : width;
    if (into)
        into->setColumns(cells);
    for (;;) {
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_DONE)
            break;
        if (rc != SQLITE_ROW)
            fail(shown);
        if (into) {
            into->beginRow();
            for (int c = 0; c < cells; ++c)
                into->put(
                    c, cellAt(stmt, c, kinds[static_cast<size_t>(c)], *into, pools[static_cast<size_t>(c)]));
        } else {
            // A row's list is never reallocated: its size is known before its first cell.
            Row row;
            row.reserve(cells);
            for (int c = 0; c < cells; ++c)
                row.append(valueAt(stmt, c, kinds[static_cast<size_t>(c)], pools[static_cast<size_t>(c)]));
            result.rows.append(std::move(row));
        }
        if (rowidLast)
            result.rowids.append(sqlite3_column_int64(stmt, cells));
        if (firstRowOnly)
            break;
    }
    if (owner->statementHook)
        owner->statementHook(sql);
    return result;
}

int Database::Private::run(const QString& sql, const Row& parameters, const QString& original)
{
    if (server) {
        const int changed = server->run(sql, parameters, original);
        if (owner->statementHook)
            owner->statementHook(sql);
        return changed;
    }
    checkOpen();
    // Whatever the statement ends in, a wait it began is over when it returns.
    const OnExit waitEnd([this] { endWait(); });
    const QString& shown = original.isEmpty() ? sql : original;
    Statement statement(handle, sql);
    sqlite3_stmt* stmt = bound(handle, statement, parameters, shown);
    int rc = sqlite3_step(stmt);
    while (rc == SQLITE_ROW)
        rc = sqlite3_step(stmt);
    if (rc != SQLITE_DONE)
        fail(shown);
    const int changed = sqlite3_stmt_readonly(stmt) == 0 ? sqlite3_changes(handle) : 0;
    if (owner->statementHook)
        owner->statementHook(sql);
    return changed;
}

qint64 Database::Private::lastInsertRowid() const
{
    return server ? server->lastInsertRowid() : sqlite3_last_insert_rowid(handle);
}

dialect::Translation Database::Private::translate(const QString& jetText) const
{
    checkOpen();
    return server ? dialect::translate(jetText, catalog, target) : dialect::translate(jetText, catalog);
}

void Database::Private::noteWrite(Recordset* recordset)
{
    if (owner->m_transactionDepth == 0)
        return;
    if (std::find(touched.begin(), touched.end(), recordset) != touched.end())
        return;
    recordset->d->takeSnapshot();
    touched.push_back(recordset);
}

void Database::Private::forget(Recordset* recordset)
{
    recordsets.erase(std::remove(recordsets.begin(), recordsets.end(), recordset), recordsets.end());
    touched.erase(std::remove(touched.begin(), touched.end(), recordset), touched.end());
}

void Database::Private::abandon() noexcept
{
    owner->m_transactionDepth = 0;
    doomed = false;
    const bool open = server ? server->inTransaction() : handle && !sqlite3_get_autocommit(handle);
    if (open) {
        if (server)
            server->rollback();
        else
            sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
        try {
            if (owner->statementHook)
                owner->statementHook(QStringLiteral("ROLLBACK"));
        } catch (...) {
            // a hook that throws must not stop the rows from going back
        }
    }
    const std::vector<Recordset*> written = std::move(touched);
    touched.clear();
    for (Recordset* recordset : written)
        recordset->d->restoreSnapshot();
}

void Database::Private::committed()
{
    owner->m_transactionDepth = 0;
    const std::vector<Recordset*> written = std::move(touched);
    touched.clear();
    for (Recordset* recordset : written)
        recordset->d->dropSnapshot();
}

// --- Database -----------------------------------------------------------------------

Database::Database(const QString& connectionName, const QString& path)
    : d(std::make_unique<Private>())
    , m_connectionName(connectionName)
    , m_path(path)
{
    d->owner = this;
    const QSqlDatabase db = QSqlDatabase::database(m_connectionName, false);
    const QVariant handle = db.driver() ? db.driver()->handle() : QVariant();
    if (handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0)
        d->handle = *static_cast<sqlite3* const*>(handle.constData());
}

Database::~Database()
{
    close();
}

std::unique_ptr<Database> Database::open(const QString& path)
{
    return open(path, BusyTimeoutMs);
}

std::optional<ServerAddress> Database::serverOf(const QString& dataFolder)
{
    const QString ini = QDir(dataFolder).filePath(QStringLiteral("Empresa.ini"));
    if (!QFileInfo(ini).isFile())
        return std::nullopt;
    QSettings settings(ini, QSettings::IniFormat);
    settings.beginGroup(QStringLiteral("Servidor"));
    const QString host = settings.value(QStringLiteral("Servidor")).toString().trimmed();
    if (host.isEmpty())
        return std::nullopt;
    ServerAddress server;
    server.host = host;
    server.port = settings.value(QStringLiteral("Porta"), server.port).toInt();
    server.database = settings.value(QStringLiteral("Banco")).toString().trimmed();
    server.user = settings.value(QStringLiteral("Usuario")).toString().trimmed();
    return server;
}

std::unique_ptr<Database> Database::open(const ServerAddress& server, int busyTimeoutMs)
{
    const QString shown = QStringLiteral("%1:%2/%3").arg(server.host).arg(server.port).arg(server.database);
    const QString name = QStringLiteral("varemo-database-%1").arg(++connectionSerial);
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        db.setHostName(server.host);
        db.setPort(server.port);
        db.setDatabaseName(server.database);
        db.setUserName(server.user);
        if (!db.isValid() || !db.open()) {
            const QString message = db.lastError().databaseText();
            db = QSqlDatabase();
            QSqlDatabase::removeDatabase(name);
            throw dialect::serverUnreachable(shown, message);
        }
    }
    std::unique_ptr<Database> database(new Database(name, shown));
    database->d->server = std::make_unique<ServerEngine>(database->connection());
    database->d->server->setLockTimeout(busyTimeoutMs);
    database->d->catalog = database->d->server->readCatalog(database->d->target);
    // A company another workstation holds whole is told now, as with the file.
    if (database->hasTable(QStringLiteral("DadosEmpresa")))
        database->d->query(QStringLiteral("SELECT count(*) FROM DadosEmpresa"), {}, {}, true);
    return database;
}

std::unique_ptr<Database> Database::open(const QString& path, int busyTimeoutMs)
{
    // The data folder's Empresa.ini may send the company to a server instead of its file.
    if (const auto server = serverOf(QFileInfo(path).absolutePath() + QStringLiteral("/..")))
        return open(*server, busyTimeoutMs);

    // Never create: a missing file (or a folder in its place) is not a database to open.
    const QFileInfo file(path);
    if (!file.exists() || !file.isFile())
        throw JetError(
            jet::FileNotFound, QStringLiteral("Não foi possível encontrar o arquivo '%1'.").arg(path));

    const QString name = QStringLiteral("varemo-database-%1").arg(++connectionSerial);
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
        db.setDatabaseName(QUrl::fromLocalFile(file.absoluteFilePath()).toString(QUrl::FullyEncoded)
            + QStringLiteral("?mode=rw"));
        if (!db.open()) {
            const QSqlError error = db.lastError();
            db = QSqlDatabase();
            QSqlDatabase::removeDatabase(name);
            throw dialect::fromSqlite(error.nativeErrorCode().toInt(), error.databaseText());
        }
    }
    std::unique_ptr<Database> database(new Database(name, path));
    if (!database->d->handle)
        throw StorageBug("the QSQLITE driver gave no SQLite handle");
    database->d->busyTimeoutMs = busyTimeoutMs;
    sqlite3_busy_handler(database->d->handle, &Private::onBusy, database->d.get());

    // SQLite reads the file lazily: a garbage or empty file shows up only when the
    // schema is read, so read it now.
    const QueryResult tables = database->d->query(
        QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'"),
        {}, {});
    if (tables.rows.isEmpty() || tables.rows.first().first().toInt() == 0)
        throw dialect::fromSqlite(SQLITE_NOTADB, QStringLiteral("file is not a database"));
    dialect::install(database->connection());
    database->d->catalog = dialect::readCatalog(database->connection());
    return database;
}

void Database::setBusyTimeout(int milliseconds)
{
    d->checkOpen();
    if (d->server)
        d->server->setLockTimeout(milliseconds);
    d->busyTimeoutMs = milliseconds;
}

void Database::checkTables(const QStringList& tables)
{
    // The server keeps its own pages whole: nothing for a client to walk.
    if (d->server)
        return;
    for (const QString& table : tables) {
        QString quoted = table;
        quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
        const QueryResult verdict
            = d->query(QStringLiteral("PRAGMA quick_check(\"%1\")").arg(quoted), {}, {}, true);
        if (verdict.rows.isEmpty() || verdict.rows.first().first().toString() != QLatin1String("ok"))
            throw dialect::fromSqlite(SQLITE_CORRUPT, QStringLiteral("database disk image is malformed"));
    }
}

int Database::execute(const QString& jetText)
{
    const dialect::Translation translation = d->translate(jetText);
    return d->run(translation.sql, {}, jetText);
}

std::unique_ptr<Recordset> Database::openRecordset(const QString& source, RecordsetType type)
{
    d->checkOpen();
    auto recordset = std::unique_ptr<Recordset>(new Recordset(*this, source, type));
    d->recordsets.push_back(recordset.get());
    return recordset;
}

QVariant Database::scalar(const QString& jetText)
{
    const dialect::Translation translation = d->translate(jetText);
    const QueryResult result = d->query(translation.sql, {}, jetText, true);
    if (result.rows.isEmpty() || result.rows.first().isEmpty())
        return {};
    return result.rows.first().first();
}

bool Database::hasTable(const QString& name) const
{
    return d->catalog.contains(name.toLower());
}

bool Database::isOpen() const
{
    return d->handle != nullptr || d->server != nullptr;
}

bool Database::onServer() const
{
    return d->server != nullptr;
}

void Database::close()
{
    if (!d->handle && !d->server)
        return;
    if (m_transactionDepth > 0)
        d->abandon();
    for (Recordset* recordset : d->recordsets) {
        recordset->close();
        recordset->d->database = nullptr;
    }
    d->recordsets.clear();
    d->touched.clear();
    d->handle = nullptr;
    d->server.reset();
    {
        QSqlDatabase db = QSqlDatabase::database(m_connectionName, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(m_connectionName);
}

QSqlDatabase Database::connection() const
{
    return QSqlDatabase::database(m_connectionName, false);
}

// --- UnitOfWork ---------------------------------------------------------------------

UnitOfWork::UnitOfWork(Database& database)
    : m_database(database)
{
    if (m_database.m_transactionDepth == 0) {
        // IMMEDIATE: the write lock is taken now, so a lock held by another module
        // fails the action before anything was written rather than halfway through.
        m_database.d->run(QStringLiteral("BEGIN IMMEDIATE"));
        m_database.d->doomed = false;
    }
    ++m_database.m_transactionDepth;
}

UnitOfWork::~UnitOfWork()
{
    if (m_done)
        return;
    if (m_database.m_transactionDepth > 1) {
        --m_database.m_transactionDepth;
        m_database.d->doomed = true;
        return;
    }
    m_database.d->abandon();
}

void UnitOfWork::commit()
{
    if (m_done)
        throw StorageBug("unit of work committed twice");
    m_done = true;
    Database::Private& engine = *m_database.d;
    if (m_database.m_transactionDepth > 1) {
        --m_database.m_transactionDepth;
        return;
    }
    if (engine.doomed) {
        engine.abandon();
        throw StorageBug("an inner unit of work ended without commit");
    }
    try {
        // Another module reading the file keeps COMMIT waiting; past the busy timeout
        // the whole action is abandoned like any other failure.
        engine.run(QStringLiteral("COMMIT"));
    } catch (...) {
        engine.abandon();
        throw;
    }
    engine.committed();
}

} // namespace varemo
