"""Part 4.2: the period window `DataPeriodo` driven as a person drives it."""

from __future__ import annotations

import os
from datetime import date
from pathlib import Path

import pytest
from PySide6.QtCore import QDate, QPoint, Qt
from PySide6.QtWidgets import QDialog, QGroupBox

from varemo_contas.app import desktop
from varemo_contas.app.state import State
from varemo_contas.data.errors import JetError
from varemo_contas.reports import dataperiodo
from varemo_contas.reports.dataperiodo import PICTURE_COLLAPSE, PICTURE_EXPAND, DataPeriodo

SATURDAY = date(2024, 4, 20)  # "today" in these tests
DIARIO, SEMANAL, QUINZENAL, MENSAL, SEMESTRAL, PERIODO = range(6)


@pytest.fixture
def today(monkeypatch: pytest.MonkeyPatch) -> date:
    monkeypatch.setattr(dataperiodo, "today", lambda: SATURDAY)
    return SATURDAY


@pytest.fixture
def state(db, tmp_path: Path) -> State:
    (tmp_path / "Dados").mkdir(exist_ok=True)
    return State(database=db, data_folder=str(tmp_path) + os.sep, user_name="Ana")


@pytest.fixture
def open_dialog(state: State, fake_desktop, qtbot, today):
    """Open the window on the state; shown, so that focus can be checked."""

    def make() -> DataPeriodo:
        window = DataPeriodo(state)
        qtbot.addWidget(window)
        window.show()
        qtbot.waitExposed(window)
        return window

    return make


@pytest.fixture
def dialog(open_dialog) -> DataPeriodo:
    return open_dialog()


def texts(window: DataPeriodo) -> list[str]:
    return [box.text() for box in window.Datas]


def company(db) -> tuple[int, bool]:
    return (
        db.scalar("SELECT InicioSemana FROM DadosEmpresa"),
        bool(db.scalar("SELECT RetroAtivo FROM DadosEmpresa")),
    )


def type_into(qtbot, box, text: str) -> None:
    """Select the box's text and type over it, key by key."""
    box.setFocus()
    box.selectAll()
    qtbot.keyClicks(box, text)


