#include "ShaderLint.h"

#include "private/Conditions.h"
#include "private/MissingFunctions.h"
#include "private/TextLines.h"

#include <QtCore/QRegularExpression>

namespace Orvane { namespace ZelShaders {

namespace {

using Findings = QVector<ShaderLint::Finding>;

/// Whether the text starts with `#ifndef X` and `#define X`, and so has an effect only once.
bool hasGuard(const QString &text)
{
    static const QRegularExpression guard(
        QStringLiteral("^\\s*#\\s*ifndef\\s+(\\w+)\\s+#\\s*define\\s+\\1\\b"));
    static const QRegularExpression once(
        QStringLiteral("^\\s*#\\s*if\\s+!\\s*defined\\s*\\(?\\s*(\\w+)\\s*\\)?\\s+#\\s*define\\s+\\1\\b"));
    const QString code = withoutComments(text);
    return guard.match(code).hasMatch() || once.match(code).hasMatch();
}

void lintUses(const LineMap &map, Findings &findings)
{
    QHash<QString, LineMap::Origin> seen; // files and plans, with their first include
    for (const LineMap::Use &use : map.uses()) {
        if (!use.isKnown) {
            findings.append(
                {ShaderLint::eNote, use.at,
                 QStringLiteral("macro '%1' is not registered: its default is used").arg(use.name)});
        }
        if (use.kind == LineMap::eMacro) {
            continue;
        }
        const auto first = seen.constFind(use.name);
        if (first == seen.constEnd()) {
            seen.insert(use.name, use.at);
        } else if (!hasGuard(use.text)) {
            findings.append({ShaderLint::eWarning, use.at,
                             QStringLiteral("'%1' is included again, without an include guard; first at %2")
                                 .arg(use.name, first->toString())});
        }
    }
}

/// Directives of the text processor that it did not expand, because their form is not the one that it knows.
void lintLeftovers(const LineMap &map, Findings &findings)
{
    static const QRegularExpression directive(QStringLiteral("^\\s*#\\s*(include|instancedata|macro)\\b"));
    const QString code = withoutComments(map.text());
    const QVector<int> starts = lineStarts(code);
    for (int i = 0; i < starts.size(); ++i) {
        const QRegularExpressionMatch match = directive.match(lineText(code, starts, i));
        if (match.hasMatch()) {
            findings.append(
                {ShaderLint::eWarning, map.origin(i + 1),
                 QStringLiteral("#%1 is not expanded: it needs a line of its own%2")
                     .arg(match.captured(1), match.captured(1) == QLatin1String("macro")
                                                 ? QStringLiteral(", a name and a default")
                                                 : QStringLiteral(" without indentation, and a name in "
                                                                  "double quotes"))});
        }
    }
}

} // namespace

QString ShaderLint::Finding::toString() const
{
    static const char *const kSeverities[] = {"note", "warning", "error"};
    return at.toString() + QStringLiteral(": ") + QLatin1String(kSeverities[severity]) + QStringLiteral(": ")
           + text;
}

QVector<ShaderLint::Finding> ShaderLint::lint(const LineMap &map)
{
    Findings findings;
    for (const LineMap::Failure &failure : map.failures()) {
        findings.append({eError, failure.at, failure.message});
    }
    lintUses(map, findings);
    lintLeftovers(map, findings);
    for (const Conditions::Finding &finding : Conditions::check(map.text())) {
        findings.append({eError, map.origin(finding.line), finding.text});
    }
    return findings;
}

QVector<ShaderLint::Finding> ShaderLint::lintStage(const QVector<LineMap> &texts, unsigned int stage,
                                                   const FunctionIndex &index)
{
    QVector<ShaderReport::Stage> stages;
    for (const LineMap &map : texts) {
        stages.append({stage, map});
    }
    Findings findings;
    QStringList functions;
    for (const UndefinedFunction &function : undefinedFunctions(stages)) {
        functions.append(function.name);
    }
    for (const MissingFunctions &missing : groupMissing(functions, stages, index)) {
        const QString advice = missing.advice.isEmpty() ? QString() : QStringLiteral("; ") + missing.advice;
        findings.append(
            {eWarning, missing.stage->map.origin(missing.line),
             QStringLiteral("no file of this stage defines %1%2").arg(missing.namesInWords(), advice)});
    }
    return findings;
}

}} // namespace Orvane::ZelShaders
