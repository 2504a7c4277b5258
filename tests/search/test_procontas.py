"""Part 3.1: the search window `ProContas` — preparation, buttons, rows, links and sounds."""

from __future__ import annotations

import pytest
from PySide6.QtCore import QEvent, Qt
from PySide6.QtTest import QTest
from PySide6.QtWidgets import QApplication

from varemo_contas.app import desktop
from varemo_contas.search import criteria as rules
from varemo_contas.search.procontas import ProContas


@pytest.fixture
def window(state, fake_desktop, qtbot) -> ProContas:
    window = ProContas(state)
    qtbot.addWidget(window)
    window.show()
    qtbot.waitExposed(window)
    fake_desktop.calls.clear()
    return window


def fill(window: ProContas, i: int, campo: str, criterio: str, conteudo: str) -> None:
    window.Campo[i].setCurrentText(campo)
    window.Criterio[i].setCurrentText(criterio)
    window.Conteudo[i].setText(conteudo)


def shown_rows(window: ProContas) -> list[int]:
    return [i for i in range(5) if window.row_shown(i)]


# --- the window and its controls ------------------------------------------------------------


def test_caption_help_text_and_rows(window: ProContas) -> None:
    """Part 3.1: the caption, `Selecao`, five rows of `Campo`, `Criterio`, `Conteudo`, `Label1`."""
    assert window.windowTitle() == "Critérios do Filtro de Procura - Plano de Contas"
    assert window.Selecao.text() == rules.SELECAO
    assert len(window.Campo) == len(window.Criterio) == len(window.Conteudo) == 5
    assert [label.text() for label in window.Label1] == [
        "1º critério",
        "2º critério",
        "3º critério",
        "4º critério",
        "5º critério",
    ]
    for i in range(5):
        assert [window.Campo[i].itemText(k) for k in range(6)] == list(rules.CAMPOS)
        assert [window.Criterio[i].itemText(k) for k in range(5)] == list(rules.CRITERIOS)
        assert not window.Campo[i].isEditable()  # read-only lists
        assert not window.Criterio[i].isEditable()
    assert len(window.BotaoProcura) == 3
    assert len(window.BotaoMais) == 2


def test_link_button_on_every_row_but_the_first(window: ProContas) -> None:
    assert sorted(window.Chave) == [1, 2, 3, 4]
    assert all(chave.text() == "e o" for chave in window.Chave.values())


# --- preparation --------------------------------------------------------------------------


def test_opening_prepares_the_tables(
    state, search_db, fake_desktop, qtbot, jet_texts, marked, procura
) -> None:
    """Preparation steps 1-4 in order: result -1, clear, refill, open the two sets."""
    search_db.connection.execute("UPDATE NivelCategoria4 SET Marca = 1")
    state.search_result = 3
    window = ProContas(state)
    qtbot.addWidget(window)
    assert jet_texts == [
        "UPDATE NivelCategoria4 SET Marca = False WHERE Marca = True;",
        "DELETE * FROM Procura;",
        "INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;",
        "SELECT * FROM Procura;",
        rules.CAMINHO_ITENS,
    ]
    assert state.search_result == -1
    assert marked() == set()
    assert len(procura()) == 16
    assert window.RsProcura is not None and not window.RsProcura.closed
    assert window.RsItens is not None and window.RsItens.record_count == 16
    window.show()
    qtbot.waitExposed(window)
    assert len(jet_texts) == 5  # the first showing is the same bringing up


def test_each_opening_clears_the_previous_marks(window, state, marked, procura, qtbot) -> None:
    """State and lifecycle: search hides; bringing the window up again prepares again."""
    fill(window, 0, "Item", "contenha", "ab")
    window.BotaoProcura_Click(2)
    assert not window.isVisible()
    assert marked() == {11, 13, 14, 15}
    assert state.search_result == 4
    window.show()
    qtbot.waitExposed(window)
    assert state.search_result == -1
    assert marked() == set()
    assert all(row[1:] == (0,) * 6 for row in procura())
    assert window.RsProcura is not None and not window.RsProcura.closed


# --- BotaoProcura -------------------------------------------------------------------------


