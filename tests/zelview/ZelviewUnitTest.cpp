#include "ModelFiles.h"

#include "frame/Options.h"
#include "scene/ModelLoader.h"
#include "scene/OrbitCamera.h"
#include "scene/Scene.h"

#include "../support/Print.h"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cmath>
#include <random>

using namespace zelview;

namespace {

/// The greatest absolute coordinates of the vertices in the view, horizontal and vertical; 1 is the edge of the viewport.
struct Reach
{
    float across = 0.0f;
    float along = 0.0f;
    bool isWithinDepth = true;
};

Reach reachInView(const Scene &scene, const OrbitCamera &camera, float aspect)
{
    const QMatrix4x4 matrix = camera.projection(aspect) * camera.view();
    Reach reach;
    for (const Draw &draw : scene.draws) {
        const Mesh &mesh = scene.meshes[size_t(draw.mesh)];
        for (quint32 i = 0; i < mesh.vertexCount; ++i) {
            const QVector4D clip =
                matrix * QVector4D(draw.transform.map(scene.vertices[mesh.firstVertex + i].point()), 1.0f);
            reach.across = std::max(reach.across, std::abs(clip.x() / clip.w()));
            reach.along = std::max(reach.along, std::abs(clip.y() / clip.w()));
            reach.isWithinDepth = reach.isWithinDepth && clip.w() > 0.0f && std::abs(clip.z()) <= clip.w();
        }
    }
    return reach;
}

/// A scene of random points around a centre, without triangles.
Scene cloud(std::mt19937 &random, const QVector3D &center, const QVector3D &halfSize)
{
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    Scene scene;
    for (int i = 0; i < 200; ++i) {
        const QVector3D point = center + halfSize * QVector3D(unit(random), unit(random), unit(random));
        scene.vertices.push_back({{point.x(), point.y(), point.z()}, {}, {}, {}, {}});
        scene.bounds.add(point);
    }
    scene.meshes.push_back({0, 0, 0, quint32(scene.vertices.size()), 0, scene.bounds});
    scene.draws.emplace_back();
    return scene;
}

TEST(ZelviewCamera, FramesAnySceneTightlyFromAnySide)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> turn(-180.0f, 180.0f);
    std::uniform_real_distribution<float> rise(-89.0f, 89.0f);
    for (int i = 0; i < 200; ++i) {
        const float size = std::pow(10.0f, float(i % 7) - 3.0f);
        const Scene scene =
            cloud(random, QVector3D(3.0f, -2.0f, 5.0f) * size, QVector3D(1.0f, 0.2f, 4.0f) * size);
        OrbitCamera camera(turn(random), rise(random));
        camera.frame(scene, 16.0f / 9.0f);
        for (const float aspect : {16.0f / 9.0f, 0.4f}) {
            camera.refit(scene, aspect);
            const Reach reach = reachInView(scene, camera, aspect);
            EXPECT_NEAR(std::max(reach.across, reach.along), 0.9f, 0.002f);
            EXPECT_TRUE(reach.isWithinDepth);
        }
        camera.zoom(-1.0f); // now the user has moved the view
        camera.refit(scene, 0.4f);
        EXPECT_LT(reachInView(scene, camera, 0.4f).across, 0.88f);
    }
}

TEST(ZelviewCamera, SurvivesScenesWithoutExtent)
{
    std::mt19937 random(1);
    for (const QVector3D &center : {QVector3D(), QVector3D(1000.0f, 0.0f, 0.0f)}) {
        const Scene scene = cloud(random, center, QVector3D());
        OrbitCamera camera(35.0f, 22.0f);
        camera.frame(scene, 1.0f);
        const QMatrix4x4 matrix = camera.projection(1.0f) * camera.view();
        for (int i = 0; i < 16; ++i) {
            EXPECT_TRUE(std::isfinite(matrix.constData()[i]));
        }
        EXPECT_TRUE(reachInView(scene, camera, 1.0f).isWithinDepth);
    }
}

