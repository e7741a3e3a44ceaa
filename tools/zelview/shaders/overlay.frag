// Text over a finished picture, one texel per pixel.
// In:  vo_TexCoord from 0 to 1, lower left to upper right.
// Out: sRGB, premultiplied.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform sampler2D u_Text;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

void main()
{
    out_FragColor = texture(u_Text, vo_TexCoord);
}
