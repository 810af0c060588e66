#!/usr/bin/env python3
"""Checks scripts/macos/package and first-day as far as that is possible without a Mac: what they print with
--dry-run, and, with commands that only record how they were called, that just that is run.

  packaging_test.py SOURCES"""

import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import plistlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

PROJECT = pathlib.Path()
COMMANDS = ("codesign", "ditto", "lint-bundle", "pkgbuild", "pkgutil", "productbuild", "spctl", "xcrun")
# Records its call, says who signed, and fails on request.
RECORDER = """#!/bin/sh
{ printf '%s' "${0##*/}"; printf ' <%s>' "$@"; echo; } >>"$RECORD"
echo "Authority=Developer ID Application: $SIGNER"
echo "1. Developer ID Installer: $SIGNER"
case "${0##*/} $*" in $FAILING) exit 3 ;; esac
"""
SIGNED = """\
+ rm -rf OUT.parts
+ mkdir -p OUT.parts/plugins
+ ditto BUILD/VersionCheck.bundle OUT.parts/plugins/VersionCheck.bundle
+ cp BUILD/InstallerSections.plist OUT.parts/plugins/InstallerSections.plist
+ HERE/lint-bundle --unsigned OUT.parts/plugins/VersionCheck.bundle
+ codesign --force --timestamp --options runtime --sign 'Developer ID Application: Maker'\\''s Ltd (ABC)' OUT.parts/plugins/VersionCheck.bundle
+ codesign --verify --strict --verbose=2 OUT.parts/plugins/VersionCheck.bundle
+ codesign --display --verbose=2 OUT.parts/plugins/VersionCheck.bundle
+ HERE/lint-bundle --release OUT.parts/plugins/VersionCheck.bundle
+ pkgbuild --root 'the root' --install-location / --identifier com.quillmoor.tallyframe.pkg --version 1.2.3 OUT.parts/tallyframe.pkg
+ productbuild --distribution HERE/distribution.xml --package-path OUT.parts --plugins OUT.parts/plugins --timestamp --sign 'Developer ID Installer: Maker'\\''s Ltd (ABC)' OUT
+ pkgutil --check-signature OUT
"""
HOW_TO_NOTARISE = """\
# Not notarised yet: other Macs refuse the package. Store the credentials once, and then:
+ xcrun notarytool store-credentials PROFILE
"""
NOTARISED = """\
+ xcrun notarytool submit OUT --keychain-profile PROFILE --wait
+ xcrun stapler staple OUT
+ xcrun stapler validate OUT
+ spctl --assess --type install --verbose=2 OUT
"""
UNSIGNED = """\
+ rm -rf OUT.parts
+ mkdir -p OUT.parts/plugins
+ ditto BUILD/VersionCheck.bundle OUT.parts/plugins/VersionCheck.bundle
+ cp BUILD/InstallerSections.plist OUT.parts/plugins/InstallerSections.plist
+ HERE/lint-bundle --unsigned OUT.parts/plugins/VersionCheck.bundle
+ codesign --force --sign - OUT.parts/plugins/VersionCheck.bundle
+ HERE/lint-bundle OUT.parts/plugins/VersionCheck.bundle
+ pkgbuild --nopayload --identifier com.quillmoor.tallyframe.pkg --version 1.2.3 OUT.parts/tallyframe.pkg
+ productbuild --distribution HERE/distribution.xml --package-path OUT.parts --plugins OUT.parts/plugins OUT
"""
SIGNER = "Maker's Ltd (ABC)"


