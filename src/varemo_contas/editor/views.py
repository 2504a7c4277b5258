"""Part 2.3: the view commands switching the browsed level, and the two pages."""

from __future__ import annotations

from varemo_contas.editor.browse import LEVEL_PAGE_CAPTIONS, PAGE_OF_LEVEL

VIEW_KEYS = {"ID_Setor": 1, "ID_Grupo": 2, "ID_Conta": 3, "ID_Item": 4}
ACTIVE_STYLE = "QComboBox { background: #fffbe6; color: #1b1b1b; font-weight: bold; }"
INACTIVE_STYLE = "QComboBox { background: #eef0f2; color: #5b6570; }"


class ViewsMixin:
    """Switching `NivelAtual` and the page, keeping the current row where it exists."""

    def _setup_views(self) -> None:
        self.Pasta.tabBarClicked.connect(self._tab_clicked)

    def _tab_clicked(self, index: int) -> None:
        # A click on a tab is the view command of that page (items, or the last level page).
        if self.EmInclusao or self.EmAlteracao or index == self.PaginaAtiva:
            return
        level = 4 if index == 0 else getattr(self, "NivelPaginaNiveis", 3)
        self.tool_click({1: "ID_Setor", 2: "ID_Grupo", 3: "ID_Conta", 4: "ID_Item"}[level])

    def current_codes(self) -> dict[int, int]:
        """The current row's "NivelCategoria1.Codigo" .. "NivelCategoria4.Codigo" (Part 2.3)."""
        recordset = self.data_set()
        codes: dict[int, int] = {}
        if recordset is None or recordset.bof or recordset.eof:
            return codes
        for level in range(1, self.NivelAtual + 1):
            value = recordset[f"NivelCategoria{level}.Codigo"]
            if value is not None:
                codes[level] = int(value)
        return codes

    def show_level(self, level: int, keep_row: bool = True) -> None:
        """View level 1..4: open its joined data set and find the former row again."""
        former_level = self.NivelAtual
        codes = self.current_codes() if keep_row else {}
        self.NivelAtual = level
        page = PAGE_OF_LEVEL[level]
        self.PaginaAtiva = page
        self.Pasta.blockSignals(True)
        self.Pasta.setCurrentIndex(page)
        self.Pasta.blockSignals(False)
        if page == 1:
            self.NivelPaginaNiveis = level
            self.NovoRotulo.setText(LEVEL_PAGE_CAPTIONS[level])
            self.colour_level_fields(level)
        self.open_level(level)
        target = min(level, former_level)
        if target in codes:
            # Going up finds the ancestor; going down, the first row under the former one.
            self.relocate(target, codes[target])
        self.TotalDeRegistros()

    def colour_level_fields(self, level: int) -> None:
        """Part 2.4: the current level's field active, the others inactive; deeper ones hidden."""
        for index, field in enumerate(self.Texto):
            visible = index <= level
            field.setVisible(visible)
            self.TextoRotulo[index].setVisible(visible)
            field.setStyleSheet(ACTIVE_STYLE if index == level else INACTIVE_STYLE)
            if not visible:
                field.set_text("")

    def view_handlers(self) -> dict[str, object]:
        return {key: (lambda lv=level: self.show_level(lv)) for key, level in VIEW_KEYS.items()}
