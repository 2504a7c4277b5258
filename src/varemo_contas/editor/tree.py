"""Part 2.1: the account tree `Arvore`, its keys and images, and a report's marks."""

from __future__ import annotations

from dataclasses import dataclass, field

from PySide6.QtCore import Qt
from PySide6.QtWidgets import QTreeWidget, QTreeWidgetItem

from varemo_contas.app import errorlog
from varemo_contas.app.images import ALGUNS, NENHUM, TODOS, check_icon
from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.data.errors import JetError
from varemo_contas.data.jet import jet_key

ROOT_KEY = "NI"
ROOT_TEXT = "Despesas e Receitas"
KEY_ROLE = Qt.ItemDataRole.UserRole
IMAGE_ROLE = Qt.ItemDataRole.UserRole + 1
STORED_IMAGES = {2: ALGUNS, 3: TODOS}


class Node(QTreeWidgetItem):
    """A tree node: its key ("17N3", "NI") and image key ("Nenhum", "Alguns", "Todos").

    Key and image live as Python attributes and are answered through `data()`, which
    keeps building 50,000 nodes cheap; the icon follows the image key.
    """

    __slots__ = ("image", "key")

    def __init__(self, key: str, text: str, image: str = NENHUM) -> None:
        super().__init__([text])
        self.key = key
        self.image = image

    def data(self, column: int, role: int) -> object:
        if role == KEY_ROLE:
            return self.key
        if role == IMAGE_ROLE:
            return self.image
        if role == Qt.ItemDataRole.DecorationRole and column == 0:
            return check_icon(self.image)
        return super().data(column, role)

    def setData(self, column: int, role: int, value: object) -> None:
        if role == KEY_ROLE:
            self.key = str(value)
        elif role == IMAGE_ROLE:
            self.set_image(str(value))
        else:
            super().setData(column, role, value)

    def set_image(self, image: str) -> None:
        if image != self.image:
            self.image = image
            self.emitDataChanged()

    @property
    def level_text(self) -> str:
        """The last two characters of the key: "N0" to "N4" ("NI" for the root)."""
        return self.key[-2:]

    @property
    def code(self) -> int:
        """The numeric start of the key (0 for the root)."""
        digits = self.key[:-2]
        return int(digits) if digits.isdigit() else 0


def node_key(code: object, level: int) -> str:
    """Part 2.1: the row's code in decimal, "N" and the level digit."""
    return f"{int(code)}N{level}"


@dataclass
class LazyItems:
    """Items of a large chart kept as rows until their account is opened.

    Creating 50,000 item nodes at start-up costs more than reading them (issue 3's
    budget), so above a threshold an account's items become nodes when the account is
    expanded, when one of them is asked for, or when a report walk needs them.
    """

    pending: dict[str, list[tuple[str, str]]] = field(default_factory=dict)
    parent_of: dict[str, str] = field(default_factory=dict)
    images: dict[str, str] = field(default_factory=dict)

    def materialize(self, account: QTreeWidgetItem, nodes: dict[str, Node]) -> None:
        key = account.data(0, KEY_ROLE)
        rows = self.pending.pop(key, None)
        if not rows:
            return
        rows.sort(key=lambda row: jet_key(row[1]))
        made = []
        for item_key, name in rows:
            node = Node(item_key, name, self.images.pop(item_key, NENHUM))
            nodes[item_key] = node
            made.append(node)
            self.parent_of.pop(item_key, None)
        account.addChildren(made)

    def add(self, account_key: str, item_key: str, name: str) -> None:
        self.pending.setdefault(account_key, []).append((item_key, name))
        self.parent_of[item_key] = account_key

    def remove(self, item_key: str) -> None:
        account_key = self.parent_of.pop(item_key, None)
        if account_key is not None:
            rows = self.pending.get(account_key, [])
            rows[:] = [row for row in rows if row[0] != item_key]
        self.images.pop(item_key, None)


