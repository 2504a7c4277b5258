"""Part 2.1 (account tree): keys, texts, images, the root, a saved report's marks, tree clicks.

The seeded company (tests/conftest.py SEED_SQL) has 3 categories, 4 sectors, 6 groups,
7 accounts and 9 items; report 1 "Resultado Mensal" marks 2N0 "Alguns" and 3N1, 5N2, 5N3,
6N3, 6N4, 7N4, 8N4 "Todos". Tree nodes carry their key as `Qt.UserRole` data and their
image key as `Qt.UserRole + 1` data (DESIGN.md).
"""

from __future__ import annotations

import sqlite3

import pytest
from PySide6.QtCore import Qt
from PySide6.QtWidgets import QTreeWidget

from varemo_contas.app.images import check_icon
from varemo_contas.data.dao import Database
from varemo_contas.editor.tree import build_tree, walk

KEY = Qt.ItemDataRole.UserRole
IMAGE = Qt.ItemDataRole.UserRole + 1
REPORT_1_MARKS = {
    "2N0": "Alguns",
    "3N1": "Todos",
    "5N2": "Todos",
    "5N3": "Todos",
    "6N3": "Todos",
    "6N4": "Todos",
    "7N4": "Todos",
    "8N4": "Todos",
}


def all_nodes(window) -> list:
    return walk(window.Arvore.topLevelItem(0))


def node_by_key(window, key: str):
    for node in all_nodes(window):
        if node.data(0, KEY) == key:
            return node
    raise AssertionError(f"no node {key}")


def images(window) -> dict[str, str]:
    return {node.data(0, KEY): node.data(0, IMAGE) for node in all_nodes(window)}


def marked(window) -> dict[str, str]:
    return {key: image for key, image in images(window).items() if image != "Nenhum"}


def expected_nodes(rows) -> dict[str, tuple[str, str]]:
    """key -> (text, parent key) for every row of the five level tables, read from the db."""
    nodes = {}
    for code, name in rows("SELECT Codigo, Nome FROM NivelCategoria0"):
        nodes[f"{code}N0"] = (name, "NI")
    for level in range(1, 5):
        sql = f"SELECT Codigo, Nome, CodigoCategoria{level - 1} FROM NivelCategoria{level}"
        for code, name, parent in rows(sql):
            nodes[f"{code}N{level}"] = (name, f"{parent}N{level - 1}")
    return nodes


def choose_report(window, name: str) -> None:
    """ "ID_Relatorios", then the user picks the report in `Relatos` (Part 2.3)."""
    window.tool_click("ID_Relatorios")
    row = [window.Relatos.item(i).text() for i in range(window.Relatos.count())].index(name)
    window.Relatos.setCurrentRow(row)


def counter(window) -> str:
    return window.Status.panel_text(2)


# --- building the tree -------------------------------------------------------------------


def test_root_is_NI_captioned_despesas_e_receitas_and_expanded(contas, fake_desktop):
    """Part 2.1 building step 1: one root, key "NI", text "Despesas e Receitas", expanded."""
    assert contas.Arvore.topLevelItemCount() == 1
    root = contas.Arvore.topLevelItem(0)
    assert root.data(0, KEY) == "NI"
    assert root.text(0) == "Despesas e Receitas"
    assert root.data(0, IMAGE) == "Nenhum"
    assert root.isExpanded()


def test_only_the_root_is_expanded_when_the_tree_is_built(db, qtbot):
    """Part 2.1 building step 4: only the root is expanded."""
    tree = QTreeWidget()
    qtbot.addWidget(tree)
    build_tree(tree, db)
    root = tree.topLevelItem(0)
    assert root.isExpanded()
    assert [n.data(0, KEY) for n in walk(root) if n.isExpanded()] == ["NI"]


def test_every_row_of_the_five_tables_is_a_node_keyed_code_N_level(contas, fake_desktop, rows):
    """Part 2.1: key = Codigo + "N" + level, text = Nome, child of its parent's key."""
    expected = expected_nodes(rows)
    found = {}
    for node in all_nodes(contas)[1:]:
        found[node.data(0, KEY)] = (node.text(0), node.parent().data(0, KEY))
    assert found == expected
    assert len(found) == 3 + 4 + 6 + 7 + 9


