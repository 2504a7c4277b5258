"""Part 2.2 (record browsing and counters): `Movimento`, the counter, the field fill,
`MoveFiltro` over the search hits and the found-records report.

The item page of the seeded company (tests/conftest.py SEED_SQL) holds 9 rows in the joined
order; by position, the item codes and their group (the account, "NivelCategoria3.Nome"):
1 Aluguel da loja (6) and 2 Condomínio (7) in "Aluguel e condomínio", 3 Conta de luz (8) in
"Energia", 4 Farinha de trigo (5) in "Farinhas", 5 Pão francês (4) in "Pães", 6 Farinha de
trigo (3) in "Farinhas", 7 Baguete (2) and 8 Pão francês (1) in "Pães", 9 CDB (9) in
"Aplicações". The counter is the third panel of `Status`.
"""

from __future__ import annotations

import pytest

from varemo_contas.app import desktop

CODES_BY_POSITION = [6, 7, 8, 5, 4, 3, 2, 1, 9]
FILTER_TAIL = "com as regras de filtro estabelecidas."


def counter(window) -> str:
    return window.Status.panel_text(2)


def current_item(window) -> int:
    return int(window.data_set()["NivelCategoria4.Codigo"])


def go_to_position(window, position: int) -> None:
    window.Movimento_Click(0)
    for _ in range(position - 1):
        window.Movimento_Click(4)
    assert counter(window).endswith(f"{position}/9") or window.PaginaAtiva == 1


def assert_at(window, position: int, total: int = 9) -> None:
    assert counter(window) == f"Registro {position}/{total}"
    assert window.data_set().absolute_position == position - 1
    if window.PaginaAtiva == 0 and total == 9:
        assert current_item(window) == CODES_BY_POSITION[position - 1]


def log_records(text: str) -> int:
    return text.count("Rotina: ")


# --- Movimento ---------------------------------------------------------------------------


def test_the_counter_at_start_shows_registro_1_of_9(contas, fake_desktop):
    """Part 2.2: the counter text "1/9" as "Registro " + text in the third panel."""
    assert contas.NivelAtual == 4 and contas.PaginaAtiva == 0
    assert contas.TotalRegistros[0] == 9
    assert_at(contas, 1)


def test_first_moves_to_row_1(contas, fake_desktop):
    contas.Movimento_Click(5)
    contas.Movimento_Click(0)
    assert_at(contas, 1)


def test_previous_moves_one_row_back(contas, fake_desktop):
    go_to_position(contas, 5)
    contas.Movimento_Click(1)
    assert_at(contas, 4)


def test_next_moves_one_row_on(contas, fake_desktop):
    contas.Movimento_Click(4)
    assert_at(contas, 2)
    contas.Movimento_Click(4)
    assert_at(contas, 3)


def test_last_moves_to_the_total(contas, fake_desktop):
    contas.Movimento_Click(5)
    assert_at(contas, 9)


def test_previous_at_position_1_leaves_row_and_counter_unchanged(contas, fake_desktop):
    """Part 2.2 edge case: no move at all when the position is already 1."""
    mark = contas.data_set().bookmark
    contas.Movimento_Click(1)
    assert contas.data_set().bookmark == mark
    assert_at(contas, 1)
    assert fake_desktop.boxes == []


def test_next_at_the_last_position_leaves_row_and_counter_unchanged(contas, fake_desktop):
    """Part 2.2 edge case: "next" at the last position likewise."""
    contas.Movimento_Click(5)
    mark = contas.data_set().bookmark
    contas.Movimento_Click(4)
    assert contas.data_set().bookmark == mark
    assert_at(contas, 9)
    assert fake_desktop.boxes == []


@pytest.mark.parametrize(
    ("start", "end"),
    [(1, 3), (2, 3), (3, 4), (4, 5), (5, 6), (6, 7), (7, 9), (8, 9)],
)
def test_next_group_moves_to_the_first_row_of_another_account(contas, fake_desktop, start, end):
    """Part 2.2 index 3: the next row whose "NivelCategoria3.Nome" differs."""
    go_to_position(contas, start)
    contas.Movimento_Click(3)
    assert_at(contas, end)


def test_next_group_in_the_last_group_moves_to_the_last_row(contas, fake_desktop):
    """Part 2.2 index 3: nothing after it still has another name: the last row."""
    contas.Movimento_Click(5)
    contas.Movimento_Click(3)
    assert_at(contas, 9)


@pytest.mark.parametrize(("start", "end"), [(3, 2), (4, 3), (6, 5), (8, 6), (9, 8), (2, 1)])
def test_previous_group_moves_to_the_previous_row_of_another_account(
    contas, fake_desktop, start, end
):
    """Part 2.2 index 2: the previous row whose group name differs; none -> the first row."""
    go_to_position(contas, start)
    contas.Movimento_Click(2)
    assert_at(contas, end)


