#include "TargetCheck.h"

#include "Driver.h"
#include "Objects.h"
#include "Reports.h"

#include <ZelGL/GLContextTracker.h>

#include <QtGui/QOpenGLContext>

#include <algorithm>

namespace Orvane { namespace ZelCheck {

namespace {

const char *statusText(GLenum status)
{
    switch (status) {
    case GL_FRAMEBUFFER_UNDEFINED:
        return "there is no window surface. Make a surface current, or bind a framebuffer object";
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT:
        return "an attachment is empty or cannot be drawn to. Attach textures that have a size and a format "
               "that "
               "can be drawn to";
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT:
        return "it has no attachment. Attach a texture";
    case GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER:
        return "a draw buffer names an attachment that is missing. Call setDrawBuffers() after the last "
               "attach()";
    case GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER:
        return "the read buffer names an attachment that is missing. Call glReadBuffer() with one that "
               "exists";
    case GL_FRAMEBUFFER_UNSUPPORTED:
        return "the driver does not support these formats together. Use other formats";
    case GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE:
        return "the attachments have different numbers of samples. Give all of them the same number";
    case GL_FRAMEBUFFER_INCOMPLETE_LAYER_TARGETS:
        return "only some attachments have layers. Attach all of them with layers, or all without";
    default:
        return "the driver names no reason. Check the sizes and formats of the attachments";
    }
}

/// Returns whether it is complete.
bool checkFramebuffer(GLuint program)
{
    const GLenum status = driver.glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        const GLint framebuffer = integer(GL_DRAW_FRAMEBUFFER_BINDING);
        report(Mistake::eFramebufferIncomplete, program, quint64(framebuffer), [&] {
            return QStringLiteral("Program %1 draws into framebuffer %2, which is incomplete: %3.")
                .arg(nameOf(Kind::eProgram, program))
                .arg(nameOf(Kind::eFramebuffer, GLuint(framebuffer)))
                .arg(statusText(status));
        });
    }
    return status == GL_FRAMEBUFFER_COMPLETE;
}

/// Qt draws the contents of a QOpenGLWidget and of some windows into a framebuffer object, which is copied to the screen.
void checkWindow(GLuint program)
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const GLuint window = context != nullptr ? context->defaultFramebufferObject() : 0;
    if (window != 0 && integer(GL_DRAW_FRAMEBUFFER_BINDING) == 0) {
        report(Mistake::eWindowFramebuffer, program, window, [&] {
            return QStringLiteral("Program %1 draws into framebuffer 0, but the window of the context shows "
                                  "framebuffer %2. Bind QOpenGLContext::defaultFramebufferObject().")
                .arg(nameOf(Kind::eProgram, program))
                .arg(window);
        });
    }
}

void checkAreas(GLuint program)
{
    GLint area[4] = {};
    driver.glGetIntegerv(GL_VIEWPORT, area);
    if (area[2] == 0 || area[3] == 0) {
        report(Mistake::eEmptyViewport, program, 0, [&] {
            return QStringLiteral(
                       "Program %1 draws with a viewport of %2 x %3 pixels. Call glViewport() with the "
                       "size of the target.")
                .arg(nameOf(Kind::eProgram, program))
                .arg(area[2])
                .arg(area[3]);
        });
    }
    if (driver.glIsEnabled(GL_SCISSOR_TEST) != GL_FALSE) {
        driver.glGetIntegerv(GL_SCISSOR_BOX, area);
        if (area[2] == 0 || area[3] == 0) {
            report(Mistake::eEmptyScissor, program, 0, [&] {
                return QStringLiteral("Program %1 draws with a scissor box of %2 x %3 pixels. Disable "
                                      "GL_SCISSOR_TEST, or call glScissor().")
                    .arg(nameOf(Kind::eProgram, program))
                    .arg(area[2])
                    .arg(area[3]);
            });
        }
    }
}

/// Whether the draw can change a colour buffer.
bool writesColor()
{
    static const GLint count = integer(GL_MAX_DRAW_BUFFERS);
    for (GLint i = 0; i < count; ++i) {
        if (integer(GL_DRAW_BUFFER0 + GLenum(i)) == GL_NONE) {
            continue;
        }
        GLboolean mask[4] = {};
        driver.glGetBooleani_v(GL_COLOR_WRITEMASK, GLuint(i), mask);
        if (mask[0] || mask[1] || mask[2] || mask[3]) {
            return true;
        }
    }
    return false;
}

void checkTests(GLuint program)
{
    if (driver.glIsEnabled(GL_DEPTH_TEST) != GL_FALSE && integer(GL_DEPTH_FUNC) == GL_NEVER) {
        report(Mistake::eDepthNever, program, 0, [&] {
            return QStringLiteral(
                       "Program %1 draws with the depth function GL_NEVER, which no fragment passes. "
                       "Call glDepthFunc(GL_LESS), or disable GL_DEPTH_TEST.")
                .arg(nameOf(Kind::eProgram, program));
        });
    }
    if (driver.glIsEnabled(GL_STENCIL_TEST) != GL_FALSE && integer(GL_STENCIL_FUNC) == GL_NEVER
        && integer(GL_STENCIL_FAIL) == GL_KEEP && integer(GL_STENCIL_BACK_FUNC) == GL_NEVER
        && integer(GL_STENCIL_BACK_FAIL) == GL_KEEP) {
        report(Mistake::eStencilNever, program, 0, [&] {
            return QStringLiteral(
                       "Program %1 draws with the stencil function GL_NEVER, which no fragment passes. "
                       "Call glStencilFunc(), or disable GL_STENCIL_TEST.")
                .arg(nameOf(Kind::eProgram, program));
        });
    }
}

/// GL leaves the values of a buffer undefined if the kinds differ.
void checkOutputs(GLuint program, const ProgramFacts &facts)
{
    const GLint framebuffer = integer(GL_DRAW_FRAMEBUFFER_BINDING);
    for (const ProgramFacts::Output &output : facts.outputs) {
        const GLenum attachment = GLenum(integer(GL_DRAW_BUFFER0 + GLenum(output.number)));
        GLboolean mask[4] = {};
        driver.glGetBooleani_v(GL_COLOR_WRITEMASK, GLuint(output.number), mask);
        if (attachment == GL_NONE || !(mask[0] || mask[1] || mask[2] || mask[3])) {
            continue;
        }
        const auto query = [attachment](GLenum name) {
            GLint value = GL_NONE;
            driver.glGetFramebufferAttachmentParameteriv(GL_DRAW_FRAMEBUFFER, attachment, name, &value);
            return value;
        };
        if (query(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE) == GL_NONE) {
            continue; // later versions of GL allow it, and have no further parameters for it
        }
        const GLint type = query(GL_FRAMEBUFFER_ATTACHMENT_COMPONENT_TYPE);
        const bool isInteger = type == GL_INT || type == GL_UNSIGNED_INT;
        if (type != GL_NONE && isInteger != (output.kind == ProgramFacts::eInteger)) {
            report(Mistake::eOutputOfOtherKind, program, quint64(output.number), [&] {
                return QStringLiteral(
                           "Program %1: the output %2 is of %3, but draw buffer %4 of framebuffer %5 has a "
                           "format of %6. Attach a texture of the other kind, or declare another output.")
                    .arg(nameOf(Kind::eProgram, program), QString::fromLatin1(output.name),
                         QLatin1String(isInteger ? "floats" : "integers"))
                    .arg(output.number)
                    .arg(nameOf(Kind::eFramebuffer, GLuint(framebuffer)),
                         QLatin1String(isInteger ? "integers" : "floats"));
            });
        }
    }
}

bool isOfPolygons(GLenum mode)
{
    return mode != GL_POINTS && !(mode >= GL_LINES && mode <= GL_LINE_STRIP) && mode != GL_LINES_ADJACENCY
           && mode != GL_LINE_STRIP_ADJACENCY && mode != GL_PATCHES;
}

} // namespace

