"""Part 4.3: the report-definition window `ArvRelat` ("Relatório - Escolha os Itens").

A tree of the whole chart (`Arvore`, built by `editor.tree.build_tree`) whose nodes carry
a three-state check mark, a name box (`Nome`) and two buttons (`BotaoEscolha`: 0 saves,
1 closes). The mark rules live in `reports.marks`; this module wires them to the tree and
reads and writes the definition (`ContasLer`, `ContasSalvar`).

Choices Part 4.3 leaves open, made here:

- Mode 2 treats the name as changed when it differs from the name the definition was
  opened with, compared as the database compares names (ASCII letters case-blind); a
  changed name is refused only when it belongs to another definition, so a match on the
  definition's own row is accepted.
- A definition stored without some marked ancestor's row (the demo's lack the root's
  "NI") shows that ancestor as its children make it, so that saving it again keeps every
  marked branch (the save walk skips a "Nenhum" node with its subtree).
- A name box left blank is refused like the prompt text, with the same message.
- After a successful save the window stays open for more changes, now editing the saved
  definition (mode 2, its code and name), and emits `saved`; the main window refreshes its
  report list from it (Part 2.3's follow-up).
"""

from __future__ import annotations

from functools import partial
from typing import TYPE_CHECKING

from PySide6.QtCore import QEvent, QObject, QSize, Qt, Signal
from PySide6.QtGui import QKeyEvent
from PySide6.QtWidgets import (
    QAbstractItemView,
    QDialog,
    QHBoxLayout,
    QLabel,
    QLineEdit,
    QPushButton,
    QTreeWidget,
    QTreeWidgetItem,
    QVBoxLayout,
    QWidget,
)

from varemo_contas.app import desktop, errorlog, helptopics
from varemo_contas.app.images import NENHUM
from varemo_contas.data.dao import Recordset, RecordsetType
from varemo_contas.data.errors import JetError
from varemo_contas.data.jet import nocase
from varemo_contas.editor import names
from varemo_contas.editor.tree import STORED_IMAGES, Node, build_tree
from varemo_contas.reports import marks

if TYPE_CHECKING:
    from varemo_contas.app.state import State

CAPTION = "Relatório - Escolha os Itens"
NAME_PROMPT = "Digite o nome do relatório"
BUTTON_CAPTIONS = ("&Gravar", "&Fechar")
SAVE_QUESTION = ("Deseja gravar este relatório?", "Gravar Relatório")
NO_NAME = ("Digite o nome deste relatório", "Nome do Relatório")
NAME_TAKEN = ("Este nome já existe!" + "\r" + "Mude o nome do relatório", "Nome já existente")
ROTINA_GRAVAR = "Gravar Relatório"
ROTINA_TREEVIEW = errorlog.ROTINA_TREEVIEW  # Part 1.3: filling the report-definition tree
MODE_NEW = 1
MODE_EDIT = 2
HINT = "Clique num item, ou tecle Espaço, para marcá-lo ou desmarcá-lo com tudo o que contém."


class _NameTakenError(Exception):
    """The name belongs to another definition: the transaction is left, nothing written."""


