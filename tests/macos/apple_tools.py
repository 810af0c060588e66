"""Compiles and links for a Mac on any system: clang and lld, our own declarations of what Apple's headers
declare, and stubs of the libraries that are made from the list apple/symbols.txt."""

import functools
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
SYSTEMS = {"x86_64": "10.15", "arm64": "11.0"}

FRAMEWORKS = "/System/Library/Frameworks"
LIBRARIES = {
    "libSystem": "/usr/lib/libSystem.B.dylib",
    "libobjc": "/usr/lib/libobjc.A.dylib",
    "libc++": "/usr/lib/libc++.1.dylib",
    "libiconv": "/usr/lib/libiconv.2.dylib",
    "CoreFoundation": f"{FRAMEWORKS}/CoreFoundation.framework/Versions/A/CoreFoundation",
    "CoreServices": f"{FRAMEWORKS}/CoreServices.framework/Versions/A/CoreServices",
    "Security": f"{FRAMEWORKS}/Security.framework/Versions/A/Security",
    "SystemConfiguration": f"{FRAMEWORKS}/SystemConfiguration.framework/Versions/A/SystemConfiguration",
    "Foundation": f"{FRAMEWORKS}/Foundation.framework/Versions/C/Foundation",
    "AppKit": f"{FRAMEWORKS}/AppKit.framework/Versions/C/AppKit",
    "InstallerPlugins": f"{FRAMEWORKS}/InstallerPlugins.framework/Versions/A/InstallerPlugins",
}


def read_symbols(path=HERE / "apple/symbols.txt"):
    """Returns {symbol: (library, source)}."""
    found = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            symbol, library, source = line.split(None, 2)
            if symbol in found:
                raise ValueError(f"{path}: {symbol} is in it more than once")
            found[symbol] = (library, source)
    return found


def write_stubs(folder, symbols):
    """Writes a stub of each library of the system; returns their paths. The other symbols are the linker's own,
    or of a library that is linked statically."""
    paths = []
    for library in sorted({library for library, _ in symbols.values()} & LIBRARIES.keys()):
        path = folder / f"{library}.tbd"
        write_stub(path, LIBRARIES[library], [s for s, (where, _) in symbols.items() if where == library])
        paths.append(path)
    return paths


def write_stub(path, install_name, symbols):
    names = ", ".join(f"'{symbol}'" for symbol in symbols)
    path.write_text(f"""--- !tapi-tbd
tbd-version:     4
targets:         [ x86_64-macos, arm64-macos ]
install-name:    '{install_name}'
exports:
  - targets:     [ x86_64-macos, arm64-macos ]
    symbols:     [ {names} ]
...
""", encoding="utf-8")


class AppleTools:
    """The commands, and a folder for what they make."""

    def __init__(self, clang, linker, lipo, folder, launcher=()):
        self._clang, self._linker, self._lipo, self._launcher = clang, linker, lipo, launcher
        self._folder = pathlib.Path(folder)
        self._stubs = write_stubs(self._folder, read_symbols())

    def compile(self, source, architecture, output, *options):
        _run([*self._target(architecture), "-fno-objc-arc", *system_headers(self._clang), *options,
              "-c", source, "-o", output])

    def _target(self, architecture):
        return [self._clang, "-target", f"{architecture}-apple-macos{SYSTEMS[architecture]}", "-std=c++20",
                "-Wall", "-Wextra", "-Werror", "-nostdinc", "-nostdinc++"]

    def compile_cxx(self, source, architecture, output, includes):
        """Compiles C++ or Objective-C++ with clang's own standard library and, of C headers, the compiler's and
        our own. `includes` has the project's headers."""
        _run([*self._launcher, *self._target(architecture), "-O1", "-D_LIBCPP_HAS_NO_LOCALIZATION",
              "-fno-objc-arc", *system_headers(self._clang), "-I", includes,
              "-c", source, "-o", output])

    def link(self, objects, architecture, output, *options):
        version = SYSTEMS[architecture]
        _run([self._linker, "-arch", architecture, "-platform_version", "macos", version, version,
              *(options or ["-bundle"]), "-adhoc_codesign", "-o", output, *objects, *self._stubs])

    def join(self, thin, output):
        _run([self._lipo, "-create", *thin, "-output", output])

    def bundle_of(self, source, name, defines=(), architectures=tuple(SYSTEMS), link=()):
        """Compiles and links one source to a universal file in the folder; returns its path."""
        thin = []
        for architecture in architectures:
            base = self._folder / f"{name}.{architecture}"
            self.compile(source, architecture, f"{base}.o", *(f"-D{d}" for d in defines))
            self.link([f"{base}.o"], architecture, base, *link)
            thin.append(base)
        output = self._folder / name
        self.join(thin, output)
        return output


@functools.lru_cache(maxsize=None)
def _resource_folder(clang):
    return subprocess.run([clang, "-print-resource-dir"], capture_output=True, text=True,
                          check=True).stdout.strip()


def cxx_headers(clang):
    """Returns the folder of the headers of clang's standard library."""
    return pathlib.Path(_resource_folder(clang)).parents[2] / "include/c++/v1"


def system_headers(clang):
    """Returns the options for the headers: our declarations of Cocoa, clang's standard library, our declarations
    of the C library and of what else only a Mac has, and the compiler's own."""
    folders = (HERE / "apple/include", cxx_headers(clang), HERE / "apple/libc", HERE / "apple/system",
               f"{_resource_folder(clang)}/include")
    return [word for folder in folders for word in ("-isystem", folder)]


def _run(command):
    command = [os.fspath(word) for word in command]
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    if run.returncode:
        raise RuntimeError(f"{' '.join(command)}\n{run.stdout}{run.stderr}")


def run_or_skip(tools=(), files=tuple, arguments=()):
    """Runs the tests of the program and returns its exit status: 77, with the reason, if one of `tools` or
    of what files() returns is not there."""
    missing = [tool for tool in tools if not shutil.which(tool)]
    missing = missing or [str(path) for path in files() if not path.exists()]
    if missing:
        print(f"skipped: not found: {' '.join(missing)}")
        return 77
    program = unittest.main(argv=[sys.argv[0], *arguments], exit=False)
    return 0 if program.result.wasSuccessful() else 1
