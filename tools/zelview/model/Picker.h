#pragma once

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <functional>
#include <optional>

namespace zelview {

/// Finds what a pixel shows: the model is drawn into a single pixel, whose stencil takes the material number.
///
/// Context: create, use and delete with one and the same context current.
class Picker
{
    Q_DISABLE_COPY(Picker)

public:
    struct Hit
    {
        int number;
        QVector3D position; ///< in the world
    };

    /// The projection that fills a viewport with one pixel of this one. Pixels count from the upper left.
    static QMatrix4x4 closeUp(const QMatrix4x4 &projection, const QPoint &pixel, const QSize &viewport);

    Picker();
    ~Picker();

    /// \a draw draws what has the numbers, seen by \a viewProjection, and leaves number + 1 in the stencil, 255 for what
    /// is greater. Empty where there is nothing.
    std::optional<Hit> find(const QMatrix4x4 &viewProjection, const QList<int> &numbers,
                            const std::function<void(const QList<int> &)> &draw);

private:
    int findAmong(QList<int> numbers, const std::function<void(const QList<int> &)> &draw) const;

    unsigned int _framebuffer = 0;
    unsigned int _depthStencil = 0;
};

} // namespace zelview
