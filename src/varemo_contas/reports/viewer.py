"""The report engine's viewer control (Part 4.6 "Required of the report engine's viewer").

`ReportViewer` takes a report as its `ReportSource` (running it), shows its pages at `Zoom`
per cent, and has a toolbar of tools delivered with English captions (the window that holds
it translates them), a list of display choices, page navigation with a page-number box,
single and multiple page view, a table of contents, copy, find, back/forward through the
pages visited, printing and PDF export. Dialogs go through `ask_printer`/`ask_pdf_path`,
replaceable attributes, and messages through `desktop.msgbox`.
"""

from __future__ import annotations

from collections.abc import Callable

from PySide6.QtCore import QEvent, QMimeData, QObject, Qt
from PySide6.QtGui import QAction, QActionGroup, QIntValidator, QKeySequence, QResizeEvent
from PySide6.QtPrintSupport import QPrinter
from PySide6.QtWidgets import (
    QApplication,
    QComboBox,
    QHBoxLayout,
    QLabel,
    QLayout,
    QLineEdit,
    QScrollArea,
    QSizePolicy,
    QSplitter,
    QToolBar,
    QToolButton,
    QTreeWidget,
    QTreeWidgetItem,
    QVBoxLayout,
    QWidget,
    QWidgetAction,
)

from varemo_contas.reports import painter
from varemo_contas.reports.engine import Report
from varemo_contas.reports.layout import Document
from varemo_contas.reports.pageview import GAP, MARGIN, Hit, PageCanvas
from varemo_contas.reports.viewerfind import FindMixin
from varemo_contas.reports.viewericons import icon
from varemo_contas.reports.viewerprint import (
    PrintMixin,
    default_ask_pdf_path,
    default_ask_printer,
)

# The tools as the engine delivers them: (key, English caption, tooltip, icon).
TOOLS = (
    ("TOC", "Table Of Contents", "Table Of Contents", "toc"),
    ("Print", "&Print...", "Print", "print"),
    ("ExportPdf", "Exportar PDF", "Gravar o relatório num arquivo PDF", "pdf"),
    ("Copy", "Copy", "Copy", "copy"),
    ("Find", "Find", "Find", "find"),
    ("SingleView", "Single View", "Single View", "single"),
    ("MultiView", "Multi Page View", "Multi Page View", "multi"),
    ("ZoomOut", "Zoom out", "Zoom out", "zoom_out"),
    ("ZoomIn", "Zoom in", "Zoom in", "zoom_in"),
    ("Display", "Exibição", "Índice, largura da página ou página toda", ""),
    ("PrevPage", "PrevPage", "PrevPage", "prev"),
    ("PageNumber", "Page Number Edit", "Page Number Edit", ""),
    ("NextPage", "NextPage", "NextPage", "next"),
    ("Back", "&Back", "Back", "back"),
    ("Forward", "F&orward", "Forward", "forward"),
)
CAPTIONED = ("TOC", "Print", "ExportPdf", "Find")
SEPARATE_AFTER = ("ExportPdf", "Find", "MultiView", "Display", "NextPage")
SHORTCUTS = {
    "Print": QKeySequence.StandardKey.Print,
    "Copy": QKeySequence.StandardKey.Copy,
    "Find": QKeySequence.StandardKey.Find,
    "ZoomIn": QKeySequence.StandardKey.ZoomIn,
    "ZoomOut": QKeySequence.StandardKey.ZoomOut,
    "PrevPage": QKeySequence(Qt.Key.Key_PageUp),
    "NextPage": QKeySequence(Qt.Key.Key_PageDown),
    "Back": QKeySequence(Qt.Modifier.ALT | Qt.Key.Key_Left),
    "Forward": QKeySequence(Qt.Modifier.ALT | Qt.Key.Key_Right),
}
ZOOM_STEPS = (10, 25, 50, 75, 100, 125, 150, 200, 300, 400)
# What the display choices do, by their text (the window adds them, Part 4.6).
CHOICE_TOC = "Índice"
CHOICE_WIDTH = "Larg.Pág."
CHOICE_PAGE = "Pág.Toda"


