#include "model/ModelTextures.h"

#include "file/Console.h"
#include "file/Counted.h"
#include "scene/Scene.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <set>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

Texture *loadEmbedded(const TextureSource &source, const TextureFileInfo &info)
{
    const QImage image = source.pixels.isNull() ? QImage::fromData(source.encoded) : source.pixels;
    if (!image.isNull()) {
        // Rows in GL's order, as for images that the library itself reads with QImage.
        return QImageToTexture(image.mirrored().convertToFormat(QImage::Format_ARGB32), false, info);
    }
    QByteArray bytes = source.encoded; // a copy, since readers may change their input
    return LoadTextureFromMemory(reinterpret_cast<unsigned char *>(bytes.data()), ulong(bytes.size()), info,
                                 source.name);
}

GLint toGL(TextureSource::Wrap wrap)
{
    switch (wrap) {
    case TextureSource::eClamp:
        return GL_CLAMP_TO_EDGE;
    case TextureSource::eMirror:
        return GL_MIRRORED_REPEAT;
    default:
        return GL_REPEAT;
    }
}

/// Generates all mip levels of the bound texture. The library creates a few for an image, and the array managers all for a
/// slot; the picture must not depend on the manager.
void completeLevels(Texture &texture)
{
    GLint last = 0;
    GLint isCompressed = GL_FALSE;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, &last);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_COMPRESSED, &isCompressed);
    const int whole = int(std::log2(std::max({texture.width(0), texture.height(0), 1})));
    if (last < whole && isCompressed == GL_FALSE) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, whole);
        glGenerateMipmap(GL_TEXTURE_2D);
    }
}

Texture *load(const TextureSource &source)
{
    TextureFileInfo info;
    info.srgb = source.isColor;
    // No anisotropic filter: with it llvmpipe (Mesa 22.3) needs minutes for some footprints of a model.
    const Console::Collector quiet; // the remark replaces the messages
    std::unique_ptr<Texture> texture(source.path.isEmpty() ? loadEmbedded(source, info)
                                                           : LoadTextureFromFile(source.path, info));
    if (texture == nullptr || texture->target() != GL_TEXTURE_2D) {
        return nullptr;
    }
    const AutoBinder bound(texture.get());
    if (texture->width(0) == 0) { // the driver has refused its format or its size
        return nullptr;
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, toGL(source.wrapU));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, toGL(source.wrapV));
    completeLevels(*texture);
    return texture.release();
}

TextureManager *newManager(ManagerKind kind)
{
    switch (kind) {
    case ManagerKind::eArray:
    case ManagerKind::eArrayBindless: {
        auto *manager = new Array2DTextureManager;
        const bool isBindless = kind == ManagerKind::eArrayBindless;
        manager->setBindMode(isBindless ? Array2DTextureManager::BindModeBindless
                                        : Array2DTextureManager::BindModeSampler);
        manager->setMaxSlots(isBindless ? 32 : 8);
        manager->setUseExplicitlyArrayAccessInGLSL(true); // the tiles of one draw may be in several slots
        return manager;
    }
    case ManagerKind::eBindless: {
        auto *manager = new BindlessTextureManager;
        manager->setMaxSlots(1); // all textures are read-only, and none uses a slot
        return manager;
    }
    default: {
        return new SamplerTextureManager;
    }
    }
}

/// By MapKind.
const char *const kMapDefines[] = {"ZELVIEW_BASE_COLOR_MAP", "ZELVIEW_SURFACE_MAP", "ZELVIEW_NORMAL_MAP",
                                   "ZELVIEW_OCCLUSION_MAP", "ZELVIEW_EMISSIVE_MAP"};

std::array<bool, kMapKinds> usedKinds(const Scene &scene)
{
    std::array<bool, kMapKinds> isUsed{};
    for (const Material &material : scene.materials) {
        for (size_t kind = 0; kind < kMapKinds; ++kind) {
            isUsed[kind] = isUsed[kind] || material.has(MapKind(kind));
        }
    }
    return isUsed;
}

