#include "ModelFiles.h"
#include "PictureColours.h"
#include "ShownModel.h"

#include "app/Window.h"

#include "../support/Print.h"
#include "../support/TestContext.h"

#include <QtCore/QElapsedTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>

using namespace zelview;

namespace {

/// An exhibit that shows nothing and records the calls.
class Notebook : public Exhibit
{
public:
    QStringList describe() const override { return {}; }

    Failure createGLObjects(Programs &, const Options &) override
    {
        notes.append("up");
        return failure;
    }

    void releaseGLObjects() override { notes.append("down"); }

    void frame(const QSize &viewport) override
    {
        notes.append(QString("frame %1x%2").arg(viewport.width()).arg(viewport.height()));
    }

    void refit(const QSize &) override { notes.append("refit"); }
    Failure prepareFrame(const QSize &) override { return {}; }
    void draw(const QSize &viewport) override { lastViewport = viewport; }

    QStringList describeFrame() const override { return {}; }
    QStringList describeStatistics() override { return {"1 drawable"}; }
    bool isMoving() const override { return false; }
    void setTime(float) override {}
    bool isDithered() const override { return false; }

    void drag(DragKind kind, const QVector2D &way) override
    {
        notes.append(QString("%1 %2 %3")
                         .arg(kind == eTurn ? "turn" : "move")
                         .arg(double(way.x()))
                         .arg(double(way.y())));
    }

    void zoom(float steps) override { notes.append(QString("zoom %1").arg(double(steps))); }

    QString pick(const QPoint &pixel, const QSize &viewport) override
    {
        notes.append(QString("pick %1 %2 of %3").arg(pixel.x()).arg(pixel.y()).arg(viewport.width()));
        return {};
    }

    bool key(int key) override
    {
        notes.append(QString("key %1").arg(QChar(key)));
        return true;
    }

    QStringList takeNotes()
    {
        QStringList taken;
        taken.swap(notes);
        return taken;
    }

    Failure failure;
    QStringList notes;
    QSize lastViewport;
};

/// An application whose display has two pixels per device-independent pixel.
class ZelviewWindowTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        qputenv("QT_SCALE_FACTOR", "2");
        TestContext::ensureApplication();
    }

    /// Processes events until the exhibit was drawn in this size.
    void waitForFrame(const QSize &viewport)
    {
        QElapsedTimer timer;
        timer.start();
        while (_notebook.lastViewport != viewport && timer.elapsed() < 20000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        }
        ASSERT_EQ(_notebook.lastViewport, viewport);
    }

    void press(Window &window, Qt::MouseButton button, const QPointF &from, const QPointF &to,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QMouseEvent down(QEvent::MouseButtonPress, from, button, button, modifiers);
        QCoreApplication::sendEvent(&window, &down);
        QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, button, modifiers);
        QCoreApplication::sendEvent(&window, &move);
    }

    void release(Window &window, Qt::MouseButton button, const QPointF &at)
    {
        QMouseEvent up(QEvent::MouseButtonRelease, at, button, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &up);
        QMouseEvent away(QEvent::MouseMove, at + QPointF(9, 9), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &away); // moving the pointer without a button has no effect
    }

    void type(Window &window, Qt::Key key)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }

    /// A row of squares, seen from the front.
    ShownModel shownWall(int columns, const QSize &size)
    {
        _options.file = _files.writeWall("wall.obj", columns, 1);
        _options.azimuth = _options.elevation = 0.0f;
        return {_options, size};
    }

    ModelFiles _files;
    Notebook _notebook;
    Options _options;
};

TEST_F(ZelviewWindowTest, DrawsInPixelsForwardsEventsAndReleasesTheExhibit)
{
    _options.size = QSize(200, 100);
    {
        Window window(_notebook, _options);
        window.show();
        waitForFrame(QSize(400, 200));
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"up", "frame 400x200"}));

        press(window, Qt::LeftButton, {10, 10}, {60, 35}); // in heights of the window
        release(window, Qt::LeftButton, {60, 35});         // a drag, not a click
        press(window, Qt::MiddleButton, {10, 10}, {60, 35});
        press(window, Qt::LeftButton, {10, 10}, {60, 35}, Qt::ShiftModifier);
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"turn 0.5 0.25", "move 0.5 0.25", "move 0.5 0.25"}));

        press(window, Qt::LeftButton, {10, 10}, {10, 10});
        release(window, Qt::LeftButton, {10, 10});
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"turn 0 0", "pick 20 20 of 400"}));

        QWheelEvent wheel({10, 10}, {10, 10}, {}, {0, 240}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&window, &wheel);
        type(window, Qt::Key_L);
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"zoom 2", "key L"}));

        window.resize(150, 150);
        waitForFrame(QSize(300, 300));
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"refit"}));
        _notebook.lastViewport = QSize();
        type(window, Qt::Key_Home);
        waitForFrame(QSize(300, 300));
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"frame 300x300"}));

        const QImage plain = window.grabFramebuffer();
        const auto pictureAfterF = [&] {
            _notebook.lastViewport = QSize();
            type(window, Qt::Key_F);
            waitForFrame(QSize(300, 300));
            return window.grabFramebuffer();
        };
        const QImage withStatistics =
            pictureAfterF(); // text in the corner, with lines broken at the width of the window
        EXPECT_NE(withStatistics.copy(0, 0, 150, 60), plain.copy(0, 0, 150, 60));
        EXPECT_EQ(withStatistics.copy(280, 0, 20, 300), plain.copy(280, 0, 20, 300));
        EXPECT_EQ(pictureAfterF(), plain);
        EXPECT_FALSE(window.failure());
    }
    EXPECT_EQ(_notebook.takeNotes(), (QStringList{"down"}));
}