def test_a_conta_with_code_17_gets_the_key_17N3(start_contas, fake_desktop):
    """Part 2.1 data model: the key of the Conta with code 17 is made of 17, N and 3."""
    window = start_contas(
        "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (17, 'Água', 5);"
    )
    node = node_by_key(window, "17N3")
    assert node.text(0) == "Água"
    assert node.parent().data(0, KEY) == "5N2"
    # Codes repeat between tables; the keys do not.
    assert node_by_key(window, "5N3").text(0) == "Aluguel e condomínio"
    assert node_by_key(window, "5N2").text(0) == "Ocupação"


def test_every_node_starts_with_image_nenhum_and_its_icon(contas, fake_desktop):
    """Part 2.1: every node is created with the image "Nenhum"; the icon follows the key."""
    nenhum = check_icon("Nenhum").cacheKey()
    for node in all_nodes(contas):
        assert node.data(0, IMAGE) == "Nenhum"
        assert node.icon(0).cacheKey() == nenhum


def test_a_level_0_row_without_children_still_appears(contas, fake_desktop):
    """Part 1.1 edge case: the category "Vazia" has no sectors and is in the tree."""
    node = node_by_key(contas, "3N0")
    assert node.text(0) == "Vazia"
    assert node.childCount() == 0
    assert node.parent().data(0, KEY) == "NI"


def test_an_empty_level_table_adds_no_nodes_and_the_next_level_is_still_read(
    start_contas, fake_desktop
):
    """Part 2.1 edge case: no groups at all; the sectors are there and levels 3-4 were read.

    The 7 accounts and 9 items then have no parent node and are left out (the implementer's
    choice), which the status bar counts: proof that levels 3 and 4 were still read.
    """
    window = start_contas("DELETE FROM NivelCategoria2;")
    keys = set(images(window))
    assert {k for k in keys if k.endswith("N2")} == set()
    assert {k for k in keys if k.endswith("N1")} == {"1N1", "2N1", "3N1", "4N1"}
    assert {k for k in keys if k.endswith("N0")} == {"1N0", "2N0", "3N0"}
    assert window.Status.panel_text(0) == (
        "16 registro(s) sem nível superior cadastrado não aparecem na árvore"
    )


def test_an_empty_item_table_leaves_the_rest_of_the_tree_whole(start_contas, fake_desktop):
    """Part 2.1 edge case: the last table empty adds no nodes; the other levels are there."""
    window = start_contas("DELETE FROM NivelCategoria4;")
    keys = set(images(window))
    assert not {k for k in keys if k.endswith("N4")}
    assert len(keys) == 1 + 3 + 4 + 6 + 7
    assert window.Status.panel_text(0) == ""


def test_a_row_whose_parent_is_missing_is_left_out_with_its_descendants(start_contas, fake_desktop):
    """Part 2.1 left to the implementer: an orphan and everything under it stay out of the
    tree, and the status bar says how many rows were left out."""
    window = start_contas(
        """
        INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1) VALUES (40, 'Órfão', 99);
        INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (40, 'Filha', 40);
        INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca)
            VALUES (40, 'Neta', 40, 0, 0), (41, 'Outra neta', 40, 0, 0);
        INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (40, 'Sem pai', NULL);
        """
    )
    keys = set(images(window))
    assert not keys & {"40N1", "40N2", "40N3", "40N4", "41N4"}
    assert len(keys) == 1 + 3 + 4 + 6 + 7 + 9  # the seeded rows are all there
    assert window.Status.panel_text(0) == (
        "5 registro(s) sem nível superior cadastrado não aparecem na árvore"
    )


def test_siblings_are_sorted_by_name_ignoring_accents_and_case(start_contas, fake_desktop):
    """Part 2.1 left to the implementer: siblings in Jet's name order, not physical order."""
    window = start_contas(
        """
        INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2)
            VALUES (20, 'zelador', 5), (21, 'Água', 5), (22, 'Internet', 5);
        """
    )
    group = node_by_key(window, "5N2")
    names = [group.child(i).text(0) for i in range(group.childCount())]
    assert names == ["Água", "Aluguel e condomínio", "Energia", "Internet", "zelador"]


