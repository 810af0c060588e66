#!/bin/sh
# Runs the check of a distribution for the macOS Installer with a JavaScript engine: the command that it asks for is
# run here, and its status is what the check gets.
# distribution_test.sh BUILD-FOLDER SOURCES
set -eu
build=$1
HOME=$(mktemp -d)
trap 'rm -rf "$HOME"' EXIT
export HOME
unset XDG_DATA_HOME XDG_DATA_DIRS
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
. "$(dirname "$0")/product.sh"

fail() {
    echo "distribution_test: $*" >&2
    exit 1
}
python3 - "$2/examples/packages/distribution.xml" >"$HOME/check.js" <<'END'
import sys
import xml.etree.ElementTree
root = xml.etree.ElementTree.parse(sys.argv[1]).getroot()
print(root.find("script").text)
print("var check = function () { return", root.find("installation-check").get("script"), "};")
END

# The result of the check if the command ends with a status: the command, whether the installation goes on, and
# what the user is shown.
check_with() {
    cat >"$HOME/run.js" <<END
var asked = [], my = { result: {} };
var system = { run: function () { asked = [].slice.call(arguments); return $1; } };
END
    cat "$HOME/check.js" >>"$HOME/run.js"
    echo "var may = check(); print(asked.join(' ')); print(may);
        print([my.result.type, my.result.title, my.result.message].join(': '));" >>"$HOME/run.js"
    duk "$HOME/run.js" >"$HOME/result"
}
# expect WHAT true|false TEXT
expect() {
    check_with 0
    command=$(sed -n 1p "$HOME/result")
    case $command in "version-check "*) ;; *) fail "$1: it runs $command" ;; esac
    status=0
    # shellcheck disable=SC2086 # words of which none has spaces
    "$build/bin/"$command >"$HOME/out" 2>&1 || status=$?
    [ ! -s "$HOME/out" ] || fail "$1: $(cat "$HOME/out")"
    check_with "$status"
    [ "$(sed -n 2p "$HOME/result")" = "$2" ] || fail "$1: $(cat "$HOME/result")"
    [ "$(sed -n 3p "$HOME/result")" = "$3" ] || fail "$1: $(cat "$HOME/result")"
    rm -rf "$app"
}

expect "without a product" true ": : "
install_product 1.0
expect "an older one" true ": : "
install_product 2.0
expect "the same" true ": : "
install_product 3.0
expect "a newer one" false "Fatal: A newer Tallyframe is installed: Remove it before you install version 2.0."
install_product beta
expect "an unknown one" false "Fatal: Another Tallyframe is installed: Its version is unknown. Remove it before you \
install version 2.0."
check_with 1
[ "$(sed -n 2p "$HOME/result")" = false ] || fail "a failure: $(cat "$HOME/result")"