class ArvRelat(QDialog):
    """Part 4.3: define a personalised report by marking nodes of the chart."""

    saved = Signal()

    def __init__(
        self,
        state: State,
        mode: int,
        report_code: int = 0,
        report_name: str = "",
        parent: QWidget | None = None,
    ) -> None:
        super().__init__(parent)
        self.state = state
        # Part 4.3 shared state: the definition's code and name, and the window's mode.
        self.Modo = mode
        self.CodigoRelatorio = int(report_code or 0)
        self.NomeRelatorio = report_name
        self.nodes: dict[str, Node] = {}
        self._build()
        self._connect()
        self.Form_Load()

    # --- building ------------------------------------------------------------------------
    def _build(self) -> None:
        self.setWindowTitle(CAPTION)
        self.setObjectName("ArvRelat")
        self.resize(520, 640)
        self.setMinimumSize(380, 420)
        outer = QVBoxLayout(self)
        outer.setContentsMargins(12, 12, 12, 12)
        outer.setSpacing(8)

        name_row = QHBoxLayout()
        name_row.setSpacing(8)
        self.NomeRotulo = QLabel("&Nome do relatório:")
        self.Nome = QLineEdit()
        self.Nome.setObjectName("Nome")
        self.Nome.setMaxLength(50)
        self.NomeRotulo.setBuddy(self.Nome)
        name_row.addWidget(self.NomeRotulo)
        name_row.addWidget(self.Nome, 1)
        outer.addLayout(name_row)

        self.Arvore = QTreeWidget()
        self.Arvore.setObjectName("Arvore")
        self.Arvore.setHeaderHidden(True)
        self.Arvore.setColumnCount(1)
        self.Arvore.setIconSize(QSize(16, 16))
        self.Arvore.setUniformRowHeights(True)  # 50,000 rows scroll smoothly
        self.Arvore.setSelectionMode(QAbstractItemView.SelectionMode.SingleSelection)
        self.Arvore.setExpandsOnDoubleClick(False)  # a double click is two toggles
        outer.addWidget(self.Arvore, 1)

        self.Dica = QLabel(HINT)
        self.Dica.setWordWrap(True)
        font = self.Dica.font()
        font.setPointSizeF(font.pointSizeF() * 0.9)
        self.Dica.setFont(font)
        outer.addWidget(self.Dica)

        buttons = QHBoxLayout()
        buttons.setSpacing(8)
        buttons.addStretch(1)
        self.BotaoEscolha: list[QPushButton] = []
        for index, caption in enumerate(BUTTON_CAPTIONS):
            button = QPushButton(caption)
            button.setObjectName(f"BotaoEscolha{index}")
            button.setMinimumWidth(96)
            button.setAutoDefault(False)
            buttons.addWidget(button)
            self.BotaoEscolha.append(button)
        outer.addLayout(buttons)

    def _connect(self) -> None:
        for index, button in enumerate(self.BotaoEscolha):
            button.clicked.connect(partial(self._escolha_clicked, index))
        self.Arvore.itemClicked.connect(self._arvore_clicked)
        self.Arvore.installEventFilter(self)

    def _escolha_clicked(self, index: int, _checked: bool = False) -> None:
        self.BotaoEscolha_Click(index)

    def _arvore_clicked(self, item: QTreeWidgetItem, _column: int) -> None:
        self.Arvore_NodeClick(item)

    # --- Part 4.3: opening -----------------------------------------------------------------
    def Form_Load(self) -> None:
        """Opening, steps 1 to 3."""
        self.ColocaDados()
        root = self.root
        if root is None:
            return
        if self.Modo == MODE_NEW:
            marks.set_image(root, NENHUM)
            marks.push_down(root)
            self.Nome.setText(NAME_PROMPT)
            self.Nome.selectAll()  # typing replaces the prompt
            self.Arvore.setCurrentItem(root)
            self.Arvore.scrollToItem(root)
        else:
            self.Nome.setText(self.NomeRelatorio)
            self.ContasLer()
            # The node dict lists parents before children (level by level).
            marks.fill_missing_parents(root, self.nodes.values())
            self.expand_marked()
            self.Arvore.setCurrentItem(root)
            self.Arvore.scrollToItem(root)

    @property
    def root(self) -> Node | None:
        item = self.Arvore.topLevelItem(0)
        return item if isinstance(item, Node) else None

    def ColocaDados(self) -> None:
        """Fill the tree from the level tables, every node "Nenhum"; failures are logged."""
        try:
            self.nodes, _orphans = build_tree(self.Arvore, self.state.database)
        except JetError as exc:
            errorlog.log_exception(self.state, ROTINA_TREEVIEW, exc)

    def ContasLer(self) -> None:
        """Load the current definition's check states into the tree.

        The spec finds, for the root and then every node, the first `RelatorioItens` row
        with the node's `CodigoConta` and `Nivel`. The rows are read once into a dict
        keyed the way that find compares (the first row of a key wins), so a chart of
        50,000 nodes costs one pass instead of one scan per node.
        """
        root = self.root
        if root is None:
            return
        self.state.sql = (
            "SELECT * FROM RelatorioItens WHERE " + "CodigoRelatorio = " + str(self.CodigoRelatorio)
        )
        try:
            items = self.state.database.open_recordset(self.state.sql)
            try:
                stored = _stored_images(items)
            finally:
                items.close()
        except JetError as exc:
            errorlog.log_exception(self.state, ROTINA_TREEVIEW, exc)
            return
        for node in self.nodes.values():  # the root and every node, no tree walk needed
            image = stored.get((node.code, nocase(node.level_text)))
            if image is not None:
                marks.set_image(node, image)

    def expand_marked(self) -> None:
        """Mode 2: every node whose state is not "Nenhum" is expanded."""
        for node in self.nodes.values():
            if node.image != NENHUM and node.childCount():
                node.setExpanded(True)

    # --- Part 4.3: check marks -------------------------------------------------------------
    def Arvore_NodeClick(self, item: QTreeWidgetItem) -> None:
        """A click on a node toggles its mark, its subtree follows, its ancestors adjust."""
        if item is None:
            return
        marks.click(item)

    def Arvore_KeyDown(self, key: int) -> bool:
        """The space bar toggles the selected node's mark; True when the key was used."""
        if key != Qt.Key.Key_Space:
            return False
        item = self.Arvore.currentItem()
        if item is not None:
            self.Arvore_NodeClick(item)
        return True

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        if (
            watched is self.Arvore
            and event.type() == QEvent.Type.KeyPress
            and isinstance(event, QKeyEvent)
            and not event.isAutoRepeat()
            and self.Arvore_KeyDown(event.key())
        ):
            return True
        return super().eventFilter(watched, event)

    # --- Part 4.3: buttons -----------------------------------------------------------------
    def BotaoEscolha_Click(self, index: int) -> None:
        """0 saves after the question, 1 closes without saving."""
        if index == 0:
            answer = desktop.msgbox(
                SAVE_QUESTION[0], desktop.vbYesNo + desktop.vbQuestion, SAVE_QUESTION[1]
            )
            if answer != desktop.vbYes:
                return  # No: nothing is saved and the window stays open
            if self.ContasSalvar():
                self.saved.emit()  # the main window's follow-up for reports (Part 2.3)
        elif index == 1:
            self.reject()

    def ContasSalvar(self) -> bool:
        """Save the definition in one transaction; True when it was written."""
        name = self.Nome.text().strip()
        if not name or name == NAME_PROMPT:
            desktop.msgbox(NO_NAME[0], desktop.vbInformation, NO_NAME[1])
            return False
        problem = names.name_problem(name)
        if problem is not None:
            # Bad input (issue 6): refused before any SQL, the window stays open.
            desktop.msgbox(problem, desktop.vbInformation, names.INVALID_TITLE)
            return False
        root = self.root
        rows = marks.stored_rows(root) if root is not None else []
        database = self.state.database
        try:
            with database.transaction():
                if self.Modo == MODE_NEW:
                    code = self._add_definition(name)
                else:
                    code = self._rename_definition(name)
                self._write_items(code, rows)
        except _NameTakenError:
            desktop.msgbox(NAME_TAKEN[0], desktop.vbInformation, NAME_TAKEN[1])
            return False
        except JetError as exc:
            # Rolled back: nothing of the definition was written, the window stays usable.
            errorlog.log_exception(self.state, ROTINA_GRAVAR, exc)
            return False
        # From now on this window edits the definition it saved.
        self.Modo = MODE_EDIT
        self.CodigoRelatorio = code
        self.NomeRelatorio = name
        self.Nome.setText(name)
        return True

    def _add_definition(self, name: str) -> int:
        """Mode 1: refuse a name in use, else add the row and read its new code."""
        reports = self.state.database.open_recordset("Relatorios", RecordsetType.TABLE)
        try:
            criteria = "NomeRelatorio = '" + name + "'"
            found = reports.find_first(criteria)
            # A quote-balanced name ("' OR '1'='1") selects rows of other names: not taken.
            while found and not names.same_name(reports["NomeRelatorio"], name):
                found = reports.find_next(criteria)
            if found:
                raise _NameTakenError
            reports.add_new()
            reports["NomeRelatorio"] = name
            reports.update()
            # The code the database assigned (Jet shows it while adding; here after).
            reports.bookmark = reports.last_modified
            return int(reports["CodigoRelatorio"])  # type: ignore[call-overload]
        finally:
            reports.close()

    def _rename_definition(self, name: str) -> int:
        """Mode 2: a changed name must not belong to another definition; rename; clear."""
        code = self.CodigoRelatorio
        reports = self.state.database.open_recordset("Relatorios", RecordsetType.TABLE)
        try:
            if nocase(name) != nocase(self.NomeRelatorio):
                criteria = "NomeRelatorio = '" + name + "'"
                found = reports.find_first(criteria)
                while found and (
                    reports["CodigoRelatorio"] == code
                    or not names.same_name(reports["NomeRelatorio"], name)
                ):
                    # Its own row is accepted; rows of other names come from a quote-balanced
                    # name ("' OR '1'='1") changing the criteria (issue 6): not taken either.
                    found = reports.find_next(criteria)
                if found:
                    raise _NameTakenError
            if reports.find_first("CodigoRelatorio = " + str(code)):
                reports.edit()
                reports["NomeRelatorio"] = name
                reports.update()
        finally:
            reports.close()
        self.state.sql = "DELETE * FROM RelatorioItens WHERE CodigoRelatorio = " + str(code) + ";"
        self.state.database.execute(self.state.sql)
        return code

    def _write_items(self, code: int, rows: list[tuple[str, int, int]]) -> None:
        """Step 3: one `RelatorioItens` row per node in "Alguns" or "Todos", in walk order."""
        items = self.state.database.open_recordset("RelatorioItens", RecordsetType.TABLE)
        try:
            for level, account, image in rows:
                items.add_new()
                items["CodigoRelatorio"] = code
                items["Nivel"] = level
                items["CodigoConta"] = account
                items["Imagem"] = image
                items.update()
        finally:
            items.close()

    # --- keys ------------------------------------------------------------------------------
    def keyPressEvent(self, event: QKeyEvent) -> None:
        if event.key() == Qt.Key.Key_F1:
            desktop.show_help(helptopics.RELATORIO_ITENS)
            return
        super().keyPressEvent(event)


def _stored_images(items: Recordset) -> dict[tuple[object, str], str]:
    """(CodigoConta, folded Nivel) -> image of the first row of each key, as a find sees it."""
    code_at = items.field_index("CodigoConta")
    level_at = items.field_index("Nivel")
    image_at = items.field_index("Imagem")
    stored: dict[tuple[object, str], str] = {}
    seen: set[tuple[object, str]] = set()
    for row in items.rows():
        code, level = row[code_at], row[level_at]
        if code is None or not isinstance(level, str):
            continue  # a null never equals anything in a find
        key = (code, nocase(level))
        if key in seen:
            continue
        seen.add(key)
        image = STORED_IMAGES.get(row[image_at])  # type: ignore[call-overload]
        if image is not None:
            stored[key] = image
    return stored
