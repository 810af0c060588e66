#!/bin/sh
# Nothing runs when the bundle is loaded: no object of the archives has a static constructor. A class's
# own registration, and what a build for coverage adds, do not count.
#   nothing_at_load_test.sh ARCHIVE ...
set -eu

for archive in "$@"; do
    symbols=$(nm --defined-only "$archive")
    case $symbols in
        *" T "*) ;;
        *)
            echo "$archive: no code" >&2
            exit 1
            ;;
    esac
    if echo "$symbols" | grep -E '_GLOBAL__(sub_)?I_|__cxx_global_var_init' | grep -v I_00100; then
        echo "$archive: has static constructors" >&2
        exit 1
    fi
done
