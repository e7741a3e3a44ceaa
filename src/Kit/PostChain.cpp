#include "PostChain.h"

#include "RenderTarget.h"
#include "private/Checks.h"
#include "private/EdgeFilters.h"
#include "private/FullscreenProgram.h"
#include "private/Orphans.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kMaxSamples = 64;

int queryLimit(GLenum name)
{
    GLint value = 1;
    glGetIntegerv(name, &value);
    return value;
}

/// For an edge filter, which reads between texels.
std::unique_ptr<RenderTarget> makeSmoothTarget(const QSize &size, QString *error)
{
    return makeFilteredTarget(size, GL_RGBA16F, error);
}

void drawFrom(ShaderProgram &program, Texture &frame, const char *name, const QVariant &value)
{
    const AutoBinder boundFrame(&frame);
    const AutoBinder boundProgram(&program);
    program.setUniform(program.getUniformLocation(QStringLiteral("u_Frame")), int(frame.unit()));
    program.setUniform(program.getUniformLocation(QLatin1String(name)), value);
    drawFullscreen(program);
}

} // namespace

void PostChain::setUp(GLSLMacroProcessor *processor)
{
    if (processor == nullptr) {
        fail(nullptr, QStringLiteral("post chain: setUp() needs a text processor"));
        return;
    }
    processor->addIncludePath(shaderFolder());
}

PostChain::PostChain(int samples)
    : _context(std::make_unique<OwnContext>())
    , _samples(samples)
{
}

PostChain::~PostChain()
{
    keepWithoutContext(*_context, "post chain", _encoder, _toneMapper, _filter, _multisampled, _resolved,
                       _mapped);
}

std::unique_ptr<PostChain> PostChain::create(const Options &options, QString *error)
{
    if (!hasContext("post chain", error)
        || !isWithin("post chain", "samples", options.samples, 1, kMaxSamples, error)) {
        return nullptr;
    }
    const int maxSamples =
        std::min(queryLimit(GL_MAX_COLOR_TEXTURE_SAMPLES), queryLimit(GL_MAX_DEPTH_TEXTURE_SAMPLES));
    std::unique_ptr<PostChain> chain(new PostChain(std::min(options.samples, std::max(maxSamples, 1))));
    GLSLMacroProcessor processor;
    const auto build = [&processor, error](const QString &file) {
        return buildProgram(processor, QString(), {file}, error);
    };
    chain->_encoder = build(QStringLiteral("encode.frag"));
    if (chain->_encoder == nullptr) {
        return nullptr;
    }
    if (options.isToneMapped) {
        chain->_toneMapper = build(QStringLiteral("toneMap.frag"));
        if (chain->_toneMapper == nullptr) {
            return nullptr;
        }
    }
    if (options.filter != eNoFilter) {
        chain->_filter = EdgeFilter::create(options.filter == eSmaa, error);
        if (chain->_filter == nullptr) {
            return nullptr;
        }
    }
    return chain;
}

bool PostChain::resize(const QSize &size, QString *error)
{
    if (size == _size) {
        return true;
    }
    if (!hasContext("post chain", error) || !_context->isCurrent("post chain", error)) {
        return false;
    }
    _multisampled.reset();
    _resolved.reset();
    _mapped.reset();
    _size = QSize();
    _isOpen = false;

    // Drivers may provide more samples than one if one is requested, so one sample means a texture without multisampling.
    auto multisampled =
        RenderTarget::create(size, GL_RGBA16F, RenderTarget::eDepth, _samples > 1 ? _samples : 0, error);
    auto resolved = multisampled != nullptr ? makeSmoothTarget(size, error) : nullptr;
    if (resolved == nullptr) {
        return false;
    }
    if (_toneMapper != nullptr) {
        _mapped = makeSmoothTarget(size, error);
        if (_mapped == nullptr) {
            return false;
        }
    }
    if (_filter != nullptr && !_filter->resize(size, error)) {
        return false;
    }
    _multisampled = std::move(multisampled);
    _resolved = std::move(resolved);
    _linear = _mapped != nullptr ? _mapped.get() : _resolved.get();
    _size = size;
    return true;
}

bool PostChain::isReady() const
{
    if (_size.isEmpty()) {
        fail(nullptr, QStringLiteral("post chain: call resize() before begin() and end()"));
        return false;
    }
    return hasContext("post chain", nullptr) && _context->isCurrent("post chain");
}

bool PostChain::begin()
{
    if (!isReady()) {
        return false;
    }
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &_hostTarget);
    _multisampled->framebuffer()->bind();
    _isOpen = true;
    glViewport(0, 0, _size.width(), _size.height());
    glEnable(GL_MULTISAMPLE);
    glDepthMask(GL_TRUE);
    const AutoDisabler noScissor(GL_SCISSOR_TEST);
    glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    return true;
}

bool PostChain::end(unsigned int targetFramebuffer, bool isDithered)
{
    if (!isReady()) {
        return false;
    }
    if (!_isOpen) {
        fail(nullptr, QStringLiteral("post chain: end() needs a begin() before it"));
        return false;
    }
    const PassState state;
    _isOpen = false;
    _multisampled->framebuffer()->unbind();
    resolve();
    glViewport(0, 0, _size.width(), _size.height());
    if (_toneMapper != nullptr) {
        mapTones();
    }
    if (_filter != nullptr) {
        {
            const AutoBinder bound(_filter->encoded().framebuffer());
            encode(false);
        }
        _filter->draw(*_linear->color(), targetFramebuffer, isDithered);
        return true;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, targetFramebuffer);
    encode(isDithered);
    return true;
}

bool PostChain::end()
{
    return end(static_cast<unsigned int>(_hostTarget), true);
}

void PostChain::resolve()
{
    FramebufferObject *target = _resolved->framebuffer();
    target->bind();
    glBindFramebuffer(GL_READ_FRAMEBUFFER, _multisampled->framebuffer()->getFBO());
    glBlitFramebuffer(0, 0, _size.width(), _size.height(), 0, 0, _size.width(), _size.height(),
                      GL_COLOR_BUFFER_BIT, GL_NEAREST);
    target->unbind();
}

void PostChain::mapTones()
{
    const AutoBinder bound(_mapped->framebuffer());
    drawFrom(*_toneMapper, *_resolved->color(), "u_Exposure", QVariant(_exposure));
}

void PostChain::encode(bool isDithered)
{
    drawFrom(*_encoder, *_linear->color(), "u_IsDithered", QVariant(int(isDithered)));
}

}} // namespace Orvane::ZelKit
