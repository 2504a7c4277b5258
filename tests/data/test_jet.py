"""Part 1.1 / DESIGN.md: every Jet statement the spec quotes runs, verbatim, on SQLite."""

from __future__ import annotations

import pytest

from varemo_contas.data import jet
from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.data.errors import JetError

JOIN_4 = (
    "SELECT * FROM ((((NivelCategoria4 "
    + "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
    + "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    + "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    + "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
)
ORDER_4 = (
    "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
    "NivelCategoria3.Nome, NivelCategoria4.Nome ;"
)
LEVEL_QUERIES = {
    1: "SELECT * FROM (NivelCategoria1 "
    + "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome;",
    2: "SELECT * FROM ((NivelCategoria2 "
    + "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    + "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome;",
    3: "SELECT * FROM (((NivelCategoria3 "
    + "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    + "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    + "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
    + "NivelCategoria3.Nome;",
    4: JOIN_4 + ORDER_4,
}


def names(recordset, field: str) -> list:
    out = []
    if recordset.record_count:
        recordset.move_first()
        while not recordset.eof:
            out.append(recordset[field])
            recordset.move_next()
    return out


# --- Part 1.1 and Part 2.5: the joined level queries -------------------------------


def test_level_4_chain_orders_by_the_five_names_and_addresses_fields_by_table(db: Database):
    rs = db.open_recordset(LEVEL_QUERIES[4])
    assert rs.record_count == 9
    assert names(rs, "NivelCategoria4.Codigo") == [6, 7, 8, 5, 4, 3, 2, 1, 9]
    rs.move_first()
    assert rs["NivelCategoria0.Nome"] == "Despesas"
    assert rs["NivelCategoria1.Nome"] == "Despesas Administrativas"
    assert rs["NivelCategoria1.Travado"] is None
    assert rs["NivelCategoria4.CodigoProduto"] == 0


def test_level_3_2_1_chains_run_verbatim(db: Database):
    assert names(db.open_recordset(LEVEL_QUERIES[3]), "NivelCategoria3.Codigo") == [
        5,
        6,
        4,
        3,
        2,
        1,
        7,
    ]
    assert names(db.open_recordset(LEVEL_QUERIES[2]), "NivelCategoria2.Nome") == [
        "Ocupação",
        "Fornecedores Insumos",
        "Fornecedores Produtos",
        "Vendas Insumos",
        "Vendas Produtos",
        "Vendas Produtos",
    ]
    assert names(db.open_recordset(LEVEL_QUERIES[1]), "NivelCategoria1.Codigo") == [3, 2, 1, 4]


def test_level_4_chain_with_a_where_piece(db: Database):
    sql = JOIN_4 + "WHERE NivelCategoria1.Codigo = 3 " + ORDER_4
    assert names(db.open_recordset(sql), "NivelCategoria4.Nome") == [
        "Aluguel da loja",
        "Condomínio",
        "Conta de luz",
    ]


def test_ordering_ignores_accents_and_case_as_jet_does(db: Database):
    db.execute("UPDATE NivelCategoria4 SET Nome = 'água mineral' WHERE Codigo = 7")
    sql = JOIN_4 + "WHERE NivelCategoria3.Codigo = 5 " + ORDER_4
    assert names(db.open_recordset(sql), "NivelCategoria4.Nome") == [
        "água mineral",
        "Aluguel da loja",
    ]


def test_relocation_find_on_joined_rows(db: Database):
    rs = db.open_recordset(LEVEL_QUERIES[4])
    assert rs.find_first("NivelCategoria4.Codigo = 2")
    assert rs["NivelCategoria4.Nome"] == "Baguete"
    assert rs.absolute_position == 6


# --- children of one parent ----------------------------------------------------------


@pytest.mark.parametrize(
    ("sql", "expected"),
    [
        ("SELECT * FROM NivelCategoria0", ["Receitas", "Despesas", "Vazia"]),
        ("SELECT * FROM NivelCategoria0 ORDER BY Nome", ["Despesas", "Receitas", "Vazia"]),
        (
            "SELECT * FROM NivelCategoria1 WHERE CodigoCategoria0 = 2 ORDER BY Nome",
            ["Despesas Administrativas", "Despesas Fornecedores"],
        ),
        (
            "SELECT * FROM NivelCategoria2 WHERE CodigoCategoria1 = 1 ORDER BY Nome;",
            ["Vendas Insumos", "Vendas Produtos"],
        ),
        (
            "SELECT * FROM NivelCategoria3 WHERE CodigoCategoria2 = 5 ORDER BY Nome",
            [
                "Aluguel e condomínio",
                "Energia",
            ],
        ),
        (
            "SELECT * FROM NivelCategoria4 WHERE CodigoCategoria3 = 5 ORDER BY Nome;",
            ["Aluguel da loja", "Condomínio"],
        ),
    ],
)
def test_children_queries_of_part_2_1(db: Database, sql: str, expected: list[str]):
    assert names(db.open_recordset(sql), "Nome") == expected


# --- product lines (Parts 1.1, 2.7, 4.1) ---------------------------------------------

