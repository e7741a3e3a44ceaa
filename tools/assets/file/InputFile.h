#pragma once

#include "file/Outcome.h"

namespace zeltools {

/// Returns ExitCode::eFile unless the path names a readable plain file.
Failure checkInputFile(const QString &path);

/// Why no reader recognises a file, if its first bytes show that: the file is empty, or of an unsupported variant.
/// Otherwise returns an empty string.
QString reasonInHead(const QString &path);

} // namespace zeltools
