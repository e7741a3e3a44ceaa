#include "ZelviewRun.h"

#include <gtest/gtest.h>

#include <QtCore/QRegularExpression>

namespace {

/// A material that emits one colour, for every light.
QByteArray glowing(const char *name, const char *color, const char *more = "")
{
    return QByteArray(R"({"name":")") + name + R"(","emissiveFactor":)" + color
           + R"(,"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,1]})" + more + "}";
}

const QByteArray kRed = "[1,0,0]";
const QByteArray kGreen = "[0,1,0]";
const QByteArray kBlue = "[0,0,1]";

class ZelviewSceneTest : public ZelviewPictureTest
{
protected:
    /// The dominant channels of a row of squares from x = 0 to \a columns.
    std::vector<int> row(const QStringList &arguments, int columns)
    {
        const QImage image = picture(_front + arguments);
        std::vector<int> channels;
        for (int i = 0; i < columns; ++i) {
            const double x = 0.5 * image.width() + (i + 0.5 - 0.5 * columns) * 0.9 * image.width() / columns;
            channels.push_back(leadingChannel(image.pixelColor(int(x), image.height() / 2)));
        }
        return channels;
    }

    const QStringList _front{"--view", "0,0", "--size", "160x40", "--samples", "1"};
};

TEST_F(ZelviewSceneTest, ThePictureIsTheSameWithEveryMechanismManagerAndSplit)
{
    // Maps of each kind, a second object with the first material, and glass before both.
    const QString model = _files.writeSquares(
        "m.gltf",
        R"([{"mesh":0},{"mesh":0,"translation":[1,0,0],"scale":[-1,2,1]},{"mesh":1,"translation":[0.2,0.2,0.1]}])",
        R"([{"doubleSided":true,"normalTexture":{"index":0},"occlusionTexture":{"index":0},
             "emissiveTexture":{"index":0},"emissiveFactor":[0.3,0.3,0.3],
             "pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicRoughnessTexture":{"index":0}}},
            {"alphaMode":"BLEND","doubleSided":true,"pbrMetallicRoughness":{"baseColorFactor":[1,0.2,0.2,0.5]}}])",
        R"("textures":[{"source":0}],"images":[{"uri":"data:image/png;base64,)" + fourColours().toBase64()
            + R"("}])");
    const QStringList common{model, "--size", "100x100", "--samples", "1"};
    const QImage plain = picture(common);
    EXPECT_TRUE(_last.output.contains("3 objects by ubo in 2 collections of at most 2;"))
        << qPrintable(_last.output);
    for (const char *mechanism : {"ubo", "uniform", "texbuffer", "texture", "ssbo"}) {
        if (isForOpenGL32() && mechanism == QByteArray("ssbo")) {
            GTEST_SKIP() << "Needs GL_ARB_shader_storage_buffer_object";
        }
        for (const char *manager : {"sampler", "array"}) {
            SCOPED_TRACE(std::string(mechanism) + " " + manager);
            const QImage other = picture(
                common + QStringList{"--mechanism", mechanism, "--manager", manager, "--block-limit", "256"});
            EXPECT_TRUE(_last.output.contains(
                QString("3 objects by %1 in 3 collections of at most 1;").arg(mechanism)))
                << qPrintable(_last.output);
            EXPECT_LE(difference(plain, other), 1);
        }
    }
}

TEST_F(ZelviewSceneTest, MirroredNodesShowTheirFrontHiddenNodesAndBacksNothing)
{
    const QByteArray materials = "[" + glowing("r", kRed) + "," + glowing("g", kGreen) + ","
                                 + glowing("b", kBlue) + "," + glowing("two", kBlue, R"(,"doubleSided":true)")
                                 + "]";
    const QString model = _files.writeSquares("m.gltf",
                                              R"([{"mesh":0},
            {"scale":[-1,1,1],"children":[2]},{"mesh":1,"translation":[-2,0,0]},
            {"mesh":2,"translation":[3,0,0],"rotation":[0,1,0,0]},
            {"mesh":3,"translation":[4,0,0],"rotation":[0,1,0,0]},
            {"extensions":{"KHR_node_visibility":{"visible":false}},"children":[6]},{"mesh":0,"translation":[9,0,0]}])",
                                              materials, R"("extensionsUsed":["KHR_node_visibility"])");
    EXPECT_EQ(row({model}, 4), (std::vector<int>{0, 1, -1, 2}));
    if (!qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS") && !isForOpenGL32()) {
        EXPECT_EQ(row({model, "--draw-id", "base-instance"}, 4), (std::vector<int>{0, 1, -1, 2}));
    }
}

