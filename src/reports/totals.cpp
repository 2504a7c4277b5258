#include "reports/totals.h"

#include "data/database.h"
#include "data/dialect.h"
#include "data/recordset.h"
#include "editor/browse.h"

#include <QHash>
#include <QList>
#include <QSet>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace varemo::totals {

namespace {

struct Tables {
    QString lines; // VendaProdutos, CompraProdutos
    QString documents; // Venda, Compra
    QString productSetor;
    QString productGrupos[2];
    // Only concluded sales count; a purchase always does.
    QString documentTest;
};

const Tables& tablesOf(Movement movement)
{
    static const Tables sales {QStringLiteral("VendaProdutos"), QStringLiteral("Venda"),
        QStringLiteral("Receitas Clientes"),
        {QStringLiteral("Vendas Produtos"), QStringLiteral("Vendas Insumos")},
        QStringLiteral("Venda = True")};
    static const Tables purchases {QStringLiteral("CompraProdutos"), QStringLiteral("Compra"),
        QStringLiteral("Despesas Fornecedores"),
        {QStringLiteral("Fornecedores Produtos"), QStringLiteral("Fornecedores Insumos")}, {}};
    return movement == Movement::Sales ? sales : purchases;
}

QString booleanLiteral(bool flag)
{
    return flag ? QStringLiteral("True") : QStringLiteral("False");
}

double number(const QVariant& value)
{
    return value.isNull() ? 0.0 : value.toDouble();
}

// What a SUM query is made of: the counted thing's code, its sector or line, the kind.
struct Key {
    qint64 code = 0;
    qint64 setor = 0;
    bool product = false;
    friend bool operator==(const Key&, const Key&) = default;
};

size_t qHash(const Key& key, size_t seed = 0)
{
    return qHashMulti(seed, key.code, key.setor, key.product);
}

Totals literalTotal(Movement movement, Database& database, QString& sql, const ItemPath& path, QDate start,
    QDate end, Recordset* lines, int level)
{
    sql = ancestorJoinQuery(level, sql);
    auto join = database.openRecordset(sql, RecordsetType::Snapshot);
    sql.clear();
    std::unique_ptr<Recordset> ownLines;
    if (isProductBranch(movement, path)) {
        if (lines == nullptr) {
            ownLines = database.openRecordset(linesAndProductsQuery(), RecordsetType::Snapshot);
            lines = ownLines.get();
        }
        if (lines->findFirst(productCriteria(path))) {
            sql = sumQuery(movement, start, end, lines->value(QStringLiteral("CodigoProduto")).toLongLong(),
                lines->value(QStringLiteral("Linhas.CodigoLinha")).toLongLong(), true);
        }
    } else if (join->findFirst(accountCriteria(path))) {
        sql = sumQuery(movement, start, end,
            join->value(QStringLiteral("NivelCategoria4.Codigo")).toLongLong(),
            join->value(QStringLiteral("NivelCategoria1.Codigo")).toLongLong(), false);
    }
    Totals result;
    if (!sql.isEmpty()) {
        auto sums = database.openRecordset(sql, RecordsetType::Snapshot);
        result.money = number(sums->value(QStringLiteral("Somatoria")));
        result.quantity = number(sums->value(QStringLiteral("Qtde")));
        sums->close();
    }
    join->close();
    return result;
}

// Names as a find compares them; null when the row has no such ancestor (never matches).
std::optional<QString> nameKey(const QList<QVariant>& row, const std::vector<int>& columns)
{
    QString key;
    for (int column : columns) {
        const QVariant& name = row.at(column);
        if (name.isNull())
            return std::nullopt;
        key += dialect::foldKey(name.toString()) + QChar(0x1f);
    }
    return key;
}

QString pathKey(const ItemPath& path, bool product)
{
    QStringList names {path.item, path.conta};
    if (!product)
        names << path.grupo << path.setor;
    QString key;
    for (const QString& name : names)
        key += dialect::foldKey(name) + QChar(0x1f);
    return key;
}

// Every row's names mapped to the first row that carries them, as findFirst would stop.
QHash<QString, Key> firstRows(const Recordset* rows, const QStringList& fields, const QString& codeField,
    const QString& setorField, bool product)
{
    QHash<QString, Key> found;
    std::vector<int> at;
    for (const QString& field : fields)
        at.push_back(rows->fieldIndex(field));
    const int code = rows->fieldIndex(codeField);
    const int setor = rows->fieldIndex(setorField);
    for (int i = 0, count = rows->recordCount(); i < count; ++i) {
        const QList<QVariant> row = rows->rowValues(i);
        const auto key = nameKey(row, at);
        if (key && !found.contains(*key))
            found.insert(*key, Key {row.at(code).toLongLong(), row.at(setor).toLongLong(), product});
    }
    return found;
}

// "<column> IN (codes)", or empty when the list is so long that the statement would pass the
// engine's limit on its length: then every row is read and the unwanted ones are skipped.
QString inCodes(const QString& column, QList<qint64> codes)
{
    constexpr qsizetype MaxListed = 20000;
    if (codes.size() > MaxListed)
        return {};
    std::sort(codes.begin(), codes.end());
    QStringList list;
    list.reserve(codes.size());
    for (const qint64 code : codes)
        list << QString::number(code);
    return column + QStringLiteral(" IN (") + list.join(QStringLiteral(", ")) + QLatin1Char(')');
}

// Names folded once per parent row; a row without a name or whose parent row is missing
// keeps no entry, as the join leaves its names Null.
struct Parent {
    QString key; // the folded names from this row up, each followed by the separator
    qint64 setor = 0; // for an account: its sector's code
};

// What the wanted items resolve to, read without the ancestor join's ordering: ordering
// every path by name costs more than all the period's sums. Only the rows under parents on
// a wanted path are read. When some wanted names lead to two different rows, which one
// counts depends on that order, and the ordered rows are read as the one-item routine does.
struct Resolution {
    QSet<QString> wantedParents;
    QSet<QString> wanted;
    QHash<QString, Key> found;
    bool ambiguous = false;

