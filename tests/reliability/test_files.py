"""Issue 6, files around the database: read-only data, a missing "Dados" folder, damaged
files, odd "Caminho.dad" files, missing sounds and help. Each gives the spec's behaviour
(Parts 1.2, 1.3, 1.4) and writes nothing.

The read-only cases run the program in a child process (`files_child.py`) that sees the data
folder, or only the database file, through a read-only bind mount in a mount namespace of its
own: read-only for every user, root included, as a write-protected network share is.
"""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from installations import copy_installation
from PySide6.QtCore import Qt
from tables import snapshot
from user_actions import chart_lines

from varemo_contas.app import desktop, errorlog
from varemo_contas.app.startup import (
    CORRUPT_MESSAGE,
    CORRUPT_TITLE,
    IMPROPER_MESSAGE,
    IMPROPER_TITLE,
    MISSING_INI,
    MISSING_PATH_FILE,
    NOT_FOUND_TITLE,
    start,
)
from varemo_contas.data import errors
from varemo_contas.editor.save import SAVE_ROUTINE
from varemo_contas.reports.dataperiodo import DataPeriodo
from varemo_contas.reports.relpersonal import ROTINA_PERSONALIZADO
from varemo_contas.reports.runreport import run_report

CHILD = Path(__file__).with_name("files_child.py")
# The real services, taken before any test fakes them.
REAL_PLAY_SOUND = desktop.play_sound
REAL_SHOW_HELP = desktop.show_help
READ_ONLY_DESCRIPTION = "Não é possível atualizar. O banco de dados ou o objeto é somente leitura."
DAMAGED_DESCRIPTION = (
    "Não é possível abrir o banco de dados. Talvez não seja um banco de dados reconhecido "
    "pelo seu aplicativo ou o arquivo pode estar corrompido."
)
# Bind `$1` over itself read-only, then run the rest of the arguments in that namespace.
MOUNT_READ_ONLY = 'mount --bind "$1" "$1" && mount -o remount,bind,ro "$1" && shift && exec "$@"'


def stopped_with(fake_desktop, prompt: str, buttons: int, title: str) -> None:
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (prompt, buttons, title)
    ]


def log_record_prompt(routine: str, number: int, description: str) -> str:
    """The tail of the Part 1.3 message for this routine and error."""
    return (
        f"Rotina em que houve o erro: {routine}\rVersão 1.2.3\r"
        f"Erro número: {number}\rDescrição: {description}"
    )


# --- read-only data ---------------------------------------------------------------------------


def _namespaces_bind() -> bool:
    if shutil.which("unshare") is None:
        return False
    probe = subprocess.run(["unshare", "-rm", "true"], capture_output=True, check=False)
    return probe.returncode == 0


def run_read_only(read_only: Path, installation, work: Path) -> dict:
    """Run `files_child.py` on the installation with `read_only` write-protected for it."""
    command = [sys.executable, str(CHILD), str(installation.program), str(work)]
    protected: list[Path] = []
    if _namespaces_bind():
        command = ["unshare", "-rm", "sh", "-c", MOUNT_READ_ONLY, "sh", str(read_only), *command]
    elif os.geteuid() == 0:
        pytest.skip("no mount namespace here, and folder permissions do not bind root")
    else:
        protected = [read_only, *read_only.rglob("*")]
        for path in protected:
            path.chmod(path.stat().st_mode & ~0o222)
    work.mkdir()
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen", HOME=str(work))
    try:
        done = subprocess.run(command, env=env, capture_output=True, text=True, timeout=120)
    finally:
        for path in protected:
            path.chmod(path.stat().st_mode | 0o200)
    assert done.returncode == 0, done.stderr
    return json.loads(done.stdout.strip().splitlines()[-1])


@pytest.fixture
def expected_chart_lines(installation, fake_desktop, tmp_path: Path, qtbot) -> int:
    """The chart listing's detail lines on a writable copy of the same company."""
    copy = copy_installation(installation, tmp_path / "gravavel")
    window = start(str(copy.program))
    qtbot.addWidget(window)
    lines = len(chart_lines(run_report(window.state, 1, window, level=4)))
    window.Form_Unload()
    fake_desktop.calls.clear()
    return lines


@pytest.mark.slow
def test_read_only_data_folder_browses_and_prints_and_a_save_is_logged_with_nothing_written(
    installation, tmp_path: Path, expected_chart_lines: int
):
    """Parts 1.3 and 2.5: on a write-protected data folder the save fails into the error log,
    whose own record is lost silently (the sound and the message still come); the insert
    mode stays open, Esc cancels it, and the chart still prints."""
    before = snapshot(installation.database)
    seen = run_read_only(installation.data, installation, tmp_path / "filho")
    assert seen["started"] is True
    assert seen["current_item"] == "Conta de luz"
    [(prompt, buttons, title)] = seen["boxes"]
    assert title == errorlog.MESSAGE_TITLE and buttons == desktop.vbCritical
    assert prompt.endswith(log_record_prompt(SAVE_ROUTINE, errors.READ_ONLY, READ_ONLY_DESCRIPTION))
    assert seen["sounds"] == [1]
    assert seen["mode_after_save"] == "Inserir"
    assert seen["mode_after_escape"] == "Visualizar"
    assert seen["chart_lines"] == expected_chart_lines
    assert not installation.error_log.exists()
    assert snapshot(installation.database) == before


