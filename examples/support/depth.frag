#version 150

// For framebuffers without colours.
void main()
{
}
