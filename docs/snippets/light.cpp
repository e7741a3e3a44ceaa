#include "SnippetsTest.h"

#include "support/Files.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/PrefilteredEnvMap.h>
#include <ZelGL/TvoImageCubemapUtils.h>

#include <QtGui/QVector3D>

#include <memory>

using namespace Orvane::Zel;
using namespace TvoImageCubemapUtils;

namespace {

using TexturePointer = std::unique_ptr<Texture>;

/// A colour for each texel of an image.
QVector4D colorOfTexel(int x, int y)
{
    return {0.125f * float(x + 1), 0.25f * float(y + 1), 1, 1};
}

/// An image in which every texel has its colour.
TexturePointer newImage(int width, int height)
{
    const Pixels pixels = Pixels::of(width, height, colorOfTexel);
    auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA32F, width, height, 1, nullptr);
    const AutoBinder binder(texture.get());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, width, height, 0, GL_RGBA, GL_FLOAT, pixels.data());
    return texture;
}

/// A cube map of one colour, with all levels.
TexturePointer newCube(int size, const QVector4D &color)
{
    const Pixels pixels(size, size, color);
    auto texture = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA32F, size, size, 1, nullptr);
    const AutoBinder binder(texture.get());
    for (GLenum face = 0; face < 6; ++face) {
        glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGBA32F, size, size, 0, GL_RGBA, GL_FLOAT,
                     pixels.data());
    }
    glGenerateMipmap(GL_TEXTURE_CUBE_MAP);
    return texture;
}

const QVector4D kSky(0.25f, 0.5f, 1.0f, 1.0f);

testing::AssertionResult isFace(const Texture &cube, int face, const QVector4D &color, int level = 0)
{
    return pixelsOf(cube, level, face).isNear(0, 0, color, 1e-5f);
}

//! [TvoRenderCubemapBase]
/// A cube map that a fragment shader of the host draws, which gets the direction in `it_normal`.
class Gradient : public TvoRenderCubemapBase
{
public:
    bool createShader() override
    {
        buildProgram("CubeRender_Color.frag", false, QString()); // this one shows the direction as a colour
        return TvoRenderCubemapBase::createShader();
    }
};
//! [TvoRenderCubemapBase]

//! [TvoRenderCubemapBaseTexture]
/// A cube map from an image in a layout of the host, whose fragment shader reads it as `s_texture`.
class FromHostLayout : public TvoRenderCubemapBaseTexture
{
public:
    explicit FromHostLayout(const QString &fragmentFile)
        : _fragmentFile(fragmentFile)
    {
        setFilters(GL_LINEAR, GL_LINEAR);
    }

    bool createShader() override
    {
        buildProgram(_fragmentFile, false, QString());
        return TvoRenderCubemapBaseTexture::createShader();
    }

private:
    QString _fragmentFile;
};
//! [TvoRenderCubemapBaseTexture]

//! [TvoRenderCubemap_Blur]
/// The blur with the define that its shader reads. TvoRenderCubemap_Blur sets another one: its own shader does not compile, and
/// the faces keep their clear colours.
class Blur : public TvoRenderCubemap_Blur
{
public:
    bool createShader() override
    {
        buildProgram("CubeRender_Blur.frag", false, "TVO_CUBERENDER_BLUR_BATCH_SIZE");
        setBatchSize(largestBatchSize());
        return program().isLinked();
    }
};
//! [TvoRenderCubemap_Blur]

class LightSnippetsTest : public SnippetsTest
{
protected:
    LightSnippetsTest() { glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS); }

    ~LightSnippetsTest() override
    {
        glDisable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
        EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes how long renders took
    }
};

} // namespace

TEST_F(LightSnippetsTest, PrefilteredEnvMap)
{
    const TexturePointer environment = newCube(16, kSky);
    //! [PrefilteredEnvMap]
    const ShadingModel model = SHADING_PHYSICALLY_BASED;
    const TexturePointer specular(CreatePrefilteredCubeEnvMap(environment.get(), 8, 64, model, RGBA16F));
    const TexturePointer diffuse(
        CreatePrefilteredCubeEnvMap(environment.get(), 4, 64, SHADING_LAMBERTIAN_DIFFUSE, RGBA16F));
    const int levels = MaxLODLevel(8, 8) + 1;
    const TexturePointer brdf(CreatePreintegratedBRDFTable(32, 32, unsigned(levels), model, RGBA16F));
    //! [PrefilteredEnvMap]
    EXPECT_TRUE(pixelsOf(*specular, 2, 3).isNear(0, 0, kSky, 0.01f));
    EXPECT_TRUE(pixelsOf(*diffuse).isNear(0, 0, kSky, 0.01f));
    EXPECT_NEAR(1, pixelsOf(*brdf).at(31, 0).x(), 0.05) << "a smooth mirror reflects all";
}

TEST_F(LightSnippetsTest, TvoImageCubemapUtils)
{
    const TexturePointer image = newImage(6, 1);
    //! [TvoImageCubemapUtils]
    // Six faces side by side; the layout gives the size of a face.
    const TexturePointer cube(
        createGLCubemapFromTexture(image.get(), eSourceLinear, GL_TEXTURE_CUBE_MAP, eColorSpaceLinear, 0));
    //! [TvoImageCubemapUtils]
    ASSERT_NE(nullptr, cube);
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(isFace(*cube, face, colorOfTexel(face, 0)));
    }
}

