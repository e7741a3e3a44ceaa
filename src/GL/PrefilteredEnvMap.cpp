#include "PrefilteredEnvMap.h"

#include "AutoEnabler.h"
#include "DrawBuffers.h"
#include "FramebufferObject.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "OpenGLDeviceContext.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "VertexArrayObject.h"
#include "private/SavedViewport.h"

#include <algorithm>
#include <memory>

namespace Orvane { namespace Zel {

namespace {

int gTileSizeMax = 1024;

constexpr unsigned kTableSamples = 1024;

struct CubeFace
{
    GLenum target;
    GLfloat transform[9]; ///< column after column
};

const CubeFace kCubeFaces[] = {
    {GL_TEXTURE_CUBE_MAP_POSITIVE_X, {0, 0, -1, 0, -1, 0, -1, 0, 0}},
    {GL_TEXTURE_CUBE_MAP_NEGATIVE_X, {0, 0, 1, 0, -1, 0, 1, 0, 0}},
    {GL_TEXTURE_CUBE_MAP_POSITIVE_Y, {1, 0, 0, 0, 0, -1, 0, 1, 0}},
    {GL_TEXTURE_CUBE_MAP_NEGATIVE_Y, {1, 0, 0, 0, 0, 1, 0, -1, 0}},
    {GL_TEXTURE_CUBE_MAP_POSITIVE_Z, {1, 0, 0, 0, -1, 0, 0, 0, -1}},
    {GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, {-1, 0, 0, 0, -1, 0, 0, 0, 1}},
};

class SavedFramebuffers
{
    Q_DISABLE_COPY(SavedFramebuffers)

public:
    SavedFramebuffers()
    {
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &_draw);
        glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &_read);
    }
    ~SavedFramebuffers()
    {
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(_draw));
        glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(_read));
    }

private:
    GLint _draw = 0;
    GLint _read = 0;
};

/// Built and bound. The names of a program's files begin alike; \a name is also the one in messages.
std::unique_ptr<ShaderProgram> buildProgram(const char *name, const char *files, ShadingModel model)
{
    GLSLMacroProcessor processor;
    processor.addDefine(QStringLiteral("ZEL_BRDF"), QString::number(static_cast<int>(model)));
    auto program = std::make_unique<ShaderProgram>(nullptr);
    program->setMacroProcessor(&processor);
    program->setFragDataLocations({QStringLiteral("out_FragColor")});
    program->addShaderFromFile(GL_VERTEX_SHADER, QLatin1String(files) + QLatin1String("VS.glslc"));
    program->addShaderFromFile(GL_FRAGMENT_SHADER, QStringLiteral("noise2D.glslc"));
    program->addShaderFromFile(GL_FRAGMENT_SHADER, QStringLiteral("ImportanceSample.glslc"));
    program->addShaderFromFile(GL_FRAGMENT_SHADER, QLatin1String(files) + QLatin1String("FS.glslc"));
    if (!program->compile()) {
        ZEL_LOG_WARNING("%s shader program failed to compile", name);
        return nullptr;
    }
    if (!program->link()) {
        ZEL_LOG_WARNING("%s shader program failed to link", name);
        return nullptr;
    }
    program->setMacroProcessor(nullptr); // it dies with this call
    program->bind();
    return program;
}

void setParameter(const Texture &texture, GLenum name, GLint value)
{
    glTexParameteri(texture.target(), name, value);
}

void setFilters(const Texture &texture, GLint minFilter, GLint magFilter)
{
    setParameter(texture, GL_TEXTURE_MIN_FILTER, minFilter);
    setParameter(texture, GL_TEXTURE_MAG_FILTER, magFilter);
}

/// What a bake fills, bound; null where no unit is free, since the calls on it would go to another texture.
std::unique_ptr<Texture> boundTexture(unsigned int target, TextureFormat format, int width, int height)
{
    auto texture = std::make_unique<Texture>(target, static_cast<int>(InternalFormat(format)), width, height,
                                             0, nullptr);
    return texture->bind() ? std::move(texture) : nullptr;
}

