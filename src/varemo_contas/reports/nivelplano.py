"""The level question of "ID_PlanoContas" (Parts 2.3, 4.5): list the chart down to which level.

`ask_level(parent)` shows `NivelPlano` through `desktop.show_modal` and returns the level
chosen, 1 (Setor) to 4 (Item), or None when the person cancels.
"""

from __future__ import annotations

from PySide6.QtWidgets import (
    QButtonGroup,
    QDialog,
    QDialogButtonBox,
    QGroupBox,
    QLabel,
    QRadioButton,
    QVBoxLayout,
    QWidget,
)

from varemo_contas.app import desktop

TITLE = "Plano de Contas"
QUESTION = "Listar o plano de contas até o nível:"
# Level -> caption; the Categoria (level 0) always heads the listing.
LEVELS = ((1, "&Setor"), (2, "&Grupo"), (3, "&Conta"), (4, "&Item"))
DEFAULT_LEVEL = 4


class NivelPlano(QDialog):
    """Four options, OK and Cancelar; `chosen` holds the level after OK, else None."""

    def __init__(self, parent: QWidget | None = None, level: int = DEFAULT_LEVEL) -> None:
        super().__init__(parent)
        self.setObjectName("NivelPlano")
        self.setWindowTitle(TITLE)
        self.chosen: int | None = None
        self.Opcao: list[QRadioButton] = []
        self.Grupo = QButtonGroup(self)
        box = QGroupBox(QUESTION)
        options = QVBoxLayout(box)
        for value, caption in LEVELS:
            option = QRadioButton(caption)
            option.setObjectName(f"Opcao{value}")
            self.Grupo.addButton(option, value)
            options.addWidget(option)
            self.Opcao.append(option)
        self.Opcao[min(max(level, 1), 4) - 1].setChecked(True)
        hint = QLabel("A listagem começa sempre pelas categorias.")
        hint.setWordWrap(True)
        hint.setStyleSheet("color: #555;")
        self.Botoes = QDialogButtonBox()
        self.BotaoOK = self.Botoes.addButton("OK", QDialogButtonBox.ButtonRole.AcceptRole)
        self.BotaoCancelar = self.Botoes.addButton(
            "Cancelar", QDialogButtonBox.ButtonRole.RejectRole
        )
        self.BotaoOK.setDefault(True)
        self.Botoes.accepted.connect(self.accept)
        self.Botoes.rejected.connect(self.reject)
        layout = QVBoxLayout(self)
        layout.addWidget(box)
        layout.addWidget(hint)
        layout.addWidget(self.Botoes)
        self.setMinimumWidth(320)

    def level(self) -> int:
        """The level of the option checked."""
        return self.Grupo.checkedId()

    def accept(self) -> None:
        self.chosen = self.level()
        super().accept()

    def reject(self) -> None:
        self.chosen = None
        super().reject()


def ask_level(parent: QWidget | None = None) -> int | None:
    """Ask for the listing level; 1..4, or None when cancelled."""
    dialog = NivelPlano(parent)
    desktop.show_modal(dialog)
    return dialog.chosen
