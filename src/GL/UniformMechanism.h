#pragma once

#include "ParameterMechanism.h"

namespace Orvane { namespace Zel {

/// Instance data as uniforms, an array for each member. Needs no buffer, but sends
/// all items on every bind; for small plans without booleans.
///
/// \snippet instance_data.cpp UniformMechanism
///
/// Units:   bytes.
/// Context: as its base. \a program must be in use at bind().
/// Errors:  as its base.
class ZELGL_EXPORT UniformMechanism : public ParameterMechanism
{
public:
    explicit UniformMechanism(const QString &planName);

    bool bind(ShaderProgram *program, TextureManager *textureManager,
              InstanceDataCollection *collection) override;
    bool unbind(ShaderProgram *program, TextureManager *textureManager,
                InstanceDataCollection *collection) override;
    QString glslFunctionDefinition(DataType type, const QString &name, bool useVec4, unsigned long offset,
                                   unsigned long totalSize) override;
    /// Also stores the members for bind().
    QString glslUniformDeclaration(const QList<DataType> &types,
                                   const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                   unsigned long arraySize) override;
    bool useVec4Storage(DataType type) override;

private:
    ZELGL_NO_EXPORT const QString &uniformName(const QString &memberName);
    /// Copies a member of all items to an array and sets its uniform.
    ZELGL_NO_EXPORT void sendMember(int location, const QString &name, DataType type,
                                    const InstanceDataCollection &collection) const;

    QHash<QString, DataType> _memberTypes;
    QString _uniformName; ///< reused, so that a bind allocates nothing
};

}} // namespace Orvane::Zel
