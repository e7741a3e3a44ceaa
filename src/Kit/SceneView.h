#pragma once

/// \file
/// A window or widget for a scene.

#include "HeadlessContext.h"
#include "HostStateGuard.h"
#include "MessageLog.h"
#include "PostChain.h"
#include "RenderTarget.h"

#include <ZelGL/GLContextTracker.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>

#include <QtCore/QEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLPaintDevice>
#include <QtGui/QPainter>
#include <QtGui/QWindow>

#include <memory>
#include <type_traits>
#include <utility>

namespace Orvane { namespace ZelKit {

/// A window or widget of Qt that shows a scene: it makes the scene in its context, draws it, passes the mouse to its camera, and
/// deletes it while the context is current. Escape closes a window of its own.
///
/// A scene may also have
/// - `void paint(QPainter &painter)`, which paints over what it has drawn, in the units of the window;
/// - `static PostChain::Options frame()`: then draw() draws between begin() and end() of a PostChain with these options. It fills the
///   colour, and depth and stencil are clear.
///
/// \a Surface is QOpenGLWindow or QOpenGLWidget. \a Scene has a default constructor, which runs in the context, a member
/// `camera` with handle(), such as an OrbitCamera, and `void draw(const QSize &pixels)`, for which the viewport is set. Call
/// HeadlessContext::choosePlatform() before the application object exists, for a suitable context.
///
/// \snippet kit.cpp SceneView
///
/// - Units: pixels.
/// - Context: that of the surface; none current is needed.
/// - Errors: without the functions of the library the surface stays empty; the log says why.
template <typename Surface, typename Scene> class SceneView : public Surface
{
public:
    using Surface::Surface;
    ~SceneView() override
    {
        QObject::disconnect(_contextEnd);
        deleteScene();
    }

    /// A picture of a new scene, without a window: in the current context or, if none is current, in a HeadlessContext of this
    /// call. Null if it fails; the reason goes to \a error, or is logged.
    static QImage picture(const QSize &size, QString *error = nullptr)
    {
        const bool isHosted = Zel::GLContextTracker::currentContext() != nullptr;
        const auto context = isHosted ? nullptr : HeadlessContext::create(error);
        if (isHosted ? !initializeGLFunctions() : context == nullptr) {
            return {};
        }
        const auto scene = std::make_unique<Content>();
        QImage picture = RenderTarget::picture(
            size, [&] { scene->draw(size); }, error);
        if (!picture.isNull()) {
            scene->paint(picture); // not by GL: QPainter needs a context of Qt, which EGL has not
        }
        return picture;
    }

    /// The main() of a program that shows one scene: a window of this size until it is closed, or with the arguments
    /// "--offscreen FILE" a picture, written to the file. Prints warnings. Returns the exit code: not 0 if a picture has failed, or
    /// if there were warnings.
    ///
    /// \a Application: QApplication for widgets.
    template <typename Application = QGuiApplication>
    static int run(int argc, char **argv, const QSize &size = {1280, 720})
    {
        const bool isOffscreen = argc == 3 && qstrcmp(argv[1], "--offscreen") == 0;
        HeadlessContext::choosePlatform(isOffscreen ? HeadlessContext::eForPictures
                                                    : HeadlessContext::eForWindows);
        Application application(argc, argv);
        const MessageLog log;
        if (isOffscreen) {
            if (!picture(size).save(QString::fromLocal8Bit(argv[2]))) {
                qWarning("Cannot write %s", argv[2]);
            }
        } else {
            SceneView view;
            view.resize(size);
            view.show();
            Application::exec();
        }
        return log.count(QtWarningMsg) == 0 ? 0 : 1;
    }

    /// Null before the first frame.
    Scene *scene() { return _content != nullptr ? &_content->scene : nullptr; }

protected:
    void initializeGL() override
    {
        // A widget that moves to another window gets a new context.
        _contextEnd = QObject::connect(QOpenGLContext::currentContext(), &QOpenGLContext::aboutToBeDestroyed,
                                       this, [this] { deleteScene(); });
        if (initializeGLFunctions()) {
            _content = std::make_unique<Content>();
        }
    }

    void paintGL() override
    {
        if (_content != nullptr) {
            const QSize pixels = this->size() * pixelRatio();
            _content->draw(pixels);
            if constexpr (HasPaint<Scene>::value) {
                const HostStateGuard guard;
                QOpenGLPaintDevice device(pixels);
                device.setDevicePixelRatio(pixelRatio());
                _content->paint(device);
            }
        }
    }

    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape
            && isWindow()) {
            this->close();
            return true;
        }
        if (_content != nullptr && _content->scene.camera.handle(event, this->size())) {
            this->update();
        }
        return Surface::event(event);
    }

private:
    template <typename T, typename = void> struct HasPaint : std::false_type
    {
    };
    template <typename T>
    struct HasPaint<T, std::void_t<decltype(std::declval<T &>().paint(std::declval<QPainter &>()))>>
        : std::true_type
    {
    };

    template <typename T, typename = void> struct HasFrame : std::false_type
    {
    };
    template <typename T>
    struct HasFrame<T, std::void_t<decltype(PostChain::Options(T::frame()))>> : std::true_type
    {
    };

    struct Content
    {
        Content()
        {
            if constexpr (HasFrame<Scene>::value) {
                chain = PostChain::create(Scene::frame());
            }
        }

        void draw(const QSize &pixels)
        {
            const bool isChained = chain != nullptr && chain->resize(pixels) && chain->begin();
            scene.draw(pixels);
            if (isChained) {
                chain->end();
            }
        }

        void paint(QPaintDevice &device)
        {
            if constexpr (HasPaint<Scene>::value) {
                QPainter painter(&device);
                scene.paint(painter);
            }
        }

        Scene scene;
        std::unique_ptr<PostChain> chain; ///< null without
    };

    void deleteScene()
    {
        if (_content != nullptr) {
            this->makeCurrent();
            _content.reset();
            Zel::OpenGLDeviceContext::resetContext();
            this->doneCurrent();
        }
    }

    qreal pixelRatio() const
    {
        if constexpr (std::is_base_of_v<QWindow, Surface>) {
            return this->devicePixelRatio();
        } else {
            return this->devicePixelRatioF(); // devicePixelRatio() of widgets is an integer
        }
    }

    bool isWindow() const
    {
        if constexpr (std::is_base_of_v<QWindow, Surface>) {
            return this->parent() == nullptr;
        } else {
            return Surface::isWindow();
        }
    }

    std::unique_ptr<Content> _content;
    QMetaObject::Connection _contextEnd;
};

}} // namespace Orvane::ZelKit
