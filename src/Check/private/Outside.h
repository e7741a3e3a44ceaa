#pragma once

#include <ZelGL/GLLoader.h>

// Entry points that are not in the table of GLLoader.h: the draws of later versions of GL, and what libZelGL itself looks up.
// clang-format off
#define ZELCHECK_OUTSIDE_ENTRY_POINTS(USE) \
    USE(glDrawArraysInstancedBaseInstance, PFNGLDRAWARRAYSINSTANCEDBASEINSTANCEPROC) \
    USE(glDrawElementsInstancedBaseInstance, PFNGLDRAWELEMENTSINSTANCEDBASEINSTANCEPROC) \
    USE(glDrawElementsInstancedBaseVertexBaseInstance, PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC) \
    USE(glDrawTransformFeedback, PFNGLDRAWTRANSFORMFEEDBACKPROC) \
    USE(glDrawTransformFeedbackInstanced, PFNGLDRAWTRANSFORMFEEDBACKINSTANCEDPROC) \
    USE(glDrawTransformFeedbackStream, PFNGLDRAWTRANSFORMFEEDBACKSTREAMPROC) \
    USE(glDrawTransformFeedbackStreamInstanced, PFNGLDRAWTRANSFORMFEEDBACKSTREAMINSTANCEDPROC) \
    USE(glMultiDrawArraysIndirectCount, PFNGLMULTIDRAWARRAYSINDIRECTCOUNTPROC) \
    USE(glMultiDrawArraysIndirectCountARB, PFNGLMULTIDRAWARRAYSINDIRECTCOUNTPROC) \
    USE(glMultiDrawElementsIndirectCount, PFNGLMULTIDRAWELEMENTSINDIRECTCOUNTPROC) \
    USE(glMultiDrawElementsIndirectCountARB, PFNGLMULTIDRAWELEMENTSINDIRECTCOUNTPROC) \
    USE(glBindBuffersBase, PFNGLBINDBUFFERSBASEPROC) \
    USE(glBindFragDataLocationIndexed, PFNGLBINDFRAGDATALOCATIONINDEXEDPROC) \
    USE(glBufferStorage, PFNGLBUFFERSTORAGEPROC) \
    USE(glGetProgramBinary, PFNGLGETPROGRAMBINARYPROC) \
    USE(glGetTextureHandleARB, PFNGLGETTEXTUREHANDLEARBPROC) \
    USE(glIsTextureHandleResidentARB, PFNGLISTEXTUREHANDLERESIDENTARBPROC) \
    USE(glMakeTextureHandleNonResidentARB, PFNGLMAKETEXTUREHANDLENONRESIDENTARBPROC) \
    USE(glMakeTextureHandleResidentARB, PFNGLMAKETEXTUREHANDLERESIDENTARBPROC) \
    USE(glNamedBufferData, PFNGLNAMEDBUFFERDATAPROC) \
    USE(glNamedBufferStorage, PFNGLNAMEDBUFFERSTORAGEPROC) \
    USE(glNamedBufferSubData, PFNGLNAMEDBUFFERSUBDATAPROC) \
    USE(glProgramBinary, PFNGLPROGRAMBINARYPROC) \
    USE(glProgramParameteri, PFNGLPROGRAMPARAMETERIPROC) \
    USE(glShaderStorageBlockBinding, PFNGLSHADERSTORAGEBLOCKBINDINGPROC) \
    USE(glUniformHandleui64vARB, PFNGLUNIFORMHANDLEUI64VARBPROC)
// clang-format on

namespace Orvane { namespace ZelCheck {

/// A slot for each, like those of the table; null until glXGetProcAddress() has found it.
namespace Outside {
#define ZELCHECK_MEMBER(name, Function) inline Function name = nullptr;
ZELCHECK_OUTSIDE_ENTRY_POINTS(ZELCHECK_MEMBER)
#undef ZELCHECK_MEMBER
} // namespace Outside

}} // namespace Orvane::ZelCheck
