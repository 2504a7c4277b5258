"""Part 3.1: the search's texts, the numbering of criteria and the search on the database.

The SQL texts are compared with the Part's literal pieces; the searches run on the seeded
company plus the rows of tests/search/conftest.py, and the marks are read back from
`NivelCategoria4.Marca` and `Procura`.
"""

from __future__ import annotations

import pytest
from hypothesis import HealthCheck, event, given, settings
from hypothesis import strategies as st

from varemo_contas.data.errors import JetError
from varemo_contas.search import criteria as rules
from varemo_contas.search import execution
from varemo_contas.search.criteria import plan_search

CHAIN = (
    "SELECT * FROM ((((NivelCategoria4 "
    + "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
    + "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
    + "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
    + "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
)
ALL_ITEMS = set(range(1, 17))


def empty_rows() -> list[tuple[str, str, str, str]]:
    return [("Qualquer campo", "contenha", "", "" if i == 0 else "e o") for i in range(5)]


def rows_of(*filled: tuple[str, str, str, str]) -> list[tuple[str, str, str, str]]:
    """The five rows: the given ones first, the rest empty."""
    rows = empty_rows()
    rows[: len(filled)] = filled
    return rows


# --- choices, help text and statements ----------------------------------------------------


def test_campo_and_criterio_choices() -> None:
    """Part 3.1, Data model: the two choosers' lists and the operator table."""
    assert rules.CAMPOS == ("Qualquer campo", "Categoria", "Setor", "Grupo", "Conta", "Item")
    assert rules.CRITERIOS == (
        "contenha",
        "não contenha",
        "seja maior que",
        "seja menor que",
        "seja igual a",
    )
    assert [rules.operator_for(c) for c in rules.CRITERIOS] == ["Like", "Not Like", ">", "<", "="]
    assert [rules.levels_for(c) for c in rules.CAMPOS] == [
        (4, 3, 2, 1, 0),
        (0,),
        (1,),
        (2,),
        (3,),
        (4,),
    ]


def test_help_text_is_joined_from_the_pieces() -> None:
    """Part 3.1, Help text."""
    assert rules.SELECAO == (
        "  Para filtrar registros, deve-se escolher os campos, os critérios e preencher os "
        "conteúdos.  Quando se escolhe mais de um critério, deve-se também escolher se são "
        "critérios alternativos (ou), ou se são união de critérios (e o).  Para isso basta "
        "clicar sobre o box (ou) ou (e o) e alterna-se o tipo ligação entre critérios."
    )


def test_caption_and_links() -> None:
    """Part 3.1: the caption; "e o" is " AND ", "ou" " OR ", a click switches them."""
    assert rules.CAPTION == "Critérios do Filtro de Procura - Plano de Contas"
    assert rules.link_sql("e o") == " AND "
    assert rules.link_sql("ou") == " OR "
    assert rules.other_link("e o") == "ou"
    assert rules.other_link("ou") == "e o"


def test_preparation_statements() -> None:
    """Part 3.1, Preparation steps 2-4."""
    assert rules.PREPARACAO == (
        "UPDATE NivelCategoria4 SET Marca = False WHERE Marca = True;",
        "DELETE * FROM Procura;",
        "INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;",
    )
    assert rules.ABRE_PROCURA == "SELECT * FROM Procura;"
    assert rules.CAMINHO_ITENS == CHAIN + (
        "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
        "NivelCategoria3.Nome, NivelCategoria4.Nome ;"
    )


@pytest.mark.parametrize("level", range(5))
def test_level_marker_with_like_gets_stars(level: int) -> None:
    """Level marker step 1: the chain, no ORDER BY, the level's name, stars for Like."""
    assert rules.marker_sql(level, "Like", "ab") == (
        CHAIN + f"WHERE NivelCategoria{level}.Nome Like '*ab*';"
    )