    void add(const QString& name, const QString& parentKey, qint64 code, qint64 setor, bool product)
    {
        const QString key = dialect::foldKey(name) + QChar(0x1f) + parentKey;
        if (!wanted.contains(key))
            return;
        const Key candidate {code, setor, product};
        const auto existing = found.constFind(key);
        if (existing == found.cend())
            found.insert(key, candidate);
        else if (!(*existing == candidate))
            ambiguous = true;
    }
};

QHash<qint64, Parent> wantedParentRows(Database& database, const QString& sql,
    const std::function<std::optional<Parent>(const QList<QVariant>&)>& parentOf, const QSet<QString>& wanted)
{
    QHash<qint64, Parent> parents;
    const auto rows = database.openRecordset(sql, RecordsetType::Snapshot);
    for (int i = 0, count = rows->recordCount(); i < count; ++i) {
        const QList<QVariant> row = rows->rowValues(i);
        if (row.at(0).isNull())
            continue;
        auto parent = parentOf(row);
        if (parent && wanted.contains(parent->key))
            parents.insert(row.at(0).toLongLong(), *parent);
    }
    return parents;
}

QHash<QString, Key> resolveAccounts(Database& database, Resolution wanting)
{
    if (wanting.wanted.isEmpty())
        return {};
    // Sectors and groups are few: all of them, each with the folded names above it.
    const auto levelRows = [&database](int level) {
        QHash<qint64, std::pair<QVariant, QVariant>> rows;
        const auto table = database.openRecordset(
            QStringLiteral("SELECT Codigo, Nome, CodigoCategoria%1 FROM NivelCategoria%2;")
                .arg(level - 1)
                .arg(level),
            RecordsetType::Snapshot);
        for (int i = 0, count = table->recordCount(); i < count; ++i) {
            const QList<QVariant> row = table->rowValues(i);
            if (!row.at(0).isNull())
                rows.insert(row.at(0).toLongLong(), {row.at(1), row.at(2)});
        }
        return rows;
    };
    const auto setores = levelRows(1);
    const auto grupos = levelRows(2);
    const auto contas = wantedParentRows(
        database, QStringLiteral("SELECT Codigo, Nome, CodigoCategoria2 FROM NivelCategoria3;"),
        [&](const QList<QVariant>& row) -> std::optional<Parent> {
            const auto grupo = grupos.constFind(row.at(2).toLongLong());
            if (row.at(1).isNull() || row.at(2).isNull() || grupo == grupos.cend() || grupo->first.isNull()
                || grupo->second.isNull())
                return std::nullopt;
            const auto setor = setores.constFind(grupo->second.toLongLong());
            if (setor == setores.cend() || setor->first.isNull())
                return std::nullopt;
            const QChar separator(0x1f);
            return Parent {dialect::foldKey(row.at(1).toString()) + separator
                    + dialect::foldKey(grupo->first.toString()) + separator
                    + dialect::foldKey(setor->first.toString()) + separator,
                setor.key()};
        },
        wanting.wantedParents);
    if (contas.isEmpty())
        return {};
    const QString filter = inCodes(QStringLiteral("CodigoCategoria3"), contas.keys());
    const auto items
        = database.openRecordset(QStringLiteral("SELECT Codigo, Nome, CodigoCategoria3 FROM NivelCategoria4")
                + (filter.isEmpty() ? QString() : QStringLiteral(" WHERE ") + filter) + QLatin1Char(';'),
            RecordsetType::Snapshot);
    for (int i = 0, count = items->recordCount(); i < count; ++i) {
        const QList<QVariant> row = items->rowValues(i);
        const auto conta = contas.constFind(row.at(2).toLongLong());
        if (conta != contas.cend() && !row.at(2).isNull() && !row.at(1).isNull())
            wanting.add(row.at(1).toString(), conta->key, row.at(0).toLongLong(), conta->setor, false);
    }
    if (!wanting.ambiguous)
        return wanting.found;
    const auto join = database.openRecordset(ancestorJoinQuery(4, {}), RecordsetType::Snapshot);
    return firstRows(join.get(),
        {QStringLiteral("NivelCategoria4.Nome"), QStringLiteral("NivelCategoria3.Nome"),
            QStringLiteral("NivelCategoria2.Nome"), QStringLiteral("NivelCategoria1.Nome")},
        QStringLiteral("NivelCategoria4.Codigo"), QStringLiteral("NivelCategoria1.Codigo"), false);
}

QHash<QString, Key> resolveProducts(Database& database, Resolution wanting, const Recordset* lines)
{
    if (wanting.wanted.isEmpty())
        return {};
    const QStringList fields {QStringLiteral("NomeProduto"), QStringLiteral("NomeLinha")};
    const QString code = QStringLiteral("CodigoProduto");
    const QString line = QStringLiteral("Linhas.CodigoLinha");
    if (lines) // the main window's rows, already in order
        return firstRows(lines, fields, code, line, true);
    const auto linhas = wantedParentRows(
        database, QStringLiteral("SELECT CodigoLinha, NomeLinha FROM Linhas;"),
        [](const QList<QVariant>& row) -> std::optional<Parent> {
            if (row.at(1).isNull())
                return std::nullopt;
            return Parent {dialect::foldKey(row.at(1).toString()) + QChar(0x1f), 0};
        },
        wanting.wantedParents);
    if (linhas.isEmpty())
        return {};
    const QString filter = inCodes(QStringLiteral("CodigoLinha"), linhas.keys());
    const auto products = database.openRecordset(
        QStringLiteral("SELECT CodigoProduto, NomeProduto, CodigoLinha FROM Produtos")
            + (filter.isEmpty() ? QString() : QStringLiteral(" WHERE ") + filter) + QLatin1Char(';'),
        RecordsetType::Snapshot);
    for (int i = 0, count = products->recordCount(); i < count; ++i) {
        const QList<QVariant> row = products->rowValues(i);
        const auto linha = linhas.constFind(row.at(2).toLongLong());
        if (linha != linhas.cend() && !row.at(2).isNull() && !row.at(0).isNull() && !row.at(1).isNull())
            wanting.add(
                row.at(1).toString(), linha->key, row.at(0).toLongLong(), row.at(2).toLongLong(), true);
    }
    if (!wanting.ambiguous)
        return wanting.found;
    const auto ordered = database.openRecordset(linesAndProductsQuery(), RecordsetType::Snapshot);
    return firstRows(ordered.get(), fields, code, line, true);
}

// Only the lines of the wanted codes are grouped and read back.
QString groupedSumQuery(Movement movement, QDate start, QDate end, const QList<qint64>& codes)
{
    const Tables& t = tablesOf(movement);
    const QString key = QStringLiteral("%1.CodigoProduto, %1.CodigoSetor, %1.Produto").arg(t.lines);
    // The kind is read back through the same tests the one-item statement makes, so a
    // line whose flag is neither of the two literals is counted by neither way.
    const QString kinds = QStringLiteral(", %1.Produto = True, %1.Produto = False").arg(t.lines);
    QString where = QStringLiteral("(DataDocumento BETWEEN #") + jetDate(start) + QStringLiteral("# AND #")
        + jetDate(end) + QStringLiteral("#)");
    if (!t.documentTest.isEmpty())
        where += QStringLiteral(" AND ") + t.documentTest;
    // "+ 0" keeps the engine on the period's documents and lines in their stored order;
    // looking each code up in the item index reads pages all over the file instead.
    const QString filter = inCodes(t.lines + QStringLiteral(".CodigoProduto + 0"), codes);
    if (!filter.isEmpty())
        where += QStringLiteral(" AND ") + filter;
    return QStringLiteral("SELECT ") + key + kinds
        + QStringLiteral(", SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde ")
        + QStringLiteral("FROM %1 INNER JOIN %2 ON %1.Codigo = %2.Codigo ").arg(t.lines, t.documents)
        + QStringLiteral("WHERE ") + where + QStringLiteral(" GROUP BY ") + key + QLatin1Char(';');
}

} // namespace

