"""Part 2.4 (insert and edit modes) and Part 1.2's Escape during a mode, on the real window.

The seeded company (tests/conftest.py SEED_SQL) starts on the item page (page 0, level 4)
with 9 items; the first in the joined order is "Aluguel da loja" (code 6, CodigoProduto 0)
under Despesas > Despesas Administrativas > Ocupação > Aluguel e condomínio.
"""

from __future__ import annotations

import pytest
from PySide6.QtCore import Qt

from varemo_contas.app import desktop

ITEMS = "SELECT Codigo, Nome, CodigoCategoria3, CodigoProduto FROM NivelCategoria4 ORDER BY Codigo"
SECTORS = "SELECT Codigo, Nome, CodigoCategoria0 FROM NivelCategoria1 ORDER BY Codigo"
FIRST_ITEM_PATH = [
    "Despesas",
    "Despesas Administrativas",
    "Ocupação",
    "Aluguel e condomínio",
    "Aluguel da loja",
]


def go_to(window, level: int, code: int) -> None:
    """Make a row current the way the user does: a click on its tree node."""
    window.Arvore_NodeClick(window.node(f"{code}N{level}"))


def current_code(window, level: int) -> int:
    return int(window.data_set()[f"NivelCategoria{level}.Codigo"])


def combo_texts(window) -> list[str]:
    return [combo.text() for combo in window.Combo]


def texto_texts(window) -> list[str]:
    return [field.text() for field in window.Texto]


def group_states(window) -> dict[str, bool]:
    """Part 2.3's enabling table: the two menu groups and the save/cancel tools."""
    return {
        "ID_Editar": window.menus_by_key["ID_Editar"].menuAction().isEnabled(),
        "ID_Relatórios": window.menus_by_key["ID_Relatórios"].menuAction().isEnabled(),
        "ID_Gravar": window.actions_by_key["ID_Gravar"].isEnabled(),
        "ID_Cancelar": window.actions_by_key["ID_Cancelar"].isEnabled(),
    }


BROWSING = {"ID_Editar": True, "ID_Relatórios": True, "ID_Gravar": False, "ID_Cancelar": False}
IN_MODE = {"ID_Editar": False, "ID_Relatórios": False, "ID_Gravar": True, "ID_Cancelar": True}


def assert_browsing(window) -> None:
    assert not window.EmInclusao
    assert not window.EmAlteracao
    assert window.Modo == "Visualizar"
    assert not window.Barra1.isHidden()
    assert window.Barra2.isHidden()
    assert group_states(window) == BROWSING


# --- Enter edit mode: refusals ---------------------------------------------------------


def test_edit_of_product_linked_item_on_hierarchy_page_is_refused(contas, fake_desktop, rows):
    """Part 2.4 edit step 1: page 0, level 4, CodigoProduto not 0 -> refusal, browse mode."""
    go_to(contas, 4, 4)  # "Pão francês" under Fornecedores Produtos, CodigoProduto 1
    before = rows(ITEMS)
    contas.tool_click("ID_Alterar")
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        ("Não se pode alterar produto ou insumo", desktop.vbInformation, "Não pode alterar")
    ]
    assert_browsing(contas)
    assert current_code(contas, 4) == 4
    assert rows(ITEMS) == before


def test_level_4_record_with_codigo_produto_0_is_editable(contas, fake_desktop):
    """Part 2.4 edge case: the product refusal needs CodigoProduto not 0."""
    go_to(contas, 4, 3)  # "Farinha de trigo" under Vendas Insumos, CodigoProduto 0
    contas.tool_click("ID_Alterar")
    assert fake_desktop.boxes == []
    assert contas.EmAlteracao
    assert not contas.EmInclusao
    assert contas.Combo[4].text() == "Farinha de trigo"  # the field keeps the current name


def test_product_refusal_applies_only_to_items_on_the_hierarchy_page(contas, fake_desktop):
    """Part 2.4 edge case: an account of a product group is editable on the level page."""
    contas.tool_click("ID_Conta")
    go_to(contas, 3, 3)  # "Pães" under Fornecedores Produtos: its item is product-linked
    contas.tool_click("ID_Alterar")
    assert fake_desktop.boxes == []
    assert contas.EmAlteracao
    assert contas.Texto[3].text() == "Pães"


