#pragma once

#include "frame/Exhibit.h"
#include "frame/Options.h"
#include "frame/Programs.h"
#include "light/Lights.h"
#include "model/MaterialSelection.h"
#include "model/ModelCamera.h"
#include "scene/Scene.h"

#include <memory>
#include <vector>

namespace Orvane { namespace ZelKit {
class AmbientOcclusion;
}} // namespace Orvane::ZelKit

namespace zeltools {

class Backdrop;
class Environment;
class Ground;
class LightLines;
class ModelRenderer;
class ShadowedLights;

/// Shows a model, or a plane of tiles: before a plain backdrop in studio light, or in an environment; from a camera that
/// turns around it, or from those of its file.
///
/// Keys: V switches to the next camera, M to the next texture manager that the driver supports, I to the next mechanism for
/// instance data; P packs the model or unpacks it. Z freezes the culling frustum. Up and Down change the exposure, Left and
/// Right turn the environment. G shows or hides the ground. N, or picking, selects a material; O shows only that one, X
/// hides it, A shows all. D shows the texture manager's debug view, S the shadow layers, C the cascades in colours, L the
/// volumes of the lights.
class ModelExhibit : public Exhibit
{
public:
    /// Loads the model or the plane of tiles that the options name, and chooses the camera.
    static Expected<std::unique_ptr<Exhibit>> load(const Options &options);
    ~ModelExhibit() override;

    QStringList describe() const override;
    QStringList files() const override;
    Failure createGLObjects(Programs &programs, const Options &options) override;
    void releaseGLObjects() override;
    void frame(const QSize &viewport) override;
    void refit(const QSize &viewport) override;
    Failure prepareFrame(const QSize &viewport) override;
    void draw(const QSize &viewport) override;
    QStringList describeFrame() const override;
    QStringList describeStatistics() override;
    bool isDithered() const override;
    void drag(DragKind kind, const QVector2D &way) override;
    void zoom(float steps) override;
    QString pick(const QPoint &pixel, const QSize &viewport) override;
    bool key(int key) override;

private:
    ModelExhibit(Scene scene, const Options &options, ModelCamera camera);

    Failure createEnvironment(Programs &programs);
    Failure makeRenderer(ManagerKind manager, MechanismKind mechanism);
    Failure changeRenderer();
    bool turnEnvironment(float angle);
    Failure makeShadows(Programs &programs);
    void setLights();
    Failure prepareShadows(const View &view);
    Failure changeFrustum(const View &view);
    View view(const QSize &viewport) const;
    bool changeSelection(int key);
    void showSelection();

    Scene _scene;
    Options _options;
    // Changes that the next frame makes.
    bool _takesNextManager = false;
    bool _takesNextMechanism = false;
    bool _takesPacked = false;  ///< packs the model or unpacks it
    bool _takesFrustum = false; ///< freezes the frustum or releases it
    bool _showsSlots = false;
    bool _showsLayers = false;
    bool _showsCascades = false;
    bool _showsVolumes = false;
    ModelCamera _camera;
    std::optional<QMatrix4x4> _frozenFrustum;
    MaterialSelection _selection;
    const Programs *_programs = nullptr;
    int _changesInShadows = 0; ///< Programs::changes() of the last frame
    std::unique_ptr<Orvane::ZelKit::AmbientOcclusion> _occlusion;
    std::unique_ptr<Backdrop> _backdrop;       ///< null if there is an environment
    std::unique_ptr<Environment> _environment; ///< null for studio light
    std::vector<LightSource> _lights;          ///< the lights that cast shadows
    std::unique_ptr<ShadowedLights> _shadows;
    std::unique_ptr<Ground> _ground;
    std::unique_ptr<LightLines> _lightLines;
    std::unique_ptr<ModelRenderer> _renderer;
    ProgramPointer _casters; ///< program of the renderer for casters
};

} // namespace zeltools
