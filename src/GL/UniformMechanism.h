#pragma once

#include "ParameterMechanism.h"

namespace Orvane { namespace Zel {

/// Instance data as plain uniforms, an array for each member. It needs no buffer,
/// but sends everything on every bind: for small plans.
///
/// Units:   bytes.
/// Context: as its base; bind() sets uniforms of the program in use.
/// Errors:  as its base; a uniform that the program lacks is none.
/// Source:  OpenGL 3.0 uniforms.
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
    /// Learns the members too, for bind().
    QString glslUniformDeclaration(const QList<DataType> &types,
                                   const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                   unsigned long arraySize) override;
    bool useVec4Storage(DataType type) override;

private:
    ZELGL_NO_EXPORT const QString &uniformName(const QString &memberName);
    /// Gathers a member of all items and sets its uniform.
    ZELGL_NO_EXPORT void sendMember(int location, const QString &name, DataType type,
                                    const InstanceDataCollection &collection) const;

    QHash<QString, DataType> _memberTypes;
    QString _uniformName; ///< kept, so that a bind takes no memory
};

}} // namespace Orvane::Zel
