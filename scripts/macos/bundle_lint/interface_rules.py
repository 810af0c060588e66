"""The rules about the interface file: every class, outlet and action that it names is in the executable,
with the type that the connection needs. On a Mac a name that is not there leaves a pane without the
element, or without the pane, and nothing is reported."""

from __future__ import annotations

import re

from bundle_lint.interface import InterfaceError, interface_files, read_interface
from bundle_lint.platform_classes import OUTLETS, PANE, SECTION, is_kind_of, is_platform_class

# An action returns nothing and takes its sender, an object.
ACTION_TYPE = re.compile(r'v\d+@0:8@(\?|"[^"]*")?16')
OBJECT_TYPE = re.compile(r'@"(\w+)[^"]*"')


def check_interface(bundle):
    name = bundle.text("NSMainNibFile")
    if not name:
        return
    compiled, sources = interface_files(bundle.resources, name)
    if not compiled:
        advice = "compile the .xib with ibtool, which a Mac cannot load itself" if sources else "add it"
        bundle.finding(bundle.resources / f"{name}.nib", "interface", f"it is missing; {advice}")
    region = bundle.text("CFBundleDevelopmentRegion") or "en"
    if compiled and not {p.parent.name for p in compiled} & {"Resources", "Base.lproj", f"{region}.lproj"}:
        bundle.finding(bundle.resources / f"{name}.nib", "interface", "it is in some languages only; put one into "
                                                                      "Resources, which is for all others")
    for path in compiled + sources:
        try:
            interface = read_interface(path)
        except OSError as error:
            bundle.finding(path, "interface", f"it cannot be read ({error.strerror}); build it anew")
            continue
        except InterfaceError as error:
            bundle.finding(path, "interface", f"it {error}")
            continue
        for metadata in filter(None, bundle.metadata):
            _Checks(bundle, path, interface, metadata).run()


class _Checks:
    """One interface file against the classes for one architecture."""

    def __init__(self, bundle, path, interface, metadata):
        self._bundle, self._path, self._interface = bundle, path, interface
        self._classes, self._foreign = metadata.classes, metadata.foreign_categories

    def run(self):
        for name in sorted(set(self._interface.objects.values())):
            if name not in self._classes and not is_platform_class(name):
                self._finding("class", f"the class {name} is not in the executable; correct its name in the "
                                       "interface file or in the code")
        self._check_owner()
        for outlet in self._interface.outlets:
            self._check_outlet(*outlet)
        for action in self._interface.actions:
            self._check_action(*action)
        self._check_unconnected()

    def _finding(self, rule, text):
        self._bundle.finding(self._path, rule, text)

    def _class(self, identity):
        return self._interface.objects.get(identity)

    def _ancestors(self, name):
        """Yields the executable's classes from `name` upwards, and at last the first one of the system."""
        seen = set()
        while name and name not in seen:
            seen.add(name)
            found = self._classes.get(name)
            yield name, found
            if found is None:
                return
            name = found.parent

    def _check_owner(self):
        owner, principal = self._interface.owner_class(), self._bundle.text("NSPrincipalClass")
        if owner != principal:
            self._finding("class", f"the file's owner is of the class {owner}, the section of {principal}; make "
                                   "both the same")
        first = [d for s, name, d in self._interface.outlets
                 if s == self._interface.owner and name == "firstPane"]
        if not first:
            self._finding("outlet", "the owner's outlet firstPane is not connected, so the section has no pane; "
                                    "connect it")
        panes = [identity for identity, name in self._interface.objects.items()
                 if is_kind_of(name, PANE, self._classes)]
        for identity in first:
            if self._class(identity) and identity not in panes:
                self._finding("class", f"firstPane is connected to an object of the class {self._class(identity)}, "
                                       f"which is not below {PANE}; correct the class")
        for pane in panes:
            if not any(s == pane and name == "contentView" for s, name, _ in self._interface.outlets):
                self._finding("outlet", f"the outlet contentView of {self._class(pane)} is not connected, so the "
                                        "pane is empty; connect it")

    def _check_outlet(self, source, name, destination):
        class_name = self._class(source)
        if destination is None or self._class(destination) is None:
            self._finding("outlet", f"the outlet {name} of {class_name} is connected to nothing; connect it")
            return
        setter = f"set{name[:1].upper()}{name[1:]}:"
        for ancestor, found in self._ancestors(class_name):
            if found is None:
                # Those of the system's other classes are not known here.
                if name in OUTLETS.get(ancestor, {name}) and is_platform_class(ancestor):
                    return
                break
            kind = found.ivars.get(name) or found.ivars.get(f"_{name}")
            if kind:
                self._check_outlet_type(class_name, name, kind, self._class(destination))
                return
            if setter in found.methods:
                return
        self._finding("outlet", f"{class_name} has no instance variable {name} and no method {setter}; correct "
                                "the name, or the element stays nil")

    def _check_outlet_type(self, class_name, name, kind, destination):
        if not kind.startswith("@"):
            self._finding("outlet", f"the instance variable {name} of {class_name} is not an object; correct its type")
            return
        wanted = OBJECT_TYPE.fullmatch(kind)
        if wanted and is_kind_of(destination, wanted.group(1), self._classes) is False:
            self._finding("outlet", f"the outlet {name} of {class_name} is a {wanted.group(1)} but is connected to a "
                                    f"{destination}; correct one of them")

    def _check_action(self, _source, name, target):
        class_name = self._class(target)
        if target is None:
            return
        if class_name is None:
            self._finding("action", f"the action {name} has no target; connect it")
            return
        for ancestor, found in self._ancestors(class_name):
            methods = found.methods if found else self._foreign.get(ancestor, {})
            if name in methods:
                if not ACTION_TYPE.fullmatch(methods[name]):
                    self._finding("action", f"the method {name} of {class_name} is not an action (type code "
                                            f"{methods[name]}); let it take the sender and return nothing")
                return
            # The actions of the system's other classes are not known here.
            if found is None and is_platform_class(ancestor) and ancestor not in OUTLETS:
                return
        self._finding("action", f"{class_name} has no method {name}; correct the name, or the click raises "
                                "an exception")

    def _check_unconnected(self):
        for identity, class_name in self._interface.objects.items():
            connected = {n for s, n, _ in self._interface.outlets if s == identity}
            for _, found in self._ancestors(class_name):
                for name, kind in (found.ivars if found else {}).items():
                    wanted = OBJECT_TYPE.fullmatch(kind)
                    if wanted and is_kind_of(wanted.group(1), "NSView", self._classes) \
                            and not connected & {name, name.lstrip("_")}:
                        self._finding("outlet", f"the instance variable {name} of {class_name} is not connected, so it "
                                                "stays nil; connect it to its element")
