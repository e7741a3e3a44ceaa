// A soft gradient: bright at the centre, darker towards the corners and upwards.
// In:  vo_TexCoord from 0 to 1, lower left to upper right; u_Aspect, width by height.
// Out: linear.
#macro ZELVIEW_GLSL_VERSION #version 150

uniform float u_Aspect;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

void main()
{
    const vec3 kGlow = vec3(0.300, 0.330, 0.365);
    const vec3 kCorner = vec3(0.030, 0.036, 0.046);

    vec2 offset = (vo_TexCoord - vec2(0.5, 0.42)) * vec2(u_Aspect, 1.0);
    float fall = smoothstep(0.0, 1.15, length(offset));
    out_FragColor = vec4(mix(kGlow, kCorner, fall), 1.0);
}
