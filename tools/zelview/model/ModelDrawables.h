#pragma once

#include "frame/Options.h"
#include "frame/View.h"

#include <ZelGL/GPUModel.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtGui/QVector3D>

#include <optional>
#include <vector>

namespace Orvane { namespace Zel {
class InstanceDataCollection;
class ShaderProgram;
}} // namespace Orvane::Zel

namespace zeltools {

class ModelGeometry;
class ModelPlans;
class ModelTextures;
struct Box;
struct Draw;
struct Material;
struct Scene;

Orvane::Zel::GPUModel::BoundingBox toModelBox(const Box &box);

/// A scene as the library's GPUModel. Nodes are transforms. The opaque draws of one material are the commands of a
/// drawable, as many as a collection of matrices can hold. Blended draws are drawables of one command each, drawn from far
/// to near: the model itself sorts only the commands of one drawable, and measures distances in units of their nodes.
///
/// The model's material numbers are the material indices of the scene, followed by one number for each blended draw.
///
/// Context: create, use and delete with the same context current.
class ModelDrawables
{
    Q_DISABLE_COPY(ModelDrawables)

public:
    enum Part { eOpaque, eBlended };

    /// Does not take ownership; all must outlive this object. \a geometry: null for a model that has only nodes, cameras and
    /// lights, whose scene a PackedModel draws.
    ModelDrawables(const Scene &scene, const ModelTextures &textures, const ModelPlans &plans,
                   const ModelGeometry *geometry);
    ~ModelDrawables();

    Orvane::Zel::GPUModel &model() { return _model; }

    /// The view of a camera of the scene.
    View cameraView(int camera, float aspect) const;

    /// Marks draws that are hidden or outside the frustum; the next draws skip them.
    void cull(const QMatrix4x4 &viewProjection);

    /// Sets which materials of the scene numbers() returns; initially all.
    void setShown(std::vector<bool> materials);
    /// The material numbers of a part, in drawing order: blended ones from far to near.
    QList<int> numbers(Part part, const QVector3D &eye) const;
    /// The material index in the scene of a material number.
    int materialOf(int number) const;

    /// Draws all unmarked draws with these material numbers. \a writesStencil: writes number + 1, at most 255, to the stencil.
    /// \a winding: eWindingOff draws both sides of all faces.
    void draw(Orvane::Zel::ShaderProgram *program, const QList<int> &numbers, bool writesStencil = false,
              Orvane::Zel::WindingType winding = Orvane::Zel::eWindingCCW);

    int drawableCount() const { return _model.numDrawables(); }
    int objectCount() const { return _objects; }
    int collectionCount() const { return _collections; }
    /// Estimates in bytes, without textures.
    quint64 memoryOnCPU();
    quint64 memoryOnGPU();
    /// Number of commands that the last cull() marked.
    int culledCount() const { return _culled; }

private:
    /// Draws that share a collection of matrices.
    struct Group
    {
        int number;
        std::vector<const Draw *> draws;
    };

    quint64 withoutCopies(quint64 bytes, quint64 geometry) const;
    void addNodes();
    void addCameras();
    std::vector<Group> makeGroups(int capacity);
    void addGroup(const Group &group);
    Orvane::Zel::InstanceDataCollection *materialData(int material);

    const Scene &_scene;
    const ModelTextures &_textures;
    const ModelPlans &_plans;
    const ModelGeometry *_geometry;
    Orvane::Zel::GPUModel _model;
    QHash<int, Orvane::Zel::InstanceDataCollection *> _materials;
    std::vector<bool> _shown;               ///< by material
    std::vector<QVector3D> _blendedCenters; ///< in the world, by material number after the scene's
    std::vector<int> _blendedMaterials;
    QList<int> _opaqueNumbers;
    int _objects = 0;
    int _collections = 0; ///< number of collections of matrices
    std::optional<QMatrix4x4> _culledBy;
    int _culled = 0;
};

} // namespace zeltools
