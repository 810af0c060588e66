"""What the rules must know of the system's classes: which view is which, and the outlets that the
documentation of InstallerPlugins and its headers list."""

from __future__ import annotations

SECTION, PANE = "InstallerSection", "InstallerPane"

PARENTS = {
    "NSResponder": "NSObject", "NSView": "NSResponder", "NSControl": "NSView", "NSButton": "NSControl",
    "NSTextField": "NSControl", "NSSecureTextField": "NSTextField", "NSPopUpButton": "NSButton",
    "NSImageView": "NSControl", "NSMatrix": "NSControl", "NSSlider": "NSControl", "NSText": "NSView",
    "NSTextView": "NSText", "NSProgressIndicator": "NSView", "NSBox": "NSView", "NSScrollView": "NSView",
    "NSTableView": "NSControl", "NSWindow": "NSResponder", SECTION: "NSObject", PANE: "NSObject",
}
OUTLETS = {
    "NSObject": set(),
    SECTION: {"firstPane"},
    PANE: {"contentView", "firstKeyView", "initialKeyView", "lastKeyView", "nextPane", "parentDirector"},
}


def is_platform_class(name):
    return name.startswith("NS") or name in PARENTS or name in ("FirstResponder", "WebView")


def is_kind_of(name, wanted, classes):
    """Returns whether a class is another one or below it; None if it is not known. `classes` are those of
    the executable by name."""
    seen = set()
    while name and name not in seen:
        if name == wanted:
            return True
        seen.add(name)
        if name in classes:
            name = classes[name].parent
        elif name in PARENTS:
            name = PARENTS[name]
        else:
            return False if name == "NSObject" else None
    return False
