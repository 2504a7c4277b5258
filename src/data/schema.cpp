#include "data/schema.h"

#include "data/errors.h"

#include <QSqlError>
#include <QSqlQuery>

#include <array>

namespace varemo::schema {

namespace {

// AutoNumber keys: AUTOINCREMENT so that a deleted row's code is never handed out again,
// as the other modules expect. Names compare case-insensitively in the file itself, for any
// tool that reads it without the program's own collation. Dates are ISO text, booleans 0/1;
// Travado stays nullable because the suite leaves it Null on rows it never locked.
struct Table {
    const char* name;
    const char* columns;
};

constexpr std::array tables {
    Table {"DadosEmpresa",
        "Nome TEXT COLLATE NOCASE, Morto BOOLEAN, InicioSemana SMALLINT, RetroAtivo BOOLEAN, "
        "Cnpj TEXT, Endereco TEXT COLLATE NOCASE, Cidade TEXT COLLATE NOCASE, Uf TEXT, Telefone TEXT"},
    Table {"NivelCategoria0", "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, Nome TEXT COLLATE NOCASE"},
    Table {"NivelCategoria1",
        "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, Nome TEXT COLLATE NOCASE, "
        "CodigoCategoria0 INTEGER, Travado BOOLEAN"},
    Table {"NivelCategoria2",
        "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, Nome TEXT COLLATE NOCASE, "
        "CodigoCategoria1 INTEGER, Travado BOOLEAN"},
    Table {"NivelCategoria3",
        "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, Nome TEXT COLLATE NOCASE, "
        "CodigoCategoria2 INTEGER"},
    Table {"NivelCategoria4",
        "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, Nome TEXT COLLATE NOCASE, "
        "CodigoCategoria3 INTEGER, CodigoProduto INTEGER NOT NULL DEFAULT 0, "
        "Marca BOOLEAN NOT NULL DEFAULT 0"},
    Table {"Procura",
        "Codigo INTEGER, Marca BOOLEAN NOT NULL DEFAULT 0, "
        "Marca1 BOOLEAN NOT NULL DEFAULT 0, Marca2 BOOLEAN NOT NULL DEFAULT 0, "
        "Marca3 BOOLEAN NOT NULL DEFAULT 0, Marca4 BOOLEAN NOT NULL DEFAULT 0, "
        "Marca5 BOOLEAN NOT NULL DEFAULT 0"},
    Table {
        "Relatorios", "CodigoRelatorio INTEGER PRIMARY KEY AUTOINCREMENT, NomeRelatorio TEXT COLLATE NOCASE"},
    Table {"RelatorioItens", "CodigoRelatorio INTEGER, Nivel TEXT, CodigoConta INTEGER, Imagem SMALLINT"},
    Table {"Linhas",
        "CodigoLinha INTEGER PRIMARY KEY AUTOINCREMENT, NomeLinha TEXT COLLATE NOCASE, "
        "Insumo BOOLEAN"},
    Table {"Produtos",
        "CodigoProduto INTEGER PRIMARY KEY AUTOINCREMENT, CodigoLinha INTEGER, "
        "NomeProduto TEXT COLLATE NOCASE"},
    Table {"Venda", "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, DataDocumento DATE, Venda BOOLEAN"},
    Table {"VendaProdutos",
        "Codigo INTEGER, CodigoProduto INTEGER, CodigoSetor INTEGER, Produto BOOLEAN, "
        "PrecoUnit DOUBLE, QdeComprada DOUBLE"},
    Table {"Compra", "Codigo INTEGER PRIMARY KEY AUTOINCREMENT, DataDocumento DATE"},
    Table {"CompraProdutos",
        "Codigo INTEGER, CodigoProduto INTEGER, CodigoSetor INTEGER, Produto BOOLEAN, "
        "PrecoUnit DOUBLE, QdeComprada DOUBLE"},
};

// Children are read by parent code and ordered by name; the movement lines are looked up
// by document and by the item or product they book.
constexpr std::array indexes {
    "CREATE INDEX ix_nivel1_pai ON NivelCategoria1 (CodigoCategoria0, Nome)",
    "CREATE INDEX ix_nivel2_pai ON NivelCategoria2 (CodigoCategoria1, Nome)",
    "CREATE INDEX ix_nivel3_pai ON NivelCategoria3 (CodigoCategoria2, Nome)",
    "CREATE INDEX ix_nivel4_pai ON NivelCategoria4 (CodigoCategoria3, Nome)",
    "CREATE INDEX ix_procura_codigo ON Procura (Codigo)",
    "CREATE INDEX ix_relatorioitens ON RelatorioItens (CodigoRelatorio)",
    "CREATE INDEX ix_produtos_linha ON Produtos (CodigoLinha, NomeProduto)",
    "CREATE INDEX ix_venda_data ON Venda (DataDocumento)",
    "CREATE INDEX ix_vendaprodutos_doc ON VendaProdutos (Codigo)",
    "CREATE INDEX ix_vendaprodutos_item ON VendaProdutos (CodigoProduto, CodigoSetor, Produto)",
    "CREATE INDEX ix_compra_data ON Compra (DataDocumento)",
    "CREATE INDEX ix_compraprodutos_doc ON CompraProdutos (Codigo)",
    "CREATE INDEX ix_compraprodutos_item ON CompraProdutos (CodigoProduto, CodigoSetor, Produto)",
};

void run(QSqlQuery& query, const QString& statement)
{
    if (!query.exec(statement))
        throw JetError(jet::GeneralError, query.lastError().text());
}

} // namespace

const QStringList& tableNames()
{
    static const QStringList names = [] {
        QStringList list;
        for (const auto& table : tables)
            list << QString::fromLatin1(table.name);
        return list;
    }();
    return names;
}

const QStringList& chartTables()
{
    static const QStringList names {
        QStringLiteral("DadosEmpresa"),
        QStringLiteral("NivelCategoria0"),
        QStringLiteral("NivelCategoria1"),
        QStringLiteral("NivelCategoria2"),
        QStringLiteral("NivelCategoria3"),
        QStringLiteral("NivelCategoria4"),
        QStringLiteral("Procura"),
        QStringLiteral("Relatorios"),
        QStringLiteral("RelatorioItens"),
    };
    return names;
}

QStringList columnNames(const QString& table)
{
    for (const auto& entry : tables) {
        if (table.compare(QLatin1String(entry.name), Qt::CaseInsensitive) != 0)
            continue;
        QStringList names;
        const auto columns = QString::fromLatin1(entry.columns).split(QLatin1Char(','));
        for (const auto& column : columns)
            names << column.trimmed().section(QLatin1Char(' '), 0, 0);
        return names;
    }
    return {};
}

void create(QSqlDatabase& database)
{
    // A savepoint works both alone and inside the caller's transaction (the demo builder's).
    QSqlQuery query(database);
    run(query, QStringLiteral("SAVEPOINT varemo_schema"));
    try {
        for (const auto& table : tables)
            run(query,
                QStringLiteral("CREATE TABLE %1 (%2)")
                    .arg(QLatin1String(table.name), QLatin1String(table.columns)));
        for (const char* statement : indexes)
            run(query, QString::fromLatin1(statement));
    } catch (const JetError&) {
        query.exec(QStringLiteral("ROLLBACK TO varemo_schema"));
        query.exec(QStringLiteral("RELEASE varemo_schema"));
        throw;
    }
    run(query, QStringLiteral("RELEASE varemo_schema"));
}

} // namespace varemo::schema
