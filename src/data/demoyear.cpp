// The demo's year of sales and purchases, drawn from a fixed seed so that a given last day
// always gives the same company.
#include "data/demo.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace varemo::demo {

namespace {

struct Sale {
    QDate day;
    bool concluded = true;
    std::vector<DocLine> lines;
};

struct Purchase {
    QDate day;
    std::vector<DocLine> lines;
};

constexpr int yearDays = 365;

bool byWeight(const Product& product)
{
    return product.data->name.contains(QLatin1String("(kg)"));
}

double rounded(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return std::round(value * scale) / scale;
}

// Units (or kilograms) of a product sold in a whole day: cheap things by the hundred.
double dailyUnits(Rng& rng, const Product& product, double price)
{
    if (byWeight(product))
        return rng.uniform(1.5, 8.0);
    struct Band {
        double ceiling, low, high;
    };
    for (const Band band : {Band {1, 700, 1200}, Band {2, 80, 220}, Band {5, 30, 90}, Band {10, 12, 45}}) {
        if (price < band.ceiling)
            return rng.uniform(band.low, band.high);
    }
    return price < 20 ? rng.uniform(4, 16) : rng.uniform(1.5, 6);
}

double orderQuantity(Rng& rng, const Product& product, double price)
{
    if (byWeight(product))
        return rounded(rng.uniform(1.5, 6.0), 1);
    if (price < 10)
        return rng.pick(std::vector<int> {25, 50, 50, 100, 100, 150, 200});
    return rng.between(1, 3);
}

double purchaseQuantity(Rng& rng, const Product& product, double cost)
{
    if (byWeight(product) || cost > 100)
        return rng.between(2, 10);
    if (cost > 20)
        return rng.between(2, 12);
    return rng.between(6, 48);
}

// Bills of the ordinary items, by their account's frequency. The items of "V" accounts are
// not billed on their own: they are returned to ride on the sales documents.
std::vector<Purchase> ordinaryDocuments(Rng& rng, const std::vector<const Item*>& items,
    const std::vector<QDate>& days, std::vector<const Item*>& onSales)
{
    std::vector<std::pair<const ContaData*, std::vector<const Item*>>> byConta;
    for (const Item* item : items) {
        if (byConta.empty() || byConta.back().first != item->conta)
            byConta.emplace_back(item->conta, std::vector<const Item*> {});
        byConta.back().second.push_back(item);
    }
    QHash<int, double> factor;
    for (const Item* item : items)
        factor.insert(item->codigo, rng.uniform(0.6, 1.4));

    std::vector<Purchase> documents;
    for (const auto& [conta, contaItems] : byConta) {
        const auto amount = [&, base = conta->base](const Item* item, double spread) {
            return base * factor.value(item->codigo) * rng.uniform(1 - spread, 1 + spread);
        };
        const auto everyItem = [&, &all = contaItems](double spread) {
            std::vector<DocLine> lines;
            for (const Item* item : all)
                lines.push_back(itemLine(*item, amount(item, spread)));
            return lines;
        };
        switch (conta->frequency.unicode()) {
        case 'M': {
            const int due = rng.between(1, 28);
            for (QDate month(days.front().year(), days.front().month(), 1); month <= days.back();
                 month = month.addMonths(1)) {
                const QDate day(month.year(), month.month(), std::min(due, month.daysInMonth()));
                if (day >= days.front() && day <= days.back())
                    documents.push_back({day, everyItem(0.05)});
            }
            break;
        }
        case 'S':
            for (int index = rng.below(7); index < yearDays; index += rng.between(6, 10)) {
                const Item* item = rng.pick(contaItems);
                const int quantity = rng.between(1, 3);
                documents.push_back(
                    {days[static_cast<std::size_t>(index)], {itemLine(*item, amount(item, 0.1), quantity)}});
            }
            break;
        case 'E':
            for (int count = rng.between(2, 6); count > 0; --count) {
                const Item* item = rng.pick(contaItems);
                const DocLine line = itemLine(*item, amount(item, 0.3));
                documents.push_back({rng.pick(days), {line}});
            }
            break;
        case 'A': {
            std::vector<DocLine> lines = everyItem(0.1);
            documents.push_back({rng.pick(days), std::move(lines)});
            break;
        }
        case 'V':
            onSales.insert(onSales.end(), contaItems.begin(), contaItems.end());
            break;
        default:
            break; // never moved
        }
    }
    return documents;
}

} // namespace

