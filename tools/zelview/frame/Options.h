#pragma once

#include "file/Outcome.h"
#include "image/EnvironmentFile.h"
#include "scene/ModelPlans.h"

#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtCore/QStringList>

#include <optional>

namespace zeltools {

/// Which of the library's texture managers provides the textures of a model to the shaders.
enum class ManagerKind { eSampler, eArray, eArrayBindless, eBindless };
constexpr int kManagerKinds = 4;

/// The filter that smooths the edges of the finished picture, besides multisampling.
enum class EdgeFilter { eNone, eFxaa, eSmaa };

/// Which lights cast shadows.
enum class LightRig {
    eNone, ///< none: only the light of the studio or environment
    eSun,
    eRig, ///< two spot lights and a point light
    eFile ///< those of the model file
};

/// The content of the shadow layers: depths, or blurred moments of depths (variance shadow maps).
enum class ShadowKind { eDepth, eVariance };

using Orvane::ZelKit::DistantLight;

// The names on the command line.
QString managerName(ManagerKind kind);
QString edgeFilterName(EdgeFilter filter);

/// The parsed command line.
struct Options
{
    QString file;          ///< the model or image to show, or the name of the tiles
    bool isUdim = false;   ///< the file is the name of a set of tiles
    QString picture;       ///< path of the file to write; empty: open a window
    QSize size{1280, 720}; ///< pixels of the picture, device-independent pixels of the window
    int samples = 8;       ///< per pixel, limited by the driver; 1 if an edge filter replaces multisampling
    EdgeFilter edgeFilter = EdgeFilter::eNone;
    float azimuth = 35.0f;   ///< degrees around the vertical axis; 0 looks at the front of the model
    float elevation = 22.0f; ///< degrees above the horizon
    QString camera; ///< name or index of a camera of the file; empty: the camera that turns around the model
    std::optional<QPoint> pick; ///< pixel of the picture whose material is printed
    bool printsStatistics = false;
    bool isPacked = false;              ///< draws a packed scene, which chooses the path of draw IDs itself
    std::optional<ManagerKind> manager; ///< empty: chosen by the model
    MechanismKind mechanism = MechanismKind::eUniformBuffer;
    int level = 0;         ///< mip level of an image
    int face = -1;         ///< face of a cube map, or slice of a volume; -1: all
    float exposure = 0.0f; ///< of an image, or of the light on a model, as a power of two
    QString environment;   ///< image file that lights a model; empty: the studio
    std::optional<EnvironmentLayout> environmentLayout; ///< empty: by the aspect ratio of the image
    float environmentRotation = 0.0f;                   ///< degrees around the vertical axis
    float environmentBlur = 0.0f;                       ///< of the background, 0 to 1
    LightRig lights = LightRig::eSun;
    int cascades = 4; ///< of the sun's shadow
    ShadowKind shadowKind = ShadowKind::eDepth;
    bool areShadowsStable = false; ///< cascades that follow the camera in whole texels
    bool hasGround = false;        ///< shows a ground that receives the shadow of the model
    QString modelOption;           ///< the first given option that applies only to models; empty: none
    QString imageOption;           ///< the same for images
    QString shaders;               ///< folder of zelview's shaders; empty: those that are built in
    bool verbose = false;
    QString printedText; ///< text of --help or --version, to print instead of doing anything
};

/// Parses the arguments; the first is the program's name. Needs an application object of any kind, for its name. Opens no
/// file.
Expected<Options> parseOptions(const QStringList &arguments);

} // namespace zeltools
