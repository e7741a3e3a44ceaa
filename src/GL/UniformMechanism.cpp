#include "UniformMechanism.h"

#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "private/InstanceDataAccess.h"
#include "private/InstanceDataGLSL.h"

#include <QtCore/QStringList>
#include <QtCore/QVarLengthArray>

#include <cstring>

namespace Orvane { namespace Zel {

namespace {

using Type = InstanceDataPlan::DataType;

/// Returns the bytes that GL reads for one element of a uniform of this type. Booleans are sent as integers, so that GL
/// reads more than their packed bytes.
size_t uniformSize(Type type)
{
    const size_t components = ParameterMechanism::numberComponents(type);
    return (components == 3 ? 4 : components) * 4;
}

/// Required: booleans use the calls of integers of four bytes, although their values are packed. Their uniforms have no
/// useful value; the other mechanisms are for them. See
/// InstanceDataTest.BooleansAreSentAsUniformsOnEveryBindAndReadNoFurtherThanTheirBytes.
void setUniforms(int location, int count, Type type, const void *data)
{
    const auto ints = static_cast<const GLint *>(data);
    const auto uints = static_cast<const GLuint *>(data);
    const auto floats = static_cast<const GLfloat *>(data);
    switch (type) {
    case Type::eBool:
    case Type::eInt:
        glUniform1iv(location, count, ints);
        break;
    case Type::eBVec2:
    case Type::eIVec2:
        glUniform2iv(location, count, ints);
        break;
    case Type::eBVec3:
    case Type::eBVec4:
    case Type::eIVec3:
    case Type::eIVec4:
        glUniform4iv(location, count, ints);
        break;
    case Type::eUInt:
        glUniform1uiv(location, count, uints);
        break;
    case Type::eTexture:
    case Type::eUVec2:
        glUniform2uiv(location, count, uints);
        break;
    case Type::eUVec3:
    case Type::eUVec4:
        glUniform4uiv(location, count, uints);
        break;
    case Type::eFloat:
        glUniform1fv(location, count, floats);
        break;
    case Type::eVec2:
        glUniform2fv(location, count, floats);
        break;
    case Type::eVec3:
    case Type::eVec4:
        glUniform4fv(location, count, floats);
        break;
    case Type::eMat4:
        glUniformMatrix4fv(location, count, GL_FALSE, floats);
        break;
    }
}

template <size_t Size> void gatherFixed(char *values, const char *member, int count, size_t stride)
{
    for (; count > 0; --count, values += Size, member += stride) {
        std::memcpy(values, member, Size);
    }
}

/// Copies a member of each item to an array. A size that is known at compile time makes each copy a few moves; only booleans
/// have others.
void gather(char *values, const char *member, int count, size_t size, size_t stride)
{
    switch (size) {
    case 4:
        return gatherFixed<4>(values, member, count, stride);
    case 8:
        return gatherFixed<8>(values, member, count, stride);
    case 16:
        return gatherFixed<16>(values, member, count, stride);
    case 64:
        return gatherFixed<64>(values, member, count, stride);
    default:
        for (; count > 0; --count, values += size, member += stride) {
            std::memcpy(values, member, size);
        }
    }
}

} // namespace

UniformMechanism::UniformMechanism(const QString &planName)
    : ParameterMechanism(planName)
{
}

bool UniformMechanism::bind(ShaderProgram *program, TextureManager *textureManager,
                            InstanceDataCollection *collection)
{
    if (collection == nullptr) {
        return false;
    }
    if (program != nullptr) {
        for (auto it = _memberTypes.constBegin(); it != _memberTypes.constEnd(); ++it) {
            const int location = program->getUniformLocation(uniformName(it.key()));
            if (location >= 0) {
                sendMember(location, it.key(), it.value(), *collection);
            }
        }
        // Without effect on the next bind, which sends again: uniforms belong to a program.
        collection->clearDirtyStatus();
    }
    collection->bindTextureTokens(textureManager);
    return true;
}

bool UniformMechanism::unbind(ShaderProgram *, TextureManager *textureManager,
                              InstanceDataCollection *collection)
{
    if (collection == nullptr) {
        return false;
    }
    InstanceDataAccess::unbindTextureTokens(*collection, textureManager);
    return true;
}

QString UniformMechanism::glslFunctionDefinition(DataType type, const QString &name, bool, unsigned long,
                                                 unsigned long)
{
    return QStringLiteral("%1 { return u_%2[Index]%3; }")
        .arg(accessorHead(glslType(type), name, QStringLiteral("uint Index")), name,
             tripleSwizzle(numberComponents(type)));
}

QString UniformMechanism::glslUniformDeclaration(const QList<DataType> &types,
                                                 const QHash<DataType, QStringList> &namesByType, bool,
                                                 unsigned long arraySize)
{
    QStringList lines;
    for (const DataType type : types) {
        const QStringList names = namesByType.value(type);
        for (const QString &name : names) {
            lines += QStringLiteral("uniform %1 u_%2[%3];")
                         .arg(glslPaddedType(type), name, QString::number(arraySize));
            // Kept for bind(), which gets a collection but no list of members. The name's memory is reserved, so that no bind
            // allocates it.
            _memberTypes[name] = type;
            _uniformName.reserve(qMax(_uniformName.capacity(), name.size() + 2));
        }
    }
    return lines.join(QLatin1Char('\n'));
}

bool UniformMechanism::useVec4Storage(DataType)
{
    return false;
}

const QString &UniformMechanism::uniformName(const QString &memberName)
{
    _uniformName.resize(0); // keeps the memory, which clear() would free
    _uniformName += QLatin1String("u_");
    _uniformName += memberName;
    return _uniformName;
}

void UniformMechanism::sendMember(int location, const QString &name, DataType type,
                                  const InstanceDataCollection &collection) const
{
    // 1. The place of the member in the items. The collection may be of a plan with other members, if a host calls bind() with
    //    it.
    const size_t size = dataSize(type);
    const size_t offset = collection.plan()->offset(name);
    const int count = collection.size();
    if (count > 0 && InstanceDataAccess::position(collection, count - 1, offset, size) < 0) {
        return;
    }
    // 2. An array of them without gaps, which GL takes in one call. GL reads more than the packed booleans: zeros, not memory
    //    outside the array.
    const size_t read = uniformSize(type);
    QVarLengthArray<char, 4096> values(count * int(qMax(size, read)));
    if (read > size) {
        std::memset(values.data(), 0, size_t(values.size()));
    }
    gather(values.data(), InstanceDataAccess::bytes(collection).constData() + offset, count, size,
           collection.plan()->totalDataSize());
    setUniforms(location, count, type, values.constData());
}

}} // namespace Orvane::Zel
