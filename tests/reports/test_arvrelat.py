"""Part 4.3: the report-definition window `ArvRelat` on the seeded company.

Seeded definition 1 "Resultado Mensal" (conftest.py SEED_SQL) marks Despesas (2N0) as
"Alguns" and Despesas Administrativas (3N1) with everything under it as "Todos".
"""

from __future__ import annotations

import os
from pathlib import Path

import pytest
from PySide6.QtCore import Qt
from PySide6.QtWidgets import QDialog

from varemo_contas.app import desktop, helptopics
from varemo_contas.app.images import ALGUNS, NENHUM, TODOS
from varemo_contas.app.state import State
from varemo_contas.data.dao import Database
from varemo_contas.data.errors import JetError
from varemo_contas.editor.tree import walk
from varemo_contas.reports.arvrelat import ArvRelat

QUESTION = (
    "Deseja gravar este relatório?",
    desktop.vbYesNo + desktop.vbQuestion,
    "Gravar Relatório",
)
NO_NAME = ("Digite o nome deste relatório", desktop.vbInformation, "Nome do Relatório")
TAKEN = (
    "Este nome já existe!\rMude o nome do relatório",
    desktop.vbInformation,
    "Nome já existente",
)


@pytest.fixture
def state(db: Database, tmp_path: Path) -> State:
    data = tmp_path / "dados_empresa"
    (data / "Dados").mkdir(parents=True)
    return State(database=db, data_folder=str(data) + os.sep, user_name="teste")


@pytest.fixture
def open_window(state: State, qtbot, fake_desktop):
    def factory(mode: int, code: int = 0, name: str = "") -> ArvRelat:
        window = ArvRelat(state, mode, code, name)
        qtbot.addWidget(window)
        return window

    return factory


def rows(db: Database, sql: str) -> list[tuple]:
    return db.connection.execute(sql).fetchall()


def items_of(db: Database, code: int) -> list[tuple]:
    return rows(
        db,
        "SELECT Nivel, CodigoConta, Imagem FROM RelatorioItens "
        f"WHERE CodigoRelatorio = {code} ORDER BY rowid",
    )


def boxes(fake_desktop) -> list[tuple]:
    return [(box.prompt, box.buttons, box.title) for box in fake_desktop.boxes]


def save(window: ArvRelat, fake_desktop, *answers: int) -> None:
    fake_desktop.answers[:] = list(answers) or [desktop.vbYes]
    window.BotaoEscolha_Click(0)


# --- opening -------------------------------------------------------------------------


def test_new_definition_window(open_window) -> None:
    """Part 4.3 opening, mode 1: caption, prompt in the name box, every node "Nenhum"."""
    window = open_window(1)
    assert window.windowTitle() == "Relatório - Escolha os Itens"
    assert window.Nome.text() == "Digite o nome do relatório"
    assert [button.text() for button in window.BotaoEscolha] == ["&Gravar", "&Fechar"]
    assert len(window.nodes) == 1 + 3 + 4 + 6 + 7 + 9
    assert all(node.image == NENHUM for node in window.nodes.values())
    assert window.root.text(0) == "Despesas e Receitas"
    assert window.Arvore.currentItem() is window.root
    assert window.Modo == 1


def test_edit_window_reads_the_marks_and_expands_them(open_window) -> None:
    """Part 4.3 opening, mode 2: ContasLer, then every marked node expanded."""
    window = open_window(2, 1, "Resultado Mensal")
    nodes = window.nodes
    assert window.Nome.text() == "Resultado Mensal"
    assert nodes["2N0"].image == ALGUNS
    for key in ("3N1", "5N2", "5N3", "6N3", "6N4", "7N4", "8N4"):
        assert nodes[key].image == TODOS, key
    marked = {key for key, node in nodes.items() if node.image != NENHUM}
    assert marked == {"NI", "2N0", "3N1", "5N2", "5N3", "6N3", "6N4", "7N4", "8N4"}
    # The seed stores no row for the root: it shows what its children make it.
    assert window.root.image == ALGUNS
    assert all(nodes[key].isExpanded() for key in ("2N0", "3N1", "5N2", "5N3", "6N3"))
    assert not nodes["1N0"].isExpanded()
    assert not nodes["2N1"].isExpanded()


