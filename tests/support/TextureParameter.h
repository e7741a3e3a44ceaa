#pragma once

#include "Pixels.h"
#include "TestContext.h"

#include <ZelGL/GLLoader.h> // included first: its macros rename the functions below
#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <vector>

/// A parameter of a texture level, by glGetTexLevelParameteriv().
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

/// The minification and magnification filters, the wrap modes, the base level and the maximum level.
inline std::vector<GLint> samplingOf(Orvane::Zel::Texture &texture)
{
    std::vector<GLint> values;
    for (const GLenum name : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S,
                              GL_TEXTURE_WRAP_T, GL_TEXTURE_BASE_LEVEL, GL_TEXTURE_MAX_LEVEL}) {
        values.push_back(textureParameter(texture, name));
    }
    return values;
}

/// The texels of a level. \a layer: as for Pixels::ofTexture().
inline Pixels pixelsOf(const Orvane::Zel::Texture &texture, int level = 0, int layer = 0)
{
    return Pixels::ofTexture(texture.target(), texture.textureID(), level, layer);
}
