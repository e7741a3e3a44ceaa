#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The GL state of the current context at one moment, bindings and settings, to be compared with a later one.
/// Of textures it knows the bindings of the active unit.
class StateGuard
{
public:
    StateGuard();

    /// What is different now, each as "GL_BLEND 0 -> 1", sorted by name: an operation that must restore what
    /// it touches leaves the empty list, any other exactly what it is stated to leave.
    QStringList changes() const;

private:
    QMap<QString, QString> _state;
};
