#pragma once

#include "frame/Outcome.h"
#include "frame/Programs.h"

#include <QtCore/QSize>
#include <QtCore/QStringList>

#include <memory>

namespace zelview {

/// Lines of text in the upper left corner of a finished picture, painted by QPainter; they break where the viewport ends.
///
/// Units:   sizes in pixels.
/// Context: create, use and delete with the same context current.
class Overlay
{
    Q_DISABLE_COPY(Overlay)

public:
    static Expected<std::unique_ptr<Overlay>> create(Programs &programs);
    ~Overlay();

    /// Draws over the bound framebuffer, which holds sRGB. \a scale: pixels per device-independent pixel.
    void draw(const QStringList &lines, const QSize &viewport, qreal scale);

private:
    explicit Overlay(ProgramPointer program);

    ProgramPointer _program;
};

} // namespace zelview
