"""An agent of polkit's that dismisses every question, as a user does who closes the dialog. Speaks
just as much of the bus's protocol as that takes: dismissing_agent.py PID START"""

import os
import socket
import struct
import sys

BUS = "/run/dbus/system_bus_socket"
POLKIT = "org.freedesktop.PolicyKit1"
PATH = "/org/quillmoor/agent"
CALL, RETURN, ERROR = 1, 2, 3
F_PATH, F_INTERFACE, F_MEMBER, F_ERROR, F_REPLY, F_DESTINATION, F_SENDER, F_SIGNATURE = range(1, 9)


class Writer:
    """Values in the bus's form, each on its own boundary."""

    def __init__(self):
        self.bytes = b""

    def align(self, size):
        self.bytes += b"\0" * (-len(self.bytes) % size)

    def u32(self, value):
        self.align(4)
        self.bytes += struct.pack("<I", value)

    def u64(self, value):
        self.align(8)
        self.bytes += struct.pack("<Q", value)

    def string(self, text):
        self.u32(len(text))
        self.bytes += text.encode() + b"\0"

    def signature(self, text):
        self.bytes += bytes([len(text)]) + text.encode() + b"\0"


def message(kind, serial, fields, signature="", body=b""):
    header = Writer()
    header.bytes = struct.pack("<BBBBII", ord("l"), kind, 0, 1, len(body), serial)
    if signature:
        fields = fields + [(F_SIGNATURE, "g", signature)]
    array = Writer()
    array.bytes = b"\0" * 16  # as far from a boundary as it will be
    for code, form, value in fields:
        array.align(8)
        array.bytes += bytes([code])
        array.signature(form)
        if form == "u":
            array.u32(value)
        elif form == "g":
            array.signature(value)
        else:
            array.string(value)
    header.u32(len(array.bytes) - 16)
    header.bytes += array.bytes[16:]
    header.align(8)
    return header.bytes + body


def read_exactly(bus, size):
    data = b""
    while len(data) < size:
        piece = bus.recv(size - len(data))
        if not piece:
            sys.exit(0)
        data += piece
    return data


def read_message(bus):
    """Kind, serial and the fields that are strings or numbers."""
    head = read_exactly(bus, 16)
    kind, body_size, serial, array_size = head[1], *struct.unpack("<III", head[4:16])
    array = read_exactly(bus, array_size + -array_size % 8)[:array_size]
    read_exactly(bus, body_size)
    fields, at = {}, 0
    while at < len(array):
        at += -at % 8
        code, form = array[at], chr(array[at + 2])
        at += 4
        if form == "g":
            size = array[at]
            fields[code] = array[at + 1:at + 1 + size].decode()
            at += size + 2
            continue
        at += -at % 4
        value = struct.unpack("<I", array[at:at + 4])[0]
        at += 4
        if form == "u":
            fields[code] = value
        else:
            fields[code] = array[at:at + value].decode()
            at += value + 1
    return kind, serial, fields


def subject(pid, start):
    """(sa{sv}): one process, by its number and the time of its start."""
    body = Writer()
    body.string("unix-process")
    pairs = Writer()
    for name, form, value in (("pid", "u", pid), ("start-time", "t", start)):
        pairs.align(8)
        pairs.string(name)
        pairs.signature(form)
        (pairs.u32 if form == "u" else pairs.u64)(value)
    body.u32(len(pairs.bytes))
    body.align(8)
    body.bytes += pairs.bytes
    return body


def main():
    pid, start = int(sys.argv[1]), int(sys.argv[2])
    bus = socket.socket(socket.AF_UNIX)
    bus.connect(BUS)
    bus.sendall(b"\0AUTH EXTERNAL " + str(os.getuid()).encode().hex().encode() + b"\r\n")
    assert bus.recv(4096).startswith(b"OK")
    bus.sendall(b"BEGIN\r\n")
    to_bus = [(F_PATH, "o", "/org/freedesktop/DBus"), (F_INTERFACE, "s", "org.freedesktop.DBus"),
              (F_MEMBER, "s", "Hello"), (F_DESTINATION, "s", "org.freedesktop.DBus")]
    bus.sendall(message(CALL, 1, to_bus))
    body = subject(pid, start)
    body.string("C")
    body.string(PATH)
    to_polkit = [(F_PATH, "o", "/org/freedesktop/PolicyKit1/Authority"),
                 (F_INTERFACE, "s", POLKIT + ".Authority"),
                 (F_MEMBER, "s", "RegisterAuthenticationAgent"), (F_DESTINATION, "s", POLKIT)]
    bus.sendall(message(CALL, 2, to_polkit, "(sa{sv})ss", body.bytes))
    serial = 2
    while True:
        kind, number, fields = read_message(bus)
        if fields.get(F_REPLY) == 2:
            print("registered" if kind == RETURN else "failed", fields.get(F_ERROR, ""), flush=True)
        if kind != CALL:
            continue
        serial += 1
        reply = [(F_REPLY, "u", number), (F_DESTINATION, "s", fields[F_SENDER])]
        if fields[F_MEMBER] == "BeginAuthentication":
            print("asked", flush=True)
            reply.append((F_ERROR, "s", POLKIT + ".Error.Cancelled"))
            bus.sendall(message(ERROR, serial, reply))
        else:
            bus.sendall(message(RETURN, serial, reply))


main()