def test_a_failing_tree_build_goes_to_the_error_log(
    start_contas, fake_desktop, installation, error_log_text
):
    """Part 1.3: a failure while filling the tree is logged as "Colocando dados no TreeView"."""
    connection = sqlite3.connect(str(installation.database))
    connection.execute("ALTER TABLE NivelCategoria3 RENAME COLUMN Nome TO NomeAntigo")
    connection.commit()
    connection.close()
    window = start_contas()
    assert "Rotina: Colocando dados no TreeView\r\n" in error_log_text()
    assert window is not None


# --- a saved report's marks ---------------------------------------------------------------


def test_choosing_a_report_shows_its_marks_2_alguns_3_todos(contas, fake_desktop):
    """Part 2.1 "Showing the marks": Imagem 2 -> "Alguns", 3 -> "Todos", others "Nenhum"."""
    choose_report(contas, "Resultado Mensal")
    assert marked(contas) == REPORT_1_MARKS
    assert node_by_key(contas, "3N1").icon(0).cacheKey() == check_icon("Todos").cacheKey()
    assert node_by_key(contas, "2N0").icon(0).cacheKey() == check_icon("Alguns").cacheKey()
    assert node_by_key(contas, "5N4").icon(0).cacheKey() == check_icon("Nenhum").cacheKey()


def test_marks_match_the_level_text_as_well_as_the_code(contas, fake_desktop):
    """Part 2.1 step 2: "CodigoConta = 5 AND Nivel = 'N3'" marks 5N3, not 5N4 nor 5N1."""
    choose_report(contas, "Resultado Mensal")
    found = images(contas)
    assert found["5N3"] == "Todos"
    assert found["5N2"] == "Todos"
    assert found["5N4"] == "Nenhum"
    assert found["2N1"] == "Nenhum"  # code 2 is marked at N0 only
    assert found["NI"] == "Nenhum"


def test_show_marks_reads_the_reports_items_with_the_spec_query(contas, fake_desktop, jet_texts):
    """Part 2.1 step 1: "SELECT * FROM RelatorioItens WHERE CodigoRelatorio = " + code."""
    sent = jet_texts(contas)
    contas.MostraMarcas(1)
    assert sent == ["SELECT * FROM RelatorioItens WHERE CodigoRelatorio = 1"]
    assert marked(contas) == REPORT_1_MARKS


def test_other_stored_images_leave_the_node_as_it_is(start_contas, fake_desktop):
    """Part 2.1 step 2: an `Imagem` other than 2 or 3 leaves the node's image unchanged."""
    window = start_contas(
        """
        INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (2, 'Outros valores');
        INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES
            (2, 'N4', 6, 1), (2, 'N4', 9, 0), (2, 'N3', 7, 2), (2, 'N2', 6, 4);
        """
    )
    window.MostraMarcas(2)
    assert marked(window) == {"7N3": "Alguns"}
    window.MostraMarcas(1)
    window.MostraMarcas(2)  # 6N4 is "Todos" from report 1; Imagem 1 leaves it so
    assert marked(window) == REPORT_1_MARKS | {"7N3": "Alguns"}


def test_a_report_without_items_marks_nothing(start_contas, fake_desktop):
    """Part 2.1: no rows in `RelatorioItens` for the report, no node changes."""
    window = start_contas(
        "INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (2, 'Vazio');"
    )
    choose_report(window, "Vazio")
    assert marked(window) == {}


# --- a click in the tree (Part 2.1 lifecycle, through Part 2.2) ----------------------------


def test_clicking_an_item_node_makes_that_item_current(contas, fake_desktop):
    """Part 2.1: a click in the tree makes the clicked row current through Part 2.2."""
    contas.Arvore_NodeClick(node_by_key(contas, "9N4"))
    assert int(contas.data_set()["NivelCategoria4.Codigo"]) == 9
    assert counter(contas) == "Registro 9/9"
    assert [c.text() for c in contas.Combo] == [
        "Receitas",
        "Receitas Financeiras",
        "Vendas Produtos",
        "Aplicações",
        "CDB",
    ]