/// The map that a material binds for a kind; see ModelTextures::token().
const MaterialMap &mapOf(const Material &material, MapKind kind, const std::array<bool, kMapKinds> &isUsed)
{
    return material.maps[isUsed[kind] ? kind : eBaseColorMap];
}

/// The greatest number of textures of a material, including white for missing ones.
int maxTextures(const Scene &scene, const std::array<bool, kMapKinds> &isUsed)
{
    size_t most = 1;
    for (const Material &material : scene.materials) {
        std::set<int> textures;
        for (size_t kind = 0; kind < kMapKinds; ++kind) {
            textures.insert(mapOf(material, MapKind(kind), isUsed).texture);
        }
        most = std::max(most, textures.size());
    }
    return int(most);
}

/// The captured groups of each match, joined by " to ", without duplicates.
QStringList captured(const QString &text, const char *pattern)
{
    QStringList found;
    const QRegularExpression form{QLatin1String(pattern)};
    for (auto matches = form.globalMatch(text); matches.hasNext();) {
        const QString groups = matches.next().capturedTexts().mid(1).join(QStringLiteral(" to "));
        if (!found.contains(groups)) {
            found.append(groups);
        }
    }
    return found;
}

/// One manager of each kind for a context: managers leave helper textures in the context when they are deleted.
std::array<TextureManager *, kManagerKinds> managers{};

TextureManager *managerOf(ManagerKind kind)
{
    TextureManager *&manager = managers[size_t(kind)];
    if (manager == nullptr) {
        manager = newManager(kind);
    }
    return manager;
}

} // namespace

bool ModelTextures::isSupported(ManagerKind kind)
{
    switch (kind) {
    case ManagerKind::eArrayBindless:
        return Array2DTextureManager::isBindlessSupported();
    case ManagerKind::eBindless:
        return BindlessTextureManager::isSupported();
    default:
        return true;
    }
}

void ModelTextures::deleteManagers()
{
    for (const ManagerKind kind : {ManagerKind::eArray, ManagerKind::eArrayBindless}) {
        if (auto *const manager = static_cast<Array2DTextureManager *>(managers[size_t(kind)])) {
            manager->deleteSlots();
        }
    }
    for (TextureManager *&manager : managers) {
        delete manager;
        manager = nullptr;
    }
}

ModelTextures::ModelTextures(const Scene &scene, ManagerKind kind)
    : _kind(kind)
    , _isUsed(usedKinds(scene))
    , _manager(managerOf(kind))
    , _white(_manager->tokenForColor(Qt::white))
{
    if (kind == ManagerKind::eSampler) { // the cost of a sample grows with the number of slots
        _manager->setMaxSlots(maxTextures(scene, _isUsed));
    }
    for (const TextureSource &source : scene.textures) {
        const bool isSet = !source.tiles.empty() && _manager->supportsUDIMs();
        _tokens.append(isSet ? addSet(source) : add(source));
    }
    _tokens.append(_white);
    placeInSlots();
}

ModelTextures::~ModelTextures()
{
    for (const Tile &tile : _tiles) {
        _manager->removeUDIMPatch(tile.set, tile.texture);
        _manager->deleteUDIM(tile.set); // deletes the set with the last of its tiles
    }
    for (Texture *texture : _textures) {
        _manager->deleteTexture(texture);
    }
}

TextureToken ModelTextures::token(const Material &material, MapKind kind) const
{
    return tokenOf(mapOf(material, kind, _isUsed).texture);
}

std::array<TextureToken, kMapKinds> ModelTextures::tokens(const Material &material) const
{
    std::array<TextureToken, kMapKinds> tokens;
    for (size_t kind = 0; kind < kMapKinds; ++kind) {
        tokens[kind] = token(material, MapKind(kind));
    }
    return tokens;
}

void ModelTextures::setUp(GLSLMacroProcessor *processor) const
{
    _manager->setup(processor);
    for (size_t kind = 0; kind < kMapKinds; ++kind) {
        if (_isUsed[kind]) {
            processor->addDefine(QLatin1String(kMapDefines[kind]), QStringLiteral("1"));
        }
    }
}

