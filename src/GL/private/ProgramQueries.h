#pragma once

#include "../GLLoader.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

namespace Orvane { namespace Zel {

/// \file
/// Queries of a linked program, for ShaderProgram. Private to the library.

GLint programParameter(GLuint program, GLenum parameter);

/// Memory for each name of a kind. \a longest is GL's length of the longest name, zero byte included; some drivers report less,
/// so the buffer has at least \a usual bytes.
QByteArray nameBuffer(GLint longest, int usual);

bool isBuiltInAttribute(const char *name);
/// True for the built-in attributes that GL provides without an array.
bool isAllowedBuiltIn(const char *name);

/// The names of the interface blocks in the order of their indices. No storage blocks without the entry points for them.
QStringList uniformBlockNames(GLuint program);
QStringList storageBlockNames(GLuint program);

}} // namespace Orvane::Zel
