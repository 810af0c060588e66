"""What the system's log keeps."""

import os
import pwd
import re
import socket

from actors import SUCCESS, TOOL_FAILED, Probe
from stage import HELPER_NAME, check, run

DEVICES = "null zero full random urandom tty ptmx fd stdin stdout stderr".split()


def record(passwords):
    log = listen()
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "rights are granted")
        lines_of_helper(log)
        check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"), "a tool runs")
        check_line(log, probe, "/usr/bin/id -u")
        status = probe.execute("/bin/true", "two\nlines", "", "a b", "ü")[0]
        check(status == SUCCESS, "a tool runs with odd arguments")
        check_line(log, probe, r'/bin/true two\x0alines "" a\x20b \xc3\xbc')
        check(probe.execute("/bin/missing")[0] == TOOL_FAILED and not lines_of_helper(log),
              "there is no line about a tool that was not started")
        check(probe.ask("large", "18", "100000") == "0 same", "a tool runs with 1.8 MB of arguments")
        lines = lines_of_helper(log)
        check(len(lines) == 1 and len(lines[0]) < 1200 and lines[0].endswith("... (19 arguments)"),
              "its line has a bound")
        log.close()
        os.unlink("/dev/log")
        check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"), "tools run without a log, too")


def listen():
    """The system's log is a socket. It is made in a folder of devices of this stage's own."""
    devices = "/mnt"
    run("mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", devices)
    for name in DEVICES:
        if os.path.lexists("/dev/" + name):
            run("cp", "-a", "/dev/" + name, devices)
    os.mkdir(devices + "/pts")
    run("mount", "--rbind", "/dev/pts", devices + "/pts")
    run("mount", "--move", devices, "/dev")
    log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    log.bind("/dev/log")
    os.chmod("/dev/log", 0o666)
    log.setblocking(False)
    return log


def lines_of_helper(log):
    """A line was sent before the tool's status was known."""
    lines = []
    while True:
        try:
            lines.append(log.recv(65536).decode())
        except BlockingIOError:
            return [line for line in lines if HELPER_NAME in line]


def check_line(log, probe, command):
    lines = lines_of_helper(log)
    user = pwd.getpwnam("kxadmin").pw_uid
    authpriv_notice = 10 * 8 + 5
    expected = rf"<{authpriv_notice}>.* {HELPER_NAME}\[\d+\]: " + \
        re.escape(f"uid {user}, process {probe.pid}: {command}")
    check(len(lines) == 1 and re.fullmatch(expected, lines[0].rstrip("\0\n")),
          f"the log has one line about it {lines}")
