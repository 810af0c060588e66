#!/usr/bin/env python3
"""Checks lint-bundle: it finds nothing in a good bundle, and of each broken one just what is broken.

  lint_bundle_test.py SOURCES CLANG++ LD64.LLD LLVM-LIPO    ends with 77 if one of the tools is missing"""

import codecs
import pathlib
import plistlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/macos"))

# pylint: disable=wrong-import-position
from apple_tools import AppleTools, run_or_skip
from bundle_lint import macho
from plugin_bundle import LANGUAGES, OBJECTS, OUTLETS, PluginBundle, edit_plist, write_nib

PROJECT = pathlib.Path()
TOOLS = []
LINE = re.compile(r"[^:\n]+: [a-z]+: .+; .+")


class Executables:
    """Universal files of sample_pane.mm by the macros that it is compiled with."""

    def __init__(self, folder):
        self._tools = AppleTools(*TOOLS, folder)
        self._made = {}

    def get(self, *defines, architectures=("x86_64", "arm64"), link=()):
        key = (defines, architectures, link)
        if key not in self._made:
            self._made[key] = self._tools.bundle_of(
                PROJECT / "tests/macos/apple/sample_pane.mm", f"pane{len(self._made)}", defines,
                architectures, link)
        return self._made[key]


class LintTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.executables = Executables(cls.scratch.name)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.bundle = PluginBundle(PROJECT, self.folder.name, self.executables.get())

    def lint(self, *options, bundles=None):
        paths = bundles or [self.bundle.path]
        run = subprocess.run([PROJECT / "scripts/macos/lint-bundle", *options, *paths], capture_output=True,
                             text=True, check=False)
        self.assertEqual(run.stderr, "")
        return run.returncode, run.stdout.splitlines()

    def clean(self, *options):
        self.assertEqual(self.lint(*options), (0, []))

    def finds(self, *patterns, options=(), bundles=None):
        """Each finding matches a pattern, and each pattern a finding."""
        status, lines = self.lint(*options, bundles=bundles)
        self.assertEqual(status, 1, lines)
        for line in lines:
            self.assertRegex(line, LINE)
            self.assertTrue(any(re.search(p, line) for p in patterns), line)
        for pattern in patterns:
            self.assertTrue(any(re.search(pattern, line) for line in lines), f"{pattern}: {lines}")

    def breaks(self, *patterns, options=()):
        """As finds, after the bundle was signed as its maker would."""
        self.bundle.sign()
        self.finds(*patterns, options=options)

    def use(self, *defines, **options):
        self.bundle.use(self.executables.get(*defines, **options))


