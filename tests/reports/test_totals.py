"""Part 4.1: the ancestor join, the reference totals and the bulk `period_totals`.

Every edge case of Part 4.1 is checked on the reference and on the bulk computation,
on the seeded company of conftest.py (read SEED_SQL) and on the demo company.
"""

from __future__ import annotations

import datetime
import sqlite3
from collections.abc import Iterator
from pathlib import Path

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from varemo_contas.app.state import State
from varemo_contas.data import demo, queries
from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.data.errors import JetError
from varemo_contas.reports import totals
from varemo_contas.reports.totals import (
    PURCHASES,
    SALES,
    ItemPath,
    SomaCompras,
    SomaVendas,
    item_total_reference,
    period_totals,
    purchase_total_reference,
    sales_total_reference,
    totals_for_category,
)

MARCH = ("01-03-2026", "31-03-2026")

PAO = ItemPath("Receitas", "Receitas Clientes", "Vendas Produtos", "Pães", "Pão francês")
BAGUETE = ItemPath("Receitas", "Receitas Clientes", "Vendas Produtos", "Pães", "Baguete")
CDB = ItemPath("Receitas", "Receitas Financeiras", "Vendas Produtos", "Aplicações", "CDB")
FARINHA = ItemPath(
    "Despesas", "Despesas Fornecedores", "Fornecedores Insumos", "Farinhas", "Farinha de trigo"
)
ALUGUEL = ItemPath(
    "Despesas", "Despesas Administrativas", "Ocupação", "Aluguel e condomínio", "Aluguel da loja"
)
LUZ = ItemPath("Despesas", "Despesas Administrativas", "Ocupação", "Energia", "Conta de luz")
CONDOMINIO = ItemPath(
    "Despesas", "Despesas Administrativas", "Ocupação", "Aluguel e condomínio", "Condomínio"
)
CROISSANT = ItemPath("Receitas", "Receitas Clientes", "Vendas Produtos", "Pães", "Croissant")

# Rows added to the seeded company for the cases SEED_SQL does not hold.
EXTRA_SQL = """
-- An item under "Receitas Clientes" > "Vendas Produtos" that is no product, with an
-- account-kind sale that the account branch would count (Part 4.1 edge case 2).
INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca)
    VALUES (10, 'Croissant', 1, 0, 0);
INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada)
    VALUES (1, 10, 1, 0, 5.0, 2);
-- The same four names under another Categoria that sorts first ("Ativos" < "Receitas"):
-- the Categoria is not part of the criterion, the first row of the join is taken.
INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES (4, 'Ativos');
INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, Travado)
    VALUES (5, 'Receitas Financeiras', 4, 0);
INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado)
    VALUES (7, 'Vendas Produtos', 5, 0);
INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (8, 'Aplicações', 7);
INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca)
    VALUES (11, 'CDB', 8, 0, 0);
INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada)
    VALUES (2, 11, 5, 0, 10.0, 3);
"""


@pytest.fixture
def extra_db(seeded_path: str) -> Iterator[Database]:
    connection = sqlite3.connect(seeded_path)
    connection.executescript(EXTRA_SQL)
    connection.commit()
    connection.close()
    database = Database.open(seeded_path)
    yield database
    database.close()


def both(database: Database, path: ItemPath, start: str, end: str) -> tuple:
    """The reference and the bulk answer for one item; the test asserts they agree."""
    reference = item_total_reference(database, path, start, end)
    bulk = period_totals(database, [path], start, end)[path]
    assert bulk == reference, path
    return reference


# --- the query texts ---------------------------------------------------------------


def test_ancestor_join_texts_are_the_spec_pieces() -> None:
    """Part 4.1 "Ancestor join": the table's pieces in order, level 4 with its blank."""
    assert totals.ancestor_join_sql(1) == (
        "SELECT * FROM (NivelCategoria1 "
        "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
        "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome;"
    )
    assert totals.ancestor_join_sql(2) == (
        "SELECT * FROM ((NivelCategoria2 "
        "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
        "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
        "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome;"
    )
    assert totals.ancestor_join_sql(3) == (
        "SELECT * FROM (((NivelCategoria3 "
        "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
        "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
        "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
        "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
        "NivelCategoria3.Nome;"
    )
    assert totals.ancestor_join_sql(4) == (
        "SELECT * FROM ((((NivelCategoria4 "
        "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
        "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
        "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
        "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
        "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
        "NivelCategoria3.Nome, NivelCategoria4.Nome ;"
    )


