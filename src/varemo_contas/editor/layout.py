"""The main window's widgets: tree, pages, record buttons, report list, status bar.

Controls keep the spec's names as attributes of the window (DESIGN.md).
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from PySide6.QtCore import Qt
from PySide6.QtWidgets import (
    QGridLayout,
    QGroupBox,
    QHBoxLayout,
    QLabel,
    QListWidget,
    QPushButton,
    QSplitter,
    QTabWidget,
    QTreeWidget,
    QVBoxLayout,
    QWidget,
)

from varemo_contas.app import helptopics
from varemo_contas.data import queries
from varemo_contas.editor.widgets import Selector, StatusPanels

if TYPE_CHECKING:
    from varemo_contas.editor.contas import Contas

MOVIMENTO_CAPTIONS = (
    "|◀  Primeiro",
    "◀◀  Grupo",
    "◀  Anterior",
    "Próximo  ▶",
    "Grupo  ▶▶",
    "Último  ▶|",
)
# Visual order of the six buttons: first, previous group, previous, next, next group, last.
MOVIMENTO_ORDER = (0, 2, 1, 4, 3, 5)
MOVEFILTRO_CAPTIONS = ("|◀", "◀", "Mostrar", "▶", "▶|")


def build_layout(window: Contas) -> None:
    """Create the controls of `Contas` and place them."""
    window.Arvore = QTreeWidget()
    window.Arvore.setObjectName("Arvore")
    window.Arvore.setHeaderHidden(True)
    window.Arvore.setUniformRowHeights(True)
    window.Arvore.setProperty("help_context", helptopics.ARVORE)
    tree_box = QGroupBox("Plano de Contas")
    tree_layout = QVBoxLayout(tree_box)
    tree_layout.addWidget(window.Arvore)

    window.Pasta = QTabWidget()
    window.Pasta.setObjectName("Pasta")
    window.Combo = [Selector() for _ in range(5)]
    window.Texto = [Selector() for _ in range(5)]
    hierarchy = QWidget()
    grid = QGridLayout(hierarchy)
    for level, name in enumerate(queries.LEVEL_NAMES):
        window.Combo[level].setObjectName(f"Combo{level}")
        window.Combo[level].setProperty("help_context", helptopics.SELETORES)
        label = QLabel(f"&{name}:")
        label.setBuddy(window.Combo[level])
        grid.addWidget(label, level, 0)
        grid.addWidget(window.Combo[level], level, 1)
    grid.setColumnStretch(1, 1)
    grid.setRowStretch(5, 1)
    levels = QWidget()
    level_grid = QGridLayout(levels)
    window.NovoRotulo = QLabel("Plano de Contas")
    window.NovoRotulo.setObjectName("NovoRotulo")
    font = window.NovoRotulo.font()
    font.setPointSizeF(font.pointSizeF() * 1.3)
    font.setBold(True)
    window.NovoRotulo.setFont(font)
    level_grid.addWidget(window.NovoRotulo, 0, 0, 1, 2)
    window.TextoRotulo: list[QLabel] = []
    for level, name in enumerate(queries.LEVEL_NAMES):
        window.Texto[level].setObjectName(f"Texto{level}")
        window.Texto[level].setProperty("help_context", helptopics.PAGINA_NIVEIS)
        label = QLabel(f"{name}:")
        label.setBuddy(window.Texto[level])
        window.TextoRotulo.append(label)
        level_grid.addWidget(label, level + 1, 0)
        level_grid.addWidget(window.Texto[level], level + 1, 1)
    level_grid.setColumnStretch(1, 1)
    level_grid.setRowStretch(6, 1)
    window.Pasta.addTab(hierarchy, "&Hierarquia")
    window.Pasta.addTab(levels, "&Níveis")

    window.Movimento: list[QPushButton] = [QPushButton() for _ in range(6)]
    moves = QGroupBox("Registros")
    moves_layout = QHBoxLayout(moves)
    for index in MOVIMENTO_ORDER:
        button = window.Movimento[index]
        button.setObjectName(f"Movimento{index}")
        button.setText(MOVIMENTO_CAPTIONS[MOVIMENTO_ORDER.index(index)])
        button.setProperty("help_context", helptopics.MOVIMENTO)
        button.setAutoDefault(False)
        moves_layout.addWidget(button)
    window.MoveFiltro: list[QPushButton] = [QPushButton(c) for c in MOVEFILTRO_CAPTIONS]
    hits = QGroupBox("Itens encontrados na procura")
    hits_layout = QHBoxLayout(hits)
    for index, button in enumerate(window.MoveFiltro):
        button.setObjectName(f"MoveFiltro{index}")
        button.setProperty("help_context", helptopics.MOVE_FILTRO)
        button.setEnabled(False)
        hits_layout.addWidget(button)

    window.RelatosPainel = QGroupBox("Relatórios Personalizados")
    reports_layout = QVBoxLayout(window.RelatosPainel)
    window.Relatos = QListWidget()
    window.Relatos.setObjectName("Relatos")
    window.Relatos.setProperty("help_context", helptopics.RELATOS)
    window.BotaoVer = QPushButton("&Ver")
    window.BotaoVer.setObjectName("BotaoVer")
    window.BotaoFecharRelatos = QPushButton("Fechar lista")
    buttons = QHBoxLayout()
    buttons.addStretch(1)
    buttons.addWidget(window.BotaoVer)
    buttons.addWidget(window.BotaoFecharRelatos)
    reports_layout.addWidget(QLabel("Escolha um relatório na lista:"))
    reports_layout.addWidget(window.Relatos)
    reports_layout.addLayout(buttons)
    window.RelatosPainel.setVisible(False)
    window.Lista: list[tuple[str, int]] = []  # (NomeRelatorio, CodigoRelatorio)
    window.ListaEntradas: list[str] = []  # Part 4.4's path entries, filled by "Ver"

    right = QWidget()
    right_layout = QVBoxLayout(right)
    right_layout.addWidget(window.Pasta)
    # What the user needs to know about the current row: its code and what protects it.
    window.Detalhes = QLabel("")
    window.Detalhes.setObjectName("Detalhes")
    window.Detalhes.setWordWrap(True)
    window.Detalhes.setStyleSheet("QLabel { color: #3a4a5a; padding: 2px 4px; }")
    right_layout.addWidget(window.Detalhes)
    right_layout.addWidget(moves)
    right_layout.addWidget(hits)
    right_layout.addWidget(window.RelatosPainel, 1)
    right_layout.addStretch(1)
    splitter = QSplitter(Qt.Orientation.Horizontal)
    splitter.setContentsMargins(6, 4, 6, 0)
    splitter.addWidget(tree_box)
    splitter.addWidget(right)
    splitter.setStretchFactor(0, 2)
    splitter.setStretchFactor(1, 3)
    splitter.setSizes([380, 820])
    window.setCentralWidget(splitter)
    window.Status = StatusPanels(window)
    window.Status.setObjectName("Status")
    window.setStatusBar(window.Status)
