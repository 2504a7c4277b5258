"""Part 2.5 (save and duplicate rules) on the real window, the database checked after each save.

The seeded company (tests/conftest.py SEED_SQL): categories Receitas (1), Despesas (2),
Vazia (3); sector Despesas Administrativas (3) > group Ocupação (5) > accounts
Aluguel e condomínio (5: items Aluguel da loja 6, Condomínio 7) and Energia (6: Conta de luz 8).
The window starts on the item page (page 0, level 4) at "Aluguel da loja", 1 of 9.
"""

from __future__ import annotations

from varemo_contas.app import desktop
from varemo_contas.editor.tree import KEY_ROLE

ITEMS = "SELECT Codigo, Nome, CodigoCategoria3, CodigoProduto FROM NivelCategoria4 ORDER BY Codigo"
CATEGORIES = "SELECT Codigo, Nome FROM NivelCategoria0 ORDER BY Codigo"
SECTORS = "SELECT Codigo, Nome, CodigoCategoria0 FROM NivelCategoria1 ORDER BY Codigo"
GROUPS = "SELECT Codigo, Nome, CodigoCategoria1 FROM NivelCategoria2 ORDER BY Codigo"
ACCOUNTS = "SELECT Codigo, Nome, CodigoCategoria2 FROM NivelCategoria3 ORDER BY Codigo"
ALL_LEVELS = (CATEGORIES, SECTORS, GROUPS, ACCOUNTS, ITEMS)


def go_to(window, level: int, code: int) -> None:
    """Make a row current the way the user does: a click on its tree node."""
    window.Arvore_NodeClick(window.node(f"{code}N{level}"))


def current_code(window, level: int) -> int:
    return int(window.data_set()[f"NivelCategoria{level}.Codigo"])


def type_path(window, *names: str) -> None:
    """Type a whole path Categoria > Setor > Grupo > Conta > Item into the selectors."""
    for level, name in enumerate(names):
        window.Combo[level].set_text(name)


def snapshot(rows) -> list[list[tuple]]:
    return [rows(sql) for sql in ALL_LEVELS]


def boxes(fake_desktop) -> list[tuple[str, int, str]]:
    return [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes]


def child_keys(window, key: str) -> list[str]:
    node = window.node(key)
    return [node.child(i).data(0, KEY_ROLE) for i in range(node.childCount())]


def parent_key(window, key: str) -> str:
    return window.node(key).parent().data(0, KEY_ROLE)


def assert_visualizar(window) -> None:
    assert not window.EmInclusao
    assert not window.EmAlteracao
    assert window.Modo == "Visualizar"
    assert window.Status.panel_text(3) == "Visualizar"
    assert window.Barra2.isHidden()


# --- the blank-field check ------------------------------------------------------------------


def test_blank_selector_at_level_4_refuses_the_save(contas, fake_desktop, rows):
    """Part 2.5: a blank selector -> "Não pode ter campo em branco", mode stays, no write."""
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Administrativas", "", "Aluguel e condomínio", "Água")
    contas.tool_click("ID_Gravar")
    assert boxes(fake_desktop) == [
        ("Não pode ter campo em branco", desktop.vbInformation, "Existe campo em branco")
    ]
    assert contas.EmInclusao
    assert contas.Modo == "Inserir"
    assert not contas.Barra2.isHidden()
    assert snapshot(rows) == before


def test_blank_check_counts_spaces_only_as_blank(contas, fake_desktop, rows):
    """Part 2.5 edge case: a name of spaces only is blank."""
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("   ")
    contas.tool_click("ID_Gravar")
    assert boxes(fake_desktop) == [
        ("Não pode ter campo em branco", desktop.vbInformation, "Existe campo em branco")
    ]
    assert contas.EmInclusao
    assert snapshot(rows) == before


def test_blank_check_applies_to_edit_mode_too(contas, fake_desktop, rows):
    """Part 2.5: the check runs before every save at level 4, also when editing."""
    before = snapshot(rows)
    contas.tool_click("ID_Alterar")
    contas.Combo[3].set_text(" ")
    contas.tool_click("ID_Gravar")
    assert [b.title for b in fake_desktop.boxes] == ["Existe campo em branco"]
    assert contas.EmAlteracao
    assert snapshot(rows) == before


