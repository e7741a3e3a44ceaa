#include "Options.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace zelview {

namespace {

constexpr float kMostExposure = 20.0f;
constexpr int kMostSlices = 16384;
constexpr int kMostBodies = 1000000;
constexpr int kMostFrames = 100000;

const QString kStats = QStringLiteral("stats");
const QString kStress = QStringLiteral("stress");
const QString kFrames = QStringLiteral("frames");
constexpr int kMostCascades = 8;

const QString kEnv = QStringLiteral("env");
const QString kEnvLayout = QStringLiteral("env-layout");
const QString kEnvRotation = QStringLiteral("env-rotation");
const QString kEnvBlur = QStringLiteral("env-blur");

const QString kLights = QStringLiteral("lights");
const QString kCascades = QStringLiteral("csm");
const QString kVariance = QStringLiteral("variance");
const QString kGround = QStringLiteral("ground");

/// By EdgeFilter.
const QStringList kEdgeFilterNames{QStringLiteral("none"), QStringLiteral("fxaa"), QStringLiteral("smaa")};

/// By LightRig.
const QStringList kRigNames{QStringLiteral("none"), QStringLiteral("sun"), QStringLiteral("rig"),
                            QStringLiteral("file")};

/// By ManagerKind.
const QStringList kManagerNames{QStringLiteral("sampler"), QStringLiteral("array"),
                                QStringLiteral("array-bindless"), QStringLiteral("bindless")};
static_assert(kManagerKinds == 4, "each has a name");

/// By MechanismKind.
const QStringList kMechanismNames{QStringLiteral("ubo"), QStringLiteral("uniform"),
                                  QStringLiteral("texbuffer"), QStringLiteral("texture"),
                                  QStringLiteral("ssbo")};
static_assert(kMechanismKinds == 5, "each has a name");

constexpr char kKeys[] =
    "Window:  left button turns, middle or right button moves, wheel, + and - zoom, Home shows everything,\n"
    "         F shows statistics, Escape closes.\n"
    "Models:  V next camera of the file; Up, Down exposure; Left, Right turn the surroundings;\n"
    "         a click or N selects a material, O shows it alone, X leaves it out, A shows all;\n"
    "         Z freezes the frustum that culls, and shows what it culls as ghosts;\n"
    "         G ground; shadows: S layers, C cascades in colours, L volumes of the lights;\n"
    "         M next texture manager, D its slots, I next mechanism for instance data.";

Problem usageProblem(const QString &text)
{
    return {ExitCode::eUsage, text + QStringLiteral(" (see zelview --help)")};
}

/// "WxH"; empty when the text is anything else or a side is out of range.
Expected<QSize> parseSize(const QString &text)
{
    static const QRegularExpression kForm(QStringLiteral("^(\\d{1,9})x(\\d{1,9})$"));
    const QRegularExpressionMatch match = kForm.match(text);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (!match.hasMatch() || size.isEmpty()) {
        return usageProblem(QStringLiteral("--size takes WxH, such as 1280x720, not '%1'").arg(text));
    }
    if (size.width() > Options::kMaxSide || size.height() > Options::kMaxSide
        || qint64(size.width()) * size.height() > Options::kMaxPixels) {
        return usageProblem(
            QStringLiteral("--size %1 is too large: a side has at most %2 pixels, a picture %3")
                .arg(text)
                .arg(Options::kMaxSide)
                .arg(Options::kMaxPixels));
    }
    return size;
}

Expected<int> parseNumber(const QString &option, const QString &text, int low, int high)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < low || number > high) {
        return usageProblem(QStringLiteral("--%1 takes a number from %2 to %3, not '%4'")
                                .arg(option)
                                .arg(low)
                                .arg(high)
                                .arg(text));
    }
    return number;
}

Expected<float> parseReal(const QString &option, const QString &text, float low, float high)
{
    bool isNumber = false;
    const float number = text.toFloat(&isNumber);
    // The comparison is written so that a NaN fails it.
    if (!isNumber || !(number >= low && number <= high)) {
        return usageProblem(QStringLiteral("--%1 takes a number from %2 to %3, not '%4'")
                                .arg(option)
                                .arg(double(low))
                                .arg(double(high))
                                .arg(text));
    }
    return number;
}

