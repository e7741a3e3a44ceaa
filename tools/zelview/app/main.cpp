#include "app/ExhibitFactory.h"
#include "app/Picture.h"
#include "app/PngFile.h"
#include "app/Window.h"
#include "file/Counted.h"
#include "file/Program.h"
#include "frame/Exhibit.h"
#include "frame/Graphics.h"
#include "frame/Options.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtGui/QGuiApplication>

using namespace zeltools;
using Orvane::ZelKit::HeadlessContext;

namespace {

/// The options need an application's name, but no display.
Expected<Options> readOptions(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return parseOptions(QCoreApplication::arguments());
}

Failure checkOverwriting(const Exhibit &exhibit, const QString &path)
{
    const QString picture = QFileInfo(path).canonicalFilePath(); // empty if it does not exist yet
    for (const QString &file : exhibit.files()) {
        if (!picture.isEmpty() && picture == QFileInfo(file).canonicalFilePath()) {
            return Problem{ExitCode::eUsage,
                           QStringLiteral("the picture would overwrite a file that it shows")};
        }
    }
    return {};
}

Failure writePicture(Exhibit &exhibit, const Options &options, qint64 loadTime)
{
    Expected<Picture> picture = makePicture(exhibit, options);
    if (!picture) {
        return picture.problem();
    }
    QElapsedTimer timer;
    timer.start();
    if (const Failure failure = writePng(picture->image, options.picture)) {
        return failure;
    }
    const qint64 writeTime = timer.elapsed();

    Console::printLine(QStringLiteral("picture   %5, %1x%2, %3%4")
                           .arg(options.size.width())
                           .arg(options.size.height())
                           .arg(counted(picture->samples, "sample", "samples"),
                                options.edgeFilter == EdgeFilter::eNone
                                    ? QString()
                                    : QStringLiteral(", ") + edgeFilterName(options.edgeFilter),
                                QFileInfo(options.picture).absoluteFilePath()));
    Console::printLine(QStringLiteral("driver    ") + picture->driver);
    for (const QString &line : exhibit.describe() + picture->frame) {
        Console::printLine(line);
    }
    Console::printLine(QStringLiteral("time      load %1 ms, build %2 ms, draw %3 ms, write %4 ms")
                           .arg(loadTime)
                           .arg(picture->buildTime)
                           .arg(picture->drawTime)
                           .arg(writeTime));
    return {};
}

Failure showWindow(Exhibit &exhibit, const Options &options)
{
    Window window(exhibit, options);
    window.setTitle(QFileInfo(options.file).fileName() + QStringLiteral(" - zelview"));
    window.show();
    QGuiApplication::exec();
    if (!window.failure() && !window.isValid()) {
        return Problem{ExitCode::eGL, QStringLiteral("the display provides no OpenGL context")};
    }
    return window.failure();
}

Failure run(int argc, char **argv, const Options &options)
{
    if (options.verbose) {
        Console::setVerbose();
    }
    const bool isOffscreen = !options.picture.isEmpty();
    if (isOffscreen) {
        if (const Failure failure = checkPngTarget(options.picture)) {
            return failure;
        }
    }
    QElapsedTimer timer;
    timer.start();
    auto exhibit = loadExhibit(options);
    if (!exhibit) {
        return exhibit.problem();
    }
    const qint64 loadTime = timer.elapsed();
    if (const Failure failure = checkOverwriting(**exhibit, options.picture)) {
        return failure;
    }

    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    const QGuiApplication application(argc, argv);
    return isOffscreen ? writePicture(**exhibit, options, loadTime) : showWindow(**exhibit, options);
}

} // namespace

int main(int argc, char **argv)
{
    return runProgram(
        "zelview", [&] { return readOptions(argc, argv); },
        [&](const Options &options) { return run(argc, argv, options); });
}
