"""The command line: start on a data folder or on a demo company (Part 1.2 in real time)."""

from __future__ import annotations

import argparse
import os
import sys

from varemo_contas.app import desktop, startup

DEFAULT_DEMO_FOLDER = os.path.join(os.path.expanduser("~"), "VaremoDemo")


def default_program_folder() -> str:
    """The frozen executable's folder, or the current folder (DESIGN.md)."""
    if getattr(sys, "frozen", False):
        return os.path.dirname(sys.executable)
    return os.getcwd()


def parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="varemo-contas", description="Plano de Contas do Varemo")
    parser.add_argument(
        "--demo",
        nargs="?",
        const=DEFAULT_DEMO_FOLDER,
        metavar="PASTA",
        help="monta uma empresa de demonstração na PASTA e abre o programa nela",
    )
    parser.add_argument(
        "--programa", metavar="PASTA", help="pasta do programa (onde fica o Caminho.dad)"
    )
    return parser


def main(argv: list[str]) -> int:
    """Run the program; returns the process exit code."""
    if argv and argv[0] == "relatorio":
        # Headless export with the preview's renderer (DESIGN.md seams).
        from varemo_contas.reports.export import export_main

        return export_main(argv[1:])
    options = parser().parse_args(argv)
    program_folder = options.programa or default_program_folder()
    if options.demo:
        from varemo_contas.data.demo import build_demo

        program_folder = build_demo(options.demo)
    return run_program(program_folder)


def run_program(program_folder: str) -> int:
    """Part 1.2 with its splash on screen and the timer that hands over to the main window."""
    from PySide6.QtWidgets import QApplication

    from varemo_contas.app.entrada import Entrada
    from varemo_contas.editor.contas import Contas

    app = QApplication.instance() or QApplication(sys.argv[:1])
    app.setOrganizationName("Varemo")
    state = startup.new_state(program_folder)
    app.setApplicationName(state.title)
    if desktop.activate_running_copy(state.title):
        return 0
    splash = Entrada(state)
    # Listen at once: a copy started while this one still loads must find it (Part 1.4).
    guard = desktop.listen_for_activation(
        state.title, lambda: desktop.bring_to_front(splash.main_window or splash)
    )
    splash.show()
    app.processEvents()
    if not startup.splash_load(state):
        splash.close()
        return 1
    splash.show_company(state.company_name)
    app.processEvents()
    window = Contas(state)
    window.Form_Load()
    splash.main_window = window
    splash.Timer1.start()
    code = app.exec()
    del guard
    return code
