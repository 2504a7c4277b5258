"""Part 4.1: the ancestor join and the period's sales and purchase totals per item.

Two ways to the same numbers:

- the reference, `SomaVendas`/`SomaCompras` (and their clean forms
  `sales_total_reference`/`purchase_total_reference`), which follows the Part step by step:
  the ancestor join opened as a snapshot, a find-first with the spec's criterion, the
  product branch on the lines-and-products recordset, and one SUM query per item;
- `period_totals`, which answers many items at once with a handful of queries and returns,
  bit for bit, what the reference returns for each of them (see its docstring for how).

No widgets here: the report feed (Part 4.4) calls these with the confirmed period.
"""

from __future__ import annotations

import datetime
from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from typing import NamedTuple, Protocol

from varemo_contas.data import errors, queries
from varemo_contas.data.dao import Database, Recordset, RecordsetType

# Part 4.4 step 4: which Categoria takes which totals (exact, case-sensitive).
CATEGORIA_RECEITAS = "Receitas"
CATEGORIA_DESPESAS = "Despesas"


class ItemPath(NamedTuple):
    """The names on the path of one item: Categoria, Setor, Grupo, Conta and Item."""

    categoria: str
    setor: str
    grupo: str
    conta: str
    item: str


@dataclass(frozen=True)
class Movement:
    """What tells the sales total from the purchase total (Part 4.1, "Purchase total")."""

    name: str
    product_setor: str
    product_grupos: tuple[str, ...]
    lines_table: str
    documents_table: str
    # The query pieces of step 5, in order, around the period, the codes and the flag.
    head: tuple[str, ...]
    after_end: str
    code_piece: str
    setor_piece: str
    flag_piece: str
    # The sales-only test `Venda = True` (the asymmetry is the spec's); "" for purchases.
    document_test: str


SALES = Movement(
    name="vendas",
    product_setor="Receitas Clientes",
    product_grupos=("Vendas Produtos", "Vendas Insumos"),
    lines_table="VendaProdutos",
    documents_table="Venda",
    head=(
        "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde ",
        "FROM VendaProdutos INNER JOIN Venda ON ",
        "VendaProdutos.Codigo = Venda.Codigo ",
        "WHERE (DataDocumento BETWEEN #",
    ),
    after_end="#) AND Venda = True AND ",
    code_piece="VendaProdutos.CodigoProduto = ",
    setor_piece=" AND VendaProdutos.CodigoSetor = ",
    flag_piece="VendaProdutos.Produto = ",
    document_test=" AND Venda = True",
)

PURCHASES = Movement(
    name="compras",
    product_setor="Despesas Fornecedores",
    product_grupos=("Fornecedores Produtos", "Fornecedores Insumos"),
    lines_table="CompraProdutos",
    documents_table="Compra",
    head=(
        "SELECT SUM(PrecoUnit*QdeComprada) as Somatoria, SUM(QdeComprada) as Qtde ",
        "FROM CompraProdutos INNER JOIN Compra ON ",
        "CompraProdutos.Codigo = Compra.Codigo ",
        "WHERE (DataDocumento BETWEEN #",
    ),
    after_end="#) AND ",
    code_piece="CompraProdutos.CodigoProduto = ",
    setor_piece=" AND CompraProdutos.CodigoSetor = ",
    flag_piece="CompraProdutos.Produto = ",
    document_test="",
)

Totals = tuple[float, float]
ZERO: Totals = (0.0, 0.0)


def totals_for_category(categoria: str) -> Movement | None:
    """Part 4.4 step 4: "Receitas" takes sales, "Despesas" purchases, any other nothing."""
    if categoria == CATEGORIA_RECEITAS:
        return SALES
    if categoria == CATEGORIA_DESPESAS:
        return PURCHASES
    return None


# --- the pieces of Part 4.1 -------------------------------------------------------


