"""The bundle for macOS as far as it can be built elsewhere: lint-bundle finds nothing in it."""

import shutil
import subprocess

import adhoc_signature
from apple_tools import read_symbols
from bundle_lint import macho, objc
from compiled_case import Case

IDENTIFIER = "com.quillmoor.tallyframe.versioncheck"


class PaneBundle(Case):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.bundle = cls.code.folder / "plugins/VersionCheck.bundle"
        shutil.copytree(cls.build / "VersionCheck.bundle", cls.bundle, ignore=shutil.ignore_patterns("Linux", "*.ui"))
        shutil.copy(cls.build / "InstallerSections.plist", cls.bundle.parent)
        cls.executable = cls.bundle / "Contents/MacOS/VersionCheck"
        cls.executable.parent.mkdir(exist_ok=True)
        shutil.copy(cls.code.bundle(), cls.executable)
        cls.executable.chmod(0o755)
        adhoc_signature.sign(cls.bundle, IDENTIFIER, "VersionCheck")

    def test_is_clean(self):
        run = subprocess.run([self.code.project / "scripts/macos/lint-bundle", self.bundle], capture_output=True,
                             text=True, check=False)
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
            self.assertEqual(slice_.undefined - read_symbols().keys(), set())
