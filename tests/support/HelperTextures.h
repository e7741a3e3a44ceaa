#pragma once

#include "Tap.h"

#include <set>

/// Knows which textures are made and not deleted while it lives. Texture managers leave their helper textures to the
/// context by design: whoever ends a manager takes them out of the world here, and can say how many they were.
///
/// A program that links this tells the leak checker of them too.
class HelperTextures
{
public:
    HelperTextures();

    size_t count() const { return _names.size(); }

    /// Deletes what is left.
    void deleteAll();

private:
    std::set<GLuint> _names;
    Hook<&glGenTextures> _made;
    Hook<&glDeleteTextures> _deleted;
};
