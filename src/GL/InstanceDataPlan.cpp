#include "InstanceDataPlan.h"

#include "GLUtilities.h"
#include "ParameterMechanism.h"
#include "ShaderProgram.h"
#include "private/EntryPoint.h"
#include "private/InstanceDataGLSL.h"

#include <QtCore/QVector>

#include <algorithm>

namespace Orvane { namespace Zel {

QRegExp gInstanceDataNameValidator(QStringLiteral("[a-zA-Z_][a-zA-Z_0-9]*"));

namespace {

using Type = InstanceDataPlan::DataType;
using NamesByType = QHash<Type, QStringList>;

constexpr size_t kVec4Size = 16;

size_t roundUpToVec4(size_t size)
{
    return (size + kVec4Size - 1) / kVec4Size * kVec4Size;
}

/// Returns how many times \a divisor fits into a limit; 0 if one of them is 0. Plans without members have a divisor of 0.
size_t quotient(qint64 value, size_t divisor)
{
    return value < 1 || divisor == 0 ? 0 : static_cast<size_t>(value) / divisor;
}

/// The types in the order of the layout.
QList<Type> sortedTypes(const NamesByType &namesByType)
{
    QList<Type> types = namesByType.keys();
    std::sort(types.begin(), types.end(), ParameterMechanism::compareByDataType);
    return types;
}

/// Returns the number of components of one item. Three count as four, which GLSL declares for them.
size_t numberComponents(const NamesByType &namesByType)
{
    size_t components = 0;
    for (auto it = namesByType.begin(); it != namesByType.end(); ++it) {
        const size_t each = ParameterMechanism::numberComponents(it.key());
        components += size_t(it.value().size()) * (each == 3 ? 4 : each);
    }
    return components;
}

QString glslVersion(InstanceDataPlan::MechanismType mechanism)
{
    const QString plain = QStringLiteral("#version 150");
    if (mechanism != InstanceDataPlan::eStorageBufferMechanism) {
        return plain;
    }
    if (openGlVersionSupported(4, 3)) { // storage blocks need no extension from GLSL 4.30 on
        return QStringLiteral("#version 430");
    }
    if (hasGLExtension("GL_ARB_shader_storage_buffer_object")) {
        return plain + QStringLiteral("\n#extension GL_ARB_shader_storage_buffer_object: enable ");
    }
    return plain;
}

} // namespace

bool InstanceDataPlan::supportsStorageMechanism()
{
    return openGlVersionSupported(4, 3) || hasGLExtension("GL_ARB_shader_storage_buffer_object");
}

InstanceDataPlan::InstanceDataPlan(const QString &name)
    : _name(name)
    , _samplerIName(integerSamplerName(name))
    , _samplerFName(floatSamplerName(name))
{
}

InstanceDataPlan::~InstanceDataPlan()
{
    delete _parameterMechanism;
}

void InstanceDataPlan::addMember(DataType type, const QString &name)
{
    _memberNamesByType[type].append(name);
    _memberTypes[name] = type;
    _hasTextureTokens = _hasTextureTokens || type == eTexture;
    _totalDataSize += dataSize(type);
}

void InstanceDataPlan::setArraySize(unsigned long arraySize)
{
    // Required, here and in the next two: reported but carried out, although the texts no longer change; see
    // InstanceDataPlanTest.SettingsAndQueriesOutOfOrderAreReportedAndCarriedOut.
    ZEL_ASSERT(false == _finalised,
               "InstanceDataPlan::setArraySize() can only be called before the plan has been finalised");
    _arraySize = arraySize;
}

void InstanceDataPlan::setMechanism(MechanismType mechanism)
{
    ZEL_ASSERT(false == _finalised,
               "InstanceDataPlan::setMechanism() can only be called before the plan has been finalised");
    _mechanism = mechanism;
}

void InstanceDataPlan::setUseVec4Storage(bool useVec4Storage)
{
    ZEL_ASSERT(false == _finalised,
               "InstanceDataPlan::setUseVec4Storage() can only be called before the plan has been finalised");
    _useVec4Storage = useVec4Storage;
}

void InstanceDataPlan::finalise()
{
    // 1. The head of the declarations.
    const QString guard = QStringLiteral("ZEL_INSTANCEDATAPLAN_") + _name + QStringLiteral("_GLSLH");
    const QString tokenInclude =
        _hasTextureTokens ? QStringLiteral("#include \"TextureManager.glslh\"\n") : QString();

    _glslh += QStringLiteral("#ifndef %1\n#define %1\n").arg(guard) + tokenInclude;

    // 2. The layout, then the accessors, which contain its offsets. generateAccessors() also declares them in _glslh.
    ParameterMechanism *mechanism = parameterMechanism(_mechanism);
    const QList<DataType> types = sortedTypes(_memberNamesByType);
    computeLayout(types, mechanism);
    const QString accessors = generateAccessors(types, mechanism);

    // 3. The limits, before the texts that contain the number of items.
    limitArraySize();

    // 4. The rest of both texts.
    const QString arrayName = _name.toUpper().replace(QLatin1Char(' '), QLatin1Char('_'));
    _glslh += QStringLiteral("#define %1_ARRAY_SIZE %2\n").arg(arrayName, QString::number(_arraySize));
    _glslc += glslVersion(_mechanism) + QStringLiteral("\n\n") + tokenInclude
              + QStringLiteral("#include \"ZelUtilities.glslh\"\n\n")
              + mechanism->glslUniformDeclaration(types, _memberNamesByType, _useVec4Storage, _arraySize)
              + QStringLiteral("\n\n") + accessors;
    _glslh += QStringLiteral("#endif // %1\n").arg(guard);
    _finalised = true;
}

size_t InstanceDataPlan::arraySize() const
{
    ZEL_ASSERT(true == _finalised,
               "InstanceDataPlan::arraySize() can only be called after the plan has been finalised");
    return _arraySize;
}

size_t InstanceDataPlan::arraySizeMax() const
{
    return _arraySizeMax;
}

size_t InstanceDataPlan::totalDataSize() const
{
    return _totalDataSize;
}

QList<int> InstanceDataPlan::textureTokenOffsets() const
{
    return _textureTokenOffsets;
}

QStringList InstanceDataPlan::memberNames() const
{
    return _offsets.keys(); // none before finalise(): without an offset a member cannot be used
}

// Required: an unknown name is a texture token at offset 0, here and in dataType(). InstanceData reports unknown names before it
// writes; see InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
unsigned int InstanceDataPlan::offset(const QString &name) const
{
    return _offsets.value(name, 0);
}

QString InstanceDataPlan::glslh() const
{
    return _glslh;
}

QString InstanceDataPlan::glslc() const
{
    return _glslc;
}

QString InstanceDataPlan::name() const
{
    return _name;
}

InstanceDataPlan::MechanismType InstanceDataPlan::mechanism() const
{
    return _mechanism;
}

bool InstanceDataPlan::contains(const QString &name) const
{
    return _memberTypes.contains(name);
}

InstanceDataPlan::DataType InstanceDataPlan::dataType(const QString &name) const
{
    return _memberTypes.value(name, eTexture);
}

size_t InstanceDataPlan::dataSize(const QString &name) const
{
    return dataSize(dataType(name));
}

size_t InstanceDataPlan::dataSize(DataType type) const
{
    return ParameterMechanism::dataSize(type);
}

QString InstanceDataPlan::samplerIName() const
{
    return _samplerIName;
}

QString InstanceDataPlan::samplerFName() const
{
    return _samplerFName;
}

void InstanceDataPlan::getGLParameter(unsigned int pname, int *value) const
{
    glGetIntegerv(pname, value);
}

ParameterMechanism *InstanceDataPlan::parameterMechanism(MechanismType type)
{
    // Never replaced, because the GLSL texts are written for this one.
    if (_parameterMechanism == nullptr) {
        _parameterMechanism = ParameterMechanism::create(type, _name);
    }
    return _parameterMechanism;
}

bool InstanceDataPlan::bind(ShaderProgram *program, TextureManager *textureManager,
                            InstanceDataCollection *collection)
{
    return parameterMechanism(_mechanism)->bind(program, textureManager, collection);
}

bool InstanceDataPlan::unbind(ShaderProgram *program, TextureManager *textureManager,
                              InstanceDataCollection *collection)
{
    return parameterMechanism(_mechanism)->unbind(program, textureManager, collection);
}

void InstanceDataPlan::assertShaderProgram(const ShaderProgram *program) const
{
    const GLuint id = program != nullptr ? program->shaderProgramID() : 0;
    if (id == 0) {
        return;
    }
    const QByteArray ownBlock = blockName(_name).toLatin1();
    GLint blocks = 0;
    glGetProgramiv(id, GL_ACTIVE_UNIFORM_BLOCKS, &blocks);
    for (GLint block = 0; block < blocks; ++block) {
        char name[256] = {};
        glGetActiveUniformBlockName(id, GLuint(block), sizeof name, nullptr, name);
        if (ownBlock == name) {
            assertUniformBlock(id, GLuint(block));
        }
    }
}

void InstanceDataPlan::computeLayout(const QList<DataType> &types, ParameterMechanism *mechanism)
{
    // 1. The offsets. The sizes are powers of two and fall from type to type: each offset is a multiple of the member's size,
    //    as std140 requires of all types but booleans; see InstanceDataPlanTest.RandomMembersAreLaidOutByFallingSizeAndType.
    size_t accumulatedOffset = 0;
    for (const DataType type : types) {
        const QStringList names = _memberNamesByType.value(type);
        for (const QString &name : names) {
            if (type == eTexture) {
                _textureTokenOffsets.append(int(accumulatedOffset));
            }
            _offsets[name] = static_cast<unsigned int>(accumulatedOffset);
            accumulatedOffset += dataSize(type);
        }
        // In vec4 storage each type starts a new vector, which is declared by one type only.
        if (_useVec4Storage && mechanism->useVec4Storage(type)) {
            const size_t padding = roundUpToVec4(accumulatedOffset) - accumulatedOffset;
            accumulatedOffset += padding;
            _totalDataSize += padding;
        }
    }
    // 2. The size of an item, which is the distance of two items too: a multiple of 16 in arrays of std140, and whole texels.
    padTotalDataSize();
    ZEL_ASSERT(accumulatedOffset <= _totalDataSize, "%d != %d", int(accumulatedOffset), int(_totalDataSize));
}

void InstanceDataPlan::padTotalDataSize()
{
    if (_totalDataSize % 4 != 0) {
        // Required: the size grows in steps of 4, which never reach a multiple of 16 from here, so that this is a report
        // instead of an endless loop. Only booleans are smaller than 4 bytes. See
        // InstanceDataPlanTest.RandomMembersAreLaidOutByFallingSizeAndType.
        ZEL_LOG_CRITICAL("The members of plan '%s' have a total of %d bytes, which is not a multiple of 4",
                         qPrintable(_name), int(_totalDataSize));
    }
    _totalDataSize = roundUpToVec4(_totalDataSize);
}

QString InstanceDataPlan::generateAccessors(const QList<DataType> &types, ParameterMechanism *mechanism)
{
    const QString byIndex = QStringLiteral("uint Index");
    const QString byDraw = QStringLiteral("void");
    QString accessors;
    for (const DataType type : types) {
        const QStringList names = _memberNamesByType.value(type);
        for (const QString &name : names) {
            accessors +=
                mechanism->glslFunctionDefinition(type, name, _useVec4Storage, offset(name), _totalDataSize)
                + QLatin1Char('\n');
            // A second overload reads the item of the current draw, so that shaders need not pass an index through their stages.
            const QString glslType = ParameterMechanism::glslType(type);
            accessors += accessorHead(glslType, name, byDraw) + QStringLiteral("       { return ")
                         + accessorName(name) + QStringLiteral("( uint(getDrawID())); }\n\n");
            _glslh += accessorHead(glslType, name, byIndex) + QStringLiteral(";\n")
                      + accessorHead(glslType, name, byDraw) + QStringLiteral(";\n");
        }
    }
    return accessors;
}

void InstanceDataPlan::limitArraySize()
{
    // Without limits the host's number stays, as for storage blocks, which have a message of their own.
    ZEL_ASSERT_RETURN(eStorageBufferMechanism == _mechanism || nullptr != glGetIntegerv, , kNotInitialized);
    switch (_mechanism) {
    case eUniformBufferMechanism:
        limitToUniformBlock();
        break;
    case eUniformMechanism:
        limitToUniforms();
        break;
    case eBufferTextureMechanism:
        limitToBufferTexture();
        break;
    case eTextureMechanism:
        limitToTexture();
        break;
    case eStorageBufferMechanism:
        limitToStorageBlock();
        break;
    }
}

void InstanceDataPlan::limitToUniformBlock()
{
    // Without a known limit, and for a plan without bytes, the host's number stays; see
    // InstanceDataPlanTest.TheDriversLimitsClampTheArray.
    int blockSize = 0;
    getGLParameter(GL_MAX_UNIFORM_BLOCK_SIZE, &blockSize);
    if (blockSize >= 1 && _totalDataSize != 0) {
        clampArraySize("ubo", quotient(blockSize, _totalDataSize));
    }
}

void InstanceDataPlan::limitToUniforms()
{
    int fragmentComponents = 896;
    int vertexComponents = 1024;
    getGLParameter(GL_MAX_FRAGMENT_UNIFORM_COMPONENTS, &fragmentComponents);
    getGLParameter(GL_MAX_VERTEX_UNIFORM_COMPONENTS, &vertexComponents);
    const size_t components = numberComponents(_memberNamesByType);
    const int available = qMin(fragmentComponents, vertexComponents);
    // Required: four times the components, although GL counts components too. This mechanism sends everything on every bind,
    // so that a small budget keeps it to small plans. See InstanceDataPlanTest.TheDriversLimitsClampTheArray.
    clampArraySize("uni", components == 0 ? 1 : quotient(available, components * 4));
}

void InstanceDataPlan::limitToBufferTexture()
{
    // GL counts texels. In 64 bits, because 2^27 of them, a common limit, are 2^31 bytes, one more than an int holds.
    int texels = 2048;
    getGLParameter(GL_MAX_TEXTURE_BUFFER_SIZE, &texels);
    clampArraySize("bxt", quotient(qint64(texels) * qint64(kVec4Size), _totalDataSize));
}

// Required: the texture does not limit the number of items, and its message compares bytes of one item with texels.
// Collections report what the texture cannot hold; see
// InstanceDataTest.MoreThanATextureHoldsIsReportedAndStaysOutOfTheTexture.
void InstanceDataPlan::limitToTexture()
{
    int maxTextureSize = 1024;
    getGLParameter(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
    ZEL_ASSERT(static_cast<int>(_totalDataSize) <= maxTextureSize,
               "Total data size (%zu) for plan %s exceeds GL_MAX_TEXTURE_SIZE (%d)", _totalDataSize,
               qPrintable(_name), maxTextureSize);
    logLimit("txt", int(_totalDataSize), maxTextureSize);
    _texelsMax = maxTextureSize;
}

void InstanceDataPlan::limitToStorageBlock()
{
    // In 64 bits, because the limit may be 2 GiB and more; see InstanceDataPlanTest.TheDriversLimitsClampTheArray.
    if (glGetInteger64v == nullptr) {
        ZEL_LOG_WARNING("OpenGL has not been initialised. No way it obtain correct maximum InstanceData "
                        "table size for '%s'",
                        qPrintable(_name));
        return;
    }
    GLint64 blockSize = 0;
    glGetInteger64v(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &blockSize);
    if (blockSize >= 1 && _totalDataSize != 0) {
        clampArraySize("ssb", quotient(blockSize, _totalDataSize));
    }
}

void InstanceDataPlan::clampArraySize(const char *tag, size_t limit)
{
    _arraySizeMax = limit;
    _arraySize = qMin(_arraySize, limit);
    logLimit(tag, int(_arraySize), int(_arraySizeMax));
}

void InstanceDataPlan::logLimit(const char *tag, int size, int max) const
{
    ZEL_LOG_DEBUG("%s: size %4d max %4d plan '%s'", tag, size, max, qPrintable(_name));
}

bool InstanceDataPlan::fitsTexture(int bytes) const
{
    return bytes / int(kVec4Size) <= _texelsMax;
}

void InstanceDataPlan::assertUniformBlock(unsigned int program, unsigned int block) const
{
    // 1. What the program knows of the block.
    GLint count = 0;
    GLint blockSize = 0;
    glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_ACTIVE_UNIFORMS, &count);
    glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_DATA_SIZE, &blockSize);
    QVector<GLint> indices(qMax(count, 1)); // never empty: data() would be a pointer to nothing
    glGetActiveUniformBlockiv(program, block, GL_UNIFORM_BLOCK_ACTIVE_UNIFORM_INDICES, indices.data());

    // 2. The offsets, for a debugger, to find the member that differs. A program may have other uniforms in the block, so that
    //    their number is limited.
    const int known = qMin(count, 2 * _memberTypes.size());
    QVector<GLuint> uniforms(known);
    std::copy_n(indices.constBegin(), known, uniforms.begin());
    QVector<GLint> offsets(known);
    glGetActiveUniformsiv(program, known, uniforms.constData(), GL_UNIFORM_OFFSET, offsets.data());

    // 3. Required: only the size is compared; see InstanceDataPlanTest.AProgramOfAnotherSizeIsReported.
    ZEL_ASSERT(int(_arraySize * _totalDataSize) == blockSize,
               "CPP (%d * %d = %d) and GLSL (%d) for plan %s disagree on the size of the instance data "
               "buffer. Check alignment code",
               int(_arraySize), int(_totalDataSize), int(_arraySize * _totalDataSize), blockSize,
               qPrintable(_name));
}

}} // namespace Orvane::Zel
