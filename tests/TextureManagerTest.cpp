// Tokens, messages and GL calls of the texture managers. TextureManagerPicturesTest has the pictures.

#include "support/AllocationCount.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/Pixels.h"
#include "support/Tap.h"
#include "support/TestProgram.h"
#include "support/TextureStrategies.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QTemporaryDir>
#include <QtGui/QImage>

#include <algorithm>
#include <malloc.h>
#include <random>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("TextureManager.cpp");
const AssertionsOf arrayAsserted("Array2DTextureManager.cpp");

QString creating(int token, const QString &what)
{
    return QString("debug [TextureManager.cpp:#] Creating token %1 for %2").arg(token).arg(what);
}

Texture *newTexture(int width = 2, int height = 2)
{
    return (new Texture(nullptr))->create2D(GL_TEXTURE_2D, GL_RGBA8, width, height);
}

class ManagerTest : public GLTest
{
protected:
    ManagerTest() { QDir(_folder.path()).mkdir("sub"); }

    ~ManagerTest() override { _helpers.deleteAll(); }

    QString path(const QString &name) const { return _folder.filePath(name); }

    QString newImage(const QString &name)
    {
        QImage image(2, 2, QImage::Format_ARGB32);
        image.fill(Qt::red);
        EXPECT_TRUE(image.save(path(name)));
        return path(name);
    }

    /// A program that reads everything that a manager hands over.
    std::unique_ptr<ShaderProgram> newProgram(TextureManager &manager)
    {
        manager.setup(&_processor);
        auto program = makeProgram(kAtOrigin,
                                   "#version 150\n#include \"TextureManager.glslh\"\nuniform uvec2 u_Token;\n"
                                   "out vec4 color;\n"
                                   "void main() { color = managedTexture(u_Token, vec2(0.5)); }\n",
                                   &_processor, {manager.getShaderFile()});
        program->bind();
        return program;
    }

private:
    QTemporaryDir _folder;
    GLSLMacroProcessor _processor;
    HelperTextures _helpers;
};

/// The base, as its simplest manager shows it.
class TextureManagerTest : public ManagerTest
{
protected:
    TextureManagerTest() { EXPECT_MESSAGES(creating(0, "255 255 255 255")); }

    SamplerTextureManager manager;
};

class ManagerCallsTest : public ManagerTest, public testing::WithParamInterface<TextureStrategy>
{
protected:
    void SetUp() override
    {
        ZEL_NEEDS_DRIVER_OF(GetParam());
        manager = GetParam().make();
    }

    static int topUnit() { return integerOf(GL_MAX_TEXTURE_IMAGE_UNITS) - 1; }

    static int unitOfNextTexture()
    {
        const std::unique_ptr<Texture> texture(newTexture());
        const AutoBinder binder(texture.get());
        return int(texture->unit());
    }

    std::unique_ptr<TextureManager> manager;
};

/// Managers that sample through units, with textures that can still change.
using SamplerSlotsTest = ManagerCallsTest;

INSTANTIATE_TEST_SUITE_P(Strategies, ManagerCallsTest, testing::ValuesIn(textureStrategies()),
                         nameOfStrategy);
INSTANTIATE_TEST_SUITE_P(Strategies, SamplerSlotsTest,
                         testing::ValuesIn(textureStrategies({TextureStrategy::eSampler,
                                                              TextureStrategy::eBindless})),
                         nameOfStrategy);

class ArrayManagerTest : public ManagerTest
{
protected:
    ArrayManagerTest() { _capture.take(); }

    Array2DTextureManager manager;
};

} // namespace

TEST(TextureTokenTest, TokensAreNumbersThatHashAndMakeSets)
{
    EXPECT_EQ(~quint64(0), TextureToken().token);
    EXPECT_TRUE(TextureToken() == nullTextureToken);
    EXPECT_TRUE(TextureToken(0) != nullTextureToken);
    EXPECT_EQ(0x00000007u ^ 0x22446688u, qHash(TextureToken(0x1122334400000007u)));
    EXPECT_EQ(0x56781234u ^ 9u, qHash(QPoint(0x12345678, 9)));

    QVector<TextureToken> set = {5, 3};
    EXPECT_EQ(set.end(), TextureToken::find(set, 4));
    EXPECT_EQ(2, TextureToken::insert(set, 4) - set.begin());
    EXPECT_EQ(1, TextureToken::insert(set, 3) - set.begin());
    TextureToken::unite(set, {9, 5, 1});
    EXPECT_TRUE((QVector<TextureToken>{5, 3, 4, 9, 1}) == set);
}

