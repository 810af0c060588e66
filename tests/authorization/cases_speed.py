"""How long it takes. No tests: rows for the table of benchmarks."""

import statistics

from actors import Probe
from stage import check, start_bus


def speed(passwords):
    start_bus()
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "authorization for the benchmark")
        rounds = [tuple(map(float, probe.ask("compare", "200").split())) for _ in range(5)]
        ours, bare, others = (statistics.median(side) for side in zip(*rounds))
        ratio = statistics.median(each[0] / each[1] for each in rounds)
        why = f"a bare start by another process that is asked for it takes {others / bare:.2f}"
        row("start an authorized tool", f"{ours:.0f} us", f"{bare:.0f} us", ratio, 1.5, why)
    with Probe("kxuser") as probe:
        seconds = min(probe.timed("dialog")[1] for _ in range(5))
        row("refusal where the user cannot be asked", f"{seconds * 1000:.1f} ms", "100 ms",
            seconds / 0.1, 1, "")


def row(work, ours, peer, ratio, target, why):
    met = "met" if ratio <= target else f"NOT met: {why}"
    print(f"{work} | {ours} | {peer} | {ratio:.2f} | <= {target:.2f} | {met}", flush=True)