LINES_AND_PRODUCTS = (
    "SELECT Linhas.CodigoLinha, Linhas.NomeLinha, Linhas.Insumo, Produtos.* "
    + "FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = Produtos.CodigoLinha "
    + " ORDER BY Linhas.Insumo, Linhas.NomeLinha, Produtos.NomeProduto;"
)


def test_lines_and_products_join_skips_lines_without_products(db: Database):
    rs = db.open_recordset(LINES_AND_PRODUCTS)
    assert names(rs, "NomeProduto") == [None, "Baguete", "Pão francês", "Farinha de trigo"]
    assert "Sorvetes" not in names(rs, "NomeLinha")
    rs.find_first("NomeLinha = 'Farinhas' AND Insumo = True")
    assert not rs.no_match
    assert rs["Produtos.CodigoLinha"] == 2
    assert rs["Linhas.CodigoLinha"] == 2
    assert rs["CodigoProduto"] == 3


def test_line_list_of_part_2_7(db: Database):
    sql = (
        "SELECT Linhas.NomeLinha, Linhas.Insumo "
        + "FROM Linhas WHERE "
        + "Insumo = "
        + "False"
        + " ORDER BY Linhas.NomeLinha;"
    )
    assert names(db.open_recordset(sql), "NomeLinha") == [None, "Pães", "Sorvetes"]


def test_product_list_of_part_2_7(db: Database):
    sql = (
        "SELECT * FROM Produtos WHERE "
        + "Produtos.CodigoLinha = "
        + "1"
        + " ORDER BY Produtos.NomeProduto;"
    )
    assert names(db.open_recordset(sql), "NomeProduto") == [None, "Baguete", "Pão francês"]


def test_purchase_items_read_at_start_up(db: Database):
    sql = (
        "SELECT CompraProdutos.CodigoProduto, CompraProdutos.Produto "
        + "FROM CompraProdutos WHERE Produto = False; "
    )
    rs = db.open_recordset(sql)
    assert names(rs, "CodigoProduto") == [6, 8]
    rs.move_first()
    assert rs["Produto"] is False


# --- Part 2.6: dependency checks -----------------------------------------------------


def test_sales_and_purchase_dependency_queries(db: Database):
    sales = db.open_recordset(
        "SELECT CodigoProduto FROM VendaProdutos " + "WHERE CodigoProduto = " + "9"
    )
    assert sales.record_count == 1
    purchases = db.open_recordset(
        "SELECT CodigoProduto FROM CompraProdutos " + "WHERE CodigoProduto = " + "7"
    )
    assert purchases.record_count == 0


# --- Part 2.3 and 4.3: report deletion -----------------------------------------------


def test_report_deletion_statements(db: Database):
    assert db.execute("DELETE * FROM RelatorioItens WHERE CodigoRelatorio = " + "1" + ";") == 8
    assert db.execute("DELETE * FROM Relatorios WHERE CodigoRelatorio = " + "1" + ";") == 1
    assert db.scalar("SELECT COUNT(*) AS n FROM Relatorios") == 0


def test_report_marks_query_and_criteria(db: Database):
    rs = db.open_recordset("SELECT * FROM RelatorioItens WHERE " + "CodigoRelatorio = " + "1")
    assert rs.record_count == 8
    assert rs.find_first("CodigoConta = " + "5" + " AND Nivel = '" + "N3" + "'")
    assert rs["Imagem"] == 3
    assert not rs.find_first("CodigoConta = 5 AND Nivel = 'N4'")


# --- Part 3.1: the search ------------------------------------------------------------


def marker(level: int, op: str, value: str) -> str:
    return JOIN_4 + f"WHERE NivelCategoria{level}.Nome " + op + " '" + value + "';"


def test_search_preparation_statements(db: Database):
    db.execute("UPDATE NivelCategoria4 SET Marca = True WHERE Codigo = 3")
    db.execute("UPDATE NivelCategoria4 SET Marca = False " + "WHERE Marca = True;")
    assert db.scalar("SELECT COUNT(*) AS Items FROM NivelCategoria4 WHERE Marca = True") == 0
    db.execute("DELETE * FROM Procura;")
    assert db.execute("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;") == 9
    rs = db.open_recordset("SELECT * FROM Procura;")
    assert rs.record_count == 9
    rs.move_first()
    assert (rs["Marca"], rs["Marca1"], rs["Marca5"]) == (False, False, False)


def test_level_marker_like_is_case_insensitive_with_stars(db: Database):
    rs = db.open_recordset(marker(4, "Like", "*" + "FARINHA" + "*"))
    assert sorted(names(rs, "NivelCategoria4.Codigo")) == [3, 5]


def test_level_marker_not_like(db: Database):
    rs = db.open_recordset(marker(1, "Not Like", "*" + "Receitas" + "*"))
    assert sorted(names(rs, "NivelCategoria4.Codigo")) == [4, 5, 6, 7, 8]


