#pragma once

#include "Pixels.h"
#include "TestContext.h"

#include <ZelGL/GLLoader.h> // before the functions below, whose names it changes
#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <vector>

/// What glGetTexLevelParameteriv() says of a level.
inline GLint levelParameter(Orvane::Zel::Texture &texture, int level, GLenum name)
{
    texture.bind();
    const GLint value = texture.getTexLevelParameteriv(level, name);
    texture.unbind();
    return value;
}

/// A parameter of a texture, by glGetTexParameteriv().
inline GLint textureParameter(Orvane::Zel::Texture &texture, GLenum name)
{
    GLint value = 0;
    texture.bind();
    driver()->glGetTexParameteriv(texture.target(), name, &value);
    texture.unbind();
    return value;
}

/// The filters for less and for more, the wrap modes, the first and the last level.
inline std::vector<GLint> samplingOf(Orvane::Zel::Texture &texture)
{
    std::vector<GLint> values;
    for (const GLenum name : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S,
                              GL_TEXTURE_WRAP_T, GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL}) {
        values.push_back(textureParameter(texture, name));
    }
    return values;
}

/// The texels of a level; the layer as of Pixels::ofTexture().
inline Pixels pixelsOf(const Orvane::Zel::Texture &texture, int level = 0, int layer = 0)
{
    return Pixels::ofTexture(texture.target(), texture.textureID(), level, layer);
}
