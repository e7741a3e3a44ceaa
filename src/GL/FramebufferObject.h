#pragma once

#include "Bindable.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVector>

#include <atomic>

namespace Orvane { namespace Zel {

class Texture;

/// One GL framebuffer name, with a book of what is attached where, at which mip
/// level, and which of it are draw buffers.
///
/// \snippet textures.cpp FramebufferObject
///
/// Units:   attachment points are GL's enums; levels and layers count from 0.
/// Context: construct, use and delete with one and the same context current. The
///          bind does not nest, and unbind() goes to framebuffer 0: whoever needs
///          the previous binding saves it.
/// Errors:  a wrong order of calls is diagnosed and answered with false or null. A
///          point that is taken is reported, and attached to all the same. A null
///          texture is answered with false.
/// Source:  OpenGL 3.2 core, framebuffer objects.
///
/// Textures are borrowed: deleting the framebuffer leaves them alone.
class ZELGL_EXPORT FramebufferObject : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(FramebufferObject)

public:
    /// Objects with a GL name.
    static int NumAlive();
    /// Attachments made since the last reset, those that attachUpdate() saved
    /// included: a measure of churn.
    static int NumFBOTextures();
    static void ResetNumFBOTextures();
    /// Attachments made and not detached.
    static int NumActiveFBOTextures();

    /// Makes a GL name.
    explicit FramebufferObject(QObject *parent);
    /// Takes over a GL name, which destroy() deletes.
    FramebufferObject(unsigned int fbo, QObject *parent);
    ~FramebufferObject() override;

    bool create();
    /// True without a name; false, and the name stays, while bound. Otherwise the
    /// name stays on record, for the end of the object's life only.
    bool destroy();
    unsigned int getFBO() const;
    /// Replaces the name on record; deletes nothing.
    void setFBO(unsigned int fbo);

    bool bind() override;
    bool unbind() override;

    // Attachments change only while bound; setDrawBuffers() is then the caller's to call.

    /// A level of a 2D, rectangle or 2D multisample texture. 3D and 2D array textures
    /// are refused: attachLayers() and attach3D() take them. Other targets, such as 1D
    /// and cube maps, go to glFramebufferTexture2D() as they are, which GL reports as
    /// an error, and are recorded like an attachment.
    bool attach(Texture *texture, unsigned int attachmentPoint, int level);
    /// Puts another texture or level at a point that is taken, or attaches; no GL
    /// call where nothing changes.
    bool attachUpdate(Texture *texture, unsigned int attachmentPoint, int level);
    /// All layers of a 3D or 2D array texture, for layered rendering.
    bool attachLayers(Texture *texture, unsigned int attachmentPoint, int level);
    /// One layer of a 3D, 2D array or cube map array texture.
    bool attach3D(Texture *texture, unsigned int attachmentPoint, int layer, int level);
    /// Makes and attaches a texture that belongs to the caller, who finds it with
    /// attachment(). A texture that cannot be attached is deleted.
    bool createTexture2D(unsigned int attachmentPoint, unsigned int target, unsigned int internalFormat,
                         int width, int height);
    /// The same with layer i at point \a attachmentPoint + i.
    bool createTexture3D(unsigned int attachmentPoint, unsigned int target, unsigned int internalFormat,
                         int width, int height, int depth);
    /// What was attached; null where nothing was.
    Texture *detach(unsigned int attachmentPoint);
    void detachAll();
    /// Detaches a scratch texture of TextureManager::tempTexture() and gives it
    /// back; null, in silence, where nothing is attached.
    Texture *detachAndRelease(unsigned int attachmentPoint);
    void detachAndReleaseAll();

    Texture *attachment(unsigned int attachmentPoint) const;
    bool hasAttachment(unsigned int attachmentPoint) const;
    QList<unsigned int> attachmentPoints() const;

    /// Draws to the colour attachments, in the order in which they were attached. A
    /// read buffer without an attachment becomes the first of these, or GL_NONE. In
    /// OpenGL 3.2 framebuffers without attachment 0, depth alone for instance, are
    /// complete only after this call.
    void setDrawBuffers();
    /// Logs at debug level what is missing. Binds for the query if necessary; false
    /// without a name.
    bool isComplete();

private:
    bool isReadyToAttach(const Texture *texture) const;
    bool isReadyToAttachAt(const Texture *texture, unsigned int attachmentPoint) const;
    void recordAttachment(Texture *texture, unsigned int attachmentPoint, int level);

    static std::atomic<int> _numAlive;
    static std::atomic<int> _numFBOTextures;
    static std::atomic<int> _numActiveFBOTextures;

    unsigned int _fbo = 0; ///< GL name; 0: none
    bool _fboBound = false;
    QHash<unsigned int, Texture *> _attachments; ///< by attachment point; borrowed
    QHash<unsigned int, int> _attachmentLevels;  ///< by attachment point
    QVector<unsigned int> _drawBuffers;          ///< colour points as attached
    unsigned int _readBuffer = 0;                ///< as setDrawBuffers() left it
};

}} // namespace Orvane::Zel
