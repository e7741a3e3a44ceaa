#include "frame/Options.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QFileInfo>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtGui/QImageWriter>
#include <QtGui/QVector2D>

#include <algorithm>

namespace zelview {

namespace {

constexpr float kMaxExposure = 20.0f;
constexpr int kMaxSamples = 32;
constexpr int kMaxSlices = 16384;
constexpr int kMaxBodies = 1000000;
constexpr int kMaxFrames = 100000;
constexpr int kMaxCascades = 8;

const QString kOffscreen = QStringLiteral("offscreen");
const QString kSize = QStringLiteral("size");
const QString kSamples = QStringLiteral("samples");
const QString kEdgeFilter = QStringLiteral("aa");
const QString kExposure = QStringLiteral("exposure");

const QString kView = QStringLiteral("view");
const QString kCamera = QStringLiteral("camera");
const QString kPick = QStringLiteral("pick");

const QString kEnv = QStringLiteral("env");
const QString kEnvLayout = QStringLiteral("env-layout");
const QString kEnvRotation = QStringLiteral("env-rotation");
const QString kEnvBlur = QStringLiteral("env-blur");

const QString kLights = QStringLiteral("lights");
const QString kCascades = QStringLiteral("csm");
const QString kVariance = QStringLiteral("variance");
const QString kStableShadows = QStringLiteral("stable-shadows");
const QString kGround = QStringLiteral("ground");

const QString kManager = QStringLiteral("manager");
const QString kMechanism = QStringLiteral("mechanism");
const QString kBlockLimit = QStringLiteral("block-limit");
const QString kDrawID = QStringLiteral("draw-id");
const QString kPacked = QStringLiteral("packed");
const QString kPrintPlan = QStringLiteral("print-plan");

const QString kUdim = QStringLiteral("udim");
const QString kLevel = QStringLiteral("level");
const QString kFace = QStringLiteral("face");

const QString kStats = QStringLiteral("stats");
const QString kStress = QStringLiteral("stress");
const QString kFrames = QStringLiteral("frames");

const QString kShaders = QStringLiteral("shaders");
const QString kVerbose = QStringLiteral("verbose");
const QString kHelp = QStringLiteral("help");
const QString kVersion = QStringLiteral("version");

/// By EdgeFilter.
const QStringList kEdgeFilterNames{QStringLiteral("none"), QStringLiteral("fxaa"), QStringLiteral("smaa")};

/// By LightRig.
const QStringList kRigNames{QStringLiteral("none"), QStringLiteral("sun"), QStringLiteral("rig"),
                            QStringLiteral("file")};

/// By DrawIDPath.
const QStringList kDrawIDNames{QStringLiteral("uniform"), QStringLiteral("base-instance")};

/// By EnvironmentLayout.
const QStringList kLayoutNames{QStringLiteral("latlong"), QStringLiteral("cross"), QStringLiteral("strip")};
static_assert(kEnvironmentLayouts == 3, "each has a name");

/// By ManagerKind.
const QStringList kManagerNames{QStringLiteral("sampler"), QStringLiteral("array"),
                                QStringLiteral("array-bindless"), QStringLiteral("bindless")};
static_assert(kManagerKinds == 4, "each has a name");

/// By MechanismKind.
const QStringList kMechanismNames{QStringLiteral("ubo"), QStringLiteral("uniform"),
                                  QStringLiteral("texbuffer"), QStringLiteral("texture"),
                                  QStringLiteral("ssbo")};
static_assert(kMechanismKinds == 5, "each has a name");

constexpr char kDescription[] =
    "Shows a model or an image in a window, or writes a picture of it.\n\n"
    "Window:  left button turns; middle, right or Shift and left button moves; wheel, + and - zoom;\n"
    "         Home shows everything; F shows statistics; Escape closes.\n"
    "Models:  V next camera of the file; Up, Down exposure; Left, Right turn the environment;\n"
    "         a click or N selects a material, O shows it alone, X leaves it out, A shows all;\n"
    "         Z freezes the culling frustum, and shows what it culls as ghosts;\n"
    "         G ground; shadows: S layers, C cascades in colours, L volumes of the lights;\n"
    "         M next texture manager, D its slots, I next mechanism for instance data,\n"
    "         P draws a packed scene or single parts.\n\n"
    "Exit codes: 0 success, 1 wrong usage, 2 a file cannot be read or written,\n"
    "3 a file is malformed or unsupported, 4 no display or no usable driver.";

Problem usageProblem(const QString &text)
{
    return {ExitCode::eUsage, text + QStringLiteral(" (see zelview --help)")};
}

/// Parses "WxH".
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
    // The comparison is false for NaN.
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
Expected<QVector2D> parseView(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    bool isAzimuth = false;
    bool isElevation = false;
    const QVector2D angles(parts.value(0).toFloat(&isAzimuth), parts.value(1).toFloat(&isElevation));
    // The comparison is false for NaN.
    if (parts.size() == 2 && isAzimuth && isElevation && qAbs(angles.x()) <= 360.0f
        && qAbs(angles.y()) <= 89.0f) {
        return angles;
    }
    return usageProblem(
        QStringLiteral("--view takes AZIMUTH,ELEVATION in degrees, up to 360,89 and such as 35,22, not '%1'")
            .arg(text));
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

/// The index of the text among the names.
template <typename Choice>
Expected<Choice> parseName(const QString &option, const QString &text, const QStringList &names)
{
    const int index = names.indexOf(text);
    if (index < 0) {
        return usageProblem(QStringLiteral("--%1 takes '%2' or '%3', not '%4'")
                                .arg(option, names.mid(0, names.size() - 1).join(QStringLiteral("', '")),
                                     names.last(), text));
    }
    return Choice(index);
}

/// Reads the options that were given, one after the other. After the first problem it reads no more.
class Reader
{
public:
    explicit Reader(const QCommandLineParser &parser)
        : _parser(parser)
    {
    }

    const Failure &failure() const { return _failure; }

    bool isSet(const QString &option) const { return _parser.isSet(option); }

    /// The name of the first of these options that was given; empty if none was.
    QString firstSet(const QList<QCommandLineOption> &options) const
    {
        const auto given =
            std::find_if(options.begin(), options.end(),
                         [this](const QCommandLineOption &option) { return _parser.isSet(option); });
        return given != options.end() ? given->names().first() : QString();
    }

    void refuse(const QString &text)
    {
        if (!_failure) {
            _failure = usageProblem(text);
        }
    }

    /// Stores what \a parse returns for the text of the option.
    template <typename Target, typename Parse>
    void read(const QString &option, Target &target, const Parse &parse)
    {
        if (_failure || !isSet(option)) {
            return;
        }
        const auto parsed = parse(_parser.value(option));
        if (parsed) {
            target = *parsed;
        } else {
            _failure = parsed.problem();
        }
    }

    /// Refuses an empty text. \a what: what the message asks for.
    void readText(const QString &option, QString &target, const char *what)
    {
        target = _parser.value(option);
        if (isSet(option) && target.isEmpty()) {
            refuse(QStringLiteral("--%1 takes %2").arg(option, QLatin1String(what)));
        }
    }

    void readNumber(const QString &option, int &target, int low, int high)
    {
        read(option, target, [&](const QString &text) { return parseNumber(option, text, low, high); });
    }

    void readReal(const QString &option, float &target, float low, float high)
    {
        read(option, target, [&](const QString &text) { return parseReal(option, text, low, high); });
    }

    template <typename Choice, typename Target>
    void readName(const QString &option, Target &target, const QStringList &names)
    {
        read(option, target, [&](const QString &text) { return parseName<Choice>(option, text, names); });
    }

private:
    const QCommandLineParser &_parser;
    Failure _failure;
};

QList<QCommandLineOption> pictureOptions()
{
    return {
        {kOffscreen, QStringLiteral("Write the picture to <file> (PNG) instead of opening a window."),
         QStringLiteral("file")},
        {kSize, QStringLiteral("Size of the picture or window (default: 1280x720)."), QStringLiteral("WxH")},
        {kSamples,
         QStringLiteral("Samples per pixel, 1 to %1 (default: 8), or as many as the driver supports.")
             .arg(kMaxSamples),
         QStringLiteral("n")},
        {kEdgeFilter,
         QStringLiteral("Smooth the edges of the finished picture: 'none', 'fxaa' or 'smaa' (default: none). "
                        "Replaces multisampling, unless --samples is given too."),
         QStringLiteral("filter")},
        {kExposure,
         QStringLiteral("Exposure of an image, or of the light on a model, as a power of two (default: 0)."),
         QStringLiteral("ev")}};
}

void readPicture(Reader &reader, Options &options)
{
    reader.readText(kOffscreen, options.picture, "the name of a file");
    const QByteArray suffix = QFileInfo(options.picture).suffix().toLower().toLatin1();
    if (suffix != "png" && QImageWriter::supportedImageFormats().contains(suffix)) {
        reader.refuse(
            QStringLiteral("--offscreen writes PNG files; '%1' names another format").arg(options.picture));
    }
    reader.read(kSize, options.size, parseSize);
    reader.readName<EdgeFilter>(kEdgeFilter, options.edgeFilter, kEdgeFilterNames);
    if (options.edgeFilter != EdgeFilter::eNone) {
        options.samples = 1;
    }
    reader.readNumber(kSamples, options.samples, 1, kMaxSamples);
    reader.readReal(kExposure, options.exposure, -kMaxExposure, kMaxExposure);
}

QList<QCommandLineOption> cameraOptions()
{
    return {{kView, QStringLiteral("Where to look from: azimuth and elevation in degrees (default: 35,22)."),
             QStringLiteral("a,e")},
            {kCamera, QStringLiteral("Look through a camera of the file, by its name or its number from 0."),
             QStringLiteral("name")},
            {kPick,
             QStringLiteral(
                 "With --offscreen: print the material at a pixel, counted from the upper left corner."),
             QStringLiteral("x,y")}};
}

void readCamera(Reader &reader, Options &options)
{
    QVector2D angles(options.azimuth, options.elevation);
    reader.read(kView, angles, parseView);
    options.azimuth = angles.x();
    options.elevation = angles.y();
    reader.readText(kCamera, options.camera, "a name or a number");
    if (reader.isSet(kCamera) && reader.isSet(kView)) {
        reader.refuse(QStringLiteral("--camera and --view exclude each other"));
    }
    if (reader.isSet(kPick) && options.picture.isEmpty()) {
        reader.refuse(QStringLiteral("--pick needs --offscreen"));
    }
    reader.read(kPick, options.pick, [&](const QString &text) { return parsePixel(text, options.size); });
}

QList<QCommandLineOption> environmentOptions()
{
    return {
        {kEnv,
         QStringLiteral("Light a model with an environment image, and show it as the background: HDR, EXR, "
                        "a KTX cube map, or any format that Qt reads."),
         QStringLiteral("image")},
        {kEnvLayout,
         QStringLiteral("Layout of that image: 'latlong' (2:1), 'cross' (4:3 or 3:4) or 'strip' (6:1) "
                        "(default: the one that its aspect ratio suggests)."),
         QStringLiteral("layout")},
        {kEnvRotation,
         QStringLiteral("Turn the environment around the vertical axis, in degrees (default: 0)."),
         QStringLiteral("angle")},
        {kEnvBlur, QStringLiteral("Blur the background, from 0 to 1 (default: 0)."),
         QStringLiteral("amount")}};
}

void readEnvironment(Reader &reader, Options &options)
{
    const QString alone = reader.firstSet(environmentOptions());
    if (!alone.isEmpty() && !reader.isSet(kEnv)) {
        reader.refuse(QStringLiteral("--%1 needs --env").arg(alone));
    }
    reader.readText(kEnv, options.environment, "the name of a file");
    reader.readName<EnvironmentLayout>(kEnvLayout, options.environmentLayout, kLayoutNames);
    reader.readReal(kEnvRotation, options.environmentRotation, -360.0f, 360.0f);
    reader.readReal(kEnvBlur, options.environmentBlur, 0.0f, 1.0f);
}

QList<QCommandLineOption> lightOptions()
{
    return {
        {kLights,
         QStringLiteral(
             "Lights that cast shadows: 'none', 'sun' (with --env, the strongest light of the environment), "
             "'rig' (two spot lights and a point light) or 'file' (those of the model file) (default: sun)."),
         QStringLiteral("name")},
        {kCascades,
         QStringLiteral("Number of cascades of the sun's shadow, 1 to %1 (default: 4).").arg(kMaxCascades),
         QStringLiteral("n")},
        {kVariance,
         QStringLiteral(
             "Use variance shadow maps: one lookup in a blurred layer instead of many in a plain one.")},
        {kStableShadows,
         QStringLiteral(
             "Keep the edges of the sun's shadow from shimmering while the view moves. The shadow is "
             "a little coarser.")},
        {kGround, QStringLiteral("Show a ground that receives the shadow of the model.")}};
}

void readLights(Reader &reader, Options &options)
{
    reader.readName<LightRig>(kLights, options.lights, kRigNames);
    reader.readNumber(kCascades, options.cascades, 1, kMaxCascades);
    const QString ofShadows = reader.isSet(kCascades)        ? kCascades
                              : reader.isSet(kVariance)      ? kVariance
                              : reader.isSet(kStableShadows) ? kStableShadows
                                                             : QString();
    if (options.lights == LightRig::eNone && !ofShadows.isEmpty()) {
        reader.refuse(QStringLiteral("--%1 needs --lights other than 'none'").arg(ofShadows));
    }
    options.shadowKind = reader.isSet(kVariance) ? ShadowKind::eVariance : ShadowKind::eDepth;
    options.areShadowsStable = reader.isSet(kStableShadows);
    options.hasGround = reader.isSet(kGround);
}

/// Options for what the library can do in several ways.
QList<QCommandLineOption> transportOptions()
{
    return {
        {kManager,
         QStringLiteral("Texture manager: 'sampler', 'array', 'array-bindless' or 'bindless' (default: array "
                        "for models with UDIM tiles, otherwise sampler)."),
         QStringLiteral("name")},
        {kMechanism,
         QStringLiteral("How matrices and materials reach the shaders: 'ubo', 'uniform', 'texbuffer', "
                        "'texture' or 'ssbo' "
                        "(default: ubo)."),
         QStringLiteral("name")},
        {kBlockLimit, QStringLiteral("Size limit of one collection of matrices, in bytes."),
         QStringLiteral("bytes")},
        {kDrawID,
         QStringLiteral("How draw IDs reach the shaders: 'uniform' (sub-draws of one draw unit) or "
                        "'base-instance' (one draw unit per mesh, without culling) (default: uniform)."),
         QStringLiteral("path")},
        {kPacked,
         QStringLiteral("Draw a packed scene: one call for each material if the driver has indirect draws. "
                        "The picture is the same.")},
        {kPrintPlan,
         QStringLiteral(
             "Print layout, limits and shader text of the instance data, and exit. Without a FILE: for as "
             "many objects as the mechanism allows.")}};
}

void readTransport(Reader &reader, Options &options)
{
    reader.readName<ManagerKind>(kManager, options.manager, kManagerNames);
    reader.readName<MechanismKind>(kMechanism, options.mechanism, kMechanismNames);
    reader.readNumber(kBlockLimit, options.blockLimit, 256, 1 << 30);
    reader.readName<DrawIDPath>(kDrawID, options.drawIDPath, kDrawIDNames);
    options.isPacked = reader.isSet(kPacked);
    if (options.isPacked && reader.isSet(kDrawID)) {
        reader.refuse(QStringLiteral("--packed and --draw-id exclude each other"));
    }
}

QList<QCommandLineOption> imageOptions()
{
    return {
        {kLevel, QStringLiteral("Mip level of an image to show (default: 0)."), QStringLiteral("n")},
        {kFace,
         QStringLiteral("The one face of a cube map (0 to 5: +x, -x, +y, -y, +z, -z) or slice of a volume "
                        "to show."),
         QStringLiteral("n")}};
}

void readImage(Reader &reader, Options &options)
{
    reader.readNumber(kLevel, options.level, 0, 31);
    reader.readNumber(kFace, options.face, 0, kMaxSlices);
}

QList<QCommandLineOption> measureOptions()
{
    return {{kStats, QStringLiteral("Measure frames, and print what they consist of and cost.")},
            {kStress,
             QStringLiteral(
                 "Fly through this many bodies of 32 materials instead of showing a FILE; without shadows, "
                 "unless --lights is given."),
             QStringLiteral("n")},
            {kFrames,
             QStringLiteral("With --stress and --offscreen: number of frames to measure (default: 60)."),
             QStringLiteral("k")}};
}

void readMeasures(Reader &reader, Options &options)
{
    options.printsStatistics = reader.isSet(kStats);
    reader.readNumber(kStress, options.stressBodies, 1, kMaxBodies);
    if (reader.isSet(kStress)) {
        options.lights = LightRig::eNone;
    }
    if (reader.isSet(kFrames) && (options.stressBodies == 0 || options.picture.isEmpty())) {
        reader.refuse(QStringLiteral("--frames needs --stress and --offscreen"));
    }
    reader.readNumber(kFrames, options.frames, 1, kMaxFrames);
}

/// Reads FILE, or the option that replaces it.
void readSource(Reader &reader, QStringList names, const QString &tiles, Options &options)
{
    options.printsPlan = reader.isSet(kPrintPlan);
    options.isUdim = reader.isSet(kUdim);
    if (options.isUdim) {
        names.prepend(tiles);
    }
    options.file = names.value(0);
    const bool needsNoFile = options.printsPlan || reader.isSet(kStress);
    if (reader.isSet(kStress) && !names.isEmpty()) {
        reader.refuse(QStringLiteral("--stress and FILE exclude each other"));
    } else if (options.isUdim && names.size() > 1) {
        reader.refuse(QStringLiteral("--udim and FILE exclude each other"));
    } else if (names.size() > 1) {
        reader.refuse(QStringLiteral("zelview shows one FILE at a time, not %1: '%2'")
                          .arg(names.size())
                          .arg(names.join(QStringLiteral("', '"))));
    } else if (options.file.isEmpty() && !(needsNoFile && names.isEmpty())) {
        reader.refuse(QStringLiteral("no FILE is given"));
    }
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

QString environmentLayoutName(EnvironmentLayout layout)
{
    return kLayoutNames[int(layout)];
}

QString Options::subject() const
{
    return stressBodies > 0 ? QStringLiteral("the scene of --stress") : QStringLiteral("'%1'").arg(file);
}

Expected<Options> parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(kDescription));
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral("A model: glTF 2, OBJ, PLY, or another format that assimp reads. Or an image: "
                       "KTX, HDR, ASTC, or a format that Qt reads."),
        QStringLiteral("FILE"));
    const QList<QCommandLineOption> ofModels =
        cameraOptions() + lightOptions() + environmentOptions() + transportOptions();
    parser.addOptions(pictureOptions() + ofModels + imageOptions());
    parser.addOption(
        {kUdim,
         QStringLiteral(
             "Show a plane of UDIM tiles instead of a FILE: a folder, or a name with <UDIM> in it."),
         QStringLiteral("tiles")});
    parser.addOptions(measureOptions());
    parser.addOption(
        {kShaders,
         QStringLiteral("Use zelview's own shaders from a folder. A window builds a shader again "
                        "when its file changes; while that fails, the picture shows the reason."),
         QStringLiteral("folder")});
    parser.addOptions({{kVerbose, QStringLiteral("Print debug messages, including those of the driver.")},
                       {{QStringLiteral("h"), kHelp}, QStringLiteral("Print this help.")},
                       {kVersion, QStringLiteral("Print the version.")}});
    if (!parser.parse(arguments)) {
        QString text = parser.errorText();
        text.chop(text.endsWith(QLatin1Char('.')) ? 1 : 0);
        return usageProblem(text);
    }

    Options options;
    options.verbose = parser.isSet(kVerbose);
    if (parser.isSet(kHelp)) {
        options.printedText = parser.helpText();
        return options;
    }
    if (parser.isSet(kVersion)) {
        options.printedText = QStringLiteral("zelview %1\n").arg(QStringLiteral(ZELVIEW_VERSION));
        return options;
    }

    Reader reader(parser);
    readSource(reader, parser.positionalArguments(), parser.value(kUdim), options);
    readPicture(reader, options);
    readCamera(reader, options);
    readMeasures(reader, options);
    readEnvironment(reader, options);
    readLights(reader, options);
    readTransport(reader, options);
    readImage(reader, options);
    reader.readText(kShaders, options.shaders, "the name of a folder");
    if (reader.failure()) {
        return *reader.failure();
    }
    options.modelOption = reader.firstSet(ofModels);
    options.imageOption = reader.firstSet(imageOptions());
    return options;
}

} // namespace zelview
