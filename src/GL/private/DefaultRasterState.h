#pragma once

/// \file
/// Private to the library. Used by TextureProcessing and the bakes of environment maps.

#include "../AutoDisabler.h"
#include "../GLUtilities.h"

namespace Orvane { namespace Zel {

/// Sets the host state that would change a full-screen draw to GL's defaults: scissor
/// test, face culling, rasterizer discard, logic operation, polygon mode, and the colour
/// masks. Restores the host's values at the end of its scope.
class DefaultRasterState
{
    Q_DISABLE_COPY(DefaultRasterState)

public:
    /// Sets the colour masks of the first \a drawBuffers draw buffers, up to 8.
    explicit DefaultRasterState(int drawBuffers = 1)
        : _drawBuffers(static_cast<GLuint>(drawBuffers))
    {
        glGetIntegerv(GL_POLYGON_MODE, _polygonMode);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        for (GLuint i = 0; i < _drawBuffers; ++i) {
            glGetBooleani_v(GL_COLOR_WRITEMASK, i, _colorMasks[i]);
            glColorMaski(i, GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        }
    }

    ~DefaultRasterState()
    {
        for (GLuint i = 0; i < _drawBuffers; ++i) {
            const GLboolean *mask = _colorMasks[i];
            glColorMaski(i, mask[0], mask[1], mask[2], mask[3]);
        }
        glPolygonMode(GL_FRONT_AND_BACK, static_cast<GLenum>(_polygonMode[0]));
    }

private:
    const AutoDisabler _scissorTest{GL_SCISSOR_TEST};
    const AutoDisabler _faceCulling{GL_CULL_FACE};
    const AutoDisabler _discard{GL_RASTERIZER_DISCARD};
    const AutoDisabler _logicOp{GL_COLOR_LOGIC_OP};
    GLint _polygonMode[2] = {GL_FILL, GL_FILL}; ///< some drivers return a front and a back mode
    const GLuint _drawBuffers;
    GLboolean _colorMasks[8][4] = {};
};

}} // namespace Orvane::Zel