def ancestor_join_sql(level: int, current: str = "") -> str:
    """Part 4.1's table for levels 1..4; any other level keeps the shared text as it stands."""
    if level not in (1, 2, 3, 4):
        return current
    return queries.joined_level(level)


class SharedText(Protocol):
    sql: str


@dataclass
class _Scratch:
    """A stand-in for the shared SQL string when no program state is at hand."""

    sql: str = ""


def AncestorJoin(shared: SharedText, database: Database, level: int) -> Recordset:
    """Build the ancestor join in the shared string and open it as a read-only snapshot."""
    shared.sql = ancestor_join_sql(level, shared.sql)
    return database.open_recordset(shared.sql, RecordsetType.SNAPSHOT)


def jet_date(text: str) -> str:
    """A period text "dd-mm-yyyy" re-formatted "mm/dd/yyyy" for the # date literal."""
    try:
        day = datetime.datetime.strptime(text.strip(), "%d-%m-%Y").date()
    except (AttributeError, ValueError):
        raise errors.type_mismatch() from None
    return f"{day.month:02d}/{day.day:02d}/{day.year:04d}"


def is_product_branch(movement: Movement, path: ItemPath) -> bool:
    """Step 2: both names must match exactly, case-sensitive."""
    return path.setor == movement.product_setor and path.grupo in movement.product_grupos


def account_criteria(path: ItemPath) -> str:
    """Step 3's find criterion; the Categoria is not part of it."""
    return (
        "NivelCategoria4.Nome = '" + path.item
        + "' AND NivelCategoria3.Nome = '" + path.conta
        + "' AND NivelCategoria2.Nome = '" + path.grupo
        + "' AND NivelCategoria1.Nome = '" + path.setor + "'"
    )  # fmt: skip


def product_criteria(path: ItemPath) -> str:
    """Step 4's find criterion on the product-lines recordset."""
    return "NomeProduto = '" + path.item + "' AND NomeLinha = '" + path.conta + "'"


def boolean_literal(flag: bool) -> str:
    """The database's boolean literal (Part 4.1 leaves the writing to us)."""
    return "True" if flag else "False"


def sum_query(
    movement: Movement, start: str, end: str, code: object, setor: object, product: bool
) -> str:
    """Step 5: the SUM query, pieces in the spec's order, dates re-formatted mm/dd/yyyy."""
    return (
        "".join(movement.head)
        + jet_date(start) + "# AND #" + jet_date(end)
        + movement.after_end
        + movement.code_piece + str(code)
        + movement.setor_piece + str(setor)
        + " AND " + movement.flag_piece + boolean_literal(product) + ";"
    )  # fmt: skip


def _number(value: object) -> float:
    # Step 6: a null sum is 0.
    return 0.0 if value is None else float(value)  # type: ignore[arg-type]


def open_lines_and_products(database: Database) -> Recordset:
    """The product-lines recordset of Part 4.1 (the main window keeps one open: `Linhas`)."""
    return database.open_recordset(queries.LINES_AND_PRODUCTS, RecordsetType.SNAPSHOT)


# --- the reference: the Part's steps, literally, one item per call --------------------


def _reference(
    shared: SharedText,
    database: Database,
    movement: Movement,
    path: ItemPath,
    start: str,
    end: str,
    lines: Recordset | None,
    level: int,
) -> Totals:
    join = AncestorJoin(shared, database, level)  # step 1
    shared.sql = ""
    own_lines = None
    try:
        if is_product_branch(movement, path):  # step 2
            if lines is None:
                lines = own_lines = open_lines_and_products(database)
            if lines.find_first(product_criteria(path)):  # step 4
                shared.sql = sum_query(
                    movement, start, end, lines["CodigoProduto"], lines["Linhas.CodigoLinha"], True
                )
        elif join.find_first(account_criteria(path)):  # step 3
            shared.sql = sum_query(
                movement,
                start,
                end,
                join["NivelCategoria4.Codigo"],
                join["NivelCategoria1.Codigo"],
                False,
            )
        result = ZERO
        if shared.sql:  # step 6
            sums = database.open_recordset(shared.sql, RecordsetType.SNAPSHOT)
            try:
                result = (_number(sums["Somatoria"]), _number(sums["Qtde"]))
            finally:
                sums.close()
        return result
    finally:
        if own_lines is not None:
            own_lines.close()
        join.close()  # step 7