def test_level_marker_greater_than_compares_text(db: Database):
    rs = db.open_recordset(marker(4, ">", "Condomínio"))
    assert sorted(names(rs, "NivelCategoria4.Nome")) == [
        "Conta de luz",
        "Farinha de trigo",
        "Farinha de trigo",
        "Pão francês",
        "Pão francês",
    ]


def test_like_percent_in_content_is_literal(db: Database):
    db.execute("UPDATE NivelCategoria4 SET Nome = 'Desconto 10%' WHERE Codigo = 9")
    rs = db.open_recordset(marker(4, "Like", "*" + "10%" + "*"))
    assert names(rs, "NivelCategoria4.Codigo") == [9]
    assert db.open_recordset(marker(4, "Like", "*" + "1_%" + "*")).record_count == 0


def test_combining_and_marking_statements(db: Database):
    db.execute("DELETE * FROM Procura;")
    db.execute("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;")
    db.execute("UPDATE Procura SET Marca1 = True WHERE Codigo IN (1, 2, 3)")
    db.execute("UPDATE Procura SET Marca2 = True WHERE Codigo IN (2, 3)")
    db.execute("UPDATE Procura SET Marca3 = True WHERE Codigo IN (9)")
    combined = (
        "UPDATE Procura SET Marca = TRUE WHERE "
        + "Marca1 = True "
        + " AND "
        + "Marca2 = True"
        + " OR "
        + "Marca3 = True"
    )
    assert db.execute(combined) == 3
    db.execute(
        "UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE WHERE "
        "(Procura.Marca = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;"
    )
    rs = db.open_recordset("SELECT COUNT(*) AS Items FROM NivelCategoria4 WHERE Marca = True")
    assert rs["Items"] == 3
    marked = db.open_recordset("SELECT * FROM NivelCategoria4 WHERE Marca = True")
    assert sorted(names(marked, "Codigo")) == [2, 3, 9]


# --- Part 4.1: totals ------------------------------------------------------------------


def sales_total(code: int, setor: int, flag: str, start: str, end: str) -> str:
    return (
        "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde "
        + "FROM VendaProdutos INNER JOIN Venda ON "
        + "VendaProdutos.Codigo = Venda.Codigo "
        + "WHERE (DataDocumento BETWEEN #"
        + start
        + "# AND #"
        + end
        + "#) AND Venda = True AND "
        + "VendaProdutos.CodigoProduto = "
        + str(code)
        + " AND VendaProdutos.CodigoSetor = "
        + str(setor)
        + " AND "
        + "VendaProdutos.Produto = "
        + flag
        + ";"
    )


def test_sales_total_counts_both_ends_and_only_concluded_sales(db: Database):
    rs = db.open_recordset(
        sales_total(1, 1, "True", "03/01/2026", "03/31/2026"), RecordsetType.SNAPSHOT
    )
    assert rs["Somatoria"] == pytest.approx(70.0)
    assert rs["Qtde"] == pytest.approx(140)


def test_sales_total_with_nothing_in_the_period_is_null(db: Database):
    rs = db.open_recordset(sales_total(1, 1, "True", "01/01/2025", "01/31/2025"))
    assert rs["Somatoria"] is None
    assert rs["Qtde"] is None


def test_purchase_total_statement(db: Database):
    sql = (
        "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde "
        + "FROM CompraProdutos INNER JOIN Compra ON "
        + "CompraProdutos.Codigo = Compra.Codigo "
        + "WHERE (DataDocumento BETWEEN #"
        + "03/01/2026"
        + "# AND #"
        + "03/05/2026"
        + "#) AND "
        + "CompraProdutos.CodigoProduto = "
        + "6"
        + " AND CompraProdutos.CodigoSetor = "
        + "3"
        + " AND "
        + "CompraProdutos.Produto = "
        + "False"
        + ";"
    )
    rs = db.open_recordset(sql, RecordsetType.SNAPSHOT)
    assert rs["Somatoria"] == pytest.approx(2500.0)


# --- translation details ---------------------------------------------------------------


def test_date_literal_is_month_first():
    assert jet.date_literal("#03/04/2026#") == "'2026-03-04'"


def test_impossible_date_literal_is_a_syntax_error():
    with pytest.raises(JetError) as info:
        jet.date_literal("#02/30/2026#")
    assert info.value.number == 3075


def test_apostrophe_in_a_name_breaks_the_statement(db: Database):
    with pytest.raises(JetError) as info:
        db.execute("UPDATE NivelCategoria1 SET Nome = 'D'Avila' WHERE Codigo = 3")
    assert info.value.number == 3075
    assert db.scalar("SELECT Nome FROM NivelCategoria1 WHERE Codigo = 3") == (
        "Despesas Administrativas"
    )


def test_second_statement_after_semicolon_is_refused(db: Database):
    with pytest.raises(JetError) as info:
        db.execute("DELETE * FROM Procura; DROP TABLE NivelCategoria4")
    assert info.value.number == 3142
    assert db.has_table("NivelCategoria4")


def test_unknown_table_is_jet_error_3078(db: Database):
    with pytest.raises(JetError) as info:
        db.open_recordset("SELECT * FROM NaoExiste")
    assert info.value.number == 3078
