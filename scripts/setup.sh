# shellcheck shell=bash
# Sourced by the scripts of the tree: installs what is missing and builds, quietly.
#
# The output of installing and building goes to a log; when a step fails, the log is shown on standard error.
# Standard output belongs to the program that is run.

repo=$(dirname -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")")
scratch=$(mktemp -d "${TMPDIR:-/tmp}/orx-setup.XXXXXX")
setup_log=$scratch/log
trap 'rm -rf "$scratch"' EXIT

say() {
    printf '%s\n' "$*" >&2
}

# quietly WHAT COMMAND...: prints one line about the step, and the step's output only if it fails.
quietly() {
    local what=$1
    shift
    say "$what"
    if ! "$@" >"$setup_log" 2>&1 </dev/null; then
        cat "$setup_log" >&2
        say "failed: $what"
        exit 1
    fi
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        say "neither root nor sudo: cannot run $*"
        return 1
    fi
}

# install_missing PACKAGE...: installs those of the distribution's packages that are not there yet.
install_missing() {
    local missing=() package
    for package in "$@"; do
        if ! dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$'; then
            missing+=("$package")
        fi
    done
    if [ "${#missing[@]}" -gt 0 ]; then
        quietly "Updating the package lists" as_root apt-get -q update
        quietly "Installing ${missing[*]}" as_root env DEBIAN_FRONTEND=noninteractive \
            apt-get -qy --no-install-recommends install "${missing[@]}"
    fi
}

# install_for PRESET [PACKAGE...]: installs what building a preset needs, and further packages.
install_for() {
    local preset=$1
    shift
    case $preset in
    powerpc | mips) install_missing cmake make "g++-$preset-linux-gnu" qemu-user "$@" ;;
    clang) install_missing cmake make g++ clang "$@" ;;
    fuzz) install_missing cmake make g++ clang libclang-rt-dev "$@" ;;
    *) install_missing cmake make g++ "$@" ;;
    esac
}

# build PRESET [CMAKE OPTION...] [-- TARGET...]: configures and builds one preset.
build() {
    local preset=$1 options=() targets=()
    shift
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    if [ $# -gt 0 ]; then
        shift
        targets=(--target "$@")
    fi
    cd -- "$repo" || exit 1
    quietly "Configuring $preset" cmake --preset "$preset" "${options[@]}"
    quietly "Building $preset" cmake --build --preset "$preset" --parallel "$(nproc)" "${targets[@]}"
}
