#pragma once

#include "Objects.h"

namespace Orvane { namespace ZelCheck {

/// Labels and groups of KHR_debug, which debuggers of GL show. Without the extension nothing happens.
namespace Labels {

/// Whether the host wants them; read by every thread.
void switchOn(bool isOn);

/// Gives an object that the host has used a label of its own, once, unless the host has given it one. Objects that neither
/// the library has made nor the host has named get none. Only within an Inside.
void name(Kind kind, GLuint object);

/// The same for a program in use, whose files are known now. Only within an Inside.
void program(GLuint program);

/// Replaces the label. Only within an Inside.
void rename(Kind kind, GLuint object);

} // namespace Labels

}} // namespace Orvane::ZelCheck
