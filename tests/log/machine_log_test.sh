#!/bin/sh
# What a program of root's logs, in a root folder of its own, without and with the machine's log
# folder: machine_log_test.sh CMAKE BUILD-FOLDER LOG-PROGRAM
set -eu
skip() {
    echo "skipped: $1"
    exit 77
}
fail() {
    echo "machine_log_test: $1" >&2
    exit 1
}

if [ -z "${KX_ROOT:-}" ]; then
    [ "$(id -u)" -eq 0 ] || skip "only root's log is the machine's"
    KX_ROOT=$(mktemp -d)
    trap 'rmdir "$KX_ROOT"' EXIT
    export KX_ROOT
    unshare --mount --propagation private true 2>/dev/null || skip "no namespaces can be made here"
    unshare --mount --propagation private "$0" "$@" && exit 0 || exit $?
fi

cmake=$1 build=$2 program=$3
mount -t tmpfs tmpfs "$KX_ROOT"
mkdir "$KX_ROOT/changed" "$KX_ROOT/work" "$KX_ROOT/root"
root=$KX_ROOT/root
mount -t overlay -o "lowerdir=/,upperdir=$KX_ROOT/changed,workdir=$KX_ROOT/work" overlay "$root" ||
    skip "no overlay of the root folder can be mounted here"
for folder in /proc /dev; do mount --rbind "$folder" "$root$folder"; done
# The build may be on a file system of its own.
mkdir -p "$root$build"
mount --rbind "$build" "$root$build"
in_root() { chroot "$root" "$@"; }
rm -rf "$root/Library"
home=/var/machine-log-test
log=/Library/Logs/Quillmoor/log_program.1.log

# Without the folder nothing is kept: each message costs two lines on standard output.
said() { in_root "$program" end "$home" "$1" | grep -c '^Unable to '; }
three=$(said 3) || fail "nothing is said without the folder"
five=$(said 5)
[ $((five - three)) -eq 4 ] || fail "$three lines about 3 messages, $five about 5"
[ ! -e "$root/Library" ] || fail "the library makes the folder itself"

check_log() {
    [ "$(stat -c '%U:%G %a' "$root/Library/Logs/Quillmoor")" = "root:root 755" ] ||
        fail "$1: the folder is not as it should be"
    [ "$(in_root "$program" end "$home" 3)" = "" ] || fail "$1: something is printed"
    [ "$(grep -c ' - line [012]$' "$root$log")" -eq 3 ] || fail "$1: the log does not hold the lines"
}

(umask 077 && in_root "$cmake" --install "$build" --component log_folder) >/dev/null
check_log "cmake --install"
in_root chmod 750 /Library/Logs/Quillmoor
in_root "$cmake" --install "$build" --component log_folder >/dev/null
[ -s "$root$log" ] && [ "$(stat -c %a "$root/Library/Logs/Quillmoor")" = 750 ] ||
    fail "a second installation changes the folder"

rm -rf "$root/Library"
makers="cmake --install"
conf=$(find "$root/usr" -path '*/lib/tmpfiles.d/quillmoor.conf' | head -n 1)
[ -n "$conf" ] || fail "there is no file for tmpfiles.d"
if [ -x "$root/usr/bin/systemd-tmpfiles" ]; then
    in_root systemd-tmpfiles --create "${conf#"$root"}"
    check_log "tmpfiles.d"
    makers="$makers and of tmpfiles.d"
else
    echo "skipped in part: there is no systemd-tmpfiles here for ${conf#"$root"}"
fi
echo "machine log: $three lines without the folder, none with the folder of $makers"
