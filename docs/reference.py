#!/usr/bin/env python3
"""Writes what of the site follows from the sources: groups of the classes by subsystem, pages of the GLSL functions and of each
example, and the navigation, in the order of the guide.

Usage: reference.py ROOT OUTPUT-FOLDER
"""

import pathlib
import re
import shutil
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
    space = ""
    for names, name in re.findall(r"^(?:((?:namespace \w+ \{ ?)+)|(?:class|struct) ZEL\w+_EXPORT (\w+))", header.read_text(), re.M):
        if names: # the last one opened: declarations of other namespaces may precede
            space = re.sub("^Zel", "Orvane::Zel", "::".join(re.findall(r"namespace (\w+)", names)))
        else:
            yield f"{space}::{name}" if space else name


def group(name, title, headers):
    """A group of Doxygen with the classes and files of these headers."""
    lines = [f"/** \\defgroup {name} {title} */"]
    for header in headers:
        found = list(classes(header))
        lines += [f"/** \\class {one}\n    \\ingroup {name} */" for one in found]
        if not found:
            lines.append(f"/** \\file {header.name}\n    \\ingroup {name} */")
    return "\n".join(lines)


def glsl(header):
    """A GLSL header as Markdown: its first comment as text, and the rest as code."""
    comment, _, code = re.fullmatch(r"((?://[^\n]*\n)*)(#ifndef \w+\n#define \w+\n)?(.*)", header.read_text(), re.S).groups()
    code = re.sub(r"^#if defined\(TEXTURE_ARRAY_ARRAY2D_EXPLICIT.*?^#endif\n#endif\n#endif\n", "", code, flags=re.M | re.S)
    code = code.rstrip().removesuffix("#endif").strip()
    prose = re.sub(r"^// ?", "", comment, flags=re.M)
    return f"## {header.name}\n\n{prose}\n```glsl\n{code}\n```\n"


def code(path):
    return f"```{'cpp' if path.suffix in ('.cpp', '.h') else 'glsl'}\n{path.read_text().strip()}\n```\n\n"


def example(name, sources):
    """An example as Markdown: its picture, its first comment as text, and its sources as code."""
    comment = re.match(r"((?://[^\n]*\n)+)", sources[0].read_text())[1]
    prose = re.sub(r"^// ?", "", comment, flags=re.M).replace("<", "\\<")
    return (f"# {name} {{#example_{name}}}\n\n![](docs/images/{name}.png)\n\n{prose}\n"
            + "".join(f"## {path.name}\n\n{code(path)}" for path in sources))


def examples():
    """The examples by name, each with its sources; C++ comes first."""
    yield "starter", [path for suffix in ("main.cpp", "*.h", "*.vert", "*.frag") for path in sorted((ROOT / "examples/starter").glob(suffix))]
    for source in sorted((ROOT / "examples").glob("[0-9]*.cpp")):
        yield source.stem, [source] + sorted(path for path in source.parent.glob(source.stem[:3] + "*") if path.suffix != ".cpp")


def page_name(page):
    """Doxygen's name of a Markdown page."""
    return "md_" + re.sub(r"\W", "_", str(page.relative_to(ROOT).with_suffix("")))


def tabs(entries):
    return "\n".join(f'      <tab type="user" url="@ref {name}" title="{title}"/>' for name, title in entries)


def navigation():
    """Doxygen's layout: the pages of the guide in its order, the examples, the reference, and the pages about the project."""
    guide = re.findall(r"^\| \[(.*?)\]\(([\w./-]+)\)", (ROOT / "docs/guide.md").read_text(), re.M)
    pages = [(page_name((ROOT / "docs" / path).resolve()), title) for title, path in guide]
    project = [("docs/architecture.md", "Architecture"), ("src/GL/README.md", "Map of the sources"),
               ("benchmarks/README.md", "Benchmarks"), ("CHANGELOG.md", "Changes"), ("CONTRIBUTING.md", "Contributing")]
    template = (ROOT / "docs/site/layout.xml").read_text()
    for mark, entries in (("GUIDE", [entry for entry in pages if entry[0] != "md_examples_README"]),
                          ("EXAMPLES", [(f"example_{name}", name) for name, _ in examples()]),
                          ("PROJECT", [(page_name(ROOT / path), title) for path, title in project])):
        template = template.replace(f"      <!-- {mark} -->", tabs(entries))
    return template


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
    (OUTPUT / "layout.xml").write_text(navigation())
    shutil.rmtree(OUTPUT.parent / "html", ignore_errors=True) # pages of classes that are gone
    for folder in ("start", "reports"): # pages link their files
        shutil.copytree(ROOT / "docs" / folder, OUTPUT.parent / "html" / folder, dirs_exist_ok=True)
    for name, sources in examples():
        (OUTPUT / f"example_{name}.md").write_text(example(name, sources))


main()
