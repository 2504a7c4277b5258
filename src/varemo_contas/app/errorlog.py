"""Part 1.3: the error log shared by every module of the suite.

A routine that traps an unexpected failure calls `log_error`, which appends the fixed
eight-line record to data folder + "Dados/Erros.txt", plays the error sound and shows the
user a message to copy down. The record's layout is a contract with the suite's other
modules (DESIGN.md): CR LF line ends, Windows-1252 text, on every platform.
"""

from __future__ import annotations

import os
from contextlib import suppress
from datetime import datetime
from typing import TYPE_CHECKING

from PySide6.QtCore import QLocale

from varemo_contas.app import desktop

if TYPE_CHECKING:
    from varemo_contas.app.state import State

# Part 1.3: the routine names the callers pass.
ROTINA_ABRIR_PROGRAMA = "Erro ao Abrir Programa"
ROTINA_TOTAL_REGISTROS = "Total de Registros"
ROTINA_INSERINDO = "Inserindo"
ROTINA_EXCLUINDO = "Excluindo Registro"
ROTINA_ORDENAR_NOMES = "Ordenar Nomes"
ROTINA_MOVIMENTO = "Erro no Movimento_Click"
ROTINA_MOVE_FILTRO = "Erro no Move_Click"
ROTINA_TREEVIEW = "Colocando dados no TreeView"

LOG_FOLDER = "Dados"
LOG_FILE = "Erros.txt"
HEADER = "***** NAO APAGUE AS LINHAS ABAIXO *****"
MESSAGE_TITLE = "Tratamento de Erros"
ERROR_SOUND = 1
# The suite's other modules read the log as Windows text (DESIGN.md, Platform choices).
ENCODING = "cp1252"
LINE_END = "\r\n"
CR = "\r"


def _version(state: State) -> str:
    # Part 1.3: major.minor.revision without padding (unlike the About box, Part 1.5).
    return f"{state.major}.{state.minor}.{state.revision}"


def date_line(now: datetime, locale: QLocale | None = None) -> str:
    """Line 1: "dd-mmmm-yyyy  hh:mm" with the month's full name in the user's language."""
    # QLocale() is the default locale, which follows the system's unless a test sets it.
    locale = locale if locale is not None else QLocale()
    month = locale.monthName(now.month, QLocale.FormatType.LongFormat)
    return f"{now.day:02d}-{month}-{now.year:04d}  {now.hour:02d}:{now.minute:02d}"


def record_lines(
    state: State, routine: str, description: str, number: int, now: datetime
) -> list[str]:
    """The eight lines of one record (Part 1.3's table), without line ends."""
    return [
        date_line(now),
        "Usuário: " + state.user_name,
        "Programa: " + state.title,
        "Rotina: " + routine,
        "Versão " + _version(state),
        "Erro número: " + str(number),
        "Descrição: " + description,
        "",
    ]


def user_message(state: State, routine: str, description: str, number: int) -> str:
    """The message of Part 1.3 step 1; "\\r" breaks the lines, none at the end."""
    return (
        "Erro no Programa " + state.title + CR
        + "Anote os dados abaixo e informe ao desenvolvedor :" + CR + CR
        + "Rotina em que houve o erro: " + routine + CR
        + "Versão " + _version(state) + CR
        + "Erro número: " + str(number) + CR
        + "Descrição: " + description
    )  # fmt: skip


def log_path(state: State) -> str:
    """Data folder + "Dados/Erros.txt", the data folder used as a plain prefix (Part 1.2)."""
    return state.data_folder + LOG_FOLDER + os.sep + LOG_FILE


def encode_lines(lines: list[str]) -> bytes:
    """Each line ended by CR LF, in Windows-1252; what it cannot hold becomes "?"."""
    # Line breaks inside a description are kept as they are (Part 1.3, edge cases).
    return "".join(line + LINE_END for line in lines).encode(ENCODING, errors="replace")


def _write_record(path: str, lines: list[str]) -> None:
    # Part 1.3 step 3: a new file gets the header and an empty line; it is never read.
    if os.path.exists(path):
        mode, body = "ab", lines
    else:
        mode, body = "wb", [HEADER, "", *lines]
    with open(path, mode) as log:
        log.write(encode_lines(body))


def log_error(
    state: State,
    routine: str,
    description: str,
    number: int,
    *,
    now: datetime | None = None,
) -> None:
    """Append the record, play the error sound and show the message; never raises."""
    # Part 1.3, Failure handling: every step's own failure is ignored and the next runs,
    # so a log that cannot be written loses the record and the sound and message still come.
    message = ""
    with suppress(Exception):
        message = user_message(state, routine, description, number)
    with suppress(Exception):
        lines = record_lines(state, routine, description, number, now or datetime.now())
        _write_record(log_path(state), lines)
    with suppress(Exception):
        desktop.play_sound(ERROR_SOUND)
    with suppress(Exception):
        desktop.msgbox(message, desktop.vbCritical, MESSAGE_TITLE)


def log_exception(state: State, routine: str, exc: BaseException) -> None:
    """Log a trapped exception: a Jet-like error's number and description, else 0 and its text."""
    description = getattr(exc, "description", None)
    if not isinstance(description, str):
        # A plain Python exception: its text, or its type when it carries no text.
        description = str(exc) or type(exc).__name__
    number = getattr(exc, "number", 0)
    if not isinstance(number, int):
        number = 0
    log_error(state, routine, description, number)
