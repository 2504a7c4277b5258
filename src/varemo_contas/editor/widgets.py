"""Small widgets of the main window: the status bar panels and the data controls."""

from __future__ import annotations

from PySide6.QtCore import Qt
from PySide6.QtWidgets import QComboBox, QFrame, QLabel, QStatusBar, QWidget

from varemo_contas.data.dao import Database, Recordset, RecordsetType


class StatusPanels(QStatusBar):
    """The status bar `Status` with its panels (0 message, 1 user, 2 record, 3 mode)."""

    PANELS = 4

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setSizeGripEnabled(True)
        self.panels: list[QLabel] = []
        for index in range(self.PANELS):
            label = QLabel(self)
            label.setObjectName(f"Status_Panel{index}")
            label.setFrameShape(QFrame.Shape.StyledPanel)
            label.setFrameShadow(QFrame.Shadow.Sunken)
            label.setContentsMargins(6, 0, 6, 0)
            if index == 0:
                self.addWidget(label, 1)
            else:
                label.setMinimumWidth(150 if index != 3 else 90)
                label.setAlignment(Qt.AlignmentFlag.AlignCenter)
                self.addPermanentWidget(label)
            self.panels.append(label)

    def set_panel(self, index: int, text: str) -> None:
        self.panels[index].setText(text)

    def panel_text(self, index: int) -> str:
        return self.panels[index].text()


class DataControl:
    """A VB data control: a record source and the recordset opened on it."""

    def __init__(self, name: str) -> None:
        self.name = name
        self.record_source = ""
        self.recordset: Recordset | None = None

    def open(
        self, database: Database, source: str, kind: RecordsetType = RecordsetType.DYNASET
    ) -> Recordset:
        """Give the control a new record source and read it (the previous set is closed)."""
        self.close()
        self.record_source = source
        self.recordset = database.open_recordset(source, kind)
        return self.recordset

    def refresh(self) -> None:
        if self.recordset is not None:
            self.recordset.requery()

    def close(self) -> None:
        if self.recordset is not None:
            self.recordset.close()
            self.recordset = None


class Selector(QComboBox):
    """An editable level selector that keeps its text until the user chooses.

    Qt's editable combo shows its first entry when a list is filled; the spec's
    selectors keep the text they had (empty after a clear), so filling never
    changes the text.
    """

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setEditable(True)
        self.setInsertPolicy(QComboBox.InsertPolicy.NoInsert)
        self.setMaxVisibleItems(20)
        self.setMinimumContentsLength(28)

    def showPopup(self) -> None:
        # While browsing the fields only show the record: no list to choose from.
        if self.lineEdit() is not None and self.lineEdit().isReadOnly():
            return
        super().showPopup()

    def fill(self, names: list[str]) -> None:
        """Replace the list, keeping the typed text as it was."""
        text = self.currentText()
        self.blockSignals(True)
        try:
            self.clear()
            self.addItems(names)
            self.setCurrentIndex(-1)
            self.setEditText(text)
        finally:
            self.blockSignals(False)

    def clear_all(self) -> None:
        """Empty the list and the text."""
        self.blockSignals(True)
        try:
            self.clear()
            self.setEditText("")
        finally:
            self.blockSignals(False)

    def text(self) -> str:
        return self.currentText()

    def set_text(self, text: str) -> None:
        self.blockSignals(True)
        try:
            self.setEditText(text)
        finally:
            self.blockSignals(False)

    def names(self) -> list[str]:
        return [self.itemText(i) for i in range(self.count())]
