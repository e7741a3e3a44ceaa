#pragma once

#include "KitExport.h"

#include <QtCore/QtGlobal>

#include <array>
#include <memory>

namespace Orvane { namespace ZelKit {

class OwnContext;

/// Lets foreign code draw in the host's context: gives it the state of a new context, and restores the host's state at the end of
/// the scope. Foreign code such as QPainter expects that nothing is culled, masked or bound, and leaves its own program, textures
/// and blending.
///
/// Framebuffers, viewport, scissor box and clear values stay as they are, and are restored. Also saved: capabilities, blending,
/// depth, stencil, masks, polygons, pixel transfer, the program, the vertex array, the values of attributes without an array, the
/// buffers of vertices and pixels, and the 2D, array and cube textures of the first kTextureUnits units. Not saved: indexed buffer
/// bindings, samplers, and what an object contains.
///
/// In reverse, a guard between QPainter::beginNativePainting() and endNativePainting() lets ZelGL draw within a painter.
///
/// \snippet kit.cpp HostStateGuard
///
/// - Units: none.
/// - Context: the same at both ends of the scope. Objects that are bound at its start must not be deleted during it. The queries
///   wait for drivers that work in a thread of their own: once a frame is fine, once a draw is not.
/// - Errors: without a context, it logs a warning and does nothing.
class ZELKIT_EXPORT HostStateGuard
{
    Q_DISABLE_COPY(HostStateGuard)

public:
    static constexpr int kTextureUnits = 4;

    HostStateGuard();
    ~HostStateGuard();

private:
    static constexpr int kMaxValues = 64;
    static constexpr int kVertexAttributes = 16; ///< the least number that GL allows
    using Textures = std::array<int, 3>;

    ZELKIT_NO_EXPORT int integer(unsigned int name) const;
    ZELKIT_NO_EXPORT void save();
    ZELKIT_NO_EXPORT void saveTextures();
    ZELKIT_NO_EXPORT void restoreTextures() const;
    ZELKIT_NO_EXPORT void restoreAttributes() const;
    ZELKIT_NO_EXPORT void restoreBindings() const;
    ZELKIT_NO_EXPORT void restoreDrawing() const;
    ZELKIT_NO_EXPORT void restoreStencil() const;

    std::unique_ptr<OwnContext> _context;
    bool _isActive;
    std::array<bool, kMaxValues> _capabilities = {};
    std::array<int, kMaxValues> _integers = {};
    std::array<std::array<float, 4>, kMaxValues / 4> _floats = {};
    std::array<int, 4> _viewport = {};
    std::array<int, 4> _scissor = {};
    std::array<bool, 4> _colorMask = {};
    std::array<Textures, kTextureUnits> _textures = {};
    std::array<std::array<float, 4>, kVertexAttributes> _attributes = {};
};

}} // namespace Orvane::ZelKit
