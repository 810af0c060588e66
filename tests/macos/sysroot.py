"""A folder in the place of the SDK of a Mac, for builds by CMake: our own declarations as its headers, stubs
as its libraries and frameworks."""

import pathlib

from apple_tools import HERE, LIBRARIES, cxx_headers, read_symbols, write_stub

FRAMEWORKS = "System/Library/Frameworks"


def write_sysroot(folder, clang):
    """Fills an empty folder, with the C++ headers of `clang`."""
    folder, symbols = pathlib.Path(folder), read_symbols()
    for name, install_name in LIBRARIES.items():
        names = [symbol for symbol, (library, _) in symbols.items() if library == name]
        place = folder / ("usr/lib" if install_name.startswith("/usr/lib/") else f"{FRAMEWORKS}/{name}.framework")
        place.mkdir(parents=True, exist_ok=True)
        write_stub(place / f"{name}.tbd", install_name, names)
    for path in sorted((HERE / "apple").rglob("*.h")):
        link_header(folder, path, pathlib.PurePath(*path.relative_to(HERE / "apple").parts[1:]))
    (folder / "usr/include/c++").mkdir()
    (folder / "usr/include/c++/v1").symlink_to(cxx_headers(clang))


def link_header(folder, path, name):
    """The headers of a framework are in the framework, all others in usr/include."""
    place = folder / "usr/include" / name
    if name.parts[0] in LIBRARIES:
        place = folder / FRAMEWORKS / f"{name.parts[0]}.framework/Headers" / pathlib.PurePath(*name.parts[1:])
    place.parent.mkdir(parents=True, exist_ok=True)
    place.symlink_to(path)
