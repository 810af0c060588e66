"""What other processes of the client's user try while a password is given for it."""

import subprocess

from actors import SUCCESS, Probe
from stage import THIEF, as_user, check, start_bus, start_time

# Words that every process of the same user can read: one on a terminal, one in a pipe.
CONTROL = """
import os, pty, sys
master, slave = pty.openpty()
reader, writer = os.pipe()
os.write(master, b"control-terminal\\n")
os.write(writer, b"control-pipe")
print(os.getpid(), flush=True)
sys.stdin.read()
"""


def same_user(passwords):
    start_bus()
    stolen_password(passwords["kxadmin"])
    foreign_request(passwords["kxadmin"])


class Helper:
    """A program of the user's that runs until its standard input ends."""

    def __init__(self, *command):
        self.process = subprocess.Popen(as_user("kxuser") + list(command), text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.first = self.process.stdout.readline().strip()

    def end(self):
        return self.process.communicate()[0]


def stolen_password(word):
    control = Helper("/usr/bin/python3", "-c", CONTROL)
    with Probe("kxuser", on_socket=True) as probe:
        thief = Helper("/usr/bin/python3", THIEF, str(probe.pid), control.first)
        status = probe.status("credentials", "kxadmin", word)
        digits, rounds = thief.end().split()
        loot = b"" if digits == "-" else bytes.fromhex(digits)
        check(word[-12:].encode() not in loot, "a thief of the same user reads no password")
        check(status == SUCCESS, f"and does not get into the client's way ({status})")
    control.end()
    check(b"control-terminal" in loot and b"control-pipe" in loot and int(rounds) > 5,
          f"it would have read one that can be read ({rounds} rounds)")


def foreign_request(word):
    """Others ask polkit about the client, which has its own agent."""
    refused, granted, statuses = 0, 0, set()
    with Probe("kxuser") as probe:
        check_command = ["pkcheck", "--process", f"{probe.pid},{start_time(probe.pid)}",
                         "--action-id", "org.freedesktop.policykit.exec",
                         "--allow-user-interaction"]
        for _ in range(10):
            probe.say("credentials", "kxadmin", word)
            others = [subprocess.Popen(as_user("kxuser") + check_command,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                      for _ in range(8)]
            statuses.add(int(probe.answer().split()[0]))
            ends = [other.wait() for other in others]
            granted += ends.count(0)
            refused += ends.count(1)  # by an agent: without one it is 2
    check(granted == 0, f"no request of others is granted by the client's password ({granted})")
    check(refused > 0, f"they were refused by the client's own agent ({refused} times)")
    check(statuses == {SUCCESS}, f"and do not disturb it {statuses}")
