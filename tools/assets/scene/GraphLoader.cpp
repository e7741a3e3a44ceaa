#include "scene/GraphLoader.h"

#include "scene/Scene.h"
#include "scene/SourceFormat.h"

#include <QtCore/QHash>
#include <QtCore/qmath.h>

#include <assimp/scene.h>
#include <assimp/version.h>

#include <algorithm>
#include <cmath>

namespace zeltools {

namespace {

QMatrix4x4 toMatrix(const aiMatrix4x4 &m)
{
    return {m.a1, m.a2, m.a3, m.a4, m.b1, m.b2, m.b3, m.b4, m.c1, m.c2, m.c3, m.c4, m.d1, m.d2, m.d3, m.d4};
}

QVector3D toVector(const aiVector3D &v)
{
    return {v.x, v.y, v.z};
}

/// Reads the extension KHR_node_visibility of a node.
bool isHidden(const aiNode &node)
{
    aiMetadata extensions;
    aiMetadata visibility;
    bool isVisible = true;
    return node.mMetaData != nullptr && node.mMetaData->Get("extensions", extensions)
           && extensions.Get("KHR_node_visibility", visibility) && visibility.Get("visible", isVisible)
           && !isVisible;
}

Node toNode(const aiNode &source, int parent)
{
    return {QString::fromUtf8(source.mName.C_Str()), parent, toMatrix(source.mTransformation),
            isHidden(source)};
}

/// The transform of an object at a position that looks along a direction: like a camera along its -z, with y up.
QMatrix4x4 placed(const QVector3D &position, const QVector3D &direction, const QVector3D &up)
{
    QMatrix4x4 toLocal;
    toLocal.lookAt(position, position + direction, up);
    return toLocal.inverted();
}

/// A direction that is far from parallel to this one.
QVector3D across(const QVector3D &direction)
{
    return std::abs(direction.y()) < 0.9f * direction.length() ? QVector3D(0.0f, 1.0f, 0.0f)
                                                               : QVector3D(1.0f, 0.0f, 0.0f);
}

/// Half the width of a perspective view at distance 1. Before version 5.3, assimp's glTF reader multiplied the vertical
/// angle by the aspect.
float halfWidthAtOne(const aiScene &source, const aiCamera &camera, float aspect)
{
    const bool isOld = aiGetVersionMajor() < 5 || (aiGetVersionMajor() == 5 && aiGetVersionMinor() < 3);
    return isGltf(source) && isOld ? aspect * std::tan(0.5f * camera.mHorizontalFOV / aspect)
                                   : std::tan(0.5f * camera.mHorizontalFOV);
}

class GraphLoader
{
public:
    GraphLoader(const aiScene &source, Scene &scene)
        : _source(source)
        , _scene(scene)
    {
    }

    /// Uses an explicit stack instead of recursion, since a file may nest nodes to any depth.
    void loadNodes()
    {
        std::vector<std::pair<const aiNode *, int>> open{{_source.mRootNode, -1}};
        while (!open.empty()) {
            const auto [node, parent] = open.back();
            open.pop_back();
            const int index = int(_scene.nodes.size());
            _scene.nodes.push_back(toNode(*node, parent));
            const bool isBelow = parent >= 0;
            _worlds.push_back(isBelow ? _worlds[size_t(parent)] * _scene.nodes.back().local
                                      : _scene.nodes.back().local);
            _hidden.push_back(_scene.nodes.back().isHidden || (isBelow && _hidden[size_t(parent)]));
            if (!_byName.contains(_scene.nodes.back().name)) {
                _byName.insert(_scene.nodes.back().name, {node, index});
            }
            appendDraws(*node, index);
            for (unsigned int i = node->mNumChildren; i > 0; --i) {
                open.emplace_back(node->mChildren[i - 1], index);
            }
        }
    }

    void loadCameras()
    {
        for (unsigned int i = 0; i < _source.mNumCameras; ++i) {
            const aiCamera &source = *_source.mCameras[i];
            const Place place = placeOf(source.mName);
            const QVector3D direction = toVector(source.mLookAt);
            SceneCamera camera;
            camera.name = QString::fromUtf8(source.mName.C_Str());
            camera.node = place.index;
            camera.local = placed(positionOf(place, source.mPosition), direction,
                                  QVector3D::crossProduct(direction, toVector(source.mUp)).isNull()
                                      ? across(direction)
                                      : toVector(source.mUp));
            setFilm(source, camera);
            _scene.cameras.push_back(camera);
        }
    }