def click(qtbot, button) -> None:
    """Click a button on its indicator, where a person aims."""
    qtbot.mouseClick(button, Qt.MouseButton.LeftButton, pos=QPoint(8, button.height() // 2))


def checked_option(window: DataPeriodo) -> int:
    return next(i for i, button in enumerate(window.Opcao) if button.isChecked())


# --- the window and its controls ------------------------------------------------------------


def test_controls_carry_the_spec_names_and_texts(dialog: DataPeriodo) -> None:
    """Part 4.2: title, option captions, frames, week days with data 1..7, labels, buttons."""
    assert dialog.windowTitle() == "Período do Relatório"
    assert [b.text() for b in dialog.Opcao] == [
        "&Diário",
        "&Semanal",
        "&Quinzenal",
        "&Mensal",
        "S&emestral",
        "&Período",
    ]
    assert all(b.parentWidget() is dialog.Flamula for b in dialog.Opcao)
    assert isinstance(dialog.Flamula, QGroupBox)
    assert [b.text() for b in dialog.OpcaoRetrocede] == ["&Retroativo", "&Completo"]
    assert all(b.parentWidget().title() == " Tipo de Período " for b in dialog.OpcaoRetrocede)
    combo = dialog.InicioSemana
    assert [combo.itemText(i) for i in range(combo.count())] == [
        "Domingo",
        "Segunda-feira",
        "Terça-feira",
        "Quarta-feira",
        "Quinta-feira",
        "Sexta-feira",
        "Sábado",
    ]
    assert [combo.itemData(i) for i in range(combo.count())] == [1, 2, 3, 4, 5, 6, 7]
    assert combo.parentWidget().title() == " Escolha o dia de início da Semana "
    assert all(box.parentWidget().title() == " Período Escolhido " for box in dialog.Datas)
    assert [box.displayFormat() for box in dialog.Datas] == ["dd-MM-yyyy", "dd-MM-yyyy"]
    assert [label.text() for label in dialog.DatasRotulo] == ["data inicial", "data final"]
    assert [label.buddy() for label in dialog.DatasRotulo] == dialog.Datas
    assert [b.text() for b in dialog.Botao[:2]] == ["&Cancelar", "&Confirmar"]
    assert len(dialog.Botao) == 3 and not dialog.Botao[2].icon().isNull()
    assert [label.text() for label in dialog.Rutolo] == list(dataperiodo.periodo.RUTOLO_TEXTS)
    assert all(dialog.Extra.isAncestorOf(label) for label in dialog.Rutolo)
    assert dialog.Extra.isAncestorOf(dialog.InicioSemana)
    assert dialog.Extra.isAncestorOf(dialog.OpcaoRetrocede[0])


# --- opening ---------------------------------------------------------------------------------


def test_load_reads_dadosempresa_sunday_and_complete(dialog: DataPeriodo) -> None:
    """Part 4.2 opening: the seeded company holds InicioSemana 1 and RetroAtivo False."""
    assert dialog.InicioSemana.currentText() == "Domingo"
    assert dialog.week_start == 1
    assert not dialog.OpcaoRetrocede[0].isChecked()
    assert dialog.OpcaoRetrocede[1].isChecked()
    assert dialog.retroactive is False
    assert dialog.Flamula.title() == " Escolha Período (completo) "


def test_load_selects_the_week_around_today(dialog: DataPeriodo, fake_desktop) -> None:
    """Part 4.2 opening steps 4-5: option 1, both boxes today, then the week is computed."""
    assert dialog.option == SEMANAL
    assert checked_option(dialog) == SEMANAL
    assert texts(dialog) == ["14-04-2024", "20-04-2024"]  # Sunday to Saturday
    # Step 5 selects option button 1, whose click plays the click sound.
    assert fake_desktop.sounds == [7]
    assert fake_desktop.boxes == []


def test_load_reads_monday_and_retroactive(db, open_dialog) -> None:
    """Part 4.2 opening steps 2-3 with InicioSemana 2 and RetroAtivo True."""
    db.execute("UPDATE DadosEmpresa SET InicioSemana = 2, RetroAtivo = True")
    window = open_dialog()
    assert window.InicioSemana.currentText() == "Segunda-feira"
    assert window.week_start == 2
    assert window.OpcaoRetrocede[0].isChecked()
    assert not window.OpcaoRetrocede[1].isChecked()
    assert window.Flamula.title() == " Escolha Período (retroativo) "
    # Step 5: computed around today (14-04 to 20-04), then again through the option click,
    # around the start box: a retroactive week is not idempotent, so it moves back a week.
    assert texts(window) == ["08-04-2024", "14-04-2024"]


def test_load_with_monday_start_complete_week(db, open_dialog) -> None:
    db.execute("UPDATE DadosEmpresa SET InicioSemana = 2, RetroAtivo = False")
    window = open_dialog()
    assert texts(window) == ["15-04-2024", "21-04-2024"]  # Monday to Sunday


def test_load_opens_compact(dialog: DataPeriodo) -> None:
    """Part 4.2 opening step 1: 4650 twips high, 4920 wide, the expand picture."""
    assert dialog.height() == 310
    assert dialog.width() == 328
    assert dialog.height_twips == 4650
    assert dialog.picture_index == PICTURE_EXPAND
    assert not dialog.Extra.isVisible()


# --- option clicks ---------------------------------------------------------------------------


def test_option_click_recomputes_around_the_start_box(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2 edge case: the next recalculation computes around the start box, not today."""
    click(qtbot, dialog.Opcao[MENSAL])
    assert dialog.option == MENSAL
    assert texts(dialog) == ["01-04-2024", "30-04-2024"]  # around 14 April
    click(qtbot, dialog.Opcao[SEMANAL])
    # 1 April 2024 is a Monday: the week from Sunday 31 March, not the week of today.
    assert texts(dialog) == ["31-03-2024", "06-04-2024"]
    click(qtbot, dialog.Opcao[QUINZENAL])
    assert texts(dialog) == ["16-03-2024", "31-03-2024"]
    click(qtbot, dialog.Opcao[SEMESTRAL])
    assert texts(dialog) == ["01-01-2024", "30-06-2024"]
    click(qtbot, dialog.Opcao[DIARIO])
    assert texts(dialog) == ["01-01-2024", "01-01-2024"]


def test_free_range_option_leaves_the_boxes(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2: "&Período" - `RecalculaDatas` leaves the boxes as they are."""
    click(qtbot, dialog.Opcao[PERIODO])
    assert dialog.option == PERIODO
    assert texts(dialog) == ["14-04-2024", "20-04-2024"]


def test_every_option_click_plays_the_click_sound(dialog: DataPeriodo, qtbot, fake_desktop) -> None:
    """Part 4.2 interfaces: every click on a period option plays sound 7."""
    fake_desktop.calls.clear()
    for index in (MENSAL, MENSAL, PERIODO, DIARIO):
        click(qtbot, dialog.Opcao[index])
    assert fake_desktop.sounds == [7, 7, 7, 7]


def test_retroactive_click_changes_caption_and_recomputes(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2: a click on a period type updates `Flamula` and recomputes."""
    click(qtbot, dialog.Opcao[MENSAL])  # 01-04 .. 30-04
    click(qtbot, dialog.OpcaoRetrocede[0])
    assert dialog.retroactive is True
    assert dialog.Flamula.title() == " Escolha Período (retroativo) "
    assert texts(dialog) == ["01-03-2024", "01-04-2024"]  # a month back from 1 April
    click(qtbot, dialog.OpcaoRetrocede[1])
    assert dialog.retroactive is False
    assert dialog.Flamula.title() == " Escolha Período (completo) "
    assert texts(dialog) == ["01-03-2024", "31-03-2024"]
    assert checked_option(dialog) == MENSAL


def test_period_type_click_plays_no_sound(dialog: DataPeriodo, qtbot, fake_desktop) -> None:
    fake_desktop.calls.clear()
    click(qtbot, dialog.OpcaoRetrocede[0])
    assert fake_desktop.sounds == []


def test_week_start_change_recomputes_the_week(dialog: DataPeriodo, fake_desktop) -> None:
    """Part 4.2: a change of the week start yields to window events and recomputes."""
    fake_desktop.calls.clear()
    dialog.InicioSemana.setCurrentIndex(1)  # Segunda-feira
    assert dialog.week_start == 2
    # Around Sunday 14 April: the week from the preceding Monday to that Sunday.
    assert texts(dialog) == ["08-04-2024", "14-04-2024"]
    assert fake_desktop.named("process_events")
    assert checked_option(dialog) == SEMANAL


def test_complete_week_monday_start_and_a_sunday_reference(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2 edge case, in the window: Monday start and a Sunday in the start box."""
    dialog.InicioSemana.setCurrentIndex(1)
    type_into(qtbot, dialog.Datas[0], "21042024")  # a Sunday: the option becomes free
    click(qtbot, dialog.Opcao[SEMANAL])
    assert texts(dialog) == ["15-04-2024", "21-04-2024"]


# --- typing a date ----------------------------------------------------------------------------


def test_typing_a_date_switches_to_free_range(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2 edge case: typing a date switches the option to "&Período"."""
    type_into(qtbot, dialog.Datas[0], "10032024")
    assert dialog.option == PERIODO
    assert dialog.Opcao[PERIODO].isChecked()
    assert texts(dialog) == ["10-03-2024", "20-04-2024"]


def test_typing_the_end_date_switches_to_free_range(dialog: DataPeriodo, qtbot) -> None:
    type_into(qtbot, dialog.Datas[1], "30042024")
    assert dialog.Opcao[PERIODO].isChecked()
    assert texts(dialog) == ["14-04-2024", "30-04-2024"]


def test_option_after_typing_recomputes_from_the_start_box(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2 edge case: changing the option after typing recomputes from the start box."""
    type_into(qtbot, dialog.Datas[0], "10032024")
    click(qtbot, dialog.Opcao[MENSAL])
    assert dialog.option == MENSAL
    assert texts(dialog) == ["01-03-2024", "31-03-2024"]


def test_typing_right_after_an_option_click_is_typing(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2: a hand-typed date turns the period into a free range, whatever came before."""
    click(qtbot, dialog.Opcao[MENSAL])
    dialog.Datas[0].setFocus()
    dialog.Datas[0].setCursorPosition(0)
    qtbot.keyClicks(dialog.Datas[0], "2")  # 01-04 becomes 21-04: a whole date at once
    assert dialog.Opcao[PERIODO].isChecked()
    assert texts(dialog) == ["21-04-2024", "30-04-2024"]


def test_typing_plays_the_option_click_once(dialog: DataPeriodo, qtbot, fake_desktop) -> None:
    """Selecting "&Período" runs its click once; the following keys find it selected."""
    fake_desktop.calls.clear()
    type_into(qtbot, dialog.Datas[0], "10032024")
    assert fake_desktop.sounds == [7]


# A popup on the offscreen platform: it cannot raise itself or grab the keyboard.
@pytest.mark.qt_log_ignore("does not support raise", "does not support grabbing the keyboard")
def test_up_and_down_keys_and_the_calendar_are_typing(dialog: DataPeriodo, qtbot) -> None:
    """The box's own ways of changing the date are the person's: a free range."""
    dialog.Datas[1].setFocus()
    qtbot.keyClick(dialog.Datas[1], Qt.Key.Key_Up)
    assert texts(dialog) == ["14-04-2024", "21-04-2024"]
    assert dialog.Opcao[PERIODO].isChecked()
    dialog.Datas[0].show_calendar()
    assert dialog.Datas[0].popup.selectedDate() == QDate(2024, 4, 14)
    dialog.Datas[0].popup.clicked.emit(QDate(2024, 4, 2))
    assert not dialog.Datas[0].popup.isVisible()
    assert texts(dialog) == ["02-04-2024", "21-04-2024"]


def test_computed_dates_never_switch_to_free_range(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2 state: boxes written by `RecalculaDatas` never select "&Período"."""
    for week in range(7):
        dialog.InicioSemana.setCurrentIndex(week)
        for kind in (0, 1):
            click(qtbot, dialog.OpcaoRetrocede[kind])
            for option in (DIARIO, SEMANAL, QUINZENAL, MENSAL, SEMESTRAL):
                click(qtbot, dialog.Opcao[option])
                assert dialog.option == option
                assert checked_option(dialog) == option
                dialog.RecalculaDatas()
                assert dialog.option == option
    assert not dialog.Opcao[PERIODO].isChecked()


def test_changes_while_recalculating_are_ignored(dialog: DataPeriodo) -> None:
    """Part 4.2: a change in a date box is ignored entirely while recalculating is set."""
    dialog.recalculating = True
    dialog.Datas[0].setText("01-01-2020")
    dialog.recalculating = False
    assert dialog.option == SEMANAL
    assert dialog.last_texts == ["14-04-2024", "20-04-2024"]


def test_changes_while_settings_change_do_not_switch(dialog: DataPeriodo) -> None:
    """Part 4.2: settings changing set: the change recomputes and does not switch."""
    dialog.settings_changing = True
    dialog.Datas[0].setText("01-01-2020")
    dialog.settings_changing = False
    assert dialog.option == SEMANAL
    assert texts(dialog) == ["29-12-2019", "04-01-2020"]  # the week around the typed date
    assert dialog.last_texts == texts(dialog)


# --- confirm ---------------------------------------------------------------------------------


def assert_refused(window: DataPeriodo, fake_desktop, message: str, box: int) -> None:
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (message, desktop.vbInformation, "Data Incorreta")
    ]
    assert window.isVisible()
    assert window.result() == QDialog.DialogCode.Rejected
    assert window.focusWidget() is window.Datas[box]


def test_invalid_start_date_is_refused(dialog: DataPeriodo, fake_desktop, db, qtbot) -> None:
    """Part 4.2 confirm step 2: "A data inicial não é correta", focus to the start box."""
    type_into(qtbot, dialog.Datas[0], "31022024")
    dialog.Botao[1].setFocus()
    click(qtbot, dialog.Botao[1])
    assert_refused(dialog, fake_desktop, "A data inicial não é correta", 0)
    assert dialog.state.confirmed is False
    assert company(db) == (1, False)


def test_incomplete_start_date_is_refused(dialog: DataPeriodo, fake_desktop, qtbot) -> None:
    type_into(qtbot, dialog.Datas[0], "1203")
    assert dialog.Datas[0].text() == "12-03-"
    dialog.Botao_Click(1)
    assert_refused(dialog, fake_desktop, "A data inicial não é correta", 0)


def test_invalid_end_date_is_refused(dialog: DataPeriodo, fake_desktop, db, qtbot) -> None:
    """Part 4.2 confirm step 3: "A data final não é correta", focus to the end box."""
    type_into(qtbot, dialog.Datas[1], "00042024")
    dialog.Botao[0].setFocus()
    dialog.Botao_Click(1)
    assert_refused(dialog, fake_desktop, "A data final não é correta", 1)
    assert company(db) == (1, False)


def test_both_invalid_reports_the_start_first(dialog: DataPeriodo, fake_desktop) -> None:
    dialog.Datas[0].setText("31-04-2024")
    dialog.Datas[1].setText("99-99-9999")
    dialog.Botao_Click(1)
    assert_refused(dialog, fake_desktop, "A data inicial não é correta", 0)


def test_end_before_start_is_refused(dialog: DataPeriodo, fake_desktop, db, qtbot) -> None:
    """Part 4.2 confirm step 4: the end earlier than the start, focus to the end box."""
    type_into(qtbot, dialog.Datas[0], "21042024")
    dialog.Datas[0].setFocus()
    click(qtbot, dialog.Botao[1])
    assert_refused(
        dialog, fake_desktop, "A data final deve ser igual ou posterior à data inicial", 1
    )
    assert company(db) == (1, False)


def test_refused_dialog_can_still_be_confirmed(dialog: DataPeriodo, fake_desktop) -> None:
    """The dialog stays open and usable: corrected, the same confirm goes through."""
    dialog.Datas[1].setText("31-02-2024")
    dialog.Botao_Click(1)
    dialog.Datas[1].setText("30-04-2024")
    dialog.Botao_Click(1)
    assert dialog.state.confirmed is True
    assert (dialog.state.period_start, dialog.state.period_end) == ("14-04-2024", "30-04-2024")
    assert not dialog.isVisible()


def test_start_equal_to_end_is_accepted(dialog: DataPeriodo, fake_desktop, qtbot) -> None:
    """Part 4.2 edge case: start equal to end is accepted."""
    click(qtbot, dialog.Opcao[DIARIO])
    click(qtbot, dialog.Botao[1])
    assert fake_desktop.boxes == []
    assert dialog.state.confirmed is True
    assert dialog.state.period_start == dialog.state.period_end == "14-04-2024"
    assert dialog.result() == QDialog.DialogCode.Accepted
    assert not dialog.isVisible()


def test_confirm_writes_the_settings_and_the_period(
    dialog: DataPeriodo, fake_desktop, db, qtbot
) -> None:
    """Part 4.2 confirm step 5: InicioSemana and RetroAtivo, then the results and close."""
    dialog.Botao_Click(2)
    dialog.InicioSemana.setCurrentIndex(3)  # Quarta-feira
    assert texts(dialog) == ["10-04-2024", "16-04-2024"]  # Wednesday to Tuesday
    click(qtbot, dialog.OpcaoRetrocede[0])
    assert texts(dialog) == ["04-04-2024", "10-04-2024"]  # 7 days back to 10 April
    click(qtbot, dialog.Opcao[QUINZENAL])
    assert texts(dialog) == ["21-03-2024", "04-04-2024"]  # 15 days back to 4 April
    statements: list[str] = []
    db.statement_hook = statements.append
    click(qtbot, dialog.Botao[1])
    db.statement_hook = None
    assert company(db) == (4, True)
    assert dialog.state.period_start == "21-03-2024"
    assert dialog.state.period_end == "04-04-2024"
    assert dialog.state.confirmed is True
    assert dialog.result() == QDialog.DialogCode.Accepted
    # One transaction around the one write.
    writes = [s for s in statements if not s.lstrip().upper().startswith("SELECT")]
    assert writes[0] == "BEGIN IMMEDIATE" and writes[-1] == "COMMIT"
    assert [s.split()[0].upper() for s in writes[1:-1]] == ["UPDATE"]


def test_confirm_writes_complete_and_sunday_back(db, open_dialog, qtbot) -> None:
    """`RetroAtivo` is the value of "&Retroativo": False when "&Completo" is selected."""
    db.execute("UPDATE DadosEmpresa SET InicioSemana = 6, RetroAtivo = True")
    window = open_dialog()
    window.InicioSemana.setCurrentIndex(0)
    click(qtbot, window.OpcaoRetrocede[1])
    window.Botao_Click(1)
    assert company(db) == (1, False)


def test_confirm_failure_goes_to_the_error_log(
    dialog: DataPeriodo, fake_desktop, db, state: State
) -> None:
    """Part 4.2 failure handling: a failure writing `DadosEmpresa` is logged; nothing written."""

    def fail_on_update(sql: str) -> None:
        if sql.lstrip().upper().startswith("UPDATE"):
            raise JetError(3218, "Não foi possível atualizar; bloqueado por outro usuário.")

    dialog.InicioSemana.setCurrentIndex(4)
    dialog.OpcaoRetrocede[0].click()
    state.confirmed = True
    db.statement_hook = fail_on_update
    dialog.Botao_Click(1)
    db.statement_hook = None
    assert company(db) == (1, False)
    assert state.confirmed is False
    assert dialog.isVisible()
    [box] = fake_desktop.boxes
    assert box.title == "Tratamento de Erros"
    assert box.buttons == desktop.vbCritical
    assert "Rotina em que houve o erro: Período do Relatório" in box.prompt
    log = (Path(state.data_folder) / "Dados" / "Erros.txt").read_bytes().decode("cp1252")
    assert "Rotina: Período do Relatório\r\n" in log
    assert "Erro número: 3218\r\n" in log
    # The window stays usable: the next confirm writes.
    dialog.Botao_Click(1)
    assert company(db) == (5, True)
    assert state.confirmed is True


def test_confirm_without_a_company_record_is_logged(
    db, open_dialog, fake_desktop, state: State
) -> None:
    db.execute("DELETE * FROM DadosEmpresa")
    window = open_dialog()
    assert window.week_start == 1 and window.OpcaoRetrocede[1].isChecked()
    window.Botao_Click(1)
    assert [b.title for b in fake_desktop.boxes] == ["Tratamento de Erros"]
    assert state.confirmed is False
    assert window.isVisible()
    assert db.scalar("SELECT Count(*) FROM DadosEmpresa") == 0


# --- cancel ----------------------------------------------------------------------------------


def test_cancel_writes_nothing(dialog: DataPeriodo, fake_desktop, db, qtbot) -> None:
    """Part 4.2 cancel: clear the confirmed flag and close; nothing is written."""
    dialog.state.confirmed = True
    dialog.InicioSemana.setCurrentIndex(6)
    click(qtbot, dialog.OpcaoRetrocede[0])
    fake_desktop.calls.clear()
    click(qtbot, dialog.Botao[0])
    assert dialog.state.confirmed is False
    assert dialog.result() == QDialog.DialogCode.Rejected
    assert not dialog.isVisible()
    assert company(db) == (1, False)
    assert fake_desktop.sounds == [7]
    assert fake_desktop.boxes == []


def test_escape_is_a_cancel(dialog: DataPeriodo, db, qtbot) -> None:
    dialog.state.confirmed = True
    qtbot.keyClick(dialog, Qt.Key.Key_Escape)
    assert dialog.state.confirmed is False
    assert not dialog.isVisible()
    assert company(db) == (1, False)


# --- expand and collapse, sounds, help -------------------------------------------------------


def test_expand_and_collapse(dialog: DataPeriodo, qtbot) -> None:
    """Part 4.2 button 2: 4650 twips -> 9450 with the second picture, and back."""
    first = dialog.Botao[2].icon().pixmap(18, 18).toImage()
    click(qtbot, dialog.Botao[2])
    assert dialog.height() == 630 and dialog.height_twips == 9450
    assert dialog.width() == 328
    assert dialog.picture_index == PICTURE_COLLAPSE
    assert dialog.Extra.isVisible()
    second = dialog.Botao[2].icon().pixmap(18, 18).toImage()
    assert first != second
    click(qtbot, dialog.Botao[2])
    assert dialog.height() == 310 and dialog.height_twips == 4650
    assert dialog.picture_index == PICTURE_EXPAND
    assert not dialog.Extra.isVisible()
    assert dialog.Botao[2].icon().pixmap(18, 18).toImage() == first


def test_a_height_other_than_compact_collapses(dialog: DataPeriodo) -> None:
    """Part 4.2: "if it is not 4650 twips, set it to 4650 twips (compact)"."""
    dialog.setFixedSize(328, 400)
    dialog.Botao_Click(2)
    assert dialog.height_twips == 4650
    assert dialog.picture_index == PICTURE_EXPAND


def test_expanded_part_fits(dialog: DataPeriodo) -> None:
    """The expanded window shows every control of its part whole."""
    dialog.Botao_Click(2)
    bottom = dialog.Extra.mapTo(dialog, dialog.Extra.rect().bottomLeft()).y()
    assert bottom <= dialog.height()
    for label in dialog.Rutolo:
        assert label.isVisible()
        assert label.heightForWidth(label.width()) <= label.height()
        assert dialog.Tipo.rect().contains(label.geometry())
    assert dialog.Extra.rect().contains(dialog.Tipo.geometry())
    assert dialog.Extra.rect().contains(dialog.Semana.geometry())
    assert dialog.InicioSemana.height() >= dialog.InicioSemana.sizeHint().height()


def test_every_button_press_plays_the_click_sound(dialog: DataPeriodo, fake_desktop) -> None:
    """Part 4.2 interfaces: every press of a `Botao` first plays sound 7."""
    fake_desktop.calls.clear()
    dialog.Botao_Click(2)
    dialog.Botao_Click(2)
    dialog.Datas[0].setText("31-02-2024")
    fake_desktop.calls.clear()
    dialog.Botao_Click(1)
    assert [call.name for call in fake_desktop.calls][:2] == ["play_sound", "msgbox"]
    assert fake_desktop.sounds == [7]


def test_f1_opens_the_period_help(dialog: DataPeriodo, fake_desktop, qtbot) -> None:
    qtbot.keyClick(dialog, Qt.Key.Key_F1)
    assert [call.args for call in fake_desktop.named("show_help")] == [(27000,)]


@pytest.mark.qt_log_ignore("does not support raise", "does not support grabbing the keyboard")
def test_calendar_starts_its_weeks_on_the_week_start(dialog: DataPeriodo) -> None:
    """The date box's calendar speaks Portuguese and follows `InicioSemana`."""
    dialog.Datas[0].show_calendar()
    popup = dialog.Datas[0].popup
    assert popup.firstDayOfWeek() == Qt.DayOfWeek.Sunday
    assert popup.locale().name() == "pt_BR"
    popup.hide()
    dialog.InicioSemana.setCurrentIndex(1)
    dialog.Datas[0].show_calendar()
    assert popup.firstDayOfWeek() == Qt.DayOfWeek.Monday
    popup.hide()


def test_handlers_called_as_the_seam_select_their_buttons(dialog: DataPeriodo) -> None:
    """DESIGN.md seams: `Opcao_Click(i)` and `OpcaoRetrocede_Click(i)` act as a click on i."""
    dialog.OpcaoRetrocede_Click(0)
    assert dialog.OpcaoRetrocede[0].isChecked() and dialog.retroactive is True
    assert texts(dialog) == ["08-04-2024", "14-04-2024"]
    dialog.Opcao_Click(MENSAL)
    assert checked_option(dialog) == MENSAL
    assert texts(dialog) == ["08-03-2024", "08-04-2024"]
    dialog.OpcaoRetrocede_Click(1)
    assert dialog.OpcaoRetrocede[1].isChecked() and dialog.retroactive is False
    assert texts(dialog) == ["01-03-2024", "31-03-2024"]
