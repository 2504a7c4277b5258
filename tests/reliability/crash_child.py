"""Child-process driver of the crash suite (issue 6, "Crash during a write"); not a test module.

Usage: python crash_child.py <action> <program folder> <kill at k | 0> <work folder> [spill]

Starts the real program on the installation (`startup.start`) with a desktop that answers
Yes/OK, prepares the action's window, then counts every statement that reaches SQLite
(`Database.statement_hook`, called after each one, BEGIN IMMEDIATE and COMMIT included)
during the action only. With k > 0 the process kills itself with SIGKILL right after the k-th
statement: nothing is flushed, closed or rolled back, as when the power goes. With k = 0 the
action runs uncut: the database file is copied to <work>/before.mdb just before the action
and to <work>/after.mdb after it, and the statement count and texts go to <work>/uncut.json.
With "spill" the page cache is one page, so changed pages reach the file before COMMIT.
"""

from __future__ import annotations

import json
import os
import shutil
import signal
import sys
from collections.abc import Callable

os.environ["QT_QPA_PLATFORM"] = "offscreen"

from PySide6.QtCore import QSettings
from PySide6.QtWidgets import QApplication
from user_actions import ACTIONS  # beside this script

from varemo_contas.app import desktop


class _Progress:
    def update(self, done: int) -> None:
        pass

    def close(self) -> None:
        pass


def _answer(prompt: str, buttons: int = 0, title: str = "") -> int:
    # Every question is answered Yes, every notice OK: the action goes through to its end.
    return desktop.vbYes if buttons & 0x0F == desktop.vbYesNo else desktop.vbOK


FAKES: dict[str, Callable] = {
    "msgbox": _answer,
    "show_modal": lambda window: None,
    "play_sound": lambda number: None,
    "show_help": lambda context=0: True,
    "send_mail": lambda: None,
    "start_module": lambda number: True,
    "activate_running_copy": lambda title: False,
    "process_events": lambda: None,
    "progress": lambda text, total: _Progress(),
}


def fake_desktop() -> None:
    for name, function in FAKES.items():
        setattr(desktop, name, function)


_keep: list[object] = []  # the action's windows live until the process ends


def main(argv: list[str]) -> int:
    action, program, kill_at, work = argv[0], argv[1], int(argv[2]), argv[3]
    spill = argv[4:] == ["spill"]
    QSettings.setDefaultFormat(QSettings.Format.IniFormat)
    QSettings.setPath(
        QSettings.Format.IniFormat, QSettings.Scope.UserScope, os.path.join(work, "settings")
    )
    app = QApplication([])
    fake_desktop()
    from varemo_contas.app.startup import start

    window = start(program)
    if window is None:
        print("start-up stopped", file=sys.stderr)
        return 2
    database = window.state.database
    trigger = ACTIONS[action](window, _keep)
    statements: list[str] = []

    def hook(sql: str) -> None:
        statements.append(sql)
        if len(statements) == kill_at:
            os.kill(os.getpid(), signal.SIGKILL)

    if spill:
        # The smallest page cache: changed pages reach the file before COMMIT, so a kill
        # leaves a database file only the rollback journal can put back.
        database.connection.execute("PRAGMA cache_size = 1")
    if kill_at == 0:
        shutil.copyfile(database.path, os.path.join(work, "before.mdb"))
    database.statement_hook = hook
    trigger()
    database.statement_hook = None
    if kill_at:
        print(f"the action ended after {len(statements)} statements", file=sys.stderr)
        return 3
    shutil.copyfile(database.path, os.path.join(work, "after.mdb"))
    log = os.path.join(window.state.data_folder, "Dados", "Erros.txt")
    with open(os.path.join(work, "uncut.json"), "w", encoding="utf-8") as handle:
        json.dump({"statements": statements, "error_log": os.path.exists(log)}, handle)
    del app
    os._exit(0)  # the parent only needs the files; skip Qt's teardown


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
