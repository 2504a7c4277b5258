#pragma once

#include <QHash>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

namespace varemo::dialect {

// The company file's tables and their fields in order, keyed by the table's name
// folded to lower case (Jet names are case-insensitive).
using Catalog = QHash<QString, QStringList>;

struct Translation {
    QString sql;
    // For a SELECT: the name of each result column as the program addresses it
    // ("Nome", or "NivelCategoria3.Nome" over a join). Empty for action statements.
    QStringList columns;
    // For a SELECT over one table: that table (its rows can be written back).
    QString baseTable;
};

// A Jet statement text translated to SQLite. Throws JetError with Jet's number for a
// text Jet itself would refuse (3075/3077 for a quote that breaks the text...).
Translation translate(const QString& jetText, const Catalog& catalog);

// Registers on a connection the collation and functions the translations use, so that
// text compares and sorts as in Jet for Portuguese whatever the columns were declared with.
void install(const QSqlDatabase& connection);

// The key text is compared and ordered by: case folded for every letter (accented ones
// too), accents kept, with an accented letter sorting beside its base letter.
QString foldKey(const QString& text);

} // namespace varemo::dialect
