# Sourced by the other scripts: installs what is missing on a Debian machine, and nothing else.

packages=(g++ cmake ninja-build libopenblas-serial-dev libcli11-dev nlohmann-json3-dev
          zlib1g-dev libfmt-dev)
test_packages=(libgtest-dev libbenchmark-dev)
peer_packages=(libsuitesparse-dev libmumps-seq-dev libmetis-dev)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "Not root and no sudo: please install: ${missing[*]}" >&2
        exit 1
    fi
}

# quietly WHAT COMMAND...: shows the command's output only when it fails.
quietly() {
    local what=$1 log
    shift
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "$what failed" >&2
        exit 1
    fi
    rm -f "$log"
}

# install_missing PACKAGE...
install_missing() {
    missing=()
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null)" = "ii " ] ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing ${missing[*]}" >&2
    quietly "apt-get update" as_root apt-get update
    quietly "apt-get install" as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}
