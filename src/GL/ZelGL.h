#pragma once

/// \file
/// Everything of ZelGL in one include: the GL names, the reporting macros and
/// all classes.

#include "AutoBinder.h"
#include "AutoDisabler.h"
#include "AutoEnabler.h"
#include "Bindable.h"
#include "BufferObject.h"
#include "DrawBuffers.h"
#include "GLContextTracker.h"
#include "GLLoader.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "GLVersions.h"
#include "OpenGLDeviceContext.h"
#include "RangedValues.h"
#include "Reporting.h"
#include "Shader.h"
#include "ShaderProgram.h"
#include "UniformBufferObject.h"
#include "VertexArrayObject.h"
