"""What several groups check of a client and its helper."""

import os

from actors import DENIED, NOT_ALLOWED, SUCCESS
from stage import (HELPER, HELPER_NAME, check, eventually, has_ended, processes, read_file, running,
                   zombies_of)


def check_authorized(probe, text):
    """While authorized, and after the authorization was released."""
    status, output = probe.execute("/usr/bin/id", "-u")
    check(status == SUCCESS and output == "0\n", text + ": tools run as root")
    check(len(running(HELPER_NAME)) >= 1, text + ": a helper serves")
    check_terminals(probe, text)
    check(probe.status("free") == SUCCESS, text + ": the authorization is released")
    check(eventually(lambda: not running(HELPER)), text + ": the helper has ended")
    check(eventually(lambda: not zombies_of(probe.pid)), text + ": every launcher was collected")


def check_terminals(probe, text):
    """No process of root's has the launcher's terminal, at which the user types."""
    pid, _, group, terminal = place_of(probe.execute("/bin/cat", "/proc/self/stat")[1])
    check(terminal == "0", text + ": tools have no terminal")
    check(pid == group, text + ": and are signalled on their own")
    helpers = [pid for pid, command in processes() if command.startswith(HELPER)]
    terminals = [place_of(read_file(f"/proc/{pid}/stat").decode())[3] for pid in helpers]
    check(terminals == ["0"], f"{text}: nor has the helper ({terminals})")


def place_of(status):
    """Number, state, group and terminal of a process, from the system's line about it."""
    number, rest = status.split(" ", 1)
    state, _, group, _, terminal = rest.rsplit(")", 1)[1].split()[:5]
    return number, state, group, terminal


def refused_before_password(probe, name, word, text):
    status, seconds = probe.timed("credentials", name, word)
    check(status == DENIED and seconds < 1.5, f"{text}: denied at once ({status}, {seconds:.2f} s)")


def check_user_cannot_be_asked(probe):
    """The quickest of some: others may keep the machine busy, and the first wakes polkit."""
    answers = [probe.timed("dialog") for _ in range(4)]
    seconds = min(answer[1] for answer in answers)
    check({answer[0] for answer in answers} == {NOT_ALLOWED} and seconds < 0.1,
          f"the user cannot be asked: reported at once ({seconds:.3f} s)")


def kill_helpers():
    helpers = running(HELPER)
    for pid in helpers:
        os.kill(pid, 9)
    check(eventually(lambda: all(map(has_ended, helpers))), "the helper is killed")
