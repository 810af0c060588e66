#!/usr/bin/python3
"""Runs one group of the tests of administrator rights, with real users, passwords and launchers, on
a stage of its own: run_group.py GROUP PROBE HELPER. Status 0: all passed, 1: not, 77: it cannot be
run here, and why."""

import os
import signal
import sys
import time

import stage
from cases import GROUPS

LONGEST = 100  # seconds


def main():
    group, probe, helper = sys.argv[1:4]
    stage.enter()
    # The first process of its namespace is ended by no other signal than one that it handles.
    signal.signal(signal.SIGALRM, lambda *_: os._exit(1))
    signal.alarm(LONGEST)
    begin = time.monotonic()
    passwords = stage.prepare(probe, helper)
    GROUPS[group](passwords)
    stage.check_nothing_left()
    print(f"{group}: {stage.check.failures} failed, {time.monotonic() - begin:.1f} s")
    return 1 if stage.check.failures else 0


sys.exit(main())
