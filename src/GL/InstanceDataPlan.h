#pragma once

#include "Export.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QRegExp>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstddef>
#include <limits>

namespace Orvane { namespace Zel {

class InstanceDataCollection;
class ParameterMechanism;
class ShaderProgram;
class TextureManager;

/// Matches the names of plans and members that are GLSL identifiers. The library
/// does not check names; hosts that get names from elsewhere test them with this.
extern ZELGL_EXPORT QRegExp gInstanceDataNameValidator;

/// Describes per-instance data as a named set of typed members. From this
/// description the plan computes both the byte layout that the CPU fills and the
/// GLSL code that reads these bytes.
///
/// Shaders call generated accessors: for a member "baseColor" getBaseColor(uint
/// Index), or getBaseColor(void) for the instance that is being drawn. Shaders name
/// no buffer and no offset, so that a host can choose another mechanism, as the ways
/// to transfer the bytes are called, without a change of its shaders.
///
/// Call addMember() and the settings, then InstanceDataRegistry::registerPlan(),
/// which finalises the plan. Layout, GLSL texts and bind() are available after that.
///
/// Members are sorted by size, the largest first, and among equal sizes by DataType,
/// the largest value first; this order aligns them all. Members of one type keep the
/// order in which they were added. Boolean members have fewer bytes than GLSL reads;
/// use integers.
///
/// \snippet instance_data.cpp InstanceDataPlan
///
/// Units:   sizes and offsets are bytes; array sizes count items.
/// Context: required by finalise(), bind(), unbind() and assertShaderProgram(). The
///          limits of the context that finalises become part of the generated GLSL.
/// Errors:  a call in the wrong order is reported and takes effect anyway. Queries
///          treat an unknown name as a texture token at offset 0.
class ZELGL_EXPORT InstanceDataPlan
{
    Q_DISABLE_COPY(InstanceDataPlan)

public:
    /// The values are fixed: they sort members of equal size, and messages contain them.
    enum DataType {
        eTexture = 0, ///< a TextureToken
        eBool = 1,
        eBVec2 = 2,
        eBVec3 = 3,
        eBVec4 = 4,
        eInt = 5,
        eIVec2 = 6,
        eIVec3 = 7,
        eIVec4 = 8,
        eUInt = 9,
        eUVec2 = 10,
        eUVec3 = 11,
        eUVec4 = 12,
        eFloat = 13,
        eVec2 = 14,
        eVec3 = 15, ///< stored as four components, as are eBVec3, eIVec3 and eUVec3
        eVec4 = 16,
        eMat4 = 17
    };

    /// How the bytes reach the shader; each is a class derived from ParameterMechanism.
    enum MechanismType {
        eUniformBufferMechanism = 0, ///< one uniform block; the default
        eUniformMechanism = 1,       ///< a uniform array for each member
        eBufferTextureMechanism = 2, ///< two buffer textures on one buffer
        eTextureMechanism = 3,       ///< two textures of one row
        eStorageBufferMechanism = 4  ///< one storage block, its array without a size
    };

    /// Returns true if the current context supports storage blocks.
    static bool supportsStorageMechanism();

    explicit InstanceDataPlan(const QString &name);
    ~InstanceDataPlan();

    // To be called before finalise().

    /// Does not check the name: it must be a GLSL identifier, and new to the plan.
    void addMember(DataType type, const QString &name);
    /// Sets how many items a collection may hold; initially 150. finalise() reduces it to what the mechanism can hold.
    void setArraySize(unsigned long arraySize);
    void setMechanism(MechanismType mechanism);
    /// Declares the members of the block as vectors of four components, each type in vectors of its own; for drivers with
    /// faults in the layout of mixed structures. The mechanisms without a block ignore it.
    void setUseVec4Storage(bool useVec4Storage);
    /// Computes layout, GLSL texts and limits. registerPlan() calls it; call it only once.
    void finalise();

    // Available after finalise().

