"""Attacks on a helper that serves, once for every launcher."""

import functools
import os
import time

from actors import SUCCESS, TOOL_FAILED, Probe
from cases_secrets import check_secrets
from launchers import LAUNCHERS, helper, programs_between
from stage import HELPER, HELPER_NAME, check, eventually, left_of, running, start_bus

MADE = "/srv/made"
EINVAL = 22


class Attacks:
    """The attacks on a connection that one launcher has brought about."""

    def __init__(self, launcher, passwords):
        self.launcher, self.passwords = launcher, passwords

    def probe(self):
        return Probe(self.launcher.client)

    def start(self, probe, *before):
        status = self.launcher.start(probe, self.passwords, *before)
        if status != SUCCESS:
            check(False, f"authorization is granted ({status})")

    def check_helper_ends(self, probe, text):
        """Nothing was done, and nothing can be done any more."""
        check(eventually(lambda: not left_of(HELPER_NAME)) and not os.path.exists(MADE),
              text + " ends the helper")
        status = probe.execute("/usr/bin/id")[0]
        check(status == self.launcher.after_loss, f"{text}: the authorization has ended ({status})")

    def run(self):
        with self.probe() as probe:
            self.served(probe)
        self.thread()
        self.other_processes()
        with self.probe() as probe:
            self.malformed(probe)
            self.killed(probe)
        self.killed_client()
        check_secrets(self.launcher, self.passwords)

    def served(self, probe):
        """All that leaves the helper alive, on one connection."""
        self.start(probe)
        check(programs_between(helper(), probe.pid) == self.launcher.programs,
              "the helper is started by the launcher under test")
        check_hardening(helper())
        check(probe.ask("inherited") == "none", "the client's children have no connection")
        check_odd_tools(probe)
        check_arguments(probe)
        check_tool_runs_on(probe)
        check(eventually(lambda: not running(HELPER)), "the helper has ended")

    def thread(self):
        with self.probe() as probe:
            self.start(probe, "thread")
            time.sleep(0.2)
            check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"),
                  "the authorization outlives the thread that requested it")

    def other_processes(self):
        for command, text in (("forked", "a forked child's request"),
                              ("thief", "a thief's request")):
            with self.probe() as probe:
                self.start(probe)
                result = probe.ask(command, MADE)
                if result == "denied":
                    print("ok      " + text + ": the system does not let it happen")
                    continue
                check(result == "sent", text + " is sent")
                self.check_helper_ends(probe, text)
        with self.probe() as probe:
            self.start(probe)
            check(probe.ask("rightful", MADE) == "sent" and
                  eventually(lambda: os.path.exists(MADE)),
                  "the same request from the process itself is served")
        os.unlink(MADE)

    def malformed(self, probe):
        names = probe.ask("malformations").split("\t")
        check(len(names) >= 30, "there are malformed messages")
        for name in names:
            self.start(probe)
            result = probe.ask("malformed", name, MADE)
            check(result == "closed", f"{name}: the connection ends ({result})")
            self.check_helper_ends(probe, name)
            probe.ask("free")

    def killed(self, probe):
        self.start(probe)
        os.kill(helper(), 9)
        self.check_helper_ends(probe, "a signal to the helper")
        check(eventually(lambda: probe.status("free") == SUCCESS), "the client lives on")

    def killed_client(self):
        with self.probe() as probe:
            self.start(probe)
            child = int(probe.ask("keep"))
            probe.process.kill()
            check(eventually(lambda: not running(HELPER)) and os.path.exists(f"/proc/{child}"),
                  "the helper ends with its client, even if another process has the connection")
            os.kill(child, 9)


def check_hardening(process):
    """As far as it can be seen from outside."""
    def lines(name):
        with open(f"/proc/{process}/{name}", encoding="utf-8") as file:
            return [line.split() for line in file]

    status = {words[0]: words[1:] for words in lines("status") if words}
    check(status["Uid:"] == ["0"] * 4 and status["Gid:"] == ["0"] * 4 and not status["Groups:"],
          "the helper runs as root only")
    cores = [words[4:6] for words in lines("limits") if words[:2] == ["Max", "core"]]
    check(cores == [["0", "0"]], "it leaves no core")
    targets = [os.readlink(f"/proc/{process}/fd/{name}") for name in
               sorted(os.listdir(f"/proc/{process}/fd"), key=int)]
    check(targets[:2] == ["/dev/null"] * 2 and
          len([each for each in targets if each.startswith("socket:")]) <= 2,
          f"it holds its connection and nothing of the client's ({targets})")
    check(os.readlink(f"/proc/{process}/cwd") == "/", "and its working folder is the root folder")


def check_odd_tools(probe):
    for tool, text in (("bin/id", "a relative tool"), ("", "a tool without a name"),
                       ("/usr/bin/kx-missing", "a missing tool"),
                       ("/etc/passwd", "a tool that is no program"), ("/usr/bin", "a folder")):
        check(probe.execute(tool)[0] == TOOL_FAILED, text + " is reported")
    check(probe.ask("request", "bin/id") == str(EINVAL), "the helper itself takes none either")
    check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"), "and it is still authorized")


ARGUMENTS = [b"$(id)", b"`id`", b";", b"| id", b"", b"two\nlines", b"\n", b"\xff\xfe\x80", b"'\"\\",
             b"\t", b"*", b"~", b"%s%n", b"--help", b"-", b" ", bytes(range(1, 256))]


def check_arguments(probe):
    words = [b"/usr/bin/printf", b"%s\\0"] + ARGUMENTS
    status, digits = (probe.ask("bytes", *(word.hex() for word in words)).split() + [""])[:2]
    check(int(status) == SUCCESS and
          bytes.fromhex(digits) == b"".join(word + b"\0" for word in ARGUMENTS),
          "arguments arrive byte for byte")
    check(probe.ask("large", "1", "131071") == "0 same", "so does the longest that there can be")
    check(probe.ask("large", "18", "100000") == "0 same", "and very many bytes together")
    check(probe.ask("large", "1", "131072") == str(TOOL_FAILED), "a longer one is reported")
    check(probe.ask("large", "26", "100000") == str(TOOL_FAILED), "too many bytes are reported")
    check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"), "and it is still authorized")


def check_tool_runs_on(probe):
    """The tool waits for a file that is made only after the authorization has ended."""
    go, made = "/srv/go", "/srv/made-later"
    script = f"until test -e {go}; do sleep 0.02; done; touch {made}"
    check(probe.status("begin", "/bin/sh", "-c", script) == SUCCESS, "a tool runs")
    check(probe.status("free") == SUCCESS and eventually(lambda: helper() is None),
          "the authorization is released meanwhile")
    with open(go, "w", encoding="ascii"):
        pass
    check(eventually(lambda: os.path.exists(made)), "and the tool runs on")


def attacks(name, passwords):
    launcher = LAUNCHERS[name]
    if launcher.with_bus:
        start_bus()
    Attacks(launcher, passwords).run()


GROUPS = {"attacks/" + name: functools.partial(attacks, name) for name in LAUNCHERS}
