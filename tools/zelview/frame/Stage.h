#pragma once

#include "file/Outcome.h"
#include "frame/Exhibit.h"
#include "frame/Options.h"

#include <ZelKit/PostChain.h>

namespace zeltools {

/// The framebuffers of a frame, which is drawn in linear, tone-mapped light.
using Stage = Orvane::ZelKit::PostChain;

/// ExitCode::eGL if the driver rejects a shader.
inline Expected<std::unique_ptr<Stage>> makeStage(const Options &options)
{
    Stage::Options chain;
    chain.samples = options.samples;
    chain.filter = options.edgeFilter == EdgeFilter::eSmaa   ? Stage::eSmaa
                   : options.edgeFilter == EdgeFilter::eFxaa ? Stage::eFxaa
                                                             : Stage::eNoFilter;
    QString error;
    std::unique_ptr<Stage> stage = Stage::create(chain, &error);
    return stage != nullptr ? Expected<std::unique_ptr<Stage>>(std::move(stage))
                            : Problem{ExitCode::eGL, error};
}

inline Failure resize(Stage &stage, const QSize &size)
{
    QString error;
    return stage.resize(size, &error) ? Failure() : Problem{ExitCode::eGL, error};
}

/// Draws a frame of this size into a framebuffer.
inline Failure drawFrame(Exhibit &exhibit, Stage &stage, const QSize &size, unsigned int framebuffer)
{
    if (Failure failure = exhibit.prepareFrame(size)) {
        return failure;
    }
    stage.begin();
    exhibit.draw(size);
    stage.end(framebuffer, exhibit.isDithered());
    return {};
}

} // namespace zeltools
