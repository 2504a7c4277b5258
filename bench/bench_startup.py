"""Start-up time: the program on the demo company against a bare Qt window, same run.

    uv run python bench/bench_startup.py [--repeat 7] [--demo DIR] [--program DIR]

Each measurement is a fresh Python process (interpreter, imports and QApplication count in
both), timed from its launch until its window is exposed on screen (offscreen platform):

- baseline: a bare `QApplication` showing one empty `QWidget`;
- program: `varemo_contas.app.startup.start(program_folder)` (Part 1.2's splash load and the
  main window's load, synchronously) and then `window.show()`, on the demo company built by
  `varemo_contas.data.demo.build_demo` (or on `--program DIR`, e.g. a large generated company).

The two kinds alternate, so drift of the machine touches both; medians and their ratio are
printed, ending with one `RESULT` line.
"""

from __future__ import annotations

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Sequence

READY = "READY"


# --- the child processes ----------------------------------------------------------------


def _wait_exposed(app: object, widget: object, limit: float = 30.0) -> None:
    deadline = time.perf_counter() + limit
    while True:
        handle = widget.windowHandle()
        if handle is not None and handle.isExposed():
            return
        if time.perf_counter() > deadline:
            raise SystemExit("a janela não apareceu")
        app.processEvents()


def child_bare(started: float) -> None:
    from PySide6.QtWidgets import QApplication, QWidget

    app = QApplication(sys.argv[:1])
    window = QWidget()
    window.setWindowTitle("Plano de Contas")
    window.resize(1100, 720)
    window.show()
    _wait_exposed(app, window)
    print(READY, f"{time.perf_counter() - started:.6f}", flush=True)


def child_program(started: float, program_folder: str) -> None:
    from PySide6.QtWidgets import QApplication

    from varemo_contas.app import startup

    app = QApplication(sys.argv[:1])
    window = startup.start(program_folder)
    if window is None:
        raise SystemExit("o programa não iniciou (outra cópia aberta ou pasta inválida)")
    window.show()
    _wait_exposed(app, window)
    print(READY, f"{time.perf_counter() - started:.6f}", flush=True)
    window.Form_Unload()


# --- the parent ---------------------------------------------------------------------------


def child_env(home: str) -> dict[str, str]:
    env = dict(os.environ)
    env["QT_QPA_PLATFORM"] = "offscreen"
    # A settings store and temp folder of the run's own: no saved placement, no guard socket
    # of a copy the person may have open.
    env["HOME"] = home
    env["TMPDIR"] = home
    env.pop("XDG_CONFIG_HOME", None)
    return env


def run_child(args: list[str], env: dict[str, str]) -> tuple[float, float]:
    """Launch one measurement; (seconds from launch to exposed, seconds inside the child)."""
    launched = time.perf_counter()
    process = subprocess.Popen(
        [sys.executable, os.path.abspath(__file__), "--child", *args],
        env=env,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    )
    assert process.stdout is not None
    inside = None
    for line in process.stdout:
        if line.startswith(READY):
            wall = time.perf_counter() - launched
            inside = float(line.split()[1])
            break
    _out, err = process.communicate(timeout=60)
    if inside is None or process.returncode != 0:
        raise SystemExit(f"medição falhou ({args[0]}): código {process.returncode}\n{err}")
    return wall, inside


def describe(name: str, walls: list[float], insides: list[float]) -> str:
    return (
        f"{name:<9} mediana {statistics.median(walls) * 1000:7.0f} ms  "
        f"(mín {min(walls) * 1000:.0f}, máx {max(walls) * 1000:.0f}; "
        f"dentro do processo {statistics.median(insides) * 1000:.0f} ms)"
    )


def main(argv: Sequence[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description="Tempo de abertura do programa.")
    parser.add_argument("--repeat", type=int, default=7, help="repetições de cada medida")
    parser.add_argument("--demo", help="pasta da empresa de demonstração (montada se faltar)")
    parser.add_argument("--program", help="pasta do programa já montada (em vez da demo)")
    parser.add_argument("--child", nargs="+", help=argparse.SUPPRESS)
    args = parser.parse_args(argv)

    if args.child:
        started = time.perf_counter()
        if args.child[0] == "bare":
            child_bare(started)
        else:
            child_program(started, args.child[1])
        return 0

    with tempfile.TemporaryDirectory(prefix="vb") as scratch:
        program = args.program
        if program is None:
            from varemo_contas.data.demo import build_demo

            demo = args.demo or os.path.join(scratch, "demo")
            built = time.perf_counter()
            program = build_demo(demo)
            print(f"demo em {program} ({time.perf_counter() - built:.1f} s)")
        env = child_env(scratch)
        # One unmeasured round warms the disk cache for both kinds.
        run_child(["bare"], env)
        run_child(["program", program], env)
        bare: list[tuple[float, float]] = []
        full: list[tuple[float, float]] = []
        for _ in range(args.repeat):
            bare.append(run_child(["bare"], env))
            full.append(run_child(["program", program], env))

    where = "na demo" if args.program is None else "em " + args.program
    bare_wall = statistics.median(wall for wall, _ in bare)
    full_wall = statistics.median(wall for wall, _ in full)
    print(describe("base", [w for w, _ in bare], [i for _, i in bare]))
    print(describe("programa", [w for w, _ in full], [i for _, i in full]))
    print(
        f"RESULT startup: programa {where} {full_wall * 1000:.0f} ms, janela vazia "
        f"{bare_wall * 1000:.0f} ms (medianas de {args.repeat}), "
        f"razão {full_wall / bare_wall:.2f}x, custo próprio {(full_wall - bare_wall) * 1000:.0f} ms"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())
