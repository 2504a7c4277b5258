"""Part 4.3 "Check marks": toggle, push down, recompute upwards, and the save walk.

The tree is the seeded company's (conftest.py SEED_SQL) built by `editor.tree.build_tree`:

    Despesas e Receitas (NI)
      Despesas (2N0)
        Despesas Administrativas (3N1) > Ocupação (5N2)
            Aluguel e condomínio (5N3): Aluguel da loja (6N4), Condomínio (7N4)
            Energia (6N3): Conta de luz (8N4)
        Despesas Fornecedores (2N1) > ...
      Receitas (1N0) > ...
      Vazia (3N0)
"""

from __future__ import annotations

import pytest
from PySide6.QtWidgets import QTreeWidget

from varemo_contas.app.images import ALGUNS, NENHUM, TODOS
from varemo_contas.data.dao import Database
from varemo_contas.editor.tree import ROOT_TEXT, Node, build_tree, walk
from varemo_contas.reports import marks


@pytest.fixture
def tree(db: Database, qtbot) -> tuple[QTreeWidget, dict[str, Node]]:
    widget = QTreeWidget()
    qtbot.addWidget(widget)
    nodes, orphans = build_tree(widget, db)
    assert orphans == 0
    return widget, nodes


def images(nodes: dict[str, Node], *keys: str) -> list[str]:
    return [nodes[key].image for key in keys]


# --- step 1: toggle ---------------------------------------------------------------


@pytest.mark.parametrize(("before", "after"), [(NENHUM, TODOS), (ALGUNS, TODOS), (TODOS, NENHUM)])
def test_toggle(before: str, after: str) -> None:
    """Part 4.3 step 1: "Nenhum" or "Alguns" -> "Todos"; "Todos" -> "Nenhum"."""
    node = Node("5N2", "Ocupação", before)
    marks.toggle(node)
    assert node.image == after


# --- step 2: push down -------------------------------------------------------------


def test_push_down_gives_the_subtree_the_nodes_state(tree) -> None:
    """Part 4.3 step 2: the whole subtree takes "Todos"; the rest of the tree is untouched."""
    _, nodes = tree
    nodes["5N2"].set_image(TODOS)
    marks.push_down(nodes["5N2"])
    assert images(nodes, "5N3", "6N4", "7N4", "6N3", "8N4") == [TODOS] * 5
    assert images(nodes, "3N1", "2N0", "2N1", "NI") == [NENHUM] * 4


def test_push_down_of_alguns_clears_the_subtree(tree) -> None:
    """Part 4.3 step 2: anything but "Todos" pushes "Nenhum" down."""
    _, nodes = tree
    for key in ("5N3", "6N4", "7N4", "6N3", "8N4"):
        nodes[key].set_image(TODOS)
    nodes["5N2"].set_image(ALGUNS)
    marks.push_down(nodes["5N2"])
    assert images(nodes, "5N3", "6N4", "7N4", "6N3", "8N4") == [NENHUM] * 5


def test_push_down_goes_first_to_last_depth_first(monkeypatch: pytest.MonkeyPatch) -> None:
    """Part 4.3 step 2: each child, then its own children, before the next child."""
    top = Node("1N2", "Grupo", TODOS)
    a, b = Node("1N3", "A"), Node("2N3", "B")
    a.addChildren([Node("1N4", "A1"), Node("2N4", "A2")])
    b.addChildren([Node("3N4", "B1")])
    top.addChildren([a, b])
    log: list[str] = []
    monkeypatch.setattr(marks, "set_image", lambda node, image: log.append(node.text(0)))
    marks.push_down(top)
    assert log == ["A", "A1", "A2", "B", "B1"]


# --- step 3: recompute upwards ----------------------------------------------------


def test_one_leaf_makes_its_ancestors_alguns(tree) -> None:
    """Part 4.3 step 3: one of two leaves chosen: every ancestor up to the root "Alguns"."""
    _, nodes = tree
    marks.click(nodes["6N4"])
    assert nodes["6N4"].image == TODOS
    assert images(nodes, "5N3", "5N2", "3N1", "2N0", "NI") == [ALGUNS] * 5
    assert images(nodes, "7N4", "6N3", "8N4", "1N0") == [NENHUM] * 4


def test_all_children_chosen_make_the_parent_todos(tree) -> None:
    _, nodes = tree
    marks.click(nodes["6N4"])
    marks.click(nodes["7N4"])
    assert nodes["5N3"].image == TODOS
    assert nodes["5N2"].image == ALGUNS  # Energia is still "Nenhum"
    marks.click(nodes["8N4"])
    assert images(nodes, "6N3", "5N2", "3N1") == [TODOS] * 3
    assert nodes["2N0"].image == ALGUNS  # Despesas Fornecedores is not chosen
    assert nodes["NI"].image == ALGUNS


def test_unmarking_the_last_leaf_clears_the_ancestors(tree) -> None:
    _, nodes = tree
    marks.click(nodes["6N4"])
    marks.click(nodes["6N4"])
    assert all(node.image == NENHUM for node in nodes.values())


def test_clicking_a_partial_node_chooses_its_whole_subtree(tree) -> None:
    """Step 1 then 2: "Alguns" becomes "Todos" and so does everything under it."""
    _, nodes = tree
    marks.click(nodes["6N4"])
    assert nodes["5N2"].image == ALGUNS
    marks.click(nodes["5N2"])
    assert images(nodes, "5N2", "5N3", "6N4", "7N4", "6N3", "8N4", "3N1") == [TODOS] * 7


