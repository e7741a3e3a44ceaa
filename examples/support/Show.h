#pragma once

#include <ZelKit/OrbitCamera.h>

#include <QtCore/QPoint>
#include <QtCore/QSize>

#include <functional>
#include <memory>

class QEvent;
class QImage;
class QString;
class QSurfaceFormat;

namespace Orvane { namespace ZelKit {
class MessageLog;
}} // namespace Orvane::ZelKit

/// Base class of the examples: an animated picture.
///
/// Units:   seconds since the start; the aspect is width divided by height.
/// Context: construct, draw and delete with the same context current.
class Show
{
public:
    /// Removes the plans of the example, whose members are deleted already.
    virtual ~Show();

    /// Draws passes into the example's own framebuffers.
    virtual void prepare(float aspect, float seconds);
    /// Draws into the bound framebuffer, which is cleared.
    virtual void draw(float aspect, float seconds) = 0;
    /// The mouse was clicked at this pixel, from the upper left corner.
    virtual void click(const QPoint &pixel, const QSize &viewport);

    /// Takes drags of the mouse and the wheel.
    void move(const QEvent *event, const QSize &viewport);

protected:
    /// A point of view after the movements of the mouse.
    QVector3D movedEye(const QVector3D &eye, const QVector3D &target) const;

    /// A projection to the screen, with a vertical field of view in degrees, for what is at a distance of 1 to 100. y is up.
    static QMatrix4x4 viewProjection(float fieldOfView, float aspect, const QVector3D &eye,
                                     const QVector3D &target);

private:
    Orvane::ZelKit::OrbitCamera _mouse{0.0f, 0.0f};
    bool _isMoved = false;
};

/// Shows an example in a window or, with "--offscreen FILE", writes one picture of it. Returns the exit code for main(). The mouse
/// turns the view, the wheel zooms, and Escape closes the window.
///
/// Errors: an empty picture, or any message of the library or the driver, is a failure.
int present(int argc, char **argv, const std::function<std::unique_ptr<Show>()> &make);

// The parts of present(), for examples with a main() of another kind.

/// The argument of "--offscreen", or an empty text. Ends the program at --help and at a wrong command line.
QString readPictureFile(int argc, char **argv);
/// Of windows.
QSurfaceFormat windowFormat();
QSize windowSize();
/// Returns the exit code for main().
int savePicture(const QImage &image, const QString &file, const Orvane::ZelKit::MessageLog &log);
