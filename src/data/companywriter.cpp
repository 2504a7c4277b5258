#include "data/companywriter.h"

#include "data/errors.h"
#include "data/schema.h"

#include <QSqlError>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace varemo::demo {

Rng::Rng(std::uint64_t seed)
    : m_state(seed)
{
}

// splitmix64: small, fast and the same everywhere.
std::uint64_t Rng::next()
{
    std::uint64_t z = (m_state += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

double Rng::uniform()
{
    return static_cast<double>(next() >> 11) * 0x1.0p-53;
}

double Rng::uniform(double low, double high)
{
    return low + (high - low) * uniform();
}

int Rng::below(int count)
{
    return count <= 0 ? 0 : static_cast<int>(next() % static_cast<std::uint64_t>(count));
}

int Rng::between(int low, int high)
{
    return low + below(high - low + 1);
}

std::vector<int> Rng::sample(int size, int count)
{
    std::vector<int> positions(static_cast<std::size_t>(size));
    std::iota(positions.begin(), positions.end(), 0);
    count = std::min(count, size);
    for (int i = 0; i < count; ++i)
        std::swap(
            positions[static_cast<std::size_t>(i)], positions[static_cast<std::size_t>(i + below(size - i))]);
    positions.resize(static_cast<std::size_t>(count));
    return positions;
}

QSqlQuery prepared(QSqlDatabase& db, const QString& statement)
{
    QSqlQuery query(db);
    if (!query.prepare(statement))
        throw JetError(jet::GeneralError, query.lastError().text());
    return query;
}

void run(QSqlQuery& query)
{
    if (!query.exec())
        throw JetError(jet::GeneralError, query.lastError().text());
}

namespace {

QVariant lockValue(const std::optional<bool>& travado)
{
    // Null and False are different states of the lock: the suite leaves Null on rows it never locked.
    return travado ? QVariant(*travado ? 1 : 0) : QVariant();
}

class ChartBuilder {
public:
    ChartBuilder(QSqlDatabase& db, Chart& chart)
        : m_chart(chart)
    {
        m_insert[0]
            = prepared(db, QStringLiteral("INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES (?, ?)"));
        m_insert[1] = prepared(db,
            QStringLiteral("INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, "
                           "Travado) VALUES (?, ?, ?, ?)"));
        m_insert[2] = prepared(db,
            QStringLiteral("INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, "
                           "Travado) VALUES (?, ?, ?, ?)"));
        m_insert[3] = prepared(db,
            QStringLiteral("INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (?, ?, ?)"));
        m_insert[4] = prepared(db,
            QStringLiteral("INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, "
                           "CodigoProduto, Marca) VALUES (?, ?, ?, ?, 0)"));
    }

    // Adds a row under `parent` (a node index, -1 for a category); returns its node index.
    int add(int level, int parent, const QString& name, const QVariant& extra = {}, int codigo = 0)
    {
        QStringList path;
        if (parent >= 0)
            path = m_chart.nodes[static_cast<std::size_t>(parent)].path;
        path << name;
        const QString key = path.join(QLatin1Char('\t'));
        if (m_chart.byPath.contains(key))
            throw StorageBug("demo chart: a name repeated under one parent: " + key.toStdString());
        if (codigo == 0)
            codigo = ++m_lastCode[level];
        QSqlQuery& insert = m_insert[level];
        insert.addBindValue(codigo);
        insert.addBindValue(name);
        if (level > 0)
            insert.addBindValue(m_chart.nodes[static_cast<std::size_t>(parent)].codigo);
        if (level == 1 || level == 2 || level == 4)
            insert.addBindValue(extra);
        run(insert);
        const int index = static_cast<int>(m_chart.nodes.size());
        m_chart.nodes.push_back({path, level, codigo, parent});
        m_chart.byPath.insert(key, index);
        return index;
    }

private:
    Chart& m_chart;
    QSqlQuery m_insert[5];
    int m_lastCode[5] = {};
};

} // namespace

void insertCompanyRow(QSqlDatabase& db, const QMap<QString, QString>& fields)
{
    const QStringList known = schema::columnNames(QStringLiteral("DadosEmpresa"));
    QStringList columns, marks;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (!known.contains(it.key()))
            throw StorageBug("demo company: DadosEmpresa has no column " + it.key().toStdString());
        columns << it.key();
        marks << QStringLiteral("?");
    }
    QSqlQuery insert = prepared(db,
        QStringLiteral("INSERT INTO DadosEmpresa (%1) VALUES (%2)")
            .arg(columns.join(QLatin1String(", ")), marks.join(QLatin1String(", "))));
    for (const auto& value : fields)
        insert.addBindValue(value);
    run(insert);
}

Chart insertChart(QSqlDatabase& db, const CompanyData& company, int unlinkedEvery)
{
    Chart chart;
    QSqlQuery linha = prepared(
        db, QStringLiteral("INSERT INTO Linhas (CodigoLinha, NomeLinha, Insumo) VALUES (?, ?, ?)"));
    QSqlQuery produto = prepared(db,
        QStringLiteral("INSERT INTO Produtos (CodigoProduto, CodigoLinha, NomeProduto) VALUES (?, ?, ?)"));
    // Products of each kind by line, for the product-line groups.
    std::vector<std::pair<const LineData*, std::vector<Product>>> byKind[2];
    int lineCode = 0;
    for (const auto& line : company.lines) {
        linha.addBindValue(++lineCode);
        linha.addBindValue(line.name);
        linha.addBindValue(line.insumo ? 1 : 0);
        run(linha);
        std::vector<Product> products;
        for (const auto& product : line.products) {
            const Product stored {static_cast<int>(chart.products.size()) + 1, lineCode, &line, &product};
            produto.addBindValue(stored.codigo);
            produto.addBindValue(lineCode);
            produto.addBindValue(product.name);
            run(produto);
            chart.products.push_back(stored);
            products.push_back(stored);
        }
        byKind[line.insumo ? 1 : 0].emplace_back(&line, std::move(products));
    }

    ChartBuilder builder(db, chart);
    for (const auto& categoria : company.categorias) {
        const int category = builder.add(0, -1, categoria.name, {}, categoria.codigo);
        for (const auto& setor : categoria.setores) {
            const int sector = builder.add(1, category, setor.name, lockValue(setor.travado));
            const int sectorCode = chart.nodes[static_cast<std::size_t>(sector)].codigo;
            for (const auto& grupo : setor.grupos) {
                const int group = builder.add(2, sector, grupo.name, lockValue(grupo.travado));
                if (grupo.linesInsumo) {
                    for (const auto& [line, products] : byKind[*grupo.linesInsumo ? 1 : 0]) {
                        const int account = builder.add(3, group, line->name);
                        for (std::size_t i = 0; i < products.size(); ++i) {
                            const bool linked = unlinkedEvery <= 0
                                || (i + 1) % static_cast<std::size_t>(unlinkedEvery) != 0;
                            builder.add(4, account, products[i].data->name, linked ? products[i].codigo : 0);
                            ++chart.itemCount;
                        }
                    }
                    continue;
                }
                for (const auto& conta : grupo.contas) {
                    const int account = builder.add(3, group, conta.name);
                    for (const auto& name : conta.items) {
                        const int item = builder.add(4, account, name, 0);
                        chart.items.push_back({chart.nodes[static_cast<std::size_t>(item)].codigo, sectorCode,
                            categoria.codigo, &conta});
                        ++chart.itemCount;
                    }
                }
            }
        }
    }
    return chart;
}

std::vector<ReportRow> reportRows(const Chart& chart, const QList<QStringList>& chosen)
{
    const std::size_t count = chart.nodes.size();
    std::vector<std::vector<int>> children(count);
    std::vector<int> roots;
    for (std::size_t i = 0; i < count; ++i) {
        const int parent = chart.nodes[i].parent;
        (parent < 0 ? roots : children[static_cast<std::size_t>(parent)]).push_back(static_cast<int>(i));
    }
    std::vector<bool> picked(count, false);
    for (const auto& path : chosen) {
        const auto found = chart.byPath.constFind(path.join(QLatin1Char('\t')));
        if (found != chart.byPath.cend())
            picked[static_cast<std::size_t>(*found)] = true;
    }

    // Parents come before children in `nodes`, so a backward sweep settles every child first;
    // a forward sweep first hands a chosen node's state down to its whole subtree.
    std::vector<bool> whole(count, false);
    for (std::size_t i = 0; i < count; ++i) {
        const int parent = chart.nodes[i].parent;
        whole[i] = picked[i] || (parent >= 0 && whole[static_cast<std::size_t>(parent)]);
    }
    std::vector<int> state(count, 0);
    for (std::size_t i = count; i-- > 0;) {
        const auto& kids = children[i];
        const bool allWhole = !kids.empty() && std::all_of(kids.begin(), kids.end(), [&](int k) {
            return state[static_cast<std::size_t>(k)] == 3;
        });
        const bool anyChosen = std::any_of(
            kids.begin(), kids.end(), [&](int k) { return state[static_cast<std::size_t>(k)] != 0; });
        state[i] = whole[i] || allWhole ? 3 : anyChosen ? 2 : 0;
    }

    std::vector<ReportRow> rows;
    std::vector<int> stack(roots.rbegin(), roots.rend());
    while (!stack.empty()) {
        const auto node = static_cast<std::size_t>(stack.back());
        stack.pop_back();
        if (state[node] == 0)
            continue;
        rows.push_back(
            {QStringLiteral("N%1").arg(chart.nodes[node].level), chart.nodes[node].codigo, state[node]});
        stack.insert(stack.end(), children[node].rbegin(), children[node].rend());
    }
    return rows;
}

void insertReports(QSqlDatabase& db, const Chart& chart, const std::vector<ReportData>& reports)
{
    QSqlQuery relatorio = prepared(
        db, QStringLiteral("INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (?, ?)"));
    QSqlQuery item = prepared(db,
        QStringLiteral("INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, "
                       "CodigoConta, Imagem) VALUES (?, ?, ?, ?)"));
    int code = 0;
    for (const auto& report : reports) {
        relatorio.addBindValue(++code);
        relatorio.addBindValue(report.name);
        run(relatorio);
        for (const auto& row : reportRows(chart, report.chosen)) {
            item.addBindValue(code);
            item.addBindValue(row.nivel);
            item.addBindValue(row.codigo);
            item.addBindValue(row.imagem);
            run(item);
        }
    }
}

namespace {
double cents(double value)
{
    return std::round(value * 100.0) / 100.0;
}
} // namespace

DocLine productLine(const Product& product, double price, double quantity)
{
    return {product.codigo, product.linha, true, cents(price), quantity};
}

DocLine itemLine(const Item& item, double price, double quantity)
{
    return {item.codigo, item.setor, false, cents(price), quantity};
}

MovementWriter::MovementWriter(QSqlDatabase& db)
    : m_venda(
        prepared(db, QStringLiteral("INSERT INTO Venda (Codigo, DataDocumento, Venda) VALUES (?, ?, ?)")))
    , m_vendaLinha(prepared(db,
          QStringLiteral("INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, "
                         "Produto, PrecoUnit, QdeComprada) VALUES (?, ?, ?, ?, ?, ?)")))
    , m_compra(prepared(db, QStringLiteral("INSERT INTO Compra (Codigo, DataDocumento) VALUES (?, ?)")))
    , m_compraLinha(prepared(db,
          QStringLiteral("INSERT INTO CompraProdutos (Codigo, CodigoProduto, CodigoSetor, "
                         "Produto, PrecoUnit, QdeComprada) VALUES (?, ?, ?, ?, ?, ?)")))
{
}

void MovementWriter::addSale(QDate day, bool concluded, const std::vector<DocLine>& lines)
{
    m_venda.addBindValue(++m_sales);
    m_venda.addBindValue(day.toString(Qt::ISODate));
    m_venda.addBindValue(concluded ? 1 : 0);
    run(m_venda);
    addLines(m_vendaLinha, m_sales, lines);
}

void MovementWriter::addPurchase(QDate day, const std::vector<DocLine>& lines)
{
    m_compra.addBindValue(++m_purchases);
    m_compra.addBindValue(day.toString(Qt::ISODate));
    run(m_compra);
    addLines(m_compraLinha, m_purchases, lines);
}

void MovementWriter::addLines(QSqlQuery& insert, int document, const std::vector<DocLine>& lines)
{
    for (const auto& line : lines) {
        insert.addBindValue(document);
        insert.addBindValue(line.codigoProduto);
        insert.addBindValue(line.codigoSetor);
        insert.addBindValue(line.produto ? 1 : 0);
        insert.addBindValue(line.preco);
        insert.addBindValue(line.quantidade);
        run(insert);
    }
}

} // namespace varemo::demo
