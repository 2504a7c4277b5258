"""Issue 6, bad input: every text a user types, fed with hostile and odd input.

Fields: the five level selectors `Combo[0..4]` (hierarchy-page save, Part 2.5), the
level-page names `Texto[1..3]` (level-page save after "ID_Setor"/"ID_Grupo"/"ID_Conta",
Part 2.5), the search contents `ProContas.Conteudo[0..4]` (Part 3.1), the report name
`ArvRelat.Nome` (Part 4.3) and the dates `DataPeriodo.Datas[0..1]` (Part 4.2).

For each input the test checks the outcome (the spec's where it names one: an apostrophe
breaks the SQL into the error log; else a Portuguese refusal), that the window stays usable,
that every table holds what it held except the rows the action meant to write, that SQLite
ran no statement other than reads and row writes (never a DROP, never a second statement),
and that every Jet text carrying the typed text is the one the Part builds.
"""

from __future__ import annotations

import re
import sqlite3
from collections.abc import Callable, Iterator
from dataclasses import dataclass, field

import pytest
from PySide6.QtWidgets import QDialog
from tables import changes, snapshot

from varemo_contas.app import desktop
from varemo_contas.data.dao import Recordset
from varemo_contas.editor import names
from varemo_contas.editor.save import BLANK_PROMPT, BLANK_TITLE
from varemo_contas.reports import periodo
from varemo_contas.reports.arvrelat import ArvRelat
from varemo_contas.reports.dataperiodo import DataPeriodo
from varemo_contas.search import criteria as rules
from varemo_contas.search.procontas import ProContas

# --- the inputs ---------------------------------------------------------------------------

APOSTROPHE = "Pão d'água"
DROP = "'; DROP TABLE NivelCategoria4; --"
OR_TRUE = "' OR '1'='1"
AND_NOT = "x' AND Nome <> 'y"
LONG = "A" * 10_000
CONTROL = {
    "tab": "Conta\tnova",
    "newline": "Conta\nnova",
    "nul": "Conta\x00nova",
    "esc": "Conta\x1bnova",
}
UNICODE = {"cafe": "Café ☕", "greek": "Ελληνικά", "chinese": "中文"}
PADDED = "padded"  # the field's own valid name with blanks around it
BLANKS = "   "

INPUTS: dict[str, str] = {
    "apostrophe": APOSTROPHE,
    "drop": DROP,
    "or_true": OR_TRUE,
    "and_not": AND_NOT,
    "long": LONG,
    **CONTROL,
    **UNICODE,
    "padded": PADDED,
    "blanks": BLANKS,
}
KINDS = list(INPUTS)  # 14 inputs per field

LOG_BOX = desktop.vbCritical
CONTROL_BOX = (names.CONTROL_PROMPT, desktop.vbInformation, names.INVALID_TITLE)
LONG_BOX = (names.LONG_PROMPT, desktop.vbInformation, names.INVALID_TITLE)
UNSEARCHABLE_BOX = (names.UNSEARCHABLE_PROMPT, desktop.vbInformation, names.INVALID_TITLE)
BLANK_BOX = (BLANK_PROMPT, desktop.vbInformation, BLANK_TITLE)

ALLOWED_SQL = ("SELECT", "INSERT", "UPDATE", "DELETE", "BEGIN", "COMMIT", "ROLLBACK", "SAVEPOINT")
ALLOWED_SQL += ("RELEASE", "PRAGMA", "WITH")


def text_for(kind: str, valid: str) -> str:
    return f"  {valid}  " if kind == PADDED else INPUTS[kind]


# --- the watchers -------------------------------------------------------------------------


@dataclass
class Watch:
    """The Jet texts the code builds and the SQLite statements that run."""

    jet: list[str] = field(default_factory=list)
    criteria: list[str] = field(default_factory=list)
    sqlite: list[str] = field(default_factory=list)

    def assert_only_the_parts_statements(self) -> None:
        for statement in self.sqlite:
            first = statement.lstrip().split(None, 1)[0].upper()
            assert first in ALLOWED_SQL, statement
            assert "DROP TABLE" not in statement.upper() or "'" in statement, statement


