#pragma once

#include <QtCore/QtGlobal>

namespace zelview {

/// GL calls of a while.
struct GLCalls
{
    qint64 all = 0;
    qint64 stateChanges = 0; ///< those that bind, enable or set what later draws go by, uniforms left out
    qint64 redundant = 0;    ///< state changes to what is there already
};

/// Counts the GL calls that go through the library's table of entry points, in its scope. What the library's classes look
/// up for themselves, which is what came after OpenGL 3.2, is not among them.
///
/// One at a time. It knows nothing of the state at its start: the first change of each kind is never redundant.
class GLCallCounter
{
    Q_DISABLE_COPY(GLCallCounter)

public:
    GLCallCounter();
    ~GLCallCounter();

    GLCalls counts() const;
};

} // namespace zelview