    void loadLights()
    {
        for (unsigned int i = 0; i < _source.mNumLights; ++i) {
            const aiLight &source = *_source.mLights[i];
            const bool isKnown = source.mType == aiLightSource_DIRECTIONAL
                                 || source.mType == aiLightSource_POINT || source.mType == aiLightSource_SPOT;
            if (isKnown) {
                _scene.lights.push_back(toLight(source));
            }
        }
    }

private:
    struct Place
    {
        const aiNode *node = nullptr;
        int index = 0;
    };

    void appendDraws(const aiNode &node, int index)
    {
        for (unsigned int i = 0; i < node.mNumMeshes; ++i) {
            const int mesh = int(node.mMeshes[i]);
            if (_scene.meshes[size_t(mesh)].indexCount > 0) {
                _scene.draws.push_back({mesh, _worlds[size_t(index)], index, _hidden[size_t(index)]});
            }
        }
    }

    /// assimp connects cameras and lights to nodes by name.
    Place placeOf(const aiString &name) const
    {
        return _byName.value(QString::fromUtf8(name.C_Str()), {_source.mRootNode, 0});
    }

    /// The position of a camera in its node. assimp's glTF reader stores the node's translation there once more.
    static QVector3D positionOf(const Place &place, const aiVector3D &position)
    {
        const aiMatrix4x4 &m = place.node->mTransformation;
        return position == aiVector3D(m.a4, m.b4, m.c4) ? QVector3D() : toVector(position);
    }

    void setFilm(const aiCamera &source, SceneCamera &camera) const
    {
        const bool hasAspect = std::isfinite(source.mAspect) && source.mAspect > 0.0f;
        const float aspect =
            hasAspect ? source.mAspect : 1.0f; // the glTF reader uses 1 if the file states none
        camera.isOrthographic = source.mOrthographicWidth > 0.0f;
        const float halfWidth =
            camera.isOrthographic ? source.mOrthographicWidth : halfWidthAtOne(_source, source, aspect);
        if (std::isfinite(halfWidth) && halfWidth > 0.0f) {
            camera.height = 2.0f * halfWidth / aspect;
        }
        if (source.mClipPlaneNear > 0.0f && source.mClipPlaneFar > source.mClipPlaneNear) {
            camera.nearPlane = source.mClipPlaneNear;
            camera.farPlane = source.mClipPlaneFar;
        }
    }

    SceneLight toLight(const aiLight &source) const
    {
        const Place place = placeOf(source.mName);
        SceneLight light;
        light.name = QString::fromUtf8(source.mName.C_Str());
        light.node = place.index;
        light.type = source.mType == aiLightSource_DIRECTIONAL ? SceneLight::eDirectional
                     : source.mType == aiLightSource_SPOT      ? SceneLight::eSpot
                                                               : SceneLight::ePoint;
        const QVector3D stated = toVector(source.mDirection);
        const QVector3D direction = stated.isNull() ? QVector3D(0.0f, 0.0f, -1.0f) : stated;
        light.local = placed(toVector(source.mPosition), direction, across(direction));
        const QVector3D color(source.mColorDiffuse.r, source.mColorDiffuse.g, source.mColorDiffuse.b);
        light.intensity = std::max({color.x(), color.y(), color.z(), 0.0f});
        light.color = light.intensity > 0.0f ? color / light.intensity : QVector3D();
        if (place.node->mMetaData != nullptr) {
            place.node->mMetaData->Get("PBR_LightRange", light.range);
        }
        if (light.type == SceneLight::eSpot) {
            light.innerCone = qRadiansToDegrees(source.mAngleInnerCone);
            light.outerCone = std::clamp(qRadiansToDegrees(source.mAngleOuterCone), 0.1f, 89.9f);
        }
        return light;
    }

    const aiScene &_source;
    Scene &_scene;
    std::vector<QMatrix4x4> _worlds; ///< by node
    std::vector<bool> _hidden;
    QHash<QString, Place> _byName;
};

} // namespace

void loadGraph(const aiScene &source, Scene &scene)
{
    GraphLoader loader(source, scene);
    loader.loadNodes();
    loader.loadCameras();
    loader.loadLights();
}

} // namespace zeltools
