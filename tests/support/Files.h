#pragma once

#include <gtest/gtest.h>

#include <QtCore/QFile>

/// All bytes of a file, of a resource too, or a failure of the running test.
inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

/// Makes a file of these bytes, and answers its path.
inline QString writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()) << qPrintable(path);
    return path;
}
