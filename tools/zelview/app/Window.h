#pragma once

#include "file/Outcome.h"
#include "frame/Stage.h"

#include <QtCore/QPointF>
#include <QtGui/QOpenGLWindow>

#include <memory>

namespace Orvane { namespace ZelKit {
class FrameMeter;
class Overlay;
}} // namespace Orvane::ZelKit

namespace zeltools {

class Exhibit;
class Programs;
struct Options;

/// Shows an exhibit in a window. A click picks; the left button turns, the middle or right button moves, the wheel zooms;
/// Home shows everything, F shows statistics in the picture, Escape closes. The exhibit handles all other keys. While a shader
/// of the user's folder cannot be built, the picture has the reason.
class Window : public QOpenGLWindow
{
    Q_OBJECT

public:
    /// Does not take ownership; both must outlive the window.
    Window(Exhibit &exhibit, const Options &options);
    ~Window() override;

    /// Why the window closed without showing anything, if it did.
    const Failure &failure() const { return _failure; }

protected:
    void initializeGL() override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    QSize sizeInPixels() const;
    bool pollShaders();
    QStringList describeStatistics();
    Failure createObjects();
    void fail(const Problem &problem);

    Exhibit &_exhibit;
    const Options &_options;
    std::unique_ptr<Programs> _programs;
    std::unique_ptr<Stage> _stage;
    std::unique_ptr<Orvane::ZelKit::FrameMeter> _meter;
    std::unique_ptr<Orvane::ZelKit::Overlay> _overlay;
    bool _showsStatistics = false;
    bool _isUp = false;
    bool _isFramed = false;
    QSize _fittedTo; ///< the viewport that the exhibit was last framed or fitted for, in pixels
    bool _describesNextFrame = true; ///< prints a report of the next frame
    QPointF _lastPosition;           ///< of the pointer, device-independent pixels
    QPointF _pressPosition;
    bool _hasDragged = false; ///< since the button went down
    Failure _failure;
};

} // namespace zeltools
