#include "Conditions.h"

#include "Expression.h"
#include "TextLines.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

QVector<Conditions::Finding> Conditions::check(const QString &text)
{
    Conditions conditions;
    conditions.read(withoutComments(text), nullptr);
    return conditions._findings;
}

QString Conditions::liveText(const QString &text)
{
    QString live = withoutComments(text);
    Conditions().read(live, &live);
    return live;
}

/// Reads the directives of a text without comments. \a live, if it is not null, is the text in which dead lines become blank.
void Conditions::read(const QString &text, QString *live)
{
    static const QRegularExpression form(QStringLiteral("^\\s*#\\s*(\\w+)\\s*(.*)$"),
                                         QRegularExpression::DotMatchesEverythingOption);
    _values = {{QStringLiteral("__LINE__"), QString()},
               {QStringLiteral("__FILE__"), QString()},
               {QStringLiteral("__VERSION__"), QStringLiteral("110")}};
    const QString code = text; // may be the same object as live
    const QVector<int> starts = lineStarts(code);
    for (int i = 0; i < starts.size(); ++i) {
        const int first = i;
        const auto takeLine = [&](int index) {
            const QString taken = lineText(code, starts, index);
            if (live != nullptr && !counts()) {
                live->replace(starts.at(index), taken.size(), QString(taken.size(), QLatin1Char(' ')));
            }
            return taken;
        };
        QString line = takeLine(i);
        while (line.endsWith(QLatin1Char('\\')) && i + 1 < starts.size()) {
            line.chop(1);
            line += takeLine(++i);
        }
        const QRegularExpressionMatch match = form.match(line);
        if (match.hasMatch()) {
            directive(match.captured(1), match.captured(2).trimmed(), first + 1);
        }
    }
    for (const Branch &branch : qAsConst(_branches)) {
        _findings.append({branch.line, QStringLiteral("this condition has no #endif")});
    }
}

void Conditions::directive(const QString &name, const QString &rest, int line)
{
    if (name == QLatin1String("if")) {
        open(counts() ? evaluate(rest, line) : eFalse, line);
    } else if (name == QLatin1String("ifdef")) {
        open(definedness(rest), line);
    } else if (name == QLatin1String("ifndef")) {
        const Truth truth = definedness(rest);
        open(truth == eUnknown ? eUnknown : truth == eTrue ? eFalse : eTrue, line);
    } else if (name == QLatin1String("elif") || name == QLatin1String("else")
               || name == QLatin1String("endif")) {
        next(name, rest, line);
    } else if (counts() && (name == QLatin1String("define") || name == QLatin1String("undef"))) {
        define(rest, name == QLatin1String("define"));
    } else if (counts() && name == QLatin1String("version")) {
        _values[QStringLiteral("__VERSION__")] = rest.section(QLatin1Char(' '), 0, 0);
    }
}

void Conditions::open(Truth truth, int line)
{
    _branches.append({truth, truth, counts(), line});
}

/// The next branch of the innermost condition, or its end.
void Conditions::next(const QString &name, const QString &rest, int line)
{
    if (_branches.isEmpty()) {
        _findings.append({line, QStringLiteral("#%1 without an #if").arg(name)});
        return;
    }
    if (name == QLatin1String("endif")) {
        _branches.removeLast();
        return;
    }
    Branch &branch = _branches.last();
    branch.isTaken = eFalse; // while its own expression is evaluated in the text around it
    if (branch.wasTaken == eTrue || !branch.isOutside) {
        return;
    }
    const Truth was = branch.wasTaken;
    Truth truth = eTrue;
    if (name == QLatin1String("elif")) {
        branch.isTaken = was == eUnknown ? eUnknown : eTrue;
        truth = evaluate(rest, line);
    }
    branch.isTaken = was == eUnknown && truth == eTrue ? eUnknown : truth;
    branch.wasTaken = truth == eTrue ? eTrue : was == eUnknown ? eUnknown : truth;
}

void Conditions::define(const QString &rest, bool isDefined)
{
    static const QRegularExpression form(QStringLiteral("^(\\w+)(\\(?)\\s*(.*)$"));
    const QRegularExpressionMatch match = form.match(rest);
    const QString name = match.captured(1);
    if (!isCertain()) {
        _values[name] = QString();
    } else if (isDefined) {
        // Not null: the name is defined, with or without a number.
        _values[name] =
            match.captured(2).isEmpty() ? QStringLiteral("") + match.captured(3) : QStringLiteral("(");
    } else {
        _values.remove(name);
    }
}

/// Whether the text may reach the compiler.
bool Conditions::counts() const
{
    return std::all_of(_branches.begin(), _branches.end(),
                       [](const Branch &branch) { return branch.isTaken != eFalse; });
}

/// Whether it reaches every compiler.
bool Conditions::isCertain() const
{
    return std::all_of(_branches.begin(), _branches.end(),
                       [](const Branch &branch) { return branch.isTaken == eTrue; });
}

Conditions::Truth Conditions::definedness(const QString &name) const
{
    const QString word = name.section(QRegularExpression(QStringLiteral("\\W")), 0, 0);
    const auto value = _values.constFind(word);
    if (value != _values.constEnd()) {
        return value->isNull() && !word.startsWith(QLatin1String("__")) ? eUnknown : eTrue;
    }
    return word.startsWith(QLatin1String("GL_")) ? eUnknown : eFalse;
}

Conditions::Truth Conditions::evaluate(const QString &expression, int line)
{
    Expression::Names names;
    names.isDefined = [&](const QString &name) {
        const Truth truth = definedness(name);
        return truth == eUnknown ? std::optional<bool>() : truth == eTrue;
    };
    int depth = 0; // a define that refers to itself has no end
    int lookUps = 0;
    names.value = [&](const QString &name) {
        constexpr int kMaxDepth = 8;
        constexpr int kMaxLookUps = 1000;
        const QString value = _values.value(name);
        ++depth;
        const bool isTooLong = depth > kMaxDepth || ++lookUps > kMaxLookUps;
        const Expression::Value number = isTooLong || value.trimmed().isEmpty()
                                             ? Expression::Value()
                                             : Expression(value, names).evaluate();
        --depth;
        return number;
    };
    names.isUndefined = [&](const QString &name) {
        if (!_reported.contains(name)) {
            _reported.insert(name);
            _findings.append(
                {line, QStringLiteral("'%1' is not defined here; in an #if it has no value").arg(name)});
        }
    };
    const Expression::Value value = Expression(expression, names).evaluate();
    return !value ? eUnknown : *value != 0 ? eTrue : eFalse;
}

}} // namespace Orvane::ZelShaders
