// The window: events, sizes and failures; and the keys of a shown model.

#include "ShownModel.h"

#include "app/Window.h"
#include "frame/Backdrop.h"

#include <QtCore/QElapsedTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>

using namespace zeltools;

namespace {

/// An exhibit that shows only a backdrop and records the calls.
class Notebook : public Exhibit
{
public:
    QStringList describe() const override { return {}; }
    QStringList describeFrame() const override { return {}; }
    QStringList describeStatistics() override { return {"1 drawable"}; }
    bool isDithered() const override { return false; }

    Failure createGLObjects(Programs &programs, const Options &) override
    {
        _backdrop = std::move(*Backdrop::create(programs));
        return note("create") ? failure : Failure();
    }
    void releaseGLObjects() override
    {
        _backdrop.reset();
        note("release");
    }
    void frame(const QSize &size) override
    {
        note(QString("frame %1x%2").arg(size.width()).arg(size.height()));
    }
    void refit(const QSize &) override { note("refit"); }
    void draw(const QSize &viewport) override
    {
        _backdrop->draw(viewport);
        drawn = viewport;
    }
    void drag(DragKind kind, const QVector2D &way) override
    {
        note(QString("%1 %2 %3").arg(kind == eTurn ? "turn" : "move").arg(way.x()).arg(way.y()));
    }
    void zoom(float steps) override { note(QString("zoom %1").arg(steps)); }
    QString pick(const QPoint &pixel, const QSize &size) override
    {
        note(QString("pick %1 %2 of %3").arg(pixel.x()).arg(pixel.y()).arg(size.width()));
        return {};
    }
    bool key(int key) override { return note(QString("key %1").arg(QChar(key))); }

    bool note(const QString &call)
    {
        notes += call;
        return true;
    }

    Failure failure;
    QStringList notes;
    QSize drawn; ///< the viewport of the last frame

private:
    std::unique_ptr<Backdrop> _backdrop;
};

class PaintedWindow : public Window
{
public:
    using Window::Window;

    /// Paints a frame without a swap, after which the content is undefined.
    QImage picture()
    {
        makeCurrent();
        paintGL();
        return grabFramebuffer();
    }
};

/// An application whose display has two pixels per device-independent pixel.
class ZelviewWindowTest : public ZelviewTest
{
protected:
    static void SetUpTestSuite()
    {
        qputenv("QT_SCALE_FACTOR", "2");
        TestContext::ensureApplication();
    }

    /// Processes events until the exhibit was drawn in this size. Returns what it noted meanwhile.
    QStringList notesUntilDrawn(const QSize &viewport)
    {
        QElapsedTimer timer;
        timer.start();
        while (_notebook.drawn != viewport && timer.elapsed() < 60000 && !HasFailure()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        }
        EXPECT_EQ(_notebook.drawn, viewport);
        return takeNotes();
    }

    QStringList takeNotes() { return std::exchange(_notebook.notes, {}); }

    /// Sends an event of the mouse.
    void mouse(Window &window, QEvent::Type type, const QPointF &at, Qt::MouseButton button,
               Qt::KeyboardModifiers modifiers = {})
    {
        const bool isMove = type == QEvent::MouseMove;
        const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
        QMouseEvent event(type, at, isMove ? Qt::NoButton : button, held, modifiers);
        QCoreApplication::sendEvent(&window, &event);
    }

    /// Presses a button, moves the pointer and releases the button.
    void drag(Window &window, Qt::MouseButton button, const QPointF &to, Qt::KeyboardModifiers modifiers = {})
    {
        mouse(window, QEvent::MouseButtonPress, {10, 10}, button, modifiers);
        mouse(window, QEvent::MouseMove, to, button, modifiers);
        mouse(window, QEvent::MouseButtonRelease, to, button, modifiers);
        mouse(window, QEvent::MouseMove, {99, 9}, Qt::NoButton); // has no effect
    }

    void type(Window &window, Qt::Key key)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }

    /// A row of squares, seen from the front.
    ShownModel shownWall(int columns, const QSize &size)
    {
        _options.file = writeWall("wall.obj", columns, 1);
        _options.azimuth = _options.elevation = 0.0f;
        return {_options, size};
    }

    /// Uses a copy of the built-in shaders.
    void copyShaders()
    {
        _options.shaders = path("shaders");
        QDir().mkdir(_options.shaders);
        for (const QString &name : QDir(":/zelview/shaders").entryList()) {
            write("shaders/" + name, bytesOf(":/zelview/shaders/" + name));
        }
    }

    Notebook _notebook;
    Options _options;
};

