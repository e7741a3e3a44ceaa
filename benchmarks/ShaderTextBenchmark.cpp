// The expansion of shader texts with a line map, compared with the text processor alone, in alternation.
//
// Held constant: the files of the library; each run reads every include again, and the text is the same.

#include "support/InTurn.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelShaders/LineMap.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

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

} // namespace
