#include "ProgramBuilder.h"

#include "../GL/private/ShaderText.h"
#include "ProgramCache.h"
#include "private/FileWatch.h"
#include "private/HeldMessages.h"
#include "private/MissingFunctions.h"

#include <ZelCore/Resources.h>
#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/Reporting.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/TextureManager.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <iterator>

namespace Orvane { namespace ZelShaders {

namespace {

const QString kCompileFailure = QStringLiteral("Failed to compile GL shader");
const QString kLinkFailure = QStringLiteral("Failed to link GL shader");
const QString kSourceHeading = QStringLiteral(" =======Source======");
const QString kLogHeading = QStringLiteral(" =======Log=========");

/// The source of the listing that the library logs when a stage does not compile, as the lines of that listing.
QStringList listingOf(const QStringList &messages)
{
    const int start = messages.indexOf(kSourceHeading) + 1;
    return messages.mid(start, messages.indexOf(kLogHeading) - start);
}

/// The first directive that was left out, such as an include of a missing file, as a line. It is the likely cause of
/// what the driver reports.
QString failedDirective(const LineMap &map)
{
    const QVector<LineMap::Failure> failures = map.failures();
    return failures.isEmpty() ? QString()
                              : failures.first().at.toString() + QStringLiteral(": error: ")
                                    + failures.first().message + QLatin1Char('\n');
}

/// The path of a file in the folders of ShaderProgram::addShaderFromFile(), and its text; empty if no folder has it.
QString findShader(const QString &fileName, QString &source)
{
    for (const QDir &folder : {QDir(QString()), QDir(Zel::resourcesPath() + QStringLiteral("/GLSL/src")),
                               QDir(QStringLiteral(":/GLSL/src"))}) {
        FileWatch::looksFor(folder.filePath(fileName));
        if (folder.exists() && Zel::readShaderText(folder.filePath(fileName), source)) {
            return folder.filePath(fileName);
        }
    }
    return QString();
}

/// Whether a file that ends with ".vert" or ".frag" is for another stage.
bool isOfOtherStage(const QString &fileName, unsigned int type)
{
    return (fileName.endsWith(QLatin1String(".vert")) && type != GL_VERTEX_SHADER)
           || (fileName.endsWith(QLatin1String(".frag")) && type != GL_FRAGMENT_SHADER);
}

struct Source
{
    QString name;
    QString text;
    bool isOfDeclaration; ///< of the plan, the manager or the header that declares the function
};

/// The texts that may define a function.
QVector<Source> sourcesOf(const UndefinedFunction &function, const QString &managerFile)
{
    const QString declaredIn = function.declaredAt.name;
    QVector<Source> sources;
    if (function.declaredAt.kind == LineMap::ePlan) {
        if (const auto *const plan = Zel::InstanceDataRegistry::Instance()->getPlan(declaredIn)) {
            sources.append({QStringLiteral("plan ") + declaredIn, plan->glslc(), true});
        }
    }
    const QString header = QFileInfo(declaredIn).completeBaseName();
    const bool isOfManager = header == QLatin1String("TextureManager"); // each manager has a file of its own
    for (const QString &path :
         isOfManager ? QStringList(managerFile) : FunctionIndex::library().filesDefining(function.name)) {
        const QString file = QFileInfo(path).fileName();
        QString text;
        const QString name = file.isEmpty() ? QString() : findShader(file, text);
        if (!name.isEmpty()) {
            sources.append({name, text, isOfManager || QFileInfo(file).completeBaseName() == header});
        }
    }
    // getDrawID(), which several files have, and which plans declare.
    std::stable_partition(sources.begin(), sources.end(), [](const Source &source) {
        return QFileInfo(source.name).completeBaseName() == QLatin1String("ZelUtilities");
    });
    return sources;
}

} // namespace

ProgramBuilder::ProgramBuilder(Zel::ShaderProgram &program)
    : _program(program)
{
}

ProgramBuilder::~ProgramBuilder() = default;

bool ProgramBuilder::addShader(int type, const QString &source, const QString &name)
{
    const LineMap map(source, name, _program.getMacroProcessor());
    for (const LineMap::Failure &failure : map.failures()) {
        if (failure.isEndless) {
            _report = failure.at.toString() + QStringLiteral(": error: ") + failure.message;
            Zel::warnLineByLine(_report);
            return false;
        }
    }
    _stages.append({static_cast<unsigned int>(type), map});
    _program.addShader(type, source, QString());
    return true;
}

bool ProgramBuilder::addShaderFromFile(int type, const QString &fileName)
{
    QString source;
    const QString path = findShader(fileName, source);
    if (!path.isEmpty()) {
        return addShader(type, source, path);
    }
    _program.addShaderFromFile(type, fileName); // logs
    _report = QStringLiteral("error: couldn't find shader source file '%1'").arg(fileName);
    return false;
}

void ProgramBuilder::addLibrary(Zel::TextureManager *manager)
{
    for (const unsigned int type : {GL_VERTEX_SHADER, GL_TESS_CONTROL_SHADER, GL_TESS_EVALUATION_SHADER,
                                    GL_GEOMETRY_SHADER, GL_FRAGMENT_SHADER}) {
        while (addLibraryTo(type, manager)) {} // files call functions of other files
    }
}

bool ProgramBuilder::link()
{
    HeldMessages held;
    const bool isLinked = _cache != nullptr ? _cache->link(_program) : _program.link();
    if (isLinked) {
        _report.clear();
        held.release();
        return true;
    }
    // What precedes the listings is not part of them: the cache logs some messages only once.
    const QStringList messages = held.takeWarnings({kCompileFailure, kLinkFailure});
    _report = reportOf(messages);
    Zel::warnLineByLine(_report);
    return false;
}

std::unique_ptr<Zel::ShaderProgram> ProgramBuilder::build(const QString &vertex, const QString &fragment,
                                                          Zel::TextureManager *manager,
                                                          Zel::GLSLMacroProcessor *processor)
{
    Zel::GLSLMacroProcessor own;
    processor = processor != nullptr ? processor : &own;
    Zel::DrawBuffers::setup(processor);
    if (manager != nullptr) {
        manager->setup(processor);
    }
    auto program = std::make_unique<Zel::ShaderProgram>(nullptr);
    program->setMacroProcessor(processor);
    ProgramBuilder builder(*program);
    if (builder.addSource(GL_VERTEX_SHADER, vertex, QStringLiteral("vertex text"))
        && builder.addSource(GL_FRAGMENT_SHADER, fragment, QStringLiteral("fragment text"))) {
        builder.addLibrary(manager);
        builder.link();
    }
    program->setMacroProcessor(nullptr); // it may exist no longer than this call
    return program;
}

bool ProgramBuilder::addSource(int type, const QString &source, const QString &name)
{
    return source.contains(QLatin1Char('\n')) ? addShader(type, source, name)
                                              : addShaderFromFile(type, source);
}

/// Adds a text that defines a function which the stage lacks. Returns false if there is none.
bool ProgramBuilder::addLibraryTo(unsigned int type, Zel::TextureManager *manager)
{
    const QString managerFile = manager != nullptr ? manager->getShaderFile() : QString();
    QVector<ShaderReport::Stage> stages;
    std::copy_if(_stages.begin(), _stages.end(), std::back_inserter(stages),
                 [type](const ShaderReport::Stage &stage) { return stage.type == type; });
    // First what belongs to a declaration: it may define what else is missing, as VisibilityBuffer.glslc does.
    for (const bool isOfDeclaration : {true, false}) {
        for (const UndefinedFunction &function : undefinedFunctions(stages)) {
            for (const Source &source : sourcesOf(function, managerFile)) {
                if (source.isOfDeclaration == isOfDeclaration && !isOfOtherStage(source.name, type)
                    && defines(source.text, function.name)) {
                    return addShader(int(type), source.text, source.name);
                }
            }
        }
    }
    return false;
}

bool ProgramBuilder::defines(const QString &text, const QString &function) const
{
    const QStringList functions = definedFunctions(LineMap(text, QString(), _program.getMacroProcessor()));
    return functions.contains(function) && !functions.contains(QLatin1String("main"));
}

QString ProgramBuilder::reportOf(const QStringList &messages) const
{
    if (!messages.contains(kCompileFailure)) {
        return QStringLiteral("Failed to link the program\n") + ShaderReport::ofLink(_program.log(), _stages);
    }
    // The library does not report which of its stages failed, but its listing has the text of that stage.
    const QStringList listing = listingOf(messages);
    for (const ShaderReport::Stage &stage : _stages) {
        QStringList numbered = Zel::numberedLines(stage.map.text()).split(QLatin1Char('\n'));
        numbered.removeLast(); // empty, after the last line break
        if (numbered == listing) {
            const QString cause = failedDirective(stage.map);
            return QStringLiteral("Failed to compile %1, %2\n").arg(stage.map.name(), stageName(stage.type))
                   + cause
                   + ShaderReport::of(_program.log(), stage.map, cause.isEmpty() ? ShaderReport::kPlaces : 1);
        }
    }
    return QStringLiteral(
               "Failed to compile a stage that was not added here: lines are those of its expanded text\n")
           + _program.log();
}

}} // namespace Orvane::ZelShaders
