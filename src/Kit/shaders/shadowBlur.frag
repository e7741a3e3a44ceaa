// One direction of the separable Gaussian blur of a variance layer.
// In:  u_Moments; u_Step, from tap to tap in texture coordinates; vo_TexCoord.
// Out: the mean moments.
#version 150

uniform sampler2D u_Moments;
uniform vec2 u_Step;

in vec2 vo_TexCoord;

out vec4 out_FragColor;

void main()
{
    const float kSharpness = 0.25; // of the Gaussian; its last taps are small
    vec2 sum = vec2(0.0);
    float weights = 0.0;
    for (int i = -3; i <= 3; ++i) {
        float weight = exp(-kSharpness * float(i * i));
        sum += weight * textureLod(u_Moments, vo_TexCoord + float(i) * u_Step, 0.0).rg;
        weights += weight;
    }
    out_FragColor = vec4(sum / weights, 0.0, 0.0);
}
