"""Benchmark of Part 4.1's totals: the bulk `period_totals` against its floor and the reference.

    uv run python bench/bench_totals.py [--items 50000] [--lines 1000000] [--chosen 5000]

On a company from `generate.py` (cached under /tmp), a report of `chosen` items over the
last six months is totalled three ways in the same run:

- the floor: ONE bare sqlite3 query summing the period's lines grouped by item and kind
  (sales and purchases), written by hand, with no name resolution at all;
- the bulk `period_totals` (target: within 2x of the floor);
- the literal reference, one `item_total_reference` per item, timed on 50 items and
  scaled to `chosen` (target: the bulk at least 100x faster).

Each timing is the best of several repetitions.
"""

from __future__ import annotations

import argparse
import datetime
import os
import random
import sqlite3
import sys
import time
from collections.abc import Callable

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from generate import generate_company
from varemo_contas.data import queries
from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.reports.totals import (
    ItemPath,
    item_total_reference,
    period_totals,
)

# Hand-written floor: the period's lines summed per item and kind, nothing else.
FLOOR_SQL = """
SELECT 'V', vp.CodigoProduto, vp.CodigoSetor, vp.Produto,
       SUM(vp.PrecoUnit * vp.QdeComprada), SUM(vp.QdeComprada)
FROM VendaProdutos vp JOIN Venda v ON v.Codigo = vp.Codigo
WHERE v.DataDocumento BETWEEN ? AND ? AND v.Venda = 1
GROUP BY vp.CodigoProduto, vp.CodigoSetor, vp.Produto
UNION ALL
SELECT 'C', cp.CodigoProduto, cp.CodigoSetor, cp.Produto,
       SUM(cp.PrecoUnit * cp.QdeComprada), SUM(cp.QdeComprada)
FROM CompraProdutos cp JOIN Compra c ON c.Codigo = cp.Codigo
WHERE c.DataDocumento BETWEEN ? AND ?
GROUP BY cp.CodigoProduto, cp.CodigoSetor, cp.Produto
"""


def company(items: int, lines: int) -> str:
    """The generated company, built once and kept under /tmp."""
    path = f"/tmp/varemo_bench_{items}_{lines}.mdb"
    if not os.path.isfile(path):
        start = time.perf_counter()
        generate_company(path + ".novo", items=items, lines=lines)
        os.replace(path + ".novo", path)
        print(f"gerado {path} em {time.perf_counter() - start:.1f} s")
    return path


def best_of(runs: int, action: Callable[[], object]) -> float:
    best = float("inf")
    for _ in range(runs):
        start = time.perf_counter()
        action()
        best = min(best, time.perf_counter() - start)
    return best


def chart_items(database: Database) -> list[ItemPath]:
    join = database.open_recordset(queries.joined_level(4), RecordsetType.SNAPSHOT)
    try:
        at = [join.field_index(f"NivelCategoria{level}.Nome") for level in range(5)]
        return [ItemPath(*(row[i] for i in at)) for row in join.rows()]
    finally:
        join.close()


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--items", type=int, default=50_000)
    parser.add_argument("--lines", type=int, default=1_000_000)
    parser.add_argument("--chosen", type=int, default=5_000)
    parser.add_argument("--reference-items", type=int, default=50)
    parser.add_argument("--runs", type=int, default=5)
    args = parser.parse_args(argv)

    path = company(args.items, args.lines)
    database = Database.open(path)
    raw = sqlite3.connect(path)
    last = datetime.date.fromisoformat(
        raw.execute("SELECT MAX(DataDocumento) FROM Venda").fetchone()[0]
    )
    first = last - datetime.timedelta(days=182)
    start, end = first.strftime("%d-%m-%Y"), last.strftime("%d-%m-%Y")
    chosen = random.Random(1).sample(chart_items(database), args.chosen)
    print(
        f"{args.items} itens, {args.lines} linhas; "
        f"relatório de {len(chosen)} itens, {start} a {end}"
    )

    params = (first.isoformat(), last.isoformat()) * 2
    floor_rows: list = []
    bulk: dict = {}

    def floor() -> None:
        floor_rows[:] = raw.execute(FLOOR_SQL, params).fetchall()

    def run_bulk() -> None:
        bulk.clear()
        bulk.update(period_totals(database, chosen, start, end))

    floor_time = bulk_time = float("inf")
    for _ in range(args.runs):  # interleaved, so both see the same cache and machine state
        floor_time = min(floor_time, best_of(1, floor))
        bulk_time = min(bulk_time, best_of(1, run_bulk))
    print(f"piso (uma consulta sqlite3, {len(floor_rows)} grupos): {floor_time * 1000:8.1f} ms")
    print(f"period_totals ({len(bulk)} itens):{'':14}{bulk_time * 1000:8.1f} ms")
    print(f"razão period_totals / piso: {bulk_time / floor_time:.2f}x (meta: até 2x)")

    sample = chosen[: args.reference_items]
    lines = database.open_recordset(queries.LINES_AND_PRODUCTS, RecordsetType.SNAPSHOT)
    reference: dict = {}

    def run_reference() -> None:
        for item in sample:
            reference[item] = item_total_reference(database, item, start, end, lines)

    reference_time = best_of(2, run_reference)
    scaled = reference_time * len(chosen) / len(sample)
    mismatches = sum(reference[item] != bulk[item] for item in sample)
    print(
        f"referência: {len(sample)} itens em {reference_time:.2f} s, "
        f"{len(chosen)} itens ~ {scaled:.1f} s"
    )
    speed_up = scaled / bulk_time
    print(f"aceleração period_totals / referência: {speed_up:.0f}x (meta: pelo menos 100x)")
    print(f"diferenças na amostra (bulk x referência): {mismatches}")
    database.close()
    raw.close()
    return 0 if mismatches == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
