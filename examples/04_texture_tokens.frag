#version 150
#include "TextureManager.glslh"
#instancedata "Card"
flat in uint vo_Card;
in vec2 vo_TexCoord;
out vec4 o_Color;

void main()
{
    o_Color = managedTexture(getPicture(vo_Card), vo_TexCoord);
}
