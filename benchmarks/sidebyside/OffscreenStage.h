#pragma once

#include <ZelKit/HeadlessContext.h>

#include <QtGui/QOpenGLFramebufferObject>

#include <memory>

/// A core profile context with the library's functions loaded, and a framebuffer with depth. It never swaps buffers, so
/// that only the submission is measured.
class OffscreenStage
{
public:
    /// Returns null and prints a line on stderr if there is no display or no context.
    static std::unique_ptr<OffscreenStage> create(int width, int height);
    ~OffscreenStage();

    /// Ends a frame so that its work belongs to its time: waits for the threads of a software driver, and flushes the commands
    /// to other drivers.
    void endFrame();

    /// Writes the picture as an image file; the suffix selects the format.
    bool save(const QString &file);

private:
    OffscreenStage() = default;

    bool make(int width, int height);

    std::unique_ptr<Orvane::ZelKit::HeadlessContext> _context;
    std::unique_ptr<QOpenGLFramebufferObject> _framebuffer;
    bool _softwareDriver = false;
};
