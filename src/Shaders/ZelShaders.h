#pragma once

/// \file
/// Diagnosis of shaders: includes every header of libZelShaders. The library is optional, and libZelGL does
/// not need it. Its interface may change before version 2.0.

#include "FunctionIndex.h"
#include "LineMap.h"
#include "ProgramBuilder.h"
#include "ProgramCache.h"
#include "ProgramReloader.h"
#include "ShaderLint.h"
#include "ShaderReport.h"
#include "ShadersExport.h"
