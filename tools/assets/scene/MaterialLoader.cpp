#include "scene/MaterialLoader.h"

#include "scene/Scene.h"
#include "scene/SourceFormat.h"
#include "scene/UdimFiles.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>

namespace zeltools {

namespace {

/// Roughness of materials that state no gloss: a satin surface shows its form better than a matt one.
constexpr float kDefaultRoughness = 0.45f;

/// Roughness instead of a map of roughness and metalness that is not read; its factors alone would make the surface metal.
constexpr float kMappedRoughness = 0.65f;

float toLinear(float encoded)
{
    return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

/// A number of the material, or the default value.
float number(const aiMaterial &source, const char *key, unsigned int type, unsigned int index,
             float byDefault)
{
    float value = byDefault;
    return source.Get(key, type, index, value) == aiReturn_SUCCESS && std::isfinite(value) ? value
                                                                                           : byDefault;
}

/// The linear base colour. glTF states it; the diffuse colours of the other formats are sRGB.
QVector4D baseColor(const aiMaterial &source)
{
    aiColor4D color;
    if (source.Get(AI_MATKEY_BASE_COLOR, color) == aiReturn_SUCCESS) {
        return {color.r, color.g, color.b, color.a};
    }
    if (source.Get(AI_MATKEY_COLOR_DIFFUSE, color) != aiReturn_SUCCESS) {
        return Material().baseColor;
    }
    return {toLinear(color.r), toLinear(color.g), toLinear(color.b), number(source, AI_MATKEY_OPACITY, 1.0f)};
}

/// Whether there are maps of metalness or roughness other than glTF's combined one.
bool hasForeignSurfaceMap(const aiMaterial &source)
{
    return !isGltf(source)
           && (source.GetTextureCount(aiTextureType_METALNESS) > 0
               || source.GetTextureCount(aiTextureType_DIFFUSE_ROUGHNESS) > 0
               || source.GetTextureCount(aiTextureType_UNKNOWN) > 0);
}

/// Reads metalness and roughness, or derives them from the gloss that the format states.
void readSurface(const aiMaterial &source, Material &material)
{
    const float metalness = number(source, AI_MATKEY_METALLIC_FACTOR, 0.0f);
    const float stated = number(source, AI_MATKEY_ROUGHNESS_FACTOR, -1.0f);
    const float shininess = number(source, AI_MATKEY_SHININESS, 0.0f);
    if (hasForeignSurfaceMap(source)) {
        material.roughness = kMappedRoughness;
        return;
    }
    material.metalness = std::clamp(metalness, 0.0f, 1.0f);
    if (material.has(eSurfaceMap)) {
        material.roughness = std::clamp(stated, 0.0f, 1.0f);
        return;
    }
    // Exporters of plain colours keep glTF's default of 1.
    const bool isUnstated = stated >= 1.0f && metalness <= 0.0f && !material.has(eBaseColorMap);
    if (stated >= 0.0f) {
        material.roughness = isUnstated ? kDefaultRoughness : std::min(stated, 1.0f);
    } else if (shininess > 1.0f) {
        // The width of a Phong lobe as that of a distribution of normals: a^2 = 2 / (n + 2), Walter et al., 2007.
        material.roughness = std::pow(2.0f / (shininess + 2.0f), 0.25f);
    } else {
        material.roughness = kDefaultRoughness;
    }
}

/// Reads how parts that are not opaque are drawn.
void readOpacity(const aiMaterial &source, Material &material)
{
    aiString mode;
    if (source.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) != aiReturn_SUCCESS) {
        material.isBlended = material.baseColor.w() < 1.0f;
        return;
    }
    material.isBlended = mode == aiString("BLEND");
    if (mode == aiString("MASK")) {
        material.alphaCutoff = number(source, AI_MATKEY_GLTF_ALPHACUTOFF, 0.5f);
    }
}

TextureSource::Wrap toWrap(aiTextureMapMode mode)
{
    switch (mode) {
    case aiTextureMapMode_Clamp:
    case aiTextureMapMode_Decal:
        return TextureSource::eClamp;
    case aiTextureMapMode_Mirror:
        return TextureSource::eMirror;
    default:
        return TextureSource::eRepeat;
    }
}

/// The file that a model refers to by this name; empty if there is none.
QString findFile(QString name, const QDir &folder)
{
    name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (name.startsWith(QLatin1String("//"))) { // how Blender marks a relative path
        name.remove(0, 2);
    }
    const QString alone = name.section(QLatin1Char('/'), -1); // the path may be of another machine
    for (const QString &candidate : {folder.filePath(name), folder.filePath(alone)}) {
        if (QFileInfo(candidate).isFile()) {
            return candidate;
        }
    }
    for (const QString &entry : folder.entryList(QDir::Files)) {
        if (entry.compare(alone, Qt::CaseInsensitive) == 0) { // from a system that ignores case
            return folder.filePath(entry);
        }
    }
    return {};
}

/// The tiles that a model refers to by this name; none if it is not the name of a set.
std::vector<TextureTile> findTilesBeside(QString name, const QDir &folder)
{
    name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    std::vector<TextureTile> tiles = findTiles(folder.filePath(name));
    return tiles.empty() ? findTiles(folder.filePath(name.section(QLatin1Char('/'), -1))) : tiles;
}

/// Finds the file, or the tiles, that a model refers to by this name. Returns false if there is none.
bool findImage(const QString &name, const QDir &folder, TextureSource &target)
{
    target.tiles = findTilesBeside(name, folder);
    target.path = target.tiles.empty() ? findFile(name, folder) : target.tiles.front().path;
    return !target.path.isEmpty();
}

void takeEmbedded(const aiTexture &embedded, TextureSource &target)
{
    if (embedded.mHeight == 0) {
        target.encoded = QByteArray(reinterpret_cast<const char *>(embedded.pcData), int(embedded.mWidth));
        return;
    }
    // assimp's texels have Qt's format ARGB32.
    const auto *bytes = reinterpret_cast<const uchar *>(embedded.pcData);
    target.pixels = QImage(bytes, int(embedded.mWidth), int(embedded.mHeight), QImage::Format_ARGB32).copy();
}

/// Builds the texture list of the scene: one entry for each combination of image, wrap modes and colour space.
class TextureList
{
public:
    TextureList(const aiScene &source, const QString &modelPath, Scene &scene)
        : _source(source)
        , _folder(QFileInfo(modelPath).absoluteDir())
        , _scene(scene)
    {
    }

