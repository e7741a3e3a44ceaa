#!/usr/bin/env python3
"""Fails if a public class has no snippet in docs/snippets, or if a comment refers to a snippet that is missing, and names it.

Usage: snippets.py ROOT [--references]

Public classes are those that an installed header exports; a header that documents itself as a file, or that exports no class,
counts under its own name. A snippet is between two lines `//! [Name]`. With --references each of these names also needs the line
`\\snippet FILE Name` in its header; without, the check prints how many are missing.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
SNIPPETS = ROOT / "docs" / "snippets"
# Macros, names of GL, and includes only.
EXEMPT = {"CheckExport", "CoreExport", "Export", "GLLoader", "KitExport", "ShadersExport", "ZelGL", "ZelKit",
          "ZelShaders"}


def tags():
    """The number of lines with each tag, by (file, tag)."""
    counts = {}
    for file in SNIPPETS.glob("*.cpp"):
        for tag in re.findall(r"^\s*//! \[(\w+)\]$", file.read_text(), re.M):
            counts[file.name, tag] = counts.get((file.name, tag), 0) + 1
    return counts


def names(header, text):
    """What a header has to show."""
    found = re.findall(r"^(?:class|struct) ZEL[A-Z]+_EXPORT (\w+)", text, re.M)
    return found if found and "/// \\file" not in text else found + [header.stem]


def main():
    counts = tags()
    known = {tag for _, tag in counts}
    errors = [f"{file}: [{tag}] is in {count} lines instead of two" for (file, tag), count in counts.items() if count != 2]
    missing = []
    for header in sorted((ROOT / "src").glob("*/*.h")):
        if header.stem in EXEMPT:
            continue
        text = header.read_text()
        references = re.findall(r"^/// \\snippet (\S+) (\S+)$", text, re.M)
        errors += [f"{header.name}: no snippet {tag} in {file}" for file, tag in references if (file, tag) not in counts]
        for name in names(header, text):
            if name not in known:
                errors.append(f"{header.name}: no snippet of {name} in docs/snippets")
            if name not in [tag for _, tag in references]:
                missing.append(f"{header.name}: no line \\snippet of {name}")
    if "--references" in sys.argv:
        errors += missing
    print("\n".join(errors) or f"{len(counts)} snippets; {len(missing)} lines \\snippet are missing")
    return bool(errors)


sys.exit(main())
