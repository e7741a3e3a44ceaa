// What the library of the tools reads from models and environments, and what zelinfo prints about files.

#include "../support/AssetFiles.h"
#include "../support/EnvironmentPictures.h"
#include "../support/FileMaker.h"

#include "image/EnvironmentFile.h"
#include "scene/ModelLoader.h"
#include "scene/Scene.h"

#include <ZelKit/HeadlessContext.h>

#include <OpenEXR/ImfRgbaFile.h>

#include <cmath>

using namespace zeltools;

namespace {

class ModelLoaderTest : public AssetFilesTest
{
protected:
    static Scene load(const QString &file)
    {
        const Expected<Scene> scene = loadModel(file);
        EXPECT_TRUE(bool(scene)) << qPrintable(scene.problem().text);
        return scene ? *scene : Scene();
    }
};

TEST_F(ModelLoaderTest, KeepsLightsAndTheMapsOfGltf)
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

TEST_F(ModelLoaderTest, ReportsWhatIsNotShownInOneLine)
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
    const Scene clear = load(write("b.obj", "mtllib cle%61r.mtl\n" + triangle));
    EXPECT_EQ(clear.remarks, QStringList("all materials are fully transparent and are drawn opaque"));
    EXPECT_FALSE(clear.materials.front().isBlended);
}

using Painter = std::function<QVector3D(const QVector3D &)>;

/// The left edge is +x, one quarter to the right is +z.
LightImage panorama(int width, const Painter &paint)
{
    LightImage image{QSize(width, width / 2), {}};
    for (int i = 0; i < width * width / 2; ++i) {
        const double around = 2.0 * M_PI * (i % width + 0.5) / width;
        const double down = 2.0 * M_PI * (i / width + 0.5) / width;
        image.texels.push_back(
            paint(QVector3D(float(std::cos(around) * std::sin(down)), float(std::cos(down)),
                            float(std::sin(around) * std::sin(down)))));
    }
    return image;
}

/// A cube map whose rows go up, of the faces of a strip.
QByteArray ktxOf(const LightImage &strip)
{
    const int side = strip.size.height();
    KtxFile file = KtxFile::of(quint32(side), quint32(side), 0, 0x8051, GL_RGB); // GL_RGB8
    file.faces = 6;
    file.keyValues = KtxFile::paddedEntry("KTXorientation", "S=r,T=u");
    file.levels = {{quint32(3 * side * side), QByteArray()}};
    for (int i = 0; i < 6; ++i) {
        const QImage face = screenImage(strip).copy(i * side, 0, side, side).mirrored();
        file.levels[0].data.append(reinterpret_cast<const char *>(face.constBits()), 3 * side * side);
    }
    return file.bytes();
}

class EnvironmentFileTest : public AssetFilesTest
{
protected:
    QString writeExr(const char *name, const LightImage &image) const
    {
        std::vector<Imf::Rgba> texels;
        for (const QVector3D &light : image.texels) {
            texels.emplace_back(light.x(), light.y(), light.z(), 1.0f);
        }
        // Files may have a data window that does not start at the origin.
        const Imath::Box2i window({-3, 5}, {image.size.width() - 4, image.size.height() + 4});
        Imf::RgbaOutputFile file(qPrintable(path(name)), window, window, Imf::WRITE_RGBA);
        file.setFrameBuffer(texels.data() + 3 - 5 * image.size.width(), 1, size_t(image.size.width()));
        file.writePixels(image.size.height());
        return path(name);
    }
};

TEST_F(EnvironmentFileTest, EveryLayoutOfEveryFormatPutsItsLightWhereItBelongs)
{
    const auto context = Orvane::ZelKit::HeadlessContext::create();
    ASSERT_NE(context, nullptr);
    const std::pair<QString, std::optional<EnvironmentLayout>> files[] = {
        {writeExr("panorama.exr", panorama(64, labelOf)), {}},
        {writeExr("strip.exr", kStrip), EnvironmentLayout::eStrip},
        {writeExr("tall.exr", kTallCross), {}},
        {write("wide.png", pngOf(screenImage(kWideCross))), {}},
        {write("cube.ktx", ktxOf(kStrip)), {}},
    };
    for (const auto &[file, layout] : files) {
        SCOPED_TRACE(file.toStdString());
        const Expected<EnvironmentImage> environment = loadEnvironmentImage(file, layout);
        ASSERT_TRUE(bool(environment)) << qPrintable(environment.problem().text);
        const QSize size = environment->image.size;
        float sphere = 0.0f;
        for (int i = 0; i < int(environment->image.texels.size()); ++i) {
            const int x = i % size.width();
            const int y = i / size.width();
            sphere += environment->solidAngle(x, y);
            const QVector3D expected = labelOf(environment->direction(x, y));
            ASSERT_LT((environment->at(x, y) - expected).length(), 0.01f) << x << ' ' << y;
        }
        EXPECT_NEAR(sphere, 4.0f * float(M_PI), 0.02f);
    }
}