def test_ancestor_join_other_level_opens_the_shared_text_as_it_stands(db: Database) -> None:
    """Part 4.1: for a level outside 1..4 the shared string is not rebuilt."""
    state = State(database=db, sql="SELECT * FROM NivelCategoria0 ORDER BY Nome;")
    for level in (0, 5, -1):
        joined = totals.AncestorJoin(state, db, level)
        assert state.sql == "SELECT * FROM NivelCategoria0 ORDER BY Nome;"
        assert [row[1] for row in joined.rows()] == ["Despesas", "Receitas", "Vazia"]
        joined.close()
    joined = totals.AncestorJoin(state, db, 2)
    assert state.sql == totals.ancestor_join_sql(2)
    assert joined.record_count == 6
    assert joined.kind == RecordsetType.SNAPSHOT
    joined.close()


def test_sales_sum_query_is_built_from_the_spec_pieces() -> None:
    """Part 4.1 step 5: dates re-formatted mm/dd/yyyy, the boolean literal, in order."""
    assert totals.sum_query(SALES, "01-03-2026", "31-03-2026", 17, 4, False) == (
        "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde "
        "FROM VendaProdutos INNER JOIN Venda ON "
        "VendaProdutos.Codigo = Venda.Codigo "
        "WHERE (DataDocumento BETWEEN #03/01/2026# AND #03/31/2026#) AND Venda = True AND "
        "VendaProdutos.CodigoProduto = 17 AND VendaProdutos.CodigoSetor = 4 AND "
        "VendaProdutos.Produto = False;"
    )


def test_purchase_sum_query_has_no_counterpart_of_venda_true() -> None:
    """Part 4.1 "Purchase total": every purchase counts, the asymmetry is intended."""
    assert totals.sum_query(PURCHASES, "05-01-2026", "07-02-2026", 3, 2, True) == (
        "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde "
        "FROM CompraProdutos INNER JOIN Compra ON "
        "CompraProdutos.Codigo = Compra.Codigo "
        "WHERE (DataDocumento BETWEEN #01/05/2026# AND #02/07/2026#) AND "
        "CompraProdutos.CodigoProduto = 3 AND CompraProdutos.CodigoSetor = 2 AND "
        "CompraProdutos.Produto = True;"
    )


def test_criteria_texts() -> None:
    """Part 4.1 steps 3 and 4: names between quotes as they stand; Categoria left out."""
    assert totals.account_criteria(CDB) == (
        "NivelCategoria4.Nome = 'CDB' AND NivelCategoria3.Nome = 'Aplicações' AND "
        "NivelCategoria2.Nome = 'Vendas Produtos' AND NivelCategoria1.Nome = "
        "'Receitas Financeiras'"
    )
    assert totals.product_criteria(PAO) == "NomeProduto = 'Pão francês' AND NomeLinha = 'Pães'"


def test_period_dates_are_written_month_day_year() -> None:
    """Part 4.1 "Dates": two-digit month and day, four-digit year."""
    assert totals.jet_date("05-01-2026") == "01/05/2026"
    assert totals.jet_date("31-12-1999") == "12/31/1999"
    with pytest.raises(JetError):
        totals.jet_date("31-02-2026")


def test_categories_choose_sales_purchases_or_nothing() -> None:
    """Part 4.4 step 4: exactly "Receitas" and "Despesas"; anything else has no totals."""
    assert totals_for_category("Receitas") is SALES
    assert totals_for_category("Despesas") is PURCHASES
    assert totals_for_category("receitas") is None
    assert totals_for_category("Vazia") is None


# --- the edge cases of Part 4.1 ------------------------------------------------------


