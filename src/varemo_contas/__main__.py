"""`python -m varemo_contas` and the console script `varemo-contas`."""

from __future__ import annotations

import sys


def main() -> int:
    from varemo_contas.app.startup import run

    return run(sys.argv[1:])


if __name__ == "__main__":
    sys.exit(main())
