#pragma once

/// \file
/// The expansion of shader texts, which reports what it copies and replaces. GLSLMacroProcessor compiles it for process(),
/// and the library of shader diagnosis compiles it again for its line maps: both make the same text, because they run
/// the same code. Private to the libraries.

#include "../GLSLMacroProcessor.h"
#include "ShaderText.h"

#include <QtCore/QDir>

#include <algorithm>

namespace Orvane { namespace Zel {

/// What one expansion reads from outside and what it reports. Offsets count characters, from 0.
class MacroExpansion
{
    Q_DISABLE_COPY(MacroExpansion)

public:
    enum Kind {
        eInclude,      ///< name: the path of the file
        eMacro,        ///< name: the registered macro
        eMacroDefault, ///< name: a macro that is not registered
        ePlan          ///< name: the plan
    };

    MacroExpansion() = default;
    virtual ~MacroExpansion() = default;

    /// The text of a plan of instance data, which replaces the directive at \a offset; false for an unknown plan.
    virtual bool planText(const QString &name, QString &text, int offset) = 0;
    /// Precedes the attempt to read a file of an include.
    virtual void looksFor(const QString & /*path*/) {}
    /// An include without a file name (\a fileName is empty), or of a file that no folder has.
    virtual void includeFails(const QString &line, const QString &fileName, int offset) = 0;
    /// \a text replaces the directive at \a offset of the current text, and is the current text until leave(). Returns
    /// false to leave it out: then leave() does not follow.
    virtual bool enter(Kind kind, const QString &name, const QString &text, int offset) = 0;
    virtual void leave() = 0;
    /// From \a resultOffset, the result continues with the current text from \a offset.
    virtual void copies(int offset, int resultOffset) = 0;
    /// From \a resultOffset, the result continues with the lines of the defines.
    virtual void defines(int resultOffset) = 0;
};

/// The expanded \a source. Defined in GLSLMacroProcessor::Expander, which may read the processor.
QString expandShaderText(GLSLMacroProcessor &processor, const QString &source, MacroExpansion &expansion);

/// Reads a file of an include from the first folder that has it. \a path receives its path. \a looksFor is called with each
/// path before it is read.
template <typename LooksFor>
bool readInclude(const QString &fileName, const QList<QDir> &includePaths, QString &path, QString &text,
                 const LooksFor &looksFor)
{
    return !fileName.isEmpty()
           && std::any_of(includePaths.begin(), includePaths.end(), [&](const QDir &folder) {
                  path = folder.filePath(fileName);
                  looksFor(path);
                  return readShaderText(path, text);
              });
}

/// Expands a source and all that it includes into one text, so that no level of includes
/// copies the text of the levels below it.
class GLSLMacroProcessor::Expander
{
public:
    Expander(GLSLMacroProcessor &processor, MacroExpansion &expansion)
        : _processor(processor)
        , _expansion(expansion)
    {
    }

    QString result;

    void expand(const QString &source)
    {
        const QChar *const text = source.constData();
        const QChar *const textEnd = text + source.size();
        // 1. Find the next sign: most text has none, and is copied in one piece.
        const QChar *copied = text; // the text before it is in the result
        for (int at = source.indexOf(kSign); at >= 0; at = source.indexOf(kSign, at + 1)) {
            const QChar *const sign = text + at;
            // 2. Test whether it starts a directive: by its name first, and then by its place in the line.
            const QChar *const line = lineStart(text, sign);
            const Directive directive = line != nullptr ? directiveAt(sign, textEnd) : eNone;
            if (directive == eNone || (directive != eMacro && line != sign)) {
                continue; // the expressions match whole lines: this is ordinary text
            }
            // 3. Copy what precedes the line, and replace the line. The replacement is expanded by the same function, so that
            // it may contain directives.
            const QChar *const end = std::find_if(sign, textEnd, isLineEnd);
            append(text, copied, sign);
            copied = sign;
            if (expandLine(directive, QString(line, int(end - line)), at)) {
                copied = end; // its line break is copied with the text after it
                // 4. Go on after the line: signs inside it are arguments.
                at = int(end - text);
            }
        }
        append(text, copied, textEnd);
    }