class GoodBundle(LintTest):
    def test_is_clean(self):
        self.bundle.sign()
        self.clean()

    def test_may_be_thin(self):
        self.use(architectures=("arm64",))
        self.bundle.sign()
        self.clean("--arch", "arm64")

    def test_may_have_its_action_in_a_category(self):
        self.use("ACTION_IN_CATEGORY")
        self.bundle.sign()
        self.clean()

    def test_may_be_unsigned_until_it_is_finished(self):
        self.clean("--unsigned")

    def test_may_have_strings_in_each_form(self):
        text = '"InstallerSectionTitle" = "Vérification \\"A\\"";\n// end\n'
        forms = [text.encode("utf-16"), codecs.BOM_UTF16_BE + text.encode("utf-16-be"),
                 codecs.BOM_UTF8 + text.encode(), b'InstallerSectionTitle = Title;',
                 plistlib.dumps({"InstallerSectionTitle": "A"}),
                 plistlib.dumps({"InstallerSectionTitle": "A"}, fmt=plistlib.FMT_BINARY)]
        for form in forms:
            with self.subTest(form=form):
                self.bundle.strings("de").write_bytes(form)
                self.bundle.sign()
                self.clean()

    def test_may_have_no_language_folder(self):
        for language in ("de", "en"):
            shutil.rmtree(self.bundle.strings(language).parent)
        self.bundle.sign()
        self.clean()

    def test_may_have_a_localised_interface_beside_the_base(self):
        base = self.bundle.resources / "Base.lproj"
        base.mkdir()
        self.bundle.nib.rename(base / "VersionCheck.nib")
        shutil.copyfile(base / "VersionCheck.nib", self.bundle.resources / "de.lproj/VersionCheck.nib")
        self.bundle.sign()
        self.clean()

    def test_may_have_a_nib_that_is_a_folder(self):
        content = self.bundle.nib.read_bytes()
        self.bundle.nib.unlink()
        self.bundle.nib.mkdir()
        (self.bundle.nib / "keyedobjects.nib").write_bytes(content)
        self.bundle.sign()
        self.clean()

    def test_may_link_a_library_inside(self):
        fixture = self.bundle.contents / "Frameworks/libkx.dylib"
        fixture.parent.mkdir()
        fixture.write_bytes(b"")
        stub = pathlib.Path(self.folder.name) / "own.tbd"
        stub.write_text("--- !tapi-tbd\ntbd-version: 4\ntargets: [ x86_64-macos, arm64-macos ]\n"
                        "install-name: '@rpath/libkx.dylib'\n...\n", encoding="utf-8")
        self.use(link=("-bundle", str(stub)))
        self.bundle.sign()
        self.clean()
        fixture.unlink()
        self.bundle.sign()
        self.finds(r"VersionCheck: library: it needs @rpath/libkx\.dylib")


class BrokenInfo(LintTest):
    KEYS = ("CFBundleIdentifier", "CFBundleExecutable", "CFBundlePackageType", "CFBundleInfoDictionaryVersion",
            "CFBundleShortVersionString", "CFBundleVersion", "NSMainNibFile", "NSPrincipalClass",
            "InstallerSectionTitle")

    def test_lacks_a_key(self):
        for key in self.KEYS:
            with self.subTest(key=key):
                before = self.bundle.info.read_bytes()
                self.bundle.edit_info(**{key: None})
                status, lines = self.lint("--unsigned")
                self.assertEqual(status, 1)
                self.assertRegex(lines[0], rf"Info\.plist: info: {key} is missing; ")
                self.bundle.info.write_bytes(before)

    def test_has_a_key_of_another_type(self):
        for key in self.KEYS + ("CFBundleName", "LSMinimumSystemVersion"):
            with self.subTest(key=key):
                before = self.bundle.info.read_bytes()
                self.bundle.edit_info(**{key: 6.0})
                status, lines = self.lint("--unsigned")
                self.assertEqual(status, 1)
                self.assertRegex(lines[0], rf"Info\.plist: info: {key} is not a string; ")
                self.bundle.info.write_bytes(before)

    def test_has_a_value_that_is_not_understood(self):
        for key, value in (("CFBundleIdentifier", "version check"), ("CFBundlePackageType", "APPL"),
                           ("CFBundleInfoDictionaryVersion", "5.0"), ("CFBundleVersion", "one"),
                           ("CFBundleShortVersionString", "1.2.3.4"), ("InstallerSectionTitle", " "),
                           ("NSMainNibFile", "VersionCheck.nib")):
            with self.subTest(key=key):
                before = self.bundle.info.read_bytes()
                self.bundle.edit_info(**{key: value})
                status, lines = self.lint("--unsigned")
                self.assertEqual(status, 1)
                self.assertRegex(lines[0], rf'Info\.plist: info: {key} is "{value}"; ')
                self.bundle.info.write_bytes(before)

    def test_has_a_placeholder(self):
        for value in ("@NAME@", "${NAME}", "$(NAME)"):
            self.bundle.edit_info(CFBundleName=value)
            self.breaks(r"Info\.plist: info: CFBundleName is .*replaced nothing")

    def test_is_not_a_property_list(self):
        for content in (b"", b"<plist>", b"bplist00", plistlib.dumps([1])):
            self.bundle.info.write_bytes(content)
            self.finds(r"Info\.plist: info: it cannot be used", options=["--unsigned"])
        self.bundle.info.unlink()
        self.finds(r"Info\.plist: info: it cannot be used \(No such file",
                   r"sections: there is no section VersionCheck\.bundle", options=["--unsigned"])


