"""A long session."""

import os

from actors import Probe
from launchers import helper
from stage import check, eventually, start_bus

TOOLS, DESCRIPTORS = 5000, 1024


def many(passwords):
    start_bus()
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "the session starts")
        process = helper()
        before = len(os.listdir(f"/proc/{process}/fd"))
        failures, more, seconds = probe.ask("many", str(TOOLS), str(DESCRIPTORS)).split()
        check(int(failures) == 0, f"{TOOLS} tools are started ({float(seconds):.1f} s)")
        check(int(more) <= 0, f"the client has no more descriptors than before ({more} more)")
        # It closes the last tool's descriptors only after it has replied.
        check(eventually(lambda: len(os.listdir(f"/proc/{process}/fd")) == before) and
              helper() == process, "nor has the helper, which is still the same")
