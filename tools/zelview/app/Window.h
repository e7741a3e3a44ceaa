#pragma once

#include "frame/Outcome.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointF>
#include <QtGui/QOpenGLWindow>

#include <memory>

namespace zelview {

class Exhibit;
class FrameMeter;
class Overlay;
class Programs;
class Stage;
struct Options;

/// An exhibit in a window: a click picks, left button turns, middle or right button moves, wheel zooms, Home shows everything,
/// F statistics in the picture, Escape closes; other keys are the exhibit's.
class Window : public QOpenGLWindow
{
    Q_OBJECT

public:
    /// Both are borrowed.
    Window(Exhibit &exhibit, const Options &options);
    ~Window() override;

    /// What kept it from showing anything, once it has closed for that.
    const Failure &failure() const { return _failure; }

protected:
    void initializeGL() override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QSize sizeInPixels() const;
    Failure drawFrame(const QSize &pixels);
    QStringList describeStatistics();
    Failure createObjects();
    void fail(const Problem &problem);

    Exhibit &_exhibit;
    const Options &_options;
    std::unique_ptr<Programs> _programs;
    std::unique_ptr<Stage> _stage;
    std::unique_ptr<FrameMeter> _meter;
    std::unique_ptr<Overlay> _overlay;
    bool _showsStatistics = false;
    QElapsedTimer _clock; ///< of exhibits that move
    bool _isUp = false;
    bool _isFramed = false;
    QSize _fittedTo;                 ///< the pixels that the exhibit last was framed or fitted for
    bool _describesNextFrame = true; ///< the next frame is described
    QPointF _lastPosition;           ///< of the pointer, device-independent pixels
    QPointF _pressPosition;
    bool _hasDragged = false; ///< since the button went down
    Failure _failure;
};

} // namespace zelview
