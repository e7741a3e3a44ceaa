#version 150

// Shows the direction as a colour, for hosts that check their own cube renders.
//
// it_normal: from CubeRender.vert.
in vec3 it_normal;
out vec4 o_TvoFragData[1];

void main()
{
    o_TvoFragData[0] = vec4(0.5 * normalize(it_normal) + 0.5, 1.0);
}
