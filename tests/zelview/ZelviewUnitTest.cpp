// What zelview refuses, without a picture, and what it reads from models.

#include "Zelview.h"

#include "model/ModelCamera.h"
#include "scene/ModelLoader.h"
#include "scene/Scene.h"

#include "../support/FileMaker.h"
#include "../support/Sanitizer.h"

#include <cmath>
#include <random>

using namespace zelview;

namespace {

class ZelviewRefusalTest : public ZelviewTest
{
protected:
    /// A call that fails, its exit code, and words of the line that states the reason.
    struct Row
    {
        QStringList arguments;
        int code;
        QString words;
    };

    /// Checks that each call prints one line, and writes no file.
    void expectRefusals(const std::vector<Row> &rows, const QStringList &more = {})
    {
        const QStringList before = names();
        for (const Row &row : rows) {
            SCOPED_TRACE(row.arguments.join(' ').toStdString());
            run(row.arguments + more);
            EXPECT_EQ(_last.code, row.code);
            EXPECT_EQ(_last.output, QString());
            EXPECT_EQ(_last.errors.count('\n'), 1) << qPrintable(_last.errors);
            EXPECT_TRUE(_last.errors.startsWith("zelview: ")) << qPrintable(_last.errors);
            EXPECT_TRUE(holds(_last.errors, row.words));
        }
        EXPECT_EQ(names(), before);
    }

