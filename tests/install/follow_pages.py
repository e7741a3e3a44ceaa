#!/usr/bin/env python3
"""Follows the pages of the guide as a reader does, from an empty folder: writes the files that a page shows, runs its commands,
configures its CMake and compiles its GLSL.

Usage: follow_pages.py PREFIX FOLDER ROOT

A block of CMake without project() is for a target of the host. A block of GLSL without main() follows a line
`<!-- glsl STAGE: DECLARATIONS -->` with what it needs. NOT_RUN lists the commands that are only checked.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

PREFIX, FOLDER, ROOT = (pathlib.Path(argument) for argument in sys.argv[1:4])
PAGES = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted(ROOT.glob("docs/*.md")), ROOT / "examples/README.md"]
# Why a command is not run, by its beginning.
NOT_RUN = {
    r"\./zel (\w+)": "installs packages, and builds for minutes",
    r"zel(view|info|bench)\b": "needs a file of the reader",
    r"(host|\./host)\b": "is a program of the reader",
    r"cmake --(preset|build build/release|build --preset)|ctest --test-dir build/release": "builds everything",
    r"(\w+/)?build/(picture|starter)$": "opens a window",
}
TOKEN = re.compile(r"^<!-- (?:file|changes) start/(\d+/)?(\S+) -->$|^ *<!-- glsl (\w+): ([^\n]*?) -->$"
                   r"|^ *```(sh|cmake|glsl)\n(.*?)^ *```$", re.M | re.S)
errors = []
unused = set(NOT_RUN)


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL).stdout


def help_of(tool):
    """The help of an installed tool; empty if the build has none."""
    path = PREFIX / "bin" / tool
    return output_of(path, "--help") if path.exists() else ""


HELP = {tool: help_of(tool) for tool in ("zelview", "zelinfo", "zelglsl")}
ZEL = output_of(ROOT / "zel", "help")


def check_words(place, command):
    """A command that is not run: its subcommands and options must exist."""
    words = re.sub(r"'[^']*'|\"[^\"]*\"", "", command).split()
    tool = words[0]
    if tool == "./zel" and not re.search(rf"^  {re.escape(words[1])}\b", ZEL, re.M):
        errors.append(f"{place}: ./zel has no command {words[1]}")
    text = ZEL if tool == "./zel" else HELP.get(tool, "")
    for option in re.findall(r"(?<=\s)--?\w[\w-]*", command) if text else []:
        if not re.search(rf"(?<![\w-]){re.escape(option)}(?![\w-])", text) and tool != "./zel":
            errors.append(f"{place}: {tool} has no option {option}")


def run_of(place, line):
    """The lines of the script for a command."""
    command = re.sub(r"\s+#.*", "", line).strip()
    bare = re.sub(r"^(?:\w+=\S+\s+)+", "", command)
    if not bare:
        return []
    if bare.startswith("./zel install "):
        return [f"ln -s '{PREFIX}' {bare.split(maxsplit=2)[2]}"]
    for pattern in NOT_RUN:
        if re.match(pattern, bare):
            unused.discard(pattern)
            check_words(place, bare)
            return [f"test -x {bare}"] if "build/" in bare and pattern.endswith("$") else []
    return [f"at='{place}: {line}'", re.sub(r"\bPREFIX\b", str(PREFIX), command)]


def configure(fragments):
    """The script that configures blocks of CMake that are part of a host's file."""
    text = ["cmake_minimum_required(VERSION 3.22)", "project(host CXX)"]
    for i, fragment in enumerate(fragments):
        text += [f"add_executable(host{i} main.cpp)", re.sub(r"\bhost\b", f"host{i}", fragment)]
    folder = FOLDER / "fragments"
    folder.mkdir()
    (folder / "main.cpp").touch()
    (folder / "CMakeLists.txt").write_text("\n".join(text))
    return [f"at='the blocks of CMake in {folder}'", f"cmake -S {folder} -B {folder}/build -DCMAKE_PREFIX_PATH={PREFIX}"]


def compile_glsl(place, stage, declarations, body):
    """Compiles a block of GLSL."""
    text = body if "void main" in body else f"#version 150\n{declarations}\nvoid main()\n{{\n{body}}}\n"
    if shutil.which("glslangValidator") is None:
        print(f"{place}: not compiled, glslangValidator is absent")
        return
    result = subprocess.run(["glslangValidator", "--stdin", "-S", stage], input=text, capture_output=True, text=True)
    if result.returncode != 0:
        errors.append(f"{place}: {result.stdout.strip()}")


def follow(page, fragments):
    """The script of a page. It starts in a folder that looks like a clone."""
    name = str(page.relative_to(ROOT))
    text = page.read_text()
    script, stage, last = [], None, 0 # last: where the last block of commands begins
    for match in TOKEN.finditer(text):
        step, file, declared, declarations, language, body = match.groups()
        place = f"{name}:{text.count(chr(10), 0, match.start()) + 1}"
        if file:
            script.append(f"cp '{ROOT}/docs/start/{step or ''}{file}' .")
        elif declared:
            stage = declared, declarations
        elif language == "glsl":
            if stage is None:
                errors.append(f"{place}: GLSL without a line <!-- glsl STAGE: DECLARATIONS -->")
            else:
                compile_glsl(place, *stage, body)
            stage = None
        elif language == "cmake":
            if "project(" not in body:
                fragments.append(body)
        else:
            last = len(script)
            script += [line for command in body.replace("\\\n", " ").splitlines() for line in run_of(place, command)]
    # The page asks for the last commands after each further step: they are run at the end, with the files of the last step.
    files = [line for line in script[last:] if line.startswith("cp '")]
    return script[:last] + files + [line for line in script[last:] if line not in files]


def run(name, script):
    home = FOLDER / name
    clone = home / "clone"
    clone.mkdir(parents=True)
    for entry in ROOT.iterdir():
        (clone / entry.name).symlink_to(entry)
    text = "\n".join(["set -e", "trap 'echo \"failed: $at\"' EXIT", *script, "trap - EXIT"])
    result = subprocess.run(["bash", "-c", text], cwd=clone, capture_output=True, text=True, stdin=subprocess.DEVNULL,
                            env={**os.environ, "HOME": str(home)})
    if result.returncode != 0:
        errors.append(result.stdout + result.stderr)


def main():
    shutil.rmtree(FOLDER, ignore_errors=True)
    FOLDER.mkdir(parents=True)
    fragments = []
    for page in PAGES:
        # Commands inside sentences and tables are not run either.
        for command in re.findall(r"`((?:\./zel|zelview|zelinfo|zelglsl) [^`]+)`", page.read_text()):
            check_words(page.relative_to(ROOT), command)
        script = follow(page, fragments)
        if any(line.startswith("at=") for line in script):
            run(page.stem + page.parent.name, script)
    run("cmake", configure(fragments))
    errors.extend(f"NOT_RUN: no page has a command like {pattern}" for pattern in unused)
    print("\n".join(errors) or f"{len(PAGES)} pages")
    return bool(errors)


sys.exit(main())
