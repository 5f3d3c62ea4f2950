# shellcheck shell=bash
# For the scripts beside it: the Debian packages that a build needs, and the build itself.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

native_packages=(g++ cmake ninja-build libboost-thread-dev libpng-dev libgtest-dev libhwy-dev)
aarch64_packages=(cmake ninja-build g++-aarch64-linux-gnu qemu-user-static
    libboost-thread-dev:arm64 libgtest-dev:arm64 libhwy-dev:arm64)

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 2
}

# run_as_root COMMAND...
run_as_root() {
    if [[ $(id -u) == 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "this needs root or sudo: $*"
    fi
}

# ensure_packages PACKAGE...: installs those that are missing, after it has said which.
ensure_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "No Debian system, so nothing is installed. Needed: $*"
        return
    fi
    local package missing=()
    for package in "$@"; do
        if [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        return
    fi
    echo "Installing the Debian packages ${missing[*]}"
    if [[ ${missing[*]} == *:arm64* ]]; then
        run_as_root dpkg --add-architecture arm64
    fi
    run_as_root apt-get update -q
    run_as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# build PRESET [TARGET]: configures and builds, in build/PRESET.
build() {
    cd "$root"
    cmake --preset "$1"
    cmake --build --preset "$1" ${2:+--target "$2"}
}