    const QString _wall = writeWall("wall.obj", 1, 1);
};

TEST_F(ZelviewRefusalTest, ReportsWrongCallsInOneLineAndKeepsEveryFile)
{
    const QString tile = write("t.1001.png", fourColours());
    write("t.1002.png", fourColours());
    const QString target = write("out.png", "old");
    expectRefusals({
        {{}, 1, "no FILE is given"},
        {{_wall, "--colour"}, 1, "Unknown option 'colour' (see"},
        {{_wall, "--offscreen", "out.JPG"}, 1, "--offscreen writes PNG"},
        {{_wall, "--pick", "0,0"}, 1, "--pick needs --offscreen"},
        {{_wall, "--offscreen", _wall}, 1, "the picture would overwrite a file that it shows"},
        {{"--udim", path(), "--offscreen", tile}, 1, "the picture would overwrite a file that it shows"},
        {{_wall, "--offscreen", path("none/out.png")}, 2, "there is no folder"},
        {{_wall, "--offscreen", "/dev/null"}, 2, "it is not a plain file"},
    });
    expectRefusals(
        {
            {{_wall, "--lights", "none", "--variance"}, 1, "--variance needs --lights other than 'none'"},
            {{_wall, "--size", "16000x16000"}, 1, "--size 16000x16000 is too large"},
            {{_wall, "--view", "nan,0"}, 1, "--view takes AZIMUTH,ELEVATION"},
            {{_wall, "--lights", "moon"}, 1, "--lights takes 'none', 'sun', 'rig' or 'file', not 'moon'"},
            {{_wall, "--lights", "file"}, 1, "wall.obj' has no lights"},
            {{_wall, "--csm", "9"}, 1, "--csm takes a number from 1 to 8, not '9'"},
            {{_wall, "--env-rotation", "20"}, 1, "--env-rotation needs --env"},
            {{tile, "--level", "7"}, 1, "there is no level 7: '" + tile + "' has 5, counted from 0"},
            {{"--udim", path("none.<UDIM>.png")}, 2, "has no tiles"},
        },
        {"--offscreen", target});
    EXPECT_EQ(bytesOf(target), "old");
}

TEST_F(ZelviewRefusalTest, ReportsUnusableFilesInOneLine)
{
    const QByteArray gltf2 = R"("asset":{"version":"2.0"},"scene":"the first"})";
    const QString rgbe = write("old.hdr", "#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n\1\1\1\1");
    const QByteArray torn("glTF\2\0\0\0\xff\xff\xff\x7f\1\0\0\0JSON", 20);
    QDir(path()).mkdir("sets");
    write("sets/a.1001.png", plainPng(Qt::red));
    write("sets/b.1001.png", plainPng(Qt::red));
    expectRefusals(
        {
            {{path("none.glb")}, 2, "there is no file"},
            {{"--udim", path("sets")}, 1, "holds several sets of tiles; name one, such as"},
            {{write("notes.txt", "Dear diary,\n")}, 3, "it is neither a model nor an image of a known"},
            {{write("torn.glb", torn)}, 3, "it is neither"},
            {{write("b.gltf", R"({"extensionsRequired":["E"],)" + gltf2)}, 3, "the extension E,"},
            {{write("c.gltf", R"({"skins":[{}],)" + gltf2)}, 3, "skins without inverse bind matrices"},
            {{write("points.obj", "v 0 0 0\nv 1 0 0\np 1 2\nl 1 2\n")}, 3, "holds no triangles"},
            {{write("far.obj", "v 0 0 0\nv 1e30 0 0\nv 0 1 0\nf 1 2 3\n")}, 3, "not finite or out of range"},
            {{rgbe}, 3, "it is a Radiance image that begins with '#?RGBE', not with '#?RADIANCE'"},
            {{write("cut.png", fourColours().left(40))}, 3, "cut.png' cannot be shown: "},
            {{write("cut.ktx", KtxFile().bytes().left(40))}, 3, "cannot be shown: its data are damaged"},
            {{_wall, "--env", write("cut.exr", "v/1\1\2\0\0\0")}, 3, "cut.exr' cannot be read: "},
            {{_wall, "--env", write("long.png", plainPng(Qt::red, 64, 8))},
             3,
             "is not an environment image: 64x8 is neither"},
            {{_wall, "--env", write("dot.png", plainPng(Qt::red, 4, 2))}, 3, "is too small"},
        },
        {"--offscreen", path("out.png")});
    if (!ZELGL_ADDRESS_SANITIZER) { // which ends the process if memory runs out
        const QString boast = write("boast.off", "OFF\n353535235358 6 0\n0 0 0\n1 0 0\n3 0 0 1\n");
        expectRefusals(
            {{{boast, "--offscreen", path("out.png")}, 3, "boast.off' needs too much memory for a file"}});
    }
}

TEST_F(ZelviewRefusalTest, PrintsHelpAndVersionWithoutADisplayAndReportsThatOneIsMissing)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("XDG_RUNTIME_DIR"); // Qt would log about it, too
    environment.insert("DISPLAY", ":4711");
    for (const QStringList &more : {QStringList{"--offscreen", path("out.png")}, QStringList()}) {
        EXPECT_EQ(run(QStringList(_wall) + more, environment).code, 4);
        EXPECT_EQ(_last.errors, "zelview: no display to draw on (is DISPLAY set and its server running?)\n");
    }
    EXPECT_TRUE(holds(run({"--help"}, environment).output, "--offscreen <file>"));
    EXPECT_EQ(_last.code, 0);
    EXPECT_EQ(run({"--version"}, environment).output, "zelview 1.0.0\n");
    EXPECT_EQ(_last.errors, QString());
}

/// The greatest absolute coordinate of the vertices in the view; 1 is the edge of the viewport. Infinite if a vertex is before
/// or beyond the planes of the depth.
float reachInView(const Scene &scene, const Orvane::ZelKit::OrbitCamera &camera, float aspect)
{
    float reach = 0.0f;
    for (const Vertex &vertex : scene.vertices) {
        const QVector4D clip = camera.projection(aspect) * camera.view() * QVector4D(vertex.point(), 1.0f);
        const bool isVisible = clip.w() > 0.0f && std::abs(clip.z()) <= clip.w();
        reach = std::max({reach, std::abs(clip.x()) / clip.w(), std::abs(clip.y()) / clip.w(),
                          isVisible ? 0.0f : INFINITY});
    }
    return reach;
}

