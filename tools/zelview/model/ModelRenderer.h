#pragma once

#include "file/Outcome.h"
#include "frame/Options.h"
#include "frame/Programs.h"
#include "frame/View.h"
#include "model/ModelDrawables.h"
#include "model/ModelGeometry.h"
#include "model/ModelTextures.h"
#include "model/PackedModel.h"
#include "scene/ModelPlans.h"

#include <ZelKit/Picker.h>

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
class UniformBufferObject;
}} // namespace Orvane::Zel

namespace zeltools {

class Environment;
class ShadowedLights;

/// Draws the passes of a scene, with their programs and state.
///
/// Context: create, use and delete with the same context current.
class ModelRenderer
{
    Q_DISABLE_COPY(ModelRenderer)

public:
    /// Does not take ownership of the scene, which must outlive the renderer.
    ///
    /// Errors: ExitCode::eGL if the driver does not support the manager or the mechanism.
    static Expected<std::unique_ptr<ModelRenderer>> create(const Programs &programs, const Scene &scene,
                                                           const Options &options, ManagerKind manager,
                                                           MechanismKind mechanism, bool hasEnvironment);
    ~ModelRenderer();

    /// The view of a camera of the scene.
    View cameraView(int camera, float aspect) const { return _drawables.cameraView(camera, aspect); }

    /// Sets the materials that all passes show, and the one that is highlighted in the picture (-1: none).
    void setShown(std::vector<bool> materials, int marked);

    /// Culls with this frustum for every camera, and shows what it culls as ghosts. Without a value: culls with the camera's
    /// frustum.
    Failure freeze(std::optional<QMatrix4x4> viewProjection);

    /// First part of a frame: draws normals and distances of the opaque draws, for AmbientOcclusion.
    void drawGeometry(const View &view);
    /// Second part, with the same view: draws into the bound framebuffer, opaque draws first.
    void draw(const View &view, Orvane::Zel::Texture *occlusion, Environment *environment,
              ShadowedLights &shadows, float exposure);

    /// Builds a program for drawCasters(). The vertex stage must include "ModelVertex.glslh", and the fragment stage, such as
    /// "caster.frag", "Material.glslh".
    Expected<ProgramPointer> buildCasterProgram(const QString &vertexFile, const QString &fragmentFile);
    /// Draws both sides of the opaque draws inside this frustum with the bound program. The camera's frustum has no effect.
    void drawCasters(Orvane::Zel::ShaderProgram *program, const QMatrix4x4 &viewProjection);

    /// What a pixel shows: the material index in the scene, and the position.
    std::optional<Orvane::ZelKit::Picker::Hit> pick(const View &view, const QPoint &pixel,
                                                    const QSize &viewport);

    /// Builds the program of drawSlots() at the first call, or prints that the driver cannot show the manager's slots.
    Failure prepareSlots();
    /// Draws the texture manager's debug view over the bound framebuffer, if there is a program.
    void drawSlots();

    ManagerKind manager() const { return _textures.kind(); }
    MechanismKind mechanism() const { return _plans.mechanism(); }

    /// Lines about textures that could not be read or placed.
    const QStringList &remarks() const { return _textures.remarks(); }

    /// The counters of the last draw(), as a line.
    QString describeFrame() const;
    QStringList describeStatistics();

private:
    ModelRenderer(const Programs &programs, const Scene &scene, const Options &options, ManagerKind manager,
                  MechanismKind mechanism);

    Failure buildPrograms();
    Expected<ProgramPointer> buildModelProgram(const QString &vertexFile, const QStringList &fragmentFiles);
    void uploadFrame(const View &view);
    void drawPart(Orvane::Zel::ShaderProgram *program, const PackedModel::Pass &pass);
    PackedModel::Pass passOf(const View &view, ModelDrawables::Part part) const;
    void drawGhosts(const View &view);

    Programs _programs; ///< with the defines of the texture manager
    ProgramPointer _geometryProgram;
    ProgramPointer _program;
    ProgramPointer _slotsProgram; ///< null until first used
    ProgramPointer _ghostProgram; ///< null until first used
    ModelTextures _textures;
    ModelPlans _plans;
    std::unique_ptr<ModelGeometry> _geometry; ///< null if the model is packed
    ModelDrawables _drawables;
    std::unique_ptr<PackedModel> _packed; ///< null if the drawables draw
    LightRig _lights;
    Orvane::ZelKit::Picker _picker;
    int _markedMaterial = -1;
    bool _canShowSlots = true;
    std::optional<QMatrix4x4> _frozenFrustum;
    QSharedPointer<Orvane::Zel::UniformBufferObject> _frame;

    qint64 _calls = 0;
    qint64 _batches = 0;
    qint64 _indices = 0;
};

} // namespace zeltools
