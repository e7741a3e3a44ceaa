#pragma once

#include "InstanceDataPlan.h"

namespace Orvane { namespace Zel {

/// A way to transfer the bytes of a collection to a shader, together with the GLSL
/// code that reads them there. Each plan owns one mechanism.
///
/// \snippet instance_data.cpp ParameterMechanism
///
/// Units:   sizes and offsets are bytes; components count 32-bit values.
/// Context: required by bind() and unbind(). The GLSL texts need none.
/// Errors:  bind() and unbind() return false if the collection is null, and bind()
///          if its buffer cannot be created. A uniform, sampler or block that the
///          program does not have is skipped without a message.
class ZELGL_EXPORT ParameterMechanism
{
    Q_DISABLE_COPY(ParameterMechanism)

public:
    using DataType = InstanceDataPlan::DataType;

    // Properties of the data types. A value outside the enumeration is treated as eTexture.

    static QString glslType(DataType type);
    /// Returns the type to declare: a type of three components is declared with four.
    static QString glslPaddedType(DataType type);
    /// Returns the vector of four components that contains it in vec4 storage.
    static QString glslVec4StorageType(DataType type);
    /// Returns the bytes in an item.
    static size_t dataSize(DataType type);
    static size_t numberComponents(DataType type);
    /// Returns true if the texture mechanisms read the type from the integer texture, as also booleans and tokens.
    static bool isIntegerType(DataType type);
    /// Returns true if \a a precedes \a b in the layout: the larger type first, among equal ones the larger value.
    static bool compareByDataType(const DataType &a, const DataType &b);
    /// Returns the swizzle, such as ".yz", of \a numComponents components that start with \a component. Reports a range
    /// outside of a vec4 and returns an empty text for it.
    static QString glslAccessorString(unsigned long component, unsigned long numComponents);

    explicit ParameterMechanism(const QString &planName);
    virtual ~ParameterMechanism();

    /// Uploads the collection's bytes if they have changed, binds them, and binds the collection's textures with the
    /// manager. \a program and \a textureManager may be null.
    virtual bool bind(ShaderProgram *program, TextureManager *textureManager,
                      InstanceDataCollection *collection) = 0;
    virtual bool unbind(ShaderProgram *program, TextureManager *textureManager,
                        InstanceDataCollection *collection) = 0;

    /// Returns the definition of the accessor of one member by item number. \a offset and \a totalSize are those of the
    /// plan.
    virtual QString glslFunctionDefinition(DataType type, const QString &name, bool useVec4,
                                           unsigned long offset, unsigned long totalSize) = 0;
    /// Returns the declaration of what the accessors read: the block, the samplers or the uniforms.
    virtual QString glslUniformDeclaration(const QList<DataType> &types,
                                           const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                           unsigned long arraySize) = 0;
    /// Returns true if members of this type are in vec4 storage when the plan has it switched on.
    virtual bool useVec4Storage(DataType type);

protected:
    QString _planName;

private:
    friend class InstanceDataPlan; // creates its mechanism

    /// Defined in private/MechanismFactory.cpp.
    ZELGL_NO_EXPORT static ParameterMechanism *create(InstanceDataPlan::MechanismType type,
                                                      const QString &planName);
};

}} // namespace Orvane::Zel
