#pragma once

#include "frame/Outcome.h"

namespace zelview {

/// ExitCode::eFile unless there is a plain file that can be read.
Failure checkInputFile(const QString &path);

/// Why no reader takes a file, if its first bytes show it: it is empty, or of a variant that is not read. Empty if they
/// do not.
QString reasonInHead(const QString &path);

} // namespace zelview
