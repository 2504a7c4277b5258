"""Headless export (DESIGN.md seams): `varemo-contas relatorio plano --nivel N --pdf OUT`
and `varemo-contas relatorio personalizado NOME --de dd-mm-yyyy --ate dd-mm-yyyy --pdf OUT`.

Start-up without windows (Part 1.2's checks with their messages written to stderr), the
chart listing (Part 4.5) or the personalised report of a saved definition (Part 4.4) run
through the same engine and renderer as the preview, written as PDF. Exit status: 0
written; 1 the installation, the database, the definition or the file failed; 2 the
command line is wrong (a bad level or date included).
"""

from __future__ import annotations

import contextlib
import os
import sys
from collections.abc import Callable, Iterator
from typing import TYPE_CHECKING

from varemo_contas.app import desktop

if TYPE_CHECKING:
    from varemo_contas.app.state import State
    from varemo_contas.reports.engine import Report

USAGE = (
    "Uso:\n"
    "  varemo-contas relatorio plano --nivel N --pdf ARQUIVO [--programa PASTA]\n"
    "  varemo-contas relatorio personalizado NOME --de dd-mm-aaaa --ate dd-mm-aaaa"
    " --pdf ARQUIVO [--programa PASTA]\n"
    "N é o último nível listado: 1 Setor, 2 Grupo, 3 Conta, 4 Item."
)
OK = 0
FAILED = 1
USAGE_ERROR = 2


class UsageError(Exception):
    """A wrong command line; the message is Portuguese and goes to stderr."""


def _say(text: str) -> None:
    print(text, file=sys.stderr)


def _options(args: list[str], names: tuple[str, ...]) -> tuple[list[str], dict[str, str]]:
    """Split `args` into positional words and "--name value" options (only `names`)."""
    words: list[str] = []
    options: dict[str, str] = {}
    index = 0
    while index < len(args):
        arg = args[index]
        if arg.startswith("--"):
            name, _, inline = arg[2:].partition("=")
            if name not in names:
                raise UsageError(f"Opção desconhecida: {arg}")
            if inline:
                value = inline
            elif index + 1 < len(args):
                index += 1
                value = args[index]
            else:
                raise UsageError(f"Falta o valor da opção --{name}.")
            options[name] = value
        else:
            words.append(arg)
        index += 1
    return words, options


def parse_level(text: str | None) -> int:
    """The listing level 1..4 of "--nivel"."""
    if text is None:
        raise UsageError("Falta o nível: use --nivel 1, 2, 3 ou 4.")
    try:
        level = int(text.strip())
    except ValueError:
        level = 0
    if not 1 <= level <= 4:
        raise UsageError(
            f"Nível inválido: {text}. Use 1 (Setor), 2 (Grupo), 3 (Conta) ou 4 (Item)."
        )
    return level


@contextlib.contextmanager
def messages_to_stderr() -> Iterator[None]:
    """Person-facing calls of the desktop seam become lines on stderr, sounds silence."""
    saved = {name: getattr(desktop, name) for name in ("msgbox", "play_sound", "show_modal")}

    def msgbox(prompt: str, buttons: int = 0, title: str = "") -> int:
        text = prompt.replace("\r\n", "\r").replace("\r", " ")
        _say(f"{title}: {text}" if title else text)
        return desktop.vbNo if buttons & 0x0F == desktop.vbYesNo else desktop.vbOK

    def refuse_window(window: object) -> None:
        _say("Janela não disponível na exportação.")

    desktop.msgbox = msgbox
    desktop.play_sound = lambda number: None
    desktop.show_modal = refuse_window
    try:
        yield
    finally:
        for name, function in saved.items():
            setattr(desktop, name, function)


def _ensure_gui() -> None:
    """Fonts and the marks' tree need an application; without a display it runs offscreen."""
    from PySide6.QtWidgets import QApplication

    if QApplication.instance() is None:
        os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
        QApplication(["varemo-contas"])


