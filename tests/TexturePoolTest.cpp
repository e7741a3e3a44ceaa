#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TexturePool.h>

#include <map>
#include <random>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("TexturePool.cpp");
const QString kPrefix = "debug [TexturePool.cpp:#] ";

class TexturePoolTest : public GLTest
{
protected:
    TexturePool _pool;
};

} // namespace

TEST_F(TexturePoolTest, KeysDifferInEveryFieldAndFoldToTheirHash)
{
    using Key = TexturePool::Key;
    EXPECT_TRUE(Key() == Key(RGBA, 0, 0, -1, 1));
    const Key key(RGBA16F, 640, 480, 2, 4);
    EXPECT_TRUE(key == Key(RGBA16F, 640, 480, 2, 4));
    for (const Key &other :
         {Key(RGBA32F, 640, 480, 2, 4), Key(RGBA16F, 641, 480, 2, 4), Key(RGBA16F, 640, 481, 2, 4),
          Key(RGBA16F, 640, 480, 3, 4), Key(RGBA16F, 640, 480, 2, 8)}) {
        EXPECT_FALSE(key == other);
    }
    quint64 seed = 8; // the same in 64 bits, truncated to 32 bits at each step
    for (const quint64 value : {640, 480, 2, 4}) {
        seed ^= (value + 0x9E3779B9u + (seed << 6) + (seed >> 2)) & 0xFFFFFFFFu;
    }
    EXPECT_EQ(uint(seed), qHash(key));
}

TEST_F(TexturePoolTest, EveryFormatAndShapeGetsItsStorage)
{
    std::vector<std::tuple<TextureFormat, int, int, unsigned int>> rows = {
        {RGBA16F, 3, 1, GL_TEXTURE_2D_ARRAY},
        {RGBA16F, 1, 4, GL_TEXTURE_2D_MULTISAMPLE},
        {RGBA16F, 3, 4, GL_TEXTURE_2D_MULTISAMPLE_ARRAY}};
    for (unsigned int format = 0; format <= DEPTH32F_STENCIL8; ++format) {
        rows.emplace_back(TextureFormat(format), 1, 1, GL_TEXTURE_2D);
    }
    for (const auto &[format, depth, samples, target] : rows) {
        const bool multisample = samples > 1;
        for (const bool fixed : {false, true}) {
            const Tap<&glTexParameteri> parameters;
            _pool.setFixedSampleLocations(fixed);
            Texture *texture = _pool.take(format, 8, 4, depth, samples);
            EXPECT_EQ(target, texture->target());
            EXPECT_EQ(multisample ? 0u : 2u, parameters.count());
            EXPECT_FALSE(texture->isBound());
            const auto level = [texture = texture](GLenum name) { return levelParameter(*texture, 0, name); };
            EXPECT_EQ((std::vector<GLint>{8, 4, depth, multisample ? samples : 0, fixed || !multisample}),
                      (std::vector<GLint>{level(GL_TEXTURE_WIDTH), level(GL_TEXTURE_HEIGHT),
                                          level(GL_TEXTURE_DEPTH), level(GL_TEXTURE_SAMPLES),
                                          level(GL_TEXTURE_FIXED_SAMPLE_LOCATIONS)}));
            EXPECT_TRUE(multisample || GLint(InternalFormat(format)) == level(GL_TEXTURE_INTERNAL_FORMAT));
            _pool.releaseRef(texture, 1);
            _pool.deleteUnused();
        }
    }
}

TEST_F(TexturePoolTest, RequestsOutOfRangeAreReportedAndServed)
{
    const GLint samples = integerOf(GL_MAX_SAMPLES);
    Texture *most = _pool.take(RGBA, 4, 4, 1, samples);
    _pool.releaseRef(most, 1);
    EXPECT_EQ(most, _pool.take(RGBA, 4, 4, 1, samples + 1)) << "the key holds the reduced number";
    EXPECT_MESSAGES(kPrefix + "Warning: TexturePool::take() requested more than GL_MAX_SAMPLES samples.");
    Texture *none = _pool.take(RGBA, 4, 0, -1, 0);
    EXPECT_MESSAGES(
        asserted("width > 0 && height > 0 && depth > 0", "TexturePool asked for texture of size (4x0x-1)"),
        asserted("samples > 0", "TexturePool requested samples can't be less than 1"));
    EXPECT_EQ(unsigned(GL_TEXTURE_2D), none->target());
    _pool.releaseRef(most, 1);
    _pool.releaseRef(none, 1);
    _pool.deleteUnused();
}

