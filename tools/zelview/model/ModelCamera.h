#pragma once

#include "file/Outcome.h"
#include "frame/View.h"

#include <ZelKit/OrbitCamera.h>

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QVector2D>

#include <functional>

namespace zeltools {

struct Options;
struct Scene;

/// What a camera frames of a scene, which must outlive the result.
Orvane::ZelKit::OrbitCamera::Extent extentOf(const Scene &scene);

/// The camera of a model: one that turns around it, or one of its file. Moving the view switches to the first kind.
///
/// All calls take the scene that was passed to create().
class ModelCamera
{
public:
    /// Returns the view of a camera of the file, by its index and the aspect.
    using FileCamera = std::function<View(int, float)>;

    /// The camera that the options ask for.
    ///
    /// Errors: ExitCode::eUsage for a camera that the file does not have.
    static Expected<ModelCamera> create(const Scene &scene, const Options &options);

    View view(const QSize &viewport, const FileCamera &fileCamera) const;

    /// Lets the camera around the model show all of it, and switches to that camera. The first call does not switch: it keeps
    /// the camera that the options ask for.
    void frame(const Scene &scene, const QSize &viewport);
    /// Frames the model again for another viewport, unless the user has moved the view since.
    void refit(const Scene &scene, const QSize &viewport);
    // As in Exhibit.
    void turn(const QVector2D &way);
    void move(const QVector2D &way);
    void zoom(float steps);

    /// Switches to the next camera of the file, or after the last one to the camera around the model.
    void takeNext(const Scene &scene);

    /// Name and number of a camera of the file, for the report; otherwise empty.
    QString describe(const Scene &scene) const;

private:
    explicit ModelCamera(const Options &options);

    Orvane::ZelKit::OrbitCamera _orbit;
    int _fileCamera = -1; ///< index in the scene; -1: none
    bool _isFramed = false;
};

} // namespace zeltools