TEST_F(ZelviewWindowTest, EndsWithTheProblemOfAnExhibitThatCannotBeCreated)
{
    _notebook.failure = Problem{ExitCode::eInput, "torn"};
    Window window(_notebook, _options);
    window.show();
    QGuiApplication::exec(); // returns when the window closes
    ASSERT_TRUE(window.failure());
    EXPECT_EQ(window.failure()->text, "torn");
    EXPECT_EQ(_notebook.lastViewport, QSize()); // nothing was drawn
}

TEST_F(ZelviewWindowTest, KeysSwitchTheTextureManagerAndShowItsSlots)
{
    ShownModel model = shownWall(2, {40, 30});
    const QImage plain = model.picture();
    EXPECT_TRUE(model.draws().endsWith("textures by sampler"));
    EXPECT_EQ(model.pictureAfter(Qt::Key_D), plain); // this manager has no debug view
    EXPECT_NE(model.pictureAfter(Qt::Key_M), plain);
    EXPECT_TRUE(model.draws().endsWith("textures by array"));
    EXPECT_EQ(model.pictureAfter(Qt::Key_D), plain);

    // Through all managers, and back to the first.
    for (int i = 0; i < 4 && !model.draws().endsWith("sampler"); ++i) {
        EXPECT_EQ(model.pictureAfter(Qt::Key_M), plain);
    }
    EXPECT_TRUE(model.draws().endsWith("textures by sampler"));
    EXPECT_FALSE(model->key(Qt::Key_Y));
}

TEST_F(ZelviewWindowTest, KeysSwitchTheMechanismAndSelectMaterials)
{
    const QSize size(40, 30);
    ShownModel model = shownWall(2, size);
    const QImage plain = model.picture();
    for (const char *mechanism : {"uniform", "texbuffer", "texture", isForOpenGL32() ? "ubo" : "ssbo"}) {
        EXPECT_EQ(model.pictureAfter(Qt::Key_I), plain);
        EXPECT_TRUE(model.draws().contains(QString(" by %1 in ").arg(QLatin1String(mechanism))));
    }

    // Red to the left, green to the right; the first row is the lowest.
    const auto sides = [](const QImage &image) {
        return QPair<int, int>(leadingChannel(image.pixelColor(10, 15)),
                               leadingChannel(image.pixelColor(30, 15)));
    };
    EXPECT_TRUE(model->pick({30, 15}, size).startsWith("pick      30,15: material 'm1'"));
    EXPECT_NE(model.picture(), plain); // the selected material is marked
    EXPECT_EQ(sides(model.pictureAfter(Qt::Key_X)), qMakePair(0, -1));
    EXPECT_EQ(model->pick({30, 15}, size), "pick      30,15: nothing");
    EXPECT_EQ(model.pictureAfter(Qt::Key_A), plain);
    EXPECT_EQ(sides(model.pictureAfter(Qt::Key_N)).second, 1);
    const QString left = model->pick({10, 15}, size);
    EXPECT_TRUE(holds(left, "'m0'"));
    EXPECT_EQ(sides(model.pictureAfter(Qt::Key_O)).second, -1);
    EXPECT_TRUE(model.report("material").endsWith("only 'm0'"));
    EXPECT_EQ(sides(model.pictureAfter(Qt::Key_O)).second, 1);
}

TEST_F(ZelviewWindowTest, AFrozenFrustumShowsGhostsOfWhatItCulls)
{
    const QSize size(90, 30);
    ShownModel model = shownWall(9, size);
    const QImage plain = model.picture();
    model->zoom(12.0f);
    const QImage close = model.pictureAfter(Qt::Key_Z);
    const QString scene = model->describeStatistics().first();
    EXPECT_TRUE(holds(scene, "culled by a frozen frustum"));
    EXPECT_FALSE(scene.contains(", 0 culled")) << qPrintable(scene);

    model->frame(size);
    const QImage all = model.picture();
    EXPECT_EQ(all.pixel(45, 15), plain.pixel(45, 15));
    for (const int x : {9, 81}) { // the outermost squares: red and blue, and their blue ghosts
        EXPECT_NE(all.pixel(x, 15), plain.pixel(x, 15));
        EXPECT_GT(all.pixelColor(x, 15).blue(), all.pixelColor(x, 15).red());
    }
    EXPECT_EQ(model.pictureAfter(Qt::Key_Z), plain);
}

TEST_F(ZelviewWindowTest, TilesSurviveSwitchingThroughAllTextureManagers)
{
    QImage tile(8, 8, QImage::Format_RGB32);
    tile.fill(Qt::red);
    ASSERT_TRUE(tile.save(_files.path("t.1001.png")));
    tile.fill(Qt::blue);
    ASSERT_TRUE(tile.save(_files.path("t.1012.png"))); // two holes between them
    _options.file = _files.path("t.<UDIM>.png");
    _options.isUdim = true;
    ShownModel plane(_options, {40, 40});
    const QImage first = plane.picture();
    const QString byArray = plane.draws();
    EXPECT_TRUE(byArray.endsWith("textures by array")) << qPrintable(byArray);
    for (int round = 0; round < 3; ++round) {
        do {
            const bool isEqual = plane.pictureAfter(Qt::Key_M) == first;
            EXPECT_EQ(isEqual, plane.draws().contains("by array"));
        } while (plane.draws() != byArray);
    }
}

} // namespace