def test_blank_check_passes_at_other_levels(contas, fake_desktop):
    """Part 2.5: at levels 1 to 3 the blank check always passes."""
    contas.tool_click("ID_Grupo")
    contas.tool_click("ID_Incluir")
    contas.Combo[1].set_text("")
    assert contas.CampoEmBranco() is True


# --- duplicates on the hierarchy page ---------------------------------------------------------


def test_same_item_name_under_two_accounts_is_allowed(contas, fake_desktop, rows):
    """Part 2.5 edge case: "Conta de luz" exists under Energia; under Aluguel it is new."""
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Conta de luz")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(
        "SELECT CodigoCategoria3 FROM NivelCategoria4 WHERE Nome = 'Conta de luz' ORDER BY Codigo"
    ) == [
        (6,),
        (5,),
    ]


def test_same_item_name_under_same_account_is_refused(contas, fake_desktop, rows):
    """Part 2.5: "Este item já existe." / "Item existente", information icon, nothing written."""
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Condomínio")
    contas.tool_click("ID_Gravar")
    assert boxes(fake_desktop) == [
        ("Este item já existe.", desktop.vbInformation, "Item existente")
    ]
    assert snapshot(rows) == before


def test_duplicate_item_becomes_current_and_mode_ends(contas, fake_desktop):
    """Part 2.5 step 4: the existing item becomes current and Leave mode runs."""
    go_to(contas, 4, 8)  # start elsewhere: "Conta de luz"
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Administrativas", "Ocupação", "Aluguel e condomínio")
    contas.Combo[4].set_text("Condomínio")
    contas.tool_click("ID_Gravar")
    assert_visualizar(contas)
    assert current_code(contas, 4) == 7
    assert contas.CodigoGravado == 7
    assert contas.Combo[4].text() == "Condomínio"
    assert contas.Status.panel_text(2) == "Registro 2/9"


def test_duplicate_item_check_ignores_case(contas, fake_desktop, rows):
    """Part 2.5 / 1.1: names compare as the database compares text (case-insensitive)."""
    before = rows(ITEMS)
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("condomínio")
    contas.tool_click("ID_Gravar")
    assert [b.title for b in fake_desktop.boxes] == ["Item existente"]
    assert rows(ITEMS) == before


# --- duplicates on the level page ---------------------------------------------------------------


def test_level_page_duplicate_is_refused(contas, fake_desktop, rows):
    """Part 2.5 level page step 3: "Este registro já existe no plano de contas."."""
    contas.tool_click("ID_Setor")
    go_to(contas, 1, 3)  # "Despesas Administrativas" under Despesas
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    contas.Texto[1].set_text("Despesas Fornecedores")
    contas.tool_click("ID_Gravar")
    assert boxes(fake_desktop) == [
        (
            "Este registro já existe no plano de contas.",
            desktop.vbInformation,
            "Registro já existente",
        )
    ]
    assert snapshot(rows) == before


def test_level_page_duplicate_becomes_current_and_mode_ends(contas, fake_desktop):
    """Part 2.5 level page step 3: the existing record is current, the mode ends."""
    contas.tool_click("ID_Grupo")
    go_to(contas, 2, 5)  # "Ocupação" under Despesas Administrativas
    contas.tool_click("ID_Incluir")
    contas.Texto[2].set_text("Ocupação")
    contas.tool_click("ID_Gravar")
    assert [b.title for b in fake_desktop.boxes] == ["Registro já existente"]
    assert_visualizar(contas)
    assert current_code(contas, 2) == 5
    assert contas.Texto[2].text() == "Ocupação"


def test_level_page_same_name_under_another_parent_is_allowed(contas, fake_desktop, rows):
    """Part 2.5: duplicates are looked for within the same parent only."""
    contas.tool_click("ID_Grupo")
    go_to(contas, 2, 5)  # under Despesas Administrativas (3)
    contas.tool_click("ID_Incluir")
    contas.Texto[2].set_text("Vendas Produtos")  # exists under sectors 1 and 4
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(
        "SELECT CodigoCategoria1 FROM NivelCategoria2 WHERE Nome = 'Vendas Produtos' "
        "ORDER BY Codigo"
    ) == [
        (1,),
        (4,),
        (3,),
    ]


