# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# What the commands of this directory share; sourced by them, never run. They work from any directory, write nothing
# outside the repository's build directory and, where Debian's packages are at hand, install what they need.
set -euo pipefail

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
root=$PWD

# Builds and test runs take all processors unless the environment says otherwise.
: "${CMAKE_BUILD_PARALLEL_LEVEL:=$(nproc 2>/dev/null || getconf _NPROCESSORS_ONLN)}"
: "${CTEST_PARALLEL_LEVEL:=$CMAKE_BUILD_PARALLEL_LEVEL}"
export CMAKE_BUILD_PARALLEL_LEVEL CTEST_PARALLEL_LEVEL

# What a build needs, and what the tests need with it, under the names of Debian's packages.
# shellcheck disable=SC2034 # used by the commands
build_needs=(g++ cmake ninja-build nlohmann-json3-dev libcli11-dev libncurses-dev)
# shellcheck disable=SC2034
test_needs=("${build_needs[@]}" pkg-config libgtest-dev libgmock-dev tmux procps zsh)

say() { printf '\n== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# answer_help SYNOPSIS SUMMARY "$@": prints these two lines and ends where the command's own arguments ask for help.
answer_help() {
    local synopsis=$1 summary=$2
    shift 2
    case ${1-} in
    -h | --help)
        printf 'usage: %s\n%s\n' "$synopsis" "$summary"
        exit 0
        ;;
    esac
}

# refuse_arguments "$@": for a command that takes none.
refuse_arguments() {
    [[ $# -eq 0 ]] || die "takes no arguments: $*"
}

has_command() { command -v "$1" >/dev/null 2>&1; }

has_header() { printf '#include <%s>\n' "$1" | ${CXX:-c++} -std=c++20 -E -x c++ - >/dev/null 2>&1; }

# Clang finds the path of its sanitizers' runtime without asking whether it is installed.
has_clang_sanitizers() {
    local runtime
    runtime=$(clang++ -fsanitize=address '-###' -x c++ /dev/null 2>&1 | grep -o '[^" ]*libclang_rt\.asan[^" ]*\.a' |
        head -n 1) || return 1
    [[ -f $runtime ]]
}

# Whether what a Debian package is wanted for is there, wherever it came from.
is_provided() {
    local compiler=${CXX:-c++}
    case $1 in
    g++) has_command "${compiler%% *}" ;;
    ninja-build) has_command ninja ;;
    clang) has_command clang++ ;;
    libclang-rt-dev) has_clang_sanitizers ;;
    libgtest-dev) has_header gtest/gtest.h ;;
    libgmock-dev) has_header gmock/gmock.h ;;
    nlohmann-json3-dev) has_header nlohmann/json.hpp ;;
    libcli11-dev) has_header CLI/CLI.hpp ;;
    libbenchmark-dev) has_header benchmark/benchmark.h ;;
    libncurses-dev) has_header ncursesw/curses.h || has_header ncurses.h ;;
    libsdl2-dev) has_header SDL2/SDL.h ;;
    qemu-system-x86) has_command qemu-system-x86_64 ;;
    procps) has_command pgrep ;;
    busybox-static) has_command busybox && ! ldd "$(command -v busybox)" >/dev/null 2>&1 ;;
    kmod) has_command depmod && has_command modprobe ;;
    udev) [[ -x /lib/systemd/systemd-udevd ]] ;;
    lib*) die "is_provided does not know how to look for $1" ;;
    *) has_command "$1" ;;
    esac
}

# Sets `missing` to those of the packages named that are not there.
find_missing() {
    local package
    missing=()
    for package in "$@"; do
        is_provided "$package" || missing+=("$package")
    done
}

# apt-get, as root, with nobody there to answer questions; waits for another installation that is under way.
apt_get() {
    local as_root=()
    if [[ $EUID -ne 0 ]]; then
        has_command sudo || die "there is no sudo here; to install what is missing, run as root:" \
            "apt-get update && apt-get install ${missing[*]}"
        as_root=(sudo)
        [[ -t 0 ]] || as_root+=(-n)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300 "$@" </dev/null
}

