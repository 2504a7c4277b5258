// Rows put in Jet's order of some text fields in memory: each distinct text folded once and
// ranked, rows compared by their ranks, instead of the engine calling the collation for every
// pair of texts it compares.
#include "data/recordset.h"
#include "data/recordset_p.h"

#include <QHash>

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

namespace varemo {

namespace {

// Each row's place among the column's distinct texts in Jet's order: 0 for Null, then 1, 2...
// with equal ranks for texts Jet holds equal. A join repeats its ancestors' names on every
// row: each pooled name is folded and sorted once, whatever number of rows show it.
std::vector<int> ranksOf(const RowStore& rows, int column)
{
    std::vector<int> ranks(static_cast<std::size_t>(rows.size()), 0);
    std::vector<int> entryOfText(static_cast<std::size_t>(rows.textCount()), 0);
    QStringList texts; // the distinct entries' texts, entry n at n - 1
    QHash<QString, int> others; // cells of other kinds, by their text
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const RowStore::Cell cell = rows.cell(i, column);
        if (cell.kind == RowStore::Kind::Null)
            continue;
        int& entry = ranks[static_cast<std::size_t>(i)];
        if (cell.kind == RowStore::Kind::Text) {
            int& known = entryOfText[static_cast<std::size_t>(cell.bits)];
            if (known == 0) {
                texts.append(rows.text(cell));
                known = static_cast<int>(texts.size());
            }
            entry = known;
            continue;
        }
        const QString text = rows.value(cell).toString();
        auto found = others.constFind(text);
        if (found == others.cend()) {
            texts.append(text);
            found = others.insert(text, static_cast<int>(texts.size()));
        }
        entry = found.value();
    }
    std::vector<std::pair<QString, int>> keys;
    keys.reserve(static_cast<std::size_t>(texts.size()));
    for (qsizetype k = 0; k < texts.size(); ++k)
        keys.emplace_back(dialect::foldKey(texts.at(k)), static_cast<int>(k) + 1);
    std::sort(keys.begin(), keys.end());
    std::vector<int> rankOfEntry(keys.size() + 1, 0);
    int rank = 0;
    for (std::size_t k = 0; k < keys.size(); ++k) {
        if (k == 0 || keys[k].first != keys[k - 1].first)
            ++rank;
        rankOfEntry[static_cast<std::size_t>(keys[k].second)] = rank;
    }
    for (int& entry : ranks)
        entry = rankOfEntry[static_cast<std::size_t>(entry)];
    return ranks;
}

// A cell's text as the ranks compare it: Null before every text.
std::optional<QString> foldedCell(const QVariant& value)
{
    if (!value.isValid())
        return std::nullopt;
    return dialect::foldKey(value.toString());
}

int compareFolded(const std::optional<QString>& a, const std::optional<QString>& b)
{
    if (!a || !b)
        return (a ? 1 : 0) - (b ? 1 : 0);
    return a->compare(*b);
}

} // namespace

void Recordset::Private::applyTextOrder()
{
    if (textOrder.isEmpty() || rows.size() < 2)
        return;
    std::vector<std::vector<int>> ranks;
    for (const int column : std::as_const(textOrder))
        ranks.push_back(ranksOf(rows, column));
    std::vector<int> order(static_cast<std::size_t>(rows.size()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&ranks](int a, int b) {
        for (const std::vector<int>& rank : ranks) {
            const int x = rank[static_cast<std::size_t>(a)];
            const int y = rank[static_cast<std::size_t>(b)];
            if (x != y)
                return x < y;
        }
        return false;
    });
    QList<qint64> sortedIds;
    sortedIds.reserve(ids.size());
    for (const int index : order)
        sortedIds.append(ids.at(index));
    rows.permute(order);
    ids = std::move(sortedIds);
}

void Recordset::sortByText(const QStringList& fields)
{
    // Rows left for later are put in order once they are all in.
    const bool pending = std::exchange(d->pending, false);
    d->checkOpen();
    d->pending = pending;
    d->textOrder.clear();
    for (const QString& field : fields)
        d->textOrder << d->column(field);
    if (pending)
        return;
    d->applyTextOrder();
    d->changed();
    d->go(0);
}

bool Recordset::placeRow(const QString& keyField, const QList<QVariant>& row)
{
    d->checkOpen();
    const int key = d->column(keyField);
    if (d->textOrder.isEmpty() || row.size() != d->fields.size() || !row.at(key).isValid())
        return false;
    // Codes are whole numbers: those are compared without unpacking every cell.
    const QVariant& wantedKey = row.at(key);
    const bool wholeKey = wantedKey.typeId() == QMetaType::LongLong;
    const auto sameKey = [this, key, wholeKey, &wantedKey](qsizetype i) {
        const RowStore::Cell cell = d->rows.cell(i, key);
        if (wholeKey && cell.kind == RowStore::Kind::Integer)
            return static_cast<qint64>(cell.bits) == wantedKey.toLongLong();
        return d->rows.value(cell) == wantedKey;
    };
    qsizetype old = -1;
    for (qsizetype i = 0; i < d->rows.size(); ++i) {
        if (sameKey(i)) {
            if (old >= 0)
                return false;
            old = i;
        }
    }
    std::vector<std::optional<QString>> wanted;
    for (const int column : std::as_const(d->textOrder))
        wanted.push_back(foldedCell(row.at(column)));
    // The rows as they stay around the placed one: the old copy is left out.
    const qsizetype count = d->rows.size() - (old >= 0 ? 1 : 0);
    const auto compareAt = [this, old, &wanted](qsizetype place) {
        const qsizetype other = old >= 0 && place >= old ? place + 1 : place;
        for (qsizetype k = 0; k < d->textOrder.size(); ++k) {
            const int order = compareFolded(
                foldedCell(d->rows.at(other, d->textOrder.at(k))), wanted[static_cast<std::size_t>(k)]);
            if (order != 0)
                return order;
        }
        return 0;
    };
    qsizetype low = 0;
    qsizetype high = count;
    while (low < high) {
        const qsizetype middle = low + (high - low) / 2;
        if (compareAt(middle) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    // Rows equal on every field keep the engine's own order, which only a requery knows.
    if (low < count && compareAt(low) == 0)
        return false;
    qint64 id = 0;
    if (old >= 0) {
        id = d->ids.at(old);
        d->rows.remove(old);
        d->ids.removeAt(old);
    } else if (!d->translation.rowidColumn.isEmpty()) {
        return false; // a table's new row is known by its rowid, not read here
    } else {
        for (const qint64 other : std::as_const(d->ids))
            id = qMax(id, other);
        ++id;
    }
    d->rows.insert(low, row);
    d->ids.insert(low, id);
    d->changed();
    d->go(static_cast<int>(low));
    return true;
}

} // namespace varemo
