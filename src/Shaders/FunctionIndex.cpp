#include "FunctionIndex.h"

#include "private/TextLines.h"

#include <ZelCore/Resources.h>
#include <ZelGL/GLLoader.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

bool startsWord(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_');
}

bool continuesWord(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

/// The words and signs of a text without comments and lines of the preprocessor.
class Tokens
{
public:
    explicit Tokens(const QString &text)
        : _text(withoutComments(text))
    {
    }

    /// Reads the next token; empty at the end of the text.
    QString next()
    {
        skipBlanks();
        start = _at;
        if (_at >= _text.size()) {
            return QString();
        }
        const bool isWord = continuesWord(_text.at(_at)); // numbers too: they never precede a parenthesis
        ++_at;
        while (isWord && _at < _text.size() && continuesWord(_text.at(_at))) {
            ++_at;
        }
        return _text.mid(start, _at - start);
    }

    int start = 0; ///< offset of the last token

private:
    void skipBlanks()
    {
        while (_at < _text.size() && (_text.at(_at).isSpace() || _text.at(_at) == QLatin1Char('#'))) {
            if (_text.at(_at) == QLatin1Char('#')) {
                skipDirective();
            } else {
                ++_at;
            }
        }
    }

    /// To the end of the line, or of the lines that backslashes join.
    void skipDirective()
    {
        for (; _at < _text.size(); ++_at) {
            const QChar c = _text.at(_at);
            if ((c == QLatin1Char('\n') || c == QLatin1Char('\r')) && !isJoined(_text, _at)) {
                return;
            }
        }
    }

    QString _text;
    int _at = 0;
};

bool isKeyword(const QString &word)
{
    static const QStringList kWords{QStringLiteral("if"),     QStringLiteral("for"),
                                    QStringLiteral("while"),  QStringLiteral("switch"),
                                    QStringLiteral("return"), QStringLiteral("layout")};
    return kWords.contains(word);
}

} // namespace

FunctionIndex::Functions FunctionIndex::scan(const QString &text)
{
    Functions functions;
    const QVector<int> starts = lineStarts(text);
    Tokens tokens(text);
    QString previous; // two tokens: a type and a name precede the parenthesis of a declaration
    QString beforePrevious;
    int previousStart = 0;
    int braces = 0;
    int parentheses = 0;
    Place heading{QString(), 0}; // of a function whose parameters have been read
    for (QString token = tokens.next(); !token.isEmpty(); token = tokens.next()) {
        const QChar sign = token.at(0);
        if (sign == QLatin1Char('(')) {
            if (startsWord(previous.isEmpty() ? QChar() : previous.at(0)) && !isKeyword(previous)) {
                const Place place{previous, lineAt(starts, previousStart) + 1};
                const bool hasType = !beforePrevious.isEmpty() && startsWord(beforePrevious.at(0));
                if (braces > 0) {
                    functions.called.append(place);
                } else if (parentheses == 0 && hasType) {
                    heading = place;
                }
            }
            ++parentheses;
        } else if (sign == QLatin1Char(')')) {
            --parentheses;
        } else if (sign == QLatin1Char('{') || sign == QLatin1Char(';')) {
            if (braces == 0 && !heading.function.isEmpty() && previous == QLatin1String(")")) {
                (sign == QLatin1Char('{') ? functions.defined : functions.declared).append(heading);
            }
            heading = Place{QString(), 0};
            braces += sign == QLatin1Char('{') ? 1 : 0;
            parentheses = sign == QLatin1Char('{') ? 0 : parentheses;
        } else if (sign == QLatin1Char('}')) {
            // Branches of the preprocessor may close a brace twice.
            braces = qMax(0, braces - 1);
        }
        beforePrevious = previous;
        previous = token;
        previousStart = tokens.start;
    }
    return functions;
}

const FunctionIndex &FunctionIndex::library()
{
    static const FunctionIndex index = [] {
        FunctionIndex all;
        all.addFolder(Zel::resourcesPath() + QStringLiteral("/GLSL/src"));
        all.addFolder(QStringLiteral(":/GLSL/src"));
        return all;
    }();
    return index;
}

void FunctionIndex::addFile(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        addText(path, QString::fromUtf8(file.readAll()));
    }
}

void FunctionIndex::addFolder(const QString &path)
{
    for (const QFileInfo &file : QDir(path).entryInfoList(QDir::Files, QDir::Name)) {
        addFile(file.filePath());
    }
}

void FunctionIndex::addText(const QString &file, const QString &text)
{
    for (const Place &place : scan(text).defined) {
        QStringList &files = _files[place.function];
        if (!files.contains(file)) {
            files.append(file);
        }
    }
}

QStringList FunctionIndex::filesDefining(const QString &function) const
{
    return _files.value(function);
}

QString linkAdvice(const QString &function, unsigned int stage, const QString &declaredIn,
                   const FunctionIndex &index)
{
    QStringList names; // addShaderFromFile() takes the name alone
    for (const QString &path : index.filesDefining(function)) {
        const QString name = QFileInfo(path).fileName();
        if (!names.contains(name) && function != QLatin1String("main")) {
            names.append(name);
        }
    }
    if (names.isEmpty()) {
        return QString();
    }
    std::stable_partition(names.begin(), names.end(), [&](const QString &name) {
        return QFileInfo(name).completeBaseName() == QFileInfo(declaredIn).completeBaseName();
    });
    const bool isOfManager =
        names.size() > 1 && names.filter(QLatin1String("TextureManager")).size() == names.size();
    return QStringLiteral("link %1%2: program.addShaderFromFile(%3, %4)")
               .arg(names.size() > 1 ? QStringLiteral("one of ") : QString(), names.join(QLatin1String(", ")),
                    stageName(stage),
                    isOfManager ? QStringLiteral("manager.getShaderFile()")
                                : QLatin1Char('"') + names.first() + QLatin1Char('"'))
           + (isOfManager ? QStringLiteral("; ProgramBuilder::build() with the manager does it") : QString());
}

QString stageName(unsigned int stage)
{
    switch (stage) {
    case GL_VERTEX_SHADER:
        return QStringLiteral("GL_VERTEX_SHADER");
    case GL_FRAGMENT_SHADER:
        return QStringLiteral("GL_FRAGMENT_SHADER");
    case GL_GEOMETRY_SHADER:
        return QStringLiteral("GL_GEOMETRY_SHADER");
    case GL_TESS_EVALUATION_SHADER:
        return QStringLiteral("GL_TESS_EVALUATION_SHADER");
    case GL_TESS_CONTROL_SHADER:
        return QStringLiteral("GL_TESS_CONTROL_SHADER");
    default:
        return QStringLiteral("stage");
    }
}

}} // namespace Orvane::ZelShaders