def test_contasler_takes_the_first_row_of_a_node_and_reads_the_root(db, open_window) -> None:
    """Part 4.3 ContasLer: the root too; the first matching row wins; Nivel compares as a
    find does (case-blind); an `Imagem` other than 2 or 3 leaves the node "Nenhum"."""
    db.connection.executescript(
        "INSERT INTO RelatorioItens VALUES (1, 'NI', 0, 2);"
        "INSERT INTO RelatorioItens VALUES (1, 'n4', 9, 3);"
        "INSERT INTO RelatorioItens VALUES (1, 'N4', 9, 2);"
        "INSERT INTO RelatorioItens VALUES (1, 'N4', 1, 7);"
        "INSERT INTO RelatorioItens VALUES (2, 'N4', 2, 3);"
    )
    window = open_window(2, 1, "Resultado Mensal")
    assert window.root.image == ALGUNS
    assert window.nodes["9N4"].image == TODOS
    assert window.nodes["1N4"].image == NENHUM
    assert window.nodes["2N4"].image == NENHUM  # a row of another definition
    assert window.state.sql == "SELECT * FROM RelatorioItens WHERE CodigoRelatorio = 1"


# --- marking -------------------------------------------------------------------------


def test_node_click_toggles_with_subtree_and_ancestors(open_window) -> None:
    """Part 4.3 "Check marks" through the window's seam."""
    window = open_window(1)
    nodes = window.nodes
    window.Arvore_NodeClick(nodes["5N3"])
    assert [nodes[k].image for k in ("5N3", "6N4", "7N4")] == [TODOS] * 3
    assert [nodes[k].image for k in ("5N2", "3N1", "2N0", "NI")] == [ALGUNS] * 4
    window.Arvore_NodeClick(nodes["5N3"])
    assert all(node.image == NENHUM for node in nodes.values())


def test_mouse_click_on_a_node_toggles_its_mark(open_window, qtbot) -> None:
    window = open_window(1)
    window.resize(520, 640)
    window.show()
    qtbot.waitExposed(window)
    node = window.nodes["1N0"]  # "Receitas", a visible child of the root
    rect = window.Arvore.visualItemRect(node)
    qtbot.mouseClick(window.Arvore.viewport(), Qt.MouseButton.LeftButton, pos=rect.center())
    assert node.image == TODOS
    assert window.root.image == ALGUNS
    qtbot.mouseClick(window.Arvore.viewport(), Qt.MouseButton.LeftButton, pos=rect.center())
    assert node.image == NENHUM


def test_space_bar_toggles_the_selected_node(open_window, qtbot) -> None:
    window = open_window(1)
    node = window.nodes["2N0"]
    window.Arvore.setCurrentItem(node)
    qtbot.keyClick(window.Arvore, Qt.Key.Key_Space)
    assert node.image == TODOS
    assert window.nodes["8N4"].image == TODOS
    qtbot.keyClick(window.Arvore, Qt.Key.Key_Space)
    assert node.image == NENHUM
    # Other keys keep their tree behaviour and toggle nothing.
    qtbot.keyClick(window.Arvore, Qt.Key.Key_Down)
    assert all(n.image == NENHUM for n in window.nodes.values())


# --- saving --------------------------------------------------------------------------


def test_save_asks_first_and_no_saves_nothing(db, open_window, fake_desktop) -> None:
    """Part 4.3 "Save": the Yes/No question; No leaves everything and the window open."""
    window = open_window(1)
    window.Nome.setText("Custos")
    window.Arvore_NodeClick(window.nodes["6N4"])
    save(window, fake_desktop, desktop.vbNo)
    assert boxes(fake_desktop) == [QUESTION]
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(1,)]
    assert rows(db, "SELECT COUNT(*) FROM RelatorioItens") == [(8,)]
    assert window.result() == 0 and window.Modo == 1


def test_saving_a_new_definition_without_a_name(db, open_window, fake_desktop) -> None:
    """Part 4.3 edge case: the prompt still in the box gives "Digite o nome deste relatório"."""
    window = open_window(1)
    window.Arvore_NodeClick(window.nodes["6N4"])
    save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION, NO_NAME]
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(1,)]
    # A box emptied by the person is no name either (our reading of "without a name").
    window.Nome.setText("   ")
    save(window, fake_desktop)
    assert boxes(fake_desktop)[-1] == NO_NAME
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(1,)]


