#pragma once

#include "Bindable.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVector>

#include <atomic>

namespace Orvane { namespace Zel {

class Texture;

/// A GL framebuffer and a record of its attachments: texture, mip level and order of the draw buffers.
///
/// \snippet textures.cpp FramebufferObject
///
/// Units:   attachment points are GL's enums; levels and layers count from 0.
/// Context: construct, use and delete with the same context current. bind() does not
///          nest, and unbind() binds framebuffer 0: the caller saves the previous
///          binding if it needs it.
/// Errors:  calls in the wrong order log a critical message and return false or null.
///          Attaching to a point that is in use logs one too, and still attaches. A
///          null texture returns false without a message.
/// Source:  OpenGL 3.2 core, framebuffer objects.
///
/// Textures are borrowed: deleting the framebuffer does not delete them.
class ZELGL_EXPORT FramebufferObject : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(FramebufferObject)

public:
    /// Number of objects that have a GL name.
    static int NumAlive();
    /// Number of attachments since the last reset. Calls of attachUpdate() that needed
    /// no GL call count too.
    static int NumFBOTextures();
    static void ResetNumFBOTextures();
    /// Number of attachments that are not detached yet.
    static int NumActiveFBOTextures();

    /// Calls create().
    explicit FramebufferObject(QObject *parent);
    /// Takes ownership of a GL name: destroy() deletes it.
    FramebufferObject(unsigned int fbo, QObject *parent);
    ~FramebufferObject() override;

    bool create();
    /// Deletes the GL framebuffer. Returns false, and deletes nothing, while bound.
    /// getFBO() still returns the name afterwards: do not use the object again.
    bool destroy();
    unsigned int getFBO() const;
    /// Replaces the name; does not delete the previous one.
    void setFBO(unsigned int fbo);

    bool bind() override;
    bool unbind() override;

    // Attachments change only while bound. None of these calls sets the draw buffers: call setDrawBuffers() afterwards.

    /// Attaches one level of a 2D, rectangle or 2D multisample texture. Refuses 3D and
    /// 2D array textures, which attachLayers() and attach3D() accept. All other targets,
    /// such as 1D and cube maps, are recorded and passed to glFramebufferTexture2D(),
    /// which raises a GL error.
    bool attach(Texture *texture, unsigned int attachmentPoint, int level);
    /// Replaces the texture or the level at a point that is in use; calls attach() for a
    /// free one. Makes no GL call if nothing changes.
    bool attachUpdate(Texture *texture, unsigned int attachmentPoint, int level);
    /// Attaches all layers of a 3D or 2D array texture, for layered rendering.
    bool attachLayers(Texture *texture, unsigned int attachmentPoint, int level);
    /// Attaches one layer of a 3D, 2D array or cube map array texture.
    bool attach3D(Texture *texture, unsigned int attachmentPoint, int layer, int level);
    /// Creates a texture and attaches it. The caller owns the texture and gets it from
    /// attachment(). If the texture cannot be attached, it is deleted.
    bool createTexture2D(unsigned int attachmentPoint, unsigned int target, unsigned int internalFormat,
                         int width, int height);
    /// The same with layer i attached to \a attachmentPoint + i.
    bool createTexture3D(unsigned int attachmentPoint, unsigned int target, unsigned int internalFormat,
                         int width, int height, int depth);
    /// Returns the texture that was attached, or null if there was none.
    Texture *detach(unsigned int attachmentPoint);
    void detachAll();
    /// Detaches a scratch texture of TextureManager::tempTexture() and releases it to
    /// its pool. Returns null, without a message, if nothing is attached.
    Texture *detachAndRelease(unsigned int attachmentPoint);
    void detachAndReleaseAll();

    Texture *attachment(unsigned int attachmentPoint) const;
    bool hasAttachment(unsigned int attachmentPoint) const;
    QList<unsigned int> attachmentPoints() const;

    /// Makes the colour attachments the draw buffers, in the order in which they were
    /// attached. If the read buffer has no attachment, it becomes the first of them, or
    /// GL_NONE. In OpenGL 3.2 a framebuffer without colour attachment 0, such as one
    /// with depth only, is complete only after this call.
    void setDrawBuffers();
    /// Queries GL and logs the cause at debug level if the framebuffer is incomplete.
    /// Binds for the query if necessary. Returns false without a GL name.
    bool isComplete();

private:
    ZELGL_NO_EXPORT bool isReadyToAttach(const Texture *texture) const;
    ZELGL_NO_EXPORT bool isReadyToAttachAt(const Texture *texture, unsigned int attachmentPoint) const;
    ZELGL_NO_EXPORT void recordAttachment(Texture *texture, unsigned int attachmentPoint, int level);

    ZELGL_NO_EXPORT static std::atomic<int> _numAlive;
    ZELGL_NO_EXPORT static std::atomic<int> _numFBOTextures;
    ZELGL_NO_EXPORT static std::atomic<int> _numActiveFBOTextures;

    unsigned int _fbo = 0; ///< GL name; 0: none
    bool _fboBound = false;
    QHash<unsigned int, Texture *> _attachments; ///< by attachment point; borrowed
    QHash<unsigned int, int> _attachmentLevels;  ///< by attachment point
    QVector<unsigned int> _drawBuffers;          ///< colour points in order of attachment
    unsigned int _readBuffer = 0;                ///< GL's value: set by setDrawBuffers()
};

}} // namespace Orvane::Zel
