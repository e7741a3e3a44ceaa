#include "Texture.h"

#include "GLUtilities.h"
#include "private/ContextState.h"
#include "private/EntryPoint.h"
#include "private/GLValues.h"

#include <algorithm>
#include <cmath>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned int kNoUnit = NumberSet::kNone; ///< 0xFFFFFFFF

using TextureContextInfo = TextureUnits;

TextureContextInfo &makeContextInfo(ContextState &state)
{
    TextureContextInfo &contextInfo = state.textureUnits.emplace();
    contextInfo.maxTextureImageUnits = integerFromGL(GL_MAX_TEXTURE_IMAGE_UNITS);
    // For every unit at once, so that no later bind allocates.
    contextInfo.textureToUnitMaps.reserve(contextInfo.maxTextureImageUnits);
    contextInfo.freeTextureUnits.fill(contextInfo.maxTextureImageUnits);
    return contextInfo;
}

inline TextureContextInfo &currentContextInfo()
{
    ContextState &state = ContextState::current();
    return state.textureUnits ? *state.textureUnits : makeContextInfo(state);
}

int maxLevelOf(int width, int height)
{
    const int side = std::max(width, height);
    if (side <= 1) {
        return 0;
    }
    constexpr double kLog2 = 0.6931471805599453;
    return static_cast<int>(std::floor(std::log(static_cast<double>(static_cast<float>(side))) / kLog2));
}

} // namespace

std::atomic<int> Texture::_numAlive{0};

int Texture::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
}

bool Texture::isTextureUnitFree(unsigned int unit)
{
    // The query makes no record: units of a context that has none are not free but unknown.
    const ContextState *state = ContextState::currentIfKnown();
    return state != nullptr && state->textureUnits && state->textureUnits->freeTextureUnits.contains(unit);
}

