#include "ZelviewRun.h"

#include "../support/Sanitizer.h"

#include <gtest/gtest.h>

namespace {

class ZelviewTest : public ZelviewPictureTest
{
protected:
    /// Counts squares of a wall, seen from the front, that have the wrong colour.
    int wrongSquares(const QImage &image, int columns, int rows)
    {
        // Framing leaves a margin of a tenth in the tight direction, from which the size of a square follows.
        const double unit = std::min(0.9 * image.width() / columns, 0.9 * image.height() / rows);
        int wrong = 0;
        for (int i = 0; i < columns * rows; ++i) {
            const double x = 0.5 * image.width() + (i % columns + 0.5 - 0.5 * columns) * unit;
            const double y = 0.5 * image.height() - (i / columns + 0.5 - 0.5 * rows) * unit;
            wrong += leadingChannel(image.pixelColor(int(x), int(y))) == i % 3 ? 0 : 1;
        }
        return wrong;
    }
};

const QStringList kFront{"--view", "0,0"};

TEST_F(ZelviewTest, WrongCallsAndFilesPrintOneLineSetTheExitCodeAndWriteNoPicture)
{
    const QString wall = _files.writeWall("wall.obj", 1, 1);
    const QString text = _files.write("text.obj", "To be, or not to be.\n");
    const QString unknown = _files.write("notes.txt", "Dear diary,\n");
    const QByteArray gltf2 = R"("asset":{"version":"2.0"},"scene":"the first"})";
    const QString rgbe = _files.write("old.hdr", "#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n\1\1\1\1");
    const QString endless = _files.write("endless.obj", "v 0 0 0\nv 1e30 0 0\nv 0 1e30 0\nf 1 2 3\n");
    const QString boast = _files.write("boast.off", "OFF\n353535235358 6 0\n0 0 0\n1 0 0\n3 0 0 1\n");
    const QString torn = _files.write("torn.glb", QByteArray("glTF\2\0\0\0\xff\xff\xff\x7f\1\0\0\0JSON", 20));
    const QString tile = _files.write("t.1001.png", fourColours());
    _files.write("t.1002.png", fourColours());
    const QString folder = _files.path(QString());
    const QString target = _files.path("out.png");
    expectRefusals({
        {{}, 1, "no FILE is given"},
        {{wall, wall}, 1, "zelview shows one FILE at a time, not 2: '" + wall + "', '" + wall + "'"},
        {{wall, "--colour"}, 1, "Unknown option 'colour' (see"},
        {{wall, "--offscreen"}, 1, "Missing value after '--offscreen'"},
        {{wall, "--offscreen", ""}, 1, "--offscreen takes the name of a file"},
        {{wall, "--offscreen", "out.JPG"}, 1, "--offscreen writes PNG"},
        {{wall, "--lights", "none", "--variance"}, 1, "--variance needs --lights other than 'none'"},
        {{wall, "--stress", "9"}, 1, "--stress and FILE exclude each other"},
        {{"--stress", "0"}, 1, "--stress takes a number from 1"},
        {{wall, "--frames", "9"}, 1, "--frames needs --stress and --offscreen"},
        {{wall, "--pick", "0,0"}, 1, "--pick needs --offscreen"},
        {{wall, "--offscreen", wall}, 1, "the picture would overwrite a file that it shows"},
        {{wall, "--env", text, "--offscreen", text}, 1, "the picture would overwrite a file that it shows"},
        {{"--udim", folder, "--offscreen", tile}, 1, "the picture would overwrite a file that it shows"},
        {{tile, "--print-plan"}, 1, "--print-plan applies to models; '" + tile + "' is an image"},
        {{wall, "--offscreen", _files.path("none/out.png")}, 2, "there is no folder"},
        {{wall, "--offscreen", folder}, 2, "it is not a plain file"},
        {{wall, "--offscreen", "/dev/null"}, 2, "it is not a plain file"},
    });
    expectRefusals(
        {
            {{wall, "--size", "0x20"}, 1, "--size takes WxH"},
            {{wall, "--size", "20"}, 1, "--size takes WxH"},
            {{wall, "--size", "100000x100000"}, 1, "--size 100000x100000 is too large"},
            {{wall, "--size", "16000x16000"}, 1, "--size 16000x16000 is too large"},
            {{wall, "--samples", "many"}, 1, "--samples takes a number"},
            {{wall, "--view", "nan,0"}, 1, "--view takes AZIMUTH,ELEVATION"},
            {{wall, "--view", "1,2,3"}, 1, "--view takes AZIMUTH,ELEVATION"},
            {{wall, "--draw-id", "fast"}, 1, "--draw-id takes"},
            {{wall, "--lights", "moon"}, 1, "--lights takes 'none', 'sun', 'rig' or 'file', not 'moon'"},
            {{wall, "--lights", "file"}, 1, "wall.obj' has no lights"},
            {{wall, "--csm", "9"}, 1, "--csm takes a number from 1 to 8, not '9'"},
            {{wall, "--mechanism", "fast"}, 1, "--mechanism takes 'ubo', 'uniform', "},
            {{wall, "--camera", "0"}, 1, "there is no camera '0': "},
            {{wall, "--camera", "0", "--view", "0,0"}, 1, "exclude each other"},
            {{wall, "--pick", "1280,0"}, 1, "--pick takes X,Y inside"},
            {{"--stress", "9", "--camera", "0"}, 1, "'0': the scene of --stress has none"},
            {{"--stress", "9", "--level", "0"},
             1,
             "--level applies to images; the scene of --stress is a model"},
            {{_files.path("none.glb")}, 2, "there is no file"},
            {{folder}, 2, "is not a readable file"},
            {{text}, 3, "text.obj' holds no triangles"},
            {{unknown}, 3, "notes.txt' cannot be understood: it is neither a model nor an image of a known"},
            {{_files.write("empty.glb", "")}, 3, "empty.glb' cannot be understood: it is empty"},
            {{torn}, 3, "torn.glb' cannot be understood: it is neither"},
            {{_files.write("a.gltf", "{" + gltf2)}, 3, "damaged, or uses a feature of its format that"},
            {{_files.write("b.gltf", R"({"extensionsRequired":["E"],)" + gltf2)}, 3, "the extension E,"},
            {{_files.write("c.gltf", R"({"skins":[{}],)" + gltf2)}, 3, "skins without inverse bind matrices"},
            {{_files.write("v1.glb", "glTF\1" + QByteArray(20, '\0'))}, 3, "it is glTF 1, and zelview reads"},
            {{rgbe}, 3, "it is a Radiance image that begins with '#?RGBE', not with '#?RADIANCE'"},
            {{wall, "--env", rgbe}, 3, "cannot be read: it is a Radiance image that begins with '#?RGBE'"},
            {{_files.write("points.obj", "v 0 0 0\nv 1 0 0\np 1 2\nl 1 2\n")}, 3, "holds no triangles"},
            {{endless}, 3, "not finite or out of range"},
        },
        {"--offscreen", target});
    if (!ZELGL_ADDRESS_SANITIZER) { // which ends the process if memory runs out
        expectRefusals({{{boast, "--offscreen", target}, 3, "boast.off' needs too much memory for a file"}});
    }
}

TEST_F(ZelviewTest, WithoutADisplayOneLineSaysSo)
{
    const QString wall = _files.writeWall("wall.obj", 1, 1);
    const QString target = _files.path("out.png");
    for (const char *display : {"", ":4711"}) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", QLatin1String(display));
        environment.remove("XDG_RUNTIME_DIR"); // Qt would log about it, too
        for (const QStringList &arguments : {QStringList{wall, "--offscreen", target}, QStringList{wall}}) {
            const Ending ending = runZelview(arguments, environment);
            EXPECT_EQ(ending.code, 4);
            EXPECT_EQ(ending.errors,
                      "zelview: no display to draw on (is DISPLAY set and its server running?)\n");
        }
    }
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(ZelviewTest, HelpAndVersionGoToStandardOutputAndNeedNoDisplay)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DISPLAY");
    const Ending help = runZelview({"--help"}, environment);
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(holds(help.output, "FILE"));
    EXPECT_TRUE(holds(help.output, "--offscreen <file>"));
    const Ending version = runZelview({"--version"}, environment);
    EXPECT_EQ(version.output, "zelview 1.0.0\n");
    EXPECT_EQ(help.errors + version.errors, QString());
}