TEST_F(LightSnippetsTest, TvoRenderCubemapBase)
{
    const TexturePointer cube(Gradient().createCubemap(1, GL_RGBA32F, GL_TEXTURE_CUBE_MAP));
    ASSERT_NE(nullptr, cube);
    EXPECT_TRUE(isFace(*cube, 0, {1, 0.5f, 0.5f, 1}));
    EXPECT_TRUE(isFace(*cube, 3, {0.5f, 0, 0.5f, 1}));
}

TEST_F(LightSnippetsTest, TvoRenderCubemapBaseTexture)
{
    const TexturePointer image = newImage(1, 2);
    FromHostLayout renderer(writeFile(pathTo("Halves.frag"), R"(#version 150
uniform sampler2D s_texture;
in vec3 it_normal;
out vec4 color;
void main() { color = texture(s_texture, vec2(0.5, it_normal.y > 0.0 ? 0.25 : 0.75)); }
)"));
    renderer.setTexture(image.get());
    const TexturePointer cube(renderer.createCubemap(1, GL_RGBA32F, GL_TEXTURE_CUBE_MAP));
    ASSERT_NE(nullptr, cube);
    EXPECT_TRUE(isFace(*cube, 2, colorOfTexel(0, 0)));
    EXPECT_TRUE(isFace(*cube, 3, colorOfTexel(0, 1)));
}

TEST_F(LightSnippetsTest, TvoRenderCubemap_Cross)
{
    const TexturePointer image = newImage(1, 1);
    //! [TvoRenderCubemap_Cross]
    // Faces come out in other directions than the cells have; docs/environment-images.md has the strip that keeps them.
    TvoRenderCubemap_Cross renderer;
    renderer.setLayout(eLayout4x3);
    renderer.setTexture(image.get());
    const TexturePointer cube(renderer.createCubemap(64, GL_RGBA16F, GL_TEXTURE_CUBE_MAP));
    //! [TvoRenderCubemap_Cross]
    ASSERT_NE(nullptr, cube);
    for (int face = 0; face < 6; ++face) {
        EXPECT_TRUE(isFace(*cube, face, colorOfTexel(0, 0)));
    }
}

TEST_F(LightSnippetsTest, TvoRenderCubemap_LatLongSphere)
{
    const TexturePointer panorama = newImage(1, 4);
    //! [TvoRenderCubemap_LatLongSphere]
    TvoRenderCubemap_LatLongSphere renderer;
    renderer.setTexture(panorama.get());
    const TexturePointer cube(renderer.createCubemap(64, GL_RGBA16F, GL_TEXTURE_CUBE_MAP));
    //! [TvoRenderCubemap_LatLongSphere]
    ASSERT_NE(nullptr, cube);
    const Pixels up = pixelsOf(*cube, 0, 2);
    const Pixels down = pixelsOf(*cube, 0, 3);
    EXPECT_TRUE(up.isNear(32, 32, colorOfTexel(0, 0), 0.001f)); // the first row is the sky
    EXPECT_TRUE(down.isNear(32, 32, colorOfTexel(0, 3), 0.001f));
}

TEST_F(LightSnippetsTest, TvoRenderCubemap_Sphere)
{
    const TexturePointer mirrorBall = newImage(3, 3);
    //! [TvoRenderCubemap_Sphere]
    TvoRenderCubemap_Sphere renderer;
    renderer.setTexture(mirrorBall.get());
    const TexturePointer cube(renderer.createCubemap(64, GL_RGBA16F, GL_TEXTURE_CUBE_MAP));
    //! [TvoRenderCubemap_Sphere]
    ASSERT_NE(nullptr, cube);
    EXPECT_TRUE(pixelsOf(*cube, 0, 4).isNear(32, 32, colorOfTexel(1, 1), 0.001f));
}

TEST_F(LightSnippetsTest, TvoRenderCubemap_Linear)
{
    const TexturePointer strip = newImage(6, 1);
    //! [TvoRenderCubemap_Linear]
    TvoRenderCubemap_Linear renderer;
    renderer.setTexture(strip.get()); // six faces side by side
    const TexturePointer cube(renderer.createCubemap(64, GL_RGBA16F, GL_TEXTURE_CUBE_MAP));
    //! [TvoRenderCubemap_Linear]
    ASSERT_NE(nullptr, cube);
    EXPECT_TRUE(isFace(*cube, 4, colorOfTexel(4, 0)));
}

TEST_F(LightSnippetsTest, TvoRenderCubemap_NDotL)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_texture_cube_map_array");
    const TexturePointer environment = newCube(4, kSky);
    //! [TvoRenderCubemap_NDotL]
    TvoRenderCubemap_NDotL renderer;
    renderer.setLevels(2);    // two cubes of an array
    renderer.setLevelsPow(1); // how fast the weight falls from layer to layer
    renderer.setTexture(environment.get());
    const TexturePointer cubes(renderer.createCubemap(4, GL_RGBA32F, GL_TEXTURE_CUBE_MAP_ARRAY));
    //! [TvoRenderCubemap_NDotL]
    ASSERT_NE(nullptr, cubes);
    EXPECT_TRUE(isFace(*cubes, 0, kSky));
    EXPECT_TRUE(isFace(*cubes, 11, kSky)); // of the second cube
}

TEST_F(LightSnippetsTest, TvoRenderCubemap_Blur)
{
    const TexturePointer environment = newCube(4, kSky);
    Blur renderer;
    renderer.setTexture(environment.get());
    const TexturePointer blurred(renderer.createCubemap(4, GL_RGBA32F, GL_TEXTURE_CUBE_MAP));
    ASSERT_NE(nullptr, blurred);
    EXPECT_TRUE(isFace(*blurred, 5, kSky));
}
