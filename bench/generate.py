"""Benchmark data: a company database shaped like the demo (Part 1.1), at any size.

    uv run python bench/generate.py OUT.mdb --items 50000 --lines 1000000

The chart keeps the demo's categories, sectors and groups, the four special groups mirror the
generated `Linhas`/`Produtos`, and the ordinary accounts and items are the demo's names repeated
with a number ("Aluguel 2") until there are `items` level-4 rows; `lines` movement lines are
spread over the year ending today, 60% sales and 40% purchases.
"""

from __future__ import annotations

import argparse
import datetime
import math
import os
import random
import sqlite3
import sys
import time
from collections.abc import Sequence

from varemo_contas.data import demo, schema

# About this many products per line and items per ordinary account, at every size.
PRODUCTS_PER_LINE = 40
ITEMS_PER_ACCOUNT = 12


def _numbered(names: Sequence[str], index: int) -> str:
    # The index-th name of a cycle over `names`: the first round plain, then "name 2", ...
    base, round_ = names[index % len(names)], index // len(names)
    return base if round_ == 0 else f"{base} {round_ + 1}"


def scaled_lines(products: int) -> list[tuple[str, bool, list[str]]]:
    """Product lines holding `products` products, plus the demo's line without products."""
    template = [(name, insumo, [p for p, _ in items]) for name, insumo, items in demo.LINHAS]
    empty = [line for line in template if not line[2]]
    full = [line for line in template if line[2]]
    count = max(len(full), math.ceil(products / PRODUCTS_PER_LINE))
    lines = []
    for index in range(count):
        name, insumo, names = full[index % len(full)]
        size = products // count + (index < products % count)
        round_ = index // len(full)
        line_name = name if round_ == 0 else f"{name} {round_ + 1}"
        lines.append((line_name, insumo, [_numbered(names, j) for j in range(size)]))
    return lines + empty


