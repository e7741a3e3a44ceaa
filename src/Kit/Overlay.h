#pragma once

#include "KitExport.h"

#include <QtCore/QSize>
#include <QtCore/QStringList>

#include <memory>

namespace Orvane { namespace Zel {
class ShaderProgram;
class Texture;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

class OwnContext;

/// Lines of text in the upper left corner of a finished picture, painted by QPainter; they break where the viewport ends.
///
/// \snippet kit.cpp Overlay
///
/// - Units: sizes in pixels.
/// - Context: create, use and delete with the same context current. Needs a QGuiApplication, for the font.
/// - Errors: create() returns null, and explains why.
class ZELKIT_EXPORT Overlay
{
    Q_DISABLE_COPY(Overlay)

public:
    static std::unique_ptr<Overlay> create(QString *error = nullptr);
    ~Overlay();

    /// Characters by which the rest of a broken line is indented, if that leaves enough width; initially 4.
    void setIndent(int characters);

    /// Draws over the bound framebuffer, which holds sRGB. \a scale: pixels per device-independent pixel. Paints the text only
    /// if it differs from that of the last call. Sets the blend function, and the viewport to all of \a viewport.
    void draw(const QStringList &lines, const QSize &viewport, qreal scale = 1.0);

private:
    ZELKIT_NO_EXPORT explicit Overlay(std::unique_ptr<Zel::ShaderProgram> program);

    ZELKIT_NO_EXPORT bool repaint(const QStringList &lines, const QSize &viewport, qreal scale);

    std::unique_ptr<OwnContext> _context;
    std::unique_ptr<Zel::ShaderProgram> _program;
    int _indent = 4;

    // What the texture shows.
    std::unique_ptr<Zel::Texture> _text;
    QSize _size; ///< of the texture
    QStringList _lines;
    QSize _viewport;
    qreal _scale = 0.0;
};

}} // namespace Orvane::ZelKit