TEST_F(TextureManagerTest, TokensCountUpAndHolesAreFilledInTheOrderOfTheirMaking)
{
    EXPECT_TRUE(nullTextureToken == manager.createUDIMToken()) << "has no such sets, and takes no number";
    QVector<quint64> free;
    quint64 end = 1;
    QVector<quint64> alive = {0};
    std::mt19937 engine(1);
    for (int step = 0; step < 20000; ++step) {
        if (engine() % 16 < 8 && alive.size() < 300) {
            alive += free.isEmpty() ? end++ : free.takeFirst();
            EXPECT_EQ(alive.last(), manager.reserveToken().token);
        } else if (engine() % 64 == 0) {
            EXPECT_EQ(end, manager.reserveTokenBlock(3).token);
            alive += {end, end + 1, end + 2};
            end += 3;
        } else if (!alive.isEmpty()) {
            free += alive.takeAt(int(engine() % unsigned(alive.size())));
            manager.deleteToken(free.last());
            while (free.contains(end - 1)) {
                free.removeOne(--end);
            }
        }
        ASSERT_EQ(end, manager.maxToken().token);
    }
}

TEST_F(TextureManagerTest, DeletingWhatWasNotReservedIsReportedAndDone)
{
    manager.deleteToken(7);
    const QString condition = "token.token < this->_maxToken.token";
    EXPECT_MESSAGES(asserted(condition, "Delete token 7 but only 1 reserved!"));
    EXPECT_EQ(7u, manager.reserveToken().token);
    manager.deleteToken(0);
    manager.deleteToken(0);
    EXPECT_MESSAGES(asserted("0 < this->_maxToken.token", "Delete token 0 but none 0 reserved!"),
                    asserted(condition, "Delete token 0 but only 0 reserved!"));
    EXPECT_EQ(0u, manager.reserveToken().token);
    manager.deleteToken(nullTextureToken);
    _capture.take();
    EXPECT_TRUE(nullTextureToken != manager.reserveToken()) << "which is never handed out";
}

TEST_F(TextureManagerTest, PathsAreFoundAsGivenUnderTheRootAndByTheirLastComponent)
{
    const QString image = newImage("sub/image.png");
    manager.setTextureRoot(path("sub"));
    for (const QString &given : {image, QString("image.png"), QString("/image.png"),
                                 QString("elsewhere/image.png"), QString("C:\\art\\image.png")}) {
        EXPECT_EQ(image, manager.resolveTexturePath(given));
    }
    EXPECT_EQ("a\\b/other.png", manager.resolveTexturePath("a\\b/other.png"));
    EXPECT_MESSAGES("debug Failed to find file a\\b/other.png");
}

TEST_F(TextureManagerTest, AnImageHasOneTokenWhicheverWayItIsNamed)
{
    const QString image = newImage("b.png");
    manager.setTextureRoot(path(""));
    const TextureToken token = manager.tokenForImage("b.png", {});
    EXPECT_MESSAGES(creating(1, "b.png (full path: " + image + ")"));
    manager.deleteTexture(token);
    EXPECT_EQ(1u, manager.maxToken().token);
    EXPECT_TRUE(token == manager.tokenForImage(image, {})) << "it was never loaded";
    EXPECT_TRUE(token == manager.reserveToken());
    manager.tokenForImage(newImage("a.png"), {});
    EXPECT_EQ(QStringList({path("a.png"), image}), manager.textureFiles());
    _capture.take();
    Texture *texture = manager.textureForToken(token);
    EXPECT_MESSAGES(startsWith("debug Texture " + image + " loaded in "));
    ASSERT_NE(nullptr, texture);
    EXPECT_TRUE(texture->isReadOnly());
    EXPECT_EQ(texture, manager.textureForImage(image, {}));
    EXPECT_TRUE(token == manager.tokenForTexture(texture));
}

