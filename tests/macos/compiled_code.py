"""Compiles the project's code for both architectures of a Mac, and links the pane's bundle and the library."""

import concurrent.futures
import os

from apple_tools import SYSTEMS, AppleTools, read_symbols
from bundle_lint import macho

LAYERS = ("base", "platform", "paths", "log", "task", "auth", "files", "pane")
INSTALL_NAME = "@rpath/QuillmoorKX.framework/Versions/A/QuillmoorKX"
SUFFIXES = (".cpp", ".mm")
STAND_IN = "utf8proc"  # a library that is linked statically, and is not compiled here


def _below(folder):
    return sorted(p for p in folder.rglob("*") if p.suffix in SUFFIXES)


def shared_sources(project):
    """Returns the sources that are the same on each system: all but the back-ends and the shells."""
    found = []
    for layer in LAYERS:
        for path in _below(project / layer):
            parts = path.relative_to(project).parts
            back_end = parts[0] == "platform" and len(parts) > 2 and parts[1] != "posix"
            if not back_end and path.suffix == ".cpp" and not path.stem.endswith(("_linux", "_macos")):
                found.append(path)
    return found


def shell_sources(project):
    return [p for p in _below(project / "pane") if p.stem.endswith("_macos")]


def back_end_sources(project):
    return _below(project / "platform/macos")


def face_sources(project):
    return _below(project / "objc")


def check_sources(project):
    """Returns the sources that pin our declarations to what is published. They are compiled only."""
    return _below(project / "tests/platform/macos/sdk")


class Objects:
    """The object files of `sources`: their paths and their Slices by (source, architecture), and what the
    compiler reports where it fails."""

    def __init__(self, tools, sources, folder, project, includes):
        self._tools, self._folder, self._project, self._includes = tools, folder, project, includes
        self.paths, self.slices, self.mistakes = {}, {}, []
        jobs = [(source, architecture) for source in sources for architecture in SYSTEMS]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for job, mistake in zip(jobs, pool.map(self._compile, jobs)):
                if mistake:
                    self.mistakes.append(mistake)
                else:
                    self.slices[job] = macho.slices(self.paths[job].read_bytes())[0]

    def _compile(self, job):
        source, architecture = job
        name = os.path.relpath(source, self._project).replace(os.sep, "_")
        self.paths[job] = self._folder / f"{name}.{architecture}.o"
        try:
            self._tools.compile_cxx(source, architecture, self.paths[job], self._includes)
        except RuntimeError as error:
            return str(error)
        return None

    def undefined(self):
        """Returns {symbol: the sources that need it} of what the objects do not define."""
        found = {}
        for architecture in SYSTEMS:
            slices = {s: v for (s, a), v in self.slices.items() if a == architecture}
            defined = set().union(*(slice_.defined for slice_ in slices.values()))
            for source, slice_ in slices.items():
                for symbol in slice_.undefined - defined:
                    found.setdefault(symbol, set()).add(str(source.relative_to(self._project)))
        return found


class CompiledCode:
    """All of the project's code for macOS, compiled once, in `folder`."""

    def __init__(self, tools, launcher, project, includes, folder):
        self.project, self.includes, self.folder = project, includes, folder
        self.tools = AppleTools(*tools, folder, launcher)
        shared = shared_sources(project)
        self.bundle_sources = shared + shell_sources(project) + back_end_sources(project)
        self.library_sources = [s for s in shared if project / "pane" not in s.parents]
        self.library_sources += back_end_sources(project) + face_sources(project)
        sources = {*self.bundle_sources, *self.library_sources, *check_sources(project)}
        self.objects = Objects(self.tools, sorted(sources), folder, project, includes)
        self._linked = {}

    def bundle(self):
        """Links the executable of the pane's bundle, once; returns its path."""
        return self._universal("VersionCheck", self.bundle_sources, "-bundle", "-dead_strip")

    def framework_binary(self):
        """Links the library of the framework, once; returns its path."""
        return self._universal("QuillmoorKX", self.library_sources, "-dylib", "-install_name", INSTALL_NAME)

    def link_library_without(self, source):
        """Links the library for one architecture without that source."""
        rest = [s for s in self.library_sources if s != source]
        self._link(rest, "arm64", self.folder / "incomplete", "-dylib", "-install_name", INSTALL_NAME)

    def _universal(self, name, sources, *options):
        if self.objects.mistakes:
            raise RuntimeError("\n".join(self.objects.mistakes))
        if name not in self._linked:
            thin = [self.folder / f"{name}.{architecture}" for architecture in SYSTEMS]
            for architecture, output in zip(SYSTEMS, thin):
                self._link(sources, architecture, output, *options)
            self._linked[name] = self.folder / name
            self.tools.join(thin, self._linked[name])
        return self._linked[name]

    def _link(self, sources, architecture, output, *options):
        objects = [self.objects.paths[source, architecture] for source in sources]
        self.tools.link([*objects, self._stand_in(architecture)], architecture, output, *options)

    def _stand_in(self, architecture):
        """Returns an object that defines the names of the library that is linked statically."""
        output = self.folder / f"{STAND_IN}.{architecture}.o"
        if not output.exists():
            source = self.folder / f"{STAND_IN}.s"
            names = [symbol for symbol, (library, _) in read_symbols().items() if library == STAND_IN]
            source.write_text("".join(f"\t.globl {name}\n{name}:\n\tret\n" for name in names), encoding="utf-8")
            self.tools.compile(source, architecture, output, "-Wno-unused-command-line-argument")
        return output
