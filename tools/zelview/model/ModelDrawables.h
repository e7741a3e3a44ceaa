#pragma once

#include "frame/Options.h"
#include "frame/View.h"
#include "model/DrawUnitList.h"

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

namespace zelview {

class ModelGeometry;
class ModelPlans;
class ModelTextures;
struct Draw;
struct Material;
struct Scene;

/// A scene as the library's GPUModel: nodes are transforms, the opaque draws of one material are the commands of a
/// drawable, as many as a collection of matrices can hold. Blended draws are drawables of one command each, which go from
/// the farthest on; the model's own order is of the commands of one drawable alone, by distances in units of each one's
/// node.
///
/// Material numbers of the model are the scene's, and behind them one for each blended draw.
///
/// On the base-instance path, which has no commands, every draw is a drawable, and drawables share collections.
///
/// Context: create, use and delete with one and the same context current.
class ModelDrawables
{
    Q_DISABLE_COPY(ModelDrawables)

public:
    enum Part { eOpaque, eBlended };

    /// All are borrowed, and must outlive it.
    ModelDrawables(const Scene &scene, const ModelTextures &textures, const ModelPlans &plans,
                   const ModelGeometry &geometry, DrawIDPath path);
    ~ModelDrawables();

    /// The most objects of one collection that the scene has use for: more would pad blocks rather than fill them.
    static int wantedObjects(const Scene &scene);

    Orvane::Zel::GPUModel &model() { return _model; }

    /// What a camera of the scene sees.
    View cameraView(int camera, float aspect) const;

    /// Marks what is hidden and what lies outside; the next draws leave it out.
    void cull(const QMatrix4x4 &viewProjection);

    /// Which of the scene's materials numbers() gives; all at first.
    void setShown(std::vector<bool> materials);
    /// The numbers of a part, in the order in which they are drawn: blended ones from the farthest on.
    QList<int> numbers(Part part, const QVector3D &eye) const;
    /// The scene's material of a number.
    int materialOf(int number) const;

    /// Draws what has these numbers and is not marked. \a writesStencil: number + 1, at most 255.
    /// \a winding is eWindingOff for both sides of all faces.
    void draw(Orvane::Zel::ShaderProgram *program, const QList<int> &numbers, bool writesStencil = false,
              Orvane::Zel::WindingType winding = Orvane::Zel::eWindingCCW);

    int drawableCount() const { return _model.numDrawables(); }
    int objectCount() const { return _objects; }
    int collectionCount() const { return _collections; }
    /// Estimates in bytes, without textures.
    quint64 memoryOnCPU();
    quint64 memoryOnGPU();
    /// Commands that the last cull() left out.
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
    void addLights();
    std::vector<Group> makeGroups(int capacity);
    void addGroup(const Group &group);
    void addCommands(const Group &group, Orvane::Zel::InstanceDataCollection *objects);
    void addUnits(const Group &group, Orvane::Zel::InstanceDataCollection *objects);
    Orvane::Zel::InstanceDataCollection *materialData(int material);
    void name(int drawable, int command, const Draw &draw);

    const Scene &_scene;
    const ModelTextures &_textures;
    const ModelPlans &_plans;
    const ModelGeometry &_geometry;
    DrawIDPath _path;
    Orvane::Zel::GPUModel _model;
    DrawUnitList _units; ///< of the base-instance path
    QHash<int, Orvane::Zel::InstanceDataCollection *> _materials;
    std::vector<bool> _shown;               ///< by material
    std::vector<QVector3D> _blendedCenters; ///< in the world, by number behind the materials
    std::vector<int> _blendedMaterials;
    QList<int> _opaqueNumbers;
    int _objects = 0;
    int _collections = 0; ///< of matrices
    std::optional<QMatrix4x4> _culledBy;
    int _culled = 0;
};

} // namespace zelview
