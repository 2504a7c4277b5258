#pragma once

#include <QHashFunctions>
#include <QList>
#include <QString>
#include <QVariant>

#include <memory>
#include <unordered_map>
#include <vector>

namespace varemo {

// Pooled texts looked up by a view of the engine's buffer: a text is copied only when new.
struct TextViewHash {
    using is_transparent = void;
    std::size_t operator()(QStringView text) const noexcept { return qHash(text); }
};
struct TextViewEqual {
    using is_transparent = void;
    bool operator()(QStringView a, QStringView b) const noexcept { return a == b; }
};

// A recordset's rows kept compactly: every cell is a kind byte and eight bytes (a number, a
// date's day, or the place of a text in a pool the rows share), where one QVariant per cell
// took four times as much. A join repeats its ancestors' names on every row: each distinct
// name is pooled once. The rows sit in fixed blocks reached through an order of positions,
// so sorting, inserting and removing move positions only; copies share the blocks and a
// write copies only the block it touches (a transaction keeps the rows as they were).
class RowStore {
public:
    enum class Kind : quint8 { Null, Integer, Real, Boolean, Text, Date, Other };
    struct Cell {
        Kind kind = Kind::Null;
        quint64 bits = 0;
    };

    // Empty, with this many columns and a pool of its own.
    void reset(int columns);
    void clear() { reset(m_columns); }
    // The width of a store that has no rows yet; a store holding rows must have it already.
    void setColumns(int columns);
    int columns() const { return m_columns; }
    qsizetype size() const { return static_cast<qsizetype>(m_order.size()); }
    bool isEmpty() const { return m_order.empty(); }

    Cell cell(qsizetype row, int column) const
    {
        const quint32 slot = m_order[static_cast<std::size_t>(row)];
        const Block& block = *m_blocks[slot / BlockRows];
        const std::size_t at
            = static_cast<std::size_t>(slot % BlockRows) * static_cast<std::size_t>(m_columns)
            + static_cast<std::size_t>(column);
        return {block.kinds[at], block.bits[at]};
    }
    QVariant at(qsizetype row, int column) const { return value(cell(row, column)); }
    QList<QVariant> row(qsizetype row) const;
    QVariant value(const Cell& cell) const;
    // The pooled text of a text cell, read in place.
    const QString& text(const Cell& cell) const
    {
        return m_pool->texts.at(static_cast<qsizetype>(cell.bits));
    }
    qsizetype textCount() const { return m_pool->texts.size(); }

    // An engine fills a row straight from its own values, without a QVariant per cell: a new
    // row at the end, then each of its cells.
    void beginRow();
    void put(int column, Cell cell)
    {
        m_fillKinds[column] = cell.kind;
        m_fillBits[column] = cell.bits;
    }
    Cell textCell(int column, QStringView text) { return {Kind::Text, intern(column, text, nullptr)}; }
    Cell encode(int column, const QVariant& value);
    // Drops the rows from this place on (a read that failed half-way).
    void truncate(qsizetype size) { m_order.resize(static_cast<std::size_t>(size)); }

    void append(const QList<QVariant>& row);
    void insert(qsizetype at, const QList<QVariant>& row);
    void replace(qsizetype at, const QList<QVariant>& row);
    void remove(qsizetype at);
    // Position i takes the row that stood at order[i].
    void permute(const std::vector<int>& order);

private:
    static constexpr qsizetype BlockRows = 512;
    struct Block {
        std::vector<Kind> kinds;
        std::vector<quint64> bits;
    };
    // Per column while rows are read: texts seen, unless the column turns out to hold mostly
    // different texts (an item's own name), which are then no longer looked up.
    struct Interning {
        std::unordered_map<QString, quint32, TextViewHash, TextViewEqual> known;
        quint32 last = 0;
        bool hasLast = false;
        bool pooling = true;
        qsizetype seen = 0;
    };
    // Only grows, so a copy that shares it keeps finding its own texts.
    struct Pool {
        QList<QString> texts;
        QList<QVariant> others;
        std::vector<Interning> interning;
    };

    // `whole`, when given, is `text` as a string already: the pool shares it.
    quint32 intern(int column, QStringView text, const QString* whole);
    quint32 newSlot();
    void write(quint32 slot, const QList<QVariant>& row);
    Block& writable(qsizetype block);

    int m_columns = 0;
    std::shared_ptr<Pool> m_pool = std::make_shared<Pool>();
    std::vector<std::shared_ptr<Block>> m_blocks;
    quint32 m_slots = 0;
    std::vector<quint32> m_order; // the slot of each row, in the rows' order
    Kind* m_fillKinds = nullptr; // the row beginRow made
    quint64* m_fillBits = nullptr;
};

} // namespace varemo
