#include "SlotUniforms.h"

#include "../AutoBinder.h"
#include "../GLSLMacroProcessor.h"
#include "../GLUtilities.h"
#include "../Texture.h"
#include "UniformLookup.h"

#include <algorithm>

namespace Orvane { namespace Zel {

namespace {

constexpr int kReservedSlots = 32;
constexpr int kElementsPerToken = 2;
constexpr int kMapArraySize = 128; ///< elements; GL guarantees 256 of them for vertex and fragment shaders

} // namespace

SlotUniforms::SlotUniforms()
{
    // More slots than common scenes need, so that no bind of a frame allocates.
    _units.reserve(kReservedSlots);
    _handles.reserve(kReservedSlots);
}

void SlotUniforms::addDefines(GLSLMacroProcessor *processor, int slotCount) const
{
    const QString on = QStringLiteral("1");
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D"), on);
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_SLOT_COUNT"), QString::number(slotCount));
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_UNIFORMS_SIZE"),
                         QString::number(kMapArraySize));
    if (_useMapArray) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_SLOT_MAP_USE_UNIFORMS"), on);
    }
    if (_useMapTexture) {
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_SLOT_MAP_USE_TEXTURE"), on);
    }
    if (_useExplicitArrayAccess) {
        processor->addDefine(QStringLiteral("TEXTURE_ARRAY_ARRAY2D_EXPLICIT_ARRAY_ACCESS"), on);
    }
    if (openGlVersionSupported(4, 0)) {
        // textureQueryLod() needs GLSL 4.00, and the file declares 1.50 unless the macro replaces it.
        processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_SUPPORTS_TEXTURE_QUERY_LOD"), on);
        processor->addMacro(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_GLSL_VERSION"),
                            QStringLiteral("#version 400"));
    }
    processor->addDefine(QStringLiteral("TEXTURE_MANAGER_ARRAY2D_NUM_UVEC4S_PER_TOKEN"),
                         QString::number(kElementsPerToken));
}

SlotUniforms::Locations SlotUniforms::locationsIn(const ShaderProgram *program, bool bindless)
{
    // Static: the names as QString are made once, not at each bind.
    static const UniformName mapTexture("u_TextureTokenManagedTextureSlotMapSample");
    static const UniformName mapArray("u_TextureTokenManagedTextureSlotMapUniforms[0]");
    static const UniformName handles("u_ManagedTextureHandles[0]");
    static const UniformName samplers("u_ManagedTextureSlots[0]");
    const UniformLookup locationOf(program);
    return {locationOf(mapTexture), locationOf(mapArray), locationOf(bindless ? handles : samplers)};
}

void SlotUniforms::uploadMap(const Locations &locations, const QVector<SlotLayerData> &map)
{
    const int elements = kElementsPerToken * map.size();
    const auto *data = reinterpret_cast<const GLint *>(map.constData());
    // 1. The array of uniforms. Uniforms belong to the program, so the array is set at each bind; the texture is shared by all programs.
    if (locations.mapArray >= 0) {
        glUniform4iv(locations.mapArray, std::min(elements, kMapArraySize), data);
    }
    if (locations.mapTexture < 0) {
        return;
    }
    // 2. The texture, made once for all programs.
    if (_mapTexture == nullptr) {
        _mapTexture = new Texture(nullptr);
        _mapTexture->setTarget(GL_TEXTURE_1D);
        const AutoBinder binder(_mapTexture);
        // Integer textures are incomplete with linear filters.
        glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    }
    // Without a free texture unit the call below would change another texture.
    if (!_mapTexture->bind()) {
        return;
    }
    // 3. Its texels. The table changes when a token finds its slot, which most frames do not do.
    if (_mapChanged) {
        glTexImage1D(GL_TEXTURE_1D, 0, GL_RGBA32I, elements, 0, GL_RGBA_INTEGER, GL_INT, data);
        _mapChanged = false;
    }
    glUniform1i(locations.mapTexture, static_cast<GLint>(_mapTexture->unit()));
}

void SlotUniforms::unbindMap(const Locations &locations)
{
    if (locations.mapTexture >= 0 && _mapTexture != nullptr) {
        _mapTexture->unbind();
    }
}

void SlotUniforms::uploadUnits(int location, const QVector<SlotData *> &allSlots)
{
    _units.resize(allSlots.size());
    for (int i = 0; i < allSlots.size(); ++i) {
        // An unused slot is bound too: each sampler of the array needs a texture of the right target.
        allSlots.at(i)->texture->bind();
        _units[i] = static_cast<int>(allSlots.at(i)->texture->unit());
    }
    glUniform1iv(location, _units.size(), _units.constData());
}

void SlotUniforms::uploadHandles(int location, const QVector<SlotData *> &allSlots)
{
    // As uvec2: a shader needs no 64-bit integers for it.
    _handles.resize(allSlots.size());
    for (int i = 0; i < allSlots.size(); ++i) {
        const quint64 handle = allSlots.at(i)->bindlessHandle;
        _handles[i] = {static_cast<unsigned int>(handle), static_cast<unsigned int>(handle >> 32)};
    }
    glUniform2uiv(location, _handles.size(), reinterpret_cast<const GLuint *>(_handles.constData()));
}

}} // namespace Orvane::Zel