def test_product_sales_in_the_period(db: Database) -> None:
    """Product branch: product 1 of line 1, sales of 1 and 15 March (0.5 x 100 + 0.5 x 40)."""
    assert both(db, PAO, *MARCH) == (70.0, 140.0)


def test_no_sales_in_the_period_gives_zero(db: Database) -> None:
    """Part 4.1 edge case: `Somatoria` and `Qtde` are null, both totals are 0."""
    assert both(db, PAO, "01-02-2026", "28-02-2026") == (0.0, 0.0)
    assert both(db, BAGUETE, "01-03-2026", "30-03-2026") == (0.0, 0.0)


def test_vendas_produtos_item_that_is_no_product_gives_zero(extra_db: Database) -> None:
    """Part 4.1 edge case: no product row -> 0, though an account-kind sale exists."""
    assert both(extra_db, CROISSANT, *MARCH) == (0.0, 0.0)


def test_other_setor_with_a_grupo_named_vendas_produtos_takes_the_account_branch(
    db: Database,
) -> None:
    """Part 4.1 edge case: both names must match for the product branch."""
    assert both(db, CDB, *MARCH) == (120.0, 1.0)


def test_branch_names_compare_case_sensitively(db: Database) -> None:
    """Part 4.1 step 2: "receitas clientes" is not "Receitas Clientes": the account branch
    finds item 1 (the find is case-blind), which has no account-kind sales."""
    lower = PAO._replace(setor="receitas clientes")
    assert both(db, lower, *MARCH) == (0.0, 0.0)


def test_venda_false_is_not_counted(db: Database) -> None:
    """Part 4.1 edge case: the 10 March row with Venda false (999 units) is left out."""
    money, quantity = both(db, PAO, "10-03-2026", "10-03-2026")
    assert (money, quantity) == (0.0, 0.0)


def test_purchases_always_count(db: Database) -> None:
    """Part 4.1 edge case: purchases have no Venda flag; both kinds of branch."""
    assert both(db, FARINHA, *MARCH) == (300.0, 2.0)
    assert both(db, ALUGUEL, *MARCH) == (2500.0, 1.0)
    assert both(db, LUZ, *MARCH) == (420.5, 1.0)


def test_both_ends_of_the_period_are_counted(db: Database) -> None:
    """Part 4.1 edge case: sales on the start date (1 March) and the end date (31 March)."""
    assert both(db, PAO, "01-03-2026", "01-03-2026") == (50.0, 100.0)
    assert both(db, BAGUETE, "31-03-2026", "31-03-2026") == (24.0, 3.0)
    assert both(db, FARINHA, "05-03-2026", "05-03-2026") == (300.0, 2.0)


def test_a_name_that_matches_nothing_gives_zero(db: Database) -> None:
    """Part 4.1 "Failure handling": no match is not an error."""
    assert both(db, PAO._replace(item="Sonho"), *MARCH) == (0.0, 0.0)
    assert both(db, CONDOMINIO, *MARCH) == (0.0, 0.0)
    assert both(db, ALUGUEL._replace(setor="Outro"), *MARCH) == (0.0, 0.0)


def test_categoria_is_not_part_of_the_criterion(extra_db: Database) -> None:
    """Part 4.1 step 3: the first row of the ancestor join with the four names is taken:
    "Ativos" sorts before "Receitas", so the Receitas CDB totals the Ativos CDB's sales."""
    assert both(extra_db, CDB, *MARCH) == (30.0, 3.0)


def test_four_names_on_rows_that_tie_in_the_join_order(extra_db: Database) -> None:
    """Two rows with the same names at all five levels: the bulk takes the reference's row."""
    connection = extra_db.connection
    connection.executescript(
        "INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES (6, 'ativos');"
        "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) "
        "VALUES (6, 'Receitas Financeiras', 6);"
        "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1) "
        "VALUES (8, 'Vendas Produtos', 6);"
        "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (9, 'Aplicações', 8);"
        "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) VALUES (12, 'CDB', 9);"
        "INSERT INTO VendaProdutos VALUES (3, 12, 6, 0, 1.0, 1);"
    )
    result = both(extra_db, CDB, *MARCH)
    assert result in {(30.0, 3.0), (1.0, 1.0)}


