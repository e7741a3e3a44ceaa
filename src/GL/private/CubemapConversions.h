#pragma once

/// \file
/// Private to the library; the conversions of TvoImageCubemapUtils that start from a cube map: faces to a strip, faces to a
/// level of another cube map. They report nothing: the messages are those of TvoImageCubemapUtils.cpp.

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace TvoImageCubemapUtils {

/// Size and format of a level, of a cube map those of its face +X. Queries GL.
struct LevelShape
{
    LevelShape(Orvane::Zel::Texture &texture, int level);

    /// False if the texture could not be bound.
    bool isKnown() const { return width >= 0; }

    bool operator==(const LevelShape &other) const;

    int width;
    int height;
    int internalFormat;
    bool isCompressed;
};

/// GL_TEXTURE_MAX_LEVEL.
int maxLevelOf(Orvane::Zel::Texture &texture);

/// Draws the faces of \a cube side by side into a new texture, each in the size of \a face. \a format and \a type belong to
/// the internal format. Returns null when no texture unit is free and for formats that cannot be rendered to; no framebuffer
/// is bound then.
std::unique_ptr<Orvane::Zel::Texture> stripOfFaces(Orvane::Zel::Texture &cube, const LevelShape &face,
                                                   unsigned int format, unsigned int type);

/// Copies the faces of level 0, which are \a face, to level \a lod of \a target, which has the same shape. Returns false at
/// the first face that cannot be rendered to. No framebuffer is bound then.
bool copyFaces(const Orvane::Zel::Texture &source, const Orvane::Zel::Texture &target, int lod,
               const LevelShape &face);

} // namespace TvoImageCubemapUtils
