#include "ModelRenderer.h"

#include "Environment.h"
#include "OrbitCamera.h"
#include "Scene.h"
#include "StudioLight.h"
#include "UniformBlock.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cstddef>

using namespace Orvane::Zel;

namespace zelview {

namespace {

/// The twin of the block u_Frame in Frame.glslh, in std140 layout.
struct FrameRecord
{
    struct Light
    {
        float direction[3];
        float sharpness;
        float radiance[4]; ///< the last is unused
    };

    float viewProjection[16];
    float view[16];
    float eye[4];
    float sky[4];
    float ground[4];
    Light lights[3];
};
static_assert(sizeof(FrameRecord) == 272, "as std140 lays it out");

void copy(const QVector3D &vector, float *target)
{
    for (int i = 0; i < 3; ++i) {
        target[i] = vector[i];
    }
}

FrameRecord toRecord(const OrbitCamera &camera, float aspect)
{
    const StudioLight studio = StudioLight::facing(camera.azimuth());
    const QMatrix4x4 view = camera.view();
    const QMatrix4x4 viewProjection = camera.projection(aspect) * view;
    FrameRecord record = {};
    std::copy_n(viewProjection.constData(), 16, record.viewProjection);
    std::copy_n(view.constData(), 16, record.view);
    copy(camera.eye(), record.eye);
    copy(studio.sky, record.sky);
    copy(studio.ground, record.ground);
    for (size_t i = 0; i < studio.lights.size(); ++i) {
        copy(studio.lights[i].direction, record.lights[i].direction);
        record.lights[i].sharpness = studio.lights[i].sharpness;
        copy(studio.lights[i].radiance, record.lights[i].radiance);
    }
    return record;
}

/// Bytes that a uniform block may have: the driver's limit, or less if the user says so.
int blockLimit(const Options &options)
{
    GLint limit = 0;
    glGetIntegerv(GL_MAX_UNIFORM_BLOCK_SIZE, &limit);
    return options.blockLimit > 0 ? std::min(options.blockLimit, limit) : limit;
}

/// The middle of a mesh's box, in the world.
QVector3D centerOf(const Scene &scene, const Draw &draw)
{
    const Mesh &mesh = scene.meshes[size_t(draw.mesh)];
    Box box;
    for (quint32 i = 0; i < mesh.vertexCount; ++i) {
        box.add(scene.vertices[mesh.firstVertex + i].point());
    }
    return draw.transform.map(box.center());
}

} // namespace

ModelRenderer::ModelRenderer(const Scene &scene, const Options &options, ManagerKind manager, int limit)
    : _scene(scene)
    , _drawIDPath(options.drawIDPath)
    , _textures(scene.textures, manager)
    , _records(scene, _textures, limit)
    , _frame(makeUniformBlock("u_Frame"))
{
    uploadGeometry();
    sortOutDraws();
    for (int block = 0; block < _records.blockCount(); ++block) {
        if (_drawIDPath == DrawIDPath::eUniform) {
            _units.push_back(newUnitOfBlock(block));
            continue;
        }
        for (int drawID = 0; drawID < _records.drawCount(block); ++drawID) {
            _units.push_back(newUnitOfDraw(_records.firstDraw(block) + drawID, drawID));
        }
    }
}

ModelRenderer::~ModelRenderer() = default;

Expected<std::unique_ptr<ModelRenderer>> ModelRenderer::create(const Scene &scene, const Options &options,
                                                               ManagerKind manager, bool hasEnvironment)
{
    if (!ModelTextures::isSupported(manager)) {
        return Problem{ExitCode::eGL,
                       QStringLiteral("the driver has no bindless textures, which the manager '%1' needs")
                           .arg(managerName(manager))};
    }
    std::unique_ptr<ModelRenderer> renderer(new ModelRenderer(scene, options, manager, blockLimit(options)));
    if (hasEnvironment) {
        renderer->_programs.processor()->addDefine("ZELVIEW_ENVIRONMENT", "1");
    }
    if (const Failure failure = renderer->buildPrograms()) {
        return *failure;
    }
    return renderer;
}

Failure ModelRenderer::buildPrograms()
{
    _programs.processor()->addDefine(QLatin1String(DrawRecords::kLengthDefine),
                                     QString::number(_records.blockLength()));
    _textures.setUp(_programs.processor());
    const QStringList vertexFiles{QStringLiteral("model.vert"), QStringLiteral("ZelUtilities.glslc"),
                                  QStringLiteral("ZelUtilities.vert")};
    if (const Failure failure = build(_geometryProgram, vertexFiles, QStringLiteral("geometry.frag"))) {
        return failure;
    }
    return build(_program, vertexFiles, QStringLiteral("model.frag"));
}

Failure ModelRenderer::prepareSlots()
{
    return _slotsProgram != nullptr
               ? Failure()
               : build(_slotsProgram, {QStringLiteral("passthroughVS.glslc")}, QStringLiteral("slots.frag"));
}

/// The program samples by token.
Failure ModelRenderer::build(ProgramPointer &program, const QStringList &vertexFiles,
                             const QString &fragmentFile)
{
    const Expected<ProgramPointer> built =
        _programs.build(vertexFiles, {fragmentFile, _textures.shaderFile()});
    if (!built) {
        return built.problem();
    }
    program = *built;
    return {};
}

void ModelRenderer::uploadGeometry()
{
    const QSharedPointer<OpenGLDeviceContext> device = OpenGLDeviceContext::current();

    const QSharedPointer<BufferObject> vertices = device->newBuffer();
    vertices->setTarget(GL_ARRAY_BUFFER);
    vertices->bind();
    vertices->uploadArbitraryData(_scene.vertices.data(), int(_scene.vertices.size()), GL_STATIC_DRAW,
                                  sizeof(Vertex));
    vertices->unbind();

    // An element array binding belongs to a vertex array; none is bound yet, so the contents come by another target.
    _indexBuffer = device->newBuffer();
    _indexBuffer->setTarget(GL_COPY_WRITE_BUFFER);
    _indexBuffer->bind();
    _indexBuffer->uploadGLuintData(_scene.indices.data(), int(_scene.indices.size()), GL_STATIC_DRAW);
    _indexBuffer->unbind();
    _indexBuffer->setTarget(GL_ELEMENT_ARRAY_BUFFER);

    constexpr unsigned int kStride = sizeof(Vertex);
    _vertexArray = device->newVAO();
    _vertexArray->registerBO(QStringLiteral("va_Vertex"), vertices, 3, GL_FLOAT, false, kStride,
                             offsetof(Vertex, position));
    _vertexArray->registerBO(QStringLiteral("va_Normal"), vertices, 3, GL_FLOAT, false, kStride,
                             offsetof(Vertex, normal));
    _vertexArray->registerBO(QStringLiteral("va_TexCoord"), vertices, 2, GL_FLOAT, false, kStride,
                             offsetof(Vertex, texCoord));
    _vertexArray->registerBO(QStringLiteral("va_Color"), vertices, 4, GL_UNSIGNED_BYTE, true, kStride,
                             offsetof(Vertex, color));
}

void ModelRenderer::sortOutDraws()
{
    for (size_t i = 0; i < _scene.draws.size(); ++i) {
        const Draw &draw = _scene.draws[i];
        const Mesh &mesh = _scene.meshes[size_t(draw.mesh)];
        const bool isBlended = _scene.materials[size_t(mesh.material)].isBlended;
        (isBlended ? _blended : _opaque).push_back(int(i));
        _centers.push_back(isBlended ? centerOf(_scene, draw) : QVector3D());
    }
    // Draws of one run go together; the file's order decides among them.
    std::stable_sort(_opaque.begin(), _opaque.end(), [&](int a, int b) { return runOf(a) < runOf(b); });
}

ModelRenderer::UnitPointer ModelRenderer::newUnit() const
{
    const UnitPointer unit(new DrawBuffers(nullptr));
    unit->setVAO(_vertexArray);
    unit->setPrimitiveType(GL_TRIANGLES);
    return unit;
}

ModelRenderer::UnitPointer ModelRenderer::newUnitOfBlock(int block) const
{
    std::vector<DrawElementsIndirectCommand> commands;
    for (int i = 0; i < _records.drawCount(block); ++i) {
        const Draw &draw = _scene.draws[size_t(_records.firstDraw(block) + i)];
        const Mesh &mesh = _scene.meshes[size_t(draw.mesh)];
        commands.push_back({mesh.indexCount, 1, mesh.firstIndex, mesh.firstVertex, 0});
    }
    const UnitPointer unit = newUnit();
    unit->setIndexedDraw(_indexBuffer, int(_scene.indices.size()), GL_UNSIGNED_INT);
    unit->setDrawElementsIndirectCommands(commands.data(), int(commands.size()));
    return unit;
}

ModelRenderer::UnitPointer ModelRenderer::newUnitOfDraw(int draw, int drawID) const
{
    const Mesh &mesh = _scene.meshes[size_t(_scene.draws[size_t(draw)].mesh)];
    const UnitPointer unit = newUnit();
    unit->setIndexedDraw(_indexBuffer, int(mesh.indexCount), GL_UNSIGNED_INT);
    unit->setIndexBufferOffset(mesh.firstIndex * sizeof(quint32));
    unit->setBaseVertex(int(mesh.firstVertex));
    unit->setDrawIDBase(drawID);
    return unit;
}

void ModelRenderer::drawGeometry(const OrbitCamera &camera, float aspect)
{
    uploadFrame(camera, aspect);
    const AutoBinder boundProgram(_geometryProgram.data());
    const AutoBinder boundFrame(_frame.data());
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    drawInOrder(_geometryProgram.data(), _opaque);
}

void ModelRenderer::draw(const OrbitCamera &camera, Texture *occlusion, Environment *environment,
                         float exposure)
{
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    const AutoBinder boundProgram(_program.data());
    if (environment != nullptr) {
        environment->bind(_program.data());
    }
    _program->setUniform(QStringLiteral("u_Exposure"), QVariant(exposure));
    const AutoBinder boundFrame(_frame.data());
    const AutoBinder boundOcclusion(occlusion);
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    _program->setUniform(_program->getUniformLocation(QStringLiteral("u_Occlusion")), int(occlusion->unit()));

    DrawBuffers::getAndResetTotalDrawCalls();
    DrawBuffers::getAndResetTotalDrawBatches();
    DrawBuffers::getAndResetTotalDrawIndices();
    drawInOrder(_program.data(), _opaque);
    if (!_blended.empty()) {
        sortBlended(camera.eye());
        const AutoEnabler blending(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA); // the shader's colours are premultiplied
        glDepthMask(GL_FALSE);
        drawInOrder(_program.data(), _blended);
        glDepthMask(GL_TRUE);
    }
    if (environment != nullptr) {
        environment->unbind();
    }
    _calls = DrawBuffers::getAndResetTotalDrawCalls();
    _batches = DrawBuffers::getAndResetTotalDrawBatches();
    _indices = DrawBuffers::getAndResetTotalDrawIndices();
}

void ModelRenderer::drawSlots()
{
    const AutoBinder boundProgram(_slotsProgram.data());
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    _textures.bind(-1, _slotsProgram.data());
    drawFullscreen(_slotsProgram.data());
    _textures.unbind(-1, _slotsProgram.data());
}

QString ModelRenderer::describeFrame() const
{
    const int blocks = _records.blockCount();
    return QStringLiteral(
               "draws     %1 calls, %2 batches, %3 indices; draw ID by %4, %5 of %6 records; textures by %7")
        .arg(_calls)
        .arg(_batches)
        .arg(_indices)
        .arg(_drawIDPath == DrawIDPath::eUniform ? QStringLiteral("uniform")
                                                 : QStringLiteral("base instance"))
        .arg(blocks == 1 ? QStringLiteral("1 block") : QStringLiteral("%1 blocks").arg(blocks))
        .arg(_records.blockLength())
        .arg(managerName(_textures.kind()));
}

void ModelRenderer::uploadFrame(const OrbitCamera &camera, float aspect)
{
    const FrameRecord record = toRecord(camera, aspect);
    uploadUniformBlock(*_frame, &record, 1, sizeof(record));
}

void ModelRenderer::sortBlended(const QVector3D &eye)
{
    std::stable_sort(_blended.begin(), _blended.end(), [&](int a, int b) {
        return (_centers[size_t(a)] - eye).lengthSquared() > (_centers[size_t(b)] - eye).lengthSquared();
    });
}

void ModelRenderer::drawInOrder(ShaderProgram *program, const std::vector<int> &draws)
{
    // Neighbours of one block that may be drawn with the same textures bound are a run.
    QVector<int> drawIDs;
    for (size_t i = 0; i < draws.size(); ++i) {
        const int block = draws[i] / _records.blockLength();
        const int run = runOf(draws[i]);
        drawIDs.append(draws[i] - _records.firstDraw(block));
        const bool isLast = i + 1 == draws.size() || draws[i + 1] / _records.blockLength() != block
                            || runOf(draws[i + 1]) != run;
        if (isLast) {
            drawRun(program, block, textureOf(draws[i]), drawIDs);
            drawIDs.clear();
        }
    }
    if (_boundUnit != nullptr) {
        _boundUnit->unbind();
        _boundUnit = nullptr;
    }
}

int ModelRenderer::textureOf(int draw) const
{
    const Mesh &mesh = _scene.meshes[size_t(_scene.draws[size_t(draw)].mesh)];
    return _scene.materials[size_t(mesh.material)].baseColorTexture;
}

/// What tells draws apart that cannot be in one run.
int ModelRenderer::runOf(int draw) const
{
    return _textures.isOneByOne() ? textureOf(draw) : 0;
}

void ModelRenderer::drawRun(ShaderProgram *program, int block, int texture, const QVector<int> &drawIDs)
{
    const AutoBinder boundRecords(_records.block(block));
    _textures.bind(texture, program);
    if (_drawIDPath == DrawIDPath::eUniform) {
        drawUnit(program, _units[size_t(block)].data(), &drawIDs);
    } else {
        for (const int drawID : drawIDs) {
            drawUnit(program, _units[size_t(_records.firstDraw(block) + drawID)].data(), nullptr);
        }
    }
    _textures.unbind(texture, program);
}

void ModelRenderer::drawUnit(ShaderProgram *program, DrawBuffers *unit, const QVector<int> *commands)
{
    if (!unit->rebind(_boundUnit)) {
        return;
    }
    if (_boundUnit == nullptr) { // all units share one vertex array
        _vertexArray->enableShaderProgramArrays(program);
    }
    _boundUnit = unit;
    unit->draw(program, commands);
}

} // namespace zelview
