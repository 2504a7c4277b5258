"""Part 1.5: the About box and its version text."""

from __future__ import annotations

import pytest
from PySide6.QtCore import QPoint, Qt
from PySide6.QtTest import QTest
from PySide6.QtWidgets import QWidget

from varemo_contas.app.sobre import Sobre, version_text
from varemo_contas.app.state import APP_DESCRIPTION, State


@pytest.mark.parametrize(
    ("major", "minor", "revision", "text"),
    [
        (1, 2, 3, "1.02.003"),
        (1, 12, 345, "1.12.0345"),
        (1, 2, 5, "1.02.005"),
        (1, 2, 12345, "1.02.2345"),
        (1, 7, 0, "1.07.000"),
        (3, 0, 1234, "3.00.1234"),
        (10, 123, 9, "10.23.009"),
    ],
)
def test_version_text(major: int, minor: int, revision: int, text: str) -> None:
    assert version_text(major, minor, revision) == text


@pytest.fixture
def sobre(qtbot) -> Sobre:
    window = Sobre(State(title="Plano de Contas", major=1, minor=12, revision=345))
    qtbot.addWidget(window)
    window.move(100, 100)
    window.show()
    qtbot.waitExposed(window)
    return window


def test_load_caption_and_labels(sobre: Sobre) -> None:
    assert sobre.windowTitle() == "Sobre o Módulo de Plano de Contas"
    assert sobre.VerNomeProduto.text() == "Plano de Contas"
    assert sobre.VerVersao.text() == "1.12.0345"
    assert sobre.VerDescricao.text() == APP_DESCRIPTION
    assert [button.text() for button in sobre.Botao] == ["Ajuda", "Fechar"]


def test_no_title_bar(sobre: Sobre) -> None:
    assert sobre.windowFlags() & Qt.WindowType.FramelessWindowHint
    assert sobre.windowFlags() & Qt.WindowType.Dialog == Qt.WindowType.Dialog


def test_window_is_sized_to_the_picture_at_the_top_left(sobre: Sobre) -> None:
    picture = sobre.Imagem.pixmap()
    assert not picture.isNull()
    assert sobre.size() == picture.deviceIndependentSize().toSize()
    assert sobre.Imagem.pos() == QPoint(0, 0)
    assert sobre.Imagem.size() == sobre.size()


def test_labels_and_buttons_lie_over_the_picture(sobre: Sobre) -> None:
    window_rect = sobre.rect()
    for widget in (sobre.VerNomeProduto, sobre.VerVersao, sobre.VerDescricao, *sobre.Botao):
        top_left = widget.mapTo(sobre, QPoint(0, 0))
        assert window_rect.contains(top_left)
        assert window_rect.contains(top_left + QPoint(widget.width() - 1, widget.height() - 1))


def test_help_button_plays_the_click_then_opens_topic_30020(sobre: Sobre, fake_desktop) -> None:
    sobre.Botao_Click(0)
    assert [(call.name, call.args) for call in fake_desktop.calls] == [
        ("play_sound", (7,)),
        ("show_help", (30020,)),
    ]
    assert sobre.isVisible()


def test_close_button_plays_the_click_and_closes(sobre: Sobre, fake_desktop) -> None:
    sobre.Botao_Click(1)
    assert fake_desktop.sounds == [7]
    assert fake_desktop.named("show_help") == []
    assert not sobre.isVisible()


def test_clicking_the_buttons_runs_botao_click(sobre: Sobre, fake_desktop, qtbot) -> None:
    qtbot.mouseClick(sobre.Botao[0], Qt.MouseButton.LeftButton)
    assert fake_desktop.sounds == [7]
    assert [call.args for call in fake_desktop.named("show_help")] == [(30020,)]
    qtbot.mouseClick(sobre.Botao[1], Qt.MouseButton.LeftButton)
    assert fake_desktop.sounds == [7, 7]
    assert not sobre.isVisible()


def test_drag_handles_are_the_picture_and_the_three_labels(sobre: Sobre) -> None:
    for widget in (sobre.Imagem, sobre.VerNomeProduto, sobre.VerVersao, sobre.VerDescricao):
        assert sobre.is_drag_handle(widget)
    for widget in (sobre, sobre.Rodape, *sobre.Botao):
        assert not sobre.is_drag_handle(widget)


def drag(widget: QWidget, start: QPoint, delta: QPoint) -> None:
    """Press, move with the button held, release: what a person does to move a window."""
    QTest.mousePress(widget, Qt.MouseButton.LeftButton, Qt.KeyboardModifier.NoModifier, start)
    QTest.mouseMove(widget, start + delta)
    QTest.mouseRelease(
        widget, Qt.MouseButton.LeftButton, Qt.KeyboardModifier.NoModifier, start + delta
    )


@pytest.mark.parametrize("name", ["Imagem", "VerNomeProduto", "VerVersao", "VerDescricao"])
def test_dragging_the_picture_or_a_label_moves_the_window(sobre: Sobre, name: str) -> None:
    handle = getattr(sobre, name)
    before = sobre.pos()
    drag(handle, QPoint(5, 5), QPoint(30, 20))
    assert sobre.pos() == before + QPoint(30, 20)


def test_a_move_without_the_button_held_does_not_move_the_window(sobre: Sobre) -> None:
    before = sobre.pos()
    QTest.mouseMove(sobre.VerVersao, QPoint(5, 5))
    QTest.mouseMove(sobre.VerVersao, QPoint(40, 25))
    assert sobre.pos() == before


def test_pressing_elsewhere_does_not_move_the_window(sobre: Sobre, fake_desktop) -> None:
    before = sobre.pos()
    drag(sobre.Rodape, QPoint(5, 5), QPoint(30, 20))
    assert sobre.pos() == before
    drag(sobre.Botao[0], QPoint(5, 5), QPoint(30, 20))
    assert sobre.pos() == before


def test_right_button_does_not_move_the_window(sobre: Sobre) -> None:
    before = sobre.pos()
    QTest.mousePress(
        sobre.Imagem, Qt.MouseButton.RightButton, Qt.KeyboardModifier.NoModifier, QPoint(5, 5)
    )
    QTest.mouseMove(sobre.Imagem, QPoint(40, 30))
    QTest.mouseRelease(
        sobre.Imagem, Qt.MouseButton.RightButton, Qt.KeyboardModifier.NoModifier, QPoint(40, 30)
    )
    assert sobre.pos() == before


def test_system_move_is_used_when_the_platform_offers_it(
    sobre: Sobre, monkeypatch: pytest.MonkeyPatch
) -> None:
    calls: list[bool] = []

    class Handle:
        def startSystemMove(self) -> bool:
            calls.append(True)
            return True

    monkeypatch.setattr(sobre, "windowHandle", lambda: Handle())
    before = sobre.pos()
    assert sobre.begin_drag(QPoint(10, 10)) is True
    assert calls == [True]
    drag(sobre.Imagem, QPoint(5, 5), QPoint(30, 20))
    assert sobre.pos() == before  # the platform moves it, not our own tracking
