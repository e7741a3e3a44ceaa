// Opaque casters in plain layers.
#version 150

void main() {}
