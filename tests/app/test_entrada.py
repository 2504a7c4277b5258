"""Part 1.2: the splash window and its timer."""

from __future__ import annotations

import pytest
from PySide6.QtCore import Qt
from PySide6.QtWidgets import QWidget

from varemo_contas.app.entrada import Entrada
from varemo_contas.app.state import State


@pytest.fixture
def state() -> State:
    return State(title="Plano de Contas", version_text="1.2.3", company_name="Padaria Teste")


@pytest.fixture
def splash(qtbot, state: State) -> Entrada:
    window = Entrada(state)
    qtbot.addWidget(window)
    return window


@pytest.fixture
def main_window(qtbot, splash: Entrada) -> QWidget:
    window = QWidget()
    qtbot.addWidget(window)
    splash.main_window = window
    return window


def test_splash_look(splash: Entrada) -> None:
    flags = splash.windowFlags()
    assert flags & Qt.WindowType.FramelessWindowHint
    assert flags & Qt.WindowType.SplashScreen == Qt.WindowType.SplashScreen
    assert not splash.Selo.pixmap().isNull()
    assert splash.Titulo.text() == "Plano de Contas"
    assert splash.Versao.text() == "Versão 1.2.3"
    assert splash.Empresa.text() == "Padaria Teste"
    assert splash.Carregando.text() == "Carregando o plano de contas..."
    assert splash.main_window is None


def test_show_company(splash: Entrada) -> None:
    splash.show_company("Mercearia Boa Vista")
    assert splash.Empresa.text() == "Mercearia Boa Vista"


def test_timer_is_set_but_not_started(splash: Entrada) -> None:
    assert splash.Timer1.interval() == 100
    assert not splash.Timer1.isActive()


def test_splash_is_centred_on_the_screen(splash: Entrada) -> None:
    area = splash.screen().availableGeometry()
    centre = splash.geometry().center()
    assert abs(centre.x() - area.center().x()) <= 1
    assert abs(centre.y() - area.center().y()) <= 1


def test_tick_does_nothing_while_the_main_window_is_loading(
    splash: Entrada, main_window: QWidget, state: State
) -> None:
    splash.show()
    splash.Timer1.start()
    splash.Timer1_Timer()
    assert splash.isVisible()
    assert splash.Timer1.isActive()
    assert not main_window.isVisible()


def test_tick_hands_over_once_the_main_window_is_ready(
    splash: Entrada, main_window: QWidget, state: State
) -> None:
    splash.show()
    splash.Timer1.start()
    state.main_window_ready = True
    splash.Timer1_Timer()
    assert not splash.Timer1.isActive()
    assert not splash.isVisible()
    assert main_window.isVisible()
    assert not main_window.isModal()


def test_the_running_timer_hands_over(
    qtbot, splash: Entrada, main_window: QWidget, state: State
) -> None:
    splash.show()
    splash.Timer1.start()
    qtbot.wait(250)
    assert splash.isVisible()  # still loading: the ticks changed nothing
    state.main_window_ready = True
    qtbot.waitUntil(main_window.isVisible, timeout=2000)
    assert not splash.isVisible()
    assert not splash.Timer1.isActive()
