"""Reads 64-bit Mach-O files: architectures, load commands, sections, symbols, and what is where a pointer
will be once the file is loaded. The layouts are those of <mach-o/loader.h>, <mach-o/fat.h>,
<mach-o/nlist.h> and <mach-o/fixup-chains.h>."""

from __future__ import annotations

import struct

MH_OBJECT, MH_BUNDLE = 1, 8
ARCHITECTURES = {0x01000007: "x86_64", 0x0100000C: "arm64"}
ARM64E = 2

LC_SYMTAB, LC_SEGMENT_64, LC_CODE_SIGNATURE = 0x2, 0x19, 0x1D
LC_DYLD_INFO, LC_DYLD_INFO_ONLY, LC_DYLD_CHAINED_FIXUPS = 0x22, 0x80000022, 0x80000034
LC_VERSION_MIN_MACOSX, LC_BUILD_VERSION = 0x24, 0x32
LOAD_DYLIB_COMMANDS = {0xC, 0x80000018, 0x8000001F, 0x80000023}

N_STAB, N_TYPE, N_EXT, N_UNDF = 0xE0, 0x0E, 0x01, 0x00
CHAINED_64, CHAINED_64_OFFSET = 2, 6
NO_FIXUP = 0xFFFF
# How the name's place is written in each form of an imported symbol: layout, size, bits before it.
IMPORT_FORMS = {1: ("<I", 4, 9), 2: ("<I", 8, 9), 3: ("<Q", 16, 32)}


class MachOError(Exception):
    """The file is not what it says it is, or of a kind that is not read here."""


class Section:
    def __init__(self, segment, name, address, size, offset, flags):
        self.segment, self.name, self.address, self.size = segment, name, address, size
        self.offset, self.flags = offset, flags


class Segment:
    def __init__(self, name, address, size, offset, file_size):
        self.name, self.address, self.size = name, address, size
        self.offset, self.file_size = offset, file_size


