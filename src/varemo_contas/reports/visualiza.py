"""Part 4.6: `Visualiza`, the preview window every report of the program is shown in.

It holds the engine's viewer `Visual`, fills itself with it, translates the viewer's toolbar
into Portuguese at load, adds the three display choices and shows the report given to
`RunReport` at 100 per cent under the report's caption. On close the report is released.
The print and file dialogs are the module functions `ask_printer`/`ask_pdf_path`, looked up
at call time so that tests replace them.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from PySide6.QtCore import QRect, Qt
from PySide6.QtGui import QCloseEvent, QGuiApplication, QResizeEvent
from PySide6.QtWidgets import QDialog, QWidget

from varemo_contas.reports import viewerprint
from varemo_contas.reports.viewer import ReportViewer

if TYPE_CHECKING:
    from PySide6.QtPrintSupport import QPrinter

    from varemo_contas.app.state import State
    from varemo_contas.reports.engine import Report
    from varemo_contas.reports.layout import Document

# Part 4.6 "Window load": tool caption as delivered -> (new caption, new tooltip).
TOOL_TRANSLATIONS: dict[str, tuple[str, str]] = {
    "Table Of Contents": ("Índice", "Mostrar índice"),
    "&Print...": ("Imprimir...", "Imprimir relatório"),
    "Copy": ("Copiar", "Copiar relatório"),
    "Find": ("Localizar", "Localizar palavras no relatório"),
    "Single View": ("Vista Única", "Visualizar uma página"),
    "Multi Page View": ("Várias Páginas", "Visualizar várias páginas"),
    "Zoom out": ("Diminuir", "Reduzindo a visão"),
    "Zoom in": ("Aumentar", "Aumentando a visão"),
    "PrevPage": ("Página Anterior", "Mostra página anterior"),
    "NextPage": ("Próxima página", "Mostra próxima página"),
    "Page Number Edit": ("Digite o número da página", "Número da página mostrada"),
    "&Back": ("&Voltar", "Voltar página já mostrada"),
    "F&orward": ("&Avançar", "Avançar página já mostrada"),
}
# Part 4.6: added in this order, each at its position.
DISPLAY_CHOICES = (("Larg.Pág.", 1), ("Índice", 0), ("Pág.Toda", 2))
ZOOM = 100


def ask_printer(parent: QWidget, document: Document) -> QPrinter | None:
    """The print dialog; the printer chosen, or None when cancelled (tests replace it)."""
    return viewerprint.default_ask_printer(parent, document)


def ask_pdf_path(parent: QWidget, suggested: str) -> str | None:
    """The save dialog for a PDF; the path, or None when cancelled (tests replace it)."""
    return viewerprint.default_ask_pdf_path(parent, suggested)


def translate_tools(visual: ReportViewer) -> None:
    """Part 4.6: walk the tools first to last; a caption in the table gets its new texts."""
    for tool in visual.tools():
        translation = TOOL_TRANSLATIONS.get(tool.text())
        if translation is not None:
            tool.setText(translation[0])
            tool.setToolTip(translation[1])


class Visualiza(QDialog):
    """The report preview window (Part 4.6)."""

    def __init__(
        self, state: State, parent: QWidget | None = None, *, viewer: ReportViewer | None = None
    ) -> None:
        super().__init__(parent)
        self.setObjectName("Visualiza")
        self.state = state
        self.setWindowFlags(
            Qt.WindowType.Window
            | Qt.WindowType.WindowTitleHint
            | Qt.WindowType.WindowSystemMenuHint
            | Qt.WindowType.WindowMinMaxButtonsHint
            | Qt.WindowType.WindowCloseButtonHint
        )
        self.setSizeGripEnabled(False)
        self.Visual = viewer if viewer is not None else ReportViewer()
        self.Visual.setParent(self)
        # The dialogs are this module's functions, looked up when used.
        self.Visual.ask_printer = lambda owner, document: ask_printer(owner, document)
        self.Visual.ask_pdf_path = lambda owner, suggested: ask_pdf_path(owner, suggested)
        self.Visual.show()
        self.setMinimumSize(1, 1)
        self.resize(*self._default_size())
        self.Form_Load()

    @staticmethod
    def _default_size() -> tuple[int, int]:
        screen = QGuiApplication.primaryScreen()
        available = screen.availableGeometry() if screen else QRect(0, 0, 1280, 900)
        return min(1020, int(available.width() * 0.9)), min(860, int(available.height() * 0.9))

    # -- Part 4.6 --
    def Form_Load(self) -> None:
        """Translate the toolbar, add the display choices, zoom 100."""
        translate_tools(self.Visual)
        for text, position in DISPLAY_CHOICES:
            self.Visual.add_display_choice(text, position)
        self.Visual.Zoom = ZOOM

    def RunReport(self, report: Report) -> None:
        """Attach the report (it runs), zoom 100, the report's caption as the title."""
        self.Visual.ReportSource = report
        self.Visual.Zoom = ZOOM
        self.setWindowTitle(report.caption)

    def Form_Resize(self) -> None:
        """The viewer fills the client area: left 0, top 0, full width and height."""
        self.Visual.setGeometry(0, 0, self.width(), self.height())

    def Form_Unload(self) -> None:
        """Release the viewer's report source."""
        if self.Visual.ReportSource is not None:
            self.Visual.ReportSource = None

    # -- Qt events --
    def resizeEvent(self, event: QResizeEvent) -> None:
        super().resizeEvent(event)
        self.Form_Resize()

    def closeEvent(self, event: QCloseEvent) -> None:
        self.Form_Unload()
        super().closeEvent(event)

    def done(self, result: int) -> None:
        # Esc and the window's close both end here: the report goes with the window.
        self.Form_Unload()
        super().done(result)
