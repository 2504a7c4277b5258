"""Part 1.2: the process-wide state, one object handed to every window."""

from __future__ import annotations

from dataclasses import dataclass
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from varemo_contas.data.dao import Database

# Part 1.4 leaves the title to the implementer; it names the settings store and the log lines.
APP_TITLE = "Plano de Contas"
APP_DESCRIPTION = (
    "Cadastro do plano de contas financeiro da empresa: categorias, setores, grupos, "
    "contas e itens, com procura por critérios e relatórios de receitas e despesas."
)
VERSION_MAJOR = 1
VERSION_MINOR = 2
VERSION_REVISION = 3


@dataclass
class State:
    """What Part 1.2 lists, plus the shared SQL text, search result and period result."""

    program_folder: str = ""
    data_folder: str = ""
    database_path: str = ""
    database: Database | None = None
    version_text: str = ""
    company_name: str = ""
    archive_mode: bool = False
    logo_path: str = ""
    user_name: str = ""
    main_window_ready: bool = False
    module_to_start: int = 0
    title: str = APP_TITLE
    major: int = VERSION_MAJOR
    minor: int = VERSION_MINOR
    revision: int = VERSION_REVISION
    # One process-wide SQL text that every routine overwrites (Overview, shared helpers).
    sql: str = ""
    # Part 3.1: -1 no search / cancelled; the criterion number while searching; the hit count.
    search_result: int = -1
    # Part 4.2: "dd-mm-yyyy" texts and the dialog-confirmed flag.
    period_start: str = ""
    period_end: str = ""
    confirmed: bool = False
    # Part 4.1: the quantity total a totals routine leaves beside its money result.
    quantity_total: float = 0.0
