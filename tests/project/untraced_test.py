#!/usr/bin/env python3
"""Nothing of the option KX_TRACE is in what was built without it.

  untraced_test.py FILE... [--traced] LIBRARY    with --traced the library was built with it, and shows
                                                 that this test would see it"""

import pathlib
import sys

MARK = b"KX_TRACE"


def main():
    *untraced, library = sys.argv[1:]
    is_traced = untraced[-1] == "--traced"
    if is_traced:
        untraced.pop()
    expected = {path: False for path in untraced} | {library: is_traced}
    wrong = [path for path, mark in expected.items()
             if (MARK in pathlib.Path(path).read_bytes()) != mark]
    for path in wrong:
        print(f"{path}: {'has no' if expected[path] else 'has'} {MARK.decode()}")
    print(f"{len(expected)} files read, {len(wrong)} not as they should be")
    return 1 if wrong else 0


sys.exit(main())
