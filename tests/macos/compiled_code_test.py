#!/usr/bin/env python3
"""Compiles the project's code for both architectures of a Mac with clang, against our own declarations of what
macOS has, and links the pane's bundle and the library, against the symbols in apple/symbols.txt. The cases_*
modules say what is checked.

  compiled_code_test.py SOURCES CLANG++ LD64.LLD LLVM-LIPO INCLUDES BUILD-FOLDER [CCACHE]

INCLUDES has the headers of the project and utf8proc.h; in BUILD-FOLDER is VersionCheck.bundle. Ends with 77
if something is missing."""

import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/macos"))

# pylint: disable=wrong-import-position, unused-import
from apple_tools import cxx_headers, run_or_skip
from cases_bundle import PaneBundle
from cases_library import Library
from cases_sources import Sources
from compiled_case import Case
from compiled_code import CompiledCode


def main():
    project, tools, includes = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:5], pathlib.Path(sys.argv[5])
    Case.build, launcher = pathlib.Path(sys.argv[6]), sys.argv[7:]
    with tempfile.TemporaryDirectory() as folder:
        Case.compile = lambda: CompiledCode(tools, launcher, project, includes, pathlib.Path(folder))
        return run_or_skip(tools, lambda: (cxx_headers(tools[0]) / "string", includes / "utf8proc.h",
                                           Case.build / "VersionCheck.bundle/Contents/Info.plist"))


if __name__ == "__main__":
    sys.exit(main())
