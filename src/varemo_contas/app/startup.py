"""Part 1.2: start-up (the splash `Entrada`'s load), opening the database, the event loop."""

from __future__ import annotations

import contextlib
import os
import sys
from typing import TYPE_CHECKING

from varemo_contas.app import desktop, errorlog
from varemo_contas.app.state import State
from varemo_contas.data import errors
from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.data.errors import JetError

if TYPE_CHECKING:
    from varemo_contas.editor.contas import Contas

NOT_FOUND_TITLE = "Arquivo não encontrado"
MISSING_PATH_FILE = "Sumiu o arquivo path da rede"
MISSING_INI = "Sumiu o arquivo Empresa.ini"
CORRUPT_MESSAGE = (
    "Arquivo de banco de dados empresa.mdb corrompido"
    + "\r"
    + "ou não é .mdb. Solicite ajuda do Adm. de Sistema"
)
CORRUPT_TITLE = "Arquivo corrompido ou com defeitos"
# Part 1.2: advice first, then the two lines of the cause.
IMPROPER_MESSAGE = (
    "Solicite ajuda do Adm. de Sistema"
    + "\r"
    + "Banco de dados não encontrado"
    + "\r"
    + "ou com formato .mdb impróprio!"
)
IMPROPER_TITLE = "Arquivo não existe ou impróprio"
# The tables this module writes (and level 0 and the company row it reads with them): walked
# page by page at opening. The movements, owned and written by the other modules, are read
# only by the reports, which log a damage met there.
CHECKED_TABLES = (
    "DadosEmpresa",
    "NivelCategoria0",
    "NivelCategoria1",
    "NivelCategoria2",
    "NivelCategoria3",
    "NivelCategoria4",
    "Procura",
    "Relatorios",
    "RelatorioItens",
)
# The tables this module reads; a file without them is not the suite's database.
REQUIRED_TABLES = (
    *CHECKED_TABLES,
    "Linhas",
    "Produtos",
    "Venda",
    "VendaProdutos",
    "Compra",
    "CompraProdutos",
)


def apply_locale() -> None:
    """Month names and number formats follow the user; a bare "C" system speaks Portuguese.

    The suite is Brazilian: where the system names no language (LANG=C, POSIX), dates and
    money are written as a Brazilian user reads them.
    """
    from PySide6.QtCore import QLocale

    system = QLocale.system()
    if system.language() in (QLocale.Language.C, QLocale.Language.AnyLanguage):
        QLocale.setDefault(QLocale(QLocale.Language.Portuguese, QLocale.Country.Brazil))


def new_state(program_folder: str) -> State:
    """Part 1.2 steps 2-3: version text, ready flag, the program folder ending in a separator."""
    apply_locale()
    state = State()
    state.version_text = f"{state.major}.{state.minor}.{state.revision}".strip()
    state.main_window_ready = False
    folder = program_folder
    if not folder.endswith(("/", "\\")):
        folder += os.sep
    state.program_folder = folder
    desktop.configure(folder, state.title)
    return state


def read_data_folder(state: State) -> bool:
    """Part 1.2 step 4: the first line of "Caminho.dad", used exactly as written."""
    path = state.program_folder + "Caminho.dad"
    if not os.path.isfile(path):
        desktop.msgbox(MISSING_PATH_FILE, desktop.vbExclamation, NOT_FOUND_TITLE)
        return False
    try:
        with open(path, encoding="cp1252", errors="replace", newline="") as handle:
            first = handle.readline()
    except OSError:
        first = ""
    state.data_folder = first.rstrip("\r\n")
    return True


def check_company_ini(state: State) -> bool:
    """Part 1.2 step 5: "Empresa.ini" must exist in the data folder."""
    if not os.path.isfile(state.data_folder + "Empresa.ini"):
        desktop.msgbox(MISSING_INI, desktop.vbExclamation, NOT_FOUND_TITLE)
        return False
    return True


def AbreBanco(state: State) -> bool:
    """Part 1.2 "Opening the database" (`ContaBas`): the two failure messages or success."""
    folder = state.data_folder + "Dados" + os.sep
    state.database_path = folder + "empresa.mdb"
    # Resolved before the change of folder, so a relative data folder still finds its file.
    resolved = os.path.abspath(state.database_path)
    with contextlib.suppress(OSError):
        os.chdir(folder)
    try:
        database = Database.open(resolved)
        try:
            missing = [name for name in REQUIRED_TABLES if not database.has_table(name)]
            if missing:
                raise JetError(errors.TABLE_NOT_FOUND, "Tabelas ausentes: " + ", ".join(missing))
            # Part 1.2 step 3: a damaged chart is "corrompido" at opening, not halfway through
            # a save (SQLite itself reads the pages only when a query needs them).
            database.check_tables(CHECKED_TABLES)
        except JetError:
            database.close()
            raise
    except JetError as exc:
        if exc.number == errors.NOT_A_DATABASE:
            desktop.msgbox(CORRUPT_MESSAGE, desktop.vbCritical, CORRUPT_TITLE)
        else:
            desktop.msgbox(IMPROPER_MESSAGE, desktop.vbCritical, IMPROPER_TITLE)
        return False
    state.database = database
    return True


def read_company(state: State) -> None:
    """Part 1.2 step 7: the company name from `DadosEmpresa`, trimmed."""
    try:
        company = state.database.open_recordset("DadosEmpresa", RecordsetType.TABLE)
        try:
            state.company_name = "" if company.eof else str(company.value("Nome", "")).strip()
        finally:
            company.close()
    except JetError as exc:
        errorlog.log_exception(state, errorlog.ROTINA_ABRIR_PROGRAMA, exc)


def splash_load(state: State) -> bool:
    """Part 1.2 splash steps 4-7; False when start-up stopped with one of its messages."""
    return (
        read_data_folder(state)
        and check_company_ini(state)
        and AbreBanco(state)
        and (read_company(state) is None)
    )


def start(program_folder: str) -> Contas | None:
    """The test seam: the splash's load and the main window's load, synchronously.

    Returns the loaded (hidden) main window, or None when start-up stopped.
    """
    state = new_state(program_folder)
    if desktop.activate_running_copy(state.title):
        return None
    if not splash_load(state):
        return None
    from varemo_contas.editor.contas import Contas

    window = Contas(state)
    window.Form_Load()
    return window


def run(argv: list[str] | None = None) -> int:
    """The real program: argument handling, the splash, the main window and the event loop."""
    from varemo_contas.app.cli import main

    return main(sys.argv[1:] if argv is None else argv)
