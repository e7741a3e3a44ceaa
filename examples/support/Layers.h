#pragma once

#include <ZelGL/FramebufferObject.h>
#include <ZelGL/ShadowMapManager.h>
#include <ZelGL/Texture.h>

#include <functional>
#include <memory>

/// The layers of shadow maps, as docs/shadows.md describes them.
///
/// Units:   the side of a layer in texels.
/// Context: construct, use and delete with the same context current.
/// Errors:  none.
class Layers
{
public:
    enum Kind { eDepths, eMoments };
    using Corners = QPair<QVector3D, QVector3D>;

    /// \a count: at most so many projections of all lights together.
    Layers(Kind kind, int side, int count);

    /// Draws the layers if the projections changed. \a draw draws all casters with the projection that it gets.
    void update(const QVariantList &lights, const QMatrix4x4 &view, const QMatrix4x4 &projection,
                const Corners &box, const std::function<void(const QMatrix4x4 &)> &draw);

    /// For ShadowMapManager::bind() and unbind().
    QVariant table() { return QVariant::fromValue<QObject *>(&_table); }

private:
    Kind _kind;
    int _side;
    Orvane::Zel::Texture _layers{nullptr};
    Orvane::Zel::Texture _depth{nullptr}; ///< for moments
    Orvane::Zel::FramebufferObject _framebuffer{nullptr};
    Orvane::Zel::ShadowMapManager::RenderData _table;
};
