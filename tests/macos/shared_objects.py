"""Compiles what the systems share, and the shell of the pane, for both architectures of a Mac."""

import concurrent.futures
import os
import re

from apple_tools import SYSTEMS
from bundle_lint import macho

LAYERS = ("base", "platform", "paths", "log", "task", "auth", "files", "pane")
# What a back-end defines: the services, as native…(), and the hooks.
OWED = re.compile(r"__ZN9quillmoor8platform(\d+native\w+Ev$|5posix)")


def shared_sources(project):
    """Returns the sources that are the same on each system: all but the back-ends and the shells."""
    found = []
    for layer in LAYERS:
        for path in sorted((project / layer).rglob("*.cpp")):
            parts = path.relative_to(project).parts
            back_end = parts[0] == "platform" and len(parts) > 2 and parts[1] != "posix"
            if not back_end and not path.stem.endswith(("_linux", "_macos")):
                found.append(path)
    return found


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
        """Returns {symbol: the sources that need it} of what neither the objects nor a back-end define."""
        found = {}
        for architecture in SYSTEMS:
            slices = {s: v for (s, a), v in self.slices.items() if a == architecture}
            defined = set().union(*(slice_.defined for slice_ in slices.values()))
            for source, slice_ in slices.items():
                for symbol in slice_.undefined - defined:
                    if not OWED.match(symbol):
                        found.setdefault(symbol, set()).add(str(source.relative_to(self._project)))
        return found
