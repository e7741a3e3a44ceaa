// A surface that the frozen frustum culls: translucent blue with bright rims. It is drawn before all that is not culled.
// Out: linear, premultiplied.
#macro ZELVIEW_GLSL_VERSION #version 150

out vec4 out_FragColor;

#include "Frame.glslh"
#include "Material.glslh"
#include "FacingNormal.glslh"

void main()
{
    materialColor();
    vec3 toEye = normalize(u_Eye.xyz - vo_Position);
    float rim = 1.0 - abs(dot(facingNormal(toEye), toEye));
    float opacity = 0.06 + 0.5 * rim * rim;
    out_FragColor = vec4(vec3(0.10, 0.35, 0.90) * opacity, opacity);
}
