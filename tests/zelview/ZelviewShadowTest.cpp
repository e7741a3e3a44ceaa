// Shadows in pictures of a plate above a floor: where they must be, and where they must not be.

#include "ShownModel.h"

#include "scene/ModelLoader.h"
#include "scene/OrbitCamera.h"

#include <cmath>

using namespace zelview;

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;

const QString kDown = R"("translation":[0,4,0],"rotation":[-0.70710678,0,0,0.70710678])";
// Mirrored: z points up and to +x. The columns are (0, 0, 1), (-c, s, 0) and (s, c, 0).
const QString kMirrored = R"("matrix":[0,0,1,0, -0.866,0.5,0,0, 0.5,0.866,0,0, 1.5,4.1,0,1])";
const QString kPoint = R"("type":"point","intensity":40)";
const QString kSpot = R"("type":"spot","intensity":40,"spot":{"innerConeAngle":0.5,"outerConeAngle":0.8})";
const QString kSun = R"("type":"directional","intensity":3)";

class ZelviewShadowTest : public ZelviewTest
{
protected:
    /// Writes a floor of 8 by 8 units with a plate of one unit above it, and one light. The normals of the floor are not
    /// perpendicular to it, like those of coarse meshes with smooth shading. \a node, \a light: JSON members of the light's
    /// node and of the light.
    QString writeModel(const QString &node, const QString &light, bool doesPlateCast) const
    {
        const QString nodes =
            R"([{"mesh":0},{"mesh":1,"scale":[0.125,1,0.125],"translation":[0,1,0]},{%1,"children":[3]},
                {"extensions":{"KHR_lights_punctual":{"light":0}}}])";
        const QString members =
            R"("extensionsUsed":["KHR_lights_punctual"],"extensions":{"KHR_lights_punctual":{"lights":[{%1}]}},
            "materials":[{"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0}},
                         {"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0},"alphaMode":"%2"}],
            "meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1},"material":0}]},
                      {"primitives":[{"attributes":{"POSITION":0},"material":1}]}],
            "accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3","min":[-4,0,-4],"max":[4,0,4]},
                         {"bufferView":1,"componentType":5126,"count":6,"type":"VEC3"}])";
        return writeGltf(doesPlateCast ? "with.gltf" : "without.gltf", nodes.arg(node).toUtf8(),
                         members.arg(light, doesPlateCast ? "OPAQUE" : "BLEND")
                             .toUtf8(), // blended materials cast no shadow
                         {bytesOf<float>({-4, 0, -4, -4, 0, 4, 4, 0, 4, -4, 0, -4, 4, 0, 4, 4, 0, -4}),
                          bytesOf(QVector<QVector3D>(6, QVector3D(0.6f, 0.8f, 0)))});
    }

    ShownModel shown(const QString &light, LightRig rig, ShadowKind kind = ShadowKind::eDepth)
    {
        TestContext::ensureApplication();
        Options options;
        options.shadowKind = kind;
        options.azimuth = 0.0f;
        options.lights = rig;
        options.file = writeModel(kDown, light, true);
        return {options, QSize(kWidth, kHeight)};
    }
};

TEST_F(ZelviewShadowTest, TheFloorIsDarkBelowThePlateAndUntouchedElsewhere)
{
    const struct
    {
        const QString &node;
        const QString &light;
        QVector3D shadowed;
        QList<QStringList> arguments;
    } rows[] = {{kDown, kSun, {0, 0, 0}, {{}, {"--csm", "1"}, {"--variance"}}},
                {kDown, kSpot, {0, 0, 0}, {{}, {"--variance"}}},
                {kDown, kPoint, {0, 0, 0}, {{}, {"--variance"}}},
                {kMirrored, kSun, {-0.6f, 0, 0}, {{}}},
                {kMirrored, kSpot, {-0.6f, 0, 0}, {{}}}};
    for (const auto &row : rows) {
        const QStringList common{"--lights", "file", "--view", "0,30", "--samples", "1", "--size", "160x120"};
        const QImage without = picture(common + QStringList{writeModel(row.node, row.light, false)});
        const QString file = writeModel(row.node, row.light, true);
        constexpr float kAspect = float(kWidth) / kHeight;
        OrbitCamera camera(0.0f, 30.0f);
        camera.frame(*loadModel(file), kAspect);
        const auto brightness = [&](const QImage &image, const QVector3D &place) {
            const QVector3D at = camera.at(kAspect).viewProjection().map(place);
            return image
                .pixelColor(int((0.5f + 0.5f * at.x()) * kWidth), int((0.5f - 0.5f * at.y()) * kHeight))
                .green();
        };
        for (const QStringList &arguments : row.arguments) {
            SCOPED_TRACE((row.node + row.light + arguments.join(' ')).toStdString());
            const QImage with = picture(common + arguments + QStringList(file));
            EXPECT_LT(brightness(with, row.shadowed), 0.7 * brightness(without, row.shadowed));
            EXPECT_GT(brightness(without, row.shadowed), 80);
            for (float x = -3.75f; x < 4.0f; x += 0.5f) {
                for (float z = -3.75f; z < 4.0f; z += 0.5f) {
                    const QVector3D place(x, 0, z);
                    const bool isHidden = z < 0.0f && std::abs(x) < 1.0f; // behind the plate
                    if ((place - row.shadowed).length() > 1.7f && !isHidden) {
                        EXPECT_NEAR(brightness(with, place), brightness(without, place), 2) << x << ' ' << z;
                    }
                }
            }
        }
    }
}

TEST_F(ZelviewShadowTest, OnlyLayersWhoseProjectionChangedAreRendered)
{
    const struct
    {
        const QString &light;
        QString layers;
        int first;
        int afterTurn; ///< cascades follow the view; the layer of a spot light does not depend on it
    } rows[] = {{kSun, "4 layers", 4, 4}, {kSpot, "1 layer", 1, 0}};
    for (const auto &row : rows) {
        ShownModel model = shown(row.light, LightRig::eFile);
        for (const int rendered : {row.first, 0, row.afterTurn}) {
            model.picture();
            EXPECT_EQ(model.report("shadows"),
                      QString("shadows   1 light, %1 of 2048x2048, plain; %2 rendered")
                          .arg(row.layers)
                          .arg(rendered));
            if (rendered == 0) {
                model->drag(Exhibit::eTurn, {0.1f, 0.0f});
            }
        }
    }
}

TEST_F(ZelviewShadowTest, CastersBetweenALightAndTheViewCastShadows)
{
    for (const ShadowKind kind : {ShadowKind::eDepth, ShadowKind::eVariance}) {
        ShownModel model = shown(kPoint, LightRig::eFile, kind);
        model->drag(Exhibit::eMove, {0.0f, -0.02f});
        model->zoom(16.0f); // only floor is visible, in and before the shadow of the plate
        const QImage floor = model.picture();
        EXPECT_GT(floor.pixelColor(80, 100).green(), floor.pixelColor(80, 112).green() + 50);
    }
}

TEST_F(ZelviewShadowTest, KeysShowAndHideGroundLayersCascadesAndVolumes)
{
    ShownModel model = shown(kSun, LightRig::eSun);
    const QImage plain = model.picture();
    for (const Qt::Key key : {Qt::Key_G, Qt::Key_S, Qt::Key_C, Qt::Key_L}) {
        EXPECT_NE(model.pictureAfter(key), plain) << key;
        EXPECT_EQ(model.pictureAfter(key), plain) << key;
    }
}

} // namespace
