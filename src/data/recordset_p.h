#pragma once

#include "data/criteria.h"
#include "data/database_p.h"
#include "data/dialect.h"
#include "data/recordset.h"
#include "data/recordset_rows.h"

#include <QHash>
#include <QMap>

#include <limits>
#include <optional>

namespace varemo {

struct Recordset::Private {
    Database* database = nullptr; // null once the database is gone
    QString source;
    RecordsetType type = RecordsetType::Dynaset;
    dialect::Translation translation;
    QStringList fields;
    QHash<QString, int> byName; // lower-cased "Field" and "Table.Field"
    QStringList writableFields; // the base table's field behind each column, or empty
    bool updatable = false;
    bool open = true;

    RowStore rows;
    QList<qint64> ids; // bookmark of each row: its rowid, or its place when there is none
    std::optional<QHash<qint64, int>> positions;
    int pos = 0;
    bool deletedCurrent = false;

    EditMode mode = EditMode::None;
    QMap<int, QVariant> buffer;
    qint64 lastModified = 0;
    bool noMatch = false;

    QList<int> textOrder; // columns the rows are kept sorted by, see sortByText

    // Rows not read yet (see openLater): the column the slices follow, as the translated
    // statement names it (empty: read whole), and the last key read.
    bool pending = false;
    QString sliceKey;
    qint64 lastKey = std::numeric_limits<qint64>::min();

    // A find's compiled criteria and the columns it reads, in the order its predicate sees them.
    struct Find {
        criteria::Predicate matches;
        QList<int> columns;
    };
    QHash<QString, Find> predicates;
    // "Field = number" answered by value -> first row; nullopt when the column holds
    // something else than whole numbers (those compare by Jet's rules: scan instead).
    QHash<int, std::optional<QHash<qint64, int>>> valueIndex;

    struct Snapshot {
        RowStore rows;
        QList<qint64> ids;
        int pos = 0;
        bool deletedCurrent = false;
    };
    std::optional<Snapshot> snapshot;

    void checkOpen() const;
    void checkUpdatable() const;
    bool atBof() const;
    bool atEof() const;
    int current() const;
    void go(int index);
    int column(const QString& field) const;
    QString writableField(int index) const;
    Row fetch(qint64 rowid);
    void indexAppended(const Row& row, int position);
    const Find& predicate(const QString& text);
    bool find(const QString& text, int from, int to);
    std::optional<int> indexedFirst(const QString& text);

    void describe(const QueryResult& result);
    void load();
    void readSlice(int count);
    void complete();
    void applyTextOrder();
    void changed();
    void takeSnapshot();
    void restoreSnapshot();
    void dropSnapshot() { snapshot.reset(); }
};

} // namespace varemo
