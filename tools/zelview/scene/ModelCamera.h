#pragma once

#include "frame/Outcome.h"
#include "frame/View.h"
#include "scene/OrbitCamera.h"

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QVector2D>

#include <functional>
#include <optional>

namespace zelview {

struct Options;
struct Scene;

/// What a model is seen by: a camera that turns around it, one of its file's, or a flight through a stress scene.
/// Whoever moves it wants the first of them.
///
/// The scene that calls take is the one that it was made for.
class ModelCamera
{
public:
    /// What a camera of the file sees, by its number and the aspect.
    using FileCamera = std::function<View(int, float)>;

    /// The one that the options ask for.
    ///
    /// Errors: ExitCode::eUsage for a camera that the file does not have.
    static Expected<ModelCamera> create(const Scene &scene, const Options &options);

    View view(const Scene &scene, const QSize &viewport, const FileCamera &fileCamera) const;

    /// The view around the model that shows all of it.
    void frame(const Scene &scene, const QSize &viewport);
    /// The same for another viewport, unless the user has moved the view since.
    void refit(const Scene &scene, const QSize &viewport);
    // As Exhibit has them.
    void turn(const QVector2D &way);
    void move(const QVector2D &way);
    void zoom(float steps);

    /// The next camera of the file, or behind the last one that around the model.
    void takeNext(const Scene &scene);

    bool isFlying() const { return _flightTime.has_value(); }
    /// From 0 to 1, where it flies.
    void setTime(float time);

    /// In words; empty for the camera around the model.
    QString describe(const Scene &scene) const;

private:
    explicit ModelCamera(const Options &options);

    void takeOrbit();

    OrbitCamera _orbit;
    int _fileCamera = -1; ///< of the scene; -1: none
    std::optional<float> _flightTime;
};

} // namespace zelview
