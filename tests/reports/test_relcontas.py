"""Part 4.5: the chart listing `RelContas`, its feed and its pages.

The seeded company of conftest.py (SEED_SQL): Categorias Receitas, Despesas and Vazia (no
Setores), the Grupo "Vendas Produtos" under two Setores and the Conta "Pães" under two Grupos.
"""

from __future__ import annotations

import sqlite3
from collections.abc import Iterator
from pathlib import Path

import pytest
from PySide6.QtCore import QLocale

from varemo_contas.app import desktop
from varemo_contas.app.state import State
from varemo_contas.data import queries
from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.reports.engine import (
    ORIENTATION_PROMPT,
    ORIENTATION_TITLE,
    Orientation,
    long_date,
)
from varemo_contas.reports.relcontas import (
    INDENT,
    ChartFeed,
    RelContas,
    chart_lines,
)

LEVEL_1 = [
    (0, "Despesas"),
    (1, "Despesas Administrativas"),
    (1, "Despesas Fornecedores"),
    (0, "Receitas"),
    (1, "Receitas Clientes"),
    (1, "Receitas Financeiras"),
]
LEVEL_2 = [
    (0, "Despesas"),
    (1, "Despesas Administrativas"),
    (2, "Ocupação"),
    (1, "Despesas Fornecedores"),
    (2, "Fornecedores Insumos"),
    (2, "Fornecedores Produtos"),
    (0, "Receitas"),
    (1, "Receitas Clientes"),
    (2, "Vendas Insumos"),
    (2, "Vendas Produtos"),
    (1, "Receitas Financeiras"),
    (2, "Vendas Produtos"),
]
LEVEL_3 = [
    (0, "Despesas"),
    (1, "Despesas Administrativas"),
    (2, "Ocupação"),
    (3, "Aluguel e condomínio"),
    (3, "Energia"),
    (1, "Despesas Fornecedores"),
    (2, "Fornecedores Insumos"),
    (3, "Farinhas"),
    (2, "Fornecedores Produtos"),
    (3, "Pães"),
    (0, "Receitas"),
    (1, "Receitas Clientes"),
    (2, "Vendas Insumos"),
    (3, "Farinhas"),
    (2, "Vendas Produtos"),
    (3, "Pães"),
    (1, "Receitas Financeiras"),
    (2, "Vendas Produtos"),
    (3, "Aplicações"),
]
LEVEL_4 = [
    (0, "Despesas"),
    (1, "Despesas Administrativas"),
    (2, "Ocupação"),
    (3, "Aluguel e condomínio"),
    (4, "Aluguel da loja"),
    (4, "Condomínio"),
    (3, "Energia"),
    (4, "Conta de luz"),
    (1, "Despesas Fornecedores"),
    (2, "Fornecedores Insumos"),
    (3, "Farinhas"),
    (4, "Farinha de trigo"),
    (2, "Fornecedores Produtos"),
    (3, "Pães"),
    (4, "Pão francês"),
    (0, "Receitas"),
    (1, "Receitas Clientes"),
    (2, "Vendas Insumos"),
    (3, "Farinhas"),
    (4, "Farinha de trigo"),
    (2, "Vendas Produtos"),
    (3, "Pães"),
    (4, "Baguete"),
    (4, "Pão francês"),
    (1, "Receitas Financeiras"),
    (2, "Vendas Produtos"),
    (3, "Aplicações"),
    (4, "CDB"),
]
EXPECTED = {1: LEVEL_1, 2: LEVEL_2, 3: LEVEL_3, 4: LEVEL_4}


@pytest.fixture(autouse=True)
def pt_br() -> Iterator[None]:
    previous = QLocale()
    QLocale.setDefault(QLocale(QLocale.Language.Portuguese, QLocale.Country.Brazil))
    yield
    QLocale.setDefault(previous)


@pytest.fixture
def state(db: Database, tmp_path: Path) -> State:
    (tmp_path / "dados" / "Dados").mkdir(parents=True)
    return State(
        database=db,
        company_name="Padaria Teste Ltda",
        data_folder=str(tmp_path / "dados") + "/",
    )


def run_sql(path: str, sql: str) -> None:
    connection = sqlite3.connect(path)
    try:
        connection.executescript(sql)
        connection.commit()
    finally:
        connection.close()


def snapshot(db: Database, level: int):
    return db.open_recordset(queries.joined_level(level), RecordsetType.SNAPSHOT)