void insertYear(
    QSqlDatabase& db, const CompanyData& company, const Chart& chart, QDate end, std::uint64_t seed)
{
    Rng rng(seed);
    std::vector<QDate> days;
    for (int index = 0; index < yearDays; ++index)
        days.push_back(end.addDays(index - (yearDays - 1)));

    std::vector<const Product*> goods, orders, raw;
    for (const Product& product : chart.products) {
        if (product.line->insumo)
            raw.push_back(&product);
        else if (product.line->shiftChance > 0) {
            goods.push_back(&product);
            if (product.line->orders)
                orders.push_back(&product);
        }
    }
    std::vector<const Item*> income, expense, onSales;
    for (const Item& item : chart.items)
        (item.categoria == Receitas ? income : expense).push_back(&item);

    std::vector<Sale> sales;
    for (auto& bill : ordinaryDocuments(rng, income, days, onSales))
        sales.push_back({bill.day, true, std::move(bill.lines)});
    for (int index = 0; index < yearDays; ++index) {
        const QDate day = days[static_cast<std::size_t>(index)];
        const double inflation = 1 + 0.06 * index / yearDays; // prices creep up over the year
        // Sales are booked as cash-register closings, one per shift; Sundays have two shifts.
        for (int shift = day.dayOfWeek() == Qt::Sunday ? 2 : 3; shift > 0; --shift) {
            std::vector<DocLine> lines;
            for (const Product* product : goods) {
                const auto& season = product->data->months;
                if (!season.isEmpty() && !season.contains(day.month()))
                    continue;
                if (!product->data->always && rng.uniform() > product->line->shiftChance)
                    continue;
                const double unit = product->data->price * inflation;
                const double units = dailyUnits(rng, *product, unit) / 2.5;
                const double quantity
                    = byWeight(*product) ? rounded(units, 3) : std::max(1.0, std::round(units));
                lines.push_back(productLine(*product, unit, quantity));
            }
            sales.push_back({day, true, std::move(lines)});
        }
        // Party orders; a quote the customer did not take stays with Venda False.
        for (int count = rng.pick(std::vector<int> {0, 1, 1, 1, 2, 2, 3}); count > 0; --count) {
            const bool concluded = rng.uniform() >= 0.3;
            std::vector<DocLine> lines;
            for (const int pick : rng.sample(static_cast<int>(orders.size()), rng.between(1, 4))) {
                const Product& product = *orders[static_cast<std::size_t>(pick)];
                double unit = product.data->price * inflation;
                if (rng.uniform() < 0.2)
                    unit *= 0.9;
                lines.push_back(productLine(product, unit, orderQuantity(rng, product, unit)));
            }
            if (!onSales.empty() && rng.uniform() < 0.5)
                lines.push_back(
                    itemLine(*rng.pick(onSales), rng.pick(std::vector<double> {10, 15, 20, 25, 40})));
            if (!raw.empty() && rng.uniform() < 0.03) {
                const Product& product = *rng.pick(raw);
                lines.push_back(
                    productLine(product, product.data->price * 1.25 * inflation, rng.between(1, 3)));
            }
            sales.push_back({day, concluded, std::move(lines)});
        }
    }

    std::vector<Purchase> purchases = ordinaryDocuments(rng, expense, days, onSales);
    for (const LineData& line : company.lines) {
        if (line.purchaseEvery <= 0)
            continue;
        std::vector<const Product*> products;
        for (const Product& product : chart.products) {
            if (product.line == &line)
                products.push_back(&product);
        }
        if (products.empty())
            continue;
        for (int index = rng.below(line.purchaseEvery); index < yearDays; index += line.purchaseEvery) {
            const QDate day = days[static_cast<std::size_t>(index)];
            if (!line.purchaseMonths.isEmpty() && !line.purchaseMonths.contains(day.month()))
                continue;
            const double inflation = 1 + 0.06 * index / yearDays;
            const int count = line.resale ? rng.between(3, 7) : rng.between(1, 4);
            std::vector<DocLine> lines;
            for (const int pick : rng.sample(static_cast<int>(products.size()), count)) {
                const Product& product = *products[static_cast<std::size_t>(pick)];
                double cost = product.data->price * inflation * rng.uniform(0.97, 1.03);
                if (!line.insumo)
                    cost *= 0.55; // goods are bought at about half the shelf price
                lines.push_back(productLine(product, cost, purchaseQuantity(rng, product, cost)));
            }
            purchases.push_back({day, std::move(lines)});
        }
    }

    std::stable_sort(sales.begin(), sales.end(), [](const Sale& a, const Sale& b) { return a.day < b.day; });
    std::stable_sort(purchases.begin(), purchases.end(),
        [](const Purchase& a, const Purchase& b) { return a.day < b.day; });
    MovementWriter writer(db);
    for (const Sale& sale : sales)
        writer.addSale(sale.day, sale.concluded, sale.lines);
    for (const Purchase& purchase : purchases)
        writer.addPurchase(purchase.day, purchase.lines);
}

} // namespace varemo::demo
