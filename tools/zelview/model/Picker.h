#pragma once

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <functional>
#include <optional>

namespace zelview {

/// Finds what a pixel shows: draws the model into a framebuffer of one pixel, whose stencil receives the material number.
///
/// Context: create, use and delete with the same context current.
class Picker
{
    Q_DISABLE_COPY(Picker)

public:
    struct Hit
    {
        int number;
        QVector3D position; ///< in the world
    };

    /// The projection that magnifies one pixel of a viewport to a whole viewport. Pixels count from the upper left.
    static QMatrix4x4 closeUp(const QMatrix4x4 &projection, const QPoint &pixel, const QSize &viewport);

    Picker();
    ~Picker();

    /// \a draw: draws what has the numbers with \a viewProjection, and writes number + 1, at most 255, to the stencil.
    /// Returns an empty value if the pixel shows nothing.
    std::optional<Hit> find(const QMatrix4x4 &viewProjection, const QList<int> &numbers,
                            const std::function<void(const QList<int> &)> &draw);

private:
    int findAmong(QList<int> numbers, const std::function<void(const QList<int> &)> &draw) const;

    unsigned int _framebuffer = 0;
    unsigned int _depthStencil = 0;
};

} // namespace zelview
