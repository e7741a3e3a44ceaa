#pragma once

/// \file
/// Converts environment images of the common layouts to cube maps, cube maps to strips of six faces, and cube maps to
/// blurred and cosine-weighted versions of themselves. docs/environment-images.md draws the layouts and their directions.
///
/// \snippet light.cpp TvoImageCubemapUtils
///
/// Units:   sizes are texels of a face; faces are in the order +X, -X, +Y, -Y, +Z, -Z.
/// Context: every function and class that renders. A render leaves blending off, the viewport at the size of a face and no
///          framebuffer bound. createGLCubemapStripFromTexture() restores the viewport, and leaves the depth test and depth
///          writes off. Renders enable GL_FRAMEBUFFER_SRGB and restore it, so that sRGB images are decoded and encoded once.
///          They also set and restore the scissor test, face culling, polygon mode, colour mask, logic operation and
///          rasterizer discard, and copies of levels the scissor test.
///          A source keeps the filters that the render set.
/// Errors:  a debug message, and null or false; a null texture returns them without a message. Formats that cannot be
///          rendered to, such as compressed ones and GL_RGB9_E5, return null. Shaders that do not compile are not detected
///          here.
/// The caller owns the returned textures and keeps the sources.

#include "Export.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <memory>

namespace Orvane { namespace Zel {
class DrawBuffers;
class ShaderProgram;
class Texture;
}} // namespace Orvane::Zel

namespace TvoImageCubemapUtils {

/// The layout of an image.
enum TvoImageCubemapSourceType : int {
    eSourceNone = 0,
    eSourceCubemap = 1,
    eSourceSphere = 2,  ///< a mirror ball
    eSourceLatLong = 3, ///< latitude and longitude, twice as wide as high
    eSourceLinear = 4,  ///< a strip of six faces
    eSourceCross =
        5 ///< 4 by 3 or 3 by 4 cells; its faces do not come out by direction, see docs/environment-images.md
};

/// Stored for the host; the library acts on no value of it.
enum TvoImageCubemapColorSpace : int { eColorSpaceLinear = 0, eColorSpaceGamma22 = 1, eColorSpaceSRGB = 2 };

/// The cells of a cross, columns by rows.
enum TvoLayout : int { eLayout4x3 = 0, eLayout3x4 = 1 };

/// Renders into all faces of a cube map; subclasses say what.
///
/// \snippet light.cpp TvoRenderCubemapBase
///
/// A render calls createShader() once, and for each face of each pass renderBegin(), the draw of a quad if that returned
/// true, and renderEnd(). Only cube map arrays have more than one pass.
///
/// Units:   texels of a face.
/// Context: construct, render and delete with the same context current.
/// Errors:  a debug message, and null or false.
class ZELGL_EXPORT TvoRenderCubemapBase
{
    Q_DISABLE_COPY(TvoRenderCubemapBase)

public:
    TvoRenderCubemapBase();
    virtual ~TvoRenderCubemapBase();

    /// Whether the renderer has a program. Subclasses build theirs first.
    virtual bool createShader();
    /// Sets the uniforms of a face. Returns false if the face must not be drawn, does not exist or has no program yet.
    virtual bool renderBegin(int face);
    virtual void renderEnd(int face);
    /// For subclasses, called before and after createShader(); these do nothing.
    virtual void createShaderDefines();
    virtual void removeShaderDefines();

    /// Number of cubes in a GL_TEXTURE_CUBE_MAP_ARRAY; 1 at first.
    void setLevels(int levels);

    /// Creates a texture of \a target, GL_TEXTURE_CUBE_MAP or GL_TEXTURE_CUBE_MAP_ARRAY, renders into it and generates its
    /// mip levels. The caller owns it.
    Orvane::Zel::Texture *createCubemap(int size, unsigned internalFormat, unsigned target);
    /// Renders into level 0 of an existing texture.
    bool renderCubemap(int size, unsigned internalFormat, Orvane::Zel::Texture *target);

protected:
    /// Compiles and links. The results are not used: a render without a working program keeps the clear colours.
    void buildProgram(const QString &fragmentFile, bool convertsColors, const QString &batchSizeDefine);
    Orvane::Zel::ShaderProgram &program();
    int location(const QString &name);
    /// The largest of 8, 4, 2 and 1 that divides the number of layers.
    int largestBatchSize() const;
    /// 0 for the first layer of the target to 1 for the last; \a k counts the layers of the pass.
    float blurOfLayer(int k) const;
    int layersInPass() const { return _layersInPass; }
    void setBatchSize(int layers); ///< 1 to 8
    bool canRender(int face) const;

private:
    ZELGL_NO_EXPORT bool attachFace(const Orvane::Zel::Texture &target, int face);
    ZELGL_NO_EXPORT bool renderFace(int size, const Orvane::Zel::Texture &target, int face);

    int _levels = 1;
    int _layers = 1; ///< cubes in the target
    int _firstLayer = 0;
    int _face = 0;
    int _batchSize = 1; ///< how many layers a pass may write
    int _layersInPass = 1;
    std::unique_ptr<Orvane::Zel::ShaderProgram> _program;
    std::unique_ptr<Orvane::Zel::DrawBuffers> _quad;
};

/// Renders into a cube map from a texture.
///
/// \snippet light.cpp TvoRenderCubemapBaseTexture
///
/// Context: as the base; the source is bound from renderBegin() to renderEnd().
/// Errors:  renderBegin() returns false without a source and when no texture unit is free.
class ZELGL_EXPORT TvoRenderCubemapBaseTexture : public TvoRenderCubemapBase
{
public:
    TvoRenderCubemapBaseTexture();
    ~TvoRenderCubemapBaseTexture() override;

