#!/bin/sh
# Runs version-check on a product in a temporary home, with the real bundle and its uninstaller.
# version_check_test.sh BUILD-FOLDER
set -eu
build=$1
command=$build/bin/version-check
HOME=$(mktemp -d)
trap 'chmod -R u+w "$HOME"; rm -rf "$HOME"' EXIT
export HOME TMPDIR="$HOME/tmp" XDG_RUNTIME_DIR="$HOME/run"
unset DISPLAY WAYLAND_DISPLAY XDG_DATA_HOME XDG_DATA_DIRS
# The toolkit's libraries, which the uninstaller links, never free some of their memory.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
mkdir -m 700 "$TMPDIR" "$XDG_RUNTIME_DIR"
app=$HOME/Applications/Tallyframe.app

fail() {
    echo "version_check_test: $1" >&2
    exit 1
}
# Runs the command, and compares its exit status.
expect() {
    wanted=$1
    shift
    status=0
    timeout 60 "$command" "$@" >"$HOME/out" 2>"$HOME/err" || status=$?
    [ "$status" -eq "$wanted" ] || fail "$*: status $status: $(cat "$HOME/out" "$HOME/err")"
}
prints() { [ "$(cat "$HOME/out")" = "$1" ] || fail "prints: $(cat "$HOME/out")"; }
reports() { grep -qF -- "$1" "$HOME/err" || fail "reports: $(cat "$HOME/err")"; }
install_product() {
    mkdir -p "$HOME/Applications"
    cp -a "$build/examples/Tallyframe.app" "$HOME/Applications/"
}
version=$(sed -n '/CFBundleShortVersionString/{n;s/.*<string>\(.*\)<.*/\1/p;}' \
    "$build/examples/Tallyframe.app/Contents/Info.plist")

expect 0
prints "Tallyframe is not installed."
expect 0 --compare 1 --quiet
prints ""
expect 0 --uninstall --unattended
prints "Tallyframe is not installed."

install_product
expect 6
prints "Tallyframe is installed, version $version: $app"
expect 3 --compare 999
prints "Tallyframe is installed, version $version, older than 999: $app"
expect 4 --compare "$version" --quiet
prints ""
expect 5 --compare 0 --json
grep -q '"state": "newer"' "$HOME/out" || fail "json: $(cat "$HOME/out")"

# Wrong use removes nothing.
expect 2 --uninstall --unatended
reports "did you mean --unattended?"
expect 2 --unattended
[ -d "$app" ] || fail "wrong use removed the product"
expect 1 --uninstall --bundle "$HOME/none"
reports "there is no uninstaller “$HOME/none/Contents/Resources/Tallyframe Uninstaller.zip”"

# The removal: what the uninstaller prints is shown on standard error.
expect 0 --uninstall --unattended
prints "Tallyframe was removed."
reports "moved to the Trash: $app"
[ ! -e "$app" ] || fail "the product is left"
[ -z "$(find "$TMPDIR" -name 'version-check-*')" ] || fail "the unpacked uninstaller is left"
install_product
expect 0 --uninstall --unattended --json
grep -q '"outcome": "removed"' "$HOME/out" || fail "json: $(cat "$HOME/out")"
grep -q "\"moved to the Trash: $app\"" "$HOME/out" || fail "json: $(cat "$HOME/out")"
install_product
chmod 555 "$HOME/Applications"
expect 7 --uninstall --unattended --quiet
prints ""
reports "something of Tallyframe is left"
chmod 755 "$HOME/Applications"

# Without a display the uninstaller that is opened ends at once; it was opened all the same.
expect 0 --uninstall
grep -q "^The uninstaller was opened: $TMPDIR/version-check-" "$HOME/out" || fail "not opened"

# An uninstaller that does not end.
hanging="$HOME/hanging.bundle/Contents/Resources"
mkdir -p "$hanging" "$HOME/Tallyframe Uninstaller.app/Contents/Linux"
cat >"$HOME/Tallyframe Uninstaller.app/Contents/Info.plist" <<'END'
<?xml version="1.0"?><plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>hang</string></dict></plist>
END
printf '#!/bin/sh\necho $$ >"$HOME/hangs"\nexec sleep 1000\n' \
    >"$HOME/Tallyframe Uninstaller.app/Contents/Linux/hang"
chmod +x "$HOME/Tallyframe Uninstaller.app/Contents/Linux/hang"
(cd "$HOME" && "$build/libexec/quillmoor/ditto" -c -k --keepParent "Tallyframe Uninstaller.app" \
    "$hanging/Tallyframe Uninstaller.zip")
expect 8 --uninstall --unattended --timeout 1 --bundle "$HOME/hanging.bundle"
reports "The uninstaller was ended before it was done."
# Interrupted, it ends the uninstaller, removes what it unpacked, and ends by the signal.
rm -f "$HOME/hangs"
before=$(find "$TMPDIR" -name 'version-check-*' | wc -l)
"$command" --uninstall --unattended --bundle "$HOME/hanging.bundle" 2>"$HOME/err" &
while [ ! -s "$HOME/hangs" ]; do sleep 0.05; done
kill -TERM $!
status=0
wait $! || status=$?
[ "$status" -eq 143 ] || fail "interrupted: status $status"
if kill -0 "$(cat "$HOME/hangs")" 2>/dev/null; then fail "interrupted: the uninstaller still runs"; fi
[ "$(find "$TMPDIR" -name 'version-check-*' | wc -l)" -eq "$before" ] ||
    fail "interrupted: the unpacked uninstaller is left"

# A signal that the starting process ignores does not interrupt, neither the command nor the uninstaller.
rm -f "$HOME/hangs"
(trap '' HUP && exec "$command" --uninstall --unattended --timeout 2 --bundle "$HOME/hanging.bundle") 2>"$HOME/err" &
while [ ! -s "$HOME/hangs" ]; do sleep 0.05; done
kill -HUP "$(cat "$HOME/hangs")" $!
status=0
wait $! || status=$?
[ "$status" -eq 8 ] || fail "ignored signal: status $status: $(cat "$HOME/err")"

# What cannot be written is a failure.
status=0
"$command" >/dev/full 2>"$HOME/err" || status=$?
[ "$status" -eq 1 ] || fail "full: status $status"
reports "standard output cannot be written"
status=0
"$command" --help >/dev/full 2>"$HOME/err" || status=$?
[ "$status" -eq 1 ] || fail "full: status $status of --help"
reports "standard output cannot be written"

# A reader that is gone is the same for standard output; for standard error, the removal goes on.
without_reader() {
    python3 -c 'import os, subprocess, sys
reader, writer = os.pipe()
os.close(reader)
streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, sys.argv[1]: writer}
sys.exit(subprocess.run(sys.argv[2:], **streams).returncode % 256)' "$@"
}
status=0
without_reader stdout "$command" || status=$?
[ "$status" -eq 1 ] || fail "no reader: status $status"
install_product
status=0
without_reader stderr "$command" --uninstall --unattended || status=$?
[ "$status" -eq 0 ] || fail "no reader of the errors: status $status"
[ ! -e "$app" ] || fail "no reader of the errors: the product is left"
