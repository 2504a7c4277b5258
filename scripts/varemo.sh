#!/usr/bin/env bash
# Set-up shared by the README's two commands: install what a fresh Debian machine lacks,
# configure and build, then either start the program on the demo company or run the tests.
#
#   scripts/varemo.sh demo [DIR]   build (release) and start on the demo company (default ~/VaremoDemo)
#   scripts/varemo.sh test         build (warnings as errors, sanitizers) and run every test with ctest
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
    g++ cmake ninja-build pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-documentation-tools
    qt6-multimedia-dev qt6-translations-l10n libqt6sql6-sqlite libsqlite3-dev libgl-dev
    libxlsxwriter-dev libminizip-dev
    libqt6sql6-psql postgresql clang-14 libclang-rt-14-dev
    clang-format fonts-dejavu-core xvfb xauth poppler-utils
)

install_missing() {
    local missing=()
    for package in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=()
    if [ "$(id -u)" != "0" ]; then sudo=(sudo); fi
    echo "Instalando pacotes: ${missing[*]}"
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}

build() {
    local preset="$1"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -- -j "$(nproc)"
}

# The data layer's fuzz targets (clang's libFuzzer), both at once for a bounded time from the
# committed seeds. A crash, a sanitizer report or any exception but Jet's fails the run; the
# unit that did it is left in build/fuzz/. One line per target with its executions.
fuzz() {
    if ! command -v clang++-14 >/dev/null; then
        echo "ERRO: clang++-14 não encontrado; o fuzzing da camada de dados não pode rodar" >&2
        return 1
    fi
    cmake --preset fuzz >/dev/null || return 1
    cmake --build --preset fuzz -- -j "$(nproc)" || return 1
    local target failed=0
    for target in criteria dialect; do
        rm -rf "build/fuzz/corpus_$target"
        mkdir -p "build/fuzz/corpus_$target"
        "build/fuzz/tests/fuzz/fuzz_$target" -max_total_time=45 -max_len=512 -dict=tests/fuzz/jet.dict \
            -artifact_prefix="build/fuzz/fuzz_$target-" "build/fuzz/corpus_$target" "tests/fuzz/corpus/$target" \
            >"build/fuzz/fuzz_$target.log" 2>&1 &
    done
    wait
    for target in criteria dialect; do
        local log="build/fuzz/fuzz_$target.log"
        if grep -q -E '^Done [0-9]+ runs' "$log"; then
            sed -n -E "s/^Done ([0-9]+) runs in ([0-9]+) second.*/fuzz_$target: \1 execuções em \2 s, sem falhas/p" "$log"
        else
            echo "fuzz_$target: FALHOU (registro em $log)"
            grep -E 'ERROR|defect|runtime error|SUMMARY|Test unit written' "$log" | head -20
            failed=1
        fi
    done
    return "$failed"
}

case "${1:-}" in
demo)
    install_missing
    build release
    exec build/release/programa/varemo-contas --demo "${2:-$HOME/VaremoDemo}"
    ;;
test)
    install_missing
    status=0
    fuzz || status=1
    build ci
    # ctest prints its timing after the summary; keep the summary as the last line.
    log=$(mktemp)
    ctest --preset ci -j "$(nproc)" >"$log" 2>&1 || status=$?
    grep -v -E '^[0-9]+% tests passed' "$log" || true
    grep -E '^[0-9]+% tests passed' "$log" || echo "ctest did not finish"
    rm -f "$log"
    exit "$status"
    ;;
*)
    echo "uso: $0 demo [PASTA] | test" >&2
    exit 2
    ;;
esac
