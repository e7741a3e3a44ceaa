#include "support/FakeLimits.h"
#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <map>
#include <random>
#include <set>

using namespace Orvane::Zel;

namespace {

constexpr unsigned int kNoUnit = 0xFFFFFFFFu;

const AssertionsOf asserted("Texture.cpp");
const QString kNoUnits = "warning [Texture.cpp:#] There is no available texture units";

std::unique_ptr<Texture> newTexture(unsigned int target = GL_TEXTURE_2D)
{
    auto texture = std::make_unique<Texture>(nullptr);
    texture->setTarget(target);
    return texture;
}

using TextureTest = GLTest;

} // namespace

TEST_F(TextureTest, EachContextHandsOutUnitsOfItsOwn)
{
    const auto texture = newTexture();
    ASSERT_TRUE(texture->bind());
    const unsigned int unit = texture->unit();
    {
        const auto second = TestContext::create();
        ASSERT_TRUE(second);
        const FakeLimits limits(GL_MAX_TEXTURE_IMAGE_UNITS, 70); // more than a word has bits
        const Tap<&glGetIntegerv> queries;
        EXPECT_FALSE(Texture::isTextureUnitFree(0)) << "no texture was bound here yet";
        EXPECT_EQ(0u, queries.count());
        EXPECT_FALSE(texture->isBound());
        EXPECT_TRUE(Texture::isTextureUnitFree(0));

        const auto local = newTexture();
        ASSERT_TRUE(local->bind());
        EXPECT_EQ(69u, local->unit());
        ASSERT_TRUE(local->unbind());
        EXPECT_EQ(1u, queries.count()) << "the number of units is queried once";
    }
    makeCurrent();
    EXPECT_EQ(unit, texture->unit());
    EXPECT_TRUE(texture->unbind());
}

TEST_F(TextureTest, RandomBindsFollowTheModelOfUnits)
{
    std::mt19937 random(20240501);
    std::vector<std::unique_ptr<Texture>> textures;
    const int units = newTexture()->maxTextureUnits();
    ASSERT_GE(units, 16);
    for (int i = 0; i < units + 4; ++i) {
        textures.push_back(newTexture(i % 3 == 0 ? GL_TEXTURE_2D_ARRAY : GL_TEXTURE_2D));
    }
    std::map<const Texture *, std::pair<unsigned int, int>> bound; // unit and depth of the binds
    std::set<unsigned int> free;
    for (int unit = 0; unit < units; ++unit) {
        free.insert(unsigned(unit));
    }
    size_t bindingCount = 0;
    const Tap<&glBindTexture> bindings;
    for (int step = 0; step < 20000; ++step) {
        SCOPED_TRACE(step);
        Texture &texture = *textures[random() % textures.size()];
        auto &[unit, depth] = bound[&texture];
        const bool binds =
            random() % 100 < (step / 2000 % 2 == 0 ? 60u : 40u); // fills up and drains by turns
        const bool done = depth > 0 || (binds && !free.empty());
        if (done && binds && depth++ == 0) {
            unit = *free.rbegin(); // from the top down
            free.erase(unit);
            ++bindingCount;
        } else if (done && !binds && --depth == 0) {
            free.insert(unit);
            ++bindingCount;
        }
        ASSERT_EQ(done, binds ? texture.bind() : texture.unbind());
        if (done) {
            const bool array = texture.target() == GL_TEXTURE_2D_ARRAY;
            ASSERT_EQ(GLint(GL_TEXTURE0 + unit), integerOf(GL_ACTIVE_TEXTURE));
            ASSERT_EQ(depth != 0 ? GLint(texture.textureID()) : 0,
                      integerOf(array ? GL_TEXTURE_BINDING_2D_ARRAY : GL_TEXTURE_BINDING_2D));
        } else {
            EXPECT_MESSAGES(binds ? kNoUnits
                                  : asserted("contextInfo.textureToUnitMaps.contains(this->_textureID)",
                                             "Texture has not been bound on unbind"));
        }
        ASSERT_TRUE(takeMessages({}));
        ASSERT_EQ(bindingCount, bindings.count()) << "nested binds share one";
        ASSERT_EQ(depth != 0, texture.isBound());
        if (depth != 0) {
            ASSERT_EQ(unit, texture.unit());
        }
        const unsigned int any = unsigned(random()) % unsigned(units);
        ASSERT_EQ(free.count(any) != 0, Texture::isTextureUnitFree(any));
    }
    for (const auto &texture : textures) {
        texture->bind(); // all units are in use in the end
    }
    _capture.take();
    const Tap<&glTexImage2D> images;
    Texture late(nullptr);
    EXPECT_EQ(&late, late.create2D(GL_TEXTURE_2D, GL_RGBA8, 4, 4));
    EXPECT_EQ(0u, images.count()) << "of no other texture";
    EXPECT_MESSAGES(kNoUnits);
    for (const auto &texture : textures) {
        while (texture->isBound()) {
            texture->unbind();
        }
    }
}

