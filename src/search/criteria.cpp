#include "search/criteria.h"

#include <algorithm>
#include <stdexcept>

namespace varemo::search {

namespace {

// The item chain every marker and the item paths read: an item and its four ancestors.
const QString ChainHead = QStringLiteral(
    "SELECT * FROM ((((NivelCategoria4 "
    "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
    "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) ");
const QString SelectAll = QStringLiteral("SELECT * ");

QString markerValue(const QString& op, const QString& content)
{
    // "Not Like" holds "Like" too, so it gets the stars as well.
    return op.contains(QLatin1String("Like")) ? QLatin1Char('*') + content + QLatin1Char('*') : content;
}

QString markerCondition(int level, const QString& op, const QString& content)
{
    return QStringLiteral("NivelCategoria%1.Nome ").arg(level) + op + QStringLiteral(" '")
        + markerValue(op, content) + QLatin1Char('\'');
}

} // namespace

const QStringList& campos()
{
    static const QStringList list {QualquerCampo, QStringLiteral("Categoria"), QStringLiteral("Setor"),
        QStringLiteral("Grupo"), QStringLiteral("Conta"), QStringLiteral("Item")};
    return list;
}

const QStringList& criterios()
{
    static const QStringList list {QStringLiteral("contenha"), QStringLiteral("não contenha"),
        QStringLiteral("seja maior que"), QStringLiteral("seja menor que"), QStringLiteral("seja igual a")};
    return list;
}

const QString& selecao()
{
    static const QString text = QStringLiteral("  Para filtrar registros, deve-se escolher os campos, ")
        + QStringLiteral("os critérios e preencher os conteúdos.")
        + QStringLiteral("  Quando se escolhe mais de um critério, deve-se ")
        + QStringLiteral("também escolher se são critérios alternativos (ou), ")
        + QStringLiteral("ou se são união de critérios (e o).  Para isso basta ")
        + QStringLiteral("clicar sobre o box (ou) ou (e o) e alterna-se o tipo ")
        + QStringLiteral("ligação entre critérios.");
    return text;
}

const QStringList& preparationStatements()
{
    static const QStringList list {
        QStringLiteral("UPDATE NivelCategoria4 SET Marca = False ") + QStringLiteral("WHERE Marca = True;"),
        QStringLiteral("DELETE * FROM Procura;"),
        QStringLiteral("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;"),
    };
    return list;
}

QString itemPaths()
{
    return ChainHead
        + QStringLiteral("ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
                         "NivelCategoria3.Nome, NivelCategoria4.Nome ;");
}

QString operatorFor(const QString& criterio)
{
    static const QStringList operators {QStringLiteral("Like"), QStringLiteral("Not Like"),
        QStringLiteral(">"), QStringLiteral("<"), QStringLiteral("=")};
    const qsizetype index = criterios().indexOf(criterio);
    return index < 0 ? QString() : operators.at(index);
}

QList<int> levelsFor(const QString& campo)
{
    if (campo == QualquerCampo)
        return {4, 3, 2, 1, 0};
    const qsizetype index = campos().indexOf(campo);
    return index < 1 ? QList<int>() : QList<int> {int(index) - 1};
}

QString otherLink(const QString& caption)
{
    return caption == EO ? Ou : EO;
}

QString linkSql(const QString& caption)
{
    return caption == Ou ? QStringLiteral(" OR ") : QStringLiteral(" AND ");
}

QString markerSql(int level, const QString& op, const QString& content)
{
    return ChainHead + QStringLiteral("WHERE ") + markerCondition(level, op, content) + QLatin1Char(';');
}

QString markColumn(int number)
{
    return QStringLiteral("Marca") + QString::number(number);
}

QString procuraCriteria(const QVariant& codigo)
{
    return QStringLiteral("Codigo = ") + codigo.toString();
}

QString combiningSql(const QStringList& links, int count)
{
    QString sql = QStringLiteral("UPDATE Procura SET Marca = TRUE WHERE ") + QStringLiteral("Marca1 = True ");
    for (int k = 2; k <= count; ++k)
        sql += links.at(k - 2) + markColumn(k) + QStringLiteral(" = True");
    return sql;
}

QStringList Criterion::markers() const
{
    QStringList texts;
    for (const int level : levels)
        texts << markerSql(level, op, content);
    return texts;
}

Plan planSearch(const Rows& rows)
{
    Plan plan;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        if (row.conteudo.trimmed().isEmpty())
            continue;
        Criterion criterion;
        criterion.number = int(plan.criteria.size()) + 1;
        criterion.levels = levelsFor(row.campo);
        criterion.op = operatorFor(row.criterio);
        criterion.content = row.conteudo;
        if (criterion.levels.isEmpty() || criterion.op.isEmpty())
            throw std::invalid_argument("criteria row holds a choice the lists never offer");
        // Every filled row below the first gives its link, in order: with the first row left
        // empty, the link beside criterion 1 is the one that joins criterion 2 to it.
        if (i > 0)
            plan.links << linkSql(row.chave);
        plan.criteria << criterion;
    }
    return plan;
}

namespace {

// Whether a row of the level satisfies the criterion by its own name or an ancestor's. The
// ancestors are reached through one list of parent codes, so a row is looked up once however
// many levels the criterion compares, and each name is tested once on its own row rather than
// once for every item below it. A row whose ancestor is missing is in no list, as its Null
// name matched nothing in the markers' chain.
QString rowCondition(const Criterion& criterion, int level)
{
    QStringList conditions;
    if (criterion.levels.contains(level))
        conditions << QLatin1Char('(') + markerCondition(level, criterion.op, criterion.content)
                + QLatin1Char(')');
    if (std::any_of(criterion.levels.cbegin(), criterion.levels.cend(), [level](int l) { return l < level; }))
        conditions << QStringLiteral("(NivelCategoria%1.CodigoCategoria%2 IN (SELECT NivelCategoria%2.Codigo "
                                     "FROM NivelCategoria%2 WHERE ")
                          .arg(level)
                          .arg(level - 1)
                + rowCondition(criterion, level - 1) + QStringLiteral("))");
    return conditions.join(QStringLiteral(" OR "));
}

} // namespace

QString fastMarkingSql(const QList<Criterion>& criteria)
{
    // One pass over the scratch table joined to the items: each scratch row is written once
    // for all the criteria, its item found by its key rather than looked up in a list of
    // every hit per criterion. A mark is only ever set; a condition that is Null keeps it.
    QStringList assignments;
    for (const Criterion& criterion : criteria) {
        const QString column = QStringLiteral("Procura.") + markColumn(criterion.number);
        assignments << column + QStringLiteral(" = IIf(") + rowCondition(criterion, 4)
                + QStringLiteral(", True, ") + column + QLatin1Char(')');
    }
    return QStringLiteral("UPDATE Procura, NivelCategoria4 SET ") + assignments.join(QStringLiteral(", "))
        + QStringLiteral(" WHERE Procura.Codigo = NivelCategoria4.Codigo;");
}

} // namespace varemo::search