    /// Whether assimp has not applied the texture-coordinate transforms of the file; see loadModel().
    bool areTransformsLeft() const { return isGltf(_source); }

    /// The index of a texture, or -1 if the image is missing.
    int indexOf(const aiString &name, TextureSource::Wrap wrapU, TextureSource::Wrap wrapV, bool isColor)
    {
        TextureSource texture;
        texture.name = QString::fromUtf8(name.C_Str());
        texture.isColor = isColor;
        texture.wrapU = wrapU;
        texture.wrapV = wrapV;
        const auto known =
            std::find_if(_scene.textures.begin(), _scene.textures.end(), [&](const TextureSource &other) {
                return other.name == texture.name && other.wrapU == wrapU && other.wrapV == wrapV
                       && other.isColor == isColor;
            });
        if (known != _scene.textures.end()) {
            return int(known - _scene.textures.begin());
        }
        if (const aiTexture *embedded = _source.GetEmbeddedTexture(name.C_Str())) {
            takeEmbedded(*embedded, texture);
        } else if (!findImage(texture.name, _folder, texture)
                   && !findImage(QUrl::fromPercentEncoding(texture.name.toUtf8()), _folder, texture)) {
            remarkMissing(texture.name);
            return -1;
        }
        _scene.textures.push_back(texture);
        return int(_scene.textures.size()) - 1;
    }

    /// Replaces assimp's numbers of embedded images by names, for messages. Call it last.
    void nameEmbedded()
    {
        for (TextureSource &texture : _scene.textures) {
            if (texture.name.startsWith(QLatin1Char('*'))) {
                const aiTexture *embedded = _source.GetEmbeddedTexture(texture.name.toUtf8().constData());
                const QString name =
                    embedded != nullptr ? QString::fromUtf8(embedded->mFilename.C_Str()) : QString();
                texture.name =
                    name.isEmpty() ? QStringLiteral("number %1 in the file").arg(texture.name.mid(1)) : name;
            }
        }
    }

private:
    void remarkMissing(const QString &name)
    {
        if (name.isEmpty() || name.startsWith(QLatin1Char('$'))) {
            return; // not from the file: a placeholder of assimp's readers
        }
        const bool isComputed = name.startsWith(QLatin1String("Procedural,")); // from Blender
        const QString remark = isComputed
                                   ? QStringLiteral("procedural textures are not shown")
                                   : QStringLiteral("texture '%1' is missing and is drawn white").arg(name);
        if (!_scene.remarks.contains(remark)) {
            _scene.remarks.append(remark);
        }
    }

