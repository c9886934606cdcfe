#!/usr/bin/env python3
"""Fails when a source file includes a header from a folder above its own.

The folders of src/ stand in layers, lowest first; a folder may include its own
headers and those of any lower folder, never those of a higher one. Folders on
the same rank (the two front ends) may not include each other.
Usage: check-layers.py SRC_DIR
"""
import pathlib
import re
import sys

RANKS = {
    "runtime": 0,
    "platform": 1,
    "store": 2,
    "providers": 3,
    "SimilaritySearchKit": 4,
    "documents": 5,
    # speech/ stands under chat/: the chat service names its speech files
    # with the speech subsystem's dated stem.
    "speech": 6,
    "chat": 7,
    "conversation": 8,
    "cli": 9,
    "shell": 9,
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([A-Za-z]+)/')


def main() -> int:
    src = pathlib.Path(sys.argv[1])
    crossings = []
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".h", ".cpp", ".inc"):
            continue
        folder = path.relative_to(src).parts[0]
        if folder not in RANKS:
            crossings.append(f"{path.relative_to(src)}: folder {folder} has no place in the layers")
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match or match.group(1) == folder:
                continue
            target = match.group(1)
            if target not in RANKS:
                continue
            if RANKS[target] >= RANKS[folder]:
                crossings.append(f"{path.relative_to(src)}:{number}: {folder} includes {target}/")
    for crossing in crossings:
        print(crossing)
    if crossings:
        print(f"{len(crossings)} includes cross the layers upwards", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