def test_root_click_chooses_everything_and_again_nothing(tree) -> None:
    _, nodes = tree
    marks.click(nodes["NI"])
    assert all(node.image == TODOS for node in nodes.values())
    marks.click(nodes["NI"])
    assert all(node.image == NENHUM for node in nodes.values())


def test_a_sibling_in_alguns_makes_the_parent_alguns(tree) -> None:
    """Step 3.2: a sibling showing "Alguns" clears both flags and ends the sibling walk."""
    _, nodes = tree
    nodes["5N3"].set_image(ALGUNS)
    nodes["6N3"].set_image(TODOS)
    marks.recompute_up(nodes["6N3"])
    assert nodes["5N2"].image == ALGUNS


def test_walk_stops_at_a_node_captioned_like_the_root(tree) -> None:
    """Step 3.1 compares captions: a Conta captioned "Despesas e Receitas" stops the walk."""
    _, nodes = tree
    nodes["5N3"].setText(0, ROOT_TEXT)
    marks.click(nodes["6N4"])
    assert nodes["5N3"].image == ALGUNS  # set from its children ...
    assert images(nodes, "5N2", "3N1", "2N0", "NI") == [NENHUM] * 4  # ... and no further


def test_siblings_without_any_of_the_three_images_leave_the_parent(tree) -> None:
    """Step 3.3: both flags still set: the parent stays as it is and the walk ends."""
    _, nodes = tree
    for key in ("6N4", "7N4"):
        nodes[key].set_image("")
    nodes["5N3"].set_image(TODOS)
    nodes["5N2"].set_image(ALGUNS)  # would become "Todos" or "Nenhum" if the walk went on
    marks.recompute_up(nodes["6N4"])
    assert nodes["5N3"].image == TODOS
    assert nodes["5N2"].image == ALGUNS


def test_recompute_from_a_top_level_node_stops_at_the_root(tree) -> None:
    _, nodes = tree
    nodes["NI"].set_image(ALGUNS)
    marks.recompute_up(nodes["NI"])
    assert nodes["NI"].image == ALGUNS


def test_works_on_plain_tree_items_too(qtbot) -> None:
    """The routines read and write the image through the item data role as well."""
    from PySide6.QtWidgets import QTreeWidgetItem

    from varemo_contas.editor.tree import IMAGE_ROLE

    widget = QTreeWidget()
    qtbot.addWidget(widget)
    root = QTreeWidgetItem([ROOT_TEXT])
    child = QTreeWidgetItem(["Receitas"])
    leaf = QTreeWidgetItem(["Vendas"])
    for item in (root, child, leaf):
        item.setData(0, IMAGE_ROLE, NENHUM)
    child.addChild(leaf)
    root.addChild(child)
    widget.addTopLevelItem(root)
    marks.click(leaf)
    assert [marks.image_of(item) for item in (root, child, leaf)] == [TODOS, TODOS, TODOS]


# --- the save walk (ContasSalvar step 3) -----------------------------------------


def test_only_some_leaves_of_a_grupo_store_the_grupo_and_ancestors_as_2(tree) -> None:
    """Part 4.3 edge case: the Grupo and its ancestors 2, the marked leaves 3."""
    widget, nodes = tree
    marks.click(nodes["6N4"])
    marks.click(nodes["8N4"])
    assert marks.stored_rows(widget.topLevelItem(0)) == [
        ("NI", 0, 2),
        ("N0", 2, 2),
        ("N1", 3, 2),
        ("N2", 5, 2),
        ("N3", 5, 2),
        ("N4", 6, 3),
        ("N3", 6, 3),
        ("N4", 8, 3),
    ]


def test_save_walk_is_root_down_children_in_order(tree) -> None:
    widget, nodes = tree
    marks.click(nodes["NI"])
    root = widget.topLevelItem(0)
    assert marks.saved_nodes(root) == walk(root)


def test_save_walk_skips_nenhum_nodes_with_their_subtrees(tree) -> None:
    """Part 4.3 step 3: a "Nenhum" node is skipped and so is everything under it."""
    widget, nodes = tree
    nodes["NI"].set_image(ALGUNS)
    nodes["2N0"].set_image(NENHUM)
    nodes["3N1"].set_image(TODOS)  # under a "Nenhum" node: never reached
    nodes["1N0"].set_image(TODOS)
    saved = [node.key for node in marks.saved_nodes(widget.topLevelItem(0))]
    assert saved == ["NI", "1N0"]


def test_nothing_marked_stores_nothing(tree) -> None:
    widget, _ = tree
    assert marks.stored_rows(widget.topLevelItem(0)) == []


def test_fill_missing_parents_repairs_unmarked_ancestors_only(tree) -> None:
    """A "Nenhum" node over marked children takes their state; stored states stay."""
    widget, nodes = tree
    for key in ("6N4", "7N4"):
        nodes[key].set_image(TODOS)
    nodes["8N4"].set_image(TODOS)
    nodes["6N3"].set_image(ALGUNS)  # stored so: left as it is
    marks.fill_missing_parents(widget.topLevelItem(0))
    assert nodes["5N3"].image == TODOS
    assert nodes["6N3"].image == ALGUNS
    assert images(nodes, "5N2", "3N1", "2N0", "NI") == [ALGUNS] * 4
    assert images(nodes, "1N0", "2N1", "3N0") == [NENHUM] * 3


def test_key_parts() -> None:
    """Part 4.3: the numeric start of the key and its last two characters."""
    assert marks.key_parts("17N3") == (17, "N3")
    assert marks.key_parts("NI") == (0, "NI")
