#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cstring>
#include <random>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;

constexpr int kMaxItems = 8;

/// A collection of a plan with random members. The shader and the test hash all bits of its items.
class RandomCollection
{
public:
    RandomCollection(const QString &name, Plan::MechanismType mechanism, std::mt19937 &engine)
        : _name(name)
        , _engine(engine)
    {
        const bool isBlock =
            mechanism == Plan::eUniformBufferMechanism || mechanism == Plan::eStorageBufferMechanism;
        const bool useVec4Storage = engine() % 2 == 0;
        QVector<Plan::DataType> types;
        for (unsigned int i = 1 + engine() % 10; i > 0; --i) {
            const auto type = Plan::DataType(engine() % (Plan::eMat4 + 1));
            types += isBoolean(type) ? Plan::eTexture : type;
        }
        // Booleans of a GLSL structure are larger than the packed ones, and uniforms are sent as integers. The sum must be a
        // multiple of four bytes. A texture cannot fetch a boolean inside a word.
        if (engine() % 2 == 0 && isBlock && useVec4Storage) {
            types << Plan::eBVec4 << Plan::eBVec3 << Plan::eBVec2 << Plan::eBool << Plan::eBool;
        } else if (engine() % 2 == 0 && !isBlock && mechanism != Plan::eUniformMechanism) {
            types += QVector<Plan::DataType>(8, Plan::eBool);
        }
        std::shuffle(types.begin(), types.end(), engine);
        auto *plan = new Plan(name);
        for (const Plan::DataType type : types) {
            _members.append({type, name.toLower() + QString::number(_members.size())});
            plan->addMember(type, _members.last().second);
        }
        plan->setMechanism(mechanism);
        plan->setUseVec4Storage(useVec4Storage);
        plan->setArraySize(1 + engine() % 40);
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _collection = std::make_unique<InstanceDataCollection>(
            plan, std::min<unsigned long>(plan->arraySize(), kMaxItems));
    }

    InstanceDataCollection *operator->() const { return _collection.get(); }

    /// Writes random bits, and returns the hash of each item.
    std::vector<GLuint> fill()
    {
        std::vector<GLuint> hashes(size_t(_collection->size()), 0);
        for (int item = 0; item < _collection->size(); ++item) {
            std::vector<std::vector<GLuint>> values;
            for (const auto &[type, name] : _members) {
                std::vector<GLuint> words(ParameterMechanism::numberComponents(type));
                for (GLuint &word : words) {
                    word = GLuint(_engine());
                    // Drivers need not keep NaN and denormal numbers.
                    const GLuint exponent = word >> 23 & 0xFF;
                    const bool isKept = exponent != 0 && exponent != 0xFF;
                    word &= isKept || ParameterMechanism::isIntegerType(type) ? 0xFFFFFFFFu : 0x80000000u;
                }
                _collection->set(item, name, words.data(),
                                 std::min(words.size() * 4, ParameterMechanism::dataSize(type)));
                values.push_back(words);
            }
            for (int i = 0; i < _members.size(); ++i) {
                if (_members[i].first == Plan::eBool) { // all packed booleans of a word are read as one value
                    const Plan *plan = _collection->plan();
                    const size_t at =
                        size_t(item) * plan->totalDataSize() + plan->offset(_members[i].second) / 4 * 4;
                    std::memcpy(values[size_t(i)].data(), _collection->dataArray().constData() + at, 4);
                    values[size_t(i)][0] = values[size_t(i)][0] != 0 ? 1 : 0;
                }
                for (const GLuint word : values[size_t(i)]) {
                    GLuint &hash = hashes[size_t(item)];
                    hash = isRead(_members[i].first) ? (hash ^ word) * 16777619u : hash;
                }
            }
        }
        return hashes;
    }

