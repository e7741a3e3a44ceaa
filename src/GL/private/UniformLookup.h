#pragma once

#include <QtCore/QString>

namespace Orvane { namespace Zel {

class ShaderProgram;

/// A uniform's name in both forms in which it is asked for.
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

/// Finds the uniforms of a program or, for null, of GL's current one.
///
/// Context: the program's must be current.
/// Errors:  -1 for unknown names, and where no program is current.
/// Private to the library.
class UniformLookup
{
public:
    explicit UniformLookup(const ShaderProgram *program);

    /// Of a program from its cache; of GL's current one always asked anew.
    int operator()(const UniformName &name) const;
    /// Null for the current one.
    const ShaderProgram *program() const { return _program; }

private:
    const ShaderProgram *_program;
    unsigned int _currentProgram = 0; ///< GL name, only without a program
};

/// The location of one uniform, remembered for the program that was asked last: what is set again and again for one
/// program costs no search.
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
    quint64 _link = 0; ///< the link of the program that was asked last
    int _location = -1;
};

}} // namespace Orvane::Zel
