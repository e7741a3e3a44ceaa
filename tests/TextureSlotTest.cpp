// Where textures find their place among the slots of the array manager: the arithmetic of one slot, and random placements
// against a model that only knows which layers are taken.

#include "support/FakeLimits.h"
#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/TestProgram.h"
#include "support/TextureParameter.h"

#include <ZelGL/Array2DTextureManager.h>
#include <ZelGL/AutoBinder.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <numeric>
#include <random>

using namespace Orvane::Zel;

namespace {

const auto kDownscale = TextureManager::SlotReallocationDownscale;
const auto kUpscale = TextureManager::SlotReallocationUpscale;

SlotFormat formatOf(int width, int height, unsigned int internalFormat = GL_RGBA8)
{
    SlotFormat format;
    format.width = width;
    format.height = height;
    format.internalFormat = internalFormat;
    return format;
}

class TextureSlotTest : public GLTest
{
protected:
    FakeLimits _smallSlots{GL_MAX_ARRAY_TEXTURE_LAYERS, 0}; // no more layers than the least that there are
};

} // namespace

TEST_F(TextureSlotTest, ASlotStartsAsOneDefinedTexel)
{
    const SlotData slot;
    EXPECT_EQ(unsigned(GL_TEXTURE_2D_ARRAY), slot.texture->target());
    for (const GLenum name : {GL_TEXTURE_WIDTH, GL_TEXTURE_HEIGHT, GL_TEXTURE_DEPTH}) {
        EXPECT_EQ(1, levelParameter(*slot.texture, 0, name)) << name;
    }
    const std::vector<GLint> sampling = {GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE, 0, 0};
    EXPECT_EQ(sampling, samplingOf(*slot.texture));
}

TEST_F(TextureSlotTest, LayersAreLimitedByTheContextAndByTheMemoryOfASlot)
{
    SlotData slot;
    for (const auto &[side, format, layers] :
         {std::tuple(4, GL_RGBA8, 64), std::tuple(8192, GL_RGBA32F, 2), // a gigabyte each
          std::tuple(0x8000, GL_RGBA32F, 1),
          std::tuple(16384, GL_RGBA16, 1)}) { // of unknown size, which counts as the largest
        slot.setupFormat(formatOf(side, side, GLenum(format)));
        EXPECT_EQ(layers, slot.maxLayers) << side;
    }
    EXPECT_MESSAGES("critical bytesFromInternalFormat() does not implement yet : 0x805B");
}

TEST_F(TextureSlotTest, ADifferenceOfMinusOneReadsAsNoFit)
{
    SlotData slot;
    slot.format = formatOf(512, 512);
    EXPECT_EQ(quint32(-1024), slot.getFormatDeltaScore(formatOf(1024, 1024), kDownscale));
    slot.format = formatOf(1, 8);
    EXPECT_EQ(SlotData::kNoFit, slot.getFormatDeltaScore(formatOf(2, 8), kDownscale));
}

TEST_F(TextureSlotTest, HostsFindSlotsBySizeAndFormat)
{
    Array2DTextureManager manager;
    manager.setMaxSlots(5);
    manager.setSlotReallocationMethod(kUpscale);
    manager.setupSlots();
    SlotData *slot = nullptr;
    int index = -1;
    EXPECT_FALSE(manager.seachForSlotWithLargestXY(slot, index));
    EXPECT_FALSE(manager.findSlotLayer(formatOf(0, 4), 1).isValid());
    const SlotFormat formats[] = {formatOf(4, 4), formatOf(8, 8), formatOf(8, 8, GL_RGBA16F),
                                  formatOf(2, 32, GL_R8)};
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_EQ(i, manager.findSlotLayer(formats[i], 1).slot);
    }
    EXPECT_TRUE(manager.seachForSlotWithLargestXY(slot, index));
    EXPECT_EQ(3, index) << "the last of equal ones";
    EXPECT_EQ((QVector<int>{1, 2, 3, 0, 9, 4}), manager.sortSlotsByLargest({0, 9, 4, 1, 2, 3}));
    EXPECT_EQ((QVector<int>{2, 0, 1}), manager.filterSlotsBySimilar(formats[0], {9, 2, 3, 0, -1, 4, 1}));
    ASSERT_TRUE(manager.searchForSimilarSlot(formatOf(8, 4), slot, index, nullptr));
    EXPECT_EQ(1, index);
    ASSERT_TRUE(manager.searchForSimilarSlot(formatOf(8, 4), slot, index, slot));
    EXPECT_EQ(2, index) << "without the first";
    EXPECT_EQ(formats[2].internalFormat, slot->format.internalFormat);
    EXPECT_FALSE(manager.searchForSimilarSlot(formatOf(16, 4), slot, index, nullptr));
    EXPECT_FALSE(manager.moveSlotLayers(4, 0)) << "of an unused slot";
    EXPECT_FALSE(manager.moveSlotLayers(0, 5) || manager.moveSlotLayers(-1, 0));
    _capture.take();
}

