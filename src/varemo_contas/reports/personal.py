"""Part 4.4: the feed of the personalised income and expense report (no widgets).

The path entries (Part 2.1 "Ver") are parsed in order; each item entry marked "S" at
level 4 becomes one detail row with its period totals (Part 4.1), income for the
Categoria "Receitas", expenses for "Despesas", nothing for any other. The totals of all
items are computed in bulk first; they equal Part 4.1's per-item definition.
"""

from __future__ import annotations

from collections.abc import Callable, Sequence
from dataclasses import dataclass, field

from varemo_contas.reports.entries import parse_entry
from varemo_contas.reports.totals import (
    CATEGORIA_DESPESAS,
    CATEGORIA_RECEITAS,
    ItemPath,
)

FIELDS = ("Categoria", "Setor", "Grupo", "Conta", "Item", "Qde", "Preco")
Totals = Callable[[list[ItemPath]], dict[ItemPath, tuple[float, float]]]


@dataclass
class DetailRow:
    """One fed row: the seven report fields and what the detail shows."""

    Categoria: str
    Setor: str
    Grupo: str
    Conta: str
    Item: str
    Qde: float
    Preco: float

    @property
    def path(self) -> ItemPath:
        return ItemPath(self.Categoria, self.Setor, self.Grupo, self.Conta, self.Item)

    @property
    def show_quantity(self) -> bool:
        # Part 4.4 step 5: a zero total hides its control.
        return self.Qde != 0

    @property
    def show_money(self) -> bool:
        return self.Preco != 0


@dataclass
class PersonalFeed:
    """Part 4.4's feed state: names, totals, previous names and the position in the list."""

    entries: Sequence[str]
    totals: dict[ItemPath, tuple[float, float]] = field(default_factory=dict)
    income_total: float = 0.0
    expense_total: float = 0.0
    names: list[str] = field(default_factory=lambda: [""] * 5)
    previous: list[str] = field(default_factory=lambda: [""] * 4)
    position: int = -1

    def DataInitialize(self) -> None:
        """Feed start: before the first entry, both totals 0."""
        self.position = -1
        self.income_total = 0.0
        self.expense_total = 0.0
        self.names = [""] * 5
        self.previous = [""] * 4

    def FetchData(self) -> DetailRow | None:
        """The next item row, or None at the end of the list (end of data)."""
        self.previous = self.names[:4]
        while True:
            self.position += 1
            if self.position >= len(self.entries):
                return None
            name, level, chosen = parse_entry(self.entries[self.position])
            self.names[level] = name
            if level == 4 and chosen:
                break
        path = ItemPath(*self.names)
        money, quantity = 0.0, 0.0
        if path.categoria == CATEGORIA_RECEITAS:
            money, quantity = self.totals.get(path, (0.0, 0.0))
            self.income_total += money
        elif path.categoria == CATEGORIA_DESPESAS:
            money, quantity = self.totals.get(path, (0.0, 0.0))
            self.expense_total += money
        return DetailRow(*self.names, Qde=quantity, Preco=money)

    @property
    def balance(self) -> float:
        return self.income_total - self.expense_total


def item_paths(entries: Sequence[str]) -> list[ItemPath]:
    """The paths of the items the feed will print, in order (for the bulk totals)."""
    names = [""] * 5
    paths: list[ItemPath] = []
    for text in entries:
        name, level, chosen = parse_entry(text)
        names[level] = name
        if level == 4 and chosen:
            paths.append(ItemPath(*names))
    return paths
