#!/usr/bin/env python3
"""Writes the pages of the reference that follow from the sources: groups of the classes by subsystem, and the GLSL functions.

Usage: reference.py ROOT OUTPUT-FOLDER
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
OUTPUT = pathlib.Path(sys.argv[2])
LIBRARIES = {"Core": "Memory and files", "Shaders": "ZelGL::Shaders: diagnosis of shaders",
             "Check": "ZelGL::Check: why is it black?", "Kit": "ZelGL::Kit: the parts that every host needs"}


def subsystems():
    """The public headers of libZelGL by subsystem, in the order of the architecture."""
    text = (ROOT / "src/GL/CMakeLists.txt").read_text()
    for name, body in re.findall(r"^set\(ZELGL_([A-Z_]+)\n(.*?)^\)", text, re.M | re.S):
        entries = [entry for entry in body.split() if not entry.startswith("private/")]
        headers = [ROOT / "src/GL" / f"{entry.removesuffix('.h')}.h" for entry in entries if not entry.endswith(".cpp")]
        if any(header.exists() for header in headers):
            yield name.lower(), [header for header in headers if header.exists() and header.stem != "GLLoader"]


def classes(header):
    """The exported classes of a header, with their namespaces."""
    text = header.read_text()
    namespaces = re.findall(r"namespace (Orvane|Zel\w*|TvoImageCubemapUtils)\b", text)
    space = "TvoImageCubemapUtils" if "TvoImageCubemapUtils" in namespaces else f"Orvane::{namespaces[1]}" if len(namespaces) > 1 else ""
    return [f"{space}::{name}" for name in re.findall(r"^(?:class|struct) ZEL\w+_EXPORT (\w+)", text, re.M)]


def group(name, title, headers):
    """A group of Doxygen with the classes and files of these headers."""
    lines = [f"/** \\defgroup {name} {title} */"]
    for header in headers:
        lines += [f"/** \\class {one}\n    \\ingroup {name} */" for one in classes(header)]
        if not classes(header):
            lines.append(f"/** \\file {header.name}\n    \\ingroup {name} */")
    return "\n".join(lines)


def glsl(header):
    """A GLSL header as Markdown: its first comment as text, and the rest as code."""
    comment, _, code = re.fullmatch(r"((?://[^\n]*\n)*)(#ifndef \w+\n#define \w+\n)?(.*)", header.read_text(), re.S).groups()
    code = re.sub(r"^#if defined\(TEXTURE_ARRAY_ARRAY2D_EXPLICIT.*?^#endif\n#endif\n#endif\n", "", code, flags=re.M | re.S)
    code = code.rstrip().removesuffix("#endif").strip()
    prose = re.sub(r"^// ?", "", comment, flags=re.M)
    return f"## {header.name}\n\n{prose}\n```glsl\n{code}\n```\n"


def main():
    OUTPUT.mkdir(parents=True, exist_ok=True)
    groups = [group(name, name.replace("_", " ").capitalize(), headers) for name, headers in subsystems()]
    groups += [group(f"lib_{name.lower()}", title, sorted((ROOT / "src" / name).glob("*.h")))
               for name, title in LIBRARIES.items()]
    (OUTPUT / "groups.dox").write_text("\n\n".join(groups) + "\n")
    pages = [glsl(header) for header in sorted((ROOT / "GLSL/include").glob("*.glslh"))]
    (OUTPUT / "glsl.md").write_text(
        "# GLSL functions {#md_glsl}\n\nA shader includes a header of this page; its program adds the definitions "
        "(\\ref md_docs_programs).\n\n" + "\n".join(pages))


main()
