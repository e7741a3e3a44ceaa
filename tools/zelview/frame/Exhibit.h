#pragma once

#include "frame/Outcome.h"

#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtGui/QVector2D>

namespace zelview {

class Programs;
struct Options;

/// Something that zelview shows. It is made and, as far as that goes, loaded without a context, so that a bad file is
/// told before any window opens; then it is put up in one context, drawn as often as needed, and taken down in the same context.
class Exhibit
{
public:
    /// What a drag of the pointer means.
    enum DragKind { eTurn, eMove };

    virtual ~Exhibit();

    /// In words, for the report: what was loaded.
    virtual QStringList describe() const = 0;

    /// Makes the GL objects.
    virtual Failure createGLObjects(Programs &programs, const Options &options) = 0;
    /// Releases them.
    virtual void releaseGLObjects() = 0;

    /// Finds the view that shows everything in a viewport of this size.
    virtual void frame(const QSize &viewport) = 0;
    /// Keeps everything in view after a change of the viewport's size, unless the user has moved the view.
    virtual void refit(const QSize &viewport) = 0;
    /// Passes into framebuffers of its own that the next draw() builds on; leaves none bound.
    virtual Failure prepareFrame(const QSize &viewport) = 0;
    /// Fills the bound framebuffer, whose depth is cleared, with linear light that a screen can show.
    virtual void draw(const QSize &viewport) = 0;
    /// In words, for the report: what the last draw() took.
    virtual QStringList describeFrame() const = 0;

    /// In words, for whoever measures: what the last draw() had to do with.
    virtual QStringList describeStatistics() = 0;

    /// Whether it moves by itself, along a path that setTime() places it on.
    virtual bool isMoving() const = 0;
    /// From 0 to 1, and round again.
    virtual void setTime(float time) = 0;

    /// Whether soft gradients in it want the noise that hides the steps of 8 bits.
    virtual bool isDithered() const = 0;

    /// The way of the pointer in heights of the viewport, to the right and down.
    virtual void drag(DragKind kind, const QVector2D &way) = 0;
    /// Positive steps go in.
    virtual void zoom(float steps) = 0;
    /// Takes what is seen at a pixel of the viewport as meant, between frames; in words, empty where nothing can be.
    virtual QString pick(const QPoint &pixel, const QSize &viewport) = 0;
    /// A key of Qt's; whether it means anything here.
    virtual bool key(int key) = 0;
};

} // namespace zelview