TEST(ZelviewCamera, PanMovesTheTargetWithThePointerAndOrbitKeepsItsDistance)
{
    std::mt19937 random(1);
    const Scene scene = cloud(random, {}, {1.0f, 1.0f, 1.0f});
    OrbitCamera camera(20.0f, 30.0f);
    camera.frame(scene, 1.0f);
    const QVector4D before = camera.view() * QVector4D(0.0f, 0.0f, 0.0f, 1.0f);
    camera.pan({0.25f, 0.1f});
    const QVector4D after = camera.view() * QVector4D(0.0f, 0.0f, 0.0f, 1.0f);
    EXPECT_GT(after.x(), before.x());
    EXPECT_LT(after.y(), before.y());
    EXPECT_NEAR(after.z(), before.z(), 1e-4f);
    camera.orbit({0.3f, 5.0f}); // beyond the pole, where the camera stops
    EXPECT_TRUE(std::isfinite(camera.view().determinant()));
    EXPECT_NEAR(camera.view().determinant(), 1.0, 1e-3);
}

TEST(ZelviewLoader, KeepsTheNodeHierarchyAndSharesMeshes)
{
    // One square, drawn by two nodes; the parent of the second mirrors and moves it. A third node is hidden.
    const ModelFiles files;
    const Expected<Scene> scene = loadModel(files.writeSquares(
        "nodes.gltf",
        R"([{"mesh":0},{"name":"mirror","translation":[10,0,0],"scale":[-1,1,1],"children":[2]},
            {"mesh":0,"translation":[2,0,0],"scale":[1,3,1]},
            {"extensions":{"KHR_node_visibility":{"visible":false}},"children":[4]},{"mesh":0,"translation":[99,0,0]}])",
        "[{}]"));
    ASSERT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
    ASSERT_EQ(scene->draws.size(), 3u);
    EXPECT_EQ(scene->vertices.size(), 4u);
    EXPECT_EQ(scene->bounds.low, QVector3D(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(scene->bounds.high, QVector3D(8.0f, 3.0f, 0.0f)); // without what is hidden
    const Node &placed = scene->nodes[size_t(scene->draws[1].node)];
    EXPECT_EQ(scene->nodes[size_t(placed.parent)].name, "mirror");
    EXPECT_EQ(scene->worldTransform(scene->draws[1].node), scene->draws[1].transform);
    EXPECT_TRUE(scene->draws[2].isHidden);
    for (const Vertex &vertex : scene->vertices) {
        EXPECT_NEAR(std::abs(vertex.normal[2]), 1.0f, 1e-5f); // generated
    }
}

TEST(ZelviewLoader, KeepsLightsAndTheMapsOfGltf)
{
    const ModelFiles files;
    files.write("map.png", QByteArray());
    const Expected<Scene> scene = loadModel(files.writeSquares(
        "lamp.gltf",
        R"([{"mesh":0},{"translation":[0,5,0],"extensions":{"KHR_lights_punctual":{"light":0}}}])",
        R"([{"normalTexture":{"index":0,"scale":0.5},"occlusionTexture":{"index":0,"texCoord":1,"strength":0.25},
             "emissiveTexture":{"index":0},"emissiveFactor":[1,0.5,0],
             "pbrMetallicRoughness":{"metallicRoughnessTexture":{"index":0},"roughnessFactor":0.75}}])",
        R"("extensionsUsed":["KHR_lights_punctual"],"textures":[{"source":0}],"images":[{"uri":"map.png"}],
           "extensions":{"KHR_lights_punctual":{"lights":[{"type":"spot","color":[1,0.5,0],"intensity":20,"range":7,
           "spot":{"innerConeAngle":0.2,"outerConeAngle":0.5}}]}})"));
    ASSERT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
    ASSERT_EQ(scene->lights.size(), 1u);
    const SceneLight &light = scene->lights.front();
    EXPECT_EQ(light.type, SceneLight::eSpot);
    EXPECT_EQ(light.color, QVector3D(1.0f, 0.5f, 0.0f));
    EXPECT_EQ(light.intensity, 20.0f);
    EXPECT_EQ(light.range, 7.0f);
    EXPECT_NEAR(light.innerCone, 11.459f, 1e-3f); // degrees from the axis
    EXPECT_NEAR(light.outerCone, 28.648f, 1e-3f);
    const QMatrix4x4 world = scene->worldTransform(light.node) * light.local;
    EXPECT_EQ(world.map(QVector3D()), QVector3D(0.0f, 5.0f, 0.0f));

    // sRGB colours are decoded, numbers are not: two textures from one image.
    const Material &material = scene->materials.front();
    ASSERT_EQ(scene->textures.size(), 2u);
    EXPECT_FALSE(material.has(eBaseColorMap));
    EXPECT_TRUE(scene->textures[size_t(material.maps[eEmissiveMap].texture)].isColor);
    for (const MapKind kind : {eSurfaceMap, eNormalMap, eOcclusionMap}) {
        ASSERT_TRUE(material.has(kind));
        EXPECT_FALSE(scene->textures[size_t(material.maps[kind].texture)].isColor);
        EXPECT_EQ(material.maps[kind].set, kind == eOcclusionMap ? 1 : 0);
    }
    EXPECT_EQ(material.texCoords, (std::array<TexCoords, 2>{{{0}, {1}}}));
    EXPECT_EQ(material.normalScale, 0.5f);
    EXPECT_EQ(material.occlusionStrength, 0.25f);
    EXPECT_EQ(material.roughness, 0.75f);
    EXPECT_EQ(material.emission, QVector3D(1.0f, 0.5f, 0.0f));
    EXPECT_FALSE(material.isTwoSided);
}

