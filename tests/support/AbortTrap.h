#pragma once

#include <functional>

/// Calls \a function; true when it was left through abort(), which then does not end the process. What the
/// frames in between would have released at their end is lost.
bool endsInAbort(const std::function<void()> &function);