class BrokenExecutable(LintTest):
    def test_is_missing(self):
        self.bundle.executable.unlink()
        self.finds(r"VersionCheck: executable: it cannot be read")

    def test_may_not_be_executed(self):
        self.bundle.executable.chmod(0o644)
        self.breaks(r"VersionCheck: executable: it is not executable")

    def test_is_not_for_a_mac(self):
        for content in (b"", b"#!/bin/sh\n", pathlib.Path("/bin/sh").read_bytes(),
                        bytes.fromhex("cafebabe00000037") + bytes(64)):
            self.bundle.executable.write_bytes(content)
            self.finds(r"VersionCheck: executable: it cannot be loaded")

    def test_has_a_list_of_classes_that_leads_nowhere(self):
        self.use(architectures=("arm64",))
        data = bytearray(self.bundle.executable.read_bytes())
        pane, = macho.slices(bytes(data))
        start = bytes(data).index(pane.data)
        struct.pack_into("<Q", data, start + pane.section("__objc_classlist").offset, 1 << 40)
        self.bundle.executable.write_bytes(data)
        self.finds(r"executable: its classes for arm64 cannot be read \(nothing is at the address",
                   options=["--arch", "arm64", "--unsigned"])

    def test_is_a_library_instead_of_a_bundle(self):
        self.use(link=("-dylib",))
        self.breaks(r"executable: for x86_64 it is not a loadable bundle",
                    r"executable: for arm64 it is not a loadable bundle")

    def test_lacks_an_architecture(self):
        self.use(architectures=("x86_64",))
        self.breaks(r"architecture: arm64 is missing \(there is x86_64\)")
        self.finds(r"architecture: arm64e is missing", options=["--arch", "arm64e"])

    def test_needs_a_library_of_this_computer(self):
        stub = pathlib.Path(self.folder.name) / "own.tbd"
        stub.write_text("--- !tapi-tbd\ntbd-version: 4\ntargets: [ x86_64-macos, arm64-macos ]\n"
                        "install-name: '/opt/local/lib/libz.dylib'\n...\n", encoding="utf-8")
        self.use(link=("-bundle", str(stub)))
        self.breaks(r"library: it needs /opt/local/lib/libz\.dylib")

    def test_has_a_class_without_the_prefix(self):
        self.use("SECOND_CLASS=Helper")
        self.breaks(r"prefix: the class Helper lacks the prefix RK_ or KX")
        self.clean("--prefix", "RK_,Help")

    def test_shares_a_class_with_another_bundle(self):
        self.bundle.sign()
        with tempfile.TemporaryDirectory() as other:
            second = PluginBundle(PROJECT, other, self.executables.get())
            second.sign()
            self.finds(rf"^{other}.*: class: the class RK_MessageViewPane is in {self.bundle.executable} also",
                       bundles=[self.bundle.path, second.path])

    def test_lacks_the_principal_class(self):
        for name in ("RK_Section", "RK_MessageViewPane"):
            self.bundle.edit_info(NSPrincipalClass=name)
            self.breaks(rf"Info\.plist: class: NSPrincipalClass {name} is neither InstallerSection",
                        rf"class: the file's owner is of the class InstallerSection, the section of {name}")

    def test_runs_code_when_it_is_loaded(self):
        for macro, what in (("LOAD", r"\+\[RK_MessageViewPane load\]"), ("CONSTRUCTOR", "__mod_init_func")):
            self.use(macro)
            self.breaks(rf"VersionCheck: load: code runs when the bundle is loaded: .*{what}")
        self.use("ACTION_IN_CATEGORY", "LOAD_IN_CATEGORY")
        self.breaks(r"load: code runs .*\+\[RK_MessageViewPane\(Actions\) load\]")


