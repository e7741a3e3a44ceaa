#!/usr/bin/env python3
"""Fails on an include of src/GL that goes up the order of the subsystems, and names it.

Usage: include_order.py ROOT

The order is that of ZELGL_SUBSYSTEMS in src/GL/CMakeLists.txt.
"""

import pathlib
import re
import sys

SOURCES = pathlib.Path(sys.argv[1], "src", "GL")
UMBRELLA = "ZelGL.h"


def subsystem_ranks():
    """The rank of each file's subsystem, lowest first, and the names of the subsystems."""
    groups = dict(re.findall(r"^set\(ZELGL_([A-Z_]+)\s+([^)$]*)\)$", (SOURCES / "CMakeLists.txt").read_text(), re.M))
    order = groups["SUBSYSTEMS"].split()
    ranks = {}
    for rank, subsystem in enumerate(order):
        for name in groups[subsystem].split():
            ranks[name.removesuffix(".h")] = rank
    return ranks, order


def main():
    ranks, order = subsystem_ranks()
    errors = []
    files = [f for f in sorted(SOURCES.rglob("*")) if f.suffix in (".h", ".cpp") and f.name != UMBRELLA]
    for file in files:
        name = str(file.relative_to(SOURCES).with_suffix(""))
        if name not in ranks:
            errors.append(f"{name} is in no subsystem of src/GL/CMakeLists.txt")
            continue
        for included in re.findall(r'^#include "(.*)\.h"', file.read_text(), re.M):
            target = str((file.parent / included).resolve().relative_to(SOURCES.resolve()))
            if target not in ranks:
                errors.append(f"{file.name} includes {target}.h, which is in no subsystem")
            elif ranks[target] > ranks[name]:
                errors.append(f"{file.name} ({order[ranks[name]]}) includes {target}.h ({order[ranks[target]]})")
    print("\n".join(errors) or f"{len(files)} files include downward")
    return bool(errors)


sys.exit(main())
