#include "data/generator.h"

#include "data/companywriter.h"
#include "data/demo.h"
#include "data/errors.h"
#include "data/schema.h"

#include <QFile>
#include <QSqlError>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace varemo::demo {

namespace {

// About this many products per line and items per ordinary account, at every size.
constexpr int productsPerLine = 40;
constexpr int itemsPerAccount = 12;

int ceilDiv(int a, int b)
{
    return (a + b - 1) / b;
}

// The index-th name of a cycle over `names`: the first round plain, then "name 2", "name 3"...
QString numbered(const QStringList& names, int index)
{
    const QString& base = names[index % names.size()];
    const int round = index / static_cast<int>(names.size());
    return round == 0 ? base : QStringLiteral("%1 %2").arg(base).arg(round + 1);
}

// The demo's lines holding `products` products in all, plus its lines without products.
std::vector<LineData> scaledLines(const std::vector<LineData>& demoLines, int products)
{
    std::vector<const LineData*> full;
    std::vector<LineData> lines, empty;
    for (const auto& line : demoLines) {
        if (line.products.empty())
            empty.push_back(line);
        else
            full.push_back(&line);
    }
    const int fullCount = static_cast<int>(full.size());
    const int count = std::max(fullCount, ceilDiv(products, productsPerLine));
    for (int index = 0; index < count; ++index) {
        const LineData& model = *full[static_cast<std::size_t>(index % fullCount)];
        LineData line = model;
        line.products.clear();
        const int round = index / fullCount;
        if (round > 0)
            line.name = QStringLiteral("%1 %2").arg(model.name).arg(round + 1);
        QStringList names;
        for (const auto& product : model.products)
            names << product.name;
        const int size = products / count + (index < products % count ? 1 : 0);
        for (int j = 0; j < size; ++j)
            line.products.push_back({numbered(names, j), 0, {}, false});
        lines.push_back(std::move(line));
    }
    lines.insert(lines.end(), empty.begin(), empty.end());
    return lines;
}

// The demo's ordinary groups with their accounts and items grown to `items` items, dealt
// round the groups so that every group grows alike.
void scaleAccounts(std::vector<CategoriaData>& categorias, int items)
{
    std::vector<GrupoData*> groups;
    for (auto& categoria : categorias) {
        for (auto& setor : categoria.setores) {
            for (auto& grupo : setor.grupos) {
                if (!grupo.linesInsumo && !grupo.contas.empty())
                    groups.push_back(&grupo);
            }
        }
    }
    const int groupCount = static_cast<int>(groups.size());
    std::vector<std::vector<ContaData>> models;
    for (GrupoData* grupo : groups)
        models.push_back(std::exchange(grupo->contas, {}));

    const int accounts = std::max(1, ceilDiv(items, itemsPerAccount));
    std::vector<ContaData*> account; // account index -> its row
    std::vector<QStringList> itemNames; // account index -> the names its items cycle over
    for (int index = 0; index < accounts; ++index) {
        const auto group = static_cast<std::size_t>(index % groupCount);
        const auto& model = models[group];
        const int position = index / groupCount;
        QStringList names;
        for (const auto& conta : model)
            names << conta.name;
        const ContaData& template_ = model[static_cast<std::size_t>(position) % model.size()];
        groups[group]->contas.push_back({numbered(names, position), template_.frequency, template_.base, {}});
        itemNames.push_back(template_.items);
    }
    // Pointers only once every group has all its accounts.
    std::vector<int> seen(groups.size(), 0);
    for (int index = 0; index < accounts; ++index) {
        const auto group = static_cast<std::size_t>(index % groupCount);
        account.push_back(&groups[group]->contas[static_cast<std::size_t>(seen[group]++)]);
    }
    for (int k = 0; k < items; ++k) {
        const int index = k % accounts;
        account[static_cast<std::size_t>(index)]->items
            << numbered(itemNames[static_cast<std::size_t>(index)], k / accounts);
    }
}

using Target = DocLine; // a line's product or item with its price; the quantity is drawn per line

// `total` lines dealt into documents of `low`..`high` lines; returns the sizes.
std::vector<int> documentSizes(Rng& rng, int total, int low, int high)
{
    std::vector<int> sizes;
    while (total > 0) {
        const int size = std::min(total, rng.between(low, high));
        sizes.push_back(size);
        total -= size;
    }
    return sizes;
}

// The documents' days, drawn and put in date order so that codes follow dates.
std::vector<QDate> documentDays(Rng& rng, std::size_t count, QDate end)
{
    std::vector<int> offsets;
    for (std::size_t i = 0; i < count; ++i)
        offsets.push_back(rng.below(365));
    std::sort(offsets.begin(), offsets.end());
    std::vector<QDate> days;
    for (const int offset : offsets)
        days.push_back(end.addDays(offset - 364));
    return days;
}

// Draws the lines of one document among weighted kinds of targets (empty kinds left out).
class LineDraw {
public:
    LineDraw(Rng& rng, std::vector<std::pair<double, const std::vector<Target>*>> kinds)
        : m_rng(rng)
    {
        double total = 0;
        for (const auto& [weight, targets] : kinds) {
            if (!targets->empty())
                total += weight;
        }
        double sum = 0;
        for (const auto& [weight, targets] : kinds) {
            if (targets->empty())
                continue;
            sum += weight / total;
            m_kinds.emplace_back(sum, targets);
        }
        if (m_kinds.empty())
            throw std::invalid_argument("no product or item to move");
        m_kinds.back().first = 2.0; // rounding never leaves a draw without a kind
    }