def test_edit_on_empty_page_is_refused(start_contas, fake_desktop):
    """Part 2.4: "Não tem nenhum registro" titled "Alterar", information icon."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    assert window.TotalRegistros[0] == 0
    window.tool_click("ID_Alterar")
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        ("Não tem nenhum registro", desktop.vbInformation, "Alterar")
    ]
    assert_browsing(window)


def test_edit_on_empty_level_page_is_refused(start_contas, fake_desktop):
    """Part 2.4: the count checked is the active page's (here the level page of accounts)."""
    window = start_contas("DELETE FROM NivelCategoria4; DELETE FROM NivelCategoria3;")
    window.tool_click("ID_Conta")
    assert (window.PaginaAtiva, window.TotalRegistros[1]) == (1, 0)
    window.tool_click("ID_Alterar")
    assert [(b.prompt, b.title) for b in fake_desktop.boxes] == [
        ("Não tem nenhum registro", "Alterar")
    ]
    assert_browsing(window)


# --- Enter insert mode ---------------------------------------------------------------------


def test_insert_is_never_refused_on_a_product_linked_item(contas, fake_desktop):
    """Part 2.4: insert mode is never refused, even where edit would be."""
    go_to(contas, 4, 1)  # "Pão francês", CodigoProduto 1
    contas.tool_click("ID_Incluir")
    assert fake_desktop.boxes == []
    assert contas.EmInclusao
    assert not contas.EmAlteracao


def test_insert_on_empty_page_is_not_refused(start_contas, fake_desktop):
    """Part 2.4 edge case: edit is refused on an empty page, insert is not."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    window.tool_click("ID_Incluir")
    assert fake_desktop.boxes == []
    assert window.EmInclusao


def test_insert_on_empty_page_shows_position_1_of_1(start_contas, fake_desktop):
    """Part 2.4 edge case: with no records the position text shows the numbers 1 and 1."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    window.tool_click("ID_Incluir")
    assert window.Status.panel_text(2) == "Registro 1/1"


def test_insert_on_empty_page_leaves_saved_position_empty(start_contas, fake_desktop):
    """Part 2.4 insert step 1: `PosicaoSalva` is empty when the page has no record."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    window.PosicaoSalva[0] = "stale"
    window.tool_click("ID_Incluir")
    assert window.PosicaoSalva[0] is None


def test_cancel_of_insert_on_empty_page_returns_to_empty_page(
    start_contas, fake_desktop, rows, error_log_text
):
    """Part 2.4 edge case: cancel after an insert on an empty page runs without error."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    window.tool_click("ID_Incluir")
    window.Combo[4].set_text("Digitado")
    window.tool_click("ID_Cancelar")
    assert fake_desktop.boxes == []
    assert error_log_text() == ""
    assert_browsing(window)
    assert window.TotalRegistros[0] == 0
    assert window.Status.panel_text(2) == "Registro 0/0"
    assert rows(ITEMS) == []


def test_insert_position_text_with_12_records_shows_13_of_13(start_contas, fake_desktop):
    """Part 2.4 insert step 3: N = 12 records -> "Registro 13/13"."""
    window = start_contas(
        "INSERT INTO NivelCategoria4 (Nome, CodigoCategoria3, CodigoProduto, Marca) VALUES "
        "('Água', 5, 0, 0), ('IPTU', 5, 0, 0), ('Gás', 6, 0, 0);"
    )
    assert window.TotalRegistros[0] == 12
    window.tool_click("ID_Incluir")
    assert window.Status.panel_text(2) == "Registro 13/13"


def test_insert_position_text_on_level_page(contas, fake_desktop):
    """Part 2.4 insert step 3 on the level page: 4 sectors -> "Registro 5/5"."""
    contas.tool_click("ID_Setor")
    assert contas.TotalRegistros[1] == 4
    contas.tool_click("ID_Incluir")
    assert contas.Status.panel_text(2) == "Registro 5/5"


