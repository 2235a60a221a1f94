#!/usr/bin/env python3
"""Takes the time at which widl made a type library out of it, so that the same definitions make the same file.

Use: undate.py TYPE_LIBRARY
"""
import pathlib
import re
import sys

# The time as a text of 24 characters, and, behind what fills that up, as a number (VT_UI4).
CREATED = re.compile(rb"(Created by WIDL version [\d.]+ at )[^\n]{24}(\nW*\x13\x00).{4}", re.DOTALL)
BEGINNING = (b"Thu Jan  1 00:00:00 1970", bytes(4))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    path = pathlib.Path(sys.argv[1])
    text, number = BEGINNING
    content, count = CREATED.subn(lambda found: found[1] + text + found[2] + number, path.read_bytes())
    if count != 1:
        sys.exit(f"{path}: the time of its creation was expected once, and is there {count} times")
    path.write_bytes(content)


if __name__ == "__main__":
    main()
