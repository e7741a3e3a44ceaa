#pragma once

#include "EnvironmentLight.h"

namespace Orvane { namespace ZelKit {

struct EnvironmentImage;

/// Bakes the light of an environment in slices, so that a host keeps drawing meanwhile. The results are those of libZelGL's
/// CreatePrefilteredCubeEnvMap() and CreatePreintegratedBRDFTable() with GGX and Lambert, up to the rounding of half floats, but
/// the directions and weights of a level are computed once instead of for each texel.
///
/// - Units: texels of a face; samples of a texel.
/// - Context: create, step and delete with the same context current. Each call restores framebuffer, viewport and scissor box.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
///
/// \snippet kit.cpp EnvironmentBake
class ZELKIT_EXPORT EnvironmentBake
{
    Q_DISABLE_COPY(EnvironmentBake)

public:
    struct Options
    {
        int reflectionSize = 256;    ///< at most that of the source
        int reflectionSamples = 128; ///< more make no visible difference
        int diffuseSize = 16;        ///< at most half of the source
        int diffuseSamples = 2048;
        int tableSize = 64;
        /// Most texture reads of a step; about 4 ms on a CPU. A row of a face is not divided.
        int readsPerStep = 1 << 20;
    };

    enum Stage { eDiffuse, eReflections, eTable, eDone };

    /// Bakes from a cube map with a mip chain, such as EnvironmentImage::cubeMap() makes or a KTX file holds. It is borrowed
    /// until the bake is done. Null if it is no cube map of this context, an option is out of range, or the driver refuses a
    /// texture or shader.
    static std::unique_ptr<EnvironmentBake> create(Zel::Texture &cube, const Options &options,
                                                   QString *error = nullptr);
    ~EnvironmentBake();

    /// Bakes the next slice. Returns false, without an effect, when all is done; with a warning, if the context of the bake is not
    /// current or the source was deleted.
    bool step();
    Stage stage() const;
    float progress() const; ///< from 0 to 1

    /// The result; null before the bake is done, and after the first call.
    std::unique_ptr<EnvironmentLight> take();

    /// All steps at once: the light of an image, or null.
    static std::unique_ptr<EnvironmentLight> bake(const EnvironmentImage &image, const Options &options,
                                                  QString *error = nullptr);

private:
    struct ZELKIT_NO_EXPORT State;

    ZELKIT_NO_EXPORT explicit EnvironmentBake(std::unique_ptr<State> state);

    std::unique_ptr<State> _state;
};

}} // namespace Orvane::ZelKit
