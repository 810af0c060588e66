"""The library of the framework, as it is linked for a Mac: every selector of its table, and nothing that runs when
it is loaded."""

import re

from apple_tools import SYSTEMS, read_symbols
from bundle_lint import macho, objc
from compiled_case import Case
from compiled_code import INSTALL_NAME, back_end_sources

MH_DYLIB, LC_ID_DYLIB = 6, 0xD
SELECTOR = re.compile(r"^([+-]) (\w+) (\S+) (.+)$", re.MULTILINE)
PARENTS = {"KXLibraryData": "NSData", "KXLibraryFileHandle": "NSFileHandle", "KXLibraryPipe": "NSPipe",
           "KXLibraryTask": "NSTask",
           "KXLibraryWriteQueue": "NSOperationQueue", "KXFileOperation": "NSObject"}

# The codes of the types in the table; any other type there is one of objects. BOOL is another on each processor.
CODES = {
    "void": "v", "int": "i", "unsigned": "I", "NSInteger": "q", "NSUInteger": "Q", "uint64": "Q", "double": "d",
    "NSStringEncoding": "Q", "NSSearchPathDirectory": "Q", "NSSearchPathDomainMask": "Q", "OSStatus": "i",
    "cstring": "*", "SEL": ":", "zone": "^{_NSZone=}", "id*": "^@", "FSRef": "{FSRef=[80C]}",
    "FSRef*": "^{FSRef=[80C]}", "FSFileOperationRef": "^{__FSFileOperation=}",
    "AuthorizationRef": "^{AuthorizationOpaqueRef=}",
}
BOOL_CODES = {"x86_64": "c", "arm64": "B"}
# One type of a method's code, without its qualifiers, and the place of that argument.
CODE = re.compile(r"[rnNoORV]*(\^?\{[^}]*\}|\^?[@:*vcBiIqQdC])\d+")


def code_of(kind, architecture):
    return BOOL_CODES[architecture] if kind == "BOOL" else CODES.get(kind, "@")


def install_name(slice_):
    offset = 32
    for _ in range(slice_.unpack("<I", 16)[0]):
        command, size = slice_.unpack("<II", offset)
        if command == LC_ID_DYLIB:
            return slice_.text_at(offset + slice_.unpack("<I", offset + 8)[0], offset + size)
        offset += size
    return None


class Library(Case):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.slices = macho.slices(cls.code.framework_binary().read_bytes())
        cls.selectors = SELECTOR.findall((cls.code.project / "objc/selectors.txt").read_text(encoding="utf-8"))

    def test_is_the_frameworks(self):
        self.assertEqual([s.architecture for s in self.slices], list(SYSTEMS))
        for slice_ in self.slices:
            self.assertEqual((slice_.kind, install_name(slice_)), (MH_DYLIB, INSTALL_NAME))

    def test_has_every_selector(self):
        """With the types of the table; methods of categories are those of their class."""
        for slice_ in self.slices:
            classes = objc.Metadata(slice_).classes
            for sign, owner, selector, kinds in self.selectors:
                with self.subTest(architecture=slice_.architecture, method=f"{sign}[{owner} {selector}]"):
                    methods = classes[owner].class_methods if sign == "+" else classes[owner].methods
                    result, *arguments = [code_of(kind, slice_.architecture) for kind in kinds.split()]
                    self.assertEqual(CODE.findall(methods.get(selector, "")), [result, "@", ":", *arguments])

    def test_has_its_classes(self):
        parents = {**PARENTS, **{owner: "NSObject" for _, owner, _, _ in self.selectors}}
        for slice_ in self.slices:
            metadata = objc.Metadata(slice_)
            self.assertEqual({name: c.parent for name, c in metadata.classes.items()}, parents)
            self.assertEqual(metadata.foreign_categories, {})

    def test_does_nothing_when_it_is_loaded(self):
        for slice_ in self.slices:
            self.assertEqual(objc.Metadata(slice_).loads, [])
            for section in ("__mod_init_func", "__init_offsets", "__objc_nlclslist", "__objc_nlcatlist"):
                self.assertIsNone(slice_.section(section), section)

    def test_defines_what_the_headers_declare_beside_the_classes(self):
        declared = {"_KXAsyncTaskDataNotification", "_SendFinderSyncEvent", "_uncaughtExceptionHandler"}
        for slice_ in self.slices:
            self.assertEqual(declared - slice_.defined, set())

    def test_needs_listed_symbols_only(self):
        for slice_ in self.slices:
            self.assertEqual(slice_.undefined - read_symbols().keys(), set())

    def test_does_not_link_without_a_source_of_the_back_end(self):
        """Nothing is looked up when it is loaded: each service and hook must be there."""
        for source in back_end_sources(self.code.project):
            with self.subTest(source=source.name), self.assertRaisesRegex(RuntimeError, "undefined symbol"):
                self.code.link_library_without(source)
