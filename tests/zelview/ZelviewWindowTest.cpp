#include "ModelFiles.h"

#include "Exhibit.h"
#include "Graphics.h"
#include "Options.h"
#include "Programs.h"
#include "RenderTarget.h"
#include "Window.h"

#include "../support/Print.h"

#include <ZelGL/ZelGL.h>

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>

using namespace zelview;

namespace {

/// An exhibit that shows nothing and remembers what was asked of it.
class Notebook : public Exhibit
{
public:
    QStringList describe() const override { return {}; }

    Failure putUp(Programs &, const Options &) override
    {
        notes.append(QStringLiteral("up"));
        return failure;
    }

    void takeDown() override { notes.append(QStringLiteral("down")); }

    void frame(const QSize &viewport) override
    {
        notes.append(QStringLiteral("frame %1x%2").arg(viewport.width()).arg(viewport.height()));
    }

    Failure prepareFrame(const QSize &) override { return {}; }
    void draw(const QSize &viewport) override { lastViewport = viewport; }

    QStringList describeFrame() const override { return {}; }
    bool isDithered() const override { return false; }

    void drag(DragKind kind, const QVector2D &way) override
    {
        notes.append(QStringLiteral("%1 %2 %3")
                         .arg(kind == eTurn ? QStringLiteral("turn") : QStringLiteral("move"))
                         .arg(double(way.x()))
                         .arg(double(way.y())));
    }

    void zoom(float steps) override { notes.append(QStringLiteral("zoom %1").arg(double(steps))); }

    bool key(int key) override
    {
        notes.append(QStringLiteral("key %1").arg(QChar(key)));
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

/// An application whose display has two pixels for each unit.
class ZelviewWindowTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        qputenv("QT_SCALE_FACTOR", "2");
        static int argc = 1;
        static char name[] = "test";
        static char *argv[] = {name, nullptr};
        _application = new QGuiApplication(argc, argv);
    }

    static void TearDownTestSuite()
    {
        delete _application;
        qunsetenv("QT_SCALE_FACTOR");
    }

    /// Lets events pass until the exhibit was drawn in this size.
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

    void type(Window &window, Qt::Key key)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
    }

    static QGuiApplication *_application;
    Notebook _notebook;
    Options _options;
};

QGuiApplication *ZelviewWindowTest::_application = nullptr;

TEST_F(ZelviewWindowTest, DrawsInPixelsHandsEventsOnAndTakesTheExhibitDown)
{
    _options.size = QSize(200, 100);
    {
        Window window(_notebook, _options);
        window.show();
        waitForFrame(QSize(400, 200));
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"up", "frame 400x200"}));

        press(window, Qt::LeftButton, {10, 10}, {60, 35}); // in heights of the window
        press(window, Qt::MiddleButton, {10, 10}, {60, 35});
        press(window, Qt::LeftButton, {10, 10}, {60, 35}, Qt::ShiftModifier);
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"turn 0.5 0.25", "move 0.5 0.25", "move 0.5 0.25"}));

        QWheelEvent wheel({10, 10}, {10, 10}, {}, {0, 240}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&window, &wheel);
        type(window, Qt::Key_L);
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"zoom 2", "key L"}));

        window.resize(150, 150);
        waitForFrame(QSize(300, 300));
        EXPECT_EQ(_notebook.takeNotes(), QStringList()); // the view is the user's by now
        _notebook.lastViewport = QSize();
        type(window, Qt::Key_F);
        waitForFrame(QSize(300, 300));
        EXPECT_EQ(_notebook.takeNotes(), (QStringList{"frame 300x300"}));
        EXPECT_FALSE(window.failure());
    }
    EXPECT_EQ(_notebook.takeNotes(), (QStringList{"down"}));
}

TEST_F(ZelviewWindowTest, EndsWithTheProblemOfAnExhibitThatCannotBePutUp)
{
    _notebook.failure = Problem{ExitCode::eInput, QStringLiteral("torn")};
    Window window(_notebook, _options);
    window.show();
    QGuiApplication::exec(); // ends by itself
    ASSERT_TRUE(window.failure());
    EXPECT_EQ(window.failure()->text, QStringLiteral("torn"));
    EXPECT_EQ(_notebook.lastViewport, QSize()); // nothing was drawn
}