    const aiScene &_source;
    QDir _folder;
    Scene &_scene;
};

/// assimp's types of a map, in order of preference. It stores an occlusion map of glTF as a light map.
std::vector<aiTextureType> typesOf(MapKind kind)
{
    switch (kind) {
    case eBaseColorMap:
        return {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE};
    case eSurfaceMap:
        return {aiTextureType_UNKNOWN};
    case eNormalMap:
        return {aiTextureType_NORMALS};
    case eOcclusionMap:
        return {aiTextureType_LIGHTMAP};
    default:
        return {aiTextureType_EMISSIVE};
    }
}

/// The transform of glTF's KHR_texture_transform, for assimp's texture coordinates, whose origin is the lower left corner
/// of the image. In assimp 5.2.5 the reader and the step that applies the transform disagree about the pivot, so this
/// function recovers the numbers of the file from those of the reader.
QTransform gltfTransform(const aiUVTransform &read)
{
    const double scaleX = double(read.mScaling.x);
    const double scaleY = double(read.mScaling.y);
    const double cosine = std::cos(double(read.mRotation));
    const double sine = -std::sin(double(read.mRotation)); // the reader negates the angle
    const double offsetX = double(read.mTranslation.x) - 0.5 * scaleX * (1.0 - cosine + sine);
    const double offsetY = 1.0 - scaleY + 0.5 * scaleY * (cosine + sine - 1.0) - double(read.mTranslation.y);
    // Scale, then counter-clockwise rotation, then offset; the origin is the upper left corner, and y points down.
    const QTransform stated(cosine * scaleX, -sine * scaleX, sine * scaleY, cosine * scaleY, offsetX,
                            offsetY);
    const QTransform upsideDown(1.0, 0.0, 0.0, -1.0, 0.0, 1.0);
    return upsideDown * stated * upsideDown;
}

/// Which of the two texture-coordinate sets of a vertex a map uses. The first map defines the first set; a map that would
/// need a third set uses the first.
int placeOf(const TexCoords &wanted, bool isFirst, Material &material)
{
    std::array<TexCoords, 2> &places = material.texCoords;
    if (isFirst) {
        places = {wanted, wanted};
    } else if (places[1] == places[0]) {
        places[1] = wanted;
    }
    return !(wanted == places[0]) && wanted == places[1] ? 1 : 0;
}

void readMap(const aiMaterial &source, MapKind kind, TextureList &textures, Material &material)
{
    const bool isFirst = std::none_of(material.maps.begin(), material.maps.end(),
                                      [](const auto &map) { return map.texture >= 0; });
    for (const aiTextureType type : typesOf(kind)) {
        aiString name;
        TexCoords texCoords;
        aiTextureMapMode wrap[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
        if (source.GetTexture(type, 0, &name, nullptr, &texCoords.set, nullptr, nullptr, wrap)
            == aiReturn_SUCCESS) {
            const bool isColor = kind == eBaseColorMap || kind == eEmissiveMap;
            material.maps[kind].texture = textures.indexOf(name, toWrap(wrap[0]), toWrap(wrap[1]), isColor);
            if (material.has(kind)) {
                texCoords.set = std::min(texCoords.set, AI_MAX_NUMBER_OF_TEXTURECOORDS - 1u);
                aiUVTransform transform;
                if (textures.areTransformsLeft()
                    && source.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == aiReturn_SUCCESS) {
                    texCoords.toImage = gltfTransform(transform);
                }
                material.maps[kind].set = placeOf(texCoords, isFirst, material);
            }
            return;
        }
    }
}

/// Reads all maps of glTF. Of other formats it reads only the colour map: they do not define the meaning of their others.
void readMaps(const aiMaterial &source, TextureList &textures, Material &material)
{
    readMap(source, eBaseColorMap, textures, material);
    if (!isGltf(source)) {
        return;
    }
    for (const MapKind kind : {eSurfaceMap, eNormalMap, eOcclusionMap, eEmissiveMap}) {
        readMap(source, kind, textures, material);
    }
    material.normalScale = number(source, AI_MATKEY_GLTF_TEXTURE_SCALE(aiTextureType_NORMALS, 0), 1.0f);
    material.occlusionStrength = std::clamp(
        number(source, AI_MATKEY_GLTF_TEXTURE_STRENGTH(aiTextureType_LIGHTMAP, 0), 1.0f), 0.0f, 1.0f);
}

/// glTF states which materials have no back faces; the winding in files of other formats is not reliable.
bool isTwoSided(const aiMaterial &source)
{
    int stated = 1;
    return !isGltf(source) || source.Get(AI_MATKEY_TWOSIDED, stated) != aiReturn_SUCCESS || stated != 0;
}

/// Reads the emission, unless it is the factor of a map that is not read.
void readEmission(const aiMaterial &source, bool isSeparate, Material &material)
{
    aiColor4D emission;
    const bool isFactorAlone =
        source.GetTextureCount(aiTextureType_EMISSIVE) > 0 && !material.has(eEmissiveMap);
    if (isFactorAlone || source.Get(AI_MATKEY_COLOR_EMISSIVE, emission) != aiReturn_SUCCESS) {
        return;
    }
    material.emission = {emission.r, emission.g, emission.b};
    if (!isSeparate && !material.emission.isNull()) {
        material.maps[eEmissiveMap] = material.maps[eBaseColorMap];
    }
}

Material toMaterial(const aiMaterial &source, bool hasSeparateEmission, TextureList &textures)
{
    Material material;
    material.name = QString::fromUtf8(source.GetName().C_Str());
    material.baseColor = baseColor(source);
    readMaps(source, textures, material);
    readSurface(source, material);
    readOpacity(source, material);
    material.isTwoSided = isTwoSided(source);
    readEmission(source, hasSeparateEmission, material);
    return material;
}

} // namespace

void loadMaterials(const aiScene &source, const QString &path, Scene &scene)
{
    TextureList textures(source, path, scene);
    const bool isEmissionSeparate = hasSeparateEmission(source);
    for (unsigned int i = 0; i < source.mNumMaterials; ++i) {
        scene.materials.push_back(toMaterial(*source.mMaterials[i], isEmissionSeparate, textures));
    }
    if (scene.materials.empty()) {
        scene.materials.emplace_back();
    }
    textures.nameEmbedded();
}

} // namespace zeltools
