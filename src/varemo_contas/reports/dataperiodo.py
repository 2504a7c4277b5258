"""Part 4.2: the modal period window `DataPeriodo` ("Período do Relatório").

The arithmetic lives in `periodo`; this module wires the spec's controls to it: the six
period options `Opcao`, the period type `OpcaoRetrocede`, the week start `InicioSemana`,
the two date boxes `Datas` and the buttons `Botao`. The date boxes are masked text
fields, so a person can type a date that does not exist and get the spec's message.
"""

from __future__ import annotations

from datetime import date
from functools import partial
from typing import TYPE_CHECKING

from PySide6.QtCore import QSize, Qt
from PySide6.QtGui import QFont, QIcon, QKeyEvent
from PySide6.QtWidgets import (
    QComboBox,
    QDialog,
    QGridLayout,
    QGroupBox,
    QHBoxLayout,
    QLabel,
    QPushButton,
    QRadioButton,
    QSizePolicy,
    QVBoxLayout,
    QWidget,
)

from varemo_contas.app import desktop, errorlog, helptopics
from varemo_contas.data.dao import RecordsetType
from varemo_contas.data.errors import JetError
from varemo_contas.reports import periodo
from varemo_contas.reports.datebox import DateBox, chevron_picture

if TYPE_CHECKING:
    from varemo_contas.app.state import State

PICTURE_EXPAND = 0
PICTURE_COLLAPSE = 1
PICTURE_TOOLTIPS = ("Mostrar as opções do período", "Ocultar as opções do período")


def today() -> date:
    """Today's date, the boxes' value on opening (one place, so tests can fix the day)."""
    return date.today()


# --- the window --------------------------------------------------------------------------


def _frame(caption: str) -> QGroupBox:
    box = QGroupBox(caption)
    return box


def _note(text: str, bold: bool = False) -> QLabel:
    label = QLabel(text)
    label.setWordWrap(True)
    label.setAlignment(Qt.AlignmentFlag.AlignLeft | Qt.AlignmentFlag.AlignTop)
    label.setSizePolicy(QSizePolicy.Policy.Preferred, QSizePolicy.Policy.Minimum)
    # The explanations are notes: a step smaller than the controls, the headings bold.
    font = QFont(label.font())
    font.setPointSizeF(font.pointSizeF() * 0.9)
    font.setBold(bold)
    label.setFont(font)
    return label


