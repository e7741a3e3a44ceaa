#pragma once

#include "ParameterMechanism.h"

#include <QtCore/QByteArray>
#include <QtCore/QSharedPointer>

namespace Orvane { namespace Zel {

class BufferObject;

/// Instance data as an array of structures in one uniform block of layout std140.
///
/// \snippet instance_data.cpp UniformBufferMechanism
///
/// Units:   bytes.
/// Context: as its base.
/// Errors:  as its base.
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

    /// Returns the declaration of structure and block, with %1 for the plan's name, %2 for the members and %3 for the array
    /// size.
    virtual QString glslLayoutDefinition();

    /// Uploads \a data with the usage of the collection. Binds the buffer for it if the driver needs that.
    void uploadDataToBuffer(QSharedPointer<BufferObject> buffer, const QByteArray &data,
                            InstanceDataCollection *collection);

protected:
    ZELGL_NO_EXPORT UniformBufferMechanism(const QString &planName, unsigned int boTarget);

    /// Uploads the bytes of a dirty collection, which is then clean.
    ZELGL_NO_EXPORT void uploadIfDirty(const QSharedPointer<BufferObject> &buffer,
                                       InstanceDataCollection *collection);

    unsigned int _boTarget;
};

}} // namespace Orvane::Zel
