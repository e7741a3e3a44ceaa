#include "GLSLMacroProcessor.h"

#include "Reporting.h"
#include "private/InstanceDataText.h"
#include "private/ShaderText.h"

#include <ZelCore/Resources.h>

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

const QLatin1Char kSign('#');
const QLatin1String kInclude("#include");
const QLatin1String kInstanceData("#instancedata");
const QLatin1String kMacro("#macro");
const QLatin1String kVersion("#version");

bool isLineEnd(QChar c)
{
    return c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

/// Reads an include from the first folder that has the file. Logs a warning and returns
/// false when the line has no file name or no folder has the file.
bool findInclude(const QString &line, const QString &fileName, const QList<QDir> &includePaths, QString &text)
{
    if (fileName.isEmpty()) {
        ZEL_BARE_WARNING("Cannot extract include filename from '%s'", line.toUtf8().constData());
        return false;
    }
    for (const QDir &folder : includePaths) {
        if (readShaderText(folder.filePath(fileName), text)) {
            return true;
        }
    }
    ZEL_BARE_WARNING("Failed to open include file '%s'", fileName.toUtf8().constData());
    return false;
}

} // namespace

/// One call of process(): expands a source and all that it includes into one text, so that
/// no level of includes copies the text of the levels below it.
class GLSLMacroProcessor::Expander
{
public:
    explicit Expander(const GLSLMacroProcessor &processor)
        : _processor(processor)
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
            append(copied, sign);
            copied = sign;
            if (expandLine(directive, QString(line, int(end - line)))) {
                copied = end; // its line break is copied with the text after it
                // 4. Go on after the line: signs inside it are arguments.
                at = int(end - text);
            }
        }
        append(copied, textEnd);
    }

private:
    enum Directive {
        eNone,
        eMacro, ///< the only one that may be indented
        eInstanceData,
        eInclude,
        eVersion
    };

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
        if (is(kInclude)) {
            return eInclude;
        }
        if (is(kMacro)) {
            return eMacro;
        }
        if (is(kVersion)) {
            return eVersion;
        }
        return is(kInstanceData) ? eInstanceData : eNone;
    }

    bool expandLine(Directive directive, const QString &line)
    {
        QString text;
        switch (directive) {
        case eMacro:
            if (!_macro.exactMatch(line)) {
                return false;
            }
            expandReplacement(_processor._macros.value(_macro.cap(1), _macro.cap(2)));
            return true;
        case eInstanceData:
            if (!_instanceData.exactMatch(line)) {
                return false;
            }
            if (instanceDataText(_instanceData.cap(1), text)) {
                expandReplacement(text);
            }
            return true;
        case eInclude:
            if (!_include.exactMatch(line)) {
                return false;
            }
            if (findInclude(line, _include.cap(1), _processor._includePaths, text)) {
                expandReplacement(text);
            }
            return true;
        case eVersion:
            result += line + QLatin1Char('\n') + _processor.defineLines();
            return true;
        default:
            return false;
        }
    }

    void append(const QChar *from, const QChar *to) { result.append(from, int(to - from)); }

    void expandReplacement(const QString &text)
    {
        expand(text);
        result += QLatin1Char('\n');
    }

    const GLSLMacroProcessor &_processor;
    // Compiled once for each call of process(): QRegExp keeps state of the last match, so that threads cannot share one.
    const QRegExp _macro{QStringLiteral("^\\s*#macro\\s*([^\\s]*)\\s([^\\n\\r]*)\\s*$")};
    const QRegExp _instanceData{QStringLiteral("^#instancedata *\"([^\"]*)\"\\s*$")};
    const QRegExp _include{QStringLiteral("^#include *\"([^\"]*)\"\\s*$")};
};

GLSLMacroProcessor::GLSLMacroProcessor()
    : _includePaths{QDir(resourcesPath() + QStringLiteral("/GLSL/include")),
                    QDir(QStringLiteral(":/GLSL/include"))}
{
}

GLSLMacroProcessor::~GLSLMacroProcessor() = default;

void GLSLMacroProcessor::addIncludePath(const QString &path)
{
    _includePaths.append(QDir(path));
}

void GLSLMacroProcessor::addDefine(const QString &name, const QString &value)
{
    _defines[name] = value;
}

void GLSLMacroProcessor::addMacro(const QString &name, const QString &value)
{
    _macros[name] = value;
}

void GLSLMacroProcessor::removeDefine(const QString &name)
{
    _defines.remove(name);
}

void GLSLMacroProcessor::removeMacro(const QString &name)
{
    _macros.remove(name);
}

QString GLSLMacroProcessor::process(const QString &source, GLSLMacroProcessor *processor)
{
    if (processor == nullptr) {
        GLSLMacroProcessor temporary;
        return process(source, &temporary);
    }
    Expander expander(*processor);
    expander.result.reserve(source.size());
    expander.expand(source);
    return expander.result;
}

QString GLSLMacroProcessor::processDefines(GLSLMacroProcessor *processor)
{
    return processor != nullptr ? processor->defineLines() : QString();
}

void GLSLMacroProcessor::processLineInclude(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    if (!line.startsWith(kInclude)) {
        return;
    }
    if (processor == nullptr) {
        GLSLMacroProcessor temporary;
        processLineInclude(line, regExp, &temporary);
        return;
    }
    regExp.indexIn(line);
    QString text;
    findInclude(line, regExp.cap(1), processor->_includePaths, text);
    line = process(text, processor);
}

void GLSLMacroProcessor::processLineMacro(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    if (regExp.indexIn(line) < 0) {
        return;
    }
    if (processor != nullptr && processor->_macros.contains(regExp.cap(1))) {
        line = process(processor->_macros.value(regExp.cap(1)), processor);
    } else {
        // Required: not processed, unlike in process(); see
        // GLSLMacroProcessorTest.SingleLinesExpandInPlaceByTheHostsOwnExpressions.
        line = regExp.cap(2);
    }
}

void GLSLMacroProcessor::processLineMaterial(QString &line, QRegExp &regExp, GLSLMacroProcessor *processor)
{
    QString text;
    if (line.startsWith(kInstanceData) && regExp.indexIn(line) >= 0
        && instanceDataText(regExp.cap(1), text)) {
        line = process(text, processor);
    }
}

// The map is sorted by name, so that the same defines give the same text and the same hash of a program.
QString GLSLMacroProcessor::defineLines() const
{
    QString lines;
    for (auto define = _defines.cbegin(); define != _defines.cend(); ++define) {
        lines +=
            QLatin1String("#define ") + define.key() + QLatin1Char(' ') + define.value() + QLatin1Char('\n');
    }
    return lines;
}

}} // namespace Orvane::Zel