TEST_F(TextureManagerTest, WhatIsMissingIsWhiteAndWhatDoesNotLoadIsTriedAgain)
{
    const TextureToken white = manager.tokenForColor(QColor(Qt::white));
    for (const QString &missing : {QString(), QString("/no/such"), path("sub")}) {
        EXPECT_TRUE(white == manager.tokenForImage(missing, {}));
        EXPECT_EQ(QStringList("warning [TextureManager.cpp:#] Cannot load " + missing),
                  _capture.takeTexts(QtWarningMsg));
    }
    const TextureToken token = manager.tokenForImage(writeFile(path("late.png"), {}), {});
    EXPECT_EQ(manager.textureForToken(white), manager.textureForToken(token));
    _capture.take();
    newImage("late.png");
    EXPECT_NE(manager.textureForToken(white), manager.textureForToken(token));
    EXPECT_MESSAGES(startsWith("debug Texture " + path("late.png") + " loaded in "));
    EXPECT_EQ(nullptr, manager.textureForToken(1000));
    EXPECT_EQ(nullptr, manager.textureForToken(nullTextureToken));
}

TEST_F(TextureManagerTest, ADeletedColourIsForgottenUnlessItIsTranslucent)
{
    const QColor red(255, 0, 0);
    const QColor glass(1, 2, 3, 4);
    manager.textureForColor(red);
    const Texture *texture = manager.textureForColor(glass);
    EXPECT_EQ(texture, manager.textureForToken(2));
    EXPECT_MESSAGES(creating(1, "255 0 0 255"), creating(2, "1 2 3 4"));
    manager.deleteTexture(TextureToken(1));
    manager.deleteTexture(TextureToken(2));
    EXPECT_EQ(1u, manager.maxToken().token);
    EXPECT_EQ(2u, manager.tokenForColor(glass).token) << "its old number, which is free";
    EXPECT_MESSAGES();
    EXPECT_EQ(1u, manager.tokenForColor(red).token);
    EXPECT_MESSAGES(creating(1, "255 0 0 255"));
}

TEST_F(TextureManagerTest, ATextureGoesWithItsTokenUnlessItsNameIsForeign)
{
    const int others = Texture::NumAlive();
    Texture *texture = newTexture();
    const TextureToken token = manager.tokenForTexture(texture);
    EXPECT_MESSAGES(creating(1, QString::asprintf("texture %p", static_cast<void *>(texture))));
    manager.deleteTexture(texture);
    EXPECT_EQ(others, Texture::NumAlive());
    EXPECT_EQ(nullptr, manager.textureForToken(token));
    manager.deleteTexture(static_cast<Texture *>(nullptr));
    manager.deleteTexture(texture); // a number by now, which has no token
    manager.deleteTexture(nullTextureToken);
    EXPECT_EQ(1u, manager.maxToken().token);

    GLuint name = 0;
    glGenTextures(1, &name);
    auto *foreign = new Texture(name, nullptr);
    foreign->setTarget(GL_TEXTURE_2D);
    manager.deleteTexture(manager.tokenForTexture(foreign));
    EXPECT_EQ(others + 1, Texture::NumAlive()) << "the wrapper is still there";
    manager.tokenForTexture(foreign);
    manager.textureForColor(QColor(Qt::red));
    manager.tokenForImage(newImage("a.png"), {});
    manager.releaseTempTextureRef(manager.tempTexture(RGBA, 4, 4, 1, 1), 1);
    manager.clear();
    EXPECT_EQ(others, Texture::NumAlive()) << "and gone when all is cleared";
    EXPECT_EQ(1, ledger().alive(GLLedger::eTexture)) << "the foreign name";
    EXPECT_EQ(0u, manager.maxToken().token);
    EXPECT_TRUE(manager.textureFiles().isEmpty());
    EXPECT_TRUE(nullTextureToken == manager.tokenForTexture(nullptr));
    EXPECT_EQ(nullptr, manager.textureForToken(nullTextureToken));
    EXPECT_EQ(0u, manager.tokenForColor(QColor(Qt::white)).token) << "white went too, and is made again";
    glDeleteTextures(1, &name);
    _capture.take();
}

