"""Benchmark of Part 4.4: the personalised report laid out in full against its floor.

    uv run python bench/bench_report.py [--items 50000] [--lines 1000000] [--chosen 5000]

On the company of `bench_totals.py` (cached under /tmp), a definition of `chosen` items
over the last six months: `RelPersonal.run()` — the bulk totals and every page laid out —
against the floor of ONE bare sqlite3 query summing the period's lines grouped by item
and kind, in the same run, best of several (target: within 5x). The report's totals part
alone is `bench_totals.py`'s figure (target 2x).
"""

from __future__ import annotations

import argparse
import datetime
import os
import random
import sqlite3
import sys

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from PySide6.QtWidgets import QApplication

from bench_totals import FLOOR_SQL, best_of, chart_items, company
from varemo_contas.app.state import State
from varemo_contas.data.dao import Database
from varemo_contas.reports.entries import entry
from varemo_contas.reports.relpersonal import RelPersonal


def entries_for(paths: list) -> list[str]:
    """Path entries as the tree walk gives them: the chain's names, then the item "S"."""
    out: list[str] = []
    last = [None] * 4
    for path in sorted(paths):
        for level in range(4):
            if path[level] != last[level] or any(last[k] != path[k] for k in range(level)):
                out.append(entry(path[level], level, False))
        last = list(path[:4])
        out.append(entry(path[4], 4, True))
    return out


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--items", type=int, default=50_000)
    parser.add_argument("--lines", type=int, default=1_000_000)
    parser.add_argument("--chosen", type=int, default=5_000)
    parser.add_argument("--runs", type=int, default=3)
    args = parser.parse_args(argv)
    app = QApplication.instance() or QApplication([])

    path = company(args.items, args.lines)
    database = Database.open(path)
    raw = sqlite3.connect(path)
    last = datetime.date.fromisoformat(
        raw.execute("SELECT MAX(DataDocumento) FROM Venda").fetchone()[0]
    )
    first = last - datetime.timedelta(days=182)
    params = (first.isoformat(), last.isoformat()) * 2
    chosen = random.Random(1).sample(chart_items(database), args.chosen)
    state = State()
    state.database = database
    state.company_name = "Empresa de teste"
    state.period_start, state.period_end = first.strftime("%d-%m-%Y"), last.strftime("%d-%m-%Y")
    entries = entries_for(chosen)
    pages = []

    def run_report() -> None:
        report = RelPersonal(state, entries, "Bench")
        pages[:] = report.run().pages

    floor_time = best_of(args.runs, lambda: raw.execute(FLOOR_SQL, params).fetchall())
    report_time = best_of(args.runs, run_report)
    ratio = report_time / floor_time
    print(f"piso (uma consulta sqlite3): {floor_time * 1000:8.1f} ms")
    print(
        f"RelPersonal.run() ({len(chosen)} itens, {len(pages)} páginas): "
        f"{report_time * 1000:8.1f} ms"
    )
    print(
        f"RESULT report: {ratio:.2f}x o piso (meta: até 5x); "
        f"{'ok' if ratio <= 5 else 'META PERDIDA'}"
    )
    database.close()
    del app
    return 0


if __name__ == "__main__":
    sys.exit(main())
