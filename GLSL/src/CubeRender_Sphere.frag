#version 150

// A cube face from the picture of a mirror ball.
//
// s_texture: the image.
// TVO_CUBERENDER_CONVERT_COLORSPACE: where defined, a function of Func_ColorSpace.glslc that the colour goes through.
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