def test_insert_saves_current_bookmark(contas, fake_desktop):
    """Part 2.4 insert step 1: with records, the current bookmark is kept in `PosicaoSalva`."""
    go_to(contas, 4, 8)
    mark = contas.data_set().bookmark
    contas.tool_click("ID_Incluir")
    assert contas.PosicaoSalva[0] == mark


def test_insert_status_message(contas, fake_desktop):
    """Part 2.4 insert step 4: "Inserindo novo registro" in the message panel."""
    contas.tool_click("ID_Incluir")
    assert contas.Status.panel_text(0) == "Inserindo novo registro"


def test_edit_status_message(contas, fake_desktop):
    """Part 2.4 edit step 4: "Alterando Registro" in the message panel."""
    contas.tool_click("ID_Alterar")
    assert contas.Status.panel_text(0) == "Alterando Registro"


def test_insert_on_hierarchy_page_empties_only_the_item_selector(contas, fake_desktop):
    """Part 2.4 edge case: only the current level's field is emptied, never the parents."""
    assert combo_texts(contas) == FIRST_ITEM_PATH
    contas.tool_click("ID_Incluir")
    assert combo_texts(contas) == [*FIRST_ITEM_PATH[:4], ""]


def test_insert_on_level_page_empties_only_the_level_field(contas, fake_desktop):
    """Part 2.4 insert step 7 on page 1: `Texto(NivelAtual)` emptied, the parents kept."""
    contas.tool_click("ID_Grupo")
    go_to(contas, 2, 5)  # "Ocupação" under Despesas > Despesas Administrativas
    assert texto_texts(contas)[:3] == ["Despesas", "Despesas Administrativas", "Ocupação"]
    contas.tool_click("ID_Incluir")
    assert texto_texts(contas)[:3] == ["Despesas", "Despesas Administrativas", ""]
    assert combo_texts(contas)[:2] == ["Despesas", "Despesas Administrativas"]


def test_insert_on_hierarchy_page_clears_saved_texts_and_fills_lists(contas, fake_desktop):
    """Part 2.4 insert step 2: `TextoSalvo` emptied, the lists of levels 1 to 4 refilled."""
    contas.TextoSalvo = ["x"] * 5
    contas.tool_click("ID_Incluir")
    assert contas.TextoSalvo == [""] * 5
    assert contas.Combo[4].names() == ["Aluguel da loja", "Condomínio"]
    assert contas.Combo[3].names() == ["Aluguel e condomínio", "Energia"]


def test_insert_on_level_page_fills_the_level_list(contas, fake_desktop):
    """Part 2.4 refill of the level page's list: the groups of the sector in `Texto(1)`."""
    contas.tool_click("ID_Grupo")
    go_to(contas, 2, 3)  # "Fornecedores Produtos" under "Despesas Fornecedores"
    contas.tool_click("ID_Incluir")
    assert contas.Texto[2].names() == ["Fornecedores Insumos", "Fornecedores Produtos"]


def test_edit_on_hierarchy_page_stores_selector_texts(contas, fake_desktop):
    """Part 2.4 edit step 6: the five selector texts are copied into `TextoSalvo`."""
    contas.tool_click("ID_Alterar")
    assert contas.TextoSalvo == FIRST_ITEM_PATH
    assert combo_texts(contas) == FIRST_ITEM_PATH  # the field keeps the current name


def test_edit_saves_current_bookmark(contas, fake_desktop):
    """Part 2.4 edit step 3: the bookmark of the current record goes to `PosicaoSalva`."""
    go_to(contas, 4, 8)
    mark = contas.data_set().bookmark
    contas.tool_click("ID_Alterar")
    assert contas.PosicaoSalva[0] == mark


# --- focus -----------------------------------------------------------------------------------


def test_insert_on_hierarchy_page_focuses_category_selector(contas, fake_desktop):
    """Part 2.4 insert step 7: the user walks the path from `Combo(0)`."""
    contas.tool_click("ID_Incluir")
    assert contas.focusWidget() is contas.Combo[0]