def scaled_setores(items: int) -> list[tuple[int, str, bool | None, list]]:
    """The demo's ordinary sectors and groups with accounts and items grown to `items` items."""
    groups = [(s, g) for s, sector in enumerate(demo.SETORES) for g in range(len(sector[3]))]
    accounts = max(1, math.ceil(items / ITEMS_PER_ACCOUNT))
    contas: dict[tuple[int, int], list[tuple[str, list[str]]]] = {key: [] for key in groups}
    templates: list[tuple[str, ...]] = []
    for index in range(accounts):
        key = groups[index % len(groups)]
        template = demo.SETORES[key[0]][3][key[1]][2]
        position = index // len(groups)
        contas[key].append((_numbered([c[0] for c in template], position), []))
        templates.append(template[position % len(template)][3])
    # Items go round the accounts; account `index` is contas[groups[index % G]][index // G].
    for k in range(items):
        index = k % accounts
        key = groups[index % len(groups)]
        conta = contas[key][index // len(groups)]
        conta[1].append(_numbered(templates[index], k // accounts))
    return [
        (cat, name, lock, [(g[0], g[1], contas[(s, n)]) for n, g in enumerate(sector_groups)])
        for s, (cat, name, lock, sector_groups) in enumerate(demo.SETORES)
    ]


def _documents(
    rng: random.Random, total: int, sizes: tuple[int, int]
) -> tuple[list[int], list[int]]:
    """Sizes of the documents holding `total` lines and their days (0..364), in date order."""
    counts = []
    while total > 0:
        size = min(total, rng.randint(*sizes))
        counts.append(size)
        total -= size
    return counts, sorted(rng.randrange(365) for _ in counts)


def _movement_rows(
    rng: random.Random,
    counts: list[int],
    kinds: Sequence[tuple[float, Sequence[tuple[int, int, int, float]]]],
) -> list[tuple]:
    """Lines (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada)."""
    # Cumulative thresholds over the non-empty kinds: (threshold, targets).
    usable = [(weight, targets) for weight, targets in kinds if targets]
    scale = sum(weight for weight, _ in usable)
    thresholds, acc = [], 0.0
    for weight, targets in usable:
        acc += weight / scale
        thresholds.append((acc, targets))
    thresholds[-1] = (2.0, thresholds[-1][1])
    rows = []
    append, random_, choice, randint = rows.append, rng.random, rng.choice, rng.randint
    for document, size in enumerate(counts, start=1):
        for _ in range(size):
            r = random_()
            for threshold, targets in thresholds:
                if r < threshold:
                    code, setor, produto, price = choice(targets)
                    append((document, code, setor, produto, price, randint(1, 20)))
                    break
    return rows


def generate_company(
    path: str,
    items: int = 50_000,
    lines: int = 1_000_000,
    seed: int = 0,
    end: datetime.date | None = None,
) -> None:
    """Create (replacing) a company database at `path` with `items` items and `lines` lines."""
    if items < 8:
        raise ValueError("items must be at least 8")
    rng = random.Random(seed)
    products = items // 4  # each product is an item twice: under sales and under suppliers
    linhas = scaled_lines(products)
    setores = scaled_setores(items - 2 * products)
    end = end or datetime.date.today()
    days = [(end - datetime.timedelta(days=364 - i)).isoformat() for i in range(365)]

    for stale in (path, path + "-journal"):
        if os.path.exists(stale):
            os.remove(stale)
    schema.create_database(path)
    connection = sqlite3.connect(path)
    try:
        connection.execute("PRAGMA synchronous = OFF")
        connection.execute("PRAGMA journal_mode = MEMORY")
        with connection:  # one transaction
            connection.execute(
                "INSERT INTO DadosEmpresa (Nome, Morto, InicioSemana, RetroAtivo, Cnpj, "
                "Endereco, Cidade, Uf, Telefone) VALUES (?, 0, 1, 0, ?, ?, ?, ?, ?)",
                (demo.COMPANY, demo.CNPJ, "Rua Barão de Jaguara, 1250", "Campinas", "SP", ""),
            )
            chart = demo.insert_chart(connection, linhas, setores, unlinked_every=10)
            reports = [
                (name, [p for p in chosen if p in chart.nodes]) for name, chosen in demo.REPORTS
            ]
            demo.insert_reports(connection, chart, reports)
            # Part 1.1: Produto = True lines point at a product and its line, Produto = False
            # lines at an ordinary item and its level-1 sector.
            price = {p.codigo: round(rng.uniform(0.5, 90.0), 2) for p in chart.products}
            goods = [
                (p.codigo, p.linha, 1, price[p.codigo]) for p in chart.products if not p.insumo
            ]
            raw = [(p.codigo, p.linha, 1, price[p.codigo]) for p in chart.products if p.insumo]
            income, expense = [], []
            for item in chart.items:
                target = (item.codigo, item.setor, 0, round(rng.uniform(10.0, 5000.0), 2))
                (income if item.categoria == demo.RECEITAS else expense).append(target)

            sales = lines * 3 // 5
            counts, doc_days = _documents(rng, sales, (1, 7))
            connection.executemany(
                "INSERT INTO Venda (Codigo, DataDocumento, Venda) VALUES (?, ?, ?)",
                [
                    (code, days[day], int(rng.random() >= 0.1))
                    for code, day in enumerate(doc_days, start=1)
                ],
            )
            rows = _movement_rows(rng, counts, ((0.9, goods), (0.03, raw), (0.07, income)))
            _insert_lines(connection, "VendaProdutos", rows)

            counts, doc_days = _documents(rng, lines - sales, (1, 9))
            connection.executemany(
                "INSERT INTO Compra (Codigo, DataDocumento) VALUES (?, ?)",
                [(code, days[day]) for code, day in enumerate(doc_days, start=1)],
            )
            rows = _movement_rows(rng, counts, ((0.4, goods), (0.4, raw), (0.2, expense)))
            _insert_lines(connection, "CompraProdutos", rows)
    finally:
        connection.close()


def _insert_lines(connection: sqlite3.Connection, table: str, rows: list[tuple]) -> None:
    connection.executemany(
        f"INSERT INTO {table} (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, "
        "QdeComprada) VALUES (?, ?, ?, ?, ?, ?)",
        rows,
    )


def main(argv: Sequence[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description="Gera um banco de dados de empresa para testes.")
    parser.add_argument("saida", help="arquivo .mdb a criar (substituído se existir)")
    parser.add_argument("--items", type=int, default=50_000, help="itens (nível 4)")
    parser.add_argument("--lines", type=int, default=1_000_000, help="linhas de movimento")
    parser.add_argument("--seed", type=int, default=0)
    args = parser.parse_args(argv)
    start = time.perf_counter()
    generate_company(args.saida, items=args.items, lines=args.lines, seed=args.seed)
    print(
        f"{args.saida}: {args.items} itens, {args.lines} linhas "
        f"em {time.perf_counter() - start:.1f} s"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())
