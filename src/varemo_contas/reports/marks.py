"""Part 4.3 "Check marks": the three shared routines of `ContaBas`, and the save walk.

They work on the nodes of a report tree (`editor.tree.Node`, a `QTreeWidgetItem` with an
image key "Nenhum", "Alguns" or "Todos"); no window is involved, so they are tested on
bare trees. A click on a node runs `toggle`, `push_down` and `recompute_up` in turn
(`click`); `saved_nodes` is the walk of `ContasSalvar` step 3.
"""

from __future__ import annotations

from collections.abc import Iterable

from PySide6.QtWidgets import QTreeWidgetItem

from varemo_contas.app.images import ALGUNS, NENHUM, TODOS
from varemo_contas.editor.tree import IMAGE_ROLE, KEY_ROLE

# Part 4.3 data model: the stored `Imagem` of each check state ("Nenhum" is not stored).
STORED_VALUE = {ALGUNS: 2, TODOS: 3}


def image_of(node: QTreeWidgetItem) -> str:
    """The node's image key."""
    return str(node.data(0, IMAGE_ROLE))


def set_image(node: QTreeWidgetItem, image: str) -> None:
    setter = getattr(node, "set_image", None)
    if setter is not None:
        setter(image)  # `Node`: the attribute and one repaint
    else:
        node.setData(0, IMAGE_ROLE, image)


def toggle(node: QTreeWidgetItem) -> None:
    """Step 1: "Nenhum" or "Alguns" becomes "Todos"; "Todos" becomes "Nenhum"."""
    image = image_of(node)
    if image in (NENHUM, ALGUNS):
        set_image(node, TODOS)
    elif image == TODOS:
        set_image(node, NENHUM)


def push_down(node: QTreeWidgetItem) -> None:
    """Step 2: each child, first to last, takes "Todos" when the node is "Todos", otherwise
    "Nenhum", and passes it on to its own children, depth first."""
    image = TODOS if image_of(node) == TODOS else NENHUM
    # Depth first without recursion: children pushed in reverse so the first comes out first.
    stack = [node.child(i) for i in range(node.childCount() - 1, -1, -1)]
    while stack:
        child = stack.pop()
        set_image(child, image)
        stack.extend(child.child(i) for i in range(child.childCount() - 1, -1, -1))


def _root_text(node: QTreeWidgetItem) -> str:
    top = node
    while top.parent() is not None:
        top = top.parent()
    tree = top.treeWidget()
    if tree is not None and tree.topLevelItemCount():
        return tree.topLevelItem(0).text(0)
    return top.text(0)


def _siblings(node: QTreeWidgetItem) -> list[QTreeWidgetItem]:
    parent = node.parent()
    if parent is not None:
        return [parent.child(i) for i in range(parent.childCount())]
    tree = node.treeWidget()
    if tree is None:
        return [node]
    return [tree.topLevelItem(i) for i in range(tree.topLevelItemCount())]


def recompute_up(node: QTreeWidgetItem) -> None:
    """Step 3: from the node up, each parent shows what its children show.

    The stop compares captions with the root's text, not identity (Part 4.3 keeps it): a
    node captioned like the root ("Despesas e Receitas") below it also ends the walk.
    """
    root_text = _root_text(node)
    current: QTreeWidgetItem | None = node
    while current is not None:
        if current.text(0) == root_text:  # 3.1
            return
        all_chosen = none_chosen = True  # 3.2
        for sibling in _siblings(current):
            image = image_of(sibling)
            if image == ALGUNS:
                all_chosen = none_chosen = False
                break
            if image == NENHUM:
                all_chosen = False
            elif image == TODOS:
                none_chosen = False
        parent = current.parent()
        if parent is None or (all_chosen and none_chosen):
            return  # 3.3: no sibling carried an image: the parent is left as it is
        if all_chosen:
            set_image(parent, TODOS)
        elif none_chosen:
            set_image(parent, NENHUM)
        else:
            set_image(parent, ALGUNS)
        current = parent  # 3.4


def click(node: QTreeWidgetItem) -> None:
    """A mouse click or the space bar on a node: toggle, push down, recompute upwards."""
    toggle(node)
    push_down(node)
    recompute_up(node)


def children_state(node: QTreeWidgetItem) -> str | None:
    """What step 3.2-3.3 makes of a node from its children; None when none carries an image."""
    all_chosen = none_chosen = True
    for index in range(node.childCount()):
        image = image_of(node.child(index))
        if image == ALGUNS:
            return ALGUNS
        if image == NENHUM:
            all_chosen = False
        elif image == TODOS:
            none_chosen = False
    if all_chosen and none_chosen:
        return None
    if all_chosen:
        return TODOS
    return NENHUM if none_chosen else ALGUNS


def fill_missing_parents(
    root: QTreeWidgetItem, top_down: Iterable[QTreeWidgetItem] | None = None
) -> None:
    """Give a "Nenhum" node whose children are marked the state its children make.

    Definitions written by this window store every marked ancestor (the root too), but
    the demo and other modules may leave rows out (the root's "NI" above all). The save
    walk skips a "Nenhum" node with its subtree, so such a node would silently drop its
    marked branch on the next save; bottom-up, only "Nenhum" nodes are changed.
    `top_down` may give the nodes already listed parents first (a window's node dict).
    """
    if top_down is None:
        stack, order = [root], []
        while stack:
            node = stack.pop()
            order.append(node)
            stack.extend(node.child(i) for i in range(node.childCount()))
    else:
        order = list(top_down)
    for node in reversed(order):  # children before their parents
        if node.childCount() and image_of(node) == NENHUM:
            state = children_state(node)
            if state is not None and state != NENHUM:
                set_image(node, state)


def saved_nodes(root: QTreeWidgetItem) -> list[QTreeWidgetItem]:
    """`ContasSalvar` step 3: from the root down, children in order; a node in "Nenhum" is
    skipped with its subtree, since no part of it is chosen."""
    out: list[QTreeWidgetItem] = []
    stack = [root]
    while stack:
        node = stack.pop()
        if image_of(node) not in STORED_VALUE:
            continue
        out.append(node)
        stack.extend(node.child(i) for i in range(node.childCount() - 1, -1, -1))
    return out


def key_of(node: QTreeWidgetItem) -> str:
    return str(node.data(0, KEY_ROLE))


def key_parts(key: str) -> tuple[int, str]:
    """Part 4.3: `CodigoConta` is the numeric start of the key (0 for "NI", as Val gives),
    `Nivel` its last two characters."""
    digits = ""
    for character in key:
        if not character.isdigit():
            break
        digits += character
    return (int(digits) if digits else 0), key[-2:]


def stored_rows(root: QTreeWidgetItem) -> list[tuple[str, int, int]]:
    """The `RelatorioItens` rows of a tree: (Nivel, CodigoConta, Imagem) in walk order."""
    rows = []
    for node in saved_nodes(root):
        code, level = key_parts(key_of(node))
        rows.append((level, code, STORED_VALUE[image_of(node)]))
    return rows
