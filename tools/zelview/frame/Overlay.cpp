#include "frame/Overlay.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QFontDatabase>
#include <QtGui/QFontMetricsF>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <cmath>

using namespace Orvane::Zel;

namespace zelview {

namespace {

constexpr int kTextHeight = 13; ///< in device-independent pixels, like the following lengths
constexpr qreal kMargin = 10.0;
constexpr qreal kPadding = 8.0;
constexpr int kValueColumn = 10; ///< characters before the values of a report
constexpr int kMinCharacters = 8;

/// Breaks lines so that none has more than \a most characters, at blanks if possible. Continuation lines are indented to
/// the column of values, if that leaves enough width.
QStringList breakLines(const QStringList &lines, int most)
{
    most = qMax(most, kMinCharacters);
    const QString indent(most >= 3 * kValueColumn ? kValueColumn : 2, QLatin1Char(' '));
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

/// The text on a dark rectangle, premultiplied. Without its padding it is at most \a maxWidth wide.
QImage paint(const QStringList &lines, qreal maxWidth, qreal scale)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(kTextHeight);
    const QFontMetricsF metrics(font);
    const QStringList broken = breakLines(lines, int(maxWidth / metrics.horizontalAdvance(QLatin1Char('0'))));
    qreal width = 0.0;
    for (const QString &line : broken) {
        width = qMax(width, metrics.horizontalAdvance(line));
    }
    const QSizeF size(width + 2.0 * kPadding, broken.size() * metrics.lineSpacing() + 2.0 * kPadding);
    QImage image((size * scale).toSize().expandedTo(QSize(1, 1)), QImage::Format_RGBA8888_Premultiplied);
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
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, rows.width(), rows.height(), GL_RGBA, GL_UNSIGNED_BYTE,
                    rows.constBits());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    return texture;
}

} // namespace

Overlay::Overlay(ProgramPointer program)
    : _program(std::move(program))
{
}

Overlay::~Overlay() = default;

Expected<std::unique_ptr<Overlay>> Overlay::create(Programs &programs)
{
    Expected<ProgramPointer> program = programs.buildFullscreen(QStringLiteral("overlay.frag"));
    if (!program) {
        return program.problem();
    }
    return std::unique_ptr<Overlay>(new Overlay(*program));
}

void Overlay::draw(const QStringList &lines, const QSize &viewport, qreal scale)
{
    const qreal maxWidth = viewport.width() / scale - 2.0 * (kMargin + kPadding);
    const QImage image = paint(lines, maxWidth, scale);
    const std::unique_ptr<Texture> texture = toTexture(image);
    const int margin = int(std::lround(kMargin * scale));
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glViewport(margin, viewport.height() - margin - image.height(), image.width(), image.height());
    const AutoBinder boundTexture(texture.get());
    const AutoBinder boundProgram(_program.data());
    _program->setUniform(_program->getUniformLocation(QStringLiteral("u_Text")), int(texture->unit()));
    drawFullscreen(_program.data());
    glViewport(0, 0, viewport.width(), viewport.height());
}

} // namespace zelview
