#pragma once

#include "EntryPoint.h"

namespace Orvane { namespace Zel {

/// \file
/// GL functions of programs that the table of GLLoader.h lacks. ShaderProgram looks them up once for the process, with the
/// first constructor whose context has them. Private to the library.

extern EntryPoint<PFNGLGETPROGRAMBINARYPROC> getProgramBinaryFunction;
extern EntryPoint<PFNGLPROGRAMBINARYPROC> programBinaryFunction;
extern EntryPoint<PFNGLPROGRAMPARAMETERIPROC> programParameteriFunction;
extern EntryPoint<PFNGLGETPROGRAMINTERFACEIVPROC> getProgramInterfaceivFunction;
extern EntryPoint<PFNGLGETPROGRAMRESOURCENAMEPROC> getProgramResourceNameFunction;
extern EntryPoint<PFNGLGETPROGRAMRESOURCEINDEXPROC> getProgramResourceIndexFunction;
extern EntryPoint<PFNGLSHADERSTORAGEBLOCKBINDINGPROC> shaderStorageBlockBindingFunction;

/// For binaries of programs.
void lookUpProgramBinary();
/// For storage blocks.
void lookUpProgramResources();

}} // namespace Orvane::Zel