class Slice:
    """The part of a file for one architecture. `targets` and `imports` say what the loader will write at an
    address: that address, or the address of that symbol."""

    def __init__(self, data):
        self.data = data
        self.segments, self.sections, self.libraries = [], [], []
        self.undefined, self.defined = set(), set()
        self.imports, self.targets = {}, {}
        self.signature = None  # offset and size
        self.minimum_system = None
        self._commands = []
        self._read_header()
        for command, offset, size in self._commands:
            self._read_command(command, offset, size)
        for command, offset, _ in self._commands:
            if command in (LC_DYLD_INFO, LC_DYLD_INFO_ONLY):
                # The bound, weakly bound and lazily bound symbols.
                for start in (16, 24, 32):
                    self._read_binds(*self.unpack("<II", offset + start))
            elif command == LC_DYLD_CHAINED_FIXUPS:
                self._read_chains(*self.unpack("<I", offset + 8))

    def unpack(self, layout, offset):
        if offset < 0:
            raise MachOError("an offset points before the file")
        try:
            return struct.unpack_from(layout, self.data, offset)
        except struct.error:
            raise MachOError("the file is truncated") from None

    def text_at(self, offset, limit=None):
        end = self.data.find(b"\0", offset, limit)
        if offset < 0 or end < 0:
            raise MachOError("a name does not end")
        return self.data[offset:end].decode("utf-8", "replace")

    def _read_header(self):
        magic, cpu, subtype, self.kind, count, size = self.unpack("<IIIIII", 0)
        if magic != 0xFEEDFACF:
            raise MachOError("a part of it is not a 64-bit Mach-O file")
        self.architecture = ARCHITECTURES.get(cpu, f"cpu {cpu:#x}")
        if self.architecture == "arm64" and subtype & 0xFF == ARM64E:
            self.architecture = "arm64e"
        offset = 32
        for _ in range(count):
            command, length = self.unpack("<II", offset)
            if length < 8 or offset + length > 32 + size:
                raise MachOError("a load command is longer than the list of commands")
            self._commands.append((command, offset, length))
            offset += length

    def _read_command(self, command, offset, size):
        if command == LC_SEGMENT_64:
            self._read_segment(offset)
        elif command == LC_SYMTAB:
            self._read_symbols(*self.unpack("<IIII", offset + 8))
        elif command == LC_CODE_SIGNATURE:
            self.signature = self.unpack("<II", offset + 8)
        elif command in LOAD_DYLIB_COMMANDS:
            self.libraries.append(self.text_at(offset + self.unpack("<I", offset + 8)[0],
                                               offset + size))
        elif command in (LC_BUILD_VERSION, LC_VERSION_MIN_MACOSX):
            where = offset + (12 if command == LC_BUILD_VERSION else 8)
            version = self.unpack("<I", where)[0]
            self.minimum_system = (version >> 16, version >> 8 & 0xFF)

    def _read_segment(self, offset):
        name = self._fixed_name(offset + 8)
        address, size, file_offset, file_size = self.unpack("<QQQQ", offset + 24)
        count = self.unpack("<I", offset + 64)[0]
        self.segments.append(Segment(name, address, size, file_offset, file_size))
        for index in range(count):
            at = offset + 72 + 80 * index
            start, length = self.unpack("<QQ", at + 32)
            where, = self.unpack("<I", at + 48)
            flags, = self.unpack("<I", at + 64)
            self.sections.append(Section(self._fixed_name(at + 16), self._fixed_name(at), start,
                                         length, where, flags))

    def _fixed_name(self, offset):
        return self.unpack("16s", offset)[0].rstrip(b"\0").decode("ascii", "replace")

    def _read_symbols(self, offset, count, strings, _size):
        for index in range(count):
            name, kind, _, _, value = self.unpack("<IBBHQ", offset + 16 * index)
            if kind & N_STAB or not kind & N_EXT:
                continue
            # An undefined symbol with a value is a common symbol, which the linker makes.
            undefined = kind & N_TYPE == N_UNDF and value == 0
            (self.undefined if undefined else self.defined).add(self.text_at(strings + name))

    def section(self, name):
        """Returns the section of that name in whichever segment, or None if it is missing or empty."""
        return next((s for s in self.sections if s.name == name and s.size), None)

    def offset_of(self, address):
        for segment in self.segments:
            if segment.address <= address < segment.address + segment.file_size:
                return segment.offset + address - segment.address
        raise MachOError(f"nothing is at the address {address:#x}")

    def read(self, layout, address):
        return self.unpack(layout, self.offset_of(address))

    def text(self, address):
        return self.text_at(self.offset_of(address))

    def pointer(self, address):
        """Returns the address that is at `address` once the file is loaded; 0 for none or an import."""
        if address in self.imports:
            return 0
        if address in self.targets:
            return self.targets[address]
        return self.read("<Q", address)[0]

    def _leb(self, offset, signed=False):
        value = shift = 0
        while True:
            byte, = self.unpack("B", offset)
            offset += 1
            value |= (byte & 0x7F) << shift
            shift += 7
            if shift > 70:
                raise MachOError("a number in the list of bound symbols is too long")
            if not byte & 0x80:
                break
        if signed and byte & 0x40:
            value -= 1 << shift
        return value, offset

    def _read_binds(self, offset, size):
        """Runs a program of the older form: opcodes that say at which places which symbol is bound."""
        name, address, end = "", 0, offset + size
        while offset < end:
            byte, = self.unpack("B", offset)
            offset += 1
            opcode, immediate = byte & 0xF0, byte & 0x0F
            if opcode == 0x20:  # library ordinal
                _, offset = self._leb(offset)
            elif opcode == 0x40:  # symbol
                name = self.text_at(offset, end)
                offset += len(name.encode()) + 1
            elif opcode == 0x60:  # addend
                _, offset = self._leb(offset, signed=True)
            elif opcode == 0x70:  # segment and offset
                distance, offset = self._leb(offset)
                address = self._segment(immediate).address + distance
            elif opcode == 0x80:  # add to the address
                distance, offset = self._leb(offset)
                address = (address + distance) % (1 << 64)
            elif opcode == 0x90:
                address = self._bind(address, name, 0)
            elif opcode == 0xA0:
                distance, offset = self._leb(offset)
                address = self._bind(address, name, distance)
            elif opcode == 0xB0:
                address = self._bind(address, name, 8 * immediate)
            elif opcode == 0xC0:
                repeat, offset = self._leb(offset)
                distance, offset = self._leb(offset)
                if repeat > len(self.data):
                    raise MachOError("the list of bound symbols is too long")
                for _ in range(repeat):
                    address = self._bind(address, name, distance)
            elif opcode not in (0x00, 0x10, 0x30, 0x50):
                raise MachOError(f"the list of bound symbols has an unknown opcode {byte:#x}")

    def _bind(self, address, name, distance):
        self.imports[address] = name
        return (address + 8 + distance) % (1 << 64)

    def _segment(self, index):
        if index >= len(self.segments):
            raise MachOError("a symbol is bound in a segment that does not exist")
        return self.segments[index]

    def _read_chains(self, base):
        """Reads the newer form: the places are a chain through the pointers of each page."""
        _, starts, imports, names, count, form = self.unpack("<IIIIII", base)
        symbols = [self._imported_name(base + imports, base + names, form, i) for i in range(count)]
        segments, = self.unpack("<I", base + starts)
        for index in range(segments):
            offset, = self.unpack("<I", base + starts + 4 + 4 * index)
            if offset:
                self._read_segment_chains(base + starts + offset, self._segment(index), symbols)

    def _imported_name(self, imports, names, form, index):
        if form not in IMPORT_FORMS:
            raise MachOError(f"imported symbols have an unknown form {form}")
        layout, size, shift = IMPORT_FORMS[form]
        return self.text_at(names + (self.unpack(layout, imports + size * index)[0] >> shift))

    def _read_segment_chains(self, at, segment, symbols):
        _, page_size, form, _, _, pages = self.unpack("<IHHQIH", at)
        for page in range(pages):
            start, = self.unpack("<H", at + 22 + 2 * page)
            if start == NO_FIXUP:
                continue
            if form not in (CHAINED_64, CHAINED_64_OFFSET):
                raise MachOError(f"pointers have an unknown form {form}")
            address = segment.address + page * page_size + start
            while address is not None:
                address = self._follow(address, form, symbols)

    def _follow(self, address, form, symbols):
        """Records the pointer at `address` and returns the address of the next, or None."""
        raw, = self.read("<Q", address)
        first = next((s.address for s in self.segments if s.name == "__TEXT"), 0)
        bound, distance = raw >> 63, (raw >> 51 & 0xFFF) * 4
        ordinal, target = raw & 0xFFFFFF, raw & ((1 << 36) - 1)
        target += first if form == CHAINED_64_OFFSET else 0
        if bound:
            if ordinal >= len(symbols):
                raise MachOError("a pointer names a symbol that is not in the list")
            self.imports[address] = symbols[ordinal]
        else:
            self.targets[address] = target
        return address + distance if distance else None


def slices(data):
    """Returns the Slice of each architecture in the bytes of a thin or universal file."""
    if len(data) < 8:
        raise MachOError("it is too short for a Mach-O file")
    magic, count = struct.unpack_from(">II", data, 0)
    if magic not in (0xCAFEBABE, 0xCAFEBABF):
        return [Slice(data)]
    layout = ">IIIII" if magic == 0xCAFEBABE else ">IIQQII"
    if count > 32:  # a Java class file has the same magic number
        raise MachOError("it is not a Mach-O file")
    found = []
    for index in range(count):
        try:
            entry = struct.unpack_from(layout, data, 8 + struct.calcsize(layout) * index)
        except struct.error:
            raise MachOError("the file is truncated") from None
        offset, size = entry[2], entry[3]
        if offset + size > len(data):
            raise MachOError("the file is truncated")
        found.append(Slice(data[offset:offset + size]))
    return found