    std::vector<DocLine> lines(int count)
    {
        std::vector<DocLine> result;
        for (int i = 0; i < count; ++i) {
            const double r = m_rng.uniform();
            for (const auto& [threshold, targets] : m_kinds) {
                if (r < threshold) {
                    DocLine line = m_rng.pick(*targets);
                    line.quantidade = m_rng.between(1, 20);
                    result.push_back(line);
                    break;
                }
            }
        }
        return result;
    }

private:
    Rng& m_rng;
    std::vector<std::pair<double, const std::vector<Target>*>> m_kinds;
};

void fill(QSqlDatabase& db, int items, int lines, std::uint64_t seed, QDate end)
{
    Rng rng(seed);
    CompanyData company = loadCompany();
    const int products = items / 4; // each product is an item twice: under sales and under suppliers
    company.lines = scaledLines(company.lines, products);
    scaleAccounts(company.categorias, items - 2 * products);

    insertCompanyRow(db, company.empresa);
    const Chart chart = insertChart(db, company, 10);
    insertReports(db, chart, company.reports);

    std::vector<Target> goods, raw, income, expense;
    for (const Product& product : chart.products)
        (product.line->insumo ? raw : goods).push_back(productLine(product, rng.uniform(0.5, 90.0), 0));
    for (const Item& item : chart.items)
        (item.categoria == Receitas ? income : expense)
            .push_back(itemLine(item, rng.uniform(10.0, 5000.0), 0));

    MovementWriter writer(db);
    const int sales = lines * 3 / 5;
    const auto saleSizes = documentSizes(rng, sales, 1, 7);
    const auto saleDays = documentDays(rng, saleSizes.size(), end);
    std::vector<bool> concluded;
    for (std::size_t i = 0; i < saleSizes.size(); ++i)
        concluded.push_back(rng.uniform() >= 0.1);
    LineDraw saleLines(rng, {{0.9, &goods}, {0.03, &raw}, {0.07, &income}});
    for (std::size_t i = 0; i < saleSizes.size(); ++i)
        writer.addSale(saleDays[i], concluded[i], saleLines.lines(saleSizes[i]));

    const auto purchaseSizes = documentSizes(rng, lines - sales, 1, 9);
    const auto purchaseDays = documentDays(rng, purchaseSizes.size(), end);
    LineDraw purchaseLines(rng, {{0.4, &goods}, {0.4, &raw}, {0.2, &expense}});
    for (std::size_t i = 0; i < purchaseSizes.size(); ++i)
        writer.addPurchase(purchaseDays[i], purchaseLines.lines(purchaseSizes[i]));
}

} // namespace

void generateCompany(const QString& path, int items, int lines, std::uint64_t seed, QDate end)
{
    if (items < 8)
        throw std::invalid_argument("items must be at least 8");
    for (const QString& stale : {path, path + QStringLiteral("-journal")})
        QFile::remove(stale);

    const QString name = QStringLiteral("varemo-generator");
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        try {
            if (!db.open())
                throw JetError(jet::GeneralError, db.lastError().text());
            // A file being generated needs no journal and no flushes: a failure just means
            // generating it again.
            QSqlQuery pragmas(db);
            pragmas.exec(QStringLiteral("PRAGMA journal_mode = OFF"));
            pragmas.exec(QStringLiteral("PRAGMA synchronous = OFF"));
            db.transaction();
            schema::create(db);
            fill(db, items, lines, seed, end);
            if (!db.commit())
                throw JetError(jet::GeneralError, db.lastError().text());
        } catch (...) {
            db.rollback();
            db.close();
            db = QSqlDatabase();
            QSqlDatabase::removeDatabase(name);
            throw;
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
}

} // namespace varemo::demo
