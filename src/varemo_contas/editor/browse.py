"""Part 2.2: record browsing, the counter, the moves over search hits and their report."""

from __future__ import annotations

from varemo_contas.app import desktop, errorlog
from varemo_contas.data import queries
from varemo_contas.data.dao import Recordset
from varemo_contas.data.errors import JetError

HITS_CRITERION = "Marca = True"
PAGE_OF_LEVEL = {1: 1, 2: 1, 3: 1, 4: 0}
LEVEL_PAGE_CAPTIONS = {
    1: "Plano de Contas - Setor",
    2: "Plano de Contas - Grupo",
    3: "Plano de Contas - Conta",
}
RECORD_PANEL = 2  # Part 2.2: the counter goes to the third panel of `Status`


def counter_text(bof: bool, eof: bool, total: int, position: int) -> str:
    """Part 2.2 steps 1-3 of `TotalDeRegistros`."""
    if bof:
        return "0/0" if total < 1 else "1/" + str(total)
    if eof:
        return f"{total}/{total}"
    return f"{position}/{total}"


def hits_text(hits: int, counter: str) -> str:
    """Part 2.2 step 4 while the hit buttons are in use: " Registro " only for one hit."""
    return str(hits).strip() + (" Registro " if hits == 1 else " Registros ") + counter


def found_message(hits: int) -> tuple[str, str]:
    """Part 2.2: the found-records report's prompt and title for N hits."""
    if hits == 1:
        return (
            "Foi encontrado apenas um registro, " + "\r" + "com as regras de filtro estabelecidas.",
            "Registro encontrado",
        )
    if hits >= 2:
        return (
            "Foram encontrados "
            + str(hits).strip()
            + " registros,  "
            + "\r"
            + "com as regras de filtro estabelecidas.",
            "Registros encontrados",
        )
    return (
        "Não foi encontrado nenhum registro, " + "\r" + "com as regras de filtro estabelecidas.",
        "Nenhum registro encontrado",
    )


