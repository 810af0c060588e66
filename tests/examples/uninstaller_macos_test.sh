#!/bin/sh
# Runs the uninstaller of macOS without its alerts, on a product in a temporary home.
# uninstaller_macos_test.sh UNINSTALLER INFO-PLIST-OF-THE-PRODUCT
set -eu
uninstaller=$1 info=$2
HOME=$(mktemp -d)
trap 'chmod -R u+w "$HOME"; rm -rf "$HOME"' EXIT
export HOME
unset DISPLAY XDG_DATA_HOME XDG_DATA_DIRS
app=$HOME/Applications/Tallyframe.app
support="$HOME/Library/Application Support/Tallyframe"
trash=$HOME/.local/share/Trash/files
log=$HOME/Library/Logs/Quillmoor/$(basename "$uninstaller").1.log

fail() {
    echo "uninstaller_macos_test: $1" >&2
    exit 1
}
install_product() {
    mkdir -p "$app/Contents" "$support"
    cp "$info" "$app/Contents/Info.plist"
    echo '[]' >"$support/Counters.json"
}
remove() {
    status=0
    TALLYFRAME_UNINSTALLER_ANSWER=remove timeout 60 "$uninstaller" || status=$?
}

timeout 60 "$uninstaller" --help >"$HOME/help" || fail "help: status $?"
grep -q TALLYFRAME_UNINSTALLER_ANSWER=remove "$HOME/help" || fail "help: no ANSWER"

status=0
timeout 60 "$uninstaller" --unatended 2>"$HOME/err" || status=$?
[ $status -eq 2 ] && grep -q "unknown option" "$HOME/err" || fail "unknown option: status $status"

remove
[ $status -eq 0 ] || fail "not installed: status $status"

install_product
remove
[ $status -eq 0 ] || fail "removal: status $status"
[ ! -e "$app" ] && [ ! -e "$support" ] || fail "removal: something is left"
[ -f "$trash/Tallyframe.app/Contents/Info.plist" ] || fail "removal: no application in the Trash"
[ -f "$trash/Tallyframe/Counters.json" ] || fail "removal: no counters in the Trash"
[ "$(grep -c ' - Moved to the Trash: ' "$log")" -eq 2 ] || fail "removal: not logged"

install_product
[ "$(timeout 60 "$uninstaller" --unattended)" = "moved to the Trash: $app
moved to the Trash: $support" ] || fail "unattended: not printed"
[ ! -e "$app" ] || fail "unattended: something is left"

install_product
chmod 555 "$HOME/Applications"
remove
[ $status -eq 1 ] || fail "refused: status $status"
[ -e "$app" ] && [ ! -e "$support" ] || fail "refused: the application is gone, or the rest is left"