def detail_lines(document) -> list[tuple[int, str]]:
    """(level, text) of every detail line, the level read from its text control's name."""
    return [
        (int(t.control[-1]), t.text)
        for page in document.pages
        for t in page.texts()
        if t.section == "Detail"
    ]


# --- the feed ------------------------------------------------------------------------


@pytest.mark.parametrize("level", [1, 2, 3, 4])
def test_exact_line_sequence_of_the_seeded_company(db: Database, level: int) -> None:
    """Part 4.5 feed: the first differing level is the line, then the record's own name."""
    assert chart_lines(snapshot(db, level), level) == EXPECTED[level]


@pytest.mark.parametrize("level", [1, 2, 3, 4])
def test_the_report_prints_the_feed_lines_categoria_in_upper_case(state: State, level: int) -> None:
    document = RelContas(state, level).run()
    expected = [(k, name.upper() if k == 0 else name) for k, name in EXPECTED[level]]
    assert detail_lines(document) == expected


def test_two_setores_of_the_same_name_under_different_categorias_both_print(
    seeded_path: str, state: State
) -> None:
    """Part 4.5 edge case: a change of Categoria empties all deeper previous names."""
    run_sql(
        seeded_path,
        "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES "
        "(10, 'Financeiro', 1), (11, 'Financeiro', 2);",
    )
    state.database.close()
    state.database = Database.open(seeded_path)
    lines = chart_lines(snapshot(state.database, 1), 1)
    assert lines.count((1, "Financeiro")) == 2
    assert lines.index((1, "Financeiro")) < lines.index((0, "Receitas"))
    assert lines[-3:] == [(1, "Financeiro"), (1, "Receitas Clientes"), (1, "Receitas Financeiras")]
    document = RelContas(state, 1).run()
    assert detail_lines(document).count((1, "Financeiro")) == 2
    state.database.close()


def test_the_same_grupo_name_under_two_setores_prints_twice(db: Database) -> None:
    lines = chart_lines(snapshot(db, 2), 2)
    assert lines.count((2, "Vendas Produtos")) == 2


def test_an_empty_level_table_gives_no_lines(seeded_path: str, state: State) -> None:
    """Part 4.5 edge case: an empty level table gives a report with no lines."""
    run_sql(seeded_path, "DELETE FROM NivelCategoria4;")
    state.database.close()
    state.database = Database.open(seeded_path)
    assert chart_lines(snapshot(state.database, 4), 4) == []
    document = RelContas(state, 4).run()
    assert detail_lines(document) == []
    assert len(document.pages) == 1
    texts = document.pages[0].text()
    assert "Impresso: " in texts and "Página 1" in texts
    state.database.close()


def test_previous_names_and_fetch_state_follow_the_feed(db: Database) -> None:
    feed = ChartFeed(snapshot(db, 4), 4)
    assert feed.fetch_state == 0 and feed.previous == ["", "", "", "", ""]
    assert feed.next_line() == (0, "Despesas")
    assert feed.fetch_state == 1
    assert feed.previous == ["Despesas", "", "", "", ""]
    for _ in range(4):
        feed.next_line()
    assert feed.previous == [
        "Despesas",
        "Despesas Administrativas",
        "Ocupação",
        "Aluguel e condomínio",
        "Aluguel da loja",
    ]
    # A new Setor empties the Grupo, Conta and Item names.
    while feed.next_line() != (1, "Despesas Fornecedores"):
        pass
    assert feed.previous == ["Despesas", "Despesas Fornecedores", "", "", ""]


def test_the_same_record_is_fetched_again_until_its_own_name_prints(db: Database) -> None:
    recordset = snapshot(db, 4)
    feed = ChartFeed(recordset, 4)
    positions = []
    for _ in range(5):
        feed.next_line()
        positions.append(recordset.absolute_position)
    assert positions == [0, 0, 0, 0, 0]  # Despesas, Setor, Grupo, Conta, then the Item
    feed.next_line()
    assert recordset.absolute_position == 1  # "Condomínio", same ancestors


def test_a_null_ancestor_never_counts_as_a_change(seeded_path: str) -> None:
    """VB compares Null as Null, never different: an orphan prints only its own name."""
    run_sql(
        seeded_path,
        "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) VALUES (50, 'Órfão', 99);",
    )
    database = Database.open(seeded_path)
    try:
        lines = chart_lines(snapshot(database, 4), 4)
    finally:
        database.close()
    assert lines[0] == (4, "Órfão")
    assert lines[1:] == LEVEL_4


