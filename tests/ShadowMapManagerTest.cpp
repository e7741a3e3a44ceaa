// The table of projections: which light gets which, when the table counts as changed, and how programs receive it.

#include "support/GLFixture.h"
#include "support/ShadowTable.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;

const AssertionsOf asserted("ShadowMapManager.cpp");

/// A list of lights as a host passes it, and the table.
class ShadowMapManagerTest : public GLTest
{
protected:
    ShadowMapManagerTest()
    {
        _texture.create3D(GL_TEXTURE_2D_ARRAY, GL_DEPTH_COMPONENT32F, 4, 4, 2);
        _data.projectionTexture = &_texture;
    }

    Light &add(Light::Type type)
    {
        _lights.push_back(std::make_unique<Light>());
        _lights.back()->setType(type);
        _list.append(QVariant::fromValue<QObject *>(_lights.back().get()));
        return *_lights.back();
    }

    bool process() { return ShadowMapManager::processLights(_list, _data); }

    /// Count and index of the first lights, each as "count@index".
    QString infos(int lights) const
    {
        QStringList result;
        for (int i = 0; i < lights; ++i) {
            result += QString("%1@%2").arg(_data.projectorInfos[i].count).arg(_data.projectorInfos[i].index);
        }
        return result.join(' ');
    }

    std::vector<std::unique_ptr<Light>> _lights;
    QVariantList _list;
    RenderData _data;
    QVariant _variant = QVariant::fromValue<QObject *>(&_data);
    Texture _texture{nullptr};
};

QMatrix4x4 translation(float x, float y, float z)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y, z);
    return matrix;
}

/// Compares the positions of points in a map.
void expectMapped(const RenderData::Transform &transform,
                  const std::vector<std::pair<QVector3D, QVector3D>> &points)
{
    for (const auto &[point, expected] : points) {
        const QVector3D actual = matrixOf(transform).map(point);
        EXPECT_LT((expected - actual).length(), 1e-4f)
            << actual.x() << ' ' << actual.y() << ' ' << actual.z();
    }
}

} // namespace

TEST_F(ShadowMapManagerTest, TransformsAreStoredWhenMatrixOrBlurDiffer)
{
    const QMatrix4x4 moved = translation(1, 2, 3);
    EXPECT_TRUE(_data.setTransform(4, moved, 0.0005f));
    EXPECT_FALSE(_data.setTransform(4, moved, 0.0005f));
    EXPECT_TRUE(_data.setTransform(4, moved, 0.25f));
    EXPECT_EQ(0.25f, _data.blurInfos[4].blur);
    EXPECT_TRUE(_data.setTransform(4, translation(1, 2, std::nextafter(3.0f, 4.0f)), 0.25f));
    EXPECT_FALSE(_data.setTransform(-1, moved, 1) || _data.setTransform(32, moved, 1));
}

