"""Parts 1.2 and 1.4: the single-instance guard, in one process and with real processes.

Part 1.2: "Starting the module twice leaves one process; the first copy comes to the front,
restored if it was minimised." Part 1.4: "A second start of the module while the first is
minimised restores the first and ends the second."
"""

from __future__ import annotations

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import uuid
from collections.abc import Iterator
from pathlib import Path

import pytest
from PySide6.QtNetwork import QLocalServer, QLocalSocket
from PySide6.QtWidgets import QWidget

from varemo_contas.app import desktop

PROGRAM_TITLE = "Plano de Contas"
START_TIMEOUT = 30.0  # seconds for a copy to come up (a loaded CI machine is slow)
SECOND_COPY_TIMEOUT = 10.0

# Headless Qt cannot raise or activate a window; the restore itself is what is checked.
pytestmark = pytest.mark.qt_log_ignore("This plugin does not support (raise|activateWindow)")


@pytest.fixture
def title() -> str:
    """A title of its own, so the guard's socket is this test's alone."""
    return f"Teste Instancia {uuid.uuid4().hex[:8]}"


@pytest.fixture
def running_copy(title: str, qtbot) -> Iterator[tuple[QWidget, QLocalServer]]:
    """The first copy: its main window and the guard listening for later copies."""
    window = QWidget()
    window.setWindowTitle(title)
    qtbot.addWidget(window)
    window.resize(400, 300)
    window.show()
    qtbot.waitExposed(window)
    server = desktop.listen_for_activation(title, lambda: desktop.bring_to_front(window))
    assert server.isListening()
    yield window, server
    server.close()


# --- in one process --------------------------------------------------------------------


def test_second_start_while_first_is_minimised_restores_the_first(
    running_copy, title: str, qtbot
) -> None:
    """Part 1.4 edge case: the first copy, minimised, comes back restored."""
    window, _server = running_copy
    window.showMinimized()
    qtbot.waitUntil(window.isMinimized)
    assert desktop.activate_running_copy(title) is True
    qtbot.waitUntil(lambda: not window.isMinimized(), timeout=3000)
    assert window.isVisible()


def test_second_start_brings_a_hidden_first_copy_to_the_front(
    running_copy, title: str, qtbot
) -> None:
    window, _server = running_copy
    window.hide()
    assert desktop.activate_running_copy(title) is True
    qtbot.waitUntil(window.isVisible, timeout=3000)
    assert not window.isMinimized()


def test_maximised_first_copy_stays_maximised(running_copy, title: str, qtbot) -> None:
    window, _server = running_copy
    window.showMaximized()
    qtbot.waitUntil(window.isMaximized)
    assert desktop.activate_running_copy(title) is True
    qtbot.wait(100)
    assert window.isMaximized()


def test_every_later_start_is_an_activation(running_copy, title: str, qtbot) -> None:
    window, _server = running_copy
    for _ in range(3):
        window.showMinimized()
        qtbot.waitUntil(window.isMinimized)
        assert desktop.activate_running_copy(title) is True
        qtbot.waitUntil(lambda: not window.isMinimized(), timeout=3000)


def test_without_a_running_copy_nothing_answers(title: str) -> None:
    assert desktop.activate_running_copy(title) is False


def test_guard_of_another_title_does_not_answer(running_copy, title: str) -> None:
    assert desktop.activate_running_copy(title + " outro") is False


def test_server_name_is_per_title_and_user(monkeypatch) -> None:
    monkeypatch.setenv("USER", "ana")
    first = desktop.instance_server_name(PROGRAM_TITLE)
    assert first == desktop.instance_server_name(PROGRAM_TITLE)
    assert first != desktop.instance_server_name("Cadastro de Clientes")
    monkeypatch.setenv("USER", "bruno")
    assert first != desktop.instance_server_name(PROGRAM_TITLE)
    assert all(ch.isalnum() or ch == "-" for ch in first)


def test_stale_socket_is_removed_and_the_guard_listens(title: str, qtbot) -> None:
    """A copy that died without closing its guard leaves a socket no one answers on."""
    name = desktop.instance_server_name(title)
    stale = Path(tempfile.gettempdir()) / name
    stale.unlink(missing_ok=True)
    import socket as pysocket

    leftover = pysocket.socket(pysocket.AF_UNIX, pysocket.SOCK_STREAM)
    leftover.bind(str(stale))  # bound, never listening: connections are refused
    try:
        assert desktop.activate_running_copy(title) is False
        activations: list[int] = []
        server = desktop.listen_for_activation(title, lambda: activations.append(1))
        try:
            assert server.isListening()
            assert desktop.activate_running_copy(title) is True
            qtbot.waitUntil(lambda: activations == [1], timeout=3000)
        finally:
            server.close()
    finally:
        leftover.close()
        stale.unlink(missing_ok=True)


