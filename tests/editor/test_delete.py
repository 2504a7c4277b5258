"""Part 2.6 (delete rules) on the real window, the database checked after each action.

The seeded company (tests/conftest.py SEED_SQL), item page in the joined order:
1 Aluguel da loja (6, in CompraProdutos), 2 Condomínio (7, no lines), 3 Conta de luz
(8, in CompraProdutos), 4 Farinha de trigo (5, product 3), 5 Pão francês (4, product 1),
6 Farinha de trigo (3, sales category, CodigoProduto 0, its code only in CompraProdutos),
7 Baguete (2, product 2), 8 Pão francês (1, product 1), 9 CDB (9, in VendaProdutos).
Locks: sector 1 and group 1 locked, sector 3 and group 5 null, sector 4 and group 4 false.
"""

from __future__ import annotations

import pytest

from varemo_contas.app import desktop
from varemo_contas.editor.tree import KEY_ROLE

ITEMS = "SELECT Codigo, Nome, CodigoCategoria3, CodigoProduto FROM NivelCategoria4 ORDER BY Codigo"
CATEGORIES = "SELECT Codigo, Nome FROM NivelCategoria0 ORDER BY Codigo"
SECTORS = "SELECT Codigo, Nome, CodigoCategoria0 FROM NivelCategoria1 ORDER BY Codigo"
GROUPS = "SELECT Codigo, Nome, CodigoCategoria1 FROM NivelCategoria2 ORDER BY Codigo"
ACCOUNTS = "SELECT Codigo, Nome, CodigoCategoria2 FROM NivelCategoria3 ORDER BY Codigo"
ALL_LEVELS = (CATEGORIES, SECTORS, GROUPS, ACCOUNTS, ITEMS)
CONFIRM_FLAGS = desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2
VIEW_OF_LEVEL = {1: "ID_Setor", 2: "ID_Grupo", 3: "ID_Conta", 4: "ID_Item"}


def go_to(window, level: int, code: int) -> None:
    """Show the level's page and make a row current the way the user does (tree click)."""
    window.tool_click(VIEW_OF_LEVEL[level])
    window.Arvore_NodeClick(window.node(f"{code}N{level}"))
    assert current_code(window, level) == code


def current_code(window, level: int) -> int:
    return int(window.data_set()[f"NivelCategoria{level}.Codigo"])


def snapshot(rows) -> list[list[tuple]]:
    return [rows(sql) for sql in ALL_LEVELS]


def boxes(fake_desktop) -> list[tuple[str, int, str]]:
    return [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes]


def confirmation(prompt: str) -> tuple[str, int, str]:
    return (prompt, CONFIRM_FLAGS, "Exclusão")


def child_keys(window, key: str) -> list[str]:
    node = window.node(key)
    return [node.child(i).data(0, KEY_ROLE) for i in range(node.childCount())]


def assert_browsing(window) -> None:
    assert not window.EmInclusao
    assert not window.EmAlteracao
    assert window.Modo == "Visualizar"


# --- refusals before the confirmation -------------------------------------------------------


def test_product_linked_item_is_refused_before_the_confirmation(contas, fake_desktop, rows):
    """Part 2.6 step 1 / edge case: no question is asked for a product-linked item."""
    go_to(contas, 4, 4)  # "Pão francês" under Fornecedores Produtos, CodigoProduto 1
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [
        ("Não se pode excluir produto ou insumo", desktop.vbInformation, "Não pode excluir")
    ]
    assert snapshot(rows) == before
    assert current_code(contas, 4) == 4
    assert contas.node("4N4") is not None


