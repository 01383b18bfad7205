#!/usr/bin/env bash
# Repeats the tables of docs/performance.md: ./scripts/bench.sh [NAME...]
# NAME: problems kkt convexity presolve ldl ldl_small order threads small; all of them without one.
# Installs what is missing (Debian 12), the peers included, builds the release, and writes each table
# to build/release/bench/NAME.txt. Models come from the folder in OVRELIN_PROBLEMS, or from
# ../shared/problems; without them only what needs none is run.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/prepare.sh"
problems=${OVRELIN_PROBLEMS:-$root/../shared/problems}
out=$root/build/release/bench

build() {
    cd "$root"
    cmake --preset release -DOVRELIN_BENCH=ON && cmake --build --preset release
}

folders() {
    local folder
    for folder in "$@"; do
        [ -d "$problems/$folder" ] && echo "$problems/$folder"
    done
    true
}

# The options and folders of each table.
arguments() {
    case $1 in
        problems) folders maros netlib large ;;
        kkt) folders maros large synthetic netlib netlib_infeas mpc ;;
        convexity) echo --grid 316; folders maros mpc synthetic ;;
        presolve) folders maros mpc synthetic netlib large netlib_infeas ;;
        ldl) echo --budget 0.05 --rounds 2 --grids; folders maros large synthetic netlib netlib_infeas mpc ;;
        order) echo --grids; folders maros netlib netlib_infeas mpc synthetic large ;;
        threads) echo --repeats 5 --least 100 --grids; folders large maros netlib mpc ;;
        small | ldl_small) ;;
        *)
            echo "No table '$1'; there are: ${tables[*]}" >&2
            exit 64
            ;;
    esac
}

tables=(small ldl_small threads ldl order kkt problems presolve convexity)
wanted=("${@:-${tables[@]}}")
for table in "${wanted[@]}"; do arguments "$table" >/dev/null; done

install_missing "${packages[@]}" "${test_packages[@]}" "${peer_packages[@]}"
(quietly "The build" build)
mkdir -p "$out"
for table in "${wanted[@]}"; do
    mapfile -t given < <(arguments "$table" | tr ' ' '\n')
    case $table in
        problems | kkt | presolve)
            if [ ${#given[@]} -eq 0 ]; then
                echo "$table: no models under $problems, left out" >&2
                continue
            fi
            ;;
    esac
    echo "== $table"
    "$root/build/release/bin/bench_$table" "${given[@]}" | tee "$out/$table.txt"
done
