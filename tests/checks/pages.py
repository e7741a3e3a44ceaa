#!/usr/bin/env python3
"""Checks the Markdown pages: links and anchors must exist, C++ must come from a compiled snippet, and a page of the guide must link
each public class to its header.

Usage: pages.py ROOT [--update]

A block of C++ follows a line that names its source, below docs; --update copies it:
`<!-- snippet FILE NAME -->`  the lines of snippets/FILE between the lines `//! [NAME]`, without their indentation
`<!-- file FILE -->`          the whole file
`<!-- changes FILE -->`       the changes of start/STEP/NAME since the last step that has NAME
The block of README.md is compiled by the test Install, which also runs the blocks of commands, configures those of CMake and
compiles those of GLSL. So each block states its language, and no code is indented instead.
"""

import difflib
import pathlib
import re
import subprocess
import sys
import textwrap

ROOT = pathlib.Path(sys.argv[1])
COMPILED_ELSEWHERE = {"README.md"}
OTHER_LANGUAGES = {"sh", "cmake", "glsl", "diff", "text"}
NOT_FOLLOWED = {"benchmarks/README.md"} # its commands need other programs and hours
DOCS = ROOT / "docs"
BLOCK = re.compile(r"^<!-- (snippet|file|changes) ([^>]+) -->\n^```(\w+)\n(.*?)^```$", re.M | re.S)


def anchors(page):
    """The anchors of the headings of a page, as hosts of repositories make them."""
    text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.M | re.S)
    headings = re.findall(r"^#+ (.*)$", text, re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def link_errors(page, text):
    """Links and pictures that lead nowhere."""
    for target in re.findall(r"\]\(([^)\s]+)\)", re.sub(r"^```.*?^```$", "", text, flags=re.M | re.S)):
        if re.match(r"[a-z]+:", target):
            continue
        path, _, anchor = target.partition("#")
        file = (page.parent / path).resolve() if path else page
        if not file.exists():
            yield f"the link {target} leads to no file"
        elif anchor and file.suffix == ".md" and anchor not in anchors(file):
            yield f"the link {target} leads to no heading"


def language_errors(name, text):
    """Blocks of code that no check reads."""
    if name in NOT_FOLLOWED:
        return
    prose = []
    for i, part in enumerate(re.split(r"^ *```(.*)$", text, flags=re.M)):
        if i % 4 == 0:
            prose.append(part)
        elif i % 4 == 1 and part not in OTHER_LANGUAGES | {"cpp"}:
            yield f"a block in the language '{part}'; use one of cpp, {', '.join(sorted(OTHER_LANGUAGES))}"
    for line in re.findall(r"\n\n {4}(\S.*)", "".join(prose)):
        yield f"indented code: {line}"


def snippet(file, name):
    """The lines of a snippet, or None."""
    path = DOCS / "snippets" / file
    found = path.exists() and re.search(
        rf"^ *//! \[{re.escape(name)}\]\n(.*?)^ *//! \[{re.escape(name)}\]$", path.read_text(), re.M | re.S)
    return textwrap.dedent(found[1]) if found else None


def whole(file):
    """The text of a file, or None."""
    path = DOCS / file
    return path.read_text() if path.exists() else None


def changes(file):
    """The differences of a file of a step from the last one before it, or None."""
    path = DOCS / file
    earlier = sorted(path.parents[1].glob(f"[0-9]*/{path.name}"))
    if path not in earlier[1:]:
        return None
    old, new = earlier[earlier.index(path) - 1].read_text(), path.read_text()
    lines = list(difflib.unified_diff(old.splitlines(), new.splitlines(), n=2, lineterm=""))[2:]
    return "".join(re.sub("^@@.*", "@@", line).rstrip() + "\n" for line in lines)


SOURCES = {"snippet": snippet, "file": whole, "changes": changes}


def unlinked_classes():
    """Public classes to whose header no page of the guide links by their name."""
    guide = [ROOT / "README.md", *sorted(DOCS.glob("*.md"))]
    links = [((page.parent / target).resolve(), text) for page in guide
             for text, target in re.findall(r"\[([^\]]+)\]\(([^)\s]+\.h)\)", page.read_text())]
    for header in sorted((ROOT / "src").resolve().glob("*/*.h")):
        if header.stem.endswith("Export") or header.stem in ("GLLoader", "ZelGL", "ZelKit", "ZelShaders"):
            continue
        # A header of functions or templates needs a link with any text.
        for name in re.findall(r"^(?:class|struct) ZEL[A-Z]+_EXPORT (\w+)", header.read_text(), re.M) or [""]:
            if not any(file == header and re.search(rf"\b{name}\b" if name else "", text) for file, text in links):
                yield f"no page of the guide links {name or 'what is declared'} to {header.parent.name}/{header.name}"


def main():
    listed = subprocess.run(["git", "-C", str(ROOT), "ls-files", "-co", "--exclude-standard", "*.md"],
                            capture_output=True, text=True).stdout.split()
    pages = [ROOT / name for name in listed] or sorted(ROOT.glob("docs/*.md")) + sorted(ROOT.glob("*.md"))
    errors = []
    for page in pages:
        text = page.read_text()
        name = str(page.relative_to(ROOT))
        errors += [f"{name}: {error}" for error in [*link_errors(page, text), *language_errors(name, text)]]

        def renewed(match):
            kind, source, language, _ = match.groups()
            current = SOURCES[kind](*source.split())
            if current is None:
                errors.append(f"{name}: no {kind} {source} below docs")
                return match[0]
            return f"<!-- {kind} {source} -->\n```{language}\n{current}```"

        for code in re.findall(r"(?<!-->\n)^```cpp\n(.*)", text, re.M):
            if name not in COMPILED_ELSEWHERE:
                errors.append(f"{name}: C++ without a line that names its source: {code}")
        new = BLOCK.sub(renewed, text)
        if new != text:
            if "--update" in sys.argv:
                page.write_text(new)
            else:
                errors.append(f"{name}: a block differs from its source; run tests/checks/pages.py . --update")
    errors += unlinked_classes()
    print("\n".join(errors) or f"{len(pages)} pages")
    return bool(errors)


sys.exit(main())