void OpenScopes::begin(GLenum target)
{
    _open.emplace(Zel::GLContextTracker::currentContext(), target);
}

void OpenScopes::end(GLenum target)
{
    _open.erase({Zel::GLContextTracker::currentContext(), target});
}

bool OpenScopes::hasFeedback() const
{
    return _open.count({Zel::GLContextTracker::currentContext(), kFeedback}) != 0;
}

bool OpenScopes::hasCount() const
{
    const void *const context = Zel::GLContextTracker::currentContext();
    return std::any_of(_open.begin(), _open.end(), [context](const auto &scope) {
        return scope.first == context && scope.second != kFeedback && scope.second != GL_TIME_ELAPSED;
    });
}

void checkTarget(GLuint program, const ProgramFacts &facts, GLenum mode, const OpenScopes &open)
{
    if (driver.glIsEnabled(GL_RASTERIZER_DISCARD) != GL_FALSE) {
        if (!open.hasFeedback() && !facts.hasSideEffects) {
            report(Mistake::eRasterizerOff, program, 0, [&] {
                return QStringLiteral("Program %1 draws with GL_RASTERIZER_DISCARD enabled and no transform "
                                      "feedback. Call glDisable(GL_RASTERIZER_DISCARD).")
                    .arg(nameOf(Kind::eProgram, program));
            });
        }
        return;
    }
    if (checkFramebuffer(program) && integer(GL_DRAW_FRAMEBUFFER_BINDING) != 0) {
        checkOutputs(program, facts);
    }
    checkWindow(program);
    checkAreas(program);
    checkTests(program);
    if (isOfPolygons(mode) && driver.glIsEnabled(GL_CULL_FACE) != GL_FALSE
        && integer(GL_CULL_FACE_MODE) == GL_FRONT_AND_BACK) {
        report(Mistake::eAllCulled, program, 0, [&] {
            return QStringLiteral(
                       "Program %1 draws with front and back faces culled. Call glCullFace(GL_BACK), or "
                       "disable GL_CULL_FACE.")
                .arg(nameOf(Kind::eProgram, program));
        });
    }
    const bool writesDepth =
        driver.glIsEnabled(GL_DEPTH_TEST) != GL_FALSE && integer(GL_DEPTH_WRITEMASK) != GL_FALSE;
    if (!writesDepth && driver.glIsEnabled(GL_STENCIL_TEST) == GL_FALSE && !open.hasCount()
        && !open.hasFeedback() && !facts.hasSideEffects && !writesColor()) {
        report(Mistake::eNothingWritten, program, 0, [&] {
            return QStringLiteral(
                       "Program %1 draws with the colour mask closed or no draw buffer, and writes no "
                       "depth and no stencil. Call glColorMask() with GL_TRUE, or glDrawBuffers().")
                .arg(nameOf(Kind::eProgram, program));
        });
    }
}

}} // namespace Orvane::ZelCheck
