#include "DriverLog.h"

#include <ZelGL/GLLoader.h>

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

/// The stage of a heading such as "Vertex info" or "Fragment shader(s) failed to link"; 0 for other lines.
unsigned int stageOfHeading(const QString &line)
{
    static const QRegularExpression heading(
        QStringLiteral(
            "^(Vertex|Fragment|Geometry|Tessellation control|Tessellation evaluation) (info|shader\\(s\\))"),
        QRegularExpression::CaseInsensitiveOption);
    const QString word = heading.match(line).captured(1).toLower();
    return word == QLatin1String("vertex")                    ? GL_VERTEX_SHADER
           : word == QLatin1String("fragment")                ? GL_FRAGMENT_SHADER
           : word == QLatin1String("geometry")                ? GL_GEOMETRY_SHADER
           : word == QLatin1String("tessellation control")    ? GL_TESS_CONTROL_SHADER
           : word == QLatin1String("tessellation evaluation") ? GL_TESS_EVALUATION_SHADER
                                                              : 0;
}

/// A form of a driver, with the named parts "line", "severity" and "text".
const QVector<QRegularExpression> &forms()
{
    static const QVector<QRegularExpression> all{
        // Mesa: 0:354(12): error: text; 0:354(12): preprocessor error: text
        QRegularExpression(QStringLiteral(
            "^\\d+:(?<line>\\d+)\\(\\d+\\): (?:preprocessor )?(?<severity>\\w+): (?<text>.*)$")),
        // NVIDIA: 0(354) : error C1008: text
        QRegularExpression(QStringLiteral(
            "^\\d+\\((?<line>\\d+)\\) : (?:fatal )?(?<severity>\\w+) (?<text>[A-Z]\\d+: .*)$")),
        // AMD and Intel: ERROR: 0:354: text
        QRegularExpression(QStringLiteral("^(?<severity>ERROR|WARNING): \\d+:(?<line>\\d+): (?<text>.*)$")),
        // Any of them without a line.
        QRegularExpression(
            QStringLiteral("^(?<severity>error|warning|ERROR|WARNING):? (?<line>)(?<text>.*)$")),
    };
    return all;
}

/// Rules under headings, and counts such as "1 compilation errors.  No code generated".
bool saysNothing(const QString &line)
{
    static const QRegularExpression empty(
        QStringLiteral("^-*$|failed to (compile|link)|compilation (errors|terminated)|^\\(\\d+\\) : fatal"));
    return empty.match(line).hasMatch();
}

} // namespace

QVector<DriverMessage> parseDriverLog(const QString &log)
{
    // Mesa 25 reports a second main() under a name of its own.
    static const QRegularExpression mainOfMesa(QStringLiteral("\\bgl_mesa_tmp_\\w+"));
    QVector<DriverMessage> messages;
    unsigned int stage = 0;
    for (const QString &raw : log.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed().replace(mainOfMesa, QStringLiteral("main"));
        const unsigned int heading = stageOfHeading(line);
        stage = heading != 0 ? heading : stage;
        if (heading != 0 || saysNothing(line)) {
            continue;
        }
        DriverMessage message{0, QString(), line, stage};
        for (const QRegularExpression &form : forms()) {
            const QRegularExpressionMatch match = form.match(line);
            if (match.hasMatch()) {
                message = {match.captured(QStringLiteral("line")).toInt(),
                           match.captured(QStringLiteral("severity")).toLower(),
                           match.captured(QStringLiteral("text")).trimmed(), stage};
                break;
            }
        }
        messages.append(message);
    }
    return messages;
}

QStringList missingFunctions(const QString &log)
{
    static const QRegularExpression forms(
        QStringLiteral("unresolved reference to function [`'\"]?(?<mesa>\\w+)"
                       "|undefined function \"(?:\\w+ )*(?<nvidia>\\w+)\\("
                       "|Function:? (?<amd>\\w+)\\([^\\n]* is not implemented"
                       "|No function definition \\(body\\) found:\\s*(?<intel>\\w+)\\("));
    QStringList functions;
    for (auto matches = forms.globalMatch(log); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        for (const char *driver : {"mesa", "nvidia", "amd", "intel"}) {
            const QString function = match.captured(QLatin1String(driver));
            if (!function.isEmpty() && !functions.contains(function)) {
                functions.append(function);
            }
        }
    }
    return functions;
}

}} // namespace Orvane::ZelShaders
