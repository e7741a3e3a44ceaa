#version 150

// Converts an image of latitude and longitude to a cube face. The sky is in its first row; its left end is +x.
//
// s_texture: the image.
// Defines: TVO_CUBERENDER_CONVERT_COLORSPACE, a function of Func_ColorSpace.glslc that converts the colour; optional.
uniform sampler2D s_texture;

const float kPi = 3.14159265358979323846264;

#ifdef TVO_CUBERENDER_CONVERT_COLORSPACE
vec4 TVO_CUBERENDER_CONVERT_COLORSPACE(in vec4 color);
#endif

in vec3 it_normal;
out vec4 o_TvoFragData[1];

void main()
{
    vec3 n = normalize(it_normal);
    // Rounding may make a unit vector a little longer, where acos() is undefined.
    float phi = acos(clamp(n.y, -1.0, 1.0));
    vec2 horizontal = n.xz == vec2(0.0) ? vec2(1.0, 0.0) : normalize(n.xz); // at a pole every column is the same direction
    float theta = acos(clamp(horizontal.x, -1.0, 1.0));
    if (horizontal.y < 0.0) {
        theta = 2.0 * kPi - theta;
    }
    vec2 uv = vec2(theta / (2.0 * kPi), phi / kPi);
    vec4 color = vec4(texture(s_texture, uv).rgb, 1.0);
#ifdef TVO_CUBERENDER_CONVERT_COLORSPACE
    color = TVO_CUBERENDER_CONVERT_COLORSPACE(color);
#endif
    o_TvoFragData[0] = color;
}
