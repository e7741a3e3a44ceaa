#pragma once

#include <QtCore/QtGlobal>

/// \file
/// Hints to the optimiser. Private to the library.

/// For a function that is seldom called, by one that each draw calls: if it were inlined, each draw would save registers that
/// only the seldom case needs. Each use names the measurement that shows the gain.
#define ZELGL_COLD_PATH Q_NEVER_INLINE