    /// Returns how many items a collection may hold. Reported if the plan is not finalised.
    size_t arraySize() const;
    /// Returns how many items the mechanism can hold, or 150 if it has no limit. The texture mechanism has none: its
    /// collections report a list that is too long for a texture of the driver.
    size_t arraySizeMax() const;
    /// Returns the size of one item, a multiple of 16.
    size_t totalDataSize() const;
    /// Returns the offsets of the texture tokens in one item, in ascending order.
    QList<int> textureTokenOffsets() const;
    /// Returns the names in no particular order.
    QStringList memberNames() const;
    unsigned int offset(const QString &name) const;
    /// Returns the declarations of the accessors, which `#instancedata` includes.
    QString glslh() const;
    /// Returns their definitions: a shader of its own, to be added to each stage that calls an accessor.
    QString glslc() const;

    // Available at any time.

    QString name() const;
    MechanismType mechanism() const;
    bool contains(const QString &name) const;
    DataType dataType(const QString &name) const;
    /// Returns the size of a member in an item.
    size_t dataSize(const QString &name) const;
    size_t dataSize(DataType type) const;
    /// Return the names of the samplers of the texture mechanisms, for integers and for floats.
    QString samplerIName() const;
    QString samplerFName() const;
    /// Calls glGetIntegerv(), without a check that GL is loaded.
    void getGLParameter(unsigned int pname, int *value) const;

    /// Returns the plan's mechanism, which the plan owns. The first call creates it; later calls ignore \a type.
    ParameterMechanism *parameterMechanism(MechanismType type);

    /// Calls the mechanism's bind() or unbind() and returns its result.
    bool bind(ShaderProgram *program, TextureManager *textureManager, InstanceDataCollection *collection);
    bool unbind(ShaderProgram *program, TextureManager *textureManager, InstanceDataCollection *collection);

    /// Reports a linked program in which the plan's uniform block has a size other than the computed one. For debugging by
    /// the host; the library does not call it.
    void assertShaderProgram(const ShaderProgram *program) const;

private:
    friend class InstanceDataCollection; // reads _textureTokenOffsets without a copy, and fitsTexture()

    ZELGL_NO_EXPORT void computeLayout(const QList<DataType> &types, ParameterMechanism *mechanism);
    ZELGL_NO_EXPORT void padTotalDataSize();
    ZELGL_NO_EXPORT QString generateAccessors(const QList<DataType> &types, ParameterMechanism *mechanism);
    ZELGL_NO_EXPORT void limitArraySize();
    ZELGL_NO_EXPORT void limitToUniformBlock();
    ZELGL_NO_EXPORT void limitToUniforms();
    ZELGL_NO_EXPORT void limitToBufferTexture();
    ZELGL_NO_EXPORT void limitToTexture();
    ZELGL_NO_EXPORT void limitToStorageBlock();
    ZELGL_NO_EXPORT void clampArraySize(const char *tag, size_t limit);
    ZELGL_NO_EXPORT void logLimit(const char *tag, int size, int max) const;
    ZELGL_NO_EXPORT bool fitsTexture(int bytes) const;
    ZELGL_NO_EXPORT void assertUniformBlock(unsigned int program, unsigned int block) const;

    bool _finalised = false;
    bool _hasTextureTokens = false;
    QString _name;
    QHash<DataType, QStringList> _memberNamesByType; ///< in the order in which they were added
    QString _glslh;
    QString _glslc;
    QHash<QString, unsigned int> _offsets;
    QHash<QString, DataType> _memberTypes;
    QList<int> _textureTokenOffsets;
    size_t _totalDataSize = 0;
    size_t _arraySize = 150;
    size_t _arraySizeMax = 150;
    int _texelsMax = std::numeric_limits<int>::max(); ///< width of a data texture
    MechanismType _mechanism = eUniformBufferMechanism;
    bool _useVec4Storage = false;
    QString _samplerIName;
    QString _samplerFName;
    ParameterMechanism *_parameterMechanism = nullptr; ///< owned
};

}} // namespace Orvane::Zel