QString ancestorJoinQuery(int level, const QString& current)
{
    return level >= 1 && level <= 4 ? browse::joinedLevelQuery(level) : current;
}

QString linesAndProductsQuery()
{
    return QStringLiteral("SELECT Linhas.CodigoLinha, Linhas.NomeLinha, Linhas.Insumo, Produtos.* ")
        + QStringLiteral("FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = Produtos.CodigoLinha ")
        + QStringLiteral(" ORDER BY Linhas.Insumo, Linhas.NomeLinha, Produtos.NomeProduto;");
}

QString jetDate(QDate day)
{
    return day.toString(QStringLiteral("MM/dd/yyyy"));
}

bool isProductBranch(Movement movement, const ItemPath& path)
{
    const Tables& t = tablesOf(movement);
    return path.setor == t.productSetor
        && (path.grupo == t.productGrupos[0] || path.grupo == t.productGrupos[1]);
}

QString accountCriteria(const ItemPath& path)
{
    return QStringLiteral("NivelCategoria4.Nome = '") + path.item
        + QStringLiteral("' AND NivelCategoria3.Nome = '") + path.conta
        + QStringLiteral("' AND NivelCategoria2.Nome = '") + path.grupo
        + QStringLiteral("' AND NivelCategoria1.Nome = '") + path.setor + QStringLiteral("'");
}

