#include "model/ModelRenderer.h"

#include "file/Console.h"
#include "file/Counted.h"
#include "frame/UniformBlock.h"
#include "light/Environment.h"
#include "light/ShadowedLights.h"
#include "light/StudioLight.h"
#include "scene/Scene.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;
using Orvane::ZelKit::Picker;

namespace zeltools {

namespace {

/// The block u_Frame of Frame.glslh, in std140 layout.
struct FrameRecord
{
    struct Light
    {
        float direction[3];
        float sharpness;
        float radiance[4]; ///< the last element is unused
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

/// Number of studio lights that the rig replaces: the sun replaces the key light.
int lightsReplaced(LightRig rig)
{
    switch (rig) {
    case LightRig::eNone:
        return 0;
    case LightRig::eSun:
        return 1;
    case LightRig::eRig:
    case LightRig::eFile:
        break;
    }
    return 3;
}

FrameRecord toRecord(const View &view, LightRig rig)
{
    StudioLight studio = StudioLight::facing(view.azimuth);
    studio.switchOff(lightsReplaced(rig));
    FrameRecord record = {};
    std::copy_n(view.viewProjection().constData(), 16, record.viewProjection);
    std::copy_n(view.view.constData(), 16, record.view);
    copy(view.eye, record.eye);
    copy(studio.sky, record.sky);
    copy(studio.ground, record.ground);
    for (size_t i = 0; i < studio.lights.size(); ++i) {
        copy(studio.lights[i].direction, record.lights[i].direction);
        record.lights[i].sharpness = studio.lights[i].sharpness;
        copy(studio.lights[i].radiance, record.lights[i].radiance);
    }
    return record;
}

} // namespace

ModelRenderer::ModelRenderer(const Programs &programs, const Scene &scene, const Options &options,
                             ManagerKind manager, MechanismKind mechanism)
    : _programs(programs.sibling())
    , _textures(scene, manager)
    , _plans(mechanism, ModelPlans::wantedObjects(scene, options.isPacked))
    , _geometry(options.isPacked ? nullptr : std::make_unique<ModelGeometry>(scene))
    , _drawables(scene, _textures, _plans, _geometry.get())
    , _lights(options.lights)
    , _frame(makeUniformBlock("u_Frame"))
{
}

ModelRenderer::~ModelRenderer() = default;

Expected<std::unique_ptr<ModelRenderer>> ModelRenderer::create(const Programs &programs, const Scene &scene,
                                                               const Options &options, ManagerKind manager,
                                                               MechanismKind mechanism, bool hasEnvironment)
{
    if (!ModelTextures::isSupported(manager)) {
        return Problem{ExitCode::eGL,
                       QStringLiteral("the driver has no bindless textures, which the manager '%1' needs")
                           .arg(managerName(manager))};
    }
    if (const Failure failure = ModelPlans::check(mechanism)) {
        return *failure;
    }
    // Applies to the programs that are built from here on; those of other classes read no draw ID.
    DrawBuffers::useBaseInstanceDrawing(options.isPacked && DrawBuffers::isBaseInstanceDrawingSupported());
    std::unique_ptr<ModelRenderer> renderer(new ModelRenderer(programs, scene, options, manager, mechanism));
    if (options.isPacked) {
        Expected<std::unique_ptr<PackedModel>> packed =
            PackedModel::create(scene, renderer->_textures, renderer->_plans);
        if (!packed) {
            return packed.problem();
        }
        renderer->_packed = std::move(*packed);
    }
    ShadowedLights::setUp(renderer->_programs.processor(), options.shadowKind);
    if (hasEnvironment) {
        Environment::setUp(renderer->_programs.processor());
    }
    if (const Failure failure = renderer->buildPrograms()) {
        return *failure;
    }
    return renderer;
}

Failure ModelRenderer::buildPrograms()
{
    _textures.setUp(_programs.processor());
    const QString vertexFile = QStringLiteral("model.vert");
    const Expected<ProgramPointer> geometry =
        buildModelProgram(vertexFile, {QStringLiteral("geometry.frag")});
    if (!geometry) {
        return geometry.problem();
    }
    const Expected<ProgramPointer> shading =
        buildModelProgram(vertexFile, {QStringLiteral("model.frag"), ShadowedLights::Layers::shaderFile()});
    if (!shading) {
        return shading.problem();
    }
    _geometryProgram = *geometry;
    _program = *shading;
    return {};
}

Expected<ProgramPointer> ModelRenderer::buildModelProgram(const QString &vertexFile,
                                                          const QStringList &fragmentFiles)
{
    return _programs.build(
        {vertexFile, QStringLiteral("ZelUtilities.glslc"), QStringLiteral("ZelUtilities.vert")},
        fragmentFiles + QStringList{QStringLiteral("drawID.frag"), _textures.shaderFile()},
        {_plans.objectText(), _plans.materialText()}, {_plans.materialText()});
}

Expected<ProgramPointer> ModelRenderer::buildCasterProgram(const QString &vertexFile,
                                                           const QString &fragmentFile)
{
    return buildModelProgram(vertexFile, {fragmentFile});
}

void ModelRenderer::setShown(std::vector<bool> materials, int marked)
{
    if (_packed != nullptr) {
        _packed->setShown(materials);
    }
    _drawables.setShown(std::move(materials));
    _markedMaterial = marked;
}

Failure ModelRenderer::freeze(std::optional<QMatrix4x4> viewProjection)
{
    if (viewProjection && _ghostProgram == nullptr) {
        const Expected<ProgramPointer> built =
            buildModelProgram(QStringLiteral("model.vert"), {QStringLiteral("ghost.frag")});
        if (!built) {
            return built.problem();
        }
        _ghostProgram = *built;
    }
    _frozenFrustum = std::move(viewProjection);
    return {};
}

void ModelRenderer::drawGeometry(const View &view)
{
    uploadFrame(view);
    const AutoBinder boundProgram(_geometryProgram.data());
    const AutoBinder boundFrame(_frame.data());
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    drawPart(_geometryProgram.data(), passOf(view, ModelDrawables::eOpaque));
}

void ModelRenderer::draw(const View &view, Texture *occlusion, Environment *environment,
                         ShadowedLights &shadows, float exposure)
{
    if (_frozenFrustum) {
        drawGhosts(view);
    }
    const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    const AutoBinder boundProgram(_program.data());
    shadows.bind(_program.data());
    if (environment != nullptr) {
        environment->bind(_program.data());
    }
    _program->setUniform(QStringLiteral("u_Exposure"), QVariant(exposure));
    _program->setUniform(QStringLiteral("u_MarkedMaterial"), QVariant(_markedMaterial));
    const AutoBinder boundFrame(_frame.data());
    const AutoBinder boundOcclusion(occlusion);
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    _program->setUniform(_program->getUniformLocation(QStringLiteral("u_Occlusion")), int(occlusion->unit()));

    DrawBuffers::getAndResetTotalDrawCalls();
    DrawBuffers::getAndResetTotalDrawBatches();
    DrawBuffers::getAndResetTotalDrawIndices();
    drawPart(_program.data(), passOf(view, ModelDrawables::eOpaque));
    {
        const AutoEnabler blending(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA); // the shader writes premultiplied colours
        glDepthMask(GL_FALSE);
        drawPart(_program.data(), passOf(view, ModelDrawables::eBlended));
        glDepthMask(GL_TRUE);
    }
    if (environment != nullptr) {
        environment->unbind();
    }
    shadows.unbind(_program.data());
    _calls = DrawBuffers::getAndResetTotalDrawCalls();
    _batches = DrawBuffers::getAndResetTotalDrawBatches();
    _indices = DrawBuffers::getAndResetTotalDrawIndices();
    _drawables.model().updatePreviousMatrices();
}

void ModelRenderer::drawCasters(ShaderProgram *program, const QMatrix4x4 &viewProjection)
{
    drawPart(program, {PackedModel::eCasters, viewProjection, {}, ModelDrawables::eOpaque, eWindingOff});
}

std::optional<Picker::Hit> ModelRenderer::pick(const View &view, const QPoint &pixel, const QSize &viewport)
{
    View close = view;
    close.projection = Picker::closeUp(view.projection, pixel, viewport);
    uploadFrame(close);
    const AutoBinder boundProgram(_geometryProgram.data());
    const AutoBinder boundFrame(_frame.data());
    const AutoDisabler noBlending(GL_BLEND);
    const QMatrix4x4 frustum = close.viewProjection();
    if (_packed != nullptr) {
        return _picker.find(frustum, _packed->shownMaterials(), [&](const QList<int> &some) {
            _packed->drawNumbers(_geometryProgram.data(), frustum, some);
        });
    }
    _drawables.cull(frustum);
    const QList<int> numbers = _drawables.numbers(ModelDrawables::eOpaque, view.eye)
                               + _drawables.numbers(ModelDrawables::eBlended, view.eye);
    std::optional<Picker::Hit> hit = _picker.find(frustum, numbers, [&](const QList<int> &some) {
        _drawables.draw(_geometryProgram.data(), some, true);
    });
    if (hit) {
        hit->number = _drawables.materialOf(hit->number);
    }
    return hit;
}

Failure ModelRenderer::prepareSlots()
{
    if (_slotsProgram != nullptr || !_canShowSlots) {
        return {};
    }
    // "sizes of bindless handles" in docs/driver-workarounds.md: the view of these slots would end the process.
    if (_textures.kind() == ManagerKind::eArrayBindless
        && QByteArray(reinterpret_cast<const char *>(glGetString(GL_RENDERER))).startsWith("zink")) {
        _canShowSlots = false;
        Console::printError(QStringLiteral("the driver cannot show the slots of the manager '%1'")
                                .arg(managerName(_textures.kind())));
        return {};
    }
    const Expected<ProgramPointer> built = _programs.build(
        {QStringLiteral("passthroughVS.glslc")}, {QStringLiteral("slots.frag"), _textures.shaderFile()});
    if (!built) {
        return built.problem();
    }
    _slotsProgram = *built;
    return {};
}

void ModelRenderer::drawSlots()
{
    if (_slotsProgram == nullptr) {
        return;
    }
    const AutoBinder boundProgram(_slotsProgram.data());
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    _textures.bind(_slotsProgram.data());
    drawFullscreen(_slotsProgram.data());
    _textures.unbind(_slotsProgram.data());
}

QString ModelRenderer::describeFrame() const
{
    if (_packed != nullptr) {
        return QStringLiteral("draws     packed, %1, draw ID by %2; objects by %3; textures by %4")
            .arg(counted(_packed->drawnCount(), "drawable", "drawables"),
                 DrawBuffers::isBaseInstanceDrawingSupported() ? QStringLiteral("base instance")
                                                               : QStringLiteral("uniform"),
                 mechanismName(mechanism()), managerName(_textures.kind()));
    }
    const QString draws = QStringLiteral("draws     %1, %2, %3; draw ID by uniform")
                              .arg(counted(_calls, "call", "calls"), counted(_batches, "batch", "batches"),
                                   counted(_indices, "index", "indices"));
    return QStringLiteral("%1; %2 by %3 in %4 of at most %5; textures by %6")
        .arg(draws, counted(_drawables.objectCount(), "object", "objects"), mechanismName(mechanism()),
             counted(_drawables.collectionCount(), "collection", "collections"))
        .arg(_plans.capacity())
        .arg(managerName(_textures.kind()));
}

QStringList ModelRenderer::describeStatistics()
{
    const QString frozen = _frozenFrustum ? QStringLiteral(" by a frozen frustum") : QString();
    const auto memory = [](quint64 onCPU, quint64 onGPU) {
        return QStringLiteral("memory    %1 KB on the CPU, %2 KB on the GPU, without textures")
            .arg(onCPU / 1024)
            .arg(onGPU / 1024);
    };
    if (_packed != nullptr) {
        const int drawn = _packed->drawnCount();
        return {QStringLiteral("scene     %1, %2 drawn, %3 hidden or culled%4")
                    .arg(counted(_packed->drawableCount(), "drawable", "drawables"))
                    .arg(drawn)
                    .arg(_packed->drawableCount() - drawn)
                    .arg(frozen),
                memory(_packed->memoryOnCPU(), _packed->memoryOnGPU())};
    }
    return {QStringLiteral("scene     %1, %2 drawn, %3 culled%4; %5")
                .arg(counted(_drawables.drawableCount(), "drawable", "drawables"),
                     counted(_batches, "command", "commands"))
                .arg(_drawables.culledCount())
                .arg(frozen, counted(_indices / 3, "triangle", "triangles")),
            memory(_drawables.memoryOnCPU(), _drawables.memoryOnGPU())};
}

/// Draws with a program that is bound.
void ModelRenderer::drawPart(ShaderProgram *program, const PackedModel::Pass &pass)
{
    if (_packed != nullptr) {
        _packed->draw(program, pass);
        return;
    }
    _drawables.cull(pass.frustum);
    _drawables.draw(program, _drawables.numbers(pass.part, pass.eye), false, pass.winding);
}

PackedModel::Pass ModelRenderer::passOf(const View &view, ModelDrawables::Part part) const
{
    return {PackedModel::eCamera, _frozenFrustum.value_or(view.viewProjection()), view.eye, part,
            eWindingCCW};
}

/// Draws ghosts of all that is not hidden; what the frozen frustum contains is drawn over its ghost later.
void ModelRenderer::drawGhosts(const View &view)
{
    const AutoBinder boundProgram(_ghostProgram.data());
    const AutoBinder boundFrame(_frame.data());
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    drawPart(_ghostProgram.data(),
             {PackedModel::eGhosts, view.viewProjection(), view.eye, ModelDrawables::eOpaque, eWindingCCW});
}

void ModelRenderer::uploadFrame(const View &view)
{
    const FrameRecord record = toRecord(view, _lights);
    uploadUniformBlock(*_frame, &record, 1, sizeof(record));
}

} // namespace zeltools