@pytest.fixture
def watch(monkeypatch: pytest.MonkeyPatch) -> Callable[[object], Watch]:
    """`watch(state)`: record what the code sends to the database from now on."""

    def _watch(state) -> Watch:
        seen = Watch()
        database = state.database
        for name in ("open_recordset", "execute", "scalar"):
            original = getattr(database, name)

            def spy(statement, *args, _original=original, **kwargs):
                seen.jet.append(statement)
                return _original(statement, *args, **kwargs)

            monkeypatch.setattr(database, name, spy)
        original_find = Recordset.find_first

        def find_spy(self, criteria: str) -> bool:
            seen.criteria.append(criteria)
            return original_find(self, criteria)

        monkeypatch.setattr(Recordset, "find_first", find_spy)
        previous = database.statement_hook

        def hook(sql: str) -> None:
            seen.sqlite.append(sql)
            if previous is not None:
                previous(sql)

        monkeypatch.setattr(database, "statement_hook", hook)
        return seen

    return _watch


def boxes(fake_desktop) -> list[tuple[str, int, str]]:
    return [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes]


def error_log(installation) -> str:
    path = installation.error_log
    return path.read_bytes().decode("cp1252") if path.exists() else ""


def assert_logged(fake_desktop, installation) -> None:
    """The spec's failure (Parts 1.3, 2.5, 3.1, 4.3): a record in the log, the critical box."""
    assert [b.buttons for b in fake_desktop.boxes] == [LOG_BOX]
    assert fake_desktop.boxes[0].title == "Tratamento de Erros"
    assert "Erro número: " in error_log(installation)
    assert 1 in fake_desktop.sounds


# --- the main window: hierarchy page (Combo[0..4]) and level page (Texto[1..3]) -------------

PATH = ("Despesas", "Despesas Administrativas", "Ocupação", "Energia", "Item Novo")
LEVEL_TABLES = [f"NivelCategoria{k}" for k in range(5)]
NAME_CRITERIA = re.compile(r"^Nome = '(?P<name>.*)'( AND CodigoCategoria[0-3] = \d+)?$", re.S)


def assert_name_criteria_are_the_parts(seen: Watch, typed: str) -> None:
    """Part 2.5: a criteria text carrying the name is "Nome = '" + name + piece + code."""
    for criteria in seen.criteria:
        if typed and "'" + typed + "'" in criteria:
            match = NAME_CRITERIA.match(criteria)
            assert match is not None, criteria
            assert match["name"] == typed, criteria


def assert_editor_usable(window, mode: str) -> None:
    """After a refusal or a logged failure the mode is still open and can be cancelled."""
    assert window.Modo == mode
    window.tool_click("ID_Cancelar")
    assert window.Modo == "Visualizar"


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("level", range(5))
def test_hierarchy_page_selector(
    contas, fake_desktop, installation, watch, level: int, kind: str
) -> None:
    """Part 2.5 hierarchy page: `Combo[level]` holds the bad input, the rest a valid path."""
    typed_text = text_for(kind, PATH[level])
    contas.tool_click("ID_Incluir")
    for k, name in enumerate(PATH):
        contas.Combo[k].set_text(typed_text if k == level else name)
    before = snapshot(installation.database)
    seen = watch(contas.state)
    contas.tool_click("ID_Gravar")
    delta = changes(before, snapshot(installation.database))
    seen.assert_only_the_parts_statements()
    assert_name_criteria_are_the_parts(seen, typed_text.strip())
    expected_refusal = {
        "long": LONG_BOX,
        "or_true": UNSEARCHABLE_BOX,
        "blanks": BLANK_BOX,
        **{control: CONTROL_BOX for control in CONTROL},
    }
    if level >= 1:
        # Not found, written, then not found again by its own name: refused, rolled back.
        expected_refusal["and_not"] = UNSEARCHABLE_BOX
    if kind in ("apostrophe", "drop"):
        assert_logged(fake_desktop, installation)
        assert delta == {}
        assert_editor_usable(contas, "Inserir")
    elif kind in expected_refusal:
        assert boxes(fake_desktop) == [expected_refusal[kind]]
        assert delta == {}
        assert_editor_usable(contas, "Inserir")
    else:
        # Saved: only level rows are added, no existing row changes or goes.
        assert fake_desktop.boxes == []
        assert contas.Modo == "Visualizar"
        assert set(delta) <= set(LEVEL_TABLES[1:])
        assert all(gone == [] for gone, _added in delta.values())
        items = delta["NivelCategoria4"][1]
        assert [row[1] for row in items] == [typed_text.strip() if level == 4 else PATH[4]]
        if level >= 1:
            # The typed level's row is the new one or (padded) the existing one, named exactly.
            stored = typed_text.strip()
            parent = items[0][2]
            chain = sqlite3.connect(str(installation.database))
            try:
                names_up = chain.execute(
                    "SELECT n3.Nome, n2.Nome, n1.Nome FROM NivelCategoria3 n3 "
                    "JOIN NivelCategoria2 n2 ON n2.Codigo = n3.CodigoCategoria2 "
                    "JOIN NivelCategoria1 n1 ON n1.Codigo = n2.CodigoCategoria1 "
                    "WHERE n3.Codigo = ?",
                    (parent,),
                ).fetchone()
            finally:
                chain.close()
            path = [*reversed(names_up), items[0][1]]
            assert path == [stored if k == level else PATH[k] for k in range(1, 5)]