QString productCriteria(const ItemPath& path)
{
    return QStringLiteral("NomeProduto = '") + path.item + QStringLiteral("' AND NomeLinha = '") + path.conta
        + QStringLiteral("'");
}

QString sumQuery(Movement movement, QDate start, QDate end, qint64 code, qint64 setorCode, bool product)
{
    const Tables& t = tablesOf(movement);
    QString sql = QStringLiteral("SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde ")
        + QStringLiteral("FROM %1 INNER JOIN %2 ON ").arg(t.lines, t.documents)
        + QStringLiteral("%1.Codigo = %2.Codigo ").arg(t.lines, t.documents)
        + QStringLiteral("WHERE (DataDocumento BETWEEN #") + jetDate(start) + QStringLiteral("# AND #")
        + jetDate(end) + QStringLiteral("#) AND ");
    if (!t.documentTest.isEmpty())
        sql += t.documentTest + QStringLiteral(" AND ");
    return sql + t.lines + QStringLiteral(".CodigoProduto = ") + QString::number(code)
        + QStringLiteral(" AND ") + t.lines + QStringLiteral(".CodigoSetor = ") + QString::number(setorCode)
        + QStringLiteral(" AND ") + t.lines + QStringLiteral(".Produto = ") + booleanLiteral(product)
        + QLatin1Char(';');
}