TEST_F(ZelviewTest, APictureShowsTheModelInItsColoursUprightAndWhole)
{
    const QString wall = _files.writeWall("wall.obj", 4, 2);
    const QImage image = picture(kFront + QStringList{wall, "--size", "640x360"});
    ASSERT_EQ(image.size(), QSize(640, 360));
    EXPECT_EQ(wrongSquares(image, 4, 2), 0);
    for (const QPoint &corner : {QPoint(2, 2), QPoint(637, 2), QPoint(2, 357), QPoint(637, 357)}) {
        const QColor color = image.pixelColor(corner);
        EXPECT_EQ(leadingChannel(color), -1);                          // the grey backdrop
        EXPECT_TRUE(color.lightness() > 5 && color.lightness() < 200); // neither black nor white
    }

    const QStringList lines = _last.output.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 6);
    EXPECT_TRUE(lines[0].contains(_files.path("picture0.png") + ", 640x360"));
    EXPECT_TRUE(lines[1].startsWith("driver    ") && lines[1].contains("OpenGL"));
    EXPECT_EQ(lines[2],
              "model     8 meshes, 16 triangles, 3 materials, 0 textures; placed: 8 meshes, 16 triangles");
    EXPECT_TRUE(lines[3].startsWith("draws     8 calls, 8 batches, 48 indices")) << qPrintable(lines[3]);
    EXPECT_TRUE(lines[4].startsWith("shadows   1 light, ")) << qPrintable(lines[4]);
    EXPECT_TRUE(lines[5].startsWith("time      load "));
}

