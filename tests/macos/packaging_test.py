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
COMMANDS = ("codesign", "ditto", "keep-in-place", "lint-bundle", "pkgbuild", "pkgutil", "productbuild", "spctl", "xcrun")
# Records its call, makes the package, says who signed, and fails on request.
RECORDER = """#!/bin/sh
{ printf '%s' "${0##*/}"; printf ' <%s>' "$@"; echo; } >>"$RECORD"
for last in "$@"; do :; done
case ${0##*/} in productbuild) echo made >"$last" ;; esac
echo "Authority=Developer ID Application: $SIGNER"
echo "    1. Developer ID Installer: $SIGNER"
echo "origin=Developer ID Installer: $SIGNER"
case "${0##*/} $*" in $FAILING) exit 3 ;; esac
"""
REQUIREMENT = "'=anchor apple generic and certificate leaf[subject.OU] = \"ABC\"'"
ARCHIVE = "'WORK/plugins/VersionCheck.bundle/Contents/Resources/Tallyframe Uninstaller.zip'"
SIGNED = f"""\
+ mktemp -d FOLDER/.package.XXXXXX
+ mkdir WORK/plugins
+ ditto BUILD/VersionCheck.bundle WORK/plugins/VersionCheck.bundle
+ cp BUILD/InstallerSections.plist WORK/plugins/InstallerSections.plist
+ ditto -x -k {ARCHIVE} WORK
+ codesign --force --timestamp --options runtime --sign 'Developer ID Application: Maker'\\''s Ltd (ABC)' 'WORK/Tallyframe Uninstaller.app'
+ codesign --verify --strict --verbose=2 --test-requirement {REQUIREMENT} 'WORK/Tallyframe Uninstaller.app'
+ codesign --display --verbose=2 'WORK/Tallyframe Uninstaller.app'
+ ditto -c -k --keepParent 'WORK/Tallyframe Uninstaller.app' {ARCHIVE}
+ HERE/lint-bundle --unsigned WORK/plugins/VersionCheck.bundle
+ codesign --force --timestamp --options runtime --sign 'Developer ID Application: Maker'\\''s Ltd (ABC)' WORK/plugins/VersionCheck.bundle
+ codesign --verify --strict --verbose=2 --test-requirement {REQUIREMENT} WORK/plugins/VersionCheck.bundle
+ codesign --display --verbose=2 WORK/plugins/VersionCheck.bundle
+ HERE/lint-bundle --release WORK/plugins/VersionCheck.bundle
+ pkgbuild --analyze --root ROOT WORK/components.plist
+ HERE/keep-in-place WORK/components.plist
+ find ROOT -name '*.app' -prune -exec codesign --verify --deep --strict --test-requirement {REQUIREMENT} '{{}}' +
+ pkgbuild --root ROOT --component-plist WORK/components.plist --install-location / --identifier com.quillmoor.tallyframe.pkg --version 1.2.3 WORK/tallyframe.pkg
+ productbuild --distribution HERE/distribution.xml --package-path WORK --plugins WORK/plugins --timestamp --sign 'Developer ID Installer: Maker'\\''s Ltd (ABC)' WORK/Tallyframe.pkg
+ pkgutil --check-signature WORK/Tallyframe.pkg
"""
NOTARISED = """\
+ xcrun notarytool submit WORK/Tallyframe.pkg --keychain-profile PROFILE --wait
+ xcrun stapler staple WORK/Tallyframe.pkg
+ xcrun stapler validate WORK/Tallyframe.pkg
+ spctl --assess --type install --verbose=2 WORK/Tallyframe.pkg
"""
MOVED = "+ mv -f WORK/Tallyframe.pkg OUT\n"
HOW_TO_NOTARISE = """\
# Not notarised yet: other Macs refuse the package. Store the credentials once, and then:
+ xcrun notarytool store-credentials PROFILE
""" + NOTARISED.replace("WORK/Tallyframe.pkg", "OUT")
UNSIGNED = """\
+ mktemp -d FOLDER/.package.XXXXXX
+ mkdir WORK/plugins
+ ditto BUILD/VersionCheck.bundle WORK/plugins/VersionCheck.bundle
+ cp BUILD/InstallerSections.plist WORK/plugins/InstallerSections.plist
+ HERE/lint-bundle --unsigned WORK/plugins/VersionCheck.bundle
+ codesign --force --sign - WORK/plugins/VersionCheck.bundle
+ HERE/lint-bundle WORK/plugins/VersionCheck.bundle
+ pkgbuild --nopayload --identifier com.quillmoor.tallyframe.pkg --version 1.2.3 WORK/tallyframe.pkg
+ productbuild --distribution HERE/distribution.xml --package-path WORK --plugins WORK/plugins WORK/Tallyframe.pkg
"""
SIGNER = "Maker's Ltd (ABC)"


