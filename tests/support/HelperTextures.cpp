#include "HelperTextures.h"

#include <vector>

HelperTextures::HelperTextures()
{
    _made.replace([this](GLsizei count, GLuint *names) {
        _made.original(count, names);
        _names.insert(names, names + count);
    });
    _deleted.replace([this](GLsizei count, const GLuint *names) {
        for (const GLuint *name = names; name != names + count; ++name) {
            _names.erase(*name);
        }
        _deleted.original(count, names);
    });
}

void HelperTextures::deleteAll()
{
    const std::vector<GLuint> names(_names.begin(), _names.end());
    glDeleteTextures(GLsizei(names.size()), names.data());
}
