// Pictures that zelview writes of models and images, and what it prints about them.

#include "Zelview.h"

#include "../support/FileMaker.h"

namespace {

const QStringList kFront{"--view", "0,0", "--size", "40x40"};

/// A material that emits one colour, for every light.
QByteArray glowing(const char *color, const char *more = "")
{
    return QByteArray(R"({"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,1]},"emissiveFactor":)") + color
           + more + "}";
}

QByteArray glowingInThreeColours()
{
    return "[" + glowing("[1,0,0]") + "," + glowing("[0,1,0]") + "," + glowing("[0,0,1]");
}

TEST_F(ZelviewTest, APictureShowsTheWholeModelUprightInItsColoursBeforeAGreyBackdrop)
{
    const QString wall = writeWall("wall.obj", 4, 2);
    write("picture.png", "old");
    const QImage image = picture({wall, "--view", "0,0", "--size", "160x90"});
    EXPECT_EQ(image.size(), QSize(160, 90));
    EXPECT_EQ(names(), (QStringList{".", "..", "picture.png", "wall.mtl", "wall.obj"}));
    EXPECT_EQ(mosaic(image, 4, 2), "gbrg/rgbr");
    const QColor corner = image.pixelColor(2, 87);
    EXPECT_EQ(leadingChannel(corner), '.');
    EXPECT_TRUE(corner.lightness() > 5 && corner.lightness() < 200) << corner.lightness();
    EXPECT_NE(line("picture   " + path("picture.png") + ", 160x90, \\d samples?$"), "")
        << qPrintable(_last.output);
    EXPECT_NE(line("driver .*OpenGL"), "");
    EXPECT_EQ(line("model"),
              "model     8 meshes, 16 triangles, 3 materials, 0 textures; placed: 8 meshes, 16 triangles");
    EXPECT_NE(line("draws     8 calls, 8 batches, 48 indices"), "");
}

TEST_F(ZelviewTest, ThePictureIsTheSameWithEveryMechanismManagerAndSplit)
{
    // Objects of a material with maps of each kind, one of them mirrored, glass before them, and more than a collection holds.
    QByteArray nodes;
    for (int i = 0; i < 300; ++i) {
        nodes += QString(R"(,{"mesh":0,"translation":[%1,%2,0],"scale":[0.1,0.1,1]})")
                     .arg(0.1 * (i % 20))
                     .arg(2 + 0.1 * (i / 20))
                     .toUtf8();
    }
    const QString model = writeSquares(
        "m.gltf",
        R"([{"mesh":0},{"mesh":0,"translation":[2,0,0],"scale":[-1,2,1]},{"mesh":0,"translation":[0,1,0]},
            {"mesh":0,"translation":[2,0,0]},{"mesh":0,"translation":[2,1,0]},{"mesh":1,"translation":[0.2,0.2,0.1]})"
            + nodes + "]",
        R"([{"doubleSided":true,"normalTexture":{"index":0},"occlusionTexture":{"index":0},
             "emissiveTexture":{"index":0},"emissiveFactor":[0.3,0.3,0.3],
             "pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicRoughnessTexture":{"index":0}}},
            {"alphaMode":"BLEND","doubleSided":true,"pbrMetallicRoughness":{"baseColorFactor":[1,0.2,0.2,0.5]}}])",
        withTexture(fourColours()));
    const QStringList common{model, "--size", "60x60", "--samples", "1", "--csm", "1"};
    const QImage plain = picture(common);
    EXPECT_NE(line("draws .* 306 objects by ubo in 3 collections of at most \\d+; textures by sampler"), "")
        << qPrintable(_last.output);
    const bool hasLaterEntries = !isForOpenGL32() && !qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS");
    // Options, whether each driver supports them, and words of the report.
    for (const auto &[options, isSupported, words] :
         {std::tuple("--mechanism=uniform", true, "by uniform in .*"),
          {"--mechanism=texbuffer", true, "by texbuffer in .*"},
          {"--mechanism=texture --manager=array", true, "by texture in .* textures by array"},
          {"--manager=array-bindless", false, "textures by array-bindless"},
          {"--manager=bindless", false, "textures by bindless"},
          {"--packed", true, "packed, 306 drawables, .* by sampler"},
          {"--mechanism=ssbo", hasLaterEntries, "by ssbo in .*"}}) {
        SCOPED_TRACE(options);
        const QStringList all = common + QString(options).split(' ');
        if (isSupported || run(all + QStringList{"--offscreen", path("try.png")}).code == 0) {
            EXPECT_LE(difference(plain, picture(all)), 2);
            EXPECT_NE(line(QString("draws .*%1$").arg(words)), "") << qPrintable(_last.output);
        } else {
            EXPECT_EQ(_last.code, 4);
            EXPECT_TRUE(holds(_last.errors, "zelview: the driver "));
        }
    }
}

