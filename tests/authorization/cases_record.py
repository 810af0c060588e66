"""What the system's log keeps."""

import os
import pwd
import re
import socket
import threading

from actors import SUCCESS, TOOL_FAILED, Probe
from stage import HELPER_NAME, check, run

DEVICES = "null zero full random urandom tty ptmx fd stdin stdout stderr".split()


def record(passwords):
    log = listen()
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "authorization is granted")
        log.lines()
        check(probe.execute("/usr/bin/id", "-u") == (SUCCESS, "0\n"), "a tool runs")
        check_line(log, probe, "/usr/bin/id -u")
        status = probe.execute("/bin/true", "two\nlines", "", "a b", "ü")[0]
        check(status == SUCCESS, "a tool runs with odd arguments")
        check_line(log, probe, r'/bin/true two\x0alines "" a\x20b \xc3\xbc')
        check(probe.execute("/bin/missing")[0] == TOOL_FAILED and not log.lines(),
              "there is no line about a tool that was not started")
        check(probe.ask("large", "18", "100000") == "0 same", "a tool runs with 1.8 MB of arguments")
        check_lines_of_large(log, probe)
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
    return Log()


class Log:
    """Takes what is sent at once, as a service does: a socket that is full keeps its senders."""

    END = b"end"

    def __init__(self):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind("/dev/log")
        os.chmod("/dev/log", 0o666)
        self.received = []
        self.at_end = threading.Semaphore(0)
        self.thread = threading.Thread(target=self.receive, daemon=True)
        self.thread.start()

    def receive(self):
        while line := self.socket.recv(65536):
            if line == self.END:
                self.at_end.release()
            else:
                self.received.append(line.decode())

    @staticmethod
    def send(line):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sender:
            sender.sendto(line, "/dev/log")

    def lines(self):
        """The helper's since the last time. They are sent before the tool's status is known."""
        self.send(self.END)
        self.at_end.acquire()
        lines, self.received = self.received, []
        return [line.rstrip("\0\n") for line in lines if HELPER_NAME in line]

    def close(self):
        self.send(b"")
        self.thread.join()
        self.socket.close()


def text_of(line, start):
    """What a line says after the beginning that it must have; None for another line."""
    authpriv_notice = 10 * 8 + 5
    head = re.match(rf"<{authpriv_notice}>.* {HELPER_NAME}\[\d+\]: " + re.escape(start), line)
    return line[head.end():] if head else None


def client(probe):
    return f"uid {pwd.getpwnam('kxadmin').pw_uid}, process {probe.pid}"


def check_line(log, probe, command):
    lines = log.lines()
    check(len(lines) == 1 and text_of(lines[0], client(probe) + ":") == " " + command,
          f"the log has one line about it {lines}")


def check_lines_of_large(log, probe):
    lines = log.lines()
    texts = [text_of(lines[0], client(probe) + ":")] + \
        [text_of(line, client(probe) + ", continued:") for line in lines[1:]]
    check(all(len(line) < 1200 for line in lines), "each of its lines has a bound")
    check(len(lines) > 1 and None not in texts
          and [len(word) for word in "".join(texts).split()[-18:]] == [100000] * 18,
          "its lines have all of it")