# Makes sure that what the Debian packages named provide is there: installs what is missing, or says so and stops.
need_packages() {
    local missing
    find_missing "$@"
    [[ ${#missing[@]} -eq 0 ]] && return
    if ! has_command apt-get; then
        die "missing: ${missing[*]}. These are the names of Debian's packages, and there is no apt-get here to" \
            "install them: please install what they hold (a C++20 compiler, CMake 3.25, Ninja and so on) first."
    fi
    say "Installing ${missing[*]}"
    if ! apt-get -qq --simulate install "${missing[@]}" >/dev/null 2>&1; then
        apt_get update
    fi
    # Package lists that are out of date name files that the server no longer has.
    if ! apt_get install --no-install-recommends "${missing[@]}"; then
        apt_get update
        apt_get install --no-install-recommends "${missing[@]}"
    fi
    find_missing "$@"
    [[ ${#missing[@]} -eq 0 ]] || die "still missing after the installation: ${missing[*]}"
}

# Configures a preset, with further options for CMake.
configure() {
    local preset=$1 cache=$root/build/$1/CMakeCache.txt version fresh=()
    shift
    version=$(cmake --version | sed -n '1s/^cmake version //p')
    if [[ $(printf '%s\n' 3.25 "$version" | sort -V | head -n 1) != 3.25 ]]; then
        die "CMake 3.25 or newer is needed; $(command -v cmake) is $version"
    fi
    # A build directory that was made for the same repository in another place is of no use.
    if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
        fresh=(--fresh)
    fi
    cmake --preset "$preset" "${fresh[@]}" "$@"
}

# Configures and builds a preset, with further options for CMake.
build() {
    say "Building (preset $1)"
    configure "$@"
    cmake --build --preset "$1"
}

# The same without a word about what goes well: all of it is in a log, and shown when the build fails.
build_quietly() {
    local preset=$1 log="build/$1.log"
    mkdir -p build
    say "Building (preset $preset): the first time takes some minutes, and $log tells what is done"
    if ! (configure "$@" && cmake --build --preset "$preset") 2>&1 | tee -- "$log" | show_progress; then
        cat -- "$log" >&2
        die "the build failed; what it said is in $log too"
    fi
}

# Of what a build says a terminal gets how far it is, in one line that changes.
show_progress() {
    local line
    while IFS= read -r line; do
        if [[ -t 1 && $line =~ ^\[[0-9]+/[0-9]+\] ]]; then
            printf '\r%s ' "${BASH_REMATCH[0]}"
        fi
    done
    [[ ! -t 1 ]] || printf '\r\e[K'
}

# run_tests PRESET [ARGUMENT...]: runs the tests of a preset, with these arguments for ctest. Without arguments what is
# printed is short: on a terminal it is one line that changes, elsewhere the tests that passed are left out. At the end
# it says why tests were skipped, which ctest keeps to itself.
run_tests() {
    local preset=$1 log="build/$1/Testing/Temporary/LastTest.log" status=0 reasons
    shift
    rm -f -- "$log"
    if [[ $# -gt 0 ]]; then
        ctest --preset "$preset" "$@" || status=$?
    elif [[ -t 1 ]]; then
        ctest --preset "$preset" --progress || status=$?
    else
        ctest --preset "$preset" |
            sed -u -E -e '/^ *Start +[0-9]+: /d' -e '/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: .* Passed +[0-9.]+ sec *$/d' ||
            status=$?
    fi
    if [[ -f $log ]]; then
        reasons=$(awk '/^[0-9]+\/[0-9]+ Testing: / { name = $3 } /^not run here: / { print name ": " $0 }' "$log" |
            sort -u)
        [[ -z $reasons ]] || say "Skipped, and why"$'\n'"$reasons"
    fi
    return "$status"
}

# The files of the repository in the current directory, those that git ignores excepted, one to a line.
source_files() {
    if [[ -e .git ]] && git rev-parse --git-dir >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard
    else
        find . \( -path ./build -o -path ./.git \) -prune -o -type f -printf '%P\n'
    fi | sort | while IFS= read -r file; do
        if [[ -f $file ]]; then
            printf '%s\n' "$file"
        fi
    done
}