TEST_F(ZelviewTest, MirroredNodesShowTheirFrontHiddenNodesAndBacksNothing)
{
    const QString model = writeSquares(
        "m.gltf", R"([{"mesh":0},{"scale":[-1,1,1],"children":[2]},{"mesh":1,"translation":[-2,0,0]},
            {"mesh":2,"translation":[3,0,0],"rotation":[0,1,0,0]},{"mesh":3,"translation":[4,0,0],"rotation":[0,1,0,0]},
            {"extensions":{"KHR_node_visibility":{"visible":false}},"children":[6]},{"mesh":0,"translation":[9,0,0]}])",
        glowingInThreeColours() + "," + glowing("[0,0,1]", R"(,"doubleSided":true)") + "]",
        R"("extensionsUsed":["KHR_node_visibility"])");
    expectMosaic("rg.b", kFront + QStringList{model});
    expectMosaic("rg.b", kFront + QStringList{model, "--packed"});
}

TEST_F(ZelviewTest, CamerasOfTheFileShowWhatTheyLookAt)
{
    const QString model = writeSquares(
        "m.gltf", R"([{"mesh":0},{"mesh":1,"translation":[5,0,0]},
            {"name":"left","camera":0,"translation":[0.5,0.5,2],"scale":[3,3,3]},
            {"name":"right","camera":1,"translation":[5.5,0.5,300]}])",
        glowingInThreeColours() + "]",
        R"("cameras":[{"type":"perspective","perspective":{"yfov":0.9,"znear":0.1,"aspectRatio":2}},
                      {"type":"orthographic","orthographic":{"xmag":1,"ymag":1,"znear":0.1,"zfar":400}}])");
    // Each square is half as high as the view.
    expectMosaic("..../.rr./.rr./....", {model, "--camera", "left", "--size", "80x80"});
    expectMosaic("..../.gg./.gg./....", {model, "--camera", "1", "--size", "80x80"});
    EXPECT_EQ(line("camera"), "camera    'right', number 1");
}

TEST_F(ZelviewTest, PickingPrintsTheFrontmostMaterialForNumbersOfAnySize)
{
    // More materials than a stencil can count; the last one is glass in front of the objects of the first two.
    QStringList nodes, materials;
    for (int i = 0; i < 299; ++i) {
        nodes += QString(R"({"mesh":%1,"translation":[%2,%3,0]})").arg(i).arg(i % 20).arg(i / 20);
        materials += QString(R"({"name":"m%1","emissiveFactor":[0,0,%2]})").arg(i).arg(i / 299.0);
    }
    nodes += R"({"mesh":299,"translation":[0,0,1],"scale":[2,1,1]})";
    materials += R"({"name":"m299","alphaMode":"BLEND"})";
    const QString wall = writeSquares("m.gltf", "[" + nodes.join(',').toUtf8() + "]",
                                      "[" + materials.join(',').toUtf8() + "]");
    for (const auto &[pixel, result, option] :
         {std::tuple("105,75", "material 'm150', number \\d+, at 10\\.\\d+ 7\\.\\d+ ", "--aa=none"),
          {"176,13", "material 'm298', number ", "--packed"},
          {"15,136", "material 'm299', number .* 1$", "--aa=none"}}) { // the plane of the glass
        picture({wall, "--view", "0,0", "--size", "200x150", "--lights", "none", "--pick", pixel, option});
        EXPECT_NE(line(QString("pick      %1: %2").arg(pixel, result)), "") << qPrintable(_last.output);
    }
}

TEST_F(ZelviewTest, StatisticsCountWhatAFrameConsistsOf)
{
    picture({writeWall("wall.obj", 4, 3), "--stats", "--size", "64x36", "--samples", "1"});
    EXPECT_EQ(line("scene"), "scene     3 drawables, 12 commands drawn, 0 culled; 24 triangles");
    EXPECT_NE(line("memory .* KB on the GPU, without textures$"), "");
    EXPECT_NE(line("calls     \\d\\d+ GL calls, \\d\\d+ state changes, \\d+ of them redundant$"), "");
}

