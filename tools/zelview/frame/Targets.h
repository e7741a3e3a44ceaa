#pragma once

#include "file/Outcome.h"

#include <ZelKit/RenderTarget.h>

namespace zeltools {

using Orvane::ZelKit::RenderTarget;

/// As RenderTarget::create(); ExitCode::eGL if the driver cannot provide the framebuffer.
inline Expected<std::unique_ptr<RenderTarget>> makeTarget(const QSize &size, unsigned int colorFormat,
                                                          RenderTarget::Depth depth, int samples = 0)
{
    QString error;
    std::unique_ptr<RenderTarget> target = RenderTarget::create(size, colorFormat, depth, samples, &error);
    if (!target) {
        return Problem{ExitCode::eGL, error};
    }
    return target;
}

} // namespace zeltools
