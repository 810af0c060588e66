#!/usr/bin/env python3
"""Checks what lint-bundle reads in a Mach-O file: classes, outlets, action, type codes and undefined
symbols; in each form in which linkers write them, and in files that are not what they should be.

  class_metadata_test.py SOURCES CLANG++ LD64.LLD LLVM-LIPO    ends with 77 if one of the tools is missing"""

import base64
import lzma
import pathlib
import random
import re
import struct
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/macos"))

# pylint: disable=wrong-import-position
from apple_tools import HERE, AppleTools, read_symbols, run_or_skip
from bundle_lint import macho, objc

TOOLS = []
SAMPLE = HERE / "apple/sample_pane.mm"
IVARS = {"titleText": '@"NSTextField"', "descriptionText": '@"NSTextField"', "uninstallBtn": '@"NSButton"'}
METHODS = {"title": "@16@0:8", "didEnterPane:": "v20@0:8i16", "uninstall:": "v24@0:8@16"}
SHOULD_EXIT = {"x86_64": "c20@0:8i16", "arm64": "B20@0:8i16"}  # BOOL is another type on each
LC_DYLD_CHAINED_FIXUPS = 0x80000034


def read(data):
    return [(s, objc.Metadata(s)) for s in macho.slices(data)]


def chained_pane():
    """sample_pane.mm for arm64 with ACTION_IN_CATEGORY, LOAD_IN_CATEGORY and SECOND_CLASS=KXSecond, linked
    by lld 16 with -fixup_chains, which lld 14 does not have."""
    return lzma.decompress(base64.b64decode((HERE / "apple/chained_pane.base64").read_text("ascii")))


def command_offset(data, wanted):
    at = 32
    for _ in range(struct.unpack_from("<I", data, 16)[0]):
        command, size = struct.unpack_from("<II", data, at)
        if command == wanted:
            return at
        at += size
    raise ValueError("no such load command")


class MetadataTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.tools = AppleTools(*TOOLS, self.folder)

    def is_pane(self, metadata, architecture):
        pane = metadata.classes["RK_MessageViewPane"]
        self.assertEqual(pane.parent, "InstallerPane")
        self.assertEqual(pane.ivars, IVARS)
        self.assertEqual(pane.methods, {**METHODS, "shouldExitPane:": SHOULD_EXIT[architecture]})

    def test_reads_a_universal_bundle(self):
        file = self.tools.bundle_of(SAMPLE, "pane", ("SECOND_CLASS=KXSecond",))
        found = read(file.read_bytes())
        self.assertEqual([s.architecture for s, _ in found], ["x86_64", "arm64"])
        self.assertEqual([s.minimum_system for s, _ in found], [(10, 15), (11, 0)])
        for slice_, metadata in found:
            self.assertEqual(slice_.kind, macho.MH_BUNDLE)
            self.is_pane(metadata, slice_.architecture)
            self.assertEqual(metadata.classes["KXSecond"].parent, "NSObject")
            self.assertEqual(metadata.classes["KXSecond"].methods, {})
            self.assertEqual(metadata.loads, [])
            self.assertEqual(slice_.undefined - read_symbols().keys(), set())
            self.assertIn("_OBJC_CLASS_$_InstallerPane", slice_.undefined)
            self.assertIn("/System/Library/Frameworks/InstallerPlugins.framework/Versions/A/InstallerPlugins",
                          slice_.libraries)

    def test_reads_categories_and_load_methods(self):
        file = self.tools.bundle_of(SAMPLE, "pane", ("ACTION_IN_CATEGORY", "LOAD_IN_CATEGORY", "LOAD"))
        for slice_, metadata in read(file.read_bytes()):
            self.is_pane(metadata, slice_.architecture)
            self.assertEqual(metadata.loads, ["RK_MessageViewPane", "RK_MessageViewPane(Actions)"])

    def test_reads_categories_on_classes_of_the_system(self):
        source = self.folder / "category.mm"
        source.write_text("#import <InstallerPlugins/InstallerPlugins.h>\n@interface InstallerPane (Kx)\n@end\n"
                          "@implementation InstallerPane (Kx)\n- (void)kxStart {\n}\n+ (void)load {\n}\n@end\n",
                          encoding="utf-8")
        for _, metadata in read(self.tools.bundle_of(source, "category").read_bytes()):
            self.assertEqual(metadata.foreign_categories, {"InstallerPane": {"kxStart": "v16@0:8"}})
            self.assertEqual(metadata.loads, ["InstallerPane(Kx)"])

    def test_reads_a_class_below_another_of_the_file(self):
        source = self.folder / "two.mm"
        source.write_text("#import <InstallerPlugins/InstallerPlugins.h>\n@interface KXBase : NSObject\n@end\n"
                          "@implementation KXBase\n@end\n@interface KXDerived : KXBase\n@end\n"
                          "@implementation KXDerived\n@end\n", encoding="utf-8")
        for _, metadata in read(self.tools.bundle_of(source, "two").read_bytes()):
            self.assertEqual({c.name: c.parent for c in metadata.classes.values()},
                             {"KXBase": "NSObject", "KXDerived": "KXBase"})

    def test_reads_relative_method_lists(self):
        """As Apple's linker writes them since macOS 11: made from the lists that clang writes."""
        assembly = self.folder / "pane.s"
        self.tools.compile(SAMPLE, "arm64", assembly, "-S")
        text, selectors = assembly.read_text("utf-8"), []

        def relative(match):
            entries = re.findall(r"\.quad\s+(l_OBJC_METH_VAR_NAME_\S*)\n\s*\.quad\s+(\S+)\n\s*\.quad\s+(.+)\n",
                                 match.group(3))
            lines = f"{match.group(1)}\t.long 0x8000000c\n\t.long {len(entries)}\n"
            for name, kind, code in entries:
                selectors.append(name)
                lines += f"\t.long kx_selector_{len(selectors)} - .\n\t.long {kind} - .\n\t.long {code} - .\n"
            return lines

        text, count = re.subn(r"(__OBJC_\$_INSTANCE_METHODS_\w+:\n)\s*\.long\s+24.*\n\s*\.long\s+(\d+).*\n"
                              r"((?:\s*\.quad.*\n)+)", relative, text)
        self.assertEqual((count, len(selectors)), (1, 4))
        text += "\t.section __DATA,__objc_selrefs,literal_pointers,no_dead_strip\n\t.p2align 3\n"
        text += "".join(f"kx_selector_{i}:\n\t.quad {name}\n" for i, name in enumerate(selectors, 1))
        assembly.write_text(text, encoding="utf-8")
        self.tools.compile(assembly, "arm64", self.folder / "pane.o", "-Wno-unused-command-line-argument")
        self.tools.link([self.folder / "pane.o"], "arm64", self.folder / "pane")
        (_, metadata), = read((self.folder / "pane").read_bytes())
        self.is_pane(metadata, "arm64")

    def test_finds_each_undefined_symbol(self):
        source = self.folder / "symbols.cpp"
        source.write_text("extern int missing; extern \"C\" int call(); int own = 1; static int local = 2;\n"
                          "int sum() { return missing + call() + own + local; }", encoding="utf-8")
        for architecture in ("x86_64", "arm64"):
            self.tools.compile(source, architecture, self.folder / "symbols.o")
            slice_, = macho.slices((self.folder / "symbols.o").read_bytes())
            self.assertEqual(slice_.kind, macho.MH_OBJECT)
            self.assertEqual(slice_.undefined, {"_missing", "_call"})
            self.assertEqual(slice_.defined, {"_own", "__Z3sumv"})


