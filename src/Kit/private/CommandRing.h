#pragma once

#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLUtilities.h>

#include <QtCore/QSharedPointer>

namespace Orvane { namespace ZelKit {

/// A buffer of indirect draw commands that the host rewrites while the GPU still reads older ones.
///
/// With GL_ARB_buffer_storage three regions are mapped for good: a fence ends the use of each. Without, each frame orphans the
/// buffer.
class CommandRing
{
    Q_DISABLE_COPY(CommandRing)

public:
    using Command = Zel::DrawElementsIndirectCommand;

    static bool canMapPersistently();

    explicit CommandRing(bool persistent);
    ~CommandRing();

    /// Memory for commands, or null if the driver has none. Waits if the GPU still reads the region that is used again.
    Command *begin(int count);
    /// Returns false if the driver has lost the commands.
    bool end();

    /// Binds the buffer for a draw, which reads the commands from offset().
    void bind();
    void unbind();
    quint64 offset() const;

    quint64 bytes() const;

private:
    static constexpr int kRegions = 3;

    bool allocate(int count);
    void nextRegion();
    void deleteFences();

    const bool _persistent;
    QSharedPointer<Zel::BufferObject> _buffer;
    Command *_mapped = nullptr;
    int _capacity = 0; ///< commands in a region
    int _region = 0;
    bool _isDrawn = false; ///< whether a draw has used the region
    GLsync _fences[kRegions] = {};
};

}} // namespace Orvane::ZelKit
