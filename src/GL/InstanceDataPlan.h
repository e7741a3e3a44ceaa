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

/// What names of plans and members should match to become GLSL identifiers. For
/// hosts to test against: the library itself takes every name as it is.
extern ZELGL_EXPORT QRegExp gInstanceDataNameValidator;

/// The one description of a kind of per-instance data: a named set of typed
/// members, from which both the byte layout that the CPU fills and the GLSL that
/// reads the same bytes back are computed.
///
/// Shaders call generated accessors, getBaseColor(uint Index) or, for the instance
/// that is being drawn, getBaseColor(void). They name no buffer and no offset, so
/// the transport of the bytes, the mechanism, can change without them.
///
/// Order of use: addMember() and the settings; InstanceDataRegistry::registerPlan(),
/// which finalises; then layout, texts and bind().
///
/// Units:   sizes and offsets are bytes; array sizes count items.
/// Context: finalise(), bind() and unbind() need one; the limits of that context
///          stand in the generated text.
/// Errors:  a wrong order of calls is reported, and carried out all the same.
///          Unknown members answer as a texture token at offset 0.
/// Source:  OpenGL 3.2 core, std140 layout.
///
/// Members are laid out by falling size and then by falling DataType, which alone
/// aligns them; those of one type stand in the order in which they were added.
/// Boolean members are packed into fewer bytes than GLSL reads; use integers.
class ZELGL_EXPORT InstanceDataPlan
{
    Q_DISABLE_COPY(InstanceDataPlan)

public:
    /// The numbers order members of one size and appear in messages.
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
        eVec3 = 15, ///< takes the bytes of four components, as all triples do
        eVec4 = 16,
        eMat4 = 17
    };

    /// The transport of the bytes; each is a class of the ParameterMechanism family.
    enum MechanismType {
        eUniformBufferMechanism = 0, ///< one uniform block; the default
        eUniformMechanism = 1,       ///< an array of plain uniforms for each member
        eBufferTextureMechanism = 2, ///< two buffer textures over one buffer
        eTextureMechanism = 3,       ///< two textures of one row
        eStorageBufferMechanism = 4  ///< one storage block without a fixed size
    };

    /// Whether the current context has storage blocks.
    static bool supportsStorageMechanism();

    explicit InstanceDataPlan(const QString &name);
    ~InstanceDataPlan();

    // Before finalising.

    /// Names are not checked: neither for being identifiers nor for being there already.
    void addMember(DataType type, const QString &name);
    /// How many items a collection may hold, 150 at first; finalising clamps it to
    /// what the mechanism can hold.
    void setArraySize(unsigned long arraySize);
    void setMechanism(MechanismType mechanism);
    /// Declares the block as vectors of four, so that each type starts a new one;
    /// for drivers that lay out mixed structures badly. Blocks only.
    void setUseVec4Storage(bool useVec4Storage);
    /// Computes layout, texts and limits; once, by registering the plan.
    void finalise();

    // After finalising.

    /// How many items a collection may hold; reported before finalising.
    size_t arraySize() const;
    /// How many the mechanism could hold; 150 where it sets no limit, as the texture
    /// mechanism, whose collections report what is too wide for the driver.
    size_t arraySizeMax() const;
    /// Bytes of one item, a multiple of 16.
    size_t totalDataSize() const;
    /// The offsets of the texture tokens in one item.
    QList<int> textureTokenOffsets() const;
    /// In no order.
    QStringList memberNames() const;
    unsigned int offset(const QString &name) const;
    /// The declarations, for a shader to include by "#instancedata".
    QString glslh() const;
    /// The definitions, a compilation unit of their own for each stage that uses them.
    QString glslc() const;

    // At any time.

    QString name() const;
    MechanismType mechanism() const;
    bool contains(const QString &name) const;
    DataType dataType(const QString &name) const;
    /// Bytes of one member in an item.
    size_t dataSize(const QString &name) const;
    size_t dataSize(DataType type) const;
    /// The samplers of the texture mechanisms, for integers and for floats.
    QString samplerIName() const;
    QString samplerFName() const;
    /// glGetIntegerv(), without a check.
    void getGLParameter(unsigned int pname, int *value) const;

    /// The plan's mechanism, made at the first call; later calls get the same
    /// whatever type they ask for.
    ParameterMechanism *parameterMechanism(MechanismType type);

    /// Uploads what changed and binds, through the mechanism.
    bool bind(ShaderProgram *program, TextureManager *textureManager, InstanceDataCollection *collection);
    bool unbind(ShaderProgram *program, TextureManager *textureManager, InstanceDataCollection *collection);

    /// Reports a linked program whose uniform block has another size than the plan
    /// computed. For hosts; nothing in the library calls it.
    void assertShaderProgram(const ShaderProgram *program) const;

private:
    friend class InstanceDataCollection; // finds its tokens, reports what no texture holds

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
    QHash<DataType, QStringList> _memberNamesByType; ///< in the order of adding
    QString _glslh;
    QString _glslc;
    QHash<QString, unsigned int> _offsets;
    QHash<QString, DataType> _memberTypes;
    QList<int> _textureTokenOffsets;
    size_t _totalDataSize = 0;
    size_t _arraySize = 150;
    size_t _arraySizeMax = 150;
    int _texelsMax = std::numeric_limits<int>::max(); ///< of a data texture
    MechanismType _mechanism = eUniformBufferMechanism;
    bool _useVec4Storage = false;
    QString _samplerIName;
    QString _samplerFName;
    ParameterMechanism *_parameterMechanism = nullptr; ///< owned
};

}} // namespace Orvane::Zel