@pytest.mark.slow
def test_read_only_database_file_logs_the_save_in_the_writable_folder(
    installation, tmp_path: Path, expected_chart_lines: int
):
    """Part 1.3: with only "empresa.mdb" write-protected, the failed save's record reaches
    "Dados/Erros.txt" with Jet's read-only error; nothing of the save is written."""
    before = snapshot(installation.database)
    seen = run_read_only(installation.database, installation, tmp_path / "filho")
    assert seen["started"] is True
    [(prompt, _buttons, _title)] = seen["boxes"]
    assert prompt.endswith(log_record_prompt(SAVE_ROUTINE, errors.READ_ONLY, READ_ONLY_DESCRIPTION))
    assert seen["mode_after_escape"] == "Visualizar"
    assert seen["chart_lines"] == expected_chart_lines
    record = installation.error_log.read_bytes().decode("cp1252")
    assert record.startswith("***** NAO APAGUE AS LINHAS ABAIXO *****\r\n\r\n")
    assert f"Rotina: {SAVE_ROUTINE}\r\n" in record
    assert f"Erro número: {errors.READ_ONLY}\r\nDescrição: {READ_ONLY_DESCRIPTION}\r\n" in record
    assert snapshot(installation.database) == before


# --- the database file ----------------------------------------------------------------------


def test_missing_dados_folder_stops_with_advice_first(installation, fake_desktop):
    """Part 1.2 "Opening the database" step 4: no "Dados" folder, no database; nothing created."""
    shutil.rmtree(installation.data / "Dados")
    assert start(str(installation.program)) is None
    stopped_with(fake_desktop, IMPROPER_MESSAGE, desktop.vbCritical, IMPROPER_TITLE)
    assert not (installation.data / "Dados").exists()


def test_folder_in_place_of_the_database_stops_with_advice_first(installation, fake_desktop):
    """Part 1.2 step 4: "empresa.mdb" that is a folder is not a database that can be opened."""
    installation.database.unlink()
    installation.database.mkdir()
    assert start(str(installation.program)) is None
    stopped_with(fake_desktop, IMPROPER_MESSAGE, desktop.vbCritical, IMPROPER_TITLE)


def damaged(path: Path, change) -> bytes:
    data = bytearray(path.read_bytes())
    change(data)
    path.write_bytes(bytes(data))
    return bytes(data)


def page_of(path: Path, table: str) -> tuple[int, int]:
    """(offset, size) of the table's root page in the file."""
    import sqlite3

    connection = sqlite3.connect(path)
    try:
        (size,) = connection.execute("PRAGMA page_size").fetchone()
        (root,) = connection.execute(
            "SELECT rootpage FROM sqlite_master WHERE name = ?", (table,)
        ).fetchone()
    finally:
        connection.close()
    return (root - 1) * size, size


def wreck_page(path: Path, table: str) -> bytes:
    """Overwrite the table's root page past its 8-byte header: its cells point nowhere."""
    offset, size = page_of(path, table)

    def change(data: bytearray) -> None:
        data[offset + 8 : offset + size] = b"\xff" * (size - 8)

    return damaged(path, change)


