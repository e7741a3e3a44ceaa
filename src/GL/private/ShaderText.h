#pragma once

/// \file
/// Texts of shaders: reads files, formats listings, reads and logs driver logs. Used by
/// GLSLMacroProcessor, Shader and ShaderProgram. Private to the library.

#include "../GLLoader.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The text of a file on disk or in the resources: UTF-8, up to the first zero
/// byte. Returns false and leaves \a text unchanged when the file does not open.
bool readShaderText(const QString &path, QString &text);

/// Each line of \a source after its number, counted from 1. A trailing line break
/// produces a last, empty line.
QString numberedLines(const QString &source);

/// Logs each line of \a message as a separate warning, empty lines included.
void warnLineByLine(const QString &message);

/// The info log of a shader or a program, read with the two GL functions
/// of that kind of object: UTF-8, up to the first zero byte.
QString driverLog(GLuint object, void(APIENTRY *getParameter)(GLuint, GLenum, GLint *),
                  void(APIENTRY *getInfoLog)(GLuint, GLsizei, GLsizei *, GLchar *));

/// The source of a shader as the driver has it; sources go to GL as Latin-1.
QString driverSource(GLuint shader);

}} // namespace Orvane::Zel