def test_search_marks_counts_closes_and_hides(window, state, fake_desktop, marked, procura) -> None:
    """Index 2: click sound, the search, the `Procura` recordset closed, the window hidden."""
    procura_set = window.RsProcura
    fill(window, 0, "Qualquer campo", "contenha", "Receitas")
    window.BotaoProcura_Click(2)
    assert fake_desktop.sounds[0] == 7
    assert state.search_result == 5
    assert marked() == {1, 2, 3, 9, 10}
    assert procura_set.closed
    assert window.RsProcura is None
    assert not window.isVisible()
    assert window.result() == window.DialogCode.Accepted


def test_search_with_all_rows_empty_gives_0(window, state, marked) -> None:
    """Edge case: nothing filled -> nothing marked, result 0 (the main window says so)."""
    window.BotaoProcura_Click(2)
    assert state.search_result == 0
    assert marked() == set()
    assert not window.isVisible()


def test_cancel_gives_minus_1_and_leaves_the_marks_cleared(
    state, search_db, fake_desktop, qtbot, marked
) -> None:
    """Index 1: the `Procura` recordset closed, result -1, hidden; the old hits are gone."""
    search_db.connection.execute("UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo < 4")
    window = ProContas(state)
    qtbot.addWidget(window)
    window.show()
    procura_set = window.RsProcura
    fill(window, 0, "Item", "contenha", "ab")
    window.BotaoProcura_Click(1)
    assert fake_desktop.sounds == [7]
    assert state.search_result == -1
    assert marked() == set()
    assert procura_set.closed
    assert not window.isVisible()


def test_escape_cancels(window, state) -> None:
    QTest.keyClick(window, Qt.Key.Key_Escape)
    assert state.search_result == -1
    assert not window.isVisible()


def test_help_opens_topic_25000(window, fake_desktop) -> None:
    """Index 0: click sound, then the help topic of this window (Part 1.4)."""
    window.BotaoProcura_Click(0)
    assert [(call.name, call.args) for call in fake_desktop.calls] == [
        ("play_sound", (7,)),
        ("show_help", (25000,)),
    ]
    assert window.isVisible()


def test_apostrophe_goes_to_the_error_log_and_the_window_stays(
    window, state, fake_desktop, marked, procura, error_log
) -> None:
    """Failure handling: the SQL error is logged (routine "Procura"), nothing is marked."""
    fill(window, 0, "Item", "contenha", "Pão")
    window.BotaoMais_Click(0)
    fill(window, 1, "Conta", "contenha", "d'água")
    window.BotaoProcura_Click(2)
    assert "Rotina: Procura\r\n" in error_log()
    (box,) = fake_desktop.boxes
    assert box.title == "Tratamento de Erros"
    assert box.buttons == desktop.vbCritical
    assert "Rotina em que houve o erro: Procura" in box.prompt
    assert marked() == set()
    assert all(row[1:] == (0,) * 6 for row in procura())
    assert state.search_result == -1
    assert window.isVisible()
    # Still usable: the person corrects the content and searches.
    window.Conteudo[1].setText("Pães")
    window.Chave_Click(1)
    window.BotaoProcura_Click(2)
    assert state.search_result == 3
    assert marked() == {1, 2, 4}  # "Pão" items or those under a Conta "Pães"
    assert not window.isVisible()


# --- rows and links -----------------------------------------------------------------------


def test_botao_mais_shows_and_hides_rows(window) -> None:
    """`BotaoMais`: 0 shows the next row, 1 hides the last; only a possible action is offered."""
    assert shown_rows(window) == [0]
    assert not window.BotaoMais[0].isHidden()
    assert window.BotaoMais[1].isHidden()
    for expected in ([0, 1], [0, 1, 2], [0, 1, 2, 3], [0, 1, 2, 3, 4]):
        window.BotaoMais_Click(0)
        assert shown_rows(window) == expected
        assert not window.BotaoMais[1].isHidden()
    assert window.BotaoMais[0].isHidden()
    window.BotaoMais_Click(0)  # nothing more to show
    assert shown_rows(window) == [0, 1, 2, 3, 4]
    for expected in ([0, 1, 2, 3], [0, 1, 2], [0, 1], [0]):
        window.BotaoMais_Click(1)
        assert shown_rows(window) == expected
        assert not window.BotaoMais[0].isHidden()
    assert window.BotaoMais[1].isHidden()
    window.BotaoMais_Click(1)  # the first row is always shown
    assert shown_rows(window) == [0]


