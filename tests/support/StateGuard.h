#pragma once

#include <QtCore/QStringList>
#include <QtGui/qopengl.h>

#include <vector>

/// A snapshot of the GL bindings and settings of the current context, for a later comparison.
class StateGuard
{
public:
    /// Those that the snapshot contains.
    static const std::vector<GLenum> &capabilities();

    StateGuard();

    /// The differences to the current state, such as "GL_BLEND 0 -> 1" and "GL_TEXTURE_BINDING_2D of unit 3 0 -> 7", sorted by
    /// name. Empty after an operation that must restore the state.
    QStringList changes() const;

private:
    std::vector<double> _values;
};
