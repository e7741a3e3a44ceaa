#include "ShadowMapManager.h"

#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "ShadowMapManagerCulling.h"
#include "Texture.h"
#include "private/ShadowFit.h"
#include "private/ShadowTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Orvane { namespace Zel {

QVector<QMatrix4x4> gSextantProjectionModelview;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;
using ProjectorInfo = RenderData::ProjectorInfo;

constexpr float kNear = 0.1f;
constexpr float kFar = 100.0f;

static_assert(ShadowMapManager::kShadowMapInfoArraySizeMax == kShadowTableLights, "one limit of lights");
static_assert(ShadowMapManager::kShadowMapTransformArraySizeMax == kShadowTableProjections,
              "one limit of projections");

float gVarianceClamping = 0.1f;

RenderData *toRenderData(const QVariant &variant)
{
    return qobject_cast<RenderData *>(variant.value<QObject *>());
}

/// Fills the table light by light. The projections of a light are consecutive: info.index is the first.
class TableFiller
{
public:
    TableFiller(RenderData &renderData, const ShadowMapManagerCulling &culling)
        : _renderData(renderData)
        , _culling(culling)
    {
    }

    void add(int lightNumber, Light *light)
    {
        // 1. The place of its projections, also if it has none: the same projection may belong to another light in the next
        //    frame, see ShadowMapManagerTest.ReportsWhichFramesOfAnAnimationNeedNewLayers.
        ProjectorInfo &info = _renderData.projectorInfos[lightNumber];
        _changed = _changed || info.index != _projectorIndex;
        info.index = _projectorIndex;
        info.count = 0;

        // 2. The projections, if it has any.
        ZEL_ASSERT(NULL != light, "Light %d is NULL", lightNumber);
        if (light == nullptr || isTableFull(_renderData, info) || !light->on() || !light->shadowCaster()) {
            return;
        }
        switch (light->type()) {
        case Light::eSpot:
            addSpot(info, *light);
            break;
        case Light::ePoint:
            addPoint(info, *light);
            break;
        case Light::eDirectional:
            addDirectional(info, *light);
            break;
        }
    }

    int projectorIndex() const { return _projectorIndex; }
    bool changed() const { return _changed; }

private:
    void addProjection(ProjectorInfo &projectorInfo, const QMatrix4x4 &matrix)
    {
        const int projectorIndex = _projectorIndex;
        ZEL_ASSERT((projectorInfo.index + projectorInfo.count) == projectorIndex,
                   "projection Info (%d,%d) and projectorIndex %d are out of sync", projectorInfo.index,
                   projectorInfo.count, projectorIndex);
        appendProjection(_renderData, projectorInfo, matrix, _changed);
        ++_projectorIndex;
    }

    void addSpot(ProjectorInfo &info, const Light &light)
    {
        QMatrix4x4 view;
        view.lookAt(QVector3D(0, 0, 0), QVector3D(0, 0, -1), QVector3D(0, 1, 0));
        QMatrix4x4 projection;
        // Twice the half angle, in degrees. Spot lights are not fitted to what is seen.
        projection.perspective(light.spotCutoff() * 360.0f / static_cast<float>(M_PI), 1.0f, kNear, kFar);
        addProjection(info, projection * view * light.transform().inverted());
    }

    void addPoint(ProjectorInfo &info, Light &light)
    {
        if (_culling.processLightPoint(_renderData, info, &light, _changed)) {
            _projectorIndex += info.count;
            return;
        }
        // Without a known scene: all faces, out to a fixed distance.
        const QMatrix4x4 toLight = light.transform().inverted();
        for (int face = 0; face < gSextantProjectionModelview.size() && !isTableFull(_renderData, info);
             ++face) {
            addProjection(info, gSextantProjectionModelview.at(face) * toLight);
        }
    }

    void addDirectional(ProjectorInfo &info, Light &light)
    {
        if (_culling.processLightDirectional(_renderData, info, &light, _changed)) {
            _projectorIndex += info.count;
            return;
        }
        // 8 units wide and high, and 6 units deep on each side of the light; see
        // ShadowMapManagerTest.WithoutCameraAndSceneProjectionsAreFixed.
        QMatrix4x4 box;
        box.scale(0.25f, 0.25f, 1.0f);
        box.scale(1.0f, 1.0f, 0.083333336f);
        box.translate(0.0f, 0.0f, 6.0f);
        addProjection(info, box * light.transform().inverted());
    }

