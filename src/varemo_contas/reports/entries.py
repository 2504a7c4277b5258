"""Part 2.1 "Ver" and Part 4.4's input: the path entries walked from the marks of a tree.

An entry is a name, one level digit and one letter; Part 4.4 prints an item only for
level 4 with the letter "S". The walk (the `ContaBas` routine) goes depth first through
the nodes that carry a mark; unmarked branches give no entries, since nothing of them
is chosen (Part 2.1 leaves the extra nodes open).
"""

from __future__ import annotations

from PySide6.QtWidgets import QTreeWidget, QTreeWidgetItem

from varemo_contas.app.images import NENHUM, TODOS
from varemo_contas.data.dao import Database
from varemo_contas.editor.tree import (
    IMAGE_ROLE,
    KEY_ROLE,
    build_tree,
    show_marks,
    stored_marks,
)


def entry(name: str, level: int, chosen: bool) -> str:
    """One path entry: the name, the level digit and "S" (chosen) or "N"."""
    return f"{name}{level}{'S' if chosen else 'N'}"


def parse_entry(text: str) -> tuple[str, int, bool]:
    """Part 4.4: trimmed; the name is all but the last two characters."""
    trimmed = text.strip()
    return trimmed[:-2], int(trimmed[-2]), trimmed[-1] == "S"


def path_entries(root: QTreeWidgetItem) -> list[str]:
    """Depth first from the root's children: every marked node, items "S" when "Todos"."""
    entries: list[str] = []

    def visit(node: QTreeWidgetItem) -> None:
        image = node.data(0, IMAGE_ROLE)
        if image == NENHUM or image is None:
            return
        key = str(node.data(0, KEY_ROLE))
        level = int(key[-1])
        entries.append(entry(node.text(0), level, image == TODOS))
        for index in range(node.childCount()):
            visit(node.child(index))

    for index in range(root.childCount()):
        visit(root.child(index))
    return entries


def report_entries(database: Database, report_code: int) -> list[str]:
    """The entries of a saved definition without a window: the tree built and marked as the
    main window shows it (Part 2.1), then walked (the headless export uses this)."""
    tree = QTreeWidget()
    build_tree(tree, database)
    root = tree.topLevelItem(0)
    show_marks(root, stored_marks(database, report_code))
    return path_entries(root)
