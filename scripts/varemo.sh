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

case "${1:-}" in
demo)
    install_missing
    build release
    exec build/release/programa/varemo-contas --demo "${2:-$HOME/VaremoDemo}"
    ;;
test)
    install_missing
    build ci
    # ctest prints its timing after the summary; keep the summary as the last line.
    log=$(mktemp)
    status=0
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