/// The filters and the level range of a filtered environment.
bool finishEnvMap(Texture &texture, int numLods, GLint wrapS)
{
    if (!texture.bind()) {
        return false;
    }
    setFilters(texture, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR);
    setParameter(texture, GL_TEXTURE_WRAP_S, wrapS);
    setParameter(texture, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    setParameter(texture, GL_TEXTURE_MIN_LOD, 0);
    setParameter(texture, GL_TEXTURE_MAX_LOD, numLods - 1);
    setParameter(texture, GL_TEXTURE_MAX_LEVEL, numLods - 1);
    texture.setReadOnly();
    return texture.unbind();
}

/// What all bakes draw with: a program, which comes bound, a framebuffer and the
/// full-screen quad, bound to the end of the pass.
class BakePass
{
    Q_DISABLE_COPY(BakePass)

public:
    explicit BakePass(std::unique_ptr<ShaderProgram> program)
        : _program(std::move(program))
        , _framebuffer(nullptr)
        , _quad(OpenGLDeviceContext::current()->fullscreenQuad())
    {
        _framebuffer.bind();
        _quad->VAO()->bind();
        _quad->VAO()->enableShaderProgramArrays(_program.get());
        _quad->VAO()->unbind();
        _quad->bind();
    }

    ~BakePass()
    {
        _quad->unbind();
        _framebuffer.unbind();
        _program->unbind();
    }

    ShaderProgram &program() { return *_program; }
    FramebufferObject &framebuffer() { return _framebuffer; }

    void draw() { _quad->draw(_program.get()); }

    static void begin()
    {
        glDisable(GL_BLEND);
        glDisable(GL_DEPTH_TEST);
        glDepthMask(GL_FALSE);
    }

    /// Sets, and does not restore: the depth test is on behind a bake.
    static void end()
    {
        glDepthMask(GL_TRUE);
        glEnable(GL_DEPTH_TEST);
    }

private:
    std::unique_ptr<ShaderProgram> _program;
    FramebufferObject _framebuffer;
    QSharedPointer<DrawBuffers> _quad;
    AutoEnabler _encodesSRGB{GL_FRAMEBUFFER_SRGB};
};

void setSourceUniforms(ShaderProgram &program, const Texture &envMap, unsigned numSamples, int numLods)
{
    program.setUniform(program.getUniformLocation(QStringLiteral("u_SamplerEnvMap")),
                       static_cast<int>(envMap.unit()));
    program.setUniform(program.getUniformLocation(QStringLiteral("u_NumSamples")), numSamples);
    glUniform1f(program.getUniformLocation(QStringLiteral("u_RoughnessScale")), static_cast<float>(numLods));
}

void drawCubeFace(BakePass &pass, const Texture &texture, const CubeFace &face, int lod, float roughness,
                  int roughnessLocation, int transformLocation)
{
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, face.target, texture.textureID(), lod);
    glClear(GL_COLOR_BUFFER_BIT);
    if (transformLocation >= 0) {
        glUniformMatrix3fv(transformLocation, 1, GL_FALSE, face.transform);
    }
    if (roughnessLocation >= 0) {
        glUniform1f(roughnessLocation, roughness);
        pass.draw();
        glFlush();
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, face.target, 0, 0);
    }
}

/// Tiles keep every job that the GPU gets short. The scissor cuts them out.
void drawTiles(BakePass &pass, int width, int height)
{
    const int tile = std::max(gTileSizeMax, 1);
    for (int x = 0; x < width; x += tile) {
        for (int y = 0; y < height; y += tile) {
            glScissor(x, y, std::min(tile, width - x), std::min(tile, height - y));
            pass.draw();
            glFlush();
        }
    }
}

} // namespace

int MaxLODLevel(int width, int height)
{
    if (width < 2 || height < 2) {
        return 1;
    }
    int levels = 1;
    do {
        width >>= 1;
        height >>= 1;
        ++levels;
    } while (height > 1 && width >= 2);
    return levels;
}

float RoughnessForLOD(int lod, int numLods, ShadingModel)
{
    return static_cast<float>(lod) / (static_cast<float>(numLods) - 1.0f);
}

void SetPrefilteredTilseSizeMax(int size)
{
    gTileSizeMax = size;
}

Texture *CreatePrefilteredCubeEnvMap(Texture *envMap, int size, unsigned numSamples, ShadingModel model,
                                     TextureFormat format)
{
    if (envMap == nullptr) {
        return nullptr;
    }
    const SavedViewport viewport;
    std::unique_ptr<ShaderProgram> program =
        buildProgram("prefilteredEnvMap", "prefilteredEnvMapCube", model);
    if (program == nullptr) {
        return nullptr;
    }
    const int numLods = MaxLODLevel(size, size);
    const auto internalFormat = static_cast<GLint>(InternalFormat(format));
    std::unique_ptr<Texture> texture = boundTexture(GL_TEXTURE_CUBE_MAP, format, size, size);
    if (texture == nullptr) {
        program->unbind();
        return nullptr;
    }
    setFilters(*texture, GL_NEAREST, GL_NEAREST);
    for (const CubeFace &face : kCubeFaces) {
        glTexImage2D(face.target, 0, internalFormat, size, size, 0, ExternalFormat(format),
                     ExternalType(format), nullptr);
    }
    glGenerateMipmap(GL_TEXTURE_CUBE_MAP);
    texture->unbind();

    BakePass pass(std::move(program));
    if (!envMap->bind()) {
        return nullptr;
    }
    setSourceUniforms(pass.program(), *envMap, numSamples, numLods);
    const int roughnessLocation = pass.program().getUniformLocation(QStringLiteral("u_Roughness"));
    const int transformLocation = pass.program().getUniformLocation(QStringLiteral("u_Transform"));
    BakePass::begin();
    glClearColor(1.0f, 1.0f, 0.0f, 1.0f);
    for (int lod = 0; lod < numLods; ++lod) {
        glViewport(0, 0, size >> lod, size >> lod);
        const float roughness = RoughnessForLOD(lod, numLods, model);
        for (const CubeFace &face : kCubeFaces) {
            drawCubeFace(pass, *texture, face, lod, roughness, roughnessLocation, transformLocation);
        }
    }
    BakePass::end();
    const bool finished = finishEnvMap(*texture, numLods, GL_CLAMP_TO_EDGE);
    envMap->unbind();
    return finished ? texture.release() : nullptr;
}