TEST_F(ZelviewSceneTest, CamerasOfTheFileShowWhatTheyLookAt)
{
    const QString model = _files.writeSquares(
        "m.gltf",
        R"([{"mesh":0},{"mesh":1,"translation":[5,0,0]},
            {"name":"left","camera":0,"translation":[0.5,0.5,2],"scale":[3,3,3]},
            {"name":"right","camera":1,"translation":[5.5,0.5,300]}])",
        "[" + glowing("r", kRed) + "," + glowing("g", kGreen) + "]",
        R"("cameras":[{"type":"perspective","perspective":{"yfov":0.9,"znear":0.1,"aspectRatio":2}},
                      {"type":"orthographic","orthographic":{"xmag":1,"ymag":1,"znear":0.1,"zfar":400}}])");
    const auto channels = [&](const char *camera) {
        const QImage image = picture({model, "--camera", camera, "--size", "100x100", "--samples", "1"});
        // The centre, and both sides of the upper edge of the square, which is half as high as the view.
        return std::vector<int>{leadingChannel(image.pixelColor(50, 50)),
                                leadingChannel(image.pixelColor(50, 30)),
                                leadingChannel(image.pixelColor(50, 20))};
    };
    EXPECT_EQ(channels("left"), (std::vector<int>{0, 0, -1})); // 1 of 2 * 2 * tan(0.45)
    EXPECT_EQ(channels("1"), (std::vector<int>{1, 1, -1}));    // 1 of 2
    EXPECT_EQ(line("camera"), "camera    'right', number 1");
    const Ending ending = runZelview({model, "--camera", "up", "--offscreen", _files.path("no.png")});
    EXPECT_EQ(ending.code, 1);
    EXPECT_EQ(ending.errors,
              QString("zelview: there is no camera 'up': '%1' has 'left', 'right'\n").arg(model));
}

TEST_F(ZelviewSceneTest, PickingPrintsTheFrontmostMaterialForNumbersOfAnySize)
{
    // More materials than a stencil can count; the last one is glass in front of the objects of the first two.
    QStringList nodes, materials;
    for (int i = 0; i < 299; ++i) {
        nodes += QString(R"({"mesh":%1,"translation":[%2,%3,0]})").arg(i).arg(i % 20).arg(i / 20);
        materials += QString(R"({"name":"m%1","emissiveFactor":[0,0,%2]})").arg(i).arg(i / 299.0);
    }
    nodes += R"({"mesh":299,"translation":[0,0,1],"scale":[2,1,1]})";
    materials += R"({"name":"m299","alphaMode":"BLEND"})";
    const QString wall = _files.writeSquares("m.gltf", "[" + nodes.join(',').toUtf8() + "]",
                                             "[" + materials.join(',').toUtf8() + "]");
    const auto pick = [&](const char *pixel) {
        picture({wall, "--view", "0,0", "--size", "200x150", "--samples", "1", "--pick", pixel});
        return line("pick");
    };
    EXPECT_EQ(pick("1,1"), "pick      1,1: nothing");
    EXPECT_TRUE(pick("105,75").contains(": material 'm150', number ")) << qPrintable(line("pick"));
    EXPECT_TRUE(pick("176,13").contains(": material 'm298', number ")) << qPrintable(line("pick"));
    EXPECT_TRUE(pick("15,136").contains(": material 'm299', number ")) << qPrintable(line("pick"));
    EXPECT_TRUE(line("pick").endsWith(" 1")) << qPrintable(line("pick")); // the plane of the glass
}

TEST_F(ZelviewSceneTest, ThePlansArePrintedForAModelOrAtFullCapacity)
{
    const QString wall = _files.writeWall("wall.obj", 4, 3);
    const Ending fitting = runZelview({wall, "--print-plan"});
    EXPECT_EQ(fitting.code, 0);
    EXPECT_EQ(fitting.errors, QString());
    for (const char *words :
         {"plan      Object by ubo: 256 bytes an item, 4 items of at most ",
          "member    ModelMatrix at 0, 64 bytes", "#define OBJECT_ARRAY_SIZE 4\n", "  Object Objects[4];\n",
          "plan      Material by ubo: 112 bytes an item, 1 item of at most ",
          "vec4 getBaseColor(uint Index) { return Materials[ Index].BaseColor; }\n"}) {
        EXPECT_TRUE(fitting.output.contains(QLatin1String(words))) << words;
    }
    const Ending whole = runZelview({"--print-plan", "--mechanism", "texture", "--block-limit", "2560"});
    EXPECT_EQ(whole.code, 0);
    EXPECT_TRUE(whole.output.startsWith("plan      Object by texture: 256 bytes an item, 10 items"))
        << qPrintable(whole.output);
    EXPECT_TRUE(whole.output.contains("uniform sampler2D u_fObjectSampler;\n"));
}

TEST_F(ZelviewSceneTest, StatisticsCountTheFramesOfAFlight)
{
    const QStringList common{"--size", "64x36", "--samples", "1"};
    picture(common + QStringList{_files.writeWall("wall.obj", 4, 3), "--stats"});
    EXPECT_EQ(line("scene"), "scene     3 drawables, 12 commands drawn, 0 culled; 24 triangles");
    EXPECT_TRUE(line("memory").endsWith(" KB on the GPU, without textures")) << qPrintable(line("memory"));
    const QRegularExpression calls(
        "^calls     (\\d+) GL calls, (\\d+) state changes, (\\d+) of them redundant$");
    const auto counts = calls.match(line("calls"));
    ASSERT_TRUE(counts.hasMatch()) << qPrintable(line("calls"));
    EXPECT_GE(counts.captured(1).toInt(), 12 + counts.captured(2).toInt());
    EXPECT_GT(counts.captured(2).toInt(), counts.captured(3).toInt());

    picture(common + QStringList{"--stress", "200", "--frames", "3"});
    const auto scene = QRegularExpression("^scene     200 drawables, (\\d+) commands drawn, (\\d+) culled; ")
                           .match(line("scene"));
    ASSERT_TRUE(scene.hasMatch()) << qPrintable(line("scene"));
    EXPECT_EQ(scene.captured(1).toInt() + scene.captured(2).toInt(), 200);
    EXPECT_TRUE(line("frame").endsWith("; mean of 3 frames")) << qPrintable(line("frame"));
}

} // namespace
