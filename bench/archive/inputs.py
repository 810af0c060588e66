"""The trees that are packed and unpacked: the same bytes every time."""

import os
import random

WORDS = 3000
DATE = 1500000000


class Contents:
    """Texts and bytes that compress as well as those of real files."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        letters = "etaoinshrdlcumwfgypbvk"
        words = ["".join(self.random.choices(letters, k=self.random.randint(2, 11)))
                 for _ in range(WORDS)]
        weights = [1 / (rank + 10) for rank in range(WORDS)]
        chosen = self.random.choices(words, weights, k=3_000_000)
        self.pool = " ".join(chosen).encode()
        self.noise = self.random.randbytes(4 << 20)

    def text(self, size):
        start = self.random.randrange(len(self.pool) - size)
        return self.pool[start:start + size]

    def program(self, size):
        """Like machine code: runs of noise and of text, some of which are repeated soon."""
        parts, made = [], 0
        while made < size:
            length = self.random.randint(50, 400)
            kind = self.random.random()
            if kind < 0.40 and parts:
                parts.append(parts[-self.random.randint(1, min(40, len(parts)))])
            else:
                parts.append(self.text(length) if kind < 0.85 else self.bytes(length))
            made += len(parts[-1])
        return b"".join(parts)[:size]

    def bytes(self, size):
        start = self.random.randrange(max(1, len(self.noise) - size))
        return self.noise[start:start + size]


def write(path, content, mode=0o644):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    path.chmod(mode)
    os.utime(path, (DATE, DATE))


def make_small(folder):
    """20,000 texts of 1 to 16 KiB in 420 folders, and 200 links."""
    contents = Contents(1)
    for number in range(20_000):
        place = folder / f"d{number % 20}" / f"e{number % 420}"
        write(place / f"file {number}.txt", contents.text(contents.random.randint(1 << 10, 16 << 10)))
    for number in range(200):
        os.symlink(f"file {number}.txt", folder / f"d{number % 20}" / f"e{number}" / "link")


def make_application(folder):
    """3,000 files and 400 links, 290 MB: a few large programs, many resources, some pictures."""
    contents = Contents(2)
    app = folder / "Example.app" / "Contents"
    for number in range(8):
        write(app / "Linux" / f"program {number}", contents.program(9 << 20), 0o755)
    for number in range(100):
        framework = app / "Frameworks" / f"F{number}.framework"
        write(framework / "Versions" / "A" / f"F{number}", contents.program(1_600_000), 0o755)
        write(framework / "Versions" / "A" / "Resources" / "Info.plist", contents.text(900))
        os.symlink("A", framework / "Versions" / "Current")
        os.symlink(f"Versions/Current/F{number}", framework / f"F{number}")
        os.symlink("Versions/Current/Resources", framework / "Resources")
        os.symlink("../Info.plist", framework / "Versions" / "A" / "Resources" / "link")
        write(framework / "Versions" / "A" / "Info.plist", contents.text(700))
    for number in range(2_300):
        language = f"l{number % 30}.lproj"
        write(app / "Resources" / language / f"é {number}.strings", contents.text(
            contents.random.randint(500, 30_000)))
    for number in range(390):
        write(app / "Resources" / "pictures" / f"{number}.png", contents.bytes(
            contents.random.randint(2_000, 60_000)))


def make_large(folder):
    """One text of 500 MB. Its repetitions are too far apart for deflate's window."""
    contents = Contents(3)
    folder.mkdir()
    with open(folder / "large.txt", "wb") as file:
        while file.tell() < 500_000_000:
            file.write(contents.text(1 << 20))
    os.truncate(folder / "large.txt", 500_000_000)
    os.utime(folder / "large.txt", (DATE, DATE))