namespace {

/// Slots that only know which of their layers are taken.
struct PlacementModel
{
    struct Format
    {
        int width = 0;
        int height = 0;
        GLenum internalFormat = 0; ///< 0 for an unused slot
        bool odd = false;          ///< sampled in another way

        bool operator==(const Format &other) const
        {
            return isAlike(other) && internalFormat == other.internalFormat && width == other.width
                   && height == other.height;
        }

        bool isAlike(const Format &other) const
        {
            return odd == other.odd && (internalFormat == GL_RG8) == (other.internalFormat == GL_RG8);
        }
    };

    struct Slot
    {
        Format format;
        std::vector<bool> taken;
        int allocated = 0;
    };

    struct Token
    {
        Format format;
        int layers;
        int slot = -1;
        int layer = 0;
    };

    void place(Token &token)
    {
        for (const Format &wanted : {token.format, Format()}) { // the same format, else an unused slot
            for (size_t i = 0; i < slotList.size(); ++i) {
                if (slotList[i].format == wanted) {
                    slotList[i].format = token.format;
                    if (take(token, int(i))) {
                        return;
                    }
                }
            }
        }
        const int similar = bestSimilar(token.format);
        if (similar >= 0 && take(token, similar)) {
            ++often["scaled"];
            reportResize(token.format, slotList[size_t(similar)].format);
        } else if (!merge(token)) {
            ++often["refused"];
            messages += "refused";
        }
    }

    void free(Token &token)
    {
        std::vector<bool> &taken = slotList[size_t(token.slot)].taken;
        std::fill_n(taken.begin() + token.layer, token.layers, false);
        while (!taken.empty() && !taken.back()) {
            taken.pop_back();
        }
        token.slot = -1;
        token.layer = 0;
    }

    /// The first gap that is long enough, else the end; a slot's last layer stays unused.
    bool take(Token &token, int slot)
    {
        std::vector<bool> &taken = slotList[size_t(slot)].taken;
        const auto gap = std::search_n(taken.begin(), taken.end(), token.layers, false);
        const size_t end = size_t(gap - taken.begin() + token.layers);
        if (gap == taken.end() && end >= 64) {
            return false;
        }
        token.slot = slot;
        token.layer = int(gap - taken.begin());
        taken.resize(std::max(taken.size(), end));
        std::fill_n(taken.begin() + token.layer, token.layers, true);
        return true;
    }

    int bestSimilar(const Format &format) const
    {
        int best = -1;
        quint32 bestScore = 0xFFFFFFFFu;
        for (size_t i = 0; i < slotList.size(); ++i) {
            const Format &slot = slotList[i].format;
            const Format &large = upscale ? slot : format;
            const Format &small = upscale ? format : slot;
            const quint32 score = quint32(slot.width + slot.height - format.width - format.height);
            if (slot.isAlike(format) && slot.width != 0 && large.width % small.width == 0
                && large.height % small.height == 0 && score < bestScore) {
                best = int(i);
                bestScore = score;
            }
        }
        return best;
    }