/// "AZIMUTH,ELEVATION" in degrees.
Failure parseView(const QString &text, Options &options)
{
    const QStringList parts = text.split(QLatin1Char(','));
    bool isAzimuth = false;
    bool isElevation = false;
    if (parts.size() == 2) {
        options.azimuth = parts[0].toFloat(&isAzimuth);
        options.elevation = parts[1].toFloat(&isElevation);
    }
    // The comparison is written so that a NaN fails it.
    if (isAzimuth && isElevation && qAbs(options.azimuth) <= 360.0f && qAbs(options.elevation) <= 89.0f) {
        return {};
    }
    return usageProblem(
        QStringLiteral("--view takes AZIMUTH,ELEVATION in degrees, such as 35,22, not '%1'").arg(text));
}

/// "X,Y" in pixels of the picture, from its upper left corner.
Expected<QPoint> parsePixel(const QString &text, const QSize &size)
{
    static const QRegularExpression kForm(QStringLiteral("^(\\d{1,9}),(\\d{1,9})$"));
    const QRegularExpressionMatch match = kForm.match(text);
    const QPoint pixel(match.captured(1).toInt(), match.captured(2).toInt());
    if (!match.hasMatch() || !QRect(QPoint(), size).contains(pixel)) {
        return usageProblem(QStringLiteral("--pick takes X,Y inside the picture of %1x%2, not '%3'")
                                .arg(size.width())
                                .arg(size.height())
                                .arg(text));
    }
    return pixel;
}

Expected<DrawIDPath> parseDrawIDPath(const QString &text)
{
    if (text == QLatin1String("uniform")) {
        return DrawIDPath::eUniform;
    }
    if (text == QLatin1String("base-instance")) {
        return DrawIDPath::eBaseInstance;
    }
    return usageProblem(QStringLiteral("--draw-id takes 'uniform' or 'base-instance', not '%1'").arg(text));
}

/// One of the names, as the number that it has among them.
template <typename Choice>
Expected<Choice> parseName(const QString &option, const QString &text, const QStringList &names)
{
    const int index = names.indexOf(text);
    if (index < 0) {
        return usageProblem(QStringLiteral("--%1 takes '%2', not '%3'")
                                .arg(option, names.join(QStringLiteral("', '")), text));
    }
    return Choice(index);
}

/// Stores what \a parsed holds in \a target, or tells what it holds instead.
template <typename T, typename Target> Failure take(const Expected<T> &parsed, Target &target)
{
    if (!parsed) {
        return parsed.problem();
    }
    target = *parsed;
    return {};
}

/// The name of the first of these options that was given; empty when none was.
QString firstSet(const QCommandLineParser &parser, const QList<QCommandLineOption> &options)
{
    const auto given = std::find_if(options.begin(), options.end(),
                                    [&](const QCommandLineOption &option) { return parser.isSet(option); });
    return given != options.end() ? given->names().first() : QString();
}

QList<QCommandLineOption> environmentOptions()
{
    return {
        {kEnv,
         QStringLiteral("Light a model with an image of surroundings, and show it behind the model: HDR, "
                        "EXR, a KTX cube map, or what Qt reads."),
         QStringLiteral("image")},
        {kEnvLayout,
         QStringLiteral("How that image is laid out: 'latlong', 'cross' or 'strip'; else its sides tell: "
                        "2:1, 4:3 or 3:4, 6:1."),
         QStringLiteral("layout")},
        {kEnvRotation, QStringLiteral("Turn the surroundings about the vertical, in degrees; 0."),
         QStringLiteral("angle")},
        {kEnvBlur, QStringLiteral("Blur them behind the model, from 0 to 1; 0."), QStringLiteral("amount")}};
}

