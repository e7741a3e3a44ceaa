#include "scene/Omissions.h"

#include "file/Counted.h"
#include "scene/GltfHead.h"
#include "scene/Scene.h"
#include "scene/SourceFormat.h"

#include <assimp/anim.h>
#include <assimp/material.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>

#include <algorithm>
#include <vector>

namespace zeltools {

namespace {

/// A list of counts with names, in the order of their addition.
class Inventory
{
public:
    void add(qint64 count, const char *one, const char *many)
    {
        if (count > 0) {
            _items.append(counted(count, one, many));
        }
    }

    void addOfMeshes(const char *what, qint64 count) { addOf(what, count, "mesh", "meshes"); }
    void addOfMaterials(const char *what, qint64 count) { addOf(what, count, "material", "materials"); }
    void add(const QString &item) { _items.append(item); }

    QString toString() const { return _items.join(QStringLiteral(", ")); }

private:
    void addOf(const char *what, qint64 count, const char *one, const char *many)
    {
        if (count > 0) {
            _items.append(QStringLiteral("%1 of %2").arg(QLatin1String(what), counted(count, one, many)));
        }
    }

    QStringList _items;
};

/// Counts animations with channels: importers also create empty ones.
qint64 countAnimations(const aiScene &source)
{
    return std::count_if(source.mAnimations, source.mAnimations + source.mNumAnimations,
                         [](const aiAnimation *animation) {
                             return animation->mNumChannels > 0 || animation->mNumMeshChannels > 0
                                    || animation->mNumMorphMeshChannels > 0;
                         });
}

/// Counts meshes that are drawn.
template <typename Predicate> qint64 countMeshes(const aiScene &source, Predicate isCounted)
{
    return std::count_if(source.mMeshes, source.mMeshes + source.mNumMeshes, [&](const aiMesh *mesh) {
        return (mesh->mPrimitiveTypes & aiPrimitiveType_TRIANGLE) != 0 && isCounted(*mesh);
    });
}

template <typename Predicate> qint64 countMaterials(const aiScene &source, Predicate isCounted)
{
    return std::count_if(source.mMaterials, source.mMaterials + source.mNumMaterials,
                         [&](const aiMaterial *material) { return isCounted(*material); });
}

/// Counts faces of this many corners: 1 for points, 2 for lines.
qint64 countFaces(const aiScene &source, unsigned int corners)
{
    qint64 faces = 0;
    for (unsigned int i = 0; i < source.mNumMeshes; ++i) {
        const aiMesh &mesh = *source.mMeshes[i];
        faces += std::count_if(mesh.mFaces, mesh.mFaces + mesh.mNumFaces,
                               [&](const aiFace &face) { return face.mNumIndices == corners; });
    }
    return faces;
}

void addGeometry(const aiScene &source, Inventory &inventory)
{
    inventory.add(countAnimations(source), "animation", "animations");
    inventory.addOfMeshes("skinning",
                          countMeshes(source, [](const aiMesh &mesh) { return mesh.mNumBones > 0; }));
    inventory.addOfMeshes("morph targets",
                          countMeshes(source, [](const aiMesh &mesh) { return mesh.mNumAnimMeshes > 0; }));
    inventory.add(countFaces(source, 2), "line", "lines");
    inventory.add(countFaces(source, 1), "point", "points");
}

bool isPositive(const aiMaterial &material, const char *key, unsigned int type, unsigned int index)
{
    aiColor4D value; // assimp returns a single number in red
    return material.Get(key, type, index, value) == aiReturn_SUCCESS
           && (value.r > 0.0f || value.g > 0.0f || value.b > 0.0f);
}

void addLayers(const aiScene &source, Inventory &inventory)
{
    const auto count = [&](const char *key, unsigned int type, unsigned int index) {
        return countMaterials(
            source, [&](const aiMaterial &material) { return isPositive(material, key, type, index); });
    };
    inventory.addOfMaterials("clear coat", count(AI_MATKEY_CLEARCOAT_FACTOR));
    inventory.addOfMaterials("sheen", count(AI_MATKEY_SHEEN_COLOR_FACTOR));
    inventory.addOfMaterials("transmission", count(AI_MATKEY_TRANSMISSION_FACTOR));
    inventory.addOfMaterials("refraction", count(AI_MATKEY_VOLUME_THICKNESS_FACTOR));
}

/// A kind of map, for which assimp may have two types, and whether zelview shows it for glTF. It never shows them for
/// other formats.
struct MapName
{
    const char *name;
    bool isShownForGltf;
    aiTextureType type;
    aiTextureType otherType;