    /// All pairs of similar slots, the smaller ones first; of equal ones the later.
    bool merge(Token &token)
    {
        std::vector<size_t> order(slotList.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
            return slotList[a].format.width * slotList[a].format.height
                   > slotList[b].format.width * slotList[b].format.height;
        });
        for (size_t smaller = order.size(); smaller-- > 0;) {
            const Format wanted = slotList[order[smaller]].format;
            for (size_t larger = smaller; larger-- > 0;) {
                Slot &from = slotList[order[upscale ? smaller : larger]];
                Slot &to = slotList[order[upscale ? larger : smaller]];
                if (slotList[order[larger]].format.isAlike(wanted) && move(from, to)) {
                    reportResize(from.format, to.format);
                    from = {token.format, {}, 0};
                    if (take(token, int(&from - slotList.data()))) {
                        ++often["merged"];
                        return true;
                    }
                }
            }
        }
        return false;
    }

    bool move(const Slot &from, const Slot &to)
    {
        for (Token &token : tokens) {
            Token moved = token;
            if (token.slot == &from - slotList.data()) {
                if (!take(moved, int(&to - slotList.data()))) {
                    ++often["broken off"];
                    return false;
                }
                free(token);
                token = moved;
            }
        }
        return true;
    }

    void reportResize(const Format &from, const Format &to)
    {
        messages +=
            QString("(%1x%2) -> (%3x%4)").arg(from.width).arg(from.height).arg(to.width).arg(to.height);
    }

    /// As dumpSlots() has it, without the sampling.
    QString dump() const
    {
        QString text;
        for (const Slot &slot : slotList) {
            const Format &format = slot.format;
            text += QString::asprintf(" %2d {", int(&slot - slotList.data()));
            text += format == Format()
                        ? "UNUSED} \n"
                        : QString::asprintf("(%4dx%4d) 0x%04X,%2d:%2d<64} \n", format.width, format.height,
                                            format.internalFormat, int(slot.taken.size()), slot.allocated);
        }
        return text;
    }

    bool upscale;
    std::vector<Slot> slotList;
    std::vector<Token> tokens = {};
    QStringList messages = {};
    std::map<std::string, int> often = {}; ///< counts of what is rare
};

/// Random textures in a manager and in the model.
class TexturePlacementTest : public TextureSlotTest
{
protected:
    int random(int below) { return int(_engine() % unsigned(below)); }

