#pragma once

#include "Tap.h"

#include <set>

/// While it exists, tracks textures that are created and not deleted. Texture managers leave their helper textures to the
/// context by design: a test that deletes a manager deletes them here, and can check their number.
///
/// A program that links this also suppresses them in the leak checker.
class HelperTextures
{
public:
    HelperTextures();

    size_t count() const { return _names.size(); }

    /// Deletes the remaining textures.
    void deleteAll();

private:
    std::set<GLuint> _names;
    Hook<&glGenTextures> _made;
    Hook<&glDeleteTextures> _deleted;
};
