#!/usr/bin/env python3
"""Checks that what the systems share compiles for macOS, against declarations of what macOS has, and takes
from the system only what apple/symbols.txt lists. The headers of Linux would hide what only Linux has.

  shared_code_test.py SOURCES CLANG++ LD64.LLD LLVM-LIPO INCLUDES [CCACHE]

INCLUDES has the headers of the project and utf8proc.h. Ends with 77 if something is missing."""

import pathlib
import re
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/macos"))

# pylint: disable=wrong-import-position
from apple_tools import HERE, AppleTools, cxx_headers, read_symbols, run_or_skip
from bundle_lint import macho
from shared_objects import Objects, shared_sources

PROJECT = INCLUDES = pathlib.Path()
TOOLS, LAUNCHER = [], []
SINCE = re.compile(r"since macOS (\d+)\.(\d+)$")
# The system that the code needs as it is. docs/macos.md names it, and what needs it; the package asks for it.
NEEDED_SYSTEM = (13, 3)


class SharedCode(unittest.TestCase):
    """The sources are compiled once for all tests."""

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.scratch.name)
        cls.tools = AppleTools(*TOOLS, cls.folder, LAUNCHER)
        cls.sources = shared_sources(PROJECT)
        cls.objects = Objects(cls.tools, cls.sources, cls.folder, PROJECT, INCLUDES)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    def test_compiles(self):
        self.assertEqual("\n".join(self.objects.mistakes), "")
        self.assertGreater(len(self.sources), 80)

    def test_needs_listed_symbols_only(self):
        listed = read_symbols()
        unlisted = {symbol: sources for symbol, sources in self.objects.undefined().items() if symbol not in listed}
        self.assertEqual(unlisted, {}, "add them to apple/symbols.txt with the header or page of the manual that "
                                       "documents them, or do without them")

    def test_lists_needed_symbols_only(self):
        """But for those of C++: which of them are needed depends on what the compiler inlines."""
        needed = set(self.objects.undefined())
        sample = self.tools.bundle_of(HERE / "apple/sample_pane.mm", "sample", ("SECOND_CLASS=KXSecond",))
        for slice_ in macho.slices(sample.read_bytes()):
            needed |= slice_.undefined
        listed = {symbol for symbol in read_symbols() if not symbol.startswith("__Z")}
        self.assertEqual(sorted(listed - needed), [])

    def test_needs_the_system_that_is_documented(self):
        newest = (0, 0)
        for symbol in self.objects.undefined():
            since = SINCE.search(read_symbols()[symbol][1])
            newest = max(newest, tuple(map(int, since.groups()))) if since else newest
        self.assertEqual(newest, NEEDED_SYSTEM)
        documented = (PROJECT / "docs/macos.md").read_text(encoding="utf-8")
        number = ".".join(map(str, NEEDED_SYSTEM))
        self.assertIn(f"macOS {number}", documented)
        for file, text in (("scripts/macos/distribution.xml", f'<os-version min="{number}"/>'),
                           ("resources/Info.plist.in", f"Version</key>\n\t<string>{number}</string>")):
            self.assertIn(text, (PROJECT / file).read_text(encoding="utf-8"))

    def test_does_nothing_when_it_is_loaded(self):
        sources = {str(source.relative_to(PROJECT)) for (source, _), slice_ in self.objects.slices.items()
                   if slice_.section("__mod_init_func") or slice_.section("__init_offsets")}
        self.assertEqual(sources, set())

    def test_notices_what_only_linux_has(self):
        """A call, a constant and a member that macOS lacks; and a call that is declared by hand."""
        for code in ("#include <unistd.h>\nint f(int* ends) { return pipe2(ends, 0); }",
                     "#include <fcntl.h>\nint f() { return open(\".\", O_TMPFILE | O_RDWR, 0600); }",
                     "#include <sys/stat.h>\nlong f(struct stat& s) { return s.st_mtim.tv_sec; }",
                     "#include <sys/prctl.h>\n"):
            source = self.folder / "linux_only.cpp"
            source.write_text(code, encoding="utf-8")
            with self.assertRaisesRegex(RuntimeError, "linux_only.cpp:[0-9:]+ (fatal )?error: "):
                self.tools.compile_cxx(source, "arm64", self.folder / "linux_only.o", INCLUDES)
        source.write_text("extern \"C\" int pipe2(int*, int); int f(int* ends) { return pipe2(ends, 0); }",
                          encoding="utf-8")
        self.tools.compile_cxx(source, "arm64", self.folder / "linux_only.o", INCLUDES)
        slice_, = macho.slices((self.folder / "linux_only.o").read_bytes())
        self.assertEqual(slice_.undefined - read_symbols().keys(), {"_pipe2"})


def main():
    global PROJECT, INCLUDES, TOOLS, LAUNCHER
    PROJECT, TOOLS = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:5]
    INCLUDES, LAUNCHER = pathlib.Path(sys.argv[5]), sys.argv[6:]
    return run_or_skip(TOOLS, lambda: (cxx_headers(TOOLS[0]) / "string", INCLUDES / "utf8proc.h"))


if __name__ == "__main__":
    sys.exit(main())
