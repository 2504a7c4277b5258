#include "data/demo.h"

#include "data/errors.h"
#include "data/schema.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSqlError>

#include <filesystem>
#include <stdexcept>

#ifndef VAREMO_DEMO_DIR
#define VAREMO_DEMO_DIR ":/demo"
#endif

namespace varemo::demo {

namespace {

// One meaningful line of a data file: its depth (leading tabs), name and options.
struct Entry {
    int number = 0;
    int depth = 0;
    QStringList fields;
    QHash<QString, QString> options; // "key=value", or a bare flag with an empty value

    const QString& name() const { return fields.front(); }
    bool has(const QString& key) const { return options.contains(key); }
    QString option(const QString& key) const { return options.value(key); }
};

[[noreturn]] void malformed(const QString& file, int line, const QString& what)
{
    throw StorageBug(QStringLiteral("demo data %1:%2: %3").arg(file).arg(line).arg(what).toStdString());
}

std::vector<Entry> readEntries(const QString& file)
{
    QFile source(QStringLiteral(VAREMO_DEMO_DIR "/") + file);
    if (!source.open(QIODevice::ReadOnly))
        malformed(file, 0, QStringLiteral("missing"));
    const auto lines = QString::fromUtf8(source.readAll()).split(QLatin1Char('\n'));
    std::vector<Entry> entries;
    for (int i = 0; i < lines.size(); ++i) {
        QString text = lines[i];
        if (text.endsWith(QLatin1Char('\r')))
            text.chop(1);
        if (text.trimmed().isEmpty() || text.startsWith(QLatin1Char('#')))
            continue;
        Entry entry;
        entry.number = i + 1;
        while (entry.depth < text.size() && text[entry.depth] == QLatin1Char('\t'))
            ++entry.depth;
        entry.fields = text.mid(entry.depth).split(QLatin1Char('\t'));
        for (int f = 1; f < entry.fields.size(); ++f) {
            const QString& field = entry.fields[f];
            const auto equals = field.indexOf(QLatin1Char('='));
            entry.options.insert(
                equals < 0 ? field : field.left(equals), equals < 0 ? QString() : field.mid(equals + 1));
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

QList<int> months(const QString& text)
{
    QList<int> list;
    const auto parts = text.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const auto& part : parts)
        list << part.toInt();
    return list;
}

std::optional<bool> lock(const Entry& entry)
{
    if (!entry.has(QStringLiteral("travado")))
        return std::nullopt;
    return entry.option(QStringLiteral("travado")) == QLatin1String("sim");
}

void readLines(CompanyData& company)
{
    const QString file = QStringLiteral("linhas.txt");
    for (const auto& entry : readEntries(file)) {
        if (entry.depth == 0) {
            LineData line;
            line.name = entry.name();
            line.insumo = entry.has(QStringLiteral("insumo"));
            line.shiftChance = entry.option(QStringLiteral("turno")).toDouble();
            line.purchaseEvery = entry.option(QStringLiteral("compra")).toInt();
            line.resale = entry.has(QStringLiteral("revenda"));
            line.orders = entry.has(QStringLiteral("encomenda"));
            line.purchaseMonths = months(entry.option(QStringLiteral("compra-meses")));
            company.lines.push_back(std::move(line));
        } else if (entry.depth == 1 && !company.lines.empty() && entry.fields.size() >= 2) {
            ProductData product;
            product.name = entry.name();
            product.price = entry.fields[1].toDouble();
            product.months = months(entry.option(QStringLiteral("meses")));
            product.always = entry.has(QStringLiteral("sempre"));
            company.lines.back().products.push_back(std::move(product));
        } else {
            malformed(file, entry.number, QStringLiteral("a product needs a line above it and a price"));
        }
    }
}

void readChart(CompanyData& company)
{
    const QString file = QStringLiteral("plano.txt");
    // The outline gives every row its parent: the nearest row one tab less indented.
    int depth = -1;
    for (const auto& entry : readEntries(file)) {
        if (entry.depth > depth + 1 || entry.depth > 4)
            malformed(file, entry.number, QStringLiteral("indented past its parent"));
        depth = entry.depth;
        switch (entry.depth) {
        case 0:
            company.categorias.push_back({entry.option(QStringLiteral("codigo")).toInt(), entry.name(), {}});
            break;
        case 1:
            company.categorias.back().setores.push_back({entry.name(), lock(entry), {}});
            break;
        case 2: {
            GrupoData grupo {entry.name(), lock(entry), std::nullopt, {}};
            if (entry.has(QStringLiteral("linhas")))
                grupo.linesInsumo = entry.option(QStringLiteral("linhas")) == QLatin1String("insumos");
            company.categorias.back().setores.back().grupos.push_back(std::move(grupo));
            break;
        }
        case 3: {
            const QString frequency = entry.option(QStringLiteral("mov"));
            ContaData conta {entry.name(), frequency.isEmpty() ? QLatin1Char('-') : frequency[0],
                entry.option(QStringLiteral("valor")).toDouble(), {}};
            company.categorias.back().setores.back().grupos.back().contas.push_back(std::move(conta));
            break;
        }
        default:
            company.categorias.back().setores.back().grupos.back().contas.back().items << entry.name();
        }
    }
}

void readReports(CompanyData& company)
{
    const QString file = QStringLiteral("relatorios.txt");
    for (const auto& entry : readEntries(file)) {
        if (entry.depth == 0)
            company.reports.push_back({entry.name(), {}});
        else if (entry.depth == 1 && !company.reports.empty())
            company.reports.back().chosen << entry.fields; // a path: every field is a name
        else
            malformed(file, entry.number, QStringLiteral("a chosen node needs a report above it"));
    }
}

void readCompanyRow(CompanyData& company)
{
    const QString file = QStringLiteral("empresa.txt");
    for (const auto& entry : readEntries(file)) {
        const QString& text = entry.name();
        const auto equals = text.indexOf(QLatin1Char('='));
        if (equals <= 0)
            malformed(file, entry.number, QStringLiteral("expected Field=value"));
        company.empresa.insert(text.left(equals), text.mid(equals + 1));
    }
}

// --- the installation's files --------------------------------------------------------

[[noreturn]] void cannotWrite(const QString& path)
{
    throw std::runtime_error(
        QStringLiteral("Não foi possível gravar %1").arg(QDir::toNativeSeparators(path)).toStdString());
}

void makeFolder(const QString& path)
{
    if (!QDir().mkpath(path))
        cannotWrite(path);
}

void writeText(const QString& path, const QString& text)
{
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        cannotWrite(path);
}

void copyFolder(const QString& from, const QString& to)
{
    if (!QFileInfo(from).isDir() || QFileInfo(from).canonicalFilePath() == QFileInfo(to).canonicalFilePath())
        return;
    std::error_code error;
    std::filesystem::copy(std::filesystem::path(from.toStdU16String()),
        std::filesystem::path(to.toStdU16String()),
        std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing, error);
    if (error)
        cannotWrite(to);
}

// A connection of its own to the file being built, removed however the build ends.
class BuildConnection {
public:
    explicit BuildConnection(const QString& path)
        : m_db(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name()))
    {
        m_db.setDatabaseName(path);
    }
    ~BuildConnection()
    {
        m_db.close();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name());
    }
    BuildConnection(const BuildConnection&) = delete;
    BuildConnection& operator=(const BuildConnection&) = delete;

    QSqlDatabase& db() { return m_db; }
    [[noreturn]] void fail() const { throw JetError(jet::GeneralError, m_db.lastError().text()); }

private:
    static QString name() { return QStringLiteral("varemo-demo-build"); }
    QSqlDatabase m_db;
};

void createDatabase(const QString& path, QDate today)
{
    BuildConnection connection(path);
    QSqlDatabase& db = connection.db();
    if (!db.open())
        connection.fail();
    QSqlQuery(db).exec(QStringLiteral("PRAGMA synchronous = OFF"));
    if (!db.transaction())
        connection.fail();
    try {
        schema::create(db);
        populate(db, today);
    } catch (...) {
        db.rollback();
        throw;
    }
    if (!db.commit())
        connection.fail();
}

} // namespace

CompanyData loadCompany()
{
    CompanyData company;
    readCompanyRow(company);
    readLines(company);
    readChart(company);
    readReports(company);
    return company;
}

void populate(QSqlDatabase& db, QDate today)
{
    const CompanyData company = loadCompany();
    insertCompanyRow(db, company.empresa);
    const Chart chart = insertChart(db, company);
    insertReports(db, chart, company.reports);
    insertYear(db, company, chart, today);
}

QString build(const QString& folder, const QString& resourcesFrom, QDate today, bool rebuild)
{
    const QString base = QDir(folder).absolutePath();
    const QString program = base + QStringLiteral("/programa/");
    const QString data = base + QStringLiteral("/empresa/");
    const QString caminho = program + QStringLiteral("Caminho.dad");
    const QString database = data + QStringLiteral("Dados/empresa.mdb");
    if (!rebuild && QFileInfo::exists(caminho) && QFileInfo::exists(database))
        return QDir::toNativeSeparators(program);

    for (const QString& path : {program, data + QStringLiteral("Imagens"), data + QStringLiteral("Dados")})
        makeFolder(path);
    if (!resourcesFrom.isEmpty()) {
        copyFolder(resourcesFrom + QStringLiteral("/Sons"), program + QStringLiteral("Sons"));
        copyFolder(resourcesFrom + QStringLiteral("/Ajuda"), program + QStringLiteral("Ajuda"));
    }

    const CompanyData company = loadCompany();
    QString ini = QStringLiteral("[Empresa]\n");
    for (const char* key : {"Nome", "Cnpj", "Cidade", "Uf"})
        ini += QStringLiteral("%1=%2\n").arg(QLatin1String(key), company.empresa.value(QLatin1String(key)));
    writeText(data + QStringLiteral("Empresa.ini"), ini);

    // Built beside and moved in place, so that a half-built file is never taken for the company.
    const QString scratch = database + QStringLiteral(".novo");
    QFile::remove(scratch);
    createDatabase(scratch, today);
    std::error_code error;
    std::filesystem::rename(std::filesystem::path(scratch.toStdU16String()),
        std::filesystem::path(database.toStdU16String()), error);
    if (error)
        cannotWrite(database);

    // The data folder is read as a plain prefix: it must end in the separator.
    writeText(caminho, QDir::toNativeSeparators(data) + QLatin1Char('\n'));
    return QDir::toNativeSeparators(program);
}

} // namespace varemo::demo