TEST_F(ZelviewTest, BothDrawIDPathsAndSplitBlocksGiveTheSamePicture)
{
    // More squares of a colour than fit into a block of 16 KB, the least limit that GL allows.
    const QString wall = _files.writeWall("wall.obj", 20, 10);
    const QStringList common = kFront + QStringList{wall, "--size", "400x200"};
    const QImage plain = picture(common);
    EXPECT_EQ(wrongSquares(plain, 20, 10), 0);

    const QImage split = picture(common + QStringList{"--block-limit", "4800"});
    EXPECT_TRUE(_last.output.contains("200 objects by ubo in 12 collections of at most 18;"))
        << qPrintable(_last.output);
    EXPECT_EQ(difference(plain, split), 0);

    if (!qEnvironmentVariableIsSet("ZEL_NO_GL_EXTENSIONS") && !isForOpenGL32()) {
        const QImage byInstance =
            picture(common + QStringList{"--draw-id", "base-instance", "--block-limit", "4800"});
        EXPECT_TRUE(holds(_last.output, "200 calls"));
        EXPECT_EQ(difference(plain, byInstance), 0);
        return;
    }
    const Ending refused =
        runZelview({wall, "--draw-id", "base-instance", "--offscreen", _files.path("no.png")});
    EXPECT_EQ(refused.code, 4);
    EXPECT_EQ(refused.errors, "zelview: the driver cannot pass draw IDs by base instance\n");
}

TEST_F(ZelviewTest, FacesWithoutNormalsAreShadedByTheirDirection)
{
    // The corner of a white cube, seen from outside: three squares that face different directions and share vertices.
    const QString corner =
        _files.write("corner.off", "OFF\n7 3 0\n1 0 0\n1 1 0\n0 1 0\n0 0 1\n1 0 1\n1 1 1\n0 1 1\n"
                                   "4 3 4 5 6\n4 4 0 1 5\n4 6 5 1 2\n");
    const QImage image = picture({corner, "--view", "45,35.26", "--size", "200x200"});
    const auto at = [&](int x, int y) { return image.pixelColor(x, y).lightness(); };
    const int left = at(65, 120);
    const int right = at(135, 120);
    const int top = at(100, 60);
    EXPECT_GT(std::abs(left - right), 15);
    EXPECT_GT(std::abs(left - top), 15);
    EXPECT_GT(std::abs(right - top), 15);
    EXPECT_NEAR(right, at(110, 100), 10); // uniform up to the corner
}

TEST_F(ZelviewTest, CornersBetweenSurfacesDarken)
{
    const QString niche = _files.write(
        "niche.obj", "v 0 0 0\nv 4 0 0\nv 4 0 4\nv 0 0 4\nv 4 2 0\nv 0 2 0\nf 1 2 3 4\nf 1 2 5 6\n");
    const QImage image = picture({niche, "--view", "0,40", "--size", "200x200"});
    // From top to bottom at the centre of the picture: the wall, the corner, the floor.
    int darkest = 255;
    int place = 0;
    for (int y = 0; y < 200; ++y) {
        const QColor color = image.pixelColor(100, y);
        if (leadingChannel(color) == -1 && color.lightness() < darkest && y > 30 && y < 170) {
            darkest = color.lightness();
            place = y;
        }
    }
    EXPECT_LT(darkest, image.pixelColor(100, place + 30).lightness() - 10);
    EXPECT_LT(darkest, image.pixelColor(100, place - 20).lightness() - 10);
}

TEST_F(ZelviewTest, ASurfaceAtOneEdgeOfThePictureDoesNotDarkenTheOther)
{
    const QString model = _files.writeSquares(
        "slabAtTheRightEdge.gltf",
        R"([{"mesh":0,"scale":[20,20,1],"translation":[-10,-10,0]},{"camera":0,"translation":[0,0,4]},
            {"mesh":0,"scale":[3,20,1],"rotation":[0,-0.70710678,0,0.70710678],"translation":[1.5,-10,0]}])",
        R"([{"doubleSided":true}])",
        R"("cameras":[{"type":"perspective","perspective":{"yfov":0.8,"znear":0.1}}])");
    const QImage image = picture({model, "--camera", "0", "--size", "100x100", "--lights", "none"});
    EXPECT_NEAR(image.pixelColor(1, 50).lightness(), image.pixelColor(25, 50).lightness(), 3);
}