TEST_F(TextureManagerTest, FramebuffersGiveScratchTexturesBackToThePool)
{
    ASSERT_TRUE(TextureManager::setInstance(&manager));
    Texture *color = manager.tempTexture(RGBA16F, 4, 4, 1, 1);
    Texture *depth = manager.tempTexture(DEPTH32F, 4, 4, 1, 2);
    EXPECT_EQ(unsigned(GL_TEXTURE_2D_MULTISAMPLE), depth->target());
    manager.addTempTextureRef(color, 1);
    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    framebuffer.attach(color, GL_COLOR_ATTACHMENT0, 0);
    EXPECT_EQ(color, framebuffer.detachAndRelease(GL_COLOR_ATTACHMENT0));
    EXPECT_EQ(nullptr, framebuffer.detachAndRelease(GL_COLOR_ATTACHMENT0));
    manager.deleteUnusedTempTextures();
    EXPECT_EQ(2, ledger().alive(GLLedger::eTexture)) << "the colours have a reference left";
    framebuffer.attach(color, GL_COLOR_ATTACHMENT0, 0);
    framebuffer.attach(depth, GL_DEPTH_ATTACHMENT, 0);
    framebuffer.detachAndReleaseAll();
    framebuffer.unbind();
    EXPECT_EQ(0, FramebufferObject::NumActiveFBOTextures());
    manager.printTempTextureSummary();
    EXPECT_EQ(6, _capture.take().size()); // the lines of the pool
    manager.deleteUnusedTempTextures();
    EXPECT_EQ(0, ledger().alive(GLLedger::eTexture));
    TextureManager::setInstance(nullptr);
}

TEST_F(ManagerTest, TheProcessWideManagerIsBindlessWhereTheDriverIs)
{
    const std::unique_ptr<TextureManager> manager(TextureManager::Instance());
    const QString name =
        BindlessTextureManager::isSupported() ? "BindlessTextureManager" : "SamplerTextureManager";
    EXPECT_EQ("debug " + name, _capture.take().first().toString());
    EXPECT_EQ(name + ".glslc", manager->getShaderFile());
    EXPECT_EQ(8, manager->getMaxSlots());
    EXPECT_EQ(manager.get(), TextureManager::Instance());
    TextureManager::setInstance(nullptr);
}

TEST_P(SamplerSlotsTest, SlotsAreSharedCountedAndUsedAgain)
{
    const std::unique_ptr<ShaderProgram> program = newProgram(*manager);
    std::vector<GLint> units;
    Hook<&glUniform1iv> upload;
    upload.replace([&](GLint location, GLsizei count, const GLint *values) {
        units.assign(values, values + count);
        upload.original(location, count, values);
    });
    const auto unitsFor = [&](ShaderProgram *bound) {
        manager->bind(bound);
        manager->unbind(bound);
        return units;
    };
    unitsFor(nullptr);
    EXPECT_EQ(std::vector<GLint>(8, units[0]), units) << "all of them the empty texture's";
    QVector<TextureToken> tokens;
    for (int i = 0; i < 9; ++i) {
        tokens += manager->tokenForTexture(newTexture());
    }
    _capture.take();
    const auto unitOf = [&](int token) { return GLint(manager->textureForToken(tokens[token])->unit()); };
    manager->bind(tokens.mid(0, 3));
    manager->bind(tokens.mid(1, 1)); // twice in one slot
    std::vector<GLint> expected(8, unitOf(2));
    expected[0] = unitOf(0);
    expected[1] = unitOf(1);
    EXPECT_EQ(expected, unitsFor(program.get())) << "the last slot's unit fills the array up";
    manager->unbind(tokens.mid(0, 2));
    EXPECT_EQ(unitOf(1), unitsFor(program.get())[1]) << "bound once more";
    EXPECT_EQ(unitOf(2) - 1, units[0]) << "the empty texture's, after the map took the unit that became free";
    manager->bind(tokens.mid(5, 1));
    EXPECT_EQ(unitOf(5), unitsFor(program.get())[0]) << "the free slot comes before a new one";
    manager->bind(tokens);
    EXPECT_EQ(8u, unitsFor(program.get()).size());
    EXPECT_MESSAGES(
        QString("warning [%1TextureManager.cpp:#] Requesting 9 texture slots but only 8 available. "
                "Rendering will be incorrect!")
            .arg(GetParam().kind == TextureStrategy::eSampler ? "Sampler" : "Bindless"));
    for (const QVector<TextureToken> &bound : {tokens, tokens.mid(1, 2), tokens.mid(5, 1)}) {
        manager->unbind(bound);
    }
    manager->clear();
    _capture.take();
    unitsFor(program.get());
    EXPECT_EQ(std::vector<GLint>(8, units[0]), units);
    EXPECT_MESSAGES(); // no slot is in use any more
}

