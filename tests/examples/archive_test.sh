#!/bin/sh
# The uninstaller's archive unpacks to an application that can be started.
# archive_test.sh DITTO FOLDER-OF-THE-ARCHIVE
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() {
    echo "archive_test: $1" >&2
    exit 1
}

"$1" -x -k "$2/Tallyframe Uninstaller.zip" "$folder/unpacked"
[ "$(ls -A "$folder/unpacked")" = "Tallyframe Uninstaller.app" ] || fail "the archive has other items"
contents="$folder/unpacked/Tallyframe Uninstaller.app/Contents"
cmp "$contents/Info.plist" "$2/Tallyframe Uninstaller.app/Contents/Info.plist"
[ "$(readlink "$contents/Resources/Help.txt")" = "Read Me.txt" ] || fail "the link is not a link"
program="$contents/Linux/Tallyframe Uninstaller"
[ -x "$program" ] || fail "the program cannot be started"
readelf --sections --dynamic --wide "$program" >"$folder/about.txt"
! grep -q '\.symtab' "$folder/about.txt" || fail "the program is not stripped"
! grep -q -E 'RPATH|RUNPATH' "$folder/about.txt" || fail "the program has a library path"
