#include "EnvironmentBake.h"

#include "EnvironmentImage.h"
#include "RenderTarget.h"
#include "private/Checks.h"
#include "private/FullscreenProgram.h"
#include "private/LightTextures.h"
#include "private/Orphans.h"
#include "private/SavedTarget.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QPointer>
#include <QtGui/QVector4D>

#include <algorithm>
#include <array>
#include <vector>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kTableSamples = 1024; ///< as libZelGL takes
constexpr int kMaxSize = 4096;

/// u_Transform of prefilteredEnvMapCubeVS.glslc for each face, column after column.
constexpr std::array<std::array<GLfloat, 9>, kCubeFaces> kFaceTransforms{{{0, 0, -1, 0, -1, 0, -1, 0, 0},
                                                                          {0, 0, 1, 0, -1, 0, 1, 0, 0},
                                                                          {1, 0, 0, 0, 0, -1, 0, 1, 0},
                                                                          {1, 0, 0, 0, 0, 1, 0, -1, 0},
                                                                          {1, 0, 0, 0, -1, 0, 0, 0, -1},
                                                                          {-1, 0, 0, 0, -1, 0, 0, 0, 1}}};

/// The rows of an image that a step draws.
struct Slice
{
    EnvironmentBake::Stage stage;
    int level;
    int face;
    int row;
    int rows;
    qint64 reads;
};

/// Restores the scissor box and enables the test for a scope.
class Scissor
{
    Q_DISABLE_COPY(Scissor)

public:
    Scissor(int row, int rows)
    {
        glGetIntegerv(GL_SCISSOR_BOX, _box);
        glScissor(0, row, kMaxSize, rows);
    }

    ~Scissor() { glScissor(_box[0], _box[1], _box[2], _box[3]); }

private:
    GLint _box[4] = {};
    AutoEnabler _test{GL_SCISSOR_TEST};
};

/// The samples that a uniform block can hold.
int maxSamples()
{
    GLint bytes = 0;
    glGetIntegerv(GL_MAX_UNIFORM_BLOCK_SIZE, &bytes);
    return std::min(bytes / int(sizeof(QVector4D)), kMaxSize);
}

std::unique_ptr<ShaderProgram> buildLightProgram(ShadingModel model, int samples, const char *vertexFile,
                                                 const char *fragmentFile, QString *error)
{
    GLSLMacroProcessor processor;
    processor.addDefine(QStringLiteral("KIT_SAMPLES"), QString::number(samples));
    processor.addDefine(QStringLiteral("ZEL_BRDF"), QString::number(int(model)));
    return buildProgram(processor, QLatin1String(vertexFile),
                        {QLatin1String(fragmentFile), QStringLiteral("ImportanceSample.glslc")}, error);
}

bool hasMipChain(Texture &cube)
{
    if (cube.target() != GL_TEXTURE_CUBE_MAP || glIsTexture(cube.textureID()) == GL_FALSE) {
        return false;
    }
    const AutoBinder bound(&cube);
    return cube.width(0) == 1 || cube.width(1) > 0;
}

bool areValid(const EnvironmentBake::Options &options, QString *error)
{
    const auto check = [error](const char *name, int value, int least, int most) {
        return isWithin("environment bake", name, value, least, most, error);
    };
    return check("reflectionSize", options.reflectionSize, 1, kMaxSize)
           && check("reflectionSamples", options.reflectionSamples, 1, kMaxSize)
           && check("diffuseSize", options.diffuseSize, 1, kMaxSize)
           && check("diffuseSamples", options.diffuseSamples, 2, kMaxSize) // the first weighs nothing
           && check("tableSize", options.tableSize, 1, kMaxSize)
           && check("readsPerStep", options.readsPerStep, 1, 1 << 30);
}

} // namespace

struct EnvironmentBake::State
{
    State(Texture &source, const Options &wanted, std::unique_ptr<EnvironmentLight> empty)
        : cube(&source)
        , options(wanted)
        , light(std::move(empty))
        , framebuffer(nullptr)
    {
    }

    bool make(QString *error);
    void addSlices(Stage stage, int level, int side, int faces, int readsPerTexel);
    void draw(const Slice &slice);
    void fillSamples(const Slice &slice);
    void filter(const Slice &slice);
    void integrate(const Slice &slice);
    void attach(const Slice &slice, Texture &texture, int side);

    /// A mirror needs one.
    int samplesOf(const Slice &slice) const
    {
        return slice.stage == eDiffuse ? options.diffuseSamples
               : slice.level == 0      ? 1
                                       : options.reflectionSamples;
    }

