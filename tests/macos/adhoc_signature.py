"""Signs a bundle as `codesign --sign -` does, without a certificate: the seal of its files, then the
executable. For the tests of what lint-bundle says about signatures; a Mac would not ship such a bundle."""

import hashlib
import os
import plistlib
import struct

PAGE = 4096
ADHOC = 0x2
LC_SEGMENT_64, LC_CODE_SIGNATURE = 0x19, 0x1D


def seal(contents, executable):
    """Writes _CodeSignature/CodeResources."""
    files = {}
    for folder, _, names in os.walk(contents):
        for name in names:
            path = os.path.join(folder, name)
            relative = os.path.relpath(path, contents)
            if relative in ("Info.plist", f"MacOS/{executable}") or relative.startswith("_CodeSignature"):
                continue
            if os.path.islink(path):
                files[relative] = {"symlink": os.readlink(path)}
                continue
            with open(path, "rb") as file:
                data = file.read()
            files[relative] = {"hash": hashlib.sha1(data).digest(),
                               "hash2": hashlib.sha256(data).digest()}
    target = contents / "_CodeSignature"
    target.mkdir(exist_ok=True)
    content = plistlib.dumps({"files": {}, "files2": files, "rules": {}, "rules2": {}})
    (target / "CodeResources").write_bytes(content)


def code_directory(code, identifier, specials, flags):
    name = identifier.encode() + b"\0"
    pages = [code[at:at + PAGE] for at in range(0, len(code), PAGE)]
    hashes = 44 + len(name) + 32 * len(specials)
    length = hashes + 32 * len(pages)
    header = struct.pack(">IIIIIIIIIBBBBI", 0xFADE0C02, length, 0x20001, flags, hashes, 44, len(specials),
                         len(pages), len(code), 32, 2, 0, 12, 0)
    return (header + name + b"".join(reversed(specials))
            + b"".join(hashlib.sha256(page).digest() for page in pages))


def super_blob(blobs):
    at, index, body = 12 + 8 * len(blobs), b"", b""
    for kind, blob in blobs:
        index += struct.pack(">II", kind, at + len(body))
        body += blob
    return struct.pack(">III", 0xFADE0CC0, at + len(body), len(blobs)) + index + body


def signed_slice(data, identifier, specials, flags):
    """Returns the bytes of a thin file, which the linker has signed, with another signature."""
    data = bytearray(data)
    count, = struct.unpack_from("<I", data, 16)
    at, signature_at, linkedit_at = 32, None, None
    for _ in range(count):
        command, size = struct.unpack_from("<II", data, at)
        if command == LC_CODE_SIGNATURE:
            signature_at = at
        elif command == LC_SEGMENT_64 and data[at + 8:at + 24].rstrip(b"\0") == b"__LINKEDIT":
            linkedit_at = at
        at += size
    offset, _ = struct.unpack_from("<II", data, signature_at + 8)
    requirements = struct.pack(">III", 0xFADE0C01, 12, 0)
    specials = [specials[0], hashlib.sha256(requirements).digest(), specials[1]]

    def blob():
        return super_blob([(0, code_directory(bytes(data[:offset]), identifier, specials, flags)),
                           (2, requirements), (0x10000, struct.pack(">II", 0xFADE0B01, 8))])

    # The commands are signed also, so the size of the signature must be in them before.
    size = len(blob())
    struct.pack_into("<I", data, signature_at + 12, size)
    _, _, file_offset, _ = struct.unpack_from("<QQQQ", data, linkedit_at + 24)
    file_size = offset + size - file_offset
    struct.pack_into("<QQQ", data, linkedit_at + 32, -(-file_size // 16384) * 16384, file_offset, file_size)
    return bytes(data[:offset]) + blob()


def sign(bundle, identifier, executable, flags=ADHOC):
    contents = bundle / "Contents"
    seal(contents, executable)
    specials = [hashlib.sha256((contents / name).read_bytes()).digest()
                for name in ("Info.plist", "_CodeSignature/CodeResources")]
    path = contents / "MacOS" / executable
    data = path.read_bytes()
    magic, count = struct.unpack_from(">II", data, 0)
    if magic != 0xCAFEBABE:
        path.write_bytes(signed_slice(data, identifier, specials, flags))
        return
    header, body = struct.pack(">II", magic, count), b""
    at = 16384
    for index in range(count):
        cpu, subtype, offset, size, align = struct.unpack_from(">IIIII", data, 8 + 20 * index)
        thin = signed_slice(data[offset:offset + size], identifier, specials, flags)
        header += struct.pack(">IIIII", cpu, subtype, at, len(thin), align)
        padded = -(-len(thin) // 16384) * 16384
        body += thin.ljust(padded, b"\0")
        at += padded
    path.write_bytes(header.ljust(16384, b"\0") + body)