    /// The function hashFirst(uint item) for the name "First". It reads each member by item or by draw number.
    QString hashFunction() const
    {
        QString text = QString("#instancedata \"%1\"\nuint hash%1(uint item) {\n  uint h = 0u;\n").arg(_name);
        for (const auto &[type, name] : _members) {
            const int components = int(ParameterMechanism::numberComponents(type));
            const QString accessor = "get" + name.left(1).toUpper() + name.mid(1);
            text += QString("  { %1 v = %2(%3);\n")
                        .arg(ParameterMechanism::glslType(type), accessor, _engine() % 2 == 0 ? "item" : "");
            for (int i = 0; i < components && isRead(type); ++i) {
                const QString component = components == 1    ? ""
                                          : components == 16 ? QString("[%1][%2]").arg(i / 4).arg(i % 4)
                                                             : QString("[%1]").arg(i);
                text +=
                    QString("    h = (h ^ %1(v%2)) * 16777619u;\n")
                        .arg(ParameterMechanism::isIntegerType(type) ? "uint" : "floatBitsToUint", component);
            }
            text += "  }\n";
        }
        return text + "  return h;\n}\n";
    }

private:
    static bool isBoolean(Plan::DataType type) { return type >= Plan::eBool && type <= Plan::eBVec4; }
    static bool isRead(Plan::DataType type) { return !isBoolean(type) || type == Plan::eBool; }

    QString _name;
    std::mt19937 &_engine;
    QVector<std::pair<Plan::DataType, QString>> _members;
    std::unique_ptr<InstanceDataCollection> _collection;
};

} // namespace

using InstanceDataRoundTripTest = GLTest;

TEST_F(InstanceDataRoundTripTest, TwoCollectionsOfAnyMechanismsAreReadBitByBit)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_shader_bit_encoding");
    std::mt19937 engine(20);
    Texture texture(nullptr);
    texture.create2D(GL_TEXTURE_2D, GL_RG32UI, 1, kMaxItems);
    FramebufferObject framebuffer(nullptr);
    framebuffer.bind();
    framebuffer.attach(&texture, GL_COLOR_ATTACHMENT0, 0);
    const auto quad = OpenGLDeviceContext::current()->newFullscreenQuad();
    ASSERT_TRUE(quad->bind());
    for (int pair = 0; pair < 25 && !HasFailure(); ++pair) {
        const auto mechanism = Plan::MechanismType(pair % 5);
        const auto otherMechanism = Plan::MechanismType(pair / 5);
        SCOPED_TRACE(testing::Message() << mechanism << " and " << otherMechanism);
        RandomCollection first("First", mechanism, engine);
        RandomCollection second("Second", otherMechanism, engine);
        EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
        const auto program = makeProgram(
            kAllOver,
            "#version 330\n#include \"ZelUtilities.glslh\"\n" + first.hashFunction() + second.hashFunction()
                + "out uvec2 hashes;\nvoid main() {\n  uint item = uint(gl_FragCoord.y);\n"
                  "  hashes = uvec2(hashFirst(item), hashSecond(item));\n}\n",
            nullptr, {"ZelUtilities.glslc"}, {first->plan()->glslc(), second->plan()->glslc()});
        first->plan()->assertShaderProgram(program.get()); // reports nothing
        ASSERT_TRUE(program->bind());
        quad->VAO()->enableShaderProgramArrays(program.get());
        for (int pass = 0; pass < 2; ++pass) { // the second pass uploads to existing storage
            const std::vector<GLuint> hashes = first.fill();
            const std::vector<GLuint> others = second.fill();
            EXPECT_TRUE(first->bind(program.get(), nullptr) && second->bind(program.get(), nullptr));
            for (int item = 0; item < std::min(first->size(), second->size()); ++item) {
                glViewport(0, item, 1, 1);
                quad->setDrawIDBase(item);
                EXPECT_TRUE(quad->draw(program.get()));
                std::array<GLuint, 2> read;
                glReadPixels(0, item, 1, 1, GL_RG_INTEGER, GL_UNSIGNED_INT, read.data());
                EXPECT_EQ((std::array<GLuint, 2>{hashes[size_t(item)], others[size_t(item)]}), read) << item;
            }
            EXPECT_TRUE(first->unbind(program.get(), nullptr) && second->unbind(program.get(), nullptr));
        }
        program->unbind();
        InstanceDataRegistry::Instance()->clear();
    }
    quad->unbind();
    framebuffer.detachAll();
    framebuffer.unbind();
}
