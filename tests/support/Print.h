#pragma once

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
