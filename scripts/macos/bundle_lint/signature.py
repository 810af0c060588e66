"""Reads the code signature of a Mach-O file and the seal of a bundle's other files, and compares both with
what is there now. Whether the certificate is trusted is a question for codesign and spctl on a Mac."""

from __future__ import annotations

import hashlib
import os
import plistlib
import struct
from xml.parsers.expat import ExpatError

SUPER_BLOB, CODE_DIRECTORY = 0xFADE0CC0, 0xFADE0C02
SLOT_CODE_DIRECTORY, SLOT_CMS, FIRST_ALTERNATE = 0, 0x10000, 0x1000
SLOT_INFO, SLOT_RESOURCES = 1, 3
ADHOC, LINKER_SIGNED = 0x2, 0x20000
HASHES = {1: ("sha1", 20), 2: ("sha256", 32), 3: ("sha256", 20), 4: ("sha384", 48)}


class SignatureError(Exception):
    """The signature cannot be read."""


class CodeDirectory:
    """The hashes that were signed: of the pages of the code and, by slot, of other files of the bundle."""

    def __init__(self, blob):
        try:
            (_, length, version, self.flags, hashes, identity, special, count, self.limit, size, kind,
             _, page) = struct.unpack_from(">IIIIIIIIIBBBB", blob, 0)
            self.page_size = 1 << page if page else max(self.limit, 1)
            self.team = None
            if version >= 0x20200:
                team, = struct.unpack_from(">I", blob, 48)
                self.team = self._text(blob, team) if team else None
            if version >= 0x20300:
                self.limit = struct.unpack_from(">Q", blob, 56)[0] or self.limit
            self.identifier = self._text(blob, identity)
        except (struct.error, ValueError):
            raise SignatureError("its code directory is truncated") from None
        if kind not in HASHES or page > 30:
            raise SignatureError("its code directory has an unknown kind of hash")
        self._hash, self._length = HASHES[kind]
        if size != self._length or length > len(blob) or hashes + count * size > length or \
                special * size > hashes:
            raise SignatureError("its code directory is truncated")
        self.code = [blob[hashes + i * size:hashes + (i + 1) * size] for i in range(count)]
        self.special = {i: blob[hashes - i * size:hashes - (i - 1) * size]
                        for i in range(1, special + 1)}

    @staticmethod
    def _text(blob, offset):
        return blob[offset:blob.index(b"\0", offset)].decode("utf-8", "replace")

    def digest(self, data):
        return hashlib.new(self._hash, data).digest()[:self._length]

    def seals_code(self, data):
        if self.limit > len(data):
            return False
        pages = [data[at:min(at + self.page_size, self.limit)]
                 for at in range(0, self.limit, self.page_size)]
        return [self.digest(page) for page in pages] == self.code

    def seals(self, slot, data):
        """Returns whether the slot holds the hash of these bytes; None if nothing is sealed in it."""
        sealed = self.special.get(slot)
        if sealed is None or not any(sealed):
            return None
        return sealed == self.digest(data)


def code_directories(slice_):
    """Returns the code directories of a slice with a signature, and whether a certificate signed them."""
    offset, size = slice_.signature
    blob = slice_.data[offset:offset + size]
    try:
        magic, length, count = struct.unpack_from(">III", blob, 0)
        if magic != SUPER_BLOB or length > len(blob):
            raise SignatureError("it does not begin as a signature does")
        found, signed = [], False
        for index in range(count):
            kind, at = struct.unpack_from(">II", blob, 12 + 8 * index)
            magic, length = struct.unpack_from(">II", blob, at)
            if kind == SLOT_CODE_DIRECTORY or FIRST_ALTERNATE <= kind < FIRST_ALTERNATE + 5:
                if magic != CODE_DIRECTORY:
                    raise SignatureError("its code directory has another kind")
                found.append(CodeDirectory(blob[at:at + length]))
            elif kind == SLOT_CMS:
                signed = length > 8
    except struct.error:
        raise SignatureError("it is truncated") from None
    if not found:
        raise SignatureError("it has no code directory")
    return found, signed


def read_seal(path):
    """Returns the sealed files of _CodeSignature/CodeResources by their paths inside Contents, or None."""
    try:
        found = plistlib.loads(path.read_bytes())["files2"]
    except (OSError, plistlib.InvalidFileException, ValueError, KeyError, TypeError, IndexError,
            OverflowError, RecursionError, ExpatError):
        return None
    return found if isinstance(found, dict) else None


def present_files(contents, executable):
    """Returns the paths inside Contents of what a seal must list: all but the executable, Info.plist and
    the seal itself."""
    found = []
    for folder, folders, files in os.walk(contents):
        links = [name for name in folders if os.path.islink(os.path.join(folder, name))]
        for name in files + links:
            relative = os.path.relpath(os.path.join(folder, name), contents)
            if relative in ("Info.plist", "PkgInfo", os.path.join("MacOS", executable)) or \
                    relative.startswith("_CodeSignature" + os.sep) or name == ".DS_Store" or \
                    relative.endswith(".lproj/locversion.plist"):
                continue
            found.append(relative)
    return sorted(found)


def is_unchanged(path, sealed):
    """Returns whether the file is as it was sealed; nested code, which has a signature of its own, is."""
    if isinstance(sealed, bytes):
        sealed = {"hash": sealed}
    if not isinstance(sealed, dict):
        return False
    if "symlink" in sealed:
        return path.is_symlink() and os.readlink(path) == sealed["symlink"]
    if "cdhash" in sealed:
        return True
    if path.is_symlink() or not path.is_file():
        return False
    data = path.read_bytes()
    if "hash2" in sealed:
        return hashlib.sha256(data).digest() == sealed["hash2"]
    return hashlib.sha1(data).digest() == sealed.get("hash")
