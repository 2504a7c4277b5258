#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QVariant>

#include <memory>
#include <vector>

namespace varemo {

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
    int columns() const { return m_columns; }
    qsizetype size() const { return static_cast<qsizetype>(m_order.size()); }
    bool isEmpty() const { return m_order.empty(); }

    Cell cell(qsizetype row, int column) const;
    QVariant at(qsizetype row, int column) const { return value(cell(row, column)); }
    QList<QVariant> row(qsizetype row) const;
    QVariant value(const Cell& cell) const;
    // The pooled text of a text cell, read in place.
    const QString& text(const Cell& cell) const
    {
        return m_pool->texts.at(static_cast<qsizetype>(cell.bits));
    }
    qsizetype textCount() const { return m_pool->texts.size(); }

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
        QHash<QString, quint32> known;
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

    Cell encode(int column, const QVariant& value);
    quint32 intern(int column, const QString& text);
    quint32 newSlot();
    void write(quint32 slot, const QList<QVariant>& row);
    Block& writable(qsizetype block);

    int m_columns = 0;
    std::shared_ptr<Pool> m_pool = std::make_shared<Pool>();
    std::vector<std::shared_ptr<Block>> m_blocks;
    quint32 m_slots = 0;
    std::vector<quint32> m_order; // the slot of each row, in the rows' order
};

} // namespace varemo