def build_tree(
    tree: QTreeWidget, database: Database, lazy_items_over: int | None = None
) -> tuple[dict[str, Node], int]:
    """Fill a tree with the root and the five level tables; returns its nodes and orphans.

    Children are sorted by name as Jet sorts (Part 2.1 leaves the order open). A row
    whose parent is missing is left out with its descendants (Part 2.1 leaves it open
    too); the caller tells the user how many were left out. With more items than
    `lazy_items_over`, items wait in `tree.lazy_items` until their account opens.
    """
    root = Node(ROOT_KEY, ROOT_TEXT)
    nodes: dict[str, Node] = {ROOT_KEY: root}
    orphans = 0
    children: dict[str, list[Node]] = {}
    lazy: LazyItems | None = None
    for level in range(5):
        table = database.open_recordset(f"NivelCategoria{level}", RecordsetType.SNAPSHOT)
        try:
            code_at = table.field_index("Codigo")
            name_at = table.field_index("Nome")
            parent_at = table.field_index(f"CodigoCategoria{level - 1}") if level else -1
            rows = table.rows()
            if level == 4 and lazy_items_over is not None and len(rows) > lazy_items_over:
                lazy = LazyItems()  # sorted per account when it opens
            else:
                rows = sorted(rows, key=lambda row: jet_key(row[name_at] or ""))
        finally:
            table.close()
        for row in rows:
            parent_key = ROOT_KEY
            if level:
                parent_code = row[parent_at]
                parent_key = node_key(parent_code, level - 1) if parent_code is not None else ""
            if parent_key not in nodes:
                orphans += 1
                continue
            key = node_key(row[code_at], level)
            if lazy is not None:
                lazy.add(parent_key, key, str(row[name_at] or ""))
                continue
            node = Node(key, str(row[name_at] or ""))
            nodes[key] = node
            children.setdefault(parent_key, []).append(node)
    for parent_key, kids in children.items():
        nodes[parent_key].addChildren(kids)
    if lazy is not None:
        for account_key in lazy.pending:
            nodes[account_key].setChildIndicatorPolicy(
                QTreeWidgetItem.ChildIndicatorPolicy.ShowIndicator
            )
    tree.lazy_items = lazy
    tree.clear()
    tree.addTopLevelItem(root)
    root.setExpanded(True)
    return nodes, orphans


def stored_marks(database: Database, report_code: int) -> dict[tuple[int, str], object]:
    """A report's `RelatorioItens` rows by (CodigoConta, Nivel); the first row wins, as the
    spec's find-first ("CodigoConta = " + code + " AND Nivel = '" + level + "'") takes it."""
    recordset = database.open_recordset(
        "SELECT * FROM RelatorioItens WHERE " + "CodigoRelatorio = " + str(report_code)
    )
    try:
        stored: dict[tuple[int, str], object] = {}
        code_at = recordset.field_index("CodigoConta")
        level_at = recordset.field_index("Nivel")
        image_at = recordset.field_index("Imagem")
        for row in recordset.rows():
            if row[code_at] is not None and row[level_at] is not None:
                stored.setdefault((int(row[code_at]), str(row[level_at])), row[image_at])
        return stored
    finally:
        recordset.close()


def show_marks(root: QTreeWidgetItem, stored: dict[tuple[int, str], object]) -> None:
    """Part 2.1: 2 sets "Alguns", 3 sets "Todos"; any other value leaves the node as it is."""
    for node in walk(root):
        value = stored.get((node.code, node.level_text))
        image = STORED_IMAGES.get(int(value)) if value is not None else None
        if image is not None:
            node.set_image(image)


def walk(node: QTreeWidgetItem) -> list[QTreeWidgetItem]:
    """The node and all its descendants, depth first, children in order."""
    out = [node]
    stack = [node.child(i) for i in range(node.childCount() - 1, -1, -1)]
    while stack:
        item = stack.pop()
        out.append(item)
        stack.extend(item.child(i) for i in range(item.childCount() - 1, -1, -1))
    return out


LAZY_ITEMS_OVER = 5_000


