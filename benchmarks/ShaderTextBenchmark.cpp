// The expansion of shader texts with a line map, compared with the text processor alone, and the start of a program from a
// cache, compared with its link from source, in alternation.
//
// Held constant: the files of the library; each run reads every include again, and the text is the same.

#include "sidebyside/OffscreenStage.h"
#include "support/InTurn.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelShaders/LineMap.h>
#include <ZelShaders/ProgramBuilder.h>
#include <ZelShaders/ProgramCache.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using namespace Orvane;

namespace {

/// All stages of the library; `ratio` is the time with the map divided by the time without. The map's limit is 1.3.
void expansionWithLineMap(benchmark::State &state)
{
    QStringList sources;
    for (const QFileInfo &info : QDir(QStringLiteral(":/GLSL/src")).entryInfoList(QDir::Files)) {
        QFile file(info.filePath());
        if (file.open(QIODevice::ReadOnly)) {
            sources.append(QString::fromUtf8(file.readAll()));
        }
    }
    Zel::GLSLMacroProcessor processor;
    processor.addDefine(QStringLiteral("HOST"), QStringLiteral("1"));
    timeInTurn<ThreadClock>(
        state, 5,
        [&] {
            for (const QString &source : sources) {
                benchmark::DoNotOptimize(ZelShaders::LineMap(source, QString(), &processor).text().size());
            }
        },
        [&] {
            for (const QString &source : sources) {
                benchmark::DoNotOptimize(Zel::GLSLMacroProcessor::process(source, &processor).size());
            }
        });
}
BENCHMARK(expansionWithLineMap)->UseManualTime();

/// Builds the program of the prefiltered environment map. Another \a variant has another text, but the same instructions.
bool build(ZelShaders::ProgramCache *cache, qint64 variant)
{
    Zel::GLSLMacroProcessor processor;
    processor.addDefine(QStringLiteral("VARIANT"), QString::number(variant));
    Zel::ShaderProgram program(nullptr);
    program.setMacroProcessor(&processor);
    ZelShaders::ProgramBuilder builder(program);
    builder.setCache(cache);
    builder.addShaderFromFile(GL_VERTEX_SHADER, QStringLiteral("prefilteredEnvMapVS.glslc"));
    for (const char *file : {"noise2D.glslc", "ImportanceSample.glslc", "prefilteredEnvMapFS.glslc"}) {
        builder.addShaderFromFile(GL_FRAGMENT_SHADER, QLatin1String(file));
    }
    return builder.link();
}

/// The second start of a program with a cache; "bare" is a start without one. The argument is 1 if the driver has linked the
/// same texts before, so that its own cache has them; with 0 each text is new to the driver.
void warmStart(benchmark::State &state)
{
    static const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(16, 16);
    const QTemporaryDir folder;
    ZelShaders::ProgramCache cache(folder.path());
    if (stage == nullptr || !build(&cache, 0)) {
        state.SkipWithError("no program");
        return;
    }
    static qint64 variant =
        QDateTime::currentMSecsSinceEpoch(); // the driver keeps what earlier processes have linked
    timeInTurn<ThreadClock>(
        state, 5, [&] { build(&cache, 0); }, [&] { build(nullptr, state.range(0) == 0 ? ++variant : 0); });
}
BENCHMARK(warmStart)->Arg(0)->Arg(1)->UseManualTime();

} // namespace
