#pragma once

/// \file
/// Everything of ZelGL in one include: the GL names, the reporting macros and
/// all classes.

#include "AutoBinder.h"
#include "AutoDisabler.h"
#include "AutoEnabler.h"
#include "Bindable.h"
#include "GLContextTracker.h"
#include "GLLoader.h"
#include "GLUtilities.h"
#include "GLVersions.h"
#include "Reporting.h"