def test_saving_a_new_definition_under_an_existing_name_adds_nothing(
    db, open_window, fake_desktop
) -> None:
    """Part 4.3 edge case: the duplicate message; names compare as the database does."""
    window = open_window(1)
    window.Nome.setText("resultado MENSAL")
    window.Arvore_NodeClick(window.nodes["9N4"])
    save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION, TAKEN]
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(1,)]
    assert rows(db, "SELECT COUNT(*) FROM RelatorioItens") == [(8,)]
    assert window.Modo == 1


def test_partial_grupo_stores_the_grupo_and_ancestors_as_2(
    db, open_window, fake_desktop, qtbot
) -> None:
    """Part 4.3 edge case: some leaves of Ocupação marked: Ocupação and its ancestors 2,
    the marked leaves 3; a new definition gets the code the database assigns."""
    window = open_window(1)
    window.Nome.setText("Custos")
    window.Arvore_NodeClick(window.nodes["6N4"])  # Aluguel da loja, not Condomínio
    window.Arvore_NodeClick(window.nodes["8N4"])  # Conta de luz, the only item of Energia
    with qtbot.waitSignal(window.saved, timeout=1000):
        save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION]
    assert rows(db, "SELECT CodigoRelatorio, NomeRelatorio FROM Relatorios") == [
        (1, "Resultado Mensal"),
        (2, "Custos"),
    ]
    assert items_of(db, 2) == [
        ("NI", 0, 2),
        ("N0", 2, 2),
        ("N1", 3, 2),
        ("N2", 5, 2),
        ("N3", 5, 2),
        ("N4", 6, 3),
        ("N3", 6, 3),
        ("N4", 8, 3),
    ]
    assert items_of(db, 1) == items_of_seed()
    # The window now edits what it saved: saving again updates, never a duplicate.
    assert (window.Modo, window.CodigoRelatorio, window.NomeRelatorio) == (2, 2, "Custos")
    window.Arvore_NodeClick(window.nodes["8N4"])
    save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION, QUESTION]
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(2,)]
    assert ("N4", 8, 3) not in items_of(db, 2)


def items_of_seed() -> list[tuple]:
    return [
        ("N0", 2, 2),
        ("N1", 3, 3),
        ("N2", 5, 3),
        ("N3", 5, 3),
        ("N3", 6, 3),
        ("N4", 6, 3),
        ("N4", 7, 3),
        ("N4", 8, 3),
    ]


def test_resaving_replaces_all_item_rows_and_an_unmarked_node_disappears(
    db, open_window, fake_desktop
) -> None:
    """Part 4.3 edge case: the DELETE and the rows written afresh; other reports untouched."""
    db.connection.executescript(
        "INSERT INTO Relatorios VALUES (2, 'Despesas Fixas');"
        "INSERT INTO RelatorioItens VALUES (2, 'N4', 7, 3);"
    )
    window = open_window(2, 1, "Resultado Mensal")
    window.Arvore_NodeClick(window.nodes["7N4"])  # unmark Condomínio
    save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION]
    assert items_of(db, 1) == [
        ("NI", 0, 2),
        ("N0", 2, 2),
        ("N1", 3, 2),
        ("N2", 5, 2),
        ("N3", 5, 2),
        ("N4", 6, 3),
        ("N3", 6, 3),
        ("N4", 8, 3),
    ]
    assert items_of(db, 2) == [("N4", 7, 3)]
    assert window.state.sql == "DELETE * FROM RelatorioItens WHERE CodigoRelatorio = 1;"


def test_edit_renaming_to_another_definitions_name_is_refused(
    db, open_window, fake_desktop
) -> None:
    """Part 4.3 mode 2: a changed name found under another definition stops the save."""
    db.connection.execute("INSERT INTO Relatorios VALUES (2, 'Despesas Fixas')")
    window = open_window(2, 1, "Resultado Mensal")
    window.Arvore_NodeClick(window.nodes["7N4"])
    window.Nome.setText("despesas fixas")
    save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION, TAKEN]
    assert rows(db, "SELECT NomeRelatorio FROM Relatorios ORDER BY CodigoRelatorio") == [
        ("Resultado Mensal",),
        ("Despesas Fixas",),
    ]
    assert items_of(db, 1) == items_of_seed()