Failure parseEnvironment(const QCommandLineParser &parser, Options &options)
{
    options.environment = parser.value(kEnv);
    if (!parser.isSet(kEnv)) {
        const QString alone = firstSet(parser, environmentOptions());
        return alone.isEmpty() ? Failure() : usageProblem(QStringLiteral("--%1 goes with --env").arg(alone));
    }
    Failure failure;
    if (options.environment.isEmpty()) {
        failure = usageProblem(QStringLiteral("--env takes the name of a file"));
    }
    if (!failure && parser.isSet(kEnvLayout)) {
        failure =
            take(parseName<EnvironmentLayout>(kEnvLayout, parser.value(kEnvLayout), environmentLayoutNames()),
                 options.environmentLayout);
    }
    if (!failure && parser.isSet(kEnvRotation)) {
        failure = take(parseReal(kEnvRotation, parser.value(kEnvRotation), -360.0f, 360.0f),
                       options.environmentRotation);
    }
    if (!failure && parser.isSet(kEnvBlur)) {
        failure = take(parseReal(kEnvBlur, parser.value(kEnvBlur), 0.0f, 1.0f), options.environmentBlur);
    }
    return failure;
}

QList<QCommandLineOption> lightOptions()
{
    return {
        {kLights,
         QStringLiteral(
             "Lights that cast shadows: 'none', a 'sun' (that of the surroundings, with --env), a 'rig' of "
             "two spot lights and a lamp, or those of the 'file'; 'sun'."),
         QStringLiteral("name")},
        {kCascades,
         QStringLiteral("Cascades of the sun's shadow, from near to far, 1 to %1; 4.").arg(kMostCascades),
         QStringLiteral("n")},
        {kVariance, QStringLiteral("Variance shadow maps: one look-up into blurred layers instead of many.")},
        {kGround, QStringLiteral("Stand the model on a ground that takes its shadow.")}};
}

Failure parseLights(const QCommandLineParser &parser, Options &options)
{
    Failure failure;
    if (parser.isSet(kLights)) {
        failure = take(parseName<LightRig>(kLights, parser.value(kLights), kRigNames), options.lights);
    }
    if (!failure && parser.isSet(kCascades)) {
        failure = take(parseNumber(kCascades, parser.value(kCascades), 1, kMostCascades), options.cascades);
    }
    options.shadowKind = parser.isSet(kVariance) ? ShadowKind::eVariance : ShadowKind::eDepth;
    options.hasGround = parser.isSet(kGround);
    return failure;
}

QList<QCommandLineOption> measureOptions()
{
    return {{kStats, QStringLiteral("Measure, and print what frames consist of and cost.")},
            {kStress,
             QStringLiteral(
                 "Fly through so many bodies of 32 materials instead of showing a FILE, without shadows "
                 "unless --lights asks for them."),
             QStringLiteral("n")},
            {kFrames,
             QStringLiteral("With --stress and --offscreen: frames of the flight that are measured; 60."),
             QStringLiteral("k")}};
}

Failure parseMeasures(const QCommandLineParser &parser, Options &options)
{
    options.printsStatistics = parser.isSet(kStats);
    Failure failure;
    if (parser.isSet(kStress)) {
        failure = take(parseNumber(kStress, parser.value(kStress), 1, kMostBodies), options.stressBodies);
        options.lights = LightRig::eNone;
    }
    if (!failure && parser.isSet(kFrames)) {
        failure = options.stressBodies > 0 && !options.picture.isEmpty()
                      ? take(parseNumber(kFrames, parser.value(kFrames), 1, kMostFrames), options.frames)
                      : usageProblem(QStringLiteral("--frames goes with --stress and --offscreen"));
    }
    return failure;
}

} // namespace

QString managerName(ManagerKind kind)
{
    return kManagerNames[int(kind)];
}

QString edgeFilterName(EdgeFilter filter)
{
    return kEdgeFilterNames[int(filter)];
}

QString mechanismName(MechanismKind kind)
{
    return kMechanismNames[int(kind)];
}

