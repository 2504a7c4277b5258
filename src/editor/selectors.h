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

// Jet's boolean literal.
QString booleanText(bool value);
// The product lines of goods or of raw materials, by name.
QString linesQuery(bool insumo);
// The products of one line, by name.
QString productsQuery(qint64 lineCode);

// The sector and the two groups whose accounts are product lines.
inline const QString PurchaseSector = QStringLiteral("Despesas Fornecedores");
inline const QString GoodsGroup = QStringLiteral("Fornecedores Produtos");
inline const QString SupplyGroup = QStringLiteral("Fornecedores Insumos");

inline const QString CodeNotFound = QStringLiteral("CodigoProcurado não encontrado");
inline const QString Routine = QStringLiteral("Preenchendo Seletor");

} // namespace varemo::selectors
