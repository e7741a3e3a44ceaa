#!/usr/bin/env python3
"""Generates the OpenGL entry-point table of ZelGL from the Khronos registry.

    tools/glloader/generate.py [--registry gl.xml] [--list EntryPoints.h] [OUTPUT_FOLDER]

writes GLLoader.h and GLLoader.cpp into OUTPUT_FOLDER, and the names of the table
into EntryPoints.h. See README.md beside this script for the contents of the table
and the reasons.
"""

import argparse
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

REGISTRY = "/usr/share/khronos-api/gl.xml"
NEWEST_CORE_VERSION = (3, 2)

# The extensions whose flags and entry points the table contains, in the order in which the loader compares their names.
EXTENSIONS = (
    "ARB_draw_indirect",
    "ARB_multi_draw_indirect",
    "ARB_tessellation_shader",
    "ARB_texture_cube_map_array",
    "ARB_shader_atomic_counters",
    "ARB_shader_image_load_store",
)

BANNER = "// Generated, do not edit: tools/glloader/generate.py src/GL\n"


class Command:
    """One GL function: its name and the C spelling of its type."""

    def __init__(self, element):
        proto = element.find("proto")
        self.name = proto.findtext("name")
        self.result = squeeze("".join(proto.itertext()))[: -len(self.name)].strip()
        self.parameters = ", ".join(
            squeeze("".join(parameter.itertext())) for parameter in element.findall("param")
        )

    @property
    def slot(self):
        return f"_ptrc_{self.name}"

    @property
    def declarator(self):
        return f"{self.result} (APIENTRY *{self.slot})({self.parameters})"


def squeeze(text):
    text = re.sub(r"\s+", " ", text).strip()
    return re.sub(r"\s*\*\s*", " *", text).replace("*const", "*const ")


def core_functions(root):
    """(version, names) for every version of the table, without what the core profile removed."""
    versions, removed = [], set()
    for feature in root.findall("feature[@api='gl']"):
        version = tuple(int(n) for n in feature.get("number").split("."))
        if version > NEWEST_CORE_VERSION:
            continue
        names = [
            command.get("name")
            for require in feature.findall("require")
            if require.get("profile") != "compatibility"
            for command in require.findall("command")
        ]
        removed.update(
            command.get("name")
            for remove in feature.findall("remove[@profile='core']")
            for command in remove.findall("command")
        )
        versions.append((version, names))
    seen = set(removed)
    for version, names in sorted(versions):
        fresh = [name for name in names if name not in seen and not seen.add(name)]
        yield version, fresh


def extension_functions(root, name):
    extension = root.find(f"extensions/extension[@name='GL_{name}']")
    return [
        command.get("name")
        for require in extension.findall("require")
        if require.get("api", "gl") == "gl" and require.get("profile") != "compatibility"
        for command in require.findall("command")
    ]


def header(core, extensions, commands):
    out = [BANNER, "#pragma once\n"]
    out.append(
        """
/// \\file
/// The table of OpenGL entry points.
///
/// Each GL function of the core profile up to 3.2 and of six extensions has one
/// exported, writable pointer `_ptrc_gl*`. It is null until ogl_LoadFunctions() sets
/// it. With the macros at the end of the file, `glBindBuffer(...)` calls through this
/// pointer. A program may replace a pointer to count or fake calls.
///
/// The macros would also rename the members of Qt's QOpenGLFunctions. A source that
/// calls those members defines ZELGL_NO_GL_NAMES before it includes any header of the
/// library, which leaves the macros out.
///
/// Context: ogl_LoadFunctions() and the version queries need a current context.
/// Errors:  a missing entry point leaves its pointer null and is only counted. The
///          version queries log an assertion and return 0 before the table is loaded.
/// Source:  the Khronos registry, gl.xml; types and enumerators of GL/glcorearb.h.

#include "Export.h"

// Qt declares the prototypes of GL 1.x, and classes whose members have the names of GL functions; it undefines these names
// first. All of this must precede the macros below.
#include <QtGui/qopenglextrafunctions.h>
#include <QtGui/qopenglfunctions.h>

#include <GL/glcorearb.h>

#ifndef APIENTRY
#define APIENTRY
#endif

extern "C" {

/// 0: not advertised; 1: advertised, all functions found; 1 + n: advertised, n functions missing.
"""
    )
    out += [f"extern ZELGL_EXPORT int ogl_ext_{name};\n" for name in extensions]
    for title, names in sections(core, extensions):
        out.append(f"\n// {title}\n")
        out += [f"extern ZELGL_EXPORT {commands[name].declarator};\n" for name in names]
    out.append(
        """
/// Loads the table. Returns 0 on failure, otherwise 1 + the number of core functions that are missing.
ZELGL_EXPORT int ogl_LoadFunctions();

/// The version of the context that was current in the first call of either; cached for the process.
ZELGL_EXPORT int ogl_GetMajorVersion();
ZELGL_EXPORT int ogl_GetMinorVersion();

/// Compares in the opposite direction to its name; use openGlVersionSupported() instead.
ZELGL_EXPORT int ogl_IsVersionGEQ(int major, int minor);

} // extern "C"

#ifndef ZELGL_NO_GL_NAMES
"""
    )
    for _, names in sections(core, extensions):
        out += [f"#define {name} {commands[name].slot}\n" for name in names]
    out.append("#endif // ZELGL_NO_GL_NAMES\n")
    return "".join(out)


