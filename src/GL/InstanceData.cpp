#include "InstanceData.h"

#include "InstanceDataPlan.h"
#include "InstanceDataRegistry.h"
#include "Reporting.h"
#include "TextureFileInfo.h"
#include "TextureManager.h"

#include <cstring>

namespace Orvane { namespace Zel {

InstanceData::InstanceData() = default;

InstanceData::InstanceData(const QString &planName)
    : _plan(InstanceDataRegistry::Instance()->getPlan(planName))
{
    clear();
}

void InstanceData::set(const QString &dataName, const void *data, unsigned long dataSize)
{
    if (!hasPlan()) {
        // Required: this message too, after that of hasPlan(); see InstanceDataTest.WithoutAPlanNothingIsWritten.
        ZEL_ASSERT(_plan != NULL, "data '%s'", qPrintable(dataName));
        return;
    }
    // Checks do not return: a host that sees a report still gets its bytes, as everywhere in the instance data; write()
    // keeps them inside the item. See InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
    const int offset = int(_plan->offset(dataName));
    ZEL_ASSERT(_plan->contains(dataName), "plan '%s' data '%s'", qPrintable(_plan->name()),
               qPrintable(dataName));
    ZEL_ASSERT(offset >= 0 && offset < _data.size(), "plan '%s' data '%s'", qPrintable(_plan->name()),
               qPrintable(dataName));
    ZEL_ASSERT(dataSize <= _plan->dataSize(dataName), "plan '%s' data '%s'", qPrintable(_plan->name()),
               qPrintable(dataName));
    ZEL_ASSERT(InstanceDataPlan::eTexture != _plan->dataType(dataName),
               "InstanceData::set( '%s') call on data type %d", qPrintable(dataName),
               int(_plan->dataType(dataName)));
    write(offset, data, dataSize);
}

void InstanceData::set(int offset, const void *data, unsigned long size)
{
    if (hasPlan()) {
        write(offset, data, size);
    }
}

void InstanceData::get(const QString &name, void *dest, unsigned long) const
{
    // No report without a plan, unlike in set(): nothing that the host has given is lost.
    if (_plan != nullptr) {
        read(int(_plan->offset(name)), _plan->dataSize(name), dest);
    }
}

void InstanceData::get(int offset, unsigned long size, void *dest, unsigned long) const
{
    read(offset, size, dest);
}

void InstanceData::setTexture(const QString &name, Texture *texture, TextureManager *textureManager)
{
    // The plan is checked before the manager makes a token: the manager would then own the texture, although no member holds
    // the token.
    if (_plan != nullptr && textureManager != nullptr) {
        setTextureToken(name, textureManager->tokenForTexture(texture));
    }
}

void InstanceData::setTexture(const QString &name, Texture *texture)
{
    setTexture(name, texture, TextureManager::Instance());
}

void InstanceData::setTexture(const QString &name, const QString &path)
{
    if (_plan != nullptr) {
        setTextureToken(name, TextureManager::Instance()->tokenForImage(path, TextureFileInfo()));
    }
}

void InstanceData::setTexture(int offset, Texture *texture, TextureManager *textureManager)
{
    if (textureManager != nullptr) {
        setTextureToken(offset, textureManager->tokenForTexture(texture));
    }
}

void InstanceData::setTexture(int offset, Texture *texture)
{
    setTexture(offset, texture, TextureManager::Instance());
}

void InstanceData::setTextureToken(int offset, TextureToken token)
{
    // A replaced token stays in the list, because another member may have the same token.
    TextureToken::insert(_textureTokens, token);
    write(offset, &token.token, sizeof token.token);
}

const QVector<TextureToken> &InstanceData::getTextureTokens() const
{
    return _textureTokens;
}

void InstanceData::clear()
{
    // A new array instead of zeros in the old one, which copies of this item may share; see
    // InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
    _data = QByteArray(_plan != nullptr ? int(_plan->totalDataSize()) : 0, '\0');
    clearTextures();
}

void InstanceData::clearTextures()
{
    _textureTokens.clear();
}

QByteArray InstanceData::dataArray() const
{
    return _data;
}

QString InstanceData::name() const
{
    return _plan != nullptr ? _plan->name() : QString();
}

quint64 InstanceData::memoryEstimateCPU() const
{
    // Required: 4 bytes a token, not 8; see InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
    return quint64(_data.size()) + 4 * quint64(_textureTokens.size()) + sizeof *this;
}

bool InstanceData::hasPlan() const
{
    if (_plan == nullptr) {
        ZEL_LOG_CRITICAL(
            "InstanceData::set() : There is no associated instanceData plan. set() should not be "
            "called on such InstanceData");
    }
    return _plan != nullptr;
}

void InstanceData::setTextureToken(const QString &dataName, TextureToken token)
{
    ZEL_ASSERT(InstanceDataPlan::eTexture == _plan->dataType(dataName),
               "InstanceData::setTexture( '%s') call on data type %d", qPrintable(dataName),
               int(_plan->dataType(dataName)));
    setTextureToken(int(_plan->offset(dataName)), token);
}

bool InstanceData::isInside(int offset, unsigned long size) const
{
    // Without the sum of offset and size: it wraps to a small number for the sizes close to the largest one that
    // InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers tries.
    const auto end = static_cast<unsigned long>(_data.size());
    return offset >= 0 && size <= end && static_cast<unsigned long>(offset) <= end - size;
}

void InstanceData::write(int offset, const void *data, unsigned long size)
{
    // A null pointer is undefined for memcpy() even if it copies nothing. data() detaches, so that copies of this item keep
    // their bytes.
    if (data != nullptr && size > 0 && isInside(offset, size)) {
        std::memcpy(_data.data() + offset, data, size);
    }
}

void InstanceData::read(int offset, unsigned long size, void *dest) const
{
    if (dest != nullptr && size > 0 && isInside(offset, size)) {
        std::memcpy(dest, _data.constData() + offset, size); // constData() does not detach
    }
}

}} // namespace Orvane::Zel