def test_the_same_names_under_another_categoria_in_one_bulk_call(extra_db: Database) -> None:
    """The bulk's ordered fallback serves several items at once, each as the reference."""
    ativos = CDB._replace(categoria="Ativos")
    paths = [CDB, ativos, PAO, ALUGUEL, FARINHA, CROISSANT, LUZ]
    bulk = period_totals(extra_db, paths, *MARCH)
    assert bulk == {path: item_total_reference(extra_db, path, *MARCH) for path in paths}
    assert bulk[CDB] == (30.0, 3.0)
    assert bulk[ativos] == (0.0, 0.0)  # "Ativos" is neither "Receitas" nor "Despesas"


def test_other_categoria_has_no_totals(db: Database) -> None:
    """Part 4.4 step 4 through the helper: an item under "Vazia" gets (0, 0)."""
    vazia = LUZ._replace(categoria="Vazia")
    assert both(db, vazia, *MARCH) == (0.0, 0.0)
    # The purchase routine itself ignores the Categoria (Part 4.1 step 3).
    assert purchase_total_reference(db, vazia, *MARCH) == (420.5, 1.0)


def test_apostrophe_in_a_name_is_a_database_failure(db: Database) -> None:
    """Part 4.1 "Failure handling": the criterion breaks; both ways raise the Jet error."""
    broken = ALUGUEL._replace(item="D'Ávila")
    with pytest.raises(JetError) as reference:
        item_total_reference(db, broken, *MARCH)
    with pytest.raises(JetError) as bulk:
        period_totals(db, [ALUGUEL, broken], *MARCH)
    assert bulk.value.number == reference.value.number
    product = FARINHA._replace(conta="Farinha's")
    with pytest.raises(JetError):
        period_totals(db, [product], *MARCH)


def test_shared_state_form_leaves_the_query_and_the_quantity(db: Database) -> None:
    """Part 4.1 "Interfaces": the result is returned, the quantity stays in shared state."""
    state = State(database=db, period_start="01-03-2026", period_end="31-03-2026")
    lines = db.open_recordset(queries.LINES_AND_PRODUCTS, RecordsetType.SNAPSHOT)
    assert SomaVendas(state, PAO, lines) == 70.0
    assert state.quantity_total == 140.0
    assert state.sql == totals.sum_query(SALES, *MARCH, 1, 1, True)
    assert SomaCompras(state, ALUGUEL, lines) == 2500.0
    assert state.quantity_total == 1.0
    assert state.sql == totals.sum_query(PURCHASES, *MARCH, 6, 3, False)
    # No match: the query string stays empty and both totals are 0 (step 6).
    assert SomaVendas(state, PAO._replace(item="Sonho"), lines) == 0.0
    assert state.quantity_total == 0.0
    assert state.sql == ""
    lines.close()


def test_reference_functions_by_kind(db: Database) -> None:
    assert sales_total_reference(db, PAO, *MARCH) == (70.0, 140.0)
    assert purchase_total_reference(db, FARINHA, *MARCH) == (300.0, 2.0)
    # The sales routine on a purchase-side path takes the account branch and finds nothing.
    assert sales_total_reference(db, FARINHA, *MARCH) == (0.0, 0.0)


def test_bulk_of_the_whole_seeded_chart_equals_the_reference(extra_db: Database) -> None:
    paths = chart_paths(extra_db)
    for start, end in (MARCH, ("01-01-2026", "31-12-2026"), ("31-03-2026", "01-03-2026")):
        bulk = period_totals(extra_db, paths, start, end)
        assert bulk == {path: item_total_reference(extra_db, path, start, end) for path in paths}


