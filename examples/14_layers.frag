#version 150
out vec4 o_Moments;

// Depth clamping does not clamp gl_FragCoord.z, and a depth of 0 counts as none.
void main()
{
    float depth = clamp(gl_FragCoord.z, 1e-6, 1.0);
    o_Moments = vec4(depth, depth * depth, 0.0, 0.0);
}
