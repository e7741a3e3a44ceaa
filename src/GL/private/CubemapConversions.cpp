#include "CubemapConversions.h"

#include "../AutoBinder.h"
#include "../AutoDisabler.h"
#include "../AutoEnabler.h"
#include "../FramebufferObject.h"
#include "../GLUtilities.h"
#include "../ShaderProgram.h"
#include "../Texture.h"
#include "BoundTexture.h"
#include "CubemapLayouts.h"
#include "DefaultRasterState.h"
#include "FullscreenPass.h"
#include "SavedViewport.h"

using namespace Orvane::Zel;

namespace TvoImageCubemapUtils {

namespace {

/// The results of compile() and link() are not used: their failures are reported where they occur.
void buildStripProgram(ShaderProgram &program)
{
    program.setFragDataLocations({QStringLiteral("out_FragColor")});
    program.addShaderFromFile(GL_VERTEX_SHADER, QStringLiteral("CubeRender_ToLinearVS.glslc"));
    program.addShaderFromFile(GL_FRAGMENT_SHADER, QStringLiteral("CubeRender_ToLinearFS.glslc"));
    program.compile();
    program.link();
}

std::unique_ptr<Texture> newStrip(const LevelShape &face, unsigned int format, unsigned int type)
{
    const int width = kFaces * face.width;
    auto strip = newBoundTexture(GL_TEXTURE_2D, face.internalFormat, width, face.height, 0);
    if (strip == nullptr) {
        return nullptr;
    }
    glTexImage2D(GL_TEXTURE_2D, 0, face.internalFormat, width, face.height, 0, format, type, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glGenerateMipmap(GL_TEXTURE_2D); // allocates the levels; the draws change level 0 alone
    strip->unbind();
    return strip;
}

bool drawStrip(Texture &strip, Texture &cube, ShaderProgram &program, const LevelShape &face)
{
    FramebufferObject framebuffer(nullptr);
    // 1. What all faces share.
    const AutoBinder framebufferBinder(&framebuffer);
    const AutoBinder programBinder(&program);
    FullscreenPass pass;
    pass.bind(program);
    const AutoBinder cubeBinder(&cube);
    program.setUniform(program.getUniformLocation(QStringLiteral("u_Texture")),
                       static_cast<int>(cube.unit()));
    const int transform = program.getUniformLocation(QStringLiteral("u_Transform"));
    // Depth test and depth writes stay off, unlike after a bake: see
    // StateContractTest.EachCallLeavesWhatThePageSays.
    FullscreenPass::setState();
    glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    // 2. One face after the other, each in its part of the strip.
    for (int i = 0; i < kFaces; ++i) {
        glViewport(face.width * i, 0, face.width, face.height);
        framebuffer.attach(&strip, GL_COLOR_ATTACHMENT0, 0);
        if (!framebuffer.isComplete()) {
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            return false; // a format that this driver does not render to
        }
        if (transform >= 0) { // the table has rows, GL takes columns
            glUniformMatrix3fv(transform, 1, GL_TRUE, kFaceDirections[i]);
        }
        pass.draw();
        glFlush();
        framebuffer.detach(GL_COLOR_ATTACHMENT0);
    }
    return true;
}

} // namespace

LevelShape::LevelShape(Texture &texture, int level)
{
    const AutoBinder binder(&texture);
    width = texture.width(level);
    height = texture.height(level);
    internalFormat = texture.internalFormat(level);
    isCompressed = texture.getTexLevelParameteriv(level, GL_TEXTURE_COMPRESSED) == GL_TRUE;
}

bool LevelShape::operator==(const LevelShape &other) const
{
    return width == other.width && height == other.height && internalFormat == other.internalFormat;
}

int maxLevelOf(Texture &texture)
{
    const AutoBinder binder(&texture);
    GLint level = 0;
    glGetTexParameteriv(texture.target(), GL_TEXTURE_MAX_LEVEL, &level);
    return level;
}

std::unique_ptr<Texture> stripOfFaces(Texture &cube, const LevelShape &face, unsigned int format,
                                      unsigned int type)
{
    const SavedViewport viewport;
    // texture() decodes sRGB, so the draw must encode: see
    // TvoImageCubemapUtilsTest.ImagesComeOutByDirectionAndStripsGoBackUpsideDown.
    const AutoEnabler encodesSRGB(GL_FRAMEBUFFER_SRGB);
    const DefaultRasterState rasterState;
    ShaderProgram program(nullptr);
    buildStripProgram(program);
    std::unique_ptr<Texture> strip = newStrip(face, format, type);
    if (strip == nullptr || !drawStrip(*strip, cube, program, face)) {
        return nullptr;
    }
    return strip;
}

bool copyFaces(const Texture &source, const Texture &target, int lod, const LevelShape &face)
{
    const AutoDisabler scissorTest(GL_SCISSOR_TEST); // the only test that clips a blit
    for (int i = 0; i < kFaces; ++i) {
        // 1. The face of each texture, attached. Not by bind(), which binds one framebuffer for reading and for drawing: a blit needs two.
        const FramebufferObject read(nullptr);
        const FramebufferObject draw(nullptr);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, read.getFBO());
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, draw.getFBO());
        glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(i), source.textureID(),
                               0);
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(i), target.textureID(),
                               lod);
        // 2. The copy. Both have the same format, so the target's framebuffer shows whether the format can be rendered to.
        const bool complete = glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
        if (complete) {
            glBlitFramebuffer(0, 0, face.width, face.height, 0, 0, face.width, face.height,
                              GL_COLOR_BUFFER_BIT, GL_LINEAR);
        }
        // 3. Nothing stays bound, whether it was copied or not.
        glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
        if (!complete) {
            return false;
        }
    }
    return true;
}

} // namespace TvoImageCubemapUtils
