"""What is tried against a client that waits for its helper."""

import os
import signal
import stat

from actors import INTERNAL, SUCCESS, Probe, TypingAgent
from checks import check_authorized
from stage import HELPER, PROBE, check, run_as, start_bus


def waiting(passwords):
    """Other processes connect while the user is asked; then another user can replace the helper."""
    start_bus()
    no_handlers(passwords["kxadmin"])
    left_over()
    impostors(passwords["kxadmin"])
    swapped_helper(passwords["kxadmin"])


def caught_signals(probe):
    """But for the two that threads need, which the system's library catches."""
    with open(f"/proc/{probe.pid}/status", encoding="ascii") as status:
        mask = next(line.split()[1] for line in status if line.startswith("SigCgt"))
    return int(mask, 16) & ~(3 << (32 - 1))


def no_handlers(word):
    """The client's signals stay its own."""
    with Probe("kxadmin") as probe:
        before = caught_signals(probe)
        check(probe.status("credentials", "kxadmin", word) == SUCCESS, "authorization is granted")
        check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"), "a tool runs")
        check(caught_signals(probe) == before, "no signal handler was installed in the client")


def waiting_folders():
    return sorted(name for name in os.listdir("/tmp") if name.startswith("quillmoor-"))


def left_over():
    """A client that a signal ends while the user is asked leaves its folder to the next one."""
    for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGINT):
        with Probe("kxuser") as probe, TypingAgent(probe, "kxuser") as agent:
            probe.say("dialog")
            check(agent.terminal.shows("AUTHENTICATING FOR"), "a client waits")
            before = waiting_folders()
            probe.process.send_signal(number)
            probe.process.wait()
        check(len(before) == 1 and waiting_folders() == before,
              f"signal {number} leaves the client's folder")
        with Probe("kxann") as probe:
            probe.ask("dialog")
            check(waiting_folders() == before, "another user's client does not remove it")
        with Probe("kxuser") as probe:
            probe.ask("dialog")
            check(not waiting_folders(), "the same user's next client does")


def impostors(word):
    with Probe("kxuser") as probe, TypingAgent(probe, "kxuser") as agent:
        probe.say("dialog")
        check(agent.terminal.shows("AUTHENTICATING FOR"), "a client waits")
        folder = "/tmp/" + waiting_folders()[0]
        check(run_as("kxuser", PROBE, input="dialog\n").returncode == 0 and
              os.path.exists(folder), "another client leaves it alone")
        path = folder + "/rights"
        check(stat.S_IMODE(os.stat(folder).st_mode) == 0o700, "its folder is its own")
        check(connect_as("kxann", path) == "PermissionError", "a foreign user does not get in")
        check(connect_as("kxuser", path) == "closed", "an impostor of the same user is rejected")
        check(connect_as("root", path) == "closed",
              "a foreign process of root is rejected")
        arguments = ["--connect", path, "--uid", str(os.stat(folder).st_uid),
                     "--pid", str(probe.pid)]
        for user in ("root", "kxuser"):
            check(run_as(user, HELPER, *arguments).returncode > 0,
                  f"the helper does not serve when {user} starts it by hand")
        check(run_as("root", HELPER).returncode > 0, "nor without arguments")
        agent.terminal.choose("kxadmin")
        agent.terminal.type_password(word)
        check(int(probe.answer().split()[0]) == SUCCESS, "the right one is still accepted")
        check(not os.path.exists(folder), "its folder is removed")
        check_authorized(probe, "after impostors")


CONNECT = """
import socket, sys
peer = socket.socket(socket.AF_UNIX)
peer.settimeout(5)
try:
    peer.connect(sys.argv[1])
    peer.sendall(bytes.fromhex(sys.argv[2]))
    print("open" if peer.recv(1) else "closed")
except (ConnectionResetError, BrokenPipeError):
    print("closed")
except OSError as error:
    print(type(error).__name__)
"""


def connect_as(user, path):
    """Greets as a helper does."""
    hello = (0x4B585201).to_bytes(4, "little") + (1).to_bytes(4, "little") + bytes(8)
    return run_as(user, "/usr/bin/python3", "-c", CONNECT, path, hello.hex()).stdout.strip()


def swapped_helper(word):
    """A helper that another user can replace is not started."""
    os.chmod(os.path.dirname(HELPER), 0o777)
    with Probe("kxuser") as probe:
        check(probe.status("credentials", "kxadmin", word) == INTERNAL,
              "a helper that another user can replace is not started")
    os.chmod(os.path.dirname(HELPER), 0o755)
