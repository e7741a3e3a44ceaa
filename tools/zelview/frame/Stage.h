#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"

#include <QtCore/QSize>

#include <memory>

namespace zelview {

class AntiAliasing;
class RenderTarget;

/// Where frames are made: into a multisampled floating-point framebuffer, in linear light that is mapped to what a
/// screen can show, so that edges blend as light does; the finished picture is encoded into the target's sRGB, by way of
/// an edge filter if one is wanted.
///
/// Units:   sizes in pixels.
/// Context: use and delete with one and the same context current.
class Stage
{
    Q_DISABLE_COPY(Stage)

public:
    /// As many samples for each pixel as the driver has, at most \a samples.
    static Expected<std::unique_ptr<Stage>> create(Programs &programs, int samples, EdgeFilter filter);
    ~Stage();

    /// Does nothing for the size that it has.
    Failure resize(const QSize &size);

    /// What is drawn between the two goes into the frame; depth is cleared, colour is the caller's to fill.
    void begin();
    /// \a isDithered adds a noise of less than one step of 8 bits.
    void end(unsigned int targetFramebuffer, bool isDithered);

    int samples() const { return _samples; }
    const QSize &size() const { return _size; }

private:
    Stage(ProgramPointer encoder, std::unique_ptr<AntiAliasing> antiAliasing, int samples);

    void resolve();
    void encode(bool isDithered);

    ProgramPointer _encoder;
    std::unique_ptr<AntiAliasing> _antiAliasing; ///< null: none
    int _samples;
    QSize _size;
    std::unique_ptr<RenderTarget> _multisampled;
    std::unique_ptr<RenderTarget> _resolved;
};

} // namespace zelview