def test_not_like_gets_the_stars_too() -> None:
    """Part 3.1: the wildcard rule asks whether the operator contains "Like"."""
    assert rules.marker_sql(1, "Not Like", "ab") == (
        CHAIN + "WHERE NivelCategoria1.Nome Not Like '*ab*';"
    )


@pytest.mark.parametrize("operator", [">", "<", "="])
def test_comparisons_take_the_content_as_typed(operator: str) -> None:
    assert rules.marker_sql(3, operator, " Ab ") == (
        CHAIN + f"WHERE NivelCategoria3.Nome {operator} ' Ab ';"
    )


def test_one_criterion_combining_statement_keeps_its_trailing_blank() -> None:
    """Part 3.1 edge case: "UPDATE Procura SET Marca = TRUE WHERE " + "Marca1 = True " alone."""
    assert rules.combining_sql((), 1) == "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True "


def test_three_criteria_combining_statement() -> None:
    """Part 3.1 step 4's example: "e o" then "ou"."""
    assert rules.combining_sql((" AND ", " OR "), 3) == (
        "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True  AND Marca2 = True OR Marca3 = True"
    )


def test_marking_and_counting_statements() -> None:
    """Part 3.1 steps 5 and 6."""
    assert rules.MARCA_ITENS == (
        "UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE WHERE "
        "(Procura.Marca = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;"
    )
    assert rules.CONTA_ITENS == "SELECT COUNT(*) AS Items FROM NivelCategoria4 WHERE Marca = True"


# --- numbering ------------------------------------------------------------------------------


def test_filled_rows_are_numbered_without_gaps() -> None:
    """Step 1: empty rows (trimmed) take no number; the filled ones are 1, 2, 3."""
    plan = plan_search(
        [
            ("Item", "contenha", "pão", ""),
            ("Setor", "contenha", "   ", "ou"),
            ("Conta", "seja igual a", "Energia", "e o"),
            ("Grupo", "contenha", "", "ou"),
            ("Categoria", "não contenha", "x", "ou"),
        ]
    )
    assert [(c.number, c.campo, c.operator, c.content) for c in plan.criteria] == [
        (1, "Item", "Like", "pão"),
        (2, "Conta", "=", "Energia"),
        (3, "Categoria", "Not Like", "x"),
    ]
    assert plan.links == (" AND ", " OR ")


def test_qualquer_campo_runs_five_markers_with_one_number() -> None:
    """Step 1: Item, Conta, Grupo, Setor and Categoria, in that order, same criterion."""
    plan = plan_search(rows_of(("Qualquer campo", "contenha", "ab", "")))
    (criterion,) = plan.criteria
    assert criterion.number == 1
    assert criterion.markers == tuple(
        CHAIN + f"WHERE NivelCategoria{level}.Nome Like '*ab*';" for level in (4, 3, 2, 1, 0)
    )


def test_empty_second_row_takes_no_number_and_no_link() -> None:
    """Edge case: the third row becomes criterion 2 and its link joins it to criterion 1."""
    plan = plan_search(
        rows_of(
            ("Item", "contenha", "a", ""),
            ("Item", "contenha", "", "e o"),
            ("Setor", "contenha", "b", "ou"),
        )
    )
    assert [c.number for c in plan.criteria] == [1, 2]
    assert plan.links == (" OR ",)
    assert plan.combining_sql == (
        "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True  OR Marca2 = True"
    )


def test_empty_first_row_lends_the_first_criterion_its_own_link() -> None:
    """Step 3 as written: links come from the filled rows from the second row on."""
    plan = plan_search(
        [
            ("Item", "contenha", "", ""),
            ("Item", "contenha", "a", "ou"),
            ("Item", "contenha", "b", "e o"),
            ("Item", "contenha", "", "ou"),
            ("Item", "contenha", "", "ou"),
        ]
    )
    assert plan.links == (" OR ", " AND ")
    assert plan.combining_sql == (
        "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True  OR Marca2 = True"
    )


