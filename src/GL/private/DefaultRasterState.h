#pragma once

#include "../AutoDisabler.h"
#include "../GLUtilities.h"

namespace Orvane { namespace Zel {

/// Gives GL's defaults to the state of the host that would change a full-screen draw:
/// scissor test, face culling, rasterizer discard, polygon mode, and the colour mask
/// of draw buffer 0. Puts the host's values back at the end of its scope.
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
    GLint _polygonMode[2] = {GL_FILL, GL_FILL}; ///< older drivers return one for each side
    GLboolean _colorMask[4] = {GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE};
};

}} // namespace Orvane::Zel
