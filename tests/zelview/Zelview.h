#pragma once

#include "../support/AssetFiles.h"
#include "../support/TestContext.h"

#include <QtCore/QRegularExpression>

#include <cstdlib>

/// The channel that exceeds the others by far: r, g or b; a dot if there is none.
inline QChar leadingChannel(const QColor &color)
{
    const int channels[] = {color.red(), color.green(), color.blue()};
    for (int i = 0; i < 3; ++i) {
        if (channels[i] >= std::max(channels[(i + 1) % 3], channels[(i + 2) % 3]) + 60) {
            return "rgb"[i];
        }
    }
    return '.';
}

/// The leading channels of a grid of squares, as rows from the top. A frame of a tenth of the picture may be around them.
inline QString mosaic(const QImage &image, int columns, int rows)
{
    const double unit = std::min(0.9 * image.width() / columns, 0.9 * image.height() / rows);
    QString letters;
    for (int i = 0; i < columns * rows; ++i) {
        letters += i > 0 && i % columns == 0 ? "/" : "";
        letters += leadingChannel(
            image.pixelColor(int(0.5 * image.width() + (i % columns + 0.5 - 0.5 * columns) * unit),
                             int(0.5 * image.height() + (i / columns + 0.5 - 0.5 * rows) * unit)));
    }
    return letters;
}

/// The greatest difference of any channel of any pixel; 256 if the sizes differ.
inline int difference(const QImage &a, const QImage &b)
{
    int greatest = a.size() == b.size() ? 0 : 256;
    for (int i = 0; i < a.width() * a.height() && greatest < 256; ++i) {
        const QColor p = a.pixelColor(i % a.width(), i / a.width());
        const QColor q = b.pixelColor(i % a.width(), i / a.width());
        greatest = std::max({greatest, std::abs(p.red() - q.red()), std::abs(p.green() - q.green()),
                             std::abs(p.blue() - q.blue())});
    }
    return greatest;
}

/// The fixture of all tests of zelview.
class ZelviewTest : public AssetFilesTest
{
protected:
    const Ending &run(const QStringList &arguments,
                      const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        return runProgram(ZELVIEW_PROGRAM, arguments, environment);
    }

    /// The picture for these arguments, read from its file. \a errors: what the run prints about it.
    QImage picture(const QStringList &arguments, const QString &errors = QString())
    {
        run(arguments + QStringList{"--offscreen", path("picture.png")});
        EXPECT_EQ(_last.code, 0);
        EXPECT_EQ(_last.errors, errors);
        return QImage(path("picture.png"));
    }

    void expectMosaic(const QString &expected, const QStringList &arguments,
                      const QString &errors = QString())
    {
        const int rows = expected.count('/') + 1;
        EXPECT_EQ(mosaic(picture(arguments, errors),
                         expected.indexOf('/') < 0 ? expected.size() : expected.indexOf('/'), rows),
                  expected)
            << qPrintable(arguments.join(' '));
    }

    /// The line of the last run's output that starts with \a head.
    QString line(const QString &head) const
    {
        return _last.output.split('\n').filter(QRegularExpression("^" + head)).value(0);
    }
};
