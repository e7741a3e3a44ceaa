#include "PrefilteredEnvMap.h"

#include "AutoEnabler.h"
#include "FramebufferObject.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "private/BoundTexture.h"
#include "private/DefaultRasterState.h"
#include "private/FullscreenPass.h"
#include "private/SavedFramebuffers.h"
#include "private/SavedViewport.h"

#include <algorithm>
#include <memory>

namespace Orvane { namespace Zel {

namespace {

int gTileSizeMax = 1024; ///< process-wide and without a lock; the host sets it between bakes

constexpr unsigned kTableSamples = 1024; ///< the host chooses those of the environments

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

/// Builds and binds a program. \a name is its name in messages, \a files what the names of its own files begin with. noise2D
/// is linked in, though no sample is jittered: with the same directions for all pixels, tiles change nothing.
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
    program->setMacroProcessor(nullptr); // the processor ends with this call
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

/// What differs between the three bakes before the first draw.
struct BakeSetup
{
    const char *name;  ///< of the program, in messages
    const char *files; ///< what the names of the program's own files begin with
    GLenum target;
    bool hasLevels; ///< false for level 0 alone
};

constexpr BakeSetup kCubeBake = {"prefilteredEnvMap", "prefilteredEnvMapCube", GL_TEXTURE_CUBE_MAP, true};
constexpr BakeSetup kLatLongBake = {"prefilteredEnvMap", "prefilteredEnvMap", GL_TEXTURE_2D, true};
constexpr BakeSetup kTableBake = {"preintegratedBRDFTable", "preintegratedBRDFTable", GL_TEXTURE_2D, false};

void allocateLevel0(GLenum image, TextureFormat format, int width, int height)
{
    glTexImage2D(image, 0, static_cast<GLint>(InternalFormat(format)), width, height, 0,
                 ExternalFormat(format), ExternalType(format), nullptr);
}

/// The texture that a bake draws into, with storage and undefined texels; null when no texture unit is free.
std::unique_ptr<Texture> newBakeTexture(const BakeSetup &setup, TextureFormat format, int width, int height)
{
    auto texture = newBoundTexture(setup.target, static_cast<int>(InternalFormat(format)), width, height, 0);
    if (texture == nullptr) {
        return nullptr;
    }
    // 1. The parameters. finishEnvMap() replaces the filters of levels by those that hosts sample with.
    const GLint filter = setup.hasLevels ? GL_NEAREST : GL_LINEAR;
    setFilters(*texture, filter, filter);
    if (!setup.hasLevels) {
        setParameter(*texture, GL_TEXTURE_MAX_LEVEL, 0);
    }
    // 2. The storage: level 0 of each image, and the other levels by way of mipmaps.
    if (setup.target == GL_TEXTURE_CUBE_MAP) {
        for (const CubeFace &face : kCubeFaces) {
            allocateLevel0(face.target, format, width, height);
        }
    } else {
        allocateLevel0(setup.target, format, width, height);
    }
    if (setup.hasLevels) {
        glGenerateMipmap(setup.target); // allocates the levels, which the bake then draws
    }
    texture->unbind();
    return texture;
}

/// Sets the filters, wraps and levels that a host samples a filtered environment with. Returns false when no texture unit is
/// free.
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

/// A bake in progress. Its program, framebuffer and full-screen quad are bound until the end, its texture is not.
class Bake
{
    Q_DISABLE_COPY(Bake)

public:
    /// Returns null, with nothing bound, when the shaders fail or no texture unit is free.
    static std::unique_ptr<Bake> begin(const BakeSetup &setup, ShadingModel model, TextureFormat format,
                                       int width, int height)
    {
        std::unique_ptr<ShaderProgram> program = buildProgram(setup.name, setup.files, model);
        if (program == nullptr) {
            return nullptr;
        }
        std::unique_ptr<Texture> texture = newBakeTexture(setup, format, width, height);
        if (texture == nullptr) {
            program->unbind();
            return nullptr;
        }
        return std::unique_ptr<Bake>(new Bake(std::move(texture), std::move(program)));
    }

    ~Bake()
    {
        _pass.unbind();
        _framebuffer.unbind();
        _program->unbind();
    }

