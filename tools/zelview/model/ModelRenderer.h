#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "frame/View.h"
#include "model/ModelDrawables.h"
#include "model/ModelGeometry.h"
#include "model/ModelPlans.h"
#include "model/ModelTextures.h"
#include "model/Picker.h"

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
class UniformBufferObject;
}} // namespace Orvane::Zel

namespace zelview {

class Environment;
class ShadowLayers;

/// Draws a scene: its passes, and the programs and the state of each.
///
/// Context: create, use and delete with one and the same context current.
class ModelRenderer
{
    Q_DISABLE_COPY(ModelRenderer)

public:
    /// The scene is borrowed and must outlive the renderer.
    ///
    /// Errors: ExitCode::eGL when the driver does not support the manager or the mechanism.
    static Expected<std::unique_ptr<ModelRenderer>> create(const Scene &scene, const Options &options,
                                                           ManagerKind manager, MechanismKind mechanism,
                                                           bool hasEnvironment);
    ~ModelRenderer();

    /// What a camera of the scene sees.
    View cameraView(int camera, float aspect) const { return _drawables.cameraView(camera, aspect); }

    /// Which of the scene's materials all passes show, and which one is marked in the picture; -1: none.
    void setShown(std::vector<bool> materials, int marked);

    /// Culls by this frustum, whatever camera looks, and shows what it leaves out as ghosts; none: by the camera's.
    Failure freeze(std::optional<QMatrix4x4> viewProjection);

    /// The frame's first half: the opaque draws' normals and distances, for AmbientOcclusion.
    void drawGeometry(const View &view);
    /// The second, with the same view: into the bound framebuffer, opaque draws first.
    void draw(const View &view, Orvane::Zel::Texture *occlusion, Environment *environment,
              ShadowLayers &shadows, float exposure);

    /// A program for drawCasters(): the vertex stage includes "ModelVertex.glslh"; the fragment stage, such as
    /// "caster.frag", "Material.glslh".
    Expected<ProgramPointer> buildCasterProgram(const QString &vertexFile, const QString &fragmentFile);
    /// Both sides of the opaque draws that are inside, with a program that is bound, whatever camera looks at them
    /// otherwise.
    void drawCasters(Orvane::Zel::ShaderProgram *program, const QMatrix4x4 &viewProjection);

    /// What is seen at a pixel: the number of the scene's material, and where.
    std::optional<Picker::Hit> pick(const View &view, const QPoint &pixel, const QSize &viewport);

    /// Builds what drawSlots() takes, unless that is done.
    Failure prepareSlots();
    /// The texture manager's view of itself, over the bound framebuffer.
    void drawSlots();

    ManagerKind manager() const { return _textures.kind(); }
    MechanismKind mechanism() const { return _plans.mechanism(); }

    /// Textures that could not be read, in words.
    const QStringList &remarks() const { return _textures.remarks(); }

    /// The counters of the last draw().
    QString describeFrame() const;
    QStringList describeStatistics();

private:
    ModelRenderer(const Scene &scene, const Options &options, ManagerKind manager, MechanismKind mechanism);

    Failure buildPrograms();
    Expected<ProgramPointer> buildModelProgram(const QString &vertexFile, const QStringList &fragmentFiles);
    void uploadFrame(const View &view);
    void cull(const View &view);
    void drawGhosts(const View &view);

    Programs _programs; ///< with the defines of its texture manager
    ProgramPointer _geometryProgram;
    ProgramPointer _program;
    ProgramPointer _slotsProgram; ///< null until it is wanted
    ProgramPointer _ghostProgram; ///< null until it is wanted
    ModelTextures _textures;
    ModelPlans _plans;
    ModelGeometry _geometry;
    ModelDrawables _drawables;
    DrawIDPath _drawIDPath;
    LightRig _lights;
    Picker _picker;
    int _markedMaterial = -1;
    std::optional<QMatrix4x4> _frozenFrustum;
    QSharedPointer<Orvane::Zel::UniformBufferObject> _frame;

    qint64 _calls = 0;
    qint64 _batches = 0;
    qint64 _indices = 0;
};

} // namespace zelview
