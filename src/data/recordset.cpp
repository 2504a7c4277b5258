#include "data/recordset.h"

#include "data/recordset_p.h"

namespace varemo {

namespace {

JetError noCurrentRecord()
{
    return JetError(jet::NoCurrentRecord, QStringLiteral("Nenhum registro atual."));
}

JetError withoutEdit()
{
    return JetError(jet::UpdateWithoutEdit,
        QStringLiteral("Atualização ou CancelarAtualização sem AdicionarNovo ou Editar."));
}

QString quoted(const QString& name)
{
    QString text = name;
    text.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

} // namespace

void Recordset::Private::checkOpen() const
{
    if (!open || !database)
        throw JetError(jet::ObjectClosed, QStringLiteral("O objeto é inválido ou não está mais definido."));
    // Rows left for later are read by the first use that needs them, whatever it is.
    if (pending)
        const_cast<Private*>(this)->complete();
}

bool Recordset::Private::atBof() const
{
    return rows.isEmpty() || pos < 0;
}

bool Recordset::Private::atEof() const
{
    return rows.isEmpty() || pos >= rows.size();
}

int Recordset::Private::current() const
{
    checkOpen();
    if (deletedCurrent)
        throw recordDeleted();
    if (atBof() || atEof())
        throw noCurrentRecord();
    return pos;
}

// Moving to another record drops an edit not yet stored, as DAO does.
void Recordset::Private::go(int index)
{
    pos = index;
    deletedCurrent = false;
    mode = EditMode::None;
    buffer.clear();
}

int Recordset::Private::column(const QString& field) const
{
    const int index = byName.value(field.toLower(), -1);
    if (index < 0)
        throw JetError(jet::ItemNotFound, QStringLiteral("Item não encontrado nesta coleção."));
    return index;
}

void Recordset::Private::checkUpdatable() const
{
    checkOpen();
    if (!updatable)
        throw JetError(jet::NotUpdatable,
            QStringLiteral("Não é possível atualizar. O banco de dados ou o objeto é somente leitura."));
}

QString Recordset::Private::writableField(int index) const
{
    const QString& field = writableFields.at(index);
    if (field.isEmpty())
        throw JetError(3164, QStringLiteral("O campo não pode ser atualizado."));
    return field;
}

// The stored row as the recordset shows it: the base table's fields read by rowid, and
// any computed column through the recordset's own query.
Row Recordset::Private::fetch(qint64 rowid)
{
    Database::Private& engine = *database->d;
    QStringList stored;
    bool computed = false;
    for (const QString& field : writableFields) {
        if (field.isEmpty())
            computed = true;
        else
            stored << quoted(field);
    }
    Row row(fields.size());
    if (!stored.isEmpty()) {
        const QueryResult result
            = engine.query(QStringLiteral("SELECT %1 FROM %2 WHERE rowid = ?")
                               .arg(stored.join(QLatin1String(", ")), quoted(translation.baseTable)),
                {QVariant(rowid)}, {}, true);
        if (result.rows.isEmpty())
            throw recordDeleted();
        int at = 0;
        for (int c = 0; c < fields.size(); ++c) {
            if (!writableFields.at(c).isEmpty())
                row[c] = result.rows.first().at(at++);
        }
    }
    if (computed) {
        QString sql = translation.sql.trimmed();
        while (sql.endsWith(QLatin1Char(';')))
            sql.chop(1);
        const QueryResult result = engine.query(
            QStringLiteral("SELECT * FROM (%1) WHERE %2 = ?").arg(sql, quoted(translation.rowidColumn)),
            {QVariant(rowid)}, {}, true);
        for (int c = 0; c < fields.size(); ++c) {
            if (writableFields.at(c).isEmpty() && !result.rows.isEmpty())
                row[c] = result.rows.first().at(c);
        }
    }
    return row;
}

// --- loading ------------------------------------------------------------------------

// Names, the field behind each column and whether rows can be written back, from the
// first rows read.
void Recordset::Private::describe(const QueryResult& result)
{
    const bool withRowid = !translation.rowidColumn.isEmpty();
    const int width = static_cast<int>(result.names.size()) - (withRowid ? 1 : 0);
    fields = translation.columns.isEmpty() ? result.names.mid(0, width) : translation.columns;
    if (fields.size() != width)
        throw StorageBug("the translated query's columns do not match its names");
    for (int c = 0; c < width; ++c) {
        const QString name = fields.at(c).toLower();
        byName.insert(name, c);
        const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
        // A joined "Table.Field" is also reachable as "Field" (the first one wins);
        // a one-table "Field" also as "Table.Field".
        if (dot >= 0 && !byName.contains(name.mid(dot + 1)))
            byName.insert(name.mid(dot + 1), c);
        if (dot < 0 && !translation.baseTable.isEmpty())
            byName.insert(translation.baseTable.toLower() + QLatin1Char('.') + name, c);
        const bool ours = result.tables.at(c).compare(translation.baseTable, Qt::CaseInsensitive) == 0;
        writableFields << (ours ? result.origins.at(c) : QString());
    }
    updatable = !translation.baseTable.isEmpty() && withRowid && type != RecordsetType::Snapshot;
}

void Recordset::Private::load()
{
    Database::Private& engine = *database->d;
    const bool withRowid = !translation.rowidColumn.isEmpty();
    // Read aside: a read that fails leaves the rows as they were.
    RowStore fresh;
    QueryResult result = engine.query(translation.sql, {}, source, false, withRowid, &fresh);
    if (fields.isEmpty())
        describe(result);
    fresh.setColumns(static_cast<int>(fields.size()));
    rows = std::move(fresh);
    ids.clear();
    if (withRowid) {
        ids = std::move(result.rowids);
    } else {
        ids.reserve(rows.size());
        for (qint64 i = 1; i <= rows.size(); ++i)
            ids.append(i);
    }
    pending = false;
    applyTextOrder();
    changed();
    pos = 0;
    deletedCurrent = false;
    mode = EditMode::None;
    buffer.clear();
}

// Up to `count` more rows after the last key read (count < 0: all of them; 0: none, only
// what the columns are). The rows are in as soon as the last slice is.
void Recordset::Private::readSlice(int count)
{
    Database::Private& engine = *database->d;
    const bool withRowid = !translation.rowidColumn.isEmpty();
    QString sql = translation.sql.trimmed();
    while (sql.endsWith(QLatin1Char(';')))
        sql.chop(1);
    QueryResult result;
    const qsizetype before = rows.size();
    try {
        if (sliceKey.isEmpty() && count != 0) {
            result = engine.query(sql, {}, source, false, withRowid, &rows);
        } else if (sliceKey.isEmpty()) {
            result = engine.query(QStringLiteral("SELECT * FROM (%1) AS later LIMIT 0").arg(sql), {}, source,
                false, withRowid, &rows);
        } else {
            const QString slice = QStringLiteral("SELECT * FROM (%1) AS later WHERE %2 > ? ORDER BY %2")
                                      .arg(sql, quoted(sliceKey));
            if (count < 0)
                result = engine.query(slice, {QVariant(lastKey)}, source, false, withRowid, &rows);
            else
                result = engine.query(slice + QStringLiteral(" LIMIT ?"),
                    {QVariant(lastKey), QVariant(count)}, source, false, withRowid, &rows);
        }
        if (fields.isEmpty())
            describe(result);
        rows.setColumns(static_cast<int>(fields.size()));
    } catch (...) {
        // The slice is read again whole by the next attempt.
        rows.truncate(before);
        throw;
    }
    const qsizetype got = rows.size() - before;
    if (got > 0 && !sliceKey.isEmpty()) {
        lastKey = withRowid && sliceKey == translation.rowidColumn
            ? result.rowids.last()
            : rows.at(rows.size() - 1, column(sliceKey)).toLongLong();
    }
    if (withRowid) {
        ids.append(result.rowids);
    } else {
        for (qsizetype i = 0; i < got; ++i)
            ids.append(ids.size() + 1);
    }
    if (count == 0 || (count > 0 && !sliceKey.isEmpty() && got == count))
        return;
    pending = false;
    applyTextOrder();
    changed();
    pos = 0;
    deletedCurrent = false;
    mode = EditMode::None;
    buffer.clear();
}

void Recordset::Private::complete()
{
    if (pending && open && database)
        readSlice(-1);
}

void Recordset::Private::changed()
{
    positions.reset();
    valueIndex.clear();
}

void Recordset::Private::takeSnapshot()
{
    snapshot = Snapshot {rows, ids, pos, deletedCurrent};
}

void Recordset::Private::restoreSnapshot()
{
    if (!snapshot)
        return;
    if (open) {
        rows = std::move(snapshot->rows);
        ids = std::move(snapshot->ids);
        pos = snapshot->pos;
        deletedCurrent = snapshot->deletedCurrent;
        mode = EditMode::None;
        buffer.clear();
        changed();
    }
    snapshot.reset();
}

Recordset::Recordset(Database& database, const QString& source, RecordsetType type, bool later)
    : d(std::make_unique<Private>())
{
    d->database = &database;
    d->source = source;
    d->type = type;
    d->translation = database.d->translate(source);
    if (!d->translation.returnsRows)
        throw dialect::syntaxErrorInQuery(source);
    if (!later)
        d->load();
}

std::unique_ptr<Recordset> Recordset::openLater(
    Database& database, const QString& source, RecordsetType type, const QString& keyField)
{
    database.d->checkOpen();
    auto recordset = std::unique_ptr<Recordset>(new Recordset(database, source, type, true));
    Private& d = *recordset->d;
    // A whole table comes in its rowid's order; a statement may ask for another.
    const bool wholeTable = !source.trimmed().contains(QLatin1Char(' '));
    d.sliceKey = !keyField.isEmpty() ? keyField : (wholeTable ? d.translation.rowidColumn : QString());
    d.pending = true;
    d.readSlice(0);
    database.d->recordsets.push_back(recordset.get());
    return recordset;
}

bool Recordset::readMore(int count)
{
    if (!d->pending || !d->open || !d->database)
        return true;
    d->readSlice(qMax(count, 1));
    return !d->pending;
}

bool Recordset::isRead() const
{
    return !d->pending;
}

Recordset::~Recordset()
{
    if (d->database)
        d->database->d->forget(this);
}

// --- position -----------------------------------------------------------------------

int Recordset::recordCount() const
{
    d->complete();
    return static_cast<int>(d->rows.size());
}

// A deleted row stays current until the next move: neither BOF nor EOF meanwhile.
bool Recordset::bof() const
{
    d->complete();
    return !d->deletedCurrent && d->atBof();
}

bool Recordset::eof() const
{
    d->complete();
    return !d->deletedCurrent && d->atEof();
}

void Recordset::moveFirst()
{
    d->checkOpen();
    if (d->rows.isEmpty())
        throw noCurrentRecord();
    d->go(0);
}

void Recordset::moveLast()
{
    d->checkOpen();
    if (d->rows.isEmpty())
        throw noCurrentRecord();
    d->go(static_cast<int>(d->rows.size()) - 1);
}

void Recordset::moveNext()
{
    d->checkOpen();
    if (d->deletedCurrent) {
        d->go(d->pos); // the row after the deleted one now stands here (or EOF)
        return;
    }
    if (d->atEof())
        throw noCurrentRecord();
    d->go(d->pos + 1);
}

void Recordset::movePrevious()
{
    d->checkOpen();
    if (d->atBof() && !d->deletedCurrent)
        throw noCurrentRecord();
    d->go(d->pos - 1);
}

int Recordset::absolutePosition() const
{
    d->complete();
    if (d->atBof() || d->atEof() || d->deletedCurrent)
        return -1;
    return d->pos;
}

void Recordset::setAbsolutePosition(int position)
{
    d->checkOpen();
    if (position < 0 || position >= d->rows.size())
        throw JetError(3001, QStringLiteral("Argumento inválido."));
    d->go(position);
}

Recordset::Bookmark Recordset::bookmark() const
{
    return d->ids.at(d->current());
}

void Recordset::setBookmark(Bookmark bookmark)
{
    d->checkOpen();
    if (!d->positions) {
        QHash<qint64, int> positions;
        positions.reserve(d->ids.size());
        for (int i = 0; i < d->ids.size(); ++i)
            positions.insert(d->ids.at(i), i);
        d->positions = std::move(positions);
    }
    const int index = d->positions->value(bookmark, -1);
    if (index < 0)
        throw JetError(3159, QStringLiteral("Indicador inválido."));
    d->go(index);
}

Recordset::Bookmark Recordset::lastModified() const
{
    return d->lastModified;
}

// --- fields -------------------------------------------------------------------------

QVariant Recordset::value(const QString& field) const
{
    d->checkOpen();
    const int index = d->column(field);
    if (d->mode != EditMode::None) {
        const auto it = d->buffer.constFind(index);
        if (it != d->buffer.cend())
            return it.value();
        if (d->mode == EditMode::Add)
            return {};
    }
    return d->rows.at(d->current(), index);
}

void Recordset::setValue(const QString& field, const QVariant& value)
{
    d->checkOpen();
    const int index = d->column(field);
    if (d->mode == EditMode::None)
        throw withoutEdit();
    d->writableField(index);
    d->buffer.insert(index, value);
}

QStringList Recordset::fieldNames() const
{
    return d->fields;
}

int Recordset::fieldIndex(const QString& field) const
{
    return d->byName.value(field.toLower(), -1);
}

QVariant Recordset::cell(int row, int column) const
{
    d->complete();
    if (row < 0 || row >= d->rows.size() || column < 0 || column >= d->rows.columns())
        throw StorageBug("a cell outside the recordset's rows");
    return d->rows.at(row, column);
}

QList<QVariant> Recordset::rowValues(int row) const
{
    d->complete();
    if (row < 0 || row >= d->rows.size())
        throw StorageBug("a row outside the recordset's rows");
    return d->rows.row(row);
}

QList<QList<QVariant>> Recordset::rows() const
{
    d->complete();
    QList<QList<QVariant>> all;
    all.reserve(d->rows.size());
    for (qsizetype i = 0; i < d->rows.size(); ++i)
        all.append(d->rows.row(i));
    return all;
}

// --- editing ------------------------------------------------------------------------

EditMode Recordset::editMode() const
{
    return d->mode;
}

void Recordset::addNew()
{
    d->checkUpdatable();
    d->mode = EditMode::Add;
    d->buffer.clear();
}

void Recordset::edit()
{
    d->checkUpdatable();
    d->current();
    d->mode = EditMode::Edit;
    d->buffer.clear();
}

void Recordset::update()
{
    d->checkOpen();
    if (d->mode == EditMode::None)
        throw withoutEdit();
    Database::Private& engine = *d->database->d;
    const QString table = quoted(d->translation.baseTable);
    QStringList names;
    Row values;
    for (auto it = d->buffer.cbegin(); it != d->buffer.cend(); ++it) {
        names << quoted(d->writableField(it.key()));
        values << it.value();
    }
    if (d->mode == EditMode::Add) {
        engine.noteWrite(this);
        if (names.isEmpty()) {
            engine.run(QStringLiteral("INSERT INTO %1 DEFAULT VALUES").arg(table));
        } else {
            const QString marks = QStringLiteral("?, ").repeated(names.size()).chopped(2);
            engine.run(QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                           .arg(table, names.join(QLatin1String(", ")), marks),
                values);
        }
        const qint64 rowid = engine.lastInsertRowid();
        const Row row = d->fetch(rowid);
        // The record current before AddNew stays current; at EOF it stays EOF.
        const bool wasAtEof = d->pos >= d->rows.size() && !d->deletedCurrent;
        d->rows.append(row);
        d->ids.append(rowid);
        if (wasAtEof)
            ++d->pos;
        if (d->positions)
            d->positions->insert(rowid, static_cast<int>(d->rows.size()) - 1);
        d->indexAppended(row, static_cast<int>(d->rows.size()) - 1);
        d->lastModified = rowid;
    } else {
        const int index = d->current();
        const qint64 rowid = d->ids.at(index);
        if (!names.isEmpty()) {
            engine.noteWrite(this);
            values << QVariant(rowid);
            engine.run(QStringLiteral("UPDATE %1 SET %2 = ? WHERE rowid = ?")
                           .arg(table, names.join(QLatin1String(" = ?, "))),
                values);
        }
        const Row after = d->fetch(rowid);
        // Only the indexes of columns whose value changed are dropped (a search rewrites
        // thousands of rows found by an unchanged code).
        for (auto it = d->valueIndex.begin(); it != d->valueIndex.end();) {
            if (d->rows.at(index, it.key()) != after.at(it.key()))
                it = d->valueIndex.erase(it);
            else
                ++it;
        }
        d->rows.replace(index, after);
        d->lastModified = rowid;
    }
    d->mode = EditMode::None;
    d->buffer.clear();
}

void Recordset::cancelUpdate()
{
    d->mode = EditMode::None;
    d->buffer.clear();
}

void Recordset::deleteCurrent()
{
    d->checkUpdatable();
    const int index = d->current();
    const qint64 rowid = d->ids.at(index);
    Database::Private& engine = *d->database->d;
    engine.noteWrite(this);
    engine.run(QStringLiteral("DELETE FROM %1 WHERE rowid = ?").arg(quoted(d->translation.baseTable)),
        {QVariant(rowid)});
    d->rows.remove(index);
    d->ids.removeAt(index);
    d->changed();
    // The deleted row stays current, unreadable, until the next move.
    d->deletedCurrent = true;
    d->mode = EditMode::None;
    d->buffer.clear();
}

void Recordset::requery()
{
    d->checkOpen();
    d->load();
}

void Recordset::close()
{
    d->open = false;
    d->pending = false;
    d->rows.clear();
    d->ids.clear();
    d->changed();
    d->mode = EditMode::None;
    d->buffer.clear();
}

bool Recordset::isOpen() const
{
    return d->open && d->database;
}

} // namespace varemo
