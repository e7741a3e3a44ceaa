// The draw ID for fragment stages after ModelVertex.glslh, for every path by which it reaches the vertex stage.
#macro ZELVIEW_GLSL_VERSION #version 150

flat in uint vo_DrawID;

uint getDrawID()
{
    return vo_DrawID;
}