LEVEL_PAGE = {1: ("ID_Setor", 3, 2), 2: ("ID_Grupo", 5, 3), 3: ("ID_Conta", 6, 5)}


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("level", (1, 2, 3))
def test_level_page_name(contas, fake_desktop, installation, watch, level: int, kind: str) -> None:
    """Part 2.5 level page: `Texto[level]` holds the bad input in an insert."""
    command, current, parent = LEVEL_PAGE[level]
    contas.tool_click(command)
    contas.Arvore_NodeClick(contas.node(f"{current}N{level}"))
    contas.tool_click("ID_Incluir")
    typed_text = text_for(kind, "Nome Novo")
    contas.Texto[level].set_text(typed_text)
    before = snapshot(installation.database)
    seen = watch(contas.state)
    contas.tool_click("ID_Gravar")
    delta = changes(before, snapshot(installation.database))
    seen.assert_only_the_parts_statements()
    assert_name_criteria_are_the_parts(seen, typed_text.strip())
    expected_refusal = {
        "long": LONG_BOX,
        "or_true": UNSEARCHABLE_BOX,
        "and_not": UNSEARCHABLE_BOX,
        "blanks": BLANK_BOX,
        **{control: CONTROL_BOX for control in CONTROL},
    }
    if kind in ("apostrophe", "drop"):
        assert_logged(fake_desktop, installation)
        assert delta == {}
        assert_editor_usable(contas, "Inserir")
    elif kind in expected_refusal:
        assert boxes(fake_desktop) == [expected_refusal[kind]]
        assert delta == {}
        assert_editor_usable(contas, "Inserir")
    else:
        assert fake_desktop.boxes == []
        assert contas.Modo == "Visualizar"
        table = f"NivelCategoria{level}"
        assert list(delta) == [table]
        gone, added = delta[table]
        assert gone == []
        assert [row[1:3] for row in added] == [(typed_text.strip(), parent)]
        assert contas.node(f"{added[0][0]}N{level}").text(0) == typed_text.strip()


def test_quote_balanced_name_never_edits_another_row(contas, fake_desktop, installation) -> None:
    """Editing item 6 to "' OR '1'='1": the read-back must not take a sibling's code."""
    contas.tool_click("ID_Alterar")
    contas.Combo[4].set_text(OR_TRUE)
    before = snapshot(installation.database)
    contas.tool_click("ID_Gravar")
    delta = changes(before, snapshot(installation.database))
    if delta:
        # Written: only item 6 changed, to the typed name, under its own account.
        assert list(delta) == ["NivelCategoria4"]
        gone, added = delta["NivelCategoria4"]
        assert [row[:3] for row in gone] == [(6, "Aluguel da loja", 5)]
        assert [row[:3] for row in added] == [(6, OR_TRUE, 5)]
        assert contas.CodigoGravado == 6
    else:
        assert boxes(fake_desktop) == [UNSEARCHABLE_BOX]


def test_quote_balanced_sector_is_not_taken_for_an_existing_one(
    contas, fake_desktop, installation
) -> None:
    """Without the check, "' OR '1'='1" found sector 2 and filed the item under its path."""
    contas.tool_click("ID_Incluir")
    for k, name in enumerate(("Despesas", OR_TRUE, "Grupo Novo", "Conta Nova", "Item Novo")):
        contas.Combo[k].set_text(name)
    before = snapshot(installation.database)
    contas.tool_click("ID_Gravar")
    assert boxes(fake_desktop) == [UNSEARCHABLE_BOX]
    assert snapshot(installation.database) == before
    assert contas.Modo == "Inserir"