# --- renaming -----------------------------------------------------------------------------------


def test_renaming_item_to_a_siblings_name_is_not_refused(contas, fake_desktop, rows):
    """Part 2.5 edge case: no duplicate check when editing (hierarchy page)."""
    contas.tool_click("ID_Alterar")  # "Aluguel da loja" (6) beside "Condomínio" (7)
    contas.Combo[4].set_text("Condomínio")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows("SELECT Codigo FROM NivelCategoria4 WHERE Nome = 'Condomínio'") == [(6,), (7,)]
    assert len(rows(ITEMS)) == 9


def test_renaming_sector_to_a_siblings_name_is_not_refused(contas, fake_desktop, rows):
    """Part 2.5 edge case on the level page: edit mode makes no duplicate check."""
    contas.tool_click("ID_Setor")
    go_to(contas, 1, 4)  # "Receitas Financeiras", sibling of "Receitas Clientes"
    contas.tool_click("ID_Alterar")
    contas.Texto[1].set_text("Receitas Clientes")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(SECTORS)[3] == (4, "Receitas Clientes", 1)
    assert len(rows(SECTORS)) == 4


def test_item_renamed_to_a_siblings_name_shows_the_new_name_in_the_tree(contas, fake_desktop, rows):
    """Part 2.5 edge case + Part 2.1: the node text is the row's `Nome`."""
    contas.Arvore_NodeClick(contas.node("7N4"))  # "Condomínio", sibling "Aluguel da loja" (6)
    contas.tool_click("ID_Alterar")
    contas.Combo[4].set_text("Aluguel da loja")
    contas.tool_click("ID_Gravar")
    assert rows("SELECT Nome FROM NivelCategoria4 WHERE Codigo = 7") == [("Aluguel da loja",)]
    assert contas.node("7N4").text(0) == "Aluguel da loja"


def test_sector_renamed_to_a_siblings_name_shows_the_new_name_in_the_tree(
    contas, fake_desktop, rows
):
    """Part 2.5 edge case on the level page + Part 2.1."""
    contas.tool_click("ID_Setor")
    contas.Arvore_NodeClick(contas.node("4N1"))  # "Receitas Financeiras"
    contas.tool_click("ID_Alterar")
    contas.Texto[1].set_text("Receitas Clientes")
    contas.tool_click("ID_Gravar")
    assert rows("SELECT Nome FROM NivelCategoria1 WHERE Codigo = 4") == [("Receitas Clientes",)]
    assert contas.node("4N1").text(0) == "Receitas Clientes"


def test_edit_on_hierarchy_page_updates_the_row_in_place(contas, fake_desktop, rows):
    """Part 2.5 step 5: the edited item keeps its code; the tree shows the new name."""
    contas.tool_click("ID_Alterar")
    contas.Combo[4].set_text("Aluguel do depósito")
    contas.tool_click("ID_Gravar")
    assert rows(ITEMS)[5] == (6, "Aluguel do depósito", 5, 0)
    assert len(rows(ITEMS)) == 9
    assert contas.node("6N4").text(0) == "Aluguel do depósito"
    assert parent_key(contas, "6N4") == "5N3"


# --- creating the missing path ----------------------------------------------------------------


def test_saving_item_with_new_sector_group_and_account_creates_all_three(
    contas, fake_desktop, rows
):
    """Part 2.5 edge case: each created under the one above it, then the item."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Bancárias", "Tarifas", "Conta corrente", "Manutenção")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows("SELECT Codigo, CodigoCategoria0 FROM NivelCategoria1 WHERE Nome = ?",
                ("Despesas Bancárias",)) == [(5, 2)]  # fmt: skip
    assert rows("SELECT Codigo, CodigoCategoria1 FROM NivelCategoria2 WHERE Nome = 'Tarifas'") == [
        (7, 5)
    ]
    assert rows(
        "SELECT Codigo, CodigoCategoria2 FROM NivelCategoria3 WHERE Nome = 'Conta corrente'"
    ) == [(8, 7)]
    assert rows(ITEMS)[-1] == (10, "Manutenção", 8, 0)


def test_created_path_appears_in_the_tree(contas, fake_desktop):
    """Part 2.5 / 2.1: the new nodes carry their keys under the right parents."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Bancárias", "Tarifas", "Conta corrente", "Manutenção")
    contas.tool_click("ID_Gravar")
    assert "5N1" in child_keys(contas, "2N0")
    assert child_keys(contas, "5N1") == ["7N2"]
    assert child_keys(contas, "7N2") == ["8N3"]
    assert child_keys(contas, "8N3") == ["10N4"]
    assert [contas.node(k).text(0) for k in ("5N1", "7N2", "8N3", "10N4")] == [
        "Despesas Bancárias",
        "Tarifas",
        "Conta corrente",
        "Manutenção",
    ]


