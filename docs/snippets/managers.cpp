#include "SnippetsTest.h"

#include "support/HelperTextures.h"

#include <ZelGL/Array2DTextureManager.h>
#include <ZelGL/AutoBinder.h>
#include <ZelGL/BindlessTextureManager.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/TextureIO.h>
#include <ZelGL/TextureSlot.h>

using namespace Orvane::Zel;

namespace {

const QVector4D kOrange(1.0f, 0.6f, 0.2f, 1.0f);
const QColor kOrangeColor(255, 153, 51);

/// A fragment stage that samples by the token u_Token.
constexpr char kSampleByToken[] = R"(#version 150
#include "TextureManager.glslh"
uniform uvec2 u_Token;
out vec4 color;
void main() { color = managedTexture(u_Token, vec2(0.5)); }
)";

class ManagerSnippetsTest : public SnippetsTest
{
protected:
    ~ManagerSnippetsTest() override
    {
        TextureManager::setInstance(nullptr);
        EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg)); // takes what is logged of tokens
        _helpers.deleteAll();
    }

    static std::unique_ptr<ShaderProgram> programFor(TextureManager &manager, GLSLMacroProcessor &processor)
    {
        return makeProgram(kAllOver, kSampleByToken, &processor, {manager.getShaderFile()});
    }

    static void setToken(ShaderProgram &program, const TextureToken &token)
    {
        glUniform2ui(program.getUniformLocation("u_Token"), GLuint(token.token), GLuint(token.token >> 32));
    }

    /// What a program that is built for the manager samples by a token.
    static QVector4D sampled(TextureManager &manager, const TextureToken &token)
    {
        GLSLMacroProcessor processor;
        manager.setup(&processor);
        const auto program = programFor(manager, processor);
        return sampled(manager, *program, token);
    }

    static QVector4D sampled(TextureManager &manager, ShaderProgram &program, const TextureToken &token)
    {
        const QVector<TextureToken> tokens{token};
        manager.bind(tokens);
        Canvas canvas(1, 1);
        const AutoBinder binder(&program);
        manager.bind(&program);
        setToken(program, token);
        canvas.draw(program);
        manager.unbind(&program);
        manager.unbind(tokens);
        return canvas.pixels().at(0, 0);
    }

private:
    HelperTextures _helpers;
};

testing::AssertionResult isOrange(const QVector4D &color)
{
    return Pixels(1, 1, color).isNear(0, 0, kOrange, 0.001f);
}

} // namespace

TEST_F(ManagerSnippetsTest, TextureToken)
{
    SamplerTextureManager manager;
    //! [TextureToken]
    TextureToken token; // the null token, which has no texture
    if (token == nullTextureToken) {
        token = manager.tokenForColor(QColor(255, 153, 51));
    }
    // Plain data, which a host may store in a buffer of its own.
    const quint32 words[] = {quint32(token.token), quint32(token.token >> 32)}; // uvec2 in GLSL
    //! [TextureToken]
    EXPECT_TRUE(isOrange(sampled(manager, TextureToken(words[0] | quint64(words[1]) << 32))));
}

TEST_F(ManagerSnippetsTest, QImageAsToken)
{
    SamplerTextureManager textures;
    TextureManager *const manager = &textures;
    QImage image(16, 16, QImage::Format_RGB888);
    image.fill(kOrangeColor);
    //! [QImage]
    // Rows from the bottom up, four bytes a pixel. The manager deletes the texture.
    const QImage pixels = image.convertToFormat(QImage::Format_ARGB32).mirrored();
    const TextureToken token = manager->tokenForTexture(QImageToTexture(pixels, false, TextureFileInfo()));
    //! [QImage]
    EXPECT_TRUE(isOrange(sampled(textures, token)));
    manager->clear();
}

TEST_F(ManagerSnippetsTest, TextureManager)
{
    SamplerTextureManager installed;
    TextureManager::setInstance(&installed);
    GLSLMacroProcessor processor;
    installed.setup(&processor);
    const auto program = programFor(installed, processor);
    const QString path = writeImage("wood.png", kOrangeColor);
    Canvas canvas;
    const auto drawWith = [&](const TextureToken &token) {
        setToken(*program, token);
        canvas.draw(*program);
    };
    //! [TextureManager]
    TextureManager *manager = TextureManager::Instance();
    const TextureToken wood = manager->tokenForImage(path, TextureFileInfo()); // loads nothing yet
    const TextureToken grey = manager->tokenForColor(QColor(Qt::gray));

    const QVector<TextureToken> tokens{wood, grey}; // all that the draws sample
    manager->bind(tokens);
    program->bind();
    manager->bind(program.get());
    drawWith(wood); // managedTexture(token, uv) in the shader
    manager->unbind(program.get());
    program->unbind();
    manager->unbind(tokens);
    //! [TextureManager]
    EXPECT_TRUE(isOrange(canvas.pixels().at(0, 0)));
}

