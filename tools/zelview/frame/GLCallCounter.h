#pragma once

#include <QtCore/QtGlobal>

namespace zelview {

/// Numbers of GL calls in an interval.
struct GLCalls
{
    qint64 all = 0;
    qint64 stateChanges = 0; ///< calls that bind, enable or set state of later draws, without uniforms
    qint64 redundant = 0;    ///< state changes that set the value that the state has already
};

/// While it exists, counts the GL calls through the library's table of entry points. Entry points that the library's
/// classes look up themselves, those newer than OpenGL 3.2, are not counted.
///
/// Only one may exist at a time. It does not know the state at its start: the first change of each kind is never redundant.
class GLCallCounter
{
    Q_DISABLE_COPY(GLCallCounter)

public:
    GLCallCounter();
    ~GLCallCounter();

    GLCalls counts() const;
};

} // namespace zelview
