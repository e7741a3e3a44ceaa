#macro VERSION #version 150
  #macro NESTED x
#macro NONE #macro VERSION y
#macro 
#version 330 core
#version
 #version 1
#include "ZelUtilities.glslh"
#include  ""
 #include "ZelUtilities.glslh"
#include "none"
#instancedata "plan"
#instancedata plan
a#b #c
//#macro NONE z
#define X 1