// Shadows in pictures of a box above a floor: where they must be, and where they must not be.

#include "ShownModel.h"
#include "ZelviewRun.h"

#include "scene/ModelLoader.h"
#include "scene/OrbitCamera.h"

#include "../support/TestContext.h"

#include <cmath>

using namespace zelview;

namespace {

/// A floor of 8 by 8 units, and one unit above it a box of one unit, lit from above. The normals of the floor are not
/// perpendicular to it, like those of coarse meshes with smooth shading.
class BoxAboveFloor
{
public:
    /// Writes a model, and returns its path. \a node, \a light: JSON members of the light's node and of the light.
    QString write(const QString &node, const QString &light, bool doesBoxCast) const
    {
        const auto addQuad = [](QVector<QVector3D> &to, const QVector3D &corner, const QVector3D &u,
                                const QVector3D &v) {
            for (const QVector3D &offset : {QVector3D(), u, u + v, QVector3D(), u + v, v}) {
                to << corner + offset;
            }
        };
        QVector<QVector3D> floor, box;
        addQuad(floor, {-4, 0, -4}, {8, 0, 0}, {0, 0, 8});
        const QVector<QVector3D> normals(6, QVector3D(0.6f, 0.8f, 0));
        const QVector3D x(1, 0, 0);
        const QVector3D y(0, 1, 0);
        const QVector3D z(0, 0, 1);
        for (const QVector3D &corner : {QVector3D(-0.5f, 1, -0.5f), QVector3D(0.5f, 2, 0.5f)}) {
            const float sign = corner.x() < 0 ? 1.0f : -1.0f;
            addQuad(box, corner, sign * x, sign * y);
            addQuad(box, corner, sign * y, sign * z);
            addQuad(box, corner, sign * z, sign * x);
        }
        const QString nodes =
            R"([{"mesh":0},{%1,"children":[2]},{"extensions":{"KHR_lights_punctual":{"light":0}}}])";
        const QString members =
            R"("extensionsUsed":["KHR_lights_punctual"],"extensions":{"KHR_lights_punctual":{"lights":[{%1}]}},
            "materials":[{"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0}},
                         {"doubleSided":true,"pbrMetallicRoughness":{"metallicFactor":0},"alphaMode":"%2"}],
            "meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":2},"material":0},
                                     {"attributes":{"POSITION":1},"material":1}]}],
            "accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3","min":[-4,0,-4],"max":[4,0,4]},
                         {"bufferView":1,"componentType":5126,"count":36,"type":"VEC3",
                          "min":[-0.5,1,-0.5],"max":[0.5,2,0.5]},
                         {"bufferView":2,"componentType":5126,"count":6,"type":"VEC3"}])";
        return _files.writeGltf(
            QString("box%1.gltf").arg(_count++), nodes.arg(node).toUtf8(),
            members.arg(light, doesBoxCast ? "OPAQUE" : "BLEND").toUtf8(),
            {ModelFiles::bytesOf(floor), ModelFiles::bytesOf(box), ModelFiles::bytesOf(normals)});
    }

private:
    ModelFiles _files;
    mutable int _count = 0;
};

const QString kDown = R"("translation":[0,4,0],"rotation":[-0.70710678,0,0,0.70710678])";
const QString kPoint = R"("type":"point","intensity":40)";
const QString kSpot = R"("type":"spot","intensity":40,"spot":{"innerConeAngle":0.5,"outerConeAngle":0.8})";
const QString kSun = R"("type":"directional","intensity":3)";

class ZelviewShadowTest : public ZelviewPictureTest
{
protected:
    static constexpr int kWidth = 320;
    static constexpr int kHeight = 240;
    static constexpr float kElevation = 30.0f;

    QImage pictureOf(const QString &file, const QStringList &more)
    {
        return picture(QStringList{file, "--lights", "file", "--view",
                                   QString("0,%1").arg(double(kElevation)), "--samples", "1", "--size",
                                   QString("%1x%2").arg(kWidth).arg(kHeight)}
                       + more);
    }

    /// Expects that the box darkens the floor at \a shadowed and not elsewhere, compared with the light without the box.
    void expectShadow(const QString &node, const QString &light, const QVector3D &shadowed,
                      const QStringList &more = {})
    {
        const QString file = _box.write(node, light, true);
        const QImage with = pictureOf(file, more);
        const QImage without =
            pictureOf(_box.write(node, light, false), more); // blended materials cast no shadow

        constexpr float kAspect = float(kWidth) / kHeight;
        OrbitCamera camera(0.0f, kElevation);
        camera.frame(*loadModel(file), kAspect);
        const QMatrix4x4 toClip = camera.at(kAspect).viewProjection();
        const auto brightness = [&](const QImage &image, const QVector3D &place) {
            const QVector3D at = toClip.map(place);
            return image
                .pixelColor(int((0.5f + 0.5f * at.x()) * kWidth), int((0.5f - 0.5f * at.y()) * kHeight))
                .green();
        };
        EXPECT_LT(brightness(with, shadowed), 0.7 * brightness(without, shadowed));
        EXPECT_GT(brightness(without, shadowed), 80);
        int lit = 0;
        for (float x = -3.75f; x < 4.0f; x += 0.5f) {
            for (float z = -3.75f; z < 4.0f; z += 0.5f) {
                const QVector3D place(x, 0, z);
                const bool isBehindBox = z < 0.0f && std::abs(x) < 1.0f;
                if ((place - shadowed).length() > 1.7f && !isBehindBox) {
                    ++lit;
                    EXPECT_NEAR(brightness(with, place), brightness(without, place), 2) << x << ' ' << z;
                }
            }
        }
        EXPECT_GT(lit, 100);
    }

