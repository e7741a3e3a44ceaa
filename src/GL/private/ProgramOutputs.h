#pragma once

#include "../GLLoader.h"

#include <QtCore/QStringList>

namespace Orvane { namespace Zel {

/// \file
/// Names of what a program writes, for ShaderProgram. GL takes them before the link. Private to the library.

/// Each name gets its place in the list as its colour number. \a indexedNames, if there are any, replace the first name with
/// the two sources of dual-source blending.
void nameFragmentOutputs(GLuint program, const QStringList &names, const QList<QStringList> &indexedNames);
void nameTransformFeedbackVaryings(GLuint program, const QStringList &names, unsigned int bufferMode);

}} // namespace Orvane::Zel