def sales_total_reference(
    database: Database,
    path: ItemPath,
    start: str,
    end: str,
    lines: Recordset | None = None,
    level: int = 4,
) -> Totals:
    """Part 4.1 "Sales total" step by step: (money `Somatoria`, quantity `Qtde`)."""
    return _reference(_Scratch(), database, SALES, path, start, end, lines, level)


def purchase_total_reference(
    database: Database,
    path: ItemPath,
    start: str,
    end: str,
    lines: Recordset | None = None,
    level: int = 4,
) -> Totals:
    """Part 4.1 "Purchase total" step by step: (money, quantity)."""
    return _reference(_Scratch(), database, PURCHASES, path, start, end, lines, level)


def item_total_reference(
    database: Database, path: ItemPath, start: str, end: str, lines: Recordset | None = None
) -> Totals:
    """One item as the report feed totals it: by its Categoria (Part 4.4 step 4)."""
    movement = totals_for_category(path.categoria)
    if movement is None:
        return ZERO
    return _reference(_Scratch(), database, movement, path, start, end, lines, 4)


def _soma(state: object, movement: Movement, path: ItemPath, lines: Recordset | None) -> float:
    # Part 4.1 "Interfaces": inputs from the program state, the quantity left there.
    money, quantity = _reference(
        state,  # type: ignore[arg-type]
        state.database,  # type: ignore[attr-defined]
        movement,
        path,
        state.period_start,  # type: ignore[attr-defined]
        state.period_end,  # type: ignore[attr-defined]
        lines,
        4,
    )
    state.quantity_total = quantity  # type: ignore[attr-defined]
    return money


def SomaVendas(state: object, path: ItemPath, lines: Recordset | None = None) -> float:
    """The shared-state form: reads the period from `state`, builds in `state.sql`,
    returns `Somatoria` and leaves the quantity in `state.quantity_total`."""
    return _soma(state, SALES, path, lines)


def SomaCompras(state: object, path: ItemPath, lines: Recordset | None = None) -> float:
    """The purchase counterpart of `SomaVendas`."""
    return _soma(state, PURCHASES, path, lines)


# --- the bulk computation ---------------------------------------------------------

# The unordered chain of levels 4..1 (inner joins: a row missing an ancestor has a null
# name there and can never match the four-name criterion of step 3).
_CHAIN = (
    "SELECT NivelCategoria4.Codigo, NivelCategoria4.Nome, NivelCategoria3.Nome, "
    "NivelCategoria2.Nome, NivelCategoria1.Nome, NivelCategoria1.Codigo "
    "FROM ((NivelCategoria4 "
    "INNER JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
    "INNER JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    "INNER JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1;"
)


def fold(text: object) -> bytes | None:
    """A name as a find compares it: ASCII letters case-blind, everything else exact.

    The criteria of the data layer fold A-Z only (COLLATE NOCASE); lower-casing the UTF-8
    bytes folds exactly those, since every byte of a non-ASCII character is above 0x7F.
    """
    if not isinstance(text, str):
        return None
    return text.encode("utf-8", "surrogatepass").lower()


