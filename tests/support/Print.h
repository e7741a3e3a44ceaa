#pragma once

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <ostream>

// How gtest prints Qt's texts in failures. In the global namespace, where argument-dependent lookup finds them.

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

/// Whether the text contains the words; a failure prints the text.
inline testing::AssertionResult holds(const QString &text, const QString &words)
{
    return text.contains(words) ? testing::AssertionSuccess()
                                : testing::AssertionFailure()
                                      << '"' << qPrintable(words) << "\" is not in: " << qPrintable(text);
}
