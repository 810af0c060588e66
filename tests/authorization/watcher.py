"""Looks for words where everybody, or everybody of the same user, can read them."""

import os
import subprocess
import time


class Watcher:
    """Inside of `with`, it reads the arguments and the environment of all processes over and over.
    `found` is where one of the words was found, `rounds` how often it has looked."""

    def __init__(self, words):
        self.words = [word.encode() for word in words]
        self.found, self.rounds = set(), 0

    def __enter__(self):
        self.results, results = os.pipe()
        self.stop_read, self.stop = os.pipe()
        self.process = os.fork()
        if self.process == 0:
            try:
                os.close(self.stop)
                self.watch()
                text = "\n".join([str(self.rounds)] + sorted(self.found))
                os.write(results, text.encode())
            finally:
                os._exit(0)
        os.close(results)
        os.close(self.stop_read)
        return self

    def __exit__(self, *_):
        os.close(self.stop)
        with os.fdopen(self.results) as file:
            rounds, *found = file.read().split("\n")
        os.waitpid(self.process, 0)
        self.rounds, self.found = int(rounds), set(found)

    def watch(self):
        os.set_blocking(self.stop_read, False)
        while not self.is_stopped():
            for entry in filter(str.isdigit, os.listdir("/proc")):
                for place in ("cmdline", "environ"):
                    self.look(entry, place)
            self.rounds += 1
            time.sleep(0.001)

    def is_stopped(self):
        try:
            return os.read(self.stop_read, 1) == b""
        except BlockingIOError:
            return False

    def look(self, process, place):
        try:
            with open(f"/proc/{process}/{place}", "rb") as file:
                content = file.read()
        except OSError:
            return
        if any(word in content for word in self.words):
            self.found.add(place)


def files_with(words, folders):
    """Every file below those folders that holds one of the words."""
    patterns = [argument for word in words for argument in ("-e", word)]
    found = subprocess.run(["grep", "-rlaF", "--devices=skip"] + patterns + folders,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                           check=False)
    return found.stdout.split("\n")[:-1]