class ChainedPointers(unittest.TestCase):
    def is_pane(self, data):
        (slice_, metadata), = read(data)
        pane = metadata.classes["RK_MessageViewPane"]
        self.assertEqual(pane.parent, "InstallerPane")
        self.assertEqual(pane.ivars, IVARS)
        self.assertEqual(pane.methods, {**METHODS, "shouldExitPane:": SHOULD_EXIT["arm64"]})
        self.assertEqual(metadata.classes["KXSecond"].parent, "NSObject")
        self.assertEqual(metadata.loads, ["RK_MessageViewPane(Actions)"])
        self.assertEqual(slice_.undefined - read_symbols().keys(), set())

    def test_are_followed(self):
        self.is_pane(chained_pane())

    def test_are_followed_when_they_hold_offsets(self):
        """The two forms of a pointer differ by the address of the file, which is 0 here."""
        data = bytearray(chained_pane())
        base, = struct.unpack_from("<I", data, command_offset(data, LC_DYLD_CHAINED_FIXUPS) + 8)
        starts = base + struct.unpack_from("<I", data, base + 4)[0]
        changed = 0
        for offset in struct.unpack_from(f"<{struct.unpack_from('<I', data, starts)[0]}I", data, starts + 4):
            if offset:
                self.assertEqual(struct.unpack_from("<H", data, starts + offset + 6), (2,))
                struct.pack_into("<H", data, starts + offset + 6, 6)
                changed += 1
        self.assertGreater(changed, 0)
        self.is_pane(bytes(data))

    def test_are_followed_with_each_form_of_imports(self):
        data = chained_pane()
        command = command_offset(data, LC_DYLD_CHAINED_FIXUPS)
        base, size = struct.unpack_from("<II", data, command + 8)
        version, starts, imports, names, count, _, packed = struct.unpack_from("<IIIIIII", data, base)
        entries = struct.unpack_from(f"<{count}I", data, base + imports)
        for form, step in ((2, 8), (3, 16)):
            blob = bytearray(data[base:base + size])
            blob += bytes(-len(blob) % 16)
            where = len(blob)
            for entry in entries:
                if form == 2:
                    blob += struct.pack("<Ii", entry, 0)
                else:
                    blob += struct.pack("<QQ", (entry >> 9) << 32 | entry & 0xFF, 0)
            self.assertEqual(len(blob), where + step * count)
            struct.pack_into("<IIIIIII", blob, 0, version, starts, where, names, count, form, packed)
            changed = bytearray(data) + blob
            struct.pack_into("<II", changed, command + 8, len(data), len(blob))
            self.is_pane(bytes(changed))

    def test_of_an_unknown_form_are_refused(self):
        data = bytearray(chained_pane())
        base, = struct.unpack_from("<I", data, command_offset(data, LC_DYLD_CHAINED_FIXUPS) + 8)
        struct.pack_into("<I", data, base + 20, 9)
        with self.assertRaisesRegex(macho.MachOError, "unknown form 9"):
            read(bytes(data))


class DamagedFiles(MetadataTest):
    """Whatever is in a file, it is read or refused."""

    def survive(self, data):
        try:
            read(data)
            return 1
        except macho.MachOError:
            return 0

    def test_are_refused_or_read(self):
        numbers = random.Random(1)
        whole = [self.tools.bundle_of(SAMPLE, "pane").read_bytes(), chained_pane()]
        readable, tries = 0, 0
        for data in whole:
            for length in [*range(0, 4096, 97), *range(4096, len(data), 1999)]:
                self.survive(data[:length])
            for _ in range(300):
                changed = bytearray(data)
                for _ in range(numbers.randrange(1, 8)):
                    at = numbers.choice([numbers.randrange(4096), numbers.randrange(len(data))])
                    changed[at] = numbers.choice([0, 0x7F, 0xFF, numbers.randrange(256)])
                readable += self.survive(bytes(changed))
                tries += 1
        # Both outcomes occur, or the damage proves nothing.
        self.assertGreater(readable, 0)
        self.assertLess(readable, tries)


def main():
    global TOOLS
    TOOLS = sys.argv[2:5]
    return run_or_skip(TOOLS, arguments=sys.argv[5:])


if __name__ == "__main__":
    sys.exit(main())
