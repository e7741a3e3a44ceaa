// The draw ID for fragment stages behind ModelVertex.glslh, whichever way it travels to the vertex stage.
#macro ZELVIEW_GLSL_VERSION #version 150

flat in uint vo_DrawID;

uint getDrawID()
{
    return vo_DrawID;
}
