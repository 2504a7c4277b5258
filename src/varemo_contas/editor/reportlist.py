"""Part 2.3: the list of saved reports `Relatos`, its selection check and deletion."""

from __future__ import annotations

from PySide6.QtCore import Qt

from varemo_contas.app import desktop
from varemo_contas.app.images import NENHUM
from varemo_contas.editor.tree import walk
from varemo_contas.reports.entries import path_entries

SELECT_FIRST = ("Primeiro selecione o relatório na lista", "Selecionar Relatório")


class ReportListMixin:
    """While `Relatos` is visible the record commands act on reports (Part 2.3)."""

    def _setup_report_list(self) -> None:
        self.RelatorioEscolhido = False
        # A report counts as chosen only when the user selects it, not when the list
        # merely takes the focus (Qt then makes a row current without selecting it).
        self.Relatos.itemSelectionChanged.connect(self._relatos_selection)
        self.BotaoFecharRelatos.clicked.connect(self.hide_report_list)
        self.BotaoVer.clicked.connect(self.BotaoVer_Click)

    def _relatos_selection(self) -> None:
        if self.Relatos.selectedItems():
            self.Relatos_Click()
        elif self.RelatorioEscolhido:
            # Deselected (Ctrl+click): nothing is chosen any more.
            self.RelatorioEscolhido = False
            self.CodigoRelatorio = 0
            self.clear_marks()

    def Relatos_Click(self) -> None:
        """A report chosen: keep its code and show its marks in the tree (Part 2.1)."""
        items = self.Relatos.selectedItems() or (
            [self.Relatos.currentItem()] if self.Relatos.currentItem() else []
        )
        if not items:
            return
        self.CodigoRelatorio = int(items[0].data(Qt.ItemDataRole.UserRole))
        self.NomeRelatorio = items[0].text()
        self.RelatorioEscolhido = True
        self.clear_marks()
        self.MostraMarcas(self.CodigoRelatorio)

    def clear_marks(self) -> None:
        root = self.Arvore.topLevelItem(0)
        if root is not None:
            for node in walk(root):
                node.set_image(NENHUM)

    def show_report_list(self) -> None:
        """ "ID_Relatorios": show the list; nothing counts as chosen yet."""
        self.fill_report_list()
        self.RelatorioEscolhido = False
        self.CodigoRelatorio = 0
        self.RelatosPainel.setVisible(True)
        self.Relatos.clearSelection()

    def hide_report_list(self) -> None:
        self.RelatosPainel.setVisible(False)
        self.RelatorioEscolhido = False
        self.clear_marks()

    def report_selected(self) -> bool:
        """Part 2.3 selection check, with its message when nothing is chosen."""
        if self.RelatorioEscolhido and self.CodigoRelatorio:
            return True
        desktop.msgbox(SELECT_FIRST[0], desktop.vbInformation, SELECT_FIRST[1])
        return False

    def ExcluirRelatorio(self) -> None:
        """Part 2.3 "Deleting a report": items first, then the report, in one transaction."""
        if not self.report_selected():
            return
        code = self.CodigoRelatorio
        answer = desktop.msgbox(
            "Deseja excluir definivamente o relatório " + self.NomeRelatorio + "?",
            # Overview: confirmations default to No.
            desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2,
            "Excluir relatório",
        )
        if answer != desktop.vbYes:
            return
        database = self.state.database
        with database.transaction():
            database.execute(
                "DELETE * FROM RelatorioItens WHERE CodigoRelatorio = " + str(code) + ";"
            )
            database.execute("DELETE * FROM Relatorios WHERE CodigoRelatorio = " + str(code) + ";")
        self.fill_report_list()
        self.RelatorioEscolhido = False
        self.CodigoRelatorio = 0
        self.clear_marks()

    def BotaoVer_Click(self) -> None:
        """Part 2.1 "Ver": the period (Part 4.2), then report number 2 of the tree's marks."""
        if not self.report_selected():
            return
        from varemo_contas.reports.dataperiodo import DataPeriodo
        from varemo_contas.reports.runreport import run_report

        period = DataPeriodo(self.state, self)
        self.child_windows.append(period)
        self.state.confirmed = False
        desktop.show_modal(period)
        if not self.state.confirmed:
            return
        self.materialize_marked()
        root = self.Arvore.topLevelItem(0)
        self.ListaEntradas = path_entries(root) if root is not None else []
        run_report(
            self.state,
            2,
            self,
            entries=self.ListaEntradas,
            name=self.NomeRelatorio,
            lines=self.Linhas,
        )

    def IncluirRelatorio(self) -> None:
        self.open_report_definition(1, 0, "")

    def AlterarRelatorio(self) -> None:
        if self.report_selected():
            self.open_report_definition(2, self.CodigoRelatorio, self.NomeRelatorio)

    def open_report_definition(self, mode: int, code: int, name: str) -> None:
        """Part 4.3's window, new (1) or for the chosen definition (2); the list follows."""
        from varemo_contas.reports.arvrelat import ArvRelat

        window = ArvRelat(self.state, mode, code, name, self)
        window.saved.connect(self.fill_report_list)
        self.child_windows.append(window)
        desktop.show_modal(window)
        self.fill_report_list()
        self.RelatorioEscolhido = False
        self.CodigoRelatorio = 0
        self.clear_marks()
