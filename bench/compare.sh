#!/usr/bin/env bash
# Every benchmark in one run, each with the earlier Python program beside it where it has one.
#
#   bench/compare.sh BUILD COMPANY_50K [REFERENCE_TREE] [COMPANY_200K]
#
# BUILD is a `bench` preset build folder, COMPANY_50K a file made by `generate --items 50000
# --lines 1000000`, REFERENCE_TREE a checkout of the earlier program with its `.venv`. The
# figures go to standard output; the RESULT lines at the end are the summary.
set -uo pipefail

build=${1:?uso: bench/compare.sh BUILD EMPRESA_50K [REFERENCIA] [EMPRESA_200K]}
company=${2:?uso: bench/compare.sh BUILD EMPRESA_50K [REFERENCIA] [EMPRESA_200K]}
reference=${3:-}
big=${4:-}
programs="$build/bench"
reference_args=()
[ -n "$reference" ] && reference_args=(--reference "$reference")
results=$(mktemp)
trap 'rm -f "$results"' EXIT

run() {
    echo "== $*"
    "$@" 2>&1 | tee -a "$results"
    echo
}

run "$programs/bench_startup" --company "$company" --repeat 5 "${reference_args[@]}"
run "$programs/bench_editor" "$company" --runs 5
if [ -n "$reference" ]; then
    # The earlier program's editor bench reads its company from a fixed place: ours is put there.
    items=$(sqlite3 "$company" "SELECT Count(*) FROM NivelCategoria4" 2>/dev/null || echo 50000)
    ln -sf "$(realpath "$company")" "/tmp/varemo_bench_editor_$items.mdb"
    (cd "$reference" && QT_QPA_PLATFORM=offscreen .venv/bin/python bench/bench_editor.py --items "$items" --runs 3) 2>&1 |
        sed 's/^RESULT editor/RESULT referência editor/' | tee -a "$results"
    echo
fi
run "$programs/bench_search" "$company" --runs 7 "${reference_args[@]}"
run "$programs/bench_reports" "$company" --runs 5 "${reference_args[@]}"
if [ -n "$big" ]; then
    run "$programs/bench_startup" --company "$big" --repeat 3
    run "$programs/bench_editor" "$big" --runs 3
fi
echo "== resumo"
grep '^RESULT' "$results"
