#pragma once

#include "Export.h"

#include <QtCore/QDir>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QRegExp>
#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The text processor of all GLSL sources, which runs before the driver compiles them.
///
/// It adds four features to GLSL, each on a line of its own:
///
/// - `#include "file"` is replaced by the first file of that name in the include
///   paths. There is no include guard and no limit of depth.
/// - `#macro NAME default text` is replaced by the text registered for NAME, or
///   by its default. The replacement may contain directives.
/// - `#instancedata "plan"` is replaced by the declarations of an instance-data
///   plan; an unknown plan leaves an empty line.
/// - a line that starts with `#version` is followed by the defines, sorted by name.
///
/// A replaced line ends with two line breaks: one from the replacement and its own.
/// Only `#macro` may be indented. Every other '#' is ordinary text.
///
/// The owners of a shader feature add their macros and defines in a
/// `setup(GLSLMacroProcessor *)` step; a program then passes the processor to
/// its stages. The host owns the processor and keeps it alive for as long as a
/// program refers to it.
///
/// \snippet shaders.cpp GLSLMacroProcessor
///
/// Context: none; any thread, as long as the processor is not changed meanwhile.
/// Errors:  an include without a file name, or of a file that is not found, logs a
///          warning and leaves an empty line.
class ZELGL_EXPORT GLSLMacroProcessor
{
public:
    /// No macros, no defines, and two include paths: the folder `GLSL/include`
    /// of the installation's resources, then `:/GLSL/include`, so that a file on
    /// disk overrides the built-in one.
    GLSLMacroProcessor();
    ~GLSLMacroProcessor();

    /// Adds a folder that is searched last; it need not exist.
    void addIncludePath(const QString &path);
    /// Replaces the value of an earlier define of the name.
    void addDefine(const QString &name, const QString &value);
    /// Replaces the text of an earlier macro of the name.
    void addMacro(const QString &name, const QString &value);
    void removeDefine(const QString &name);
    void removeMacro(const QString &name);

    /// The expanded \a source. A null \a processor means a new one, with
    /// only the default include paths.
    static QString process(const QString &source, GLSLMacroProcessor *processor);
    /// The `#define` lines that process() inserts after `#version`. \a processor
    /// must not be null.
    static QString processDefines(GLSLMacroProcessor *processor);

    // Expand a single line in place, for a host that loops over lines itself. The
    // expression captures the arguments of the directive: the file; the macro and
    // its default; the plan. Other lines do not change.

    /// A missing file name or file leaves an empty line.
    static void processLineInclude(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor);
    /// The default text is inserted unprocessed.
    static void processLineMacro(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor);
    /// The `#instancedata` line; an unknown plan leaves the line unchanged.
    static void processLineMaterial(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor);

private:
    class Expander;

    ZELGL_NO_EXPORT QString defineLines() const;

    QMap<QString, QString> _macros;  ///< name to replacement text
    QMap<QString, QString> _defines; ///< name to value; the map's order is the order of output
    QList<QDir> _includePaths;       ///< searched in order
};

}} // namespace Orvane::Zel