class BrowseMixin:
    """The main window's share of Part 2.2."""

    def _setup_browse(self) -> None:
        self.Posicao = [0, 0]
        self.Encontrados = 0  # hits of the last search
        self.HitAtual = 0
        self.FiltroAtivo = False  # the hit buttons are in use
        self.CriterioMove = ""
        for index, button in enumerate(self.Movimento):
            button.clicked.connect(lambda _c=False, i=index: self._movimento_clicked(i))
        for index, button in enumerate(self.MoveFiltro):
            button.clicked.connect(lambda _c=False, i=index: self._move_filtro_clicked(i))
            button.installEventFilter(self)

    # --- the data set of the current page ------------------------------------------------
    def data_set(self) -> Recordset | None:
        """`Dados(PaginaAtiva)`; indexes of 2 or more are ignored (Part 2.2)."""
        if self.PaginaAtiva not in (0, 1):
            return None
        return self.Dados[self.PaginaAtiva].recordset

    def open_level(self, level: int) -> Recordset:
        """Give the page of `level` its joined query and read it (Parts 2.2, 2.4, 2.5)."""
        page = PAGE_OF_LEVEL[level]
        recordset = self.Dados[page].open(self.state.database, queries.joined_level(level))
        self.state.sql = self.Dados[page].record_source
        self.TotalRegistros[page] = recordset.record_count
        self.Posicao[page] = 1 if recordset.record_count else 0
        return recordset

    def _sync_position(self) -> None:
        recordset = self.data_set()
        if recordset is None:
            return
        self.TotalRegistros[self.PaginaAtiva] = recordset.record_count
        position = recordset.absolute_position
        if position >= 0:
            self.Posicao[self.PaginaAtiva] = position + 1

    def relocate(self, level: int, code: int) -> bool:
        """Make the row whose code at `level` is `code` current (Part 2.5 relocation)."""
        recordset = self.data_set()
        if recordset is None or not code:
            return False
        found = recordset.find_first(queries.RELOCATION_PREFIX[level] + str(code))
        self._sync_position()
        return found

    # --- Movimento -------------------------------------------------------------------------
    def _movimento_clicked(self, index: int) -> None:
        desktop.play_sound(7)
        self.Movimento_Click(index)

    def Movimento_Click(self, index: int) -> None:
        """Part 2.2: the six record moves, then the counter."""
        try:
            self._move(index)
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_MOVIMENTO, exc)
        self.TotalDeRegistros()

    def _move(self, index: int) -> None:
        recordset = self.data_set()
        if recordset is None or recordset.record_count < 1:
            return
        page = self.PaginaAtiva
        total = recordset.record_count
        position = self.Posicao[page]
        if index == 0:
            recordset.move_first()
        elif index == 1 and position > 1:
            recordset.move_previous()
            if recordset.bof:
                recordset.move_first()
        elif index in (2, 3) and total > 1:
            self._move_group(recordset, index)
        elif index == 4 and position != total:
            recordset.move_next()
            if recordset.eof:
                recordset.move_last()
        elif index == 5:
            recordset.move_last()
        self._sync_position()

    def _move_group(self, recordset: Recordset, index: int) -> None:
        group_field = f"NivelCategoria{self.NivelAtual - 1}.Nome"
        if recordset.bof or recordset.eof:
            recordset.move_first()
        old_group = recordset[group_field]
        # Part 2.2: the criterion is built from literal pieces, the name unescaped.
        self.CriterioMove = group_field + " <> '" + str(old_group or "") + "'"
        if index == 2:
            # A previous group found nothing before this row: the first row ends the move.
            if not recordset.find_previous(self.CriterioMove):
                recordset.move_first()
        elif not recordset.find_next(self.CriterioMove):
            recordset.move_last()
        if recordset[group_field] == old_group:
            recordset.move_first() if index == 2 else recordset.move_last()

    # --- the counter -----------------------------------------------------------------------
    def TotalDeRegistros(self) -> None:
        """Part 2.2: rebuild the counter and the hits text; skipped during a mode."""
        if self.EmInclusao or self.EmAlteracao:
            return
        try:
            recordset = self.data_set()
            if recordset is None:
                return
            page = self.PaginaAtiva
            total = recordset.record_count
            self.TotalRegistros[page] = total
            text = counter_text(recordset.bof, recordset.eof, total, self.Posicao[page])
            if text:
                if self.FiltroAtivo and page == 0:
                    self.Status.set_panel(RECORD_PANEL, hits_text(self.Encontrados, text))
                else:
                    self.Status.set_panel(RECORD_PANEL, "Registro " + text)
            self._set_hit_buttons()
            self.PreencheCampos()
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_TOTAL_REGISTROS, exc)

    def _set_hit_buttons(self) -> None:
        # Part 2.2 leaves it open: at the first hit nothing goes back, at the last nothing on.
        active = self.FiltroAtivo and self.PaginaAtiva == 0 and self.Encontrados > 0
        back = active and self.HitAtual > 1
        forward = active and self.HitAtual < self.Encontrados
        for button, enabled in zip(
            self.MoveFiltro, (back, back, active, forward, forward), strict=True
        ):
            button.setEnabled(enabled)

    def PreencheCampos(self) -> None:
        """Part 2.2 field fill: the current row's names into the page's fields."""
        page = self.PaginaAtiva
        recordset = self.data_set()
        if recordset is None or self.TotalRegistros[page] < 1:
            return
        if recordset.bof or recordset.eof:
            return
        self._show_details(recordset)
        self.follow_in_tree(recordset)
        if page == 1:
            for level in range(4):
                name = self._name_at(recordset, level)
                self.Texto[level].set_text(name)
                if level < self.NivelAtual:
                    # The level page's save reads the parent chain from the selectors.
                    self.Combo[level].set_text(name)
        else:
            for level in range(5):
                self.Combo[level].set_text(self._name_at(recordset, level))

    def _show_details(self, recordset: Recordset) -> None:
        level = self.NivelAtual
        code = recordset[f"NivelCategoria{level}.Codigo"]
        parts = [f"{queries.LEVEL_NAMES[level]} código {code}"]
        if level == 4:
            product = int(recordset.value("NivelCategoria4.CodigoProduto", 0) or 0)
            if product:
                parts.append(
                    f"vinculado ao produto {product} (alterado só no cadastro de produtos)"
                )
        elif level in (1, 2) and recordset[f"NivelCategoria{level}.Travado"]:
            parts.append("travado: não pode ser excluído")
        self.Detalhes.setText(" · ".join(parts))

    def follow_in_tree(self, recordset: Recordset) -> None:
        """The tree shows the current row selected, its branch opened."""
        level = self.NivelAtual
        code = recordset[f"NivelCategoria{level}.Codigo"]
        node = self.node(f"{code}N{level}") if code is not None else None
        if node is not None and self.Arvore.currentItem() is not node:
            self.Arvore.setCurrentItem(node)
            self.Arvore.scrollToItem(node)

    @staticmethod
    def _name_at(recordset: Recordset, level: int) -> str:
        try:
            value = recordset[f"NivelCategoria{level}.Nome"]
        except JetError:
            return ""  # the level page of a Setor has no Grupo or Conta columns
        return "" if value is None else str(value)

    # --- MoveFiltro -------------------------------------------------------------------------
    def _move_filtro_clicked(self, index: int) -> None:
        desktop.play_sound(7)
        self.MoveFiltro_Click(index)

    def MoveFiltro_Click(self, index: int) -> None:
        """Part 2.2: moves over the rows marked by the search ("Marca = True")."""
        try:
            recordset = self.data_set()
            if recordset is None or recordset.record_count < 1:
                return
            if index == 0:
                recordset.find_first(HITS_CRITERION)
                self.HitAtual = 1
            elif index == 1:
                if recordset.bof or not recordset.find_previous(HITS_CRITERION):
                    recordset.find_first(HITS_CRITERION)
                self.HitAtual = max(1, self.HitAtual - 1)
            elif index == 2:
                self.Pasta.setCurrentIndex(self.PaginaAtiva)
            elif index == 3:
                if recordset.eof or not recordset.find_next(HITS_CRITERION):
                    recordset.find_last(HITS_CRITERION)
                self.HitAtual = min(self.Encontrados, self.HitAtual + 1)
            elif index == 4:
                recordset.find_last(HITS_CRITERION)
                self.HitAtual = self.Encontrados
            self._sync_position()
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_MOVE_FILTRO, exc)
        self.TotalDeRegistros()

    # --- after a search ---------------------------------------------------------------------
    def RelatorioEncontrados(self, hits: int) -> None:
        """Part 2.2: the found-records report, then the move to the first hit."""
        prompt, title = found_message(hits)
        desktop.msgbox(prompt, desktop.vbInformation, title)
        self.Encontrados = max(hits, 0)
        if hits < 1:
            self.FiltroAtivo = False
            self.HitAtual = 0
            self.TotalDeRegistros()
            return
        # The marks live in the database: the item page is read again to see them.
        self.show_level(4, keep_row=False)
        recordset = self.data_set()
        recordset.find_first(HITS_CRITERION)
        self.FiltroAtivo = True
        self.HitAtual = 1
        self._sync_position()
        self.TotalDeRegistros()
