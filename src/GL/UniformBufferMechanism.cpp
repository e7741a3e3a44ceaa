#include "UniformBufferMechanism.h"

#include "AutoBinder.h"
#include "BufferObject.h"
#include "GLUtilities.h"
#include "private/Hints.h"
#include "private/InstanceDataAccess.h"
#include "private/InstanceDataGLSL.h"

#include <QtCore/QStringList>

namespace Orvane { namespace Zel {

namespace {

using Mechanism = ParameterMechanism;
using Type = Mechanism::DataType;

// Cold: inlined, it adds about 8 instructions to each draw in the rows sceneown and sceneowntokens of draw_zel.
ZELGL_COLD_PATH void upload(UniformBufferMechanism &mechanism, const QSharedPointer<BufferObject> &buffer,
                            InstanceDataCollection *collection)
{
    mechanism.uploadDataToBuffer(buffer, InstanceDataAccess::bytes(*collection), collection);
    collection->clearDirtyStatus();
}

QString structMembers(Mechanism &mechanism, const QList<Type> &types,
                      const QHash<Type, QStringList> &namesByType, bool useVec4)
{
    const QString line = QStringLiteral("  %1 %2;");
    QStringList lines;
    size_t pos = 0;
    // 1. The members in the order of the plan, so that std140 gives them the plan's offsets, which pos counts; see
    //    InstanceDataRoundTripTest.TwoCollectionsOfAnyMechanismsAreReadBitByBit.
    for (const Type type : types) {
        const QStringList names = namesByType.value(type);
        // The members of a type share vectors, named by their offset, because the accessors know nothing else.
        if (useVec4 && mechanism.useVec4Storage(type)) {
            const size_t end = pos + size_t(names.size()) * Mechanism::dataSize(type);
            for (; pos < end; pos += 16) {
                const QString data = QStringLiteral("_data") + QString::number(pos & ~size_t(15));
                lines += line.arg(Mechanism::glslVec4StorageType(type), data);
            }
            continue;
        }
        for (const QString &name : names) {
            lines += line.arg(Mechanism::glslPaddedType(type), name);
            pos += Mechanism::dataSize(type);
        }
    }
    // 2. Filler, so that the structure has the size of an item. A position that is not a multiple of 4, which the plan has
    //    reported, would never reach one of 16.
    for (; pos % 16 != 0 && pos % 4 == 0; pos += 4) {
        lines += line.arg(QStringLiteral("float"), QStringLiteral("_dummy") + QString::number(pos));
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

UniformBufferMechanism::UniformBufferMechanism(const QString &planName)
    : UniformBufferMechanism(planName, GL_UNIFORM_BUFFER)
{
}

UniformBufferMechanism::UniformBufferMechanism(const QString &planName, unsigned int boTarget)
    : ParameterMechanism(planName)
    , _boTarget(boTarget)
{
}

bool UniformBufferMechanism::bind(ShaderProgram *program, TextureManager *textureManager,
                                  InstanceDataCollection *collection)
{
    const QSharedPointer<BufferObject> &buffer = InstanceDataAccess::buffer(collection, _boTarget);
    if (buffer.isNull()) {
        return false;
    }
    uploadIfDirty(buffer, collection);
    collection->bindTextureTokens(textureManager);
    InstanceDataAccess::uniformBuffer(*collection)->bind(program);
    return true;
}

bool UniformBufferMechanism::unbind(ShaderProgram *program, TextureManager *textureManager,
                                    InstanceDataCollection *collection)
{
    if (collection == nullptr) {
        return false;
    }
    const QSharedPointer<UniformBufferObject> &uniformBuffer = InstanceDataAccess::uniformBuffer(*collection);
    if (!uniformBuffer.isNull()) { // null if the collection was never bound
        uniformBuffer->unbind(program);
    }
    InstanceDataAccess::unbindTextureTokens(*collection, textureManager);
    return true;
}

QString UniformBufferMechanism::glslFunctionDefinition(DataType type, const QString &name, bool useVec4,
                                                       unsigned long offset, unsigned long)
{
    const QString definition = accessorHead(glslType(type), name, QStringLiteral("uint Index"));
    if (useVec4 && useVec4Storage(type)) {
        return QStringLiteral("%1 { return %2(%3s[ Index]._data%4%5); } %6")
            .arg(definition, glslType(type), _planName, QString::number(offset & ~15ul),
                 glslAccessorString(componentOf(offset), numberComponents(type)),
                 layoutComment(dataSize(type), offset));
    }
    return QStringLiteral("%1 { return %2s[ Index].%3%4; }")
        .arg(definition, _planName, name, tripleSwizzle(numberComponents(type)));
}

QString UniformBufferMechanism::glslUniformDeclaration(const QList<DataType> &types,
                                                       const QHash<DataType, QStringList> &namesByType,
                                                       bool useVec4, unsigned long arraySize)
{
    const QString members = structMembers(*this, types, namesByType, useVec4);
    if (members.isEmpty()) { // GLSL has no empty structures
        return QString();
    }
    return glslLayoutDefinition().arg(_planName, members, QString::number(arraySize));
}

bool UniformBufferMechanism::useVec4Storage(DataType type)
{
    return ParameterMechanism::useVec4Storage(type);
}

QString UniformBufferMechanism::glslLayoutDefinition()
{
    return QStringLiteral("struct %1\n{\n%2\n};\n\nlayout (std140) uniform u_%1Uniform{\n  %1 %1s[%3];\n};");
}

void UniformBufferMechanism::uploadDataToBuffer(QSharedPointer<BufferObject> buffer, const QByteArray &data,
                                                InstanceDataCollection *collection)
{
    const auto fill = [&] {
        // Values of one byte: TextureMechanism::bind() compares valueCount() with the number of bytes.
        buffer->uploadArbitraryData(data.constData(), data.size(),
                                    unsigned(InstanceDataAccess::usage(*collection)), 1);
    };
    // Not bound without need: a bind and an unbind would cost two GL calls, and clear the host's binding of the target.
    if (!buffer->isBindNeededForUpload()) {
        fill();
        return;
    }
    const AutoBinder binder(buffer);
    fill();
}

void UniformBufferMechanism::uploadIfDirty(const QSharedPointer<BufferObject> &buffer,
                                           InstanceDataCollection *collection)
{
    if (InstanceDataAccess::isDirty(*collection)) {
        upload(*this, buffer, collection);
    }
}

}} // namespace Orvane::Zel
