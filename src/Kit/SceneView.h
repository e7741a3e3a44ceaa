#pragma once

/// \file
/// A window or widget for a scene.

#include "HeadlessContext.h"
#include "HostStateGuard.h"
#include "RenderTarget.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/OpenGLDeviceContext.h>

#include <QtCore/QEvent>
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
/// A scene that also has `void paint(QPainter &painter)` paints over what it has drawn, in the units of the window.
///
/// \a Surface is QOpenGLWindow or QOpenGLWidget. \a Scene has a default constructor, which runs in the context, a member `camera`
/// with handle(), such as an OrbitCamera, and `void draw(const QSize &pixels)`. Call HeadlessContext::choosePlatform() before the
/// application object exists, for a suitable context.
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

    /// A picture of a new scene, without a window and with a HeadlessContext; no context is current after it. Null if it fails; the
    /// reason goes to \a error, or is logged.
    static QImage picture(const QSize &size, QString *error = nullptr)
    {
        const std::unique_ptr<HeadlessContext> context = HeadlessContext::create(error);
        return context == nullptr ? QImage()
                                  : RenderTarget::picture(
                                      size,
                                      [&size] {
                                          Scene scene;
                                          drawAll(scene, size, 1);
                                      },
                                      error);
    }

    /// Null before the first frame.
    Scene *scene() { return _scene.get(); }

protected:
    void initializeGL() override
    {
        // A widget that moves to another window gets a new context.
        _contextEnd = QObject::connect(QOpenGLContext::currentContext(), &QOpenGLContext::aboutToBeDestroyed,
                                       this, [this] { deleteScene(); });
        if (initializeGLFunctions()) {
            _scene = std::make_unique<Scene>();
        }
    }

    void paintGL() override
    {
        if (_scene != nullptr) {
            drawAll(*_scene, this->size() * pixelRatio(), pixelRatio());
        }
    }

    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape
            && isWindow()) {
            this->close();
            return true;
        }
        if (_scene != nullptr && _scene->camera.handle(event, this->size())) {
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

    static void drawAll(Scene &scene, const QSize &pixels, qreal pixelRatio)
    {
        scene.draw(pixels);
        if constexpr (HasPaint<Scene>::value) {
            const HostStateGuard guard;
            QOpenGLPaintDevice device(pixels);
            device.setDevicePixelRatio(pixelRatio);
            QPainter painter(&device);
            scene.paint(painter);
        }
    }

    void deleteScene()
    {
        if (_scene != nullptr) {
            this->makeCurrent();
            _scene.reset();
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

    std::unique_ptr<Scene> _scene;
    QMetaObject::Connection _contextEnd;
};

}} // namespace Orvane::ZelKit
