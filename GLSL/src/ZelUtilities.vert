#version 150

// What only a vertex stage can have of ZelUtilities.glslh.
//
// Defines: DRAW_BUFFER_USE_BASE_INSTANCE of DrawBuffers::setup().
#ifdef DRAW_BUFFER_USE_BASE_INSTANCE
#extension GL_ARB_shader_draw_parameters : enable

uint getDrawID()
{
    return uint(gl_BaseInstanceARB + gl_InstanceID);
}
#endif

// So that the file is never empty for the compiler.
void zelUtilitiesVertDUMMY()
{
}
