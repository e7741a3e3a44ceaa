#pragma once

#include <gtest/gtest.h>

#include <QtCore/QFile>

/// All bytes of a file or resource; adds a failure to the running test if it cannot be read.
inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

/// Writes a file of these bytes, and returns its path.
inline QString writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()) << qPrintable(path);
    return path;
}
