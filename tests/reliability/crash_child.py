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


# --- the actions: each returns the trigger, a callable that runs the action itself ---------

NEW_PATH = ("Despesas", "Despesas Novas", "Grupo Novo", "Conta Nova", "Item Novo")


def hierarchy_save(window) -> Callable[[], None]:
    """Part 2.5: a new Setor, Grupo, Conta and Item under the category "Despesas"."""
    window.tool_click("ID_Incluir")
    for level, name in enumerate(NEW_PATH):
        window.Combo[level].set_text(name)
    return lambda: window.tool_click("ID_Gravar")


def delete_item(window) -> Callable[[], None]:
    """Part 2.6: delete item 7 "Condomínio" (no movements), every question answered Yes."""
    window.Arvore_NodeClick(window.node("7N4"))
    return lambda: window.tool_click("ID_Excluir")


def report_save(window) -> Callable[[], None]:
    """Part 4.3: a new report definition with a few nodes toggled, saved after the question."""
    from varemo_contas.reports.arvrelat import ArvRelat

    report = ArvRelat(window.state, 1, 0, "", window)
    report.Nome.setText("Relatório Novo")
    root = report.Arvore.topLevelItem(0)
    categories = [root.child(i) for i in range(root.childCount())]
    report.Arvore_NodeClick(categories[0])  # a whole category
    report.Arvore_NodeClick(categories[1])
    sector = categories[1].child(0)
    if sector is not None:
        report.Arvore_NodeClick(sector)  # and back off for one of its sectors
    _keep.append(report)
    return lambda: report.BotaoEscolha_Click(0)


def report_edit(window) -> Callable[[], None]:
    """Part 4.3: the saved definition "Resultado Mensal" renamed and re-marked, then saved."""
    from varemo_contas.reports.arvrelat import ArvRelat

    report = ArvRelat(window.state, 2, 1, "Resultado Mensal", window)
    report.Nome.setText("Resultado Mensal Revisto")
    root = report.Arvore.topLevelItem(0)
    report.Arvore_NodeClick(root.child(0))
    report.Arvore_NodeClick(root.child(1))
    _keep.append(report)
    return lambda: report.BotaoEscolha_Click(0)


def _fill_search(search) -> None:
    search.Campo[0].setCurrentText("Item")
    search.Criterio[0].setCurrentText("contenha")
    search.Conteudo[0].setText("Pão")
    search.BotaoMais_Click(0)
    search.Campo[1].setCurrentText("Setor")
    search.Criterio[1].setCurrentText("contenha")
    search.Conteudo[1].setText("Receitas")


def search_marking(window) -> Callable[[], None]:
    """Part 3.1: two criteria filled, the search click (the preparation ran before counting)."""
    from varemo_contas.search.procontas import ProContas

    search = ProContas(window.state, window)
    _fill_search(search)
    _keep.append(search)
    return lambda: search.BotaoProcura_Click(2)


def search_preparation(window) -> Callable[[], None]:
    """Part 3.1: bringing the search window up again, whose preparation clears the marks."""
    from varemo_contas.search.procontas import ProContas

    first = ProContas(window.state, window)  # a search first, so there are marks to clear
    _fill_search(first)
    first.BotaoProcura_Click(2)
    return lambda: _keep.append(ProContas(window.state, window))


def period_confirmation(window) -> Callable[[], None]:
    """Part 4.2: another week start and the retroactive period type, then confirm."""
    from varemo_contas.reports.dataperiodo import DataPeriodo

    period = DataPeriodo(window.state, window)
    period.InicioSemana.setCurrentIndex((period.InicioSemana.currentIndex() + 2) % 7)
    period.OpcaoRetrocede_Click(0 if not period.OpcaoRetrocede[0].isChecked() else 1)
    _keep.append(period)
    return lambda: period.Botao_Click(1)


ACTIONS: dict[str, Callable] = {
    "hierarchy_save": hierarchy_save,
    "delete_item": delete_item,
    "report_save": report_save,
    "report_edit": report_edit,
    "search_marking": search_marking,
    "search_preparation": search_preparation,
    "period_confirmation": period_confirmation,
}
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
    trigger = ACTIONS[action](window)
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