    friend inline QString expandShaderText(GLSLMacroProcessor &processor, const QString &source,
                                           MacroExpansion &expansion)
    {
        Expander expander(processor, expansion);
        expander.result.reserve(source.size());
        expander.expand(source);
        return expander.result;
    }

private:
    enum Directive {
        eNone,
        eMacro, ///< the only one that may be indented
        eInstanceData,
        eInclude,
        eVersion
    };

    static constexpr QLatin1Char kSign{'#'};

    static bool isLineEnd(QChar c) { return c == QLatin1Char('\n') || c == QLatin1Char('\r'); }

    /// The start of the line; null when the sign follows other characters than white space.
    static const QChar *lineStart(const QChar *text, const QChar *sign)
    {
        while (sign > text && sign[-1].isSpace() && !isLineEnd(sign[-1])) {
            --sign;
        }
        return sign == text || isLineEnd(sign[-1]) ? sign : nullptr;
    }

    /// The directive by its name alone. expandLine() checks the arguments with a regular
    /// expression, which is slow: few lines reach it.
    static Directive directiveAt(const QChar *sign, const QChar *end)
    {
        const auto is = [&](QLatin1String word) {
            return end - sign >= word.size() && std::equal(word.begin(), word.end(), sign);
        };
        if (is(QLatin1String("#include"))) {
            return eInclude;
        }
        if (is(QLatin1String("#macro"))) {
            return eMacro;
        }
        if (is(QLatin1String("#version"))) {
            return eVersion;
        }
        return is(QLatin1String("#instancedata")) ? eInstanceData : eNone;
    }

    /// \a at: the offset of the directive in its text.
    bool expandLine(Directive directive, const QString &line, int at)
    {
        QString text;
        switch (directive) {
        case eMacro:
            if (!_macro.exactMatch(line)) {
                return false;
            }
            expandMacro(_macro.cap(1), _macro.cap(2), at);
            return true;
        case eInstanceData:
            if (!_instanceData.exactMatch(line)) {
                return false;
            }
            if (_expansion.planText(_instanceData.cap(1), text, at)) {
                expandReplacement(MacroExpansion::ePlan, _instanceData.cap(1), text, at);
            }
            return true;
        case eInclude:
            if (!_include.exactMatch(line)) {
                return false;
            }
            expandInclude(line, _include.cap(1), at);
            return true;
        case eVersion:
            _expansion.copies(at, result.size());
            result += line + QLatin1Char('\n');
            _expansion.defines(result.size());
            result += processDefines(&_processor);
            return true;
        default:
            return false;
        }
    }

    void expandMacro(const QString &name, const QString &defaultText, int at)
    {
        const auto macro = _processor._macros.constFind(name);
        if (macro != _processor._macros.constEnd()) {
            expandReplacement(MacroExpansion::eMacro, name, *macro, at);
        } else {
            expandReplacement(MacroExpansion::eMacroDefault, name, defaultText, at);
        }
    }

    void expandInclude(const QString &line, const QString &fileName, int at)
    {
        QString path;
        QString text;
        if (readInclude(fileName, _processor._includePaths, path, text,
                        [this](const QString &candidate) { _expansion.looksFor(candidate); })) {
            expandReplacement(MacroExpansion::eInclude, path, text, at);
        } else {
            _expansion.includeFails(line, fileName, at);
        }
    }

    void append(const QChar *text, const QChar *from, const QChar *to)
    {
        _expansion.copies(int(from - text), result.size());
        result.append(from, int(to - from));
    }

    void expandReplacement(MacroExpansion::Kind kind, const QString &name, const QString &text, int at)
    {
        if (_expansion.enter(kind, name, text, at)) {
            expand(text);
            _expansion.leave();
        }
        _expansion.copies(at, result.size());
        result += QLatin1Char('\n');
    }

    GLSLMacroProcessor &_processor; // processDefines() takes no constant
    MacroExpansion &_expansion;
    // Compiled once for each expansion: QRegExp keeps state of the last match, so that threads cannot share one.
    const QRegExp _macro{QStringLiteral("^\\s*#macro\\s*([^\\s]*)\\s([^\\n\\r]*)\\s*$")};
    const QRegExp _instanceData{QStringLiteral("^#instancedata *\"([^\"]*)\"\\s*$")};
    const QRegExp _include{QStringLiteral("^#include *\"([^\"]*)\"\\s*$")};
};

}} // namespace Orvane::Zel
