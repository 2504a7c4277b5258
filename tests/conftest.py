"""Shared fixtures: offscreen Qt, a fake desktop seam, a seeded company database."""

from __future__ import annotations

import os

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
os.environ.setdefault("LANG", "pt_BR.UTF-8")

from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

import pytest
from PySide6.QtCore import QSettings

from varemo_contas.app import desktop


@dataclass
class Call:
    name: str
    args: tuple
    kwargs: dict

    @property
    def prompt(self) -> str:
        return self.args[0] if self.args else self.kwargs.get("prompt", "")

    @property
    def buttons(self) -> int:
        if len(self.args) > 1:
            return self.args[1]
        return self.kwargs.get("buttons", 0)

    @property
    def title(self) -> str:
        if len(self.args) > 2:
            return self.args[2]
        return self.kwargs.get("title", "")


@dataclass
class FakeDesktop:
    """Records every call of the desktop seam and answers message boxes from a script."""

    calls: list[Call] = field(default_factory=list)
    answers: list[int] = field(default_factory=list)
    modal_hook: object = None
    running_copy: bool = False
    help_opens: bool = True

    def _record(self, name: str, *args, **kwargs) -> None:
        self.calls.append(Call(name, args, kwargs))

    def msgbox(self, prompt: str, buttons: int = 0, title: str = "") -> int:
        self._record("msgbox", prompt, buttons, title)
        if self.answers:
            return self.answers.pop(0)
        return desktop.vbYes if buttons & 0x0F == desktop.vbYesNo else desktop.vbOK

    def show_modal(self, window) -> None:
        self._record("show_modal", window)
        if callable(self.modal_hook):
            self.modal_hook(window)

    def play_sound(self, number: int) -> None:
        self._record("play_sound", number)

    def show_help(self, context: int = 0) -> bool:
        self._record("show_help", context)
        return self.help_opens

    def send_mail(self) -> None:
        self._record("send_mail")

    def start_module(self, number: int) -> bool:
        self._record("start_module", number)
        return 1 <= number <= 10

    def activate_running_copy(self, title: str) -> bool:
        self._record("activate_running_copy", title)
        return self.running_copy

    def process_events(self) -> None:
        self._record("process_events")

    def named(self, name: str) -> list[Call]:
        return [call for call in self.calls if call.name == name]

    @property
    def boxes(self) -> list[Call]:
        return self.named("msgbox")

    @property
    def sounds(self) -> list[int]:
        return [call.args[0] for call in self.named("play_sound")]


FAKED = (
    "msgbox",
    "show_modal",
    "play_sound",
    "show_help",
    "send_mail",
    "start_module",
    "activate_running_copy",
    "process_events",
)


@pytest.fixture
def fake_desktop(monkeypatch: pytest.MonkeyPatch) -> FakeDesktop:
    """Replace the person-facing calls of the desktop seam with a recording fake."""
    fake = FakeDesktop()
    for name in FAKED:
        monkeypatch.setattr(desktop, name, getattr(fake, name))
    return fake


@pytest.fixture(autouse=True)
def _isolated(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Iterator[None]:
    """Each test gets its own working folder and settings store (start-up changes both)."""
    monkeypatch.chdir(tmp_path)
    settings_dir = tmp_path / "_settings"
    settings_dir.mkdir()
    QSettings.setDefaultFormat(QSettings.Format.IniFormat)
    QSettings.setPath(
        QSettings.Format.IniFormat, QSettings.Scope.UserScope, str(settings_dir)
    )
    yield
