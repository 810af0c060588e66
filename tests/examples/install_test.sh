#!/bin/sh
# Installs into the build tree, then builds and runs the program that uses the installed library.
# install_test.sh CMAKE GENERATOR COMPILER BUILD-FOLDER SOURCE-FOLDER
set -eu
cmake=$1 generator=$2 compiler=$3 build=$4 source=$5
work=$build/install-test
rm -rf "$work"
mkdir "$work"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
[ "$(id -u)" -ne 0 ] || chown 65534:65534 "$home"
fail() {
    echo "install_test: $1" >&2
    exit 1
}

# Into a folder of this test: an installation also writes outside of its prefix.
DESTDIR=$work "$cmake" --install "$build" --prefix /installed >"$work/install.txt"
[ -d "$work/Library/Logs/Quillmoor" ] || fail "the log folder of root's programs is not made"
bundle=$(find "$work/installed" -name VersionCheck.bundle)
[ -z "$bundle" ] || [ -s "$bundle/Contents/Resources/Tallyframe Uninstaller.zip" ] ||
    fail "the bundle has no uninstaller to open"
if [ -n "$bundle" ]; then
    "$source/tests/examples/libraries_test.sh" "$work/installed" "$source/docs/libraries.md" ||
        fail "docs/libraries.md does not name the libraries that are linked"
fi
[ -z "$(find "$work/installed/include" -name '*_posix.h' -o -name '*_linux.h')" ] ||
    fail "a back-end's header is installed"

"$cmake" -S "$source/examples/library-user" -B "$work/build" -G "$generator" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/installed" \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >"$work/configure.txt"
"$cmake" --build "$work/build" >"$work/build.txt" || { cat "$work/build.txt"; exit 1; }
! grep -q -e -Werror "$work/build/compile_commands.json" || fail "our warnings reach the user"

# Every installed header includes installed headers only.
(cd "$work/installed/include/quillmoor" && find . -name '*.h' | sort |
    sed 's|^\./\(.*\)|#include <quillmoor/\1>|') >"$work/all_headers.cpp"
"$compiler" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I"$work/installed/include" \
    "$work/all_headers.cpp"

# As an ordinary user, because root's log is the machine's.
said=$(HOME=$home "$source/scripts/as-user" "$work/build/library-user")
[ "$said" = "Running on $(uname -srm)" ] || fail "the program said: $said"
grep -q " - Running on $(uname -s) " "$home/Library/Logs/Quillmoor/library-user.1.log" ||
    fail "the log has no such line"