TEST(ZelviewLoader, ReadsVerticesAndMaterialsAsEachFormatMeansThem)
{
    const ModelFiles files;
    files.write("map.png", QByteArray());
    const struct
    {
        QString path;
        bool (*isRight)(const Vertex &, const Material &);
    } kFiles[] = {
        {files.write("projected.nff", "f 1 1 1 1 1 8 0 1 map.png\ns 0 0 0 1\n"),
         [](const Vertex &v, const Material &) {
             return std::abs(std::cos(v.texCoord[1] * float(M_PI)) - v.position[2]) < 0.01f;
         }},
        // Scale, rotation and offset from the upper left corner of the image, for the colour and for the normal map.
        {files.writeSquares("moved.gltf", R"([{"mesh":0}])", R"([{"normalTexture":{"index":0,
             "extensions":{"KHR_texture_transform":{"offset":[0.5,0.125]}}},"pbrMetallicRoughness":{"baseColorTexture":
             {"index":0,"extensions":{"KHR_texture_transform":{"offset":[0.25,-0.5],"rotation":0.7,"scale":[2,0.5]}}}}}])",
                            R"("textures":[{"source":0}],"images":[{"uri":"map.png"}],
                               "extensionsUsed":["KHR_texture_transform"])"),
         [](const Vertex &v, const Material &) {
             const float x = v.position[0];
             const float y = 1.0f - v.position[1];
             const float u = 0.25f + 2.0f * std::cos(0.7f) * x + 0.5f * std::sin(0.7f) * y;
             const float w = 1.5f + 2.0f * std::sin(0.7f) * x - 0.5f * std::cos(0.7f) * y;
             return std::abs(u - v.texCoord[0]) < 1e-5f && std::abs(w - v.texCoord[1]) < 1e-5f
                    && v.texCoord2 == std::array<float, 2>{x + 0.5f, 0.875f - y};
         }},
        {files.write("texturedEmission.ac",
                     "AC3Db\nMATERIAL \"\" rgb 1 1 1 amb 0 0 0 emis 1 1 1 spec 0 0 0 shi 0 trans 0\n"
                     "OBJECT world\nkids 1\nOBJECT poly\ntexture \"map.png\"\nnumvert 3\n0 0 0\n1 0 0\n"
                     "0 1 0\nnumsurf 1\nSURF 0x20\nmat 0\nrefs 3\n0 0 0\n1 1 0\n2 0 1\nkids 0\n"),
         [](const Vertex &, const Material &m) { return m.has(eEmissiveMap); }},
    };
    for (const auto &file : kFiles) {
        const Expected<Scene> scene = loadModel(file.path);
        ASSERT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
        for (const Vertex &vertex : scene->vertices) {
            EXPECT_TRUE(file.isRight(vertex, scene->materials[0])) << file.path.toStdString();
        }
    }
}