class DataPeriodo(QDialog):
    """Part 4.2: the period window; results go to `state.period_start/period_end/confirmed`."""

    def __init__(self, state: State, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.state = state
        # Part 4.2 data model: the state held while the dialog is open.
        self.retroactive = False
        self.week_start = periodo.DEFAULT_WEEK_START
        self.option = periodo.DIARIO
        self.reference_date: date | None = None
        self.end_date_read: date | None = None
        self.recalculating = False
        self.settings_changing = False
        self.last_texts = ["", ""]
        self.last_state: tuple[int, bool, int] = (0, False, 0)
        self.picture_index = PICTURE_EXPAND
        self._loading = True
        self.pictures = (chevron_picture(True), chevron_picture(False))
        self._build()
        self._connect()
        self.Form_Load()

    # --- building -----------------------------------------------------------------------
    def _build(self) -> None:
        self.setWindowTitle(periodo.TITLE)
        self.setWindowFlags(
            Qt.WindowType.Dialog
            | Qt.WindowType.WindowTitleHint
            | Qt.WindowType.WindowCloseButtonHint
            | Qt.WindowType.MSWindowsFixedSizeDialogHint
        )
        outer = QVBoxLayout(self)
        outer.setContentsMargins(0, 0, 0, 0)
        outer.setSpacing(0)
        # The compact part fills the compact height exactly; the expanded part is revealed
        # below it, so nothing above moves when the window grows (Part 4.2, button 2).
        self.Compacto = QWidget()
        self.Compacto.setFixedHeight(periodo.twips_to_pixels(periodo.COMPACT_HEIGHT))
        top = QVBoxLayout(self.Compacto)
        top.setContentsMargins(10, 8, 10, 10)
        top.setSpacing(8)
        outer.addWidget(self.Compacto)

        # The period options: `Flamula`, two columns of three.
        self.Flamula = _frame(periodo.OPTIONS_FRAME)
        grid = QGridLayout(self.Flamula)
        grid.setContentsMargins(14, 8, 14, 8)
        grid.setHorizontalSpacing(24)
        grid.setVerticalSpacing(6)
        self.Opcao: list[QRadioButton] = []
        for index, caption in enumerate(periodo.OPTION_CAPTIONS):
            button = QRadioButton(caption)
            button.setObjectName(f"Opcao{index}")
            grid.addWidget(button, index % 3, index // 3)
            self.Opcao.append(button)
        top.addWidget(self.Flamula, 3)

        # The chosen period: two labelled date boxes side by side.
        self.Escolhido = _frame(periodo.DATES_FRAME)
        dates = QGridLayout(self.Escolhido)
        dates.setContentsMargins(14, 6, 14, 10)
        dates.setHorizontalSpacing(14)
        dates.setVerticalSpacing(3)
        self.Datas: list[DateBox] = []
        self.DatasRotulo: list[QLabel] = []
        for index, caption in enumerate(periodo.DATE_LABELS):
            label = QLabel(caption)
            box = DateBox()
            box.setObjectName(f"Datas{index}")
            label.setBuddy(box)
            dates.addWidget(label, 0, index)
            dates.addWidget(box, 1, index)
            self.Datas.append(box)
            self.DatasRotulo.append(label)
        top.addWidget(self.Escolhido, 2)

        # The buttons: cancel, confirm and the expand/collapse picture.
        row = QHBoxLayout()
        row.setSpacing(8)
        self.Botao: list[QPushButton] = []
        for index, caption in enumerate(periodo.BUTTON_CAPTIONS):
            button = QPushButton(caption)
            button.setObjectName(f"Botao{index}")
            button.setMinimumWidth(96)
            self.Botao.append(button)
        expand = QPushButton()
        expand.setObjectName("Botao2")
        expand.setIconSize(QSize(18, 18))
        expand.setFixedSize(QSize(36, 28))
        self.Botao.append(expand)
        self.Botao[1].setDefault(True)
        row.addWidget(self.Botao[0])
        row.addWidget(self.Botao[1])
        row.addStretch(1)
        row.addWidget(expand)
        top.addLayout(row)

        # The expanded part: the period type with its explanations, and the week start.
        self.Extra = QWidget()
        self.Extra.setFixedHeight(
            periodo.twips_to_pixels(periodo.EXPANDED_HEIGHT - periodo.COMPACT_HEIGHT)
        )
        extra = QVBoxLayout(self.Extra)
        extra.setContentsMargins(10, 0, 10, 10)
        extra.setSpacing(8)
        self.Tipo = _frame(periodo.TYPE_FRAME)
        kind = QVBoxLayout(self.Tipo)
        kind.setContentsMargins(12, 4, 12, 8)
        kind.setSpacing(3)
        choices = QHBoxLayout()
        choices.setSpacing(24)
        self.OpcaoRetrocede: list[QRadioButton] = []
        for index, caption in enumerate(periodo.TYPE_CAPTIONS):
            button = QRadioButton(caption)
            button.setObjectName(f"OpcaoRetrocede{index}")
            choices.addWidget(button)
            self.OpcaoRetrocede.append(button)
        choices.addStretch(1)
        kind.addLayout(choices)
        self.Rutolo: list[QLabel] = [
            _note(periodo.RUTOLO_GERAL),
            _note(periodo.RUTOLO_RETROATIVO, bold=True),
            _note(periodo.RUTOLO_RETROATIVO_TEXTO),
            _note(periodo.RUTOLO_COMPLETO, bold=True),
            _note(periodo.RUTOLO_COMPLETO_TEXTO),
        ]
        for position, label in enumerate(self.Rutolo):
            if position in (1, 3):
                kind.addSpacing(3)
            kind.addWidget(label)
        kind.addStretch(1)
        extra.addWidget(self.Tipo)
        self.Semana = _frame(periodo.WEEK_FRAME)
        week = QHBoxLayout(self.Semana)
        week.setContentsMargins(12, 6, 12, 10)
        self.InicioSemana = QComboBox()
        self.InicioSemana.setObjectName("InicioSemana")
        for value, name in enumerate(periodo.WEEK_DAYS, start=1):
            self.InicioSemana.addItem(name, value)
        week.addWidget(self.InicioSemana, 1)
        extra.addWidget(self.Semana)
        outer.addWidget(self.Extra)

    def _connect(self) -> None:
        for index, button in enumerate(self.Botao):
            button.clicked.connect(partial(self._botao_clicked, index))
        for index, button in enumerate(self.Opcao):
            button.clicked.connect(partial(self._opcao_clicked, index))
        for index, button in enumerate(self.OpcaoRetrocede):
            button.clicked.connect(partial(self._retrocede_clicked, index))
        self.InicioSemana.currentIndexChanged.connect(self._semana_changed)
        for index, box in enumerate(self.Datas):
            box.textChanged.connect(partial(self._datas_changed, index))

    # Qt passes a "checked" flag or the new text; the spec's handlers take the index only.
    def _botao_clicked(self, index: int, _checked: bool = False) -> None:
        self.Botao_Click(index)

    def _opcao_clicked(self, index: int, _checked: bool = False) -> None:
        self.Opcao_Click(index)

    def _retrocede_clicked(self, index: int, _checked: bool = False) -> None:
        self.OpcaoRetrocede_Click(index)

    def _semana_changed(self, _row: int) -> None:
        self.InicioSemana_Click()

    def _datas_changed(self, index: int, _text: str) -> None:
        self.Datas_Change(index)

    # --- sizes ---------------------------------------------------------------------------
    def _set_height(self, twips: int, picture: int) -> None:
        self.Extra.setVisible(twips != periodo.COMPACT_HEIGHT)
        self.setFixedSize(periodo.twips_to_pixels(periodo.WIDTH), periodo.twips_to_pixels(twips))
        self.picture_index = picture
        self.Botao[2].setIcon(QIcon(self.pictures[picture]))
        self.Botao[2].setToolTip(PICTURE_TOOLTIPS[picture])

    @property
    def height_twips(self) -> int:
        """The window's height read back in twips (96 dots per inch)."""
        return periodo.pixels_to_twips(self.height())

    # --- Part 4.2: opening ---------------------------------------------------------------
    def Form_Load(self) -> None:
        """Opening, steps 1 to 5."""
        self._loading = True
        try:
            self._set_height(periodo.COMPACT_HEIGHT, PICTURE_EXPAND)
            stored_week, stored_retro = self._read_company()
            self.InicioSemana.setCurrentIndex(stored_week - 1)
            self.week_start = int(self.InicioSemana.currentData())
            self._share_week_start()
            self.OpcaoRetrocede[0].setChecked(stored_retro)
            self.OpcaoRetrocede[1].setChecked(not stored_retro)
            self.retroactive = stored_retro
            self.Flamula.setTitle(periodo.flamula_caption(self.retroactive))
            self.option = periodo.SEMANAL
            day = today()
            self.Datas[0].setValue(day)
            self.Datas[1].setValue(day)
        finally:
            self._loading = False
        self.RecalculaDatas()
        self._select_option(periodo.SEMANAL)
        self._remember()

    def _read_company(self) -> tuple[int, bool]:
        """`InicioSemana` and `RetroAtivo` of the company record (Sunday and complete if none)."""
        try:
            company = self.state.database.open_recordset("DadosEmpresa", RecordsetType.TABLE)
            try:
                if company.eof:
                    return periodo.DEFAULT_WEEK_START, False
                week = periodo.week_start_value(company["InicioSemana"])
                return week, bool(company["RetroAtivo"])
            finally:
                company.close()
        except JetError as exc:
            errorlog.log_exception(self.state, periodo.ROUTINE, exc)
            return periodo.DEFAULT_WEEK_START, False

    # --- Part 4.2: RecalculaDatas ------------------------------------------------------
    def RecalculaDatas(self) -> None:
        """Compute the chosen period around the start box's date and write both boxes."""
        self.recalculating = True
        try:
            self.reference_date = self.Datas[0].value()
            self.end_date_read = self.Datas[1].value()
            if self.reference_date is None:
                return  # a start box that holds no date has nothing to compute around
            try:
                period = periodo.RecalculaDatas(
                    self.reference_date, self.option, self.retroactive, self.week_start
                )
            except ValueError:
                return  # beyond the calendar's last day: the boxes stay as typed
            if period is None:
                return
            self.Datas[0].setValue(period[0])
            self.Datas[1].setValue(period[1])
        finally:
            self.recalculating = False

    def _select_option(self, index: int) -> None:
        """Select an option button as code does in VB: its click runs when it changes."""
        if self.Opcao[index].isChecked():
            return
        self.Opcao[index].setChecked(True)
        self.Opcao_Click(index)

    def _share_week_start(self) -> None:
        for box in self.Datas:
            box.week_start = self.week_start

    def _current_state(self) -> tuple[int, bool, int]:
        return (self.option, self.retroactive, self.week_start)

    def _remember(self) -> None:
        """Part 4.2: the last state and the two last texts, from the current values."""
        self.last_state = self._current_state()
        self.last_texts = [box.text() for box in self.Datas]

    # --- Part 4.2: reactions -------------------------------------------------------------
    def Opcao_Click(self, index: int) -> None:
        """A period option: recompute around the start box, then the click sound."""
        # A click selects its button (also when the handler is called as the seam).
        self.Opcao[index].setChecked(True)
        self.settings_changing = True
        try:
            self.option = index
            self.RecalculaDatas()
            # The boxes now hold computed dates: they are not the person's typing.
            self._remember()
        finally:
            self.settings_changing = False
        desktop.play_sound(periodo.CLICK_SOUND)

    def OpcaoRetrocede_Click(self, index: int) -> None:
        """The period type: retroactive or complete, the frame caption, recompute."""
        self.OpcaoRetrocede[index].setChecked(True)
        self.settings_changing = True
        try:
            self.retroactive = self.OpcaoRetrocede[0].isChecked()
            self.Flamula.setTitle(periodo.flamula_caption(self.retroactive))
            self.RecalculaDatas()
            self._remember()
        finally:
            self.settings_changing = False

    def InicioSemana_Click(self) -> None:
        """The week start: recompute with the new first day of the week."""
        if self._loading:
            return
        self.settings_changing = True
        try:
            desktop.process_events()
            self.week_start = int(self.InicioSemana.currentData())
            self._share_week_start()
            self.RecalculaDatas()
            self._remember()
        finally:
            self.settings_changing = False

    def Datas_Change(self, index: int) -> None:
        """A change in a date box: typing by the person turns the period into a free range."""
        if self.recalculating or self._loading:
            return
        texts = [box.text() for box in self.Datas]
        if (
            texts != self.last_texts
            and self._current_state() == self.last_state
            and not self.settings_changing
        ):
            for _ in range(3):
                desktop.process_events()
            self._select_option(periodo.PERIODO)
        self.RecalculaDatas()
        self._remember()

    # --- Part 4.2: buttons -----------------------------------------------------------------
    def Botao_Click(self, index: int) -> None:
        """0 cancels, 1 confirms, 2 expands or collapses; every press plays the click."""
        desktop.play_sound(periodo.CLICK_SOUND)
        if index == 0:
            self.state.confirmed = False
            self.reject()
        elif index == 1:
            self._confirm()
        elif index == 2:
            if self.height_twips != periodo.COMPACT_HEIGHT:
                self._set_height(periodo.COMPACT_HEIGHT, PICTURE_EXPAND)
            else:
                self._set_height(periodo.EXPANDED_HEIGHT, PICTURE_COLLAPSE)

    def _refuse(self, message: str, box: int) -> None:
        desktop.msgbox(message, desktop.vbInformation, periodo.INVALID_TITLE)
        self.Datas[box].setFocus()

    def _confirm(self) -> None:
        """Confirm: validate the two dates, save the settings, hand the period over."""
        state = self.state
        state.period_start = self.Datas[0].period_text()
        state.period_end = self.Datas[1].period_text()
        start = periodo.parse_period(state.period_start)
        end = periodo.parse_period(state.period_end)
        if start is None:
            self._refuse(periodo.INVALID_START, 0)
            return
        if end is None:
            self._refuse(periodo.INVALID_END, 1)
            return
        if end < start:
            self._refuse(periodo.END_BEFORE_START, 1)
            return
        state.confirmed = True
        try:
            self._save_settings()
        except JetError as exc:
            # Part 4.2 failure handling: logged, nothing written, the dialog stays usable.
            state.confirmed = False
            errorlog.log_exception(state, periodo.ROUTINE, exc)
            return
        self.accept()

    def _save_settings(self) -> None:
        """Write `InicioSemana` and `RetroAtivo` to the company record in one transaction."""
        database = self.state.database
        with database.transaction():
            company = database.open_recordset("DadosEmpresa", RecordsetType.TABLE)
            try:
                company.edit()
                company["InicioSemana"] = int(self.InicioSemana.currentData())
                company["RetroAtivo"] = self.OpcaoRetrocede[0].isChecked()
                company.update()
            finally:
                company.close()

    # --- closing and keys ----------------------------------------------------------------
    def reject(self) -> None:
        """Esc or the window's close box: a cancel, nothing written (as button 0)."""
        self.state.confirmed = False
        super().reject()

    def keyPressEvent(self, event: QKeyEvent) -> None:
        if event.key() == Qt.Key.Key_F1:
            desktop.show_help(helptopics.PERIODO)
            return
        super().keyPressEvent(event)
