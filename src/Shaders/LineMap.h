#pragma once

#include "ShadersExport.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace Orvane {

namespace Zel {
class GLSLMacroProcessor;
}

namespace ZelShaders {

/// The expanded text of a shader, with the file and line that each of its lines comes from.
///
/// The text is that of Zel::GLSLMacroProcessor::process(), byte for byte: the same code makes both. Drivers number the
/// lines of this text, which is in no file; a LineMap leads from there to the sources.
///
/// \snippet diagnosis.cpp LineMap
///
/// Units:   lines count from 1. A carriage return, a line feed, or one of each ends a line, as in GLSL.
/// Context: none; any thread, one at a time for the same object, because look-ups fill an index.
/// Errors:  includes that fail, unknown plans and endless includes log nothing; failures() lists them. An include that
///          would include itself is left out.
class ZELSHADERS_EXPORT LineMap
{
public:
    /// Where a text comes from.
    enum Kind {
        eFile,   ///< the source itself or an include; name: as given, or the path
        eMacro,  ///< a registered macro; name: the macro
        ePlan,   ///< the accessors that a plan of instance data generates; name: the plan
        eDefines ///< the defines of the processor, after `#version`; no name
    };

    struct Origin
    {
        Kind kind = eFile;
        QString name;
        int line = 0; ///< 0 if there is no origin

        /// "file:9", "macro NAME:9", "plan NAME:9" or "defines:9".
        ZELSHADERS_EXPORT QString toString() const;
        bool operator==(const Origin &other) const
        {
            return kind == other.kind && name == other.name && line == other.line;
        }
    };

    /// A directive that was replaced.
    struct Use
    {
        Kind kind = eFile;
        QString name;
        QString text;        ///< what replaces it, not expanded
        bool isKnown = true; ///< false for a macro that is not registered: its default is used
        Origin at;           ///< the directive
    };

    /// A directive that was left out, and the reason in words.
    struct Failure
    {
        QString message;
        Origin at;
        bool isEndless; ///< process() would not return
    };

    /// The texts of plans by name.
    using PlanTexts = QHash<QString, QString>;

    /// An empty text.
    LineMap();
    /// Expands \a source. \a name names it in origins. A null \a processor means a new one, as in process(). Plans are
    /// those of \a plans; if it is null, those of Zel::InstanceDataRegistry, which logs the first use of an unknown one.
    LineMap(const QString &source, const QString &name, const Zel::GLSLMacroProcessor *processor,
            const PlanTexts *plans = nullptr);

    QString text() const { return _text; }
    QString name() const;
    int lineCount() const;
    /// A line of the text, without its line break.
    QString line(int number) const;
    /// The origin of a line of the text. A line that is made of several is that of its first visible character. Line 0
    /// for a line that the text does not have.
    Origin origin(int line) const;
    /// The directives through which the line got into the text, the innermost first; empty for lines of the source.
    QVector<Origin> includedFrom(int line) const;
    /// The line of the source or include that the origin names, without its line break.
    QString sourceLine(const Origin &origin) const;
    /// The number of lines in the text of an origin; 0 if the map has no such text.
    int sourceLineCount(const Origin &origin) const;

    /// All replaced directives, in the order of the text.
    QVector<Use> uses() const;
    QVector<Failure> failures() const;

private:
    class ZELSHADERS_NO_EXPORT Tracer;

    /// A text that is a part of the expanded text.
    struct Entry
    {
        Kind kind;
        bool isDefault; ///< the default of a macro: its lines have the origin of the directive
        QString name;
        QString text;
        int parent;       ///< index of the entry with the directive; -1 for the source
        int parentOffset; ///< of the directive in the parent's text
    };

    /// A part of the expanded text, up to the next segment.
    struct Segment
    {
        int resultOffset;
        int entry;
        int offset; ///< in the entry's text
    };

    struct FailedDirective
    {
        QString message;
        int entry;
        int offset;
        bool isEndless;
    };

    ZELSHADERS_NO_EXPORT const Segment *segmentOfLine(int line, int &position) const;
    ZELSHADERS_NO_EXPORT Origin originAt(int entry, int offset) const;
    ZELSHADERS_NO_EXPORT const QVector<int> &startsOf(int entry) const;
    ZELSHADERS_NO_EXPORT int entryOf(const Origin &origin) const;

    QString _text;
    QVector<Entry> _entries; ///< the source is the first
    QVector<Segment> _segments;
    QVector<FailedDirective> _failures;
    mutable QVector<int> _lineStarts;               ///< of the text; made by the first look-up
    mutable QHash<int, QVector<int>> _sourceStarts; ///< of the entries; made by the first look-up
};

} // namespace ZelShaders
} // namespace Orvane
