#pragma once

/// \file
/// The two bakes of split-sum image-based lighting: an environment map whose mip
/// levels are filtered for rising roughness, and the table of the integrated BRDF.
///
/// Units:   radiance in, radiance out; roughness of level i of n is i / (n - 1).
/// Context: all bakes; they restore the viewport and leave blending off, the depth
///          test and depth writes on, and where they clear, the clear colour yellow.
///          The cube bake leaves no framebuffer bound, the others restore what was;
///          the latitude-longitude bake leaves the scissor test off. A result of the
///          format SRGB8A8 is encoded, since the bakes enable GL_FRAMEBUFFER_SRGB, and
///          put it back.
/// Errors:  a shader that fails is told, and null comes back, before any state
///          changes; null comes back for a null source too, and where a texture finds
///          no free unit.
/// Ownership: the textures that come back are the caller's, and read-only.
/// Source:  Karis, Real Shading in Unreal Engine 4, 2013; Colbert and Krivanek,
///          GPU-Based Importance Sampling, 2007.

#include "Export.h"
#include "TextureFormat.h"

namespace Orvane { namespace Zel {

class Texture;

/// What the light is filtered for. The numbers reach the shaders as ZEL_BRDF.
enum ShadingModel : int {
    SHADING_TRADITIONAL = 0,        ///< Blinn-Phong
    SHADING_ENERY_CONSERVING = 1,   ///< Ashikhmin-Shirley
    SHADING_PHYSICALLY_BASED = 2,   ///< GGX with Schlick's Fresnel term
    SHADING_LAMBERTIAN_DIFFUSE = 3, ///< from here on diffuse
    SHADING_OREN_NAYAR_DIFFUSE = 4
};

/// How many levels an image of this size has down to one texel on the shorter side.
ZELGL_EXPORT int MaxLODLevel(int width, int height);

/// The roughness that a level is filtered for; the model does not change it. Not a
/// number where there is one level only.
ZELGL_EXPORT float RoughnessForLOD(int lod, int numLods, ShadingModel model);

/// The largest draw of the latitude-longitude bake, in pixels a side; 1024 at
/// first. Smaller tiles keep the GPU responsive and change nothing else.
ZELGL_EXPORT void SetPrefilteredTilseSizeMax(int size);

/// \a envMap is a cube map with a mip chain; \a size is that of a face.
ZELGL_EXPORT Texture *CreatePrefilteredCubeEnvMap(Texture *envMap, int size, unsigned numSamples,
                                                  ShadingModel model, TextureFormat format);

/// \a envMap is a latitude-longitude image with a mip chain. Its GL_TEXTURE_WRAP_T is the
/// host's: GL_CLAMP_TO_EDGE, or its first and last rows run into each other.
ZELGL_EXPORT Texture *CreatePrefilteredLatLongEnvMap(Texture *envMap, int width, int height,
                                                     unsigned numSamples, ShadingModel model,
                                                     TextureFormat format);

/// Red and green: scale and bias of the reflectance over the cosine to the viewer
/// in x and the roughness in y. Blue: the level of a filtered environment with
/// \a numLODLevels levels to read.
ZELGL_EXPORT Texture *CreatePreintegratedBRDFTable(int width, int height, unsigned numLODLevels,
                                                   ShadingModel model, TextureFormat format);

}} // namespace Orvane::Zel
