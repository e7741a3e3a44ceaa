#include "UniformLookup.h"

#include "../GLUtilities.h"
#include "GLValues.h"
#include "LinkNumber.h"

namespace Orvane { namespace Zel {

UniformLookup::UniformLookup(const ShaderProgram *program)
    : _program(program)
{
    if (_program == nullptr) {
        _currentProgram = static_cast<unsigned int>(integerFromGL(GL_CURRENT_PROGRAM));
    }
}

int UniformLookup::operator()(const UniformName &name) const
{
    if (_program != nullptr) {
        return _program->getUniformLocation(name.text);
    }
    // For name 0 GL would report an error.
    return _currentProgram != 0 ? glGetUniformLocation(_currentProgram, name.latin1) : -1;
}

int RememberedUniform::in(const UniformLookup &locationOf)
{
    const ShaderProgram *program = locationOf.program();
    if (program == nullptr) {
        return locationOf(_name);
    }
    // Not the address of the program: a new program may have it, with other locations.
    const quint64 link = linkNumberOf(*program);
    return link == _link && link != 0 ? _location : lookUp(locationOf);
}

int RememberedUniform::lookUp(const UniformLookup &locationOf)
{
    _location = locationOf(_name);
    _link = linkNumberOf(*locationOf.program());
    return _location;
}

}} // namespace Orvane::Zel
