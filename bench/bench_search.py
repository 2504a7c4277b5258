"""Benchmark of the search (Part 3.1) against the floor of one bare SQLite UPDATE.

    uv run python bench/bench_search.py [--items 50000] [--runs 7] [--rebuild]

A company with `items` items (no movement lines) is generated once under /tmp and reused.
The search runs five filled rows, one of them "Qualquer campo", through `run_search` (the
product: the preparation untimed, as the window does it on opening; the search timed, its
one transaction and commit included). The floor is one hand-written `sqlite3` UPDATE that
marks the same items with the combined condition over the joined levels, in autocommit.
Both are timed best of `runs`, in the same process; the ratio is printed. The marks are
checked: product = floor in `NivelCategoria4.Marca` at full size, and product = the Part's
row-by-row reference in `NivelCategoria4.Marca` and `Procura` on a smaller company
(`--reference-items`): the reference's find after every update rescans its recordset, so it
grows with the square of the items (about 10 minutes at 50,000).
"""

from __future__ import annotations

import argparse
import os
import sqlite3
import sys
import time
from collections.abc import Callable, Sequence

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from generate import generate_company
from varemo_contas.app.state import State
from varemo_contas.data.dao import Database
from varemo_contas.search import execution

FOLDER = "/tmp/varemo_bench_search"
TARGET_RATIO = 5.0

# Five filled rows, one "Qualquer campo": A ou B e o C e o D ou E, i.e. A OR (B AND C AND D) OR E.
ROWS = [
    ("Qualquer campo", "contenha", "Pão", ""),
    ("Categoria", "seja igual a", "Despesas", "ou"),
    ("Item", "não contenha", "2", "e o"),
    ("Setor", "seja maior que", "Despesas F", "e o"),
    ("Conta", "contenha", "Energia", "ou"),
]

# The same search written by hand: the levels joined once, the combined WHERE, one UPDATE.
FLOOR_SQL = """
UPDATE NivelCategoria4 SET Marca = 1 WHERE Codigo IN (
    SELECT n4.Codigo
    FROM NivelCategoria4 AS n4
    LEFT JOIN NivelCategoria3 AS n3 ON n3.Codigo = n4.CodigoCategoria3
    LEFT JOIN NivelCategoria2 AS n2 ON n2.Codigo = n3.CodigoCategoria2
    LEFT JOIN NivelCategoria1 AS n1 ON n1.Codigo = n2.CodigoCategoria1
    LEFT JOIN NivelCategoria0 AS n0 ON n0.Codigo = n1.CodigoCategoria0
    WHERE (n4.Nome LIKE '%Pão%' OR n3.Nome LIKE '%Pão%' OR n2.Nome LIKE '%Pão%'
           OR n1.Nome LIKE '%Pão%' OR n0.Nome LIKE '%Pão%')
       OR n0.Nome = 'Despesas' AND n4.Nome NOT LIKE '%2%' AND n1.Nome > 'Despesas F'
       OR n3.Nome LIKE '%Energia%'
)
"""


def company(items: int, rebuild: bool) -> str:
    os.makedirs(FOLDER, exist_ok=True)
    path = os.path.join(FOLDER, f"empresa_{items}.mdb")
    if rebuild or not os.path.exists(path):
        start = time.perf_counter()
        generate_company(path, items=items, lines=0)
        print(f"gerado {path} em {time.perf_counter() - start:.1f} s")
    return path


def best_of(runs: int, setup: Callable[[], None], timed: Callable[[], object]) -> float:
    best = float("inf")
    for _ in range(runs):
        setup()
        start = time.perf_counter()
        timed()
        best = min(best, time.perf_counter() - start)
    return best


def marks(connection: sqlite3.Connection) -> list[int]:
    return [row[0] for row in connection.execute("SELECT Codigo FROM NivelCategoria4 WHERE Marca")]


def procura(connection: sqlite3.Connection) -> list[tuple]:
    return connection.execute("SELECT * FROM Procura ORDER BY Codigo").fetchall()


def compare_with_reference(path: str) -> bool:
    """Product and the Part's row-by-row reference on the same prepared tables: same marks?"""
    database = Database.open(path)
    state = State(database=database)
    bare = sqlite3.connect(path, isolation_level=None)
    try:
        results = []
        for run in (execution.run_search, execution.run_search_reference):
            procura_set, itens = execution.prepare(state)
            start = time.perf_counter()
            run(state, ROWS, procura_set)
            elapsed = time.perf_counter() - start
            results.append((state.search_result, marks(bare), procura(bare)))
            procura_set.close()
            itens.close()
        items = bare.execute("SELECT COUNT(*) FROM NivelCategoria4").fetchone()[0]
        same = results[0] == results[1]
        print(
            f"referência linha a linha ({items} itens, {results[1][0]} encontrados): "
            f"{1000 * elapsed:.0f} ms; marcas e Procura iguais às do produto: "
            f"{'sim' if same else 'NÃO'}"
        )
        return same
    finally:
        bare.close()
        database.close()


def main(argv: Sequence[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description="Procura (Parte 3.1) contra um UPDATE simples.")
    parser.add_argument("--items", type=int, default=50_000)
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("--rebuild", action="store_true", help="gera a empresa de novo")
    parser.add_argument(
        "--reference-items",
        type=int,
        default=4_000,
        help="itens da empresa em que o produto é comparado à referência (0: não compara)",
    )
    args = parser.parse_args(argv)

    path = company(args.items, args.rebuild)
    database = Database.open(path)
    state = State(database=database)
    bare = sqlite3.connect(path, isolation_level=None)
    try:
        opened: list = []

        def prepare() -> None:
            for recordset in opened:
                recordset.close()
            opened[:] = execution.prepare(state)

        start = time.perf_counter()
        prepare()
        print(f"preparação (não medida na razão): {1000 * (time.perf_counter() - start):.1f} ms")

        product = best_of(args.runs, prepare, lambda: execution.run_search(state, ROWS, opened[0]))
        hits = state.search_result
        product_marks = marks(bare)

        def clear() -> None:
            bare.execute("UPDATE NivelCategoria4 SET Marca = 0 WHERE Marca = 1")

        floor = best_of(args.runs, clear, lambda: bare.execute(FLOOR_SQL))
        floor_marks = marks(bare)

        print(f"itens: {args.items}, critérios: 5 (um 'Qualquer campo'), encontrados: {hits}")
        print(f"produto (run_search): {1000 * product:.1f} ms (melhor de {args.runs})")
        print(f"piso (um UPDATE sqlite3): {1000 * floor:.1f} ms (melhor de {args.runs})")
        ratio = product / floor
        verdict = "dentro" if ratio <= TARGET_RATIO else "FORA"
        print(f"razão: {ratio:.2f}x ({verdict} da meta de {TARGET_RATIO:g}x)")
        ok = product_marks == floor_marks and len(product_marks) == hits
        print(f"marcas produto = piso: {'sim' if ok else 'NÃO'}")

        if args.reference_items:
            same = compare_with_reference(company(args.reference_items, args.rebuild))
            ok = ok and same
        for recordset in opened:
            recordset.close()
    finally:
        bare.close()
        database.close()
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
