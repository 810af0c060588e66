"""A plug-in bundle as the rules look at it: each part is read once, and what cannot be read is a finding."""

from __future__ import annotations

import plistlib
from xml.parsers.expat import ExpatError

from bundle_lint import macho, objc


def read_property_list(path):
    """Returns the content of a property list in XML or binary form, or the reason why it cannot be read."""
    try:
        return plistlib.loads(path.read_bytes()), None
    except OSError as error:
        return None, error.strerror
    except (plistlib.InvalidFileException, ValueError, TypeError, IndexError, OverflowError,
            RecursionError, AttributeError, ExpatError):
        return None, "not a property list"


class Bundle:
    def __init__(self, path, findings):
        self.path = path
        self.contents = path / "Contents"
        self.resources = self.contents / "Resources"
        self._findings = findings
        self.info = self._read_info()
        self.slices = self._read_executable()
        self.metadata = [self._read_metadata(s) for s in self.slices]

    def finding(self, path, rule, text):
        # A dictionary keeps the order, and a finding of each architecture once.
        self._findings[f"{path}: {rule}: {text}"] = None

    def _read_info(self):
        path = self.contents / "Info.plist"
        found, error = read_property_list(path)
        if error is None and not isinstance(found, dict):
            error = "not a dictionary"
        if error:
            self.finding(path, "info", f"it cannot be used ({error}); the Installer then ignores the "
                                       "bundle; check it with plutil -lint")
            return {}
        return found

    def text(self, key):
        """Returns the value of a key of Info.plist if it is a text, else ""."""
        value = self.info.get(key)
        return value if isinstance(value, str) else ""

    @property
    def executable(self):
        """The path of the executable; None if Info.plist does not name one."""
        name = self.text("CFBundleExecutable")
        if not name or "/" in name or "\0" in name:
            return None
        return self.contents / "MacOS" / name

    def _read_executable(self):
        path = self.executable
        if path is None:
            return []
        try:
            return macho.slices(path.read_bytes())
        except OSError as error:
            self.finding(path, "executable", f"it cannot be read ({error.strerror}); build it into "
                                             "Contents/MacOS under the name that CFBundleExecutable has")
        except macho.MachOError as error:
            self.finding(path, "executable", f"it cannot be loaded ({error}); build it anew")
        return []

    def _read_metadata(self, slice_):
        try:
            return objc.Metadata(slice_)
        except macho.MachOError as error:
            self.finding(self.executable, "executable",
                         f"its classes for {slice_.architecture} cannot be read ({error}); build it anew")
            return None

    def languages(self):
        return sorted(p for p in self.resources.glob("*.lproj") if p.is_dir() and p.name != "Base.lproj")
