#!/usr/bin/env bash
# Installs missing packages with apt-get, and names them.
#
#     scripts/install-needed.sh run     what ./run needs: to build the library and the tool
#     scripts/install-needed.sh test    what ./test needs: the same, the 32-bit compiler and the lints
#     scripts/install-needed.sh packages    what scripts/make-packages and check-packages need
#     scripts/install-needed.sh engines    what scale/test needs
#     scripts/install-needed.sh peers      what tests/agreement/run needs
#     scripts/install-needed.sh fuzz       what fuzz/run needs
#     scripts/install-needed.sh coverage   what scripts/coverage needs
#
# Silent when nothing is missing; then it does not even call apt-get. Calls sudo unless run as root.
set -u

# Each line: a Debian package, and a command that succeeds if its content is there.
run_needs='
cmake                command -v cmake
ninja-build          command -v ninja
g++                  command -v g++
libcli11-dev         has_header CLI/CLI.hpp
libfmt-dev           has_header fmt/format.h
rapidjson-dev        has_header rapidjson/writer.h
libytnef0-dev        has_header ytnef.h
libssl-dev           has_header openssl/cms.h
libuchardet-dev      has_header uchardet/uchardet.h
libgumbo-dev         has_header gumbo.h
libarchive-dev       has_header archive.h
libsqlite3-dev       has_header sqlite3.h
'
test_needs='
g++-multilib         links_32_bit
googletest           test -e /usr/src/googletest/CMakeLists.txt
nlohmann-json3-dev   has_header nlohmann/json.hpp
clang-format         command -v clang-format
clang-tidy           command -v clang-tidy
python3              command -v python3
binutils             command -v readelf
git                  command -v git
scdoc                command -v scdoc
mandoc               command -v mandoc
abigail-tools        command -v abidiff
pkgconf              command -v pkg-config
clang                command -v clang++
libclang-rt-14-dev   has_sanitizer memory
locales              test -e /usr/share/i18n/locales/tr_TR
libc-bin             command -v localedef
tzdata               test -e /usr/share/zoneinfo/Asia/Kolkata
'
package_needs='
scdoc                command -v scdoc
dpkg-dev             command -v dpkg-shlibdeps
file                 command -v file
lintian              command -v lintian
debootstrap          command -v debootstrap
'
fuzz_needs='
clang                command -v clang++
libclang-rt-14-dev   links_fuzzer
python3              command -v python3
'
coverage_needs='
gcovr                command -v gcovr
'
engines_needs='
nodejs               command -v node
npm                  command -v npm
parallel             command -v parallel
openssh-client       command -v ssh-keygen
openssh-server       test -x /usr/sbin/sshd
slurm-client         command -v sbatch
slurmctld            test -x /usr/sbin/slurmctld
slurmd               test -x /usr/sbin/slurmd
munge                test -x /usr/sbin/munged
python3-distributed  test -e /usr/lib/python3/dist-packages/distributed/__init__.py
'

peers_needs='
python3              command -v python3
pkgconf              command -v pkg-config
libgmime-3.0-dev     pkg-config --exists gmime-3.0
nodejs               command -v node
npm                  command -v npm
'

has_header() { echo "#include <$1>" | g++ -std=c++20 -E -x c++ - -o /dev/null; }

links_fuzzer() {
    echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' |
        clang++ -fsanitize=fuzzer,address,undefined -x c++ - -o /dev/null
}

links_32_bit() { echo 'int main() { return 0; }' | g++ -m32 -x c++ - -o /dev/null; }

has_sanitizer() { echo 'int main() { return 0; }' | clang -fsanitize="$1" -x c - -o /dev/null; }

case "${1-}" in
    run) needs=$run_needs ;;
    test) needs=$run_needs$test_needs ;;
    packages) needs=$run_needs$package_needs ;;
    engines) needs=$engines_needs ;;
    peers) needs=$run_needs$peers_needs ;;
    fuzz) needs=$run_needs$fuzz_needs ;;
    coverage) needs=$run_needs$test_needs$coverage_needs ;;
    *)
        echo "usage: $0 run|test|packages|engines|peers|fuzz|coverage" >&2
        exit 2
        ;;
esac

list_missing() {
    local package probe
    while read -r package probe; do
        if [ -n "$package" ] && ! (eval "$probe") >/dev/null 2>&1 </dev/null; then echo "$package"; fi
    done <<<"$needs"
}

as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

apt() { as_root env DEBIAN_FRONTEND=noninteractive apt-get -q "$@" </dev/null; }

# True when apt-get knows every package. On a new machine it knows none before its first update.
all_known() {
    local package
    for package in "$@"; do apt-cache show "$package" >/dev/null 2>&1 || return 1; done
}

missing=$(list_missing)
[ -n "$missing" ] || exit 0
# From here on each word is one name.
# shellcheck disable=SC2086
set -- $missing

by_hand="install by hand what provides: $*"
if ! command -v apt-get >/dev/null; then
    echo "This machine has no apt-get; $by_hand" >&2
    exit 1
fi
if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
    echo "Not root, and no sudo; as root: apt-get install $*" >&2
    exit 1
fi

echo "Installing with apt-get: $*"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
{ all_known "$@" || apt update; } >"$log" 2>&1
# An outdated list of packages names versions that are gone: try again with a new list.
if ! apt install -y --no-install-recommends "$@" >>"$log" 2>&1; then
    if ! { apt update && apt install -y --no-install-recommends "$@"; } >>"$log" 2>&1; then
        cat "$log" >&2
        echo "apt-get could not install: $*" >&2
        exit 1
    fi
fi

missing=$(list_missing)
if [ -n "$missing" ]; then
    echo "Still missing after apt-get: ${missing//$'\n'/ }" >&2
    exit 1
fi
