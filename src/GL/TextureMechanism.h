#pragma once

#include "TextureFormat.h"
#include "UniformBufferMechanism.h"

namespace Orvane { namespace Zel {

class Texture;

/// Instance data as the texels of two textures with one row: both contain all bytes,
/// one as integers and one as floats. A shader fetches each member from the texture
/// of its kind, so that no bit of it changes.
///
/// \snippet instance_data.cpp TextureMechanism
///
/// Units:   a texel is 16 bytes.
/// Context: as its base. The pixel unpack state must be GL's default at bind().
/// Errors:  as its base. If no texture unit is free, the next bind uploads.
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
    /// Returns false, because texels are vectors of four components anyway.
    bool useVec4Storage(DataType type) override;

    /// Binds the two textures and sets the samplers of the program to their units.
    void setUniformValues(ShaderProgram *program, InstanceDataCollection *collection);
    /// Allocates one row without contents. Returns false if no texture unit is free.
    bool allocateImageTextureStorage(QSharedPointer<Texture> texture, TextureFormat format, int texels);
    /// Copies the bytes of the buffer to the row. Returns false if no texture unit is free.
    bool pboToTexture(QSharedPointer<Texture> texture, TextureFormat format,
                      QSharedPointer<BufferObject> buffer, int texels);

protected:
    static constexpr int kTexelSize = 16;

    ZELGL_NO_EXPORT TextureMechanism(const QString &planName, unsigned int boTarget);

    /// Returns an accessor. \a fetch is the expression that reads texel %3 of an item with %2 texels through the sampler %1.
    ZELGL_NO_EXPORT QString texelAccessor(DataType type, const QString &name, unsigned long offset,
                                          unsigned long totalSize, const QString &fetch) const;
    ZELGL_NO_EXPORT QString samplerDeclarations(const QString &samplerF, const QString &samplerI) const;

    QString _samplerIName;
    QString _samplerFName;
};

}} // namespace Orvane::Zel