def test_emoji_name_with_apostrophe_reaches_the_log_with_replacement_characters(
    contas, fake_desktop, installation
) -> None:
    """Part 1.3: the log is Windows-1252; what it cannot hold becomes "?", nothing dropped."""
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("Café ☕ d'água 中文")
    contas.tool_click("ID_Gravar")
    assert_logged(fake_desktop, installation)
    raw = installation.error_log.read_bytes()
    text = raw.decode("cp1252")
    assert "Descrição: " in text
    assert "Café ? d'água ??" in text  # every character kept, the unencodable as "?"
    assert "é".encode("cp1252") in raw
    assert "☕" in fake_desktop.boxes[0].prompt  # the message box shows the text as typed
    assert text.endswith("\r\n\r\n")


# --- the search contents (Part 3.1) --------------------------------------------------------


@pytest.fixture
def search_window(contas, fake_desktop, qtbot) -> Iterator[ProContas]:
    window = ProContas(contas.state)
    qtbot.addWidget(window)
    window.show()
    qtbot.waitExposed(window)
    yield window
    window.close()


def marked_items(installation) -> set[int]:
    connection = sqlite3.connect(str(installation.database))
    try:
        return {
            code for (code,) in connection.execute("SELECT Codigo FROM NivelCategoria4 WHERE Marca")
        }
    finally:
        connection.close()


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("row", range(5))
def test_search_content(
    search_window, contas, fake_desktop, installation, watch, row: int, kind: str
) -> None:
    """Part 3.1: `Conteudo[row]` ("Item", "contenha") holds the bad input; content as typed."""
    window = search_window
    for _ in range(row):
        window.BotaoMais_Click(0)
    window.Campo[row].setCurrentText("Item")
    window.Criterio[row].setCurrentText("contenha")
    content = text_for(kind, "Conta de luz")
    window.Conteudo[row].setText(content)
    fake_desktop.calls.clear()
    before = snapshot(installation.database)
    seen = watch(contas.state)
    window.BotaoProcura_Click(2)
    after = snapshot(installation.database)
    delta = changes(before, after)
    seen.assert_only_the_parts_statements()
    # Only the scratch marks may change: `Procura` and `NivelCategoria4.Marca`.
    assert set(delta) <= {"Procura", "NivelCategoria4"}
    strip_mark = [row_[:4] for row_ in before["NivelCategoria4"]]
    assert [row_[:4] for row_ in after["NivelCategoria4"]] == strip_mark
    # A Jet text carrying the content is the Part's marker or the bulk marking built from it.
    parts = {rules.marker_sql(4, "Like", content)}
    criterion = rules.plan_search(window.criteria_rows()).criteria if content.strip() else []
    if criterion and criterion[0].plain:
        parts.add(rules.bulk_marking_sql(criterion))
    for text in seen.jet:
        if content.strip() and content in text:
            assert text in parts, text
    if kind in ("apostrophe", "drop", "and_not"):
        # The content ends its quotes early: the Part's statement fails into the log.
        assert_logged(fake_desktop, installation)
        assert contas.state.search_result == -1
        assert marked_items(installation) == set()
        assert window.isVisible()  # still open to correct the content or cancel
    elif kind in CONTROL:
        assert boxes(fake_desktop) == [
            (names.CONTENT_CONTROL_PROMPT, desktop.vbInformation, names.CONTENT_TITLE)
        ]
        assert window.isVisible()
        assert delta == {}
    else:
        assert [b for b in fake_desktop.boxes] == []
        assert not window.isVisible()
        expected = {
            # Like '*' OR '1'='1*': the Part's own text marks every named item.
            "or_true": set(range(1, 10)),
            "padded": set(),  # content as typed: "*  Conta de luz  *" matches nothing
            "blanks": set(),  # an empty row is skipped: nothing is searched
        }.get(kind, set())
        assert marked_items(installation) == expected
        assert contas.state.search_result == len(expected)


# --- the report name (Part 4.3) ------------------------------------------------------------


@pytest.fixture
def report_window(contas, fake_desktop, qtbot) -> ArvRelat:
    window = ArvRelat(contas.state, 1, 0, "")
    qtbot.addWidget(window)
    return window