TEST_F(TextureTest, WrongOrdersAreReported)
{
    const auto refusals = [](Texture &texture, const char *condition, const std::vector<QString> &texts) {
        EXPECT_FALSE(texture.bind());
        EXPECT_FALSE(texture.unbind());
        EXPECT_FALSE(texture.isBound());
        EXPECT_EQ(kNoUnit, texture.unit());
        EXPECT_EQ(-1, texture.internalFormat(0));
        std::vector<ExpectedMessage> messages;
        for (const QString &text : texts) {
            messages.push_back(asserted(condition, text));
        }
        EXPECT_TRUE(takeMessages(messages));
    };
    const char *const named = "0u != this->_textureID";
    {
        Texture nothing(0u, nullptr);
        EXPECT_MESSAGES(asserted("textureID != 0", "Texture ID was zero, can't wrap a non-existent texture"));
        EXPECT_EQ(1, Texture::NumAlive());
        refusals(nothing, named,
                 {"Texture is NULL on bind", "Texutre is NULL on unbind", "Texutre is NULL on unbind",
                  "Texutre is NULL on unit()", "Texutre is NULL on internalFormat()"});
    }
    EXPECT_MESSAGES(asserted(named, "Texture is NULL on destroy"));
    Texture texture(nullptr);
    refusals(texture, "0u != this->_target",
             {"Texture Target is not set on bind", "Texture Target is not set on unbind",
              "Texture Target is not set on unbind", "Texture Target is not set on unit()",
              "Texture target is not set on internalFormat()"});
    texture.setTarget(GL_TEXTURE_2D);
    EXPECT_EQ(-1, texture.height(0));
    EXPECT_EQ(kNoUnit, texture.unit());
    EXPECT_FALSE(texture.create());
    EXPECT_MESSAGES(asserted("this->isBound()", "Texture target is not bound"),
                    asserted("contextInfo.textureToUnitMaps.contains(this->_textureID)",
                             "Texture has not been bound on unit()"),
                    asserted("0u == this->_textureID", "Texture is not NULL on create"));
}

TEST_F(TextureTest, SizeIsRecordedOnceForTheBaseLevel)
{
    Texture texture(nullptr);
    texture.setSize(2, GL_RGBA8, 64, 64, 1);
    EXPECT_EQ(0, texture.dimensionLevelSize(64, 1)) << "nothing was stored";
    EXPECT_MESSAGES(asserted("level == 0", "Only call setSize() for the base LOD of the texture"));

    texture.setSize(0, GL_RGBA8, 1024, 512, 1);
    EXPECT_EQ(1024, texture.dimensionLevelSize(1024, 0));
    texture.setSize(0, GL_RGBA8, 2, 2, 1);
    EXPECT_EQ(0, texture.dimensionLevelSize(2, 2)) << "the second size counts";
    EXPECT_MESSAGES(asserted("0 == _internalFormat", "Texture internal format has already been set"),
                    asserted("0 == _width", "Texture width has already been set"),
                    asserted("0 == _height", "Texture height has already been set"));

    for (int size = 0, lastLevel = 0; size <= 16384; ++size) {
        lastLevel += (2 << lastLevel) <= size;
        Texture sized(GL_TEXTURE_2D, GL_RGBA8, size, 1, 1, nullptr);
        ASSERT_EQ(size == 0 ? 0 : 1, sized.dimensionLevelSize(size, lastLevel)) << size;
        ASSERT_EQ(0, sized.dimensionLevelSize(size, lastLevel + 1)) << size;
    }
}

TEST_F(TextureTest, AReadOnlyTextureReportsChangesAndMakesThem)
{
    Texture texture(nullptr);
    EXPECT_FALSE(texture.isReadOnly());
    texture.setReadOnly();
    EXPECT_TRUE(texture.isReadOnly());
    texture.setTarget(GL_TEXTURE_3D);
    EXPECT_EQ(unsigned(GL_TEXTURE_3D), texture.target());
    texture.create2D(GL_TEXTURE_2D, GL_RGBA8, 4, 2);
    const QString readOnly = asserted("false == _readonly", "Not allowed to change a readonly texture");
    EXPECT_MESSAGES(readOnly, readOnly, readOnly, readOnly);
}

