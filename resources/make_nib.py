#!/usr/bin/env python3
"""Writes an interface file (.xib) as the keyed archive (.nib) that macOS loads.

  make_nib.py XIB NIB

For interfaces of few kinds of elements, with fixed frames: an unknown element or attribute ends the
script, so that nothing is lost on the way. The flags of cells and views are those of the classes'
archives, whose bits have not changed since the format began."""

import plistlib
import sys
import xml.etree.ElementTree as ElementTree

SUPERCLASS = {
    "NSIBHelpConnector": "NSNibConnector", "NSIBObjectData": "NSObject", "NSCustomObject": "NSObject",
    "NSNibConnector": "NSObject",
    "NSNibOutletConnector": "NSNibConnector", "NSNibControlConnector": "NSNibConnector",
    "NSResponder": "NSObject", "NSView": "NSResponder", "NSCustomView": "NSView",
    "NSControl": "NSView", "NSTextField": "NSControl", "NSButton": "NSControl",
    "NSCell": "NSObject", "NSActionCell": "NSCell", "NSTextFieldCell": "NSActionCell",
    "NSButtonCell": "NSActionCell", "NSFont": "NSObject", "NSColor": "NSObject",
    "NSArray": "NSObject", "NSMutableArray": "NSArray",
    "NSSet": "NSObject", "NSMutableSet": "NSSet",
}

HIDDEN = 1 << 31
RESIZES_SUBVIEWS = 1 << 8
AUTORESIZING = {"flexibleMinX": 1, "widthSizable": 2, "flexibleMaxX": 4,
                "flexibleMinY": 8, "heightSizable": 16, "flexibleMaxY": 32}

TEXT_CELL = 0x04000000
SENDS_ACTION_ON_END_EDITING = 0x00400000
ALIGNMENT = {"left": 0, "right": 0x04000000, "center": 0x08000000, "natural": 0x10000000}
# Pushes in, lights by background and gray, has a border; without a picture and a key.
PUSH_BUTTON = 0x86824000
# The rounded bezel, and the shift of the key's modifiers that every push button has.
ROUNDED = 0x81

# The fonts by which archives name the system's own, with the flags that say so.
SYSTEM_FONTS = {"system": ("LucidaGrande", 1044), "systemBold": ("LucidaGrande-Bold", 2072)}
# Colours that follow the appearance, each with a fixed one for where it is unknown.
CATALOGUE = {"labelColor": b"0\0", "controlColor": b"0.6666666667\0"}

# All attributes that may appear, but for those that say something only to an editor.
KNOWN = {
    "customObject": {"customClass"}, "customView": {"hidden"}, "textField": {"hidden"},
    "button": {"hidden", "toolTip"},
    "textFieldCell": {"key", "title", "editable", "sendsActionOnEndEditing", "alignment"},
    "buttonCell": {"key", "title", "type", "bezelStyle", "alignment", "borderStyle", "inset",
                   "imageScaling"},
    "rect": {"key", "x", "y", "width", "height"}, "autoresizingMask": {"key", *AUTORESIZING},
    "font": {"key", "metaFont", "size"}, "color": {"key", "name", "catalog", "colorSpace"},
    "behavior": {"key", "pushIn", "lightByBackground", "lightByGray"},
    "outlet": {"property", "destination"}, "action": {"selector", "target"},
    "connections": set(), "subviews": set(),
}
FOR_EDITORS = {"id", "userLabel", "horizontalHuggingPriority", "verticalHuggingPriority"}
# What an element must say for the constants above to be right.
FIXED = {
    "buttonCell": {"type": "push", "bezelStyle": "rounded", "borderStyle": "border"},
    "textFieldCell": {"editable": "NO"},
    "behavior": {"pushIn": "YES", "lightByBackground": "YES", "lightByGray": "YES"},
    "color": {"catalog": "System"},
}
OWNER, PLACEHOLDERS = "-2", ("-1", "-3")