def test_another_level_opens_the_shared_query_as_it_stands(state: State) -> None:
    """Part 4.5 step 3: for a level outside 1..4 the shared SQL text is not rebuilt."""
    state.sql = queries.joined_level(1)
    document = RelContas(state, 0).run()
    assert state.sql == queries.joined_level(1)
    # No ancestors to compare: every record prints its Categoria.
    assert detail_lines(document) == [
        (0, "DESPESAS"),
        (0, "DESPESAS"),
        (0, "RECEITAS"),
        (0, "RECEITAS"),
    ]


def test_levels_1_to_4_rebuild_the_shared_query(state: State) -> None:
    state.sql = "SELECT * FROM Procura;"
    RelContas(state, 3).run()
    assert state.sql == queries.joined_level(3)


def test_a_broken_query_goes_to_the_error_log(state: State, fake_desktop) -> None:
    state.sql = "SELECT * FROM TabelaQueNaoExiste;"
    document = RelContas(state, 7).run()
    assert detail_lines(document) == []
    assert [box.title for box in fake_desktop.boxes] == ["Tratamento de Erros"]
    log = Path(state.data_folder, "Dados", "Erros.txt").read_text(encoding="cp1252")
    assert "Rotina: Relatório Plano de Contas" in log


# --- the report's sections ----------------------------------------------------------


def test_one_of_five_indented_controls_holds_text_per_line(state: State) -> None:
    """Part 4.5 detail: five text controls, one per level, each indented further."""
    report = RelContas(state, 4)
    report.ReportStart()
    report.DataInitialize()
    seen = []
    while (row := report.FetchData()) is not None:
        assert [c.text for c in report.Texto] == ["", "", "", "", ""]  # cleared by the feed
        report.fields.update(row)
        report.Detail_Format()
        filled = [i for i, c in enumerate(report.Texto) if c.text]
        assert filled == [row["Nivel"]]
        seen.append(report.Texto[filled[0]].text)
    report.ReportEnd()
    assert seen[0] == "DESPESAS" and "RECEITAS" in seen
    lefts = [c.left for c in report.Texto]
    assert lefts == [INDENT * k for k in range(5)]


def test_lines_are_indented_by_level_on_the_page(state: State) -> None:
    document = RelContas(state, 4).run()
    x_by_level = {}
    for page in document.pages:
        for t in page.texts():
            if t.section == "Detail":
                x_by_level.setdefault(int(t.control[-1]), set()).add(round(t.x, 3))
    assert all(len(xs) == 1 for xs in x_by_level.values())
    xs = [next(iter(x_by_level[k])) for k in range(5)]
    assert xs == sorted(xs) and len(set(xs)) == 5


def test_page_header_says_impresso_and_today_in_the_long_format(state: State) -> None:
    document = RelContas(state, 2).run()
    header = [t.text for t in document.pages[0].texts() if t.section == "PageHeader"]
    assert "Impresso: " + long_date() in header
    assert "PADARIA TESTE LTDA" in header
    assert "Plano de Contas" in header


def test_page_footer_says_pagina_and_the_number(state: State) -> None:
    document = RelContas(state, 4).run()
    footer = [t.text for t in document.pages[0].texts() if t.section == "PageFooter"]
    assert "Página 1" in footer


def test_report_footer_counts_the_lines_of_each_level(state: State) -> None:
    document = RelContas(state, 4).run()
    texts = document.pages[-1].text()
    assert "Total: 2 categorias, 4 setores, 6 grupos, 7 contas, 9 itens." in texts


def test_the_snapshot_is_released_when_the_report_ends(state: State) -> None:
    report = RelContas(state, 4)
    report.run()
    assert report.recordset is None


def test_landscape_asks_the_orientation_question_and_yes_turns_portrait(
    state: State, fake_desktop
) -> None:
    """Part 4.5 report start step 1."""
    report = RelContas(state, 1)
    report.orientation = Orientation.LANDSCAPE
    fake_desktop.answers = [desktop.vbYes]
    document = report.run()
    [box] = fake_desktop.boxes
    assert box.prompt == (
        "A orientação do papel está na horizontal.\r"
        "O correto é a orientação na vertical.\r"
        "Quer imprimir com orientação vertical?"
    )
    assert box.prompt == ORIENTATION_PROMPT
    assert box.title == ORIENTATION_TITLE == "Orientação do Papel"
    assert box.buttons == desktop.vbYesNo + desktop.vbQuestion
    assert report.orientation == Orientation.PORTRAIT
    assert (document.page_width, document.page_height) == (210.0, 297.0)


