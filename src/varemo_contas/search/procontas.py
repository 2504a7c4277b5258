"""Part 3.1: the search window `ProContas`, five criteria rows that mark the matching items.

The window prepares the scratch table each time it is brought up (Part 3.1 "Preparation"),
lets the person fill up to five rows, and on "Procurar" runs the search of
`search.execution`, which leaves the hits in `NivelCategoria4.Marca` and the hit count in
`state.search_result` for the main window (Part 2.2). Used as
``window = ProContas(state, parent); desktop.show_modal(window)``.
"""

from __future__ import annotations

from functools import partial
from typing import TYPE_CHECKING

from PySide6.QtCore import QEvent, QObject, QPointF, QRectF, Qt
from PySide6.QtGui import QColor, QIcon, QPainter, QPen, QPixmap, QShowEvent
from PySide6.QtWidgets import (
    QAbstractButton,
    QComboBox,
    QDialog,
    QFrame,
    QGridLayout,
    QGroupBox,
    QHBoxLayout,
    QLabel,
    QLayout,
    QLineEdit,
    QPushButton,
    QSizePolicy,
    QStyle,
    QVBoxLayout,
    QWidget,
)

from varemo_contas.app import desktop, errorlog, helptopics
from varemo_contas.editor import names
from varemo_contas.search import criteria as rules
from varemo_contas.search import execution
from varemo_contas.search.criteria import Row

if TYPE_CHECKING:
    from varemo_contas.app.state import State
    from varemo_contas.data.dao import Recordset

ROWS = 5  # Part 3.1: five rows, one per mark column Marca1 to Marca5
CLICK_SOUND = 7  # Part 1.4 "mousecli.wav"
HOVER_SOUND = 6  # Part 1.4 "mousemov.wav"
# Part 3.1 leaves the layout to the implementer: these captions are ours.
ROW_CAPTIONS = tuple(f"{i}º critério" for i in range(1, ROWS + 1))
PROCURA_CAPTIONS = ("Aju&da", "&Cancelar", "&Procurar")
MAIS_CAPTIONS = ("&Mais um critério", "M&enos um critério")
HEADERS = ("Campo", "Critério", "Conteúdo")
DEFAULT_CAMPO = rules.QUALQUER_CAMPO
DEFAULT_CRITERIO = "contenha"
DEFAULT_LINK = rules.E_O


def magnifier_icon(size: int = 32) -> QIcon:
    """A magnifying glass for "Procurar", drawn so that it needs no image file."""
    pixmap = QPixmap(size, size)
    pixmap.fill(Qt.GlobalColor.transparent)
    painter = QPainter(pixmap)
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    lens = QRectF(size * 0.12, size * 0.12, size * 0.5, size * 0.5)
    painter.setPen(QPen(QColor("#2e5d8a"), size * 0.1))
    painter.setBrush(QColor(214, 232, 250, 200))
    painter.drawEllipse(lens)
    handle = QPen(QColor("#7a5230"), size * 0.14)
    handle.setCapStyle(Qt.PenCapStyle.RoundCap)
    painter.setPen(handle)
    painter.drawLine(QPointF(size * 0.58, size * 0.58), QPointF(size * 0.86, size * 0.86))
    painter.end()
    return QIcon(pixmap)


