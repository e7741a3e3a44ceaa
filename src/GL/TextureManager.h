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

/// The front of all textures that shaders sample by token.
///
/// A client asks for a token for an image path, a colour or a texture, stores it
/// as plain data, and writes its shaders against `managedTexture(token, uv)` of
/// TextureManager.glslh. Which GL mechanism carries the token to a sampler is the
/// affair of the concrete manager. The shader learns it from the defines that
/// setup() adds and from the file named by getShaderFile(), which the host links
/// into its programs.
///
/// Calls of a draw go in the order bind(tokens), bind(program), draw,
/// unbind(program), unbind(tokens).
///
/// Units:   paths as QFileInfo takes them, but of the files in Qt's resources only
///          images that QImage reads; UDIM patches by tile index.
/// Context: everything but the token look-ups needs the one context of the
///          manager's textures current.
/// Errors:  a missing image is told and shown as white; an unknown token has no
///          texture.
/// Ownership: textures made here belong to the manager, and so do those given to
///          tokenForTexture() once clear() is called. Patches of a UDIM set are the
///          caller's until the first bind of the set, which calls tokenForTexture()
///          for each of them.
class ZELGL_EXPORT TextureManager
{
    Q_DISABLE_COPY(TextureManager)

public:
    /// What an array slot does with textures that do not fit its size.
    enum SlotReallocationMethod {
        SlotReallocationDownscale = 0,
        SlotReallocationUpscale = 1,
    };

    /// The process-wide manager. Where none was installed, the first call makes a
    /// BindlessTextureManager if the driver has bindless textures, otherwise a
    /// SamplerTextureManager with eight slots.
    static TextureManager *Instance();
    /// Installs a manager; always true. The previous one is not deleted.
    static bool setInstance(TextureManager *manager);

    TextureManager();
    virtual ~TextureManager();

    /// The token's texture, loaded at the first request; null for an unknown
    /// token and for a UDIM set, white for an image that cannot be loaded.
    virtual Texture *textureForToken(const TextureToken &token);
    virtual Texture *textureForImage(const QString &path, const TextureFileInfo &info);
    virtual Texture *textureForColor(const QColor &color);

    virtual TextureToken tokenForTexture(Texture *texture);
    /// Records path and options; one file has one token and the options of the
    /// first request. A missing file gives the token of white.
    virtual TextureToken tokenForImage(const QString &path, const TextureFileInfo &info);
    virtual TextureToken tokenForColor(const QColor &color);

    /// Gives the token back and deletes its texture, unless that wraps a foreign name.
    /// Call textureForToken() first: a token that was never loaded keeps its path or
    /// colour, so that the next request for it returns the freed number, which may by
    /// then belong to something else.
    virtual void deleteTexture(const TextureToken &token);
    virtual void deleteTexture(Texture *texture);

    /// Tells the tokens that the next draws may touch.
    virtual void bind(const QVector<TextureToken> &tokens);
    virtual void bind(const QSet<TextureToken> &tokens);
    virtual void bind(const QList<TextureToken> &tokens) = 0;
    virtual void unbind(const QVector<TextureToken> &tokens) = 0;

    virtual void bind();
    virtual void unbind();
    /// Hands the state to a program's uniforms; null means the current GL program.
    virtual void bind(ShaderProgram *program) = 0;
    virtual void unbind(ShaderProgram *program) = 0;

    /// The pixels of a texture have changed.
    virtual void dirty(Texture *texture);
    /// Adds the manager's defines.
    virtual void setup(GLSLMacroProcessor *processor);
    /// The GLSL file that implements TextureManager.glslh for this manager.
    virtual QString getShaderFile() = 0;
    /// Deletes all textures with a token, managed or not, and numbers from 0 again.
    virtual void clear();

    virtual void setMaxSlots(int count);
    virtual void setSlotReallocationMethod(SlotReallocationMethod method);
    virtual bool supportsUDIMs() const;

    // Hooks of a concrete manager.
    virtual void textureTokenIssued(const TextureToken &token);
    virtual void textureTokenRevoked(const TextureToken &token);

    int getMaxSlots() const;

    /// One past the highest token handed out.
    TextureToken maxToken() const;
    const QHash<Texture *, TextureToken> &textureTokenMap() const;

    TextureToken reserveToken();
    /// The first of \a count consecutive tokens.
    TextureToken reserveTokenBlock(int count);
    void deleteToken(const TextureToken &token);

    void setTextureRoot(const QString &root);
    QString getTextureRoot() const;
    /// The first existing file of: the path, the path under the root, its last
    /// component under the root; otherwise the path unchanged, which is told.
    QString resolveTexturePath(QString path) const;
    /// The resolved paths of all image tokens, sorted.
    QStringList textureFiles() const;

    /// A token for a set of UDIM patches; null where the manager has no support.
    TextureToken createUDIMToken();
    /// \a token must come from createUDIMToken(). The first bind of a set fixes its
    /// patches: adding and removing change nothing that is drawn afterwards, and
    /// dirty() has no effect on them. To draw others, remove all, delete the set and
    /// create a new one.
    void addUDIMPatch(TextureToken token, const QPoint &patch, Texture *texture);
    void removeUDIMPatch(TextureToken token, Texture *texture);
    /// False, and nothing changes, while the set has patches.
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
    /// Revokes a token, takes it out of all maps and deletes its texture, unless that wraps a foreign name.
    void dropTexture(const TextureToken &token);

    int _maxSlots = 8;
    TextureToken _maxToken = 0;
    std::unique_ptr<TokenSet> _freeTokens; ///< holes below _maxToken
    // Mirrors of each other; both always hold the pair of the null token and the null pointer.
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