def test_saving_item_creates_only_the_missing_links(contas, fake_desktop, rows):
    """Part 2.5 step 3: an existing sector and group are found, only the account is new."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Administrativas", "Ocupação", "Água", "Conta de água")
    contas.tool_click("ID_Gravar")
    assert len(rows(SECTORS)) == 4
    assert len(rows(GROUPS)) == 6
    assert rows(ACCOUNTS)[-1] == (8, "Água", 5)
    assert rows(ITEMS)[-1] == (10, "Conta de água", 8, 0)


def test_unknown_category_is_not_created(contas, fake_desktop, rows):
    """Part 2.5 edge case: no category row; the parent is whatever level 0 stands on."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Inexistente", "Setor Novo", "Grupo Novo", "Conta Nova", "Item Novo")
    standing_on = int(contas.Nivel[0].recordset["Codigo"])
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(CATEGORIES) == [(1, "Receitas"), (2, "Despesas"), (3, "Vazia")]
    assert rows("SELECT CodigoCategoria0 FROM NivelCategoria1 WHERE Nome = 'Setor Novo'") == [
        (standing_on,)
    ]
    assert rows(ITEMS)[-1][1] == "Item Novo"


def test_codigo_produto_is_written_0(contas, fake_desktop, rows, execute):
    """Part 2.5 step 6: every save writes CodigoProduto 0, also over a tie made meanwhile."""
    contas.tool_click("ID_Alterar")  # "Aluguel da loja" (6), CodigoProduto 0: editable
    execute("UPDATE NivelCategoria4 SET CodigoProduto = 5 WHERE Codigo = 6;")  # product side
    contas.Combo[4].set_text("Aluguel da loja")
    contas.tool_click("ID_Gravar")
    assert rows("SELECT CodigoProduto FROM NivelCategoria4 WHERE Codigo = 6") == [(0,)]


def test_new_item_has_codigo_produto_0(contas, fake_desktop, rows):
    """Part 2.5 step 6: an inserted item is never tied to a product."""
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Seguro")
    contas.tool_click("ID_Gravar")
    assert rows(ITEMS)[-1] == (10, "Seguro", 5, 0)


# --- a name with an apostrophe: the save fails into the error log ------------------------------


def test_apostrophe_in_item_name_fails_into_error_log(contas, fake_desktop, rows, error_log_text):
    """Part 2.5 edge case: the unescaped name breaks the criteria; the failure is logged."""
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Pão d'água")
    contas.tool_click("ID_Gravar")
    log = error_log_text()
    assert "Erro número: " in log
    assert "Descrição: " in log
    assert [b.buttons for b in fake_desktop.boxes] == [desktop.vbCritical]
    assert rows("SELECT Codigo FROM NivelCategoria4 WHERE Nome LIKE 'Pão d%'") == []


def test_apostrophe_save_writes_nothing_of_the_new_path(contas, fake_desktop, rows, error_log_text):
    """Part 2.5 / DESIGN: one transaction; the new Setor and Grupo are not kept either."""
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Bancárias", "Tarifas", "Conta corrente", "D'Ávila")
    contas.tool_click("ID_Gravar")
    assert error_log_text() != ""
    assert snapshot(rows) == before
    assert contas.node("5N1") is None  # the tree shows nothing of it


def test_apostrophe_in_sector_name_fails_into_error_log(contas, fake_desktop, rows, error_log_text):
    """Part 2.5: the first lookup with the broken name already fails; nothing is written."""
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas d'Escritório", "Material", "Papel", "Resma")
    contas.tool_click("ID_Gravar")
    assert error_log_text() != ""
    assert snapshot(rows) == before