def test_edit_keeping_or_recasing_its_own_name_is_accepted(db, open_window, fake_desktop) -> None:
    """Our rule: unchanged (as the database compares) means no check; its own row is fine."""
    window = open_window(2, 1, "Resultado Mensal")
    window.Nome.setText("RESULTADO mensal")
    save(window, fake_desktop)
    assert boxes(fake_desktop) == [QUESTION]
    assert rows(db, "SELECT CodigoRelatorio, NomeRelatorio FROM Relatorios") == [
        (1, "RESULTADO mensal")
    ]


def test_resaving_a_definition_stored_without_its_root_row_keeps_it(
    db, open_window, fake_desktop
) -> None:
    """The seed (like the demo) has no "NI" row: an unchanged re-save keeps every branch."""
    window = open_window(2, 1, "Resultado Mensal")
    save(window, fake_desktop)
    assert items_of(db, 1) == [
        ("NI", 0, 2),
        ("N0", 2, 2),
        ("N1", 3, 3),
        ("N2", 5, 3),
        ("N3", 5, 3),
        ("N4", 6, 3),
        ("N4", 7, 3),
        ("N3", 6, 3),
        ("N4", 8, 3),
    ]


def test_edit_renaming_to_a_new_name_keeps_the_code(db, open_window, fake_desktop) -> None:
    window = open_window(2, 1, "Resultado Mensal")
    window.Nome.setText("Resultado do Mês")
    save(window, fake_desktop)
    assert rows(db, "SELECT CodigoRelatorio, NomeRelatorio FROM Relatorios") == [
        (1, "Resultado do Mês")
    ]
    assert len(items_of(db, 1)) == 9  # the eight rows, now with the root's


def test_apostrophe_in_the_name_goes_to_the_error_log_and_writes_nothing(
    db, open_window, fake_desktop, state
) -> None:
    """Part 4.3 "Failure handling": the broken criterion is logged as "Gravar Relatório";
    nothing is written and the window stays usable."""
    window = open_window(1)
    window.Arvore_NodeClick(window.nodes["9N4"])
    window.Nome.setText("Relatório D'Ávila")
    save(window, fake_desktop)
    assert [box.title for box in fake_desktop.boxes] == ["Gravar Relatório", "Tratamento de Erros"]
    assert fake_desktop.boxes[1].buttons == desktop.vbCritical
    assert "Rotina em que houve o erro: Gravar Relatório" in fake_desktop.boxes[1].prompt
    assert fake_desktop.sounds == [1]
    log = Path(state.data_folder, "Dados", "Erros.txt").read_bytes().decode("cp1252")
    assert "Rotina: Gravar Relatório\r\n" in log
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(1,)]
    assert rows(db, "SELECT COUNT(*) FROM RelatorioItens") == [(8,)]
    # Usable: a corrected name saves.
    window.Nome.setText("Relatório Dávila")
    save(window, fake_desktop)
    assert rows(db, "SELECT NomeRelatorio FROM Relatorios WHERE CodigoRelatorio = 2") == [
        ("Relatório Dávila",)
    ]


def test_a_failure_halfway_rolls_the_whole_save_back(db, open_window, fake_desktop) -> None:
    """DESIGN "Writes are atomic": the rename, the DELETE and the rows are one transaction."""
    window = open_window(2, 1, "Resultado Mensal")
    window.Nome.setText("Outro Nome")
    window.Arvore_NodeClick(window.nodes["7N4"])
    written: list[str] = []

    def fail_on_third_item(sql: str) -> None:
        if sql.startswith('INSERT INTO "RelatorioItens"'):
            written.append(sql)
            if len(written) == 3:
                raise JetError(3022, "falha simulada")

    db.statement_hook = fail_on_third_item
    save(window, fake_desktop)
    db.statement_hook = None
    assert fake_desktop.boxes[-1].title == "Tratamento de Erros"
    assert rows(db, "SELECT NomeRelatorio FROM Relatorios") == [("Resultado Mensal",)]
    assert items_of(db, 1) == items_of_seed()
    assert (window.Modo, window.NomeRelatorio) == (2, "Resultado Mensal")
    save(window, fake_desktop)
    assert rows(db, "SELECT NomeRelatorio FROM Relatorios") == [("Outro Nome",)]


