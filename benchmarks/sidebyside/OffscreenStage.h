#pragma once

#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLFramebufferObject>

#include <memory>

class QGuiApplication;

/// A core profile context with the library's functions loaded, and a framebuffer with depth to draw into. Nothing is
/// ever swapped: what is measured is the submission alone.
class OffscreenStage
{
public:
    /// Null, with a line on stderr, where there is no display or no context.
    static std::unique_ptr<OffscreenStage> create(int width, int height);
    ~OffscreenStage();

    /// Makes sure that the work of a frame is counted in it: a software driver does it in threads of its own, an idle
    /// or a real one gets the commands only.
    void endFrame();

    /// The picture so far, as an image file by its suffix.
    bool save(const QString &file);

private:
    OffscreenStage();

    bool make(int width, int height);

    std::unique_ptr<QGuiApplication> _application;
    QOffscreenSurface _surface;
    QOpenGLContext _context;
    std::unique_ptr<QOpenGLFramebufferObject> _framebuffer;
    bool _softwareDriver = false;
};
