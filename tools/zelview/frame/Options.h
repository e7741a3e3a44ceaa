#pragma once

#include "frame/Outcome.h"

#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtCore/QStringList>

#include <optional>

namespace zelview {

/// How draw IDs reach the shaders; see DrawBuffers.
enum class DrawIDPath {
    eUniform,     ///< sub-draws of one unit, a uniform for each
    eBaseInstance ///< one unit for each draw, the ID in the base instance
};

/// Which of the library's texture managers brings a model's textures to the shaders.
enum class ManagerKind { eSampler, eArray, eArrayBindless, eBindless };
constexpr int kManagerKinds = 4;

/// What smooths the edges of the finished picture, beside the samples that its pixels have.
enum class EdgeFilter { eNone, eFxaa, eSmaa };

/// Which lights cast shadows.
enum class LightRig {
    eNone, ///< none: the light of the studio or environment alone
    eSun,
    eRig, ///< two spot lights and a lamp
    eFile ///< those of the model's file
};

/// What the layers hold from which shadows are told: depths, or blurred moments of them.
enum class ShadowKind { eDepth, eVariance };

/// By which of the library's mechanisms instance data reach the shaders.
enum class MechanismKind { eUniformBuffer, eUniforms, eBufferTexture, eTexture, eStorageBuffer };
constexpr int kMechanismKinds = 5;

/// How an image lays out the light from all around; see docs/environment-images.md for pictures.
enum class EnvironmentLayout {
    eLatLong, ///< twice as wide as high, the left end along +x
    eCross,   ///< 4 by 3 or 3 by 4 cells
    eStrip    ///< six faces side by side
};
constexpr int kEnvironmentLayouts = 3;

/// As the command line has them.
QString managerName(ManagerKind kind);
QString edgeFilterName(EdgeFilter filter);
QString mechanismName(MechanismKind kind);
QString environmentLayoutName(EnvironmentLayout layout);

/// The command line, understood.
struct Options
{
    static constexpr int kMaxSide = 16384;         ///< pixels
    static constexpr int kMaxPixels = 4096 * 4096; ///< about 1 GB of multisampled framebuffer

    QString file;          ///< the model or image to show, or what names the tiles
    bool isUdim = false;   ///< the file names a set of tiles
    QString picture;       ///< file to write; empty: open a window
    QSize size{1280, 720}; ///< pixels of the picture, device-independent pixels of the window
    int samples = 8; ///< for each pixel, as far as the driver goes; 1 where an edge filter takes their place
    EdgeFilter edgeFilter = EdgeFilter::eNone;
    float azimuth = 35.0f;      ///< degrees around the vertical axis, 0 in front of the model
    float elevation = 22.0f;    ///< degrees above the horizon
    QString camera;             ///< of the file, by name or index; empty: one that turns around the model
    std::optional<QPoint> pick; ///< pixel of the picture whose material is told
    bool printsPlan = false;    ///< of instance data, instead of showing anything
    bool printsStatistics = false;
    int stressBodies = 0; ///< of a procedural scene instead of a file; 0: none
    int frames = 60;      ///< of the way through it that are measured off screen
    DrawIDPath drawIDPath = DrawIDPath::eUniform;
    std::optional<ManagerKind> manager; ///< none: what suits the model
    MechanismKind mechanism = MechanismKind::eUniformBuffer;
    int blockLimit = 0; ///< bytes of a collection of instance data at most; 0: what the mechanism can carry
    int level = 0;      ///< of an image's mip levels
    int face = -1;      ///< of a cube map, or slice of a volume; -1: all
    float exposure = 0.0f; ///< powers of two by which an image, or the light on a model, is brightened
    QString environment;   ///< image file of the light on a model; empty: a studio
    std::optional<EnvironmentLayout> environmentLayout; ///< none: by the ratio of the image's sides
    float environmentRotation = 0.0f;                   ///< degrees around the vertical axis
    float environmentBlur = 0.0f;                       ///< of the background, 0 to 1
    LightRig lights = LightRig::eSun;
    int cascades = 4; ///< of the sun's shadow, from near to far
    ShadowKind shadowKind = ShadowKind::eDepth;
    bool hasGround = false; ///< the model stands on a ground that takes its shadow
    QString modelOption;    ///< the first option given that only models understand; empty: none
    QString imageOption;    ///< the same for images
    bool verbose = false;
    QString printedText; ///< what --help or --version print instead of doing anything

    /// What is shown, as messages name it.
    QString subject() const;
};

/// Reads the arguments, the program's name first. Needs the application object,
/// of any kind, for its name. No file is touched.
Expected<Options> parseOptions(const QStringList &arguments);

} // namespace zelview
