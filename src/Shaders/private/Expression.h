#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <optional>

namespace Orvane { namespace ZelShaders {

/// Evaluates the expression of an `#if`, unless it depends on the driver.
class Expression
{
public:
    /// What an expression needs to know of a name. isDefined: empty if only the driver knows it. value: empty if the name
    /// has no number; called only where the value matters, and only for names that are defined.
    struct Names
    {
        std::function<std::optional<bool>(const QString &name)> isDefined;
        std::function<std::optional<qint64>(const QString &name)> value;
        std::function<void(const QString &name)>
            isUndefined; ///< a name that is not defined is used as a number
    };

    using Value = std::optional<qint64>;

    Expression(const QString &text, const Names &names);

    /// Empty if the driver decides, or if the text is not an expression that this class knows.
    Value evaluate();

private:
    Value binary(int level, bool matters);
    Value unary(bool matters);
    Value name(const QString &word, bool matters);
    Value definedOperator();
    bool take(const char *sign);
    QString peek() const { return _tokens.value(_at); }

    QStringList _tokens;
    int _at = 0;
    bool _isMalformed = false;
    const Names &_names;
};

}} // namespace Orvane::ZelShaders
