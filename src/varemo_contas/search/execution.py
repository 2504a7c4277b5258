"""Part 3.1: preparing the scratch table and running the search, on the shared database.

No widgets. `prepare` is what the window runs each time it is brought up; `run_search` is
the product's search: the whole marking is one transaction, so a failure (a content holding
an apostrophe breaks the SQL, as the Part requires) leaves the marks as the preparation left
them. `run_search_reference` is the Part's algorithm as written, with its row-by-row level
markers; the tests hold the product's bulk marking to it.
"""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import TYPE_CHECKING

from varemo_contas.data.dao import Recordset, RecordsetType
from varemo_contas.search import criteria as rules
from varemo_contas.search.criteria import Criterion, Row, SearchPlan

if TYPE_CHECKING:
    from varemo_contas.app.state import State
    from varemo_contas.data.dao import Database

# The routine name the error log records for the search's failures (Part 1.3).
ROTINA_PROCURA = "Procura"


def _database(state: State) -> Database:
    if state.database is None:
        raise RuntimeError("nenhum banco de dados aberto")
    return state.database


def _execute(state: State, sql: str) -> int:
    # The shared SQL text holds every statement as it is built (Overview, shared helpers).
    state.sql = sql
    return _database(state).execute(state.sql)


def prepare(state: State) -> tuple[Recordset, Recordset]:
    """Preparation steps 1-4: result -1, clear the hits, refill `Procura`, open the two sets.

    Returns the `Procura` recordset (kept open for the search, searched by `Codigo`) and the
    full item path. The three statements are one transaction: all or nothing.
    """
    database = _database(state)
    state.search_result = -1
    with database.transaction():
        for statement in rules.PREPARACAO:
            _execute(state, statement)
    state.sql = rules.ABRE_PROCURA
    procura = database.open_recordset(state.sql, RecordsetType.DYNASET)
    state.sql = rules.CAMINHO_ITENS
    try:
        itens = database.open_recordset(state.sql, RecordsetType.SNAPSHOT)
    except BaseException:
        procura.close()
        raise
    return procura, itens


# --- the level marker as the Part writes it (the reference) -------------------------------


def mark_level_reference(
    state: State, procura: Recordset, level: int, number: int, operator: str, content: str
) -> None:
    """Level marker steps 1-3: open the marker, set `Marca<number>` on each item, row by row."""
    state.sql = rules.marker_sql(level, operator, content)
    found = _database(state).open_recordset(state.sql, RecordsetType.DYNASET)
    try:
        if found.record_count > 0:
            found.move_first()
            column = rules.mark_column(number)
            while not found.eof:
                procura.find_first(rules.procura_criteria(found["NivelCategoria4.Codigo"]))
                if not procura.no_match:
                    procura.edit()
                    procura[column] = True
                    procura.update()
                found.move_next()
    finally:
        found.close()


def _mark_row_by_row(state: State, procura: Recordset, criterion: Criterion) -> None:
    state.search_result = criterion.number
    for level in criterion.levels:
        mark_level_reference(
            state, procura, level, criterion.number, criterion.operator, criterion.content
        )


# --- the search ---------------------------------------------------------------------------

Marker = Callable[[SearchPlan, Callable[[], Recordset]], None]


def _search(state: State, rows: Sequence[Row], mark: Marker, procura: Recordset | None) -> int:
    """Search steps 1-6 in one transaction, with `mark` setting the criteria's columns."""
    database = _database(state)
    opened: list[Recordset] = []

    def procura_set() -> Recordset:
        # The Part keeps "SELECT * FROM Procura;" open from the preparation; a caller
        # without one gets it opened here, for this search only.
        if procura is not None and not procura.closed:
            return procura
        if not opened:
            state.sql = rules.ABRE_PROCURA
            opened.append(database.open_recordset(state.sql, RecordsetType.DYNASET))
        return opened[0]

    state.search_result = 0
    try:
        plan = rules.plan_search(rows)
        if not plan.criteria:
            return state.search_result  # step 2: nothing filled, nothing marked, 0
        with database.transaction():
            mark(plan, procura_set)
            state.search_result = len(plan.criteria)
            _execute(state, plan.combining_sql)
            _execute(state, rules.MARCA_ITENS)
            state.sql = rules.CONTA_ITENS
            count = database.open_recordset(state.sql, RecordsetType.SNAPSHOT)
            try:
                state.search_result = int(count[rules.CAMPO_CONTAGEM] or 0)
            finally:
                count.close()
        return state.search_result
    except BaseException:
        # The marking rolled back: no search result stands (Part 3.1's -1).
        state.search_result = -1
        raise
    finally:
        for recordset in opened:
            recordset.close()


def _mark_reference(state: State) -> Marker:
    def mark(plan: SearchPlan, procura_set: Callable[[], Recordset]) -> None:
        for criterion in plan.criteria:
            _mark_row_by_row(state, procura_set(), criterion)

    return mark


def _mark_bulk(state: State) -> Marker:
    def mark(plan: SearchPlan, procura_set: Callable[[], Recordset]) -> None:
        plain = [criterion for criterion in plan.criteria if criterion.plain]
        if plain:
            state.search_result = plain[-1].number
            _execute(state, rules.bulk_marking_sql(plain))
        # A content with an apostrophe ends its quotes early: only the Part's own marker
        # texts decide what such a criterion does (mostly a syntax error for the log).
        for criterion in plan.criteria:
            if not criterion.plain:
                _mark_row_by_row(state, procura_set(), criterion)

    return mark


def run_search(state: State, rows: Sequence[Row], procura: Recordset | None = None) -> int:
    """The search of Part 3.1 over the prepared `Procura`; returns and stores the hit count.

    `rows` are the five criteria rows as (campo, criterio, conteudo, chave). The criteria's
    columns are set by one UPDATE derived from the level markers (identical marks to the
    row-by-row markers), then the Part's combining, marking and counting statements run.
    A failure raises after the rollback, with the search result back at -1.
    """
    return _search(state, rows, _mark_bulk(state), procura)


def run_search_reference(
    state: State, rows: Sequence[Row], procura: Recordset | None = None
) -> int:
    """The same search with the Part's row-by-row level markers, as written."""
    return _search(state, rows, _mark_reference(state), procura)
