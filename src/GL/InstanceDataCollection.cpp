#include "InstanceDataCollection.h"

#include "BufferObject.h"
#include "GLUtilities.h"
#include "InstanceDataPlan.h"
#include "InstanceDataRegistry.h"
#include "OpenGLDeviceContext.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "TextureManager.h"
#include "UniformBufferObject.h"
#include "private/Hints.h"
#include "private/InstanceDataGLSL.h"

#include <cstring>
#include <limits>

namespace Orvane { namespace Zel {

namespace {

/// Returns the size of the items in bytes, or 0 if a QByteArray cannot hold them all: a part of the items would look
/// complete. QByteArray needs some bytes below the largest int for its own header.
int storableSize(unsigned long count, size_t itemSize)
{
    constexpr size_t kMax = size_t(std::numeric_limits<int>::max()) - 64;
    return itemSize == 0 || count > kMax / itemSize ? 0 : int(count * itemSize);
}

} // namespace

InstanceDataCollection::InstanceDataCollection(InstanceDataPlan *plan, unsigned long numItems)
    : InstanceDataCollection(plan)
{
    if (_plan != nullptr) {
        ZEL_ASSERT(numItems <= _plan->arraySize(), "List is too big for plan '%s'",
                   qPrintable(_plan->name()));
        _data = QByteArray(storableSize(numItems, itemSize()), '\0');
        assertFitsTexture();
    }
}

InstanceDataCollection::InstanceDataCollection(InstanceDataPlan *plan, const char *bytes,
                                               unsigned long numBytes)
    : InstanceDataCollection(plan)
{
    assertFits(numBytes);
    copy(bytes, numBytes);
}

InstanceDataCollection::InstanceDataCollection(const QString &planName, const QList<InstanceData> &items)
    : InstanceDataCollection(planName)
{
    assertFits(items);
    append(items);
}

InstanceDataCollection::InstanceDataCollection(const QString &planName)
    : InstanceDataCollection(InstanceDataRegistry::Instance()->getPlan(planName))
{
}

InstanceDataCollection::InstanceDataCollection(InstanceDataPlan *plan)
    : QObject(nullptr)
    , _plan(plan)
    , _boUsageFlags(GL_STATIC_DRAW)
{
}

InstanceDataCollection::~InstanceDataCollection() = default;

void InstanceDataCollection::update(const QList<InstanceData> &items)
{
    assertFits(items);
    // Required: only update() drops the list of tokens, set() of a token does not; see
    // InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
    _textureTokens.clear();
    _data.resize(0); // unlike clear(), keeps the memory: hosts replace the items in each frame
    append(items);
    _dirty = true;
}

void InstanceDataCollection::update(const char *bytes, unsigned long numBytes)
{
    assertFits(numBytes);
    _textureTokens.clear();
    copy(bytes, numBytes);
    _dirty = true;
}

void InstanceDataCollection::set(int index, const QString &name, const void *data, unsigned long size)
{
    if (_plan != nullptr) {
        setBytes(index, _plan->offset(name), data, size);
    }
}

void InstanceDataCollection::get(int index, const QString &name, void *dest) const
{
    if (_plan != nullptr) {
        getBytes(index, _plan->offset(name), dest, _plan->dataSize(name));
    }
}

void InstanceDataCollection::copyInstanceMember(int index, const QString &from, const QString &to)
{
    if (_plan != nullptr) {
        moveBytes(index, _plan->offset(from), _plan->offset(to), _plan->dataSize(from));
    }
}

int InstanceDataCollection::size() const
{
    // Rounded down: the bytes of an incomplete last item are uploaded, but are no item.
    return itemSize() == 0 ? 0 : int(size_t(_data.size()) / itemSize());
}

QByteArray InstanceDataCollection::dataArray() const
{
    return _data;
}

InstanceDataPlan *InstanceDataCollection::plan() const
{
    return _plan;
}

void InstanceDataCollection::clearDirtyStatus()
{
    _dirty = false;
}

void InstanceDataCollection::setBOUsageFlags(int flags)
{
    _boUsageFlags = flags;
}

void InstanceDataCollection::useStorageBuffer(int flags)
{
    _storageBufferFlags = flags;
}

QSharedPointer<UniformBufferObject> InstanceDataCollection::getUniformBufferObject(unsigned int target)
{
    if (!_uniformBufferObject.isNull()) {
        return _uniformBufferObject;
    }
    // Without a context nothing is stored, so that a bind with a context succeeds later.
    const QSharedPointer<OpenGLDeviceContext> context = OpenGLDeviceContext::current();
    if (context.isNull() || _plan == nullptr) {
        return {};
    }
    // Only the first target counts. That is enough: a plan has one mechanism, which always passes the same.
    const QSharedPointer<BufferObject> buffer = context->newBuffer();
    buffer->setTarget(target);
    _uniformBufferObject = context->newUniformBuffer(blockName(_plan->name()), buffer);
    // An immutable buffer must have its size before the first upload. It cannot grow with the collection later.
    if (_storageBufferFlags != 0) {
        buffer->useStorageBuffer(_data.size(), _storageBufferFlags);
    }
    _dirty = true; // the buffer is empty, even if the host has called clearDirtyStatus()
    return _uniformBufferObject;
}

bool InstanceDataCollection::bind(ShaderProgram *program, TextureManager *textureManager)
{
    return _plan != nullptr && _plan->bind(program, textureManager, this);
}

bool InstanceDataCollection::unbind(ShaderProgram *program, TextureManager *textureManager)
{
    return _plan != nullptr && _plan->unbind(program, textureManager, this);
}

bool InstanceDataCollection::bind(TextureManager *textureManager)
{
    return bind(ShaderProgram::currentShaderProgram(), textureManager);
}

bool InstanceDataCollection::unbind(TextureManager *textureManager)
{
    return unbind(ShaderProgram::currentShaderProgram(), textureManager);
}

bool InstanceDataCollection::bind()
{
    return bind(TextureManager::Instance());
}

bool InstanceDataCollection::unbind()
{
    return unbind(TextureManager::Instance());
}

void InstanceDataCollection::bindTextureTokens(TextureManager *textureManager)
{
    if (textureManager == nullptr) {
        return;
    }
    // An empty list means "not searched for". Plans without textures are excluded, or each draw would search.
    if (_textureTokens.isEmpty() && _plan != nullptr && !_plan->_textureTokenOffsets.isEmpty()) {
        harvestTextureTokens();
    }
    textureManager->bind(_textureTokens);
}

quint64 InstanceDataCollection::memoryEstimateCPU() const
{
    // Required: 4 bytes a token, as in InstanceData; see InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
    const quint64 own = quint64(_data.size()) + 4 * quint64(_textureTokens.size()) + sizeof *this;
    return _uniformBufferObject.isNull() ? own : own + _uniformBufferObject->memoryEstimateCPU();
}

quint64 InstanceDataCollection::memoryEstimateGPU() const
{
    return _uniformBufferObject.isNull() ? 0 : _uniformBufferObject->memoryEstimateGPU();
}

size_t InstanceDataCollection::itemSize() const
{
    return _plan != nullptr ? _plan->totalDataSize() : 0;
}

void InstanceDataCollection::assertFits(unsigned long numBytes) const
{
    if (itemSize() != 0) { // the division below
        ZEL_ASSERT((numBytes / _plan->totalDataSize()) <= _plan->arraySize(), "List is too big for plan '%s'",
                   qPrintable(_plan->name()));
    }
}

void InstanceDataCollection::assertFits(const QList<InstanceData> &instanceDataDataList) const
{
    if (_plan != nullptr) {
        ZEL_ASSERT(size_t(instanceDataDataList.size()) <= _plan->arraySize(),
                   "List %d too big, max %d plan '%s'", instanceDataDataList.size(), int(_plan->arraySize()),
                   qPrintable(_plan->name()));
    }
}

void InstanceDataCollection::append(const QList<InstanceData> &items)
{
    _data.reserve(storableSize(static_cast<unsigned long>(items.size()), itemSize()));
    for (const InstanceData &item : items) {
        _data += item.dataArray();
    }
    assertFitsTexture();
}

void InstanceDataCollection::copy(const char *bytes, unsigned long numBytes)
{
    _data = bytes != nullptr ? QByteArray(bytes, storableSize(numBytes, 1)) : QByteArray();
    assertFitsTexture();
}

bool InstanceDataCollection::fitsTexture() const
{
    return _plan == nullptr || _plan->fitsTexture(_data.size());
}

/// Reported apart from assertFits(), because the width of a data texture does not limit arraySize(): see
/// InstanceDataPlan::arraySizeMax().
void InstanceDataCollection::assertFitsTexture() const
{
    ZEL_ASSERT(this->fitsTexture(), "List is too big for plan '%s'", qPrintable(_plan->name()));
}

// Cold: inlined, it adds about 10 instructions to each draw in the rows sceneown and sceneowntokens of draw_zel.
ZELGL_COLD_PATH void InstanceDataCollection::harvestTextureTokens()
{
    for (const int offset : _plan->_textureTokenOffsets) {
        TextureToken token;
        // position() ends the loop: bytes from a host may end within an item, before its token.
        for (int index = 0; position(index, size_t(offset), sizeof token.token) >= 0; ++index) {
            getBytes(index, size_t(offset), &token.token, sizeof token.token);
            TextureToken::insert(_textureTokens, token);
        }
    }
}

qint64 InstanceDataCollection::position(int index, size_t offset, size_t size) const
{
    // In 64 bits, and compared without a sum: neither a large index nor a large size overflows.
    const auto end = size_t(_data.size());
    const qint64 start = index * qint64(itemSize()) + qint64(offset);
    return index >= 0 && size <= end && size_t(start) <= end - size ? start : -1;
}

void InstanceDataCollection::getBytes(int index, size_t offset, void *dest, size_t size) const
{
    const qint64 start = position(index, offset, size);
    if (start >= 0 && dest != nullptr) {
        std::memcpy(dest, _data.constData() + start, size);
    }
}

void InstanceDataCollection::setBytes(int index, size_t offset, const void *data, size_t size)
{
    const qint64 start = position(index, offset, size);
    if (start < 0) {
        return;
    }
    if (data != nullptr && size > 0) {
        std::memcpy(_data.data() + start, data, size);
    }
    _dirty = true; // required: also if there was nothing to copy
}

void InstanceDataCollection::moveBytes(int index, size_t from, size_t to, size_t size)
{
    // Checked against the end of all items, not against the members: a member that is larger than its destination overwrites
    // the neighbours of the destination, and may overlap it; see
    // InstanceDataTest.RandomWritesChangeTheirBytesAndNoOthers.
    const qint64 source = position(index, from, size);
    const qint64 dest = position(index, to, size);
    if (source < 0 || dest < 0) {
        return;
    }
    char *data = _data.data(); // once, because the first call may move the bytes
    std::memmove(data + dest, data + source, size);
    _dirty = true;
}

}} // namespace Orvane::Zel
