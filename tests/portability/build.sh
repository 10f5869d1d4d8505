# shellcheck shell=bash
# Sourced by scripts/check-portability and scripts/check-uninitialised, in the folder of the project: how the
# library and the programs that dump messages are built with any compiler and flags, and what they read.

library_flags=(-std=c++20 -fno-exceptions -fno-rtti -fno-threadsafe-statics -Iinclude -Isrc)
host_flags=(-std=c++20 -Iinclude -I. -Itests/portability -D_FILE_OFFSET_BITS=64)
c_flags=(-std=c11 -D_POSIX_C_SOURCE=200809L -Iinclude -Itests/portability)

launcher=()
if command -v ccache >/dev/null; then launcher=(ccache); fi

# compile FOLDER COMPILER... -- SOURCE...: an object in FOLDER for each source, two at a time.
compile() {
    local folder=$1 compiler=()
    shift
    while [ "$1" != -- ]; do
        compiler+=("$1")
        shift
    done
    shift
    mkdir -p "$folder" || return 1
    # shellcheck disable=SC2016  # expanded by the inner shell
    printf '%s\n' "$@" | FOLDER=$folder xargs -d '\n' -n 1 -P 2 sh -c '
        for source; do :; done
        object=$FOLDER/$(echo "$source" | tr / _).o
        "$@" -c -o "$object" || exit 255' sh "${launcher[@]}" "${compiler[@]}"
}

build_library() { # folder, C++ compiler, flags
    local folder=$1
    shift
    compile "$folder/library" "$@" "${library_flags[@]}" -- src/*/*.cpp
}

build_plain_dump() { # folder, C compiler, flags; the library's objects are there
    local folder=$1
    shift
    compile "$folder/plain" "$@" "${c_flags[@]}" -- tests/portability/message_dump.c \
        tests/portability/plain_host.c
}

build_standalone_dump() { # folder, C++ compiler, flags; message_dump.c is compiled already
    local folder=$1
    shift
    compile "$folder/standalone" "$@" "${host_flags[@]}" -- tests/portability/standalone_host.cpp \
        standalone/*.cpp
}

# The messages of the tests, and those of the corpus where it is there.
list_messages() {
    scripts/list-files 'tests/*.eml' 'fuzz/*.eml' || return 1
    local corpus=${EMLREADER_CORPUS:-../shared/corpus}
    [ ! -d "$corpus" ] || find "$corpus" -mindepth 2 -type f
}
