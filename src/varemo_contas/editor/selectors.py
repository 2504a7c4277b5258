"""Part 2.1: filling the level selectors `Combo` and their cascade; Part 2.7's switch."""

from __future__ import annotations

from varemo_contas.app import desktop, errorlog
from varemo_contas.data.errors import JetError

UNKNOWN_PARENT = {
    1: "Categoria não encontrada",
    2: "Depto. não encontrado",
    3: "Grupo não encontrado",
    4: "Conta não encontrada",
}
CODE_NOT_FOUND = "CodigoProcurado não encontrado"
SELECTOR_ROUTINE = "Preenchendo Seletor"


def fill_query(level: int, parent_code: int) -> str:
    """Part 2.1 step 3 of filling selector k ("... ORDER BY Nome", no semicolon)."""
    if level == 0:
        return "SELECT * FROM NivelCategoria0" + " ORDER BY Nome"
    return (
        f"SELECT * FROM NivelCategoria{level} WHERE CodigoCategoria{level - 1} = "
        + str(parent_code)
        + " ORDER BY Nome"
    )


def cascade_query(index: int, parent_code: int) -> str:
    """Part 2.1 cascade step 4: the level below a choice ("... ORDER BY Nome;")."""
    return (
        f"SELECT * FROM NivelCategoria{index + 1} WHERE "
        + f"CodigoCategoria{index} = "
        + str(parent_code)
        + " ORDER BY Nome;"
    )


class SelectorsMixin:
    """The main window's share of Part 2.1 for the selectors."""

    def _setup_selectors(self) -> None:
        self.ModoLinhas = False  # Part 2.7 product-line mode
        self.Insumo = False  # Part 2.7 raw-material flag
        for index, combo in enumerate(self.Combo):
            combo.activated.connect(lambda _row, i=index: self.Combo_Click(i))

    def _names_of(self, sql: str) -> list[str]:
        self.state.sql = sql
        recordset = self.state.database.open_recordset(sql)
        try:
            return [str(row[recordset.field_index("Nome")] or "") for row in recordset.rows()]
        finally:
            recordset.close()

    def PreencherCombo(self, level: int) -> None:
        """Part 2.1: refill `Combo(level)` with the rows under the parent named above it."""
        try:
            if level >= 1:
                parent = self.Combo[level - 1].text().strip()
                if parent:
                    table = self.Nivel[level - 1].recordset
                    if not table.find_first("Nome = '" + parent + "'"):
                        desktop.msgbox(UNKNOWN_PARENT[level], desktop.vbInformation)
                        return
                    self.CodigoProcurado = int(table["Codigo"])
            sql = fill_query(level, self.CodigoProcurado)
            desktop.process_events()
            self.Combo[level].fill(self._names_of(sql))
        except JetError as exc:
            errorlog.log_exception(self.state, SELECTOR_ROUTINE, exc)

    def Combo_Click(self, index: int) -> None:
        """Part 2.1 cascade: only while inserting or altering; Combo(4) has nothing below."""
        if not (self.EmInclusao or self.EmAlteracao) or index >= 4:
            return
        try:
            for lower in range(index + 1, 5):
                self.Combo[lower].clear_all()
            if index == 2:
                self.DecideModoLinhas()
                if self.ModoLinhas:
                    self.PreencheLinhas(self.Insumo)
                    return
            if index == 3 and self.ModoLinhas:
                self.PreencheProdutos(self.Insumo)
                return
            chosen = self.Combo[index].text()
            table = self.Nivel[index].recordset
            if table.find_first("Nome = '" + chosen + "'"):
                self.CodigoProcurado = int(table["Codigo"])
            else:
                desktop.msgbox(CODE_NOT_FOUND)
            self.Combo[index + 1].fill(self._names_of(cascade_query(index, self.CodigoProcurado)))
        except JetError as exc:
            errorlog.log_exception(self.state, SELECTOR_ROUTINE, exc)

    def fill_all_selectors(self) -> None:
        """Refill the lists of levels 1 to 4 in order (Part 2.4 on page 0)."""
        for level in range(1, 5):
            self.PreencherCombo(level)
        if self.Combo[1].text() and self.Combo[2].text():
            self.DecideModoLinhas()
            if self.ModoLinhas:
                self.PreencheLinhas(self.Insumo)
                if self.Combo[3].text():
                    self.PreencheProdutos(self.Insumo, quiet=True)