Totals SomaVendas(Database& database, QString& sql, const ItemPath& path, QDate start, QDate end,
    Recordset* lines, int level)
{
    return literalTotal(Movement::Sales, database, sql, path, start, end, lines, level);
}

Totals SomaCompras(Database& database, QString& sql, const ItemPath& path, QDate start, QDate end,
    Recordset* lines, int level)
{
    return literalTotal(Movement::Purchases, database, sql, path, start, end, lines, level);
}

std::vector<Totals> periodTotals(Database& database, Movement movement, const std::vector<ItemPath>& items,
    QDate start, QDate end, Recordset* lines)
{
    const QString quote = QStringLiteral("'");
    const auto quoted = [&quote](const ItemPath& path) {
        return path.item.contains(quote) || path.conta.contains(quote) || path.grupo.contains(quote)
            || path.setor.contains(quote);
    };
    Resolution accountNames;
    Resolution productNames;
    for (const ItemPath& path : items) {
        if (quoted(path))
            continue;
        const bool product = isProductBranch(movement, path);
        Resolution& names = product ? productNames : accountNames;
        const QString key = pathKey(path, product);
        names.wanted.insert(key);
        names.wantedParents.insert(key.mid(key.indexOf(QChar(0x1f)) + 1));
    }
    const auto accounts = resolveAccounts(database, std::move(accountNames));
    const auto products = resolveProducts(database, std::move(productNames), lines);

    QSet<qint64> wantedCodes;
    for (const auto* found : {&accounts, &products}) {
        for (const Key& key : *found)
            wantedCodes.insert(key.code);
    }
    QHash<Key, Totals> sums;
    if (!wantedCodes.isEmpty()) {
        const QList<qint64> codes(wantedCodes.cbegin(), wantedCodes.cend());
        auto grouped
            = database.openRecordset(groupedSumQuery(movement, start, end, codes), RecordsetType::Snapshot);
        for (int i = 0, count = grouped->recordCount(); i < count; ++i) {
            const QList<QVariant> row = grouped->rowValues(i);
            // Columns: code, sector, flag, "is a product", "is an account", money, quantity.
            if (row.at(0).isNull() || row.at(1).isNull() || row.at(3).toInt() == row.at(4).toInt())
                continue; // never asked for: no code, or a flag neither statement matches
            sums.insert(Key {row.at(0).toLongLong(), row.at(1).toLongLong(), row.at(3).toInt() != 0},
                Totals {number(row.at(5)), number(row.at(6))});
        }
        grouped->close();
    }

    std::vector<Totals> result;
    result.reserve(items.size());
    for (const ItemPath& path : items) {
        if (quoted(path)) {
            // A quote changes what the criterion says; only the routine itself tells what.
            QString scratch;
            result.push_back(literalTotal(movement, database, scratch, path, start, end, lines, 4));
            continue;
        }
        const bool product = isProductBranch(movement, path);
        const auto& found = product ? products : accounts;
        const auto key = found.constFind(pathKey(path, product));
        result.push_back(key == found.cend() ? Totals {} : sums.value(*key));
    }
    return result;
}

} // namespace varemo::totals
