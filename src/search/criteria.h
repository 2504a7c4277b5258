#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <array>

// The search's choices, texts and statements, and the numbering of its criteria rows.
// Pure rules: no window and no database.
namespace varemo::search {

inline const QString Caption = QStringLiteral("Critérios do Filtro de Procura - Plano de Contas");
// The error log's routine name for every failure of the search window.
inline const QString Rotina = QStringLiteral("Procura");

inline const QString QualquerCampo = QStringLiteral("Qualquer campo");
// The `Campo` choices in the order the lists offer them.
const QStringList& campos();
// The `Criterio` choices in the order the lists offer them.
const QStringList& criterios();

inline const QString EO = QStringLiteral("e o");
inline const QString Ou = QStringLiteral("ou");

// The guidance the label `Selecao` shows.
const QString& selecao();

// Preparation: clear the hits, refill the scratch table, then open it and the item paths.
const QStringList& preparationStatements();
inline const QString AbreProcura = QStringLiteral("SELECT * FROM Procura;");
QString itemPaths();

inline const QString MarcaItens
    = QStringLiteral("UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE "
                     "WHERE (Procura.Marca = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;");
inline const QString ContaItens
    = QStringLiteral("SELECT COUNT(*) AS Items FROM NivelCategoria4 WHERE Marca = True");
inline const QString CampoContagem = QStringLiteral("Items");

// The SQL operator of a `Criterio` choice; empty for a text that is not one.
QString operatorFor(const QString& criterio);
// The levels whose names a `Campo` choice compares, in the order their markers run;
// empty for a text that is not a choice.
QList<int> levelsFor(const QString& campo);
// A click on `Chave` turns one link into the other.
QString otherLink(const QString& caption);
// " AND " for "e o", " OR " for "ou".
QString linkSql(const QString& caption);

// The one level marker's SELECT: the item chain without ordering, one WHERE on the level's name.
QString markerSql(int level, const QString& op, const QString& content);
// "Marca1" .. "Marca5".
QString markColumn(int number);
// The find on the scratch table's recordset for one item.
QString procuraCriteria(const QVariant& codigo);
// "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True " and the further criteria by their links.
QString combiningSql(const QStringList& links, int count);

// One criteria row as the window holds it.
struct Row {
    QString campo;
    QString criterio;
    QString conteudo;
    QString chave; // empty on the first row
};
using Rows = std::array<Row, 5>;

// A filled row, numbered among the filled rows 1, 2, 3 ... without gaps.
struct Criterion {
    int number = 0;
    QList<int> levels;
    QString op;
    QString content;

    QStringList markers() const;
    // Its content cannot end the quotes early, so its markers may be rewritten as one statement.
    bool plain() const { return !content.contains(QLatin1Char('\'')); }
};

struct Plan {
    QList<Criterion> criteria;
    QStringList links; // " AND " / " OR ", one per criterion after the first
    QString combiningSql() const { return search::combiningSql(links, int(criteria.size())); }
};

// A row counts when its content, trimmed, is not empty; an empty row gives neither a
// number nor a link. Throws std::invalid_argument for a field or operator that is not a choice.
Plan planSearch(const Rows& rows);

// One statement setting each plain criterion's column on every item any of its markers
// finds: the markers' conditions over the same chain, so a condition that is Null marks
// nothing.
QString fastMarkingSql(const QList<Criterion>& criteria);

} // namespace varemo::search