def test_insert_on_level_page_focuses_level_field(contas, fake_desktop):
    """Part 2.4 insert step 7 on page 1: focus into `Texto(NivelAtual)`."""
    contas.tool_click("ID_Grupo")
    contas.tool_click("ID_Incluir")
    assert contas.focusWidget() is contas.Texto[2]


def test_edit_on_hierarchy_page_focuses_current_level_selector(contas, fake_desktop):
    """Part 2.4 edit step 8: focus into `Combo(NivelAtual)` = the item selector."""
    contas.tool_click("ID_Alterar")
    assert contas.focusWidget() is contas.Combo[4]


def test_edit_on_level_page_focuses_level_field(contas, fake_desktop):
    """Part 2.4 edit step 8 on page 1: focus into `Texto(NivelAtual)`."""
    contas.tool_click("ID_Conta")
    contas.tool_click("ID_Alterar")
    assert contas.focusWidget() is contas.Texto[3]


def test_leave_mode_on_hierarchy_page_focuses_category_selector(contas, fake_desktop):
    """Part 2.4 leave step 5: focus into the level-0 field, not the current level's."""
    contas.tool_click("ID_Alterar")
    assert contas.focusWidget() is contas.Combo[4]
    contas.tool_click("ID_Cancelar")
    assert contas.focusWidget() is contas.Combo[0]


def test_leave_mode_on_level_page_focuses_texto_0(contas, fake_desktop):
    """Part 2.4 leave step 5 on page 1: focus into `Texto(0)`."""
    contas.tool_click("ID_Setor")
    contas.tool_click("ID_Alterar")
    contas.tool_click("ID_Cancelar")
    assert contas.focusWidget() is contas.Texto[0]


def test_leave_mode_after_save_focuses_level_0_field(contas, fake_desktop):
    """Part 2.4 leave step 5 also ends a save (Part 2.5 calls Leave mode)."""
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Seguro")
    contas.tool_click("ID_Gravar")
    assert not contas.EmInclusao
    assert contas.focusWidget() is contas.Combo[0]


# --- bands and tool states ------------------------------------------------------------------


def test_browse_mode_bands_and_tools_at_start(contas, fake_desktop):
    """Part 2.3/2.4: browsing shows "Barra1", hides "Barra2"; the groups are on."""
    assert_browsing(contas)
    assert contas.Status.panel_text(3) == "Visualizar"


@pytest.mark.parametrize(
    ("command", "mode"), [("ID_Incluir", "Inserir"), ("ID_Alterar", "Alterar")]
)
def test_mode_switches_bands_and_tool_states(contas, fake_desktop, command, mode):
    """Part 2.4 step 5: "Barra1" off, "Barra2" on, tool states of the mode (Part 2.3 table)."""
    contas.tool_click(command)
    assert contas.Barra1.isHidden()
    assert not contas.Barra2.isHidden()
    assert contas.Modo == mode
    assert group_states(contas) == IN_MODE
    for key in ("ID_Incluir", "ID_Alterar", "ID_Excluir", "ID_Relatorios", "ID_PlanoContas"):
        assert not contas.actions_by_key[key].isEnabled(), key


@pytest.mark.parametrize("command", ["ID_Incluir", "ID_Alterar"])
def test_mode_disables_the_command_button_group(contas, fake_desktop, command):
    """Part 2.4 step 5: the command-button group is disabled during a mode, back after."""
    contas.tool_click(command)
    assert not any(button.isEnabled() for button in contas.Movimento)
    contas.tool_click("ID_Cancelar")
    assert all(button.isEnabled() for button in contas.Movimento)


@pytest.mark.parametrize("command", ["ID_Incluir", "ID_Alterar"])
def test_leave_mode_restores_bands_and_tool_states(contas, fake_desktop, command):
    """Part 2.4 leave step 2: "Barra1" on, "Barra2" off, tool states of "Visualizar"."""
    contas.tool_click(command)
    contas.tool_click("ID_Cancelar")
    assert_browsing(contas)


