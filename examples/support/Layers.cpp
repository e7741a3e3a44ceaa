#include "Layers.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

constexpr int kLevel = 3; ///< of moments, for shaders

Layers::Layers(Kind kind, int side, int count)
    : _kind(kind)
    , _side(side)
{
    const unsigned int format = kind == eMoments ? GL_RG32F : GL_DEPTH_COMPONENT32F;
    _layers.create3D(GL_TEXTURE_2D_ARRAY, format, side, side, count);
    if (kind == eMoments) {
        _depth.create2D(GL_TEXTURE_2D, GL_DEPTH_COMPONENT32F, side, side);
    }
    const AutoBinder bound(&_layers);
    const float noShadow[] = {1.0f, 1.0f, 1.0f, 1.0f}; // outside of a layer
    glTexParameterfv(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BORDER_COLOR, noShadow);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_BORDER);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_BORDER);
    if (kind == eMoments) {
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    }
    _table.projectionTexture = &_layers;
}

void Layers::update(const QVariantList &lights, const QMatrix4x4 &view, const QMatrix4x4 &projection,
                    const Corners &box, const std::function<void(const QMatrix4x4 &)> &draw)
{
    if (!ShadowMapManager::processLights(lights, _table, &view, &projection, &box)) {
        return;
    }
    const AutoBinder texture(&_layers);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BASE_LEVEL, 0);
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoEnabler pancaking(
        GL_DEPTH_CLAMP); // keeps casters close to a light; a depth of 0 counts as none
    glDepthRange(1e-6, 1.0);
    glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    glViewport(0, 0, _side, _side);
    const AutoBinder bound(&_framebuffer);
    for (int i = 0; i < _table.transformCount; ++i) {
        _framebuffer.detachAll();
        if (_kind == eMoments) {
            _framebuffer.attach(&_depth, GL_DEPTH_ATTACHMENT, 0);
        }
        _framebuffer.attach3D(&_layers, _kind == eMoments ? GL_COLOR_ATTACHMENT0 : GL_DEPTH_ATTACHMENT, i, 0);
        _framebuffer.setDrawBuffers();
        glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT);
        draw(QMatrix4x4(_table.transforms[i].values.data()).transposed());
    }
    glDepthRange(0.0, 1.0);
    if (_kind
        == eMoments) { // shaders read a coarse level, which has soft edges: means of moments are moments
        glGenerateMipmap(GL_TEXTURE_2D_ARRAY);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BASE_LEVEL, kLevel);
    }
}
