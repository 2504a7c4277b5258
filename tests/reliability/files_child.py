"""Child-process driver of the files suite (issue 6, read-only data); not a test module.

Usage: python files_child.py <program folder> <work folder>

The parent starts this process where part of the installation is read-only for it (a
read-only bind mount in a mount namespace of its own, or folder permissions for a user they
bind). It starts the real program (`startup.start`) with a desktop that records every box
and sound and answers Yes/OK, then does what a user does on such a data folder:
browses, saves a new path on the hierarchy page (Part 2.5), cancels with Esc (Part 1.2),
and prints the chart (Part 4.5). What it saw goes to standard output as one JSON object.
"""

from __future__ import annotations

import json
import os
import sys

os.environ["QT_QPA_PLATFORM"] = "offscreen"

from PySide6.QtCore import QSettings, Qt
from PySide6.QtWidgets import QApplication
from user_actions import ACTIONS, chart_lines

from varemo_contas.app import desktop

seen: dict[str, object] = {"boxes": [], "sounds": []}


def _msgbox(prompt: str, buttons: int = 0, title: str = "") -> int:
    seen["boxes"].append([prompt, buttons, title])
    return desktop.vbYes if buttons & 0x0F == desktop.vbYesNo else desktop.vbOK


def main(argv: list[str]) -> int:
    program, work = argv[0], argv[1]
    QSettings.setDefaultFormat(QSettings.Format.IniFormat)
    QSettings.setPath(
        QSettings.Format.IniFormat, QSettings.Scope.UserScope, os.path.join(work, "settings")
    )
    app = QApplication([])
    desktop.msgbox = _msgbox
    desktop.play_sound = seen["sounds"].append
    desktop.show_modal = lambda window: None
    desktop.activate_running_copy = lambda title: False
    from varemo_contas.app.startup import start
    from varemo_contas.reports.runreport import run_report

    window = start(program)
    seen["started"] = window is not None
    if window is not None:
        window.Arvore_NodeClick(window.node("8N4"))  # browsing reads nothing it cannot
        seen["current_item"] = window.data_set().value("NivelCategoria4.Nome")
        trigger = ACTIONS["hierarchy_save"](window, [])
        trigger()
        seen["mode_after_save"] = window.Modo
        window.Form_KeyDown(Qt.Key.Key_Escape)
        seen["mode_after_escape"] = window.Modo
        preview = run_report(window.state, 1, window, level=4)
        seen["chart_lines"] = len(chart_lines(preview))
        window.Form_Unload()
    print(json.dumps(seen, ensure_ascii=False))
    del app
    os._exit(0)  # the parent only needs the report; skip Qt's teardown


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
