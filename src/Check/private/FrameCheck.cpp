#include "Driver.h"
#include "Objects.h"
#include "Repeats.h"
#include "Reports.h"
#include "TextureCheck.h"
#include "Watch.h"

#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLContext>

namespace Orvane { namespace ZelCheck {

namespace {

struct Binding
{
    GLenum name;
    Kind kind;
    const char *text;
    const char *remedy;
};

constexpr Binding kBindings[] = {
    {GL_CURRENT_PROGRAM, Kind::eProgram, "program", "Call unbind() of the ShaderProgram."},
    {GL_VERTEX_ARRAY_BINDING, Kind::eVertexArray, "vertex array",
     "Call unbind() of the draw unit or the VertexArrayObject."},
    {GL_DRAW_FRAMEBUFFER_BINDING, Kind::eFramebuffer, "framebuffer",
     "Call unbind() of the FramebufferObject."},
    {GL_ARRAY_BUFFER_BINDING, Kind::eBuffer, "buffer of GL_ARRAY_BUFFER",
     "Call unbind() of the BufferObject."},
    {GL_UNIFORM_BUFFER_BINDING, Kind::eBuffer, "buffer of GL_UNIFORM_BUFFER",
     "Call unbind() of the BufferObject."},
};

void checkBindings()
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const GLuint window = context != nullptr ? context->defaultFramebufferObject() : 0;
    for (const Binding &binding : kBindings) {
        const GLint bound = integer(binding.name);
        if (bound != 0 && !(binding.name == GL_DRAW_FRAMEBUFFER_BINDING && GLuint(bound) == window)) {
            report(Mistake::eLeftBound, 0, binding.name, [&] {
                return QStringLiteral("The frame ended with %1 %2 bound. %3")
                    .arg(QLatin1String(binding.text))
                    .arg(nameOf(binding.kind, GLuint(bound)))
                    .arg(QLatin1String(binding.remedy));
            });
        }
    }
}

/// Reports the textures of the active unit. Returns whether there are any.
bool checkUnit(GLint unit)
{
    bool hasTexture = false;
    for (const GLenum target : textureTargets()) {
        const GLint texture = integer(textureBinding(target));
        if (texture != 0) {
            hasTexture = true;
            report(Mistake::eLeftBound, 0, quint64(unit + 1) << 32 | target, [&] {
                return QStringLiteral("The frame ended with texture %1 bound to %2 of texture unit %3. "
                                      "Call unbind() "
                                      "of the Texture or the manager.")
                    .arg(nameOf(Kind::eTexture, GLuint(texture)))
                    .arg(QLatin1String(textureTargetName(target)))
                    .arg(unit);
            });
        }
    }
    return hasTexture;
}

/// The library takes a unit for each texture that is bound. It has no units in a context where it has bound none.
void checkUnits()
{
    const GLenum active = GLenum(integer(GL_ACTIVE_TEXTURE));
    const GLint ofFragments = integer(GL_MAX_TEXTURE_IMAGE_UNITS);
    bool areKnown = false;
    for (GLint unit = 0; unit < ofFragments && !areKnown; ++unit) {
        areKnown = Zel::Texture::isTextureUnitFree(unsigned(unit));
    }
    const GLint unitCount = integer(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS);
    for (GLint unit = 0; unit < unitCount; ++unit) {
        driver.glActiveTexture(GL_TEXTURE0 + GLenum(unit));
        const bool hasTexture = checkUnit(unit);
        if (!hasTexture && areKnown && unit < ofFragments
            && !Zel::Texture::isTextureUnitFree(unsigned(unit))) {
            report(Mistake::eUnitLeaked, 0, quint64(unit), [unit] {
                return QStringLiteral(
                           "The frame ended with texture unit %1 in use, but without a texture: a "
                           "Texture was deleted while it was bound. Call its unbind() before you delete it.")
                    .arg(unit);
            });
        }
    }
    driver.glActiveTexture(active);
}

} // namespace

void checkFrameEnd()
{
    checkBindings();
    checkUnits();
    for (const QString &line : repeats().takeIfChanged()) {
        Inside::current()->log(line);
    }
}

}} // namespace Orvane::ZelCheck
