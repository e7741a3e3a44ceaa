#version 150
#include "ZelUtilities.glslh"
#include "14_placement.glslh"
in vec3 va_Vertex;
uniform mat4 u_Projection;

// A layer must contain the projected z, from 0 to 1; this undoes GL's depth range transform.
void main()
{
    gl_Position = u_Projection * vec4(placed(va_Vertex, getDrawID()), 1.0);
    gl_Position.z = 2.0 * gl_Position.z - gl_Position.w;
}