def test_bulk_statement_carries_each_markers_condition_verbatim() -> None:
    """The product's one UPDATE is cut out of the markers' own texts (same WHERE)."""
    plan = plan_search(
        rows_of(("Qualquer campo", "contenha", "ab", ""), ("Setor", "seja maior que", "B", "ou"))
    )
    bulk = rules.bulk_marking_sql(plan.criteria)
    for criterion in plan.criteria:
        for marker in criterion.markers:
            source, condition = rules.split_marker(marker)
            assert marker == "SELECT * FROM " + source + "WHERE " + condition + ";"
            assert "(" + condition + ")" in bulk
            assert " FROM " + source + ") AS M " in bulk
    assert bulk.startswith("UPDATE Procura SET Marca1 = (Marca1 OR M.M1), Marca2 = ")


# --- the search on the database -----------------------------------------------------------


def search(state, rows) -> int:
    execution.prepare(state)
    return execution.run_search(state, rows)


def test_preparation_clears_marks_and_refills_procura(state, marked, procura) -> None:
    """Preparation steps 1-3: result -1, previous hits cleared, one Procura row per item."""
    state.database.connection.execute("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo < 5")
    state.database.connection.execute("INSERT INTO Procura (Codigo, Marca1) VALUES (99, 1)")
    state.search_result = 7
    procura_set, itens = execution.prepare(state)
    assert state.search_result == -1
    assert marked() == set()
    assert procura() == [(code, 0, 0, 0, 0, 0, 0) for code in sorted(ALL_ITEMS)]
    assert procura_set.record_count == 16
    assert itens.record_count == 16
    assert itens["NivelCategoria4.Nome"] == "Item sem conta"  # by the five names, Null first


def test_all_rows_empty_marks_nothing_and_gives_0(state, marked, procura, jet_texts) -> None:
    """Edge case: nothing filled -> nothing marked, the result is 0."""
    execution.prepare(state)
    jet_texts.clear()
    assert execution.run_search(state, empty_rows()) == 0
    assert state.search_result == 0
    assert marked() == set()
    assert all(row[1:] == (0,) * 6 for row in procura())
    assert jet_texts == []


def test_one_criterion_sends_the_combining_statement_alone(state, jet_texts) -> None:
    """Edge case: one criterion -> "... WHERE " + "Marca1 = True " alone, blank included."""
    execution.prepare(state)
    jet_texts.clear()
    search(state, rows_of(("Item", "contenha", "ab", "")))
    assert "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True " in jet_texts
    assert jet_texts[-3:] == [
        "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True ",
        rules.MARCA_ITENS,
        rules.CONTA_ITENS,
    ]
    assert state.sql == rules.CONTA_ITENS


def test_reference_sends_the_parts_texts_in_order(state, jet_texts) -> None:
    """The row-by-row reference runs the Part's marker texts, then steps 4 to 6."""
    procura_set, _itens = execution.prepare(state)
    jet_texts.clear()
    execution.run_search_reference(
        state,
        rows_of(("Setor", "contenha", "x", ""), ("Item", "seja igual a", "B", "ou")),
        procura_set,
    )
    assert jet_texts == [
        CHAIN + "WHERE NivelCategoria1.Nome Like '*x*';",
        CHAIN + "WHERE NivelCategoria4.Nome = 'B';",
        "UPDATE Procura SET Marca = TRUE WHERE Marca1 = True  OR Marca2 = True",
        rules.MARCA_ITENS,
        rules.CONTA_ITENS,
    ]


def test_contenha_matches_anywhere_ignoring_case(state, marked, procura) -> None:
    """Edge case: "contenha" "ab" matches every name holding "ab" anywhere, any case."""
    assert search(state, rows_of(("Item", "contenha", "ab", ""))) == 4
    assert marked() == {11, 13, 14, 15}
    assert {row[0] for row in procura() if row[2]} == {11, 13, 14, 15}
    assert {row[0] for row in procura() if row[1]} == {11, 13, 14, 15}