TEST_F(ZelviewTest, TransparentMaterialsShowWhatIsBehindThem)
{
    _files.write("glass.mtl", "newmtl red\nKd 0.9 0 0\nnewmtl glass\nKd 0 0 0.9\nd 0.3\n");
    // The glass is first in the file, covers the left half, and is nearer to the eye.
    const QString glass = _files.write("glass.obj", "mtllib glass.mtl\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\n"
                                                    "v 0 0 0.1\nv 1 0 0.1\nv 1 2 0.1\nv 0 2 0.1\n"
                                                    "usemtl glass\nf 5 6 7 8\nusemtl red\nf 1 2 3 4\n");
    const QImage image = picture(kFront + QStringList{glass, "--size", "200x200"});
    const QColor through = image.pixelColor(60, 100);
    const QColor plain = image.pixelColor(140, 100);
    EXPECT_LT(plain.blue(), 60);
    EXPECT_GT(through.blue(), plain.blue() + 60);
    EXPECT_GT(through.red(), 120);
}

TEST_F(ZelviewTest, ExternalTexturesWithAnySlashesAndEmbeddedOnesAreShownUpright)
{
    const QStringList view = kFront + QStringList{"--size", "100x100"};
    _files.write("four.png", fourColours());
    for (const QByteArray &name : {QByteArray("four.png"), QByteArray("C:\\models\\four.png")}) {
        _files.write("m.mtl", "newmtl m\nKd 1 1 1\nmap_Kd " + name + "\n");
        const QString model =
            _files.write("m.obj", "mtllib m.mtl\nusemtl m\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n"
                                  "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nf 1/1 2/2 3/3 4/4\n");
        EXPECT_EQ(quarters(picture(view + QStringList{model})), kFourColours);
    }
    const QString model = _files.writeSquares(
        "m.gltf", R"([{"mesh":0}])",
        R"([{"emissiveTexture":{"index":0},"emissiveFactor":[1,1,1],"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,1]}}])",
        R"("textures":[{"source":0}],"images":[{"uri":"data:image/png;base64,)" + fourColours().toBase64()
            + R"("}])");
    EXPECT_EQ(quarters(picture(view + QStringList{model})), kFourColours);
}

TEST_F(ZelviewTest, AMissingTextureIsReportedAndDrawnWhite)
{
    const QByteArray mesh = "mtllib m.mtl\nusemtl m\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";
    const QString model = _files.write("m.obj", mesh);
    const QString target = _files.path("out.png");
    _files.write("broken.png", "no picture");
    const struct
    {
        const char *file;
        const char *remark;
    } kCases[] = {{"none.png", "zelview: texture 'none.png' is missing and is drawn white\n"},
                  {"broken.png", "zelview: texture 'broken.png' cannot be read and is drawn white\n"}};
    for (const auto &wrong : kCases) {
        _files.write("m.mtl", QByteArray("newmtl m\nKd 0.9 0.1 0.1\nmap_Kd ") + wrong.file + "\n");
        const Ending ending =
            runZelview(kFront + QStringList{model, "--offscreen", target, "--size", "100x100"});
        EXPECT_EQ(ending.code, 0);
        EXPECT_EQ(ending.errors, QString::fromLatin1(wrong.remark));
        EXPECT_EQ(quarters(QImage(target)),
                  (std::vector<int>{0, 0, 0, 0})); // the colour of the material, times white
    }
}

TEST_F(ZelviewTest, AnOldPictureIsReplacedWholeOrKept)
{
    const QString wall = _files.writeWall("wall.obj", 1, 1);
    const QString text = _files.write("notes.txt", "Dear diary,\n");
    const QString target = _files.write("out.png", "old");
    EXPECT_EQ(runZelview({text, "--offscreen", target}).code, 3);
    EXPECT_EQ(_files.read("out.png"), QByteArray("old"));
    EXPECT_EQ(runZelview({wall, "--offscreen", target, "--size", "64x48"}).code, 0);
    EXPECT_EQ(QImage(target).size(), QSize(64, 48));
    EXPECT_EQ(_files.names(), (QStringList{"notes.txt", "out.png", "wall.obj", "wall.obj.mtl"}));
}

TEST_F(ZelviewTest, TheDriverReportsNoFaultsOfAFrame)
{
    const QString wall = _files.writeWall("wall.obj", 3, 3);
    const Ending ending =
        runZelview({wall, "--verbose", "--offscreen", _files.path("out.png"), "--size", "64x64"});
    EXPECT_EQ(ending.code, 0);
    EXPECT_FALSE(ending.errors.contains("OpenGL message")) << qPrintable(ending.errors);
    EXPECT_FALSE(ending.errors.contains("[ !! ]")) << qPrintable(ending.errors);
}

} // namespace
