#include "TextureMechanism.h"

#include "AutoBinder.h"
#include "BufferObject.h"
#include "GLUtilities.h"
#include "InstanceDataCollection.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "TextureManager.h"

namespace Orvane { namespace Zel {

namespace {

void bindToSampler(ShaderProgram *program, const QString &sampler, const QSharedPointer<Texture> &texture)
{
    const int location = program->getUniformLocation(sampler);
    if (location >= 0 && !texture.isNull() && texture->bind()) {
        program->setUniform(location, int(texture->unit()));
    }
}

void unbindFromSampler(ShaderProgram *program, const QString &sampler, const QSharedPointer<Texture> &texture)
{
    if (!texture.isNull() && program->getUniformLocation(sampler) >= 0) {
        texture->unbind();
    }
}

} // namespace

TextureMechanism::TextureMechanism(const QString &planName)
    : TextureMechanism(planName, GL_PIXEL_UNPACK_BUFFER)
{
}

TextureMechanism::TextureMechanism(const QString &planName, unsigned int boTarget)
    : UniformBufferMechanism(planName, boTarget)
    , _samplerIName(QStringLiteral("u_i") + planName + QStringLiteral("Sampler"))
    , _samplerFName(QStringLiteral("u_f") + planName + QStringLiteral("Sampler"))
{
}

bool TextureMechanism::bind(ShaderProgram *program, TextureManager *textureManager,
                            InstanceDataCollection *collection)
{
    const QSharedPointer<BufferObject> &buffer = bufferOf(collection);
    if (buffer.isNull()) {
        return false;
    }
    if (collection->_textureI.isNull() && collection->_textureF.isNull()) {
        collection->_textureI.reset(new Texture(nullptr));
        collection->_textureF.reset(new Texture(nullptr));
        collection->_dirty = true;
    }
    const int texels = collection->_data.size() / kTexelSize;
    bool allocated = true;
    if (!collection->fitsTexture()) {
        uploadIfDirty(buffer, collection); // GL would refuse the textures; reported when the data came
    } else if (buffer->valueCount() != collection->_data.size()) {
        allocated = allocateImageTextureStorage(collection->_textureI, RGBA32I, texels);
        allocated = allocateImageTextureStorage(collection->_textureF, RGBA32F, texels) && allocated;
        collection->_dirty = true;
    }
    if (collection->_dirty && allocated) {
        uploadIfDirty(buffer, collection);
        // What found no unit is done at the next bind.
        collection->_dirty = !pboToTexture(collection->_textureI, RGBA32I, buffer, texels)
                             || !pboToTexture(collection->_textureF, RGBA32F, buffer, texels);
    }
    collection->bindTextureTokens(textureManager);
    setUniformValues(program, collection);
    return true;
}

bool TextureMechanism::unbind(ShaderProgram *program, TextureManager *textureManager,
                              InstanceDataCollection *collection)
{
    if (collection == nullptr) {
        return false;
    }
    if (program != nullptr) {
        unbindFromSampler(program, _samplerFName, collection->_textureF);
        unbindFromSampler(program, _samplerIName, collection->_textureI);
    }
    if (textureManager != nullptr) {
        textureManager->unbind(collection->_textureTokens);
    }
    return true;
}

QString TextureMechanism::glslFunctionDefinition(DataType type, const QString &name, bool,
                                                 unsigned long offset, unsigned long totalSize)
{
    const QString fetch = QStringLiteral("texelFetch( %1, ivec2( (Index * uint(%2)) + uint(%3), 0), 0)");
    return texelAccessor(type, name, offset, totalSize, fetch);
}

QString TextureMechanism::glslUniformDeclaration(const QList<DataType> &,
                                                 const QHash<DataType, QStringList> &, bool, unsigned long)
{
    return samplerDeclarations(QStringLiteral("sampler2D"), QStringLiteral("isampler2D"));
}

bool TextureMechanism::useVec4Storage(DataType)
{
    return false;
}

void TextureMechanism::setUniformValues(ShaderProgram *program, InstanceDataCollection *collection)
{
    if (program == nullptr || collection == nullptr) {
        return;
    }
    bindToSampler(program, _samplerFName, collection->_textureF);
    bindToSampler(program, _samplerIName, collection->_textureI);
}

bool TextureMechanism::allocateImageTextureStorage(QSharedPointer<Texture> texture, TextureFormat format,
                                                   int texels)
{
    texture->setTarget(GL_TEXTURE_2D);
    const AutoBinder binder(texture);
    if (!texture->isBound()) { // the calls below would go to another texture
        return false;
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GLint(SizedInternalFormat(format)), texels, 1, 0, ExternalFormat(format),
                 ExternalType(format), nullptr);
    return true;
}

bool TextureMechanism::pboToTexture(QSharedPointer<Texture> texture, TextureFormat format,
                                    QSharedPointer<BufferObject> buffer, int texels)
{
    if (texels < 1) {
        return true;
    }
    const AutoBinder textureBinder(texture);
    if (!texture->isBound()) {
        return false;
    }
    const AutoBinder bufferBinder(buffer);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texels, 1, ExternalFormat(format), ExternalType(format), nullptr);
    return true;
}

QString TextureMechanism::texelAccessor(DataType type, const QString &name, unsigned long offset,
                                        unsigned long totalSize, const QString &fetch) const
{
    const bool isMatrix = type == InstanceDataPlan::eMat4;
    const QString sampler = isIntegerType(type) ? _samplerIName : _samplerFName;
    const QString stride = QString::number(totalSize >> 4);
    const QString triple = tripleSwizzle(type);
    const QString swizzle = isMatrix ? QStringLiteral(".xyzw")
                            : triple.isEmpty()
                                ? glslAccessorString(componentOf(offset), numberComponents(type))
                                : triple;
    QStringList fetches;
    for (unsigned long texel = texelOf(offset); fetches.size() < (isMatrix ? 4 : 1); ++texel) {
        fetches += fetch.arg(sampler, stride, QString::number(texel)) + swizzle;
    }
    return QStringLiteral("%1 { return %2(%3); }%4")
        .arg(signature(type, name, QStringLiteral("uint Index")), glslType(type),
             fetches.join(QStringLiteral(",\n")), remark(type, offset));
}

QString TextureMechanism::samplerDeclarations(const QString &samplerF, const QString &samplerI) const
{
    return QStringLiteral("uniform %1 %2;\nuniform %3 %4;\n")
        .arg(samplerF, _samplerFName, samplerI, _samplerIName);
}

}} // namespace Orvane::Zel
