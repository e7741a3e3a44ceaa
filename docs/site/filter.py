#!/usr/bin/env python3
"""Filters a Markdown page for Doxygen, which has no anchors of headings: gives each heading a label of page and heading, and lets
links lead to these labels. Also keeps code in elements of HTML as it is.

Usage: filter.py PAGE
"""

import pathlib
import re
import sys

PAGE = pathlib.Path(sys.argv[1]).resolve()
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def label(path, anchor):
    """A label that is unique in the site: README.md exists in several folders."""
    return f"{path.parent.name}_{path.stem}_{anchor}".replace(".", "_")


def slug(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def heading(match):
    return f"{match[0]} {{#{label(PAGE, slug(match[1]))}}}"


def link(match):
    path = (PAGE.parent / match[1]).resolve() if match[1] else PAGE
    return f"](@ref {label(path, match[2])})"


def class_link(text, header):
    """A link to the class of a header that the text names, or the text alone."""
    library = header.parent.name
    space = "Orvane::Zel::" if library in ("GL", "Core") else f"Orvane::Zel{library}::"
    space = "TvoImageCubemapUtils::" if "namespace TvoImageCubemapUtils" in header.read_text() else space
    for name in re.findall(r"^(?:class|struct) ZEL\w+_EXPORT (\w+)", header.read_text(), re.M):
        if re.search(rf"\b{name}\b", text):
            return f"[{text}](@ref {space}{name})"
    return f"[{text}](@ref {header.name})"


def file_link(match):
    """A link to a file that is no page: to the page of the example with this source, to a copy of the file, to
    the class of a header, or its text alone."""
    path = (PAGE.parent / match[2]).resolve()
    if path.suffix in (".md", ".png", ".svg") or not path.exists():
        return match[0]
    if path.is_file() and path.is_relative_to(ROOT / "docs"): # reference.py has copied it
        return match[0]
    if path.parent.parent == ROOT / "src":
        return class_link(match[1], path)
    if path.suffix == ".cpp" and path.parent == ROOT / "examples":
        return f"[{match[1]}](@ref example_{path.stem})"
    if ROOT / "examples/starter" in (path, path.parent):
        return f"[{match[1]}](@ref example_starter)"
    return match[1]


def plain(text):
    """Markdown outside of blocks of code."""
    text = re.sub(r"^##+ (.*)$", heading, text, flags=re.M)
    text = re.sub(r"\]\(([^)#:\s]*(?:\.md)?)#([\w-]+)\)", link, text)
    text = re.sub(r"(?<!!)\[([^][]+)\]\(([^)#:\s@]+)\)", file_link, text)
    text = re.sub(r"\]\((?:\.\./)+docs/images/", "](docs/images/", text)
    return re.sub(r"<code>(.*?)</code>", code, text)


def code(match):
    """The characters that Doxygen would not leave as they are in an element of HTML."""
    text = re.sub("#|@|--", r"\\\g<0>", match[1])
    return f"<code>{text}</code>"


def main():
    parts = re.split(r"(^```.*?^```$)", PAGE.read_text(), flags=re.M | re.S)
    print("".join(part if part.startswith("```") else plain(part) for part in parts), end="")


main()