def test_window_stays_usable_in_its_mode_after_failed_save(
    contas, fake_desktop, rows, error_log_text
):
    """Part 2.5/1.3: after the logged failure the mode is open; a corrected save works once."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Bancárias", "Tarifas", "Conta corrente", "D'Ávila")
    contas.tool_click("ID_Gravar")
    assert error_log_text() != ""
    assert contas.EmInclusao
    assert contas.Modo == "Inserir"
    assert not contas.Barra2.isHidden()
    contas.Combo[4].set_text("Dávila")
    contas.tool_click("ID_Gravar")
    assert_visualizar(contas)
    assert rows("SELECT Codigo FROM NivelCategoria1 WHERE Nome = 'Despesas Bancárias'") == [(5,)]
    assert rows("SELECT Codigo FROM NivelCategoria2 WHERE Nome = 'Tarifas'") == [(7,)]
    assert rows("SELECT Codigo FROM NivelCategoria3 WHERE Nome = 'Conta corrente'") == [(8,)]
    assert rows(ITEMS)[-1] == (10, "Dávila", 8, 0)
    assert child_keys(contas, "5N1") == ["7N2"]


def test_apostrophe_on_level_page_fails_into_error_log(contas, fake_desktop, rows, error_log_text):
    """Part 2.5 level page: the duplicate search breaks; nothing is written, mode stays."""
    contas.tool_click("ID_Setor")
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    contas.Texto[1].set_text("Despesas d'Escritório")
    contas.tool_click("ID_Gravar")
    assert error_log_text() != ""
    assert snapshot(rows) == before
    assert contas.EmInclusao


def test_cancel_after_failed_save_returns_to_browse(contas, fake_desktop, rows, error_log_text):
    """Part 2.5: the user may cancel after the failure; nothing of the attempt remains."""
    before = snapshot(rows)
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Bancárias", "Tarifas", "Conta corrente", "D'Ávila")
    contas.tool_click("ID_Gravar")
    contas.tool_click("ID_Cancelar")
    assert_visualizar(contas)
    assert snapshot(rows) == before
    assert contas.Combo[4].text() == "Aluguel da loja"


# --- moving an item by editing it on the hierarchy page ---------------------------------------


def test_editing_item_moves_it_under_another_account(contas, fake_desktop, rows):
    """Part 2.5: the edited item's parent is rewritten from the selectors."""
    contas.tool_click("ID_Alterar")  # "Aluguel da loja" (6) under account 5
    contas.Combo[3].set_text("Energia")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(ITEMS)[5] == (6, "Aluguel da loja", 6, 0)
    assert parent_key(contas, "6N4") == "6N3"
    assert "6N4" not in child_keys(contas, "5N3")


def test_editing_item_into_a_new_path_creates_missing_ancestors(contas, fake_desktop, rows):
    """Part 2.5: moving an item creates the missing group and account of its new path."""
    accounts = rows(ACCOUNTS)
    contas.tool_click("ID_Alterar")
    type_path(contas, "Despesas", "Despesas Administrativas", "Impostos", "Municipais")
    contas.tool_click("ID_Gravar")
    assert rows(GROUPS)[-1] == (7, "Impostos", 3)
    assert rows(ACCOUNTS) == [*accounts, (8, "Municipais", 7)]
    assert rows(ITEMS)[5] == (6, "Aluguel da loja", 8, 0)
    assert len(rows(ITEMS)) == 9
    assert parent_key(contas, "6N4") == "8N3"
    assert parent_key(contas, "8N3") == "7N2"
    assert parent_key(contas, "7N2") == "3N1"


# --- the level page -----------------------------------------------------------------------


def test_level_page_insert_creates_row_under_the_selected_parent(contas, fake_desktop, rows):
    """Part 2.5 level page steps 2-7: `Nome` and the parent code resolved from the selectors."""
    contas.tool_click("ID_Grupo")
    go_to(contas, 2, 6)  # "Vendas Produtos" under Receitas > Receitas Financeiras (4)
    contas.tool_click("ID_Incluir")
    contas.Texto[2].set_text("Investimentos")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(GROUPS)[-1] == (7, "Investimentos", 4)
    assert parent_key(contas, "7N2") == "4N1"
    assert contas.node("7N2").text(0) == "Investimentos"