TEST_F(ZelviewWindowTest, DrawsInPixelsForwardsEventsAndReleasesTheExhibit)
{
    _options.size = QSize(200, 100);
    {
        PaintedWindow window(_notebook, _options);
        window.show();
        EXPECT_EQ(notesUntilDrawn({400, 200}), (QStringList{"create", "frame 400x200"}));

        drag(window, Qt::LeftButton, {60, 35}); // in heights of the window; no click
        drag(window, Qt::MiddleButton, {60, 35});
        drag(window, Qt::LeftButton, {60, 35}, Qt::ShiftModifier);
        drag(window, Qt::LeftButton, {10, 10});
        QWheelEvent wheel({10, 10}, {10, 10}, {}, {0, 240}, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &wheel);
        type(window, Qt::Key_L);
        EXPECT_EQ(takeNotes(), (QStringList{"turn 0.5 0.25", "move 0.5 0.25", "move 0.5 0.25", "turn 0 0",
                                            "pick 20 20 of 400", "zoom 2", "key L"}));

        window.resize(150, 150);
        EXPECT_EQ(notesUntilDrawn({300, 300}), (QStringList{"refit"}));
        const auto pictureAfter = [&](Qt::Key key) {
            _notebook.drawn = QSize();
            type(window, key);
            _notebook.notes = notesUntilDrawn({300, 300});
            return window.picture();
        };
        const QImage plain = pictureAfter(Qt::Key_Home);
        EXPECT_EQ(takeNotes(), (QStringList{"frame 300x300"}));
        const QImage withText =
            pictureAfter(Qt::Key_F); // in the corner, with lines broken at the width of the window
        EXPECT_NE(withText.copy(0, 0, 150, 60), plain.copy(0, 0, 150, 60));
        EXPECT_EQ(withText.copy(280, 0, 20, 300), plain.copy(280, 0, 20, 300));
        EXPECT_EQ(pictureAfter(Qt::Key_F), plain);
        EXPECT_FALSE(window.failure());
    }
    EXPECT_EQ(takeNotes(), (QStringList{"release"}));
}

TEST_F(ZelviewWindowTest, AChangedShaderIsDrawnAndABrokenOneKeepsThePictureWithTheReason)
{
    const QByteArray temporary = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(path())); // the report writes a file there
    _options.shaders = path("shaders");
    run({"--shaders", _options.shaders, writeWall("wall.obj", 1, 1), "--offscreen", path("picture.png")});
    EXPECT_EQ(_last.code, 2);
    EXPECT_EQ(_last.errors, "zelview: cannot open '" + _options.shaders + "/backdrop.frag'\n");
    copyShaders();
    _options.size = QSize(100, 100);
    PaintedWindow window(_notebook, _options);
    window.show();
    notesUntilDrawn({200, 200});
    const auto pictureWith = [&](const QByteArray &color) {
        write("shaders/backdrop.frag",
              "#version 150\nout vec4 out_FragColor;\nvoid main() { out_FragColor = " + color + "; }\n");
        return window.picture();
    };
    const QImage red = pictureWith("vec4(1.0, 0.0, 0.0, 1.0)");
    EXPECT_EQ(red.pixel(50, 50), qRgb(255, 0, 0));
    const QImage broken = pictureWith("vec4(0.0, wrong, 0.0, 1.0)");
    EXPECT_EQ(broken.pixel(195, 195), red.pixel(195, 195));
    EXPECT_NE(broken.copy(0, 0, 150, 60), red.copy(0, 0, 150, 60));
    EXPECT_EQ(pictureWith("vec4(1.0, 0.0, 0.0, 1.0) "), red);
    qputenv("TMPDIR", temporary);
}

TEST_F(ZelviewWindowTest, AChangedShaderOfAModelReachesItsShadows)
{
    copyShaders();
    ShownModel model = shownWall(2, {40, 30});
    const QImage plain = model.picture();
    model.picture();
    EXPECT_TRUE(holds(model.report("shadows"), "; 0 rendered"));
    write("shaders/shadow.vert", bytesOf(path("shaders/shadow.vert")) + "\n");
    EXPECT_TRUE(model.programs().poll());
    EXPECT_EQ(model.picture(), plain);
    EXPECT_TRUE(holds(model.report("shadows"), "; 4 rendered"));
}

TEST_F(ZelviewWindowTest, EndsWithTheProblemOfAnExhibitThatCannotBeCreated)
{
    _notebook.failure = Problem{ExitCode::eInput, "torn"};
    Window window(_notebook, _options);
    window.show();
    QGuiApplication::exec(); // returns when the window closes
    ASSERT_TRUE(window.failure());
    EXPECT_EQ(window.failure()->text, "torn");
    EXPECT_EQ(_notebook.drawn, QSize()); // nothing was drawn
}

