"""A machine of its own for the tests of administrator rights: namespaces in which users, their
passwords, polkit's bus and all processes end with the test."""

import os
import pwd
import secrets
import shutil
import subprocess
import sys
import time

SKIP = 77
KIT = "/srv/kit"  # the programs under test, where an ordinary user can reach them
PROBE = KIT + "/bin/authorization_probe"
HELPER_NAME = "quillmoor-rights-helper"
HELPER = KIT + "/libexec/quillmoor/" + HELPER_NAME
DISMISSING_AGENT = KIT + "/bin/dismissing_agent.py"
THIEF = KIT + "/bin/thief.py"
AGENT_SERVICE = KIT + "/bin/agent_service.py"
AGENT_HELPER = "/usr/lib/polkit-1/polkit-agent-helper-1"
BUS = "/run/dbus/system_bus_socket"
SUDOERS = "/etc/sudoers.d/kx"
RULES = "/etc/polkit-1/rules.d/00-kx.rules"

# name, full name, groups, may be anything unasked
PEOPLE = [
    ("kxuser", "", []),
    ("kxadmin", "", ["sudo"]),
    ("kxann", "Ann B. (kxuser) Admin", ["sudo"]),
    ("kxfree", "", ["sudo"]),
]
RULE = """polkit.addRule(function(action, subject) {
    if (subject.user == "kxfree") return polkit.Result.YES;
});
"""


def skip(reason):
    print("skipped: " + reason)
    sys.exit(SKIP)


def check(condition, text):
    print(("ok      " if condition else "FAILED  ") + text, flush=True)
    if not condition:
        check.failures += 1


check.failures = 0


def enter():
    """Goes on in namespaces of its own, as a program that was started anew."""
    if os.getuid() != 0:
        skip("only root can make the users that this needs")
    if os.environ.get("KX_STAGE") == "entered":
        return
    for tool in ("pkexec", "pkttyagent", "sudo", "su", "dbus-daemon", "useradd", "unshare"):
        if shutil.which(tool, path="/usr/sbin:/usr/bin:/sbin:/bin") is None:
            skip(tool + " is not installed")
    unshare = ["unshare", "--mount", "--pid", "--fork", "--mount-proc", "--kill-child",
               "--propagation", "private"]
    if subprocess.run(unshare + ["true"], stderr=subprocess.DEVNULL).returncode != 0:
        skip("no namespaces can be made here")
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8",
                   "KX_STAGE": "entered", "PYTHONDONTWRITEBYTECODE": "1"}
    status = subprocess.run(unshare + ["/usr/bin/python3"] + sys.argv, env=environment).returncode
    # All else ends with the namespaces.
    left = [path for path in (SUDOERS, RULES) if os.path.exists(path)]
    left += {name for name, _, _ in PEOPLE} & {entry.pw_name for entry in pwd.getpwall()}
    check(not left, f"nothing of the stage is left outside {left}")
    sys.exit(status or (1 if check.failures else 0))


def run(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.DEVNULL, **options)


def mount_over(folder, mode="755"):
    os.makedirs(folder, exist_ok=True)
    run("mount", "-t", "tmpfs", "-o", "mode=" + mode, "tmpfs", folder)


def replace_folders():
    """Everything that is written to is a copy, or new and empty."""
    mount_over("/mnt")
    run("cp", "-a", "/etc/.", "/mnt/")
    run("mount", "--move", "/mnt", "/etc")
    for folder in ("/run/dbus", "/run/sudo", "/run/systemd", "/var/lib/sudo", "/var/log",
                   "/var/mail",
                   "/home", "/srv"):
        mount_over(folder)
    mount_over("/tmp", "1777")


def read_file(path):
    with open(path, "rb") as file:
        return file.read()


def make_kit(contents):
    for target, content in contents.items():
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, "wb") as file:
            file.write(content)
        os.chmod(target, 0o755)


def install_policy(text):
    """The text of polkit's dialog, for the helper of the kit."""
    actions = "/usr/share/polkit-1/actions"
    kept = {name: read_file(f"{actions}/{name}") for name in os.listdir(actions)}
    mount_over(actions)
    kept["com.quillmoor.rights.policy"] = text.replace(b"@CMAKE_INSTALL_FULL_LIBEXECDIR@",
                                                       (KIT + "/libexec").encode())
    for name, content in kept.items():
        with open(f"{actions}/{name}", "wb") as file:
            file.write(content)


