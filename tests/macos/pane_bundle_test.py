#!/usr/bin/env python3
"""Builds the bundle for macOS as far as that is possible elsewhere, the shell of the pane with all that the
systems share, and checks that lint-bundle finds nothing in it. The services of a back-end are left to be
looked up when the bundle is loaded.

  pane_bundle_test.py SOURCES CLANG++ LD64.LLD LLVM-LIPO INCLUDES BUILD-FOLDER [CCACHE]

INCLUDES has the headers of the project and utf8proc.h; in BUILD-FOLDER is VersionCheck.bundle. Ends with 77
if something is missing."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/macos"))

# pylint: disable=wrong-import-position
import adhoc_signature
from apple_tools import SYSTEMS, AppleTools, cxx_headers, read_symbols, run_or_skip
from bundle_lint import macho, objc
from shared_objects import OWED, Objects, shared_sources

PROJECT = INCLUDES = BUILD = pathlib.Path()
TOOLS, LAUNCHER = [], []
IDENTIFIER = "com.quillmoor.tallyframe.versioncheck"


def shell_sources():
    return [p for p in sorted((PROJECT / "pane").iterdir())
            if p.stem.endswith("_macos") and p.suffix in (".mm", ".cpp")]


class PaneBundle(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        folder = pathlib.Path(cls.scratch.name)
        tools = AppleTools(*TOOLS, folder, LAUNCHER)
        objects = Objects(tools, shared_sources(PROJECT) + shell_sources(), folder, PROJECT, INCLUDES)
        if objects.mistakes:
            raise RuntimeError("\n".join(objects.mistakes))
        thin = []
        for architecture in SYSTEMS:
            thin.append(folder / architecture)
            tools.link([p for (_, a), p in objects.paths.items() if a == architecture], architecture, thin[-1],
                       "-bundle", "-undefined", "dynamic_lookup", "-dead_strip")
        cls.bundle = folder / "plugins/VersionCheck.bundle"
        shutil.copytree(BUILD / "VersionCheck.bundle", cls.bundle, ignore=shutil.ignore_patterns("Linux", "*.ui"))
        shutil.copy(BUILD / "InstallerSections.plist", cls.bundle.parent)
        cls.executable = cls.bundle / "Contents/MacOS/VersionCheck"
        cls.executable.parent.mkdir(exist_ok=True)
        tools.join(thin, cls.executable)
        cls.executable.chmod(0o755)
        adhoc_signature.sign(cls.bundle, IDENTIFIER, "VersionCheck")

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def test_is_clean(self):
        run = subprocess.run([PROJECT / "scripts/macos/lint-bundle", self.bundle], capture_output=True, text=True,
                             check=False)
        self.assertEqual((run.stdout, run.stderr, run.returncode), ("", "", 0))

    def test_has_the_pane(self):
        for slice_ in macho.slices(self.executable.read_bytes()):
            classes = objc.Metadata(slice_).classes
            self.assertEqual(list(classes), ["RK_MessageViewPane"])
            pane = classes["RK_MessageViewPane"]
            self.assertEqual(pane.parent, "InstallerPane")
            self.assertEqual({k: pane.ivars.get(k) for k in ("titleText", "descriptionText", "uninstallBtn")},
                             {"titleText": '@"NSTextField"', "descriptionText": '@"NSTextField"',
                              "uninstallBtn": '@"NSButton"'})
            flag = "c" if slice_.architecture == "x86_64" else "B"
            expected = {"title": "@16@0:8", "didEnterPane:": "v20@0:8i16", "shouldExitPane:": f"{flag}20@0:8i16",
                        "uninstall:": "v24@0:8@16"}
            self.assertEqual({k: pane.methods.get(k) for k in expected}, expected)

    def test_needs_listed_symbols_only(self):
        for slice_ in macho.slices(self.executable.read_bytes()):
            self.assertEqual({s for s in slice_.undefined - read_symbols().keys() if not OWED.match(s)}, set())


def main():
    global PROJECT, INCLUDES, BUILD, TOOLS, LAUNCHER
    PROJECT, TOOLS = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:5]
    INCLUDES, BUILD, LAUNCHER = pathlib.Path(sys.argv[5]), pathlib.Path(sys.argv[6]), sys.argv[7:]
    return run_or_skip(TOOLS, lambda: (
        cxx_headers(TOOLS[0]) / "string", INCLUDES / "utf8proc.h",
        PROJECT / "pane/RK_MessageViewPane_macos.mm", BUILD / "VersionCheck.bundle/Contents/Info.plist"))


if __name__ == "__main__":
    sys.exit(main())