    /// The texture must outlive the renders.
    void setTexture(Orvane::Zel::Texture *texture);
    void setTextureColorSpace(TvoImageCubemapColorSpace colorSpace);
    TvoImageCubemapColorSpace getTextureColorSpace() const;

    bool renderBegin(int face) override;
    void renderEnd(int face) override;

protected:
    /// The filters that a render sets on the source; GL_NEAREST at first.
    void setFilters(int minFilter, int magFilter);
    /// For images whose opposite edges are not neighbours: renders clamp both wraps of the source, and restore them.
    void clampSource() { _clampsSource = true; }
    const Orvane::Zel::Texture *texture() const { return _texture; }
    /// createShader() of the four conversions.
    ZELGL_NO_EXPORT bool createConversionShader(const QString &fragmentFile);
    /// createShader(), renderBegin() and renderEnd() of the two filters. A layer's blur is raised to \a exponent.
    ZELGL_NO_EXPORT bool createFilterShader(const QString &fragmentFile);
    ZELGL_NO_EXPORT bool beginFilter(int face, float exponent);
    ZELGL_NO_EXPORT void endFilter(int face);

private:
    Orvane::Zel::Texture *_texture = nullptr; ///< borrowed
    TvoImageCubemapColorSpace _colorSpace = eColorSpaceLinear;
    int _minFilter;
    int _magFilter;
    bool _clampsSource = false;
    int _wraps[2] = {0, 0}; ///< what the host had set, while the source is clamped; else 0
};

/// Converts a cross of six cells.
///
/// \snippet light.cpp TvoRenderCubemap_Cross
class ZELGL_EXPORT TvoRenderCubemap_Cross : public TvoRenderCubemapBaseTexture
{
public:
    void setLayout(TvoLayout layout); ///< eLayout4x3 at first
    bool createShader() override;
    bool renderBegin(int face) override;

private:
    TvoLayout _layout = eLayout4x3;
};

/// Converts an image of latitude and longitude, with the sky in its first row.
///
/// \snippet light.cpp TvoRenderCubemap_LatLongSphere
class ZELGL_EXPORT TvoRenderCubemap_LatLongSphere : public TvoRenderCubemapBaseTexture
{
public:
    bool createShader() override;
};

/// Converts the picture of a mirror ball.
///
/// \snippet light.cpp TvoRenderCubemap_Sphere
class ZELGL_EXPORT TvoRenderCubemap_Sphere : public TvoRenderCubemapBaseTexture
{
public:
    bool createShader() override;
};

/// Blurs a cube map by up to 45 degrees, more from layer to layer. Its shader does not compile, so the clear colours of the
/// faces remain.
///
/// \snippet light.cpp TvoRenderCubemap_Blur
class ZELGL_EXPORT TvoRenderCubemap_Blur : public TvoRenderCubemapBaseTexture
{
public:
    TvoRenderCubemap_Blur();
    bool createShader() override;
    bool renderBegin(int face) override;
    void renderEnd(int face) override;
};

/// Weights a cube map by a power of the cosine, which rises from layer to layer: 1 for the first layer, 8192 for the last.
///
/// \snippet light.cpp TvoRenderCubemap_NDotL
class ZELGL_EXPORT TvoRenderCubemap_NDotL : public TvoRenderCubemapBaseTexture
{
public:
    TvoRenderCubemap_NDotL();
    /// Layer i of n has the exponent 8192 ^ ((i / (n - 1)) ^ (1 / levelsPow)); 1 at first.
    void setLevelsPow(float levelsPow);
    bool createShader() override;
    bool renderBegin(int face) override;
    void renderEnd(int face) override;

private:
    float _levelsPow = 1.0f;
};

/// Converts a strip of six faces.
///
/// \snippet light.cpp TvoRenderCubemap_Linear
class ZELGL_EXPORT TvoRenderCubemap_Linear : public TvoRenderCubemapBaseTexture
{
public:
    bool createShader() override;
    bool renderBegin(int face) override;
};

/// The name of a layout, translated; "Unknown" for other values.
ZELGL_EXPORT QString typeAsString(TvoImageCubemapSourceType type);
/// The layout of that name; eSourceNone for other names.
ZELGL_EXPORT TvoImageCubemapSourceType typeFromString(const QString &text);
ZELGL_EXPORT QList<TvoImageCubemapSourceType> supportedTypes();
/// Whether the suffix is that of a DDS file; the file itself is not read.
ZELGL_EXPORT bool canFileSupport3DCubemap(const QString &path);

/// Converts an image to a cube map of the same format. The size of a face follows from the layout; \a maxSize limits it if it
/// is above 0. \a target is that of createCubemap().
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapFromTexture(Orvane::Zel::Texture *source,
                                                              TvoImageCubemapSourceType type, unsigned target,
                                                              TvoImageCubemapColorSpace colorSpace,
                                                              int maxSize);
/// Renders by TvoRenderCubemap_Blur, in GL_RGBA32F.
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapBlurFromGLCubemap(Orvane::Zel::Texture *source,
                                                                    unsigned target, int size, int levels);
/// Renders by TvoRenderCubemap_NDotL, in GL_RGBA32F.
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapNDotLFromGLCubemap(Orvane::Zel::Texture *source,
                                                                     unsigned target, int size, int levels,
                                                                     float levelsPow);
/// Draws the six faces side by side, the lowest row first. \a level determines the size and the format of a face; which level
/// the pixels come from follows from the filters of the cube map.
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapStripFromTexture(Orvane::Zel::Texture *cube, int level);
/// Copies level 0 of a cube map to level \a lod of another. Returns false if the two levels differ in size or format.
ZELGL_EXPORT bool copyCubeMapTextureAsLod(Orvane::Zel::Texture *source, Orvane::Zel::Texture *target,
                                          int lod);

} // namespace TvoImageCubemapUtils