class Archive:
    """The objects of a keyed archive. An object is a dictionary, named by its index."""

    def __init__(self):
        self.objects = ["$null"]
        self.classes = {}

    def add(self, class_name, **values):
        self.objects.append({**values, "$class": self.class_of(class_name)})
        return plistlib.UID(len(self.objects) - 1)

    def class_of(self, name):
        if name not in self.classes:
            chain = [name]
            while chain[-1] != "NSObject":
                chain.append(SUPERCLASS[chain[-1]])
            self.objects.append({"$classname": name, "$classes": chain})
            self.classes[name] = plistlib.UID(len(self.objects) - 1)
        return self.classes[name]

    def value(self, value):
        self.objects.append(value)
        return plistlib.UID(len(self.objects) - 1)

    def list(self, items, class_name="NSArray"):
        return self.add(class_name, **{"NS.objects": list(items)})

    def set(self, uid, **values):
        self.objects[uid.data].update(values)

    def written(self, root):
        return plistlib.dumps({"$archiver": "NSKeyedArchiver", "$version": 100000,
                               "$top": {"IB.objectdata": root}, "$objects": self.objects},
                              fmt=plistlib.FMT_BINARY, sort_keys=False)


def check(element):
    for each in element.iter():
        if each.tag not in KNOWN:
            sys.exit(f"make_nib: unknown element <{each.tag}>")
        for name, value in each.attrib.items():
            if name not in KNOWN[each.tag] | FOR_EDITORS:
                sys.exit(f"make_nib: unknown attribute {name} of <{each.tag}>")
            if FIXED.get(each.tag, {}).get(name, value) != value:
                sys.exit(f"make_nib: unknown value {value} of {name} of <{each.tag}>")


def signed(flags):
    return flags - (1 << 32) if flags >= 1 << 31 else flags


def number(text):
    return f"{float(text):g}"