TEST(ZelviewCamera, FramesAnySceneTightlyFromAnySideAndFollowsThePointer)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    for (int i = 0; i < 210; ++i) {
        // Every seventh scene is a point, which has no extent.
        const float size = std::pow(10.0f, float(i % 7) - 3.0f);
        const QVector3D halfSize = i % 7 == 6 ? QVector3D() : QVector3D(1.0f, 0.2f, 4.0f) * size;
        Scene scene;
        for (int j = 0; j < 200; ++j) {
            const QVector3D point = QVector3D(3.0f, -2.0f, 5.0f) * size
                                    + halfSize * QVector3D(unit(random), unit(random), unit(random));
            scene.vertices.push_back({{point.x(), point.y(), point.z()}, {}, {}, {}, {}});
            scene.bounds.add(point);
        }
        scene.meshes.push_back({0, 0, 0, quint32(scene.vertices.size()), 0, scene.bounds});
        scene.draws.emplace_back();
        Orvane::ZelKit::OrbitCamera camera(180.0f * unit(random), 89.0f * unit(random));
        camera.frame(extentOf(scene), 16.0f / 9.0f);
        if (i % 7 == 6) {
            EXPECT_LT(reachInView(scene, camera, 1.0f), 0.01f);
            continue;
        }
        for (const float aspect : {16.0f / 9.0f, 0.4f}) {
            camera.refit(extentOf(scene), aspect);
            EXPECT_NEAR(reachInView(scene, camera, aspect), 0.9f, 0.002f);
        }
        const QVector3D before = camera.view().map(QVector3D());
        camera.pan({0.25f, 0.1f});
        const QVector3D moved = camera.view().map(QVector3D()) - before;
        EXPECT_TRUE(moved.x() > 0.0f && moved.y() < 0.0f && std::abs(moved.z()) < 1e-5f * before.length());
        camera.orbit({0.3f, 5.0f}); // beyond the pole, where the camera stops
        EXPECT_NEAR(camera.view().determinant(), 1.0, 1e-3);
    }
}

class ZelviewLoaderTest : public ZelviewTest
{
protected:
    static Scene load(const QString &file)
    {
        const Expected<Scene> scene = loadModel(file);
        EXPECT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
        return scene ? *scene : Scene();
    }
};

TEST_F(ZelviewLoaderTest, KeepsLightsAndTheMapsOfGltf)
{
    write("map.png", QByteArray());
    const Scene scene = load(writeSquares(
        "lamp.gltf",
        R"([{"mesh":0},{"translation":[0,5,0],"extensions":{"KHR_lights_punctual":{"light":0}}}])",
        R"([{"normalTexture":{"index":0,"scale":0.5,"extensions":{"KHR_texture_transform":
             {"offset":[0.25,-0.5],"rotation":0.7,"scale":[2,0.5]}}},
             "occlusionTexture":{"index":0,"strength":0.25},"emissiveTexture":{"index":0},"emissiveFactor":[1,0.5,0],
             "pbrMetallicRoughness":{"metallicRoughnessTexture":{"index":0},"roughnessFactor":0.75,
             "baseColorTexture":{"index":0}}}])",
        R"("extensionsUsed":["KHR_lights_punctual","KHR_texture_transform"],"textures":[{"source":0}],"images":[{"uri":"map.png"}],
           "extensions":{"KHR_lights_punctual":{"lights":[{"type":"spot","color":[1,0.5,0],"intensity":20,"range":7,
           "spot":{"innerConeAngle":0.2,"outerConeAngle":0.5}}]}})"));
    ASSERT_EQ(scene.lights.size(), 1u);
    const SceneLight &light = scene.lights.front();
    EXPECT_EQ(light.type, SceneLight::eSpot);
    EXPECT_EQ(light.color * light.intensity, QVector3D(20.0f, 10.0f, 0.0f));
    EXPECT_EQ(light.range, 7.0f);
    EXPECT_NEAR(light.innerCone, 11.459f, 1e-3f); // degrees from the axis
    EXPECT_NEAR(light.outerCone, 28.648f, 1e-3f);
    EXPECT_EQ((scene.worldTransform(light.node) * light.local).map(QVector3D()), QVector3D(0.0f, 5.0f, 0.0f));

    // sRGB colours are decoded, numbers are not: two textures from one image.
    const Material &material = scene.materials.front();
    ASSERT_EQ(scene.textures.size(), 2u);
    for (const MapKind kind : {eBaseColorMap, eSurfaceMap, eNormalMap, eOcclusionMap, eEmissiveMap}) {
        ASSERT_TRUE(material.has(kind));
        EXPECT_EQ(scene.textures[size_t(material.maps[kind].texture)].isColor,
                  kind == eBaseColorMap || kind == eEmissiveMap);
        EXPECT_EQ(material.maps[kind].set, kind == eNormalMap ? 1 : 0);
    }
    EXPECT_EQ(material.normalScale, 0.5f);
    EXPECT_EQ(material.occlusionStrength, 0.25f);
    EXPECT_FALSE(material.isTwoSided);

    // Scale, rotation and offset from the upper left corner of the image, for the normal map.
    for (const Vertex &vertex : scene.vertices) {
        const float x = vertex.position[0];
        const float y = 1.0f - vertex.position[1];
        EXPECT_EQ(vertex.texCoord, (std::array<float, 2>{x, 1.0f - y}));
        EXPECT_NEAR(vertex.texCoord2[0], 0.25f + 2.0f * std::cos(0.7f) * x + 0.5f * std::sin(0.7f) * y,
                    1e-5f);
        EXPECT_NEAR(vertex.texCoord2[1], 1.5f + 2.0f * std::sin(0.7f) * x - 0.5f * std::cos(0.7f) * y, 1e-5f);
    }
}