def test_landscape_answered_no_stays_landscape(state: State, fake_desktop) -> None:
    report = RelContas(state, 1)
    report.orientation = Orientation.LANDSCAPE
    fake_desktop.answers = [desktop.vbNo]
    document = report.run()
    assert report.orientation == Orientation.LANDSCAPE
    assert (document.page_width, document.page_height) == (297.0, 210.0)
    assert detail_lines(document) == [(k, n.upper() if k == 0 else n) for k, n in LEVEL_1]


def test_portrait_asks_nothing(state: State, fake_desktop) -> None:
    RelContas(state, 4).run()
    assert fake_desktop.boxes == []


# --- a long chart over pages ----------------------------------------------------------


@pytest.fixture
def big_state(seeded_path: str, state: State) -> Iterator[State]:
    """3 Categorias x 4 Setores x 3 Grupos x 4 Contas x 5 Itens over the seeded chart."""
    rows = []
    code = {1: 100, 2: 100, 3: 100, 4: 100}
    for c in range(3):
        rows.append(f"INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES ({10 + c}, 'Cat {c}');")
        for s in range(4):
            code[1] += 1
            setor = code[1]
            rows.append(
                "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) "
                f"VALUES ({setor}, 'Setor {c}.{s}', {10 + c});"
            )
            for g in range(3):
                code[2] += 1
                grupo = code[2]
                rows.append(
                    "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1) "
                    f"VALUES ({grupo}, 'Grupo {c}.{s}.{g}', {setor});"
                )
                for k in range(4):
                    code[3] += 1
                    conta = code[3]
                    rows.append(
                        "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) "
                        f"VALUES ({conta}, 'Conta {c}.{s}.{g}.{k}', {grupo});"
                    )
                    for i in range(5):
                        code[4] += 1
                        rows.append(
                            "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) "
                            f"VALUES ({code[4]}, 'Item {c}.{s}.{g}.{k}.{i}', {conta});"
                        )
    run_sql(seeded_path, "\n".join(rows))
    state.database.close()
    state.database = Database.open(seeded_path)
    yield state
    state.database.close()


def test_a_long_listing_spans_numbered_pages(big_state: State) -> None:
    document = RelContas(big_state, 4).run()
    assert len(document.pages) > 10
    for number, page in enumerate(document.pages, start=1):
        footer = [t.text for t in page.texts() if t.section == "PageFooter"]
        assert "Página " + str(number) in footer


def test_no_heading_line_ends_a_page_alone(big_state: State) -> None:
    """Keep-with-next: a Categoria, Setor, Grupo or Conta line stays with what follows."""
    for level in (2, 3, 4):
        document = RelContas(big_state, level).run()
        for page in document.pages[:-1]:
            lines = [t for t in page.texts() if t.section == "Detail"]
            assert int(lines[-1].control[-1]) == level, (level, page.number, lines[-1].text)


def test_continuation_pages_name_the_path_they_continue(big_state: State) -> None:
    document = RelContas(big_state, 4).run()
    for page in document.pages[1:]:
        first = next(t for t in page.texts() if t.section == "Detail")
        continued = [t.text for t in page.texts() if t.control == "Continua"]
        if first.control != "Texto0":
            assert len(continued) == 1 and continued[0].endswith(" (continuação)")
        else:
            assert continued == []


def test_toc_holds_categorias_setores_and_grupos_with_their_pages(big_state: State) -> None:
    document = RelContas(big_state, 4).run()
    assert [e.text for e in document.toc if e.level == 0][:2] == ["CAT 0", "CAT 1"]
    assert {e.level for e in document.toc} == {0, 1, 2}
    for entry in document.toc:
        texts = [t.text for t in document.pages[entry.page].texts() if t.section == "Detail"]
        assert entry.text in texts


def test_a_name_longer_than_the_line_wraps_whole(seeded_path: str, state: State) -> None:
    long_name = " ".join(["Despesa de manutenção preventiva do forno"] * 6)
    run_sql(
        seeded_path,
        "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3) "
        f"VALUES (60, '{long_name}', 6);",
    )
    state.database.close()
    state.database = Database.open(seeded_path)
    document = RelContas(state, 4).run()
    pieces = [t for t in document.pages[0].texts() if t.section == "Detail" and "forno" in t.text]
    assert len(pieces) >= 2
    assert " ".join(t.text for t in pieces) == long_name
    assert len({round(t.x, 3) for t in pieces}) == 1
    after = next(t for t in document.pages[0].texts() if t.text == "Despesas Fornecedores")
    assert after.y >= pieces[-1].y + pieces[-1].height - 0.01
    state.database.close()
