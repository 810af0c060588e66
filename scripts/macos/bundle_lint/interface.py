"""Reads interface files: the source form, .xib, and the compiled form, a .nib that is a keyed archive."""

from __future__ import annotations

import pathlib
import plistlib
import xml.etree.ElementTree
from xml.parsers.expat import ExpatError

OWNER_ID, FIRST_RESPONDER_ID = "-2", "-1"


class InterfaceError(Exception):
    """The file cannot be read; the text says why and what to do."""


class Interface:
    """The objects of an interface file by their identity with their class names, the identity of the file's
    owner, and the connections: outlets as (object, name, destination), actions as (sender, name, target);
    a target is None where the first responder is meant."""

    def __init__(self):
        self.objects, self.owner = {}, None
        self.outlets, self.actions = [], []

    def owner_class(self):
        return self.objects.get(self.owner)


def read_interface(path):
    if path.suffix == ".xib":
        return _read_xib(path)
    return _read_nib(path)


def _class_of_element(element):
    custom = element.get("customClass")
    if custom:
        return custom
    if element.tag in ("customView", "view"):
        return "NSView"
    if element.tag == "customObject":
        return "NSObject"
    return "NS" + element.tag[:1].upper() + element.tag[1:]


def _read_xib(path):
    try:
        root = xml.etree.ElementTree.fromstring(path.read_bytes())
    except (xml.etree.ElementTree.ParseError, ValueError) as error:
        raise InterfaceError(f"is not XML ({error}); correct it") from None
    if root.tag != "document" or root.find("objects") is None:
        raise InterfaceError("is not an interface document; save it anew in Xcode's format")
    read = Interface()
    read.owner = OWNER_ID
    for element in root.find("objects").iter():
        identity = element.get("id")
        if identity is None or element.tag in ("outlet", "action"):
            continue
        read.objects[identity] = _class_of_element(element)
        for connection in element.findall("connections/*"):
            if connection.tag == "outlet":
                read.outlets.append((identity, connection.get("property", ""),
                                     connection.get("destination")))
            elif connection.tag == "action":
                target = connection.get("target")
                read.actions.append((identity, connection.get("selector", ""),
                                     None if target == FIRST_RESPONDER_ID else target))
    return read


class _Archive:
    """A keyed archive: objects refer to each other by their index."""

    def __init__(self, path):
        try:
            content = plistlib.loads(path.read_bytes())
            self._objects = content["$objects"]
            self.top = content["$top"]
        except (plistlib.InvalidFileException, ValueError, KeyError, TypeError, IndexError,
                OverflowError, RecursionError, ExpatError):
            raise InterfaceError("is not a keyed archive; compile the .xib with ibtool, for macOS") from None

    def index(self, value):
        if not isinstance(value, plistlib.UID):
            raise InterfaceError("has an object where a reference is expected; compile the .xib anew")
        return value.data

    def get(self, value):
        try:
            found = self._objects[self.index(value)]
        except IndexError:
            raise InterfaceError("refers to an object that it lacks; compile the .xib anew") from None
        return None if found == "$null" else found

    def member(self, thing, key):
        return self.get(thing[key]) if key in thing else None

    def class_name(self, thing):
        """Returns the class that the object has after loading."""
        replaced = self.member(thing, "NSClassName")
        return replaced or self.archived_class(thing)

    def archived_class(self, thing):
        return self.member(thing, "$class")["$classname"]


def _read_nib(path):
    if path.is_dir():
        path = path / "keyedobjects.nib"
    archive = _Archive(path)
    try:
        return _read_archive(archive)
    except (KeyError, TypeError, AttributeError):
        raise InterfaceError("has objects of unexpected kinds; compile the .xib with ibtool, for macOS") from None


def _read_archive(archive):
    data = archive.get(archive.top["IB.objectdata"])
    read = Interface()
    read.owner = archive.index(data["NSRoot"])
    read.objects[read.owner] = archive.class_name(archive.get(data["NSRoot"]))

    def note(reference):
        thing = archive.get(reference)
        if thing is None:
            return None
        identity = archive.index(reference)
        read.objects[identity] = archive.class_name(thing)
        return identity

    for reference in archive.get(data["NSConnections"])["NS.objects"]:
        connector = archive.get(reference)
        kind = archive.archived_class(connector)
        if kind not in ("NSNibOutletConnector", "NSNibControlConnector"):
            continue  # such as a tool tip, which has no source
        joined = (note(connector["NSSource"]), archive.member(connector, "NSLabel"),
                  note(connector["NSDestination"]))
        (read.outlets if kind == "NSNibOutletConnector" else read.actions).append(joined)
    if "NSObjectsKeys" in data:
        for reference in archive.get(data["NSObjectsKeys"])["NS.objects"]:
            note(reference)
    return read


def interface_files(resources, name):
    """Returns the interface files of that name: (compiled ones, sources), in Resources and its languages."""
    folders = [resources] + sorted(p for p in resources.glob("*.lproj") if p.is_dir())
    name = pathlib.PurePath(name).name
    compiled = [f / f"{name}.nib" for f in folders if (f / f"{name}.nib").exists()]
    return compiled, [f / f"{name}.xib" for f in folders if (f / f"{name}.xib").exists()]
