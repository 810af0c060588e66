#!/usr/bin/env python3
"""Checks that what is reported as missing of a new back-end is what the library's objects need.

  back_end_test.py CMAKE SOURCES TRACE ARCHIVE...    TRACE is the option KX_TRACE of the archives"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

MISSING = re.compile(r"^platform/(\w+): the (service|hook) (\w+) is missing: define (\w+)")
SYMBOL = re.compile(r"^[0-9a-f ]* ([A-Za-z]) (quillmoor::platform::[\w:]+)(\(|$)")


def owed(archives):
    """Returns the functions and constants that the system's own objects define and the others need."""
    defined, needed = {True: set(), False: set()}, set()
    for archive in archives:
        listing = subprocess.run(["nm", "-C", archive], capture_output=True, text=True, check=True)
        of_system = False
        for line in listing.stdout.splitlines():
            if line.endswith(".o:"):
                of_system = line.endswith("_linux.cpp.o:")
            match = SYMBOL.match(line)
            if not match:
                continue
            kind, name = match.group(1), match.group(2)
            if kind != "U":
                defined[of_system].add(name)
            elif not of_system:
                needed.add(name)
    return sorted(name.rsplit("::", 1)[1] for name in needed & defined[True] - defined[False])


def configure(cmake, sources, trace, platform, build):
    return subprocess.run([cmake, "-S", sources, "-B", build, f"-DKX_PLATFORM={platform}",
                           f"-DKX_TRACE={trace}",
                           "-DKX_BUILD_HOST=OFF", "-DKX_BUILD_TESTS=OFF"],
                          capture_output=True, text=True, check=False)


def report(cmake, seam, trace, platform):
    """Returns what would be reported of a back-end, without configuring the project."""
    script = seam.parent / "report.cmake"
    script.write_text(f'set(KX_TRACE {trace})\ninclude("{seam}/BackEnd.cmake")\nkx_report_missing("{seam}" {platform})\n')
    run = subprocess.run([cmake, "-P", script], capture_output=True, text=True, check=True)
    return run.stderr.splitlines()


def missing_names(lines):
    """Returns the names to define, in order; for a service that of its function."""
    names = []
    for line in lines:
        if match := MISSING.match(line):
            names.append(match.group(4) if match.group(2) == "service" else match.group(3))
    return sorted(names)


class Checks:
    def __init__(self):
        self.failures = 0

    def equal(self, what, found, expected):
        if found != expected:
            self.failures += 1
            print(f"{what}:\n  expected {expected}\n  got      {found}")


def main():
    cmake, sources, trace = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
    archives = sys.argv[4:]
    checks = Checks()
    expected = owed(archives)
    checks.equal("there are services and hooks", len(expected) > 20, True)
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        run = configure(cmake, sources, trace, "template", folder / "build")
        checks.equal("the template is configured", run.returncode, 0)
        checks.equal("all is missing, each in one line", missing_names(run.stderr.splitlines()),
                     expected)

        run = configure(cmake, sources, trace, "macos", folder / "macos")
        checks.equal("the back-end for macOS is configured", run.returncode, 0)
        checks.equal("nothing is missing there", missing_names(run.stderr.splitlines()), [])

        run = configure(cmake, sources, trace, "nonesuch", folder / "none")
        checks.equal("no such back-end", run.returncode, 1)
        checks.equal("a back-end that does not exist is reported",
                     "There is no back-end platform/nonesuch" in run.stderr, True)

        seam = folder / "copy/platform"
        shutil.copytree(sources / "platform", seam)
        for platform in ("linux", "macos"):
            checks.equal(f"nothing of {platform} is missing", report(cmake, seam, trace, platform), [])
        for name in expected:
            definition = re.compile(rf"^(\w.*[ *]){name}(?=\(| =)", re.MULTILINE)
            namespace = "platform" if name.startswith("native") else "platform::posix"
            files = [f for f in seam.glob("linux/**/*.cpp") if definition.search(f.read_text())
                     and f"\nnamespace quillmoor::{namespace} {{" in f.read_text()]
            checks.equal(f"{name} has one definition", len(files), 1)
            before = files[0].read_text()
            files[0].write_text(definition.sub(r"\1other", before))
            checks.equal(f"{name} is missing", missing_names(report(cmake, seam, trace, "linux")), [name])
            files[0].write_text(before)
    print(f"{len(expected)} services and hooks, {checks.failures} not reported as expected")
    return 1 if checks.failures else 0


sys.exit(main())
