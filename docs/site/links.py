#!/usr/bin/env python3
"""Fails if a page of the site leads to a file that the site lacks, or shows Markdown of a link.

Usage: links.py HTML-FOLDER
"""

import pathlib
import re
import sys

FOLDER = pathlib.Path(sys.argv[1])
FILES = {str(path.relative_to(FOLDER)) for path in FOLDER.rglob("*")}


def faults(page):
    text = page.read_text(errors="replace")
    for target in set(re.findall(r'(?:href|src|data)="([^"#?]+)', text)):
        if not re.match(r"[a-z]+:", target) and target not in FILES:
            yield f"{page.name}: no file {target}"
    prose = re.sub(r"<(pre|code)\b.*?</\1>|<div class=\"fragment.*?<!-- fragment -->", "", text, flags=re.S)
    for link in re.findall(r"\w\]\([^()\s]+\)", prose):
        yield f"{page.name}: a link as text: {link}"


ERRORS = [fault for page in FOLDER.glob("*.html") for fault in faults(page)]
print("\n".join(sorted(ERRORS)) or f"{len(FILES)} files")
sys.exit(bool(ERRORS))
