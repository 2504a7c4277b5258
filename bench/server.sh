#!/usr/bin/env bash
# The benchmarks on the company file and on a PostgreSQL server, in one run: each figure's
# ratio to its floor on the file, the same ratio on the server, and the second over the first.
#
#   bench/server.sh BUILD COMPANY_50K
#
# BUILD is a `bench` preset build folder with varemo-contas and the bench programs built,
# COMPANY_50K a file made by `generate --items 50000 --lines 1000000` (only read). A scratch
# cluster is made in a temporary folder, listening on a socket there only, with the server's
# own settings (its flushes to disk included); the company is loaded into it once by the
# program's `migrar`, and the cluster is stopped and removed on any exit.
set -uo pipefail

usage="uso: bench/server.sh BUILD EMPRESA_50K"
build=$(realpath "${1:?$usage}")
company=$(realpath "${2:?$usage}")
pgbin=${VAREMO_PG_BIN:-/usr/lib/postgresql/15/bin}
programs="$build/bench"
# The target: on the server each figure stays within this many times its ratio on the file.
target=1.5

work=$(mktemp -d /tmp/varemo-bench-pg-XXXXXX) || exit 2
as_server=()
if [ "$(id -u)" = 0 ]; then
    # The server refuses to run as root.
    chown postgres: "$work" || exit 2
    as_server=(runuser -u postgres --)
fi
cleanup() {
    "${as_server[@]}" "$pgbin/pg_ctl" -D "$work/data" -m fast -s stop >/dev/null 2>&1
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

fail() {
    echo "server.sh: $*" >&2
    exit 2
}

"${as_server[@]}" "$pgbin/initdb" -D "$work/data" -A trust -U postgres -E UTF8 --no-locale \
    >"$work/initdb.log" 2>&1 || fail "initdb falhou (veja $work/initdb.log)"
"${as_server[@]}" "$pgbin/pg_ctl" -D "$work/data" -l "$work/server.log" -w -s \
    -o "-k $work -c listen_addresses=''" start || fail "o servidor não iniciou"
"${as_server[@]}" "$pgbin/createdb" -h "$work" -U postgres varemo || fail "createdb falhou"
conninfo="host=$work port=5432 dbname=varemo user=postgres"
# Qt's offscreen windows want a runtime folder of their own, and say so on every start.
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"

# The program's own copy, from an installation whose data folder holds (a copy of) the file.
mkdir -p "$work/instalacao/programa" "$work/instalacao/empresa/Dados"
printf '%s\r\n' "$work/instalacao/empresa/" >"$work/instalacao/programa/Caminho.dad"
printf '[Empresa]\r\nNome=Bench\r\n' >"$work/instalacao/empresa/Empresa.ini"
cp "$company" "$work/instalacao/empresa/Dados/empresa.mdb" || fail "cópia da empresa falhou"
echo "== carga: varemo-contas migrar --para-postgresql"
SECONDS=0
"$build/programa/varemo-contas" migrar --para-postgresql "$conninfo" --programa "$work/instalacao/programa" \
    >"$work/migrar.log" 2>&1 || { tail -20 "$work/migrar.log"; fail "migrar falhou"; }
# What autovacuum does within its first minute after a load: the planner's statistics and
# the visibility map, so the first figures do not run on an unanalysed database.
"$pgbin/vacuumdb" -h "$work" -U postgres --analyze --quiet varemo || fail "vacuumdb falhou"
echo "carregada em $SECONDS s"; echo
rm -f "$work/instalacao/empresa/Dados/empresa.mdb"

figures="$work/figures"
# One program on the file, then on the server; its FIGURE lines go to the table, tagged.
both() {
    local engine
    for engine in arquivo servidor; do
        local extra=()
        [ "$engine" = servidor ] && extra=(--server "$conninfo")
        echo "== $engine: $* ${extra[*]}"
        "$@" "${extra[@]}" 2>&1 | grep -v 'propagateSizeHints' | tee "$work/out" | grep -v '^FIGURE'
        grep '^FIGURE' "$work/out" | sed "s/^FIGURE/$engine/" >>"$figures"
        echo
    done
}

: >"$figures"
both "$programs/bench_startup" --company "$company" --repeat 7
both "$programs/bench_search" "$company" --runs 7
both "$programs/bench_reports" "$company" --runs 5 --reference-items 10
# Last: its saves add items to the server's company, which the others must not see.
both "$programs/bench_editor" "$company" --runs 5 --wall

echo "== arquivo e servidor (tempos de relógio; razão = figura/piso no mesmo motor)"
awk -F'\t' -v target="$target" '
    $1 == "arquivo" { file[$2] = $3; fileFloor[$2] = $4; if (!($2 in seen)) { seen[$2] = 1; order[++n] = $2 } }
    $1 == "servidor" { server[$2] = $3; serverFloor[$2] = $4 }
    END {
        printf "%-28s %10s %10s %10s %10s %8s %8s %8s %6s %s\n", "figura", "arquivo", "piso", "servidor",
            "piso", "r.arq", "r.serv", "quoc.", "meta", "" 
        missed = 0
        for (i = 1; i <= n; ++i) {
            name = order[i]
            if (!(name in server)) { printf "%-28s sem medida no servidor\n", name; ++missed; continue }
            fileRatio = file[name] / fileFloor[name]
            serverRatio = server[name] / serverFloor[name]
            quotient = serverRatio / fileRatio
            verdict = quotient <= target ? "PASS" : "FAIL"
            if (verdict == "FAIL") ++missed
            printf "%-28s %8.1f ms %8.1f ms %8.1f ms %8.1f ms %7.2fx %7.2fx %7.2fx %5.1fx %s (servidor/arquivo %.2fx)\n",
                name, file[name], fileFloor[name], server[name], serverFloor[name], fileRatio, serverRatio,
                quotient, target, verdict, server[name] / file[name]
            summary = summary sprintf("%s %.2fx %s; ", name, quotient, verdict)
        }
        printf "RESULT servidor: %smetas perdidas: %d\n", summary, missed
        exit missed > 0
    }' "$figures"
