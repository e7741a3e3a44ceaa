// Opaque casters in variance layers.
// Out: the moments of the depth.
#version 150

#include "KitCasterFragment.glslh"
out vec4 o_Moments;

void main()
{
    o_Moments = shadowCasterMoments();
}