class BrokenInterface(LintTest):
    """Each mistake in the source form and in the compiled one."""

    def test_is_missing(self):
        self.bundle.nib.unlink()
        self.breaks(r"VersionCheck\.nib: interface: it is missing; compile the \.xib")
        self.bundle.xib.unlink()
        self.breaks(r"VersionCheck\.nib: interface: it is missing; add it")

    def test_is_in_one_language_only(self):
        self.bundle.nib.rename(self.bundle.resources / "de.lproj/VersionCheck.nib")
        self.breaks(r"VersionCheck\.nib: interface: it is in some languages only")

    def test_cannot_be_read(self):
        for content in (b"", b"NIBArchive\1", b"bplist00", plistlib.dumps({"$objects": [], "$top": {}}),
                        plistlib.dumps({"$objects": ["$null"], "$top": {"IB.objectdata": plistlib.UID(9)}},
                                       fmt=plistlib.FMT_BINARY)):
            self.bundle.nib.write_bytes(content)
            self.breaks(r"VersionCheck\.nib: interface: it (is not a keyed archive|has|refers)")
        self.bundle.nib.unlink()
        self.bundle.nib.mkdir()
        self.breaks(r"VersionCheck\.nib: interface: it cannot be read \(No such file")
        self.bundle.nib.rmdir()
        write_nib(self.bundle.nib)
        for content in ("<document>", "<plist/>", "<document/>"):
            self.bundle.xib.write_text(content, encoding="utf-8")
            self.breaks(r"VersionCheck\.xib: interface: it is not")

    def both(self, pattern, xib, objects=None, outlets=None, actions=None):
        """The mistake in the .xib, as (old, new), and the same in the .nib."""
        before = self.bundle.xib.read_bytes()
        self.bundle.edit(self.bundle.xib, *xib)
        self.breaks(rf"VersionCheck\.xib: {pattern}")
        self.bundle.xib.write_bytes(before)
        write_nib(self.bundle.nib, objects, outlets, actions)
        self.breaks(rf"VersionCheck\.nib: {pattern}")

    def test_names_a_class_that_is_not_there(self):
        self.both("(class: the class RK_MessagePane is not in the executable|outlet: RK_MessagePane has no|"
                  "action: RK_MessagePane has no|class: firstPane is connected to)",
                  ('customClass="RK_MessageViewPane"', 'customClass="RK_MessagePane"'),
                  objects={**OBJECTS, "pane": ("NSCustomObject", "RK_MessagePane")})

    def test_has_another_owner(self):
        self.both("(class: the file's owner is of the class NSObject|outlet: NSObject has no .*firstPane)",
                  (' customClass="InstallerSection"', ""),
                  objects={**OBJECTS, "owner": ("NSCustomObject", "NSObject")})

    def test_has_no_first_pane(self):
        self.both("outlet: the owner's outlet firstPane is not connected",
                  ('<outlet property="firstPane" destination="100" id="101"/>', ""), outlets=OUTLETS[1:])

    def test_has_a_first_pane_that_is_none(self):
        self.both("class: firstPane is connected to an object of the class NSView",
                  ('property="firstPane" destination="100"', 'property="firstPane" destination="200"'),
                  outlets=[("owner", "firstPane", "view")] + OUTLETS[1:])

    def test_has_a_pane_without_a_view(self):
        self.both("outlet: the outlet contentView of RK_MessageViewPane is not connected",
                  ('<outlet property="contentView" destination="200" id="102"/>', ""),
                  outlets=OUTLETS[:1] + OUTLETS[2:])

    def test_misspells_an_outlet(self):
        self.both("outlet: .*(no instance variable titelText and no method setTitelText:|titleText of "
                  "RK_MessageViewPane is not connected)",
                  ('property="titleText"', 'property="titelText"'),
                  outlets=OUTLETS[:2] + [("pane", "titelText", "title")] + OUTLETS[3:])

    def test_misspells_an_outlet_of_the_system(self):
        self.both("outlet: (InstallerSection has no instance variable firstPain|the owner's outlet firstPane)",
                  ('property="firstPane"', 'property="firstPain"'),
                  outlets=[("owner", "firstPain", "pane")] + OUTLETS[1:])

    def test_leaves_an_outlet_out(self):
        self.both("outlet: the instance variable uninstallBtn of RK_MessageViewPane is not connected",
                  ('<outlet property="uninstallBtn" destination="230" id="105"/>', ""), outlets=OUTLETS[:-1])

    def test_exchanges_an_outlet_for_another_kind(self):
        self.both("outlet: the outlet titleText of RK_MessageViewPane is a NSTextField but is connected to a "
                  "NSButton",
                  ('property="titleText" destination="210"', 'property="titleText" destination="230"'),
                  outlets=OUTLETS[:2] + [("pane", "titleText", "button")] + OUTLETS[3:])

    def test_misspells_an_action(self):
        self.both("action: RK_MessageViewPane has no method unistall:",
                  ('selector="uninstall:"', 'selector="unistall:"'),
                  actions=[("button", "unistall:", "pane")])

    def test_sends_an_action_to_the_wrong_object(self):
        self.both("action: InstallerSection has no method uninstall:",
                  ('selector="uninstall:" target="100"', 'selector="uninstall:" target="-2"'),
                  actions=[("button", "uninstall:", "owner")])

    def test_connects_to_nothing(self):
        self.bundle.edit(self.bundle.xib, 'property="titleText" destination="210"',
                         'property="titleText" destination="999"')
        self.bundle.edit(self.bundle.xib, 'target="100"', 'target="999"')
        self.breaks(r"xib: outlet: the outlet titleText of RK_MessageViewPane is connected to nothing",
                    r"xib: action: the action uninstall: has no target")


