#pragma once

#include <QString>

namespace varemo::selectors {

// The rows of `level` under the parent code, by name ("SELECT * FROM NivelCategoria0 ORDER
// BY Nome" for the top level, which has no parent).
QString fillQuery(int level, qint32 parentCode);

// The level below a choice in selector `index` (0..3); this text ends in a semicolon.
QString cascadeQuery(int index, qint32 parentCode);

// What filling selector `level` (1..4) says when the name above it is no row.
QString unknownParentMessage(int level);

inline const QString CodeNotFound = QStringLiteral("CodigoProcurado não encontrado");
inline const QString Routine = QStringLiteral("Preenchendo Seletor");

} // namespace varemo::selectors
