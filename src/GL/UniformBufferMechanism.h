#pragma once

#include "ParameterMechanism.h"

#include <QtCore/QByteArray>
#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {

class BufferObject;

/// Instance data as an array of structures in one uniform block.
///
/// Units:   bytes.
/// Context: as its base.
/// Errors:  as its base; a block that the program lacks is none.
/// Source:  OpenGL 3.1 uniform buffers, std140 layout.
class ZELGL_EXPORT UniformBufferMechanism : public ParameterMechanism
{
public:
    explicit UniformBufferMechanism(const QString &planName);

    bool bind(ShaderProgram *program, TextureManager *textureManager,
              InstanceDataCollection *collection) override;
    bool unbind(ShaderProgram *program, TextureManager *textureManager,
                InstanceDataCollection *collection) override;
    QString glslFunctionDefinition(DataType type, const QString &name, bool useVec4, unsigned long offset,
                                   unsigned long totalSize) override;
    QString glslUniformDeclaration(const QList<DataType> &types,
                                   const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                   unsigned long arraySize) override;
    bool useVec4Storage(DataType type) override;

    /// The block with places for the plan's name, the members and the array size.
    virtual QString glslLayoutDefinition();

    /// Fills the buffer with the collection's usage, bound if it has to be.
    void uploadDataToBuffer(QSharedPointer<BufferObject> buffer, const QByteArray &data,
                            InstanceDataCollection *collection);

protected:
    ZELGL_NO_EXPORT UniformBufferMechanism(const QString &planName, unsigned int boTarget);

    /// Uploads if dirty, and clears that.
    ZELGL_NO_EXPORT void uploadIfDirty(const QSharedPointer<BufferObject> &buffer,
                                       InstanceDataCollection *collection);

    unsigned int _boTarget;
};

}} // namespace Orvane::Zel