class CodeThatDoesNotFitTheInterface(LintTest):
    def test_has_another_class_name(self):
        self.use("PANE=RK_OtherPane")
        self.breaks(r"class: the class RK_MessageViewPane is not in the executable",
                    r"outlet: RK_MessageViewPane has no instance variable \w+ ",
                    r"action: RK_MessageViewPane has no method uninstall:", r"class: firstPane is connected to")

    def test_has_another_parent(self):
        self.use("PARENT=NSObject")
        self.breaks(r"class: firstPane is connected to", r"outlet: RK_MessageViewPane has no .* contentView")

    def test_has_another_outlet_name(self):
        self.use("TITLE_OUTLET=titelText")
        self.breaks(r"outlet: RK_MessageViewPane has no instance variable titleText",
                    r"outlet: the instance variable titelText of RK_MessageViewPane is not connected")

    def test_has_an_outlet_that_is_not_an_object(self):
        self.use("TITLE_TYPE=long")
        self.breaks(r"outlet: the instance variable titleText of RK_MessageViewPane is not an object")

    def test_has_an_outlet_of_any_type(self):
        self.use("TITLE_TYPE=id")
        self.bundle.sign()
        self.clean()

    def test_has_an_outlet_of_another_type(self):
        self.use("TITLE_TYPE=NSButton*")
        self.breaks(r"outlet: the outlet titleText of RK_MessageViewPane is a NSButton but")

    def test_lacks_the_action(self):
        self.use("ACTION=remove:(id)sender")
        self.breaks(r"action: RK_MessageViewPane has no method uninstall:")

    def test_has_an_action_that_takes_a_number(self):
        self.use("SCALAR_ACTION", "ACTION=uninstall:(int)sender")
        self.breaks(r"action: the method uninstall: of RK_MessageViewPane is not an action \(type code v20@0:8i16\)")


