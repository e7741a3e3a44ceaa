#!/usr/bin/env python3
"""Compares debian/libzelgl1.symbols with the lists of exported symbols, or writes it.

Usage: debian_symbols.py ROOT VERSION [--refresh]

A symbol keeps the version that the file has for it: the first one that had the symbol. VERSION is that of new ones.
"""

import pathlib
import re
import sys

ROOT, VERSION = pathlib.Path(sys.argv[1]), sys.argv[2]
PATH = ROOT / "debian/libzelgl1.symbols"
LIBRARIES = ["Check", "Core", "GL", "Kit", "Shaders"]


def line(name, known):
    """The line of a symbol. Types like size_t have another name where a pointer has 32 bits."""
    if re.fullmatch(r"\w+", name):
        symbol = f" {name}@Base"
    else:
        tags = "c++|arch-bits=64" if re.search(r"(?<!long )\blong\b(?! long)", name) else "c++"
        symbol = f' ({tags})"{name}@Base"'
    return f"{symbol} {known.get(symbol, VERSION)}"


def main():
    old = PATH.read_text() if PATH.exists() else ""
    known = dict(entry.rsplit(" ", 1) for entry in old.splitlines() if entry.startswith(" "))
    new = []
    for library in LIBRARIES:
        names = (ROOT / f"tests/checks/libZel{library}.exports").read_text().splitlines()
        new += [f"libZel{library}.so.1 libzelgl1 #MINVER#", *(line(name, known) for name in names)]
    text = "\n".join(new) + "\n"
    if "--refresh" in sys.argv:
        PATH.write_text(text)
    elif text != old:
        print("debian/libzelgl1.symbols differs from the lists of exports: build zelgl_refresh_exports.")
        return 1
    return 0


sys.exit(main())
