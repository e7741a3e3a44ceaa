#include "Expression.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

namespace {

using Value = Expression::Value;

/// The binary operators by precedence, the weakest first.
const QVector<QStringList> &levels()
{
    static const QVector<QStringList> all{
        {QStringLiteral("||")},
        {QStringLiteral("&&")},
        {QStringLiteral("|")},
        {QStringLiteral("^")},
        {QStringLiteral("&")},
        {QStringLiteral("=="), QStringLiteral("!=")},
        {QStringLiteral("<"), QStringLiteral(">"), QStringLiteral("<="), QStringLiteral(">=")},
        {QStringLiteral("<<"), QStringLiteral(">>")},
        {QStringLiteral("+"), QStringLiteral("-")},
        {QStringLiteral("*"), QStringLiteral("/"), QStringLiteral("%")}};
    return all;
}

/// GLSL computes with 32 bits; unsigned arithmetic wraps where signed would be undefined.
Value shifted(const QString &sign, qint64 a, qint64 b)
{
    if (b < 0 || b > 31) {
        return Value();
    }
    return sign == QLatin1String("<<") ? qint64(qint32(quint32(a) << b)) : qint64(qint32(a) >> b);
}

Value arithmetic(const QString &sign, qint64 a, qint64 b)
{
    switch (sign.at(0).toLatin1()) {
    case '+':
        return qint32(a + b);
    case '-':
        return qint32(a - b);
    case '*':
        return qint32(a * b);
    case '/':
        return b != 0 ? Value(qint32(a / b)) : Value();
    case '%':
        return b != 0 ? Value(qint32(a % b)) : Value();
    case '|':
        return a | b;
    case '^':
        return a ^ b;
    case '&':
        return a & b;
    default:
        return Value();
    }
}

Value apply(const QString &sign, qint64 a, qint64 b)
{
    if (sign == QLatin1String("<<") || sign == QLatin1String(">>")) {
        return shifted(sign, a, b);
    }
    if (sign == QLatin1String("==")) {
        return a == b;
    }
    if (sign == QLatin1String("!=")) {
        return a != b;
    }
    if (sign.startsWith(QLatin1Char('<'))) {
        return sign.size() == 1 ? a < b : a <= b;
    }
    if (sign.startsWith(QLatin1Char('>'))) {
        return sign.size() == 1 ? a > b : a >= b;
    }
    return arithmetic(sign, a, b);
}

Value logical(bool isOr, const Value &a, const Value &b)
{
    const auto decides = [&](const Value &value) { return value && (*value != 0) == isOr; };
    if (decides(a) || decides(b)) {
        return isOr;
    }
    return a && b ? Value(!isOr) : Value();
}

} // namespace

Expression::Expression(const QString &text, const Names &names)
    : _names(names)
{
    static const QRegularExpression token(QStringLiteral("\\w+|\\|\\||&&|<<|>>|[=!<>]=|\\S"));
    for (auto matches = token.globalMatch(text); matches.hasNext();) {
        _tokens.append(matches.next().captured());
    }
}

Expression::Value Expression::evaluate()
{
    constexpr int kMaxTokens = 200; // the depth of calls grows with them
    if (_tokens.size() > kMaxTokens) {
        return Value();
    }
    const Value value = binary(0, true);
    return _isMalformed || _at < _tokens.size() ? Value() : value;
}

/// \a matters: the value decides the expression, so that it may not use undefined names.
Expression::Value Expression::binary(int level, bool matters)
{
    if (level == levels().size()) {
        return unary(matters);
    }
    Value left = binary(level + 1, matters);
    while (levels().at(level).contains(peek())) {
        const QString sign = _tokens.at(_at++);
        const bool isOr = sign == QLatin1String("||");
        if (isOr || sign == QLatin1String("&&")) {
            const bool isDecided = left && (*left != 0) == isOr;
            left = logical(isOr, left, binary(level + 1, matters && !isDecided));
        } else {
            const Value right = binary(level + 1, matters);
            left = left && right ? apply(sign, *left, *right) : Value();
        }
    }
    return left;
}

Expression::Value Expression::unary(bool matters)
{
    if (take("!")) {
        const Value value = unary(matters);
        return value ? Value(*value == 0) : Value();
    }
    if (take("-") || take("+") || take("~")) {
        const QString sign = _tokens.at(_at - 1);
        const Value value = unary(matters);
        return !value                       ? Value()
               : sign == QLatin1String("-") ? Value(-*value)
               : sign == QLatin1String("~") ? Value(~*value)
                                            : value;
    }
    if (take("(")) {
        const Value value = binary(0, matters);
        _isMalformed = !take(")") || _isMalformed;
        return value;
    }
    const QString word = peek();
    ++_at;
    if (word == QLatin1String("defined")) {
        return definedOperator();
    }
    bool isNumber = false;
    const qint64 number =
        QString(word).remove(QRegularExpression(QStringLiteral("[uU]$"))).toLongLong(&isNumber, 0);
    if (isNumber) {
        return qint64(qint32(number)); // as in GLSL
    }
    const bool isName = !word.isEmpty() && (word.at(0).isLetter() || word.at(0) == QLatin1Char('_'));
    _isMalformed = !isName || _isMalformed;
    return isName ? name(word, matters) : Value();
}

Expression::Value Expression::name(const QString &word, bool matters)
{
    if (peek() == QLatin1String("(")) { // a macro with parameters
        _isMalformed = true;
        return Value();
    }
    const std::optional<bool> isDefined = _names.isDefined(word);
    if (isDefined && !*isDefined) {
        if (matters) {
            _names.isUndefined(word);
        }
        return Value();
    }
    return _names.value(word);
}

Expression::Value Expression::definedOperator()
{
    const bool hasParenthesis = take("(");
    const std::optional<bool> isDefined = _names.isDefined(peek());
    ++_at;
    _isMalformed = (hasParenthesis && !take(")")) || _isMalformed;
    return isDefined ? Value(*isDefined) : Value();
}

bool Expression::take(const char *sign)
{
    const bool isNext = peek() == QLatin1String(sign);
    _at += isNext ? 1 : 0;
    return isNext;
}

}} // namespace Orvane::ZelShaders
