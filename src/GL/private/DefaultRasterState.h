#pragma once

/// \file
/// Private to the library. Used by TextureProcessing and the bakes of environment maps.

#include "../AutoDisabler.h"
#include "../GLUtilities.h"

namespace Orvane { namespace Zel {

/// Sets the host state that would change a full-screen draw to GL's defaults: scissor
/// test, face culling, rasterizer discard, polygon mode, and the colour mask of draw
/// buffer 0. Restores the host's values at the end of its scope.
class DefaultRasterState
{
    Q_DISABLE_COPY(DefaultRasterState)

public:
    DefaultRasterState()
    {
        glGetIntegerv(GL_POLYGON_MODE, _polygonMode);
        glGetBooleani_v(GL_COLOR_WRITEMASK, 0, _colorMask);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        glColorMaski(0, GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }

    ~DefaultRasterState()
    {
        glColorMaski(0, _colorMask[0], _colorMask[1], _colorMask[2], _colorMask[3]);
        glPolygonMode(GL_FRONT_AND_BACK, static_cast<GLenum>(_polygonMode[0]));
    }

private:
    const AutoDisabler _scissorTest{GL_SCISSOR_TEST};
    const AutoDisabler _faceCulling{GL_CULL_FACE};
    const AutoDisabler _discard{GL_RASTERIZER_DISCARD};
    GLint _polygonMode[2] = {GL_FILL, GL_FILL}; ///< some drivers return a front and a back mode
    GLboolean _colorMask[4] = {GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE};
};

}} // namespace Orvane::Zel