    RenderData &_renderData;
    const ShadowMapManagerCulling &_culling;
    int _projectorIndex = 0;
    bool _changed = false;
};

} // namespace

QString ShadowMapManager::getShaderFile()
{
    return QStringLiteral("ShadowMapManager.glslc");
}

void ShadowMapManager::setup(GLSLMacroProcessor *processor, int options)
{
    if (processor == nullptr) {
        return;
    }
    if ((options & 1) != 0) {
        processor->addDefine(QStringLiteral("SHADOW_MAP_MANAGER_USE_VARIANCE_MAPS"), QStringLiteral("1"));
    }
    processor->addDefine(QStringLiteral("SHADOW_MAP_MANAGER_INFO_ARRAY_SIZE"),
                         QString::number(kShadowMapInfoArraySizeMax));
    processor->addDefine(QStringLiteral("SHADOW_MAP_MANAGER_TRANSFORM_ARRAY_SIZE"),
                         QString::number(kShadowMapTransformArraySizeMax));
}

void ShadowMapManager::setVarianceClamping(float clamping)
{
    gVarianceClamping = clamping;
}

void ShadowMapManager::setupSextant()
{
    struct Face
    {
        QVector3D target;
        QVector3D up;
    };
    static const Face faces[] = {
        {QVector3D(-1, 0, 0), QVector3D(0, 1, 0)}, {QVector3D(1, 0, 0), QVector3D(0, 1, 0)},
        {QVector3D(0, 1, 0), QVector3D(-1, 0, 0)}, {QVector3D(0, -1, 0), QVector3D(1, 0, 0)},
        {QVector3D(0, 0, 1), QVector3D(0, 1, 0)},  {QVector3D(0, 0, -1), QVector3D(0, 1, 0)},
    };
    if (gSextantProjectionModelview.size() == 6) {
        return;
    }
    QMatrix4x4 projection;
    projection.perspective(kShadowFaceAngle, 1.0f, kNear, kFar);
    gSextantProjectionModelview.clear();
    for (const Face &face : faces) {
        QMatrix4x4 view;
        view.lookAt(QVector3D(0, 0, 0), face.target, face.up);
        gSextantProjectionModelview.append(projection * view);
    }
}

bool ShadowMapManager::processLights(QVariant lights, RenderData &renderData, const QMatrix4x4 *view,
                                     const QMatrix4x4 *projection,
                                     const QPair<QVector3D, QVector3D> *sceneBounds)
{
    setupSextant();
    // 1. What the camera sees of the scene, once for all lights; then the table, light by light.
    const int infoMax = renderData.projectorInfos.size();
    int lightCount = 0;
    bool changed = false;
    if (lights.isNull()) {
        renderData.lightCount = 0;
        renderData.transformCount = 0;
    } else {
        ShadowMapManagerCulling culling;
        culling.setupCameras(view, projection);
        culling.setupScene(sceneBounds);
        culling.setupPost();

        const QVariantList list = lights.toList();
        lightCount = list.size();
        if (lightCount > infoMax) {
            ZEL_LOG_DEBUG("More lights %d than shadow projection supports %d. Ignoring top most.", lightCount,
                          infoMax);
            lightCount = infoMax;
        }
        TableFiller filler(renderData, culling);
        for (int i = 0; i < lightCount; ++i) {
            filler.add(i, qobject_cast<Light *>(list.at(i).value<QObject *>()));
        }
        // 2. Whether layers must be drawn again. The counts are compared too: a light may lose its last projections while all
        //    others keep theirs; see ShadowMapManagerTest.ReportsWhichFramesOfAnAnimationNeedNewLayers.
        changed = filler.changed() || lightCount != renderData.lightCount
                  || filler.projectorIndex() != renderData.transformCount;
        renderData.lightCount = lightCount;
        renderData.transformCount = filler.projectorIndex();
        if (renderData.transformCount == 0) {
            changed = false; // without projections there is no layer to draw
        }
    }
    // 3. Shaders look up lights by their index: those that are gone must have no projections.
    for (int i = lightCount; i < infoMax; ++i) {
        renderData.projectorInfos[i] = ProjectorInfo();
    }
    return changed;
}