def test_botao_mais_hides_every_control_of_the_row(window) -> None:
    window.BotaoMais_Click(0)
    window.BotaoMais_Click(0)
    window.BotaoMais_Click(1)
    for control in (
        window.Campo[2],
        window.Criterio[2],
        window.Conteudo[2],
        window.Label1[2],
        window.Chave[2],
    ):
        assert control.isHidden()
    for control in (window.Campo[1], window.Conteudo[1], window.Label1[1], window.Chave[1]):
        assert control.isVisible()


def test_botao_mais_finds_the_last_shown_row_afresh(window) -> None:
    """Each click looks at the rows as they are, not at a remembered count."""
    window.BotaoMais_Click(0)
    window.BotaoMais_Click(0)
    for control in (window.Campo[2], window.Criterio[2], window.Conteudo[2], window.Label1[2]):
        control.hide()
    window.Chave[2].hide()
    window.BotaoMais_Click(0)
    assert shown_rows(window) == [0, 1, 2]


def test_a_hidden_row_searches_nothing(window, state, marked) -> None:
    window.BotaoMais_Click(0)
    fill(window, 0, "Item", "contenha", "ab")
    fill(window, 1, "Item", "contenha", "CABO")
    window.BotaoMais_Click(1)
    assert window.criteria_rows()[1][2] == ""
    window.BotaoProcura_Click(2)
    assert marked() == {11, 13, 14, 15}


def test_chave_switches_its_caption(window, fake_desktop) -> None:
    """`Chave`: a click switches "e o" and "ou"; the click sound first."""
    window.Chave_Click(3)
    assert window.Chave[3].text() == "ou"
    assert window.Chave[1].text() == "e o"
    window.Chave_Click(3)
    assert window.Chave[3].text() == "e o"
    assert fake_desktop.sounds == [7, 7]


def test_links_reach_the_search(window, state, marked) -> None:
    """A ou B e o C: the window's links in row order, AND before OR."""
    window.BotaoMais_Click(0)
    window.BotaoMais_Click(0)
    fill(window, 0, "Item", "contenha", "CDB")
    fill(window, 1, "Item", "contenha", "Pão")
    fill(window, 2, "Categoria", "seja igual a", "Despesas")
    window.Chave_Click(1)
    assert [row[3] for row in window.criteria_rows()] == ["", "ou", "e o", "e o", "e o"]
    window.BotaoProcura_Click(2)
    assert marked() == {4, 9, 10}


# --- sounds -------------------------------------------------------------------------------


def test_clicks_play_the_click_sound(window, fake_desktop, qtbot) -> None:
    qtbot.mouseClick(window.BotaoMais[0], Qt.MouseButton.LeftButton)
    qtbot.mouseClick(window.Chave[1], Qt.MouseButton.LeftButton)
    qtbot.mouseClick(window.BotaoProcura[0], Qt.MouseButton.LeftButton)
    assert fake_desktop.sounds == [7, 7, 7]
    assert window.Chave[1].text() == "ou"
    assert shown_rows(window) == [0, 1]


def test_hovering_a_button_plays_the_hover_sound(window, fake_desktop) -> None:
    for button in (window.BotaoProcura[2], window.BotaoMais[0], window.Chave[1]):
        QApplication.sendEvent(button, QEvent(QEvent.Type.Enter))
    assert fake_desktop.sounds == [6, 6, 6]


# --- with the main window -----------------------------------------------------------------


def test_main_window_reports_the_hits(contas, fake_desktop) -> None:
    """Part 2.3 "ID_Filtrar": the window through show_modal, then the found-records report."""

    def search(window: ProContas) -> None:
        window.Conteudo[0].setText("Pão")
        window.Campo[0].setCurrentText("Item")
        window.BotaoProcura_Click(2)

    fake_desktop.modal_hook = search
    contas.tool_click("ID_Filtrar")
    assert contas.state.search_result == 2
    assert fake_desktop.boxes[-1].title == "Registros encontrados"


def test_main_window_after_cancel_reports_nothing(contas, fake_desktop) -> None:
    fake_desktop.modal_hook = lambda window: window.BotaoProcura_Click(1)
    contas.tool_click("ID_Filtrar")
    assert contas.state.search_result == -1
    assert fake_desktop.boxes == []
