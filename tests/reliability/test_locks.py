"""Issue 6, another module holds the database: the program waits a bounded time, then fails
into the error log (Part 1.3) with nothing written, and the same action goes through once
the lock is gone.

The other module is a second process (`lock_holder.py`) on the same file:
- "reserved": BEGIN IMMEDIATE and a sale of its own, as the sales module saving a document;
- "shared": a read transaction left open, as another module laying out a long report
  (our BEGIN IMMEDIATE goes through, but COMMIT must wait for that reader to finish);
- "exclusive": BEGIN EXCLUSIVE, as a module in the middle of a large commit (even reads wait).

Each writing action of `user_actions` runs in the real main window (`startup.start`, the
recording desktop) while the other process holds the file. A lock shorter than the busy
timeout is waited for; a longer one fails the action into the log; once released, the same
click writes exactly what it writes on a file nobody holds, and the other module's sale is
still there.
"""

from __future__ import annotations

import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

import pytest
from installations import copy_installation
from tables import Snapshot, changes, snapshot
from user_actions import ACTIONS, WRITES, Trigger, chart_lines

from varemo_contas.app import desktop, errorlog
from varemo_contas.app.startup import IMPROPER_MESSAGE, IMPROPER_TITLE, start
from varemo_contas.data import errors
from varemo_contas.data.dao import BUSY_TIMEOUT_SECONDS
from varemo_contas.editor.save import SAVE_ROUTINE
from varemo_contas.reports import periodo
from varemo_contas.reports.arvrelat import ROTINA_GRAVAR
from varemo_contas.reports.relcontas import ROTINA_PLANO
from varemo_contas.reports.runreport import run_report
from varemo_contas.search.execution import ROTINA_PROCURA

HOLDER = Path(__file__).with_name("lock_holder.py")
LOCKED_DESCRIPTION = "Não foi possível atualizar; bloqueado no momento por outro usuário ou módulo."
SALE_TABLES = {"Venda", "VendaProdutos"}  # what the holder writes and commits

# The routine name each action's error handler passes to the error log (Part 1.3).
ROUTINES = {
    "hierarchy_save": SAVE_ROUTINE,
    "level_page_save": SAVE_ROUTINE,
    "delete_item": errorlog.ROTINA_EXCLUINDO,
    "report_save": ROTINA_GRAVAR,
    "report_edit": ROTINA_GRAVAR,
    "report_delete": "ID_Excluir",
    "search_marking": ROTINA_PROCURA,
    "search_preparation": ROTINA_PROCURA,
    "period_confirmation": periodo.ROUTINE,
}

# Outlasting locks cost one busy timeout each; the bound proves the wait ends by itself.
WAIT_BOUND = BUSY_TIMEOUT_SECONDS + 10