def test_clicking_a_sector_node_switches_to_the_sector_level(contas, fake_desktop):
    """Part 2.1/2.2: a click on a Setor shows level 1 on the level page with that row."""
    contas.Arvore_NodeClick(node_by_key(contas, "2N1"))
    assert (contas.NivelAtual, contas.PaginaAtiva) == (1, 1)
    assert contas.NovoRotulo.text() == "Plano de Contas - Setor"
    assert int(contas.data_set()["NivelCategoria1.Codigo"]) == 2
    assert counter(contas) == "Registro 2/4"
    assert [contas.Texto[i].text() for i in (0, 1)] == ["Despesas", "Despesas Fornecedores"]


def test_clicking_a_group_node_finds_it_by_code_not_by_name(contas, fake_desktop):
    """Two groups are named "Vendas Produtos"; the click on 6N2 makes group 6 current."""
    contas.Arvore_NodeClick(node_by_key(contas, "6N2"))
    assert (contas.NivelAtual, contas.PaginaAtiva) == (2, 1)
    assert int(contas.data_set()["NivelCategoria2.Codigo"]) == 6
    assert counter(contas) == "Registro 6/6"
    assert contas.Texto[1].text() == "Receitas Financeiras"


def test_clicking_an_account_node_switches_to_the_account_level(contas, fake_desktop):
    contas.Arvore_NodeClick(node_by_key(contas, "4N3"))
    assert (contas.NivelAtual, contas.PaginaAtiva) == (3, 1)
    assert contas.NovoRotulo.text() == "Plano de Contas - Conta"
    assert int(contas.data_set()["NivelCategoria3.Codigo"]) == 4
    assert counter(contas) == "Registro 3/7"
    assert [contas.Texto[i].text() for i in range(4)] == [
        "Despesas",
        "Despesas Fornecedores",
        "Fornecedores Insumos",
        "Farinhas",
    ]


def test_clicking_an_item_from_the_level_page_returns_to_the_item_page(contas, fake_desktop):
    contas.tool_click("ID_Setor")
    contas.Arvore_NodeClick(node_by_key(contas, "3N4"))
    assert (contas.NivelAtual, contas.PaginaAtiva) == (4, 0)
    assert contas.Pasta.currentIndex() == 0
    assert int(contas.data_set()["NivelCategoria4.Codigo"]) == 3
    assert counter(contas) == "Registro 6/9"


def test_clicking_a_category_goes_to_its_first_row_at_the_current_level(contas, fake_desktop):
    """A category is never the browsed level (Part 2.2): its first row at the level is shown."""
    contas.Arvore_NodeClick(node_by_key(contas, "1N0"))
    assert contas.NivelAtual == 4
    assert contas.Combo[0].text() == "Receitas"
    assert counter(contas) == "Registro 6/9"


def test_clicking_an_empty_category_or_the_root_moves_nothing(contas, fake_desktop):
    contas.Movimento_Click(4)
    for key in ("3N0", "NI"):
        contas.Arvore_NodeClick(node_by_key(contas, key))
        assert counter(contas) == "Registro 2/9"
        assert contas.NivelAtual == 4
        assert int(contas.data_set()["NivelCategoria4.Codigo"]) == 7
    assert fake_desktop.boxes == []


def test_a_tree_click_while_inserting_changes_nothing(contas, fake_desktop):
    """Part 2.1: a record open for change is not left by a click in the tree."""
    contas.tool_click("ID_Incluir")
    before = [c.text() for c in contas.Combo]
    contas.Arvore_NodeClick(node_by_key(contas, "9N4"))
    assert contas.EmInclusao
    assert [c.text() for c in contas.Combo] == before
    assert contas.Status.panel_text(2) == "Registro 10/10"


@pytest.mark.parametrize("key", ["9N4", "2N1", "6N2"])
def test_the_tree_selects_the_clicked_node(contas, fake_desktop, key):
    node = node_by_key(contas, key)
    contas.Arvore_NodeClick(node)
    assert contas.Arvore.currentItem() is node


def test_the_tree_is_built_from_a_fresh_database_object_as_well(seeded_path, qtbot):
    """`build_tree` is usable on its own (Part 4.3 builds its tree the same way)."""
    database = Database.open(seeded_path)
    try:
        tree = QTreeWidget()
        qtbot.addWidget(tree)
        nodes, orphans = build_tree(tree, database)
        assert orphans == 0
        assert set(nodes) == {n.data(0, KEY) for n in walk(tree.topLevelItem(0))}
    finally:
        database.close()