TEST_F(ZelviewWindowTest, KeysSwitchTheMechanismAndTheManagerWithItsTilesAndShowSlots)
{
    write("t.1001.png", plainPng(Qt::red));
    write("t.1012.png", plainPng(Qt::blue)); // two holes between them
    _options.file = path("t.<UDIM>.png");
    _options.isUdim = true;
    ShownModel plane(_options, {40, 40});
    const QImage first = plane.picture();
    for (const char *mechanism : {"uniform", "texbuffer"}) {
        EXPECT_EQ(plane.pictureAfter(Qt::Key_I), first);
        EXPECT_TRUE(holds(plane.report("draws"), QString(" by %1 in ").arg(mechanism)));
    }
    EXPECT_EQ(plane.pictureAfter(Qt::Key_P), first);
    EXPECT_TRUE(holds(plane.report("draws"), "packed"));
    EXPECT_EQ(plane.pictureAfter(Qt::Key_P), first);
    const QString byArray = plane.report("draws");
    EXPECT_TRUE(byArray.endsWith("textures by array")) << qPrintable(byArray);
    do {
        const QImage picture = plane.pictureAfter(Qt::Key_M);
        const bool hasTiles = plane.report("draws").contains("by array");
        EXPECT_EQ(picture == first, hasTiles);
        const bool showsSlots = plane.pictureAfter(Qt::Key_D) != picture;
        EXPECT_TRUE(showsSlots == hasTiles || plane.report("draws").endsWith("by array-bindless"));
        EXPECT_EQ(plane.pictureAfter(Qt::Key_D), picture);
    } while (plane.report("draws") != byArray);
    EXPECT_FALSE(plane->key(Qt::Key_Y));
}

TEST_F(ZelviewWindowTest, ClicksAndKeysSelectAndHideMaterials)
{
    for (const bool isPacked : {false, true}) {
        SCOPED_TRACE(isPacked);
        _options.isPacked = isPacked;
        const QSize size(40, 30);
        ShownModel model = shownWall(2, size);
        const QImage plain = model.picture();
        EXPECT_EQ(mosaic(plain, 2, 1), "rg");
        EXPECT_TRUE(model->pick({30, 15}, size).startsWith("pick      30,15: material 'm1'"));
        EXPECT_NE(model.picture(), plain); // the selected material is marked
        EXPECT_EQ(mosaic(model.pictureAfter(Qt::Key_X), 2, 1), "r.");
        EXPECT_EQ(model->pick({30, 15}, size), "pick      30,15: nothing");
        EXPECT_EQ(model.pictureAfter(Qt::Key_A), plain);
        EXPECT_EQ(mosaic(model.pictureAfter(Qt::Key_N), 2, 1).mid(1), "g");
        EXPECT_TRUE(holds(model->pick({10, 15}, size), "'m0'"));
        EXPECT_EQ(mosaic(model.pictureAfter(Qt::Key_O), 2, 1).mid(1), ".");
        EXPECT_TRUE(model.report("material").endsWith("only 'm0'"));
        EXPECT_EQ(mosaic(model.pictureAfter(Qt::Key_O), 2, 1).mid(1), "g");
    }
}

TEST_F(ZelviewWindowTest, FramingTheModelLeavesTheCameraOfTheFile)
{
    _options.file =
        writeSquares("m.gltf", R"([{"mesh":0},{"camera":0,"translation":[0,0,9]}])", "[{}]",
                     R"("cameras":[{"type":"perspective","perspective":{"yfov":0.9,"znear":0.1}}])");
    const QSize size(40, 40);
    ShownModel model(_options, size);
    const QImage all = model.picture();
    EXPECT_NE(model.pictureAfter(Qt::Key_V), all);
    model->frame(size);
    EXPECT_EQ(model.picture(), all);
}

TEST_F(ZelviewWindowTest, AFrozenFrustumShowsGhostsOfWhatItCulls)
{
    for (const bool isPacked : {false, true}) {
        SCOPED_TRACE(isPacked);
        _options.isPacked = isPacked;
        const QSize size(90, 30);
        ShownModel model = shownWall(9, size);
        const QImage plain = model.picture();
        model->zoom(12.0f);
        model.pictureAfter(Qt::Key_Z);
        const QString scene = model->describeStatistics().first();
        EXPECT_TRUE(holds(scene, "culled by a frozen frustum"));
        EXPECT_FALSE(scene.contains(", 0 ")) << qPrintable(scene);

        model->frame(size);
        const QImage all = model.picture();
        EXPECT_EQ(all.pixel(45, 15), plain.pixel(45, 15));
        for (const int x : {9, 81}) { // the outermost squares: red and blue, and their blue ghosts
            EXPECT_NE(all.pixel(x, 15), plain.pixel(x, 15));
            EXPECT_GT(all.pixelColor(x, 15).blue(), all.pixelColor(x, 15).red());
        }
        EXPECT_EQ(model.pictureAfter(Qt::Key_Z), plain);
    }
}

} // namespace