Texture::Texture(QObject *parent)
    : QObject(parent)
{
    create();
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

Texture::Texture(unsigned int target, int internalFormat, int width, int height, int depth, QObject *parent)
    : QObject(parent)
    , _target(target)
    , _width(width)
    , _height(height)
    , _depth(depth)
    , _internalFormat(internalFormat)
{
    create();
    _maxLevel = maxLevelOf(width, height);
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

Texture::Texture(unsigned int textureID, QObject *parent)
    : QObject(parent)
    , _textureID(textureID)
    , _managed(false)
{
    ZEL_ASSERT(textureID != 0, "Texture ID was zero, can't wrap a non-existent texture");
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

Texture::~Texture()
{
    destroy();
    _numAlive.fetch_sub(1, std::memory_order_relaxed);
}

bool Texture::create()
{
    ZEL_ASSERT_RETURN(0u == this->_textureID, false, "Texture is not NULL on create");
    ZEL_ASSERT_RETURN(false == _readonly, false, "Not allowed to change a readonly texture");
    ZEL_ASSERT_RETURN(nullptr != glGenTextures, false, kNotInitialized);
    glGenTextures(1, &_textureID);
    return true;
}

bool Texture::destroy()
{
    ZEL_ASSERT_RETURN(0u != this->_textureID, false, "Texture is NULL on destroy");
    if (_managed) {
        glDeleteTextures(1, &_textureID); // _textureID keeps its value, and a second call deletes again
    }
    return true;
}

Texture *Texture::create2D(unsigned int target, unsigned int internalFormat, int width, int height)
{
    ZEL_ASSERT(target == GL_TEXTURE_2D, "Target 0x%X is not allowed.", target);
    ZEL_ASSERT(false == _readonly, "Not allowed to change a readonly texture");
    setTarget(target);
    setSize(0, static_cast<int>(internalFormat), width, height, 1);
    if (!bind()) {
        return this; // the calls below would change another texture
    }
    setFiltersNearest();
    glTexImage2D(target, 0, static_cast<GLint>(internalFormat), width, height, 0,
                 formatFromInternalFormat(internalFormat), typeFromInternalFormat(internalFormat), nullptr);
    unbind();
    return this;
}

Texture *Texture::create3D(unsigned int target, unsigned int internalFormat, int width, int height, int depth)
{
    ZEL_ASSERT(target == GL_TEXTURE_2D_ARRAY || target == GL_TEXTURE_3D, "Target 0x%X is not allowed.",
               target);
    ZEL_ASSERT(false == _readonly, "Not allowed to change a readonly texture");
    setTarget(target);
    setSize(0, static_cast<int>(internalFormat), width, height, depth);
    if (!bind()) {
        return this;
    }
    setFiltersNearest();
    glTexImage3D(target, 0, static_cast<GLint>(internalFormat), width, height, depth, 0,
                 formatFromInternalFormat(internalFormat), typeFromInternalFormat(internalFormat), nullptr);
    unbind();
    return this;
}

Texture *Texture::create2DMultisample(unsigned int target, unsigned int internalFormat, int width, int height,
                                      int samples)
{
    ZEL_ASSERT(target == GL_TEXTURE_2D_MULTISAMPLE, "Target 0x%X is not allowed.", target);
    ZEL_ASSERT(false == _readonly, "Not allowed to change a readonly texture");
    // Required: no setSize(), GL knows the size of a multisample texture; see TextureTest.
    setTarget(target);
    if (!bind()) {
        return this;
    }
    if (target != GL_TEXTURE_2D_MULTISAMPLE) { // multisample textures have no sampler state
        setFiltersNearest();
    }
    glTexImage2DMultisample(target, samples, internalFormat, width, height, GL_TRUE);
    unbind();
    return this;
}

Texture *Texture::create3DMultisample(unsigned int target, unsigned int internalFormat, int width, int height,
                                      int depth, int samples)
{
    ZEL_ASSERT(target == GL_TEXTURE_2D_MULTISAMPLE_ARRAY, "Target 0x%X is not allowed.", target);
    ZEL_ASSERT(false == _readonly, "Not allowed to change a readonly texture");
    setTarget(target); // no setSize(), as above
    if (!bind()) {
        return this;
    }
    if (target != GL_TEXTURE_2D_MULTISAMPLE_ARRAY) {
        setFiltersNearest();
    }
    glTexImage3DMultisample(target, samples, internalFormat, width, height, depth, GL_TRUE);
    unbind();
    return this;
}

void Texture::setTarget(unsigned int target)
{
    ZEL_ASSERT(false == _readonly, "Not allowed to change a readonly texture");
    _target = target;
}

void Texture::setSize(int level, int internalFormat, int width, int height, int depth)
{
    ZEL_ASSERT(false == _readonly, "Not allowed to change a readonly texture");
    ZEL_ASSERT(0 == _internalFormat, "Texture internal format has already been set");
    ZEL_ASSERT(0 == _width, "Texture width has already been set");
    ZEL_ASSERT(0 == _height, "Texture height has already been set");
    // The assertions above report and continue, so that a host may record the new size of a texture that it resized.
    ZEL_ASSERT_RETURN(level == 0, , "Only call setSize() for the base LOD of the texture");
    _internalFormat = internalFormat;
    _width = width;
    _height = height;
    _depth = depth;
    _maxLevel = maxLevelOf(width, height);
}

// A flag of the library for shared textures: changes are reported and made. See
// TextureTest.AReadOnlyTextureReportsChangesAndMakesThem.
void Texture::setReadOnly()
{
    _readonly = true;
}

bool Texture::bind()
{
    unsigned int unit;
    return bindToUnit(unit);
}

inline bool Texture::bindToUnit(unsigned int &unit)
{
    ZEL_ASSERT_RETURN(0u != this->_textureID, false, "Texture is NULL on bind");
    ZEL_ASSERT_RETURN(0u != this->_target, false, "Texture Target is not set on bind");
    TextureContextInfo &contextInfo = currentContextInfo();

    if (NameTable::Use *const use = contextInfo.textureToUnitMaps.find(_textureID)) {
        unit = use->number;
        glActiveTexture(GL_TEXTURE0 + unit); // the texture is still bound there: no glBindTexture()
        ++use->count;
        return true;
    }

    // From the top: hosts that bind textures themselves use the low units, and GL starts at unit 0.
    unit = contextInfo.freeTextureUnits.highest();
    if (unit == kNoUnit) {
        ZEL_LOG_WARNING("There is no available texture units");
        return false;
    }
    contextInfo.freeTextureUnits.remove(unit);
    contextInfo.textureToUnitMaps.insert(_textureID, unit);
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(_target, _textureID);
    return true;
}

bool Texture::unbind()
{
    ZEL_ASSERT_RETURN(0u != this->_textureID, false, "Texutre is NULL on unbind");
    ZEL_ASSERT_RETURN(0u != this->_target, false, "Texture Target is not set on unbind");
    TextureContextInfo &contextInfo = currentContextInfo();
    NameTable::Use *const use = contextInfo.textureToUnitMaps.find(_textureID);
    if (use == nullptr) { // repeated below only because the message quotes the condition
        ZEL_ASSERT_RETURN(contextInfo.textureToUnitMaps.contains(this->_textureID), false,
                          "Texture has not been bound on unbind");
    }
    const unsigned int unit = use->number;
    glActiveTexture(GL_TEXTURE0 + unit);
    if (--use->count > 0) {
        return true;
    }
    // Unbound, so that a deletion elsewhere frees the memory, and later calls of a host do not reach this texture.
    glBindTexture(_target, 0);
    contextInfo.textureToUnitMaps.remove(use);
    contextInfo.freeTextureUnits.insert(unit);
    return true;
}

bool Texture::isBound() const
{
    // Required: the messages are those of unbind(); see TextureTest.
    ZEL_ASSERT_RETURN(0u != this->_textureID, false, "Texutre is NULL on unbind");
    ZEL_ASSERT_RETURN(0u != this->_target, false, "Texture Target is not set on unbind");
    return currentContextInfo().textureToUnitMaps.contains(_textureID);
}

unsigned int Texture::unit() const
{
    ZEL_ASSERT_RETURN(0u != this->_textureID, kNoUnit, "Texutre is NULL on unit()");
    ZEL_ASSERT_RETURN(0u != this->_target, kNoUnit, "Texture Target is not set on unit()");
    const TextureContextInfo &contextInfo = currentContextInfo();
    const NameTable::Use *const use = contextInfo.textureToUnitMaps.find(_textureID);
    if (use == nullptr) {
        ZEL_ASSERT_RETURN(contextInfo.textureToUnitMaps.contains(this->_textureID), kNoUnit,
                          "Texture has not been bound on unit()");
    }
    return use->number;
}

int Texture::maxTextureUnits() const
{
    return currentContextInfo().maxTextureImageUnits;
}

unsigned int Texture::target() const
{
    return _target;
}

unsigned int Texture::textureID() const
{
    return _textureID;
}

bool Texture::isManaged() const
{
    return _managed;
}

bool Texture::isReadOnly() const
{
    return _readonly;
}

int Texture::width(int level)
{
    return getTexLevelParameteriv(level, GL_TEXTURE_WIDTH);
}

int Texture::height(int level)
{
    return getTexLevelParameteriv(level, GL_TEXTURE_HEIGHT);
}

int Texture::depth(int level)
{
    return getTexLevelParameteriv(level, GL_TEXTURE_DEPTH);
}

int Texture::internalFormat(int level) const
{
    return getTexLevelParameteriv(level, GL_TEXTURE_INTERNAL_FORMAT);
}

int Texture::getTexLevelParameteriv(int level, unsigned int pname) const
{
    // Required: the messages name internalFormat() for each query; see TextureTest.
    ZEL_ASSERT_RETURN(0u != this->_textureID, -1, "Texutre is NULL on internalFormat()");
    ZEL_ASSERT_RETURN(0u != this->_target, -1, "Texture target is not set on internalFormat()");
    ZEL_ASSERT_RETURN(this->isBound(), -1, "Texture target is not bound");
    // GL describes a cube map by its faces, which all have the same size.
    const GLenum image = _target == GL_TEXTURE_CUBE_MAP ? GL_TEXTURE_CUBE_MAP_POSITIVE_X : _target;
    GLint value = 0;
    glGetTexLevelParameteriv(image, level, pname, &value);
    return value;
}

int Texture::dimensionLevelSize(int size, int level)
{
    if (level == 0) {
        return size;
    }
    if (level > _maxLevel) {
        return 0;
    }
    const float levelSize = static_cast<float>(std::floor(static_cast<double>(size) / std::pow(2.0, level)));
    return static_cast<int>(std::max(levelSize, 1.0f));
}

void Texture::setFiltersNearest() const
{
    glTexParameteri(_target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(_target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
}

}} // namespace Orvane::Zel
