#pragma once

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

/// Follows the conditions of the preprocessor through an expanded text.
///
/// What a driver decides, such as names that start with "GL_", is unknown: both branches of such a condition count.
class Conditions
{
public:
    struct Finding
    {
        int line; ///< of the text, from 1
        QString text;
    };

    /// The findings in a whole text.
    static QVector<Finding> check(const QString &text);

    /// The text with blanks for the lines that no compiler sees, and without comments. Lines keep their numbers.
    static QString liveText(const QString &text);

private:
    enum Truth { eFalse, eTrue, eUnknown };

    /// An open condition: whether its current branch counts, and whether an earlier one did.
    struct Branch
    {
        Truth isTaken;
        Truth wasTaken;
        bool isOutside; ///< the text around it counts
        int line;
    };

    void read(const QString &text, QString *live);
    void directive(const QString &name, const QString &rest, int line);
    void open(Truth truth, int line);
    void next(const QString &name, const QString &rest, int line);
    void define(const QString &rest, bool isDefined);
    bool counts() const;
    bool isCertain() const;
    Truth definedness(const QString &name) const;
    Truth evaluate(const QString &expression, int line);

    QVector<Branch> _branches;
    QHash<QString, QString> _values; ///< of the defines; a null string if it depends on the driver
    QSet<QString> _reported;
    QVector<Finding> _findings;
};

}} // namespace Orvane::ZelShaders
