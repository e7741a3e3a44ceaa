#pragma once

#include "../Check.h"

namespace Orvane { namespace ZelCheck {

/// The wrappers of all entry points of the table.
namespace Watch {

/// Puts a message into each empty entry point of the core, and of the extensions if \a all.
void fillEmpty(bool all);

/// Empties the entry points again.
void clearEmpty();

/// Whether initializeGLFunctions() has set the table.
bool isTableSet();

/// The function that a look-up of this name returns: one that the check watches while it runs, or the same.
void *checked(const char *name, void *address);

void install(const Check::Options &options);
void remove();
bool isInstalled();

} // namespace Watch

/// Reports what is bound in the current context. Only within an Inside.
void checkFrameEnd();

}} // namespace Orvane::ZelCheck
