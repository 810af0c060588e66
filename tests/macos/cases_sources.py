"""What the sources take from macOS, and that they compile for it. The headers of Linux would hide what only Linux
has."""

import re

from apple_tools import HERE, read_symbols
from bundle_lint import macho
from compiled_case import Case

SINCE = re.compile(r"since macOS (\d+)\.(\d+)(?:\.\d+)?$")
# The system that the code needs as it is. docs/macos.md names it, and what needs it; the package asks for it.
NEEDED_SYSTEM = (13, 3)


class Sources(Case):
    def test_compile(self):
        self.assertEqual("\n".join(self.code.objects.mistakes), "")

    def test_need_listed_symbols_only(self):
        listed = read_symbols()
        undefined = self.code.objects.undefined()
        unlisted = {symbol: sources for symbol, sources in undefined.items() if symbol not in listed}
        self.assertEqual(unlisted, {}, "add them to apple/symbols.txt with the header or page of the manual that "
                                       "documents them, or do without them")

    def test_need_each_listed_symbol(self):
        """But for those of C++: which of them are needed depends on what the compiler inlines."""
        needed = set(self.code.objects.undefined())
        sample = self.code.tools.bundle_of(HERE / "apple/sample_pane.mm", "sample", ("SECOND_CLASS=KXSecond",))
        for file in (sample, self.code.bundle(), self.code.framework_binary()):
            for slice_ in macho.slices(file.read_bytes()):
                needed |= slice_.undefined
        listed = {symbol for symbol in read_symbols() if not symbol.startswith("__Z")}
        self.assertEqual(sorted(listed - needed), [])

    def test_need_the_system_that_is_documented(self):
        newest = (0, 0)
        for symbol in self.code.objects.undefined():
            since = SINCE.search(read_symbols()[symbol][1])
            newest = max(newest, tuple(map(int, since.groups()))) if since else newest
        self.assertEqual(newest, NEEDED_SYSTEM)
        documented = (self.code.project / "docs/macos.md").read_text(encoding="utf-8")
        number = ".".join(map(str, NEEDED_SYSTEM))
        self.assertIn(f"macOS {number}", documented)
        for file, text in (("scripts/macos/distribution.xml", f'<os-version min="{number}"/>'),
                           ("resources/Info.plist.in", f"Version</key>\n\t<string>{number}</string>")):
            self.assertIn(text, (self.code.project / file).read_text(encoding="utf-8"))

    def test_do_nothing_when_they_are_loaded(self):
        sources = {str(source.relative_to(self.code.project))
                   for (source, _), slice_ in self.code.objects.slices.items()
                   if slice_.section("__mod_init_func") or slice_.section("__init_offsets")}
        self.assertEqual(sources, set())

    def test_cannot_use_what_only_linux_has(self):
        """A call, a constant and a member that macOS lacks; and a call that is declared by hand."""
        source, output = self.code.folder / "linux_only.cpp", self.code.folder / "linux_only.o"
        for text in ("#include <unistd.h>\nint f(int* ends) { return pipe2(ends, 0); }",
                     "#include <fcntl.h>\nint f() { return open(\".\", O_TMPFILE | O_RDWR, 0600); }",
                     "#include <sys/stat.h>\nlong f(struct stat& s) { return s.st_mtim.tv_sec; }",
                     "#include <sys/prctl.h>\n"):
            source.write_text(text, encoding="utf-8")
            with self.assertRaisesRegex(RuntimeError, "linux_only.cpp:[0-9:]+ (fatal )?error: "):
                self.code.tools.compile_cxx(source, "arm64", output, self.code.includes)
        source.write_text("extern \"C\" int pipe2(int*, int); int f(int* ends) { return pipe2(ends, 0); }",
                          encoding="utf-8")
        self.code.tools.compile_cxx(source, "arm64", output, self.code.includes)
        slice_, = macho.slices(output.read_bytes())
        self.assertEqual(slice_.undefined - read_symbols().keys(), {"_pipe2"})