def test_maior_que_compares_as_text(state, marked) -> None:
    """Edge case: "B" is greater than "Ab"; "aB" equals "Ab" (text, case-blind)."""
    search(state, rows_of(("Item", "seja maior que", "Ab", "")))
    assert 12 in marked()
    assert {11, 13}.isdisjoint(marked())
    assert marked() == ALL_ITEMS - {11, 13}


def test_menor_que_and_igual_a(state, marked) -> None:
    search(state, rows_of(("Item", "seja menor que", "B", "")))
    assert marked() == {6, 11, 13}  # "Ab", "aB", "Aluguel da loja"
    search(state, rows_of(("Item", "seja igual a", "ab", "")))
    assert marked() == {11, 13}


def test_nao_contenha(state, marked) -> None:
    """ "não contenha" "a": names without an "a" in any case."""
    assert search(state, rows_of(("Item", "não contenha", "a", ""))) == 3
    assert marked() == {7, 9, 12}  # "Condomínio", "CDB", "B"


def test_missing_ancestor_matches_neither_contenha_nor_nao_contenha(state, marked) -> None:
    """A Null name in the chain (item 16 has no Conta) makes the WHERE fail both ways."""
    search(state, rows_of(("Categoria", "não contenha", "zzz", "")))
    assert marked() == ALL_ITEMS - {16}
    search(state, rows_of(("Grupo", "contenha", "*", "")))
    assert 16 not in marked()


def test_qualquer_campo_marks_an_item_once(state, marked, procura) -> None:
    """Edge case: Setor and Item name both match under "Qualquer campo": one hit."""
    assert search(state, rows_of(("Qualquer campo", "contenha", "Receitas", ""))) == 5
    assert marked() == {1, 2, 3, 9, 10}
    rows = [row for row in procura() if row[0] == 10]
    assert rows == [(10, 1, 1, 0, 0, 0, 0)]


def test_empty_second_row_between_two_filled_rows(state, marked, procura) -> None:
    """Edge case: the third row is criterion 2, joined to criterion 1 by its own "ou"."""
    rows = rows_of(
        ("Item", "contenha", "Pão", ""),
        ("Conta", "contenha", "  ", "e o"),
        ("Setor", "contenha", "Fornecedores", "ou"),
    )
    assert search(state, rows) == 3
    assert marked() == {1, 4, 5}  # with the empty row's "e o" it would be {4}
    marks = {row[0]: row[2:5] for row in procura()}
    assert marks[1] == (1, 0, 0)
    assert marks[4] == (1, 1, 0)
    assert marks[5] == (0, 1, 0)


def test_and_binds_before_or(state, marked) -> None:
    """Step 4: A ou B e o C is A OR (B AND C), as SQL evaluates it, no parentheses."""
    rows = rows_of(
        ("Item", "contenha", "CDB", ""),
        ("Item", "contenha", "Pão", "ou"),
        ("Categoria", "seja igual a", "Despesas", "e o"),
    )
    search(state, rows)
    assert marked() == {4, 9, 10}  # (A OR B) AND C would be {4}


def test_search_result_holds_the_criterion_number_while_running(state) -> None:
    """Search result: 0 at the start, the criterion being applied, then the count."""
    procura_set, _itens = execution.prepare(state)
    seen: list[int] = []
    state.database.statement_hook = lambda _sql: seen.append(state.search_result)
    rows = rows_of(("Item", "contenha", "a", ""), ("Qualquer campo", "contenha", "b", "ou"))
    count = execution.run_search_reference(state, rows, procura_set)
    state.database.statement_hook = None
    assert seen[0] == 0  # BEGIN IMMEDIATE
    assert 1 in seen
    assert seen.index(1) < seen.index(2)
    assert state.search_result == count


def test_the_search_is_one_transaction(state) -> None:
    """DESIGN.md: the search's marking is all or nothing: one BEGIN, one COMMIT."""
    execution.prepare(state)
    sent: list[str] = []
    state.database.statement_hook = sent.append
    search_rows = rows_of(("Qualquer campo", "contenha", "a", ""), ("Item", "contenha", "b", "ou"))
    execution.run_search(state, search_rows)
    state.database.statement_hook = None
    assert [s for s in sent if s.startswith(("BEGIN", "COMMIT", "ROLLBACK"))] == [
        "BEGIN IMMEDIATE",
        "COMMIT",
    ]


