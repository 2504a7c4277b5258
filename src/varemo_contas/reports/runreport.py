"""Part 4.6 "Run report": the `ContaBas` routine behind the main window's report commands.

Number 1 makes a chart listing (`RelContas`, Part 4.5) for the listing level, number 2 a
personalised report (`RelPersonal`, Part 4.4, from `varemo_contas.reports.relpersonal` when
that module exists, or from a `report` factory the caller passes); any other number makes
no report and shows nothing. The report goes to `Visualiza.RunReport` and the preview is
shown modally, so the caller waits until it is closed.
"""

from __future__ import annotations

import importlib
from collections.abc import Callable
from typing import TYPE_CHECKING

from varemo_contas.app import desktop

if TYPE_CHECKING:
    from PySide6.QtWidgets import QWidget

    from varemo_contas.app.state import State
    from varemo_contas.reports.engine import Report
    from varemo_contas.reports.visualiza import Visualiza

CHART_LISTING = 1
PERSONALISED = 2
ReportFactory = Callable[..., "Report"]


def _relpersonal_factory() -> ReportFactory | None:
    """`RelPersonal` when its module is there (Part 4.4 is built separately)."""
    try:
        module = importlib.import_module("varemo_contas.reports.relpersonal")
    except ModuleNotFoundError as exc:
        if exc.name != "varemo_contas.reports.relpersonal":
            raise
        return None
    return getattr(module, "RelPersonal", None)


def create_report(
    state: State, number: int, report: ReportFactory | None = None, **inputs: object
) -> Report | None:
    """The report of `number`: 1 `RelContas(state, level)`, 2 `RelPersonal(state, **inputs)`."""
    if number == CHART_LISTING:
        from varemo_contas.reports.relcontas import RelContas

        factory: ReportFactory | None = report or RelContas
    elif number == PERSONALISED:
        factory = report or _relpersonal_factory()
    else:
        return None
    if factory is None:
        return None
    return factory(state, **inputs)


def run_report(
    state: State,
    number: int,
    parent: QWidget | None = None,
    report: ReportFactory | None = None,
    **inputs: object,
) -> Visualiza | None:
    """Make report `number`, run it into a new `Visualiza` and show that modally.

    `inputs` go to the report's constructor (`level=` for the chart listing). Returns the
    preview after it was closed, or None when the number makes no report.
    """
    made = create_report(state, number, report, **inputs)
    if made is None:
        return None
    from varemo_contas.reports.visualiza import Visualiza

    preview = Visualiza(state, parent)
    # A report that takes more than a second shows a progress bar while it is laid out.
    bar = desktop.progress("Preparando o relatório...", 100)
    made.progress = lambda done, total: bar.update(round(100 * done / max(total, 1)))
    try:
        preview.RunReport(made)
    finally:
        made.progress = None
        bar.close()
    desktop.show_modal(preview)
    return preview
