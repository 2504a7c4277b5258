"""Part 2.5: the blank check, saving on both pages with the duplicate rules, the refresh."""

from __future__ import annotations

from dataclasses import dataclass

from varemo_contas.app import desktop, errorlog
from varemo_contas.data.dao import Recordset
from varemo_contas.data.errors import JetError
from varemo_contas.data.queries import code_criteria, name_criteria
from varemo_contas.editor import names

BLANK_PROMPT = "Não pode ter campo em branco"
BLANK_TITLE = "Existe campo em branco"
DUPLICATE_RECORD = ("Este registro já existe no plano de contas.", "Registro já existente")
DUPLICATE_ITEM = ("Este item já existe.", "Item existente")
SAVE_ROUTINE = "Gravando Registro"


@dataclass
class TreeChange:
    """What a committed save or delete changes in the tree."""

    kind: str  # "add", "edit" or "delete"
    level: int
    code: int
    name: str = ""
    parent_code: int | None = None


class SaveMixin:
    """The main window's share of Part 2.5."""

    def CampoEmBranco(self) -> bool:
        """The blank-field check: False only at level 4 with a selector blank or spaces."""
        if self.NivelAtual != 4:
            return True
        return all(combo.text().strip() for combo in self.Combo)

    def Gravar(self) -> None:
        """ "ID_Gravar": the blank check, then the save."""
        if not (self.EmInclusao or self.EmAlteracao):
            return
        if not self.CampoEmBranco():
            desktop.msgbox(BLANK_PROMPT, desktop.vbInformation, BLANK_TITLE)
            return
        problem = self.NomeInvalido()
        if problem is not None:
            # Bad input (issue 6): refused before any SQL; the mode stays open as for a blank.
            desktop.msgbox(problem[0], desktop.vbInformation, problem[1])
            return
        self.Salvar(0)

    def NomeInvalido(self) -> tuple[str, str] | None:
        """The refusal (prompt, title) for the names this save would use, or None."""
        if self.PaginaAtiva == 1:
            level = self.NivelAtual
            typed = [self._typed(k) for k in range(level)] + [self._typed(level, page=1)]
            if not typed[-1]:
                # A nameless record would be written on the level page: the spec's blank refusal.
                return BLANK_PROMPT, BLANK_TITLE
        else:
            typed = [self._typed(k) for k in range(5)]
        for name in typed:
            prompt = names.name_problem(name)
            if prompt is not None:
                return prompt, names.INVALID_TITLE
        return None

    def Cancelar(self) -> None:
        if self.EmInclusao or self.EmAlteracao:
            self.Salvar(1)

    def Salvar(self, cancelar: int) -> None:
        """Save (0) or cancel (1). The whole save is one transaction (DESIGN.md)."""
        if cancelar:
            self.Gravou = False
            self.SaiModo()
            return
        changes: list[TreeChange] = []
        self.Gravou = False
        try:
            with self.state.database.transaction():
                if self.PaginaAtiva == 1:
                    notice = self._save_level_page(changes)
                else:
                    notice = self._save_hierarchy_page(changes)
        except JetError as exc:
            # Nothing was written; the mode stays open so the user can correct or cancel.
            self.Gravou = False
            errorlog.log_exception(self.state, SAVE_ROUTINE, exc)
            return
        except names.UnsearchableNameError:
            # Rolled back: a quote-balanced name would have hit another row (issue 6).
            self.Gravou = False
            desktop.msgbox(names.UNSEARCHABLE_PROMPT, desktop.vbInformation, names.INVALID_TITLE)
            return
        self.apply_tree_changes(changes)
        if notice is not None:
            desktop.msgbox(notice[0], desktop.vbInformation, notice[1])
        self.SaiModo()

    # --- the parent chain --------------------------------------------------------------------
    def _find_code(self, table: Recordset, criteria: str) -> tuple[bool, int]:
        """A find-first and the code of the row it stands on (found or not, Part 2.5)."""
        found = table.find_first(criteria)
        if table.bof or table.eof:
            return found, 0
        try:
            return found, int(table["Codigo"])
        except JetError:
            return found, 0  # the row it stood on was deleted: there is no code to take

    def _find_named(
        self, table: Recordset, level: int, name: str, parent: int | None, written: bool = False
    ) -> tuple[bool, int]:
        """Find a row by the spec's name criteria; refuse when apostrophes changed them.

        A name such as "' OR '1'='1" keeps the criteria valid but makes them select another
        row (or, after the row was written, none): the save must not go on with that code.
        """
        found, code = self._find_code(table, name_criteria(level, name, parent))
        if "'" not in name:
            return found, code
        if not found:
            if written:
                raise names.UnsearchableNameError(name)
            return found, code
        parent_field = f"CodigoCategoria{level - 1}" if level and parent is not None else None
        if not names.same_name(table["Nome"], name) or (
            parent_field is not None and table[parent_field] != parent
        ):
            raise names.UnsearchableNameError(name)
        return found, code

    def _category_code(self) -> int:
        # Part 2.5: a category is never created; an unknown name leaves the level-0 row as is.
        _found, code = self._find_named(self.Nivel[0].recordset, 0, self._typed(0), None)
        return code

    def _typed(self, level: int, page: int = 0) -> str:
        return (self.Combo if page == 0 else self.Texto)[level].text().strip()

    # --- level page --------------------------------------------------------------------------
    def _save_level_page(self, changes: list[TreeChange]) -> tuple[str, str] | None:
        level = self.NivelAtual
        editing = self.EmAlteracao
        code = 0
        if editing:
            code = int(self.data_set()[f"NivelCategoria{level}.Codigo"])
        parent = self._category_code()
        for k in range(1, level):
            _found, parent = self._find_named(self.Nivel[k].recordset, k, self._typed(k), parent)
        name = self._typed(level, page=1)
        table = self.Nivel[level].recordset
        if not editing:
            found, existing = self._find_named(table, level, name, parent)
            if found:
                self.CodigoGravado = existing
                self.Gravou = True
                return DUPLICATE_RECORD
            table.add_new()
        else:
            table.find_first(code_criteria(code))
            table.edit()
        table["Nome"] = name
        if level in (1, 2, 3):
            table[f"CodigoCategoria{level - 1}"] = parent
        table.update()
        _found, self.CodigoGravado = self._find_named(table, level, name, parent, written=True)
        self.Gravou = True
        # The tree follows the written row, not the one the read-back finds (a sibling may
        # share the new name: Part 2.5 does not refuse a rename to a sibling's name).
        changes.append(
            TreeChange(
                "edit" if editing else "add", level, code or self.CodigoGravado, name, parent
            )
        )
        return None

    # --- hierarchy page ----------------------------------------------------------------------
    def _save_hierarchy_page(self, changes: list[TreeChange]) -> tuple[str, str] | None:
        editing = self.EmAlteracao
        item_code = int(self.data_set()["NivelCategoria4.Codigo"]) if editing else 0
        parent = self._category_code()
        for k in (1, 2, 3):
            table = self.Nivel[k].recordset
            name = self._typed(k)
            found, code = self._find_named(table, k, name, parent)
            if not found:
                # Missing sectors, groups and accounts are created silently (Part 2.5).
                table.add_new()
                table["Nome"] = name
                table[f"CodigoCategoria{k - 1}"] = parent
                table.update()
                found, code = self._find_named(table, k, name, parent, written=True)
                changes.append(TreeChange("add", k, code, name, parent))
            parent = code
        items = self.Nivel[4].recordset
        name = self._typed(4)
        if not editing:
            found, existing = self._find_named(items, 4, name, parent)
            if found:
                self.CodigoGravado = existing
                self.Gravou = True
                return DUPLICATE_ITEM
            items.add_new()
        else:
            items.find_first(code_criteria(item_code))
            items.edit()
        items["Nome"] = name
        items["CodigoCategoria3"] = parent
        items["CodigoProduto"] = 0  # the editor never ties an item to a product
        items.update()
        _found, self.CodigoGravado = self._find_named(items, 4, name, parent, written=True)
        self.Gravou = True
        changes.append(
            TreeChange(
                "edit" if editing else "add", 4, item_code or self.CodigoGravado, name, parent
            )
        )
        return None

    # --- refresh -----------------------------------------------------------------------------
    def refresh_after_save(self) -> None:
        """Part 2.5: re-read the page's joined query and make the saved record current."""
        level = self.NivelAtual if self.PaginaAtiva == 1 else 4
        self.open_level(level)
        if self.CodigoGravado:
            self.relocate(level, self.CodigoGravado)
