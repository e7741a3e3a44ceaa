#include "CommandRing.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kMinCommands = 256;

PFNGLBUFFERSTORAGEPROC bufferStorage()
{
    return hasGLExtension("GL_ARB_buffer_storage")
               ? reinterpret_cast<PFNGLBUFFERSTORAGEPROC>(getGLProcAddress("glBufferStorage", true))
               : nullptr;
}

} // namespace

bool CommandRing::canMapPersistently()
{
    return bufferStorage() != nullptr;
}

CommandRing::CommandRing(bool persistent)
    : _persistent(persistent)
{
}

CommandRing::~CommandRing()
{
    deleteFences();
}

CommandRing::Command *CommandRing::begin(int count)
{
    if (count > _capacity && !allocate(count)) {
        return nullptr;
    }
    if (_persistent) {
        nextRegion();
        return _mapped + qint64(_region) * _capacity;
    }
    const GLsizeiptr size = GLsizeiptr(count) * GLsizeiptr(sizeof(Command));
    _buffer->bind();
    // New memory: the driver keeps the old commands until the GPU has read them.
    glBufferData(GL_DRAW_INDIRECT_BUFFER, GLsizeiptr(_capacity) * GLsizeiptr(sizeof(Command)), nullptr,
                 GL_STREAM_DRAW);
    _mapped = static_cast<Command *>(
        glMapBufferRange(GL_DRAW_INDIRECT_BUFFER, 0, size, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT));
    if (_mapped == nullptr) {
        _buffer->unbind();
    }
    return _mapped;
}

bool CommandRing::end()
{
    if (_persistent) {
        return true;
    }
    _mapped = nullptr;
    const bool isKept = glUnmapBuffer(GL_DRAW_INDIRECT_BUFFER) != GL_FALSE;
    _buffer->unbind();
    return isKept;
}

void CommandRing::bind()
{
    _buffer->bind();
    _isDrawn = true;
}

void CommandRing::unbind()
{
    _buffer->unbind();
}

quint64 CommandRing::offset() const
{
    return _persistent ? quint64(_region) * quint64(_capacity) * sizeof(Command) : 0;
}

quint64 CommandRing::bytes() const
{
    return quint64(_capacity) * sizeof(Command) * quint64(_persistent ? kRegions : 1);
}

bool CommandRing::allocate(int count)
{
    // The GPU may still read the old buffer: GL deletes it after that.
    deleteFences();
    _isDrawn = false;
    _capacity = std::max(kMinCommands, count + count / 4);
    _buffer = OpenGLDeviceContext::current()->newBuffer();
    _buffer->setTarget(GL_DRAW_INDIRECT_BUFFER);
    if (!_persistent) {
        return true;
    }
    constexpr GLbitfield kFlags = GL_MAP_WRITE_BIT | GL_MAP_PERSISTENT_BIT | GL_MAP_COHERENT_BIT;
    const auto size = GLsizeiptr(bytes());
    const AutoBinder bound(_buffer.data());
    bufferStorage()(GL_DRAW_INDIRECT_BUFFER, size, nullptr, kFlags);
    _mapped = static_cast<Command *>(glMapBufferRange(GL_DRAW_INDIRECT_BUFFER, 0, size, kFlags));
    if (_mapped == nullptr) {
        _capacity = 0; // the next call tries again
    }
    return _mapped != nullptr;
}

/// The fence comes here and not after a draw, because any number of draws may use the region.
void CommandRing::nextRegion()
{
    if (!_isDrawn) {
        return;
    }
    _isDrawn = false;
    _fences[_region] = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    _region = (_region + 1) % kRegions;
    GLsync &fence = _fences[_region];
    if (fence != nullptr) {
        constexpr GLuint64 kSecond = 1000000000;
        while (glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, kSecond) == GL_TIMEOUT_EXPIRED) {}
        glDeleteSync(fence);
        fence = nullptr;
    }
}

void CommandRing::deleteFences()
{
    for (GLsync &fence : _fences) {
        if (fence != nullptr) {
            glDeleteSync(fence);
            fence = nullptr;
        }
    }
}

}} // namespace Orvane::ZelKit