QString ModelTextures::shaderFile() const
{
    return _manager->getShaderFile();
}

void ModelTextures::bind(ShaderProgram *program) const
{
    _manager->bind(tokensAtOnce());
    _manager->bind(program);
}

void ModelTextures::unbind(ShaderProgram *program) const
{
    _manager->unbind(program);
    _manager->unbind(tokensAtOnce());
}

TextureToken ModelTextures::add(const TextureSource &source)
{
    if (!source.tiles.empty()) {
        _remarks.append(QStringLiteral("texture '%1' has tiles; the manager '%2' shows only the first")
                            .arg(source.name, managerName(_kind)));
    }
    Texture *texture = load(source);
    if (texture == nullptr) {
        _remarks.append(QStringLiteral("texture '%1' cannot be read and is drawn white").arg(source.name));
        return _white;
    }
    return addTexture(texture);
}

TextureToken ModelTextures::addSet(const TextureSource &source)
{
    const TextureToken set = _manager->createUDIMToken();
    for (const TextureTile &tile : source.tiles) {
        TextureSource alone;
        alone.path = tile.path;
        alone.isColor = source.isColor;
        alone.wrapU = TextureSource::eClamp; // no tile repeats its opposite side at its border
        alone.wrapV = TextureSource::eClamp;
        Texture *texture = load(alone);
        if (texture == nullptr) {
            _remarks.append(QStringLiteral("tile '%1' cannot be read and is left out").arg(tile.path));
            continue;
        }
        addTexture(texture);
        _manager->addUDIMPatch(set, {tile.column, tile.row}, texture);
        _tiles.push_back({set, texture});
    }
    return set;
}

TextureToken ModelTextures::addTexture(Texture *texture)
{
    texture->setReadOnly(); // the bindless manager creates handles only for such textures
    _textures.push_back(texture);
    return _manager->tokenForTexture(texture);
}

void ModelTextures::placeInSlots()
{
    if (_kind != ManagerKind::eArray && _kind != ManagerKind::eArrayBindless) {
        return;
    }
    remarkTooLarge();
    {
        const Console::Collector quiet;
        _manager->bind(_tokens);
        _manager->unbind(_tokens);
    }
    const QString messages = Console::Collector::messages().join(QLatin1Char('\n'));
    const QStringList scaled =
        captured(messages, R"(resized to fit into texture slots \((\d+x\d+)\) -> \((\d+x\d+)\))");
    if (!scaled.isEmpty()) {
        _remarks.append(QStringLiteral("the manager '%1' has too few slots and scales textures: %2 texels")
                            .arg(managerName(_kind), scaled.join(QStringLiteral(", "))));
    }
    const QStringList lost = captured(messages, R"(Failed to find slot or layer \( *(\d+x\d+))");
    if (!lost.isEmpty()) {
        _remarks.append(
            QStringLiteral("the manager '%1' has too few slots and leaves out textures: %2 texels")
                .arg(managerName(_kind), lost.join(QStringLiteral(", "))));
    }
}

void ModelTextures::remarkTooLarge()
{
    SlotFormat any;
    any.width = std::numeric_limits<int>::max();
    any.height = std::numeric_limits<int>::max();
    const SlotFormat most = static_cast<const Array2DTextureManager *>(_manager)->alignedSlotFormat(any);
    const auto count = std::count_if(_textures.begin(), _textures.end(), [&](Texture *texture) {
        const AutoBinder bound(texture);
        return texture->width(0) > most.width || texture->height(0) > most.height;
    });
    if (count > 0) {
        _remarks.append(QStringLiteral("%1 scaled down to the largest slot of the manager '%2', %3x%4 texels")
                            .arg(counted(count, "texture is", "textures are"), managerName(_kind))
                            .arg(most.width)
                            .arg(most.height));
    }
}

QVector<TextureToken> ModelTextures::tokensAtOnce() const
{
    return _kind == ManagerKind::eSampler ? QVector<TextureToken>{_white} : _tokens;
}

TextureToken ModelTextures::tokenOf(int index) const
{
    return index < 0 ? _white : _tokens[index];
}

} // namespace zeltools
