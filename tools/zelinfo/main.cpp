// zelinfo: what a model or an image consists of, what the importer left out, and the instance data for it.

#include "Facts.h"

#include "file/CommandLine.h"
#include "file/Program.h"
#include "image/ExrFile.h"
#include "image/ImageFile.h"
#include "image/TextureFacts.h"
#include "scene/ModelLoader.h"
#include "scene/ModelPlans.h"
#include "scene/UdimFiles.h"

#include <ZelGL/Texture.h>
#include <ZelKit/HeadlessContext.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include <limits>

using namespace zeltools;
using Orvane::ZelKit::HeadlessContext;

namespace {

constexpr char kDescription[] =
    "Prints what a model or an image consists of, and what is missing in it.\n\n"
    "Models:  counts, bounds, materials with their maps, textures, cameras, lights, and remarks about what "
    "the\n"
    "         importer does not read.\n"
    "Images:  target, size, levels, format and metadata. Tiles: as models.\n\n"
    "Exit codes: 0 success, 1 wrong usage, 2 a file cannot be read, 3 a file is malformed or unsupported,\n"
    "4 no display or no usable driver, which images and --print-plan need.";

constexpr int kMinBlock = 256;     ///< bytes
constexpr int kMaxBlock = 1 << 30; ///< bytes

struct Options
{
    QString file; ///< empty: the plans alone
    bool printsPlan = false;
    MechanismKind mechanism = MechanismKind::eUniformBuffer;
    int blockLimit = 0; ///< bytes; 0: that of the mechanism
    QString printedText;
};

Expected<Options> parseOptions(int argc, char **argv)
{
    const QCoreApplication application(argc, argv); // the parser needs its name
    Options options;
    CommandLine line("zelinfo", kDescription);
    line.describeFile("A model, an image, or a set of UDIM tiles: its folder, or a name with <UDIM> in it. "
                      "--print-plan needs none.");
    line.addFlag(
        "print-plan",
        QStringLiteral("Print layout, limits and shader text of the instance data. Without a FILE: for "
                       "as many objects as the mechanism allows."),
        options.printsPlan);
    line.addName<MechanismKind>(
        "mechanism", "name",
        QStringLiteral("How instance data reach the shaders: 'ubo', 'uniform', 'texbuffer', 'texture' or "
                       "'ssbo' (default: ubo)."),
        options.mechanism, mechanismNames());
    line.addNumber("block-limit", "bytes",
                   QStringLiteral("Size limit of one collection of matrices, in bytes."), options.blockLimit,
                   kMinBlock, kMaxBlock);
    if (const Failure failure = line.parse(QCoreApplication::arguments())) {
        return *failure;
    }
    options.printedText = line.printedText();
    if (!options.printedText.isEmpty()) {
        return options;
    }
    options.file = line.files().value(0);
    if (const Failure failure = line.refuseSeveral(line.files())) {
        return *failure;
    }
    if (options.printsPlan) {
        return options;
    }
    if (options.file.isEmpty()) {
        return line.problem(QStringLiteral("no FILE is given"));
    }
    if (const QString ofPlan = line.firstSet({"mechanism", "block-limit"}); !ofPlan.isEmpty()) {
        return line.problem(QStringLiteral("--%1 needs --print-plan").arg(ofPlan));
    }
    return options;
}

Failure printImage(const QString &path)
{
    QString error;
    const auto context = HeadlessContext::create(&error);
    if (context == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    const std::unique_ptr<Orvane::Zel::Texture> texture = loadImage(path, error);
    if (texture == nullptr) {
        return Problem{ExitCode::eInput, QStringLiteral("'%1' cannot be read: %2").arg(path, error)};
    }
    Console::printLine(QStringLiteral("image     ") + TextureFacts::of(*texture).toString());
    for (const QString &key : metadataKeys(path)) {
        Console::printLine(QStringLiteral("metadata  ") + key);
    }
    return {};
}

Failure printExr(const QString &path)
{
    const Expected<LightImage> image = readExr(path);
    if (!image) {
        return image.problem();
    }
    Console::printLine(factsOf(*image));
    return {};
}

Failure printPlans(const Options &options, int objects)
{
    QString error;
    const auto context = HeadlessContext::create(&error);
    if (context == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    if (const Failure failure = ModelPlans::check(options.mechanism)) {
        return failure;
    }
    for (const QString &line : ModelPlans(options.mechanism, objects, options.blockLimit).describe()) {
        Console::printLine(line);
    }
    return {};
}

Failure run(const Options &options)
{
    HeadlessContext::choosePlatform();
    if (options.file.isEmpty()) {
        return printPlans(options, std::numeric_limits<int>::max());
    }
    const bool isUdim = QFileInfo(options.file).isDir() || options.file.contains(QLatin1String("<UDIM>"));
    const bool isImage = !isUdim && (isExrFile(options.file) || isImageFile(options.file));
    if (isImage && options.printsPlan) {
        return Problem{ExitCode::eUsage,
                       QStringLiteral("--print-plan applies to models; '%1' is an image").arg(options.file)};
    }
    if (isImage) {
        return isExrFile(options.file) ? printExr(options.file) : printImage(options.file);
    }
    const Expected<Scene> scene = isUdim ? loadTiles(options.file) : loadModel(options.file);
    if (!scene) {
        return scene.problem();
    }
    if (options.printsPlan) {
        return printPlans(options, ModelPlans::wantedObjects(*scene));
    }
    for (const QString &line : factsOf(*scene)) {
        Console::printLine(line);
    }
    return {};
}

} // namespace

int main(int argc, char **argv)
{
    return runProgram(
        "zelinfo", [&] { return parseOptions(argc, argv); }, run);
}
