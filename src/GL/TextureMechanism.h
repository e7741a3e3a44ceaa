#pragma once

#include "TextureFormat.h"
#include "UniformBufferMechanism.h"

namespace Orvane { namespace Zel {

class Texture;

/// Instance data as texels: the same bytes in two textures of one row, one of
/// integers and one of floats, so that each member is fetched bit by bit through
/// the sampler of its own kind.
///
/// Units:   a texel is 16 bytes.
/// Context: as its base. Pixel unpack state must be GL's default when it uploads.
/// Errors:  as its base; a sampler that the program lacks is none. Where no unit is
///          free the upload is made up for at the next bind.
/// Source:  OpenGL 3.0, texelFetch; 2.1, pixel buffer objects.
class ZELGL_EXPORT TextureMechanism : public UniformBufferMechanism
{
public:
    explicit TextureMechanism(const QString &planName);

    bool bind(ShaderProgram *program, TextureManager *textureManager,
              InstanceDataCollection *collection) override;
    bool unbind(ShaderProgram *program, TextureManager *textureManager,
                InstanceDataCollection *collection) override;
    QString glslFunctionDefinition(DataType type, const QString &name, bool useVec4, unsigned long offset,
                                   unsigned long totalSize) override;
    QString glslUniformDeclaration(const QList<DataType> &types,
                                   const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                   unsigned long arraySize) override;
    /// Never: texels are vectors of four already.
    bool useVec4Storage(DataType type) override;

    /// Binds the two textures and tells the program their units.
    void setUniformValues(ShaderProgram *program, InstanceDataCollection *collection);
    /// New storage of one row, without contents; false where no unit is free.
    bool allocateImageTextureStorage(QSharedPointer<Texture> texture, TextureFormat format, int texels);
    /// Copies the buffer's bytes into the row; false where no unit is free.
    bool pboToTexture(QSharedPointer<Texture> texture, TextureFormat format,
                      QSharedPointer<BufferObject> buffer, int texels);

protected:
    static constexpr int kTexelSize = 16;

    ZELGL_NO_EXPORT TextureMechanism(const QString &planName, unsigned int boTarget);

    /// An accessor by \a fetch, the text that reads texel %3 of items of %2 texels
    /// through the sampler %1.
    ZELGL_NO_EXPORT QString texelAccessor(DataType type, const QString &name, unsigned long offset,
                                          unsigned long totalSize, const QString &fetch) const;
    ZELGL_NO_EXPORT QString samplerDeclarations(const QString &samplerF, const QString &samplerI) const;

    QString _samplerIName;
    QString _samplerFName;
};

}} // namespace Orvane::Zel
