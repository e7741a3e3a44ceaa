#include "FramebufferObject.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "private/EntryPoint.h"
#include "private/SharedTexturePool.h"

namespace Orvane { namespace Zel {

namespace {

/// 3D and 2D array textures, and their proxies.
bool isLayeredTarget(unsigned int target)
{
    switch (target) {
    case GL_TEXTURE_3D:
    case GL_PROXY_TEXTURE_3D:
    case GL_TEXTURE_2D_ARRAY:
    case GL_PROXY_TEXTURE_2D_ARRAY:
        return true;
    default:
        return false;
    }
}

bool isColorAttachment(unsigned int attachmentPoint)
{
    return attachmentPoint != GL_DEPTH_ATTACHMENT && attachmentPoint != GL_STENCIL_ATTACHMENT
           && attachmentPoint != GL_DEPTH_STENCIL_ATTACHMENT;
}

/// Whether a level of the texture is a single image: attach() and attachUpdate() require it.
bool isSingleImage(const Texture *texture)
{
    if (isLayeredTarget(texture->target())) {
        // The condition "false" is part of the message.
        ZEL_ASSERT_RETURN(false, false,
                          "Texture Target 0x%X is not supported by FramebufferObject::attach() use "
                          "FramebufferObject::attach3D()",
                          texture->target());
    }
    return true;
}

const char *incompleteText(GLenum status)
{
    switch (status) {
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT:
        return "Not all framebuffer attachment points are framebuffer attachment complete.";
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT:
        return "No images are attached to the framebuffer.";
    case GL_FRAMEBUFFER_UNSUPPORTED:
        return "The combination of internal formats of the attached images violates an "
               "implementation-dependent "
               "set of restrictions.";
    default:
        return "";
    }
}

} // namespace

// Atomic, because every thread with a context may create framebuffers. The counts order no other memory.
std::atomic<int> FramebufferObject::_numAlive{0};
std::atomic<int> FramebufferObject::_numFBOTextures{0};
std::atomic<int> FramebufferObject::_numActiveFBOTextures{0};

int FramebufferObject::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
}

int FramebufferObject::NumFBOTextures()
{
    return _numFBOTextures.load(std::memory_order_relaxed);
}

void FramebufferObject::ResetNumFBOTextures()
{
    _numFBOTextures.store(0, std::memory_order_relaxed);
}

int FramebufferObject::NumActiveFBOTextures()
{
    return _numActiveFBOTextures.load(std::memory_order_relaxed);
}

FramebufferObject::FramebufferObject(QObject *parent)
    : QObject(parent)
{
    create();
}

FramebufferObject::FramebufferObject(unsigned int fbo, QObject *parent)
    : QObject(parent)
{
    setFBO(fbo);
}

FramebufferObject::~FramebufferObject()
{
    destroy();
}

bool FramebufferObject::create()
{
    ZEL_ASSERT_RETURN(0u == this->_fbo, false, "Framebuffer Object is not NULL on create");
    ZEL_ASSERT_RETURN(false == this->_fboBound, false, "Framebuffer Object is already bound on create");
    ZEL_ASSERT_RETURN(nullptr != glGenFramebuffers, false, kNotInitialized);
    unsigned int fbo = 0;
    glGenFramebuffers(1, &fbo);
    setFBO(fbo);
    return true;
}

bool FramebufferObject::destroy()
{
    ZEL_ASSERT_RETURN(false == this->_fboBound, false, "Framebuffer Object is already bound on destroy");
    if (_fbo != 0) {
        // Deletes wrapped names too; see FramebufferObjectTest.CountsObjectsWithAName. _fbo keeps the name for
        // getFBO().
        glDeleteFramebuffers(1, &_fbo);
        _numAlive.fetch_sub(1, std::memory_order_relaxed);
    }
    return true;
}

unsigned int FramebufferObject::getFBO() const
{
    return _fbo;
}

// Counts names, not objects: an object without a name uses no GL memory. See FramebufferObjectTest.CountsObjectsWithAName.
void FramebufferObject::setFBO(unsigned int fbo)
{
    _numAlive.fetch_add(int(fbo != 0) - int(_fbo != 0), std::memory_order_relaxed);
    _fbo = fbo;
    _readBuffer = GL_COLOR_ATTACHMENT0; // GL's default for a new name; a query would need a bind
}

bool FramebufferObject::bind()
{
    ZEL_ASSERT_RETURN(0u != this->_fbo, false, "Framebuffer Object is NULL on bind");
    ZEL_ASSERT_RETURN(false == this->_fboBound, false, "Framebuffer Object is already bound on bind");
    glBindFramebuffer(GL_FRAMEBUFFER, _fbo);
    _fboBound = true;
    return true;
}

bool FramebufferObject::unbind()
{
    ZEL_ASSERT_RETURN(0u != this->_fbo, false, "Framebuffer Object is NULL on unbind");
    ZEL_ASSERT_RETURN(true == this->_fboBound, false, "Framebuffer Object is not bound on unbind");
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    _fboBound = false;
    return true;
}

bool FramebufferObject::attach(Texture *texture, unsigned int attachmentPoint, int level)
{
    if (!isReadyToAttachAt(texture, attachmentPoint) || !isSingleImage(texture)) {
        return false;
    }
    glFramebufferTexture2D(GL_FRAMEBUFFER, attachmentPoint, texture->target(), texture->textureID(), level);
    recordAttachment(texture, attachmentPoint, level);
    return true;
}

bool FramebufferObject::attachUpdate(Texture *texture, unsigned int attachmentPoint, int level)
{
    if (!isReadyToAttach(texture)) {
        return false;
    }
    if (!_attachments.contains(attachmentPoint)) {
        return attach(texture, attachmentPoint, level);
    }
    _numFBOTextures.fetch_add(1, std::memory_order_relaxed); // counts requests, not GL calls
    if (_attachments.value(attachmentPoint) == texture && _attachmentLevels.value(attachmentPoint) == level) {
        return true;
    }
    if (!isSingleImage(texture)) {
        return false;
    }
    glFramebufferTexture(GL_FRAMEBUFFER, attachmentPoint, texture->textureID(), level);
    // Not recordAttachment(): the point is a draw buffer already, and the number of active attachments stays.
    _attachments[attachmentPoint] = texture;
    _attachmentLevels[attachmentPoint] = level;
    return true;
}

// glFramebufferTexture() attaches all layers; a geometry shader selects one. For a texture without layers it would mean what
// attach() means, and is reported.
bool FramebufferObject::attachLayers(Texture *texture, unsigned int attachmentPoint, int level)
{
    if (!isReadyToAttachAt(texture, attachmentPoint)) {
        return false;
    }
    if (!isLayeredTarget(texture->target())) {
        ZEL_ASSERT_RETURN(false, false,
                          "Texture Target 0x%X is not supported by FramebufferObject::attachLayer() use "
                          "FramebufferObject::attach()",
                          texture->target());
    }
    glFramebufferTexture(GL_FRAMEBUFFER, attachmentPoint, texture->textureID(), level);
    recordAttachment(texture, attachmentPoint, level);
    return true;
}

bool FramebufferObject::attach3D(Texture *texture, unsigned int attachmentPoint, int layer, int level)
{
    if (!isReadyToAttachAt(texture, attachmentPoint)) {
        return false;
    }
    switch (texture->target()) {
    case GL_TEXTURE_2D_ARRAY:
    case GL_PROXY_TEXTURE_2D_ARRAY:
    case GL_TEXTURE_CUBE_MAP_ARRAY: // glFramebufferTexture3D() refuses arrays
        glFramebufferTextureLayer(GL_FRAMEBUFFER, attachmentPoint, texture->textureID(), level, layer);
        break;
    default:
        glFramebufferTexture3D(GL_FRAMEBUFFER, attachmentPoint, texture->target(), texture->textureID(),
                               level, layer);
        break;
    }
    recordAttachment(texture, attachmentPoint, level);
    return true;
}

bool FramebufferObject::createTexture2D(unsigned int attachmentPoint, unsigned int target,
                                        unsigned int internalFormat, int width, int height)
{
    auto *texture = new Texture(nullptr);
    texture->create2D(target, internalFormat, width, height);
    if (attach(texture, attachmentPoint, 0)) {
        return true;
    }
    delete texture; // without an attachment the caller has no way to get it
    return false;
}

bool FramebufferObject::createTexture3D(unsigned int attachmentPoint, unsigned int target,
                                        unsigned int internalFormat, int width, int height, int depth)
{
    auto *texture = new Texture(nullptr);
    texture->create3D(target, internalFormat, width, height, depth);
    // All layers of one texture, at consecutive points, so that a shader with several outputs writes one layer with each; see
    // FramebufferObjectTest.EachTargetHasACallAndLayersAreAtConsecutivePoints.
    bool attached = false;
    for (int layer = 0; layer < depth; ++layer) {
        attached = attach3D(texture, attachmentPoint + static_cast<unsigned int>(layer), layer, 0);
    }
    if (!attached) { // no condition depends on the layer: the last result is that of all layers
        delete texture;
    }
    return attached;
}

Texture *FramebufferObject::detach(unsigned int attachmentPoint)
{
    ZEL_ASSERT_RETURN(0u != this->_fbo, nullptr, "Framebuffer Object is NULL on detach");
    ZEL_ASSERT_RETURN(true == this->_fboBound, nullptr, "Framebuffer Object is not bound on detach");
    ZEL_ASSERT_RETURN(true == this->_attachments.contains(attachmentPoint), nullptr,
                      "Framebuffer Object has nothing attached to attachment at %d", attachmentPoint);
    ZEL_ASSERT_RETURN(true == this->_attachmentLevels.contains(attachmentPoint), nullptr,
                      "Framebuffer Object has no level info for attachment at %d", attachmentPoint);
    glFramebufferTexture(GL_FRAMEBUFFER, attachmentPoint, 0, _attachmentLevels.value(attachmentPoint));
    _attachmentLevels.remove(attachmentPoint);
    if (isColorAttachment(attachmentPoint)) {
        // A draw buffer without an image makes the framebuffer incomplete before OpenGL 4.1.
        _drawBuffers.removeAll(attachmentPoint);
    }
    _numActiveFBOTextures.fetch_sub(1, std::memory_order_relaxed);
    return _attachments.take(attachmentPoint);
}

void FramebufferObject::detachAll()
{
    const QList<unsigned int> points = attachmentPoints(); // a copy: detach() changes the table
    for (const unsigned int point : points) {
        detach(point);
    }
}

Texture *FramebufferObject::detachAndRelease(unsigned int attachmentPoint)
{
    if (!hasAttachment(attachmentPoint)) {
        return nullptr;
    }
    // Detached before the release, after which another framebuffer may draw into the texture.
    Texture *texture = detach(attachmentPoint);
    releaseToSharedPool(texture);
    return texture;
}

void FramebufferObject::detachAndReleaseAll()
{
    const QList<unsigned int> points = attachmentPoints();
    for (const unsigned int point : points) {
        detachAndRelease(point);
    }
}

Texture *FramebufferObject::attachment(unsigned int attachmentPoint) const
{
    ZEL_ASSERT_RETURN(true == this->_attachments.contains(attachmentPoint), nullptr,
                      "Framebuffer Object does not have an attachment at %d", attachmentPoint);
    return _attachments.value(attachmentPoint);
}

bool FramebufferObject::hasAttachment(unsigned int attachmentPoint) const
{
    return _attachments.contains(attachmentPoint);
}

QList<unsigned int> FramebufferObject::attachmentPoints() const
{
    return _attachments.keys();
}

void FramebufferObject::setDrawBuffers()
{
    // Required: the texts say "attach", and the call to GL follows even if both conditions fail; see
    // FramebufferObjectTest.WrongOrdersAreReportedAndChangeNothing.
    ZEL_ASSERT(0u != this->_fbo, "Framebuffer Object is NULL on attach");
    ZEL_ASSERT(true == this->_fboBound, "Framebuffer Object is not bound on attach");
    glDrawBuffers(_drawBuffers.size(), _drawBuffers.constData());
    // Before OpenGL 4.1 a read buffer without an image makes the framebuffer incomplete.
    const unsigned int firstOrNone = _drawBuffers.isEmpty() ? GL_NONE : _drawBuffers.constFirst();
    if (_fboBound && !_attachments.contains(_readBuffer) && _readBuffer != firstOrNone) {
        glReadBuffer(firstOrNone);
        _readBuffer = firstOrNone;
    }
}

bool FramebufferObject::isComplete()
{
    // GL checks the bound framebuffer only. The state of the object is the same after the query; see
    // FramebufferObjectTest.CompletenessIsCheckedInAnyStateAndFailuresAreReported.
    const bool wasBound = _fboBound;
    if (!wasBound && !bind()) {
        return false; // GL would check the framebuffer that the host has bound
    }
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (!wasBound) {
        unbind();
    }
    if (status == GL_FRAMEBUFFER_COMPLETE) {
        return true;
    }
    ZEL_LOG_DEBUG("Framebuffer is incomplete: %s", incompleteText(status));
    return false;
}

bool FramebufferObject::isReadyToAttach(const Texture *texture) const
{
    ZEL_ASSERT_RETURN(0u != this->_fbo, false, "Framebuffer Object is NULL on attach");
    ZEL_ASSERT_RETURN(true == this->_fboBound, false, "Framebuffer Object is not bound on attach");
    return texture != nullptr;
}

bool FramebufferObject::isReadyToAttachAt(const Texture *texture, unsigned int attachmentPoint) const
{
    if (!isReadyToAttach(texture)) {
        return false;
    }
    // Reports only: GL replaces the attachment, and the record follows it.
    ZEL_ASSERT(false == this->_attachments.contains(attachmentPoint),
               "Framebuffer Object already has attachment at %d", attachmentPoint);
    return true;
}

void FramebufferObject::recordAttachment(Texture *texture, unsigned int attachmentPoint, int level)
{
    _attachments[attachmentPoint] = texture;
    _attachmentLevels[attachmentPoint] = level;
    if (isColorAttachment(attachmentPoint)) {
        _drawBuffers.append(attachmentPoint); // a point that was in use is now listed twice
    }
    _numFBOTextures.fetch_add(1, std::memory_order_relaxed);
    _numActiveFBOTextures.fetch_add(1, std::memory_order_relaxed);
}

}} // namespace Orvane::Zel
