#pragma once

/// \file
/// The two bakes of split-sum image-based lighting: an environment map whose mip levels are filtered for rising roughness, and
/// the table of the integrated BRDF.
///
/// \snippet light.cpp PrefilteredEnvMap
///
/// Units:   radiance in, radiance out; level i of n is filtered for the roughness i / (n - 1).
/// Context: all bakes. A bake restores the viewport, leaves blending off and the depth test and depth writes on, and leaves
///          the clear colour yellow if it clears. The cube bake leaves no framebuffer bound; the others restore the bindings.
///          The latitude-longitude bake leaves the scissor test off. Bakes enable GL_FRAMEBUFFER_SRGB and restore it, so a
///          result of the format SRGB8A8 is encoded. For its draws a bake also sets and restores face culling, polygon mode,
///          colour mask, logic operation, rasterizer discard and, but for the latitude-longitude bake, the scissor test.
/// Errors:  a shader that fails is reported and returns null, before any state changes. A null source returns null, and so
///          does a texture for which no texture unit is free.
/// Source:  Karis, Real Shading in Unreal Engine 4, 2013; Colbert and Krivanek, GPU-Based Importance Sampling, 2007.
/// The caller owns the returned textures; they are read-only.

#include "Export.h"
#include "TextureFormat.h"

namespace Orvane { namespace Zel {

class Texture;

/// The reflection that an environment is filtered for. Shaders get the number as the define ZEL_BRDF.
enum ShadingModel : int {
    SHADING_TRADITIONAL = 0,        ///< Blinn-Phong
    SHADING_ENERY_CONSERVING = 1,   ///< Ashikhmin-Shirley
    SHADING_PHYSICALLY_BASED = 2,   ///< GGX, with the Fresnel term of Schlick
    SHADING_LAMBERTIAN_DIFFUSE = 3, ///< the first of the diffuse models
    SHADING_OREN_NAYAR_DIFFUSE = 4
};

/// The number of mip levels until the shorter side has one texel.
ZELGL_EXPORT int MaxLODLevel(int width, int height);

/// The roughness that a level is filtered for, the same for all models. Not a number if there is only one level.
ZELGL_EXPORT float RoughnessForLOD(int lod, int numLods, ShadingModel model);

/// The longest side of a single draw of the latitude-longitude bake, in pixels; 1024 at first. Smaller tiles keep the GPU
/// responsive; the image stays the same.
ZELGL_EXPORT void SetPrefilteredTilseSizeMax(int size);

/// Filters a cube map that has a mip chain. \a size is that of a face.
ZELGL_EXPORT Texture *CreatePrefilteredCubeEnvMap(Texture *envMap, int size, unsigned numSamples,
                                                  ShadingModel model, TextureFormat format);

/// Filters an image of latitude and longitude that has a mip chain. The host sets its GL_TEXTURE_WRAP_T to GL_CLAMP_TO_EDGE,
/// or the first and the last row blend into each other.
ZELGL_EXPORT Texture *CreatePrefilteredLatLongEnvMap(Texture *envMap, int width, int height,
                                                     unsigned numSamples, ShadingModel model,
                                                     TextureFormat format);

/// Integrates a BRDF for each cosine of the view angle, along x, and each roughness, along y. Red and green are the scale and
/// the bias of the reflectance at normal incidence; blue is the level to read of a filtered environment with \a numLODLevels
/// levels.
ZELGL_EXPORT Texture *CreatePreintegratedBRDFTable(int width, int height, unsigned numLODLevels,
                                                   ShadingModel model, TextureFormat format);

}} // namespace Orvane::Zel
