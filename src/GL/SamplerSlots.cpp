#include "SamplerSlots.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "UniformLookup.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr int kReservedSlots = 32;
constexpr quint64 kWidestMap = 1 << 26; ///< far above what a texture can hold

} // namespace

SamplerSlots::Locations SamplerSlots::locations(const ShaderProgram *program)
{
    static const UniformName map("u_TextureTokenManagedTextureSlotMap");
    static const UniformName units("u_ManagedTextureSlots[0]");
    const UniformLookup locationOf(program);
    return {locationOf(map), locationOf(units)};
}

int SamplerSlots::mapWidth(const TextureToken &maxToken)
{
    return static_cast<int>(std::min(maxToken.token, kWidestMap));
}

Texture *SamplerSlots::makeMapTexture(int internalFormat, int width)
{
    auto *texture = new Texture(GL_TEXTURE_2D, internalFormat, width, 1, 0, nullptr);
    texture->bind();
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    texture->unbind();
    return texture;
}

void SamplerSlots::deleteMapTexture(Texture *&texture)
{
    while (texture != nullptr && texture->isBound()) {
        texture->unbind();
    }
    delete texture;
    texture = nullptr;
}

SamplerSlots::SamplerSlots()
{
    clear();
}

int SamplerSlots::take(int unit)
{
    int slot = _slotUnits.indexOf(unit);
    if (slot >= 0) {
        ++_slotRefCounts[slot];
        return slot;
    }
    slot = _slotRefCounts.indexOf(0);
    if (slot >= 0) {
        _slotUnits[slot] = unit;
        _slotRefCounts[slot] = 1;
        return slot;
    }
    _slotUnits.append(unit);
    _slotRefCounts.append(1);
    return _slotUnits.size() - 1;
}

void SamplerSlots::release(int unit)
{
    const int slot = _slotUnits.indexOf(unit);
    if (slot >= 0) {
        --_slotRefCounts[slot];
    }
}

int SamplerSlots::used() const
{
    return _slotUnits.size();
}

void SamplerSlots::clear()
{
    _slotUnits.clear();
    _slotRefCounts.clear();
    _slotUnits.reserve(kReservedSlots);
    _slotRefCounts.reserve(kReservedSlots);
}

void SamplerSlots::makeEmptyTexture()
{
    if (_emptySlotTexture != nullptr) {
        return;
    }
    _emptySlotTexture = new Texture(nullptr);
    _emptySlotTexture->setTarget(GL_TEXTURE_2D);
    _emptySlotTexture->bind();
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    _emptySlotTexture->unbind();
}

void SamplerSlots::uploadUnits(int location, int slotCount)
{
    // A sampler uniform must never point at a unit that holds a texture of another kind.
    const auto emptyUnit = [this] {
        if (_boundEmptySlotTexture == nullptr) {
            _emptySlotTexture->bind();
            _boundEmptySlotTexture = _emptySlotTexture;
        }
        return static_cast<int>(_boundEmptySlotTexture->unit());
    };
    const int usedSlots = used();
    for (int slot = 0; slot < usedSlots; ++slot) {
        if (_slotRefCounts.at(slot) <= 0) {
            _slotUnits[slot] = emptyUnit();
        }
    }
    if (usedSlots == 0) {
        _slotUnits.append(emptyUnit());
    }
    const int last = _slotUnits.constLast();
    while (_slotUnits.size() < slotCount) {
        _slotUnits.append(last);
    }
    glUniform1iv(location, slotCount, _slotUnits.constData());
    _slotUnits.resize(usedSlots);
}

void SamplerSlots::unbindEmptyTexture()
{
    if (_boundEmptySlotTexture != nullptr) {
        _boundEmptySlotTexture->unbind();
        _boundEmptySlotTexture = nullptr;
    }
}

}} // namespace Orvane::Zel
