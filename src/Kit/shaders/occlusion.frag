// Ambient occlusion in screen space: McGuire, Mara and Luebke, "Scalable ambient obscurance", 2012.
// In:  u_Geometry: normal in view space, and distance along the view, 0 without a surface.
//      u_Reach: greatest distance of occluders, in units of the scene.
// Out: openness, from 0 to 1 in the open, with periodic noise that occlusionSmooth.frag removes.
#version 150

uniform sampler2D u_Geometry;
uniform float u_Reach;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

const int kTaps = 24;
const float kTurns = 7.0;        // turns of the spiral of taps; coprime to their number
const float kStrength = 2.0;
const float kMaxPixels = 0.25;  // greatest offset of a tap, in heights of the picture

#include "ViewPosition.glslh"

// One of 16 angles, with a period of four pixels.
float turnOfPixel()
{
    ivec2 cell = ivec2(gl_FragCoord.xy) & 3;
    int order = ((cell.x ^ cell.y) << 2 | cell.y) & 15;
    return float(order) * (6.2831853 / 16.0);
}

void main()
{
    vec4 geometry = textureLod(u_Geometry, vo_TexCoord, 0.0);
    if (geometry.w <= 0.0) {
        out_FragColor = vec4(1.0);
        return;
    }
    vec3 normal = normalize(geometry.xyz);
    vec3 position = viewPosition(vo_TexCoord, geometry.w);
    vec2 size = vec2(textureSize(u_Geometry, 0));
    float disc = min(u_Reach / halfHeight(geometry.w) * 0.5, kMaxPixels); // radius in heights of the picture
    float turn = turnOfPixel();

    float sum = 0.0;
    float known = 0.0; // number of taps inside the picture
    for (int i = 0; i < kTaps; ++i) {
        float along = (float(i) + 0.5) / float(kTaps);
        float angle = along * kTurns * 6.2831853 + turn;
        vec2 offset = along * disc * vec2(cos(angle) * size.y / size.x, sin(angle));
        vec2 tap = vo_TexCoord + offset;
        if (clamp(tap, 0.0, 1.0) != tap) {
            continue;
        }
        known += 1.0;
        float distance = textureLod(u_Geometry, tap, 0.0).w;
        if (distance <= 0.0) {
            continue;
        }
        vec3 way = viewPosition(tap, distance) - position;
        float squared = dot(way, way);
        float within = max(1.0 - squared / (u_Reach * u_Reach), 0.0);
        float height = dot(way, normal) - 0.002 * geometry.w; // tolerance: the rounding of a plane is not an occluder
        sum += within * within * within * max(height, 0.0) / (squared / u_Reach + 0.01 * u_Reach);
    }
    out_FragColor = vec4(clamp(1.0 - kStrength * 5.0 * sum / max(known, 1.0), 0.0, 1.0));
}
