#!/bin/sh
# Checks the contents of an installation without the host and its toolkit, without building it.
# install_without_host_test.sh CMAKE GENERATOR COMPILER BUILD-FOLDER SOURCE-FOLDER
set -eu
cmake=$1 generator=$2 compiler=$3 build=$4 source=$5
work=$build/install-without-host-test
rm -rf "$work"
fail() {
    echo "install_without_host_test: $1" >&2
    exit 1
}
# The commands of an installation are in these files.
installs() {
    find "$1" -path "$1/install-*" -prune -o -name cmake_install.cmake -print0 |
        xargs -0 grep -q -e "$2"
}

"$cmake" -S "$source" -B "$work" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler" \
    -DKX_BUILD_HOST=OFF -DKX_BUILD_TESTS=OFF >/dev/null
installs "$build" VersionCheck.bundle || fail "the whole build does not install the bundle"
for name in VersionCheck.bundle InstallerSections.plist; do
    ! installs "$work" "$name" ||
        fail "without its uninstaller the bundle's button does nothing, but $name is installed"
done
installs "$work" quillmoor-rights-helper || fail "the rights helper is not installed"
rm -rf "$work"