def grouped_sums_sql(movement: Movement, start: str, end: str, codes: Iterable[int]) -> str:
    """The period's lines of `codes` summed per (CodigoProduto, CodigoSetor, Produto).

    The filters are the reference's (same date literals, `Venda = True` for sales, the
    two flag tests `Produto = True`/`= False` as the reference writes them). NOT INDEXED
    reads the lines in rowid order and SQLite's grouping sort is stable, so each group is
    added up in rowid order: the order in which the reference's SUM, which reads the item
    index, adds the same rows; the float sums are therefore bit-identical.
    """
    table, documents = movement.lines_table, movement.documents_table
    return (
        f"SELECT {table}.CodigoProduto, {table}.CodigoSetor, "
        f"{table}.Produto = True AS EhProduto, {table}.Produto = False AS EhConta, "
        "SUM(PrecoUnit*QdeComprada) AS Somatoria, SUM(QdeComprada) AS Qtde "
        f"FROM {table} NOT INDEXED WHERE {table}.Codigo IN (SELECT {documents}.Codigo "
        f"FROM {documents} WHERE (DataDocumento BETWEEN #{jet_date(start)}# AND "
        f"#{jet_date(end)}#){movement.document_test}) "
        f"AND {table}.CodigoProduto IN ({', '.join(str(code) for code in sorted(codes))}) "
        f"GROUP BY {table}.CodigoProduto, {table}.CodigoSetor, {table}.Produto;"
    )


Key = tuple[object, object, bool]  # (code, setor code, product flag) of one SUM query


class _Resolver:
    """Steps 2-4 for many items: each item's (code, setor, flag), or None for no match."""

    def __init__(self, database: Database, lines: Recordset | None) -> None:
        self.database = database
        self._lines = lines
        self._accounts: dict[tuple, list[tuple[object, object]]] | None = None
        self._products: dict[tuple, tuple[object, object]] | None = None
        self._ordered: Recordset | None = None
        # The folded item names the account branch will ask for (set before `resolve`).
        self.wanted_items: set[bytes | None] = set()

    def accounts(self) -> dict[tuple, list[tuple[object, object]]]:
        if self._accounts is None:
            wanted = self.wanted_items
            chain = self.database.open_recordset(_CHAIN, RecordsetType.SNAPSHOT)
            try:
                found: dict[tuple, list[tuple[object, object]]] = {}
                for code, item, conta, grupo, setor, setor_code in chain.rows():
                    folded = fold(item)
                    if folded not in wanted:  # most rows: one fold and a set test
                        continue
                    key = (folded, fold(conta), fold(grupo), fold(setor))
                    found.setdefault(key, []).append((code, setor_code))
            finally:
                chain.close()
            self._accounts = found
        return self._accounts

    def products(self) -> dict[tuple, tuple[object, object]]:
        if self._products is None:
            own = self._lines is None
            lines = open_lines_and_products(self.database) if own else self._lines
            try:
                name_at = lines.field_index("NomeProduto")
                line_at = lines.field_index("NomeLinha")
                code_at = lines.field_index("CodigoProduto")
                setor_at = lines.field_index("Linhas.CodigoLinha")
                found: dict[tuple, tuple[object, object]] = {}
                for row in lines.rows():  # the recordset's order: the first row wins
                    key = (fold(row[name_at]), fold(row[line_at]))
                    found.setdefault(key, (row[code_at], row[setor_at]))
            finally:
                if own:
                    lines.close()
            self._products = found
        return self._products

    def resolve(self, movement: Movement, path: ItemPath) -> Key | None:
        if is_product_branch(movement, path):
            hit = self.products().get((fold(path.item), fold(path.conta)))
            return None if hit is None else (hit[0], hit[1], True)
        names = (fold(path.item), fold(path.conta), fold(path.grupo), fold(path.setor))
        candidates = self.accounts().get(names, [])
        if not candidates:
            return None
        if len(candidates) == 1:
            return (candidates[0][0], candidates[0][1], False)
        # Several rows share the four names (under different Categorias): the first in the
        # ancestor join's own order is the one the reference finds, so ask that recordset.
        if self._ordered is None:
            self._ordered = self.database.open_recordset(
                ancestor_join_sql(4), RecordsetType.SNAPSHOT
            )
        ordered = self._ordered
        if not ordered.find_first(account_criteria(path)):
            return None
        return (ordered["NivelCategoria4.Codigo"], ordered["NivelCategoria1.Codigo"], False)

    def close(self) -> None:
        if self._ordered is not None:
            self._ordered.close()


