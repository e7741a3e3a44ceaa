#pragma once

#include <functional>

/// Calls \a function. Returns true if it called abort(), which then does not end the process. No destructors of the
/// interrupted functions run, so their resources leak.
bool endsInAbort(const std::function<void()> &function);
