#include "ProgramFunctions.h"

namespace Orvane { namespace Zel {

EntryPoint<PFNGLGETPROGRAMBINARYPROC> getProgramBinaryFunction;
EntryPoint<PFNGLPROGRAMBINARYPROC> programBinaryFunction;
EntryPoint<PFNGLPROGRAMPARAMETERIPROC> programParameteriFunction;
EntryPoint<PFNGLGETPROGRAMINTERFACEIVPROC> getProgramInterfaceivFunction;
EntryPoint<PFNGLGETPROGRAMRESOURCENAMEPROC> getProgramResourceNameFunction;
EntryPoint<PFNGLGETPROGRAMRESOURCEINDEXPROC> getProgramResourceIndexFunction;
EntryPoint<PFNGLSHADERSTORAGEBLOCKBINDINGPROC> shaderStorageBlockBindingFunction;

void lookUpProgramBinary()
{
    // Found once, all contexts share it.
    if (getProgramBinaryFunction != nullptr) {
        return;
    }
    if (hasGLExtension("GL_ARB_get_program_binary")) {
        getProgramBinaryFunction.lookUp("glGetProgramBinary", false);
        programBinaryFunction.lookUp("glProgramBinary", false);
        programParameteriFunction.lookUp("glProgramParameteri", false);
    } else if (hasGLExtension("GL_OES_get_program_binary")) {
        // Without glProgramParameteri these two stay unused: this extension never reports support.
        getProgramBinaryFunction.lookUp("glGetProgramBinaryOES", false);
        programBinaryFunction.lookUp("glProgramBinaryOES", false);
    }
}

void lookUpProgramResources()
{
    if (getProgramInterfaceivFunction != nullptr || getProgramResourceNameFunction != nullptr
        || getProgramResourceIndexFunction != nullptr || shaderStorageBlockBindingFunction != nullptr) {
        return;
    }
    if (openGlVersionSupported(4, 3) || hasGLExtension("GL_ARB_shader_storage_buffer_object")) {
        getProgramInterfaceivFunction.lookUp("glGetProgramInterfaceiv", false);
        getProgramResourceNameFunction.lookUp("glGetProgramResourceName", false);
        getProgramResourceIndexFunction.lookUp("glGetProgramResourceIndex", false);
        shaderStorageBlockBindingFunction.lookUp("glShaderStorageBlockBinding", false);
    }
}

}} // namespace Orvane::Zel
