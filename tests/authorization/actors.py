"""Those who act in the tests of administrator rights: a client of the library, and agents that
answer polkit's prompts."""

import fcntl
import os
import pty
import select
import socket
import subprocess
import termios
import time

from stage import DISMISSING_AGENT, PROBE, as_user, start_time

LINE_END = "\x1e"  # one that is part of a word
SUCCESS, DENIED, CANCELED, NOT_ALLOWED, INTERNAL = 0, -60005, -60006, -60007, -60008
TOOL_FAILED = -60031


class Probe:
    """The client, as an ordinary user, with a terminal of its own if it is given one. It is spoken
    to through pipes, which other processes of its user can read, or through a socket. Its console
    is this one's, or the file `errors`."""

    def __init__(self, user, terminal=None, ignore_children=False, on_socket=False, errors=None):
        def take_terminal():
            if terminal is not None:
                fcntl.ioctl(terminal.slave, termios.TIOCSCTTY, 0)

        program = ["sh", "-c", "trap '' CHLD; exec " + PROBE] if ignore_children else [PROBE]
        ends = [os.pipe(), os.pipe()]
        if on_socket:
            ours, theirs = (end.detach() for end in socket.socketpair())
            ends = [(theirs, ours), (os.dup(ours), os.dup(theirs))]
        (child_input, ours_out), (ours_in, child_output) = ends
        self.process = subprocess.Popen(as_user(user) + program, stdin=child_input,
                                        stdout=child_output, stderr=errors,
                                        start_new_session=True,
                                        preexec_fn=take_terminal)
        os.close(child_input)
        os.close(child_output)
        self.commands = open(ours_out, "w", encoding="utf-8")
        self.answers = open(ours_in, encoding="utf-8")
        ready = self.answers.readline().split()
        assert ready and ready[0] == "ready", "the probe has not started"
        self.pid = int(ready[1])

    def say(self, *words):
        self.commands.write("\t".join(words).replace("\n", LINE_END) + "\n")
        self.commands.flush()

    def answer(self):
        return self.answers.readline().strip()

    def ask(self, *words):
        self.say(*words)
        return self.answer()

    def status(self, *words):
        return int(self.ask(*words).split()[0])

    def timed(self, *words):
        status, seconds = self.ask(*words).split()
        return int(status), float(seconds)

    def execute(self, *words):
        """The status, and the tool's output."""
        parts = self.ask("execute", *words).split()
        output = bytes.fromhex(parts[1]).decode() if len(parts) > 1 else ""
        return int(parts[0]), output

    def end(self):
        self.commands.close()
        self.answers.close()
        self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind is not None:
            self.process.kill()
        self.end()


class Terminal:
    """A terminal, and the person at it."""

    def __init__(self):
        self.master, self.slave = pty.openpty()
        self.shown = ""

    def read_until(self, text, seconds=10.0):
        """What is shown before `text`, which is taken as well; None if it does not come."""
        end = time.monotonic() + seconds
        while text not in self.shown:
            if time.monotonic() > end:
                return None
            if select.select([self.master], [], [], 0.05)[0]:
                self.shown += os.read(self.master, 4096).decode("utf-8", "replace")
        before, self.shown = self.shown.split(text, 1)
        return before

    def shows(self, text):
        return self.read_until(text) is not None

    def wait_for_echo(self, wanted, seconds=5.0):
        end = time.monotonic() + seconds
        while self.echoes() != wanted and time.monotonic() < end:
            time.sleep(0.005)
        return self.echoes() == wanted

    def echoes(self):
        return bool(termios.tcgetattr(self.slave)[3] & termios.ECHO)

    def choose(self, name):
        """Answers polkit's list of administrators."""
        choices = self.read_until("Choose identity")
        assert choices is not None, "no list of administrators"
        lines = [line.strip() for line in choices.splitlines()]
        number = next(line.split(".")[0] for line in lines
                      if line.endswith((f" {name}", f"({name})")))
        os.write(self.master, number.encode() + b"\n")

    def type_password(self, word, prompt="assword: "):
        """As a person does: after the prompt, when nothing is shown."""
        assert self.shows(prompt), "no prompt for a password"
        assert self.wait_for_echo(False), "the password would be shown"
        settings = termios.tcgetattr(self.slave)
        settings[3] &= ~termios.ISIG  # the passwords here hold any character
        settings[6] = [b"\0"] * len(settings[6])
        termios.tcsetattr(self.slave, termios.TCSANOW, settings)
        os.write(self.master, word.encode() + b"\n")

    def close(self):
        os.close(self.master)
        os.close(self.slave)


class TypingAgent:
    """polkit's agent on a terminal, serving one process, and a person who types there."""

    def __init__(self, probe, user):
        self.terminal = Terminal()
        slave = self.terminal.slave
        notice_read, notice_write = os.pipe()

        def take_terminal():
            fcntl.ioctl(slave, termios.TIOCSCTTY, 0)

        self.process = subprocess.Popen(
            as_user(user) + ["env", "LC_ALL=C", "pkttyagent", "--process", str(probe.pid),
                             "--notify-fd", str(notice_write)],
            stdin=slave, stdout=slave, stderr=slave, start_new_session=True,
            preexec_fn=take_terminal, pass_fds=[notice_write])
        os.close(notice_write)
        os.read(notice_read, 1)  # ends when the agent is registered
        os.close(notice_read)

    def answer(self, name, password):
        self.terminal.choose(name)
        self.terminal.type_password(password)

    def end(self):
        self.process.kill()
        self.process.wait()
        self.terminal.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()


class DismissingAgent:
    """polkit's agent in a desktop, and a user who closes its dialog."""

    def __init__(self, probe, user):
        self.process = subprocess.Popen(
            as_user(user) + ["/usr/bin/python3", DISMISSING_AGENT, str(probe.pid),
                             start_time(probe.pid)],
            stdout=subprocess.PIPE, text=True)
        assert self.process.stdout.readline().startswith("registered")

    def questions(self):
        """How often it was asked. Ends it."""
        self.process.kill()
        self.process.wait()
        return self.process.stdout.read().count("asked")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