    OwnContext context;
    QPointer<Texture> cube;
    Options options;
    std::unique_ptr<EnvironmentLight> light;
    FramebufferObject framebuffer;
    std::unique_ptr<ShaderProgram> diffuseSamples;
    std::unique_ptr<ShaderProgram> reflectionSamples;
    std::unique_ptr<ShaderProgram> filterer;
    std::unique_ptr<ShaderProgram> integrator;
    std::unique_ptr<RenderTarget> samples; ///< those of a level, in a row
    std::vector<QVector4D> table;          ///< those of them that count come first
    int tableCount = 0;
    QSharedPointer<UniformBufferObject> block;
    std::vector<Slice> slices;
    size_t next = 0;
    qint64 reads = 0; ///< of all slices
    qint64 done = 0;  ///< of the slices before the next
};

bool EnvironmentBake::State::make(QString *error)
{
    // 1. Textures: neither is finer than the source.
    int face = 0;
    {
        const AutoBinder bound(cube.data());
        face = cube->width(0);
    }
    options.reflectionSize = std::min(options.reflectionSize, face);
    options.diffuseSize = std::min(options.diffuseSize, std::max(face / 2, 1));
    light->_levels = MaxLODLevel(options.reflectionSize, options.reflectionSize);
    light->_reflections = makeLightCube(options.reflectionSize, light->_levels);
    light->_diffuse = makeLightCube(options.diffuseSize, 1);
    light->_table = makeLightTable(options.tableSize);
    options.reflectionSamples = std::min(options.reflectionSamples, maxSamples());
    options.diffuseSamples = std::min(options.diffuseSamples, maxSamples());
    table.resize(size_t(std::max(options.diffuseSamples, options.reflectionSamples)));
    samples = RenderTarget::create({int(table.size()), 1}, GL_RGBA32F, RenderTarget::eNoDepth, 0, error);
    if (samples == nullptr) {
        return false;
    }
    const QSharedPointer<OpenGLDeviceContext> device = OpenGLDeviceContext::current();
    const QSharedPointer<BufferObject> buffer = device->newBuffer();
    buffer->setTarget(GL_UNIFORM_BUFFER);
    block = device->newUniformBuffer(QStringLiteral("u_SampleTable"), buffer);
    // 2. Programs.
    const auto build = [this, error](std::unique_ptr<ShaderProgram> &program, ShadingModel model,
                                     const char *vertexFile, const char *fragmentFile) {
        program = buildLightProgram(model, int(table.size()), vertexFile, fragmentFile, error);
        return program != nullptr;
    };
    constexpr auto kSpecular = SHADING_PHYSICALLY_BASED;
    if (!build(diffuseSamples, SHADING_LAMBERTIAN_DIFFUSE, "", "environmentSamples.frag")
        || !build(reflectionSamples, kSpecular, "", "environmentSamples.frag")
        || !build(filterer, kSpecular, "prefilteredEnvMapCubeVS.glslc", "environmentFilter.frag")
        || !build(integrator, kSpecular, "preintegratedBRDFTableVS.glslc",
                  "preintegratedBRDFTableFS.glslc")) {
        return false;
    }
    // 3. Slices.
    addSlices(eDiffuse, 0, options.diffuseSize, kCubeFaces, options.diffuseSamples);
    for (int level = 0; level < light->_levels; ++level) {
        addSlices(eReflections, level, options.reflectionSize >> level, kCubeFaces,
                  level == 0 ? 1 : options.reflectionSamples);
    }
    addSlices(eTable, 0, options.tableSize, 1, kTableSamples);
    return true;
}

void EnvironmentBake::State::addSlices(Stage stage, int level, int side, int faces, int readsPerTexel)
{
    const qint64 readsOfRow = qint64(side) * readsPerTexel;
    const int rows = int(std::clamp(options.readsPerStep / readsOfRow, qint64(1), qint64(side)));
    for (int face = 0; face < faces; ++face) {
        for (int row = 0; row < side; row += rows) {
            const int count = std::min(rows, side - row);
            slices.push_back({stage, level, face, row, count, count * readsOfRow});
            reads += count * readsOfRow;
        }
    }
}

void EnvironmentBake::State::draw(const Slice &slice)
{
    const SavedTarget target;
    const PassState state;
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    if (slice.stage == eTable) {
        integrate(slice);
        return;
    }
    if (slice.face == 0 && slice.row == 0) {
        fillSamples(slice);
    }
    filter(slice);
}

void EnvironmentBake::State::fillSamples(const Slice &slice)
{
    ShaderProgram &program = slice.stage == eDiffuse ? *diffuseSamples : *reflectionSamples;
    const float roughness = RoughnessForLOD(slice.level, light->_levels, SHADING_PHYSICALLY_BASED);
    const AutoBinder boundTarget(samples->framebuffer());
    glViewport(0, 0, samplesOf(slice), 1);
    const AutoBinder bound(&program);
    program.setUniform(QStringLiteral("u_Roughness"), QVariant(roughness));
    program.setUniform(QStringLiteral("u_NumSamples"), QVariant(unsigned(samplesOf(slice))));
    drawFullscreen(program);
    // Only those above the horizon, whose z is the weight, are uploaded.
    const int count = samplesOf(slice);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, count, 1, GL_RGBA, GL_FLOAT, table.data());
    const auto end = std::remove_if(table.begin(), table.begin() + count,
                                    [](const QVector4D &sample) { return !(sample.z() > 0.0f); });
    tableCount = int(end - table.begin());
    BufferObject *buffer = block->bufferObject().data();
    const AutoBinder boundBuffer(buffer);
    buffer->uploadArbitraryData(table.data(), int(table.size()), GL_DYNAMIC_DRAW, sizeof(QVector4D));
}

