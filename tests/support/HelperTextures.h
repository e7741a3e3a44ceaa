#pragma once

#include "Tap.h"

#include <set>
#include <vector>

/// While it exists, tracks textures that are created and not deleted. Texture managers leave their helper textures to the
/// context by design: a test that deletes a manager deletes them here, and can check their number.
class HelperTextures
{
public:
    HelperTextures()
    {
        _made.replace([this](GLsizei count, GLuint *names) {
            _made.original(count, names);
            _names.insert(names, names + count);
        });
        _deleted.replace([this](GLsizei count, const GLuint *names) {
            for (GLsizei i = 0; i < count; ++i) {
                _names.erase(names[i]);
            }
            _deleted.original(count, names);
        });
    }

    size_t count() const { return _names.size(); }

    /// Deletes the remaining textures.
    void deleteAll()
    {
        const std::vector<GLuint> names(_names.begin(), _names.end());
        glDeleteTextures(GLsizei(names.size()), names.data());
    }

private:
    std::set<GLuint> _names;
    Hook<&glGenTextures> _made;
    Hook<&glDeleteTextures> _deleted;
};
