#include "app/ImageExhibit.h"

#include "file/Console.h"
#include "frame/Options.h"
#include "image/ImageFile.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/EnvironmentImage.h>

#include <QtCore/QElapsedTimer>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

constexpr float kZoomStep = 1.15f;
constexpr float kExposureStep = 0.5f; ///< powers of two
constexpr int kBandAspect = 8;        ///< of a one-dimensional image, width by height

QString samplerFile(unsigned int target)
{
    switch (target) {
    case GL_TEXTURE_1D:
        return QStringLiteral("Image1D.glslh");
    case GL_TEXTURE_3D:
        return QStringLiteral("Image3D.glslh");
    case GL_TEXTURE_CUBE_MAP:
        return QStringLiteral("ImageCube.glslh");
    default:
        return QStringLiteral("Image2D.glslh");
    }
}

} // namespace

ImageExhibit::ImageExhibit(const Options &options)
    : _path(options.file)
    , _level(options.level)
    , _panel(options.face)
    , _exposure(options.exposure)
{
}

ImageExhibit::~ImageExhibit() = default;

Expected<std::unique_ptr<Exhibit>> ImageExhibit::load(const Options &options)
{
    if (!options.modelOption.isEmpty()) {
        return Problem{ExitCode::eUsage, QStringLiteral("--%1 applies to models; '%2' is an image")
                                             .arg(options.modelOption, options.file)};
    }
    return std::unique_ptr<Exhibit>(new ImageExhibit(options));
}

QStringList ImageExhibit::describe() const
{
    QStringList lines{
        QStringLiteral("image     %1, loaded in %2 ms").arg(_facts.toString()).arg(_loadTime, 0, 'f', 1)};
    if (!_metadataKeys.isEmpty()) {
        lines.append(QStringLiteral("metadata  ") + _metadataKeys.join(QStringLiteral(", ")));
    }
    return lines;
}

Failure ImageExhibit::createGLObjects(Programs &programs, const Options &)
{
    Failure failure = loadTexture();
    if (!failure) {
        failure = checkChoice();
    }
    if (failure) {
        return failure;
    }
    setSampling();
    programs.processor()->addMacro(QStringLiteral("ZELVIEW_IMAGE"),
                                   QStringLiteral("#include \"%1\"").arg(samplerFile(_facts.target)));
    Expected<ProgramPointer> program = programs.buildFullscreen(QStringLiteral("image.frag"));
    if (!program) {
        return program.problem();
    }
    _program = *program;
    return {};
}

Failure ImageExhibit::loadTexture()
{
    _rowsGoUp = Orvane::ZelKit::EnvironmentImage::isFirstRowLowest(_path);
    _metadataKeys = metadataKeys(_path);
    QElapsedTimer timer;
    timer.start();
    QString reason;
    _texture = loadImage(_path, reason);
    _loadTime = double(timer.nsecsElapsed()) * 1e-6;
    if (_texture != nullptr) {
        _facts = TextureFacts::of(*_texture);
        reason = _facts.kind == TextureFacts::eInteger ? QStringLiteral("it holds integers, not colours")
                                                       : QString();
    }
    return reason.isEmpty()
               ? Failure()
               : Problem{ExitCode::eInput, QStringLiteral("'%1' cannot be shown: %2").arg(_path, reason)};
}

Failure ImageExhibit::checkChoice() const
{
    const auto check = [this](const char *what, int number, int count) {
        return number < count ? Failure()
                              : Problem{ExitCode::eUsage,
                                        QStringLiteral("there is no %1 %2: '%4' has %3, counted from 0")
                                            .arg(QLatin1String(what))
                                            .arg(number)
                                            .arg(count)
                                            .arg(_path)};
    };
    const Failure failure = check("level", _level, _facts.levels);
    const bool isCube = _facts.target == GL_TEXTURE_CUBE_MAP;
    return failure ? failure : check(isCube ? "face" : "slice", _panel, panelsOfLevel());
}

void ImageExhibit::setSampling()
{
    const AutoBinder bound(_texture.get());
    const unsigned int target = _facts.target;
    for (const GLenum axis : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R}) {
        glTexParameteri(target, axis, GL_CLAMP_TO_EDGE);
    }
    glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, _facts.levels - 1);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, _facts.levels > 1 ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST); // magnified texels stay sharp
}

