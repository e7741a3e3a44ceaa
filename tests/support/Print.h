#pragma once

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <ostream>

// How gtest writes Qt's text in its failures; found beside Qt's types, in the global namespace.

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << qPrintable(text) << '"';
}

inline void PrintTo(const QByteArray &text, std::ostream *out)
{
    *out << '"' << text.constData() << '"';
}

inline void PrintTo(const QStringList &texts, std::ostream *out)
{
    *out << '{';
    for (const QString &text : texts) {
        *out << "\n  ";
        PrintTo(text, out);
    }
    *out << '}';
}

/// Whether the words stand in the text, which a failure shows.
inline testing::AssertionResult holds(const QString &text, const QString &words)
{
    return text.contains(words) ? testing::AssertionSuccess()
                                : testing::AssertionFailure()
                                      << '"' << qPrintable(words) << "\" is not in: " << qPrintable(text);
}
