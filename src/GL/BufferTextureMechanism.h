#pragma once

#include "TextureMechanism.h"

namespace Orvane { namespace Zel {

/// Instance data as texels of a buffer: two buffer textures, of integers and of
/// floats, view the one buffer, so that an upload needs no further copy.
///
/// \snippet instance_data.cpp BufferTextureMechanism
///
/// Units:   a texel is 16 bytes.
/// Context: as its base.
/// Errors:  as its base.
/// Source:  OpenGL 3.1 buffer textures.
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

    /// A texture that views the buffer.
    QSharedPointer<Texture> initBufferTextureStorage(TextureFormat format,
                                                     QSharedPointer<BufferObject> buffer);
    /// Null: glTexBuffer() is in the table of entry points.
    void *initTexBufferGLProcAddress();

private:
    void *_texBufferProc = nullptr; ///< read by nobody
};

}} // namespace Orvane::Zel
