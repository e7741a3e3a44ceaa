#pragma once

#include "../GLUtilities.h"

namespace Orvane { namespace Zel {

/// Puts the viewport back at the end of its scope.
class SavedViewport
{
    Q_DISABLE_COPY(SavedViewport)

public:
    SavedViewport() { glGetIntegerv(GL_VIEWPORT, _viewport); }

    ~SavedViewport() { glViewport(_viewport[0], _viewport[1], _viewport[2], _viewport[3]); }

private:
    GLint _viewport[4] = {0, 0, 0, 0};
};

}} // namespace Orvane::Zel