bool ShadowMapManager::processLights(QVariant lights, RenderData &renderData)
{
    return processLights(lights, renderData, nullptr, nullptr, nullptr);
}

bool ShadowMapManager::bind(ShaderProgram *program, QVariant dataVariant)
{
    // 1. The arguments, checked in the order of the messages.
    const RenderData *renderData = toRenderData(dataVariant);
    if (renderData == nullptr) {
        // Messages quote the conditions as they are written.
        // clang-format off
        ZEL_ASSERT_RETURN(false == dataVariant.isNull(), false, "NULL render data variant used");
        ZEL_ASSERT_RETURN(true == dataVariant.canConvert<QObject*>(), false, "render data is not a 'QObject*' type is '%s'", dataVariant.typeName());
        ZEL_ASSERT_RETURN(NULL != dataVariant.value<QObject*>(), false, "NULL QObject render data");
        // clang-format on
        // Required: printed, not logged; see ShadowMapManagerTest.WhatCannotBeBoundIsDiagnosedAndLeftAlone.
        std::printf("Type '%s'\n", dataVariant.value<QObject *>()->metaObject()->className());
        ZEL_ASSERT(NULL != renderData, "NULL render data used");
        return false;
    }
    Texture *texture = renderData->projectionTexture;
    ZEL_ASSERT_RETURN(NULL != texture, false, "NULL render data texture used");
    ZEL_ASSERT_RETURN(NULL != program, false, "NULL program used");
    if (!texture->bind()) {
        return false; // the texture has logged why
    }

    // 2. The layers and the variance clamp.
    static const QString sampler = QStringLiteral("u_ShadowMapDepthSampler");
    static const QString varianceClamp = QStringLiteral("u_VarianceClamp");
    static const QString infos = QStringLiteral("u_ShadowMapProjectionInfos");
    static const QString transforms = QStringLiteral("u_ShadowMapProjectionTransforms");
    program->setUniform(sampler, QVariant(static_cast<int>(texture->unit())));
    program->setUniform(varianceClamp, QVariant(gVarianceClamping));

    // 3. The tables. The host may have resized them, since they are public. Elements beyond the shader's arrays are not sent; see
    // ShadowMapManagerTest.TablesOfAnotherSizeAreDiagnosedAndSentAsFarAsTheyGoToWhatHasThem.
    ZEL_ASSERT(kShadowMapInfoArraySizeMax == renderData->projectorInfos.size(),
               "Projector Info Array size %d does not match size required by shader %d",
               renderData->projectorInfos.size(), kShadowMapInfoArraySizeMax);
    const int infoLocation = program->getUniformLocation(infos);
    if (infoLocation >= 0) {
        glUniform2iv(infoLocation, std::min(kShadowMapInfoArraySizeMax, renderData->projectorInfos.size()),
                     reinterpret_cast<const GLint *>(renderData->projectorInfos.constData()));
    }
    ZEL_ASSERT(kShadowMapTransformArraySizeMax == renderData->transforms.size(),
               "Projector Info Array size %d does not match size required by shader %d",
               renderData->transforms.size(), kShadowMapTransformArraySizeMax);
    const int transformLocation = program->getUniformLocation(transforms);
    if (transformLocation >= 0) {
        glUniformMatrix4fv(transformLocation,
                           std::min(kShadowMapTransformArraySizeMax, renderData->transforms.size()), GL_FALSE,
                           reinterpret_cast<const GLfloat *>(renderData->transforms.constData()));
    }
    return true;
}

bool ShadowMapManager::unbind(ShaderProgram *, QVariant dataVariant)
{
    const RenderData *renderData = toRenderData(dataVariant);
    ZEL_ASSERT_RETURN(NULL != renderData, false, "NULL render data used");
    Texture *texture = renderData->projectionTexture;
    ZEL_ASSERT_RETURN(NULL != texture, false, "NULL render data texture used");
    return texture->unbind();
}

}} // namespace Orvane::Zel