TEST(ZelviewLoader, SplitsPolygonsLeavesOutLinesAndDecodesColours)
{
    const ModelFiles files;
    files.write("m.mtl", "newmtl m\nKd 0.5 0 1\nd 0.25\n");
    const Expected<Scene> scene =
        loadModel(files.write("house.obj", "mtllib m.mtl\nusemtl m\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 1 3 0\n"
                                           "v 0 2 0\nf 1 2 3 4 5\nl 1 3\n"));
    ASSERT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
    ASSERT_EQ(scene->draws.size(), 1u);
    EXPECT_EQ(scene->placedTriangles(), 3);
    EXPECT_EQ(scene->remarks, QStringList("not shown: 1 line"));
    const Mesh &mesh = scene->meshes[size_t(scene->draws[0].mesh)];
    const Material &material = scene->materials[size_t(mesh.material)];
    EXPECT_NEAR(material.baseColor.x(), 0.2140f, 1e-3f);
    EXPECT_EQ(material.baseColor.z(), 1.0f);
    EXPECT_EQ(material.baseColor.w(), 0.25f);
    EXPECT_TRUE(material.isBlended);
}

TEST(ZelviewLoader, ReportsWhatIsNotShownInOneLine)
{
    const ModelFiles files;
    const QString model =
        files.writeGltf("all.gltf", R"([{"mesh":0,"skin":0}])",
                        QByteArray(R"("extensionsUsed":["EXT_none","KHR_materials_clearcoat"],
            "materials":[{"extensions":{"KHR_materials_clearcoat":{"clearcoatFactor":1}}}],"meshes":[{"primitives":[
            {"attributes":{"POSITION":0,"JOINTS_0":2,"WEIGHTS_0":3},"material":0,"targets":[{"POSITION":0}]}]}],
            "skins":[{"joints":[0],"inverseBindMatrices":4}],"animations":[{"samplers":[{"input":1,"output":0}],
            "channels":[{"sampler":0,"target":{"node":0,"path":"scale"}}]}],"accessors":[@5126,"type":"VEC3"},
            @5126,"type":"SCALAR"},@5121,"type":"VEC4"},@5126,"type":"VEC4"},@5126,"type":"MAT4"}])")
                            .replace("@", R"({"bufferView":0,"count":3,"componentType":)"),
                        {files.bytesOf<float>({0, 0, 0, 1, 0, 0, 1, 1, 0}) + QByteArray(160, '\0')});
    EXPECT_EQ(loadModel(model)->remarks,
              QStringList("not shown: 1 animation, skinning of 1 mesh, morph targets of 1 mesh, clear coat "
                          "of 1 material, the extension EXT_none"));
    const QByteArray triangle = "usemtl m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    EXPECT_EQ(loadModel(files.write("a.obj", "mtllib none.mtl\n" + triangle))->remarks,
              QStringList("file 'none.mtl' is missing; its contents are left out"));
    files.write("clear.mtl", "newmtl m\nd 0\n");
    const Expected<Scene> clear = loadModel(files.write("b.obj", "mtllib clear.mtl\n" + triangle));
    EXPECT_EQ(clear->remarks, QStringList("all materials are fully transparent and are drawn opaque"));
    EXPECT_FALSE(clear->materials.front().isBlended);
}

TEST(ZelviewLoader, EveryTruncatedModelIsRefusedOrLoaded)
{
    const ModelFiles files;
    const QString wall = files.writeWall("wall.obj", 2, 2);
    const QByteArray whole = files.read("wall.obj");
    int loaded = 0;
    for (int length = 0; length <= whole.size(); length += 3) {
        loaded += loadModel(files.write("cut.obj", whole.left(length))) ? 1 : 0;
    }
    EXPECT_GT(loaded, 0);
}

