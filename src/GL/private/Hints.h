#pragma once

#include <QtCore/QtGlobal>

/// \file
/// Hints to the optimiser. Private to the library.

/// For a function that is seldom called from one that every draw calls: inlined, it would make its caller save registers that
/// only the seldom case needs. Each use names the measurement that shows the gain.
#define ZELGL_COLD_PATH Q_NEVER_INLINE