def test_previous_group_in_the_first_group_moves_to_the_first_row(contas, fake_desktop):
    contas.Movimento_Click(2)
    assert_at(contas, 1)


def test_the_group_move_criterion_is_built_from_the_parent_name(contas, fake_desktop):
    """Part 2.2: "NivelCategoria3.Nome <> '" + group name + "'" at level 4."""
    contas.Movimento_Click(3)
    assert contas.CriterioMove == "NivelCategoria3.Nome <> 'Aluguel e condomínio'"


@pytest.mark.parametrize(
    ("command", "criterion", "end", "total"),
    [
        ("ID_Setor", "NivelCategoria0.Nome <> 'Despesas'", 3, 4),
        ("ID_Grupo", "NivelCategoria1.Nome <> 'Despesas Administrativas'", 2, 6),
        ("ID_Conta", "NivelCategoria2.Nome <> 'Ocupação'", 3, 7),
    ],
)
def test_group_moves_on_the_level_page_use_the_parent_level_name(
    contas, fake_desktop, command, criterion, end, total
):
    """Part 2.2: the group at level L is "NivelCategoria" L-1 ".Nome"."""
    contas.tool_click(command)
    contas.Movimento_Click(0)
    contas.Movimento_Click(3)
    assert contas.CriterioMove == criterion
    assert_at(contas, end, total)


def test_with_exactly_one_row_the_group_buttons_do_nothing(start_contas, fake_desktop):
    """Part 2.2 edge case: the criterion is built only for totals above 1."""
    window = start_contas("DELETE FROM NivelCategoria4 WHERE Codigo <> 9;")
    assert_at(window, 1, 1)
    for index in (2, 3):
        window.Movimento_Click(index)
        assert_at(window, 1, 1)
    assert window.CriterioMove == ""
    assert fake_desktop.boxes == []


def test_a_group_name_with_an_apostrophe_makes_the_group_move_fail_into_the_error_log(
    start_contas, fake_desktop, error_log_text
):
    """Part 2.2 edge case: the name is not escaped; routine "Erro no Movimento_Click"."""
    window = start_contas("UPDATE NivelCategoria3 SET Nome = 'Conta d''água' WHERE Codigo = 6;")
    go_to_position(window, 3)
    assert window.Combo[3].text() == "Conta d'água"
    window.Movimento_Click(3)
    log = error_log_text()
    assert log_records(log) == 1
    assert "Rotina: Erro no Movimento_Click\r\n" in log
    assert "NivelCategoria3.Nome <> 'Conta d'água'" in log
    assert fake_desktop.boxes[-1].title == "Tratamento de Erros"
    assert_at(window, 3)
    window.Movimento_Click(2)
    assert log_records(error_log_text()) == 2
    window.Movimento_Click(4)  # the form stays usable
    assert_at(window, 4)