def test_refused_edit_leaves_bands_and_tools_as_browsing(contas, fake_desktop):
    """Part 2.4 failure table: a refused edit stays in browse mode."""
    go_to(contas, 4, 2)  # "Baguete", CodigoProduto 2
    contas.tool_click("ID_Alterar")
    assert len(fake_desktop.boxes) == 1
    assert_browsing(contas)


# --- cancel ---------------------------------------------------------------------------------


def test_cancel_of_insert_writes_nothing_and_keeps_nothing_typed(contas, fake_desktop, rows):
    """Part 2.4: cancel writes nothing, `Gravou` false, the typed names are gone."""
    go_to(contas, 4, 8)  # "Conta de luz"
    items, sectors = rows(ITEMS), rows(SECTORS)
    contas.tool_click("ID_Incluir")
    contas.Combo[1].set_text("Setor digitado")
    contas.Combo[4].set_text("Item digitado")
    contas.tool_click("ID_Cancelar")
    assert fake_desktop.boxes == []
    assert rows(ITEMS) == items
    assert rows(SECTORS) == sectors
    assert not contas.Gravou
    assert_browsing(contas)
    assert current_code(contas, 4) == 8  # back at the saved position
    assert combo_texts(contas) == [
        "Despesas",
        "Despesas Administrativas",
        "Ocupação",
        "Energia",
        "Conta de luz",
    ]
    assert contas.Status.panel_text(2) == "Registro 3/9"


def test_cancel_of_edit_writes_nothing_and_keeps_nothing_typed(contas, fake_desktop, rows):
    """Part 2.4: cancelling an edit keeps the record as stored."""
    items = rows(ITEMS)
    contas.tool_click("ID_Alterar")
    contas.Combo[4].set_text("Nome alterado")
    contas.tool_click("ID_Cancelar")
    assert rows(ITEMS) == items
    assert_browsing(contas)
    assert combo_texts(contas) == FIRST_ITEM_PATH
    assert contas.Status.panel_text(2) == "Registro 1/9"


def test_cancel_on_level_page_keeps_nothing_typed(contas, fake_desktop, rows):
    """Part 2.4 on page 1: the typed name is dropped, the record shown again."""
    contas.tool_click("ID_Setor")
    go_to(contas, 1, 4)  # "Receitas Financeiras"
    sectors = rows(SECTORS)
    contas.tool_click("ID_Incluir")
    contas.Texto[1].set_text("Setor digitado")
    contas.tool_click("ID_Cancelar")
    assert rows(SECTORS) == sectors
    assert contas.Texto[1].text() == "Receitas Financeiras"
    assert current_code(contas, 1) == 4


# --- Escape (Part 1.2) -------------------------------------------------------------------


def test_escape_during_insertion_cancels_it_without_any_question(contas, fake_desktop, rows):
    """Part 1.2 edge case: Escape while inserting is the cancel form of the save."""
    items = rows(ITEMS)
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Item digitado")
    contas.Form_KeyDown(Qt.Key.Key_Escape)
    assert fake_desktop.boxes == []
    assert contas.state.database is not None  # the window was not unloaded
    assert_browsing(contas)
    assert rows(ITEMS) == items
    assert contas.Combo[4].text() == "Aluguel da loja"


def test_escape_during_edit_cancels_it_without_any_question(contas, fake_desktop, rows):
    """Part 1.2: Escape while editing ends the edit without saving and asks nothing."""
    items = rows(ITEMS)
    contas.tool_click("ID_Alterar")
    contas.Combo[4].set_text("Nome alterado")
    contas.Form_KeyDown(Qt.Key.Key_Escape)
    assert fake_desktop.boxes == []
    assert_browsing(contas)
    assert rows(ITEMS) == items


def test_escape_key_pressed_in_the_focused_selector_cancels_insertion(
    contas, fake_desktop, qtbot, rows
):
    """Part 1.2: the Escape key typed by the user (focus in `Combo(0)`) cancels the insert."""
    contas.show()
    qtbot.waitExposed(contas)
    items = rows(ITEMS)
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Item digitado")
    qtbot.keyClick(contas.focusWidget(), Qt.Key.Key_Escape)
    assert fake_desktop.boxes == []
    assert not contas.EmInclusao
    assert rows(ITEMS) == items
