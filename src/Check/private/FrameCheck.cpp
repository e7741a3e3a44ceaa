#include "Driver.h"
#include "Reports.h"
#include "TextureCheck.h"
#include "Watch.h"

#include <QtGui/QOpenGLContext>

namespace Orvane { namespace ZelCheck {

namespace {

struct Binding
{
    GLenum name;
    const char *text;
    const char *remedy;
};

constexpr Binding kBindings[] = {
    {GL_CURRENT_PROGRAM, "program", "Call unbind() of the ShaderProgram."},
    {GL_VERTEX_ARRAY_BINDING, "vertex array", "Call unbind() of the draw unit or the VertexArrayObject."},
    {GL_DRAW_FRAMEBUFFER_BINDING, "framebuffer", "Call unbind() of the FramebufferObject."},
    {GL_ARRAY_BUFFER_BINDING, "buffer of GL_ARRAY_BUFFER", "Call unbind() of the BufferObject."},
    {GL_UNIFORM_BUFFER_BINDING, "buffer of GL_UNIFORM_BUFFER", "Call unbind() of the BufferObject."},
};

} // namespace

void checkFrameEnd()
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const GLuint window = context != nullptr ? context->defaultFramebufferObject() : 0;
    for (const Binding &binding : kBindings) {
        const GLint bound = integer(binding.name);
        if (bound != 0 && !(binding.name == GL_DRAW_FRAMEBUFFER_BINDING && GLuint(bound) == window)) {
            report(Mistake::eLeftBound, 0, binding.name, [&] {
                return QStringLiteral("The frame ended with %1 %2 bound. %3")
                    .arg(QLatin1String(binding.text))
                    .arg(bound)
                    .arg(QLatin1String(binding.remedy));
            });
        }
    }
    const GLenum active = GLenum(integer(GL_ACTIVE_TEXTURE));
    for (GLint unit = 0; unit < integer(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS); ++unit) {
        driver.glActiveTexture(GL_TEXTURE0 + GLenum(unit));
        for (const GLenum target : textureTargets()) {
            const GLint texture = integer(textureBinding(target));
            if (texture != 0) {
                report(Mistake::eLeftBound, GLuint(unit) + 1, target, [&] {
                    return QStringLiteral("The frame ended with texture %1 bound to %2 of texture unit %3. "
                                          "Call unbind() "
                                          "of the Texture or the manager.")
                        .arg(texture)
                        .arg(QLatin1String(textureTargetName(target)))
                        .arg(unit);
                });
            }
        }
    }
    driver.glActiveTexture(active);
}

}} // namespace Orvane::ZelCheck
