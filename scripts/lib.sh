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

# is_installed PACKAGE[:ARCHITECTURE]
is_installed() {
    local architecture
    architecture="$(dpkg --print-architecture)|all"
    [[ $1 != *:* ]] || architecture=${1#*:}
    dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null |
        grep -Eqx "($architecture) installed"
}

install_packages() {
    run_as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "$@"
}

# Mirrors are out of step with themselves for some minutes a day, most of all for foreign architectures.
update_package_lists() {
    local attempt
    for attempt in 1 2 3 4 5; do
        if run_as_root apt-get update -q -o APT::Update::Error-Mode=any; then
            return
        fi
        echo "The package lists can't be had whole, attempt $attempt of 5"
        sleep $((attempt * 10))
    done
    echo "Going on with the lists that could be had"
}

# ensure_packages PACKAGE...: installs those that are missing, after it has said which, or fails.
ensure_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "No Debian system, so nothing is installed. Needed: $*"
        return
    fi
    local package missing=() known=yes partners=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    if ((${#missing[@]} == 0)); then
        return
    fi
    echo "Installing the Debian packages ${missing[*]}"
    if [[ ${missing[*]} == *:arm64* ]]; then
        if ! dpkg --print-foreign-architectures | grep -qx arm64; then
            run_as_root dpkg --add-architecture arm64
            known=no
        fi
        # Libraries of two architectures stand side by side in the same version alone, so the machine's move along.
        partners=(libc6-dev linux-libc-dev libstdc++6 libgcc-s1)
    fi
    # The lists that are there are good enough, if there are any and the mirror still has what they name.
    if [[ $known == yes ]] && install_packages "${missing[@]}"; then
        return
    fi
    update_package_lists
    install_packages "${missing[@]}" || install_packages "${missing[@]}" "${partners[@]}" ||
        fail "these packages can't be installed: ${missing[*]}"
}

# build PRESET [TARGET]: configures and builds, in build/PRESET.
build() {
    cd "$root"
    cmake --preset "$1"
    cmake --build --preset "$1" ${2:+--target "$2"}
}
