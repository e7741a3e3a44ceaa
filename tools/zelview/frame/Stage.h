#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "frame/Targets.h"

#include <QtCore/QSize>

#include <memory>

namespace zelview {

class AntiAliasing;

/// The framebuffers of a frame. Frames are drawn into a multisampled floating-point framebuffer, in linear, tone-mapped
/// light, so that edges are blended in linear light. The finished picture is filtered by FXAA or SMAA if requested, and
/// encoded as sRGB into the target.
///
/// Units:   sizes in pixels.
/// Context: use and delete with the same context current.
class Stage
{
    Q_DISABLE_COPY(Stage)

public:
    /// With \a samples samples per pixel, or as many as the driver supports.
    static Expected<std::unique_ptr<Stage>> create(Programs &programs, int samples, EdgeFilter filter);
    ~Stage();

    /// Does nothing if the size is unchanged.
    Failure resize(const QSize &size);

    /// What is drawn between begin() and end() becomes the frame. begin() clears depth; the caller must fill the colour.
    void begin();
    /// \a isDithered: adds noise of less than one step of 8 bits.
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
