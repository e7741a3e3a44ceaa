#pragma once

#include "KitExport.h"

#include <QtCore/QSize>
#include <QtCore/QString>

#include <memory>

namespace Orvane {

namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
} // namespace Zel

namespace ZelKit {

class EdgeFilter;
class OwnContext;
class RenderTarget;

/// The framebuffers of a frame, from linear light to the screen: multisampling, tone mapping, FXAA or SMAA, sRGB, dithering.
///
/// The host draws linear light of half floats between begin() and end(), and need not know about sRGB. FXAA works on the sRGB
/// picture. SMAA finds edges in the sRGB picture and blends linear light, so that its edges are as bright as those of
/// multisampling.
///
/// Multisampling blends edges before tone mapping: those of surfaces much brighter than the screen stay jagged. A host whose own
/// shaders end with toneMap() of "KitToneMap.glslh" avoids that, and leaves Options::isToneMapped off.
///
/// - Units: sizes in pixels.
/// - Context: create, use and delete with the same context current.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
///
/// \snippet kit.cpp PostChain
class ZELKIT_EXPORT PostChain
{
    Q_DISABLE_COPY(PostChain)

public:
    enum Filter { eNoFilter, eFxaa, eSmaa };

    struct Options
    {
        int samples = 1; ///< per pixel, or as many as the driver supports; prefer 1 with a filter
        Filter filter = eNoFilter;
        /// Light of any strength becomes that of the screen; without, it is clamped to 1.
        bool isToneMapped = false;
    };

    /// Adds the include path of "KitToneMap.glslh" and of the other files of this library for hosts.
    static void setUp(Zel::GLSLMacroProcessor *processor);

    /// Null if the number of samples is not positive or the driver rejects a shader.
    static std::unique_ptr<PostChain> create(const Options &options, QString *error = nullptr);
    ~PostChain();

    /// Call it before the first frame and when the size changes; does nothing if it is unchanged. False if the driver cannot
    /// provide the framebuffers.
    bool resize(const QSize &size, QString *error = nullptr);

    /// What is drawn between begin() and end() becomes the frame. begin() binds the framebuffer, sets the viewport, enables
    /// GL_MULTISAMPLE and depth writes, and clears depth and stencil; the host must fill the colour. False, with a warning,
    /// before a successful resize().
    bool begin();
    /// Draws the picture into a framebuffer, which stays bound, from its lower left corner. \a targetFramebuffer: its GL name;
    /// for widgets of Qt, defaultFramebufferObject(). \a isDithered: adds noise of less than one step of 8 bits, against bands.
    bool end(unsigned int targetFramebuffer, bool isDithered = false);
    /// The same with noise, into the framebuffer that was bound before begin().
    bool end();

    /// A power of two by which light is multiplied; has an effect with Options::isToneMapped. Initially 0.
    void setExposure(float exposure) { _exposure = exposure; }

    int samples() const { return _samples; }
    const QSize &size() const { return _size; }

private:
    ZELKIT_NO_EXPORT explicit PostChain(int samples);

    ZELKIT_NO_EXPORT bool isReady() const;
    ZELKIT_NO_EXPORT void resolve();
    ZELKIT_NO_EXPORT void mapTones();
    ZELKIT_NO_EXPORT void encode(bool isDithered);

    std::unique_ptr<OwnContext> _context;
    std::unique_ptr<Zel::ShaderProgram> _encoder;
    std::unique_ptr<Zel::ShaderProgram> _toneMapper; ///< null without
    std::unique_ptr<EdgeFilter> _filter;             ///< null without
    int _samples;
    float _exposure = 0.0f;
    bool _isOpen = false; ///< between begin() and end()
    int _hostTarget = 0;  ///< the framebuffer that was bound at begin()
    QSize _size;
    std::unique_ptr<RenderTarget> _multisampled;
    std::unique_ptr<RenderTarget> _resolved;
    std::unique_ptr<RenderTarget> _mapped; ///< null without tone mapping
    RenderTarget *_linear = nullptr;       ///< the finished picture: one of the two
};

} // namespace ZelKit
} // namespace Orvane
