"""Printing and PDF export of the viewer (Part 4.6): the same renderer on every device.

The dialogs are `default_ask_printer`/`default_ask_pdf_path` here; the viewer calls them
through replaceable attributes (the preview window routes them to `visualiza.ask_*`).
Failures are told through `desktop.msgbox`.
"""

from __future__ import annotations

import os
from collections.abc import Callable
from typing import TYPE_CHECKING

from PySide6.QtPrintSupport import QPrinter
from PySide6.QtWidgets import QWidget

from varemo_contas.app import desktop
from varemo_contas.reports import painter

if TYPE_CHECKING:
    from varemo_contas.reports.layout import Document

EXPORT_TITLE = "Exportar PDF"
PRINT_TITLE = "Imprimir relatório"


def default_ask_printer(parent: QWidget, document: Document) -> QPrinter | None:
    """The print dialog on a high-resolution printer; None when the person cancels."""
    from PySide6.QtPrintSupport import QAbstractPrintDialog, QPrintDialog

    printer = QPrinter(QPrinter.PrinterMode.HighResolution)
    printer.setDocName(document.caption)
    printer.setFullPage(True)
    printer.setPageLayout(painter.page_layout(document))
    dialog = QPrintDialog(printer, parent)
    dialog.setWindowTitle(PRINT_TITLE)
    dialog.setMinMax(1, max(1, len(document.pages)))
    dialog.setOption(QAbstractPrintDialog.PrintDialogOption.PrintPageRange, True)
    dialog.setOption(QAbstractPrintDialog.PrintDialogOption.PrintCurrentPage, True)
    return printer if dialog.exec() == QPrintDialog.DialogCode.Accepted else None


def default_ask_pdf_path(parent: QWidget, suggested: str) -> str | None:
    """The save dialog for the PDF file; None when the person cancels."""
    from PySide6.QtWidgets import QFileDialog

    path, _filter = QFileDialog.getSaveFileName(
        parent, "Exportar relatório em PDF", suggested, "Arquivos PDF (*.pdf)"
    )
    return path or None


class PrintMixin:
    """`print_report()` and `export_pdf()` of the viewer."""

    document: Document | None
    current_page: int
    ask_printer: Callable[[QWidget, Document], QPrinter | None]
    ask_pdf_path: Callable[[QWidget, str], str | None]

    # -- print and export --
    def print_report(self) -> bool:
        """The print dialog, then the pages chosen painted on the printer."""
        if self.document is None:
            return False
        printer = self.ask_printer(self, self.document)
        if printer is None:
            return False
        first, last = 1, self.page_count
        if printer.printRange() == QPrinter.PrintRange.PageRange:
            first, last = printer.fromPage() or 1, printer.toPage() or self.page_count
        elif printer.printRange() == QPrinter.PrintRange.CurrentPage:
            first = last = self.current_page + 1
        try:
            painter.render(self.document, printer, first, last)
        except OSError as exc:
            desktop.msgbox(
                "Não foi possível imprimir o relatório." + "\r" + str(exc),
                desktop.vbExclamation,
                PRINT_TITLE,
            )
            return False
        self._say("Relatório enviado para a impressora.")
        return True

    def suggested_pdf_path(self) -> str:
        name = (self.document.caption if self.document else "") or "Relatório"
        folder = os.path.join(os.path.expanduser("~"), "Documentos")
        if not os.path.isdir(folder):
            folder = os.path.expanduser("~")
        return os.path.join(folder, name + ".pdf")

    def export_pdf(self) -> str | None:
        """Ask for a file and write the report there as PDF; the path written, or None."""
        if self.document is None:
            return None
        path = self.ask_pdf_path(self, self.suggested_pdf_path())
        if not path:
            return None
        if not path.lower().endswith(".pdf"):
            path += ".pdf"
        try:
            painter.write_pdf(self.document, path)
        except OSError as exc:
            reason = exc.strerror or str(exc)
            desktop.msgbox(
                "Não foi possível gravar o arquivo PDF:" + "\r" + path + "\r" + reason,
                desktop.vbExclamation,
                EXPORT_TITLE,
            )
            return None
        self._say("Relatório gravado em " + path)
        return path