TEST_F(ZelviewTest, SurfacesAreShadedByTheirDirectionByOcclusionAndThroughGlass)
{
    // The corner of a white cube, seen from outside: three squares that face different directions and share vertices.
    const QString corner = write("corner.off", "OFF\n7 3 0\n1 0 0\n1 1 0\n0 1 0\n0 0 1\n1 0 1\n1 1 1\n0 1 1\n"
                                               "4 3 4 5 6\n4 4 0 1 5\n4 6 5 1 2\n");
    QImage image = picture({corner, "--view", "45,35.26", "--size", "100x100"});
    const auto at = [&](int x, int y) { return image.pixelColor(x, y).lightness(); };
    const int right = at(67, 60);
    EXPECT_GT(std::min({std::abs(at(32, 60) - right), std::abs(at(32, 60) - at(50, 30)),
                        std::abs(right - at(50, 30))}),
              15);
    EXPECT_NEAR(right, at(55, 50), 10); // uniform up to the corner

    // A slab across the right edge of the picture darkens the floor beside it, and not that at the left edge.
    image = picture(
        {writeSquares(
             "slab.gltf",
             R"([{"mesh":0,"scale":[20,20,1],"translation":[-10,-10,0]},{"camera":0,"translation":[0,0,4]},
                 {"mesh":0,"scale":[3,20,1],"rotation":[0,-0.70710678,0,0.70710678],"translation":[1.5,-10,0]}])",
             R"([{"doubleSided":true}])",
             R"("cameras":[{"type":"perspective","perspective":{"yfov":0.8,"znear":0.1}}])"),
         "--camera", "0", "--size", "100x100", "--lights", "none"});
    EXPECT_NEAR(at(1, 50), at(25, 50), 3);
    EXPECT_LT(at(85, 50), at(25, 50) - 10);

    // The glass is first in the file, covers the left half, and is nearer to the eye.
    write("glass.mtl", "newmtl red\nKd 0.9 0 0\nnewmtl glass\nKd 0 0 0.9\nd 0.3\n");
    image = picture(kFront
                    + QStringList{write("glass.obj", "mtllib glass.mtl\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\n"
                                                     "v 0 0 0.1\nv 1 0 0.1\nv 1 2 0.1\nv 0 2 0.1\n"
                                                     "usemtl glass\nf 5 6 7 8\nusemtl red\nf 1 2 3 4\n")});
    const QColor through = image.pixelColor(12, 20);
    const QColor plain = image.pixelColor(28, 20);
    EXPECT_TRUE(plain.blue() < 60 && through.blue() > plain.blue() + 60 && through.red() > 120);
}

TEST_F(ZelviewTest, TexturesAreUprightAndWhiteIfTheyCannotBeRead)
{
    write("four.png", fourColours());
    write("broken.png", "no picture");
    const QString model = write("m.obj", "mtllib m.mtl\nusemtl m\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n"
                                         "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nf 1/1 2/2 3/3 4/4\n");
    for (const auto &[map, colours, remark] :
         {std::tuple("four.png", "rg/b.", ""),
          {"C:\\models\\four.png", "rg/b.", ""},
          {"fou%72.png", "rg/b.", ""}, // escaped as in glTF
          {"none.png", "../..", "zelview: texture 'none.png' is missing and is drawn white\n"},
          {"broken.png", "../..", "zelview: texture 'broken.png' cannot be read and is drawn white\n"}}) {
        write("m.mtl", QByteArray("newmtl m\nKd 1 1 1\nmap_Kd ") + map);
        expectMosaic(colours, kFront + QStringList{model}, remark);
    }
    expectMosaic("rg/b.", kFront
                              + QStringList{writeSquares(
                                  "m.gltf", R"([{"mesh":0}])",
                                  "[" + glowing("[1,1,1]", R"(,"emissiveTexture":{"index":0})") + "]",
                                  withTexture(fourColours()))});
}

TEST_F(ZelviewTest, TilesAreAPlaneWithAHoleOrTheTextureOfAModel)
{
    write("t.1001.png", plainPng({200, 0, 0}));
    write("t.1002.png", plainPng({0, 200, 0}));
    write("t.1011.png", plainPng({0, 0, 200}));
    for (const char *name : {"", "t.<UDIM>.png"}) {
        expectMosaic("b./rg", kFront + QStringList{"--udim", path(name)});
    }
    expectMosaic("rr/rr", kFront + QStringList{"--udim", path("t.<UDIM>.png"), "--manager", "sampler"},
                 "zelview: texture 't.<UDIM>.png' has tiles; the manager 'sampler' shows only the first\n");

    // A square with tiles over two units of texture coordinates, and two with other textures.
    write("plain.png", plainPng(Qt::red));
    const QString model = write(
        "m.obj",
        "mtllib m.mtl\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\nv 4 0 0\nv 4 2 0\nvt 0 0\nvt 2 0\nvt 2 2\nvt 0 2\n"
        "usemtl a\nf 1/1 2/2 3/3 4/4\nusemtl b\nf 2/1 5/2 6/3 3/4\n");
    write("m.mtl", "newmtl a\nKd 1 1 1\nmap_Kd t.1001.png\nnewmtl b\nKd 1 1 1\nmap_Kd plain.png\n");
    const QImage image = picture(kFront + QStringList{model});
    EXPECT_TRUE(holds(_last.output, "textures by array\n"));
    EXPECT_EQ(mosaic(image, 4, 2).left(2) + mosaic(image, 4, 2).mid(5), "b.rgrr");
}