TEST_F(ShadowMapManagerTest, WithoutCameraAndSceneProjectionsAreFixed)
{
    add(Light::eSpot).setSpotCutoff(float(M_PI) / 4);
    add(Light::eDirectional);
    add(Light::ePoint);
    for (const auto &light : _lights) {
        light->setTransform(translation(10, 0, 0));
    }
    _data.blurInfos[0].blur = 1;
    ASSERT_TRUE(process());
    EXPECT_EQ("1@0 1@1 6@2 0@0", infos(4));
    EXPECT_EQ(0.0005f, _data.blurInfos[0].blur);
    ASSERT_EQ(6, gSextantProjectionModelview.size());
    expectMapped(_data.transforms[0],
                 {{{110, -100, -100}, {1, -1, 1}}, {{10, 0, -0.1f}, {0, 0, -1}}}); // 90 degrees, out to 100
    expectMapped(_data.transforms[1], {{{14, -4, -6}, {1, -1, 0}}, {{6, 4, 6}, {-1, 1, 1}}});
    // The directions at the centre of each face, to its right and above: the edge is at 45.5 degrees.
    const struct
    {
        QVector3D middle, right, above;
    } kFaces[] = {
        {{-1, 0, 0}, {0, 0, -1}, {0, 1, 0}}, {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
        {{0, 1, 0}, {0, 0, 1}, {-1, 0, 0}},  {{0, -1, 0}, {0, 0, 1}, {1, 0, 0}},
        {{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}},  {{0, 0, -1}, {1, 0, 0}, {0, 1, 0}},
    };
    const float edge = std::tan(45.5f * float(M_PI) / 180);
    for (int face = 0; face < 6; ++face) {
        SCOPED_TRACE(face);
        const auto &[middle, right, above] = kFaces[face];
        const QVector3D light(10, 0, 0);
        expectMapped(_data.transforms[2 + face],
                     {{light + 0.1f * middle, {0, 0, -1}},
                      {light + 100 * (middle + edge * right - edge * above), {1, -1, 1}}});
        EXPECT_EQ(gSextantProjectionModelview[face] * translation(-10, 0, 0),
                  matrixOf(_data.transforms[2 + face]));
    }
}

TEST_F(ShadowMapManagerTest, CastersHaveRunsOfProjectionsUntilTheThirtyTwoOfTheTableAreTaken)
{
    add(Light::eSpot);
    add(Light::eSpot).setOn(false);
    add(Light::ePoint).setShadowCaster(false);
    add(static_cast<Light::Type>(3));
    QObject other;
    _list += QVariant::fromValue<QObject *>(&other);
    _list += {QVariant::fromValue<QObject *>(nullptr), QVariant(7)};
    add(Light::eDirectional);
    for (const int points : {1, 5}) {
        for (int i = 0; i < points; ++i) {
            add(Light::ePoint);
        }
        add(Light::eSpot);
    }
    while (_list.size() < 33) {
        add(Light::eDirectional);
    }
    for (const bool isFirst : {true, false}) {
        EXPECT_EQ(isFirst, process());
        EXPECT_MESSAGES("debug [ShadowMapManager.cpp:#] More lights 33 than shadow projection supports 32. "
                        "Ignoring top most.",
                        asserted("NULL != light", "Light 4 is NULL"),
                        asserted("NULL != light", "Light 5 is NULL"),
                        asserted("NULL != light", "Light 6 is NULL"));
    }
    // What has no shadow marks the end of the run before it.
    EXPECT_EQ("1@0 0@1 0@1 0@1 0@1 0@1 0@1 1@1 6@2 1@8 6@9 6@15 6@21 5@27 0@32 0@32", infos(16));
    EXPECT_TRUE(_data.lightCount == 32 && _data.transformCount == 32);
}

TEST_F(ShadowMapManagerTest, ReportsWhichFramesOfAnAnimationNeedNewLayers)
{
    Light &sun = add(Light::eDirectional);
    Light &lamp = add(Light::ePoint);
    Light &spot = add(Light::eSpot);
    Light &second = add(Light::eSpot);
    second.setOn(false);
    const QPair<QVector3D, QVector3D> scene({-5, -5, -5}, {5, 5, 5});
    QMatrix4x4 view;
    view.lookAt({0, 0, 3}, {0, 0, 0}, {0, 1, 0});
    QMatrix4x4 projection;
    projection.perspective(60, 1, 0.1f, 50);
    const std::pair<std::function<void()>, bool> steps[] = {
        {[] {}, true},
        {[] {}, false},
        {[&] { view.translate(0.01f, 0, 0); }, true},
        {[&] { lamp.setTransform(translation(0, 0.1f, 0)); }, true},
        {[&] { spot.setSpotCutoff(0.6f); }, true},
        {[&] { second.setSpotCutoff(0.6f); }, false}, // it is off
        {[&] { spot.setOn(false), second.setOn(true); },
         true}, // the same projection now belongs to the second light
        {[&] { spot.setOn(true); }, true},
        {[&] { second.setOn(false); }, true}, // changes the number of projections only
        {[&] { _list.removeLast(); }, true},  // changes the number of lights only
        {[] {}, false},
        {[&] { sun.setCSMLevels(3); }, true},
        {[&] { lamp.setShadowCaster(false); }, true}, // the following lights move up
        {[] {}, false},
        {[&] { sun.setOn(false), spot.setOn(false); }, false}, // without a caster there is no layer to draw
        {[&] { spot.setOn(true); }, true},
        {[&] { _list.clear(); }, false},
    };
    for (const auto &[change, expected] : steps) {
        SCOPED_TRACE(&change - &steps->first);
        change();
        EXPECT_EQ(expected, ShadowMapManager::processLights(_list, _data, &view, &projection, &scene));
        EXPECT_EQ(_list.size(), _data.lightCount);
        int projections = 0;
        for (int i = 0; i < 32; ++i) {
            const auto [count, index] = _data.projectorInfos[i];
            EXPECT_EQ(i < _list.size() ? projections : 0, index) << i;
            EXPECT_EQ(i < _list.size() && _lights[size_t(i)]->on() && _lights[size_t(i)]->shadowCaster(),
                      count > 0);
            projections += count;
        }
        EXPECT_EQ(projections, _data.transformCount);
    }
    add(Light::eSpot);
    EXPECT_TRUE(process());
    EXPECT_FALSE(ShadowMapManager::processLights(QVariant(), _data));
    EXPECT_EQ(0, _data.lightCount + _data.transformCount + _data.projectorInfos[0].count);
}

TEST_F(ShadowMapManagerTest, SetupAddsTheDefinesWithoutWhichTheShaderStops)
{
    ShadowMapManager::setup(nullptr, 1);
    ShaderProgram program(nullptr);
    program.addShaderFromFile(GL_FRAGMENT_SHADER, ShadowMapManager::getShaderFile());
    EXPECT_FALSE(program.compile());
    const QString text = _capture.takeTexts().join("");
    for (const char *define : {"INFO", "TRANSFORM"}) {
        EXPECT_TRUE(text.contains(QString("Missing SHADOW_MAP_MANAGER_%1_ARRAY_SIZE define.").arg(define)));
    }
    QString defines = "#define SHADOW_MAP_MANAGER_INFO_ARRAY_SIZE 32\n"
                      "#define SHADOW_MAP_MANAGER_TRANSFORM_ARRAY_SIZE 32\n";
    GLSLMacroProcessor processor;
    for (const int options : {2, 3}) {
        ShadowMapManager::setup(&processor, options);
        EXPECT_EQ(defines, GLSLMacroProcessor::processDefines(&processor));
        defines += "#define SHADOW_MAP_MANAGER_USE_VARIANCE_MAPS 1\n";
    }
}

TEST_F(ShadowMapManagerTest, TablesOfAnotherSizeAreDiagnosedAndSentAsFarAsTheyGoToWhatHasThem)
{
    _data.projectorInfos.resize(3);
    _data.transforms.resize(40);
    GLSLMacroProcessor processor;
    ShadowMapManager::setup(&processor, 1);
    const auto plain = makeProgram(kAtOrigin);
    const auto shadowed = makeProgram(kAtOrigin, R"(#version 150
#include "ShadowMapManager.glslh"
uniform uint u_Light;
out vec4 color;
void main() { color = vec4(shadowMapGetVisibility(u_Light, vec3(0.0))); }
)",
                                      &processor, {ShadowMapManager::getShaderFile()});
    const Tap<&glUniform2iv> infos;
    const Tap<&glUniformMatrix4fv> transforms;
    for (ShaderProgram *program : {plain.get(), shadowed.get()}) {
        EXPECT_EQ(0u, infos.count() + transforms.count());
        const AutoBinder binder(program);
        EXPECT_TRUE(ShadowMapManager::bind(program, _variant));
        EXPECT_MESSAGES(asserted("kShadowMapInfoArraySizeMax == renderData->projectorInfos.size()",
                                 "Projector Info Array size 3 does not match size required by shader 32"),
                        asserted("kShadowMapTransformArraySizeMax == renderData->transforms.size()",
                                 "Projector Info Array size 40 does not match size required by shader 32"));
        EXPECT_TRUE(ShadowMapManager::unbind(program, _variant));
    }
    EXPECT_EQ(3, infos.last<1>());
    EXPECT_EQ(32, transforms.last<1>());
}