def test_live_guard_is_never_taken_over(running_copy, title: str, qtbot) -> None:
    """A guard started while a copy already listens leaves the copy's socket alone."""
    window, server = running_copy
    later = desktop.listen_for_activation(title, lambda: None)
    try:
        assert not later.isListening()
        assert server.isListening()
        window.showMinimized()
        qtbot.waitUntil(window.isMinimized)
        assert desktop.activate_running_copy(title) is True
        qtbot.waitUntil(lambda: not window.isMinimized(), timeout=3000)
    finally:
        later.close()


# --- with real processes -----------------------------------------------------------------
# `python -m varemo_contas --programa ...` on the seeded installation, headless; each copy's
# guard socket lives in a temporary folder of the test's own (TMPDIR). About 1 s each here.


@pytest.fixture
def socket_folder() -> Iterator[Path]:
    """A short temporary folder for the copies' sockets (a socket path has ~100 bytes)."""
    folder = Path(tempfile.mkdtemp(prefix="vg", dir="/tmp"))
    yield folder
    shutil.rmtree(folder, ignore_errors=True)


@pytest.fixture
def copy_env(tmp_path: Path, socket_folder: Path) -> dict[str, str]:
    home = tmp_path / "home"
    home.mkdir()
    env = {
        key: value
        for key, value in os.environ.items()
        if not key.startswith(("XDG_CONFIG", "PYTEST", "QT_"))
    }
    env |= {
        "QT_QPA_PLATFORM": "offscreen",
        "HOME": str(home),
        "TMPDIR": str(socket_folder),  # QLocalServer puts its socket in the temp folder
        "LANG": "pt_BR.UTF-8",
    }
    return env


def answers(server_path: str) -> bool:
    """Whether a copy listens on its guard (a connection counts as an activation)."""
    socket = QLocalSocket()
    socket.connectToServer(server_path)
    connected = socket.waitForConnected(300)
    if connected:
        socket.disconnectFromServer()
    return connected


class Copies:
    """Starts copies of the real program on the installation and ends them afterwards."""

    def __init__(self, program: Path, env: dict[str, str], logs: Path) -> None:
        self.program = program
        self.env = env
        self.logs = logs
        self.started: list[subprocess.Popen] = []
        self.server_path = str(Path(env["TMPDIR"]) / desktop.instance_server_name(PROGRAM_TITLE))

    def start(self) -> subprocess.Popen:
        log = self.logs / f"copy{len(self.started)}.log"
        with log.open("wb") as out:
            process = subprocess.Popen(
                [sys.executable, "-m", "varemo_contas", "--programa", str(self.program)],
                env=self.env,
                stdout=out,
                stderr=subprocess.STDOUT,
            )
        self.started.append(process)
        return process

    def log(self, process: subprocess.Popen) -> str:
        index = self.started.index(process)
        return (self.logs / f"copy{index}.log").read_text(errors="replace")

    def wait_until_up(self, process: subprocess.Popen) -> None:
        deadline = time.monotonic() + START_TIMEOUT
        while time.monotonic() < deadline:
            assert process.poll() is None, f"the copy ended early: {self.log(process)}"
            if answers(self.server_path):
                return
            time.sleep(0.1)
        pytest.fail(f"the copy did not come up in {START_TIMEOUT} s: {self.log(process)}")

    def end_all(self) -> None:
        for process in self.started:
            if process.poll() is None:
                process.terminate()
                try:
                    process.wait(5)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait(5)


@pytest.fixture
def copies(installation, copy_env: dict[str, str], tmp_path: Path) -> Iterator[Copies]:
    manager = Copies(installation.program, copy_env, tmp_path)
    yield manager
    manager.end_all()


def test_starting_the_module_twice_leaves_one_process(copies: Copies) -> None:
    """Part 1.2 edge case: the second copy ends (exit code 0), the first keeps running."""
    first = copies.start()
    copies.wait_until_up(first)
    second = copies.start()
    try:
        code = second.wait(SECOND_COPY_TIMEOUT)
    except subprocess.TimeoutExpired:
        pytest.fail(f"the second copy kept running: {copies.log(second)}")
    assert code == 0, copies.log(second)
    assert "Traceback" not in copies.log(second)
    time.sleep(0.3)
    assert first.poll() is None, copies.log(first)
    assert answers(copies.server_path)
    first.terminate()
    first.wait(5)


def test_copy_killed_leaves_a_stale_socket_and_the_next_start_still_starts(
    copies: Copies,
) -> None:
    """A copy killed with SIGKILL cannot remove its socket; the next start must not exit."""
    killed = copies.start()
    copies.wait_until_up(killed)
    killed.send_signal(signal.SIGKILL)
    killed.wait(5)
    assert Path(copies.server_path).exists()  # the stale socket
    assert not answers(copies.server_path)

    next_copy = copies.start()
    copies.wait_until_up(next_copy)
    assert next_copy.poll() is None
    # And its guard works: one more start ends at once.
    third = copies.start()
    assert third.wait(SECOND_COPY_TIMEOUT) == 0, copies.log(third)
    assert next_copy.poll() is None