def _export(
    program_folder: str, make_report: Callable[[State], Report | None], pdf_path: str
) -> int:
    """Start-up without windows, then the report `make_report` builds, written to `pdf_path`."""
    from varemo_contas.app import startup
    from varemo_contas.reports import painter

    _ensure_gui()
    folder = os.getcwd()
    state = startup.new_state(program_folder)
    try:
        with messages_to_stderr():
            if not os.path.isdir(program_folder):
                _say(f"Pasta do programa não encontrada: {program_folder}")
                return FAILED
            if not startup.splash_load(state):
                _say(f"Instalação incompleta na pasta do programa {program_folder}")
                return FAILED
            report = make_report(state)
            if report is None:
                return FAILED
            document = report.run()
        try:
            painter.write_pdf(document, pdf_path)
        except OSError as exc:
            reason = exc.strerror or str(exc)
            _say(f'Não foi possível gravar o arquivo PDF "{pdf_path}": {reason}')
            return FAILED
    finally:
        if state.database is not None:
            state.database.close()
        with contextlib.suppress(OSError):
            os.chdir(folder)  # opening the database changes to the data folder (Part 1.2)
    return OK


def export_chart(program_folder: str, level: int, pdf_path: str) -> int:
    """The chart listing of `level` (Part 4.5) written to `pdf_path`."""
    from varemo_contas.reports.relcontas import RelContas

    return _export(program_folder, lambda state: RelContas(state, level), pdf_path)


def parse_date(text: str | None, option: str) -> str:
    """A "dd-mm-yyyy" date of "--de"/"--ate", checked as the period window checks it."""
    from varemo_contas.reports.periodo import format_period, parse_period

    day = parse_period(text or "")
    if day is None:
        raise UsageError(f"Data inválida em --{option}: {text or ''}. Use dd-mm-aaaa.")
    return format_period(day)


def export_personal(program_folder: str, name: str, start: str, end: str, pdf_path: str) -> int:
    """The personalised report of the saved definition `name` for the period (Part 4.4)."""
    from varemo_contas.data.dao import RecordsetType
    from varemo_contas.data.errors import JetError
    from varemo_contas.reports.entries import report_entries
    from varemo_contas.reports.relpersonal import RelPersonal

    def make(state: State) -> Report | None:
        try:
            reports = state.database.open_recordset("Relatorios", RecordsetType.TABLE)
            try:
                found = reports.find_first("NomeRelatorio = '" + name + "'")
                code = int(reports["CodigoRelatorio"]) if found else 0
                stored_name = str(reports["NomeRelatorio"]) if found else name
            finally:
                reports.close()
            if not found:
                _say(f'Relatório personalizado não encontrado: "{name}"')
                return None
            state.period_start, state.period_end, state.confirmed = start, end, True
            return RelPersonal(state, report_entries(state.database, code), stored_name)
        except JetError as exc:
            _say(f"Erro {exc.number} ao ler o relatório: {exc.description}")
            return None

    return _export(program_folder, make, pdf_path)


def _as_date(text: str) -> object:
    from varemo_contas.reports.periodo import parse_period

    return parse_period(text)


def _program_folder(options: dict[str, str]) -> str:
    if "programa" in options:
        return os.path.abspath(options["programa"])
    from varemo_contas.app.cli import default_program_folder

    return default_program_folder()


def export_main(argv: list[str]) -> int:
    """The words after `relatorio`; returns the exit status (messages on stderr)."""
    try:
        if not argv or argv[0] in ("-h", "--help", "ajuda"):
            raise UsageError("Falta o relatório: plano ou personalizado.")
        kind, rest = argv[0], argv[1:]
        if kind == "plano":
            words, options = _options(rest, ("nivel", "pdf", "programa"))
            if words:
                raise UsageError(f"Argumento inesperado: {words[0]}")
            level = parse_level(options.get("nivel"))
            if not options.get("pdf"):
                raise UsageError("Falta o arquivo de saída: use --pdf ARQUIVO.")
            pdf_path = os.path.abspath(options["pdf"])
            return export_chart(_program_folder(options), level, pdf_path)
        if kind == "personalizado":
            words, options = _options(rest, ("de", "ate", "pdf", "programa"))
            if len(words) != 1:
                raise UsageError("Falta o nome do relatório (entre aspas se tiver espaços).")
            start = parse_date(options.get("de"), "de")
            end = parse_date(options.get("ate"), "ate")
            if _as_date(end) < _as_date(start):
                raise UsageError("A data final deve ser igual ou posterior à data inicial")
            if not options.get("pdf"):
                raise UsageError("Falta o arquivo de saída: use --pdf ARQUIVO.")
            pdf_path = os.path.abspath(options["pdf"])
            return export_personal(_program_folder(options), words[0], start, end, pdf_path)
        raise UsageError(f'Relatório desconhecido: {kind}. Use "plano" ou "personalizado".')
    except UsageError as exc:
        _say(str(exc))
        _say(USAGE)
        return USAGE_ERROR