class ProContas(QDialog):
    """ "Critérios do Filtro de Procura - Plano de Contas" (Part 3.1)."""

    def __init__(self, state: State, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.state = state
        self.setObjectName("ProContas")
        self.setWindowTitle(rules.CAPTION)
        self.setModal(True)
        # The recordsets the preparation opens and the search or cancel closes.
        self.RsProcura: Recordset | None = None
        self.RsItens: Recordset | None = None
        self._prepared = False
        self._build()
        # Bringing the window up the first time is its creation (VB's Load): prepare now,
        # so that a caller that searches without showing it still searches prepared tables.
        self.prepare()

    # --- construction ------------------------------------------------------------------

    def _build(self) -> None:
        outer = QVBoxLayout(self)
        outer.setSizeConstraint(QLayout.SizeConstraint.SetFixedSize)
        outer.setContentsMargins(12, 12, 12, 12)
        outer.setSpacing(10)
        outer.addWidget(self._help_panel())
        outer.addWidget(self._criteria_box())
        line = QFrame(self)
        line.setFrameShape(QFrame.Shape.HLine)
        line.setFrameShadow(QFrame.Shadow.Sunken)
        outer.addWidget(line)
        outer.addLayout(self._procura_buttons())
        for button in self._buttons():
            button.installEventFilter(self)
        self.Conteudo[0].setFocus()

    def _help_panel(self) -> QWidget:
        panel = QFrame(self)
        panel.setObjectName("PainelSelecao")
        panel.setStyleSheet(
            "#PainelSelecao { background: #f3f7fb; border: 1px solid #c9d6e3; border-radius: 4px; }"
        )
        row = QHBoxLayout(panel)
        row.setContentsMargins(10, 8, 10, 8)
        row.setSpacing(10)
        icon = QLabel(panel)
        icon.setPixmap(
            self.style().standardIcon(QStyle.StandardPixmap.SP_MessageBoxInformation).pixmap(32)
        )
        icon.setAlignment(Qt.AlignmentFlag.AlignTop)
        row.addWidget(icon)
        self.Selecao = QLabel(rules.SELECAO, panel)
        self.Selecao.setObjectName("Selecao")
        self.Selecao.setWordWrap(True)
        self.Selecao.setStyleSheet("QLabel { color: #2c3e50; }")
        self.Selecao.setMinimumWidth(560)
        row.addWidget(self.Selecao, 1)
        return panel

    def _criteria_box(self) -> QGroupBox:
        box = QGroupBox("Critérios", self)
        grid = QGridLayout(box)
        grid.setHorizontalSpacing(8)
        grid.setVerticalSpacing(6)
        for column, text in enumerate(HEADERS, start=2):
            header = QLabel(text, box)
            font = header.font()
            font.setBold(True)
            header.setFont(font)
            grid.addWidget(header, 0, column)
        self.Campo: list[QComboBox] = []
        self.Criterio: list[QComboBox] = []
        self.Conteudo: list[QLineEdit] = []
        self.Label1: list[QLabel] = []
        # `Chave` exists on every row but the first: indices 1 to 4, as the control array.
        self.Chave: dict[int, QPushButton] = {}
        for i in range(ROWS):
            if i > 0:
                chave = QPushButton(DEFAULT_LINK, box)
                chave.setObjectName(f"Chave{i}")
                chave.setFixedWidth(52)
                chave.setToolTip("Clique para alternar entre (e o) e (ou)")
                chave.setFocusPolicy(Qt.FocusPolicy.TabFocus)
                chave.clicked.connect(partial(self._chave_clicked, i))
                self.Chave[i] = chave
                grid.addWidget(chave, i + 1, 0)
            label = QLabel(ROW_CAPTIONS[i], box)
            label.setObjectName(f"Label1{i}")
            self.Label1.append(label)
            grid.addWidget(label, i + 1, 1)
            campo = self._combo(box, f"Campo{i}", rules.CAMPOS, DEFAULT_CAMPO)
            self.Campo.append(campo)
            grid.addWidget(campo, i + 1, 2)
            criterio = self._combo(box, f"Criterio{i}", rules.CRITERIOS, DEFAULT_CRITERIO)
            self.Criterio.append(criterio)
            grid.addWidget(criterio, i + 1, 3)
            conteudo = QLineEdit(box)
            conteudo.setObjectName(f"Conteudo{i}")
            conteudo.setMinimumWidth(240)
            conteudo.setPlaceholderText("texto a procurar")
            label.setBuddy(conteudo)
            self.Conteudo.append(conteudo)
            grid.addWidget(conteudo, i + 1, 4)
        grid.setColumnStretch(4, 1)
        # The link column keeps its width while only the first row shows: no jumping.
        grid.setColumnMinimumWidth(0, self.Chave[1].width())
        more = QHBoxLayout()
        more.setContentsMargins(0, 6, 0, 0)
        self.BotaoMais: list[QPushButton] = []
        for index, text in enumerate(MAIS_CAPTIONS):
            button = QPushButton(text, box)
            button.setObjectName(f"BotaoMais{index}")
            button.setAutoDefault(False)
            button.clicked.connect(partial(self._mais_clicked, index))
            self.BotaoMais.append(button)
            more.addWidget(button)
        more.addStretch(1)
        grid.addLayout(more, ROWS + 1, 0, 1, 5)
        # Part 3.1: the first row is always shown; the others come with "Mais um critério".
        for i in range(1, ROWS):
            self._set_row_shown(i, False)
        self._update_mais()
        return box

    def _combo(self, parent: QWidget, name: str, items: tuple[str, ...], current: str) -> QComboBox:
        combo = QComboBox(parent)
        combo.setObjectName(name)
        combo.setEditable(False)  # read-only lists
        combo.addItems(list(items))
        combo.setCurrentText(current)
        combo.setSizeAdjustPolicy(QComboBox.SizeAdjustPolicy.AdjustToContents)
        return combo

    def _procura_buttons(self) -> QHBoxLayout:
        row = QHBoxLayout()
        self.BotaoProcura: list[QPushButton] = []
        for index, text in enumerate(PROCURA_CAPTIONS):
            button = QPushButton(text, self)
            button.setObjectName(f"BotaoProcura{index}")
            button.setMinimumWidth(110)
            button.setSizePolicy(QSizePolicy.Policy.Fixed, QSizePolicy.Policy.Fixed)
            button.setAutoDefault(False)
            button.clicked.connect(partial(self._procura_clicked, index))
            self.BotaoProcura.append(button)
        self.BotaoProcura[2].setIcon(magnifier_icon())
        self.BotaoProcura[2].setDefault(True)
        row.addWidget(self.BotaoProcura[0])
        row.addStretch(1)
        row.addWidget(self.BotaoProcura[1])
        row.addWidget(self.BotaoProcura[2])
        return row

    def _buttons(self) -> list[QAbstractButton]:
        return [*self.BotaoProcura, *self.BotaoMais, *self.Chave.values()]

    # --- preparation ---------------------------------------------------------------------

    def prepare(self) -> None:
        """Preparation steps 1-4, each time the window is brought up (Part 3.1)."""
        self._close_recordsets()
        self.setWindowTitle(rules.CAPTION)
        self.state.search_result = -1
        self._prepared = True
        try:
            self.RsProcura, self.RsItens = execution.prepare(self.state)
        except Exception as exc:
            errorlog.log_exception(self.state, execution.ROTINA_PROCURA, exc)

    def showEvent(self, event: QShowEvent) -> None:
        # Brought up again after a search or a cancel hid it: prepare afresh (Part 3.1).
        if not event.spontaneous() and not self._prepared:
            self.prepare()
        super().showEvent(event)

    def _close_recordsets(self) -> None:
        for recordset in (self.RsProcura, self.RsItens):
            if recordset is not None:
                recordset.close()
        self.RsProcura = None
        self.RsItens = None

    def _finish(self, result: QDialog.DialogCode) -> None:
        """Close the `Procura` recordset and hide; the next bringing up prepares again."""
        self._close_recordsets()
        self._prepared = False
        self.done(result)

    # --- rows ----------------------------------------------------------------------------

    def _row_widgets(self, i: int) -> list[QWidget]:
        widgets: list[QWidget] = [self.Campo[i], self.Criterio[i], self.Conteudo[i]]
        widgets.append(self.Label1[i])
        if i in self.Chave:
            widgets.append(self.Chave[i])
        return widgets

    def _set_row_shown(self, i: int, shown: bool) -> None:
        for widget in self._row_widgets(i):
            widget.setHidden(not shown)

    def row_shown(self, i: int) -> bool:
        return not self.Campo[i].isHidden()

    def last_shown_row(self) -> int:
        """The last shown row, found afresh from the controls (Part 3.1 `BotaoMais`)."""
        return max(i for i in range(ROWS) if self.row_shown(i))

    def _update_mais(self) -> None:
        # Only a possible action is offered: no "more" at five rows, no "less" at one.
        last = self.last_shown_row()
        self.BotaoMais[0].setHidden(last >= ROWS - 1)
        self.BotaoMais[1].setHidden(last <= 0)

    def criteria_rows(self) -> list[Row]:
        """The five rows as (campo, criterio, conteudo, chave); a hidden row searches nothing."""
        rows: list[Row] = []
        for i in range(ROWS):
            content = self.Conteudo[i].text() if self.row_shown(i) else ""
            link = self.Chave[i].text() if i in self.Chave else ""
            campo, criterio = self.Campo[i].currentText(), self.Criterio[i].currentText()
            rows.append((campo, criterio, content, link))
        return rows

    # --- events --------------------------------------------------------------------------

    def _procura_clicked(self, index: int, _checked: bool = False) -> None:
        self.BotaoProcura_Click(index)

    def _mais_clicked(self, index: int, _checked: bool = False) -> None:
        self.BotaoMais_Click(index)

    def _chave_clicked(self, index: int, _checked: bool = False) -> None:
        self.Chave_Click(index)

    def BotaoProcura_Click(self, index: int) -> None:
        """0 help, 1 cancel, 2 search; every click first plays the click sound (Part 3.1)."""
        desktop.play_sound(CLICK_SOUND)
        if index == 0:
            desktop.show_help(helptopics.PROCURA)
        elif index == 1:
            self.cancel()
        elif index == 2:
            self.search()

    def cancel(self) -> None:
        """Cancel: close the `Procura` recordset, search result -1, hide."""
        self.state.search_result = -1
        self._finish(QDialog.DialogCode.Rejected)

    def search(self) -> None:
        """Search: run it, close the `Procura` recordset, hide (Part 3.1)."""
        rows = self.criteria_rows()
        if any(names.has_control(row[2]) for row in rows):
            # Bad input (issue 6): refused before any SQL; the window stays open.
            desktop.msgbox(names.CONTENT_CONTROL_PROMPT, desktop.vbInformation, names.CONTENT_TITLE)
            return
        try:
            execution.run_search(self.state, rows, self.RsProcura)
        except Exception as exc:
            # Rolled back: the marks stay as the preparation left them and the window
            # stays open, so the person can correct the content or cancel (Part 1.3).
            self.state.search_result = -1
            errorlog.log_exception(self.state, execution.ROTINA_PROCURA, exc)
            return
        self._finish(QDialog.DialogCode.Accepted)

    def BotaoMais_Click(self, index: int) -> None:
        """0 shows the next hidden row, 1 hides the last shown row (Part 3.1)."""
        desktop.play_sound(CLICK_SOUND)
        last = self.last_shown_row()
        if index == 0 and last < ROWS - 1:
            self._set_row_shown(last + 1, True)
            self.Conteudo[last + 1].setFocus()
        elif index == 1 and last > 0:
            self._set_row_shown(last, False)
            self.Conteudo[last - 1].setFocus()
        self._update_mais()

    def Chave_Click(self, index: int) -> None:
        """The link button switches between "e o" and "ou" (Part 3.1)."""
        desktop.play_sound(CLICK_SOUND)
        chave = self.Chave[index]
        chave.setText(rules.other_link(chave.text()))

    def reject(self) -> None:
        # Esc or the window's close box (QDialog routes both here): "Cancelar" without a sound.
        self.cancel()

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        # Part 1.4: hovering a button plays the hover sound.
        if event.type() == QEvent.Type.Enter and isinstance(watched, QAbstractButton):
            desktop.play_sound(HOVER_SOUND)
        return super().eventFilter(watched, event)
