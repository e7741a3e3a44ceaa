#pragma once

#include "TestContext.h"

#include <ZelGL/AutoEnabler.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

/// Raster state of a host that would change each pass over an image. Sets the defaults of GL at the end of its scope.
class HostRaster
{
public:
    HostRaster()
    {
        driver()->glScissor(0, 0, 1, 1);
        driver()->glCullFace(GL_FRONT_AND_BACK);
        driver()->glPolygonMode(GL_FRONT_AND_BACK, GL_POINT);
        driver()->glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
        driver()->glLogicOp(GL_INVERT);
    }

    ~HostRaster()
    {
        driver()->glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        driver()->glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }

private:
    const Orvane::Zel::AutoEnabler _scissorTest{GL_SCISSOR_TEST}, _culling{GL_CULL_FACE},
        _discard{GL_RASTERIZER_DISCARD}, _logicOp{GL_COLOR_LOGIC_OP};
};
