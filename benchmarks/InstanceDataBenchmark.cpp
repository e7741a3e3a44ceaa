// Instance data from members to the driver: writing items, replacing a collection, binding a clean and a dirty collection
// by every mechanism, and finalising a plan.
//
// Held constant: the plan of a drawn object, 192 bytes per item in 8 members; one context, one program that reads every
// member. Each bind alternates with the same GL calls by hand, with the same memory and GL objects. "bare" is the time of
// these, and "ratio" the time of the bind divided by it, both as medians. "bytes" is the size of an upload of a dirty
// collection: a megabyte, or less if the limits of the context are lower.

#include "sidebyside/OffscreenStage.h"
#include "support/InTurn.h"

#include <ZelGL/ZelGL.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;

constexpr int kMegabyte = 1 << 20;

void keepSilent(QtMsgType, const QMessageLogContext &, const QString &) {}

/// Creates the context at the first call; ends the program if there is none.
void needContext()
{
    static const std::unique_ptr<OffscreenStage> stage = [] {
        qInstallMessageHandler(keepSilent);
        return OffscreenStage::create(16, 16);
    }();
    if (stage == nullptr) {
        std::exit(EXIT_FAILURE);
    }
}

void check(bool good, const char *what)
{
    if (!good) {
        std::fprintf(stderr, "wrong result: %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

const std::pair<Plan::DataType, const char *> kMembers[] = {
    {Plan::eMat4, "ModelMatrix"}, {Plan::eMat4, "InverseModelMatrix"},
    {Plan::eVec4, "Color"},       {Plan::eVec3, "Center"},
    {Plan::eFloat, "Radius"},     {Plan::eUInt, "Material"},
    {Plan::eInt, "Group"},        {Plan::eTexture, "Mask"},
};

/// Registers a plan of the object; the registry owns it.
Plan *objectPlan(Plan::MechanismType mechanism, unsigned long arraySize)
{
    needContext();
    auto *plan = new Plan("Object");
    for (const auto &member : kMembers) {
        plan->addMember(member.first, member.second);
    }
    plan->setMechanism(mechanism);
    plan->setArraySize(arraySize);
    InstanceDataRegistry::Instance()->clear();
    InstanceDataRegistry::Instance()->registerPlan(plan);
    return plan;
}

const float kMatrix[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

// Writing a member.

void setByName(benchmark::State &state)
{
    objectPlan(Plan::eStorageBufferMechanism, 16);
    InstanceData item("Object");
    const QString name = QStringLiteral("InverseModelMatrix");
    for (auto _ : state) {
        item.set(name, kMatrix, sizeof kMatrix);
        benchmark::ClobberMemory();
    }
    check(std::memcmp(item.dataArray().constData() + 64, kMatrix, sizeof kMatrix) == 0, "setByName");
}
BENCHMARK(setByName);

void setByOffset(benchmark::State &state)
{
    const Plan *plan = objectPlan(Plan::eStorageBufferMechanism, 16);
    InstanceData item("Object");
    const int offset = int(plan->offset(QStringLiteral("InverseModelMatrix")));
    for (auto _ : state) {
        item.set(offset, kMatrix, sizeof kMatrix);
        benchmark::ClobberMemory();
    }
    check(std::memcmp(item.dataArray().constData() + 64, kMatrix, sizeof kMatrix) == 0, "setByOffset");
}
BENCHMARK(setByOffset);

void setInCollectionByName(benchmark::State &state)
{
    InstanceDataCollection collection(objectPlan(Plan::eStorageBufferMechanism, 16), 16);
    const QString name = QStringLiteral("InverseModelMatrix");
    int index = 0;
    for (auto _ : state) {
        collection.set(index++ % 16, name, kMatrix, sizeof kMatrix);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(setInCollectionByName);

void setByHand(benchmark::State &state)
{
    std::vector<char> item(192);
    char *place = item.data() + 64;
    for (auto _ : state) {
        benchmark::DoNotOptimize(place);
        std::memcpy(place, kMatrix, sizeof kMatrix);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(setByHand);

// Replacing 100,000 items.

constexpr int kItems = 100000;

QList<InstanceData> manyItems()
{
    QList<InstanceData> items;
    for (int i = 0; i < kItems; ++i) {
        InstanceData item("Object");
        item.set(QStringLiteral("Group"), &i, sizeof i);
        items += item;
    }
    return items;
}

void updateItems(benchmark::State &state)
{
    const Plan *plan = objectPlan(Plan::eStorageBufferMechanism, kItems);
    const QList<InstanceData> items = manyItems();
    InstanceDataCollection collection("Object");
    for (auto _ : state) {
        collection.update(items);
    }
    int last = 0;
    collection.get(kItems - 1, QStringLiteral("Group"), &last);
    check(last == kItems - 1, "updateItems");
    state.SetBytesProcessed(state.iterations() * kItems * int64_t(plan->totalDataSize()));
}
BENCHMARK(updateItems)->Unit(benchmark::kMillisecond);

void updateBytes(benchmark::State &state)
{
    const Plan *plan = objectPlan(Plan::eStorageBufferMechanism, kItems);
    const QByteArray bytes(kItems * int(plan->totalDataSize()), 'x');
    InstanceDataCollection collection("Object");
    for (auto _ : state) {
        collection.update(bytes.constData(), static_cast<unsigned long>(bytes.size()));
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(updateBytes)->Unit(benchmark::kMillisecond);

void updateByHand(benchmark::State &state)
{
    objectPlan(Plan::eStorageBufferMechanism, kItems);
    const QList<InstanceData> items = manyItems();
    std::vector<char> target(size_t(kItems) * 192);
    for (auto _ : state) {
        char *place = target.data();
        for (const InstanceData &item : items) {
            std::memcpy(place, item.dataArray().constData(), 192);
            place += 192;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(target.size()));
}
BENCHMARK(updateByHand)->Unit(benchmark::kMillisecond);

// Binding.

/// A program that reads every member of its item, and a collection of a megabyte, or of the size that the limits allow.
class Bound
{
public:
    explicit Bound(benchmark::State &state)
        : plan(
            objectPlan(Plan::MechanismType(state.range(0)), itemsWithin(Plan::MechanismType(state.range(0)))))
        , collection(plan, plan->arraySize())
        , bytes(collection.dataArray())
    {
        std::memset(bytes.data(), 0x3f, size_t(bytes.size()));
        collection.update(bytes.constData(), static_cast<unsigned long>(bytes.size()));
        QString sum;
        for (const auto &member : kMembers) {
            const bool isMatrix = member.first == Plan::eMat4;
            const bool isVector = ParameterMechanism::numberComponents(member.first) > 1;
            sum += QStringLiteral(" + float(get%1()%2)")
                       .arg(QLatin1String(member.second), QLatin1String(isMatrix   ? "[0].x"
                                                                        : isVector ? ".x"
                                                                                   : ""));
        }
        program.addShader(GL_VERTEX_SHADER,
                          QStringLiteral("#version 150\nvoid main() { gl_Position = vec4(0.0); }\n"),
                          QString());
        program.addShaderFromFile(GL_FRAGMENT_SHADER, QStringLiteral("ZelUtilities.glslc"));
        program.addShader(GL_FRAGMENT_SHADER, plan->glslc(), QString());
        program.addShader(GL_FRAGMENT_SHADER,
                          QStringLiteral("#version 150\n#instancedata \"Object\"\nout vec4 color;\n"
                                         "void main() { color = vec4(0.0%1); }\n")
                              .arg(sum),
                          QString());
        check(program.link(), "link");
        program.bind();
        collection.bind(&program, nullptr);
        collection.unbind(&program, nullptr);
        state.counters["bytes"] = double(bytes.size());
        checkBuffer();
    }

    ~Bound() { program.unbind(); }

    /// Number of items; limited by the width of a texture.
    static unsigned long itemsWithin(Plan::MechanismType mechanism)
    {
        needContext();
        GLint width = 0;
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &width);
        const int size = mechanism == Plan::eTextureMechanism ? qMin(kMegabyte, width * 16) : kMegabyte;
        return static_cast<unsigned long>(size / 192);
    }

    Plan *plan;
    ShaderProgram program{nullptr};
    InstanceDataCollection collection;
    QByteArray bytes;

private:
    void checkBuffer()
    {
        if (plan->mechanism() == Plan::eUniformMechanism) {
            return;
        }
        std::vector<char> read(size_t(bytes.size()));
        glBindBuffer(GL_COPY_READ_BUFFER, collection.getUniformBufferObject(0)->bufferObject()->getBO());
        glGetBufferSubData(GL_COPY_READ_BUFFER, 0, bytes.size(), read.data());
        glBindBuffer(GL_COPY_READ_BUFFER, 0);
        check(std::memcmp(read.data(), bytes.constData(), read.size()) == 0, "the bytes of the buffer");
    }
};

void eachMechanism(benchmark::internal::Benchmark *row)
{
    row->ArgName("mechanism")
        ->DenseRange(Plan::eUniformBufferMechanism, Plan::eStorageBufferMechanism)
        ->UseManualTime();
}

/// The calls of a bind and an unbind by hand: with the bytes and the buffer of the collection, and with similar textures.
class Bare
{
public:
    explicit Bare(Bound &bound)
        : _bound(bound)
        , _mechanism(bound.plan->mechanism())
        , _namedBufferData(
              reinterpret_cast<PFNGLNAMEDBUFFERDATAPROC>(getGLProcAddress("glNamedBufferData", false)))
        , _target(_mechanism == Plan::eStorageBufferMechanism ? GL_SHADER_STORAGE_BUFFER : GL_UNIFORM_BUFFER)
        , _texture(_mechanism == Plan::eTextureMechanism ? GL_TEXTURE_2D : GL_TEXTURE_BUFFER)
    {
        check(_namedBufferData != nullptr, "a driver with direct state access");
        glGenTextures(2, _textures);
        if (_mechanism == Plan::eUniformMechanism) {
            gatherUniforms();
        } else {
            _buffer = bound.collection.getUniformBufferObject(0)->bufferObject()->getBO();
        }
        if (hasTextures()) {
            specifyTextures();
        }
    }

    ~Bare() { glDeleteTextures(2, _textures); }

    void upload()
    {
        if (_mechanism == Plan::eUniformMechanism) {
            return;
        }
        const QByteArray bytes = _bound.collection.dataArray();
        _namedBufferData(_buffer, bytes.size(), bytes.constData(), GL_STATIC_DRAW);
        if (_mechanism != Plan::eTextureMechanism) {
            return;
        }
        for (int i = 0; i < 2; ++i) {
            bindTexture(i);
            glBindBuffer(GL_PIXEL_UNPACK_BUFFER, _buffer);
            glTexSubImage2D(_texture, 0, 0, 0, _bound.bytes.size() / 16, 1, kFormats[i], kTypes[i], nullptr);
            glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
            glBindTexture(_texture, 0);
        }
    }

    void bindAndUnbind()
    {
        if (_mechanism == Plan::eUniformMechanism) {
            sendUniforms();
        } else if (hasTextures()) {
            for (int i = 0; i < 2; ++i) {
                bindTexture(i);
                glUniform1i(_samplers[i], i);
            }
            for (int i = 0; i < 2; ++i) {
                glActiveTexture(GL_TEXTURE0 + GLenum(i));
                glBindTexture(_texture, 0);
            }
        } else {
            glBindBufferBase(_target, 0, _buffer);
            glBindBufferBase(_target, 0, 0);
        }
    }

private:
    static constexpr GLenum kInternalFormats[] = {GL_RGBA32I, GL_RGBA32F};
    static constexpr GLenum kFormats[] = {GL_RGBA_INTEGER, GL_RGBA};
    static constexpr GLenum kTypes[] = {GL_INT, GL_FLOAT};

    bool hasTextures() const
    {
        return _mechanism == Plan::eTextureMechanism || _mechanism == Plan::eBufferTextureMechanism;
    }

    void bindTexture(int i)
    {
        glActiveTexture(GL_TEXTURE0 + GLenum(i));
        glBindTexture(_texture, _textures[i]);
    }

    void specifyTextures()
    {
        const QString names[] = {_bound.plan->samplerIName(), _bound.plan->samplerFName()};
        for (int i = 0; i < 2; ++i) {
            _samplers[i] = _bound.program.getUniformLocation(names[i]);
            bindTexture(i);
            if (_mechanism == Plan::eTextureMechanism) {
                glTexParameteri(_texture, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
                glTexImage2D(_texture, 0, GLint(kInternalFormats[i]), _bound.bytes.size() / 16, 1, 0,
                             kFormats[i], kTypes[i], nullptr);
            } else {
                glTexBuffer(_texture, kInternalFormats[i], _buffer);
            }
            glBindTexture(_texture, 0);
        }
    }

    void gatherUniforms()
    {
        for (const auto &member : kMembers) {
            const QString name = QLatin1String(member.second);
            const size_t size = _bound.plan->dataSize(name);
            std::vector<char> values(size * size_t(_bound.collection.size()));
            for (int item = 0; item < _bound.collection.size(); ++item) {
                _bound.collection.get(item, name, values.data() + size * size_t(item));
            }
            _locations.push_back(_bound.program.getUniformLocation(QStringLiteral("u_") + name));
            _values.push_back(values);
        }
    }

    void sendUniforms()
    {
        const int count = _bound.collection.size();
        const auto floats = [this](size_t i) { return reinterpret_cast<const GLfloat *>(_values[i].data()); };
        glUniformMatrix4fv(_locations[0], count, GL_FALSE, floats(0));
        glUniformMatrix4fv(_locations[1], count, GL_FALSE, floats(1));
        glUniform4fv(_locations[2], count, floats(2));
        glUniform4fv(_locations[3], count, floats(3));
        glUniform1fv(_locations[4], count, floats(4));
        glUniform1uiv(_locations[5], count, reinterpret_cast<const GLuint *>(_values[5].data()));
        glUniform1iv(_locations[6], count, reinterpret_cast<const GLint *>(_values[6].data()));
        glUniform2uiv(_locations[7], count, reinterpret_cast<const GLuint *>(_values[7].data()));
    }

    Bound &_bound;
    Plan::MechanismType _mechanism;
    PFNGLNAMEDBUFFERDATAPROC _namedBufferData;
    GLenum _target;
    GLenum _texture;
    GLuint _buffer = 0;
    GLuint _textures[2] = {};
    GLint _samplers[2] = {-1, -1};
    std::vector<GLint> _locations;
    std::vector<std::vector<char>> _values;
};

void bindClean(benchmark::State &state)
{
    Bound bound(state);
    Bare bare(bound);
    const auto bind = [&] {
        bound.collection.bind(&bound.program, nullptr);
        bound.collection.unbind(&bound.program, nullptr);
    };
    timeInTurn(state, 64, bind, [&] { bare.bindAndUnbind(); });
}
BENCHMARK(bindClean)->Apply(eachMechanism);

void bindDirty(benchmark::State &state)
{
    Bound bound(state);
    Bare bare(bound);
    const QString name = QStringLiteral("Group");
    const int group = 7;
    const auto bind = [&] {
        bound.collection.set(0, name, &group, sizeof group);
        bound.collection.bind(&bound.program, nullptr);
        bound.collection.unbind(&bound.program, nullptr);
    };
    const auto bindBare = [&] {
        bare.upload();
        bare.bindAndUnbind();
    };
    timeInTurn(state, 1, bind, bindBare);
    glFinish();
}
BENCHMARK(bindDirty)->Apply(eachMechanism)->Unit(benchmark::kMicrosecond);

// Work at the start of a program.

void finalisePlan(benchmark::State &state)
{
    needContext();
    QStringList names;
    for (int i = 0; i < 40; ++i) {
        names += QStringLiteral("memberNumber%1").arg(i);
    }
    int textSize = 0;
    for (auto _ : state) {
        Plan plan(QStringLiteral("Large"));
        for (int i = 0; i < 40; ++i) {
            plan.addMember(Plan::DataType(Plan::eInt + i % 13), names[i]);
        }
        plan.setMechanism(Plan::MechanismType(state.range(0)));
        plan.finalise();
        textSize = plan.glslc().size();
    }
    check(textSize > 40 * 80, "finalisePlan");
}
BENCHMARK(finalisePlan)
    ->ArgName("mechanism")
    ->DenseRange(Plan::eUniformBufferMechanism, Plan::eStorageBufferMechanism)
    ->Unit(benchmark::kMicrosecond);

} // namespace
