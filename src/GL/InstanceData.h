#pragma once

#include "TextureToken.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

class InstanceDataPlan;
class Texture;
class TextureManager;

/// The values of one item of a plan: a block of bytes in the plan's layout, and
/// the texture tokens among them.
///
/// Units:   sizes and offsets are bytes.
/// Context: none; only the forms with a texture ask the texture manager.
/// Errors:  an unknown member, a value larger than its member or of the wrong kind
///          is reported, and written all the same as far as it stays inside the
///          item. Without a plan nothing is written.
/// Source:  -
///
/// A value class: copies share their bytes until one is written.
class ZELGL_EXPORT InstanceData
{
public:
    /// Without a plan: a place to assign to.
    InstanceData();
    /// All zeros, by the registered plan of that name.
    explicit InstanceData(const QString &planName);

    /// A member by name. A shorter value leaves the rest of the member as it was.
    /// Not for textures.
    void set(const QString &name, const void *data, unsigned long size);
    /// By offset, without checks of the member.
    void set(int offset, const void *data, unsigned long size);
    /// The whole member, of the plan's size, whatever \a destSize says.
    void get(const QString &name, void *dest, unsigned long destSize) const;
    void get(int offset, unsigned long size, void *dest, unsigned long destSize) const;

    // Textures, by the token that the manager gives for them; without a manager
    // given, TextureManager::Instance().

    void setTexture(const QString &name, Texture *texture, TextureManager *textureManager);
    void setTexture(const QString &name, Texture *texture);
    void setTexture(const QString &name, const QString &path);
    void setTexture(int offset, Texture *texture, TextureManager *textureManager);
    void setTexture(int offset, Texture *texture);
    void setTextureToken(int offset, TextureToken token);
    /// All tokens that were ever set, replaced ones included.
    const QVector<TextureToken> &getTextureTokens() const;

    /// Back to zeros, and no tokens.
    void clear();
    /// No tokens; the bytes stay.
    void clearTextures();

    QByteArray dataArray() const;
    /// The plan's name.
    QString name() const;
    quint64 memoryEstimateCPU() const;

private:
    /// Reports its absence.
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