def test_close_button_saves_nothing(db, open_window, fake_desktop) -> None:
    window = open_window(1)
    window.Nome.setText("Custos")
    window.Arvore_NodeClick(window.nodes["9N4"])
    window.BotaoEscolha_Click(1)
    assert window.result() == QDialog.DialogCode.Rejected
    assert fake_desktop.boxes == []
    assert rows(db, "SELECT COUNT(*) FROM Relatorios") == [(1,)]


def test_f1_opens_the_windows_help(open_window, fake_desktop, qtbot) -> None:
    window = open_window(1)
    qtbot.keyClick(window, Qt.Key.Key_F1)
    assert [call.args[0] for call in fake_desktop.named("show_help")] == [
        helptopics.RELATORIO_ITENS
    ]


def test_saved_definition_reopens_with_the_same_marks(db, open_window, fake_desktop) -> None:
    """What ContasSalvar writes, ContasLer reads back to the same images."""
    window = open_window(1)
    window.Nome.setText("Ida e volta")
    for key in ("6N4", "3N2", "9N4"):
        window.Arvore_NodeClick(window.nodes[key])
    save(window, fake_desktop)
    before = {key: node.image for key, node in window.nodes.items()}
    again = open_window(2, window.CodigoRelatorio, "Ida e volta")
    assert {key: node.image for key, node in again.nodes.items()} == before
    assert [n.key for n in walk(again.root) if n.isExpanded()] == [
        n.key for n in walk(again.root) if n.image != NENHUM and n.childCount()
    ]


def test_main_window_opens_it_and_refreshes_its_list(contas, fake_desktop) -> None:
    """Part 2.3 "ID_Incluir" on the report list shows this window modally; a save refreshes."""

    def define(window: ArvRelat) -> None:
        assert isinstance(window, ArvRelat) and window.Modo == 1
        window.Nome.setText("Novo pela janela")
        window.Arvore_NodeClick(window.nodes["5N2"])
        fake_desktop.answers[:] = [desktop.vbYes]
        window.BotaoEscolha_Click(0)
        window.BotaoEscolha_Click(1)

    fake_desktop.modal_hook = define
    contas.tool_click("ID_Relatorios")
    contas.tool_click("ID_Incluir")
    names = [contas.Relatos.item(i).text() for i in range(contas.Relatos.count())]
    assert "Novo pela janela" in names


@pytest.mark.slow
def test_a_50000_item_chart_opens_and_saves_quickly(tmp_path, qtbot, fake_desktop) -> None:
    """ContasLer reads the rows once: a 50,000-item definition opens in well under seconds,
    with the same images the spec's find-first per node gives."""
    import importlib.util
    import random
    import time

    path = Path(__file__).resolve().parents[2] / "bench" / "generate.py"
    spec = importlib.util.spec_from_file_location("bench_generate_arvrelat", path)
    assert spec is not None and spec.loader is not None
    generate = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(generate)
    company = str(tmp_path / "grande.mdb")
    generate.generate_company(company, items=50_000, lines=1_000)
    database = Database.open(company)
    state = State(database=database, data_folder=str(tmp_path) + os.sep)
    start = time.perf_counter()
    window = ArvRelat(state, 2, 1, "Resultado Mensal")
    opened = time.perf_counter() - start
    qtbot.addWidget(window)
    assert len(window.nodes) > 50_000
    assert opened < 5.0, opened
    items = database.open_recordset("SELECT * FROM RelatorioItens WHERE CodigoRelatorio = 1")
    for node in random.Random(3).sample(list(window.nodes.values()), 25):
        found = items.find_first(
            "CodigoConta = " + str(node.code) + " AND Nivel = '" + node.level_text + "'"
        )
        expected = {2: ALGUNS, 3: TODOS}[items["Imagem"]] if found else NENHUM
        if node.key != "NI":  # the root is repaired from its children (no "NI" row stored)
            assert node.image == expected, node.key
    items.close()
    window.Arvore_NodeClick(window.root)
    if window.root.image != TODOS:
        window.Arvore_NodeClick(window.root)
    assert all(node.image == TODOS for node in window.nodes.values())
    start = time.perf_counter()
    save(window, fake_desktop)
    assert time.perf_counter() - start < 5.0
    assert rows(database, "SELECT COUNT(*) FROM RelatorioItens WHERE CodigoRelatorio = 1") == [
        (len(window.nodes),)
    ]
    database.close()
