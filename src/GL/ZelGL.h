#pragma once

/// \file
/// Everything of ZelGL in one include: the GL names, the reporting macros and
/// all classes.

#include "ASTCReader.h"
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
#include "HDRReader.h"
#include "KTXReader.h"
#include "OpenGLDeviceContext.h"
#include "RangedValues.h"
#include "Reporting.h"
#include "Shader.h"
#include "ShaderProgram.h"
#include "TextureFileInfo.h"
#include "TextureIO.h"
#include "TextureLoader.h"
#include "TextureLoader2DHelper.h"
#include "TextureRecogniser.h"
#include "UniformBufferObject.h"
#include "VertexArrayObject.h"