class Package(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.here = self.folder / "scripts"
        self.build = self.folder / "build"
        self.root = self.folder / "the root"
        self.out = self.folder / "Tallyframe.pkg"
        self.record = self.folder / "record"
        self.uninstaller = self.build / "VersionCheck.bundle/Contents/Resources/Tallyframe Uninstaller.zip"
        self.uninstaller.parent.mkdir(parents=True)
        self.uninstaller.write_bytes(b"")
        (self.build / "VersionCheck.bundle/Contents/Info.plist").write_bytes(
            plistlib.dumps({"CFBundleShortVersionString": "1.2.3"}))
        (self.build / "InstallerSections.plist").write_bytes(plistlib.dumps({"SectionOrder": []}))
        (self.root / "Applications/Tallyframe.app/Contents/Helper.app").mkdir(parents=True)
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

    def signed(self, *options):
        return ("--sign", SIGNER, "--payload", str(self.root), *options)

    def named(self, text):
        root = shlex.quote(str(self.root))
        return text.replace("HERE", str(self.here)).replace("BUILD", str(self.build)).replace("ROOT", root) \
            .replace("OUT", str(self.out)).replace("FOLDER", str(self.folder)) \
            .replace("WORK", f"{self.folder}/.package.XXXXXX")

    @staticmethod
    def without_random_name(text):
        return re.sub(r"\.package\.\w{6}", ".package.XXXXXX", text)

    def recorded(self):
        """The calls of the commands, without the random part of the folder's name."""
        text = self.record.read_text(encoding="utf-8") if self.record.exists() else ""
        return self.without_random_name(text).splitlines()

    def expected_record(self, text):
        """The recorded calls of the commands that are printed."""
        calls = [shlex.split(line[2:]) for line in self.named(text).splitlines() if line.startswith("+ ")]
        calls = [self.started_by_find(c) if c[0] == "find" else c for c in calls]
        return [" ".join([pathlib.Path(c[0]).name] + [f"<{a}>" for a in c[1:]]) for c in calls
                if pathlib.Path(c[0]).name in COMMANDS]

    def started_by_find(self, call):
        application = str(self.root / "Applications/Tallyframe.app")
        return [application if word == "{}" else word for word in call[call.index("-exec") + 1:-1]]

    def left(self):
        return sorted(p.name for p in self.folder.iterdir() if p.name != "record")

    def test_prints_what_it_would_do(self):
        for options, expected in (
                ((), UNSIGNED + MOVED),
                (self.signed(), SIGNED + MOVED + HOW_TO_NOTARISE),
                (self.signed("--notarize", "PROFILE"), SIGNED + NOTARISED + MOVED)):
            run = self.package("--dry-run", *options)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, self.named(expected), ""))
        self.assertEqual(self.recorded(), [])
        self.assertEqual(self.left(), ["build", "scripts", "the root"])

    def test_does_what_it_prints(self):
        for options, printed, done in (
                ((), UNSIGNED + MOVED, UNSIGNED),
                (self.signed(), SIGNED + MOVED + HOW_TO_NOTARISE, SIGNED),
                (self.signed("--notarize", "PROFILE"), SIGNED + NOTARISED + MOVED, SIGNED + NOTARISED)):
            self.record.unlink(missing_ok=True)
            self.out.unlink(missing_ok=True)
            run = self.package(*options)
            self.assertEqual(run.returncode, 0, run.stderr)
            lines = [line for line in run.stdout.splitlines() if line.startswith(("+", "#"))]
            self.assertEqual(self.without_random_name("\n".join(lines)), self.named(printed).rstrip())
            self.assertEqual(self.recorded(), self.expected_record(done))
            self.assertEqual(self.out.read_text(encoding="utf-8"), "made\n")
            self.assertEqual(self.left(), ["Tallyframe.pkg", "build", "scripts", "the root"])

    def test_stops_at_the_first_failure_and_leaves_the_package_that_was_there(self):
        calls = self.expected_record(SIGNED + NOTARISED)
        self.out.write_text("old", encoding="utf-8")
        for number, call in enumerate(calls):
            self.record.unlink(missing_ok=True)
            name, first = call.split(" ")[0], re.findall(r"<(.*?)>", call)[0]
            which = [c for c in calls[:number] if c.startswith(f"{name} <{first}>")]
            if which:
                continue
            run = self.package(*self.signed("--notarize", "PROFILE"), failing=f"{name} {first.replace('XXXXXX', '??????')}*")
            self.assertNotEqual(run.returncode, 0, call)
            self.assertEqual(self.recorded(), calls[:number + 1])
            self.assertEqual(self.out.read_text(encoding="utf-8"), "old")
            self.assertEqual(self.left(), ["Tallyframe.pkg", "build", "scripts", "the root"])

    def test_refuses_another_authority(self):
        for signer in ("Somebody Else", f"{SIGNER} and Son", f"Not {SIGNER}", f"{SIGNER} (XYZ)"):
            run = self.package("--sign", SIGNER, signer=signer)
            self.assertEqual(run.returncode, 1)
            self.assertIn(f"package: not signed as demanded: Authority=Developer ID Application: {SIGNER}\n",
                          run.stderr)
            self.assertTrue(self.recorded()[-1].startswith("codesign <--display>"))
            self.assertFalse(self.out.exists())

    def test_refuses_a_bundle_without_the_uninstaller(self):
        self.uninstaller.unlink()
        for options in ((), ("--dry-run",)):
            run = self.package(*options)
            self.assertEqual((run.returncode, run.stdout), (1, ""))
            self.assertIn("VersionCheck.bundle has no uninstaller", run.stderr)

    def test_does_not_replace_a_folder(self):
        self.out.mkdir()
        run = self.package()
        self.assertEqual((run.returncode, run.stdout), (1, ""))
        self.assertIn(f"package: {self.out} is a folder", run.stderr)

    def test_keeps_bundles_in_their_place(self):
        path = self.folder / "components.plist"
        path.write_bytes(plistlib.dumps([
            {"RootRelativeBundlePath": "A.app", "BundleIsRelocatable": True, "BundleIsVersionChecked": True,
             "ChildBundles": [{"RootRelativeBundlePath": "A.app/B.app", "BundleIsRelocatable": True}]}]))
        run = subprocess.run([PROJECT / "scripts/macos/keep-in-place", path], capture_output=True, text=True,
                             check=False)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))
        self.assertEqual(plistlib.loads(path.read_bytes()), [
            {"RootRelativeBundlePath": "A.app", "BundleIsRelocatable": False, "BundleIsVersionChecked": True,
             "ChildBundles": [{"RootRelativeBundlePath": "A.app/B.app", "BundleIsRelocatable": False}]}])
        run = subprocess.run([PROJECT / "scripts/macos/keep-in-place"], capture_output=True, text=True, check=False)
        self.assertEqual(run.returncode, 2)

    def test_refuses_wrong_use(self):
        for arguments in ([], [self.build], [self.build, "out.dmg"], ["--nonesuch", self.build, "a.pkg"],
                          ["--sign", "", self.build, "a.pkg"], ["--sign", "Maker", self.build, "a.pkg"],
                          ["--sign", "Maker ()", self.build, "a.pkg"], [self.build, "a.pkg", "--sign"],
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
        commands = [shlex.split(line)[0] for line in re.findall(r"^\+ (.+?)\n(?=\+|\n)", run.stdout,
                                                                re.MULTILINE | re.DOTALL)]
        names = [pathlib.Path(command).name for command in commands]
        walk = "walk-installer"
        self.assertEqual(names, ["xcrun", "cmake", "cmake", "cmake", "clang++", pathlib.Path(sys.executable).name,
                                 "osascript", "ctest", "plutil", "ibtool", "lint-bundle", "lipo", "env", "swiftc", "swift-example",
                                 "Tallyframe Uninstaller", "osascript", "osascript", "package", "pkgutil", "open", walk,
                                 walk, walk, "sh", "open", walk, "screencapture", walk, walk, walk, "lsregister"])
        for command in commands:
            self.assertTrue("/" not in command or command.startswith(("BUILD/", "/System/"))
                            or pathlib.Path(command).exists(), command)
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

    def test_fails_a_step_that_warns_or_does_not_end(self):
        step = self.script.Step
        status, output = self.run_on_a_mac([
            step("warns", "one", ["echo", "a.xib: Warning: x"], refused=r"\bwarning:"),
            step("says", "two", ["echo", "no warnings"], refused=r"\bwarning:"),
            step("hangs", "three", ["sleep", "60"], seconds=0.1)])
        self.assertEqual(status, 1)
        for line in ("failed +warns", "passed +says", "failed +hangs"):
            self.assertRegex(output, rf"(?m)^{line}")

    def test_looks_for_each_obsolete_call_of_the_back_end(self):
        source = "".join(path.read_text(encoding="utf-8") for path in (PROJECT / "platform/macos").rglob("*.cpp"))
        looked_up = set(re.findall(r"lateCall<\w+>\((k\w+)\)", source))
        self.assertEqual(len(looked_up), len(self.script.obsolete_calls()))
        self.assertIn("LSRegisterURL", self.script.obsolete_calls())
        header = (PROJECT / "platform/macos/ground/obsolete_workspace_macos.h").read_text(encoding="utf-8")
        methods = re.findall(r"^- \(.+?\)((?:.|\n)+?);", header, re.MULTILINE)
        names = ["".join(re.findall(r"(\w+:)", method)) for method in methods]
        self.assertEqual(len(names), 3)
        for name in names:
            self.assertIn(f"'{name}'", self.script.FIND_METHODS)

    def test_walks_with_actions_that_the_walk_knows(self):
        walk = (PROJECT / "scripts/macos/walk-installer").read_text(encoding="utf-8")
        known = set(re.findall(r'^--   ([a-z]+) [A-Z]', walk, re.MULTILINE))
        self.assertEqual(known - {"shows"}, set(re.findall(r'verb is "(\w+)"', walk)))
        for step in self.script.steps("BUILD"):
            if step.command[0].endswith("walk-installer"):
                self.assertEqual(len(step.command) % 2, 1, step.name)
                self.assertLessEqual(set(step.command[1::2]), known, step.name)

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
