#include "ModelFiles.h"

#include "ModelLoader.h"
#include "Options.h"
#include "OrbitCamera.h"
#include "Scene.h"

#include "../support/Print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace zelview;

namespace {

/// The greatest coordinate, up, down or sideways, at which the scene's vertices appear; 1 is the viewport's edge.
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

/// Random points about a center, as a scene without triangles.
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
        const float aspect = i % 2 == 0 ? 16.0f / 9.0f : 0.5f;
        OrbitCamera camera(turn(random), rise(random));
        camera.frame(scene, aspect);
        const Reach reach = reachInView(scene, camera, aspect);
        EXPECT_NEAR(std::max(reach.across, reach.along), 0.9f, 0.002f);
        EXPECT_TRUE(reach.isWithinDepth);
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
    camera.orbit({0.3f, 5.0f}); // past the pole, where it stops
    EXPECT_TRUE(std::isfinite(camera.view().determinant()));
    EXPECT_NEAR(camera.view().determinant(), 1.0, 1e-3);
}

TEST(ZelviewLoader, AppliesTheNodeHierarchyAndSharesMeshes)
{
    // One triangle, drawn by two nodes; the second hangs below a node that mirrors and moves.
    const QByteArray text = R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0,1]}],
        "nodes":[{"mesh":0},{"translation":[10,0,0],"scale":[-1,1,1],"children":[2]},
                 {"mesh":0,"translation":[2,0,0],"scale":[1,3,1]}],
        "meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]}],
        "bufferViews":[{"buffer":0,"byteLength":36}],
        "buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,@"}]})";
    const float corners[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const QByteArray bytes = QByteArray(reinterpret_cast<const char *>(corners), sizeof(corners)).toBase64();
    const ModelFiles files;
    const Expected<Scene> scene =
        loadModel(files.write(QStringLiteral("nodes.gltf"), QByteArray(text).replace("@", bytes)));
    ASSERT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
    ASSERT_EQ(scene->draws.size(), 2u);
    EXPECT_EQ(scene->vertices.size(), 3u);
    EXPECT_EQ(scene->placedTriangles(), 2);
    EXPECT_EQ(scene->bounds.low, QVector3D(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(scene->bounds.high, QVector3D(8.0f, 3.0f, 0.0f));
    for (const Vertex &vertex : scene->vertices) {
        EXPECT_NEAR(std::abs(vertex.normal[2]), 1.0f, 1e-5f); // generated
    }
}

TEST(ZelviewLoader, CutsPolygonsLeavesOutLinesAndMakesScreenColoursLinear)
{
    const ModelFiles files;
    files.write(QStringLiteral("m.mtl"), "newmtl m\nKd 0.5 0 1\nd 0.25\n");
    const Expected<Scene> scene = loadModel(files.write(
        QStringLiteral("house.obj"), "mtllib m.mtl\nusemtl m\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 1 3 0\n"
                                     "v 0 2 0\nf 1 2 3 4 5\nl 1 3\n"));
    ASSERT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
    ASSERT_EQ(scene->draws.size(), 1u);
    EXPECT_EQ(scene->placedTriangles(), 3);
    const Mesh &mesh = scene->meshes[size_t(scene->draws[0].mesh)];
    const Material &material = scene->materials[size_t(mesh.material)];
    EXPECT_NEAR(material.baseColor.x(), 0.2140f, 1e-3f);
    EXPECT_EQ(material.baseColor.z(), 1.0f);
    EXPECT_EQ(material.baseColor.w(), 0.25f);
    EXPECT_TRUE(material.isBlended);
}

TEST(ZelviewLoader, EveryCutOfARealFormIsRefusedOrLoadedNeverACrash)
{
    const ModelFiles files;
    const QString wall = files.writeWall(QStringLiteral("wall.obj"), 2, 2);
    const QByteArray whole = files.read(QStringLiteral("wall.obj"));
    int loaded = 0;
    for (int length = 0; length <= whole.size(); length += 3) {
        loaded += loadModel(files.write(QStringLiteral("cut.obj"), whole.left(length))) ? 1 : 0;
    }
    EXPECT_GT(loaded, 0);
}

TEST(ZelviewOptions, TakesEveryOptionOfTheHelp)
{
    const Expected<Options> options =
        parseOptions({"zelview",       "a.glb",          "--offscreen", "a.png",
                      "--size",        "640x480",        "--samples",   "2",
                      "--view",        "-30,10.5",       "--draw-id",   "base-instance",
                      "--block-limit", "1024",           "--manager",   "array-bindless",
                      "--verbose",     "--env",          "sky.hdr",     "--env-layout",
                      "cross",         "--env-rotation", "-90",         "--env-blur",
                      "0.25",          "--exposure",     "1.5",         "--aa",
                      "smaa",          "--mechanism",    "texbuffer"});
    ASSERT_TRUE(bool(options)) << qPrintable(options.problem().text);
    EXPECT_EQ(options->file, QStringLiteral("a.glb"));
    EXPECT_EQ(options->picture, QStringLiteral("a.png"));
    EXPECT_EQ(options->size, QSize(640, 480));
    EXPECT_EQ(options->samples, 2);
    EXPECT_EQ(options->azimuth, -30.0f);
    EXPECT_EQ(options->elevation, 10.5f);
    EXPECT_EQ(options->drawIDPath, DrawIDPath::eBaseInstance);
    EXPECT_EQ(options->blockLimit, 1024);
    EXPECT_TRUE(options->manager == ManagerKind::eArrayBindless);
    EXPECT_EQ(options->environment, QStringLiteral("sky.hdr"));
    EXPECT_TRUE(options->environmentLayout == EnvironmentLayout::eCross);
    EXPECT_EQ(options->environmentRotation, -90.0f);
    EXPECT_EQ(options->environmentBlur, 0.25f);
    EXPECT_EQ(options->exposure, 1.5f);
    EXPECT_TRUE(options->edgeFilter == EdgeFilter::eSmaa);
    EXPECT_TRUE(options->mechanism == MechanismKind::eBufferTexture);
    EXPECT_FALSE(options->isUdim);
    EXPECT_TRUE(options->verbose);
    EXPECT_TRUE(options->answer.isEmpty());
    const Expected<Options> filtered = parseOptions({"zelview", "a.glb", "--aa", "fxaa"});
    EXPECT_EQ(filtered->samples, 1); // a filter takes the place of samples
    const Expected<Options> tiles = parseOptions({"zelview", "--udim", "t.<UDIM>.png"});
    ASSERT_TRUE(bool(tiles)) << qPrintable(tiles.problem().text);
    EXPECT_TRUE(tiles->isUdim);
    EXPECT_EQ(tiles->file, QStringLiteral("t.<UDIM>.png"));
    EXPECT_FALSE(tiles->manager.has_value());
}

} // namespace
