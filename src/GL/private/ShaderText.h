#pragma once

/// \file
/// Texts of shaders: files read, listings and driver logs reported. What the
/// text processor, the stage and the program share; not part of the library's
/// surface.

#include "../GLLoader.h"

#include <QtCore/QString>

namespace Orvane { namespace Zel {

/// The text of a file on disk or in the resources: UTF-8, up to the first zero
/// byte. False, and \a text untouched, when the file does not open.
bool readShaderText(const QString &path, QString &text);

/// Every line of \a source with its number in front, counted from 1; a trailing
/// line break makes a last empty line.
QString numberedLines(const QString &source);

/// Logs each line of \a message as a warning of its own, empty ones included.
void warnLineByLine(const QString &message);

/// The info log of a shader or a program, read with the two functions of its
/// kind: UTF-8, up to the first zero byte.
QString driverLog(GLuint object, void(APIENTRY *getParameter)(GLuint, GLenum, GLint *),
                  void(APIENTRY *getInfoLog)(GLuint, GLsizei, GLsizei *, GLchar *));

/// The source of a shader as the driver has it; sources go to GL as Latin-1.
QString driverSource(GLuint shader);

}} // namespace Orvane::Zel