class Package(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.here = self.folder / "scripts"
        self.build = self.folder / "build"
        self.out = self.folder / "Tallyframe.pkg"
        self.record = self.folder / "record"
        (self.build / "VersionCheck.bundle/Contents").mkdir(parents=True)
        (self.build / "VersionCheck.bundle/Contents/Info.plist").write_bytes(
            plistlib.dumps({"CFBundleShortVersionString": "1.2.3"}))
        (self.build / "InstallerSections.plist").write_bytes(plistlib.dumps({"SectionOrder": []}))
        self.here.mkdir()
        shutil.copy(PROJECT / "scripts/macos/package", self.here)
        for name in COMMANDS:
            (self.here / name).write_text(RECORDER, encoding="utf-8")
            (self.here / name).chmod(0o755)

    def package(self, *options, signer=SIGNER, failing="nothing"):
        return subprocess.run([self.here / "package", *options, self.build, self.out], text=True,
                              capture_output=True, check=False,
                              env={"PATH": f"{self.here}:/usr/bin:/bin", "RECORD": str(self.record),
                                   "SIGNER": signer, "FAILING": failing})

    def named(self, text):
        return text.replace("HERE", str(self.here)).replace("BUILD", str(self.build)) \
            .replace("OUT", str(self.out))

    def recorded(self):
        return self.record.read_text(encoding="utf-8").splitlines() if self.record.exists() else []

    def expected_record(self, text):
        """The recorded calls of the commands that are printed."""
        calls = [shlex.split(line[2:]) for line in self.named(text).splitlines() if line.startswith("+ ")]
        return [" ".join([pathlib.Path(c[0]).name] + [f"<{a}>" for a in c[1:]]) for c in calls
                if pathlib.Path(c[0]).name in COMMANDS]

    def test_prints_what_it_would_do(self):
        for options, expected in (
                ((), UNSIGNED),
                (("--sign", SIGNER, "--payload", "the root"), SIGNED + HOW_TO_NOTARISE + NOTARISED),
                (("--sign", SIGNER, "--payload", "the root", "--notarize", "PROFILE"), SIGNED + NOTARISED)):
            run = self.package("--dry-run", *options)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, self.named(expected), ""))
        self.assertEqual(self.recorded(), [])
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["build", "scripts"])

    def test_does_what_it_prints(self):
        for options, printed, done in (
                ((), UNSIGNED, UNSIGNED),
                (("--sign", SIGNER, "--payload", "the root"), SIGNED + HOW_TO_NOTARISE + NOTARISED, SIGNED),
                (("--sign", SIGNER, "--payload", "the root", "--notarize", "PROFILE"),
                 SIGNED + NOTARISED, SIGNED + NOTARISED)):
            self.record.unlink(missing_ok=True)
            run = self.package(*options)
            self.assertEqual(run.returncode, 0, run.stderr)
            lines = [line for line in run.stdout.splitlines() if line.startswith(("+", "#"))]
            self.assertEqual(lines, self.named(printed).splitlines())
            self.assertEqual(self.recorded(), self.expected_record(done))
            self.assertTrue((self.folder / "Tallyframe.pkg.parts/plugins/InstallerSections.plist").exists())

    def test_stops_at_the_first_failure(self):
        calls = self.expected_record(SIGNED + NOTARISED)
        for number, call in enumerate(calls):
            self.record.unlink(missing_ok=True)
            name, first = call.split(" ")[0], re.findall(r"<(.*?)>", call)[0]
            which = [c for c in calls[:number] if c.startswith(f"{name} <{first}>")]
            if which:
                continue
            run = self.package("--sign", SIGNER, "--payload", "the root", "--notarize", "PROFILE",
                               failing=f"{name} {first}*")
            self.assertNotEqual(run.returncode, 0, call)
            self.assertEqual(self.recorded(), calls[:number + 1])

    def test_refuses_another_authority(self):
        run = self.package("--sign", SIGNER, signer="Somebody Else")
        self.assertEqual(run.returncode, 1)
        self.assertIn(f"package: not signed by Authority=Developer ID Application: {SIGNER}", run.stderr)
        self.assertTrue(self.recorded()[-1].startswith("codesign <--display>"))

    def test_refuses_wrong_use(self):
        for arguments in ([], [self.build], [self.build, "out.dmg"], ["--nonesuch", self.build, "a.pkg"],
                          ["--sign", "", self.build, "a.pkg"], [self.build, "a.pkg", "--sign"],
                          ["--notarize", "P", self.build, "a.pkg"]):
            run = subprocess.run([self.here / "package", *arguments], capture_output=True, text=True, check=False)
            self.assertEqual((run.returncode, run.stdout), (2, ""), arguments)
            self.assertIn("scripts/macos/package [OPTION…]", run.stderr)

    def test_describes_both_architectures(self):
        text = (PROJECT / "scripts/macos/distribution.xml").read_text(encoding="utf-8")
        self.assertIn('hostArchitectures="x86_64,arm64"', text)
        self.assertIn("tallyframe.pkg</pkg-ref>", text)