def make_people():
    passwords = {"root": secrets.token_hex(8)}
    for name, full_name, groups in PEOPLE:
        member = ["--groups", ",".join(groups)] if groups else []
        run("useradd", "--create-home", "--shell", "/bin/bash", "--comment", full_name, *member,
            name)
        # Characters that a terminal or a shell would take for something else.
        passwords[name] = "'\"$ \\\x03\x7f\x15é" + secrets.token_hex(8)
    lines = "".join(f"{name}:{word}\n" for name, word in passwords.items())
    run("chpasswd", input=lines.encode())
    with open(SUDOERS, "w", encoding="ascii") as file:
        file.write("kxfree ALL=(ALL:ALL) NOPASSWD: ALL\n")
    os.chmod(SUDOERS, 0o440)
    with open(RULES, "w", encoding="ascii") as file:
        file.write(RULE)
    os.chmod(RULES, 0o644)
    return passwords


def require_setuid():
    test = run_as("kxuser", "sh", "-c", "su --version; grep NoNewPrivs /proc/self/status")
    if "NoNewPrivs:\t0" not in test.stdout:
        skip("privileges cannot be gained here")
    for program in ("/usr/bin/sudo", "/usr/bin/pkexec", "/usr/bin/su"):
        flags = os.statvfs(program).f_flag
        if not os.stat(program).st_mode & 0o4000 or flags & os.ST_NOSUID:
            skip(program + " cannot become root here")


def as_user(name):
    return ["setpriv", "--reuid", name, "--regid", name, "--init-groups", "--reset-env"]


def run_as(name, *command, **options):
    return subprocess.run(as_user(name) + list(command), stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False, **options)


def start_bus():
    subprocess.Popen(["dbus-daemon", "--system", "--nofork", "--nopidfile"],
                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if not eventually(lambda: os.path.exists(BUS)):
        skip("the system's bus does not start here")


def eventually(condition, seconds=5.0):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.01)
    return True


def processes():
    """Number and command line of every other process of this stage that has not ended."""
    for entry in os.listdir("/proc"):
        if not entry.isdigit() or int(entry) == os.getpid():
            continue
        try:
            with open(f"/proc/{entry}/cmdline", "rb") as file:
                command = file.read().decode("utf-8", "replace").replace("\0", " ")
        except OSError:
            continue
        if command:
            yield int(entry), command


def running(word):
    return [pid for pid, command in processes() if word in command]


def state_of(pid):
    """A process's state as one letter, and its parent's number; nothing of one that is not there."""
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
            state, parent = file.read().rsplit(")", 1)[1].split()[:2]
    except (OSError, IndexError, ValueError):
        return None, None
    return state, int(parent)


def start_time(pid):
    """When a process was started, as polkit counts it."""
    return read_file(f"/proc/{pid}/stat").decode("utf-8", "replace").rsplit(")", 1)[1].split()[19]


def has_ended(pid):
    """Its command line disappears first: its descriptors are closed only after that."""
    return state_of(pid)[0] in (None, "Z")


def left_of(program):
    """Also those whose command line has disappeared. The system cuts the names of processes."""
    left = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            name = read_file(f"/proc/{pid}/comm").decode().strip()
        except OSError:
            continue
        if name == program[:15] and not has_ended(pid):
            left.append(pid)
    return left


def zombies_of(parent):
    return [pid for pid in os.listdir("/proc") if state_of(pid) == ("Z", parent)]


def prepare(probe, helper):
    here = os.path.dirname(os.path.abspath(__file__))
    # Read first: the checkout may be in one of the folders that are replaced.
    kit = {PROBE: read_file(probe), HELPER: read_file(helper)}
    for script in (DISMISSING_AGENT, THIEF, AGENT_SERVICE):
        kit[script] = read_file(here + "/" + os.path.basename(script))
    policy = read_file(here + "/../../resources/com.quillmoor.rights.policy.in")
    replace_folders()
    make_kit(kit)
    install_policy(policy)
    passwords = make_people()
    require_setuid()
    return passwords


def check_nothing_left():
    gone = lambda: not any(running(word) for word in
                           (HELPER_NAME, "pkttyagent", "pkexec", "agent-helper", "/sudo", "/su ",
                            "authorization_probe", "dismissing_agent"))
    check(eventually(gone), "no helper, agent or launcher is left")
    check(not [name for name in os.listdir("/tmp") if name.startswith("quillmoor-")],
          "no socket is left")