def test_level_page_insert_of_sector_goes_under_the_category(contas, fake_desktop, rows):
    """Part 2.5 level page, level 1: `CodigoCategoria0` := the category's code."""
    contas.tool_click("ID_Setor")
    go_to(contas, 1, 3)  # under Despesas (2)
    contas.tool_click("ID_Incluir")
    contas.Texto[1].set_text("Despesas Bancárias")
    contas.tool_click("ID_Gravar")
    assert rows(SECTORS)[-1] == (5, "Despesas Bancárias", 2)
    assert parent_key(contas, "5N1") == "2N0"


def test_level_page_save_never_moves_a_category_or_an_item(contas, fake_desktop, rows):
    """Part 2.5 level page step 5: only the level's own row is written."""
    categories, items, groups = rows(CATEGORIES), rows(ITEMS), rows(GROUPS)
    contas.tool_click("ID_Conta")
    go_to(contas, 3, 5)  # "Aluguel e condomínio" with items 6 and 7
    contas.tool_click("ID_Alterar")
    contas.Texto[3].set_text("Aluguel e IPTU")
    contas.tool_click("ID_Gravar")
    assert rows(CATEGORIES) == categories
    assert rows(ITEMS) == items
    assert rows(GROUPS) == groups
    assert rows(ACCOUNTS)[4] == (5, "Aluguel e IPTU", 5)
    assert child_keys(contas, "5N3") == ["6N4", "7N4"]


def test_level_page_edit_of_sector_keeps_its_category_and_groups(contas, fake_desktop, rows):
    """Part 2.5 level page, level 1: renamed in place under the same category."""
    categories, groups = rows(CATEGORIES), rows(GROUPS)
    contas.tool_click("ID_Setor")
    go_to(contas, 1, 3)
    contas.tool_click("ID_Alterar")
    contas.Texto[1].set_text("Administração")
    contas.tool_click("ID_Gravar")
    assert rows(SECTORS)[2] == (3, "Administração", 2)
    assert rows(CATEGORIES) == categories
    assert rows(GROUPS) == groups
    assert contas.node("3N1").text(0) == "Administração"


# --- after a save ----------------------------------------------------------------------------


def test_after_save_on_hierarchy_page_saved_item_is_current(contas, fake_desktop):
    """Part 2.5 refresh: the saved record is current, the counter its position, "Visualizar"."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Receitas", "Receitas Financeiras", "Vendas Produtos", "Aplicações", "Ações")
    contas.tool_click("ID_Gravar")
    assert_visualizar(contas)
    assert contas.Gravou
    assert contas.CodigoGravado == 10
    assert current_code(contas, 4) == 10
    # Receitas > Receitas Financeiras > ... > Aplicações: "Ações" sorts before "CDB".
    assert contas.Status.panel_text(2) == "Registro 9/10"
    assert contas.Combo[4].text() == "Ações"


def test_after_save_on_level_page_saved_record_is_current(contas, fake_desktop):
    """Part 2.5 refresh on page 1: the level's query re-read, the new row current."""
    contas.tool_click("ID_Setor")
    go_to(contas, 1, 4)  # Receitas Financeiras
    contas.tool_click("ID_Incluir")
    contas.Texto[1].set_text("Receitas Eventuais")
    contas.tool_click("ID_Gravar")
    assert_visualizar(contas)
    assert current_code(contas, 1) == 5
    assert contas.TotalRegistros[1] == 5
    # Despesas Administrativas, Despesas Fornecedores, Receitas Clientes, Receitas Eventuais.
    assert contas.Status.panel_text(2) == "Registro 4/5"
    assert contas.Texto[1].text() == "Receitas Eventuais"


def test_after_edit_that_moves_item_counter_follows_it(contas, fake_desktop):
    """Part 2.5 refresh: the moved item is found again at its new position."""
    contas.tool_click("ID_Alterar")  # "Aluguel da loja", 1/9
    contas.Combo[3].set_text("Energia")
    contas.tool_click("ID_Gravar")
    assert current_code(contas, 4) == 6
    # Under Energia "Aluguel da loja" sorts before "Conta de luz": after "Condomínio".
    assert contas.Status.panel_text(2) == "Registro 2/9"


