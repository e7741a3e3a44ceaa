#!/usr/bin/env python3
"""Compares the index of messages, docs/messages.txt, with the texts of the sources, and docs/messages.md with the index.

Usage: messages.py ROOT            the check; exits with 1 if there is an error
       messages.py ROOT --write    writes docs/messages.md from the index
       messages.py ROOT --list     prints the texts of the sources

Sources are the C++ files of src/ and tools/, and the GLSL files. Their texts are
  1. the formats of ZEL_LOG_*, ZEL_BARE_* and ZEL_ASSERT*;
  2. every other string literal with two words, or a word and a placeholder, wherever it is used: texts that reach a log through
     functions, tables and QString need no rule of their own. static_assert() and raw strings, which hold GLSL, are left out;
  3. the lines #error of GLSL.
Adjacent literals are one text. What follows an operator + is a text of its own: an entry may describe a part of a line.
Placeholders of printf() and QString::arg() become {}, and white space one blank. An assertion whose format has no word is known
by its condition.

messages.skip has the texts of rule 2 that no log shows, one a line: "FILE: TEXT", with * for any text. zelglsl has the index as
a resource: see tools/zelglsl/Explain.cpp for the format's other reader.
"""

import fnmatch
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
INDEX = ROOT / "docs" / "messages.txt"
PAGE = ROOT / "docs" / "messages.md"
SKIPPED = pathlib.Path(__file__).with_name("messages.skip")

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/|^[ \t]*\#[ \t]*include[^\n]*)
      | (?P<raw>R"\(.*?\)")
      | (?P<string>"(?:\\.|[^"\\\n])*"(?:\s*"(?:\\.|[^"\\\n])*")*)
      | (?P<char>'(?:\\.|[^'\\\n])+')
      | (?P<name>\w+)
      | (?P<open>[(\[{]) | (?P<close>[)\]}]) | (?P<comma>,)""", re.S | re.M | re.X)
LITERAL = re.compile(r'"((?:\\.|[^"\\\n])*)"')
OF_QT = re.compile(r"%L?[1-9]\d?")
OF_PRINTF = re.compile(r"%[-+#0]*[\d*]*(?:\.[\d*]+)?(?:hh|h|ll|l|z|j|t)?[diouxXeEfgGcsp]")
LEVELS = ("debug", "warning", "critical", "error", "note")
# The number of the argument that is the format, and the level.
FORMATS = {"ZEL_ASSERT": (1, "critical"), "ZEL_ASSERT_RETURN": (2, "critical"), "printf": (0, ""), "fprintf": (1, ""),
           "asprintf": (0, "")}
FORMATS.update({f"ZEL_{kind}_{level.upper()}": (0, level) for kind in ("LOG", "BARE") for level in LEVELS[:3]})


def normal(text, placeholder=OF_QT):
    """A text as the index has it."""
    text = re.sub(r"\\[nt]", " ", text)
    text = re.sub(r"\\(.)", r"\1", text)
    text = placeholder.sub("{}", text).replace("%%", "%")
    text = re.sub(r"^\[ !! \] (Assertion '.*?' failed: )?", "", text)
    return " ".join(text.split())


def word_count(text):
    """Of its words and placeholders; 0 without a word."""
    words = sum(bool(re.search(r"[A-Za-z]{2}", part)) for part in text.split())
    return words and words + text.count("{}")


def texts_of_cpp(source):
    """(position, text, level) of each text; the level is empty for rule 2."""
    calls = []  # of the open brackets: [name before it, number of the argument]
    name = ""
    for token in TOKEN.finditer(source):
        kind = token.lastgroup
        if kind == "open":
            calls.append([name if token.group() == "(" else "", 0, token.end()])
        elif kind == "close" and calls:
            calls.pop()
        elif kind == "comma" and calls:
            calls[-1][1] += 1
            if calls[-1][1] == 1:
                calls[-1].append(token.start())
        elif kind == "string":
            call, argument, *ends = calls[-1] if calls else ("", 0)
            place, level = FORMATS.get(call, (-1, ""))
            text = normal("".join(LITERAL.findall(token.group())), OF_PRINTF if call in FORMATS else OF_QT)
            if argument == place and level:
                if "ASSERT" in call and not word_count(text):
                    text = " ".join(source[ends[0] : ends[1]].split())
                if word_count(text):
                    yield token.start(), text, level
            elif call not in ("static_assert", "Q_DECL_DEPRECATED_X") and word_count(text) > 1:
                yield token.start(), text, ""
        name = token.group() if kind == "name" else ""


def texts_of_sources():
    """The texts, each with the list of its places (file, line, level)."""
    texts = {}
    for folder, suffixes in (("src", (".cpp", ".h")), ("tools", (".cpp", ".h")), ("GLSL", (".glslc", ".glslh"))):
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in suffixes:
                continue
            source = path.read_text(encoding="utf-8")
            if folder == "GLSL":
                found = [(m.start(1), normal(m.group(1)), "error") for m in re.finditer(r"^[ \t]*#error[ \t]+(.*)", source, re.M)]
            else:
                found = texts_of_cpp(source)
            for position, text, level in found:
                place = (str(path.relative_to(ROOT)), source.count("\n", 0, position) + 1, level)
                texts.setdefault(text, []).append(place)
    return texts


def read_index():
    """The sections: (title, introduction, entries). An entry has the list "texts" of (level, text) and its fields."""
    sections = []
    entry = None
    field = ""
    for number, line in enumerate(INDEX.read_text(encoding="utf-8").split("\n"), 1):
        if line.startswith("#"):
            continue
        key, _, value = line.partition(": ")
        if not line:
            entry = None
        elif line.startswith("== "):
            sections.append((line[3:], [], []))
        elif line.startswith("  ") and entry is not None:
            entry[field] += " " + line.strip()
        elif key in LEVELS or key in ("cause", "remedy", "more"):
            if entry is None:
                entry = {"texts": [], "line": number}
                sections[-1][2].append(entry)
            if key in LEVELS:
                entry["texts"].append((key, value))
            else:
                field = key
                entry[key] = value
        else:
            sections[-1][1].append(line)
    return sections


def rows_of(skipped):
    """(glob of the file, glob of the text) of each line."""
    lines = [line for line in skipped.read_text(encoding="utf-8").split("\n") if line and not line.startswith("#")]
    return [tuple(line.split(": ", 1)) for line in lines]


def glob(pattern):
    """Only * is special: texts have brackets and question marks."""
    return re.compile(re.escape(pattern).replace(r"\*", ".*") + "$")


def escaped(text):
    return "".join(f"&#{ord(letter)};" if letter in "&<>|*_" else letter for letter in text)


def page(sections, texts):
    lines = ["# Messages", "",
             "Every text that the libraries and the tools can log, with its cause and its remedy. `zelglsl explain TEXT` finds the",
             "entry of a line as it was logged; `zelglsl explain -` explains the lines of the standard input. `{}` is a value.", "",
             "This page is generated from `messages.txt` by `tests/checks/messages.py . --write`.", ""]
    lines += [f"- [{title}](#{anchor(title)})" for title, _, _ in sections]
    for title, introduction, entries in sections:
        lines += ["", f"## {title}", ""] + (introduction + [""] if introduction else [])
        lines += ["| Message | Cause | Remedy |", "|---|---|---|"]
        for entry in entries:
            files = sorted({pathlib.Path(file).name for _, text in entry["texts"] for file, _, _ in texts.get(text, [])})
            messages = "<br>".join(f"<code>{escaped(text)}</code> ({level})" for level, text in entry["texts"])
            more = " See " + ", ".join(f"[{link}]({link})" for link in entry["more"].split()) + "." if "more" in entry else ""
            cause = entry.get("cause", "") + more
            lines.append(f"| {messages}<br>{', '.join(files)} | {cause} | {entry.get('remedy', '')} |")
    return "\n".join(lines) + "\n"


def anchor(title):
    return re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def advice(text, places):
    file, line, level = places[0]
    if not level:
        level = "warning" if file.startswith("src/") else "error"
    return (f"{file}:{line}: docs/messages.txt has no entry for this text. Either add the lines\n\n{level}: {text}\n"
            "cause: <what happened, a sentence>\nremedy: <what the host changes, a sentence>\n\n"
            f"to the section of its class (the level is one of {', '.join(LEVELS)}; texts with the same cause share an\n"
            "entry), and run  tests/checks/messages.py . --write\n"
            f"Or, if no log shows it, add this line to tests/checks/messages.skip:\n\n{pathlib.Path(file).name}: {text}\n")


def errors_of(sections, texts):
    entries = [entry for _, _, entries in sections for entry in entries]
    known = {}
    for entry in entries:
        missing = [field for field in ("cause", "remedy") if not entry.get(field)]
        if missing or not entry["texts"]:
            yield f"docs/messages.txt:{entry['line']}: this entry lacks its {' and '.join(missing) or 'message'}"
        for level, text in entry["texts"]:
            if text in known:
                yield f"docs/messages.txt:{entry['line']}: a second entry for '{text}'"
            known[text] = level
            if text not in texts:
                yield f"docs/messages.txt:{entry['line']}: no source has the text '{text}': remove or correct it"
    skips = rows_of(SKIPPED)
    used = set()
    for text, places in texts.items():
        rows = {row for row in skips for file, _, _ in places
                if fnmatch.fnmatch(pathlib.Path(file).name, row[0]) and glob(row[1]).match(text)}
        used |= rows
        levels = {level for _, _, level in places if level}
        if text not in known and not rows:
            yield advice(text, places)
        elif text in known and levels and known[text] not in levels:
            yield f"docs/messages.txt: the level of '{text}' is {' or '.join(sorted(levels))}"
    for row in skips:
        if row not in used:
            yield f"tests/checks/messages.skip: no source has '{': '.join(row)}'"


def main():
    texts = texts_of_sources()
    if "--list" in sys.argv:
        for text, places in texts.items():
            print(f"{places[0][2] or '-'}\t{text}\t{' '.join(sorted({file for file, _, _ in places}))}")
        return False
    sections = read_index()
    expected = page(sections, texts)
    if "--write" in sys.argv:
        PAGE.write_text(expected, encoding="utf-8")
    errors = list(errors_of(sections, texts))
    if not PAGE.exists() or PAGE.read_text(encoding="utf-8") != expected:
        errors.append("docs/messages.md is stale: run  tests/checks/messages.py . --write")
    print("\n".join(errors) or f"{sum(len(e['texts']) for _, _, es in sections for e in es)} messages")
    return bool(errors)


sys.exit(main())
