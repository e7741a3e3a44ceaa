#include "Texture.h"

#include "GLContextTracker.h"
#include "GLUtilities.h"
#include "private/EntryPoint.h"
#include "private/NameTable.h"
#include "private/NumberSet.h"

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace Orvane { namespace Zel {

namespace {

constexpr unsigned int kNoUnit = NumberSet::kNone; ///< 0xFFFFFFFF

/// The texture units of one context. Textures are known by their GL name.
struct TextureContextInfo
{
    int maxTextureImageUnits = 0;
    NameTable<unsigned int> textureToUnitMaps;
    NameTable<int> boundTextureCounts; ///< nesting depth; the same names at the same places
    NumberSet freeTextureUnits;
};

/// By context identity. Records are never removed, and their references stay good while others come.
std::unordered_map<void *, TextureContextInfo> contextInfos;
QMutex contextInfosMutex; ///< guards the table, not its records

void initializeFreeTextureUnits(TextureContextInfo &contextInfo, void *context)
{
    ZEL_ASSERT(
        0 == contextInfo.maxTextureImageUnits,
        "ZelTexture::initilizeFreeTextureUnits() : m_MaxTextureImageUnits is set for exisitng GL context, %p",
        context);
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &contextInfo.maxTextureImageUnits);
    const int units = std::max(contextInfo.maxTextureImageUnits, 0);
    contextInfo.textureToUnitMaps.reserve(units);
    contextInfo.boundTextureCounts.reserve(units);
    contextInfo.freeTextureUnits.fill(units);
}

/// A thread's last answer, which holds as long as its context does: only that thread uses the context's record.
struct LastInfo
{
    void *context;
    TextureContextInfo *info;
};
constexpr LastInfo kNoInfo = {&contextInfos, nullptr}; // no context lies there
thread_local LastInfo lastInfo [[gnu::tls_model("initial-exec")]] = kNoInfo;

/// Makes the record at the first question.
Q_NEVER_INLINE TextureContextInfo &findContextInfo(void *context)
{
    const QMutexLocker locker(&contextInfosMutex);
    const auto [record, isNew] = contextInfos.emplace(context, TextureContextInfo());
    TextureContextInfo &contextInfo = record->second;
    lastInfo = {context, &contextInfo};
    if (isNew) {
        initializeFreeTextureUnits(contextInfo, context);
    }
    return contextInfo;
}

inline TextureContextInfo &currentContextInfo()
{
    void *const context = GLContextTracker::currentContext();
    return lastInfo.context == context ? *lastInfo.info : findContextInfo(context);
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
    const auto record = contextInfos.find(GLContextTracker::currentContext());
    return record != contextInfos.end() && record->second.freeTextureUnits.contains(unit);
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
        glDeleteTextures(1, &_textureID); // the name stays on record: a second call deletes again
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
        return this; // the calls below would go to another texture
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
    setTarget(target); // setSize() is left out on purpose: the size of a multisample texture is asked of GL
    if (!bind()) {
        return this;
    }
    if (target != GL_TEXTURE_2D_MULTISAMPLE) { // these have no sampler state
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
    setTarget(target); // without setSize(), as above
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
    ZEL_ASSERT_RETURN(level == 0, , "Only call setSize() for the base LOD of the texture");
    _internalFormat = internalFormat;
    _width = width;
    _height = height;
    _depth = depth;
    _maxLevel = maxLevelOf(width, height);
}

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

    const auto place = contextInfo.textureToUnitMaps.place(_textureID);
    if (place >= 0) {
        unit = contextInfo.textureToUnitMaps.at(place);
        glActiveTexture(GL_TEXTURE0 + unit); // it still holds the texture
        ++contextInfo.boundTextureCounts.at(place);
        return true;
    }

    unit = contextInfo.freeTextureUnits.highest();
    if (unit == kNoUnit) {
        ZEL_LOG_WARNING("There is no available texture units");
        return false;
    }
    contextInfo.freeTextureUnits.remove(unit);
    contextInfo.textureToUnitMaps.insert(_textureID, unit);
    contextInfo.boundTextureCounts.insert(_textureID, 1);
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(_target, _textureID);
    return true;
}

bool Texture::unbind()
{
    ZEL_ASSERT_RETURN(0u != this->_textureID, false, "Texutre is NULL on unbind");
    ZEL_ASSERT_RETURN(0u != this->_target, false, "Texture Target is not set on unbind");
    TextureContextInfo &contextInfo = currentContextInfo();
    const auto place = contextInfo.textureToUnitMaps.place(_textureID);
    if (!contextInfo.boundTextureCounts.contains(_textureID, place)) { // asked once where all is well
        ZEL_ASSERT_RETURN(contextInfo.textureToUnitMaps.contains(this->_textureID), false,
                          "Texture has not been bound on unbind");
        ZEL_ASSERT_RETURN(contextInfo.boundTextureCounts.contains(this->_textureID), false,
                          "Texture has not been bound on unbind");
    }
    const unsigned int unit = contextInfo.textureToUnitMaps.at(place);
    glActiveTexture(GL_TEXTURE0 + unit);
    if (--contextInfo.boundTextureCounts.at(place) > 0) {
        return true;
    }
    glBindTexture(_target, 0);
    contextInfo.textureToUnitMaps.remove(place);
    contextInfo.boundTextureCounts.remove(place);
    contextInfo.freeTextureUnits.insert(unit);
    return true;
}

bool Texture::isBound() const
{
    // The texts are those of unbind().
    ZEL_ASSERT_RETURN(0u != this->_textureID, false, "Texutre is NULL on unbind");
    ZEL_ASSERT_RETURN(0u != this->_target, false, "Texture Target is not set on unbind");
    return currentContextInfo().boundTextureCounts.contains(_textureID);
}

unsigned int Texture::unit() const
{
    ZEL_ASSERT_RETURN(0u != this->_textureID, kNoUnit, "Texutre is NULL on unit()");
    ZEL_ASSERT_RETURN(0u != this->_target, kNoUnit, "Texture Target is not set on unit()");
    const TextureContextInfo &contextInfo = currentContextInfo();
    const auto place = contextInfo.textureToUnitMaps.place(_textureID);
    if (!contextInfo.boundTextureCounts.contains(_textureID, place)) {
        ZEL_ASSERT_RETURN(contextInfo.textureToUnitMaps.contains(this->_textureID), kNoUnit,
                          "Texture has not been bound on unit()");
        ZEL_ASSERT_RETURN(contextInfo.boundTextureCounts.contains(this->_textureID), kNoUnit,
                          "Texture has not been bound on unit()");
    }
    return contextInfo.textureToUnitMaps.at(place);
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
    // The texts say internalFormat() whatever is asked.
    ZEL_ASSERT_RETURN(0u != this->_textureID, -1, "Texutre is NULL on internalFormat()");
    ZEL_ASSERT_RETURN(0u != this->_target, -1, "Texture target is not set on internalFormat()");
    ZEL_ASSERT_RETURN(this->isBound(), -1, "Texture target is not bound");
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