TEST_F(ShadowMapManagerTest, WhatCannotBeBoundIsDiagnosedAndLeftAlone)
{
    ShaderProgram program(nullptr);
    std::vector<std::unique_ptr<Texture>> others;
    while (int(others.size()) < _texture.maxTextureUnits()) {
        others.push_back(std::make_unique<Texture>(GL_TEXTURE_2D, GL_R8, 1, 1, 1, nullptr));
        others.back()->bind();
    }
    const Tap<&glBindTexture> binds;
    QObject other;
    const auto bind = ShadowMapManager::bind;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(asserted.refused(
        {{bind(&program, QVariant()), "false == dataVariant.isNull()", "NULL render data variant used"},
         {bind(&program, QVariant::fromValue<QObject *>(&other)), "NULL != renderData",
          "NULL render data used"},
         {bind(&program, QVariant(7)), "true == dataVariant.canConvert<QObject*>()",
          "render data is not a 'QObject*' type is 'int'"},
         {bind(nullptr, _variant), "NULL != program", "NULL program used"},
         {ShadowMapManager::unbind(&program, QVariant()), "NULL != renderData", "NULL render data used"}}));
    std::fflush(stdout);
    EXPECT_EQ("Type 'QObject'\n", testing::internal::GetCapturedStdout());
    EXPECT_FALSE(bind(&program, _variant));
    EXPECT_MESSAGES("warning [Texture.cpp:#] There is no available texture units");
    _data.projectionTexture = nullptr;
    const char *const noTexture = "NULL render data texture used";
    EXPECT_TRUE(
        asserted.refused({{bind(nullptr, _variant), "NULL != texture", noTexture},
                          {ShadowMapManager::unbind(&program, _variant), "NULL != texture", noTexture}}));
    EXPECT_EQ(0u, binds.count());
    for (const auto &texture : others) {
        texture->unbind();
    }
}
