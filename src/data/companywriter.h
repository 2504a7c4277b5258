#pragma once

#include <QDate>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

// Writing a company into an empty schema: the description of a chart, lines and products
// (read from the demo's data files or grown from them by the benchmark generator), the
// writer that lays it into the level tables, and the writer of sales and purchases.
namespace varemo::demo {

// A fixed-seed generator whose draws do not depend on the standard library's distributions,
// so a seed gives the same company on every platform.
class Rng {
public:
    explicit Rng(std::uint64_t seed);
    double uniform(); // [0, 1)
    double uniform(double low, double high);
    int between(int low, int high); // both ends included
    int below(int count); // 0 .. count-1
    template<typename T> const T& pick(const std::vector<T>& values)
    {
        return values[static_cast<std::size_t>(below(static_cast<int>(values.size())))];
    }
    // `count` distinct positions of a sequence of `size`, in draw order.
    std::vector<int> sample(int size, int count);

private:
    std::uint64_t next();
    std::uint64_t m_state;
};

struct ProductData {
    QString name;
    double price = 0; // shelf price of goods, purchase price of a raw material
    QList<int> months; // sold only in these months (empty: all year)
    bool always = false; // in every cash-register closing
};

struct LineData {
    QString name;
    bool insumo = false;
    double shiftChance = 0; // chance of each product in one closing (0: not sold at the counter)
    int purchaseEvery = 0; // days between purchases (0: never bought as such)
    bool resale = false; // bought ready to sell
    bool orders = false; // sold by the hundred in party orders
    QList<int> purchaseMonths;
    std::vector<ProductData> products;
};

struct ContaData {
    QString name;
    QChar frequency = QLatin1Char('-'); // M monthly, S weekly, E now and then, A yearly, V on sales
    double base = 0;
    QStringList items;
};

struct GrupoData {
    QString name;
    std::optional<bool> travado;
    // Set for the groups whose accounts are the product lines of one kind (true: raw materials).
    std::optional<bool> linesInsumo;
    std::vector<ContaData> contas;
};

struct SetorData {
    QString name;
    std::optional<bool> travado;
    std::vector<GrupoData> grupos;
};

struct CategoriaData {
    int codigo = 0;
    QString name;
    std::vector<SetorData> setores;
};

struct ReportData {
    QString name;
    QList<QStringList> chosen; // name paths from the category down, each chosen whole
};

struct CompanyData {
    QMap<QString, QString> empresa; // DadosEmpresa column -> value
    std::vector<LineData> lines;
    std::vector<CategoriaData> categorias;
    std::vector<ReportData> reports;
};

inline constexpr int Receitas = 1; // the category of income; every other one is expense

// What the chart writer stored, for drawing movements against it.
struct Product {
    int codigo = 0;
    int linha = 0;
    const LineData* line = nullptr;
    const ProductData* data = nullptr;
};

struct Item { // an ordinary item, outside the product-line groups
    int codigo = 0;
    int setor = 0; // the level-1 code movements carry in CodigoSetor
    int categoria = 0;
    const ContaData* conta = nullptr;
};

struct Chart {
    struct Node {
        QStringList path;
        int level = 0;
        int codigo = 0;
        int parent = -1; // index into nodes, -1 for a category
    };
    std::vector<Product> products;
    std::vector<Item> items;
    std::vector<Node> nodes; // in insertion order: a parent before its children
    QHash<QString, int> byPath; // path joined by tabs -> index into nodes
    int itemCount = 0;
};

// The company row: keys must be DadosEmpresa's columns.
void insertCompanyRow(QSqlDatabase& db, const QMap<QString, QString>& fields);

// Categories, lines, products and the four levels. Under a product-line group every line of
// its kind is an account and every product an item; every `unlinkedEvery`-th product item is
// left with CodigoProduto 0, as if typed in this module, the others are tied to their product.
// Throws StorageBug for a name repeated under one parent.
Chart insertChart(QSqlDatabase& db, const CompanyData& company, int unlinkedEvery = 7);

// The (Nivel, CodigoConta, Imagem) rows of a definition whose chosen nodes are taken whole,
// in tree order: a node is 3 when it or all its children are, 2 when some below it are.
struct ReportRow {
    QString nivel;
    int codigo = 0;
    int imagem = 0;
};
std::vector<ReportRow> reportRows(const Chart& chart, const QList<QStringList>& chosen);

// Saves the definitions as Relatorios 1, 2, ... with their items. Paths not in the chart are
// skipped (the generator's smaller charts lack some).
void insertReports(QSqlDatabase& db, const Chart& chart, const std::vector<ReportData>& reports);

// One line of a document. Produto true: CodigoProduto/CodigoSetor are a product and its line;
// false: an ordinary item and its level-1 sector.
struct DocLine {
    int codigoProduto = 0;
    int codigoSetor = 0;
    bool produto = false;
    double preco = 0;
    double quantidade = 0;
};

DocLine productLine(const Product& product, double price, double quantity);
DocLine itemLine(const Item& item, double price, double quantity = 1);

// Writes documents numbered 1, 2, ... in the order they are added.
class MovementWriter {
public:
    explicit MovementWriter(QSqlDatabase& db);
    void addSale(QDate day, bool concluded, const std::vector<DocLine>& lines);
    void addPurchase(QDate day, const std::vector<DocLine>& lines);

private:
    void addLines(QSqlQuery& insert, int document, const std::vector<DocLine>& lines);
    QSqlQuery m_venda, m_vendaLinha, m_compra, m_compraLinha;
    int m_sales = 0;
    int m_purchases = 0;
};

// Prepares a statement or throws JetError with the engine's message.
QSqlQuery prepared(QSqlDatabase& db, const QString& statement);
// Runs a prepared statement with its bound values or throws JetError.
void run(QSqlQuery& query);

} // namespace varemo::demo