TEST_F(TextureManagerTest, TheMapHasAnEntryForEachTokenUntilItIsCleared)
{
    const std::unique_ptr<ShaderProgram> program = newProgram(manager);
    const QVector<TextureToken> tokens = {manager.tokenForTexture(newTexture()), TextureToken(0)};
    manager.bind(tokens);
    manager.reserveTokenBlock(100);
    Texture *other = newTexture();
    std::vector<GLint> map;
    Hook<&glTexImage2D> uploads;
    uploads.replace([&](auto, auto, auto, GLsizei width, auto, auto, auto, auto, const void *data) {
        map.assign(static_cast<const GLint *>(data), static_cast<const GLint *>(data) + width);
    });
    const auto expectMap = [&](std::vector<GLint> expected, GLint first) {
        manager.bind(program.get());
        manager.unbind(program.get());
        expected[0] = first;
        EXPECT_EQ(expected, map);
    };
    expectMap(std::vector<GLint>(102), 1); // in the second slot
    manager.unbind(tokens);
    manager.clear();
    manager.tokenForTexture(other);
    expectMap(std::vector<GLint>(1), 0);
    _capture.take();
}

TEST_P(SamplerSlotsTest, AMapThatIsTooShortIsGivenBackEvenWhileItIsBound)
{
    const std::unique_ptr<ShaderProgram> program = newProgram(*manager);
    manager->bind(program.get());
    manager->tokenForTexture(newTexture());
    manager->unbind(program.get());
    _capture.take();
    EXPECT_EQ(topUnit(), unitOfNextTexture()) << "no unit is lost";
    const Tap<&glTexImage2D> uploads;
    manager->bind(program.get());
    manager->unbind(program.get());
    EXPECT_EQ(1u, uploads.count()) << "of a new map";
}

TEST_F(ManagerTest, TheOlderBindlessExtensionHasADefineOfItsOwn)
{
    const std::unique_ptr<TestContext> own = TestContext::create(); // whose extensions were not read yet
    Hook<&glGetStringi> extensions;
    extensions.replace([](auto...) { return reinterpret_cast<const GLubyte *>("GL_NV_bindless_texture"); });
    if (!BindlessTextureManager::isSupported()) {
        GTEST_SKIP() << "Needs a run with extensions";
    }
    GLSLMacroProcessor processor;
    BindlessTextureManager().setup(&processor);
    const QString defines = GLSLMacroProcessor::processDefines(&processor);
    EXPECT_TRUE(defines.contains("TEXTURE_MANAGER_BINDLESS_NV 1") && !defines.contains("BINDLESS_ARB"));
}

TEST_F(ManagerTest, HandlesAreTheTokensOfWhatDoesNotChangeAndResidentWhileTheyAreBound)
{
    BindlessTextureManager manager;
    if (!BindlessTextureManager::isSupported()) {
        EXPECT_MESSAGES(AssertionsOf("BindlessTextureManager.cpp")(
            "false",
            "No known bindless texture support detected. You should not be using this TextureManager"));
        const QVector<TextureToken> red = {manager.tokenForColor(QColor(Qt::red))};
        manager.bind(red);
        manager.unbind(red);
        return;
    }
    EXPECT_FALSE(manager.isBindlessToken(nullTextureToken));
    EXPECT_TRUE(nullTextureToken == manager.tokenForTexture(nullptr));
    Texture *fixed = newTexture();
    fixed->setReadOnly();
    const TextureToken handle = manager.tokenForTexture(fixed);
    EXPECT_TRUE(handle == manager.tokenForTexture(fixed));
    const TextureToken writable = manager.tokenForTexture(newTexture());
    EXPECT_EQ(Q_UINT64_C(0xFFFFFFFF00000000), writable.token);
    const QString image = newImage("a.png");
    const TextureToken loaded = manager.tokenForImage(image, {});
    EXPECT_TRUE(loaded == manager.tokenForImage(image, {}));
    EXPECT_TRUE(manager.textureForImage(image, {})->isReadOnly());
    EXPECT_EQ(QStringList(image), manager.textureFiles());
    EXPECT_TRUE(manager.tokenForColor(QColor(Qt::white)) == manager.tokenForImage("/no/such", {}));
    EXPECT_MESSAGES(startsWith("debug Texture " + image + " loaded in "),
                    "debug Failed to find file /no/such",
                    "warning [TextureIO.cpp:#] File /no/such not found");
    for (const TextureToken &token : {handle, loaded, manager.tokenForColor(QColor(1, 2, 3, 4))}) {
        EXPECT_TRUE(manager.isBindlessToken(token));
    }
    EXPECT_EQ(1u, manager.maxToken().token);

    const auto isResident = reinterpret_cast<PFNGLISTEXTUREHANDLERESIDENTARBPROC>(
        getGLProcAddress("glIsTextureHandleResidentARB", false));
    EXPECT_EQ(GL_FALSE, isResident(loaded.token));
    manager.bind(QVector<TextureToken>{loaded, TextureToken(), TextureToken(77), loaded});
    EXPECT_EQ(GL_TRUE, isResident(loaded.token));
    manager.unbind(QVector<TextureToken>{loaded});
    EXPECT_EQ(GL_FALSE, isResident(loaded.token)) << "binds are not counted";
    manager.deleteTexture(writable);
    EXPECT_EQ(0u, manager.maxToken().token);
    manager.deleteTexture(handle); // was never counted
    manager.clear();
    EXPECT_EQ(0, ledger().alive(GLLedger::eTexture)) << "white too, which clearing makes first";
}

