#pragma once

#include "TextureMechanism.h"

namespace Orvane { namespace Zel {

/// Instance data as the texels of a buffer: two buffer textures, of integers and of
/// floats, both refer to one buffer, so that an upload to it is enough.
///
/// \snippet instance_data.cpp BufferTextureMechanism
///
/// Units:   a texel is 16 bytes.
/// Context: as its base.
/// Errors:  as its base.
class ZELGL_EXPORT BufferTextureMechanism : public TextureMechanism
{
public:
    explicit BufferTextureMechanism(const QString &planName);

    bool bind(ShaderProgram *program, TextureManager *textureManager,
              InstanceDataCollection *collection) override;
    QString glslFunctionDefinition(DataType type, const QString &name, bool useVec4, unsigned long offset,
                                   unsigned long totalSize) override;
    QString glslUniformDeclaration(const QList<DataType> &types,
                                   const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                   unsigned long arraySize) override;
    bool useVec4Storage(DataType type) override;

    /// Returns a buffer texture of \a buffer, or null if no texture unit is free.
    QSharedPointer<Texture> initBufferTextureStorage(TextureFormat format,
                                                     QSharedPointer<BufferObject> buffer);
    /// Returns null; the table of entry points contains glTexBuffer().
    void *initTexBufferGLProcAddress();

private:
    void *_texBufferProc = nullptr; ///< unused
};

}} // namespace Orvane::Zel