@pytest.mark.parametrize(
    "damage",
    ["truncated", "empty", "header", "chart_page"],
)
def test_damaged_database_stops_with_the_corrupt_message_and_is_left_as_it_was(
    installation, fake_desktop, damage: str
):
    """Part 1.2 "Opening the database" step 3: a file cut in half, emptied, with its header or a
    page of the chart overwritten is Jet's 3049: "corrompido", the process ends, the file
    is not touched (no repair, no rewrite)."""
    path = installation.database
    if damage == "truncated":
        left = damaged(path, lambda data: data.__delitem__(slice(len(data) // 2, None)))
    elif damage == "empty":
        left = damaged(path, lambda data: data.clear())
    elif damage == "header":
        left = damaged(path, lambda data: data.__setitem__(slice(0, 16), b"Standard Jet DB\x00"))
    else:
        left = wreck_page(path, "NivelCategoria4")
    assert start(str(installation.program)) is None
    stopped_with(fake_desktop, CORRUPT_MESSAGE, desktop.vbCritical, CORRUPT_TITLE)
    assert path.read_bytes() == left
    assert not installation.error_log.exists()


def test_damaged_page_of_the_purchase_lines_is_logged_by_the_report_that_reads_it(
    installation, fake_desktop, qtbot
):
    """Parts 1.3 and 4.4: the chart is whole, so the program starts; the personalised report
    meets the damaged purchase page, logs Jet's 3049 and shows what it could lay out; the
    window stays usable (the chart listing still prints)."""
    left = wreck_page(installation.database, "CompraProdutos")
    window = start(str(installation.program))
    assert window is not None, fake_desktop.boxes
    qtbot.addWidget(window)
    fake_desktop.modal_hook = lambda shown: (
        shown.Botao_Click(1) if isinstance(shown, DataPeriodo) else None
    )
    window.tool_click("ID_Relatorios")
    names = [window.Relatos.item(i).text() for i in range(window.Relatos.count())]
    window.Relatos.setCurrentRow(names.index("Resultado Mensal"))
    window.Relatos_Click()
    window.BotaoVer_Click()
    logged = [box for box in fake_desktop.boxes if box.title == errorlog.MESSAGE_TITLE]
    assert logged, "the damaged page was never met"
    assert logged[0].prompt.endswith(
        log_record_prompt(ROTINA_PERSONALIZADO, errors.NOT_A_DATABASE, DAMAGED_DESCRIPTION)
    )
    record = installation.error_log.read_bytes().decode("cp1252")
    assert f"Rotina: {ROTINA_PERSONALIZADO}\r\n" in record
    fake_desktop.calls.clear()
    assert chart_lines(run_report(window.state, 1, window, level=4))
    assert fake_desktop.boxes == []
    window.Form_Unload()
    assert installation.database.read_bytes() == left


# --- "Caminho.dad" ------------------------------------------------------------------------------


def test_caminho_dad_naming_a_folder_that_is_gone_misses_empresa_ini(installation, fake_desktop):
    """Part 1.2 step 5: the data folder is used as written; a folder that is gone has no ini."""
    gone = installation.data.parent / "empresa_antiga"
    (installation.program / "Caminho.dad").write_text(str(gone) + os.sep + "\r\n", "cp1252")
    assert start(str(installation.program)) is None
    stopped_with(fake_desktop, MISSING_INI, desktop.vbExclamation, NOT_FOUND_TITLE)
    assert not gone.exists()


def test_caminho_dad_with_the_folder_on_its_second_line_reads_only_the_first(
    installation, fake_desktop
):
    """Part 1.2 step 4: only the first line counts; a blank one is an empty data folder."""
    text = "\r\n" + str(installation.data) + os.sep + "\r\n"
    (installation.program / "Caminho.dad").write_text(text, "cp1252")
    assert start(str(installation.program)) is None
    stopped_with(fake_desktop, MISSING_INI, desktop.vbExclamation, NOT_FOUND_TITLE)


def test_folder_in_place_of_caminho_dad_is_a_missing_path_file(installation, fake_desktop):
    """Part 1.2 step 4: "Caminho.dad" that cannot be read as a file is the missing-file case."""
    (installation.program / "Caminho.dad").unlink()
    (installation.program / "Caminho.dad").mkdir()
    assert start(str(installation.program)) is None
    stopped_with(fake_desktop, MISSING_PATH_FILE, desktop.vbExclamation, NOT_FOUND_TITLE)


# --- sounds and help beside the program ---------------------------------------------------------


def test_missing_sounds_folder_leaves_a_logged_error_silent(
    installation, fake_desktop, monkeypatch, qtbot
):
    """Parts 1.3 and 1.4: with "Sons" gone the error sound is skipped without a word; the
    error's own message still comes."""
    monkeypatch.setattr(desktop, "play_sound", REAL_PLAY_SOUND)
    shutil.rmtree(installation.program / "Sons", ignore_errors=True)
    window = start(str(installation.program))
    qtbot.addWidget(window)
    window.tool_click("ID_Incluir")
    # Part 2.5: the apostrophe breaks the SQL, the failure goes to the error log.
    for level, name in enumerate(("Despesas", "Pão d'água", "Grupo", "Conta", "Item")):
        window.Combo[level].set_text(name)
    window.tool_click("ID_Gravar")
    assert [box.title for box in fake_desktop.boxes] == [errorlog.MESSAGE_TITLE]
    window.Form_Unload()


def test_missing_help_folder_answers_f1_with_the_help_message(
    installation, fake_desktop, monkeypatch, qtbot
):
    """Part 1.4 "Show help": no help files beside the program, F1 in the main window shows
    "A Ajuda não abre ou tópico não existe" titled "Ajuda do Programa"."""
    monkeypatch.setattr(desktop, "show_help", REAL_SHOW_HELP)
    shutil.rmtree(installation.program / "Ajuda", ignore_errors=True)
    window = start(str(installation.program))
    qtbot.addWidget(window)
    window.Form_KeyDown(Qt.Key.Key_F1)
    stopped_with(
        fake_desktop,
        "A Ajuda não abre ou tópico não existe",
        desktop.vbExclamation,
        "Ajuda do Programa",
    )
    window.Form_Unload()
