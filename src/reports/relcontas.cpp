// The chart listing: one line per name, each under its parent.

#include "reports/relcontas.h"

#include "data/database.h"
#include "reports/totals.h"

#include <algorithm>
#include <array>

namespace varemo::reports {

namespace {

constexpr int StepRows = 500;

const std::array<QString, 5> LevelNames {QStringLiteral("Categoria"), QStringLiteral("Setor"),
    QStringLiteral("Grupo"), QStringLiteral("Conta"), QStringLiteral("Item")};

// The listing's closing count, as "2 categorias" or "1 setor".
QString counted(int count, int level)
{
    static const std::array<std::pair<const char*, const char*>, 5> words {{{"categoria", "categorias"},
        {"setor", "setores"}, {"grupo", "grupos"}, {"conta", "contas"}, {"item", "itens"}}};
    const auto& [one, many] = words[size_t(level)];
    return QString::number(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

QString nameField(int level)
{
    return QStringLiteral("NivelCategoria%1.Nome").arg(level);
}

} // namespace

Table relContasTable(Database& database, int level, QDate today)
{
    return *buildRelContas(database, level, today, {});
}

std::optional<Table> buildRelContas(
    Database& database, int level, QDate today, const Progress& progress, const QString& current)
{
    Table table;
    table.title = QStringLiteral("Plano de Contas");
    table.subtitle << printedOn(today);
    if (level >= 1 && level <= 4)
        table.subtitle << QStringLiteral("Níveis: Categoria a ") + LevelNames[size_t(level)];
    const QString query = totals::ancestorJoinQuery(level, current);
    if (query.isEmpty())
        return table;
    const auto rows = database.openRecordset(query, RecordsetType::Snapshot);
    // Outside 1..4 the statement's own rows are listed by their first name field.
    const int own = std::clamp(level, 0, 4);
    const int total = rows->recordCount();
    std::array<QString, 5> previous;
    std::array<int, 5> printed {}; // lines per level, for the closing count
    if (total > 0)
        rows->moveFirst();
    for (int done = 0; !rows->eof(); ++done, rows->moveNext()) {
        if (progress && done % StepRows == 0 && !progress(done, total))
            return std::nullopt;
        // Every ancestor that differs from the line above opens its heading; a changed
        // Categoria starts all deeper names afresh, so a same-named Setor under another
        // Categoria is printed again. A missing ancestor (null) never differs.
        for (int up = 0; up < own; ++up) {
            const QVariant name = rows->value(nameField(up));
            if (name.isNull() || name.toString() == previous[size_t(up)])
                continue;
            previous[size_t(up)] = name.toString();
            for (int deeper = up + 1; deeper < 5; ++deeper)
                previous[size_t(deeper)].clear();
            const QString text = up == 0 ? previous[0].toUpper() : previous[size_t(up)];
            table.lines.push_back({Line::Kind::Heading, up, text, std::nullopt, std::nullopt, {}});
            ++printed[size_t(up)];
        }
        const QString name = rows->value(nameField(own)).toString();
        previous[size_t(own)] = name;
        table.lines.push_back(
            {Line::Kind::Detail, own, own == 0 ? name.toUpper() : name, std::nullopt, std::nullopt, {}});
        ++printed[size_t(own)];
    }
    rows->close();
    if (!table.lines.empty()) {
        QStringList counts;
        for (int up = 0; up <= own; ++up)
            counts << counted(printed[size_t(up)], up);
        table.lines.push_back({Line::Kind::Total, 0,
            QStringLiteral("Total: ") + counts.join(QStringLiteral(", ")) + QLatin1Char('.'), std::nullopt,
            std::nullopt, {}});
    }
    if (progress && !progress(total, total))
        return std::nullopt;
    return table;
}

} // namespace varemo::reports
