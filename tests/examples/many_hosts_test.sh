#!/bin/sh
# Runs the playbook with the real tool, by ssh, on hosts that are namespaces of this computer: users, mounts,
# network and processes of their own. Root only. Ends with 77 if a tool is missing or namespaces are refused.
# many_hosts_test.sh BUILD-FOLDER SOURCES
set -eu
build=$1
playbook=$2/examples/many-hosts/remove-old-tallyframe.yml
PATH=$PATH:/usr/sbin
skip() {
    echo "skipped: $1"
    exit 77
}
[ "$(id -u)" -eq 0 ] || skip "not root"
for tool in ansible-playbook dropbear dropbearkey ssh ssh-keygen unshare nsenter; do
    command -v "$tool" >/dev/null || skip "no $tool"
done
unshare --user --map-root-user --mount --net --pid --fork mount -t tmpfs none /mnt 2>/dev/null ||
    skip "no namespaces"
work=$(mktemp -d)
hosts="absent old refusing new"
end() {
    for host in $hosts; do
        [ ! -s "$work/$host.pid" ] || kill -KILL "$(cat "$work/$host.pid")" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap end EXIT
trap 'exit 1' HUP INT TERM
# The tests' own temporary folder may be closed to others; the server and the tool are root's.
export HOME="$work" ANSIBLE_LOCAL_TEMP="$work/local" ANSIBLE_NOCOLOR=1 ANSIBLE_NOCOWS=1
export ANSIBLE_SSH_CONTROL_PATH_DIR="$work/control" ANSIBLE_CONFIG="$work/ansible.cfg"
export ANSIBLE_PIPELINING=1 # without files that ssh copies

fail() {
    echo "many_hosts_test: $1" >&2
    cat "$work"/out >&2
    exit 1
}

: >"$work/ansible.cfg"
dropbearkey -t ed25519 -f "$work/host_key" >"$work/out" 2>&1
ssh-keygen -q -t ed25519 -N "" -f "$work/key"

# What a host does first. Its folders for applications and for what runs are its own; the rest that it sees is
# this computer.
cat >"$work/start" <<'END'
read -r go <"$1.go"
for folder in /root /run /opt /var/tmp /usr/local/share; do
    mount -t tmpfs -o mode=755 none "$folder" || exit 1
done
mount -t proc none /proc 2>/dev/null || : # of its own processes, which leak detection looks up by number
mkdir -p /usr/local/share/applications
mkdir -m 700 /root/.ssh
cp "${1%/*}/key.pub" /root/.ssh/authorized_keys
[ -z "$3" ] || {
    cp -a "$2/examples/Tallyframe.app" /opt/
    sed -i "/CFBundleShortVersionString/{n;s/<string>.*</<string>$3</;}" /opt/Tallyframe.app/Contents/Info.plist
    printf '[Desktop Entry]\nType=Application\nName=Tallyframe\nExec=%s\n' \
        /opt/Tallyframe.app/Contents/Linux/Tallyframe >/usr/local/share/applications/com.quillmoor.tallyframe.desktop
}
[ "$4" != refusing ] || mount -o remount,ro /opt
: >"$1.ready"
exec sleep 1000
END
start() {
    name=$1 version=$2
    mkfifo "$work/$name.go"
    unshare --user --mount --net --pid --fork --kill-child \
        sh "$work/start" "$work/$name" "$build" "$version" "$name" >"$work/$name.log" 2>&1 &
    outer=$!
    # The first process in the namespaces is the child of unshare.
    inner=
    while [ -z "$inner" ]; do
        kill -0 "$outer" 2>/dev/null || fail "$name did not start"
        inner=$(pgrep -P "$outer" -x sh) || sleep 0.05
    done
    echo "$inner" >"$work/$name.pid"
    { echo "0 0 65536" >"/proc/$inner/uid_map" && echo "0 0 65536" >"/proc/$inner/gid_map"; } 2>/dev/null ||
        skip "no users in namespaces"
    echo go >"$work/$name.go"
    while [ ! -e "$work/$name.ready" ]; do
        kill -0 "$inner" 2>/dev/null || { cp "$work/$name.log" "$work/out"; fail "$name did not start"; }
        sleep 0.05
    done
    echo "$name" >>"$work/inventory"
}
: >"$work/out"
cat >"$work/inventory" <<END
[all:vars]
ansible_user=root
ansible_python_interpreter=/usr/bin/python3
ansible_ssh_private_key_file=$work/key
ansible_ssh_common_args=-F none -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -o ProxyUseFdpass=yes -o ProxyCommand="$work/proxy %h"
[all]
END
# Starts the host's server, which wants a socket, and passes the other end of it to ssh.
cat >"$work/proxy" <<END
#!/usr/bin/python3
import socket, subprocess, sys
ours, theirs = socket.socketpair()
process = open("$work/" + sys.argv[1] + ".pid").read().strip()
subprocess.Popen(["nsenter", "--target", process, "--user", "--mount", "--net", "--pid", "--preserve-credentials",
                  "$(command -v dropbear)", "-i", "-s", "-r", "$work/host_key"], stdin=theirs, stdout=theirs)
socket.send_fds(socket.socket(fileno=1), [b"x"], [ours.fileno()])
END
chmod +x "$work/proxy"
start absent ""
start old 1.0
start refusing 1.0
start new 3.0

play() {
    status=0
    ansible-playbook -i "$work/inventory" -e "command=$build/bin/version-check longest=20" "$@" "$playbook" \
        >"$work/out" 2>&1 || status=$?
}
has_product() { nsenter --target "$(cat "$work/$1.pid")" --user --mount test -d /opt/Tallyframe.app; }
recap() { grep -Eq "^$1 +: ok=$2 +changed=$3 .* failed=$4 " "$work/out" || fail "$1: not ok=$2 changed=$3 failed=$4"; }

play --check
[ "$status" -eq 0 ] || fail "check: status $status"
has_product old || fail "check: the old product was removed"
grep -q '"msg": "older 1.0"' "$work/out" || fail "check: the old product is not reported"

play
[ "$status" -eq 2 ] || fail "status $status"
recap absent 2 0 0
recap old 3 1 0
recap refusing 2 0 1
recap new 2 0 0
! has_product old || fail "the old product is left"
has_product new || fail "the new product was removed"
has_product refusing || fail "what cannot be removed was removed"
grep -q "ended before it was done" "$work/out" || fail "the failure is not reported"

play --limit old
[ "$status" -eq 0 ] || fail "again: status $status"
recap old 2 0 0
grep -q '"msg": "absent"' "$work/out" || fail "again: not absent"