@pytest.mark.parametrize("kind", KINDS)
def test_report_name(report_window, contas, fake_desktop, installation, watch, kind: str) -> None:
    """Part 4.3: a new definition saved under the bad name (the root's subtree marked)."""
    window = report_window
    window.Arvore_NodeClick(window.Arvore.topLevelItem(0).child(0))  # the category Despesas
    name = text_for(kind, "Relatório Novo")
    window.Nome.setText(name)
    typed = window.Nome.text()  # the box holds at most 50 characters
    before = snapshot(installation.database)
    seen = watch(contas.state)
    fake_desktop.answers[:] = [desktop.vbYes]
    window.BotaoEscolha_Click(0)
    delta = changes(before, snapshot(installation.database))
    seen.assert_only_the_parts_statements()
    for criteria in seen.criteria:
        if typed.strip() and typed.strip() in criteria:
            assert criteria == "NomeRelatorio = '" + typed.strip() + "'"
    question = fake_desktop.boxes[0]
    assert question.title != "Tratamento de Erros"
    del fake_desktop.calls[: fake_desktop.calls.index(question) + 1]
    if kind in ("apostrophe", "drop", "and_not"):
        # The name ends its quotes early ("and_not" names a field `Relatorios` lacks).
        assert_logged(fake_desktop, installation)
        assert delta == {}
        assert window.Modo == 1  # still a new definition, the window open
    elif kind in CONTROL:
        assert boxes(fake_desktop) == [
            (names.CONTROL_PROMPT, desktop.vbInformation, names.INVALID_TITLE)
        ]
        assert delta == {}
    elif kind == "blanks":
        assert boxes(fake_desktop) == [
            ("Digite o nome deste relatório", desktop.vbInformation, "Nome do Relatório")
        ]
        assert delta == {}
    else:
        # Saved under the name as typed (trimmed; the long one cut at the box's 50).
        assert fake_desktop.boxes == []
        assert set(delta) == {"Relatorios", "RelatorioItens"}
        gone, added = delta["Relatorios"]
        assert gone == []
        assert [row[1] for row in added] == [typed.strip()]
        assert delta["RelatorioItens"][0] == []
        assert {row[0] for row in delta["RelatorioItens"][1]} == {added[0][0]}
        if kind == "long":
            assert added[0][1] == "A" * 50


def test_report_name_quote_balanced_is_not_taken_for_an_existing_name(
    report_window, fake_desktop, installation
) -> None:
    """ "' OR '1'='1" finds "Resultado Mensal": not the same name, so it is not a duplicate."""
    report_window.Nome.setText(OR_TRUE)
    fake_desktop.answers[:] = [desktop.vbYes]
    report_window.BotaoEscolha_Click(0)
    assert len(fake_desktop.boxes) == 1  # the save question only: no "Nome já existente"
    connection = sqlite3.connect(str(installation.database))
    try:
        assert connection.execute("SELECT NomeRelatorio FROM Relatorios ORDER BY 1").fetchall() == [
            (OR_TRUE,),
            ("Resultado Mensal",),
        ]
    finally:
        connection.close()


# --- the dates (Part 4.2) ------------------------------------------------------------------


@pytest.fixture
def period_window(contas, fake_desktop, qtbot) -> DataPeriodo:
    window = DataPeriodo(contas.state)
    qtbot.addWidget(window)
    window.show()
    qtbot.waitExposed(window)
    return window


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("box", (0, 1))
def test_date_box(
    period_window, contas, fake_desktop, installation, qtbot, box: int, kind: str
) -> None:
    """Part 4.2: the masked box takes only digits; anything else is refused on confirm."""
    window = period_window
    valid = [b.text() for b in window.Datas]
    window.Datas[box].setText(text_for(kind, valid[box]))
    window.Datas[box].setFocus()
    fake_desktop.calls.clear()
    before = snapshot(installation.database)
    window.Botao_Click(1)
    delta = changes(before, snapshot(installation.database))
    if kind == "padded":
        # The mask drops the blanks: the date stands, the period is confirmed.
        assert [b.text() for b in window.Datas] == valid
        assert contas.state.confirmed
        assert window.result() == QDialog.DialogCode.Accepted
        assert set(delta) <= {"DadosEmpresa"}
        return
    message = periodo.INVALID_START if box == 0 else periodo.INVALID_END
    assert boxes(fake_desktop) == [(message, desktop.vbInformation, periodo.INVALID_TITLE)]
    assert not contas.state.confirmed
    assert window.isVisible()
    assert delta == {}
    assert not installation.error_log.exists()


def test_typed_garbage_in_a_date_box_is_held_off_by_the_mask(period_window, qtbot) -> None:
    """Part 4.2: keys that are not digits never reach the box's text."""
    box = period_window.Datas[0]
    box.selectAll()
    box.setCursorPosition(0)
    qtbot.keyClicks(box, "x'; DROP")
    assert not any(char.isalpha() or char in "';" for char in box.text())
