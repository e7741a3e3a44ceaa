#version 150

// Converts the picture of a mirror ball to a cube face. Directions with z and -z read the same texel.
//
// s_texture: the image.
// Defines: TVO_CUBERENDER_CONVERT_COLORSPACE, a function of Func_ColorSpace.glslc that converts the colour; optional.
uniform sampler2D s_texture;

#ifdef TVO_CUBERENDER_CONVERT_COLORSPACE
vec4 TVO_CUBERENDER_CONVERT_COLORSPACE(in vec4 color);
#endif

in vec3 it_normal;
out vec4 o_TvoFragData[1];

void main()
{
    vec3 n = normalize(it_normal);
    vec2 uv = 0.5 * n.xy + 0.5;
    vec4 color = vec4(texture(s_texture, uv).rgb, 1.0);
#ifdef TVO_CUBERENDER_CONVERT_COLORSPACE
    color = TVO_CUBERENDER_CONVERT_COLORSPACE(color);
#endif
    o_TvoFragData[0] = color;
}
