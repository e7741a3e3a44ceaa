#include "app/Picture.h"

#include "frame/Exhibit.h"
#include "frame/Graphics.h"
#include "frame/Options.h"
#include "frame/Programs.h"
#include "frame/Stage.h"
#include "frame/Targets.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/FrameMeter.h>

#include <QtCore/QElapsedTimer>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

/// Draws the exhibit again, now that all its objects exist, and appends the cost to the report.
Failure measure(Exhibit &exhibit, Stage &stage, const QSize &size, unsigned int framebuffer,
                QStringList &report)
{
    Orvane::ZelKit::FrameMeter meter;
    meter.begin();
    const Failure failure = drawFrame(exhibit, stage, size, framebuffer);
    meter.end();
    report = exhibit.describeStatistics() + meter.describe();
    return failure;
}

Expected<QImage> drawPicture(Exhibit &exhibit, Stage &stage, const Options &options, QStringList &report)
{
    const QSize size = options.size;
    if (const Failure failure = resize(stage, size)) {
        return *failure;
    }
    auto target = makeTarget(size, GL_RGBA8, RenderTarget::eNoDepth);
    if (!target) {
        return target.problem();
    }
    const unsigned int framebuffer = (*target)->framebuffer()->getFBO();
    exhibit.frame(size);
    if (const Failure failure = drawFrame(exhibit, stage, size, framebuffer)) {
        return *failure;
    }
    if (options.printsStatistics) {
        if (const Failure failure = measure(exhibit, stage, size, framebuffer, report)) {
            return *failure;
        }
    }
    QString error;
    const QImage image = (*target)->image(&error);
    if (image.isNull()) {
        return Problem{ExitCode::eGL, error};
    }
    return image;
}

/// A function of its own, so that its GL objects are deleted before the context.
Expected<Picture> makePictureHere(Exhibit &exhibit, const Options &options)
{
    Picture picture;
    picture.driver = describeDriver();
    QElapsedTimer timer;
    timer.start();

    Programs programs(options.shaders);
    auto stage = makeStage(options);
    if (!stage) {
        return stage.problem();
    }
    if (const Failure failure = exhibit.createGLObjects(programs, options)) {
        return *failure;
    }
    picture.samples = (*stage)->samples();
    picture.buildTime = timer.restart();

    QStringList statistics;
    Expected<QImage> image = drawPicture(exhibit, **stage, options, statistics);
    if (!image) {
        return image.problem();
    }
    picture.image = *image;
    picture.drawTime = timer.elapsed();
    picture.frame = exhibit.describeFrame() + statistics;
    if (options.pick) {
        picture.frame.append(exhibit.pick(*options.pick, options.size));
    }
    return picture;
}

} // namespace

Expected<Picture> makePicture(Exhibit &exhibit, const Options &options)
{
    const auto context = makeOffscreenContext(options);
    if (!context) {
        return context.problem();
    }
    Expected<Picture> picture = makePictureHere(exhibit, options);
    exhibit.releaseGLObjects();
    return picture;
}

} // namespace zeltools