TEST(ZelviewOptions, AcceptsEveryOptionOfTheHelp)
{
    const struct
    {
        QStringList arguments;
        bool (*isTaken)(const Options &);
    } rows[] = {
        {{"a.glb", "--offscreen", "a.png"}, [](const Options &o) { return o.picture == "a.png"; }},
        {{"a.glb", "--size", "640x480"}, [](const Options &o) { return o.size == QSize(640, 480); }},
        {{"a.glb", "--samples", "2"}, [](const Options &o) { return o.samples == 2; }},
        {{"a.glb", "--aa", "smaa"}, // replaces multisampling
         [](const Options &o) { return o.edgeFilter == EdgeFilter::eSmaa && o.samples == 1; }},
        {{"a.glb", "--aa", "fxaa", "--samples", "4"},
         [](const Options &o) { return o.edgeFilter == EdgeFilter::eFxaa && o.samples == 4; }},
        {{"a.glb", "--exposure", "1.5"}, [](const Options &o) { return o.exposure == 1.5f; }},
        {{"a.glb", "--view", "-30,10.5"},
         [](const Options &o) { return o.azimuth == -30.0f && o.elevation == 10.5f; }},
        {{"a.glb", "--camera", "left"}, [](const Options &o) { return o.camera == "left"; }},
        {{"a.glb", "--offscreen", "a.png", "--pick", "9,8"},
         [](const Options &o) { return o.pick == QPoint(9, 8); }},
        {{"a.glb", "--lights", "file"}, [](const Options &o) { return o.lights == LightRig::eFile; }},
        {{"a.glb", "--csm", "2"}, [](const Options &o) { return o.cascades == 2; }},
        {{"a.glb", "--variance"}, [](const Options &o) { return o.shadowKind == ShadowKind::eVariance; }},
        {{"a.glb", "--ground"}, [](const Options &o) { return o.hasGround; }},
        {{"a.glb", "--env", "sky.hdr"}, [](const Options &o) { return o.environment == "sky.hdr"; }},
        {{"a.glb", "--env", "sky.hdr", "--env-layout", "cross"},
         [](const Options &o) { return o.environmentLayout == EnvironmentLayout::eCross; }},
        {{"a.glb", "--env", "sky.hdr", "--env-rotation", "-90"},
         [](const Options &o) { return o.environmentRotation == -90.0f; }},
        {{"a.glb", "--env", "sky.hdr", "--env-blur", "0.25"},
         [](const Options &o) { return o.environmentBlur == 0.25f; }},
        {{"a.glb", "--manager", "array-bindless"},
         [](const Options &o) { return o.manager == ManagerKind::eArrayBindless; }},
        {{"a.glb", "--mechanism", "texbuffer"},
         [](const Options &o) { return o.mechanism == MechanismKind::eBufferTexture; }},
        {{"a.glb", "--block-limit", "1024"}, [](const Options &o) { return o.blockLimit == 1024; }},
        {{"a.glb", "--draw-id", "base-instance"},
         [](const Options &o) { return o.drawIDPath == DrawIDPath::eBaseInstance; }},
        {{"--print-plan"}, [](const Options &o) { return o.printsPlan && o.file.isEmpty(); }},
        {{"a.ktx", "--level", "3"},
         [](const Options &o) { return o.level == 3 && o.imageOption == "level"; }},
        {{"a.ktx", "--face", "4"}, [](const Options &o) { return o.face == 4; }},
        {{"--udim", "t.<UDIM>.png"},
         [](const Options &o) { return o.isUdim && o.file == "t.<UDIM>.png" && !o.manager; }},
        {{"a.glb", "--stats"}, [](const Options &o) { return o.printsStatistics; }},
        {{"--stress", "9"},
         [](const Options &o) { return o.stressBodies == 9 && o.lights == LightRig::eNone; }},
        {{"--stress", "9", "--offscreen", "a.png", "--frames", "5"},
         [](const Options &o) { return o.frames == 5; }},
        {{"a.glb", "--verbose"}, [](const Options &o) { return o.verbose && o.file == "a.glb"; }},
        {{"--version"}, [](const Options &o) { return o.printedText.startsWith("zelview "); }},
    };
    static int argc = 1;
    static char name[] = "zelview";
    static char *argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv);
    QString help = parseOptions({"zelview", "--help"})->printedText;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        const Expected<Options> options = parseOptions(QStringList{"zelview"} + row.arguments);
        ASSERT_TRUE(bool(options)) << qPrintable(options.problem().text);
        EXPECT_TRUE(row.isTaken(*options));
        for (const QString &argument : row.arguments.filter(QRegularExpression("^--"))) {
            help.remove(QRegularExpression("^  " + argument + "(?= )", QRegularExpression::MultilineOption));
        }
    }
    EXPECT_FALSE(help.contains("\n  --")) << qPrintable(help); // an option without a row
}

} // namespace