def test_delete_on_empty_page_is_refused(start_contas, fake_desktop):
    """Part 2.6 step 2: "Não tem nenhum registro" titled "Excluir", no confirmation."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [("Não tem nenhum registro", desktop.vbInformation, "Excluir")]
    assert_browsing(window)


def test_delete_on_empty_level_page_is_refused(start_contas, fake_desktop):
    """Part 2.6 step 2 on the level page of accounts."""
    window = start_contas("DELETE FROM NivelCategoria4; DELETE FROM NivelCategoria3;")
    window.tool_click("ID_Conta")
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [("Não tem nenhum registro", desktop.vbInformation, "Excluir")]


# --- the confirmation -----------------------------------------------------------------------


@pytest.mark.parametrize(
    ("level", "code", "prompt"),
    [
        (1, 3, "Deseja excluir este Setor?"),
        (2, 5, "Deseja excluir este Grupo?"),
        (3, 6, "Deseja excluir esta Conta?"),
        (4, 7, "Deseja excluir este Item?"),
    ],
)
def test_confirmation_prompt_per_level(contas, fake_desktop, level, code, prompt):
    """Part 2.6 step 3: Yes/No, question icon, No the default, title "Exclusão"."""
    go_to(contas, level, code)
    fake_desktop.answers = [desktop.vbNo]
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation(prompt)]


@pytest.mark.parametrize(("level", "code"), [(1, 3), (2, 5), (3, 6), (4, 7)])
def test_answering_no_changes_nothing(contas, fake_desktop, rows, level, code):
    """Part 2.3/2.6: No leaves the tables, the current record, the counter and the tree."""
    go_to(contas, level, code)
    before = snapshot(rows)
    counter = contas.Status.panel_text(2)
    fake_desktop.answers = [desktop.vbNo]
    contas.tool_click("ID_Excluir")
    assert len(fake_desktop.boxes) == 1
    assert snapshot(rows) == before
    assert current_code(contas, level) == code
    assert contas.Status.panel_text(2) == counter
    assert contas.node(f"{code}N{level}") is not None
    assert_browsing(contas)


def test_answering_yes_for_a_category_deletes_nothing_and_shows_no_message(
    contas, fake_desktop, rows
):
    """Part 2.6 step 3 / level 0: an empty prompt; nothing checked or deleted, no message.

    No view command makes level 0 current (Part 2.2), so the test sets `NivelAtual` itself.
    """
    before = snapshot(rows)
    contas.NivelAtual = 0
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("")]
    assert snapshot(rows) == before
    assert contas.node("2N0") is not None


# --- locks ---------------------------------------------------------------------------------------


def test_locked_sector_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 4: "Não se pode excluir o setor: " + name, after the confirmation."""
    go_to(contas, 1, 1)  # "Receitas Clientes", Travado
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [
        confirmation("Deseja excluir este Setor?"),
        (
            "Não se pode excluir o setor: Receitas Clientes",
            desktop.vbInformation,
            "Setor não pode ser excluído",
        ),
    ]
    assert snapshot(rows) == before
    assert current_code(contas, 1) == 1


def test_locked_group_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 4: "Não se pode excluir o grupo: " + name, "Grupo não pode ser excluído"."""
    go_to(contas, 2, 3)  # "Fornecedores Produtos", Travado
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [
        confirmation("Deseja excluir este Grupo?"),
        (
            "Não se pode excluir o grupo: Fornecedores Produtos",
            desktop.vbInformation,
            "Grupo não pode ser excluído",
        ),
    ]
    assert snapshot(rows) == before


def test_locked_empty_group_cannot_be_deleted(start_contas, fake_desktop, rows):
    """Part 2.6 step 4 comes before the dependency check: a lock holds without children."""
    window = start_contas(
        "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado) "
        "VALUES (7, 'Reservado', 3, 1);"
    )
    go_to(window, 2, 7)
    window.tool_click("ID_Excluir")
    assert [b.title for b in fake_desktop.boxes] == ["Exclusão", "Grupo não pode ser excluído"]
    assert rows("SELECT Codigo FROM NivelCategoria2 WHERE Codigo = 7") == [(7,)]


def test_sector_with_null_travado_and_no_groups_can_be_deleted(start_contas, fake_desktop, rows):
    """Part 2.6 edge case: a null lock counts as false."""
    window = start_contas(
        "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, Travado) "
        "VALUES (5, 'Despesas Bancárias', 2, NULL);"
    )
    go_to(window, 1, 5)
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("Deseja excluir este Setor?")]
    assert rows("SELECT Codigo FROM NivelCategoria1 WHERE Codigo = 5") == []
    assert window.node("5N1") is None


# --- dependencies --------------------------------------------------------------------------------


def test_sector_with_groups_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 7, level 1 (lock null, so the dependency check decides)."""
    go_to(contas, 1, 3)  # "Despesas Administrativas" with group Ocupação
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [
        confirmation("Deseja excluir este Setor?"),
        (
            "Este setor não pode ser excluido!\rExistem grupos neste setor.",
            desktop.vbInformation,
            "Não pode excluir Setor",
        ),
    ]
    assert snapshot(rows) == before
    assert current_code(contas, 1) == 3


