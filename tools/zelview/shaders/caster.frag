// Writes only the depth of opaque casters, with the holes of their material.
// In:  see ModelFragment.glslh.
#macro ZELVIEW_GLSL_VERSION #version 150

#include "Material.glslh"

void main()
{
    materialColor();
}