TEST_F(ZelviewTest, TheDriverReportsNoFaultsOfAFrame)
{
    run({writeWall("wall.obj", 3, 3), "--verbose", "--lights", "rig", "--variance", "--ground", "--aa",
         "smaa", "--size", "64x64", "--offscreen", path("out.png")});
    EXPECT_EQ(_last.code, 0);
    EXPECT_TRUE(holds(_last.errors, "Creating token"));
    EXPECT_TRUE(holds(line("shadows"), "3 lights"));
    EXPECT_FALSE(_last.errors.contains("OpenGL message")) << qPrintable(_last.errors);
    EXPECT_FALSE(_last.errors.contains("[ !! ]")) << qPrintable(_last.errors);
}

KtxFile rgbFile(quint32 size)
{
    return KtxFile::of(size, size, 0, 0x8051, GL_RGB); // GL_RGB8
}

TEST_F(ZelviewTest, AnImageOfTheSizeOfThePictureComesOutExactlyAndTransparentPartsShowACheckerboard)
{
    QImage noise(61, 37, QImage::Format_RGB32);
    for (int i = 0; i < noise.width() * noise.height(); ++i) {
        noise.setPixelColor(i % 61, i / 61, QColor(i * 7 % 256, i * 13 % 256, i * 29 % 256));
    }
    EXPECT_EQ(difference(picture({write("noise.png", pngOf(noise)), "--size", "61x37"}), noise), 0);
    EXPECT_TRUE(line("image").startsWith("image     2D, 61x37, 5 levels, GL_RGBA"))
        << qPrintable(_last.output);

    const QImage image = picture({write("glass.png", plainPng({255, 0, 0, 0}, 32, 32)), "--size", "32x32"});
    EXPECT_EQ(image.pixelColor(4, 4).red(), image.pixelColor(4, 4).blue());
    EXPECT_GT(std::abs(image.pixelColor(4, 4).red() - image.pixelColor(12, 4).red()), 20);
}

TEST_F(ZelviewTest, KtxImagesShowTheirLevelsAndFacesUprightByTheirMetadata)
{
    KtxFile file = rgbFile(4);
    file.mipmapLevels = 2;
    const QByteArray red("\xc8\0\0", 3);
    file.levels = {{48, fourColourTexels(4)},
                   {16, (red.repeated(2) + QByteArray(2, '\0')).repeated(2)}}; // rows of 6 bytes, padded to 8
    for (const auto &[metadata, level, colours] :
         {std::tuple("S=r,T=d", "0", "rg/b."), {"S=r,T=u", "0", "b./rg"}, {"S=r,T=u", "1", "rr/rr"}}) {
        file.keyValues = KtxFile::paddedEntry("KTXorientation", QByteArray(metadata, 8));
        expectMosaic(colours, {write("four.ktx", file.bytes()), "--size", "40x40", "--level", level});
    }
    EXPECT_EQ(line("metadata"), "metadata  KTXorientation");

    KtxFile cube = rgbFile(4);
    cube.faces = 6;
    cube.levels.append({48, red.repeated(16) + QByteArray("\0\xc8\0", 3).repeated(16)
                                + QByteArray("\0\0\xc8", 3).repeated(16) + QByteArray(48, '\xff')
                                + fourColourTexels(4) + red.repeated(16)});
    write("cube.ktx", cube.bytes());
    expectMosaic("rrggbb..rgrr/rrggbb..b.rr", {path("cube.ktx"), "--size", "240x40"});
    EXPECT_TRUE(line("image").startsWith("image     cube map, 4x4, 1 level, GL_RGB8"));
    expectMosaic("rg/b.", {path("cube.ktx"), "--face", "4", "--size", "40x40"});
}

TEST_F(ZelviewTest, ExposureBrightensLightAndHighlightsKeepTheirShape)
{
    HdrFile file(4, 2);
    file.scanlines = HdrFile::flat(HdrFile::Row(4, HdrFile::Texel{64, 64, 64, 128}))       // 0.25
                     + HdrFile::flat(HdrFile::Row(4, HdrFile::Texel{128, 128, 128, 131})); // 4
    const QString light = write("light.hdr", file.bytes());
    for (const auto &[exposure, expected] : {std::pair("0", 137), {"1", 188}}) { // sRGB of 0.25 and 0.5
        const QImage image = picture({light, "--exposure", exposure, "--size", "40x20"});
        EXPECT_NEAR(image.pixelColor(20, 5).red(), expected, 1);
        EXPECT_GT(image.pixelColor(20, 15).red(), expected);
    }
}

} // namespace
