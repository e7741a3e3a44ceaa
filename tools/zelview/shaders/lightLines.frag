// In:  vo_Color, linear; u_Opacity.
// Out: linear, premultiplied.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform float u_Opacity;

in vec3 vo_Color;

out vec4 out_FragColor;

void main()
{
    out_FragColor = vec4(vo_Color, 1.0) * u_Opacity;
}