void EnvironmentBake::State::filter(const Slice &slice)
{
    const bool isDiffuse = slice.stage == eDiffuse;
    const Scissor scissor(slice.row, slice.rows);
    const AutoBinder boundCube(cube.data());
    const AutoBinder boundTarget(&framebuffer);
    attach(slice, isDiffuse ? *light->_diffuse : *light->_reflections,
           (isDiffuse ? options.diffuseSize : options.reflectionSize) >> slice.level);
    const AutoBinder bound(filterer.get());
    block->bind(filterer.get());
    const auto set = [this](const char *name, const QVariant &value) {
        filterer->setUniform(QLatin1String(name), value);
    };
    set("u_SamplerEnvMap", int(cube->unit()));
    set("u_SampleCount", tableCount);
    set("u_IsMirror", int(!isDiffuse && slice.level == 0));
    glUniformMatrix3fv(filterer->getUniformLocation(QStringLiteral("u_Transform")), 1, GL_FALSE,
                       kFaceTransforms[size_t(slice.face)].data());
    drawFullscreen(*filterer);
    block->unbind(filterer.get());
}

void EnvironmentBake::State::integrate(const Slice &slice)
{
    const Scissor scissor(slice.row, slice.rows);
    const AutoBinder boundTarget(&framebuffer);
    attach(slice, *light->_table, options.tableSize);
    const AutoBinder bound(integrator.get());
    integrator->setUniform(QStringLiteral("u_NumSamples"), QVariant(unsigned(kTableSamples)));
    integrator->setUniform(QStringLiteral("u_NumLODLevels"), QVariant(unsigned(light->_levels)));
    drawFullscreen(*integrator);
}

void EnvironmentBake::State::attach(const Slice &slice, Texture &texture, int side)
{
    const GLenum image =
        slice.stage == eTable ? GL_TEXTURE_2D : GL_TEXTURE_CUBE_MAP_POSITIVE_X + GLenum(slice.face);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, image, texture.textureID(), slice.level);
    glViewport(0, 0, side, side);
}

EnvironmentBake::EnvironmentBake(std::unique_ptr<State> state)
    : _state(std::move(state))
{
}

EnvironmentBake::~EnvironmentBake()
{
    const OwnContext context = _state->context;
    keepWithoutContext(context, "environment bake", _state);
}

std::unique_ptr<EnvironmentBake> EnvironmentBake::create(Texture &cube, const Options &options,
                                                         QString *error)
{
    if (!hasContext("environment bake", error) || !areValid(options, error)) {
        return nullptr;
    }
    if (!hasMipChain(cube)) {
        fail(error, QStringLiteral("environment bake: the source must be a cube map with a mip chain, such "
                                   "as EnvironmentImage::cubeMap() makes"));
        return nullptr;
    }
    auto state =
        std::make_unique<State>(cube, options, std::unique_ptr<EnvironmentLight>(new EnvironmentLight));
    if (!state->make(error)) {
        return nullptr;
    }
    return std::unique_ptr<EnvironmentBake>(new EnvironmentBake(std::move(state)));
}

bool EnvironmentBake::step()
{
    if (stage() == eDone || !hasContext("environment bake", nullptr)
        || !_state->context.isCurrent("environment bake")) {
        return false;
    }
    if (_state->cube == nullptr) {
        fail(nullptr,
             QStringLiteral("environment bake: the source was deleted; keep it until the bake is done"));
        return false;
    }
    const Slice &slice = _state->slices[_state->next++];
    _state->draw(slice);
    _state->done += slice.reads;
    glFlush(); // a job of its own, between which the driver can schedule others
    return true;
}

EnvironmentBake::Stage EnvironmentBake::stage() const
{
    return _state->next < _state->slices.size() ? _state->slices[_state->next].stage : eDone;
}

float EnvironmentBake::progress() const
{
    return float(double(_state->done) / double(_state->reads));
}

std::unique_ptr<EnvironmentLight> EnvironmentBake::take()
{
    return stage() == eDone ? std::move(_state->light) : nullptr;
}

std::unique_ptr<EnvironmentLight> EnvironmentBake::bake(const EnvironmentImage &image, const Options &options,
                                                        QString *error)
{
    const std::unique_ptr<Texture> cube = image.cubeMap(error);
    const std::unique_ptr<EnvironmentBake> bake = cube != nullptr ? create(*cube, options, error) : nullptr;
    if (bake == nullptr) {
        return nullptr;
    }
    while (bake->step()) {}
    return bake->take();
}

}} // namespace Orvane::ZelKit
