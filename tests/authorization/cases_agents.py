"""The agent that answers polkit with a given password, and a polkit that ends or hangs."""

import contextlib
import os
import signal
import subprocess
import time

from actors import CANCELED, DENIED, NOT_ALLOWED, SUCCESS, DismissingAgent, Probe
from stage import (AGENT_HELPER, AGENT_SERVICE, KIT, as_user, check, eventually, run, running,
                   start_bus, state_of)


def agents(passwords):
    start_bus()
    word = passwords["kxadmin"]
    one_after_the_other(word)
    at_once(word)
    own_agent(word)
    failing_helpers(word)
    helper_without_root(word)
    cancelled_meanwhile()
    killed_polkit(word)
    stopped_polkit(word)


def one_after_the_other(word):
    with Probe("kxuser") as probe:
        statuses = {probe.status("credentials", "kxadmin", word) for _ in range(20)}
        check(statuses == {SUCCESS}, f"authorization is requested again and again {statuses}")
        for milliseconds in (0, 3):
            statuses = set()
            for _ in range(15):
                statuses.add(probe.status("credentials", "kxadmin", word))
                time.sleep(milliseconds / 1000)
            check(statuses == {SUCCESS}, f"and {milliseconds} ms apart {statuses}")


def at_once(word):
    """polkit knows one agent for a process, but serves any number of processes."""
    with Probe("kxuser") as probe:
        for milliseconds in ("0", "3"):
            answers = {probe.ask("twice", milliseconds, "kxadmin", word) for _ in range(5)}
            check(answers == {"0 0"}, f"two threads ask {milliseconds} ms apart {answers}")
    with Probe("kxuser") as one, Probe("kxuser") as other:
        for probe in (one, other):
            probe.say("credentials", "kxadmin", word)
        statuses = [int(probe.answer().split()[0]) for probe in (one, other)]
        check(statuses == [SUCCESS, SUCCESS], f"two processes ask at once {statuses}")


def own_agent(word):
    with Probe("kxuser") as probe:
        with DismissingAgent(probe, "kxuser") as agent:
            status, seconds = probe.timed("credentials", "kxadmin", word)
            check(status == NOT_ALLOWED and agent.questions() == 0,
                  "the client's own agent is not asked for a given password")
            check(seconds < 1, f"which is reported at once ({seconds:.2f} s)")
        check(eventually(lambda: probe.status("credentials", "kxadmin", word) == SUCCESS),
              "and without it authorization is granted")
        with DismissingAgent(probe, "kxuser"):
            check(probe.status("dialog") == CANCELED, "no agent of the password's is left")


@contextlib.contextmanager
def replaced_helper(content, mode):
    """The program that checks passwords for polkit is another one."""
    replacement = "/srv/agent-helper"
    with open(replacement, "wb") as file:
        file.write(content)
    os.chmod(replacement, mode)
    run("mount", "--bind", replacement, AGENT_HELPER)
    try:
        yield
    finally:
        run("umount", "--lazy", AGENT_HELPER)  # one may be at its end still


PROMPT = "echo 'PAM_PROMPT_ECHO_OFF Password: '; "
FAILING_HELPERS = {
    "is killed": ("kill -9 $$", NOT_ALLOWED),
    "ends without a word": ("exit 0", NOT_ALLOWED),
    "refuses unasked": ("echo FAILURE", DENIED),
    "asks for something else": ("echo 'PAM_PROMPT_ECHO_ON Code: '; read code; echo SUCCESS", DENIED),
    "asks twice": (PROMPT + "read word; " + PROMPT + "read word; echo SUCCESS", DENIED),
    "ends when it was asked": (PROMPT + "read word; exit 0", DENIED),
    "has not told polkit": (PROMPT + "read word; echo SUCCESS", DENIED)
}


def failing_helpers(word):
    """Nobody else is asked instead."""
    for text, (script, expected) in FAILING_HELPERS.items():
        with replaced_helper(f"#!/bin/sh\nread cookie; {script}\n".encode(), 0o4755), \
                Probe("kxuser") as probe:
            status, seconds = probe.timed("credentials", "kxadmin", word)
            check(status == expected and seconds < 2,
                  f"a helper that {text} ({status}, {seconds:.2f} s)")


def helper_without_root(word):
    """Newer systems start it for each connection to a socket; without that there are sudo and
    su."""
    with open(AGENT_HELPER, "rb") as file:
        content = file.read()
    with open(KIT + "/agent-helper", "wb") as file:
        file.write(content)
    os.chmod(KIT + "/agent-helper", 0o4755)
    with replaced_helper(content, 0o755), Probe("kxuser") as probe:
        check(probe.status("credentials", "kxadmin", word) == SUCCESS and
              not running("polkit-agent-helper"), "a helper without its setuid bit is not started")
        service = subprocess.Popen(["/usr/bin/python3", AGENT_SERVICE, KIT + "/agent-helper"],
                                   stdout=subprocess.PIPE, text=True)
        service.stdout.readline()
        check(probe.status("credentials", "kxadmin", word) == SUCCESS, "one behind a socket")
        check(probe.status("credentials", "kxadmin", "wrong") == DENIED, "which gets a wrong one")
        service.kill()
        check(service.communicate()[0].split() == ["kxadmin", "kxadmin"], "has served both")
        os.unlink("/run/polkit/agent-helper.socket")


def checking(probe):
    """Has a password checked that is wrong, which takes a while. When it is being checked."""
    probe.say("credentials", "kxadmin", "wrong")
    check(eventually(lambda: running("polkit-agent-helper-1")), "a password is being checked")
    return time.monotonic()


def cancelled_meanwhile():
    with Probe("kxuser") as probe:
        begin = checking(probe)
        for pid in running("pkexec"):
            run(*as_user("kxuser"), "kill", str(pid))
        status = int(probe.answer().split()[0])
        seconds = time.monotonic() - begin
        check(status == CANCELED and seconds < 1,
              f"its user ends the launcher meanwhile ({status}, {seconds:.2f} s)")


def killed_polkit(word):
    with Probe("kxuser") as probe:
        begin = checking(probe)
        for pid in running("polkitd"):
            os.kill(pid, signal.SIGKILL)
        status = int(probe.answer().split()[0])
        seconds = time.monotonic() - begin
        check(status == DENIED and seconds < 1,
              f"polkit is killed meanwhile ({status}, {seconds:.2f} s)")
        check(probe.status("credentials", "kxadmin", word) == SUCCESS, "and starts anew")


def stopped_polkit(word):
    with Probe("kxuser") as probe:
        stopped = running("polkitd")
        for pid in stopped:
            os.kill(pid, signal.SIGSTOP)
        check(eventually(lambda: {state_of(pid)[0] for pid in stopped} == {"T"}), "polkit hangs")
        status, seconds = probe.timed("credentials", "kxadmin", word)
        check(status == NOT_ALLOWED and 9 < seconds < 15,
              f"it is waited for, but not without end ({status}, {seconds:.2f} s)")
        for pid in stopped:
            os.kill(pid, signal.SIGCONT)
        check(eventually(lambda: probe.status("credentials", "kxadmin", word) == SUCCESS),
              "and continues when polkit does")
