#include "app/ExhibitFactory.h"
#include "app/Picture.h"
#include "app/PngFile.h"
#include "app/Window.h"
#include "file/Console.h"
#include "frame/Exhibit.h"
#include "frame/Graphics.h"
#include "frame/Options.h"
#include "scene/UdimFiles.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtGui/QGuiApplication>

#include <cstdio>

using namespace zeltools;
using Orvane::ZelKit::HeadlessContext;

namespace {

/// The options need an application's name, but no display.
Expected<Options> readOptions(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return parseOptions(QCoreApplication::arguments());
}

Failure checkPicture(const Options &options)
{
    QStringList shown{options.file, options.environment};
    if (options.isUdim) {
        if (const Expected<TextureSource> set = findUdimSet(options.file)) {
            for (const TextureTile &tile : set->tiles) {
                shown.append(tile.path);
            }
        }
    }
    const QString picture = QFileInfo(options.picture).canonicalFilePath(); // empty if it does not exist yet
    for (const QString &file : shown) {
        if (!picture.isEmpty() && picture == QFileInfo(file).canonicalFilePath()) {
            return Problem{ExitCode::eUsage,
                           QStringLiteral("the picture would overwrite a file that it shows")};
        }
    }
    return checkPngTarget(options.picture);
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

    Console::printLine(QStringLiteral("picture   %1, %2x%3, %4%5")
                           .arg(QFileInfo(options.picture).absoluteFilePath())
                           .arg(options.size.width())
                           .arg(options.size.height())
                           .arg(picture->samples == 1 ? QStringLiteral("1 sample")
                                                      : QStringLiteral("%1 samples").arg(picture->samples))
                           .arg(options.edgeFilter == EdgeFilter::eNone
                                    ? QString()
                                    : QStringLiteral(", ") + edgeFilterName(options.edgeFilter)));
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
    const bool isOffscreen = !options.picture.isEmpty();
    if (isOffscreen) {
        if (const Failure failure = checkPicture(options)) {
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

    HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                : HeadlessContext::eForWindows);
    const QGuiApplication application(argc, argv);
    return isOffscreen ? writePicture(**exhibit, options, loadTime) : showWindow(**exhibit, options);
}

} // namespace

int main(int argc, char **argv)
{
    Console::install("zelview");
    const Expected<Options> options = readOptions(argc, argv);
    if (!options) {
        return Console::reportProblem(options.problem());
    }
    if (!options->printedText.isEmpty()) {
        std::fputs(qPrintable(options->printedText), stdout);
        return int(ExitCode::eOk);
    }
    if (options->verbose) {
        Console::setVerbose();
    }
    if (const Failure failure = run(argc, argv, *options)) {
        return Console::reportProblem(*failure);
    }
    return int(ExitCode::eOk);
}
