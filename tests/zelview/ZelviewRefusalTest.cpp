// What zelview refuses, without a picture.

#include "Zelview.h"

#include "../support/FileMaker.h"
#include "../support/Sanitizer.h"

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
    const QString tile = write("t%2.1001.png", fourColours()); // no place marker
    write("t%2.1002.png", fourColours());
    write("tiled.mtl", "newmtl m\nmap_Kd t%2.1001.png\n");
    const QString tiled =
        write("tiled.obj", "mtllib tiled.mtl\nusemtl m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const QString target = write("out.png", "old");
    expectRefusals({
        {{}, 1, "no FILE is given"},
        {{_wall, "--colour"}, 1, "Unknown option 'colour' (see"},
        {{_wall, "--offscreen", "out.JPG"}, 1, "--offscreen writes PNG"},
        {{_wall, "--pick", "0,0"}, 1, "--pick needs --offscreen"},
        {{_wall, "--offscreen", _wall}, 1, "the picture would overwrite a file that it shows"},
        {{"--udim", path(), "--offscreen", tile}, 1, "the picture would overwrite a file that it shows"},
        {{tiled, "--offscreen", tile}, 1, "the picture would overwrite a file that it shows"},
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
    const QByteArray exr("v/1\1\2\0\0\0", 8);
    HdrFile wide(100000, 1);
    wide.scanlines = HdrFile::flat(HdrFile::Row(100000, HdrFile::Texel{64, 64, 64, 128}));
    QDir(path()).mkdir("sets");
    write("sets/a.1001.png", plainPng(Qt::red));
    write("sets/b.1001.png", plainPng(Qt::red));
    expectRefusals(
        {
            {{path("none.glb")}, 2, "there is no file"},
            {{path()}, 2, "is a folder, not a file"},
            {{write("sky.exr", exr)}, 3, "is an OpenEXR image, which only --env reads"},
            {{"--udim", path("sets")}, 1, "holds several sets of tiles; name one, such as"},
            {{write("notes.txt", "Dear diary,\n")}, 3, "it is neither a model nor an image of a known"},
            {{write("torn.glb", torn)}, 3, "it is neither"},
            {{write("b.gltf", R"({"extensionsRequired":["E"],)" + gltf2)}, 3, "the extension E,"},
            {{write("c.gltf", R"({"skins":[{}],)" + gltf2)}, 3, "skins without inverse bind matrices"},
            {{write("cut.ply", "ply\nformat ascii 1.0\nelement vertex 3\n")}, 3, "its header has no end"},
            {{write("points.obj", "v 0 0 0\nv 1 0 0\np 1 2\nl 1 2\n")}, 3, "holds no triangles"},
            {{writeSquares("dot.gltf", R"([{"mesh":0,"scale":[0,0,0]}])", "[{}]")}, 3, "has no extent"},
            {{write("far.obj", "v 0 0 0\nv 1e30 0 0\nv 0 1 0\nf 1 2 3\n")}, 3, "not finite or out of range"},
            {{rgbe}, 3, "it is a Radiance image that begins with '#?RGBE', not with '#?RADIANCE'"},
            {{write("cut.png", fourColours().left(40))}, 3, "cut.png' cannot be shown: "},
            {{write("cut.ktx", KtxFile().bytes().left(40))}, 3, "cannot be shown: it is damaged, or uses"},
            {{write("wide.hdr", wide.bytes())},
             3,
             "wide.hdr' cannot be shown: its size, 100000x1 texels, exceeds"},
            {{_wall, "--env", write("cut.exr", exr)}, 3, "cut.exr' cannot be read: "},
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

} // namespace
