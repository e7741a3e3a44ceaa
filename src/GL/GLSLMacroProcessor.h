#pragma once

#include "Export.h"

#include <QtCore/QDir>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QRegExp>
#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The text processor that all GLSL passes through before the driver sees it.
///
/// It gives GLSL four things, each on a line of its own:
///
/// - `#include "file"` is replaced by the file, looked for in the include paths
///   in their order. There is no include guard and no limit of depth.
/// - `#macro NAME default text` is replaced by the text registered for NAME, or
///   by its default. The replacement may hold directives in its turn.
/// - `#instancedata "plan"` is replaced by the declarations of an instance-data
///   plan; an unknown plan leaves nothing behind.
/// - behind a line that starts with `#version` stand the defines, sorted by name.
///
/// A replaced line ends with the line break of its replacement and its own. Only
/// `#macro` may be indented. Every other '#' is ordinary text.
///
/// The owners of a shader feature add their macros and defines in a
/// `setup(GLSLMacroProcessor *)` step; a program then passes the processor to
/// its stages. Whoever fills the processor owns it and keeps it alive for as
/// long as a program refers to it.
///
/// \snippet shaders.cpp GLSLMacroProcessor
///
/// Context: none; any thread, as long as the processor is not changed meanwhile.
/// Errors:  an include that names no file, or one that is not found, is a warning
///          and leaves its line out.
class ZELGL_EXPORT GLSLMacroProcessor
{
public:
    /// No macros, no defines, and two include paths: the folder `GLSL/include`
    /// of the installation's resources, then `:/GLSL/include`, so that a file on
    /// disk overrides the built-in one.
    GLSLMacroProcessor();
    ~GLSLMacroProcessor();

    /// Adds a folder at the end of the search; it need not exist.
    void addIncludePath(const QString &path);
    /// Replaces the value of an earlier define of the name.
    void addDefine(const QString &name, const QString &value);
    /// Replaces the text of an earlier macro of the name.
    void addMacro(const QString &name, const QString &value);
    void removeDefine(const QString &name);
    void removeMacro(const QString &name);

    /// The expanded \a source. A null \a processor stands for a new one, with
    /// the default include paths alone.
    static QString process(const QString &source, GLSLMacroProcessor *processor);
    /// The `#define` lines that process() puts behind `#version`. \a processor
    /// must not be null.
    static QString processDefines(GLSLMacroProcessor *processor);

    // The expansion of a single line in place, for a host's own line loop. The
    // expression captures what the directive names: the file; the macro and its
    // default; the plan. A line that is not the directive stays as it is.

    /// A file that cannot be named or found leaves an empty line.
    static void processLineInclude(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor);
    /// The default text is put in as it stands, unprocessed.
    static void processLineMacro(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor);
    /// The `#instancedata` line; an unknown plan leaves the line as it is.
    static void processLineMaterial(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor);

private:
    class Expander;

    ZELGL_NO_EXPORT QString defineLines() const;

    QMap<QString, QString> _macros;  ///< name to replacement text
    QMap<QString, QString> _defines; ///< name to value; the map's order is the order of output
    QList<QDir> _includePaths;       ///< searched in order
};

}} // namespace Orvane::Zel
