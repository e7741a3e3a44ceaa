// The library's own work in a draw: all GL calls go to functions that do nothing.
//
// Held constant: commands have 36 indices and 24 vertices; the program has three attributes and u_DrawID. Each row is
// compared with the same GL calls by hand, through the same table.

#include "support/Measure.h"
#include "support/SilentGL.h"

#include <ZelGL/ZelGL.h>

#include <memory>
#include <vector>

using namespace Orvane::Zel;

namespace {

constexpr int kIndexCount = 36;
constexpr int kVertexCount = 24;

const void *indexOffset(int command)
{
    return reinterpret_cast<const void *>(quintptr(command) * kIndexCount * sizeof(unsigned short));
}

std::unique_ptr<DrawBuffers> makeUnit(int commandCount)
{
    auto unit = std::make_unique<DrawBuffers>(nullptr);
    const QSharedPointer<VertexArrayObject> vao(new VertexArrayObject(nullptr));
    const QSharedPointer<BufferObject> vertices(new BufferObject(nullptr));
    vertices->setTarget(GL_ARRAY_BUFFER);
    vao->registerBO("va_Vertex", vertices, 3, GL_FLOAT, false, 32, 0);
    vao->registerBO("va_Normal", vertices, 3, GL_FLOAT, false, 32, 12);
    vao->registerBO("va_TexCoord", vertices, 2, GL_FLOAT, false, 32, 24);
    unit->setVAO(vao);
    unit->setPrimitiveType(GL_TRIANGLES);
    const QSharedPointer<BufferObject> indices(new BufferObject(nullptr));
    indices->setTarget(GL_ELEMENT_ARRAY_BUFFER);
    unit->setIndexedDraw(indices, kIndexCount, GL_UNSIGNED_SHORT);
    std::vector<DrawElementsIndirectCommand> commands;
    for (int i = 0; i < commandCount; ++i) {
        commands.push_back({kIndexCount, 1, unsigned(i * kIndexCount), unsigned(i * kVertexCount), 0});
    }
    unit->setDrawElementsIndirectCommands(commands.data(), commandCount);
    return unit;
}

/// Draw units of one draw each, and their GL names.
struct Units
{
    explicit Units(int count)
    {
        for (int i = 0; i < count; ++i) {
            units.push_back(makeUnit(0));
            units.back()->setDrawIDBase(i);
            units.back()->bind(); // creates the GL objects
            vertexArrays.push_back(units.back()->VAO().data());
            vertexArrays.back()->enableShaderProgramArrays(program.get());
            vaos.push_back(vertexArrays.back()->getVAO());
            indexBuffers.push_back(units.back()->indexBO()->getBO());
            units.back()->unbind();
        }
    }

    std::unique_ptr<ShaderProgram> program = makeSilentProgram();
    std::vector<std::unique_ptr<DrawBuffers>> units;
    std::vector<VertexArrayObject *> vertexArrays; // by unit: VAO() would count a reference in each draw
    std::vector<GLuint> vaos;
    std::vector<GLuint> indexBuffers;
};

void plainCommands(benchmark::State &state)
{
    const int count = int(state.range(0));
    const auto program = makeSilentProgram();
    const auto unit = makeUnit(count);
    unit->bind();
    measure(state, count, Allocations::eNone, [&] { unit->draw(program.get()); });
    unit->unbind();
}
BENCHMARK(plainCommands)->Arg(1)->Arg(100)->Arg(10000);

void plainCommandsChosen(benchmark::State &state)
{
    const int count = int(state.range(0));
    const auto program = makeSilentProgram();
    const auto unit = makeUnit(count);
    QVector<int> numbers;
    for (int i = count; i-- > 0;) {
        numbers.append(i);
    }
    unit->bind();
    measure(state, count, Allocations::eNone, [&] { unit->draw(program.get(), &numbers); });
    unit->unbind();
}
BENCHMARK(plainCommandsChosen)->Arg(10000);

void plainCommandsByHand(benchmark::State &state)
{
    const int count = int(state.range(0));
    measure(state, count, Allocations::eNone, [&] {
        for (int i = 0; i < count; ++i) {
            glUniform1ui(0, GLuint(i));
            glDrawElementsBaseVertex(GL_TRIANGLES, kIndexCount, GL_UNSIGNED_SHORT, indexOffset(i),
                                     i * kVertexCount);
        }
    });
}
BENCHMARK(plainCommandsByHand)->Arg(1)->Arg(100)->Arg(10000);

void baseInstanceDraw(benchmark::State &state)
{
    const auto unit = makeUnit(0);
    DrawBuffers::useBaseInstanceDrawing(true);
    unit->bind();
    measure(state, 1, Allocations::eNone, [&] { unit->draw(); });
    unit->unbind();
    DrawBuffers::useBaseInstanceDrawing(false);
}
BENCHMARK(baseInstanceDraw);

void baseInstanceDrawByHand(benchmark::State &state)
{
    measure(state, 1, Allocations::eNone, [] {
        silentDrawElementsInstancedBaseVertexBaseInstance(GL_TRIANGLES, kIndexCount, GL_UNSIGNED_SHORT,
                                                          nullptr, 1, 0, 0);
    });
}
BENCHMARK(baseInstanceDrawByHand);

void rebindUnits(benchmark::State &state)
{
    const Units all(int(state.range(0)));
    DrawBuffers *bound = nullptr;
    measure(state, state.range(0), Allocations::eNone, [&] {
        for (const auto &unit : all.units) {
            unit->rebind(bound);
            bound = unit.get();
        }
    });
    bound->unbind();
}
BENCHMARK(rebindUnits)->Arg(1000);

void rebindUnitsByHand(benchmark::State &state)
{
    const Units all(int(state.range(0)));
    measure(state, state.range(0), Allocations::eNone, [&] {
        for (size_t i = 0; i < all.vaos.size(); ++i) {
            glBindVertexArray(all.vaos[i]);
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, all.indexBuffers[i]);
        }
    });
}
BENCHMARK(rebindUnitsByHand)->Arg(1000);

void rebindEnableDrawUnits(benchmark::State &state)
{
    const Units all(int(state.range(0)));
    DrawBuffers::useBaseInstanceDrawing(true);
    DrawBuffers *bound = nullptr;
    measure(state, state.range(0), Allocations::eNone, [&] {
        for (size_t i = 0; i < all.units.size(); ++i) {
            DrawBuffers *unit = all.units[i].get();
            unit->rebind(bound);
            bound = unit;
            all.vertexArrays[i]->enableShaderProgramArrays(all.program.get());
            unit->draw(all.program.get());
        }
    });
    bound->unbind();
    DrawBuffers::useBaseInstanceDrawing(false);
}
BENCHMARK(rebindEnableDrawUnits)->Arg(1000);

void rebindEnableDrawUnitsByHand(benchmark::State &state)
{
    const Units all(int(state.range(0)));
    measure(state, state.range(0), Allocations::eNone, [&] {
        for (size_t i = 0; i < all.vaos.size(); ++i) {
            glBindVertexArray(all.vaos[i]);
            glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, all.indexBuffers[i]);
            silentDrawElementsInstancedBaseVertexBaseInstance(GL_TRIANGLES, kIndexCount, GL_UNSIGNED_SHORT,
                                                              nullptr, 1, 0, GLuint(i));
        }
    });
}
BENCHMARK(rebindEnableDrawUnitsByHand)->Arg(1000);

} // namespace

int main(int argc, char **argv)
{
    installSilentGL();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