def test_sums_add_rows_in_the_reference_order(db: Database) -> None:
    """Lines entered out of date order: the bulk sums each item in the reference's order,
    so even an order-sensitive float sum is identical (1e16 + 1 + 1 is not 1e16 + 2)."""
    db.connection.executescript(
        "INSERT INTO Compra (Codigo, DataDocumento) VALUES (3, '2026-03-25'), (4, '2026-03-02');"
        "INSERT INTO CompraProdutos VALUES (3, 8, 3, 0, 1e16, 1);"
        "INSERT INTO CompraProdutos VALUES (4, 8, 3, 0, 1.0, 1);"
        "INSERT INTO CompraProdutos VALUES (4, 8, 3, 0, 1.0, 1);"
    )
    money, _ = both(db, LUZ, *MARCH)
    assert money == ((420.5 + 1e16) + 1.0) + 1.0


# --- the demo company --------------------------------------------------------------

DEMO_TODAY = datetime.date(2026, 6, 30)


@pytest.fixture(scope="module")
def demo_db(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Database]:
    folder = tmp_path_factory.mktemp("demo_totals")
    demo.build_demo(str(folder), today=DEMO_TODAY)
    database = Database.open(str(Path(folder) / "empresa" / "Dados" / "empresa.mdb"))
    yield database
    database.close()


def chart_paths(database: Database) -> list[ItemPath]:
    join = database.open_recordset(queries.joined_level(4), RecordsetType.SNAPSHOT)
    at = [join.field_index(f"NivelCategoria{level}.Nome") for level in range(5)]
    paths = [ItemPath(*(row[i] for i in at)) for row in join.rows()]
    join.close()
    return paths


@pytest.fixture(scope="module")
def demo_paths(demo_db: Database) -> list[ItemPath]:
    return chart_paths(demo_db)


def test_demo_whole_chart_half_year(demo_db: Database, demo_paths: list[ItemPath]) -> None:
    """Every item of the demo over its last six months: bulk == reference, some nonzero."""
    start, end = "01-01-2026", "30-06-2026"
    lines = demo_db.open_recordset(queries.LINES_AND_PRODUCTS, RecordsetType.SNAPSHOT)
    bulk = period_totals(demo_db, demo_paths, start, end, lines)
    reference = {path: item_total_reference(demo_db, path, start, end, lines) for path in bulk}
    lines.close()
    assert bulk == reference
    nonzero = [path for path, value in bulk.items() if value != (0.0, 0.0)]
    assert {path.categoria for path in nonzero} == {"Receitas", "Despesas"}
    assert any(totals.is_product_branch(SALES, path) for path in nonzero)
    assert any(totals.is_product_branch(PURCHASES, path) for path in nonzero)


def _mutate(path: ItemPath, how: int) -> ItemPath:
    # Variants that exercise the branch rules: case changes, unknown names, swapped Categoria.
    if how == 1:
        return path._replace(item=path.item.upper())
    if how == 2:
        return path._replace(setor=path.setor.lower())
    if how == 3:
        return path._replace(item=path.item + " X")
    if how == 4:
        other = "Despesas" if path.categoria == "Receitas" else "Receitas"
        return path._replace(categoria=other)
    return path


@settings(
    max_examples=40,
    deadline=None,
    suppress_health_check=[HealthCheck.function_scoped_fixture],
)
@given(data=st.data())
def test_demo_random_items_and_periods(
    demo_db: Database, demo_paths: list[ItemPath], data: st.DataObject
) -> None:
    """Hypothesis: random items (some altered) and random periods, bulk == reference."""
    chosen = data.draw(st.lists(st.sampled_from(demo_paths), min_size=1, max_size=6))
    hows = data.draw(st.lists(st.integers(0, 6), min_size=len(chosen), max_size=len(chosen)))
    paths = [_mutate(path, how) for path, how in zip(chosen, hows, strict=True)]
    first = data.draw(st.dates(datetime.date(2025, 6, 1), datetime.date(2026, 7, 31)))
    length = data.draw(st.integers(-3, 200))
    last = first + datetime.timedelta(days=length)
    start, end = first.strftime("%d-%m-%Y"), last.strftime("%d-%m-%Y")
    bulk = period_totals(demo_db, paths, start, end)
    assert bulk == {path: item_total_reference(demo_db, path, start, end) for path in paths}
