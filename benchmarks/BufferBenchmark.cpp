// The library's own work when it binds buffers and blocks: all GL calls go to functions that do nothing.
//
// Held constant: the program has eight uniform blocks and is bound. Each row is compared with the same GL calls by hand,
// through the same table.

#include "support/Measure.h"
#include "support/SilentGL.h"

#include <ZelGL/ZelGL.h>

#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kBlockCount = 8;

/// A uniform buffer for each block of the silent program, which is bound.
struct Blocks
{
    Blocks()
    {
        const float values[16] = {};
        program->bind();
        for (int i = 0; i < kBlockCount; ++i) {
            const QSharedPointer<BufferObject> buffer(new BufferObject(nullptr));
            buffer->setTarget(GL_UNIFORM_BUFFER);
            const AutoBinder binder(buffer.data());
            buffer->upload(values, 16, GL_STATIC_DRAW);
            names.push_back(buffer->getBO());
            blocks.push_back(
                std::make_unique<UniformBufferObject>(QStringLiteral("Block%1").arg(i), buffer, nullptr));
        }
    }

    ~Blocks() { program->unbind(); }

    std::unique_ptr<ShaderProgram> program = makeSilentProgram();
    std::vector<std::unique_ptr<UniformBufferObject>> blocks;
    std::vector<GLuint> names;
};

void blockBindUnbind(benchmark::State &state)
{
    const Blocks all;
    UniformBufferObject &block = *all.blocks.front();
    measure(state, 1, Allocations::eNone, [&] {
        block.bind();
        block.unbind();
    });
}
BENCHMARK(blockBindUnbind);

void blockBindUnbindByHand(benchmark::State &state)
{
    const Blocks all;
    measure(state, 1, Allocations::eNone, [&] {
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, all.names.front());
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, 0);
    });
}
BENCHMARK(blockBindUnbindByHand);

void blockBatch(benchmark::State &state)
{
    const Blocks all;
    measure(state, kBlockCount, Allocations::eNone, [&] {
        UniformBufferObject::bindBatchStart();
        for (const auto &block : all.blocks) {
            block->bind(all.program.get());
        }
        UniformBufferObject::bindBatchFlush();
        for (const auto &block : all.blocks) {
            block->unbind(all.program.get());
        }
    });
}
BENCHMARK(blockBatch);

void blockBatchByHand(benchmark::State &state)
{
    const Blocks all;
    measure(state, kBlockCount, Allocations::eNone, [&] {
        silentBindBuffersBase(GL_UNIFORM_BUFFER, 0, kBlockCount, all.names.data());
        for (int i = 0; i < kBlockCount; ++i) {
            glBindBufferBase(GL_UNIFORM_BUFFER, GLuint(i), 0);
        }
    });
}
BENCHMARK(blockBatchByHand);

void rebindBuffers(benchmark::State &state)
{
    BufferObject first(nullptr);
    BufferObject second(nullptr);
    first.setTarget(GL_ARRAY_BUFFER);
    second.setTarget(GL_ARRAY_BUFFER);
    first.bind();
    measure(state, 2, Allocations::eNone, [&] {
        second.rebind(&first, false);
        first.rebind(&second, false);
    });
    first.unbind();
}
BENCHMARK(rebindBuffers);

void rebindBuffersByHand(benchmark::State &state)
{
    measure(state, 2, Allocations::eNone, [] {
        glBindBuffer(GL_ARRAY_BUFFER, 2);
        glBindBuffer(GL_ARRAY_BUFFER, 1);
    });
}
BENCHMARK(rebindBuffersByHand);

} // namespace

int main(int argc, char **argv)
{
    installSilentGL();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
