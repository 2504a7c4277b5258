"""The viewer's find bar (Part 4.6 "finding"): every hit highlighted, next and previous.

A mixin of `ReportViewer`: it uses the viewer's document, page canvas and page navigation.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from PySide6.QtWidgets import QHBoxLayout, QLabel, QLineEdit, QPushButton, QToolButton, QWidget

from varemo_contas.reports.pageview import Hit, find_all

if TYPE_CHECKING:
    from varemo_contas.reports.layout import Document
    from varemo_contas.reports.pageview import PageCanvas


class FindMixin:
    """Find in the report: `find(text)`, `find_next()`, `find_previous()` and their bar."""

    document: Document | None
    canvas: PageCanvas
    current_page: int
    hits: list[Hit]
    hit_index: int

    def _build_find_bar(self) -> None:
        self.BarraLocalizar = QWidget()
        self.BarraLocalizar.setObjectName("BarraLocalizar")
        self.TextoLocalizar = QLineEdit()
        self.TextoLocalizar.setObjectName("TextoLocalizar")
        self.TextoLocalizar.setPlaceholderText("Texto a localizar no relatório")
        self.TextoLocalizar.setClearButtonEnabled(True)
        self.TextoLocalizar.returnPressed.connect(lambda: self.find_next())
        self.TextoLocalizar.textChanged.connect(self._find_text_changed)
        self.BotaoAnterior = QPushButton("Anterior")
        self.BotaoAnterior.clicked.connect(lambda: self.find_previous())
        self.BotaoProxima = QPushButton("Próxima")
        self.BotaoProxima.clicked.connect(lambda: self.find_next())
        self.ResultadoLocalizar = QLabel("")
        self.ResultadoLocalizar.setObjectName("ResultadoLocalizar")
        close = QToolButton()
        close.setText("Fechar")
        close.setToolTip("Fechar a localização")
        close.clicked.connect(lambda: self.hide_find())
        row = QHBoxLayout(self.BarraLocalizar)
        row.setContentsMargins(6, 3, 6, 3)
        row.addWidget(QLabel("Localizar:"))
        row.addWidget(self.TextoLocalizar, 1)
        row.addWidget(self.BotaoAnterior)
        row.addWidget(self.BotaoProxima)
        row.addWidget(self.ResultadoLocalizar, 1)
        row.addWidget(close)
        self.BarraLocalizar.setVisible(False)

    def show_find(self) -> None:
        self.BarraLocalizar.setVisible(True)
        self.TextoLocalizar.setFocus()
        self.TextoLocalizar.selectAll()

    def hide_find(self) -> None:
        self.BarraLocalizar.setVisible(False)
        self.find("")

    def _find_text_changed(self, _text: str) -> None:
        self.hits = []
        self.hit_index = -1
        self.canvas.hits = []
        self.canvas.current_hit = None
        self.ResultadoLocalizar.setText("")
        self.canvas.update()

    def find(self, text: str) -> int:
        """Search the whole report; every hit is highlighted. Returns the number of hits."""
        self.hits = find_all(self.document, text) if self.document else []
        self.hit_index = -1
        self.canvas.hits = self.hits
        self.canvas.current_hit = None
        self.canvas.update()
        return len(self.hits)

    def find_next(self, backwards: bool = False) -> Hit | None:
        """Go to the next hit from the current page on (wrapping round); None if none."""
        text = self.TextoLocalizar.text()
        if not self.hits:
            self.find(text)
        if not self.hits:
            wanted = text.strip()
            self.ResultadoLocalizar.setText(f"Nenhuma ocorrência de “{wanted}”" if wanted else "")
            return None
        if self.hit_index >= 0:
            self.hit_index = (self.hit_index + (-1 if backwards else 1)) % len(self.hits)
        elif backwards:
            before = [i for i, hit in enumerate(self.hits) if hit.page <= self.current_page]
            self.hit_index = before[-1] if before else len(self.hits) - 1
        else:
            after = [i for i, hit in enumerate(self.hits) if hit.page >= self.current_page]
            self.hit_index = after[0] if after else 0
        hit = self.hits[self.hit_index]
        self.canvas.current_hit = hit
        item = self.document.pages[hit.page].items[hit.item] if self.document else None
        if not self.go_to_page(hit.page, y=getattr(item, "y", None)):
            self.canvas.update()
            self._scroll_to_page(getattr(item, "y", None))
        self.ResultadoLocalizar.setText(f"{self.hit_index + 1} de {len(self.hits)} ocorrências")
        return hit

    def find_previous(self) -> Hit | None:
        return self.find_next(backwards=True)