    BoxAboveFloor _box;
};

struct Row
{
    const char *name;
    const QString &light;
    QStringList arguments;
};

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

class ZelviewShadowKindTest : public ZelviewShadowTest, public testing::WithParamInterface<Row>
{
};

TEST_P(ZelviewShadowKindTest, TheFloorIsDarkBelowTheBoxAndUntouchedElsewhere)
{
    expectShadow(kDown, GetParam().light, {0, 0, 0}, GetParam().arguments);
}

INSTANTIATE_TEST_SUITE_P(Lights, ZelviewShadowKindTest,
                         testing::Values(Row{"Sun", kSun, {"--csm", "1"}}, Row{"SunWithCascades", kSun, {}},
                                         Row{"SunWithCascadesVariance", kSun, {"--variance"}},
                                         Row{"Spot", kSpot, {}}, Row{"SpotVariance", kSpot, {"--variance"}},
                                         Row{"Point", kPoint, {}},
                                         Row{"PointVariance", kPoint, {"--variance"}}),
                         [](const testing::TestParamInfo<Row> &row) { return row.param.name; });

TEST_F(ZelviewShadowTest, AMirroredNodeMirrorsTheDirectionOfItsLight)
{
    // -z points down and to +x, in the frame x = (0, 0, 1), y = (c, s, 0), z = (-s, c, 0); the second matrix negates all x.
    const char *kMatrices[] = {"0,0,1,0, 0.866,0.5,0,0, -0.5,0.866,0,0, -1.5,4.1,0,1",
                               "0,0,1,0, -0.866,0.5,0,0, 0.5,0.866,0,0, 1.5,4.1,0,1"};
    for (const QString &light : {kSun, kSpot}) {
        expectShadow(QString("\"matrix\":[%1]").arg(kMatrices[0]), light, {0.866f, 0, 0});
        expectShadow(QString("\"matrix\":[%1]").arg(kMatrices[1]), light, {-0.866f, 0, 0});
    }
}

class ZelviewShadowFrameTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { TestContext::ensureApplication(); }

    ShownModel shown(const QString &light, LightRig rig, ShadowKind kind = ShadowKind::eDepth)
    {
        Options options;
        options.shadowKind = kind;
        options.azimuth = 0.0f;
        options.lights = rig;
        options.file = _box.write(kDown, light, true);
        return {options, QSize(160, 120)};
    }

    /// The line of the next frame about shadows.
    static QString report(ShownModel &model)
    {
        model.prepare();
        return model.report("shadows ");
    }

    BoxAboveFloor _box;
};

TEST_F(ZelviewShadowFrameTest, OnlyLayersWhoseProjectionChangedAreRendered)
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
        const QString rendered = "shadows   1 light, %1 of 2048x2048, plain; %2 rendered";
        EXPECT_EQ(report(model), rendered.arg(row.layers).arg(row.first));
        EXPECT_EQ(report(model), rendered.arg(row.layers).arg(0));
        model->drag(Exhibit::eTurn, {0.1f, 0.0f});
        EXPECT_EQ(report(model), rendered.arg(row.layers).arg(row.afterTurn));
    }
}

TEST_F(ZelviewShadowFrameTest, CastersBetweenALightAndTheViewCastShadows)
{
    for (const ShadowKind kind : {ShadowKind::eDepth, ShadowKind::eVariance}) {
        ShownModel model = shown(kPoint, LightRig::eFile, kind);
        model->drag(Exhibit::eMove, {0.0f, -0.02f});
        model->zoom(27); // only floor is visible, in the shadow of the upper half of the box
        const QImage floor = model.picture();
        EXPECT_GT(floor.pixelColor(80, 3).green(), floor.pixelColor(80, 34).green() + 50);
    }
}

TEST_F(ZelviewShadowFrameTest, KeysShowAndHideGroundLayersCascadesAndVolumes)
{
    ShownModel model = shown(kSun, LightRig::eSun);
    const QImage plain = model.picture();
    for (const Qt::Key key : {Qt::Key_G, Qt::Key_S, Qt::Key_C, Qt::Key_L}) {
        EXPECT_NE(model.pictureAfter(key), plain) << key;
        EXPECT_EQ(model.pictureAfter(key), plain) << key;
    }
}

} // namespace
