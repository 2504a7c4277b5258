#include "data/recordset_rows.h"

#include "data/errors.h"

#include <QDate>

#include <bit>

namespace varemo {

namespace {

// Interning stops for a column once, after this many texts, more than half were new.
constexpr qsizetype MinimumSample = 1024;

} // namespace

void RowStore::reset(int columns)
{
    m_columns = columns;
    m_pool = std::make_shared<Pool>();
    m_pool->interning.resize(static_cast<std::size_t>(columns));
    m_blocks.clear();
    m_slots = 0;
    m_order.clear();
}

void RowStore::setColumns(int columns)
{
    if (columns == m_columns)
        return;
    if (!isEmpty())
        throw StorageBug("rows of another width than the recordset's");
    reset(columns);
}

QVariant RowStore::value(const Cell& cell) const
{
    switch (cell.kind) {
    case Kind::Null:
        return {};
    case Kind::Integer:
        return QVariant(static_cast<qlonglong>(cell.bits));
    case Kind::Real:
        return QVariant(std::bit_cast<double>(cell.bits));
    case Kind::Boolean:
        return QVariant(cell.bits != 0);
    case Kind::Text:
        return QVariant(text(cell));
    case Kind::Date:
        return QVariant(QDate::fromJulianDay(static_cast<qint64>(cell.bits)));
    case Kind::Other:
        break;
    }
    return m_pool->others.at(static_cast<qsizetype>(cell.bits));
}

QList<QVariant> RowStore::row(qsizetype row) const
{
    QList<QVariant> values;
    values.reserve(m_columns);
    for (int c = 0; c < m_columns; ++c)
        values.append(at(row, c));
    return values;
}

// Only the plain kinds the engines hand over are packed; anything else (a null of some
// type, a blob, a time of day) is kept as it came, so it reads back exactly the same.
RowStore::Cell RowStore::encode(int column, const QVariant& value)
{
    if (!value.isValid())
        return {};
    if (!value.isNull()) {
        switch (value.typeId()) {
        case QMetaType::LongLong:
            return {Kind::Integer, static_cast<quint64>(value.toLongLong())};
        case QMetaType::Double:
            return {Kind::Real, std::bit_cast<quint64>(value.toDouble())};
        case QMetaType::Bool:
            return {Kind::Boolean, value.toBool() ? 1U : 0U};
        case QMetaType::QString: {
            const auto* text = static_cast<const QString*>(value.constData());
            return {Kind::Text, intern(column, *text, text)};
        }
        case QMetaType::QDate:
            if (const QDate date = value.toDate(); date.isValid())
                return {Kind::Date, static_cast<quint64>(date.toJulianDay())};
            break;
        default:
            break;
        }
    }
    m_pool->others.append(value);
    return {Kind::Other, static_cast<quint64>(m_pool->others.size() - 1)};
}

quint32 RowStore::intern(int column, QStringView text, const QString* whole)
{
    Pool& pool = *m_pool;
    Interning& in = pool.interning[static_cast<std::size_t>(column)];
    // Rows under one parent come together: the text of the row before needs no look-up.
    if (in.hasLast && QStringView(pool.texts.at(in.last)) == text)
        return in.last;
    quint32 index = static_cast<quint32>(pool.texts.size());
    bool known = false;
    if (in.pooling) {
        ++in.seen;
        const auto found = in.known.find(text);
        if (found != in.known.end()) {
            index = found->second;
            known = true;
        }
    }
    if (!known) {
        pool.texts.append(whole ? *whole : text.toString());
        if (in.pooling)
            in.known.emplace(pool.texts.last(), index);
    }
    if (in.pooling && in.seen >= MinimumSample && static_cast<qsizetype>(in.known.size()) * 2 > in.seen) {
        in.pooling = false;
        in.known = {};
    }
    in.last = index;
    in.hasLast = true;
    return index;
}

RowStore::Block& RowStore::writable(qsizetype block)
{
    std::shared_ptr<Block>& shared = m_blocks[static_cast<std::size_t>(block)];
    if (shared.use_count() > 1)
        shared = std::make_shared<Block>(*shared);
    return *shared;
}

quint32 RowStore::newSlot()
{
    if (m_slots % BlockRows == 0)
        m_blocks.push_back(std::make_shared<Block>());
    Block& block = writable(static_cast<qsizetype>(m_blocks.size()) - 1);
    block.kinds.resize(block.kinds.size() + static_cast<std::size_t>(m_columns));
    block.bits.resize(block.bits.size() + static_cast<std::size_t>(m_columns));
    return m_slots++;
}

void RowStore::write(quint32 slot, const QList<QVariant>& row)
{
    if (row.size() != m_columns)
        throw StorageBug("a row of another width than the recordset's");
    Block& block = writable(slot / BlockRows);
    const std::size_t first
        = static_cast<std::size_t>(slot % BlockRows) * static_cast<std::size_t>(m_columns);
    for (int c = 0; c < m_columns; ++c) {
        const Cell cell = encode(c, row.at(c));
        block.kinds[first + static_cast<std::size_t>(c)] = cell.kind;
        block.bits[first + static_cast<std::size_t>(c)] = cell.bits;
    }
}

void RowStore::beginRow()
{
    const quint32 slot = newSlot();
    Block& block = *m_blocks.back();
    const std::size_t first
        = static_cast<std::size_t>(slot % BlockRows) * static_cast<std::size_t>(m_columns);
    m_fillKinds = block.kinds.data() + first;
    m_fillBits = block.bits.data() + first;
    m_order.push_back(slot);
}

void RowStore::append(const QList<QVariant>& row)
{
    insert(size(), row);
}

void RowStore::insert(qsizetype at, const QList<QVariant>& row)
{
    const quint32 slot = newSlot();
    write(slot, row);
    m_order.insert(m_order.begin() + at, slot);
}

// The row is written over in place: a removed row's slot is simply left unused.
void RowStore::replace(qsizetype at, const QList<QVariant>& row)
{
    write(m_order[static_cast<std::size_t>(at)], row);
}

void RowStore::remove(qsizetype at)
{
    m_order.erase(m_order.begin() + at);
}

void RowStore::permute(const std::vector<int>& order)
{
    std::vector<quint32> next(order.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        next[i] = m_order[static_cast<std::size_t>(order[i])];
    m_order = std::move(next);
}

} // namespace varemo
