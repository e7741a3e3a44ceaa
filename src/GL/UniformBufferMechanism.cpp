#include "UniformBufferMechanism.h"

#include "AutoBinder.h"
#include "BufferObject.h"
#include "GLUtilities.h"
#include "InstanceDataCollection.h"
#include "TextureManager.h"
#include "UniformBufferObject.h"

#include <QtCore/QStringList>

namespace Orvane { namespace Zel {

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
    const QSharedPointer<BufferObject> &buffer = bufferOf(collection);
    if (buffer.isNull()) {
        return false;
    }
    uploadIfDirty(buffer, collection);
    collection->bindTextureTokens(textureManager);
    collection->_uniformBufferObject->bind(program);
    return true;
}

bool UniformBufferMechanism::unbind(ShaderProgram *program, TextureManager *textureManager,
                                    InstanceDataCollection *collection)
{
    if (collection == nullptr) {
        return false;
    }
    if (!collection->_uniformBufferObject.isNull()) {
        collection->_uniformBufferObject->unbind(program);
    }
    if (textureManager != nullptr) {
        textureManager->unbind(collection->_textureTokens);
    }
    return true;
}

QString UniformBufferMechanism::glslFunctionDefinition(DataType type, const QString &name, bool useVec4,
                                                       unsigned long offset, unsigned long)
{
    const QString definition = signature(type, name, QStringLiteral("uint Index"));
    if (useVec4 && useVec4Storage(type)) {
        return QStringLiteral("%1 { return %2(%3s[ Index]._data%4%5); } %6")
            .arg(definition, glslType(type), _planName, QString::number(offset & ~15ul),
                 glslAccessorString(componentOf(offset), numberComponents(type)), remark(type, offset));
    }
    return QStringLiteral("%1 { return %2s[ Index].%3%4; }")
        .arg(definition, _planName, name, tripleSwizzle(type));
}

QString UniformBufferMechanism::glslUniformDeclaration(const QList<DataType> &types,
                                                       const QHash<DataType, QStringList> &namesByType,
                                                       bool useVec4, unsigned long arraySize)
{
    const QString members = structMembers(types, namesByType, useVec4);
    if (members.isEmpty()) {
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
    const auto upload = [&] {
        buffer->uploadArbitraryData(data.constData(), data.size(), unsigned(collection->_boUsageFlags), 1);
    };
    if (!buffer->isBindNeededForUpload()) {
        upload();
        return;
    }
    const AutoBinder binder(buffer);
    upload();
}

const QSharedPointer<BufferObject> &UniformBufferMechanism::bufferOf(InstanceDataCollection *collection) const
{
    return collection != nullptr && !collection->_uniformBufferObject.isNull()
               ? collection->_uniformBufferObject->_bufferObject
               : newBufferOf(collection);
}

Q_NEVER_INLINE const QSharedPointer<BufferObject> &
UniformBufferMechanism::newBufferOf(InstanceDataCollection *collection) const
{
    static const QSharedPointer<BufferObject> kNone;
    if (collection != nullptr) {
        collection->getUniformBufferObject(_boTarget);
    }
    return collection == nullptr || collection->_uniformBufferObject.isNull()
               ? kNone
               : collection->_uniformBufferObject->_bufferObject;
}

void UniformBufferMechanism::uploadIfDirty(const QSharedPointer<BufferObject> &buffer,
                                           InstanceDataCollection *collection)
{
    if (collection->_dirty) {
        upload(buffer, collection);
    }
}

Q_NEVER_INLINE void UniformBufferMechanism::upload(const QSharedPointer<BufferObject> &buffer,
                                                   InstanceDataCollection *collection)
{
    uploadDataToBuffer(buffer, collection->_data, collection);
    collection->clearDirtyStatus();
}

QString UniformBufferMechanism::structMembers(const QList<DataType> &types,
                                              const QHash<DataType, QStringList> &namesByType, bool useVec4)
{
    const QString line = QStringLiteral("  %1 %2;");
    QStringList lines;
    size_t pos = 0;
    for (const DataType type : types) {
        const QStringList names = namesByType.value(type);
        if (useVec4 && useVec4Storage(type)) {
            const size_t end = pos + size_t(names.size()) * dataSize(type);
            for (; pos < end; pos += 16) {
                const QString data = QStringLiteral("_data") + QString::number(pos & ~size_t(15));
                lines += line.arg(glslVec4StorageType(type), data);
            }
            continue;
        }
        for (const QString &name : names) {
            lines += line.arg(glslPaddedType(type), name);
            pos += dataSize(type);
        }
    }
    // The dummies keep the size of the structure that of the plan's item.
    for (; pos % 16 != 0 && pos % 4 == 0; pos += 4) {
        lines += line.arg(QStringLiteral("float"), QStringLiteral("_dummy") + QString::number(pos));
    }
    return lines.join(QLatin1Char('\n'));
}

}} // namespace Orvane::Zel