def _needs_reference(path: ItemPath) -> bool:
    # An apostrophe makes the criterion something else (usually a syntax error, Part 4.1
    # "Failure handling"): the reference itself decides what happens.
    return any("'" in name for name in path[1:])


def _grouped_sums(
    database: Database, movement: Movement, start: str, end: str, keys: set[Key]
) -> tuple[dict[Key, Totals], set[Key]]:
    """The sums of the wanted keys, and the keys two groups fell on (left to the reference)."""
    sums: dict[Key, Totals] = {}
    clashes: set[Key] = set()
    codes = {key[0] for key in keys}
    if not codes:
        return sums, clashes
    recordset = database.open_recordset(
        grouped_sums_sql(movement, start, end, codes), RecordsetType.SNAPSHOT
    )
    try:
        for code, setor, is_product, is_account, money, quantity in recordset.rows():
            for flag, matches in ((True, is_product), (False, is_account)):
                if not matches:
                    continue
                key = (code, setor, flag)
                if key in sums:
                    clashes.add(key)
                sums[key] = (_number(money), _number(quantity))
    finally:
        recordset.close()
    return sums, clashes


def period_totals(
    database: Database,
    items: Sequence[ItemPath],
    start: str,
    end: str,
    lines: Recordset | None = None,
) -> dict[ItemPath, Totals]:
    """(money, quantity) of every item over the period, as `item_total_reference` gives it.

    At most five queries whatever the number of items: the unordered chain of levels,
    the lines-and-products rows (or the recordset passed in, the main window's `Linhas`),
    the spec's ordered ancestor join only when four names point at several rows, and one
    grouped sum each for sales and purchases. Items whose names hold an apostrophe, and
    the (never seen) keys on which two stored groups fall together, go through the
    reference so that they fail or count exactly as it does.
    """
    jet_date(start), jet_date(end)  # a bad period fails before any query, as the reference
    results: dict[ItemPath, Totals] = {}
    to_resolve: dict[ItemPath, Movement] = {}
    for path in dict.fromkeys(items):
        movement = totals_for_category(path.categoria)
        if movement is None:
            results[path] = ZERO
        elif _needs_reference(path):
            results[path] = _reference(_Scratch(), database, movement, path, start, end, lines, 4)
        else:
            to_resolve[path] = movement
    resolver = _Resolver(database, lines)
    resolver.wanted_items = {
        fold(path.item)
        for path, movement in to_resolve.items()
        if not is_product_branch(movement, path)
    }
    pending: dict[Movement, dict[ItemPath, Key]] = {SALES: {}, PURCHASES: {}}
    try:
        for path, movement in to_resolve.items():
            key = resolver.resolve(movement, path)
            if key is None:
                results[path] = ZERO
            else:
                pending[movement][path] = key
    finally:
        resolver.close()
    for movement, wanted in pending.items():
        plain = {key for key in wanted.values() if type(key[0]) is int}
        sums, clashes = _grouped_sums(database, movement, start, end, plain)
        for path, key in wanted.items():
            if key in plain and key not in clashes:
                results[path] = sums.get(key, ZERO)
            else:
                results[path] = _single_sum(database, movement, start, end, key)
    return results


def _single_sum(database: Database, movement: Movement, start: str, end: str, key: Key) -> Totals:
    """Steps 5-6 for one key: the reference's own SUM query."""
    sums = database.open_recordset(sum_query(movement, start, end, *key), RecordsetType.SNAPSHOT)
    try:
        return (_number(sums["Somatoria"]), _number(sums["Qtde"]))
    finally:
        sums.close()
