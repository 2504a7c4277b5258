"""Part 1.4: the desktop services, with the real functions of `app/desktop.py`.

Only the platform's own doors are replaced by recorders (`QDesktopServices.openUrl`,
`QProcess.startDetached`, the sound player lookup), so nothing real opens or plays; the
message box is recorded where a service shows one. Settings go to the per-test store that
the autouse fixture sets up.
"""

from __future__ import annotations

import os
import shutil
from dataclasses import dataclass, field
from pathlib import Path

import pytest
from PySide6.QtCore import QRect, QSettings, Qt, QTimer, QUrl, QUrlQuery
from PySide6.QtWidgets import QApplication, QLabel, QMessageBox, QWidget

import varemo_contas
from varemo_contas.app import desktop, helptopics

RESOURCES = Path(varemo_contas.__file__).parent / "resources"
# The real message box, taken before the autouse fixture replaces it for every test.
REAL_MSGBOX = desktop.msgbox
TITLE = "Plano de Contas Teste"
EXIT_FLAGS = desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2


@dataclass
class Recorder:
    """Stands in for a platform call: records its arguments and gives a fixed result."""

    result: object = True
    calls: list[tuple] = field(default_factory=list)

    def __call__(self, *args: object) -> object:
        self.calls.append(args)
        return self.result


