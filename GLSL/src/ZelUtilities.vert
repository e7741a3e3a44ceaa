#version 150

// The part of ZelUtilities.glslh for vertex stages alone.
//
// Defines: DRAW_BUFFER_USE_BASE_INSTANCE of DrawBuffers::setup().
#ifdef DRAW_BUFFER_USE_BASE_INSTANCE
#extension GL_ARB_shader_draw_parameters : enable

uint getDrawID()
{
    return uint(gl_BaseInstanceARB + gl_InstanceID);
}
#endif

// Keeps the file from being an empty stage, which some compilers and linkers refuse.
void zelUtilitiesVertDUMMY()
{
}
