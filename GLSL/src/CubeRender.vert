#version 150

// Vertex stage of the cube renderers.
//
// tvo_Vertex: corners of the face in clip space.
// tvo_Normal: directions of the corners of the face +X.
// u_TvoModelViewProjectionMatrix: the identity.
// u_TvoNormalMatrix: from the directions of +X to those of the face that is drawn.
// it_normal: the direction of a pixel, not of unit length.
uniform mat4 u_TvoModelViewProjectionMatrix;
uniform mat3 u_TvoNormalMatrix;

in vec2 tvo_Vertex;
in vec3 tvo_Normal;

out vec3 it_normal;

void main()
{
    gl_Position = u_TvoModelViewProjectionMatrix * vec4(tvo_Vertex, 0.0, 1.0);
    it_normal = u_TvoNormalMatrix * tvo_Normal;
}
