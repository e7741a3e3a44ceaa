#pragma once

#include "Outcome.h"

namespace zelview {

/// ExitCode::eFile unless there is a plain file that can be read.
Failure checkInputFile(const QString &path);

} // namespace zelview
