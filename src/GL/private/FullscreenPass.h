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

    /// Connects the quad's attributes to \a program, which draw() uses, and binds the quad.
    void bind(ShaderProgram &program);
    /// Has no effect on a quad that is not bound.
    void unbind();
    void draw();

    /// Turns off what could keep a pixel from being written as the shader computes it: blending, the depth test and
    /// depth writes.
    static void setState();
    /// Turns the depth test and depth writes on. This is the stated end of a pass, whatever the host had set before:
    /// see PrefilteredEnvMapTest.BakesLeaveTheStateThatTheyAreStatedToLeave.
    static void resetState();

private:
    QSharedPointer<DrawBuffers> _quad;
    ShaderProgram *_program = nullptr; ///< borrowed, during bind() to unbind()
};

}} // namespace Orvane::Zel