def test_an_empty_data_set_shows_0_of_0_and_the_moves_change_nothing(
    start_contas, fake_desktop, error_log_text
):
    """Part 2.2 failure handling: "0/0" and the movement buttons change nothing."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    assert counter(window) == "Registro 0/0"
    for index in range(6):
        window.Movimento_Click(index)
        assert counter(window) == "Registro 0/0"
    for index in range(5):
        window.MoveFiltro_Click(index)
        assert counter(window) == "Registro 0/0"
    assert fake_desktop.boxes == []
    assert error_log_text() == ""


def test_an_empty_level_page_shows_0_of_0(start_contas, fake_desktop):
    window = start_contas("DELETE FROM NivelCategoria3; DELETE FROM NivelCategoria4;")
    window.tool_click("ID_Conta")
    assert counter(window) == "Registro 0/0"
    window.Movimento_Click(4)
    assert counter(window) == "Registro 0/0"


def test_the_movement_buttons_are_wired_to_movimento_click(contas, fake_desktop):
    contas.Movimento[5].click()
    assert_at(contas, 9)
    contas.Movimento[0].click()
    assert_at(contas, 1)
    assert 7 in fake_desktop.sounds


def test_a_page_index_of_2_or_more_is_ignored(contas, fake_desktop, error_log_text):
    """Part 2.2: every routine of the Part ignores `PaginaAtiva` >= 2."""
    contas.PaginaAtiva = 2
    before = [c.text() for c in contas.Combo], counter(contas)
    for index in range(6):
        contas.Movimento_Click(index)
    for index in range(5):
        contas.MoveFiltro_Click(index)
    contas.TotalDeRegistros()
    contas.PreencheCampos()
    assert ([c.text() for c in contas.Combo], counter(contas)) == before
    assert error_log_text() == ""
    assert fake_desktop.boxes == []


def test_the_counter_is_not_rebuilt_while_inserting(contas, fake_desktop):
    """Part 2.2: `TotalDeRegistros` is skipped entirely while inserting or editing."""
    contas.tool_click("ID_Incluir")
    assert counter(contas) == "Registro 10/10"
    contas.Combo[4].set_text("Novo item")
    contas.TotalDeRegistros()
    assert counter(contas) == "Registro 10/10"
    assert contas.Combo[4].text() == "Novo item"  # the field fill did not run either


# --- the field fill ------------------------------------------------------------------------


def test_the_field_fill_on_the_hierarchy_page_sets_combo_0_to_4(contas, fake_desktop):
    """Part 2.2: `Combo(0)`..`Combo(4)` receive "NivelCategoria0.Nome".."NivelCategoria4.Nome"."""
    contas.Movimento_Click(5)
    assert [c.text() for c in contas.Combo] == [
        "Receitas",
        "Receitas Financeiras",
        "Vendas Produtos",
        "Aplicações",
        "CDB",
    ]
    contas.Movimento_Click(1)
    assert [c.text() for c in contas.Combo] == [
        "Receitas",
        "Receitas Clientes",
        "Vendas Produtos",
        "Pães",
        "Pão francês",
    ]


def test_the_field_fill_on_the_level_page_sets_texto_0_to_3(contas, fake_desktop):
    """Part 2.2: on page 1 `Texto(0)`..`Texto(3)` receive the row's names."""
    contas.tool_click("ID_Conta")
    contas.Movimento_Click(0)
    assert [contas.Texto[i].text() for i in range(4)] == [
        "Despesas",
        "Despesas Administrativas",
        "Ocupação",
        "Aluguel e condomínio",
    ]
    contas.Movimento_Click(4)
    assert [contas.Texto[i].text() for i in range(4)] == [
        "Despesas",
        "Despesas Administrativas",
        "Ocupação",
        "Energia",
    ]


def test_the_field_fill_on_the_sector_page_sets_the_fields_it_has(contas, fake_desktop):
    contas.tool_click("ID_Setor")
    contas.Movimento_Click(5)
    assert [contas.Texto[i].text() for i in range(2)] == ["Receitas", "Receitas Financeiras"]
    assert_at(contas, 4, 4)


# --- the found-records report and MoveFiltro ------------------------------------------------


@pytest.fixture
def three_hits(contas, fake_desktop, execute):
    """The search marked items 8, 5 and 3 (positions 3, 4 and 6), then reported 3 hits."""
    execute("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (8, 5, 3);")
    contas.RelatorioEncontrados(3)
    return contas


def test_found_records_report_for_several_hits(three_hits, fake_desktop):
    """Part 2.2: "Foram encontrados 3 registros,  " CR ..., title "Registros encontrados"."""
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (
            "Foram encontrados 3 registros,  \r" + FILTER_TAIL,
            desktop.vbInformation,
            "Registros encontrados",
        )
    ]


def test_found_records_report_moves_to_the_first_hit(three_hits, fake_desktop):
    """Part 2.2: first row matching "Marca = True", current hit 1, counter with " Registros "."""
    window = three_hits
    assert current_item(window) == 8
    assert window.HitAtual == 1
    assert counter(window) == "3 Registros 3/9"
    assert window.Combo[4].text() == "Conta de luz"
    assert window.Pasta.currentIndex() == 0


def test_found_records_report_for_one_hit_uses_registro(contas, fake_desktop, execute):
    """Part 2.2 edge case: with one hit the status text uses " Registro "."""
    execute("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo = 3;")
    contas.RelatorioEncontrados(1)
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (
            "Foi encontrado apenas um registro, \r" + FILTER_TAIL,
            desktop.vbInformation,
            "Registro encontrado",
        )
    ]
    assert current_item(contas) == 3
    assert counter(contas) == "1 Registro 6/9"


def test_found_records_report_for_two_hits_uses_registros(contas, fake_desktop, execute):
    execute("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (9, 2);")
    contas.RelatorioEncontrados(2)
    assert fake_desktop.boxes[0].prompt == "Foram encontrados 2 registros,  \r" + FILTER_TAIL
    assert counter(contas) == "2 Registros 7/9"


def test_found_records_report_for_no_hit_moves_nothing(contas, fake_desktop):
    """Part 2.2: N = 0, "Não foi encontrado nenhum registro, " CR ..., nothing moves."""
    go_to_position(contas, 5)
    contas.RelatorioEncontrados(0)
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (
            "Não foi encontrado nenhum registro, \r" + FILTER_TAIL,
            desktop.vbInformation,
            "Nenhum registro encontrado",
        )
    ]
    assert_at(contas, 5)