class Holder:
    """Another module's process holding `lock` on the company database."""

    def __init__(self, database: Path, lock: str, seconds: float = 0) -> None:
        self.process = subprocess.Popen(
            [sys.executable, str(HOLDER), str(database), lock, str(seconds)],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        line = self.process.stdout.readline().strip()
        assert line == "locked", self.process.stderr.read()

    def release(self) -> None:
        """Tell the holder to commit (it may have done so already), and wait for it."""
        if self.process.poll() is None:
            self.process.stdin.write("\n")
            self.process.stdin.flush()
        self.process.stdin.close()
        assert self.process.stdout.readline().strip() == "released"
        assert self.process.wait(timeout=30) == 0, self.process.stderr.read()
        self.process.stdout.close()
        self.process.stderr.close()

    def __enter__(self) -> Holder:
        return self

    def __exit__(self, *exc: object) -> None:
        if self.process.returncode is None:
            self.process.kill()
            self.process.wait()
            for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
                stream.close()


def log_boxes(fake) -> list:
    return [box for box in fake.boxes if box.title == errorlog.MESSAGE_TITLE]


def without_sale(delta: dict[str, tuple]) -> dict[str, tuple]:
    return {table: rows for table, rows in delta.items() if table not in SALE_TABLES}


def assert_sale_kept(before: Snapshot, after: Snapshot) -> None:
    """The other module's document is in the file: waiting for it lost nothing of its work."""
    delta = changes(before, after)
    assert set(delta) >= SALE_TABLES
    gone, [document] = delta["Venda"]
    assert gone == [] and document[1:] == ("2026-11-24", 1)
    assert delta["VendaProdutos"] == ([], [(document[0], 2, 1, 1, 8.0, 5)])


def uncontended(installation, action: str, root: Path, qtbot) -> dict[str, tuple]:
    """What the action writes on a copy of the same company that nobody else holds."""
    copy = copy_installation(installation, root)
    window = start(str(copy.program))
    qtbot.addWidget(window)
    trigger = ACTIONS[action](window, [])
    before = snapshot(copy.database)
    trigger()
    delta = changes(before, snapshot(copy.database))
    window.Form_Unload()
    assert set(delta) == set(WRITES[action]), "the action wrote other tables than its own"
    return delta


@dataclass
class Prepared:
    action: str
    trigger: Trigger
    expected: dict[str, tuple]  # what the action writes on a file nobody holds


@pytest.fixture
def prepared(installation, fake_desktop, tmp_path: Path, qtbot, request):
    """The parametrised action prepared in the main window, and what it writes uncontended."""
    action = request.param
    expected = uncontended(installation, action, tmp_path / "sem_bloqueio", qtbot)
    fake_desktop.calls.clear()
    window = start(str(installation.program))
    assert window is not None, fake_desktop.boxes
    qtbot.addWidget(window)
    kept: list = []
    trigger = ACTIONS[action](window, kept)
    fake_desktop.calls.clear()
    yield Prepared(action, trigger, expected)
    window.Form_Unload()


def assert_logged_lock(installation, fake_desktop, routine: str) -> None:
    """Part 1.3: the error sound, the critical box and the record with Jet's lock error."""
    [box] = log_boxes(fake_desktop)
    assert box.buttons == desktop.vbCritical
    assert f"Rotina em que houve o erro: {routine}\r" in box.prompt
    assert box.prompt.endswith(f"Erro número: {errors.LOCKED}\rDescrição: {LOCKED_DESCRIPTION}")
    assert 1 in fake_desktop.sounds
    record = installation.error_log.read_bytes().decode("cp1252")
    assert f"Rotina: {routine}\r\n" in record
    assert f"Erro número: {errors.LOCKED}\r\nDescrição: {LOCKED_DESCRIPTION}\r\n" in record


def timed(trigger: Trigger) -> float:
    started = time.monotonic()
    trigger()
    return time.monotonic() - started


# --- a writer holds the file ------------------------------------------------------------------


@pytest.mark.slow
@pytest.mark.parametrize("prepared", list(ACTIONS), indirect=True)
def test_short_lock_of_another_module_is_waited_for(prepared, installation, fake_desktop):
    """Issue 6: a lock shorter than the busy timeout only delays the action."""
    before = snapshot(installation.database)
    with Holder(installation.database, "reserved", seconds=1.0) as holder:
        prepared.trigger()
        holder.release()
    after = snapshot(installation.database)
    assert log_boxes(fake_desktop) == []
    assert not installation.error_log.exists()
    assert without_sale(changes(before, after)) == prepared.expected
    assert_sale_kept(before, after)


def held_past_the_wait_then_released(
    prepared: Prepared, installation, fake_desktop, lock: str
) -> tuple[Snapshot, Snapshot]:
    """The click while another module holds `lock` past the busy timeout: the wait ends by
    itself, the failure is logged and nothing is written; once released, the same click
    (the window as the failure left it) writes exactly the uncontended rows.

    Returns the file before the click and right after the release."""
    before = snapshot(installation.database)
    with Holder(installation.database, lock) as holder:
        waited = timed(prepared.trigger)
        assert BUSY_TIMEOUT_SECONDS * 0.9 <= waited <= WAIT_BOUND
        assert snapshot(installation.database) == before
        assert_logged_lock(installation, fake_desktop, ROUTINES[prepared.action])
        holder.release()
    released = snapshot(installation.database)
    fake_desktop.calls.clear()
    prepared.trigger()
    assert log_boxes(fake_desktop) == []
    assert changes(released, snapshot(installation.database)) == prepared.expected
    return before, released


@pytest.mark.slow
@pytest.mark.parametrize("prepared", list(ACTIONS), indirect=True)
def test_lock_outlasting_the_wait_fails_into_the_log_then_the_same_click_goes_through(
    prepared, installation, fake_desktop
):
    """Issue 6 and Part 1.3: the wait is bounded; the failure is logged, nothing is written,
    the window stays usable, and once the other module lets go the same click writes."""
    before, released = held_past_the_wait_then_released(
        prepared, installation, fake_desktop, "reserved"
    )
    assert_sale_kept(before, released)


# --- a reader holds the file past our COMMIT -----------------------------------------------


@pytest.mark.slow
@pytest.mark.parametrize("prepared", list(ACTIONS), indirect=True)
def test_reader_outlasting_the_commit_rolls_back_then_the_same_click_goes_through(
    prepared, installation, fake_desktop
):
    """Issue 6: another module's open read keeps our COMMIT waiting; past the busy timeout the
    whole action is rolled back and logged, and the window forgets what it had cached, so the
    second click writes exactly what an uncontended one writes."""
    before, released = held_past_the_wait_then_released(
        prepared, installation, fake_desktop, "shared"
    )
    assert released == before  # the reader wrote nothing


# --- a module in the middle of a large commit: even reads wait ------------------------------


@pytest.mark.slow
def test_start_up_waits_for_a_short_exclusive_lock(installation, fake_desktop, qtbot):
    """Issue 6: opening the database while another module commits only delays start-up."""
    before = snapshot(installation.database)
    with Holder(installation.database, "exclusive", seconds=1.0) as holder:
        window = start(str(installation.program))
        holder.release()
    assert window is not None, fake_desktop.boxes
    qtbot.addWidget(window)
    assert window.state.company_name == "Padaria Teste Ltda"
    assert fake_desktop.boxes == []
    assert_sale_kept(before, snapshot(installation.database))
    window.Form_Unload()


@pytest.mark.slow
def test_start_up_under_an_exclusive_lock_outlasting_the_wait_stops_with_the_open_message(
    installation, fake_desktop, qtbot
):
    """Part 1.2 "Opening the database" step 4: a file that cannot be opened in time is "any
    other non-zero error"; start-up stops, writes nothing, and the next start goes through."""
    before = snapshot(installation.database)
    with Holder(installation.database, "exclusive") as holder:
        assert start(str(installation.program)) is None
        [box] = fake_desktop.boxes
        assert (box.prompt, box.buttons, box.title) == (
            IMPROPER_MESSAGE,
            desktop.vbCritical,
            IMPROPER_TITLE,
        )
        holder.release()
    assert not installation.error_log.exists()
    assert_sale_kept(before, snapshot(installation.database))
    fake_desktop.calls.clear()
    window = start(str(installation.program))
    assert window is not None, fake_desktop.boxes
    qtbot.addWidget(window)
    window.Form_Unload()


@pytest.mark.slow
def test_chart_listing_under_an_exclusive_lock_fails_into_the_log_then_prints_once_released(
    contas, installation, fake_desktop
):
    """Part 4.5 and issue 6: the listing's read waits the busy timeout, then is logged and the
    preview is empty; the window stays usable and the same command prints the chart after."""
    before = snapshot(installation.database)
    with Holder(installation.database, "exclusive") as holder:
        waited = timed(lambda: run_report(contas.state, 1, contas, level=4))
        assert BUSY_TIMEOUT_SECONDS * 0.9 <= waited <= WAIT_BOUND
        assert_logged_lock(installation, fake_desktop, ROTINA_PLANO)
        [shown] = [call.args[0] for call in fake_desktop.named("show_modal")]
        assert chart_lines(shown) == []
        holder.release()
    assert_sale_kept(before, snapshot(installation.database))
    fake_desktop.calls.clear()
    preview = run_report(contas.state, 1, contas, level=4)
    assert log_boxes(fake_desktop) == []
    assert "Condomínio" in chart_lines(preview)