QImage pictureOf(Exhibit &exhibit, RenderTarget &target, const QSize &size)
{
    EXPECT_FALSE(exhibit.prepareFrame(size).has_value());
    const Orvane::Zel::AutoBinder bound(target.framebuffer());
    glViewport(0, 0, size.width(), size.height());
    glClear(GL_DEPTH_BUFFER_BIT);
    exhibit.draw(size);
    QImage image(size, QImage::Format_RGBX8888);
    glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    return image;
}

TEST_F(ZelviewWindowTest, KeysTakeTheNextTextureManagerAndShowItsSlots)
{
    const ModelFiles files;
    const QSize size(40, 30);
    _options.file = files.writeWall(QStringLiteral("wall.obj"), 2, 1);
    auto exhibit = Exhibit::load(_options);
    ASSERT_TRUE(bool(exhibit));
    Exhibit &model = **exhibit;
    const auto context = OffscreenContext::create(_options);
    ASSERT_TRUE(bool(context));
    {
        Programs programs;
        ASSERT_FALSE(model.putUp(programs, _options).has_value());
        auto target = RenderTarget::create(size, GL_RGBA8, 0, RenderTarget::eDepth);
        ASSERT_TRUE(bool(target));
        model.frame(size);
        const QImage plain = pictureOf(model, **target, size);
        EXPECT_TRUE(model.describeFrame().first().endsWith(QStringLiteral("textures by sampler")));
        EXPECT_TRUE(model.key(Qt::Key_D));
        EXPECT_EQ(pictureOf(model, **target, size), plain); // this manager has no view of itself
        EXPECT_TRUE(model.key(Qt::Key_M));
        EXPECT_NE(pictureOf(model, **target, size), plain);
        EXPECT_TRUE(model.describeFrame().first().endsWith(QStringLiteral("textures by array")));
        EXPECT_TRUE(model.key(Qt::Key_D));
        EXPECT_EQ(pictureOf(model, **target, size), plain);

        // All the way round, and again from the start.
        for (int i = 0; i < 4 && !model.describeFrame().first().endsWith(QStringLiteral("sampler")); ++i) {
            EXPECT_TRUE(model.key(Qt::Key_M));
            EXPECT_EQ(pictureOf(model, **target, size), plain);
        }
        EXPECT_TRUE(model.describeFrame().first().endsWith(QStringLiteral("textures by sampler")));
        EXPECT_FALSE(model.key(Qt::Key_Z));
        model.takeDown();
    }
}

TEST_F(ZelviewWindowTest, TilesSurviveTheWayThroughAllTextureManagers)
{
    const ModelFiles files;
    const QSize size(40, 40);
    QImage tile(8, 8, QImage::Format_RGB32);
    for (const auto &number : {QStringLiteral("1001"), QStringLiteral("1012")}) { // two holes between them
        tile.fill(number == QLatin1String("1001") ? Qt::red : Qt::blue);
        ASSERT_TRUE(tile.save(files.path(QStringLiteral("t.%1.png").arg(number))));
    }
    _options.file = files.path(QStringLiteral("t.<UDIM>.png"));
    _options.isUdim = true;
    auto exhibit = Exhibit::load(_options);
    ASSERT_TRUE(bool(exhibit));
    Exhibit &plane = **exhibit;
    const auto context = OffscreenContext::create(_options);
    ASSERT_TRUE(bool(context));
    {
        Programs programs;
        ASSERT_FALSE(plane.putUp(programs, _options).has_value());
        auto target = RenderTarget::create(size, GL_RGBA8, 0, RenderTarget::eDepth);
        ASSERT_TRUE(bool(target));
        plane.frame(size);
        const QImage first = pictureOf(plane, **target, size);
        const QString byArray = plane.describeFrame().first();
        EXPECT_TRUE(byArray.endsWith(QStringLiteral("textures by array"))) << qPrintable(byArray);
        for (int round = 0; round < 3; ++round) {
            do {
                EXPECT_TRUE(plane.key(Qt::Key_M));
                const bool isEqual = pictureOf(plane, **target, size) == first;
                EXPECT_EQ(isEqual, plane.describeFrame().first().contains(QStringLiteral("by array")));
            } while (plane.describeFrame().first() != byArray);
        }
        plane.takeDown();
    }
}

} // namespace
