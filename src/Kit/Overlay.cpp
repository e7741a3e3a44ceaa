#include "Overlay.h"

#include "DrawScope.h"
#include "private/Failure.h"
#include "private/FullscreenProgram.h"
#include "private/Library.h"
#include "private/Orphans.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QFontDatabase>
#include <QtGui/QFontMetricsF>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <cmath>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kTextHeight = 13; ///< in device-independent pixels, like the following lengths
constexpr qreal kMargin = 10.0;
constexpr qreal kPadding = 8.0;
constexpr int kMinCharacters = 8;

// One texel per pixel; the text is sRGB, premultiplied.
const char kFragment[] = R"(#version 150
uniform sampler2D u_Text;
in vec2 vo_TexCoord;
out vec4 out_FragColor;
void main()
{
    out_FragColor = texture(u_Text, vo_TexCoord);
}
)";

/// Breaks lines so that none has more than \a most characters, at blanks if possible. Continuation lines are indented, if
/// that leaves enough width.
QStringList breakLines(const QStringList &lines, int most, int indentation)
{
    most = qMax(most, kMinCharacters);
    const QString indent(most >= 3 * indentation ? indentation : 2, QLatin1Char(' '));
    QStringList broken;
    for (QString line : lines) {
        while (line.size() > most) {
            const int blank = line.lastIndexOf(QLatin1Char(' '), most);
            const bool hasBlank = blank > indent.size();
            const int end = hasBlank ? blank : most;
            broken.append(line.left(end));
            line = indent + line.mid(hasBlank ? end + 1 : end);
        }
        broken.append(line);
    }
    return broken;
}

/// The text on a dark rectangle, premultiplied; no larger than the viewport, where the rest would not be visible.
QImage paint(const QStringList &lines, const QSize &viewport, qreal scale, int indentation)
{
    const qreal maxWidth = viewport.width() / scale - 2.0 * (kMargin + kPadding);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(kTextHeight);
    const QFontMetricsF metrics(font);
    const QStringList broken =
        breakLines(lines, int(maxWidth / metrics.horizontalAdvance(QLatin1Char('0'))), indentation);
    qreal width = 0.0;
    for (const QString &line : broken) {
        width = qMax(width, metrics.horizontalAdvance(line));
    }
    const QSizeF size(width + 2.0 * kPadding, broken.size() * metrics.lineSpacing() + 2.0 * kPadding);
    QImage image((size * scale).boundedTo(viewport).toSize().expandedTo(QSize(1, 1)),
                 QImage::Format_RGBA8888_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(QColor(12, 14, 18, 190));
    QPainter painter(&image);
    painter.setFont(font);
    painter.setPen(QColor(235, 238, 242));
    qreal baseline = kPadding + metrics.ascent();
    for (const QString &line : broken) {
        painter.drawText(QPointF(kPadding, baseline), line);
        baseline += metrics.lineSpacing();
    }
    return image;
}

/// A texture of the image, rows in GL's order.
std::unique_ptr<Texture> toTexture(const QImage &image)
{
    const QImage rows = image.mirrored();
    auto texture = std::make_unique<Texture>(nullptr);
    texture->create2D(GL_TEXTURE_2D, GL_RGBA8, rows.width(), rows.height());
    const AutoBinder bound(texture.get());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, rows.width(), rows.height(), GL_RGBA, GL_UNSIGNED_BYTE,
                    rows.constBits());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    return texture;
}

} // namespace

Overlay::Overlay(std::unique_ptr<ShaderProgram> program)
    : _context(std::make_unique<OwnContext>())
    , _program(std::move(program))
{
}

Overlay::~Overlay()
{
    keepWithoutContext(*_context, "overlay", _program, _text);
}

std::unique_ptr<Overlay> Overlay::create(QString *error)
{
    if (!isLibraryReady(error)) {
        return nullptr;
    }
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()) == nullptr) {
        fail(error, QStringLiteral("an overlay needs a QGuiApplication, which has the fonts"));
        return nullptr;
    }
    auto program = std::make_unique<ShaderProgram>(nullptr);
    program->addShaderFromFile(GL_VERTEX_SHADER, QStringLiteral("passthroughVS.glslc"));
    program->addShader(GL_FRAGMENT_SHADER, QString::fromLatin1(kFragment), QString());
    if (!program->link()) {
        fail(error, QStringLiteral("the driver rejects the shader of the overlay"));
        return nullptr;
    }
    return std::unique_ptr<Overlay>(new Overlay(std::move(program)));
}

void Overlay::setIndent(int characters)
{
    _indent = qMax(characters, 0);
    _scale = 0.0; // draw() repaints; the context need not be current here
}

void Overlay::draw(const QStringList &lines, const QSize &viewport, qreal scale)
{
    if (!isLibraryReady(nullptr) || !_context->isCurrent("overlay") || !repaint(lines, viewport, scale)) {
        return;
    }
    const int margin = int(std::lround(kMargin * scale));
    const PassState state;
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glViewport(margin, viewport.height() - margin - _size.height(), _size.width(), _size.height());
    const AutoBinder boundTexture(_text.get());
    DrawScope scope(_program.get());
    _program->setUniform(_program->getUniformLocation(QStringLiteral("u_Text")), int(_text->unit()));
    scope.draw(OpenGLDeviceContext::current()->fullscreenQuad().data());
    glViewport(0, 0, viewport.width(), viewport.height());
}

bool Overlay::repaint(const QStringList &lines, const QSize &viewport, qreal scale)
{
    if (viewport.isEmpty() || !(scale > 0.0)) {
        fail(nullptr, QStringLiteral("an overlay needs a viewport and a scale greater than 0"));
        return false;
    }
    if (_text == nullptr || lines != _lines || viewport != _viewport || scale != _scale) {
        const QImage image = paint(lines, viewport, scale, _indent);
        _text = toTexture(image);
        _size = image.size();
        _lines = lines;
        _viewport = viewport;
        _scale = scale;
    }
    return true;
}

}} // namespace Orvane::ZelKit