TEST_F(EnvironmentFileTest, TheStrongestLightIsRemovedWithAllItsIrradiance)
{
    const QVector3D toSun = QVector3D(0.3f, 0.6f, -0.7f).normalized();
    const QVector3D toLamp = QVector3D(-1.0f, 0.2f, 0.1f).normalized();
    const QVector3D sky(0.4f, 0.5f, 0.6f);
    EnvironmentImage environment{
        EnvironmentLayout::eLatLong, panorama(128, [&](const QVector3D &direction) {
            return sky
                   + (QVector3D::dotProduct(direction, toSun) > 0.998f) * QVector3D(900.0f, 700.0f, 500.0f)
                   + (QVector3D::dotProduct(direction, toLamp) > 0.99f) * QVector3D(20.0f, 20.0f, 20.0f);
        })};
    const auto total = [&environment] {
        QVector3D sum;
        for (int i = 0; i < 64 * 128; ++i) {
            sum += environment.at(i % 128, i / 128) * environment.solidAngle(i % 128, i / 128);
        }
        return sum;
    };
    const QVector3D before = total();
    const auto sun = environment.takeStrongestLight();
    ASSERT_TRUE(sun.has_value());
    EXPECT_GT(QVector3D::dotProduct(sun->direction, toSun), 0.999f);
    const QVector3D lost = before - total();
    EXPECT_LT((sun->irradiance - lost).length(), 0.002f * lost.length());
    EXPECT_NEAR(sun->irradiance.x(), 900.0f * 2.0f * float(M_PI) * 0.002f, 1.2f);
    EnvironmentImage even{EnvironmentLayout::eLatLong, panorama(64, [&](const QVector3D &) { return sky; })};
    EXPECT_FALSE(even.takeStrongestLight().has_value());
    EXPECT_EQ(even.at(5, 5), sky);
}

class ZelinfoTest : public AssetFilesTest
{
protected:
    const Ending &info(const QStringList &arguments) { return runProgram(ZELINFO_PROGRAM, arguments); }
};

TEST_F(ZelinfoTest, PrintsPlansAndTheFactsOfModelsTilesAndImages)
{
    const QString wall = writeWall("wall.obj", 4, 3);
    const QString tile = write("t.1001.png", plainPng(Qt::red, 8, 4));
    write("wall.mtl", bytesOf(path("wall.mtl")).replace("m2", "50%3"));
    write("wall.obj", bytesOf(wall).replace("m2", "50%3"));
    for (const auto &[arguments, words] :
         {std::pair(QStringList{wall, "--print-plan"},
                    QStringList{"plan      Object by ubo: 256 bytes an item, 4 items of at most ",
                                "member    ModelMatrix at 0, 64 bytes", "#define OBJECT_ARRAY_SIZE 4\n"}),
          {{"--print-plan", "--mechanism", "texture", "--block-limit", "2560"},
           {"plan      Object by texture: 256 bytes an item, 10 items"}},
          {{wall},
           {"model     12 meshes, 24 triangles, ", "bounds    0 0 0 to 4 3 0\n",
            "material  2 '50%3', opaque, "}},
          {{path()}, {"texture   0 't.<UDIM>.png', sRGB, 1 tile\n"}},
          {{tile}, {"image     2D, 8x4, "}}}) {
        EXPECT_EQ(info(arguments).code, 0);
        EXPECT_EQ(_last.errors, QString());
        for (const QString &text : words) {
            EXPECT_TRUE(holds(_last.output, text));
        }
    }
    EXPECT_EQ(info({tile, "--print-plan"}).code, 1);
    EXPECT_EQ(_last.errors, "zelinfo: --print-plan applies to models; '" + tile + "' is an image\n");
    EXPECT_EQ(info({wall, "--mechanism", "ssbo"}).errors,
              "zelinfo: --mechanism needs --print-plan (see zelinfo --help)\n");
    EXPECT_EQ(runProgram("sh", {"-c", ZELINFO_PROGRAM " --version >/dev/full"}).code, 2);
    EXPECT_EQ(_last.errors, "zelinfo: cannot write the output\n");
    EXPECT_EQ(info({}).errors, "zelinfo: no FILE is given (see zelinfo --help)\n");
}

} // namespace
