"""Every way in which a client can start the helper."""

import os

from actors import DENIED, NOT_ALLOWED, TypingAgent
from stage import HELPER, processes


class Launcher:
    """`client` asks as `asked`; `programs` are between the client and the helper, the nearest to
    the helper first. `after_loss` is what an operation returns when the helper has ended and the
    user cannot be asked again."""

    def __init__(self, client, asked, programs=(), with_bus=False, with_dialog=False):
        self.client, self.asked, self.programs = client, asked, list(programs)
        self.with_bus, self.with_dialog = with_bus, with_dialog
        self.after_loss = NOT_ALLOWED if with_dialog else DENIED

    def start(self, probe, passwords, *before):
        """The status. `before` precedes the command."""
        word = passwords[self.asked]
        if not self.with_dialog:
            return probe.status(*before, "credentials", self.asked, word)
        with TypingAgent(probe, self.client) as agent:
            probe.say(*before, "dialog")
            agent.answer(self.asked, word)
            return int(probe.answer().split()[0])


LAUNCHERS = {
    "polkit": Launcher("kxuser", "kxadmin", with_bus=True),
    "dialog": Launcher("kxuser", "kxadmin", with_bus=True, with_dialog=True),
    "sudo": Launcher("kxadmin", "kxadmin", ["sudo"]),
    "su": Launcher("kxuser", "root", ["su"]),
    "su-sudo": Launcher("kxuser", "kxadmin", ["sudo", "su"])
}


def helper():
    """The number of the one helper, None without one."""
    found = [pid for pid, command in processes() if command.startswith(HELPER)]
    return found[0] if len(found) == 1 else None


def programs_between(process, ancestor):
    """The names of the programs between the two, each once in a row."""
    names = []
    while True:
        with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
            process = int(file.read().rsplit(")", 1)[1].split()[1])
        if process in (0, ancestor):
            return names
        name = os.path.basename(os.readlink(f"/proc/{process}/exe"))
        if names[-1:] != [name]:
            names.append(name)
