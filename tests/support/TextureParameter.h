#pragma once

#include "TestContext.h"

#include <ZelGL/GLLoader.h> // before the functions below, whose names it changes
#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

/// A parameter of a texture, by glGetTexParameteriv().
inline GLint textureParameter(Orvane::Zel::Texture &texture, GLenum name)
{
    GLint value = 0;
    texture.bind();
    driver()->glGetTexParameteriv(texture.target(), name, &value);
    texture.unbind();
    return value;
}
