#pragma once

#include <QtCore/QString>

namespace Orvane { namespace Zel {

class ShaderProgram;

/// The name of a uniform in the two forms that the queries need.
struct UniformName
{
    explicit UniformName(const char *name)
        : latin1(name)
        , text(QString::fromLatin1(name))
    {
    }

    const char *latin1; ///< lives as long as the process
    QString text;
};

/// Finds the uniforms of a program or, for null, of the current program of GL.
///
/// Context: the program's must be current.
/// Errors:  -1 for unknown names, and where no program is current.
/// Private to the library.
class UniformLookup
{
public:
    explicit UniformLookup(const ShaderProgram *program);

    /// Uses the cache of the program. For the current program of GL it queries GL each time, because only the host
    /// knows when that program is linked again.
    int operator()(const UniformName &name) const;
    /// Null for the current one.
    const ShaderProgram *program() const { return _program; }

private:
    const ShaderProgram *_program;
    unsigned int _currentProgram = 0; ///< GL name, only without a program
};

/// Remembers the location of one uniform in the last program, so that a uniform that each draw sets in the same program
/// costs no search by name.
///
/// Context: the program's must be current.
/// Errors:  as UniformLookup.
/// Private to the library.
class RememberedUniform
{
public:
    explicit RememberedUniform(const char *name)
        : _name(name)
    {
    }

    int in(const UniformLookup &locationOf);

private:
    int lookUp(const UniformLookup &locationOf);

    UniformName _name;
    quint64 _link = 0; ///< the link for which _location is valid
    int _location = -1;
};

}} // namespace Orvane::Zel
