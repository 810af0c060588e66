#!/bin/sh
# Installs a Debian package whose maintainer script calls version-check, and runs the Installer's script, in a
# temporary home and root.
# packages_test.sh BUILD-FOLDER SOURCES
set -eu
build=$1
scripts=$2/examples/packages
HOME=$(mktemp -d)
trap 'chmod -R u+w "$HOME"; rm -rf "$HOME"' EXIT
export HOME TMPDIR="$HOME/tmp" XDG_RUNTIME_DIR="$HOME/run" VERSION_CHECK="$build/bin/version-check"
unset DISPLAY WAYLAND_DISPLAY XDG_DATA_HOME XDG_DATA_DIRS
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
mkdir -m 700 "$TMPDIR" "$XDG_RUNTIME_DIR"
. "$(dirname "$0")/product.sh"

fail() {
    echo "packages_test: $1: $(cat "$HOME/out")" >&2
    exit 1
}
installs() {
    what=$1
    shift
    "$@" >"$HOME/out" 2>&1 || fail "$what: refused"
    [ ! -e "$app" ] || fail "$what: the old product is left"
}
refuses() {
    what=$1 text=$2
    shift 2
    if "$@" >"$HOME/out" 2>&1; then fail "$what: installed"; fi
    grep -qF -- "$text" "$HOME/out" || fail "$what"
    [ -d "$app" ] || fail "$what: the product was removed"
}

package=$HOME/package
mkdir -p "$package/DEBIAN" "$package/opt/tallyframe" "$HOME/root/var/lib/dpkg/updates" \
    "$HOME/root/var/lib/dpkg/info"
: >"$HOME/root/var/lib/dpkg/status"
cat >"$package/DEBIAN/control" <<'END'
Package: tallyframe
Version: 2.0
Architecture: all
Maintainer: Nobody <nobody@example.invalid>
Description: a package that looks for an older copy
END
install -m 755 "$scripts/preinst" "$package/DEBIAN/preinst"
echo 2.0 >"$package/opt/tallyframe/version"
dpkg-deb --root-owner-group --build "$package" "$HOME/tallyframe.deb" >"$HOME/out"
PATH=$PATH:/usr/sbin:/sbin
by_dpkg() {
    rm -rf "$HOME/root/opt"
    : >"$HOME/root/var/lib/dpkg/status"
    dpkg --root="$HOME/root" --force-not-root --force-script-chrootless --log=/dev/null \
        --install "$HOME/tallyframe.deb"
}

for way in by_dpkg "$scripts/preinstall"; do
    installs "$way, without a product" "$way"
    install_product 1.0
    installs "$way, an older one" "$way"
    grep -qF "moved to the Trash: $app" "$HOME/out" || fail "$way: nothing is reported"
    install_product 3.0
    refuses "$way, a newer one" "newer than 2.0" "$way"
    install_product beta
    refuses "$way, an unknown one" "cannot be compared with 2.0" "$way"
    install_product 1.0
    chmod 555 "$HOME/Applications"
    refuses "$way, one that cannot be removed" "something of Tallyframe is left" "$way"
    chmod 755 "$HOME/Applications"
done
install_product 2.0
installs "by_dpkg, a copy of the same version" by_dpkg
install_product 2.0
"$scripts/preinstall" >"$HOME/out" 2>&1 || fail "preinstall, the same version: refused"
[ -d "$app" ] || fail "preinstall, the same version: removed"
# An upgrade leaves what the package itself has installed.
dpkg --root="$HOME/root" --force-not-root --force-script-chrootless --log=/dev/null \
    --install "$HOME/tallyframe.deb" >"$HOME/out" 2>&1 || fail "an upgrade"
[ -d "$app" ] || fail "an upgrade: removed"
rm -rf "$app"
by_dpkg >"$HOME/out" 2>&1 || fail "by_dpkg"
[ "$(cat "$HOME/root/opt/tallyframe/version")" = 2.0 ] || fail "the package is not installed"
