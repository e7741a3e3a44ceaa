#pragma once

#include "Bindable.h"

#include <QtCore/QObject>

#include <atomic>

namespace Orvane { namespace Zel {

/// One GL texture name, with its target, size and format, bound through an
/// allocator of texture units.
///
/// A caller never chooses a unit: it binds, asks unit() which one it got, and
/// writes that number into a sampler uniform. Binds of one texture nest by
/// counting and share one unit. Units are handed out from the highest down, so
/// the low ones stay free longest. Pixels are uploaded and read by plain GL calls
/// of whoever holds the bind.
///
/// \snippet textures.cpp Texture
///
/// Units:   sizes are texels of the base level; levels count from 0.
/// Context: construct, bind and delete with one and the same context current. The
///          table of units is kept per context, by GL name: unbind before deleting,
///          or the unit stays taken and a later texture of that name inherits it.
/// Errors:  a wrong order of calls is diagnosed and answered with false, -1 or all
///          ones; without a free unit bind() warns and answers false.
/// Source:  OpenGL 3.2 core.
class ZELGL_EXPORT Texture : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(Texture)

public:
    /// Objects alive, wrapped names included.
    static int NumAlive();
    /// Whether the current context has this unit to give. False for a context in
    /// which no texture was bound yet.
    static bool isTextureUnitFree(unsigned int unit);

    /// Makes a GL name and owns it.
    explicit Texture(QObject *parent);
    /// The same with target, format and size on record; allocates no storage.
    Texture(unsigned int target, int internalFormat, int width, int height, int depth, QObject *parent);
    /// Wraps a foreign GL name, which is never deleted here; setTarget() must
    /// precede the first bind.
    Texture(unsigned int textureID, QObject *parent);
    ~Texture() override;

    bool create();
    /// Deletes a name that this object made. For the end of its life only: the
    /// name stays on record, and a second call deletes it again.
    bool destroy();

    /// Storage without pixels for the base level, nearest filters, and the record
    /// of both; GL_TEXTURE_2D. Answers this object.
    Texture *create2D(unsigned int target, unsigned int internalFormat, int width, int height);
    /// The same for GL_TEXTURE_2D_ARRAY and GL_TEXTURE_3D.
    Texture *create3D(unsigned int target, unsigned int internalFormat, int width, int height, int depth);
    /// Storage with fixed sample locations. Size and format are not recorded: ask GL
    /// for them with width(), height() and internalFormat().
    Texture *create2DMultisample(unsigned int target, unsigned int internalFormat, int width, int height,
                                 int samples);
    Texture *create3DMultisample(unsigned int target, unsigned int internalFormat, int width, int height,
                                 int depth, int samples);

    void setTarget(unsigned int target);
    /// Records size and format once, without a GL call; \a level must be 0. A second
    /// time is reported, and recorded all the same.
    void setSize(int level, int internalFormat, int width, int height, int depth);
    /// Marks the texture as shared, for good. Changes are then reported, and made
    /// all the same.
    void setReadOnly();

    /// Makes the texture's unit the active one, and takes a unit at the first bind.
    bool bind() override;
    /// Gives the unit back at the last unbind.
    bool unbind() override;
    bool isBound() const;
    /// The unit in the current context, as a sampler uniform takes it.
    unsigned int unit() const;
    /// GL_MAX_TEXTURE_IMAGE_UNITS of the current context.
    int maxTextureUnits() const;

    unsigned int target() const;
    unsigned int textureID() const;
    /// Whether this object made the GL name and deletes it.
    bool isManaged() const;
    bool isReadOnly() const;

    // Asked of GL: the caller holds the bind. Cube maps answer for the face +X.
    int width(int level);
    int height(int level);
    int depth(int level);
    int internalFormat(int level) const;
    int getTexLevelParameteriv(int level, unsigned int pname) const;

    /// What becomes of a base size at \a level; 0 above the last level of a full
    /// chain of the recorded size.
    int dimensionLevelSize(int size, int level);

private:
    friend class SamplerSlots; ///< asks for the unit with each bind

    /// bind(), and where it worked unit().
    bool bindToUnit(unsigned int &unit);

    void setFiltersNearest() const;

    static std::atomic<int> _numAlive;

    unsigned int _target = 0;    ///< 0: unset
    unsigned int _textureID = 0; ///< GL name; 0: none
    int _width = 0;
    int _height = 0;
    int _depth = 0;
    int _internalFormat = 0;
    int _maxLevel = 0; ///< last level of a full chain
    bool _managed = true;
    bool _readonly = false;
};

}} // namespace Orvane::Zel
