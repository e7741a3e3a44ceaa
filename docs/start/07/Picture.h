#pragma once

#include <ZelKit/ZelKit.h>

#include <QtGui/QPainter>

#include <cmath>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using namespace Orvane::ZelShaders;

const char *const kVertexText = R"(#version 150
#instancedata "Stone"
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 u_ViewProjection;
out vec3 vo_Normal;
out vec2 vo_TexCoord;
flat out vec3 vo_Color;
flat out uvec2 vo_Image;

void main()
{
    vo_Normal = va_Normal;
    vo_TexCoord = va_TexCoord;
    vo_Color = getColor().rgb;
    vo_Image = getImage();
    vec4 place = getPlace(); // of the stone that is drawn
    gl_Position = u_ViewProjection * vec4(place.xyz + place.w * va_Vertex, 1.0);
}
)";

const char *const kFragmentText = R"(#version 150
#include "TextureManager.glslh"
#include "noise2D.glslh"
in vec3 vo_Normal;
in vec2 vo_TexCoord;
flat in vec3 vo_Color;
flat in uvec2 vo_Image;
out vec4 o_Color;

const vec3 kToSun = normalize(vec3(0.1, 0.8, 0.6));

void main()
{
    float vein = abs(snoise(VEINS * vo_TexCoord + 0.5 * snoise(2.0 * vo_TexCoord)));
    vec3 color = vo_Color * mix(0.7, 1.0, sqrt(vein)) * managedTexture(vo_Image, vo_TexCoord).rgb;
    float light = 0.4 + 0.6 * max(dot(normalize(vo_Normal), kToSun), 0.0);
    o_Color = vec4(light * color, 1.0);
}
)";

const int kStones = 24;

/// Tiles with joints.
inline QImage paintedImage(int tiles)
{
    QImage image(64, 64, QImage::Format_ARGB32);
    image.fill(QColor(150, 140, 130));
    QPainter painter(&image);
    for (int i = 0; i < tiles * tiles; ++i) {
        const int side = 56 / tiles;
        painter.fillRect(4 + side * (i % tiles), 4 + side * (i / tiles), side - 2, side - 2, Qt::white);
    }
    return image;
}

class Picture
{
public:
    OrbitCamera camera; // the mouse turns it

    Picture()
    {
        stones = InstanceTable::create("Stone",
                                       {{InstanceDataPlan::eVec4, "Place"}, // the position and the size
                                        {InstanceDataPlan::eVec4, "Color"},
                                        {InstanceDataPlan::eTexture, "Image"}},
                                       kStones);
        QVector<TextureToken> images;
        for (const int tiles : {1, 3, 7}) {
            images << textures.add(paintedImage(tiles));
        }
        for (int i = 0; i < kStones; ++i) {
            const float angle = 6.2831853f * float(i) / kStones;
            const QVector4D place(4.0f * std::cos(angle), 0.5f * std::sin(3.0f * angle),
                                  4.0f * std::sin(angle), 0.45f);
            const QVector4D color(0.7f + 0.3f * std::cos(angle), 0.75f, 0.7f - 0.3f * std::cos(angle), 1.0f);
            stones->set(i, "Place", place);
            stones->set(i, "Color", color);
            stones->set(i, "Image", images[i % 3]);
        }
        shape = TriangleMesh::box().drawBuffers(kStones);

        GLSLMacroProcessor processor;
        processor.addDefine("VEINS", "1.5");
        program = ProgramBuilder::build(kVertexText, kFragmentText, textures.manager(), &processor);
    }

    void draw(const QSize &size)
    {
        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const float aspect = float(size.width()) / float(size.height());
        camera.refit(Bounds({-4.5f, -1.0f, -4.5f}, {4.5f, 1.0f, 4.5f}), aspect);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(program.get(), {stones->data()}, textures.manager());
        program->setUniform("u_ViewProjection", camera.viewProjection(aspect));
        scope.draw(shape.get());
    }

private:
    PictureTextures textures; // of the manager that the shader asks
    std::unique_ptr<DrawBuffers> shape;
    std::unique_ptr<InstanceTable> stones;
    std::unique_ptr<ShaderProgram> program;
};
