#pragma once

/// \file
/// Private to the library. Used by TextureProcessing, PrefilteredEnvMap and TvoImageCubemapUtils.

#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {

class DrawBuffers;
class ShaderProgram;

/// Draws the shared full-screen quad with one program.
///
/// The caller binds the framebuffer and the program, and sets the viewport.
class FullscreenPass
{
    Q_DISABLE_COPY(FullscreenPass)

public:
    /// Creates the quad if this is the first pass of the device context.
    FullscreenPass();
    ~FullscreenPass(); ///< unbind()

    /// Connects the quad's attributes to \a program, which draw() then uses, and binds the quad.
    void bind(ShaderProgram &program);
    /// Has no effect on a quad that is not bound.
    void unbind();
    void draw();

    /// Turns off blending, the depth test and depth writes, so that every pixel becomes what the shader computes.
    static void setState();
    /// Required: turns the depth test and depth writes on, whatever the host had set before the pass; see
    /// StateContractTest.EachCallLeavesWhatThePageSays.
    static void resetState();

private:
    QSharedPointer<DrawBuffers> _quad;
    ShaderProgram *_program = nullptr; ///< borrowed, during bind() to unbind()
};

}} // namespace Orvane::Zel