TEST_F(TexturePoolTest, ATextureThatFoundNoUnitIsNotUsedAgain)
{
    std::vector<Texture *> holders(size_t(integerOf(GL_MAX_TEXTURE_IMAGE_UNITS)));
    for (Texture *&holder : holders) {
        holder = _pool.take(RGBA, 1, 1, 1, 1);
        ASSERT_TRUE(holder->bind());
    }
    _pool.releaseRef(_pool.take(RGBA, 4, 2, 1, 1), 1);
    EXPECT_MESSAGES("warning [Texture.cpp:#] There is no available texture units");
    EXPECT_EQ(int(holders.size()), Texture::NumAlive());
    for (Texture *holder : holders) {
        holder->unbind();
        _pool.releaseRef(holder, 1);
    }
    Texture *next = _pool.take(RGBA, 4, 2, 1, 1);
    EXPECT_EQ(4, levelParameter(*next, 0, GL_TEXTURE_WIDTH)) << "with storage, since units are free again";
    _pool.releaseRef(next, 1);
    EXPECT_EQ(next, _pool.take(RGBA, 4, 2, 1, 1)) << "and used again";
    _pool.releaseRef(next, 1);
    _pool.deleteUnused();
}

TEST_F(TexturePoolTest, RandomReferencesFollowTheModel)
{
    std::mt19937 random(11);
    std::map<Texture *, int> references; // of all textures, by address; 0: free
    std::map<Texture *, std::pair<int, int>> sizes;
    for (int step = 0; step < 10000; ++step) {
        SCOPED_TRACE(step);
        const auto operation = references.empty() ? 0 : random() % 4;
        if (operation == 0) {
            const std::pair<int, int> size(1 + int(random() % 3), 1 + int(random() % 2));
            Texture *expected = nullptr; // the last free one
            for (const auto &[texture, count] : references) {
                expected = count == 0 && sizes[texture] == size ? texture : expected;
            }
            const Tap<&glGetIntegerv> queries;
            const Taps<&glGenTextures, &glActiveTexture, &glBindTexture, &glTexParameteri, &glTexImage2D>
                calls;
            Texture *texture = _pool.take(RGBA, size.first, size.second, 1, 1);
            ASSERT_EQ(expected == nullptr, references.count(texture) == 0);
            if (expected != nullptr) {
                ASSERT_EQ(expected, texture);
                ASSERT_EQ(0u, calls.count());
                ASSERT_EQ(1u, queries.count());
                ASSERT_EQ(unsigned(GL_MAX_SAMPLES), queries.last<0>());
            }
            references[texture] = 1;
            sizes[texture] = size;
        } else {
            auto &[texture, held] = *std::next(references.begin(), long(random() % references.size()));
            const int count = int(random() % 4) - 1;
            if (operation == 1) {
                _pool.addRef(texture, count);
                held += held > 0 && count >= 1 ? count : 0;
            } else {
                _pool.releaseRef(texture, count);
                held = held > 0 ? std::max(held - count, 0) : 0;
            }
        }
        if (step % 500 == 0) {
            _pool.deleteUnused();
            for (auto it = references.begin(); it != references.end();) {
                it = it->second == 0 ? references.erase(it) : std::next(it);
            }
        }
        ASSERT_EQ(int(references.size()), ledger().alive(GLLedger::eTexture));
    }
    for (const auto &[texture, count] : references) {
        _pool.releaseRef(texture, count);
    }
    _pool.deleteUnused();
}

TEST_F(TexturePoolTest, TheSummaryCountsTexturesAndKinds)
{
    // From R11FG11FB10F on a format has the name of the one two positions later; without a name, its number.
    for (const auto &[format, name] :
         {std::pair(R, "R       "), std::pair(RGBA16I, "RGBA16I "), std::pair(R11FG11FB10F, "R32I    "),
          std::pair(DEPTH32F, "DEPTH32F_STENCIL8"), std::pair(DEPTH24_STENCIL8, "24      ")}) {
        Texture *kept = _pool.take(format, 8, 4, 1, 1);
        Texture *returned = _pool.take(format, 8, 4, 1, 1);
        _pool.addRef(kept, 1);
        _pool.releaseRef(kept, 1);
        _pool.releaseRef(returned, 1);
        _pool.releaseRef(returned, 1); // ignored
        for (const int free : {1, 0}) {
            _pool.printSummary();
            EXPECT_MESSAGES(kPrefix + QString("%1 managed textures:").arg(1 + free),
                            kPrefix + "- 1 active textures",
                            kPrefix + QString("- %1 free textures").arg(free),
                            kPrefix + "- breakdown by texture format, width and height:",
                            kPrefix + QString("  - %1 8x4: %2 free, 1 active").arg(name).arg(free));
            _pool.deleteUnused();
        }
        _pool.releaseRef(kept, 1);
        _pool.deleteUnused();
    }
}