    bool isIn(const aiMaterial &material) const
    {
        return material.GetTextureCount(type) + material.GetTextureCount(otherType) > 0;
    }
};

const MapName kMapNames[] = {
    {"normal maps", true, aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA},
    {"bump maps", false, aiTextureType_HEIGHT, aiTextureType_NONE},
    {"displacement maps", false, aiTextureType_DISPLACEMENT, aiTextureType_NONE},
    {"opacity maps", false, aiTextureType_OPACITY, aiTextureType_NONE},
    {"specular maps", false, aiTextureType_SPECULAR, aiTextureType_SHININESS},
    {"metalness and roughness maps", true, aiTextureType_METALNESS, aiTextureType_DIFFUSE_ROUGHNESS},
    {"emission maps", true, aiTextureType_EMISSIVE, aiTextureType_EMISSION_COLOR},
    {"occlusion maps", true, aiTextureType_LIGHTMAP, aiTextureType_AMBIENT_OCCLUSION},
    {"reflection maps", false, aiTextureType_REFLECTION, aiTextureType_NONE},
};

void addMaps(const aiScene &source, Inventory &inventory)
{
    for (const MapName &map : kMapNames) {
        inventory.addOfMaterials(map.name, countMaterials(source, [&](const aiMaterial &material) {
                                     return map.isIn(material) && !(map.isShownForGltf && isGltf(material));
                                 }));
    }
    inventory.addOfMaterials("further layers of colour maps",
                             countMaterials(source, [](const aiMaterial &material) {
                                 return material.GetTextureCount(aiTextureType_DIFFUSE) > 1;
                             }));
}

void addExtensions(const GltfHead &gltf, Inventory &inventory)
{
    for (const QString &extension : GltfHead::unknownAmong(gltf.usedExtensions)) {
        inventory.add(QStringLiteral("the extension ") + extension);
    }
}

/// Whether the material is invisible. Maps cannot change that: they only multiply the opacity.
bool isFullyTransparent(const Material &material)
{
    return material.baseColor.w() < material.alphaCutoff
           || (material.isBlended && material.baseColor.w() <= 0.0f);
}

} // namespace

QString describeOmissions(const aiScene &source, const GltfHead &gltf)
{
    Inventory inventory;
    addGeometry(source, inventory);
    addLayers(source, inventory);
    addMaps(source, inventory);
    addExtensions(gltf, inventory);
    return inventory.toString();
}

void showTransparentScene(Scene &scene)
{
    std::vector<Material *> transparent;
    for (Material &material : scene.materials) {
        if (isFullyTransparent(material)) {
            transparent.push_back(&material);
        }
    }
    if (transparent.empty()) {
        return;
    }
    if (transparent.size() < scene.materials.size()) {
        scene.remarks.append(QStringLiteral("%1 of %2 materials are fully transparent")
                                 .arg(transparent.size())
                                 .arg(scene.materials.size()));
        return;
    }
    for (Material *material : transparent) {
        material->baseColor.setW(1.0f);
        material->isBlended = false;
        material->alphaCutoff = -1.0f;
    }
    scene.remarks.append(QStringLiteral("all materials are fully transparent and are drawn opaque"));
}

} // namespace zeltools