class BrokenSections(LintTest):
    def order(self, *names):
        edit_plist(self.bundle.sections, {"SectionOrder": list(names)})
        self.bundle.sign()

    def test_file_is_missing_or_none(self):
        for content in (b"", plistlib.dumps([]), plistlib.dumps({}), plistlib.dumps({"SectionOrder": [1]})):
            self.bundle.sections.write_bytes(content)
            self.breaks(r"InstallerSections\.plist: sections: it cannot be used")
        self.bundle.sections.unlink()
        self.breaks(r"InstallerSections\.plist: sections: it cannot be used")

    def test_bundle_is_not_in_the_list(self):
        self.order("Introduction", "Install")
        self.finds(r"sections: VersionCheck\.bundle is not in the list")

    def test_bundle_has_another_file_name(self):
        self.order("Introduction", "VersionCheck", "Install")
        self.finds(r"sections: there is no section VersionCheck;", r"VersionCheck\.bundle is not in the list")

    def test_bundle_of_the_list_does_not_exist(self):
        self.order("Other.bundle", "VersionCheck.bundle", "Install")
        self.finds(r"sections: there is no section Other\.bundle; put the bundle beside")

    def test_built_in_name_is_misspelt(self):
        self.order("Introduction", "Readme", "VersionCheck.bundle", "Install")
        self.finds(r"sections: there is no section Readme; a built-in section is one of Introduction, ReadMe")

    def test_name_is_there_twice(self):
        self.order("VersionCheck.bundle", "Install", "VersionCheck.bundle")
        self.finds(r"sections: VersionCheck\.bundle is in the list more than once")

    def test_built_in_order_is_changed(self):
        self.order("Introduction", "License", "ReadMe", "VersionCheck.bundle", "Install")
        self.finds(r"sections: the built-in sections have the order Introduction, License, ReadMe, Install")

    def test_nothing_is_installed(self):
        self.order("Introduction", "VersionCheck.bundle")
        self.finds(r"sections: Install is not in the list")


class BrokenStrings(LintTest):
    def test_file_of_a_language_is_missing(self):
        self.bundle.strings("de").unlink()
        self.breaks(r"de\.lproj/InfoPlist\.strings: strings: it is missing")

    def test_key_of_a_language_is_missing(self):
        self.bundle.strings("de").write_text("", encoding="utf-8")
        self.breaks(r'de\.lproj/InfoPlist\.strings: strings: "InstallerSectionTitle" is missing')

    def test_key_is_missing_in_all_languages(self):
        for language in ("de", "en"):
            self.bundle.strings(language).write_text('"CFBundleName" = "V";', encoding="utf-8")
        self.breaks(r'InfoPlist\.strings: strings: "InstallerSectionTitle" is missing')

    def test_key_has_no_effect(self):
        for language in ("de", "en"):
            with self.bundle.strings(language).open("a", encoding="utf-8") as file:
                file.write('"InstallerSectionTitel" = "V";')
        self.breaks(r'InfoPlist\.strings: strings: "InstallerSectionTitel" is not a key of Info\.plist')

    def test_value_is_empty(self):
        self.bundle.strings("de").write_text('"InstallerSectionTitle" = "";', encoding="utf-8")
        self.breaks(r'de\.lproj/InfoPlist\.strings: strings: "InstallerSectionTitle" is empty')

    def test_file_cannot_be_read(self):
        for content in ('"InstallerSectionTitle" = "V"', '"A" "B";', 'A = "B";\nInstallerSectionTitle',
                        '"InstallerSectionTitle" = "V;', '"A" = "B"; "A" = "C";'):
            self.bundle.strings("de").write_text(content, encoding="utf-8")
            self.breaks(r"de\.lproj/InfoPlist\.strings: strings: it line \d|de\.lproj.*: strings: it ")
        for content in ("Prüfung".encode("latin-1"), codecs.BOM_UTF16_LE + b"\0", b"bplist00"):
            self.bundle.strings("de").write_bytes(content)
            self.breaks(r"de\.lproj/InfoPlist\.strings: strings: it (is neither|is not)")

    def test_other_texts_differ_between_languages(self):
        self.bundle.strings("en", "Localizable").write_text('"a" = "%@ of %d"; "b" = "B";', encoding="utf-8")
        self.breaks(r"de\.lproj/Localizable\.strings: strings: it is missing")
        self.bundle.strings("de", "Localizable").write_text('"a" = "%d von %@"; "b" = "B";', encoding="utf-8")
        self.breaks(r'Localizable\.strings: strings: "a" has other format specifiers')
        self.bundle.strings("de", "Localizable").write_text('"a" = "%2$d von %1$@"; "b" = "B";', encoding="utf-8")
        self.bundle.sign()
        self.clean()

    def test_development_language_is_missing(self):
        shutil.rmtree(self.bundle.strings("en").parent)
        self.breaks(r"Resources: strings: there is de\.lproj but no en\.lproj")


