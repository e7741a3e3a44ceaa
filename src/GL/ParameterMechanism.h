#pragma once

#include "InstanceDataPlan.h"

namespace Orvane { namespace Zel {

/// One way of getting the bytes of a collection to a shader, together with the
/// GLSL that reads them back. Each plan owns one.
///
/// Units:   sizes and offsets are bytes; components count 32-bit values.
/// Context: bind() and unbind() need one; the texts do not.
/// Errors:  bind() answers false where no buffer can be had.
/// Source:  -
class ZELGL_EXPORT ParameterMechanism
{
    Q_DISABLE_COPY(ParameterMechanism)

public:
    using DataType = InstanceDataPlan::DataType;

    // The types in tables.

    static QString glslType(DataType type);
    /// As it is declared: triples take the room of four.
    static QString glslPaddedType(DataType type);
    /// The vector of four that holds it in vec4 storage.
    static QString glslVec4StorageType(DataType type);
    static size_t dataSize(DataType type);
    static size_t numberComponents(DataType type);
    /// Whether it is read through the integer texture; so with booleans and tokens.
    static bool isIntegerType(DataType type);
    /// The order of the layout: by falling size, then by falling number.
    static bool compareByDataType(const DataType &a, const DataType &b);
    /// The swizzle, like ".yz", of some components from the given one on; out of
    /// range is reported, and empty.
    static QString glslAccessorString(unsigned long component, unsigned long numComponents);

    explicit ParameterMechanism(const QString &planName);
    virtual ~ParameterMechanism();

    /// Uploads the collection's bytes if they changed, and hands its textures to
    /// the manager. Program and manager may be null.
    virtual bool bind(ShaderProgram *program, TextureManager *textureManager,
                      InstanceDataCollection *collection) = 0;
    virtual bool unbind(ShaderProgram *program, TextureManager *textureManager,
                        InstanceDataCollection *collection) = 0;

    /// The accessor of one member by item number: one function definition.
    virtual QString glslFunctionDefinition(DataType type, const QString &name, bool useVec4,
                                           unsigned long offset, unsigned long totalSize) = 0;
    /// The block, the samplers or the uniforms that the accessors read.
    virtual QString glslUniformDeclaration(const QList<DataType> &types,
                                           const QHash<DataType, QStringList> &namesByType, bool useVec4,
                                           unsigned long arraySize) = 0;
    /// Whether members of this type go into vec4 storage if the plan wants it.
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