TEST_F(ZelviewLoaderTest, ReportsWhatIsNotShownInOneLine)
{
    const QByteArray members =
        R"("extensionsUsed":["EXT_none","KHR_materials_clearcoat"],
            "materials":[{"extensions":{"KHR_materials_clearcoat":{"clearcoatFactor":1}}}],"meshes":[{"primitives":[
            {"attributes":{"POSITION":0,"JOINTS_0":2,"WEIGHTS_0":3},"material":0,"targets":[{"POSITION":0}]}]}],
            "skins":[{"joints":[0],"inverseBindMatrices":4}],"animations":[{"samplers":[{"input":1,"output":0}],
            "channels":[{"sampler":0,"target":{"node":0,"path":"scale"}}]}],"accessors":[@5126,"type":"VEC3"},
            @5126,"type":"SCALAR"},@5121,"type":"VEC4"},@5126,"type":"VEC4"},@5126,"type":"MAT4"}])";
    const QString all =
        writeGltf("all.gltf", R"([{"mesh":0,"skin":0}])",
                  QByteArray(members).replace("@", R"({"bufferView":0,"count":3,"componentType":)"),
                  {bytesOf<float>({0, 0, 0, 1, 0, 0, 1, 1, 0}) + QByteArray(160, '\0')});
    EXPECT_EQ(load(all).remarks,
              QStringList("not shown: 1 animation, skinning of 1 mesh, morph targets of 1 mesh, clear coat "
                          "of 1 material, the extension EXT_none"));
    const QByteArray triangle = "usemtl m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    EXPECT_EQ(load(write("a.obj", "mtllib none.mtl\n" + triangle)).remarks,
              QStringList("file 'none.mtl' is missing; its contents are left out"));
    EXPECT_EQ(load(write("c.obj", triangle + "l 1 3\n")).remarks, QStringList("not shown: 1 line"));
    write("clear.mtl", "newmtl m\nd 0\n");
    const Scene clear = load(write("b.obj", "mtllib clear.mtl\n" + triangle));
    EXPECT_EQ(clear.remarks, QStringList("all materials are fully transparent and are drawn opaque"));
    EXPECT_FALSE(clear.materials.front().isBlended);
}

} // namespace
