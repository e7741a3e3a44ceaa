#include "BufferTextureMechanism.h"

#include "AutoBinder.h"
#include "BufferObject.h"
#include "GLUtilities.h"
#include "Texture.h"
#include "private/BoundTexture.h"
#include "private/InstanceDataAccess.h"

namespace Orvane { namespace Zel {

BufferTextureMechanism::BufferTextureMechanism(const QString &planName)
    : TextureMechanism(planName, GL_TEXTURE_BUFFER)
    , _texBufferProc(initTexBufferGLProcAddress())
{
}

bool BufferTextureMechanism::bind(ShaderProgram *program, TextureManager *textureManager,
                                  InstanceDataCollection *collection)
{
    const QSharedPointer<BufferObject> &buffer = InstanceDataAccess::buffer(collection, _boTarget);
    if (buffer.isNull()) {
        return false;
    }
    QSharedPointer<Texture> &integers = InstanceDataAccess::integerTexture(*collection);
    QSharedPointer<Texture> &floats = InstanceDataAccess::floatTexture(*collection);
    // Both or none: a texture unit that is free for one is free for the other. The textures refer to the buffer, whose later
    // changes of size they follow.
    if (integers.isNull() && floats.isNull()) {
        integers = initBufferTextureStorage(RGBA32I, buffer);
        floats = initBufferTextureStorage(RGBA32F, buffer);
        InstanceDataAccess::setDirty(*collection, true);
    }
    uploadIfDirty(buffer, collection);
    collection->bindTextureTokens(textureManager);
    setUniformValues(program, collection);
    return true;
}

QString BufferTextureMechanism::glslFunctionDefinition(DataType type, const QString &name, bool,
                                                       unsigned long offset, unsigned long totalSize)
{
    // Buffer textures have one coordinate, of type int, and no level.
    const QString fetch = QStringLiteral("texelFetch( %1, int( (Index * uint(%2)) + uint(%3) ))");
    return texelAccessor(type, name, offset, totalSize, fetch);
}

QString BufferTextureMechanism::glslUniformDeclaration(const QList<DataType> &,
                                                       const QHash<DataType, QStringList> &, bool,
                                                       unsigned long)
{
    return samplerDeclarations(QStringLiteral("samplerBuffer"), QStringLiteral("isamplerBuffer"));
}

bool BufferTextureMechanism::useVec4Storage(DataType)
{
    return false; // texels have four components anyway
}

QSharedPointer<Texture> BufferTextureMechanism::initBufferTextureStorage(TextureFormat format,
                                                                         QSharedPointer<BufferObject> buffer)
{
    const QSharedPointer<Texture> texture(newBoundTexture(_boTarget).release());
    if (texture.isNull()) { // the next bind tries again
        return {};
    }
    {
        const AutoBinder binder(buffer);
        glTexBuffer(_boTarget, SizedInternalFormat(format), buffer->getBO());
    }
    texture->unbind();
    return texture;
}

void *BufferTextureMechanism::initTexBufferGLProcAddress()
{
    return nullptr;
}

}} // namespace Orvane::Zel
