#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// A snapshot of the GL bindings and settings of the current context, for a later comparison. Of texture bindings it
/// contains those of the active texture unit.
class StateGuard
{
public:
    StateGuard();

    /// The differences to the current state, such as "GL_BLEND 0 -> 1", sorted by name. Empty after an operation that must
    /// restore the state.
    QStringList changes() const;

private:
    QMap<QString, QString> _state;
};