Expected<Options> parseOptions(const QStringList &arguments)
{
    const QCommandLineOption offscreen(
        QStringLiteral("offscreen"),
        QStringLiteral("Write the picture to <file> (PNG) instead of opening a window."),
        QStringLiteral("file"));
    const QCommandLineOption size(QStringLiteral("size"),
                                  QStringLiteral("Size of the picture or window; 1280x720."),
                                  QStringLiteral("WxH"));
    const QCommandLineOption samples(
        QStringLiteral("samples"),
        QStringLiteral("Samples for each pixel, 1 to 32; 8, or what the driver has."), QStringLiteral("n"));
    const QCommandLineOption view(
        QStringLiteral("view"),
        QStringLiteral("Where to look from: azimuth and elevation in degrees; 35,22."),
        QStringLiteral("a,e"));
    const QCommandLineOption camera(
        QStringLiteral("camera"),
        QStringLiteral("Look through a camera of the file, by its name or its number from 0."),
        QStringLiteral("name"));
    const QCommandLineOption pick(
        QStringLiteral("pick"),
        QStringLiteral("With --offscreen: tell the material at a pixel, counted from the upper left."),
        QStringLiteral("x,y"));
    const QCommandLineOption printPlan(
        QStringLiteral("print-plan"),
        QStringLiteral("Print layout, limits and shader texts of the instance data, for the FILE or as large "
                       "as the mechanism allows, and end."));
    const QCommandLineOption drawID(
        QStringLiteral("draw-id"),
        QStringLiteral("How draw IDs travel: 'uniform' (sub-draws of one unit) or "
                       "'base-instance' (one unit for each mesh, without culling)."),
        QStringLiteral("path"));
    const QCommandLineOption manager(
        QStringLiteral("manager"),
        QStringLiteral("Texture manager: 'sampler', 'array', 'array-bindless' or 'bindless'; "
                       "'array' for models with UDIM tiles, otherwise 'sampler'."),
        QStringLiteral("name"));
    const QCommandLineOption udim(
        QStringLiteral("udim"),
        QStringLiteral(
            "Show a plane of UDIM tiles instead of a FILE: a folder, or a name with <UDIM> in it."),
        QStringLiteral("tiles"));
    const QCommandLineOption mechanism(
        QStringLiteral("mechanism"),
        QStringLiteral(
            "How matrices and materials travel: 'ubo', 'uniform', 'texbuffer', 'texture' or 'ssbo'; "
            "'ubo'."),
        QStringLiteral("name"));
    const QCommandLineOption blockLimit(
        QStringLiteral("block-limit"),
        QStringLiteral("Split the matrices into collections of at most so many bytes."),
        QStringLiteral("bytes"));
    const QCommandLineOption level(QStringLiteral("level"),
                                   QStringLiteral("Mip level of an image to show; 0."), QStringLiteral("n"));
    const QCommandLineOption face(
        QStringLiteral("face"),
        QStringLiteral("Face of a cube map (0 to 5: +x, -x, +y, -y, +z, -z) or slice of a "
                       "volume to show alone."),
        QStringLiteral("n"));
    const QCommandLineOption exposure(
        QStringLiteral("exposure"),
        QStringLiteral("Powers of two by which an image, or the light on a model, is brightened; 0."),
        QStringLiteral("ev"));
    const QCommandLineOption edgeFilter(
        QStringLiteral("aa"),
        QStringLiteral("Smooth edges in the finished picture: 'none', 'fxaa' or 'smaa'. Takes the place of "
                       "samples, unless --samples is given too."),
        QStringLiteral("filter"));
    const QCommandLineOption verbose(QStringLiteral("verbose"),
                                     QStringLiteral("Print debug messages, those of the driver among them."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this help."));
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Print the version."));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows a model or an image in a window, or writes a picture of it.\n\n")
        + QLatin1String(kKeys));
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral("A model: glTF 2, OBJ, PLY, or what else assimp reads. Or an image: "
                       "KTX, HDR, ASTC, or what Qt reads."),
        QStringLiteral("FILE"));
    parser.addOptions({offscreen, size, samples, view, camera, pick, printPlan, drawID, manager, udim,
                       mechanism, blockLimit, level, face, exposure, edgeFilter, verbose, help, version});
    parser.addOptions(measureOptions());
    parser.addOptions(environmentOptions());
    parser.addOptions(lightOptions());
    if (!parser.parse(arguments)) {
        return usageProblem(parser.errorText());
    }

    Options options;
    options.verbose = parser.isSet(verbose);
    if (parser.isSet(help)) {
        options.answer = parser.helpText();
        return options;
    }
    if (parser.isSet(version)) {
        options.answer = QStringLiteral("zelview %1\n").arg(QStringLiteral(ZELVIEW_VERSION));
        return options;
    }

    QStringList names = parser.positionalArguments();
    options.isUdim = parser.isSet(udim);
    if (options.isUdim) {
        names.append(parser.value(udim));
    }
    options.printsPlan = parser.isSet(printPlan);
    const bool needsFile = !options.printsPlan && !parser.isSet(kStress);
    if (!needsFile && names.isEmpty()) {
        names.append(QString());
    } else if (names.size() != 1 || names.first().isEmpty() || parser.isSet(kStress)) {
        if (parser.isSet(kStress)) {
            return usageProblem(QStringLiteral("--stress takes the place of a FILE"));
        }
        return usageProblem(names.size() > 1
                                ? QStringLiteral("one FILE is shown at a time, not %1").arg(names.size())
                                : QStringLiteral("no FILE is named"));
    }
    options.file = names.first();

    Failure failure;
    if (parser.isSet(offscreen)) {
        options.picture = parser.value(offscreen);
        if (options.picture.isEmpty()) {
            failure = usageProblem(QStringLiteral("--offscreen takes the name of a file"));
        }
    }
    if (!failure && parser.isSet(size)) {
        failure = take(parseSize(parser.value(size)), options.size);
    }
    if (!failure && parser.isSet(samples)) {
        failure = take(parseNumber(QStringLiteral("samples"), parser.value(samples), 1, 32), options.samples);
    }
    if (!failure && parser.isSet(view)) {
        failure = parseView(parser.value(view), options);
    }
    options.camera = parser.value(camera);
    if (!failure && parser.isSet(camera) && (options.camera.isEmpty() || parser.isSet(view))) {
        failure =
            usageProblem(options.camera.isEmpty() ? QStringLiteral("--camera takes a name or a number")
                                                  : QStringLiteral("--camera and --view exclude each other"));
    }
    if (!failure && parser.isSet(pick)) {
        failure = options.picture.isEmpty()
                      ? usageProblem(QStringLiteral("--pick goes with --offscreen"))
                      : take(parsePixel(parser.value(pick), options.size), options.pick);
    }
    if (!failure && parser.isSet(drawID)) {
        failure = take(parseDrawIDPath(parser.value(drawID)), options.drawIDPath);
    }
    if (!failure && parser.isSet(manager)) {
        failure =
            take(parseName<ManagerKind>(QStringLiteral("manager"), parser.value(manager), kManagerNames),
                 options.manager);
    }
    if (!failure && parser.isSet(mechanism)) {
        failure = take(
            parseName<MechanismKind>(QStringLiteral("mechanism"), parser.value(mechanism), kMechanismNames),
            options.mechanism);
    }
    if (!failure && parser.isSet(blockLimit)) {
        failure = take(parseNumber(QStringLiteral("block-limit"), parser.value(blockLimit), 256, 1 << 30),
                       options.blockLimit);
    }
    if (!failure && parser.isSet(level)) {
        failure = take(parseNumber(QStringLiteral("level"), parser.value(level), 0, 31), options.level);
    }
    if (!failure && parser.isSet(face)) {
        failure = take(parseNumber(QStringLiteral("face"), parser.value(face), 0, kMostSlices), options.face);
    }
    if (!failure && parser.isSet(exposure)) {
        failure =
            take(parseReal(QStringLiteral("exposure"), parser.value(exposure), -kMostExposure, kMostExposure),
                 options.exposure);
    }
    if (!failure && parser.isSet(edgeFilter)) {
        failure =
            take(parseName<EdgeFilter>(QStringLiteral("aa"), parser.value(edgeFilter), kEdgeFilterNames),
                 options.edgeFilter);
        if (options.edgeFilter != EdgeFilter::eNone && !parser.isSet(samples)) {
            options.samples = 1;
        }
    }
    if (!failure) {
        failure = parseMeasures(parser, options);
    }
    if (!failure) {
        failure = parseEnvironment(parser, options);
    }
    if (!failure) {
        failure = parseLights(parser, options);
    }
    if (failure) {
        return *failure;
    }
    options.modelOption =
        firstSet(parser, QList<QCommandLineOption>{view, camera, pick, printPlan, drawID, manager, mechanism,
                                                   blockLimit, environmentOptions().first()}
                             + lightOptions());
    options.imageOption = firstSet(parser, {level, face});
    return options;
}

} // namespace zelview