    ShaderProgram &program() { return *_program; }
    Texture &texture() { return *_texture; }

    int location(const char *uniform) const { return _program->getUniformLocation(QLatin1String(uniform)); }

    void attach(int lod) { _framebuffer.attach(_texture.get(), GL_COLOR_ATTACHMENT0, lod); }
    void detach() { _framebuffer.detach(GL_COLOR_ATTACHMENT0); }

    /// The flush makes each draw a GPU job of its own, between which the driver can schedule others.
    void draw()
    {
        _pass.draw();
        glFlush();
    }

    /// Releases the texture to the caller; returns null if \a isComplete is false.
    Texture *finish(bool isComplete) { return isComplete ? _texture.release() : nullptr; }

private:
    Bake(std::unique_ptr<Texture> texture, std::unique_ptr<ShaderProgram> program)
        : _texture(std::move(texture))
        , _program(std::move(program))
        , _framebuffer(nullptr)
    {
        _framebuffer.bind();
        _pass.bind(*_program);
    }

    std::unique_ptr<Texture> _texture;
    std::unique_ptr<ShaderProgram> _program;
    FramebufferObject _framebuffer;
    FullscreenPass _pass;
    /// Else a bake into SRGB8A8 would store linear values, which sampling decodes once more: see
    /// PrefilteredEnvMapTest.TheTableHoldsTheIntegratedBRDFOfEveryModel.
    AutoEnabler _encodesSRGB{GL_FRAMEBUFFER_SRGB};
};

void setSourceUniforms(Bake &bake, const Texture &envMap, unsigned numSamples, int numLods)
{
    bake.program().setUniform(bake.location("u_SamplerEnvMap"), static_cast<int>(envMap.unit()));
    bake.program().setUniform(bake.location("u_NumSamples"), numSamples);
    glUniform1f(bake.location("u_RoughnessScale"), static_cast<float>(numLods));
}

void drawCubeFace(Bake &bake, const CubeFace &face, int lod, float roughness, int roughnessLocation,
                  int transformLocation)
{
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, face.target, bake.texture().textureID(),
                           lod);
    glClear(GL_COLOR_BUFFER_BIT);
    if (transformLocation >= 0) {
        glUniformMatrix3fv(transformLocation, 1, GL_FALSE, face.transform);
    }
    // Required: without the uniform nothing is drawn here, unlike in the bake of an image.
    if (roughnessLocation >= 0) {
        glUniform1f(roughnessLocation, roughness);
        bake.draw();
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, face.target, 0, 0);
    }
}

void drawCubeLevels(Bake &bake, int size, int, int numLods, ShadingModel model)
{
    const int roughnessLocation = bake.location("u_Roughness");
    const int transformLocation = bake.location("u_Transform");
    const DefaultRasterState rasterState;
    FullscreenPass::setState();
    glClearColor(1.0f, 1.0f, 0.0f, 1.0f);
    for (int lod = 0; lod < numLods; ++lod) {
        glViewport(0, 0, size >> lod, size >> lod);
        const float roughness = RoughnessForLOD(lod, numLods, model);
        for (const CubeFace &face : kCubeFaces) {
            drawCubeFace(bake, face, lod, roughness, roughnessLocation, transformLocation);
        }
    }
}

/// Draws a level in tiles, which the scissor cuts out: no GPU job covers more than a tile, so the desktop stays responsive.
/// See PrefilteredEnvMapTest.FacesAndTilesAreJobsOfTheirOwn.
void drawTiles(Bake &bake, int width, int height)
{
    const int tile = std::max(gTileSizeMax, 1); // a step of 0 would loop for ever
    for (int x = 0; x < width; x += tile) {
        for (int y = 0; y < height; y += tile) {
            glScissor(x, y, std::min(tile, width - x), std::min(tile, height - y));
            bake.draw();
        }
    }
}

void drawLatLongLevels(Bake &bake, int width, int height, int numLods, ShadingModel model)
{
    const int roughnessLocation = bake.location("u_Roughness");
    auto rasterState = std::make_unique<DefaultRasterState>();
    FullscreenPass::setState();
    glClearColor(1.0f, 1.0f, 0.0f, 1.0f);
    glEnable(GL_SCISSOR_TEST);
    for (int lod = 0; lod < numLods; ++lod) {
        // MaxLODLevel() counts no level whose smaller side is 0.
        const int levelWidth = width >> lod;
        const int levelHeight = height >> lod;
        glViewport(0, 0, levelWidth, levelHeight);
        bake.attach(lod);
        glClear(GL_COLOR_BUFFER_BIT);
        if (roughnessLocation >= 0) {
            glUniform1f(roughnessLocation, RoughnessForLOD(lod, numLods, model));
        }
        drawTiles(bake, levelWidth, levelHeight);
        bake.detach();
    }
    rasterState.reset();
    // Required: off, whatever the host had set; see StateContractTest.EachCallLeavesWhatThePageSays.
    glDisable(GL_SCISSOR_TEST);
}

/// Draws all levels of a filtered environment. Yellow, the clear colour, remains wherever nothing is drawn.
using DrawLevels = void (*)(Bake &bake, int width, int height, int numLods, ShadingModel model);

/// Both filtered environments, from the program to the finished texture.
Texture *filterEnvMap(Texture &envMap, const BakeSetup &setup, DrawLevels drawLevels, GLint wrapS, int width,
                      int height, unsigned numSamples, ShadingModel model, TextureFormat format)
{
    const std::unique_ptr<Bake> bake = Bake::begin(setup, model, format, width, height);
    if (bake == nullptr || !envMap.bind()) {
        return nullptr;
    }
    const int numLods = MaxLODLevel(width, height); // down to one texel on the smaller side
    setSourceUniforms(*bake, envMap, numSamples, numLods);
    drawLevels(*bake, width, height, numLods, model);
    FullscreenPass::resetState();
    const bool isComplete = finishEnvMap(bake->texture(), numLods, wrapS);
    envMap.unbind();
    return bake->finish(isComplete);
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
    // Required: a single level has 0 / 0, which is no number; see PrefilteredEnvMapTest.LevelsAndRoughness.
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
    // Required: the framebuffers are not restored, unlike in the other two; see
    // StateContractTest.EachCallLeavesWhatThePageSays.
    const SavedViewport viewport;
    return filterEnvMap(*envMap, kCubeBake, drawCubeLevels, GL_CLAMP_TO_EDGE, size, size, numSamples, model,
                        format);
}

Texture *CreatePrefilteredLatLongEnvMap(Texture *envMap, int width, int height, unsigned numSamples,
                                        ShadingModel model, TextureFormat format)
{
    if (envMap == nullptr) {
        return nullptr;
    }
    const SavedViewport viewport;
    const SavedFramebuffers framebuffers;
    // GL_REPEAT: the image closes on itself around the horizon.
    return filterEnvMap(*envMap, kLatLongBake, drawLatLongLevels, GL_REPEAT, width, height, numSamples, model,
                        format);
}

Texture *CreatePreintegratedBRDFTable(int width, int height, unsigned numLODLevels, ShadingModel model,
                                      TextureFormat format)
{
    // 1. The program and the texture.
    const SavedViewport viewport;
    const SavedFramebuffers framebuffers;
    const std::unique_ptr<Bake> bake = Bake::begin(kTableBake, model, format, width, height);
    if (bake == nullptr) {
        return nullptr;
    }
    // 2. One draw, without a clear: it covers every texel.
    bake->program().setUniform(bake->location("u_NumSamples"), kTableSamples);
    bake->program().setUniform(bake->location("u_NumLODLevels"), numLODLevels);
    {
        const DefaultRasterState rasterState;
        FullscreenPass::setState();
        glViewport(0, 0, width, height);
        bake->attach(0);
        bake->draw();
        bake->detach();
        FullscreenPass::resetState();
    }
    // 3. Clamped, since x and y are cosine and roughness, whose ends are not neighbours.
    Texture &table = bake->texture();
    table.bind();
    setParameter(table, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    setParameter(table, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    table.setReadOnly();
    table.unbind();
    return bake->finish(true);
}

}} // namespace Orvane::Zel
