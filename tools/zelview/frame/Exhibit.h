#pragma once

#include "file/Outcome.h"

#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtGui/QVector2D>

namespace zeltools {

class Programs;
struct Options;

/// Base class of what zelview shows. An exhibit is loaded without a context, where its format allows that, so that a
/// malformed file is reported before a window opens. Then it creates its GL objects, is drawn any number of times, and
/// releases the objects.
///
/// Context: the same one is current from createGLObjects() to releaseGLObjects().
class Exhibit
{
public:
    /// What dragging the pointer does.
    enum DragKind { eTurn, eMove };

    virtual ~Exhibit() = default;

    /// Lines for the report: what was loaded.
    virtual QStringList describe() const = 0;
    /// The paths of the model and of the images that it shows: the picture must not overwrite them.
    virtual QStringList files() const { return {}; }

    /// Creates the GL objects.
    virtual Failure createGLObjects(Programs &programs, const Options &options) = 0;
    /// Deletes the GL objects.
    virtual void releaseGLObjects() = 0;

    /// Chooses the view that shows everything in a viewport of this size.
    virtual void frame(const QSize &viewport) = 0;
    /// Keeps everything in view after a change of the viewport's size, unless the user has moved the view.
    virtual void refit(const QSize & /*viewport*/) {}
    /// Draws the passes that the next draw() reads, into framebuffers of the exhibit. Leaves no framebuffer bound.
    virtual Failure prepareFrame(const QSize & /*viewport*/) { return {}; }
    /// Fills the bound framebuffer with linear light in the range of the screen. The depth buffer must be cleared.
    virtual void draw(const QSize &viewport) = 0;
    /// Lines for the report: how the last frame was drawn.
    virtual QStringList describeFrame() const = 0;

    /// Lines for --stats: what the last draw() processed.
    virtual QStringList describeStatistics() { return {}; }

    /// Whether the picture needs dithering, because it has soft gradients that show the steps of 8 bits.
    virtual bool isDithered() const = 0;

    /// \a way: movement of the pointer in heights of the viewport, to the right and down.
    virtual void drag(DragKind kind, const QVector2D &way) = 0;
    /// Positive steps move closer.
    virtual void zoom(float steps) = 0;
    /// Selects what a pixel of the viewport shows, and returns a line about it; empty if nothing can be selected. Call it
    /// between frames.
    virtual QString pick(const QPoint & /*pixel*/, const QSize & /*viewport*/) { return {}; }
    /// Handles a key of Qt::Key. Returns false if the key has no meaning here.
    virtual bool key(int key) = 0;
};

} // namespace zeltools
