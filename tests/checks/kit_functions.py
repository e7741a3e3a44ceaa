#!/usr/bin/env python3
"""Compares the table of GLSL functions in docs/kit.md with the files of src/Kit/shaders that hosts include.

Usage: kit_functions.py ROOT [--update]

A row is `signature` | file | description. --update adds and removes rows; the descriptions are written by hand.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
PAGE = ROOT / "docs" / "kit.md"
TABLE = re.compile(r"(?<=<!-- functions -->\n\| Function \| Include \| Result \|\n\|---\|---\|---\|\n)(?:\|.*\n)*")
FUNCTION = re.compile(r"^((?:float|vec\d) (?!kit)\w+\([^)]*\))\n\{", re.M)


def main():
    page = PAGE.read_text()
    rows = TABLE.search(page)[0].splitlines()
    described = {row.split(" | ")[0]: row.split(" | ")[2] for row in rows}
    wanted = []
    for file in sorted((ROOT / "src/Kit/shaders").glob("Kit*.glslh")):
        for function in FUNCTION.findall(file.read_text()):
            key = f"| `{function}`"
            wanted.append(f"{key} | `{file.name}` | {described.get(key, 'DESCRIBE IT |')}")
    if "--update" in sys.argv:
        PAGE.write_text(TABLE.sub(lambda _: "\n".join(wanted) + "\n", page))
    elif rows != wanted or "DESCRIBE IT" in page:
        print("docs/kit.md: run tests/checks/kit_functions.py . --update and describe new functions:",
              *set(rows) ^ set(wanted), sep="\n")
        return 1
    return 0


sys.exit(main())
