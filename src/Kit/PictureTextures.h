#pragma once

#include "KitExport.h"

#include <ZelGL/TextureToken.h>

#include <QtCore/QString>
#include <QtCore/QVector>

#include <memory>

class QImage;

namespace Orvane {

namespace Zel {
class TextureManager;
} // namespace Zel

namespace ZelKit {

class OwnContext;

/// Textures that are made of pictures, for shaders to sample by token. They are deleted with this object.
///
/// \snippet kit.cpp PictureTextures
///
/// - Units: none.
/// - Context: create, use and delete with the same context current.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
class ZELKIT_EXPORT PictureTextures
{
    Q_DISABLE_COPY(PictureTextures)

public:
    /// \a manager: must exist longer; null for TextureManager::Instance().
    explicit PictureTextures(Zel::TextureManager *manager = nullptr);
    ~PictureTextures();

    /// A mipmapped texture of any picture, upright: its lower left corner has the coordinates 0. Returns nullTextureToken if it is
    /// null or if no texture unit is free.
    ///
    /// \a isDecoded: shaders get linear light, decoded from sRGB, as a PostChain expects; otherwise the values of the picture.
    Zel::TextureToken add(const QImage &picture, bool isDecoded = false, QString *error = nullptr);

    /// For ProgramBuilder::build() and DrawScope.
    Zel::TextureManager *manager() const { return _manager; }

private:
    std::unique_ptr<OwnContext> _context;
    Zel::TextureManager *_manager;
    QVector<Zel::TextureToken> _tokens;
};

} // namespace ZelKit
} // namespace Orvane