void ImageExhibit::releaseGLObjects()
{
    _texture.reset();
    _program.reset();
}

void ImageExhibit::frame(const QSize &)
{
    _zoom = 1.0f;
    _shift = QVector2D();
}

int ImageExhibit::panelsOfLevel() const
{
    return _facts.target == GL_TEXTURE_CUBE_MAP ? 6 : _facts.depthAt(_level);
}

int ImageExhibit::panelsShown() const
{
    return _panel < 0 ? panelsOfLevel() : 1;
}

QSize ImageExhibit::grid() const
{
    const int panels = panelsShown();
    const int columns =
        _facts.target == GL_TEXTURE_CUBE_MAP ? panels : int(std::ceil(std::sqrt(double(panels))));
    return {columns, (panels + columns - 1) / columns};
}

void ImageExhibit::draw(const QSize &viewport)
{
    QSizeF panel = _facts.sizeAt(_level);
    if (_facts.target == GL_TEXTURE_1D) {
        panel.setHeight(std::max(panel.width() / kBandAspect, 1.0));
    }
    const QSizeF columnsAndRows = grid();
    const QSizeF whole(panel.width() * columnsAndRows.width(), panel.height() * columnsAndRows.height());
    const double enlargement =
        _zoom * std::min(viewport.width() / whole.width(), viewport.height() / whole.height());
    const QVector2D scale(float(viewport.width() / (enlargement * panel.width())),
                          float(viewport.height() / (enlargement * panel.height())));
    const QVector2D shift(_shift.x() * float(viewport.height()) / float(viewport.width()), _shift.y());
    const QVector2D middle = 0.5f * QVector2D(float(columnsAndRows.width()), float(columnsAndRows.height()));

    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoBinder boundImage(_texture.get());
    glTexParameteri(_facts.target, GL_TEXTURE_BASE_LEVEL, _level);
    const AutoBinder boundProgram(_program.data());
    const auto set = [&](const char *name, const QVariant &value) {
        _program->setUniform(QLatin1String(name), value);
    };
    set("u_Image", int(_texture->unit()));
    set("u_Scale", scale);
    set("u_Middle", middle - shift * scale);
    set("u_Columns", grid().width());
    set("u_Rows", grid().height());
    set("u_Panels", panelsShown());
    set("u_FirstPanel", std::max(_panel, 0));
    set("u_Depth", _facts.depthAt(_level));
    set("u_RowsGoUp", _rowsGoUp);
    set("u_IsEncoded", _facts.kind == TextureFacts::eEncoded);
    set("u_IsGrey", _facts.isGrey);
    set("u_IsFloat", _facts.kind == TextureFacts::eFloat);
    set("u_Exposure", _exposure);
    drawFullscreen(_program.data());
}

QStringList ImageExhibit::describeFrame() const
{
    const QSize size = _facts.sizeAt(_level);
    return {
        QStringLiteral("view      level %1, %2x%3, %4, exposure %5")
            .arg(_level)
            .arg(size.width())
            .arg(size.height())
            .arg(_panel < 0 ? QStringLiteral("all of it") : QStringLiteral("face or slice %1").arg(_panel))
            .arg(double(_exposure))};
}

bool ImageExhibit::isDithered() const
{
    return _facts.kind == TextureFacts::eFloat;
}

void ImageExhibit::drag(DragKind, const QVector2D &way)
{
    _shift += way;
}

void ImageExhibit::zoom(float steps)
{
    const float factor = std::pow(kZoomStep, steps);
    _zoom *= factor;
    _shift *= factor;
}

bool ImageExhibit::key(int key)
{
    if (key >= Qt::Key_0 && key <= Qt::Key_6) {
        _panel = key - Qt::Key_1;
    } else if (key == Qt::Key_Right || key == Qt::Key_Left) {
        _level += key == Qt::Key_Right ? 1 : -1;
        _level = std::clamp(_level, 0, _facts.levels - 1);
    } else if (key == Qt::Key_Up || key == Qt::Key_Down) {
        _exposure += key == Qt::Key_Up ? kExposureStep : -kExposureStep;
    } else {
        return false;
    }
    _panel = std::min(_panel, panelsOfLevel() - 1); // a deeper level of a volume has fewer slices
    return true;
}

} // namespace zeltools
