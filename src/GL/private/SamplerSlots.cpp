#include "SamplerSlots.h"

#include "../GLUtilities.h"
#include "../Texture.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr int kReservedSlots = 32;

} // namespace

SamplerSlots::SamplerSlots(const MapFormat &mapFormat, ReportOverflow reportOverflow)
    : _mapFormat(mapFormat)
    , _reportOverflow(reportOverflow)
{
    clear();
}

int SamplerSlots::acquire(int unit)
{
    // Linear searches: the slots are about as many as the samplers of a shader.
    int slot = _slotUnits.indexOf(unit);
    if (slot >= 0) {
        ++_slotRefCounts[slot];
        return slot;
    }
    // A released slot is used again before the list grows: the length of the list is the number of samplers that a shader
    // needs. See SamplerSlotsTest.SlotsAreSharedCountedAndUsedAgain.
    slot = _slotRefCounts.indexOf(0);
    if (slot >= 0) {
        _slotUnits[slot] = unit;
        _slotRefCounts[slot] = 1;
        _unitsDirty = true;
        return slot;
    }
    _slotUnits.append(unit);
    _slotRefCounts.append(1);
    _unitsDirty = true;
    return _slotUnits.size() - 1;
}

void SamplerSlots::release(int unit)
{
    const int slot = unit >= 0 ? _slotUnits.indexOf(unit) : -1; // a texture that found no unit got no slot
    if (slot >= 0 && --_slotRefCounts[slot] <= 0) {
        _unitsDirty = true;
    }
}

void SamplerSlots::clear()
{
    _slotUnits.clear();
    _slotRefCounts.clear();
    _slotUnits.reserve(kReservedSlots);
    _slotRefCounts.reserve(kReservedSlots);
    _unitsDirty = true;
}

void SamplerSlots::dirtyMap()
{
    _mapDirty = true;
}

void SamplerSlots::unbind()
{
    if (_boundEmptySlotTexture != nullptr) {
        _boundEmptySlotTexture->unbind();
        _boundEmptySlotTexture = nullptr;
    }
    if (_mapTexture != nullptr) {
        _mapTexture->unbind();
    }
}

void SamplerSlots::discardMap()
{
    // A texture that is deleted while it is bound would keep its unit; see
    // SamplerSlotsTest.AMapThatIsTooShortIsGivenBackEvenWhileItIsBound.
    while (_mapTexture != nullptr && _mapTexture->isBound()) {
        _mapTexture->unbind();
    }
    delete _mapTexture;
    _mapTexture = nullptr;
    _mapDirty = true;
}

void SamplerSlots::bind(const ShaderProgram *program, const void *entries, int width, int slotCount)
{
    const int units = bindMap(program, entries, width);
    if (_slotUnits.size() > slotCount) {
        _reportOverflow(_slotUnits.size(), slotCount);
    }
    uploadUnits(units, slotCount);
}

int SamplerSlots::bindMap(const ShaderProgram *program, const void *entries, int width)
{
    if (_emptySlotTexture == nullptr) {
        makeEmptyTexture();
    }
    if (_mapTexture == nullptr) {
        makeMap(width);
    }
    unsigned int unit;
    if (!_mapTexture->bindToUnit(unit)) {
        unit = _mapTexture->unit(); // logs that the texture is not bound
    } else if (_mapDirty) {
        uploadMap(entries, width);
    }
    const UniformLookup locationOf(program);
    const int map = _mapUniform.in(locationOf);
    const int units = _unitsUniform.in(locationOf);
    glUniform1i(map, static_cast<GLint>(unit));
    return units;
}

void SamplerSlots::uploadUnits(int location, int slotCount)
{
    // The units are gathered after changes only, but set at each bind, since each program has values of its own.
    if (_unitsDirty || _gatheredUnits.size() != slotCount) {
        gatherUnits(std::max(slotCount, 0));
    }
    glUniform1iv(location, _gatheredUnits.size(), _gatheredUnits.constData());
}

// Together, this function and the next three save 8 instructions of each draw (draw_zel, variant sceneowntokens).

/// Makes the texture of unused slots, which has no storage.
ZELGL_COLD_PATH void SamplerSlots::makeEmptyTexture()
{
    _emptySlotTexture = new Texture(nullptr);
    _emptySlotTexture->setTarget(GL_TEXTURE_2D);
    if (_emptySlotTexture->bind()) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        _emptySlotTexture->unbind();
    }
}

ZELGL_COLD_PATH void SamplerSlots::makeMap(int width)
{
    _mapTexture = new Texture(GL_TEXTURE_2D, _mapFormat.internalFormat, width, 1, 0, nullptr);
    if (_mapTexture->bind()) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        _mapTexture->unbind();
    }
}

/// Slots without users get the unit of the empty texture each time, since that unit may change as soon as unbind() is called.
ZELGL_COLD_PATH void SamplerSlots::gatherUnits(int slotCount)
{
    const int used = _slotUnits.size();
    _unitsDirty = used == 0;
    // The old unit may have a texture of another target by now, with which the draw would be a GL error.
    for (int slot = 0; slot < used; ++slot) {
        if (_slotRefCounts.at(slot) <= 0) {
            _slotUnits[slot] = emptyUnit();
            _unitsDirty = true;
        }
    }
    _gatheredUnits.resize(slotCount);
    const auto rest = std::copy_n(_slotUnits.cbegin(), std::min(used, slotCount), _gatheredUnits.begin());
    // Elements without a slot repeat the last unit; see SamplerSlotsTest.SlotsAreSharedCountedAndUsedAgain.
    std::fill(rest, _gatheredUnits.end(), used == 0 ? emptyUnit() : _slotUnits.constLast());
}

ZELGL_COLD_PATH void SamplerSlots::uploadMap(const void *entries, int width)
{
    glTexImage2D(GL_TEXTURE_2D, 0, _mapFormat.internalFormat, width, 1, 0, _mapFormat.format, _mapFormat.type,
                 entries);
    _mapDirty = false;
}

/// Returns the unit of the empty texture, which the first call after unbind() binds.
int SamplerSlots::emptyUnit()
{
    if (_boundEmptySlotTexture == nullptr) {
        _emptySlotTexture->bind();
        _boundEmptySlotTexture = _emptySlotTexture;
    }
    return static_cast<int>(_boundEmptySlotTexture->unit());
}

}} // namespace Orvane::Zel
