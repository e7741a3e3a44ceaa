#pragma once

#include "TextureFileInfo.h"
#include "TextureFormat.h"
#include "TextureToken.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtGui/QColor>

#include <memory>

namespace Orvane { namespace Zel {

class GLSLMacroProcessor;
class ShaderProgram;
class Texture;
class TexturePool;
class TokenSet;

/// Gives textures tokens, by which shaders sample them.
///
/// A client requests the token of an image file, a colour or a texture, stores it as plain data, and samples with
/// managedTexture(token, uv), which TextureManager.glslh declares. Each concrete manager uses another mechanism of GL to find
/// the sampler of a token. A host makes its shaders fit in two steps: setup() adds the manager's defines, and each program
/// links the file that getShaderFile() names.
///
/// A draw calls bind(tokens), bind(program), the draw itself, unbind(program), unbind(tokens), in this order.
///
/// \snippet managers.cpp TextureManager
///
/// Units:   paths as in QFileInfo; of the files in Qt's resources, only images that QImage reads are supported. UDIM patches
///          by tile index.
/// Context: all functions but the token look-ups need the context of the manager's textures current.
/// Errors:  a missing image logs a warning and is shown as white. An unknown token has no texture.
/// Ownership: the manager owns the textures that it makes. clear() also deletes the textures that were passed to
///          tokenForTexture(). The caller owns the patches of a UDIM set until its first bind, which calls tokenForTexture()
///          for each of them.
class ZELGL_EXPORT TextureManager
{
    Q_DISABLE_COPY(TextureManager)

public:
    /// Which way the array manager scales textures of similar formats when it has no slot left for their own.
    enum SlotReallocationMethod {
        SlotReallocationDownscale = 0,
        SlotReallocationUpscale = 1,
    };

    /// Returns the process-wide manager. If setInstance() was not called, the first call makes a BindlessTextureManager if
    /// the driver has bindless textures, otherwise a SamplerTextureManager with eight slots.
    static TextureManager *Instance();
    /// Installs a manager, without deleting the previous one. Returns true.
    static bool setInstance(TextureManager *manager);

    TextureManager();
    virtual ~TextureManager();

    /// Returns the texture of a token, which the first call loads. Returns null for an unknown token and for a UDIM set, and
    /// the white texture for an image that cannot be loaded.
    virtual Texture *textureForToken(const TextureToken &token);
    virtual Texture *textureForImage(const QString &path, const TextureFileInfo &info);
    virtual Texture *textureForColor(const QColor &color);

    virtual TextureToken tokenForTexture(Texture *texture);
    /// Records path and options without loading. A file has one token, and keeps the options of the first call. Returns the
    /// token of white for a missing file.
    virtual TextureToken tokenForImage(const QString &path, const TextureFileInfo &info);
    virtual TextureToken tokenForColor(const QColor &color);

    /// Frees the token and deletes its texture, unless that wraps a foreign GL name. Call textureForToken() first: a token
    /// that was never loaded keeps its path or colour, so that the next request for it returns the freed number, which may
    /// belong to another texture by then.
    virtual void deleteTexture(const TextureToken &token);
    virtual void deleteTexture(Texture *texture);

    /// Prepares the textures of the tokens that the next draws may sample.
    virtual void bind(const QVector<TextureToken> &tokens);
    virtual void bind(const QSet<TextureToken> &tokens);
    virtual void bind(const QList<TextureToken> &tokens) = 0;
    virtual void unbind(const QVector<TextureToken> &tokens) = 0;

    virtual void bind();
    virtual void unbind();
    /// Sets the manager's uniforms in a program or, for null, in the current GL program.
    virtual void bind(ShaderProgram *program) = 0;
    virtual void unbind(ShaderProgram *program) = 0;

    /// Call it after the pixels, the size or the format of a texture change.
    virtual void dirty(Texture *texture);
    /// Adds the manager's defines to the shaders that \a processor reads.
    virtual void setup(GLSLMacroProcessor *processor);
    /// The GLSL file that implements TextureManager.glslh for this manager.
    virtual QString getShaderFile() = 0;
    /// Deletes all textures with a token, managed or not. The next token is 0.
    virtual void clear();

    virtual void setMaxSlots(int count);
    virtual void setSlotReallocationMethod(SlotReallocationMethod method);
    virtual bool supportsUDIMs() const;

    // Called by the base class, for concrete managers to override.
    virtual void textureTokenIssued(const TextureToken &token);
    virtual void textureTokenRevoked(const TextureToken &token);

    int getMaxSlots() const;

    /// Returns the highest token in use plus one.
    TextureToken maxToken() const;
    const QHash<Texture *, TextureToken> &textureTokenMap() const;

    TextureToken reserveToken();
    /// Returns the first of \a count consecutive tokens.
    TextureToken reserveTokenBlock(int count);
    void deleteToken(const TextureToken &token);

    void setTextureRoot(const QString &root);
    QString getTextureRoot() const;
    /// Returns the first file that exists among the path, the path under the root, and its last component under the root.
    /// If there is none, logs a debug message and returns the path unchanged.
    QString resolveTexturePath(QString path) const;
    /// Returns the resolved paths of all image tokens, sorted.
    QStringList textureFiles() const;

    /// Returns the token of a new set of UDIM patches, or the null token if the manager does not support them.
    TextureToken createUDIMToken();
    /// \a token must come from createUDIMToken(). The first bind of a set fixes its patches: later additions and removals do
    /// not change what is drawn, and dirty() has no effect on a patch. To draw other patches, remove all, delete the set and
    /// create a new one.
    void addUDIMPatch(TextureToken token, const QPoint &patch, Texture *texture);
    void removeUDIMPatch(TextureToken token, Texture *texture);
    /// Returns false, and changes nothing, if the set has patches.
    bool deleteUDIM(TextureToken token);

    // Scratch textures, see TexturePool.
    Texture *tempTexture(TextureFormat format, int width, int height, int depth, int samples);
    void addTempTextureRef(Texture *texture, int count);
    void releaseTempTextureRef(Texture *texture, int count);
    void printTempTextureSummary();
    void deleteUnusedTempTextures();
    void setTempTextureFixedSampleLocations(bool fixed);

protected:
    void recordTexture(const TextureToken &token, Texture *texture);
    /// Revokes a token, removes it from all maps and deletes its texture, unless that wraps a foreign GL name.
    void dropTexture(const TextureToken &token);

    int _maxSlots = 8;
    TextureToken _maxToken = 0;
    std::unique_ptr<TokenSet> _freeTokens; ///< holes below _maxToken
    // Each is the inverse of the other, and both always have the pair of the null token and the null pointer.
    QHash<TextureToken, Texture *> _tokenToTexture;
    QHash<Texture *, TextureToken> _textureToToken;
    QHash<QString, TextureToken> _pathToToken; ///< by resolved path
    QHash<TextureToken, QString> _tokenToPath;
    QHash<TextureToken, TextureFileInfo> _tokenToFileInfo;
    QHash<unsigned int, TextureToken> _colorToToken; ///< by QColor::rgba()
    QHash<TextureToken, QColor> _tokenToColor;
    QString _textureRoot;
    TexturePool *_texturePool; ///< owned
    QHash<TextureToken, QHash<QPoint, Texture *>> _udimPatches;
};

}} // namespace Orvane::Zel
