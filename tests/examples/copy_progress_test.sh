#!/bin/sh
# copy_progress_test.sh FOLDER: runs the program of FOLDER that copies on a terminal.
set -eu
program=$1/copy-with-progress
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "$*" >&2
    exit 1
}

mkdir -p "$work/from/sub"
echo text >"$work/from/sub/a file"
ln -s sub "$work/from/link"

"$program" "$work/from" "$work/new/copy" >"$work/out" || fail "the copy failed"
diff -r "$work/from" "$work/new/copy" || fail "the copy is not the same"
[ -L "$work/new/copy/link" ] || fail "the link is not a link"
grep -q '^Copied\.$' "$work/out" || fail "it does not report success"

"$program" "$work/from" "$work/new/copy" 2>"$work/err" && fail "it copied over an item"
grep -q "exists already" "$work/err" || fail "it does not report why"

(cd "$work" && "$program" from/sub copied) >"$work/out" || fail "a relative name is not copied"
[ -e "$work/copied/a file" ] || fail "the copy is not in the current folder"

"$program" "$work/gone" "$work/other" 2>/dev/null && fail "it copied an item that does not exist"
[ ! -e "$work/other" ] || fail "something is left"

mkdir "$work/odd"
python3 -c 'import socket, sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])' "$work/odd/socket"
"$program" "$work/odd" "$work/other" >"$work/out" && fail "it copied a socket"
grep -q '^“odd” couldn’t be copied: ' "$work/out" || fail "it does not report why it failed"
[ ! -e "$work/other" ] || fail "something is left of a copy that failed"

status=0
"$program" 2>/dev/null || status=$?
[ "$status" -eq 2 ] || fail "wrong use has status $status"