def test_found_records_report_from_the_level_page_shows_the_item_page(
    contas, fake_desktop, execute
):
    """Part 2.2: `Pasta` is set and the display routines run before the first hit is found."""
    contas.tool_click("ID_Setor")
    execute("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (8, 5, 3);")
    contas.RelatorioEncontrados(3)
    assert (contas.NivelAtual, contas.PaginaAtiva, contas.Pasta.currentIndex()) == (4, 0, 0)
    assert current_item(contas) == 8
    assert counter(contas) == "3 Registros 3/9"


def test_next_hit_and_last_hit(three_hits, fake_desktop):
    """Part 2.2 `MoveFiltro` 3 and 4: next hit (plus 1), last hit (the number of hits)."""
    window = three_hits
    window.MoveFiltro_Click(3)
    assert (current_item(window), window.HitAtual, counter(window)) == (5, 2, "3 Registros 4/9")
    window.MoveFiltro_Click(4)
    assert (current_item(window), window.HitAtual, counter(window)) == (3, 3, "3 Registros 6/9")


def test_next_hit_at_the_last_hit_stays(three_hits, fake_desktop):
    window = three_hits
    window.MoveFiltro_Click(4)
    window.MoveFiltro_Click(3)
    assert (current_item(window), window.HitAtual, counter(window)) == (3, 3, "3 Registros 6/9")


def test_previous_hit_and_first_hit(three_hits, fake_desktop):
    """Part 2.2 `MoveFiltro` 1 and 0: previous hit (minus 1), first hit (1)."""
    window = three_hits
    window.MoveFiltro_Click(4)
    window.MoveFiltro_Click(1)
    assert (current_item(window), window.HitAtual, counter(window)) == (5, 2, "3 Registros 4/9")
    window.MoveFiltro_Click(4)
    window.MoveFiltro_Click(0)
    assert (current_item(window), window.HitAtual, counter(window)) == (8, 1, "3 Registros 3/9")


def test_previous_hit_at_the_first_hit_stays(three_hits, fake_desktop):
    window = three_hits
    window.MoveFiltro_Click(1)
    assert (current_item(window), window.HitAtual, counter(window)) == (8, 1, "3 Registros 3/9")


def test_show_hit_keeps_the_row_and_sets_the_tab(three_hits, fake_desktop):
    """Part 2.2 `MoveFiltro` 2: sets `Pasta`, runs the display routines, hit unchanged."""
    window = three_hits
    window.MoveFiltro_Click(3)
    window.Pasta.setCurrentIndex(1)
    window.MoveFiltro_Click(2)
    assert window.Pasta.currentIndex() == 0
    assert (current_item(window), window.HitAtual, counter(window)) == (5, 2, "3 Registros 4/9")


def test_hit_moves_skip_the_unmarked_rows_between_hits(three_hits, fake_desktop):
    window = three_hits
    window.MoveFiltro_Click(3)
    window.MoveFiltro_Click(3)
    assert window.Combo[4].text() == "Farinha de trigo"
    assert window.Combo[2].text() == "Vendas Insumos"
    assert current_item(window) == 3  # position 6; position 5 (item 4) is not marked


def test_hit_buttons_at_the_first_and_the_last_hit(three_hits, fake_desktop):
    """Part 2.2 left to the implementer: nothing goes back at the first hit, nothing on at the
    last one; the show button is always on while there are hits."""
    window = three_hits
    assert [b.isEnabled() for b in window.MoveFiltro] == [False, False, True, True, True]
    window.MoveFiltro_Click(3)
    assert [b.isEnabled() for b in window.MoveFiltro] == [True, True, True, True, True]
    window.MoveFiltro_Click(4)
    assert [b.isEnabled() for b in window.MoveFiltro] == [True, True, True, False, False]


def test_hit_buttons_are_off_before_any_search(contas, fake_desktop):
    assert [b.isEnabled() for b in contas.MoveFiltro] == [False] * 5


def test_an_item_whose_account_is_missing_is_browsed_with_empty_parent_names(
    start_contas, fake_desktop, error_log_text
):
    """The joined query is a left join (Part 1.1): an item left out of the tree (Part 2.1,
    implementer's choice) is still a row of the item page, first in the order, its parents'
    names empty; the moves pass over it without failing."""
    window = start_contas(
        "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca)"
        " VALUES (40, 'Órfão', 99, 0, 0);"
    )
    assert counter(window) == "Registro 1/10"
    assert [c.text() for c in window.Combo] == ["", "", "", "", "Órfão"]
    window.Movimento_Click(3)
    assert counter(window) == "Registro 2/10"
    assert window.Combo[4].text() == "Aluguel da loja"
    window.Movimento_Click(2)
    assert counter(window) == "Registro 1/10"
    assert error_log_text() == ""