class BrokenSignature(LintTest):
    def unsigned_slice(self):
        """The executable without the load command of the signature."""
        data = bytearray(self.executables.get(architectures=("arm64",)).read_bytes())
        start, = struct.unpack_from(">I", data, 16) if data[:4] == b"\xca\xfe\xba\xbe" else (0,)
        data = data[start:]
        at = 32
        for _ in range(struct.unpack_from("<I", data, 16)[0]):
            command, size = struct.unpack_from("<II", data, at)
            if command == 0x1D:
                struct.pack_into("<I", data, at, 0x1B)
            at += size
        self.bundle.executable.write_bytes(data)

    def test_is_missing(self):
        self.unsigned_slice()
        self.finds(r"VersionCheck: signature: the code for arm64 is not signed",
                   r"CodeResources: signature: it is missing or not a seal", options=["--arch", "arm64"])

    def test_is_of_the_linker(self):
        self.finds(r"signature: the code for x86_64 is signed by the linker alone",
                   r"signature: the code for arm64 is signed by the linker alone",
                   r"CodeResources: signature: it is missing or not a seal")

    def test_is_older_than_the_code(self):
        self.bundle.sign()
        data = bytearray(self.bundle.executable.read_bytes())
        at = data.index(b"Version Check\0")
        data[at] ^= 1
        self.bundle.executable.write_bytes(data)
        self.finds(r"VersionCheck: signature: the code for x86_64 was changed after it was signed")

    def test_is_older_than_the_information(self):
        self.bundle.sign()
        self.bundle.edit_info(CFBundleVersion="7")
        self.finds(r"Info\.plist: signature: it was changed after the bundle was signed")

    def test_is_older_than_a_resource(self):
        for language in LANGUAGES:
            self.bundle.sign()
            with self.bundle.strings(language).open("a", encoding="utf-8") as file:
                file.write("\n")
            self.finds(rf"{language}\.lproj/InfoPlist\.strings: signature: it was changed after")

    def test_lacks_a_file_that_is_there(self):
        self.bundle.sign()
        (self.bundle.resources / "late.txt").write_text("late", encoding="utf-8")
        self.finds(r"late\.txt: signature: it was added after the bundle was signed")

    def test_has_a_file_that_is_not_there(self):
        (self.bundle.resources / "gone.txt").write_text("gone", encoding="utf-8")
        self.bundle.sign()
        (self.bundle.resources / "gone.txt").unlink()
        self.finds(r"gone\.txt: signature: it was removed after the bundle was signed")

    def test_has_a_link_in_place_of_a_file(self):
        self.bundle.sign()
        path = self.bundle.strings("de")
        path.rename(pathlib.Path(self.folder.name) / "elsewhere")
        path.symlink_to(pathlib.Path(self.folder.name) / "elsewhere")
        self.finds(r"InfoPlist\.strings: signature: it was changed after")

    def test_seal_was_written_anew(self):
        self.bundle.sign()
        seal = self.bundle.contents / "_CodeSignature/CodeResources"
        seal.write_bytes(seal.read_bytes() + b"\n")
        self.finds(r"CodeResources: signature: it was changed after the bundle was signed")

    def test_seal_is_missing(self):
        self.bundle.sign()
        shutil.rmtree(self.bundle.contents / "_CodeSignature")
        self.finds(r"CodeResources: signature: it is not sealed", r"CodeResources: signature: it is missing or")

    def test_has_another_identifier(self):
        self.bundle.sign()
        other = self.bundle.info.read_bytes()
        self.bundle.edit_info(CFBundleIdentifier="com.quillmoor.other")
        self.finds(r'signature: it is signed as "com\.quillmoor\.tallyframe\.versioncheck", not as',
                   r"Info\.plist: signature: it was changed after")
        self.bundle.info.write_bytes(other)
        self.clean()

    def test_has_no_certificate(self):
        self.bundle.sign()
        self.clean()
        self.finds(r"signature: the code for x86_64 is signed without a certificate",
                   r"signature: the code for arm64 is signed without", options=["--release"])

    def test_is_not_one(self):
        self.bundle.sign()
        data = self.bundle.executable.read_bytes()
        self.bundle.executable.write_bytes(data.replace(bytes.fromhex("fade0cc0"), bytes(4)))
        self.finds(r"signature: the signature for x86_64 cannot be read", r"signature: the signature for arm64")
        self.bundle.executable.write_bytes(data.replace(bytes.fromhex("fade0c02"), bytes(4)))
        self.finds(r"signature: the signature for x86_64 cannot be read", r"signature: the signature for arm64")