TEST_F(ArrayManagerTest, NothingToBindMakesNoSlotsAndMisuseIsReported)
{
    GLSLMacroProcessor processor;
    manager.setUseExplicitlyArrayAccessInGLSL(true);
    manager.setup(nullptr);
    manager.setup(&processor);
    EXPECT_TRUE(GLSLMacroProcessor::processDefines(&processor)
                    .startsWith("#define TEXTURE_ARRAY_ARRAY2D_EXPLICIT_ARRAY_ACCESS 1\n"));
    const Tap<&glGenTextures> made;
    manager.bind(QVector<TextureToken>());
    manager.bind(QList<TextureToken>());
    manager.bind(QSet<TextureToken>());
    EXPECT_EQ(0u, made.count());
    manager.bind(QList<TextureToken>{nullTextureToken, TextureToken(5)});
    EXPECT_MESSAGES(arrayAsserted("token.token < quint64(_textureTokenToSlotLayerData.size())",
                                  "Token 5 is not in array 1."));

    auto *volume = new Texture(nullptr);
    volume->setTarget(GL_TEXTURE_3D);
    const TextureToken token = manager.tokenForTexture(volume);
    _capture.take();
    manager.bind(QVector<TextureToken>{token});
    const QString target = "failed: Texture 1 is for target 0x806F. Only 0xDE1, 0x8513 or 0x8C1A are allowed";
    EXPECT_EQ(2, _capture.takeTexts().filter(target).size());

    const TextureToken set = manager.createUDIMToken();
    manager.addUDIMPatch(set, QPoint(0, 0), nullptr);
    manager.bind(QVector<TextureToken>{set});
    EXPECT_EQ(1, _capture.takeTexts().filter("Token 18446744073709551615 is not in array 4.").size());

    manager.setSlotReallocationMethod(TextureManager::SlotReallocationMethod(7));
    EXPECT_MESSAGES(
        "warning [Array2DTextureManager.cpp:#] Unsupported slot reallocation method request 7 ignored!");
    manager.bind(); // without a program
    manager.unbind();
    manager.textureTokenIssued(nullTextureToken); // leaves the table as it is
    EXPECT_MESSAGES();
}

TEST_F(ArrayManagerTest, ClearingAbandonsTheSlots)
{
    const TextureToken token = manager.tokenForTexture(newTexture());
    manager.bind(QVector<TextureToken>{token});
    manager.updateSlots();
    manager.deleteSlots();
    EXPECT_TRUE(manager.blitTokenToTextureSlot(token)) << "there is no slot to copy to";
    manager.clear();
    _capture.take();
    manager.bind(QVector<TextureToken>{token});
    EXPECT_EQ(1, _capture.takeTexts().filter("Assertion 'token.token < ").size());

    manager.deleteSlots();
    manager.TextureManager::clear();
    manager.clear();
    EXPECT_EQ(0, ledger().alive(GLLedger::eTexture));
    EXPECT_EQ(1u, manager.maxToken().token) << "white, not loaded";
    _capture.take();
}

