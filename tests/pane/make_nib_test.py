#!/usr/bin/env python3
"""resources/make_nib.py writes a keyed archive with every object and connection of the interface file,
and refuses what it would have to leave out.

  make_nib_test.py MAKE_NIB XIB"""

import pathlib
import plistlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

MAKE_NIB, XIB = sys.argv[1], pathlib.Path(sys.argv[2])

# What is changed in the interface file, and what the script must then name.
REFUSED = [
    ('<subviews>', '<constraints/><subviews>', "<constraints>"),
    ('<textField hidden="YES"', '<textField hidden="YES" toolTip="x"', "toolTip"),
    ('bezelStyle="rounded"', 'bezelStyle="square"', "bezelStyle"),
    ('editable="NO"', 'editable="YES"', "editable"),
    ('<textField ', '<slider ', "<slider>"),
]


def make(xib, nib):
    return subprocess.run([sys.executable, MAKE_NIB, xib, nib], capture_output=True, text=True,
                          check=False)


def connections(contents):
    archive = plistlib.loads(contents)
    objects = archive["$objects"]
    data = objects[archive["$top"]["IB.objectdata"].data]

    def class_of(item):
        return objects[objects[item.data]["$class"].data]["$classname"]

    def text(item):
        return objects[item.data]

    found = set()
    for uid in objects[data["NSConnections"].data]["NS.objects"]:
        joined = objects[uid.data]
        kind, destination = class_of(uid), class_of(joined["NSDestination"])
        if kind == "NSIBHelpConnector":
            found.add((kind, text(joined["NSFile"]), text(joined["NSMarker"]), destination))
        else:
            found.add((kind, text(joined["NSLabel"]), class_of(joined["NSSource"]), destination))
    return found


def main():
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        nib = pathlib.Path(folder) / "a.nib"
        made = make(XIB, nib)
        if made.returncode != 0:
            sys.exit(made.stderr)
        contents = nib.read_bytes()
        tip = xml.etree.ElementTree.parse(XIB).find(".//button").get("toolTip")
        expected = {
            ("NSNibOutletConnector", "firstPane", "NSCustomObject", "NSCustomObject"),
            ("NSNibOutletConnector", "contentView", "NSCustomObject", "NSCustomView"),
            ("NSNibOutletConnector", "titleText", "NSCustomObject", "NSTextField"),
            ("NSNibOutletConnector", "descriptionText", "NSCustomObject", "NSTextField"),
            ("NSNibOutletConnector", "uninstallBtn", "NSCustomObject", "NSButton"),
            ("NSNibControlConnector", "uninstall:", "NSButton", "NSCustomObject"),
            ("NSIBHelpConnector", "NSToolTipHelpKey", tip, "NSButton"),
        }
        if connections(contents) != expected:
            failures.append(f"connections: {connections(contents) ^ expected}")
        make(XIB, nib)
        if nib.read_bytes() != contents:
            failures.append("a second run writes another file")
        for before, after, named in REFUSED:
            source = XIB.read_text(encoding="utf-8")
            if before not in source:
                failures.append(f"{before}: not in the interface file")
            changed = pathlib.Path(folder) / "changed.xib"
            source = source.replace(before, after)
            if after.startswith("<slider"):
                source = source.replace("</textField>", "</slider>")
            changed.write_text(source, encoding="utf-8")
            target = pathlib.Path(folder) / "refused.nib"
            result = make(changed, target)
            if result.returncode == 0 or named not in result.stderr or target.exists():
                failures.append(f"{after}: {result.returncode} {result.stderr}")
    print("\n".join(failures) or f"make_nib: {len(REFUSED)} interface files refused")
    return 1 if failures else 0


sys.exit(main())
