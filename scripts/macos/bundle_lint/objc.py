"""Reads the Objective-C classes of a Mach-O file: what the run time of Objective-C sees when it is loaded."""

from __future__ import annotations

from bundle_lint.macho import MachOError

CLASS_SYMBOL = "_OBJC_CLASS_$_"
POINTER_MASK = 0x00007FFFFFFFFFF8  # a class's pointer to its data has flags in its lowest bits
RELATIVE = 0x80000000
LIST_FLAGS = 0xFFFF0003
MOST = 100000  # methods or instance variables of one class


class ObjcClass:
    """A class as it is compiled: name, name of the superclass, instance variables with their type codes,
    instance and class methods with theirs; those of categories in the same file included."""

    def __init__(self, name, parent):
        self.name, self.parent = name, parent
        self.ivars, self.methods, self.class_methods = {}, {}, {}


class Metadata:
    """The classes of one slice by name; categories on classes of other files by the class's name; and the
    names of classes and categories with a method `load`, which runs before anything can be seen."""

    def __init__(self, slice_):
        self._slice = slice_
        self.classes, self.foreign_categories, self.loads = {}, {}, []
        by_address = {}
        for address in self._pointers("__objc_classlist"):
            read = self._class(address)
            by_address[address] = read
            self.classes[read.name] = read
        for address in self._pointers("__objc_catlist"):
            self._category(address, by_address)

    def _pointers(self, section):
        found = self._slice.section(section)
        if found is None:
            return []
        return [self._slice.pointer(found.address + i) for i in range(0, found.size, 8)]

    def _class(self, address):
        s = self._slice
        data = s.pointer(address + 32) & POINTER_MASK
        name = s.text(s.pointer(data + 24))
        read = ObjcClass(name, self._class_name(address + 8))
        read.methods = self._methods(s.pointer(data + 32))
        read.ivars = self._ivars(s.pointer(data + 48))
        meta = s.pointer(address)
        if meta:
            read.class_methods = self._methods(s.pointer((s.pointer(meta + 32) & POINTER_MASK) + 32))
        if "load" in read.class_methods:
            self.loads.append(name)
        return read

    def _class_name(self, address):
        """Returns the name of the class that the pointer at `address` will point to, or None."""
        s = self._slice
        if address in s.imports:
            return s.imports[address].replace(CLASS_SYMBOL, "", 1)
        target = s.pointer(address)
        return s.text(s.pointer((s.pointer(target + 32) & POINTER_MASK) + 24)) if target else None

    def _category(self, address, by_address):
        s = self._slice
        name = s.text(s.pointer(address))
        methods = self._methods(s.pointer(address + 16))
        class_methods = self._methods(s.pointer(address + 24))
        owner = by_address.get(s.pointer(address + 8))
        class_name = owner.name if owner else self._class_name(address + 8)
        if "load" in class_methods:
            self.loads.append(f"{class_name}({name})")
        if owner:
            owner.methods.update(methods)
            owner.class_methods.update(class_methods)
        else:
            self.foreign_categories.setdefault(class_name, {}).update(methods)

    def _count(self, address):
        size, count = self._slice.read("<II", address)
        if count > MOST:
            raise MachOError("the list of a class is too long")
        return size, count

    def _methods(self, address):
        if not address:
            return {}
        s = self._slice
        size, count = self._count(address)
        found = {}
        for index in range(count):
            at = address + 8 + (size & ~LIST_FLAGS) * index
            if size & RELATIVE:
                name = s.text(s.pointer(at + s.read("<i", at)[0]))
                found[name] = s.text(at + 4 + s.read("<i", at + 4)[0])
            else:
                found[s.text(s.pointer(at))] = s.text(s.pointer(at + 8))
        return found

    def _ivars(self, address):
        if not address:
            return {}
        s = self._slice
        size, count = self._count(address)
        places = [address + 8 + size * index for index in range(count)]
        return {s.text(s.pointer(at + 8)): s.text(s.pointer(at + 16)) for at in places}
