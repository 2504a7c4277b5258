"""What the company database holds, read by another program (issue 6 suites); not a test module."""

from __future__ import annotations

import sqlite3
from pathlib import Path

Snapshot = dict[str, list[tuple]]


def snapshot(database: Path | str) -> Snapshot:
    """Every table of the company database (and the schema itself), rows sorted."""
    connection = sqlite3.connect(str(database))
    try:
        tables = [
            name
            for (name,) in connection.execute(
                # The autonumber counters are SQLite's bookkeeping, not the company's data.
                "SELECT name FROM sqlite_master WHERE type = 'table' "
                "AND name <> 'sqlite_sequence' ORDER BY name"
            )
        ]
        data = {"sqlite_master": connection.execute("SELECT * FROM sqlite_master").fetchall()}
        for table in tables:
            data[table] = sorted(
                connection.execute(f'SELECT * FROM "{table}"').fetchall(), key=repr
            )
        return data
    finally:
        connection.close()


def changes(before: Snapshot, after: Snapshot) -> dict[str, tuple]:
    """Per table: (rows gone, rows new); tables that did not change are left out."""
    out = {}
    for table in before.keys() | after.keys():
        old, new = before.get(table, []), after.get(table, [])
        gone = [row for row in old if row not in new]
        added = [row for row in new if row not in old]
        if gone or added:
            out[table] = (gone, added)
    return out
