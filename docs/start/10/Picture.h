#pragma once

#include <ZelKit/ZelKit.h>

#include <QtCore/QFile>
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
#include "KitEnvironment.glslh"
#include "KitShadows.glslh"
#include "TextureManager.glslh"
#include "noise2D.glslh"
in vec3 vo_Position;
in vec3 vo_Normal;
in vec2 vo_TexCoord;
flat in vec3 vo_Color;
flat in uvec2 vo_Image;
uniform vec3 u_Eye;
uniform vec3 u_Sunlight;
out vec4 o_Color;

void main()
{
    float vein = abs(snoise(VEINS * vo_TexCoord + 0.5 * snoise(2.0 * vo_TexCoord)));
    vec3 color = vo_Color * mix(0.7, 1.0, sqrt(vein)) * managedTexture(vo_Image, vo_TexCoord).rgb;
    color = pow(color, vec3(2.2)); // images are sRGB, and light is linear
    vec3 normal = normalize(vo_Normal);
    vec3 sunlight = u_Sunlight * shadowIrradiance(0, vo_Position, normal) / 3.1415927;
    vec3 toEye = normalize(u_Eye - vo_Position);
    vec2 gloss = environmentReflectance(max(dot(normal, toEye), 0.0), 0.35);
    vec3 mirrored = environmentMirrored(reflect(-toEye, normal), 0.35) * (0.04 * gloss.x + gloss.y);
    o_Color = vec4(color * (sunlight + environmentScattered(normal)) + mirrored, 1.0);
}
)";

const int kStones = 24;

/// A blue sky with a sun, above a dark ground.
inline EnvironmentImage paintedSky()
{
    const QSize size(128, 64);
    EnvironmentImage sky = *EnvironmentImage::prepared({size, std::vector<QVector3D>(128 * 64)});
    const QVector3D toSun = QVector3D(-0.9f, 0.9f, 0.1f).normalized();
    const QVector3D ground(0.10f, 0.09f, 0.08f), horizon(0.5f, 0.5f, 0.5f), zenith(0.12f, 0.22f, 0.5f);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const QVector3D direction = sky.direction(x, y);
            const float up = direction.y();
            sky.at(x, y) = up < 0.0f ? ground : horizon + up * (zenith - horizon);
            if (QVector3D::dotProduct(direction, toSun) > 0.998f) {
                sky.at(x, y) = QVector3D(330.0f, 300.0f, 250.0f);
            }
        }
    }
    return sky;
}

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

    static PostChain::Options frame() { return {1, PostChain::eFxaa, true}; } // smooth edges, tone mapping

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
        EnvironmentLight::setUp(&processor);
        shadows = ShadowLayers::create({});
        program = shadows->build(kVertexText, kFragmentText, textures.manager(), &processor);
        casters = shadows->buildCasters(kVertexText);

        EnvironmentImage image = paintedSky();
        const DistantLight brightest = *image.takeStrongestLight();
        sunlight = brightest.irradiance;
        shadows->setLights({ShadowLight::sun(-brightest.direction, 0.02f)}); // with soft edges

        sky = QFile::exists("sky.light") ? EnvironmentLight::load("sky.light") : nullptr;
        if (sky == nullptr) {
            sky = EnvironmentBake::bake(image, {});
            sky->save("sky.light");
        }
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

        glClearColor(0.35f, 0.45f, 0.60f, 1.0f); // linear light
        glClear(GL_COLOR_BUFFER_BIT);
        scene.frustumCull(camera.viewProjection(aspect));
        const AutoEnabler seamless(GL_TEXTURE_CUBE_MAP_SEAMLESS);
        DrawScope scope(program.get());
        scope.use(shadows.get());
        scope.use(sky.get());
        program->setUniform("u_Eye", camera.eye());
        program->setUniform("u_Sunlight", sunlight);
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
    std::unique_ptr<EnvironmentLight> sky;
    QVector3D sunlight;
};
