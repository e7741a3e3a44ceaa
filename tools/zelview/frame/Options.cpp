#include "frame/Options.h"

#include "file/CommandLine.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtGui/QImageWriter>

namespace zeltools {

namespace {

constexpr int kMaxSide = 16384;         ///< pixels
constexpr int kMaxPixels = 4096 * 4096; ///< about 1 GB of multisampled framebuffer
constexpr float kMaxExposure = 20.0f;
constexpr int kMaxSamples = 32;
constexpr int kMaxLevel = 31;
constexpr int kMaxSlices = 16384;
constexpr int kMaxCascades = 8;

/// By EdgeFilter.
const QStringList kEdgeFilterNames{QStringLiteral("none"), QStringLiteral("fxaa"), QStringLiteral("smaa")};

/// By LightRig.
const QStringList kRigNames{QStringLiteral("none"), QStringLiteral("sun"), QStringLiteral("rig"),
                            QStringLiteral("file")};

/// By EnvironmentLayout.
const QStringList kLayoutNames{QStringLiteral("latlong"), QStringLiteral("cross"), QStringLiteral("strip")};
static_assert(kEnvironmentLayouts == 3, "each has a name");

/// By ManagerKind.
const QStringList kManagerNames{QStringLiteral("sampler"), QStringLiteral("array"),
                                QStringLiteral("array-bindless"), QStringLiteral("bindless")};
static_assert(kManagerKinds == 4, "each has a name");

// Options that do not apply to the other kind of file.
constexpr auto kModelOptions = {"view",     "camera",  "pick",           "lights",    "csm",
                                "variance", "ground",  "stable-shadows", "env",       "env-layout",
                                "env-blur", "manager", "env-rotation",   "mechanism", "packed"};
constexpr auto kImageOptions = {"level", "face"};

constexpr char kDescription[] =
    "Shows a model or an image in a window, or writes a picture of it.\n\n"
    "Window:  left button turns; middle, right or Shift and left button moves; wheel, + and - zoom;\n"
    "         Home shows everything; F shows statistics; Escape closes.\n"
    "Models:  V next camera of the file; Up, Down exposure; Left, Right turn the environment;\n"
    "         a click or N selects a material, O shows it alone, X leaves it out, A shows all;\n"
    "         Z freezes the culling frustum, and shows what it culls as ghosts;\n"
    "         G ground; shadows: S layers, C cascades in colours, L volumes of the lights;\n"
    "         M next texture manager, D its slots, I next mechanism for instance data,\n"
    "         P draws a packed scene or single parts.\n"
    "Images:  Left, Right level; 1 to 6 a face or slice, 0 all of them; Up, Down exposure.\n\n"
    "Exit codes: 0 success, 1 wrong usage, 2 a file cannot be read or written,\n"
    "3 a file is malformed or unsupported, 4 no display or no usable driver.";

/// Two numbers with this text between them; null if the text has another form.
template <typename Pair> std::optional<Pair> parsePair(const QString &text, const char *form)
{
    const QRegularExpressionMatch match =
        QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(form))).match(text);
    return match.hasMatch() ? std::optional<Pair>({match.captured(1).toInt(), match.captured(2).toInt()})
                            : std::nullopt;
}

/// Adds the options to the command line, and checks what they mean together.
class Parser
{
public:
    Parser()
        : _line("zelview", kDescription)
    {
        _line.describeFile("A model: glTF 2, OBJ, PLY, or another format that assimp reads. Or an image: "
                           "KTX, HDR, ASTC, or a format that Qt reads.");
        addPicture();
        addCamera();
        addLights();
        addEnvironment();
        addTransports();
        addImage();
        addRest();
    }

    Failure parse(const QStringList &arguments)
    {
        if (const Failure failure = _line.parse(arguments)) {
            return failure;
        }
        options.printedText = _line.printedText();
        if (!options.printedText.isEmpty()) {
            return {};
        }
        if (options.edgeFilter != EdgeFilter::eNone && !_line.isSet("samples")) {
            options.samples = 1;
        }
        options.shadowKind = _isVariance ? ShadowKind::eVariance : ShadowKind::eDepth;
        options.modelOption = _line.firstSet(kModelOptions);
        options.imageOption = _line.firstSet(kImageOptions);
        if (const Failure failure = _line.refuseSeveral(_line.files())) {
            return failure;
        }
        const QString conflict = findConflict();
        return conflict.isEmpty() ? Failure() : _line.problem(conflict);
    }

    Options options;

private:
    void addPicture();
    void addCamera();
    void addLights();
    void addEnvironment();
    void addTransports();
    void addImage();
    void addRest();
    QString findConflict();

    Failure takePicture(const QString &text);
    Failure takeSize(const QString &text);
    Failure takeView(const QString &text);

