// Shadows and occlusion of the scene on the ground.
// In:  vo_TexCoord from 0 to 1, lower left to upper right; u_Radius of the scene; u_Occlusion; see GroundPosition.glslh.
// Out: factor of the backdrop: the arriving light, divided by the light that would arrive without the scene.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform float u_Radius;
uniform sampler2D u_Occlusion;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#include "GroundPosition.glslh"
#include "LightTable.glslh"

#ifdef ZELVIEW_ENVIRONMENT
#include "KitEnvironment.glslh"

// The ambient light of the ground; the scene hides about half of it.
vec3 dome(vec3 lamps)
{
    return 0.5 * 3.14159265 * environmentScattered(vec3(0.0, 1.0, 0.0));
}
#else
// The ambient light of the ground, relative to that of the lamps.
vec3 dome(vec3 lamps)
{
    return 0.30 * lamps;
}
#endif

// The mean openness around a pixel, over pixels that show the ground, since the openness of the ground is smooth.
float groundOpenness(float distance)
{
    ivec2 last = textureSize(u_Occlusion, 0) - 1;
    float sum = 0.0;
    float count = 0.0;
    for (int y = -4; y <= 4; y += 2) {
        for (int x = -4; x <= 4; x += 2) {
            vec2 there = texelFetch(u_Occlusion, clamp(ivec2(gl_FragCoord.xy) + ivec2(x, y), ivec2(0), last), 0).rg;
            float weight = abs(there.y - distance) < 0.05 * u_Radius ? 1.0 : 0.0;
            sum += weight * there.x;
            count += weight;
        }
    }
    return count > 0.0 ? sum / count : 1.0;
}

// The light of the lamps that arrives; inTheOpen: the light that would arrive without shadows.
vec3 arriving(vec3 position, out vec3 inTheOpen)
{
    const vec3 kUp = vec3(0.0, 1.0, 0.0);
    vec3 sum = vec3(0.0);
    inTheOpen = vec3(0.0);
    for (int i = 0; i < u_LightCount; ++i) {
        vec3 toLight;
        vec3 lux = illuminance(i, position, toLight) * max(toLight.y, 0.0);
        if (lux != vec3(0.0)) {
            int part;
            float lit = shadowVisibility(i, position, kUp, toLight, part);
            inTheOpen += lux;
            sum += lux * lit * partColor(part);
        }
    }
    return sum;
}

void main()
{
    vec3 position;
    float away = 0.0;
    if (groundPosition(vo_TexCoord, position)) {
        away = length(position - u_Middle) / u_Radius;
    }
    float presence = 1.0 - smoothstep(2.5, 4.0, away);
    if (away == 0.0 || presence == 0.0) {
        out_FragColor = vec4(1.0);
        return;
    }
    vec3 inTheOpen;
    vec3 arrived = arriving(position, inTheOpen);
    float openness = groundOpenness(-(u_View * vec4(position, 1.0)).z);
    vec3 around = max(dome(inTheOpen), vec3(1e-3));
    out_FragColor = vec4(mix(vec3(1.0), (arrived * mix(1.0, openness, 0.5) + around * openness) / (inTheOpen + around), presence), 1.0);
}