TEST_F(ArrayManagerTest, StorageIsMadeOnceALayerAndALevel)
{
    QVector<TextureToken> tokens;
    Texture *texture = nullptr;
    for (int i = 0; i < 3; ++i) {
        texture = newTexture(8, 2);
        tokens += manager.tokenForTexture(texture);
    }
    manager.bind(tokens);
    Tap<&glTexImage3D> storage;
    Tap<&glTexParameterf> anisotropy;
    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    manager.updateSlots();
    EXPECT_EQ(GLint(framebuffer.getFBO()), integerOf(GL_DRAW_FRAMEBUFFER_BINDING));
    framebuffer.unbind();
    EXPECT_EQ(hasGLExtension("GL_EXT_texture_filter_anisotropic"), anisotropy.count() == 1);
    ASSERT_EQ(3u * 2u, storage.count()) << "8x2 and 4x1";
    const auto call = [](int level, int width, int height) {
        return std::make_tuple(GLenum(GL_TEXTURE_2D_ARRAY), level, GL_RGBA8, width, height, 3, 0,
                               GLenum(GL_RGBA), GLenum(GL_UNSIGNED_BYTE), static_cast<const void *>(nullptr));
    };
    EXPECT_EQ(call(0, 8, 2), storage.calls().front());
    EXPECT_EQ(call(1, 4, 1), storage.calls().back());
    manager.updateSlots();
    EXPECT_EQ(6u, storage.count());
    _capture.take();

    const QString ignored = QString::asprintf("warning [Array2DTextureManager.cpp:#] %p Ignoring texture "
                                              "of size (0x0), not blitted into array2D",
                                              static_cast<void *>(&manager));
    manager.textureTokenIssued(tokens.last()); // its pixels are to be copied again
    for (const int side : {0, 4}) {
        texture->bind();
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, side, side, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        texture->unbind();
        manager.updateSlots();
        manager.updateSlots();
        EXPECT_EQ(side == 0 ? QStringList({ignored, ignored}) : QStringList(), _capture.takeTexts());
    }
}

TEST_P(ManagerCallsTest, WhatIsInPlaceCostsNoLookUpNoUploadAndNoMemory)
{
    const std::unique_ptr<ShaderProgram> program = newProgram(*manager);
    QList<TextureToken> tokens;
    for (int i = 0; i < 5; ++i) {
        Texture *texture = newTexture(4, 4);
        texture->setReadOnly();
        tokens += manager->tokenForTexture(texture);
    }
    const QVector<TextureToken> unbound = tokens.toVector();
    const auto round = [&] {
        manager->bind(tokens);
        manager->bind(program.get());
        manager->unbind(program.get());
        manager->unbind(unbound);
    };
    round();
    const Taps<&glGetUniformLocation, &glTexImage1D, &glTexImage2D, &glTexImage3D, &glGenFramebuffers> calls;
    round();
    EXPECT_EQ(0u, calls.count());
    if (GetParam().kind == TextureStrategy::eArray) {
        const Taps<&glActiveTexture, &glGetTexParameteriv> queries;
        const AllocationCount allocations;
        manager->bind(tokens);
        EXPECT_EQ(0u, allocations.taken());
        EXPECT_EQ(0u, queries.count());
    }
    EXPECT_EQ(topUnit(), unitOfNextTexture()) << "no unit is lost";
    _capture.take();
}

TEST_P(ManagerCallsTest, TokensThatComeAndGoLeaveNothingBehind)
{
    const quint64 lastToken = manager->maxToken().token;
    size_t lowest[2] = {SIZE_MAX,
                        SIZE_MAX}; // bytes in use, of the first rounds with full caches and of the last ones
    for (quint32 round = 1; round <= 22000; ++round) {
        const TextureToken token = manager->tokenForColor(QColor(QRgb(0xFF000000u | round)));
        manager->bind(QVector<TextureToken>{token});
        manager->unbind(QVector<TextureToken>{token});
        manager->deleteTexture(token);
        _capture.take();
        if (round % 500 == 0) { // drivers free what they have finished with
            Pixels::ofFramebuffer(0, 0, 1, 1);
        }
        if (round % 100 == 0 && round >= 2000 && (round < 6000 || round >= 18000)) {
            size_t &low = lowest[round >= 18000];
            low = std::min(low, size_t(mallinfo2().uordblks));
        }
    }
    // zink keeps more memory, the further its own thread lags.
    if (!QByteArray(reinterpret_cast<const char *>(glGetString(GL_RENDERER))).startsWith("zink")) {
        EXPECT_LT(lowest[1], lowest[0] + (1u << 18)) << "bytes in use";
    }
    EXPECT_EQ(lastToken, manager->maxToken().token);
}
