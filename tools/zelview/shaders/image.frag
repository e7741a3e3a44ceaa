// An image, or its panels (faces of a cube, slices of a volume) in a grid.
// In:      vo_TexCoord, from 0 to 1 over the viewport, lower left to upper right.
//          u_Middle: the point of the grid at the centre of the viewport, in panels from the upper left corner.
//          u_Scale: the extent of the viewport, in panels.
// Out:     linear, opaque; transparent parts show a checkerboard.
// Macros:  ZELVIEW_IMAGE, the file that samples the image's target.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform vec2 u_Scale;
uniform vec2 u_Middle;
uniform int u_Columns;
uniform int u_Rows;
uniform int u_Panels;    // number of panels in the grid
uniform int u_FirstPanel;
uniform bool u_RowsGoUp;
uniform bool u_IsEncoded;
uniform bool u_IsGrey;
uniform bool u_IsFloat;  // light of any strength, and no transparency
uniform float u_Exposure; // powers of two

in vec2 vo_TexCoord;

out vec4 out_FragColor;

#macro ZELVIEW_IMAGE #include "Image2D.glslh"
#include "KitToneMap.glslh"

const vec3 kSurround = vec3(0.012);

vec3 decode(vec3 color)
{
    return mix(pow((color + 0.055) / 1.055, vec3(2.4)), color / 12.92, vec3(lessThanEqual(color, vec3(0.04045))));
}

vec3 checkerboard()
{
    ivec2 field = ivec2(gl_FragCoord.xy) / 8;
    return ((field.x + field.y) & 1) == 0 ? vec3(0.32) : vec3(0.52);
}

void main()
{
    vec2 upright = vec2(vo_TexCoord.x, 1.0 - vo_TexCoord.y);
    vec2 spot = (upright - 0.5) * u_Scale + u_Middle;
    vec2 dx = dFdx(spot);
    vec2 dy = dFdy(spot);

    ivec2 place = ivec2(floor(spot));
    int panel = place.y * u_Columns + place.x;
    bool isInside = all(greaterThanEqual(spot, vec2(0.0))) && all(lessThan(spot, vec2(u_Columns, u_Rows))) && panel < u_Panels;
    if (!isInside) {
        out_FragColor = vec4(kSurround, 1.0);
        return;
    }

    vec2 within = fract(spot);
    if (u_RowsGoUp) {
        within.y = 1.0 - within.y;
        dx.y = -dx.y;
        dy.y = -dy.y;
    }
    vec4 texel = sampleImage(within, dx, dy, u_FirstPanel + panel);
    vec3 color = u_IsGrey ? texel.rrr : texel.rgb;
    color = (u_IsEncoded ? decode(color) : color) * exp2(u_Exposure);
    if (u_IsFloat) {
        out_FragColor = vec4(compressHighlights(max(color, 0.0)), 1.0);
    } else {
        out_FragColor = vec4(mix(checkerboard(), color, u_IsGrey ? 1.0 : texel.a), 1.0);
    }
}