def test_item_saved_after_walking_the_path_with_selector_choices(contas, fake_desktop, rows):
    """Parts 2.1/2.5: the user chooses each level in its list (the cascade), types the item."""
    contas.tool_click("ID_Incluir")
    path = ["Despesas", "Despesas Administrativas", "Ocupação", "Energia"]
    for level, name in enumerate(path):
        combo = contas.Combo[level]
        combo.setCurrentIndex(combo.findText(name))
        contas.Combo_Click(level)
    assert contas.Combo[4].names() == ["Conta de luz"]
    assert contas.Combo[4].text() == ""
    contas.Combo[4].set_text("Gás")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(ITEMS)[-1] == (10, "Gás", 6, 0)
    assert parent_key(contas, "10N4") == "6N3"


def test_sector_name_of_another_category_is_created_under_the_typed_one(contas, fake_desktop, rows):
    """Part 2.5 step 3: lookups are by name and parent code, so the whole path is new."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Receitas", "Despesas Administrativas", "Ocupação", "Energia", "Luz")
    contas.tool_click("ID_Gravar")
    assert rows(SECTORS)[-1] == (5, "Despesas Administrativas", 1)
    assert rows(GROUPS)[-1] == (7, "Ocupação", 5)
    assert rows(ACCOUNTS)[-1] == (8, "Energia", 7)
    assert rows(ITEMS)[-1] == (10, "Luz", 8, 0)
    assert parent_key(contas, "5N1") == "1N0"


def test_account_name_shared_by_two_groups_is_resolved_by_parent(contas, fake_desktop, rows):
    """Part 2.5 step 4: "Baguete" exists under Pães of Vendas Produtos, not of Fornecedores."""
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos", "Pães")
    contas.Combo[4].set_text("Baguete")
    contas.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert len(rows(ACCOUNTS)) == 7
    assert rows(ITEMS)[-1] == (10, "Baguete", 3, 0)


# --- saving after a deletion -----------------------------------------------------------------


def test_insert_after_deleting_an_item_saves_the_new_item(
    contas, fake_desktop, rows, error_log_text
):
    """Parts 2.6 then 2.5: delete "Condomínio" (7), then insert "Seguro" beside it."""
    contas.Arvore_NodeClick(contas.node("7N4"))
    contas.tool_click("ID_Excluir")
    contas.tool_click("ID_Incluir")
    type_path(contas, "Despesas", "Despesas Administrativas", "Ocupação", "Aluguel e condomínio")
    contas.Combo[4].set_text("Seguro")
    contas.tool_click("ID_Gravar")
    assert error_log_text() == ""
    assert rows("SELECT CodigoCategoria3 FROM NivelCategoria4 WHERE Nome = 'Seguro'") == [(5,)]
    assert_visualizar(contas)


def test_level_page_insert_after_deleting_a_group_saves_the_new_group(
    start_contas, fake_desktop, rows, error_log_text
):
    """Parts 2.6 then 2.5 on the level page: delete group 7 (not the table's last), insert."""
    window = start_contas(
        "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado) "
        "VALUES (7, 'Marketing', 3, 0), (8, 'Viagens', 3, 0);"
    )
    window.tool_click("ID_Grupo")
    window.Arvore_NodeClick(window.node("7N2"))
    window.tool_click("ID_Excluir")
    assert rows("SELECT Codigo FROM NivelCategoria2 WHERE Codigo = 7") == []
    window.tool_click("ID_Incluir")
    window.Texto[2].set_text("Eventos")
    window.tool_click("ID_Gravar")
    assert error_log_text() == ""
    assert rows("SELECT CodigoCategoria1 FROM NivelCategoria2 WHERE Nome = 'Eventos'") == [(3,)]


def test_save_on_empty_page_makes_the_new_record_current(start_contas, fake_desktop, rows):
    """Parts 2.4/2.5: insert on an empty item page, type the whole path, save: 1/1."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    window.tool_click("ID_Incluir")
    type_path(window, "Despesas", "Despesas Administrativas", "Ocupação", "Energia", "Gás")
    window.tool_click("ID_Gravar")
    assert fake_desktop.boxes == []
    assert rows(ITEMS) == [(10, "Gás", 6, 0)]
    assert_visualizar(window)
    assert current_code(window, 4) == 10
    assert window.Status.panel_text(2) == "Registro 1/1"