def test_group_with_accounts_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 7, level 2."""
    go_to(contas, 2, 5)  # "Ocupação", lock null, accounts 5 and 6
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop)[1:] == [
        (
            "Este grupo não pode ser excluido!\rExistem contas neste grupo.",
            desktop.vbInformation,
            "Não pode excluir Grupo",
        )
    ]
    assert snapshot(rows) == before
    assert current_code(contas, 2) == 5


def test_account_with_items_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 7, level 3."""
    go_to(contas, 3, 6)  # "Energia" with item Conta de luz
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop)[1:] == [
        (
            "Esta conta não pode ser excluida!\rExistem itens nesta conta.",
            desktop.vbInformation,
            "Não pode excluir Conta",
        )
    ]
    assert snapshot(rows) == before
    assert current_code(contas, 3) == 6


def test_purchase_item_with_purchase_lines_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 7, level 4: an item of a purchase category booked in CompraProdutos."""
    go_to(contas, 4, 8)  # "Conta de luz", category Despesas
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [
        confirmation("Deseja excluir este Item?"),
        (
            "Este item não pode ser excluido!\rExistem lançamentos com este item.",
            desktop.vbInformation,
            "Não pode excluir Item",
        ),
    ]
    assert snapshot(rows) == before
    assert current_code(contas, 4) == 8
    assert contas.Status.panel_text(2) == "Registro 3/9"


def test_sales_item_with_sales_lines_cannot_be_deleted(contas, fake_desktop, rows):
    """Part 2.6 step 7, level 4: an item of category 1 booked in VendaProdutos."""
    go_to(contas, 4, 9)  # "CDB" under Receitas
    before = snapshot(rows)
    contas.tool_click("ID_Excluir")
    assert [b.title for b in fake_desktop.boxes] == ["Exclusão", "Não pode excluir Item"]
    assert snapshot(rows) == before
    assert current_code(contas, 4) == 9


def test_purchase_item_only_in_sales_lines_can_be_deleted(start_contas, fake_desktop, rows):
    """Part 2.6 edge case: only the table of the item's own side is searched."""
    window = start_contas(
        "INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, "
        "QdeComprada) VALUES (2, 7, 3, 0, 10.0, 1);"
    )
    go_to(window, 4, 7)  # "Condomínio", category Despesas
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("Deseja excluir este Item?")]
    assert rows("SELECT Codigo FROM NivelCategoria4 WHERE Codigo = 7") == []


def test_sales_item_only_in_purchase_lines_can_be_deleted(contas, fake_desktop, rows):
    """Part 2.6: an item of category 1 is checked against the sales lines only."""
    assert rows("SELECT COUNT(*) FROM CompraProdutos WHERE CodigoProduto = 3") == [(1,)]
    go_to(contas, 4, 3)  # "Farinha de trigo" under Receitas, CodigoProduto 0
    contas.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("Deseja excluir este Item?")]
    assert rows("SELECT Codigo FROM NivelCategoria4 WHERE Codigo = 3") == []


def test_group_without_accounts_is_deleted(start_contas, fake_desktop, rows):
    """Part 2.6 step 7, level 2: no account under it, not locked -> deleted."""
    window = start_contas(
        "INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado) "
        "VALUES (7, 'Marketing', 3, 0);"
    )
    go_to(window, 2, 7)
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("Deseja excluir este Grupo?")]
    assert rows("SELECT Codigo FROM NivelCategoria2 WHERE Codigo = 7") == []
    assert "7N2" not in child_keys(window, "3N1")


def test_account_without_items_is_deleted(start_contas, fake_desktop, rows):
    """Part 2.6 step 7, level 3: no item under it -> deleted."""
    window = start_contas(
        "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (8, 'Água', 5);"
    )
    go_to(window, 3, 8)
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("Deseja excluir esta Conta?")]
    assert rows("SELECT Codigo FROM NivelCategoria3 WHERE Codigo = 8") == []
    assert child_keys(window, "5N2") == ["5N3", "6N3"]


# --- after a deletion ------------------------------------------------------------------------


def test_deleted_item_rows_are_gone_and_nothing_else_changes(contas, fake_desktop, rows):
    """Part 2.6 step 7: exactly the record is deleted from its level table."""
    before = snapshot(rows)
    go_to(contas, 4, 7)
    contas.tool_click("ID_Excluir")
    after = snapshot(rows)
    assert after[:4] == before[:4]
    assert after[4] == [row for row in before[4] if row[0] != 7]