def test_a_crash_halfway_leaves_the_prepared_tables(state, marked, procura) -> None:
    """A failure after the markers (here at step 5) rolls every mark back."""
    execution.prepare(state)
    before = procura()

    def crash(sql: str) -> None:
        if sql.startswith("UPDATE NivelCategoria4"):
            raise JetError(3000, "queda simulada")

    state.database.statement_hook = crash
    with pytest.raises(JetError):
        execution.run_search(state, rows_of(("Item", "contenha", "a", "")))
    state.database.statement_hook = None
    assert procura() == before
    assert marked() == set()
    assert state.search_result == -1


def test_apostrophe_breaks_the_search_and_rolls_back(state, marked, procura) -> None:
    """Failure handling: a content with a single quote ends the value early: Jet's error."""
    execution.prepare(state)
    rows = rows_of(("Item", "contenha", "Pão", ""), ("Item", "contenha", "d'água", "ou"))
    with pytest.raises(JetError):
        execution.run_search(state, rows)
    assert marked() == set()
    assert all(row[1:] == (0,) * 6 for row in procura())
    assert state.search_result == -1


def test_apostrophe_that_still_parses_runs_the_parts_marker(state, marked) -> None:
    """Content as typed, no escaping: whatever the Part's own marker makes of it."""
    execution.prepare(state)
    execution.run_search(
        state, rows_of(("Item", "seja igual a", "B' OR NivelCategoria4.Nome = 'Ab", ""))
    )
    assert marked() == {11, 12, 13}


# --- the bulk marking against the row-by-row reference --------------------------------------


def snapshot(state, marked, procura) -> tuple:
    return (state.search_result, marked(), procura())


@st.composite
def criteria_rows(draw: st.DrawFn, names: list[str]) -> list[tuple[str, str, str, str]]:
    rows = []
    for i in range(5):
        campo = draw(st.sampled_from(rules.CAMPOS))
        criterio = draw(st.sampled_from(rules.CRITERIOS))
        name = draw(st.sampled_from(names))
        start = draw(st.integers(0, len(name)))
        end = draw(st.integers(start, len(name)))
        content = draw(
            st.one_of(
                st.just(name),
                st.just(name[start:end]),
                st.just(name[start:end].upper()),
                st.just(name[start:end].lower()),
                st.sampled_from(["", "  ", "*", "?", "%", "_", "z", "B", "Ab", "d'água"]),
            )
        )
        if not draw(st.booleans()):
            content = draw(st.sampled_from(["", "   "]))  # about half the rows stay empty
        link = "" if i == 0 else draw(st.sampled_from([rules.E_O, rules.OU]))
        rows.append((campo, criterio, content, link))
    return rows


@settings(
    max_examples=150,
    deadline=None,
    suppress_health_check=[HealthCheck.function_scoped_fixture],
)
@given(data=st.data())
def test_bulk_marks_equal_the_row_by_row_reference(state, marked, procura, data) -> None:
    """Random criteria over the data's names: the product's marks are the Part's marks."""
    connection = state.database.connection
    names = sorted(
        {
            row[0]
            for level in range(5)
            for row in connection.execute(f"SELECT Nome FROM NivelCategoria{level}")
        }
    )
    rows = data.draw(criteria_rows(names))
    outcomes = []
    for run in (execution.run_search_reference, execution.run_search):
        procura_set, itens = execution.prepare(state)
        try:
            run(state, rows, procura_set)
            failed = None
        except JetError as exc:
            failed = exc.number
        outcomes.append((failed, *snapshot(state, marked, procura)))
        procura_set.close()
        itens.close()
    event("failed" if outcomes[1][0] else f"hits {min(outcomes[1][1], 6)}")
    assert outcomes[0] == outcomes[1]
