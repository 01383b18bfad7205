#!/usr/bin/env bash
# Solves a model: ./scripts/solve.sh MODEL [options of ovsolve]
# Installs what is missing (Debian 12), builds the release, runs ovsolve.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/prepare.sh"

build() {
    cd "$root"
    cmake --preset release &&
        cmake --build --preset release --target ovsolve ovrelin ovelppre ovperf
}

install_missing "${packages[@]}" "${test_packages[@]}"
[ -x "$root/build/release/bin/ovsolve" ] || echo "Building (a minute or two, once)" >&2
(quietly "The build" build)
exec "$root/build/release/bin/ovsolve" "$@"
