// The library's own work when it binds programs and sets uniforms: all GL calls go to functions that do nothing.
//
// Held constant: one linked program. Each row is compared with the same GL calls by hand, through the same table.

#include "support/Measure.h"
#include "support/SilentGL.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/ShaderProgram.h>

#include <QtGui/QMatrix4x4>

#include <memory>

using namespace Orvane::Zel;

namespace {

void uniformUnsigned(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    unsigned int value = 0;
    measure(state, 1, Allocations::eNone, [&] { program->setUniform(0, ++value); });
}
BENCHMARK(uniformUnsigned);

void uniformUnsignedByHand(benchmark::State &state)
{
    unsigned int value = 0;
    measure(state, 1, Allocations::eNone, [&] { glUniform1ui(0, ++value); });
}
BENCHMARK(uniformUnsignedByHand);

void uniformSigned(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    int value = 0;
    measure(state, 1, Allocations::eNone, [&] { program->setUniform(0, ++value); });
}
BENCHMARK(uniformSigned);

void uniformSignedByHand(benchmark::State &state)
{
    int value = 0;
    measure(state, 1, Allocations::eNone, [&] { glUniform1i(0, ++value); });
}
BENCHMARK(uniformSignedByHand);

void uniformFloatVector(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    const QVector<float> values(4, 1.0f);
    measure(state, 1, Allocations::eNone, [&] { program->setUniform(0, values, 4); });
}
BENCHMARK(uniformFloatVector);

void uniformFloatVectorByHand(benchmark::State &state)
{
    const QVector<float> values(4, 1.0f);
    measure(state, 1, Allocations::eNone, [&] { glUniform4fv(0, values.size(), values.constData()); });
}
BENCHMARK(uniformFloatVectorByHand);

void uniformMatrixVariant(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    const QVariant value = QVariant::fromValue(QMatrix4x4());
    measure(state, 1, Allocations::eCounted, [&] { program->setUniform(0, value); });
}
BENCHMARK(uniformMatrixVariant);

void uniformMatrixByHand(benchmark::State &state)
{
    const QMatrix4x4 value;
    measure(state, 1, Allocations::eNone, [&] { glUniformMatrix4fv(0, 1, GL_FALSE, value.constData()); });
}
BENCHMARK(uniformMatrixByHand);

void locationByName(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    const QString name = QStringLiteral("u_DrawID");
    measure(state, 1, Allocations::eNone,
            [&] { benchmark::DoNotOptimize(program->getUniformLocation(name)); });
}
BENCHMARK(locationByName);

void locationByNameByHand(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    measure(state, 1, Allocations::eNone,
            [&] { benchmark::DoNotOptimize(glGetUniformLocation(program->shaderProgramID(), "u_DrawID")); });
}
BENCHMARK(locationByNameByHand);

// Binds a bound program again, which must not allocate; the unbind removes the entry of the context.
void rebindProgram(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    measure(state, 1, Allocations::eNone, [&] { program->bind(); });
    program->unbind();
}
BENCHMARK(rebindProgram);

void bindUnbindProgram(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    measure(state, 1, Allocations::eCounted, [&] {
        program->bind();
        program->unbind();
    });
}
BENCHMARK(bindUnbindProgram);

void bindUnbindProgramByHand(benchmark::State &state)
{
    const auto program = makeSilentProgram();
    const GLuint name = program->shaderProgramID();
    measure(state, 1, Allocations::eNone, [&] {
        glUseProgram(name);
        glUseProgram(0);
    });
}
BENCHMARK(bindUnbindProgramByHand);

} // namespace

int main(int argc, char **argv)
{
    installSilentGL();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
