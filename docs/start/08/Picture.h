#pragma once

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>
#include <ZelShaders/ZelShaders.h>

#include <QtGui/QPainter>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using namespace Orvane::ZelShaders;

const char *const kVertexText = R"(#version 150
#include "ZelUtilities.glslh"
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
    vo_Normal = mat3(getModelMatrix()) * va_Normal;
    vo_TexCoord = va_TexCoord;
    vo_Color = getColor().rgb;
    vo_Image = getImage();
    gl_Position = u_ViewProjection * getModelMatrix() * vec4(va_Vertex, 1.0);
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

/// Tiles with joints, lowest row first.
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
        auto *plan = new InstanceDataPlan("Stone");
        for (const char *name : {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix"}) {
            plan->addMember(InstanceDataPlan::eMat4, name); // the scene writes them
        }
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        plan->addMember(InstanceDataPlan::eTexture, "Image");
        InstanceDataRegistry::Instance()->registerPlan(plan); // takes ownership
        QVector<TextureToken> images;
        for (const int tiles : {1, 3, 7}) {
            images << textures->tokenForTexture(QImageToTexture(paintedImage(tiles), false, {}));
        }
        auto *stones = new InstanceDataCollection(plan, kStones + 1); // the last one is the ground
        DrawBuffers *boxes = TriangleMesh::box().drawBuffers().release();
        const QVector<DrawElementsIndirectCommand> commands(kStones + 1, {36, 1, 0, 0, 0}); // 36 indices each
        boxes->setDrawElementsIndirectCommands(commands.constData(), commands.size());
        const int drawable = scene.add(boxes, 0, nullptr, stones, 0); // takes ownership of both
        const GPUModel::BoundingBox box = {-1.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f};
        scene.loadBoundingBoxes(&box, 1);

        int place = GPUModel::kInvalidTransformRef; // no parent
        for (int i = 0; i <= kStones; ++i) {
            const bool isGround = i == kStones;
            const float share = float(i) / kStones;
            const QVector4D color = isGround
                                        ? QVector4D(0.55f, 0.6f, 0.55f, 1.0f)
                                        : QVector4D(0.6f + 0.4f * share, 0.8f, 1.0f - 0.4f * share, 1.0f);
            stones->set(i, "Color", &color, sizeof color);
            stones->set(i, "Image", &images[isGround ? 2 : i % 2], sizeof(TextureToken));
            QMatrix4x4 size;
            if (isGround) {
                size.scale(5.0f, 0.1f, 5.0f);
                place = GPUModel::kInvalidTransformRef;
            } else {
                QMatrix4x4 climb; // from the stone below
                climb.translate(0.0f, 0.25f, 0.0f);
                climb.rotate(15.0f, 0.0f, 1.0f, 0.0f);
                place = scene.addTransform(place, climb);
                size.translate(1.9f, 0.0f, 0.0f);
                size.scale(1.1f, 0.1f, 0.35f);
            }
            scene.useTransform(drawable, i, scene.addTransform(place, size));
            scene.useBoundingBox(drawable, i, 0);
        }

        GLSLMacroProcessor processor;
        processor.addDefine("VEINS", "1.5");
        program = ProgramBuilder::build(kVertexText, kFragmentText, textures, &processor);
    }

    ~Picture()
    {
        scene.clear();     // deletes what it owns
        textures->clear(); // deletes the textures
    }

    void draw(const QSize &size)
    {
        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const float aspect = float(size.width()) / float(size.height());
        const Bounds bounds({-5.1f, -0.2f, -5.1f}, {5.1f, 6.2f, 5.1f}); // of the scene
        camera.refit(bounds, aspect);
        scene.updateTransforms();
        scene.resetCulling();
        scene.frustumCull(camera.viewProjection(aspect));
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const AutoBinder bound(program.get());
        program->setUniform("u_ViewProjection", camera.viewProjection(aspect));
        scene.draw(program.get(), textures, 0, 0, eWindingCCW, false);
        scene.updatePreviousMatrices();
    }

private:
    TextureManager *textures = TextureManager::Instance();
    GPUModel scene;
    std::unique_ptr<ShaderProgram> program;
};