class Command(LintTest):
    def run_with(self, *arguments):
        run = subprocess.run([PROJECT / "scripts/macos/lint-bundle", *arguments], capture_output=True, text=True,
                             check=False)
        return run.returncode, run.stdout, run.stderr

    def test_refuses_wrong_use(self):
        for arguments in ([], ["--nonesuch", self.bundle.path], [self.bundle.path / "nonesuch"],
                          [self.bundle.info], ["--arch", "", self.bundle.path],
                          ["--unsigned", "--release", self.bundle.path]):
            status, output, errors = self.run_with(*arguments)
            self.assertEqual((status, output), (2, ""), arguments)
            self.assertNotEqual(errors, "")

    def test_explains_itself(self):
        status, output, errors = self.run_with("--help")
        self.assertEqual((status, errors), (0, ""))
        self.assertIn("lint-bundle [OPTION…] BUNDLE…", output)

    def test_accepts_the_working_folder(self):
        self.bundle.sign()
        run = subprocess.run([PROJECT / "scripts/macos/lint-bundle", "."], cwd=self.bundle.path,
                             capture_output=True, text=True, check=False)
        self.assertEqual((run.returncode, run.stdout), (0, ""))

    def test_keeps_a_finding_in_one_line(self):
        self.bundle.sign()
        (self.bundle.resources / "two\nlines").write_text("", encoding="utf-8")
        (pathlib.Path(self.bundle.resources) / "\udcff").write_text("", encoding="utf-8")
        self.finds(r"two\\nlines: signature: it was added", r"udcff: signature: it was added")

    def test_an_empty_bundle_is_no_reason_to_fail(self):
        with tempfile.TemporaryDirectory() as folder:
            status, lines = self.lint(bundles=[folder])
            self.assertEqual(status, 1)
            self.assertIn("info", lines[0])


def main():
    global PROJECT, TOOLS
    PROJECT = pathlib.Path(sys.argv[1]).resolve()
    TOOLS = sys.argv[2:5]
    return run_or_skip(TOOLS, arguments=sys.argv[5:])


if __name__ == "__main__":
    sys.exit(main())