class ReportViewer(FindMixin, PrintMixin, QWidget):
    """The viewer `Visual` of Part 4.6 (the platform's report viewer control)."""

    def __init__(self, parent: QWidget | None = None, tools: tuple[str, ...] | None = None):
        super().__init__(parent)
        self.setObjectName("Visual")
        self._report: Report | None = None
        self.document: Document | None = None
        self.current_page = 0
        self.back_pages: list[int] = []
        self.forward_pages: list[int] = []
        self.hits: list[Hit] = []
        self.hit_index = -1
        # "width", "page" or "multi" while a fitted zoom follows the window's size.
        self.fit: str | None = None
        self._zoom_before_multiple: tuple[int, str | None] = (100, None)
        self._zoom = 100
        self.ask_printer: Callable[[QWidget, Document], QPrinter | None] = default_ask_printer
        self.ask_pdf_path: Callable[[QWidget, str], str | None] = default_ask_pdf_path
        self.actions_by_key: dict[str, QAction] = {}
        self._build(tools)
        self._update_tools()

    # -- building --
    def _build(self, only: tuple[str, ...] | None) -> None:
        self.toolbar = QToolBar(self)
        self.toolbar.setObjectName("BarraVisual")
        self.toolbar.setToolButtonStyle(Qt.ToolButtonStyle.ToolButtonIconOnly)
        self.toolbar.setMovable(False)
        # Parented to the viewer: they live on even when the toolbar lacks their tools.
        self.Exibicao = QComboBox(self)
        self.Exibicao.setObjectName("Exibicao")
        self.Exibicao.setMinimumContentsLength(9)
        self.Exibicao.setPlaceholderText("Exibição")
        self.Exibicao.activated.connect(self.Exibicao_Click)
        self.NumeroPagina = QLineEdit()
        self.NumeroPagina.setObjectName("NumeroPagina")
        self.NumeroPagina.setValidator(QIntValidator(1, 99999, self.NumeroPagina))
        self.NumeroPagina.setAlignment(Qt.AlignmentFlag.AlignRight)
        self.NumeroPagina.setFixedWidth(48)
        self.NumeroPagina.setSizePolicy(QSizePolicy.Policy.Fixed, QSizePolicy.Policy.Fixed)
        self.NumeroPagina.returnPressed.connect(self.NumeroPagina_Enter)
        self.TotalPaginas = QLabel("de 0")
        page_box = QWidget(self)
        box_layout = QHBoxLayout(page_box)
        box_layout.setContentsMargins(4, 0, 4, 0)
        box_layout.addWidget(self.NumeroPagina)
        box_layout.addWidget(self.TotalPaginas)
        page_box.setSizePolicy(QSizePolicy.Policy.Fixed, QSizePolicy.Policy.Fixed)
        widgets = {"Display": self.Exibicao, "PageNumber": page_box}
        handlers = {
            "TOC": self.toggle_toc,
            "Print": self.print_report,
            "ExportPdf": self.export_pdf,
            "Copy": self.copy_page,
            "Find": self.show_find,
            "SingleView": lambda: self.set_multiple(False),
            "MultiView": lambda: self.set_multiple(True),
            "ZoomOut": lambda: self.zoom_step(-1),
            "ZoomIn": lambda: self.zoom_step(1),
            "PrevPage": lambda: self.go_to_page(self.current_page - 1),
            "NextPage": lambda: self.go_to_page(self.current_page + 1),
            "Back": self.go_back,
            "Forward": self.go_forward,
        }
        views = QActionGroup(self)
        for key, caption, tooltip, icon_name in TOOLS:
            if only is not None and caption not in only and key not in only:
                continue
            if key in widgets:
                action: QAction = QWidgetAction(self)
                action.setDefaultWidget(widgets[key])
                action.changed.connect(lambda a=action, w=widgets[key]: w.setToolTip(a.toolTip()))
            else:
                action = QAction(self)
                if key == "TOC":
                    action.triggered.connect(self.toggle_toc)
                else:
                    action.triggered.connect(lambda _checked=False, run=handlers[key]: run())
            action.setObjectName("Tool_" + key)
            action.setProperty("english_caption", caption)
            action.setText(caption)
            action.setToolTip(tooltip)
            if icon_name:
                action.setIcon(icon(icon_name))
            if key in SHORTCUTS:
                action.setShortcut(SHORTCUTS[key])
                action.setShortcutContext(Qt.ShortcutContext.WidgetWithChildrenShortcut)
            if key == "TOC":
                action.setCheckable(True)
            if key in ("SingleView", "MultiView"):
                action.setCheckable(True)
                action.setChecked(key == "SingleView")
                views.addAction(action)
            self.toolbar.addAction(action)
            self.actions_by_key[key] = action
            if key in SEPARATE_AFTER:
                self.toolbar.addSeparator()
        for key, widget in widgets.items():
            if key not in self.actions_by_key:
                widget.setVisible(False)  # its tool is not in this toolbar
        self._captioned = True
        self._show_captions(True)

        self._build_find_bar()
        self.Indice = QTreeWidget()
        self.Indice.setObjectName("Indice")
        self.Indice.setHeaderHidden(True)
        self.Indice.itemClicked.connect(self.Indice_Click)
        self.Indice.itemActivated.connect(self.Indice_Click)
        self.canvas = PageCanvas()
        self.canvas.pageClicked.connect(self.go_to_page)
        self.canvas.pageActivated.connect(self._open_page)
        self.canvas.zoomStep.connect(self.zoom_step)
        self.scroll = QScrollArea()
        self.scroll.setObjectName("AreaPaginas")
        self.scroll.setWidget(self.canvas)
        self.scroll.setWidgetResizable(False)
        self.scroll.setAlignment(Qt.AlignmentFlag.AlignHCenter | Qt.AlignmentFlag.AlignTop)
        self.scroll.setMinimumSize(1, 1)
        # The pages follow the visible area (columns of the multiple view, fitted zooms).
        self.scroll.viewport().installEventFilter(self)
        self.splitter = QSplitter(Qt.Orientation.Horizontal)
        self.splitter.addWidget(self.Indice)
        self.splitter.addWidget(self.scroll)
        self.splitter.setStretchFactor(1, 1)
        self.splitter.setSizes([240, 800])
        self.splitter.setChildrenCollapsible(True)
        self.Indice.setVisible(False)
        self.Situacao = QLabel("")
        self.Situacao.setObjectName("Situacao")
        self.Situacao.setContentsMargins(6, 2, 6, 2)
        layout = QVBoxLayout(self)
        layout.setContentsMargins(0, 0, 0, 0)
        layout.setSpacing(0)
        # The window places the viewer itself, at any size (Part 4.6 "On resize").
        layout.setSizeConstraint(QLayout.SizeConstraint.SetNoConstraint)
        layout.addWidget(self.toolbar)
        layout.addWidget(self.BarraLocalizar)
        layout.addWidget(self.splitter, 1)
        layout.addWidget(self.Situacao)
        self.setMinimumSize(1, 1)

    # -- the viewer's interface (Part 4.6) --
    def tools(self) -> list[QAction]:
        """The toolbar's tools, first to last (separators left out)."""
        return [action for action in self.toolbar.actions() if not action.isSeparator()]

    def tool(self, key: str) -> QAction | None:
        """A tool by its key ("TOC", "Print", ...), whatever its caption now."""
        return self.actions_by_key.get(key)

    def add_display_choice(self, text: str, position: int) -> None:
        """Add an entry to the display choices at `position` (appended past the end)."""
        self.Exibicao.insertItem(position, text)
        self.Exibicao.setCurrentIndex(-1)

    def display_choices(self) -> list[str]:
        return [self.Exibicao.itemText(i) for i in range(self.Exibicao.count())]

    @property
    def ReportSource(self) -> Report | None:
        return self._report

    @ReportSource.setter
    def ReportSource(self, report: Report | None) -> None:
        """Attach a report (it runs now) or, with None, release the one attached."""
        if self._report is not None and self._report is not report:
            self._report.close()
        self._report = report
        self.document = report.run() if report is not None else None
        self.current_page = 0
        self.back_pages.clear()
        self.forward_pages.clear()
        self.hits = []
        self.hit_index = -1
        self.canvas.hits = []
        self.canvas.current_hit = None
        self.canvas.document = self.document
        self.canvas.current = 0
        self._fill_toc()
        self._refresh()

    @property
    def Zoom(self) -> int:
        return self._zoom

    @Zoom.setter
    def Zoom(self, percent: int) -> None:
        self.fit = None
        self._set_zoom(percent)

    def _set_zoom(self, percent: int) -> None:
        self._zoom = max(ZOOM_STEPS[0], min(int(percent), ZOOM_STEPS[-1]))
        self.canvas.zoom = self._zoom
        self._refresh()

    @property
    def page_count(self) -> int:
        return len(self.document.pages) if self.document else 0

    # -- zoom and view --
    def zoom_step(self, direction: int) -> None:
        if direction > 0:
            bigger = [step for step in ZOOM_STEPS if step > self._zoom]
            self.Zoom = bigger[0] if bigger else ZOOM_STEPS[-1]
        else:
            smaller = [step for step in ZOOM_STEPS if step < self._zoom]
            self.Zoom = smaller[-1] if smaller else ZOOM_STEPS[0]

    def _fit_zoom(self, mode: str) -> int:
        """The zoom at which a page fits: "width", "page" (whole), or "multi" (two across)."""
        if self.document is None:
            return self._zoom
        viewport = self.scroll.viewport().size()
        per_mm = self.canvas.logicalDpiX() / 25.4
        page_width = self.document.page_width * per_mm
        width = (viewport.width() - 2 * MARGIN) / page_width
        height = (viewport.height() - 2 * MARGIN) / (self.document.page_height * per_mm)
        if mode == "multi":
            factor = min((viewport.width() - 2 * MARGIN - GAP) / 2 / page_width, 1.0)
        else:
            factor = min(width, height) if mode == "page" else width
        return max(ZOOM_STEPS[0], int(factor * 100))

    def fit_width(self) -> None:
        self.fit = "width"
        self._set_zoom(self._fit_zoom("width"))

    def fit_page(self) -> None:
        self.fit = "page"
        self._set_zoom(self._fit_zoom("page"))

    def set_multiple(self, multiple: bool) -> None:
        """Single view (the current page) or multiple view (pages side by side, two at least).

        The multiple view shrinks the pages until two fit across, following the window; the
        single view comes back at the zoom it had.
        """
        if multiple and not self.canvas.multiple:
            self._zoom_before_multiple = (self._zoom, self.fit)
            if self.document is not None and self._fit_zoom("multi") < self._zoom:
                self.fit = "multi"
        elif not multiple and self.canvas.multiple:
            zoom, fit = self._zoom_before_multiple
            if self.fit == "multi":
                self._zoom, self.fit = zoom, fit
                self.canvas.zoom = zoom
        self.canvas.multiple = multiple
        for key, checked in (("SingleView", not multiple), ("MultiView", multiple)):
            action = self.tool(key)
            if action is not None:
                action.setChecked(checked)
        self._refresh()
        self._scroll_to_page()

    def toggle_toc(self, show: bool | None = None) -> None:
        """Show or hide the table of contents (toggled without an argument)."""
        visible = self.Indice.isHidden() if show is None else bool(show)
        self.Indice.setVisible(visible)
        action = self.tool("TOC")
        if action is not None:
            action.setChecked(visible)

    def Exibicao_Click(self, index: int) -> None:
        """A display choice: the table of contents, the page width or the whole page."""
        text = self.Exibicao.itemText(index)
        if text == CHOICE_TOC:
            self.toggle_toc(True)
        elif text == CHOICE_WIDTH:
            self.fit_width()
        elif text == CHOICE_PAGE:
            self.fit_page()

    # -- pages and history --
    def go_to_page(self, index: int, remember: bool = True, y: float | None = None) -> bool:
        """Show page `index` (0-based); the page left is remembered for "Back"."""
        if self.document is None or not 0 <= index < self.page_count:
            return False
        if index != self.current_page and remember:
            self.back_pages.append(self.current_page)
            self.forward_pages.clear()
        self.current_page = index
        self.canvas.current = index
        self._refresh()
        self._scroll_to_page(y)
        return True

    def _open_page(self, index: int) -> None:
        self.go_to_page(index)
        self.set_multiple(False)

    def go_back(self) -> None:
        if self.back_pages:
            self.forward_pages.append(self.current_page)
            self.go_to_page(self.back_pages.pop(), remember=False)

    def go_forward(self) -> None:
        if self.forward_pages:
            self.back_pages.append(self.current_page)
            self.go_to_page(self.forward_pages.pop(), remember=False)

    def NumeroPagina_Enter(self) -> None:
        text = self.NumeroPagina.text().strip()
        if not text.isdigit() or not self.go_to_page(int(text) - 1):
            self.NumeroPagina.setText(str(self.current_page + 1) if self.document else "")

    def _scroll_to_page(self, y: float | None = None) -> None:
        if self.document is None:
            return
        bar = self.scroll.verticalScrollBar()
        if y is None:
            top = self.canvas.page_rect(self.current_page).top() if self.canvas.multiple else 0
            bar.setValue(int(top - MARGIN if self.canvas.multiple else 0))
        else:
            target = self.canvas.y_of(self.current_page, y)
            bar.setValue(max(0, target - self.scroll.viewport().height() // 3))

    # -- table of contents --
    def _fill_toc(self) -> None:
        self.Indice.clear()
        if self.document is None:
            return
        parents: list[QTreeWidgetItem] = []
        for entry in self.document.toc:
            del parents[entry.level :]
            parent = parents[-1] if parents else None
            item = QTreeWidgetItem([entry.text])
            item.setData(0, Qt.ItemDataRole.UserRole, (entry.page, entry.y))
            item.setToolTip(0, f"{entry.text} — página {entry.page + 1}")
            if parent is None:
                self.Indice.addTopLevelItem(item)
            else:
                parent.addChild(item)
            parents.append(item)
        self.Indice.expandToDepth(0)

    def Indice_Click(self, item: QTreeWidgetItem, _column: int = 0) -> None:
        page, y = item.data(0, Qt.ItemDataRole.UserRole)
        self.go_to_page(int(page), y=float(y))

    # -- copy and find --
    def page_text(self, index: int | None = None) -> str:
        if self.document is None:
            return ""
        return self.document.pages[self.current_page if index is None else index].text()

    def copy_page(self) -> None:
        """The current page to the clipboard, as text and as a picture."""
        if self.document is None:
            return
        data = QMimeData()
        data.setText(self.page_text())
        data.setImageData(painter.page_image(self.document, self.current_page, 120))
        QApplication.clipboard().setMimeData(data)
        self._say(f"Página {self.current_page + 1} copiada para a área de transferência.")

    # -- state of the controls --
    def _say(self, text: str) -> None:
        self.Situacao.setText(text)

    def _refresh(self) -> None:
        if self.fit is not None and self.document is not None:
            self._zoom = self._fit_zoom(self.fit)
            self.canvas.zoom = self._zoom
        self.canvas.layout_for(self.scroll.viewport().width())
        self.canvas.update()
        count = self.page_count
        self.NumeroPagina.setText(str(self.current_page + 1) if count else "")
        self.TotalPaginas.setText(f"de {count}")
        if count:
            self._say(f"Página {self.current_page + 1} de {count}  ·  Zoom {self._zoom}%")
        else:
            self._say("")
        self._update_tools()

    def _update_tools(self) -> None:
        has = self.document is not None and self.page_count > 0
        states = {
            "PrevPage": has and self.current_page > 0,
            "NextPage": has and self.current_page < self.page_count - 1,
            "Back": bool(self.back_pages),
            "Forward": bool(self.forward_pages),
            "Print": has,
            "ExportPdf": has,
            "Copy": has,
            "Find": has,
            "ZoomIn": self._zoom < ZOOM_STEPS[-1],
            "ZoomOut": self._zoom > ZOOM_STEPS[0],
        }
        for key, enabled in states.items():
            action = self.tool(key)
            if action is not None:
                action.setEnabled(enabled)

    def _show_captions(self, shown: bool) -> None:
        """The main tools show their captions beside the icons while the toolbar has room."""
        style = (
            Qt.ToolButtonStyle.ToolButtonTextBesideIcon
            if shown
            else Qt.ToolButtonStyle.ToolButtonIconOnly
        )
        for key in CAPTIONED:
            action = self.actions_by_key.get(key)
            button = self.toolbar.widgetForAction(action) if action is not None else None
            if isinstance(button, QToolButton):
                button.setToolButtonStyle(style)
        self._captioned = shown

    def resizeEvent(self, event: QResizeEvent) -> None:
        super().resizeEvent(event)
        # Page navigation must stay in sight: captions give way first on a narrow window.
        if not self._captioned:
            self._show_captions(True)
        if self.toolbar.sizeHint().width() > self.width():
            self._show_captions(False)

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        if watched is self.scroll.viewport() and event.type() == QEvent.Type.Resize:
            self._refresh()
        return super().eventFilter(watched, event)
