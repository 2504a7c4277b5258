// The personalised income and expense report: its entries and its lines.

#include "reports/relpersonal.h"

#include "data/database.h"
#include "data/dialect.h"
#include "editor/tree.h"
#include "reports/totals.h"

#include <QHash>
#include <QLocale>
#include <QSet>

#include <algorithm>
#include <array>
#include <functional>

namespace varemo::reports {

namespace {

const QString Receitas = QStringLiteral("Receitas");
const QString Despesas = QStringLiteral("Despesas");
constexpr int StepLines = 200;

struct ChartRow {
    QString sortKey;
    QString key;
    QString name;
};

// The chart as the main window's tree holds it: children of each key in name order, rows
// whose parent is missing left out with their descendants.
QHash<QString, std::vector<ChartRow>> chartChildren(Database& database)
{
    QHash<QString, std::vector<ChartRow>> children;
    QSet<QString> known {RootKey};
    for (int level = 0; level <= 4; ++level) {
        const auto table = database.openRecordset(
            QStringLiteral("NivelCategoria") + QString::number(level), RecordsetType::Table);
        std::vector<std::pair<QString, ChartRow>> rows;
        if (table->recordCount() > 0)
            table->moveFirst();
        for (; !table->eof(); table->moveNext()) {
            const QVariant code = table->value(QStringLiteral("Codigo"));
            if (code.isNull())
                continue;
            QString parent = RootKey;
            if (level > 0) {
                const QVariant up
                    = table->value(QStringLiteral("CodigoCategoria") + QString::number(level - 1));
                parent = up.isNull() ? QString() : nodeKey(up.toLongLong(), level - 1);
            }
            const QString name = table->value(QStringLiteral("Nome")).toString();
            rows.push_back({parent, {dialect::foldKey(name), nodeKey(code.toLongLong(), level), name}});
        }
        table->close();
        std::stable_sort(rows.begin(), rows.end(),
            [](const auto& a, const auto& b) { return a.second.sortKey < b.second.sortKey; });
        for (auto& [parent, row] : rows) {
            if (!known.contains(parent) || known.contains(row.key))
                continue;
            known.insert(row.key);
            children[parent].push_back(std::move(row));
        }
    }
    return children;
}

// The images a saved definition gives its nodes, by key: 2 part chosen, 3 all chosen.
QHash<QString, int> storedMarks(Database& database, qint32 reportCode)
{
    const auto items = database.openRecordset(
        QStringLiteral("SELECT * FROM RelatorioItens WHERE CodigoRelatorio = ") + QString::number(reportCode),
        RecordsetType::Snapshot);
    QHash<QString, int> marks;
    if (items->recordCount() > 0)
        items->moveFirst();
    for (; !items->eof(); items->moveNext()) {
        const QVariant code = items->value(QStringLiteral("CodigoConta"));
        const QVariant level = items->value(QStringLiteral("Nivel"));
        const int image = items->value(QStringLiteral("Imagem")).toInt();
        const QString key = QString::number(code.toLongLong()) + level.toString();
        // the first row of a node decides, as the tree takes it
        if (!code.isNull() && !level.isNull() && !marks.contains(key))
            marks.insert(key, image);
    }
    items->close();
    return marks;
}

struct Item {
    totals::ItemPath path;
    totals::Totals sums;
};

// A zero prints as nothing: the item had no movement in the period.
Line withNumbers(Line line, const totals::Totals& sums)
{
    if (sums.quantity != 0)
        line.quantity = sums.quantity;
    if (sums.money != 0)
        line.amount = sums.money;
    return line;
}

} // namespace

QString pathEntry(const QString& name, int level, bool chosen)
{
    return name + QString::number(level) + (chosen ? QLatin1Char('S') : QLatin1Char('N'));
}

std::optional<ParsedEntry> parseEntry(const QString& entry)
{
    const QString trimmed = entry.trimmed();
    if (trimmed.size() < 2)
        return std::nullopt;
    const int level = trimmed.at(trimmed.size() - 2).digitValue();
    if (level < 0 || level > 4)
        return std::nullopt;
    return ParsedEntry {
        trimmed.left(trimmed.size() - 2), level, level == 4 && trimmed.back() == QLatin1Char('S')};
}

QStringList definitionEntries(Database& database, qint32 reportCode)
{
    const auto children = chartChildren(database);
    const auto marks = storedMarks(database, reportCode);
    QStringList entries;
    const std::function<void(const QString&)> walk = [&](const QString& parent) {
        const auto found = children.constFind(parent);
        if (found == children.cend())
            return;
        for (const ChartRow& row : *found) {
            const int image = marks.value(row.key);
            if (image != 2 && image != 3)
                continue; // nothing below an unmarked node is chosen
            entries << pathEntry(row.name, keyLevel(row.key), image == 3);
            walk(row.key);
        }
    };
    walk(RootKey);
    return entries;
}

QString printedOn(QDate today)
{
    static const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    return QStringLiteral("Impresso: ") + brazil.toString(today, QLocale::LongFormat);
}

Table relPersonalTable(Database& database, const QStringList& entries, const QString& reportName, QDate from,
    QDate to, QDate today)
{
    return *buildRelPersonal(database, entries, reportName, from, to, today, {});
}

std::optional<Table> buildRelPersonal(Database& database, const QStringList& entries,
    const QString& reportName, QDate from, QDate to, QDate today, const Progress& progress, Recordset* lines)
{
    Table table;
    table.title = QStringLiteral("Relatório : ") + reportName;
    table.subtitle << printedOn(today)
                   << QStringLiteral("Período: De ") + from.toString(QStringLiteral("dd-MM-yyyy"))
            + QStringLiteral(" a ") + to.toString(QStringLiteral("dd-MM-yyyy"));
    table.columns << QStringLiteral("Quantidade") << QStringLiteral("Valor (R$)");

    // Entries above the items only name the path of the items after them.
    std::vector<Item> items;
    std::array<QString, 5> names;
    for (const QString& entry : entries) {
        const auto parsed = parseEntry(entry);
        if (!parsed)
            continue;
        names[size_t(parsed->level)] = parsed->name;
        if (parsed->printed)
            items.push_back({{names[0], names[1], names[2], names[3], names[4]}, {}});
    }
    const int total = int(items.size());
    if (progress && !progress(0, total))
        return std::nullopt;

    // Income is what was sold under "Receitas", expenses what was bought under "Despesas";
    // items of any other Categoria print without numbers.
    for (const auto& [categoria, movement] :
        {std::pair {Receitas, totals::Movement::Sales}, std::pair {Despesas, totals::Movement::Purchases}}) {
        std::vector<totals::ItemPath> paths;
        std::vector<Item*> owners;
        for (Item& item : items) {
            if (item.path.categoria == categoria) {
                paths.push_back(item.path);
                owners.push_back(&item);
            }
        }
        if (paths.empty())
            continue;
        const auto sums = totals::periodTotals(database, movement, paths, from, to, lines);
        for (size_t i = 0; i < owners.size(); ++i)
            owners[i]->sums = sums[i];
    }

    std::vector<Line>& out = table.lines;
    std::array<QString, 4> previous;
    std::vector<std::pair<int, int>> income, expenses;
    double incomeSum = 0, expenseSum = 0;
    // What each open group sums: a Conta its details, a Grupo its accounts' sums (or the
    // single item of an account that has no sum line), a Setor its groups, a Categoria its
    // sectors, so a spreadsheet gets short formulas that follow the printed structure.
    std::array<std::vector<std::pair<int, int>>, 4> members;
    std::array<double, 4> sums {};
    static const std::array<QString, 3> totalLabels {QStringLiteral("Total da Categoria "),
        QStringLiteral("Total do Setor "), QStringLiteral("Total do Grupo ")};
    const auto close = [&](int level) {
        int row = -1;
        if (level == 3) {
            // an account with a single item is its own sum
            if (members[3].size() >= 2) {
                row = int(out.size());
                out.push_back({Line::Kind::Sum, 3, QStringLiteral("Soma da Conta ") + previous[3],
                    std::nullopt, sums[3], members[3]});
            } else if (members[3].size() == 1) {
                row = members[3].front().first;
            }
        } else {
            row = int(out.size());
            out.push_back({Line::Kind::Sum, level, totalLabels[size_t(level)] + previous[size_t(level)],
                std::nullopt, sums[size_t(level)], members[size_t(level)]});
        }
        if (level > 0 && row >= 0) {
            members[size_t(level - 1)].emplace_back(row, 1);
            sums[size_t(level - 1)] += sums[size_t(level)];
        }
        members[size_t(level)].clear();
        sums[size_t(level)] = 0;
    };
    for (int index = 0; index < total; ++index) {
        if (progress && index % StepLines == 0 && index > 0 && !progress(index, total))
            return std::nullopt;
        const Item& item = items[size_t(index)];
        const std::array<QString, 4> path {
            item.path.categoria, item.path.setor, item.path.grupo, item.path.conta};
        int changed = index == 0 ? 0 : 4;
        for (int level = 0; level < 4 && changed == 4; ++level) {
            if (path[size_t(level)] != previous[size_t(level)])
                changed = level;
        }
        if (changed < 4) {
            // the groups that end close deepest first, each under its heading's indentation
            for (int level = 3; index > 0 && level >= changed; --level)
                close(level);
            for (int level = changed; level < 4; ++level)
                out.push_back(
                    {Line::Kind::Heading, level, path[size_t(level)], std::nullopt, std::nullopt, {}});
            previous = path;
        }
        const int row = int(out.size());
        out.push_back(
            withNumbers({Line::Kind::Detail, 4, item.path.item, std::nullopt, std::nullopt, {}}, item.sums));
        members[3].emplace_back(row, 1);
        sums[3] += item.sums.money;
        if (item.path.categoria == Receitas) {
            income.emplace_back(row, 1);
            incomeSum += item.sums.money;
        } else if (item.path.categoria == Despesas) {
            expenses.emplace_back(row, 1);
            expenseSum += item.sums.money;
        }
    }
    for (int level = 3; total > 0 && level >= 0; --level)
        close(level);

    const int incomeLine = int(out.size());
    out.push_back(
        {Line::Kind::Total, 0, QStringLiteral("Total de Receitas"), std::nullopt, incomeSum, income});
    out.push_back(
        {Line::Kind::Total, 0, QStringLiteral("Total de Despesas"), std::nullopt, expenseSum, expenses});
    out.push_back({Line::Kind::Total, 0, QStringLiteral("Receitas menos Despesas"), std::nullopt,
        incomeSum - expenseSum, {{incomeLine, 1}, {incomeLine + 1, -1}}});
    if (progress && !progress(total, total))
        return std::nullopt;
    return table;
}

} // namespace varemo::reports
