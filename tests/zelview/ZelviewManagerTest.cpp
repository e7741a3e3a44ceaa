#include "ZelviewRun.h"

#include <gtest/gtest.h>

namespace {

QByteArray plainTile(const QColor &color)
{
    QImage image(16, 16, QImage::Format_RGB32);
    image.fill(color);
    return pngOf(image);
}

/// So fine that high mip levels are drawn, whose texels still differ.
QByteArray fineGrain()
{
    QImage image(1024, 1024, QImage::Format_RGB32);
    quint32 state = 1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            state = state * 1664525u + 1013904223u;
            const int shade = (x / 16 + y / 16) % 2 == 0 ? 30 : 190;
            image.setPixelColor(x, y, QColor(shade, int(state >> 26) + 60, 255 - shade));
        }
    }
    return pngOf(image);
}

class ZelviewManagerTest : public ZelviewPictureTest
{
protected:
    /// Writes red, green and blue tiles 1001, 1002 and 1011; there is no 1012.
    void writeTiles()
    {
        _files.write("t.1001.png", plainTile(QColor(200, 0, 0)));
        _files.write("t.1002.png", plainTile(QColor(0, 200, 0)));
        _files.write("t.1011.png", plainTile(QColor(0, 0, 200)));
    }

    /// Writes two squares with different textures side by side, over two units of texture coordinates, and above them a red
    /// one without texture.
    QString writeModel(const char *map)
    {
        _files.write("four.png", fourColours());
        _files.write("plain.png", plainTile(QColor(90, 160, 40)));
        _files.write("m.mtl", QByteArray("newmtl a\nKd 1 1 1\nmap_Kd ") + map
                                  + "\nnewmtl b\nKd 1 1 1\nmap_Kd plain.png\n"
                                    "newmtl c\nKd 0.8 0.1 0.1\n");
        return _files.write(
            "m.obj", "mtllib m.mtl\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\nv 4 0 0\nv 4 2 0\nv 4 3 0\nv 0 3 0\n"
                     "vt 0 0\nvt 2 0\nvt 2 2\nvt 0 2\n"
                     "usemtl a\nf 1/1 2/2 3/3 4/4\nusemtl b\nf 2/1 5/2 6/3 3/4\nusemtl c\nf 4 6 7 8\n");
    }

    const QStringList _front{"--view", "0,0", "--size", "100x100"};
};

TEST_F(ZelviewManagerTest, ThePictureIsTheSameWithEverySupportedManager)
{
    _files.write("fine.png", fineGrain());
    const QStringList common = _front + QStringList{writeModel("fine.png")};
    const QImage plain = picture(common);
    EXPECT_TRUE(holds(_last.output, "textures by sampler"));
    for (const QString manager : {"sampler", "array", "array-bindless", "bindless"}) {
        SCOPED_TRACE(manager.toStdString());
        const QString target = _files.path("other.png");
        const Ending ending = runZelview(common + QStringList{"--manager", manager, "--offscreen", target});
        if (manager.contains("bindless") && ending.code == 4) {
            EXPECT_EQ(ending.errors, QString("zelview: the driver has no bindless textures, which the "
                                             "manager '%1' needs\n")
                                         .arg(manager));
            continue;
        }
        EXPECT_EQ(ending.errors, QString());
        EXPECT_TRUE(holds(ending.output, QString("textures by %1\n").arg(manager)));
        EXPECT_LE(difference(plain, QImage(target)), 2);
    }
}

TEST_F(ZelviewManagerTest, TilesAreAPlaneWithAHoleWhereOneIsMissing)
{
    writeTiles();
    _files.write("notes 2024.txt", "neither a tile nor an image");
    for (const char *name : {"", "t.<UDIM>.png", "t.1001.png"}) {
        const QImage image = picture(_front + QStringList{"--udim", _files.path(QLatin1String(name))});
        EXPECT_EQ(quarters(image), (std::vector<int>{2, -1, 0, 1})) << name;
    }
    const QString target = _files.path("first.png");
    const Ending ending = runZelview(
        _front
        + QStringList{"--udim", _files.path("t.<UDIM>.png"), "--manager", "sampler", "--offscreen", target});
    EXPECT_EQ(ending.errors, "zelview: texture 't.<UDIM>.png' has tiles; the manager "
                             "'sampler' shows only the first\n");
    EXPECT_EQ(quarters(QImage(target)), (std::vector<int>{0, 0, 0, 0}));
}

TEST_F(ZelviewManagerTest, ReportsTexturesThatItScalesIntoSlots)
{
    int tile = 1001;
    for (const int width : {16384, 48, 16, 32, 64, 128, 256, 512, 1024}) {
        QImage(width, 1, QImage::Format_RGB32).save(_files.path(QString("t.%1.png").arg(tile++)));
    }
    const QStringList lines =
        runZelview({"--udim", _files.path(QString()), "--offscreen", _files.path("out.png")}).errorLines();
    ASSERT_EQ(lines.size(), 2) << qPrintable(lines.join('\n'));
    EXPECT_TRUE(holds(lines[0], "1 texture is scaled down to the largest slot of the manager 'array', "));
    EXPECT_TRUE(holds(lines[1], "the manager 'array' has too few slots and scales textures: "));
}

TEST_F(ZelviewManagerTest, TexturesOfModelsMayBeTiles)
{
    writeTiles();
    for (const char *name : {"t.<UDIM>.png", "t.1001.png"}) {
        const QImage image = picture(_front + QStringList{writeModel(name)});
        EXPECT_TRUE(holds(_last.output, "textures by array\n"));
        // The first square is the left half of the picture without the margins, below a strip.
        EXPECT_EQ(leadingChannel(image.pixelColor(15, 75)), 0) << name;
        EXPECT_EQ(leadingChannel(image.pixelColor(40, 75)), 1) << name;
        EXPECT_EQ(leadingChannel(image.pixelColor(15, 50)), 2) << name;
    }
}

TEST_F(ZelviewManagerTest, WrongManagersAndTilesPrintOneLineAndSetTheExitCode)
{
    writeTiles();
    const QString model = writeModel("four.png");
    QDir(_files.path(QString())).mkdir("empty");
    QDir(_files.path(QString())).mkdir("two");
    _files.write("two/a.1001.png", plainTile(Qt::red));
    _files.write("two/b.1001.png", plainTile(Qt::red));
    const std::vector<Refusal> refusals = {
        {{model, "--manager", "fast"},
         1,
         "--manager takes 'sampler', 'array', 'array-bindless' or 'bindless'"},
        {{_files.path("t.1001.png"), "--manager", "array"}, 1, "--manager applies to models"},
        {{model, "--udim", _files.path(QString())}, 1, "--udim and FILE exclude each other"},
        {{"--udim", _files.path("two")}, 1, "holds several sets of tiles; name one, such as"},
        {{"--udim", _files.path("empty")}, 2, "has no tiles"},
        {{"--udim", _files.path("none.<UDIM>.png")}, 2, "has no tiles"},
    };
    expectRefusals(refusals, {"--offscreen", _files.path("out.png")});
}

} // namespace
