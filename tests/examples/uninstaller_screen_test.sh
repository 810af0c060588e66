#!/bin/sh
# Operates the uninstaller by the keyboard, on an X server without a monitor and with a window
# manager. uninstaller_screen_test.sh FOLDER-OF-THE-APPLICATIONS
set -eu
for program in Xvfb openbox xdotool; do
    command -v "$program" >/dev/null || {
        echo "uninstaller_screen_test: skipped, $program is not installed"
        exit 77
    }
done
apps=$1
uninstaller="$apps/Tallyframe Uninstaller.app/Contents/Linux/Tallyframe Uninstaller"
HOME=$(mktemp -d)
server= manager=
trap '[ -z "$manager" ] || kill $manager || true
    [ -z "$server" ] || kill $server || true
    rm -rf "$HOME"' EXIT
export HOME TMPDIR="$HOME/tmp" XDG_RUNTIME_DIR="$HOME/run" QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY XDG_DATA_HOME XDG_DATA_DIRS
# The toolkit's libraries never free some of their memory.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
mkdir -m 700 "$TMPDIR" "$XDG_RUNTIME_DIR"
app=$HOME/Applications/Tallyframe.app

fail() {
    echo "uninstaller_screen_test: $1" >&2
    exit 1
}
# wait_for WHAT COMMAND…
wait_for() {
    what=$1
    shift
    tries=600
    until "$@"; do
        [ $((tries -= 1)) -gt 0 ] || fail "$what: waited in vain"
        sleep 0.1
    done
}
manages() { xdotool get_desktop >/dev/null 2>&1; }
is_active() { [ "$(xdotool getactivewindow getwindowname 2>/dev/null)" = "Tallyframe Uninstaller" ]; }
start() {
    mkdir -p "$HOME/Applications"
    [ -d "$app" ] || cp -a "$apps/Tallyframe.app" "$app"
    "$uninstaller" 2>"$TMPDIR/errors" &
    process=$!
    wait_for "the window" is_active
}
# Sends a key until the program has ended. Sets status.
end_with() {
    tries=600
    while kill -0 $process 2>/dev/null; do
        [ $((tries -= 1)) -gt 0 ] || fail "$1 does not end it"
        xdotool key "$1"
        sleep 0.1
    done
    status=0
    wait $process || status=$?
}

# Without -noreset the server restarts when the only client ends, such as the one that looks for the
# window manager, and the manager that is just connecting ends as well.
Xvfb -displayfd 3 -noreset -nolisten tcp -screen 0 1000x800x24 3>"$TMPDIR/display" 2>/dev/null &
server=$!
wait_for "the X server" test -s "$TMPDIR/display"
DISPLAY=:$(cat "$TMPDIR/display")
export DISPLAY
openbox --sm-disable >/dev/null 2>&1 &
manager=$!
wait_for "the window manager" manages

# If the user cancels, nothing is removed, and the status is 3.
for key in Escape Return; do
    start
    end_with $key
    [ $status -eq 3 ] || fail "$key: status $status"
    [ -d "$app" ] || fail "$key: something was moved"
done

# Return presses the button that has the focus.
start
xdotool key shift+Tab key Return
wait_for "the removal" test ! -e "$app"
end_with Return
[ $status -eq 0 ] || fail "removal: status $status"
[ -d "$HOME/.local/share/Trash/files/Tallyframe.app" ] || fail "removal: not in the Trash"
