#include "TextureMechanism.h"

#include "AutoBinder.h"
#include "BufferObject.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "private/InstanceDataAccess.h"
#include "private/InstanceDataGLSL.h"

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
    , _samplerIName(integerSamplerName(planName))
    , _samplerFName(floatSamplerName(planName))
{
}

bool TextureMechanism::bind(ShaderProgram *program, TextureManager *textureManager,
                            InstanceDataCollection *collection)
{
    const QSharedPointer<BufferObject> &buffer = InstanceDataAccess::buffer(collection, _boTarget);
    if (buffer.isNull()) {
        return false;
    }
    QSharedPointer<Texture> &integers = InstanceDataAccess::integerTexture(*collection);
    QSharedPointer<Texture> &floats = InstanceDataAccess::floatTexture(*collection);
    // 1. The textures, at the first bind.
    if (integers.isNull() && floats.isNull()) {
        integers.reset(new Texture(nullptr));
        floats.reset(new Texture(nullptr));
        InstanceDataAccess::setDirty(*collection, true);
    }

    // 2. Their storage, if the number of bytes has changed since the last upload. Without a free texture unit the collection
    //    is not uploaded at all: the buffer would then have the new size, and the next bind would not allocate.
    const int numBytes = InstanceDataAccess::bytes(*collection).size();
    const int texels = numBytes / kTexelSize;
    bool allocated = true;
    if (!InstanceDataAccess::fitsTexture(*collection)) {
        // GL would refuse textures of this width, which the collection has reported. With its buffer uploaded it is clean,
        // and later binds do not try again; see InstanceDataTest.MoreThanATextureHoldsIsReportedAndStaysOutOfTheTexture.
        uploadIfDirty(buffer, collection);
    } else if (buffer->valueCount() != numBytes) {
        allocated = allocateImageTextureStorage(integers, RGBA32I, texels);
        allocated = allocateImageTextureStorage(floats, RGBA32F, texels) && allocated;
        InstanceDataAccess::setDirty(*collection, true);
    }

    // 3. The bytes: to the buffer, and from there to both textures.
    if (InstanceDataAccess::isDirty(*collection) && allocated) {
        uploadIfDirty(buffer, collection);
        // Dirty again if a texture found no unit: the next bind copies. See
        // InstanceDataMechanismTest.ABindUploadsWhatHasChangedAndLeavesNothingBound.
        InstanceDataAccess::setDirty(*collection, !pboToTexture(integers, RGBA32I, buffer, texels)
                                                      || !pboToTexture(floats, RGBA32F, buffer, texels));
    }

    // 4. What the draw needs, changed or not.
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
        unbindFromSampler(program, _samplerFName, InstanceDataAccess::floatTexture(*collection));
        unbindFromSampler(program, _samplerIName, InstanceDataAccess::integerTexture(*collection));
    }
    InstanceDataAccess::unbindTextureTokens(*collection, textureManager);
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
    bindToSampler(program, _samplerFName, InstanceDataAccess::floatTexture(*collection));
    bindToSampler(program, _samplerIName, InstanceDataAccess::integerTexture(*collection));
}

bool TextureMechanism::allocateImageTextureStorage(QSharedPointer<Texture> texture, TextureFormat format,
                                                   int texels)
{
    texture->setTarget(GL_TEXTURE_2D);
    const AutoBinder binder(texture);
    if (!texture->isBound()) { // the calls below would go to another texture
        return false;
    }
    // Without these a texture of one level is incomplete, and texelFetch() undefined.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GLint(SizedInternalFormat(format)), texels, 1, 0, ExternalFormat(format),
                 ExternalType(format), nullptr);
    return true;
}

bool TextureMechanism::pboToTexture(QSharedPointer<Texture> texture, TextureFormat format,
                                    QSharedPointer<BufferObject> buffer, int texels)
{
    if (texels < 1) { // an empty collection: nothing to copy, and done
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
    // 1. What is fetched: the texture of the kind, so that no bit changes, and the distance of two items in texels.
    const bool isMatrix = type == InstanceDataPlan::eMat4;
    const QString sampler = isIntegerType(type) ? _samplerIName : _samplerFName;
    const QString stride = QString::number(totalSize >> 4);
    // 2. The components of a texel. Three of 32 bits have a texel of their own, a matrix has four.
    const QString triple = tripleSwizzle(numberComponents(type));
    const QString swizzle = isMatrix ? QStringLiteral(".xyzw")
                            : triple.isEmpty()
                                ? glslAccessorString(componentOf(offset), numberComponents(type))
                                : triple;
    // 3. The function: its value is made from all fetches.
    QStringList fetches;
    for (unsigned long texel = vec4Of(offset); fetches.size() < (isMatrix ? 4 : 1); ++texel) {
        fetches += fetch.arg(sampler, stride, QString::number(texel)) + swizzle;
    }
    return QStringLiteral("%1 { return %2(%3); }%4")
        .arg(accessorHead(glslType(type), name, QStringLiteral("uint Index")), glslType(type),
             fetches.join(QStringLiteral(",\n")), layoutComment(dataSize(type), offset));
}

QString TextureMechanism::samplerDeclarations(const QString &samplerF, const QString &samplerI) const
{
    return QStringLiteral("uniform %1 %2;\nuniform %3 %4;\n")
        .arg(samplerF, _samplerFName, samplerI, _samplerIName);
}

}} // namespace Orvane::Zel
