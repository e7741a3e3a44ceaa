#pragma once

#include "file/Outcome.h"
#include "model/ModelDrawables.h"

#include <ZelKit/PackedScene.h>

#include <memory>
#include <vector>

namespace zeltools {

/// The draws of a scene as a PackedScene: one GL call for each material, where the driver has indirect draws.
///
/// Context: create, use and delete with the same context current.
class PackedModel
{
    Q_DISABLE_COPY(PackedModel)

public:
    /// What the frustum of a pass belongs to. Each keeps the commands of its last pass.
    enum Observer { eCamera, eCasters, eGhosts, kObservers };

    struct Pass
    {
        Observer observer;
        QMatrix4x4 frustum;
        QVector3D eye; ///< blended draws are drawn from far to near
        ModelDrawables::Part part;
        Orvane::Zel::WindingType winding;
    };

    /// Does not take ownership; all must outlive this object.
    static Expected<std::unique_ptr<PackedModel>> create(const Scene &scene, const ModelTextures &textures,
                                                         const ModelPlans &plans);
    ~PackedModel();

    /// Sets which materials are drawn; initially all.
    void setShown(const std::vector<bool> &materials);

    /// Draws with a program that is bound.
    void draw(Orvane::Zel::ShaderProgram *program, const Pass &pass);

    // Picking, with the index of a material as its number.

    QList<int> shownMaterials() const;
    /// Draws only these materials, and writes number + 1, at most 255, to the stencil.
    void drawNumbers(Orvane::Zel::ShaderProgram *program, const QMatrix4x4 &frustum,
                     const QList<int> &materials);

    int drawableCount() const { return _packed->drawableCount(); }
    /// The number that the last frustum of the camera contains.
    int drawnCount() const { return _drawn; }
    quint64 memoryOnCPU() const { return _packed->memoryEstimateCPU(); }
    quint64 memoryOnGPU() const { return _packed->memoryEstimateGPU(); }

private:
    PackedModel(const Scene &scene, const ModelTextures &textures);

    Failure fill(const ModelPlans &plans);
    void hide(int material, bool isHidden);

    const Scene &_scene;
    const ModelTextures &_textures;
    std::vector<std::unique_ptr<Orvane::Zel::InstanceDataCollection>> _materials;
    std::unique_ptr<Orvane::ZelKit::PackedScene> _packed;
    std::vector<std::vector<int>> _drawables; ///< that are not hidden in the scene, by material
    std::vector<bool> _shown;                 ///< by material
    int _drawn = 0;
};

} // namespace zeltools
