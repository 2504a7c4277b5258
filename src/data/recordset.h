#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace varemo {

class Database;

enum class RecordsetType { Table = 1, Dynaset = 2, Snapshot = 4 };
enum class EditMode { None = 0, Edit = 1, Add = 2 };

// Rows in memory in the query's order, with a current record, BOF/EOF, bookmarks,
// finds by Jet criteria text, and add-new/edit/update/delete on one-table sources.
class Recordset {
public:
    using Bookmark = qint64;

    // A recordset that reads no row yet: readMore() reads its rows a slice at a time, so that
    // a big source can be read between other work, and any other use reads what is left at
    // once. `keyField` names an integer column that is never Null, never repeats and rises in
    // the source's own order (a table's integer primary key): each slice goes on after the
    // last key read, so the rows come as one read would give them. Without it a table opened by
    // its name is sliced by its rowid and any other source is read whole by the first readMore().
    static std::unique_ptr<Recordset> openLater(Database& database, const QString& source,
        RecordsetType type = RecordsetType::Dynaset, const QString& keyField = {});
    // Reads up to `count` more rows; true once every row is read.
    bool readMore(int count);
    bool isRead() const;

    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    int recordCount() const;
    bool bof() const;
    bool eof() const;
    void moveFirst();
    void moveLast();
    void moveNext();
    void movePrevious();
    int absolutePosition() const; // -1 at BOF/EOF
    void setAbsolutePosition(int position);
    Bookmark bookmark() const;
    void setBookmark(Bookmark bookmark);
    // The bookmark of the row last added or changed by update().
    Bookmark lastModified() const;

    // Criteria in Jet's text ("Nome = 'Pães' And CodigoCategoria2 = 7"); parsed once.
    bool findFirst(const QString& criteria);
    bool findLast(const QString& criteria);
    bool findNext(const QString& criteria);
    bool findPrevious(const QString& criteria);
    bool noMatch() const;

    // Fields by "Field" or "Table.Field".
    QVariant value(const QString& field) const;
    QVariant operator[](const QString& field) const { return value(field); }
    void setValue(const QString& field, const QVariant& value);
    QStringList fieldNames() const;
    // For readers that walk every row at once (tree, selectors, report feeds): the
    // column of a field name (-1 when there is none) and a cell by row (0 to
    // recordCount() - 1, in order) and column, the current record left where it is.
    int fieldIndex(const QString& field) const;
    QVariant cell(int row, int column) const;
    QList<QVariant> rowValues(int row) const;
    // A copy of every row: the rows are stored far more compactly than this, so only for
    // small recordsets and for checking a whole recordset at once.
    QList<QList<QVariant>> rows() const;
    // Puts the rows in Jet's order of these text fields, as an ORDER BY on them would (Null
    // first; rows equal on all of them keep the query's order), now and after each requery;
    // far quicker than the engine comparing every pair of a big join through the collation.
    // The current record becomes the first.
    void sortByText(const QStringList& fields);
    // Puts `row` (the recordset's columns, read apart: the source narrowed to one key) in
    // place of the row holding the same `keyField` value, or adds it, where a requery in the
    // order of sortByText would put it, and makes it current. False, with nothing changed,
    // when that place is not certain: no such order, a row equal on every ordering field, or
    // the key on more than one row. Far cheaper than a requery when one row changed.
    bool placeRow(const QString& keyField, const QList<QVariant>& row);

    EditMode editMode() const;
    void addNew();
    void edit();
    void update();
    void cancelUpdate();
    void deleteCurrent();

    void requery();
    void close();
    bool isOpen() const;

private:
    friend class Database;
    Recordset(Database& database, const QString& source, RecordsetType type, bool later = false);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace varemo
