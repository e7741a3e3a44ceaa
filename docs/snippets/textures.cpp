#include "SnippetsTest.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/TexturePool.h>
#include <ZelGL/TextureProcessing.h>

#include <memory>

using namespace Orvane::Zel;

namespace {

const QVector4D kRed(1, 0, 0, 1);

/// A fragment stage that shows a texture.
constexpr char kShowTexture[] = R"(#version 150
uniform sampler2D u_Image;
out vec4 color;
void main() { color = texelFetch(u_Image, ivec2(gl_FragCoord.xy), 0); }
)";

} // namespace

TEST_F(SnippetsTest, Texture)
{
    const auto program = makeProgram(kAllOver, kShowTexture);
    const float texels[] = {1, 0, 0, 1, 0, 1, 0, 1};
    Canvas canvas(2, 1);
    const auto drawScene = [&canvas](ShaderProgram &bound) { canvas.draw(bound); };
    program->bind();
    //! [Texture]
    Texture texture(nullptr);
    texture.create2D(GL_TEXTURE_2D, GL_RGBA8, 2, 1);

    texture.bind(); // takes a free texture unit and makes it the active one
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 2, 1, GL_RGBA, GL_FLOAT, texels);
    program->setUniform("u_Image", int(texture.unit()));
    drawScene(*program);
    texture.unbind();
    //! [Texture]
    program->unbind();
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, kRed, 0));
    EXPECT_TRUE(canvas.pixels().isNear(1, 0, {0, 1, 0, 1}, 0));
}

TEST_F(SnippetsTest, FramebufferObject)
{
    const auto drawScene = [] {
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glClearColor(0, 0, 0, 0);
    };
    //! [FramebufferObject]
    Texture color(nullptr);
    Texture depth(nullptr);
    color.create2D(GL_TEXTURE_2D, GL_RGBA16F, 64, 36);
    depth.create2D(GL_TEXTURE_2D, GL_DEPTH_COMPONENT32F, 64, 36);

    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    framebuffer.attach(&color, GL_COLOR_ATTACHMENT0, 0);
    framebuffer.attach(&depth, GL_DEPTH_ATTACHMENT, 0);
    framebuffer.setDrawBuffers();
    glViewport(0, 0, 64, 36);
    drawScene();
    framebuffer.unbind(); // framebuffer 0 is bound now
    //! [FramebufferObject]
    EXPECT_TRUE(framebuffer.isComplete());
    EXPECT_TRUE(pixelsOf(color).isNear(Pixels(64, 36, kRed), 0));
}

TEST_F(SnippetsTest, TexturePool)
{
    const auto blur = [](Texture *source, Texture *target) {
        EXPECT_NE(source, target);
        EXPECT_EQ(36, levelParameter(*target, 0, GL_TEXTURE_HEIGHT));
    };
    const int alive = Texture::NumAlive();
    //! [TexturePool]
    TexturePool pool; // the texture manager has one too: TextureManager::tempTexture()
    Texture *image = pool.take(RGBA16F, 64, 36, 1, 1); // one layer, one sample
    Texture *blurred = pool.take(RGBA16F, 64, 36, 1, 1);
    blur(image, blurred);
    pool.releaseRef(image, 1); // the next take() of this format and size reuses it
    pool.releaseRef(blurred, 1);

    pool.deleteUnused(); // frees the GPU memory; the last call before the pool ends
    //! [TexturePool]
    EXPECT_EQ(alive, Texture::NumAlive());
}

TEST_F(SnippetsTest, TextureProcessing)
{
    const float texel[] = {1.0f, 0.25f, 0.0f, 0.5f};
    auto *texture = new Texture(nullptr);
    texture->create2D(GL_TEXTURE_2D, GL_RGBA32F, 1, 1)->bind();
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_FLOAT, texel);
    texture->unbind();
    //! [TextureProcessing]
    // A pass of the host into a second texture.
    const std::unique_ptr<ShaderProgram> invert(MakeTextureShaderFromString(R"(#version 150
uniform sampler2D u_Src;
uniform float u_White;
in vec2 vo_TexCoord;
out vec4 out_FragColor;
void main() { out_FragColor = u_White - texture(u_Src, vo_TexCoord); }
)"));
    const std::unique_ptr<Texture> inverted(WritableCopyOfTexture(texture, 0, 0));
    ProcessTexture(invert.get(), {{"u_White", 1.0f}}, texture, inverted.get());

    // A pass of the library, which replaces the texture.
    Premultiply(texture);
    //! [TextureProcessing]
    const std::unique_ptr<Texture> premultiplied(texture);
    EXPECT_TRUE(pixelsOf(*inverted).isNear(0, 0, {0.0f, 0.75f, 1.0f, 0.5f}, 0));
    EXPECT_TRUE(pixelsOf(*premultiplied).isNear(0, 0, {0.5f, 0.125f, 0.0f, 0.5f}, 0));
}

TEST_F(SnippetsTest, TextureFormat)
{
    const std::vector<QVector4D> pixels(16, {0.25f, 0.5f, 2.0f, 1.0f});
    Texture texture(nullptr);
    texture.setTarget(GL_TEXTURE_2D);
    const AutoBinder binder(&texture);
    //! [TextureFormat]
    const TextureFormat format = RGBA32F;
    glTexImage2D(GL_TEXTURE_2D, 0, int(InternalFormat(format)), 4, 4, 0, ExternalFormat(format),
                 ExternalType(format), pixels.data());
    texture.setSize(0, int(InternalFormat(format)), 4, 4, 1);
    //! [TextureFormat]
    EXPECT_EQ(GL_RGBA32F, texture.internalFormat(0));
    EXPECT_TRUE(pixelsOf(texture).isNear(3, 3, pixels.back(), 0));
}