TEST_F(TextureTest, CreateMakesStorageWithNearestFiltersAndRecordsSingleSamples)
{
    Texture flat(nullptr);
    Texture array(nullptr);
    Texture volume(nullptr);
    Texture samples(nullptr);
    ASSERT_EQ(&flat, flat.create2D(GL_TEXTURE_2D, GL_RGBA16F, 8, 4));
    ASSERT_EQ(&array, array.create3D(GL_TEXTURE_2D_ARRAY, GL_R8, 5, 6, 7));
    ASSERT_EQ(&volume, volume.create3D(GL_TEXTURE_3D, GL_RGB8, 4, 2, 3));
    ASSERT_EQ(&samples, samples.create2DMultisample(GL_TEXTURE_2D_MULTISAMPLE, GL_RGBA8, 8, 4, 4));
    for (const auto &[texture, format, width, height, depth, sampleCount] :
         {std::tuple(&flat, GL_RGBA16F, 8, 4, 1, 0), std::tuple(&array, GL_R8, 5, 6, 7, 0),
          std::tuple(&volume, GL_RGB8, 4, 2, 3, 0), std::tuple(&samples, GL_RGBA8, 8, 4, 1, 4)}) {
        EXPECT_FALSE(texture->isBound());
        EXPECT_EQ((std::vector<GLint>{format, width, height, depth, sampleCount}),
                  (std::vector<GLint>{levelParameter(*texture, 0, GL_TEXTURE_INTERNAL_FORMAT),
                                      levelParameter(*texture, 0, GL_TEXTURE_WIDTH),
                                      levelParameter(*texture, 0, GL_TEXTURE_HEIGHT),
                                      levelParameter(*texture, 0, GL_TEXTURE_DEPTH),
                                      levelParameter(*texture, 0, GL_TEXTURE_SAMPLES)}));
    }
    EXPECT_EQ(1, flat.dimensionLevelSize(8, 3));
    EXPECT_EQ((std::vector<GLint>{GL_NEAREST, GL_NEAREST, GL_REPEAT, GL_REPEAT, 0, 1000}), samplingOf(flat));
    EXPECT_EQ(1, levelParameter(samples, 0, GL_TEXTURE_FIXED_SAMPLE_LOCATIONS));
    samples.setSize(0, GL_RGBA8, 8, 4, 1); // silent: no size was set before

    const auto cube = newTexture(GL_TEXTURE_CUBE_MAP);
    ASSERT_TRUE(cube->bind());
    driver()->glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X, 0, GL_RGBA8, 16, 16, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                           nullptr);
    EXPECT_EQ(16, cube->width(0)) << "of the face +X";
    EXPECT_EQ(0, cube->width(-1)) << "GL refuses the level";
    takeGLErrors();
    ASSERT_TRUE(cube->unbind());
}

TEST_F(TextureTest, CreateReportsAForeignTargetAndTriesIt)
{
    const Taps<&glTexImage2D, &glTexImage3D, &glTexImage2DMultisample, &glTexImage3DMultisample> images;
    const Tap<&glTexParameteri> parameters;
    Texture textures[4] = {Texture(nullptr), Texture(nullptr), Texture(nullptr), Texture(nullptr)};
    textures[0].create2D(GL_TEXTURE_3D, GL_RGBA8, 4, 4);
    textures[1].create3D(GL_TEXTURE_2D, GL_RGBA8, 4, 4, 4);
    textures[2].create2DMultisample(GL_TEXTURE_2D, GL_RGBA8, 4, 4, 4);
    textures[3].create3DMultisample(GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 4, 4, 4);
    EXPECT_MESSAGES(
        asserted("target == GL_TEXTURE_2D", "Target 0x806F is not allowed."),
        asserted("target == GL_TEXTURE_2D_ARRAY || target == GL_TEXTURE_3D", "Target 0xDE1 is not allowed."),
        asserted("target == GL_TEXTURE_2D_MULTISAMPLE", "Target 0xDE1 is not allowed."),
        asserted("target == GL_TEXTURE_2D_MULTISAMPLE_ARRAY", "Target 0x8C1A is not allowed."));
    EXPECT_EQ(8u, parameters.count()) << "only true multisample targets go without filters";
    EXPECT_EQ(4u, images.count());
    EXPECT_EQ(4, TestContext::takeDriverReports().size()) << "GL takes none of them";
    takeGLErrors();
}
