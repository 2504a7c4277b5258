#pragma once

#include <QString>
#include <QStringList>

namespace varemo::browse {

// The rows of a level (1..4) joined with all their ancestors, ordered by the ancestors'
// names and then their own; fields are read as "NivelCategoria3.Nome".
QString joinedLevelQuery(int level);
// The same rows in no particular order, and the fields that order them.
QString joinedLevelRows(int level);
QStringList levelNameOrder(int level);
// The find that brings back the row whose code at `level` is `code`.
QString relocationCriteria(int level, qint64 code);

// The parent's name of a row at `level`: the name that groups the rows of the page.
QString groupField(int level);
// What a group move looks for: the first row of another group. The name goes in as it is.
QString moveCriterion(int level, const QString& groupName);

// "1/9", "0/0"... from the data set's ends, its total and the current position.
QString counterText(bool bof, bool eof, int total, int position);
// The record panel while the search hits are browsed: "3 Registros 4/9", "1 Registro 6/9".
QString hitsText(int hits, const QString& counter);

struct Message {
    QString prompt;
    QString title;
};
// What the window says after a search that found `hits` items.
Message foundMessage(int hits);

// Items are browsed on the hierarchy page (0); sectors, groups and accounts on the level page.
int pageOfLevel(int level);
// The level page's caption for levels 1..3; empty for the others.
QString levelPageCaption(int level);
// 1..4 for the view commands "ID_Setor".."ID_Item", else 0.
int viewLevel(const QString& key);

inline const QString HitsCriterion = QStringLiteral("Marca = True");
inline const QString RecordPrefix = QStringLiteral("Registro ");

} // namespace varemo::browse