def test_tree_loses_the_deleted_node(contas, fake_desktop):
    """Part 2.6: the tree no longer shows the deleted record."""
    go_to(contas, 4, 7)
    contas.tool_click("ID_Excluir")
    assert contas.node("7N4") is None
    assert child_keys(contas, "5N3") == ["6N4"]


def test_deleting_a_record_makes_the_next_one_current(contas, fake_desktop):
    """Part 2.6 edge case: deleting any record but the last makes the next one current."""
    go_to(contas, 4, 7)  # "Condomínio", 2/9; next is "Conta de luz"
    contas.tool_click("ID_Excluir")
    assert current_code(contas, 4) == 8
    assert contas.TotalRegistros[0] == 8
    assert contas.Status.panel_text(2) == "Registro 2/8"
    assert contas.Combo[4].text() == "Conta de luz"
    assert_browsing(contas)


def test_deleting_the_first_record_makes_the_next_one_current(start_contas, fake_desktop):
    """Part 2.6 step 5 on the level page: the first sector deleted, the second current."""
    window = start_contas(
        "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, Travado) "
        "VALUES (5, 'Bancárias', 2, 0);"
    )
    go_to(window, 1, 5)
    assert window.Status.panel_text(2) == "Registro 1/5"
    window.tool_click("ID_Excluir")
    assert current_code(window, 1) == 3  # "Despesas Administrativas"
    assert window.Status.panel_text(2) == "Registro 1/4"
    assert window.Texto[1].text() == "Despesas Administrativas"


def test_deleting_the_last_record_makes_the_one_before_current(start_contas, fake_desktop, rows):
    """Part 2.6 edge case: at the end the neighbour is the previous record."""
    window = start_contas(
        "INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca) "
        "VALUES (10, 'Poupança', 7, 0, 0);"
    )
    go_to(window, 4, 10)
    assert window.Status.panel_text(2) == "Registro 10/10"
    window.tool_click("ID_Excluir")
    assert rows("SELECT Codigo FROM NivelCategoria4 WHERE Codigo = 10") == []
    assert current_code(window, 4) == 9  # "CDB"
    assert window.Status.panel_text(2) == "Registro 9/9"


def test_deleting_the_only_record_leaves_the_page_empty(
    start_contas, fake_desktop, rows, error_log_text
):
    """Part 2.6 edge case: no neighbour is found; the page is empty afterwards."""
    window = start_contas("DELETE FROM NivelCategoria4 WHERE Codigo <> 7;")
    assert window.TotalRegistros[0] == 1
    window.tool_click("ID_Excluir")
    assert boxes(fake_desktop) == [confirmation("Deseja excluir este Item?")]
    assert rows(ITEMS) == []
    assert error_log_text() == ""
    assert window.TotalRegistros[0] == 0
    assert window.Status.panel_text(2) == "Registro 0/0"
    assert window.node("7N4") is None
    assert_browsing(window)


def test_deleting_the_only_record_of_a_level_page_leaves_it_empty(
    start_contas, fake_desktop, rows, error_log_text
):
    """Part 2.6 edge case on the level page: the only account deleted, 0 accounts left."""
    window = start_contas(
        "DELETE FROM NivelCategoria4; DELETE FROM NivelCategoria3 WHERE Codigo <> 6;"
    )
    go_to(window, 3, 6)
    window.tool_click("ID_Excluir")
    assert rows(ACCOUNTS) == []
    assert error_log_text() == ""
    assert window.TotalRegistros[1] == 0
    assert window.Status.panel_text(2) == "Registro 0/0"


def test_delete_after_delete_keeps_working(contas, fake_desktop, rows):
    """Part 2.6 step 8: the re-read page is consistent for the next deletion."""
    go_to(contas, 4, 7)
    contas.tool_click("ID_Excluir")  # 7 gone, "Conta de luz" (8) current: refused
    contas.tool_click("ID_Excluir")
    assert [b.title for b in fake_desktop.boxes] == [
        "Exclusão",
        "Exclusão",
        "Não pode excluir Item",
    ]
    assert len(rows(ITEMS)) == 8
    assert current_code(contas, 4) == 8