def source(core, extensions, commands):
    out = [BANNER, '#include "GLLoader.h"\n', '\n#include "Reporting.h"\n']
    out += ["\n#include <GL/glx.h>\n", "\n#include <cstring>\n"]
    out.append('\nextern "C" {\n\n')
    out += [f"int ogl_ext_{name} = 0;\n" for name in extensions]
    for title, names in sections(core, extensions):
        if names:
            out.append(f"\n// {title}\n")
        out += [f"{commands[name].declarator} = nullptr;\n" for name in names]
    out.append('\n} // extern "C"\n')
    out.append(
        """
namespace {

/// Looks up one function and stores it. Returns 1 if it is missing.
template <typename Function> int load(Function *&slot, const char *name)
{
    slot = reinterpret_cast<Function *>(glXGetProcAddressARB(reinterpret_cast<const GLubyte *>(name)));
    return slot == nullptr ? 1 : 0;
}
"""
    )
    for name, names in extensions.items():
        if names:
            out.append(f"\nint load_{name}()\n{{\n    int missing = 0;\n")
            out += [f'    missing += load({commands[n].slot}, "{n}");\n' for n in names]
            out.append("    return missing;\n}\n")
    out.append("\nint loadCore()\n{\n    int missing = 0;\n")
    for version, names in core:
        out.append(f"    // {version[0]}.{version[1]}\n")
        out += [f'    missing += load({commands[n].slot}, "{n}");\n' for n in names]
    out.append("    return missing;\n}\n")
    out.append(
        """
struct ExtensionMapRow
{
    const char *name;
    int *flag;
    int (*loadFunctions)(); ///< null if the extension has none
};

const ExtensionMapRow kExtensionMap[] = {
"""
    )
    for name, names in extensions.items():
        loader = f"&load_{name}" if names else "nullptr"
        out.append(f'    {{"GL_{name}", &ogl_ext_{name}, {loader}}},\n')
    out.append(
        """};

void loadExtension(const char *name)
{
    for (const ExtensionMapRow &row : kExtensionMap) {
        if (std::strcmp(row.name, name) == 0) {
            *row.flag = 1 + (row.loadFunctions != nullptr ? row.loadFunctions() : 0);
        }
    }
}

int majorVersion = 0; ///< 0: nothing is cached yet
int minorVersion = 0;

void cacheVersion()
{
    ZEL_ASSERT_RETURN(nullptr != glGetIntegerv, , "initializeGLFunctions() must be called first");
    if (majorVersion == 0) {
        glGetIntegerv(GL_MAJOR_VERSION, &majorVersion);
        glGetIntegerv(GL_MINOR_VERSION, &minorVersion);
    }
}

} // namespace

int ogl_LoadFunctions()
{
    for (const ExtensionMapRow &row : kExtensionMap) {
        *row.flag = 0;
    }
    int missing = load(_ptrc_glGetIntegerv, "glGetIntegerv");
    missing += load(_ptrc_glGetStringi, "glGetStringi");
    if (missing != 0) {
        return 0;
    }
    GLint extensionCount = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &extensionCount);
    for (GLint i = 0; i < extensionCount; ++i) {
        const GLubyte *name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i));
        if (name != nullptr) {
            loadExtension(reinterpret_cast<const char *>(name));
        }
    }
    return 1 + loadCore();
}

int ogl_GetMajorVersion()
{
    cacheVersion();
    return majorVersion;
}

int ogl_GetMinorVersion()
{
    cacheVersion();
    return minorVersion;
}

int ogl_IsVersionGEQ(int major, int minor)
{
    cacheVersion();
    // Required: hosts depend on the direction, which is opposite to the name; see GLLoaderTest.
    if (major != majorVersion) {
        return major > majorVersion ? 1 : 0;
    }
    return minorVersion <= minor ? 1 : 0;
}
"""
    )
    return "".join(out)


def entry_points(core, extensions):
    """The names of the table as macros that apply another macro to each."""
    out = ["// Generated, do not edit: tools/glloader/generate.py --list src/Check/private/EntryPoints.h\n", "#pragma once\n"]
    out.append("\n// The core entry points of the table: initializeGLFunctions() sets all of them.\n// clang-format off\n")
    out.append("#define ZELCHECK_CORE_ENTRY_POINTS(USE)")
    out += [f" \\\n    USE({name})" for _, names in core for name in names]
    out.append("\n\n// Those of extensions: initializeGLFunctions() sets them if the driver has the extension.\n")
    out.append("#define ZELCHECK_EXTENSION_ENTRY_POINTS(USE)")
    out += [f" \\\n    USE({name})" for names in extensions.values() for name in names]
    out.append("\n// clang-format on\n")
    return "".join(out)


def sections(core, extensions):
    for version, names in core:
        yield f"OpenGL {version[0]}.{version[1]}", names
    for name, names in extensions.items():
        if names:
            yield f"GL_{name}", names


def main():
    parser = argparse.ArgumentParser(description="Generates the OpenGL entry-point table of ZelGL.")
    parser.add_argument("output", type=pathlib.Path, nargs="?", help="folder of GLLoader.h and GLLoader.cpp: src/GL")
    parser.add_argument("--list", type=pathlib.Path, help="the list of names: src/Check/private/EntryPoints.h")
    parser.add_argument("--registry", default=REGISTRY, help="gl.xml of Khronos (default: %(default)s)")
    arguments = parser.parse_args()

    root = ElementTree.parse(arguments.registry).getroot()
    commands = {c.name: c for c in map(Command, root.findall("commands/command"))}
    core = list(core_functions(root))
    extensions = {name: extension_functions(root, name) for name in EXTENSIONS}
    if arguments.output:
        (arguments.output / "GLLoader.h").write_text(header(core, extensions, commands))
        (arguments.output / "GLLoader.cpp").write_text(source(core, extensions, commands))
    if arguments.list:
        arguments.list.write_text(entry_points(core, extensions))
    return 0


if __name__ == "__main__":
    sys.exit(main())