TEST_F(ManagerSnippetsTest, SamplerTextureManager)
{
    const QString fragmentSource = kSampleByToken;
    const QString vertexSource = kAllOver;
    //! [SamplerTextureManager]
    // At start; the manager lives as long as its context.
    SamplerTextureManager manager;
    manager.setMaxSlots(8); // different textures in a draw
    TextureManager::setInstance(&manager);

    GLSLMacroProcessor processor;
    manager.setup(&processor); // the defines, for every program that samples by token
    ShaderProgram program(nullptr);
    program.setMacroProcessor(&processor);
    program.addShader(GL_VERTEX_SHADER, vertexSource, QString());
    program.addShader(GL_FRAGMENT_SHADER, fragmentSource, QString()); // #include "TextureManager.glslh"
    program.addShaderFromFile(GL_FRAGMENT_SHADER, manager.getShaderFile());
    program.link();
    //! [SamplerTextureManager]
    EXPECT_TRUE(isOrange(sampled(manager, program, manager.tokenForColor(kOrangeColor))));
}

TEST_F(ManagerSnippetsTest, Array2DTextureManager)
{
    //! [Array2DTextureManager]
    // Instead of SamplerTextureManager, for scenes with many textures of few sizes.
    Array2DTextureManager manager;
    manager.setMaxSlots(4); // array textures, and samplers of a program
    manager.setSlotReallocationMethod(TextureManager::SlotReallocationUpscale);
    TextureManager::setInstance(&manager);
    //! [Array2DTextureManager]
    const auto token = manager.tokenForImage(writeImage("wood.png", kOrangeColor), TextureFileInfo());
    EXPECT_TRUE(isOrange(sampled(manager, token)));
    manager.deleteSlots();
    manager.TextureManager::clear();
    manager.clear();
}

TEST_F(ManagerSnippetsTest, BindlessTextureManager)
{
    if (!BindlessTextureManager::isSupported()) {
        GTEST_SKIP() << "Needs GL_ARB_bindless_texture";
    }
    const auto sampledColor = [](TextureManager &manager, const TextureToken &token) {
        return sampled(manager, token);
    };
    std::unique_ptr<TextureManager> manager;
    Texture *wood = LoadTextureFromFile(writeImage("wood.png", kOrangeColor), TextureFileInfo());
    TextureToken token;
    //! [BindlessTextureManager]
    if (BindlessTextureManager::isSupported()) {
        manager = std::make_unique<BindlessTextureManager>();
    } else {
        manager = std::make_unique<SamplerTextureManager>();
    }
    TextureManager::setInstance(manager.get());

    wood->setReadOnly(); // without this the token would be a slot and not a handle
    token = manager->tokenForTexture(wood);
    //! [BindlessTextureManager]
    EXPECT_TRUE(static_cast<BindlessTextureManager &>(*manager).isBindlessToken(token));
    EXPECT_TRUE(isOrange(sampledColor(*manager, token)));
    manager->clear();
}

TEST_F(ManagerSnippetsTest, SlotFormat)
{
    //! [SlotFormat]
    SlotFormat wood;
    wood.width = 512;
    wood.height = 512;
    wood.internalFormat = GL_RGBA8;
    wood.wrapS = GL_REPEAT;
    wood.wrapT = GL_REPEAT;
    wood.magFilter = GL_LINEAR;
    wood.minFilter = GL_LINEAR_MIPMAP_LINEAR;

    SlotFormat label = wood;
    label.wrapS = GL_CLAMP_TO_EDGE;
    const bool canShareSlot = wood == label; // only textures that are sampled alike
    //! [SlotFormat]
    EXPECT_FALSE(canShareSlot);
    EXPECT_EQ(512 * 512, wood.area());
}

TEST_F(ManagerSnippetsTest, SlotData)
{
    SlotFormat format;
    format.width = 4;
    format.height = 4;
    format.internalFormat = GL_RGBA8;
    //! [SlotData]
    SlotData slot;
    slot.setupFormat(format);
    const unsigned int first = slot.getFreeLayer(3); // three consecutive layers
    if (first != SlotData::kNoLayer) {
        slot.freeLayer(int(first) + 1, 1); // leaves a hole, which the next request fills
    }
    const unsigned int next = slot.getFreeLayer(1);
    //! [SlotData]
    EXPECT_EQ(first + 1, next);
}

TEST_F(ManagerSnippetsTest, SlotLayerData)
{
    Array2DTextureManager manager;
    manager.setupSlots();
    SlotFormat format;
    format.width = 4;
    format.height = 4;
    format.internalFormat = GL_RGBA8;
    QString place;
    //! [SlotLayerData]
    const SlotLayerData entry = manager.findSlotLayer(format, 1);
    if (entry.isValid()) {
        place = QString("slot %1, layer %2").arg(entry.slot).arg(entry.layer);
    }
    //! [SlotLayerData]
    EXPECT_EQ("slot 0, layer 0", place);
    manager.deleteSlots();
}
