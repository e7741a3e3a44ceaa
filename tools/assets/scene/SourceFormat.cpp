#include "scene/SourceFormat.h"

#include <assimp/GltfMaterial.h>
#include <assimp/commonMetaData.h>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <QtCore/QByteArray>

#include <algorithm>
#include <iterator>

namespace zeltools {

namespace {

/// The name of the assimp reader.
QByteArray nameOf(const aiScene &scene)
{
    aiString name;
    const bool isKnown = scene.mMetaData != nullptr && scene.mMetaData->Get(AI_METADATA_SOURCE_FORMAT, name);
    return isKnown ? QByteArray(name.C_Str()) : QByteArray();
}

} // namespace

bool isGltf(const aiScene &scene)
{
    return nameOf(scene).startsWith("glTF");
}

bool isGltf(const aiMaterial &material)
{
    aiString mode;
    return material.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == aiReturn_SUCCESS;
}

bool hasSeparateEmission(const aiScene &scene)
{
    const QByteArray name = nameOf(scene);
    const char *const kHeads[] = {"glTF",      "Autodesk FBX",  "Collada",
                                  "Wavefront", "Extensible 3D", "Open Game Engine"};
    return std::any_of(std::begin(kHeads), std::end(kHeads),
                       [&](const char *head) { return name.startsWith(head); });
}

} // namespace zeltools