class TreeMixin:
    """The main window's share of Part 2.1: building the tree and showing marks."""

    nodes: dict[str, Node]

    @property
    def lazy_items(self) -> LazyItems | None:
        return getattr(self.Arvore, "lazy_items", None)

    def CarregaArvore(self) -> None:
        """Build the tree anew (Part 2.1, "Building the tree"); failures are logged."""
        try:
            self.nodes, orphans = build_tree(
                self.Arvore, self.state.database, lazy_items_over=LAZY_ITEMS_OVER
            )
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_TREEVIEW, exc)
            return
        if not getattr(self, "_lazy_connected", False):
            self.Arvore.itemExpanded.connect(self._materialize)
            self._lazy_connected = True
        if orphans:
            self.Status.set_panel(
                0,
                f"{orphans} registro(s) sem nível superior cadastrado não aparecem na árvore",
            )

    def _materialize(self, account: QTreeWidgetItem) -> None:
        lazy = self.lazy_items
        if lazy is not None:
            lazy.materialize(account, self.nodes)

    def materialize_marked(self) -> None:
        """Make nodes of the items of every marked account (a report walk reads them)."""
        lazy = self.lazy_items
        if lazy is None:
            return
        for account_key in list(lazy.pending):
            account = self.nodes.get(account_key)
            if account is not None and account.image != NENHUM:
                lazy.materialize(account, self.nodes)

    def MostraMarcas(self, report_code: int) -> None:
        """Part 2.1: set each node's image from a saved report's `RelatorioItens` rows.

        The rows are read once; the first row for a code and level wins, as the spec's
        find-first ("CodigoConta = " + code + " AND Nivel = '" + level + "'") takes it.
        """
        stored = stored_marks(self.state.database, report_code)
        root = self.Arvore.topLevelItem(0)
        if root is None:
            return
        show_marks(root, stored)
        lazy = self.lazy_items
        if lazy is not None:
            for (code, level_text), value in stored.items():
                key = f"{code}{level_text}"
                image = STORED_IMAGES.get(int(value)) if value is not None else None
                if image is not None and level_text == "N4" and key in lazy.parent_of:
                    lazy.images[key] = image

    def node(self, key: str) -> Node | None:
        nodes = getattr(self, "nodes", {})
        found = nodes.get(key)
        lazy = self.lazy_items
        if found is None and lazy is not None and key in lazy.parent_of:
            account = nodes.get(lazy.parent_of[key])
            if account is not None:
                lazy.materialize(account, nodes)
                found = nodes.get(key)
        return found


def insert_sorted(parent: QTreeWidgetItem, node: QTreeWidgetItem) -> None:
    """Add a child where the sorted order puts it (the order `build_tree` uses)."""
    key = jet_key(node.text(0))
    low, high = 0, parent.childCount()
    while low < high:
        middle = (low + high) // 2
        if jet_key(parent.child(middle).text(0)) <= key:
            low = middle + 1
        else:
            high = middle
    parent.insertChild(low, node)


class TreeChangesMixin:
    """Keep the tree in step with committed saves and deletes (no rebuild of 50,000 rows)."""

    def apply_tree_changes(self, changes: list) -> None:
        nodes = getattr(self, "nodes", None)
        if nodes is None:
            return
        lazy = getattr(self.Arvore, "lazy_items", None)
        for change in changes:
            key = node_key(change.code, change.level)
            parent_key = (
                ROOT_KEY
                if change.level == 0
                else node_key(change.parent_code or 0, change.level - 1)
            )
            if lazy is not None and key in lazy.parent_of:
                lazy.remove(key)  # an unopened item: its row moves, renames or goes
                if change.kind != "delete":
                    lazy.add(parent_key, key, change.name)
                continue
            if change.kind == "delete":
                node = nodes.pop(key, None)
                if node is not None and node.parent() is not None:
                    node.parent().removeChild(node)
                continue
            if lazy is not None and change.kind == "add" and parent_key in lazy.pending:
                lazy.add(parent_key, key, change.name)
                continue
            parent = nodes.get(parent_key)
            node = nodes.get(key)
            if node is None:
                if parent is None:
                    continue
                node = Node(key, change.name)
                nodes[key] = node
                insert_sorted(parent, node)
                continue
            node.setText(0, change.name)
            if node.parent() is not None:
                node.parent().removeChild(node)
            if parent is not None:
                insert_sorted(parent, node)
            else:
                nodes.pop(key, None)
