#pragma once

#include <ZelKit/ZelKit.h>

#include <QtGui/QPainter>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;
using namespace Orvane::ZelShaders;

const char *const kVertexText = R"(#version 150
#instancedata "Stone"
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
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
    vec4 position = getModelMatrix() * vec4(va_Vertex, 1.0);
    vo_Position = position.xyz;
    gl_Position = u_ViewProjection * position;
}
)";

const char *const kFragmentText = R"(#version 150
#include "KitShadows.glslh"
#include "TextureManager.glslh"
#include "noise2D.glslh"
in vec3 vo_Position;
in vec3 vo_Normal;
in vec2 vo_TexCoord;
flat in vec3 vo_Color;
flat in uvec2 vo_Image;
out vec4 o_Color;

void main()
{
    float vein = abs(snoise(VEINS * vo_TexCoord + 0.5 * snoise(2.0 * vo_TexCoord)));
    vec3 color = vo_Color * mix(0.7, 1.0, sqrt(vein)) * managedTexture(vo_Image, vo_TexCoord).rgb;
    float light = 0.4 + 0.6 * shadowIrradiance(0, vo_Position, normalize(vo_Normal));
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
        stones = InstanceTable::create(
            "Stone",
            {{InstanceDataPlan::eMat4, "ModelMatrix"}, // the scene needs and writes all three matrices
             {InstanceDataPlan::eMat4, "PreviousModelMatrix"},
             {InstanceDataPlan::eMat4, "InverseModelMatrix"},
             {InstanceDataPlan::eVec4, "Color"},
             {InstanceDataPlan::eTexture, "Image"}},
            kStones + 1); // the last one is the ground
        QVector<TextureToken> images;
        for (const int tiles : {1, 3, 7}) {
            images << textures.add(paintedImage(tiles));
        }
        for (int i = 0; i <= kStones; ++i) {
            const bool isGround = i == kStones;
            const float share = float(i) / kStones;
            stones->set(i, "Color",
                        isGround ? QVector4D(0.55f, 0.6f, 0.55f, 1.0f)
                                 : QVector4D(0.6f + 0.4f * share, 0.8f, 1.0f - 0.4f * share, 1.0f));
            stones->set(i, "Image", images[isGround ? 2 : i % 2]);
        }
        TriangleMesh::Options options;
        options.commands = kStones + 1; // command i draws the box with the data of item i
        shape = TriangleMesh::box().drawBuffers(options);
        scene.setDeleteOnClear(false); // the members own what the scene draws
        // Number 0 for its material, which has no data, and flags of 0: all is drawn in one pass.
        const int drawable = scene.add(shape.get(), 0, nullptr, stones->data(), 0);
        const GPUModel::BoundingBox box = {-1.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f};
        scene.loadBoundingBoxes(&box, 1);

        int place = GPUModel::kInvalidTransformRef; // no parent
        for (int i = 0; i <= kStones; ++i) {
            QMatrix4x4 size;
            if (i == kStones) {
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
        shadows = ShadowLayers::create({});
        program = shadows->build(kVertexText, kFragmentText, textures.manager(), &processor);
        casters = shadows->buildCasters(kVertexText);

        shadows->setLights({ShadowLight::sun({0.9f, -0.9f, -0.1f}, 0.02f)}); // with soft edges
    }

    void draw(const QSize &size)
    {
        const float aspect = float(size.width()) / float(size.height());
        const Bounds bounds({-5.1f, -0.2f, -5.1f}, {5.1f, 6.2f, 5.1f}); // of the scene
        camera.refit(bounds, aspect);
        scene.updateTransforms();
        scene.resetCulling();
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        shadows->update(camera.view(), camera.projection(aspect), bounds,
                        [this](const ShadowLayers::Layer &layer) {
                            const AutoBinder bound(casters.get());
                            casters->setUniform("u_ViewProjection", layer.projection);
                            scene.draw(casters.get(), textures.manager(), 0, 0, eWindingOff, false);
                        });

        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        scene.frustumCull(camera.viewProjection(aspect));
        DrawScope scope(program.get());
        scope.use(shadows.get());
        program->setUniform("u_ViewProjection", camera.viewProjection(aspect));
        // Flags and mask of 0: all drawables. Back faces are culled; the stencil buffer stays.
        scene.draw(program.get(), textures.manager(), 0, 0, eWindingCCW, false);
        scene.updatePreviousMatrices();
    }

private:
    PictureTextures textures; // of the manager that the shader asks
    std::unique_ptr<DrawBuffers> shape;
    std::unique_ptr<InstanceTable> stones;
    GPUModel scene;
    std::unique_ptr<ShaderProgram> program;
    std::unique_ptr<ShaderProgram> casters;
    std::unique_ptr<ShadowLayers> shadows;
};
