#pragma once

#include <ZelGL/AutoDisabler.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace Orvane {

namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
} // namespace Zel

namespace ZelKit {

/// The folder of the library's shaders, for the include paths of a processor.
QString shaderFolder();

/// A program of shaders of this library ("smaaEdges.frag") and of libZelGL ("FXAA.glslc"), whose fragment stage writes
/// out_FragColor. \a vertexFile: empty for a full-screen pass with vo_TexCoord. Null with a message if it does not link; the
/// report on the shaders is logged.
std::unique_ptr<Zel::ShaderProgram> buildProgram(Zel::GLSLMacroProcessor &processor,
                                                 const QString &vertexFile, const QStringList &fragmentFiles,
                                                 QString *error);

/// Draws the full-screen quad with a program that is bound.
void drawFullscreen(Zel::ShaderProgram &program);

/// Sets the state of the host that would change the pixels of full-screen passes to GL's defaults, for a scope.
class PassState
{
    Q_DISABLE_COPY(PassState)

public:
    PassState();
    ~PassState();

private:
    Zel::AutoDisabler _blending{GL_BLEND};
    Zel::AutoDisabler _culling{GL_CULL_FACE};
    Zel::AutoDisabler _depthTest{GL_DEPTH_TEST};
    Zel::AutoDisabler _discard{GL_RASTERIZER_DISCARD};
    Zel::AutoDisabler _encoding{GL_FRAMEBUFFER_SRGB}; ///< the shaders encode
    Zel::AutoDisabler _scissorTest{GL_SCISSOR_TEST};
    Zel::AutoDisabler _stencilTest{GL_STENCIL_TEST};
    GLint _polygonMode[2] = {GL_FILL, GL_FILL}; ///< some drivers return a front and a back mode
};

} // namespace ZelKit
} // namespace Orvane
