#pragma once

#include "Bindable.h"

#include <QtCore/QObject>

#include <atomic>

namespace Orvane { namespace Zel {

/// One GL texture name, with its target, size and format, bound through an
/// allocator of texture units.
///
/// A caller never chooses a unit: it binds the texture, gets the number with unit()
/// and writes that number into a sampler uniform. A texture may be bound several
/// times; the binds are counted and share one unit. The allocator returns the
/// highest free unit, so the low ones stay free longest. The class neither uploads
/// nor reads pixels: the caller does that with plain GL calls while it is bound.
///
/// \snippet textures.cpp Texture
///
/// Units:   sizes are in texels of the base level; levels count from 0.
/// Context: construct, bind and delete with the same context current. Each context
///          has its own units, which are assigned to GL names: unbind before you
///          delete, or the unit stays in use and a later texture with the same name
///          inherits it.
/// Errors:  calls in the wrong order log a critical message and return false, -1 or
///          all ones. If no unit is free, bind() logs a warning and returns false.
/// Source:  OpenGL 3.2 core.
class ZELGL_EXPORT Texture : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(Texture)

public:
    /// The number of existing objects, including those that wrap a foreign name.
    static int NumAlive();
    /// Returns true if the unit is free in the current context. Returns false if no
    /// texture was ever bound in it.
    static bool isTextureUnitFree(unsigned int unit);

    /// Creates a GL name and owns it.
    explicit Texture(QObject *parent);
    /// Also records target, format and size; allocates no storage.
    Texture(unsigned int target, int internalFormat, int width, int height, int depth, QObject *parent);
    /// Wraps a foreign GL name and never deletes it; call setTarget() before the
    /// first bind.
    Texture(unsigned int textureID, QObject *parent);
    ~Texture() override;

    bool create();
    /// Deletes the name if this object created it. Call it only at the end of the
    /// object's life: the object keeps the name, and a second call deletes it again.
    bool destroy();

    /// Allocates the base level without pixels, sets nearest filters and records
    /// format and size. The target is GL_TEXTURE_2D. Returns this object.
    Texture *create2D(unsigned int target, unsigned int internalFormat, int width, int height);
    /// The same for GL_TEXTURE_2D_ARRAY and GL_TEXTURE_3D.
    Texture *create3D(unsigned int target, unsigned int internalFormat, int width, int height, int depth);
    /// Allocates storage with fixed sample locations. Size and format are not
    /// recorded: query them with width(), height() and internalFormat().
    Texture *create2DMultisample(unsigned int target, unsigned int internalFormat, int width, int height,
                                 int samples);
    Texture *create3DMultisample(unsigned int target, unsigned int internalFormat, int width, int height,
                                 int depth, int samples);

    void setTarget(unsigned int target);
    /// Records size and format without a GL call; \a level must be 0. A second call
    /// logs an assertion and still records its values.
    void setSize(int level, int internalFormat, int width, int height, int depth);
    /// Marks the texture as shared; this cannot be undone. A later change logs an
    /// assertion but still takes effect.
    void setReadOnly();

    /// Makes the texture's unit active. The first bind acquires a unit.
    bool bind() override;
    /// The last unbind releases the unit.
    bool unbind() override;
    bool isBound() const;
    /// The unit in the current context, as the value of a sampler uniform.
    unsigned int unit() const;
    /// GL_MAX_TEXTURE_IMAGE_UNITS of the current context.
    int maxTextureUnits() const;

    unsigned int target() const;
    unsigned int textureID() const;
    /// Returns true if this object created the GL name and deletes it.
    bool isManaged() const;
    bool isReadOnly() const;

    // Queries to GL, while the texture is bound. For a cube map they query the +X face.
    int width(int level);
    int height(int level);
    int depth(int level);
    int internalFormat(int level) const;
    int getTexLevelParameteriv(int level, unsigned int pname) const;

    /// Returns the size at \a level for a size at the base level; 0 beyond the last
    /// level of a full chain of the recorded size.
    int dimensionLevelSize(int size, int level);

private:
    friend class SamplerSlots; ///< needs the unit with each bind

    /// bind(), and on success unit().
    bool bindToUnit(unsigned int &unit);

    void setFiltersNearest() const;

    static std::atomic<int> _numAlive;

    unsigned int _target = 0;    ///< 0: unset
    unsigned int _textureID = 0; ///< GL name; 0: none
    int _width = 0;
    int _height = 0;
    int _depth = 0;
    int _internalFormat = 0;
    int _maxLevel = 0; ///< the last level of a full chain
    bool _managed = true;
    bool _readonly = false;
};

}} // namespace Orvane::Zel