    CommandLine _line;
    QString _tiles;
    bool _isVariance = false;
};

void Parser::addPicture()
{
    _line.add("offscreen", "file",
              QStringLiteral("Write the picture to <file> (PNG) instead of opening a window."),
              [this](const QString &text) { return takePicture(text); });
    _line.add("size", "WxH", QStringLiteral("Size of the picture or window (default: 1280x720)."),
              [this](const QString &text) { return takeSize(text); });
    _line.addNumber(
        "samples", "n",
        QStringLiteral("Samples per pixel, 1 to %1 (default: 8), or as many as the driver supports.")
            .arg(kMaxSamples),
        options.samples, 1, kMaxSamples);
    _line.addName<EdgeFilter>(
        "aa", "filter",
        QStringLiteral("Smooth the edges of the finished picture: 'none', 'fxaa' or 'smaa' (default: none). "
                       "Replaces multisampling, unless --samples is given too."),
        options.edgeFilter, kEdgeFilterNames);
    _line.addReal(
        "exposure", "ev",
        QStringLiteral("Exposure of an image, or of the light on a model, as a power of two (default: 0)."),
        options.exposure, -kMaxExposure, kMaxExposure);
}

Failure Parser::takePicture(const QString &text)
{
    options.picture = text;
    if (text.isEmpty()) {
        return _line.problem(QStringLiteral("--offscreen takes the name of a file"));
    }
    const QByteArray suffix = QFileInfo(text).suffix().toLower().toLatin1();
    if (suffix != "png" && QImageWriter::supportedImageFormats().contains(suffix)) {
        return _line.problem(
            QStringLiteral("--offscreen writes PNG files; '%1' names another format").arg(text));
    }
    return {};
}

Failure Parser::takeSize(const QString &text)
{
    const std::optional<QSize> size = parsePair<QSize>(text, "(\\d{1,9})x(\\d{1,9})");
    if (!size || size->isEmpty()) {
        return _line.problem(QStringLiteral("--size takes WxH, such as 1280x720, not '%1'").arg(text));
    }
    if (size->width() > kMaxSide || size->height() > kMaxSide
        || qint64(size->width()) * size->height() > kMaxPixels) {
        return _line.problem(
            QStringLiteral("--size %1 is too large: a side has at most %2 pixels, a picture %3")
                .arg(text)
                .arg(kMaxSide)
                .arg(kMaxPixels));
    }
    options.size = *size;
    return {};
}

void Parser::addCamera()
{
    _line.add("view", "a,e",
              QStringLiteral("Where to look from: azimuth and elevation in degrees (default: 35,22)."),
              [this](const QString &text) { return takeView(text); });
    _line.addText("camera", "name",
                  QStringLiteral("Look through a camera of the file, by its name or its number from 0."),
                  options.camera, "a name or a number");
    _line.add("pick", "x,y",
              QStringLiteral(
                  "With --offscreen: print the material at a pixel, counted from the upper left corner."),
              [this](const QString &text) {
                  options.pick = parsePair<QPoint>(text, "(\\d{1,9}),(\\d{1,9})");
                  return !options.pick || !QRect(QPoint(), options.size).contains(*options.pick)
                             ? _line.problem(
                                 QStringLiteral("--pick takes X,Y inside the picture of %1x%2, not '%3'")
                                     .arg(options.size.width())
                                     .arg(options.size.height())
                                     .arg(text))
                             : Failure();
              });
}

Failure Parser::takeView(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    bool isAzimuth = false;
    bool isElevation = false;
    options.azimuth = parts.value(0).toFloat(&isAzimuth);
    options.elevation = parts.value(1).toFloat(&isElevation);
    // The comparison is false for NaN.
    if (parts.size() == 2 && isAzimuth && isElevation && qAbs(options.azimuth) <= 360.0f
        && qAbs(options.elevation) <= 89.0f) {
        return {};
    }
    return _line.problem(
        QStringLiteral("--view takes AZIMUTH,ELEVATION in degrees, up to 360,89 and such as 35,22, not '%1'")
            .arg(text));
}

void Parser::addLights()
{
    _line.addName<LightRig>(
        "lights", "name",
        QStringLiteral(
            "Lights that cast shadows: 'none', 'sun' (with --env, the strongest light of the environment), "
            "'rig' (two spot lights and a point light) or 'file' (those of the model file) (default: sun)."),
        options.lights, kRigNames);
    _line.addNumber(
        "csm", "n",
        QStringLiteral("Number of cascades of the sun's shadow, 1 to %1 (default: 4).").arg(kMaxCascades),
        options.cascades, 1, kMaxCascades);
    _line.addFlag(
        "variance",
        QStringLiteral(
            "Use variance shadow maps: one lookup in a blurred layer instead of many in a plain one."),
        _isVariance);
    _line.addFlag(
        "stable-shadows",
        QStringLiteral(
            "Keep the edges of the sun's shadow from shimmering while the view moves. The shadow is "
            "a little coarser."),
        options.areShadowsStable);
    _line.addFlag("ground", QStringLiteral("Show a ground that receives the shadow of the model."),
                  options.hasGround);
}

