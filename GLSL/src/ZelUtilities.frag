#version 150

// What only a fragment stage can have of ZelUtilities.glslh: nothing.

// So that the file is never empty for the compiler.
void zelUtilitiesFragDUMMY()
{
}
