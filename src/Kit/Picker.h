#pragma once

#include "KitExport.h"

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector3D>

#include <functional>
#include <memory>
#include <optional>

namespace Orvane { namespace ZelKit {

class OwnContext;

/// Finds what a pixel shows: draws into a framebuffer of one pixel, whose stencil receives a number of what is drawn. Numbers are
/// the host's, for instance those of materials, and may be large.
///
/// \snippet kit.cpp Picker
///
/// - Units: pixels from the upper left corner.
/// - Context: create, use and delete with the same context current.
/// - Errors: without a context or a function, find() logs a warning and returns an empty value.
class ZELKIT_EXPORT Picker
{
    Q_DISABLE_COPY(Picker)

public:
    struct Hit
    {
        int number;
        QVector3D position; ///< in the world
    };

    /// Draws what has these numbers.
    using Draw = std::function<void(const QList<int> &)>;

    /// The projection that magnifies one pixel of a viewport to a whole viewport.
    static QMatrix4x4 closeUp(const QMatrix4x4 &projection, const QPoint &pixel, const QSize &viewport);

    Picker();
    ~Picker();

    /// \a draw: draws with \a viewProjection, a closeUp(), and writes number + 1, at most 255, to the stencil. GPUModel::draw() does
    /// so with material numbers if it is to write the stencil. Returns an empty value if the pixel shows nothing. Restores
    /// framebuffer and viewport; sets the masks of depth and stencil, and the depth function to GL_LESS.
    std::optional<Hit> find(const QMatrix4x4 &viewProjection, const QList<int> &numbers, const Draw &draw);

private:
    std::unique_ptr<OwnContext> _context;
    unsigned int _framebuffer = 0; ///< 0: there was no context
    unsigned int _depthStencil = 0;
};

}} // namespace Orvane::ZelKit
