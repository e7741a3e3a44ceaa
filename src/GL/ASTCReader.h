#pragma once

#include "TextureLoader2DHelper.h"
#include "TextureRecogniser.h"

#include <QtCore/QString>

#include <memory>

namespace Orvane { namespace Zel {

class Memory;

/// Recognises ASTC images by their magic number.
///
/// \snippet images.cpp ASTCRecogniser
class ZELGL_EXPORT ASTCRecogniser : public TextureRecogniser
{
public:
    TextureLoader *recognise(Memory *memory, const QString &name) const override;
};

/// Reads a file with a single ASTC image. GL reads the compressed blocks directly from
/// the mapping. The texture has one level and nearest filters.
///
/// \snippet images.cpp ASTCReader
///
/// Units:   sizes are texels.
/// Context: load() needs a current context.
/// Errors:  valid() is false unless the length of the file is exactly what its sizes
///          require. load() does not check for errors of GL, such as those of an unknown
///          block size.
/// Source:  the file header of Arm's ASTC encoder; GL_KHR_texture_compression_astc_ldr.
class ZELGL_EXPORT ASTCReader : public TextureLoader2DHelper
{
    Q_DISABLE_COPY(ASTCReader)

public:
    /// Takes ownership of \a memory. \a name is for messages.
    ASTCReader(Memory *memory, const QString &name);
    ~ASTCReader() override;

    bool valid() const override;
    bool isCompressed() const override;
    unsigned int width() const override;
    unsigned int height() const override;

    Texture *load(const TextureFileInfo &info) override;

private:
    ZELGL_NO_EXPORT bool hasExpectedSize() const;
    ZELGL_NO_EXPORT unsigned int imageSize(int axis) const;

    std::unique_ptr<Memory> _memory;
    QString _name;
    bool _valid = true;
    const unsigned char *_header = nullptr; ///< the first 16 bytes; null when they cannot be mapped
};

}} // namespace Orvane::Zel
