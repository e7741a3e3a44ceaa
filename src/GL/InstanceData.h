#pragma once

#include "TextureToken.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class InstanceDataPlan;
class Texture;
class TextureManager;

/// The values of one item of a plan: bytes in the plan's layout, and the texture
/// tokens among them.
///
/// A value class: copies share their bytes until one of them is changed.
///
/// \snippet instance_data.cpp InstanceData
///
/// Units:   sizes and offsets are bytes.
/// Context: none, except that the texture manager may need one to make a token.
/// Errors:  set() and setTexture() report an unknown member, a value that is larger
///          than its member, and the wrong one of the two functions; they write the
///          value anyway, unless a part of it would be outside the item. Without a
///          plan nothing is written.
class ZELGL_EXPORT InstanceData
{
public:
    /// No plan and no bytes; to be assigned to.
    InstanceData();
    /// All zeros. The plan is the registered one of that name; the registry reports an unknown name.
    explicit InstanceData(const QString &planName);

    /// Sets a member, which must not be a texture. A value shorter than the member leaves the rest unchanged.
    void set(const QString &name, const void *data, unsigned long size);
    /// The same by offset, as InstanceDataPlan::offset() returns it; members are not checked.
    void set(int offset, const void *data, unsigned long size);
    /// Copies the whole member to \a dest. \a destSize is ignored: \a dest must hold the size that the plan gives the
    /// member. An unknown name reads 8 bytes at offset 0.
    void get(const QString &name, void *dest, unsigned long destSize) const;
    void get(int offset, unsigned long size, void *dest, unsigned long destSize) const;

    // Textures: the member receives the token that the manager returns. Without \a textureManager the manager is
    // TextureManager::Instance(). The manager's clear() deletes \a texture.

    void setTexture(const QString &name, Texture *texture, TextureManager *textureManager);
    void setTexture(const QString &name, Texture *texture);
    void setTexture(const QString &name, const QString &path);
    void setTexture(int offset, Texture *texture, TextureManager *textureManager);
    void setTexture(int offset, Texture *texture);
    void setTextureToken(int offset, TextureToken token);
    /// Returns all tokens that were set since clear() or clearTextures(), replaced ones included.
    const QVector<TextureToken> &getTextureTokens() const;

    /// Sets all bytes to zero and removes the tokens.
    void clear();
    /// Removes the tokens from the list; the bytes do not change.
    void clearTextures();

    QByteArray dataArray() const;
    /// Returns the plan's name; empty without a plan.
    QString name() const;
    quint64 memoryEstimateCPU() const;

private:
    /// Returns false, and reports it, if there is no plan.
    ZELGL_NO_EXPORT bool hasPlan() const;
    ZELGL_NO_EXPORT void setTextureToken(const QString &dataName, TextureToken token);
    ZELGL_NO_EXPORT bool isInside(int offset, unsigned long size) const;
    ZELGL_NO_EXPORT void write(int offset, const void *data, unsigned long size);
    ZELGL_NO_EXPORT void read(int offset, unsigned long size, void *dest) const;

    InstanceDataPlan *_plan = nullptr; ///< borrowed from the registry
    QByteArray _data;
    QVector<TextureToken> _textureTokens;
};

}} // namespace Orvane::Zel