class FirstDay(unittest.TestCase):
    def setUp(self):
        loader = importlib.machinery.SourceFileLoader("first_day", str(PROJECT / "scripts/macos/first-day"))
        self.script = importlib.util.module_from_spec(importlib.util.spec_from_loader("first_day", loader))
        loader.exec_module(self.script)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def run_on_a_mac(self, steps):
        self.script.steps = lambda build: steps
        self.script.platform.system, before = lambda: "Darwin", self.script.platform.system
        self.script.sys.argv, arguments = ["first-day", self.folder], self.script.sys.argv
        output = io.StringIO()
        try:
            with contextlib.redirect_stdout(output):
                return self.script.main(), output.getvalue()
        finally:
            self.script.platform.system, self.script.sys.argv = before, arguments

    def test_prints_what_it_would_do(self):
        run = subprocess.run([PROJECT / "scripts/macos/first-day", "--dry-run", "BUILD"], capture_output=True,
                             text=True, check=False)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        commands = re.findall(r"^\+ (\S+)", run.stdout, re.MULTILINE)
        names = [pathlib.Path(command).name for command in commands]
        self.assertEqual(names, ["xcrun", "cmake", "cmake", "ctest", "plutil", "ibtool", "lint-bundle", "lipo",
                                 "osascript", "package", "pkgutil", "open", "osascript"])
        for command in commands:
            self.assertTrue("/" not in command or pathlib.Path(command).exists(), command)
        for _, what in self.script.unproved():
            self.assertIn(what, run.stdout)

    def test_needs_a_mac(self):
        run = subprocess.run([PROJECT / "scripts/macos/first-day"], capture_output=True, text=True, check=False)
        if sys.platform != "darwin":
            self.assertEqual((run.returncode, run.stdout), (2, ""))
        for arguments in (["--nonesuch"], ["a", "b"]):
            run = subprocess.run([PROJECT / "scripts/macos/first-day", *arguments], capture_output=True, text=True,
                                 check=False)
            self.assertEqual((run.returncode, run.stdout), (2, ""))

    def test_refers_to_steps_that_exist(self):
        names = [step.name for step in self.script.steps("BUILD")]
        for number, step in enumerate(self.script.steps("BUILD")):
            self.assertLessEqual(set(step.needs), set(names[:number]))
        found = self.script.unproved()
        self.assertGreater(len(found), 5)
        for name, _ in found:
            self.assertIn(name, names + ["by-hand"])

    def test_tries_each_step_that_can_be_tried(self):
        step = self.script.Step
        status, output = self.run_on_a_mac([
            step("first", "one", ["sh", "-c", "echo heard"]), step("second", "two", ["false"]),
            step("third", "three", ["true"], ["second"]), step("fourth", "four", ["true"], ["first"]),
            step("fifth", "five", ["true"], ["third"]), step("sixth", "six", ["/no/such/command"])])
        self.assertEqual(status, 1)
        for line in (r"passed +first +one", r"failed +second +two", r"not tried +third +three",
                     r"passed +fourth +four", r"not tried +fifth +five", r"failed +sixth +six",
                     r"by hand +by-hand +\S"):
            self.assertRegex(output, rf"(?m)^{line}")
        self.assertEqual((pathlib.Path(self.folder) / "first-day/first.log").read_text("utf-8"), "heard\n")

    def test_passes_when_each_step_does(self):
        status, output = self.run_on_a_mac([self.script.Step("build", "one", ["true"])])
        self.assertEqual(status, 0)
        self.assertRegex(output, r"(?m)^passed +build +one")


def main():
    global PROJECT
    PROJECT = pathlib.Path(sys.argv[1]).resolve()
    program = unittest.main(argv=sys.argv[:1] + sys.argv[2:], exit=False)
    return 0 if program.result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
