"""Another module of the suite holding the company database (issue 6); not a test module.

Usage: python lock_holder.py <database> <lock> <seconds>

<lock> is the lock another module of the suite takes on the shared file:
- "reserved": BEGIN IMMEDIATE and a sale written (the next document, of 24-11-2026, one line),
  as the sales module saving a document;
- "shared": BEGIN and a read left open, as another module laying out a long report;
- "exclusive": BEGIN EXCLUSIVE and the same sale, as a module in the middle of a large commit.

Prints "locked" once it holds the lock, then holds it for <seconds> (with 0: until a line
arrives on its standard input) and commits, so the sale of "reserved" and "exclusive" is in
the file afterwards: the program's waiting must not lose the other module's work.
"""

from __future__ import annotations

import sqlite3
import sys
import time

SALE = (
    "INSERT INTO Venda (Codigo, DataDocumento, Venda) "
    "SELECT COALESCE(MAX(Codigo), 0) + 1, '2026-11-24', 1 FROM Venda"
)
SALE_LINE = (
    "INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, "
    "QdeComprada) SELECT MAX(Codigo), 2, 1, 1, 8.0, 5 FROM Venda"
)
BEGIN = {"reserved": "BEGIN IMMEDIATE", "shared": "BEGIN", "exclusive": "BEGIN EXCLUSIVE"}


def main(argv: list[str]) -> int:
    path, lock, seconds = argv[0], argv[1], float(argv[2])
    connection = sqlite3.connect(path, isolation_level=None, timeout=0)
    connection.execute(BEGIN[lock])
    if lock == "shared":
        # A read keeps its SHARED lock until the transaction ends, as a cursor being walked.
        connection.execute("SELECT COUNT(*) FROM NivelCategoria4").fetchone()
    else:
        connection.execute(SALE)
        connection.execute(SALE_LINE)
    print("locked", flush=True)
    if seconds > 0:
        time.sleep(seconds)
    else:
        sys.stdin.readline()
    connection.execute("COMMIT")
    connection.close()
    print("released", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
