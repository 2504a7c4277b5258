"""Part 1.1: the tables and fields this module touches, as SQLite DDL.

The program never creates tables (Part 1.1: the database belongs to the suite);
this schema serves the demo builder, the benchmark generator and the test fixtures.
Declared types carry the Jet type so that recordsets can give booleans and dates back
as Python values: BOOLEAN -> bool, DATE -> datetime.date.
"""

from __future__ import annotations

import sqlite3

# Jet AutoNumber never reuses a code: AUTOINCREMENT keeps that promise.
_AUTO = "INTEGER PRIMARY KEY AUTOINCREMENT"
_TEXT = "TEXT COLLATE NOCASE"

TABLES: dict[str, str] = {
    "NivelCategoria0": f"Codigo {_AUTO}, Nome {_TEXT}",
    "NivelCategoria1": (f"Codigo {_AUTO}, Nome {_TEXT}, CodigoCategoria0 INTEGER, Travado BOOLEAN"),
    "NivelCategoria2": (f"Codigo {_AUTO}, Nome {_TEXT}, CodigoCategoria1 INTEGER, Travado BOOLEAN"),
    "NivelCategoria3": f"Codigo {_AUTO}, Nome {_TEXT}, CodigoCategoria2 INTEGER",
    "NivelCategoria4": (
        f"Codigo {_AUTO}, Nome {_TEXT}, CodigoCategoria3 INTEGER, "
        "CodigoProduto INTEGER NOT NULL DEFAULT 0, Marca BOOLEAN NOT NULL DEFAULT 0"
    ),
    "Procura": (
        "Codigo INTEGER, Marca BOOLEAN NOT NULL DEFAULT 0, "
        "Marca1 BOOLEAN NOT NULL DEFAULT 0, Marca2 BOOLEAN NOT NULL DEFAULT 0, "
        "Marca3 BOOLEAN NOT NULL DEFAULT 0, Marca4 BOOLEAN NOT NULL DEFAULT 0, "
        "Marca5 BOOLEAN NOT NULL DEFAULT 0"
    ),
    "Relatorios": f"CodigoRelatorio {_AUTO}, NomeRelatorio {_TEXT}",
    "RelatorioItens": ("CodigoRelatorio INTEGER, Nivel TEXT, CodigoConta INTEGER, Imagem SMALLINT"),
    "DadosEmpresa": (
        f"Nome {_TEXT}, Morto BOOLEAN, InicioSemana SMALLINT, RetroAtivo BOOLEAN, "
        f"Cnpj TEXT, Endereco {_TEXT}, Cidade {_TEXT}, Uf TEXT, Telefone TEXT"
    ),
    "Linhas": f"CodigoLinha {_AUTO}, NomeLinha {_TEXT}, Insumo BOOLEAN",
    "Produtos": f"CodigoProduto {_AUTO}, CodigoLinha INTEGER, NomeProduto {_TEXT}",
    "Venda": f"Codigo {_AUTO}, DataDocumento DATE, Venda BOOLEAN",
    "VendaProdutos": (
        "Codigo INTEGER, CodigoProduto INTEGER, CodigoSetor INTEGER, Produto BOOLEAN, "
        "PrecoUnit DOUBLE, QdeComprada DOUBLE"
    ),
    "Compra": f"Codigo {_AUTO}, DataDocumento DATE",
    "CompraProdutos": (
        "Codigo INTEGER, CodigoProduto INTEGER, CodigoSetor INTEGER, Produto BOOLEAN, "
        "PrecoUnit DOUBLE, QdeComprada DOUBLE"
    ),
}

INDEXES: tuple[str, ...] = (
    "CREATE INDEX ix_nivel1_pai ON NivelCategoria1 (CodigoCategoria0, Nome)",
    "CREATE INDEX ix_nivel2_pai ON NivelCategoria2 (CodigoCategoria1, Nome)",
    "CREATE INDEX ix_nivel3_pai ON NivelCategoria3 (CodigoCategoria2, Nome)",
    "CREATE INDEX ix_nivel4_pai ON NivelCategoria4 (CodigoCategoria3, Nome)",
    "CREATE INDEX ix_procura_codigo ON Procura (Codigo)",
    "CREATE INDEX ix_relatorioitens ON RelatorioItens (CodigoRelatorio)",
    "CREATE INDEX ix_venda_data ON Venda (DataDocumento)",
    "CREATE INDEX ix_vendaprodutos_doc ON VendaProdutos (Codigo)",
    "CREATE INDEX ix_vendaprodutos_item ON VendaProdutos (CodigoProduto, CodigoSetor, Produto)",
    "CREATE INDEX ix_compra_data ON Compra (DataDocumento)",
    "CREATE INDEX ix_compraprodutos_doc ON CompraProdutos (Codigo)",
    "CREATE INDEX ix_compraprodutos_item ON CompraProdutos (CodigoProduto, CodigoSetor, Produto)",
    "CREATE INDEX ix_produtos_linha ON Produtos (CodigoLinha, NomeProduto)",
)


def create_schema(connection: sqlite3.Connection) -> None:
    """Create every table and index of Part 1.1 in an empty database."""
    with connection:
        for name, columns in TABLES.items():
            connection.execute(f"CREATE TABLE {name} ({columns})")
        for statement in INDEXES:
            connection.execute(statement)


def create_database(path: str) -> None:
    """Create a new company database file holding the empty schema."""
    connection = sqlite3.connect(path)
    try:
        create_schema(connection)
    finally:
        connection.close()