void Parser::addEnvironment()
{
    _line.addText(
        "env", "image",
        QStringLiteral("Light a model with an environment image, and show it as the background: HDR, EXR, "
                       "a KTX cube map, or any format that Qt reads."),
        options.environment, "the name of a file");
    _line.addName<EnvironmentLayout>(
        "env-layout", "layout",
        QStringLiteral("Layout of that image: 'latlong' (2:1), 'cross' (4:3 or 3:4) or 'strip' (6:1) "
                       "(default: the one that its aspect ratio suggests)."),
        options.environmentLayout, kLayoutNames);
    _line.addReal("env-rotation", "angle",
                  QStringLiteral("Turn the environment around the vertical axis, in degrees (default: 0)."),
                  options.environmentRotation, -360.0f, 360.0f);
    _line.addReal("env-blur", "amount", QStringLiteral("Blur the background, from 0 to 1 (default: 0)."),
                  options.environmentBlur, 0.0f, 1.0f);
}

/// Options for what the library can do in several ways.
void Parser::addTransports()
{
    _line.addName<ManagerKind>(
        "manager", "name",
        QStringLiteral("Texture manager: 'sampler', 'array', 'array-bindless' or 'bindless' (default: array "
                       "for models with UDIM tiles, otherwise sampler)."),
        options.manager, kManagerNames);
    _line.addName<MechanismKind>(
        "mechanism", "name",
        QStringLiteral("How matrices and materials reach the shaders: 'ubo', 'uniform', 'texbuffer', "
                       "'texture' or 'ssbo' (default: ubo)."),
        options.mechanism, mechanismNames());
    _line.addFlag(
        "packed",
        QStringLiteral("Draw a packed scene: one call for each material if the driver has indirect draws. "
                       "The picture is the same."),
        options.isPacked);
}

void Parser::addImage()
{
    _line.addNumber("level", "n", QStringLiteral("Mip level of an image to show (default: 0)."),
                    options.level, 0, kMaxLevel);
    _line.addNumber(
        "face", "n",
        QStringLiteral("The one face of a cube map (0 to 5: +x, -x, +y, -y, +z, -z) or slice of a volume "
                       "to show."),
        options.face, 0, kMaxSlices);
}

void Parser::addRest()
{
    _line.add("udim", "tiles",
              QStringLiteral(
                  "Show a plane of UDIM tiles instead of a FILE: a folder, or a name with <UDIM> in it."),
              [this](const QString &text) {
                  options.isUdim = true;
                  _tiles = text;
                  return Failure();
              });
    _line.addFlag("stats", QStringLiteral("Measure a frame, and print what it consists of and costs."),
                  options.printsStatistics);
    _line.addText("shaders", "folder",
                  QStringLiteral("Use zelview's own shaders from a folder. A window builds a shader again "
                                 "when its file changes; while that fails, the picture shows the reason."),
                  options.shaders, "the name of a folder");
    _line.addFlag("verbose", QStringLiteral("Print debug messages, including those of the driver."),
                  options.verbose);
}

/// What options and files contradict each other, as a message; empty if none do.
QString Parser::findConflict()
{
    const QStringList names = (options.isUdim ? QStringList(_tiles) : QStringList()) + _line.files();
    options.file = names.value(0);
    if (options.isUdim && names.size() > 1) {
        return QStringLiteral("--udim and FILE exclude each other");
    }
    if (options.file.isEmpty()) {
        return QStringLiteral("no FILE is given");
    }
    if (_line.isSet("camera") && _line.isSet("view")) {
        return QStringLiteral("--camera and --view exclude each other");
    }
    if (options.pick && options.picture.isEmpty()) {
        return QStringLiteral("--pick needs --offscreen");
    }
    const QString ofImage = _line.firstSet({"env-layout", "env-rotation", "env-blur"});
    if (!ofImage.isEmpty() && !_line.isSet("env")) {
        return QStringLiteral("--%1 needs --env").arg(ofImage);
    }
    const QString ofShadows = _line.firstSet({"csm", "variance", "stable-shadows"});
    if (options.lights == LightRig::eNone && !ofShadows.isEmpty()) {
        return QStringLiteral("--%1 needs --lights other than 'none'").arg(ofShadows);
    }
    return {};
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

Expected<Options> parseOptions(const QStringList &arguments)
{
    Parser parser;
    if (const Failure failure = parser.parse(arguments)) {
        return *failure;
    }
    return parser.options;
}

} // namespace zeltools
