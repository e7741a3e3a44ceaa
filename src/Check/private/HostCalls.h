#pragma once

#include <ZelGL/GLLoader.h>

#include <QtCore/QString>

namespace Orvane { namespace ZelCheck {

/// The files of the stages of the current program, if it is this one and ShaderProgram::addShaderFromFile() has added them.
QString filesOfProgram(GLuint program);

}} // namespace Orvane::ZelCheck
