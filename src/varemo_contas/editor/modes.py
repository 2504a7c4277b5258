"""Part 2.4: entering and leaving insert and edit mode on both pages."""

from __future__ import annotations

from varemo_contas.app import desktop, errorlog
from varemo_contas.data.errors import JetError
from varemo_contas.editor import commands
from varemo_contas.editor.browse import RECORD_PANEL
from varemo_contas.editor.selectors import fill_query

MESSAGE_PANEL = 0


class ModesMixin:
    """The main window's share of Part 2.4."""

    def set_command_group(self, enabled: bool) -> None:
        """The command buttons that move the record are off while a record is open."""
        for button in (*self.Movimento, *self.MoveFiltro):
            button.setEnabled(enabled)
        self.Arvore.setEnabled(enabled)
        self.Pasta.tabBar().setEnabled(enabled)
        self.BotaoVer.setEnabled(enabled)
        if enabled:
            self._set_hit_buttons()

    def _bands(self, browsing: bool) -> None:
        self.Barra1.setVisible(browsing)
        self.Barra2.setVisible(not browsing)

    def _current_product(self) -> int:
        recordset = self.data_set()
        if recordset is None or recordset.bof or recordset.eof:
            return 0
        return int(recordset.value("CodigoProduto", 0) or 0)

    def Alterar(self) -> None:
        """Enter edit mode ("ID_Alterar"), unless refused."""
        page = self.PaginaAtiva
        if self.NivelAtual == 4 and page == 0 and self._current_product() != 0:
            # Items tied to a product are kept by the product register (Part 2.4).
            desktop.msgbox(
                "Não se pode alterar produto ou insumo", desktop.vbInformation, "Não pode alterar"
            )
            return
        if self.TotalRegistros[page] < 1:
            desktop.msgbox("Não tem nenhum registro", desktop.vbInformation, "Alterar")
            return
        self.PosicaoSalva[page] = self.data_set().bookmark
        self.Status.set_panel(MESSAGE_PANEL, "Alterando Registro")
        self.Detalhes.setText("Alterando o registro: digite o novo nome e grave (Esc cancela)")
        self.set_command_group(False)
        self._bands(False)
        self.MenuBotao(commands.MODE_EDIT)
        if page == 1:
            self.PreencheTexto(self.NivelAtual)
        else:
            self.TextoSalvo = [combo.text() for combo in self.Combo]
            self.fill_all_selectors()
        self.EmInclusao = False
        self.EmAlteracao = True
        self.set_field_access()
        target = self.Texto[self.NivelAtual] if page == 1 else self.Combo[self.NivelAtual]
        target.setFocus()

    def Incluir(self) -> None:
        """Enter insert mode ("ID_Incluir"); never refused."""
        page = self.PaginaAtiva
        try:
            total = self.TotalRegistros[page]
            recordset = self.data_set()
            has_row = recordset is not None and not (recordset.bof or recordset.eof)
            self.PosicaoSalva[page] = recordset.bookmark if total >= 1 and has_row else None
            if page == 1:
                self.PreencheTexto(self.NivelAtual)
            else:
                self.TextoSalvo = [""] * 5
                self.fill_all_selectors()
            self.Status.set_panel(RECORD_PANEL, "Registro " + f"{total + 1}/{total + 1}")
            self.Status.set_panel(MESSAGE_PANEL, "Inserindo novo registro")
            self.Detalhes.setText(
                "Novo registro: escolha ou digite o caminho e grave (Esc cancela)"
            )
            self.set_command_group(False)
            self._bands(False)
            self.MenuBotao(commands.MODE_INSERT)
            self.EmInclusao = True
            self.EmAlteracao = False
            self.set_field_access()
            if page == 1:
                self.Texto[self.NivelAtual].set_text("")
                self.Texto[self.NivelAtual].setFocus()
            else:
                # Only the current level is emptied: the selectors above name the parent chain.
                self.Combo[self.NivelAtual].set_text("")
                self.Combo[0].setFocus()
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_INSERINDO, exc)

    def SaiModo(self) -> None:
        """Leave mode after a save or on cancel (Part 2.4 "Leave mode")."""
        self.EmInclusao = False
        self.EmAlteracao = False
        self._bands(True)
        self.MenuBotao(commands.MODE_VIEW)
        self.set_command_group(True)
        self.set_field_access()
        page = self.PaginaAtiva
        if self.Gravou:
            self.refresh_after_save()
        else:
            self._return_to_saved_position(page)
        self.Status.set_panel(MESSAGE_PANEL, "")
        self.TotalDeRegistros()
        (self.Texto[0] if page == 1 else self.Combo[0]).setFocus()

    def _return_to_saved_position(self, page: int) -> None:
        recordset = self.data_set()
        mark = self.PosicaoSalva[page]
        if recordset is None or mark is None:
            return
        try:
            recordset.bookmark = mark
        except JetError:
            return
        self._sync_position()

    def set_field_access(self) -> None:
        """Part 2.3/2.4: which fields may be typed into, per page and mode."""
        editing = self.EmInclusao or self.EmAlteracao
        for combo in self.Combo:
            combo.lineEdit().setReadOnly(not editing)
        for level, field in enumerate(self.Texto):
            field.lineEdit().setReadOnly(not (editing and level == self.NivelAtual))

    def PreencheTexto(self, level: int) -> None:
        """Part 2.4: refill the level page's list of `Texto(level)` (levels 1 to 3 only)."""
        if level not in (1, 2, 3):
            return
        parent = self.Texto[level - 1].text().strip()
        table = self.Nivel[level - 1].recordset
        if not table.find_first("Nome = '" + parent + "'"):
            return
        sql = fill_query(level, int(table["Codigo"]))
        desktop.process_events()
        self.Texto[level].fill(self._names_of(sql))