class Nib:
    def __init__(self, objects):
        self.archive = Archive()
        self.made = {}     # the objects by their id in the interface file
        self.parents = []  # (object, its parent), in the order of the file
        self.owner = None
        for element in objects:
            if element.get("id") not in PLACEHOLDERS:
                check(element)
                self.add(element, None)
        self.connections = [self.connection(element, joined)
                            for element in objects.iter() if element.get("id") in self.made
                            for joined in element.findall("connections/*")]
        self.connections += [self.help(element) for element in objects.iter() if element.get("toolTip")]

    def add(self, element, parent):
        uid = getattr(self, element.tag)(element, parent)
        self.made[element.get("id")] = uid
        if element.get("id") == OWNER:
            self.owner = uid
        else:
            self.parents.append((uid, parent or self.owner))
        for child in element.findall("subviews/*"):
            self.add(child, uid)
        subviews = [self.made[child.get("id")] for child in element.findall("subviews/*")]
        if subviews:
            self.archive.set(uid, NSSubviews=self.archive.list(subviews, "NSMutableArray"))
        return uid

    def customObject(self, element, _parent):
        return self.archive.add("NSCustomObject",
                                NSClassName=self.archive.value(element.get("customClass")))

    def view(self, element, parent, class_name, **values):
        frame = next(rect for rect in element.findall("rect") if rect.get("key") == "frame")
        x, y, width, height = (number(frame.get(side)) for side in ("x", "y", "width", "height"))
        flags = RESIZES_SUBVIEWS
        for name, value in element.find("autoresizingMask").attrib.items():
            flags |= AUTORESIZING.get(name, 0) if value == "YES" else 0
        if element.get("hidden") == "YES":
            flags |= HIDDEN
        if parent is not None:
            values.update(NSNextResponder=parent, NSSuperview=parent)
        return self.archive.add(class_name, NSvFlags=signed(flags), **values,
                                NSFrame=self.archive.value(f"{{{{{x}, {y}}}, {{{width}, {height}}}}}"))

    def customView(self, element, parent):
        return self.view(element, parent, "NSCustomView", NSClassName=self.archive.value("NSView"))

    def control(self, element, parent, class_name, cell):
        uid = self.view(element, parent, class_name, NSEnabled=True, NSCell=cell)
        self.archive.set(cell, NSControlView=uid)
        self.parents.append((cell, uid))
        return uid

    def textField(self, element, parent):
        cell = element.find("textFieldCell")
        flags2 = ALIGNMENT[cell.get("alignment", "natural")]
        if cell.get("sendsActionOnEndEditing") == "YES":
            flags2 |= SENDS_ACTION_ON_END_EDITING
        colors = {color.get("key"): self.color(color) for color in cell.findall("color")}
        return self.control(element, parent, "NSTextField", self.archive.add(
            "NSTextFieldCell", NSCellFlags=TEXT_CELL, NSCellFlags2=flags2,
            NSContents=self.archive.value(cell.get("title")), NSSupport=self.font(cell.find("font")),
            NSTextColor=colors["textColor"], NSBackgroundColor=colors["backgroundColor"]))

    def button(self, element, parent):
        cell = element.find("buttonCell")
        return self.control(element, parent, "NSButton", self.archive.add(
            "NSButtonCell", NSCellFlags=TEXT_CELL, NSCellFlags2=ALIGNMENT[cell.get("alignment")],
            NSContents=self.archive.value(cell.get("title")), NSSupport=self.font(cell.find("font")),
            NSButtonFlags=signed(PUSH_BUTTON), NSButtonFlags2=ROUNDED,
            NSAlternateContents=self.archive.value(""), NSKeyEquivalent=self.archive.value(""),
            NSPeriodicDelay=400, NSPeriodicInterval=75))

    def font(self, element):
        name, flags = SYSTEM_FONTS[element.get("metaFont")]
        return self.archive.add("NSFont", NSName=self.archive.value(name), NSfFlags=flags,
                                NSSize=float(element.get("size")))

    def color(self, element):
        name = element.get("name")
        fixed = self.archive.add("NSColor", NSColorSpace=3, NSWhite=CATALOGUE[name])
        return self.archive.add("NSColor", NSColorSpace=6, NSColor=fixed,
                                NSCatalogName=self.archive.value("System"),
                                NSColorName=self.archive.value(name))

    def connection(self, source, joined):
        here = self.made[source.get("id")]
        if joined.tag == "action":
            return self.archive.add("NSNibControlConnector", NSSource=here,
                                    NSDestination=self.made[joined.get("target")],
                                    NSLabel=self.archive.value(joined.get("selector")))
        return self.archive.add("NSNibOutletConnector", NSSource=here,
                                NSDestination=self.made[joined.get("destination")],
                                NSLabel=self.archive.value(joined.get("property")))

    # Shown as a help tag, and read out as the element's help.
    def help(self, element):
        return self.archive.add("NSIBHelpConnector", NSDestination=self.made[element.get("id")],
                                NSFile=self.archive.value("NSToolTipHelpKey"),
                                NSMarker=self.archive.value(element.get("toolTip")))

    def written(self):
        archive = self.archive
        objects = [uid for uid, _ in self.parents]
        numbered = [self.owner, *objects, *self.connections]
        empty = archive.list([])
        return archive.written(archive.add(
            "NSIBObjectData", NSRoot=self.owner,
            NSConnections=archive.list(self.connections, "NSMutableArray"),
            NSVisibleWindows=archive.list([], "NSMutableSet"),
            NSObjectsKeys=archive.list(objects),
            NSObjectsValues=archive.list(parent for _, parent in self.parents),
            NSNamesKeys=empty, NSNamesValues=empty, NSClassesKeys=empty, NSClassesValues=empty,
            NSAccessibilityConnectors=archive.list([], "NSMutableArray"),
            NSAccessibilityOidsKeys=empty, NSAccessibilityOidsValues=empty,
            NSOidsKeys=archive.list(numbered),
            NSOidsValues=archive.list(map(archive.value, range(1, len(numbered) + 1))),
            NSNextOid=len(numbered) + 1))


def main():
    xib, nib = sys.argv[1:]
    contents = Nib(ElementTree.parse(xib).find("objects")).written()
    with open(nib, "wb") as file:
        file.write(contents)


main()