Texture *CreatePrefilteredLatLongEnvMap(Texture *envMap, int width, int height, unsigned numSamples,
                                        ShadingModel model, TextureFormat format)
{
    if (envMap == nullptr) {
        return nullptr;
    }
    const SavedViewport viewport;
    const SavedFramebuffers framebuffers;
    std::unique_ptr<ShaderProgram> program = buildProgram("prefilteredEnvMap", "prefilteredEnvMap", model);
    if (program == nullptr) {
        return nullptr;
    }
    const int numLods = MaxLODLevel(width, height);
    const auto internalFormat = static_cast<GLint>(InternalFormat(format));
    std::unique_ptr<Texture> texture = boundTexture(GL_TEXTURE_2D, format, width, height);
    if (texture == nullptr) {
        program->unbind();
        return nullptr;
    }
    setFilters(*texture, GL_NEAREST, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, width, height, 0, ExternalFormat(format),
                 ExternalType(format), nullptr);
    glGenerateMipmap(GL_TEXTURE_2D);
    texture->unbind();

    BakePass pass(std::move(program));
    if (!envMap->bind()) {
        return nullptr;
    }
    setSourceUniforms(pass.program(), *envMap, numSamples, numLods);
    const int roughnessLocation = pass.program().getUniformLocation(QStringLiteral("u_Roughness"));
    BakePass::begin();
    glClearColor(1.0f, 1.0f, 0.0f, 1.0f);
    glEnable(GL_SCISSOR_TEST);
    for (int lod = 0; lod < numLods; ++lod) {
        const int levelWidth = width >> lod;
        const int levelHeight = height >> lod;
        glViewport(0, 0, levelWidth, levelHeight);
        pass.framebuffer().attach(texture.get(), GL_COLOR_ATTACHMENT0, lod);
        glClear(GL_COLOR_BUFFER_BIT);
        if (roughnessLocation >= 0) {
            glUniform1f(roughnessLocation, RoughnessForLOD(lod, numLods, model));
        }
        drawTiles(pass, levelWidth, levelHeight);
        pass.framebuffer().detach(GL_COLOR_ATTACHMENT0);
    }
    glDisable(GL_SCISSOR_TEST);
    BakePass::end();
    // The image closes on itself around the horizon.
    const bool finished = finishEnvMap(*texture, numLods, GL_REPEAT);
    envMap->unbind();
    return finished ? texture.release() : nullptr;
}

Texture *CreatePreintegratedBRDFTable(int width, int height, unsigned numLODLevels, ShadingModel model,
                                      TextureFormat format)
{
    const SavedViewport viewport;
    const SavedFramebuffers framebuffers;
    std::unique_ptr<ShaderProgram> program =
        buildProgram("preintegratedBRDFTable", "preintegratedBRDFTable", model);
    if (program == nullptr) {
        return nullptr;
    }
    const auto internalFormat = static_cast<GLint>(InternalFormat(format));
    std::unique_ptr<Texture> texture = boundTexture(GL_TEXTURE_2D, format, width, height);
    if (texture == nullptr) {
        program->unbind();
        return nullptr;
    }
    setFilters(*texture, GL_LINEAR, GL_LINEAR);
    setParameter(*texture, GL_TEXTURE_MAX_LEVEL, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, width, height, 0, ExternalFormat(format),
                 ExternalType(format), nullptr);
    texture->unbind();

    BakePass pass(std::move(program));
    pass.program().setUniform(pass.program().getUniformLocation(QStringLiteral("u_NumSamples")),
                              kTableSamples);
    pass.program().setUniform(pass.program().getUniformLocation(QStringLiteral("u_NumLODLevels")),
                              numLODLevels);
    BakePass::begin();
    glViewport(0, 0, width, height);
    pass.framebuffer().attach(texture.get(), GL_COLOR_ATTACHMENT0, 0);
    pass.draw();
    glFlush();
    pass.framebuffer().detach(GL_COLOR_ATTACHMENT0);
    BakePass::end();
    texture->bind();
    setParameter(*texture, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    setParameter(*texture, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    texture->setReadOnly();
    texture->unbind();
    return texture.release();
}

}} // namespace Orvane::Zel