@pytest.fixture
def program(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """A program folder with the shipped sounds and help, set as the platform's folder."""
    folder = tmp_path / "programa"
    shutil.copytree(RESOURCES / "Sons", folder / "Sons")
    shutil.copytree(RESOURCES / "Ajuda", folder / "Ajuda")
    monkeypatch.setattr(desktop, "_platform", desktop.Platform(str(folder) + os.sep, TITLE))
    return folder


@pytest.fixture
def boxes(monkeypatch: pytest.MonkeyPatch) -> Recorder:
    recorder = Recorder(result=desktop.vbOK)
    monkeypatch.setattr(desktop, "msgbox", recorder)
    return recorder


@pytest.fixture
def open_url(monkeypatch: pytest.MonkeyPatch) -> Recorder:
    recorder = Recorder(result=True)
    monkeypatch.setattr(desktop.QDesktopServices, "openUrl", recorder)
    return recorder


@pytest.fixture
def start_detached(monkeypatch: pytest.MonkeyPatch) -> Recorder:
    recorder = Recorder(result=(True, 4242))
    monkeypatch.setattr(desktop.QProcess, "startDetached", recorder)
    return recorder


@pytest.fixture
def player(monkeypatch: pytest.MonkeyPatch, start_detached: Recorder) -> Recorder:
    """A sound player found on the system (whatever this machine has installed)."""
    monkeypatch.setattr(desktop, "_sound_player", lambda: ["/usr/bin/aplay", "-q"])
    monkeypatch.setattr(desktop.sys, "platform", "linux")
    return start_detached


def opened_paths(recorder: Recorder) -> list[str]:
    return [url.toLocalFile() for (url,) in recorder.calls]


# --- Play sound ------------------------------------------------------------------------


def test_sound_file_removed_from_sons_gives_no_message(program, player, boxes) -> None:
    """Part 1.4 edge case: a sound file removed from "Sons\\" produces no message."""
    (program / "Sons" / "mousecli.wav").unlink()
    desktop.play_sound(7)
    assert player.calls == []
    assert boxes.calls == []


def test_sons_folder_missing_is_silent(program, player, boxes) -> None:
    shutil.rmtree(program / "Sons")
    for number in range(1, 8):
        desktop.play_sound(number)
    assert player.calls == []
    assert boxes.calls == []


@pytest.mark.parametrize("number", [0, 8, -1, 100])
def test_numbers_outside_1_to_7_play_nothing(program, player, boxes, number: int) -> None:
    desktop.play_sound(number)
    assert player.calls == []
    assert boxes.calls == []


@pytest.mark.parametrize(
    ("number", "file"),
    [
        (1, "somerro.wav"),
        (2, "somabre.wav"),
        (3, "sommuda.wav"),
        (4, "somsair.wav"),
        (5, "somlivre.wav"),
        (6, "mousemov.wav"),
        (7, "mousecli.wav"),
    ],
)
def test_existing_sound_starts_the_asynchronous_player(
    program, player, number: int, file: str
) -> None:
    """Part 1.4: the call hands the file to a detached player and returns at once."""
    desktop.play_sound(number)
    assert player.calls == [("/usr/bin/aplay", ["-q", str(program / "Sons" / file)])]


def test_no_player_on_the_system_is_silent(program, start_detached, monkeypatch, boxes) -> None:
    monkeypatch.setattr(desktop, "_sound_player", lambda: None)
    monkeypatch.setattr(desktop.sys, "platform", "linux")
    desktop.play_sound(7)
    assert start_detached.calls == []
    assert boxes.calls == []


def test_player_that_fails_to_start_is_silent(program, monkeypatch, boxes) -> None:
    def fail(*args: object) -> tuple[bool, int]:
        raise OSError("no audio device")

    monkeypatch.setattr(desktop, "_sound_player", lambda: ["/usr/bin/aplay"])
    monkeypatch.setattr(desktop.sys, "platform", "linux")
    monkeypatch.setattr(desktop.QProcess, "startDetached", fail)
    desktop.play_sound(1)
    assert boxes.calls == []


# --- Show help ------------------------------------------------------------------------


def test_help_context_30001_opens_the_shared_help(program, open_url, boxes) -> None:
    """Part 1.4 edge case: 30001 opens the suite's shared help file."""
    assert desktop.show_help(30001) is True
    assert opened_paths(open_url) == [str(program / "Ajuda" / "Sobre o Sistema" / "30001.html")]
    assert boxes.calls == []


def test_help_context_just_below_30001_opens_the_modules_own(program, open_url, boxes) -> None:
    """Part 1.4 edge case: the number just below 30001 still opens the module's own help."""
    page = program / "Ajuda" / "Contas" / "30000.html"
    page.write_text("<html><body>30000</body></html>", encoding="utf-8")
    assert desktop.show_help(30000) is True
    assert opened_paths(open_url) == [str(page)]
    assert boxes.calls == []


@pytest.mark.parametrize(
    ("context", "folder"),
    [(29999, "Contas"), (30000, "Contas"), (30001, "Sobre o Sistema"), (30020, "Sobre o Sistema")],
)
def test_help_page_by_context_number(program, context: int, folder: str) -> None:
    assert desktop.help_page_for(context) == str(program / "Ajuda" / folder / f"{context}.html")


def test_help_context_0_opens_the_index(program, open_url, boxes) -> None:
    """Part 1.4: a context number of 0 opens the file at its default topic."""
    assert desktop.show_help(0) is True
    assert opened_paths(open_url) == [str(program / "Ajuda" / "Contas" / "index.html")]


def test_every_topic_of_helptopics_opens_its_page(program, open_url, boxes) -> None:
    for context in helptopics.TOPICS:
        assert desktop.show_help(context) is True, context
    assert boxes.calls == []
    assert len(open_url.calls) == len(helptopics.TOPICS)


def test_missing_topic_shows_the_help_message(program, open_url, boxes) -> None:
    """Part 1.4: no help window, so "A Ajuda não abre ou tópico não existe"."""
    assert desktop.show_help(12345) is False
    assert open_url.calls == []
    assert boxes.calls == [
        ("A Ajuda não abre ou tópico não existe", desktop.vbExclamation, "Ajuda do Programa")
    ]


def test_help_file_missing_altogether_shows_the_help_message(program, open_url, boxes) -> None:
    shutil.rmtree(program / "Ajuda")
    assert desktop.show_help(0) is False
    assert boxes.calls == [
        ("A Ajuda não abre ou tópico não existe", desktop.vbExclamation, "Ajuda do Programa")
    ]


def test_desktop_refusing_to_open_the_page_shows_the_help_message(program, open_url, boxes) -> None:
    """Part 1.4: "If the help system returns no window" — the desktop opened nothing."""
    open_url.result = False
    assert desktop.show_help(1000) is False
    assert len(open_url.calls) == 1
    assert [call[0] for call in boxes.calls] == ["A Ajuda não abre ou tópico não existe"]


# --- Send mail ------------------------------------------------------------------------


def test_mail_link_is_a_mailto_to_support_naming_the_module(program, open_url) -> None:
    desktop.send_mail()
    [(url,)] = open_url.calls
    assert isinstance(url, QUrl)
    assert url.scheme() == "mailto"
    assert url.path() == desktop.SUPPORT_ADDRESS == "suporte@varemo.com.br"
    subject = QUrlQuery(url).queryItemValue("subject", QUrl.ComponentFormattingOption.FullyDecoded)
    assert subject == desktop.MAIL_SUBJECT
    assert "Plano de Contas" in subject


# --- Start module ---------------------------------------------------------------------


def test_start_module_3_starts_its_program_in_the_program_folder(program, start_detached) -> None:
    assert desktop.start_module(3) is True
    suffix = ".exe" if desktop.sys.platform == "win32" else ""
    assert start_detached.calls == [(str(program) + os.sep + "Vendas" + suffix, [])]


def test_start_module_appends_the_separator_to_the_program_folder(
    tmp_path, monkeypatch, start_detached
) -> None:
    """Part 1.4: the program folder gets its "\\" when it lacks one."""
    monkeypatch.setattr(desktop, "_platform", desktop.Platform(str(tmp_path / "prog"), TITLE))
    desktop.start_module(10)
    [(path, _args)] = start_detached.calls
    assert path.startswith(str(tmp_path / "prog") + os.sep + "Empresa")


@pytest.mark.parametrize("number", [0, 11, -1])
def test_start_module_outside_1_to_10_starts_nothing(program, start_detached, number) -> None:
    assert desktop.start_module(number) is False
    assert start_detached.calls == []


def test_ten_sibling_modules_this_one_is_number_2() -> None:
    assert sorted(desktop.MODULES) == list(range(1, 11))
    assert desktop.MODULES[2][1] == "Plano de Contas"
    assert len({program for program, _name in desktop.MODULES.values()}) == 10


# --- Placement ------------------------------------------------------------------------

KEYS = ("flags", "showCmd", "MinX", "MinY", "Left", "Top", "Right", "Bottom")


def settings_store() -> QSettings:
    store = desktop.placement_settings(TITLE)
    store.beginGroup("Posicao")
    return store


def write_keys(**values: str) -> None:
    store = settings_store()
    for key, value in values.items():
        store.setValue(key, value)
    store.endGroup()
    store.sync()


@pytest.fixture
def window(qtbot) -> QWidget:
    widget = QWidget()
    qtbot.addWidget(widget)
    return widget


def test_placement_store_lives_in_the_tests_settings_folder(tmp_path) -> None:
    """The store follows the default format and path, so tests never touch the real one."""
    assert desktop.placement_settings(TITLE).fileName().startswith(str(tmp_path))


def test_save_then_restore_round_trip(window: QWidget, qtbot) -> None:
    window.setGeometry(QRect(120, 80, 640, 480))
    window.show()
    qtbot.waitExposed(window)
    desktop.save_placement(window, TITLE)
    other = QWidget()
    qtbot.addWidget(other)
    assert desktop.restore_placement(other, TITLE) is True
    assert other.geometry() == window.geometry()


def test_eight_keys_stored_as_decimal_text_in_posicao(window: QWidget, qtbot) -> None:
    window.setGeometry(QRect(30, 40, 800, 600))
    window.show()
    qtbot.waitExposed(window)
    desktop.save_placement(window, TITLE)
    store = settings_store()
    assert sorted(store.childKeys()) == sorted(KEYS)
    values = {key: store.value(key) for key in KEYS}
    assert all(isinstance(value, str) for value in values.values()), values
    assert all(value.lstrip("-").isdigit() for value in values.values()), values
    geometry = window.geometry()
    assert values["Left"] == str(geometry.left())
    assert values["Top"] == str(geometry.top())
    assert values["Right"] == str(geometry.left() + geometry.width())
    assert values["Bottom"] == str(geometry.top() + geometry.height())
    assert values["showCmd"] == str(desktop.SW_SHOWNORMAL)
    # And the file itself holds the section "Posicao" with plain decimal values.
    text = Path(desktop.placement_settings(TITLE).fileName()).read_text()
    assert "[Posicao]" in text
    assert f"Left={geometry.left()}" in text


def test_saved_right_of_exactly_100_is_no_saved_placement(window: QWidget) -> None:
    """Part 1.4 edge case: "Right" of exactly 100 is taken as no saved placement."""
    write_keys(flags="0", showCmd="1", MinX="-1", MinY="-1", Left="10", Top="20")
    write_keys(Right="100", Bottom="500")
    assert desktop.restore_placement(window, TITLE) is False
    # The placement is applied in every case (Part 1.4).
    assert window.geometry() == QRect(10, 20, 90, 480)


def test_saved_right_of_101_is_a_saved_placement(window: QWidget) -> None:
    write_keys(Left="0", Top="0", Right="101", Bottom="100")
    assert desktop.restore_placement(window, TITLE) is True


def test_absent_keys_give_the_defaults(window: QWidget) -> None:
    """Part 1.4: nothing saved is the rectangle 0, 0, 100, 100 and no saved placement."""
    assert desktop.restore_placement(window, TITLE) is False
    assert window.geometry() == QRect(0, 0, 100, 100)
    assert not window.isMaximized()


def test_some_keys_absent_take_their_defaults(window: QWidget) -> None:
    write_keys(Left="50", Right="650")
    assert desktop.restore_placement(window, TITLE) is True
    assert window.geometry() == QRect(50, 0, 600, 100)


def test_unreadable_key_counts_as_absent(window: QWidget) -> None:
    write_keys(Left="abc", Top="7", Right="300", Bottom="x")
    assert desktop.restore_placement(window, TITLE) is True
    assert window.geometry() == QRect(0, 7, 300, 93)


def test_saved_maximised_window_comes_back_maximised(window: QWidget, qtbot) -> None:
    write_keys(showCmd=str(desktop.SW_SHOWMAXIMIZED), Left="10", Top="10", Right="610")
    write_keys(Bottom="410")
    assert desktop.restore_placement(window, TITLE) is True
    assert window.windowState() & Qt.WindowState.WindowMaximized


def test_placement_is_kept_per_application_name(window: QWidget) -> None:
    write_keys(Left="10", Top="10", Right="500", Bottom="400")
    assert desktop.restore_placement(window, "Outro Módulo") is False


# --- Message box ----------------------------------------------------------------------


def box_label(box: QMessageBox) -> QLabel:
    label = box.findChild(QLabel, "qt_msgbox_label")
    assert label is not None
    return label


@pytest.mark.parametrize(
    ("flags", "icon"),
    [
        (desktop.vbCritical, QMessageBox.Icon.Critical),
        (desktop.vbQuestion, QMessageBox.Icon.Question),
        (desktop.vbExclamation, QMessageBox.Icon.Warning),
        (desktop.vbInformation, QMessageBox.Icon.Information),
        (desktop.vbOKOnly, QMessageBox.Icon.NoIcon),
        (EXIT_FLAGS, QMessageBox.Icon.Question),
    ],
)
def test_message_box_icon_follows_the_flags(flags: int, icon: QMessageBox.Icon) -> None:
    box, _answers = desktop.build_message_box("Texto", flags, "Título")
    assert box.icon() == icon
    box.deleteLater()


def test_ok_only_box_has_one_ok_button_as_default_and_escape() -> None:
    box, answers = desktop.build_message_box("Texto", desktop.vbInformation, "Título")
    assert list(answers) == [desktop.vbOK]
    assert [button.text() for button in box.buttons()] == ["OK"]
    assert box.defaultButton() is answers[desktop.vbOK]
    assert box.escapeButton() is answers[desktop.vbOK]
    box.deleteLater()


def test_yes_no_box_defaults_to_yes() -> None:
    box, answers = desktop.build_message_box("Texto", desktop.vbYesNo + desktop.vbQuestion, "T")
    assert sorted(answers) == [desktop.vbYes, desktop.vbNo]
    assert {button.text() for button in box.buttons()} == {"&Sim", "&Não"}
    assert box.defaultButton() is answers[desktop.vbYes]
    assert box.escapeButton() is answers[desktop.vbNo]
    box.deleteLater()


def test_yes_no_default_button_2_defaults_to_no() -> None:
    """Part 1.2's "Quer sair do programa?": Yes and No, No the default."""
    flags = desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2
    box, answers = desktop.build_message_box("Quer sair do programa?", flags, "Finalizando")
    assert box.defaultButton() is answers[desktop.vbNo]
    assert box.windowTitle() == "Finalizando"
    box.deleteLater()


def test_carriage_returns_become_visible_line_breaks() -> None:
    prompt = "Solicite ajuda do Adm. de Sistema\rBanco de dados não encontrado\rou com formato"
    box, _answers = desktop.build_message_box(prompt, desktop.vbCritical, "T")
    assert box.text() == prompt.replace("\r", "\n")
    assert box.textFormat() == Qt.TextFormat.PlainText
    assert box_label(box).text().count("\n") == 2
    box.deleteLater()


def test_markup_in_a_prompt_is_shown_as_typed() -> None:
    box, _answers = desktop.build_message_box("Conta <b>Luz</b> & Água", 0, "T")
    assert box.textFormat() == Qt.TextFormat.PlainText
    assert box.text() == "Conta <b>Luz</b> & Água"
    box.deleteLater()


def test_empty_title_shows_the_module_title(program) -> None:
    box, _answers = desktop.build_message_box("Texto", 0, "")
    assert box.windowTitle() == TITLE
    box.deleteLater()


def _press_later(text: str) -> None:
    """Once the real box is up, press its button captioned `text` (as a person would)."""

    def press() -> None:
        box = QApplication.activeModalWidget()
        if not isinstance(box, QMessageBox):
            QTimer.singleShot(20, press)
            return
        for button in box.buttons():
            if button.text() == text:
                button.click()
                return
        box.reject()

    QTimer.singleShot(0, press)


@pytest.mark.parametrize(("press", "answer"), [("&Sim", desktop.vbYes), ("&Não", desktop.vbNo)])
def test_real_msgbox_returns_the_pressed_answer(qtbot, press: str, answer: int) -> None:
    _press_later(press)
    flags = desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2
    assert REAL_MSGBOX("Quer sair do programa?", flags, "Finalizando") == answer


def test_real_msgbox_ok_returns_vbok(qtbot) -> None:
    _press_later("OK")
    assert REAL_MSGBOX("Não pode ter campo em branco", desktop.vbInformation, "T") == desktop.vbOK


def test_closing_a_yes_no_box_answers_no() -> None:
    box, answers = desktop.build_message_box("Texto", desktop.vbYesNo, "T")
    assert desktop.answer_of(box, answers) == desktop.vbNo
    box.deleteLater()
