// Finds by Jet criteria text: compiled once per text, scanned in the rows' order, and
// "Field = number" answered by a value index built on first use.
#include "data/recordset.h"
#include "data/recordset_p.h"

namespace varemo {

namespace {

bool wholeNumber(const QVariant& value)
{
    return value.typeId() == QMetaType::LongLong;
}

} // namespace

void Recordset::Private::indexAppended(const Row& row, int position)
{
    for (auto it = valueIndex.begin(); it != valueIndex.end(); ++it) {
        if (!it.value())
            continue;
        const QVariant& value = row.at(it.key());
        if (!value.isValid())
            continue;
        if (!wholeNumber(value))
            it.value().reset();
        else if (!it.value()->contains(value.toLongLong()))
            it.value()->insert(value.toLongLong(), position);
    }
}

// The predicate sees only the columns the criteria name, in the order they are named: a scan
// unpacks those cells alone.
const Recordset::Private::Find& Recordset::Private::predicate(const QString& text)
{
    auto it = predicates.find(text);
    if (it == predicates.end()) {
        Find compiled;
        compiled.matches = criteria::compile(text, [this, &compiled](const QString& field) {
            const int c = byName.value(field.toLower(), -1);
            if (c < 0)
                return -1;
            qsizetype at = compiled.columns.indexOf(c);
            if (at < 0) {
                compiled.columns.append(c);
                at = compiled.columns.size() - 1;
            }
            return static_cast<int>(at);
        });
        it = predicates.insert(text, std::move(compiled));
    }
    return it.value();
}

// Scans from `from` towards `to` (inclusive, either direction). A find that fails
// leaves the current record where it was.
bool Recordset::Private::find(const QString& text, int from, int to)
{
    checkOpen();
    const Find& compiled = predicate(text);
    const int step = from <= to ? 1 : -1;
    Row cells(compiled.columns.size());
    if (!rows.isEmpty() && from >= 0 && from < rows.size()) {
        for (int i = from; i != to + step; i += step) {
            if (i < 0 || i >= rows.size())
                break;
            for (qsizetype k = 0; k < cells.size(); ++k)
                cells[k] = rows.at(i, compiled.columns.at(k));
            if (compiled.matches(cells)) {
                go(i);
                noMatch = false;
                return true;
            }
        }
    }
    noMatch = true;
    return false;
}

// The first row where a whole-number column equals the number, from the column's index;
// nullopt when the index cannot answer (then the criteria are scanned).
std::optional<int> Recordset::Private::indexedFirst(const QString& text)
{
    const std::optional<criteria::FieldEqualsNumber> equals = criteria::fieldEqualsNumber(text);
    if (!equals)
        return std::nullopt;
    const int c = byName.value(equals->field.toLower(), -1);
    if (c < 0)
        return std::nullopt;
    auto it = valueIndex.find(c);
    if (it == valueIndex.end()) {
        QHash<qint64, int> index;
        bool usable = true;
        index.reserve(rows.size());
        for (int i = 0; i < rows.size() && usable; ++i) {
            const RowStore::Cell cell = rows.cell(i, c);
            if (cell.kind == RowStore::Kind::Other) {
                const QVariant value = rows.value(cell);
                if (!wholeNumber(value))
                    usable = false;
                else if (!index.contains(value.toLongLong()))
                    index.insert(value.toLongLong(), i);
            } else if (cell.kind == RowStore::Kind::Integer) {
                if (!index.contains(static_cast<qint64>(cell.bits)))
                    index.insert(static_cast<qint64>(cell.bits), i);
            } else if (cell.kind != RowStore::Kind::Null) {
                usable = false;
            }
        }
        it = valueIndex.insert(
            c, usable ? std::optional<QHash<qint64, int>>(std::move(index)) : std::nullopt);
    }
    if (!it.value())
        return std::nullopt;
    return it.value()->value(equals->number, -1);
}

// --- finds --------------------------------------------------------------------------

bool Recordset::findFirst(const QString& criteria)
{
    d->checkOpen();
    if (const std::optional<int> found = d->indexedFirst(criteria)) {
        // Same answer as the scan: the first row in order whose field equals the number.
        d->noMatch = *found < 0;
        if (*found >= 0)
            d->go(*found);
        return *found >= 0;
    }
    return d->find(criteria, 0, static_cast<int>(d->rows.size()) - 1);
}

bool Recordset::findLast(const QString& criteria)
{
    return d->find(criteria, static_cast<int>(d->rows.size()) - 1, 0);
}

bool Recordset::findNext(const QString& criteria)
{
    const int start = d->atBof() ? 0 : (d->deletedCurrent ? d->pos : d->pos + 1);
    return d->find(criteria, start, static_cast<int>(d->rows.size()) - 1);
}

bool Recordset::findPrevious(const QString& criteria)
{
    const int start = d->atEof() ? static_cast<int>(d->rows.size()) - 1 : d->pos - 1;
    return d->find(criteria, start, 0);
}

bool Recordset::noMatch() const
{
    return d->noMatch;
}

} // namespace varemo
