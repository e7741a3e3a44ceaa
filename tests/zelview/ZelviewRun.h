#pragma once

#include "ModelFiles.h"
#include "PictureColours.h"

#include "../support/Print.h"
#include "../support/TestContext.h"

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QProcess>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <cstdlib>
#include <vector>

/// The result of a run of zelview.
struct Ending
{
    int code;
    QString output;
    QString errors;

    QStringList errorLines() const { return errors.split('\n', Qt::SkipEmptyParts); }
};

inline Ending runZelviewOnce(const QStringList &arguments, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(ZELVIEW_PROGRAM), arguments);
    if (!process.waitForFinished(100000) || process.exitStatus() != QProcess::NormalExit) {
        return {-1, QString(), "zelview crashed or hung: " + process.errorString()};
    }
    return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput()),
            QString::fromLocal8Bit(process.readAllStandardError())};
}

inline Ending runZelview(const QStringList &arguments, const QProcessEnvironment &environment)
{
    const Ending ending = runZelviewOnce(arguments, environment);
    // Once in thousands of runs the leak checker crashes after main(), while a thread of the driver ends.
    const bool hasCheckerCrashed = ending.errors.contains("LeakSanitizer has encountered a fatal error");
    return hasCheckerCrashed ? runZelviewOnce(arguments, environment) : ending;
}

inline Ending runZelview(const QStringList &arguments)
{
    return runZelview(arguments, QProcessEnvironment::systemEnvironment());
}

inline QByteArray pngOf(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "png");
    return bytes;
}

/// A PNG with four quarters: red, green, blue and white, row by row from the top.
inline QByteArray fourColours()
{
    QImage image(32, 32, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(0, 0, 16, 16, QColor(200, 0, 0));
    painter.fillRect(16, 0, 16, 16, QColor(0, 200, 0));
    painter.fillRect(0, 16, 16, 16, QColor(0, 0, 200));
    painter.end();
    return pngOf(image);
}

inline const std::vector<int> kFourColours{0, 1, 2, -1};

/// A call that fails, its exit code, and words of the line that states the reason.
struct Refusal
{
    QStringList arguments;
    int code;
    QString words;
};

/// Runs zelview with files in a temporary folder.
class ZelviewPictureTest : public testing::Test
{
protected:
    /// The picture for these arguments, read from its file. Null, with a failure of the test, if there is none.
    QImage picture(const QStringList &arguments)
    {
        const QString target = _files.path(QString("picture%1.png").arg(_pictures++));
        _last = runZelview(arguments + QStringList{"--offscreen", target});
        EXPECT_EQ(_last.code, 0);
        EXPECT_EQ(_last.errors, QString());
        return QImage(target);
    }

    /// Checks that each call prints one line and writes no file.
    void expectRefusals(const std::vector<Refusal> &refusals, const QStringList &more = {})
    {
        const QStringList before = _files.names();
        for (const Refusal &refusal : refusals) {
            SCOPED_TRACE(refusal.arguments.join(' ').toStdString());
            const Ending ending = runZelview(refusal.arguments + more);
            EXPECT_EQ(ending.code, refusal.code);
            EXPECT_EQ(ending.output, QString());
            EXPECT_EQ(ending.errorLines().size(), 1) << qPrintable(ending.errors);
            EXPECT_TRUE(ending.errors.startsWith("zelview: ")) << qPrintable(ending.errors);
            EXPECT_TRUE(ending.errors.contains(refusal.words)) << qPrintable(ending.errors);
        }
        EXPECT_EQ(_files.names(), before);
    }

    /// The line of the last run's output that starts with \a head.
    QString line(const QString &head) const
    {
        for (const QString &line : _last.output.split('\n')) {
            if (line.startsWith(head)) {
                return line;
            }
        }
        return {};
    }

    ModelFiles _files;
    Ending _last;
    int _pictures = 0;
};
