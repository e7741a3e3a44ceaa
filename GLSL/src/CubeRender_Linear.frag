#version 150

// Converts a strip of six cells to a cube face.
//
// s_texture: the image.
// u_TvoNormalToUvMatrix: from the direction, which is not of unit length, to the texture coordinate.
// Defines: TVO_CUBERENDER_CONVERT_COLORSPACE, a function of Func_ColorSpace.glslc that converts the colour; optional.
uniform sampler2D s_texture;
uniform mat4x2 u_TvoNormalToUvMatrix;

#ifdef TVO_CUBERENDER_CONVERT_COLORSPACE
vec4 TVO_CUBERENDER_CONVERT_COLORSPACE(in vec4 color);
#endif

in vec3 it_normal;
out vec4 o_TvoFragData[1];

void main()
{
    vec2 uv = u_TvoNormalToUvMatrix * vec4(it_normal, 1.0);
    vec4 color = vec4(texture(s_texture, uv).rgb, 1.0);
#ifdef TVO_CUBERENDER_CONVERT_COLORSPACE
    color = TVO_CUBERENDER_CONVERT_COLORSPACE(color);
#endif
    o_TvoFragData[0] = color;
}
