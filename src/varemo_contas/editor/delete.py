"""Part 2.6: the delete rules, the confirmation per level and the neighbour afterwards."""

from __future__ import annotations

from varemo_contas.app import desktop, errorlog
from varemo_contas.data.errors import JetError
from varemo_contas.data.queries import RELOCATION_PREFIX, code_criteria
from varemo_contas.editor.save import TreeChange

CONFIRM = {
    1: "Deseja excluir este Setor?",
    2: "Deseja excluir este Grupo?",
    3: "Deseja excluir esta Conta?",
    4: "Deseja excluir este Item?",
}
LOCKS = {
    1: ("Não se pode excluir o setor: ", "Setor não pode ser excluído"),
    2: ("Não se pode excluir o grupo: ", "Grupo não pode ser excluído"),
}
REFUSALS = {
    1: (
        "Este setor não pode ser excluido!" + "\r" + "Existem grupos neste setor.",
        "Não pode excluir Setor",
    ),
    2: (
        "Este grupo não pode ser excluido!" + "\r" + "Existem contas neste grupo.",
        "Não pode excluir Grupo",
    ),
    3: (
        "Esta conta não pode ser excluida!" + "\r" + "Existem itens nesta conta.",
        "Não pode excluir Conta",
    ),
    4: (
        "Este item não pode ser excluido!" + "\r" + "Existem lançamentos com este item.",
        "Não pode excluir Item",
    ),
}
NOT_FOUND = "Não encontrei registro"


def movement_query(is_sale: bool, item_code: int) -> str:
    """Part 2.6 level 4: only the table of the item's own side is searched."""
    table = (
        "SELECT CodigoProduto FROM VendaProdutos "
        if is_sale
        else ("SELECT CodigoProduto FROM CompraProdutos ")
    )
    return table + "WHERE CodigoProduto = " + str(item_code)


class DeleteMixin:
    """The main window's share of Part 2.6."""

    def Excluir(self) -> None:
        """ "ID_Excluir" on a chart record; refusals leave data and the current row as they were."""
        try:
            self._delete()
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_EXCLUINDO, exc)

    def _delete(self) -> None:
        page = self.PaginaAtiva
        level = self.NivelAtual
        recordset = self.data_set()
        if level == 4 and page == 0 and self._current_product() != 0:
            desktop.msgbox(
                "Não se pode excluir produto ou insumo", desktop.vbInformation, "Não pode excluir"
            )
            return
        if self.TotalRegistros[page] < 1 or recordset is None:
            desktop.msgbox("Não tem nenhum registro", desktop.vbInformation, "Excluir")
            return
        answer = desktop.msgbox(
            CONFIRM.get(level, ""),
            desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2,
            "Exclusão",
        )
        if answer != desktop.vbYes or level == 0:
            return  # categories are fixed: nothing is checked or deleted
        if level in LOCKS and recordset[f"NivelCategoria{level}.Travado"]:
            prompt, title = LOCKS[level]
            name = recordset.value(f"NivelCategoria{level}.Nome", "")
            desktop.msgbox(prompt + str(name), desktop.vbInformation, title)
            return
        code_field = f"NivelCategoria{level}.Codigo"
        code = int(recordset[code_field])
        keep = self._neighbour(code_field, code)
        recordset.find_first(RELOCATION_PREFIX[level] + str(code))
        is_sale = recordset["NivelCategoria0.Codigo"] == 1
        with self.state.database.transaction():
            refusal = self._dependents(level, code, is_sale)
            if refusal is not None:
                deleted = False
            else:
                table = self.Nivel[level].recordset
                deleted = table.find_first(code_criteria(code))
                if deleted:
                    table.delete()
                    if table.record_count:
                        table.move_first()  # the level source never stands on a deleted row
        if refusal is not None:
            desktop.msgbox(refusal[0], desktop.vbInformation, refusal[1])
            return
        if not deleted:
            desktop.msgbox(NOT_FOUND, desktop.vbOKOnly)
            return
        self.apply_tree_changes([TreeChange("delete", level, code)])
        self.open_level(level)
        if keep is not None:
            self.relocate(level, keep)
        self.TotalDeRegistros()

    def _neighbour(self, code_field: str, code: int) -> int | None:
        """Part 2.6 step 5: the next record, else the last, else the previous one."""
        recordset = self.data_set()
        recordset.move_next()
        if recordset.eof:
            recordset.move_last()
        if int(recordset[code_field]) == code:
            recordset.move_previous()
            if recordset.bof:
                recordset.move_first()
        kept = int(recordset[code_field])
        return None if kept == code else kept

    def _dependents(self, level: int, code: int, is_sale: bool) -> tuple[str, str] | None:
        """Part 2.6 step 7: the refusal when something depends on the record, else None."""
        if level in (1, 2, 3):
            children = self.Nivel[level + 1].recordset
            if children.find_first(f"CodigoCategoria{level} = " + str(code)):
                return REFUSALS[level]
            return None
        lines = self.state.database.open_recordset(movement_query(is_sale, code))
        try:
            return REFUSALS[4] if lines.record_count > 0 else None
        finally:
            lines.close()
