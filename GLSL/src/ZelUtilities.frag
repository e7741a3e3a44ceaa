#version 150

// The part of ZelUtilities.glslh for fragment stages alone. There is none yet.

// Keeps the file from being an empty stage, which some compilers and linkers refuse.
void zelUtilitiesFragDUMMY()
{
}
