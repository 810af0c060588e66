"""Reads files of localised strings: property lists, or lines "key" = "value"; in UTF-8 or UTF-16."""

from __future__ import annotations

import codecs
import plistlib
import re
from xml.parsers.expat import ExpatError

QUOTED = r'"(?:[^"\\]|\\.)*"'
WORD = r"[\w.$/:-]+"
SPACE = re.compile(r"(?:\s|/\*.*?\*/|//[^\n]*)*", re.DOTALL)
ENTRY = re.compile(rf"({QUOTED}|{WORD})\s*=\s*({QUOTED}|{WORD})\s*;", re.DOTALL)
SPECIFIER = re.compile(r"%(?:(\d+)\$)?[-+ #0-9.*]*(?:hh?|ll?|[qjzt])?([@a-zA-Z%])")


class StringsError(Exception):
    """The file cannot be read; the text says why and what to do."""


def read_strings(path):
    """Returns the strings of the file by their keys."""
    data = path.read_bytes()
    if data.startswith((b"bplist", b"<?xml")):
        return _read_property_list(data)
    text = _decode(data)
    found, at = {}, SPACE.match(text).end()
    while at < len(text):
        entry = ENTRY.match(text, at)
        line = text.count("\n", 0, at) + 1
        if entry is None:
            raise StringsError(f'line {line} is not "key" = "value"; so nothing of the file is used; correct it')
        key = _unquote(entry.group(1))
        if key in found:
            raise StringsError(f'line {line} has "{key}" once more; remove one of the two')
        found[key] = _unquote(entry.group(2))
        at = SPACE.match(text, entry.end()).end()
    return found


def _read_property_list(data):
    try:
        found = plistlib.loads(data)
    except (plistlib.InvalidFileException, ValueError, TypeError, IndexError, OverflowError,
            RecursionError, ExpatError):
        raise StringsError("is not a property list; check it with plutil -lint") from None
    if not isinstance(found, dict):
        raise StringsError("is not a dictionary; make it one")
    return {key: value for key, value in found.items() if isinstance(value, str)}


def _decode(data):
    if data.startswith((codecs.BOM_UTF16_LE, codecs.BOM_UTF16_BE)):
        encoding = "utf-16"
    else:
        encoding = "utf-8-sig"
    try:
        return data.decode(encoding)
    except UnicodeDecodeError:
        raise StringsError("is neither UTF-8 nor UTF-16 with a byte order mark; convert it with iconv") from None


def _unquote(token):
    if not token.startswith('"'):
        return token
    escapes = {"n": "\n", "t": "\t", "r": "\r"}
    return re.sub(r"\\U([0-9a-fA-F]{4})|\\(.)", lambda m: chr(int(m.group(1), 16)) if m.group(1)
                  else escapes.get(m.group(2), m.group(2)), token[1:-1], flags=re.DOTALL)


def specifiers(text):
    """Returns the format specifiers of a string in the order of their arguments."""
    found = [(int(m.group(1) or 0), m.group(2)) for m in SPECIFIER.finditer(text)]
    return [kind for _, kind in sorted(found, key=lambda pair: pair[0]) if kind != "%"]
