#!/bin/sh
# Runs the uninstaller without a display, on a product in a temporary home.
# uninstaller_test.sh FOLDER-OF-THE-APPLICATIONS
set -eu
apps=$1
uninstaller="$apps/Tallyframe Uninstaller.app/Contents/Linux/Tallyframe Uninstaller"
HOME=$(mktemp -d)
trap 'chmod -R u+w "$HOME"; rm -rf "$HOME"' EXIT
export HOME TMPDIR="$HOME/tmp" XDG_RUNTIME_DIR="$HOME/run"
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM XDG_DATA_HOME XDG_DATA_DIRS
# The toolkit's libraries never free some of their memory.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
mkdir -m 700 "$TMPDIR" "$XDG_RUNTIME_DIR"
pictures=$HOME/pictures
app=$HOME/Applications/Tallyframe.app
support="$HOME/Library/Application Support/Tallyframe"
trash=$HOME/.local/share/Trash/files
log="$HOME/Library/Logs/Quillmoor/Tallyframe Uninstaller.1.log"

fail() {
    echo "uninstaller_test: $1" >&2
    exit 1
}
install_product() {
    mkdir -p "$HOME/Applications" "$support" "$pictures"
    cp -a "$apps/Tallyframe.app" "$HOME/Applications/"
    echo '[]' >"$support/Counters.json"
}
remove() {
    status=0
    TALLYFRAME_UNINSTALLER_ANSWER=remove TALLYFRAME_UNINSTALLER_PICTURES=$pictures \
        timeout 60 "$uninstaller" || status=$?
}
has_picture() { [ -s "$pictures/uninstaller-$1.png" ] || fail "no picture of the $1"; }

# The help needs neither a display nor a toolkit that works.
for word in --help -h; do
    QT_QPA_PLATFORM=xcb DISPLAY=:none timeout 60 "$uninstaller" $word >"$TMPDIR/help" ||
        fail "help: status $?"
    grep -q TALLYFRAME_UNINSTALLER_ANSWER=remove "$TMPDIR/help" || fail "help: no ANSWER"
    grep -q "3 if the question was" "$TMPDIR/help" || fail "help: no exit status"
done

# Without a display and an answer it fails at once, with a message.
install_product
status=0
timeout 60 "$uninstaller" 2>"$TMPDIR/errors" || status=$?
[ $status -eq 1 ] || fail "no display: status $status"
grep -q "no display for the question" "$TMPDIR/errors" || fail "no display: no message"
[ -d "$app" ] && [ -d "$support" ] || fail "no display: something was moved"

# The items are moved to the Trash, links as links.
remove
[ $status -eq 0 ] || fail "removal: status $status"
[ ! -e "$app" ] && [ ! -e "$support" ] || fail "removal: something is left"
[ -x "$trash/Tallyframe.app/Contents/Linux/Tallyframe" ] || fail "removal: no application in Trash"
[ "$(readlink "$trash/Tallyframe.app/Contents/Resources/Counters.json")" = "First Counters.json" ] ||
    fail "removal: the link is not in the Trash"
[ -f "$trash/Tallyframe/Counters.json" ] || fail "removal: no counters in the Trash"
[ "$(grep -c ' - Moved to the Trash: ' "$log")" -eq 2 ] || fail "removal: not logged"
has_picture question
has_picture report

# If nothing is installed, there is no question.
rm "$pictures"/*
remove
[ $status -eq 0 ] || fail "not installed: status $status"
[ ! -e "$pictures/uninstaller-question.png" ] || fail "not installed: asks"
has_picture report

# An item that cannot be moved stays, does not stop the others, and is reported.
install_product
chmod 555 "$HOME/Applications"
remove
[ $status -eq 1 ] || fail "refused: status $status"
[ -x "$app/Contents/Linux/Tallyframe" ] || fail "refused: the application is gone"
[ ! -e "$support" ] || fail "refused: the counters are left"
grep -qF " - Could not be moved to the Trash: $app" "$log" || fail "refused: not logged"

# Unattended it needs neither a display nor an answer, and prints what it does.
chmod 755 "$HOME/Applications"
install_product
QT_QPA_PLATFORM=xcb timeout 60 "$uninstaller" --unattended >"$TMPDIR/out" || fail "unattended: status $?"
[ "$(cat "$TMPDIR/out")" = "moved to the Trash: $app
moved to the Trash: $support" ] || fail "unattended: prints $(cat "$TMPDIR/out")"
[ ! -e "$app" ] && [ ! -e "$support" ] || fail "unattended: something is left"
[ "$(timeout 60 "$uninstaller" --unattended)" = "Tallyframe is not installed." ] ||
    fail "unattended: not installed"
install_product
chmod 555 "$HOME/Applications"
status=0
timeout 60 "$uninstaller" --unattended >"$TMPDIR/out" || status=$?
[ $status -eq 1 ] || fail "unattended, refused: status $status"
grep -qxF "could not be moved: $app" "$TMPDIR/out" || fail "unattended, refused: not printed"

# A misspelt option must not open a window, nor remove anything.
status=0
timeout 60 "$uninstaller" --unatended 2>"$TMPDIR/errors" || status=$?
[ $status -eq 2 ] || fail "unknown option: status $status"
grep -q "unknown option" "$TMPDIR/errors" || fail "unknown option: no message"
[ -x "$app/Contents/Linux/Tallyframe" ] || fail "unknown option: the application is gone"
