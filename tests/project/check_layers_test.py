#!/usr/bin/env python3
"""Breaks each rule of scripts/check-layers once, in a copy of the sources, and expects its report.

  check_layers_test.py SOURCES"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

FOLDERS = ("base", "platform", "paths", "log", "task", "auth", "files", "pane", "host", "tools",
           "examples", "objc", "tests")


class Copy:
    def __init__(self, sources, target):
        self.root = target
        self.script = sources / "scripts/check-layers"
        for folder in FOLDERS:
            shutil.copytree(sources / folder, target / folder, symlinks=True)

    def problems(self):
        """Returns what the script prints for the copy; None if it finds nothing."""
        result = subprocess.run([self.script, self.root], capture_output=True, text=True,
                                check=False)
        if result.stderr:
            sys.exit(result.stderr)
        return None if result.returncode == 0 else result.stdout.splitlines()

    def add_line(self, name, line):
        file = self.root / name
        before = file.read_text(encoding="utf-8")
        file.write_text(f"{before}{line}\n", encoding="utf-8")
        return lambda: file.write_text(before, encoding="utf-8")

    def add_file(self, name, text=""):
        file = self.root / name
        file.parent.mkdir(exist_ok=True)
        file.write_text(text, encoding="utf-8")
        return file.unlink

    def add_units(self, room, count):
        undo = []
        for number in range(count):
            undo.append(self.add_file(f"{room}/unit{number}.cpp"))
            undo.append(self.add_file(f"tests/{room}/unit{number}_test.cpp"))
        return lambda: [step() for step in undo]

    def remove(self, name):
        file = self.root / name
        before = file.read_bytes()
        file.unlink()
        return lambda: file.write_bytes(before)


def including(file, header, problem):
    root = "" if header.split("/")[0] in ("host", "tools", "examples", "objc") else "quillmoor/"
    return (f"{file} includes {header}",
            lambda copy: copy.add_line(file, f'#include "{root}{header}"'), f"{file}:*: {problem}")


# The rule, how it is broken, and what must be printed; * is a line's number.
CASES = [
    including("base/types.h", "platform/platform.h", "includes platform/platform.h, which is above"),
    including("log/KXLog.cpp", "files/KXFileManager.h",
              "includes files/KXFileManager.h, which is above"),
    including("host/main.cpp", "tools/ditto/failure.h",
              "includes tools/ditto/failure.h, which is beside it"),
    including("files/KXFileManager+Move.cpp", "platform/posix/fs/move_posix.h",
              "includes a back-end's platform/posix/fs/move_posix.h"),
    including("platform/posix/fs/move_posix.cpp", "platform/linux/ground/environment_linux.h",
              "includes platform/linux/ground/environment_linux.h of a room that it may not use"),
    including("platform/posix/ground/names_posix.cpp", "platform/posix/fs/move_posix.h",
              "includes platform/posix/fs/move_posix.h of a room that it may not use"),
    including("platform/posix/fs/move_posix.cpp", "platform/console.h",
              "includes the service platform/console.h"),
    including("platform/console.h", "platform/posix/ground/names_posix.h",
              "includes platform/posix/ground/names_posix.h of a room that it may not use"),
    including("host/window/installer_window.cpp", "host/plugin/bundle_info.h",
              "includes host/plugin/bundle_info.h of a room that it may not use"),
    including("host/script/script_runner.cpp", "host/options.h",
              "includes host/options.h of a room that it may not use"),
    including("paths/KXLocalPaths.h", "paths/missing.h", "no such file paths/missing.h"),
    ("a header without the root",
     lambda copy: copy.add_line("log/KXLog.cpp", '#include "base/types.h"'),
     "log/KXLog.cpp:*: base/types.h is not included by its full name"),
    ("the core uses the system", lambda copy: copy.add_line("task/KXTaskEx.cpp", "#include <fcntl.h>"),
     "task/KXTaskEx.cpp:*: <fcntl.h> is not of the standard library"),
    ("the core asks for the system", lambda copy: copy.add_line("task/KXTaskEx.cpp", "#ifdef __linux__"),
     "task/KXTaskEx.cpp:*: a condition on the system"),
    ("what the systems share asks for one",
     lambda copy: copy.add_line("platform/posix/ground/names_posix.cpp", "#if defined(__APPLE__)"),
     "platform/posix/ground/names_posix.cpp:*: a condition on the system"),
    ("a back-end's file in no room", lambda copy: copy.add_file("platform/posix/new/unit.h"),
     'platform/posix/new/unit.h: is in no room; add "platform/posix/new" to ROOMS in scripts/check-layers'),
    ("a back-end's file in no room includes a room",
     lambda copy: copy.add_file("platform/new/unit.h", '#include "quillmoor/platform/posix/fs/move_posix.h"\n'),
     'platform/new/unit.h: is in no room; add "platform/new" to ROOMS in scripts/check-layers'),
    ("a file of the host in no room", lambda copy: copy.add_file("host/new/unit.h"),
     'host/new/unit.h: is in no room; add "host/new" to ROOMS in scripts/check-layers'),
    ("a crowded room", lambda copy: copy.add_units("platform/posix/text", 19),
     "platform/posix/text: 21 units are too many for one room"),
    ("a unit without a test", lambda copy: copy.add_file("log/unit.cpp"),
     "log/unit: has no test tests/log/unit_test.cpp"),
    ("a test that is gone", lambda copy: copy.remove("tests/base/format_test.cpp"),
     "base/format: has no test tests/base/format_test.cpp"),
    ("a test without a unit", lambda copy: copy.add_file("tests/log/unit_test.cpp"),
     "tests/log/unit_test.cpp: tests no unit"),
    ("an exception that is needed no more", lambda copy: copy.add_file("tests/host/main_test.cpp"),
     "host/main: is no longer a unit without a test"),
]


def fits(problem, expected):
    if ":*:" not in expected:
        return problem == expected
    start, end = expected.split("*")
    return (problem.startswith(start) and problem.endswith(end)
            and problem[len(start):len(problem) - len(end)].isdigit())


def main():
    with tempfile.TemporaryDirectory() as folder:
        copy = Copy(pathlib.Path(sys.argv[1]), pathlib.Path(folder) / "copy")
        failures = 0
        if copy.problems() is not None:
            sys.exit("the sources break a rule themselves")
        for name, break_rule, expected in CASES:
            undo = break_rule(copy)
            problems = copy.problems() or []
            undo()
            if len(problems) != 1 or not fits(problems[0], expected):
                failures += 1
                print(f"{name}: expected {expected!r}, got {problems}")
        print(f"{len(CASES)} rules broken, {failures} not reported as expected")
        return 1 if failures or copy.problems() else 0


sys.exit(main())
