"""Part 2.7: product lines and products in the selectors under the two supplier groups."""

from __future__ import annotations

from varemo_contas.app import desktop

SUPPLIER_SECTOR = "Despesas Fornecedores"
RAW_MATERIAL_GROUP = "Fornecedores Insumos"
GOODS_GROUP = "Fornecedores Produtos"
NO_PRODUCTS = "Não existem Produtos ou Linha de produto errada!"
NO_PRODUCTS_TITLE = "Não existem produtos nesta linha"


def boolean_literal(flag: bool) -> str:
    """The database's own boolean literals (Part 2.7 leaves the text to us)."""
    return "True" if flag else "False"


def line_list_query(raw_material: bool) -> str:
    return (
        "SELECT Linhas.NomeLinha, Linhas.Insumo "
        + "FROM Linhas WHERE "
        + "Insumo = "
        + boolean_literal(raw_material)
        + " ORDER BY Linhas.NomeLinha;"
    )


def product_list_query(line_code: int) -> str:
    return (
        "SELECT * FROM Produtos WHERE "
        + "Produtos.CodigoLinha = "
        + str(line_code)
        + " ORDER BY Produtos.NomeProduto;"
    )


def line_criteria(line_name: str, raw_material: bool) -> str:
    return "NomeLinha = '" + line_name + "' AND Insumo = " + boolean_literal(raw_material)


def decide(sector: str, group: str) -> tuple[bool, bool | None]:
    """Part 2.7 "Decide the mode": (product-line mode, raw-material flag or None if unset).

    Names compare exactly as stored, case included.
    """
    if sector == SUPPLIER_SECTOR:
        if group == RAW_MATERIAL_GROUP:
            return True, True
        if group == GOODS_GROUP:
            return True, False
    return False, None


class ProductLinesMixin:
    """The main window's share of Part 2.7, read through the scratch source `Rascunho`."""

    def DecideModoLinhas(self) -> None:
        mode, raw = decide(self.Combo[1].text(), self.Combo[2].text())
        self.ModoLinhas = mode
        if raw is not None:
            self.Insumo = raw

    def _scratch_names(self, sql: str, field: str) -> list[str]:
        self.state.sql = sql
        recordset = self.Rascunho.open(self.state.database, sql)
        try:
            at = recordset.field_index(field)
            return [str(row[at]) for row in recordset.rows() if row[at] is not None]
        finally:
            self.Rascunho.close()

    def PreencheLinhas(self, raw_material: bool) -> None:
        """Fill `Combo(3)` with the lines of the kind, by name; null names skipped."""
        self.Combo[3].fill(self._scratch_names(line_list_query(raw_material), "NomeLinha"))

    def PreencheProdutos(self, raw_material: bool, quiet: bool = False) -> None:
        """Fill `Combo(4)` with the products of the line named in `Combo(3)`."""
        line = self.Combo[3].text()
        lines = self.Linhas
        if lines is None or not lines.find_first(line_criteria(line, raw_material)):
            if not quiet:
                # Part 2.7 leaves the reset value open: the line selector is emptied.
                self.Combo[3].set_text("")
                desktop.msgbox(NO_PRODUCTS, desktop.vbInformation, NO_PRODUCTS_TITLE)
            return
        code = int(lines["Produtos.CodigoLinha"])
        self.Combo[4].fill(self._scratch_names(product_list_query(code), "NomeProduto"))
