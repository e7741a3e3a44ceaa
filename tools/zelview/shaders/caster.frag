// The opaque parts of what casts a shadow: depth alone, with the holes that the material has.
// In:  what ModelFragment.glslh lists.
#macro ZELVIEW_GLSL_VERSION #version 150

#include "Material.glslh"

void main()
{
    materialColor();
}