    /// A texture of a random size and format; every eighth one is odd, in the field of this number.
    PlacementModel::Token addTexture(Array2DTextureManager &manager, int oddField)
    {
        const std::array<GLint, 2> rows[] = {{GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE},
                                             {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE},
                                             {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                                             {GL_TEXTURE_MIN_FILTER, GL_LINEAR},
                                             {GL_TEXTURE_LOD_BIAS, 1},
                                             {GL_TEXTURE_MAX_ANISOTROPY, 2}};
        const auto &[name, value] = rows[oddField];
        const GLenum formats[] = {GL_RGBA8, GL_SRGB8_ALPHA8, GL_RG8};
        const PlacementModel::Format format = {4 + 4 * random(4), 4 + 4 * random(2), formats[random(3)],
                                               random(8) == 0};
        const int layers = random(2) != 0 ? 1 : 2 + random(5);
        auto *texture = new Texture(nullptr);
        texture->create3D(GL_TEXTURE_2D_ARRAY, format.internalFormat, format.width, format.height, layers);
        if (format.odd) {
            const AutoBinder binder(texture);
            glTexParameteri(GL_TEXTURE_2D_ARRAY, GLenum(name), value);
        }
        manager.tokenForTexture(texture);
        return {format, layers};
    }

    /// The dump and the messages of the manager, as the model has them.
    std::pair<QString, QStringList> observed(const Array2DTextureManager &manager)
    {
        QStringList messages = _capture.takeTexts();
        for (QString &message : messages) {
            message = message.contains("Failed to find slot or layer") ? "refused"
                                                                       : message.mid(message.indexOf('('));
        }
        manager.dumpSlots();
        QString dump = _capture.takeTexts().join('|');
        return {dump.mid(dump.indexOf('\n') + 1).remove(QRegularExpression(" C:[^,]*")), messages};
    }

    /// Makes the storage and compares the slot map with the model.
    void compareMaps(Array2DTextureManager &manager, PlacementModel &model)
    {
        Hook<&glTexImage1D> upload;
        std::vector<SlotLayerData> map;
        upload.replace([&](auto, auto, auto, GLsizei width, auto, auto, auto, const void *data) {
            map.resize(size_t(width) / 2);
            std::memcpy(map.data(), data, map.size() * sizeof(SlotLayerData));
        });
        _program->bind();
        manager.bind(_program.get());
        manager.unbind(_program.get());
        _program->unbind();
        for (PlacementModel::Slot &slot : model.slotList) {
            slot.allocated = std::max(slot.allocated, int(slot.taken.size()));
        }
        ASSERT_EQ(model.tokens.size() + 1, map.size()); // the first is white
        std::map<int, quint64> handles;
        for (size_t i = 0; i < model.tokens.size(); ++i) {
            const auto &[format, layers, slot, layer] = model.tokens[i];
            EXPECT_EQ(slot, int(map[i + 1].slot)) << i;
            EXPECT_EQ(layer, int(map[i + 1].layer)) << i;
            const quint64 handle =
                quint64(map[i + 1].bindlessHandleHigh) << 32 | map[i + 1].bindlessHandleLow;
            EXPECT_EQ(slot >= 0 && Array2DTextureManager::isBindlessSupported(), handle != 0);
            EXPECT_EQ(handle, handles.emplace(slot, handle).first->second) << "one for each slot";
        }
    }

private:
    std::mt19937 _engine{30};
    std::unique_ptr<ShaderProgram> _program =
        makeProgram(kAtOrigin, "#version 150\nuniform isampler1D u_TextureTokenManagedTextureSlotMapSample;\n"
                               "out ivec4 map;\nvoid main() {\n"
                               "  map = texelFetch(u_TextureTokenManagedTextureSlotMapSample, 0, 0);\n}\n");
};

} // namespace

TEST_F(TexturePlacementTest, RandomPlacementsFollowTheModelStepByStep)
{
    HelperTextures helpers;
    std::map<std::string, int> often;
    for (int round = 0; round < 24 && !HasFailure(); ++round) {
        Array2DTextureManager manager;
        PlacementModel model{round % 2 == 0, std::vector<PlacementModel::Slot>(size_t(3 + round % 4))};
        manager.setMaxSlots(int(model.slotList.size()));
        manager.setSlotReallocationMethod(model.upscale ? kUpscale : kDownscale);
        if (Array2DTextureManager::isBindlessSupported()) {
            manager.setBindMode(Array2DTextureManager::BindModeBindless);
        }
        std::generate_n(std::back_inserter(model.tokens), 150,
                        [&] { return addTexture(manager, round / 4); });
        _capture.take();
        for (int step = 1; step <= 3000 && !HasFailure(); ++step) {
            const int i = random(int(model.tokens.size()));
            PlacementModel::Token &token = model.tokens[size_t(i)];
            const TextureToken number(quint64(i) + 1);
            if (token.slot < 0) {
                manager.bind(QVector<TextureToken>{number});
                model.place(token);
            } else {
                random(2) != 0 ? manager.textureTokenRevoked(number)
                               : manager.dirty(manager.textureForToken(number));
                model.free(token);
            }
            ASSERT_EQ(std::pair(model.dump(), std::exchange(model.messages, {})), observed(manager))
                << "step " << step;
            if (step % 300 == 0) {
                compareMaps(manager, model);
            }
        }
        for (const auto &[event, count] : model.often) {
            often[event] += count;
        }
    }
    helpers.deleteAll();
    EXPECT_EQ(4u, often.size());
    for (const auto &[event, count] : often) {
        EXPECT_LT(100, count) << event;
    }
}
