"""Fixtures of the editor tests: the main window on a company built for the test, db reads."""

from __future__ import annotations

import sqlite3
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest


def db_rows(installation, sql: str, params: tuple = ()) -> list[tuple]:
    """Read the company database as another program would, outside the window's connection."""
    connection = sqlite3.connect(str(installation.database))
    try:
        return connection.execute(sql, params).fetchall()
    finally:
        connection.close()


def db_execute(installation, script: str) -> None:
    """Change the company's data before the window starts (the tests' own rows)."""
    connection = sqlite3.connect(str(installation.database))
    try:
        connection.executescript(script)
        connection.commit()
    finally:
        connection.close()


@pytest.fixture
def rows(installation) -> Callable[..., list[tuple]]:
    """`rows(sql, params)`: the rows of a query on the installation's database."""
    return lambda sql, params=(): db_rows(installation, sql, params)


@pytest.fixture
def start_contas(installation, fake_desktop, qtbot) -> Iterator[Callable[..., object]]:
    """`start_contas(sql="")`: run `sql` on the seeded company, then start the main window."""
    from varemo_contas.app.startup import start

    windows = []

    def _start(sql: str = ""):
        if sql:
            db_execute(installation, sql)
        window = start(str(installation.program))
        assert window is not None, fake_desktop.boxes
        qtbot.addWidget(window)
        windows.append(window)
        return window

    yield _start
    for window in windows:
        window.Form_Unload()


@pytest.fixture
def error_log_text(installation) -> Callable[[], str]:
    """The shared error log as text (Windows-1252), empty when nothing was logged."""

    def _read() -> str:
        path: Path = installation.error_log
        return path.read_bytes().decode("cp1252") if path.exists() else ""

    return _read


@pytest.fixture
def execute(installation) -> Callable[[str], None]:
    """`execute(sql)`: another program of the suite writes to the company database now."""
    return lambda script: db_execute(installation, script)


@pytest.fixture
def jet_texts(monkeypatch: pytest.MonkeyPatch) -> Callable[[object], list[str]]:
    """`jet_texts(window)`: the Jet texts the window sends from now on, in order.

    Records what the code builds (opened or executed), before the data layer translates it,
    so tests compare the spec's statement and criteria texts exactly.
    """

    def _watch(window) -> list[str]:
        sent: list[str] = []
        database = window.state.database
        for name in ("open_recordset", "execute", "scalar"):
            original = getattr(database, name)

            def spy(statement, *args, _original=original, **kwargs):
                sent.append(statement)
                return _original(statement, *args, **kwargs)

            monkeypatch.setattr(database, name, spy)
        return sent

    return _watch
