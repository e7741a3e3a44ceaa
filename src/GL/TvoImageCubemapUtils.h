#pragma once

/// \file
/// Environment images of common layouts to cube maps, and cube maps to blurred and
/// cosine-weighted versions of themselves.
///
/// Units:   sizes in texels of a face; faces in the order +X, -X, +Y, -Y, +Z, -Z.
/// Context: everything that renders. A render leaves blending off, the viewport at
///          the size of a face and no framebuffer bound; the strip puts the viewport
///          back, and leaves the depth test and depth writes off. Pictures in sRGB are
///          decoded and encoded once: renders enable GL_FRAMEBUFFER_SRGB, and put it
///          back. Sources keep the filters of the render.
/// Errors:  told at debug level, and answered with null or false; a null texture
///          gets the answer alone. A shader that does not compile is not noticed here.
///          Null, too, for formats that cannot be rendered to, such as compressed ones
///          and GL_RGB9_E5.
/// Ownership: the textures that come back are the caller's; sources stay the caller's.
/// Source:  -

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
    eSourceLatLong = 3, ///< twice as wide as high
    eSourceLinear = 4,  ///< six faces side by side
    eSourceCross =
        5 ///< 4 by 3 or 3 by 4 cells; see docs/environment-images.md for the directions that come out
};

/// Carried for the host; nothing here acts on it.
enum TvoImageCubemapColorSpace : int { eColorSpaceLinear = 0, eColorSpaceGamma22 = 1, eColorSpaceSRGB = 2 };

/// The cells of a cross.
enum TvoLayout : int { eLayout4x3 = 0, eLayout3x4 = 1 };

/// Draws a quad into each face of a cube map.
class ZELGL_EXPORT TvoRenderCubemapBase
{
    Q_DISABLE_COPY(TvoRenderCubemapBase)

public:
    TvoRenderCubemapBase();
    virtual ~TvoRenderCubemapBase();

    virtual bool createShader();
    /// False where the face is not to be drawn, and where there is no such face or no program yet.
    virtual bool renderBegin(int face);
    virtual void renderEnd(int face);
    virtual void createShaderDefines();
    virtual void removeShaderDefines();

    void setLevels(int levels);

    /// A cube map, or with GL_TEXTURE_CUBE_MAP_ARRAY one a level, rendered and with a mip chain.
    Orvane::Zel::Texture *createCubemap(int size, unsigned internalFormat, unsigned target);
    bool renderCubemap(int size, unsigned internalFormat, Orvane::Zel::Texture *target);

protected:
    /// Compiles and links, and looks at neither result.
    void buildProgram(const QString &fragmentFile, bool convertsColors, const QString &batchSizeDefine);
    Orvane::Zel::ShaderProgram &program();
    int location(const QString &name);
    /// The largest of 8, 4, 2 and 1 that divides the layers.
    int largestBatchSize() const;
    /// Of layer \a k of the pass: 0 for the first layer to 1 for the last.
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

/// Renders from a texture.
class ZELGL_EXPORT TvoRenderCubemapBaseTexture : public TvoRenderCubemapBase
{
public:
    TvoRenderCubemapBaseTexture();
    ~TvoRenderCubemapBaseTexture() override;

    void setTexture(Orvane::Zel::Texture *texture);
    void setTextureColorSpace(TvoImageCubemapColorSpace colorSpace);
    TvoImageCubemapColorSpace getTextureColorSpace() const;

    bool renderBegin(int face) override;
    void renderEnd(int face) override;

protected:
    void setFilters(int minFilter, int magFilter);
    /// For images with edges that are no neighbours: renders clamp both wraps of the source, and put them back.
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
    int _wraps[2] = {0, 0}; ///< the source's own while it is clamped
};

class ZELGL_EXPORT TvoRenderCubemap_Cross : public TvoRenderCubemapBaseTexture
{
public:
    void setLayout(TvoLayout layout);
    bool createShader() override;
    bool renderBegin(int face) override;

private:
    TvoLayout _layout = eLayout4x3;
};

class ZELGL_EXPORT TvoRenderCubemap_LatLongSphere : public TvoRenderCubemapBaseTexture
{
public:
    bool createShader() override;
};

class ZELGL_EXPORT TvoRenderCubemap_Sphere : public TvoRenderCubemapBaseTexture
{
public:
    bool createShader() override;
};

/// Blurs by up to 45 degrees, more from layer to layer.
class ZELGL_EXPORT TvoRenderCubemap_Blur : public TvoRenderCubemapBaseTexture
{
public:
    TvoRenderCubemap_Blur();
    bool createShader() override;
    bool renderBegin(int face) override;
    void renderEnd(int face) override;
};

/// Weighs by a power of the cosine, rising from layer to layer.
class ZELGL_EXPORT TvoRenderCubemap_NDotL : public TvoRenderCubemapBaseTexture
{
public:
    TvoRenderCubemap_NDotL();
    void setLevelsPow(float levelsPow);
    bool createShader() override;
    bool renderBegin(int face) override;
    void renderEnd(int face) override;

private:
    float _levelsPow = 1.0f;
};

class ZELGL_EXPORT TvoRenderCubemap_Linear : public TvoRenderCubemapBaseTexture
{
public:
    bool createShader() override;
    bool renderBegin(int face) override;
};

ZELGL_EXPORT QString typeAsString(TvoImageCubemapSourceType type);
/// eSourceNone for a word that is none of typeAsString().
ZELGL_EXPORT TvoImageCubemapSourceType typeFromString(const QString &text);
ZELGL_EXPORT QList<TvoImageCubemapSourceType> supportedTypes();
/// By the suffix alone.
ZELGL_EXPORT bool canFileSupport3DCubemap(const QString &path);

/// The face size follows from the layout, and is cut to \a maxSize if that is above 0.
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapFromTexture(Orvane::Zel::Texture *source,
                                                              TvoImageCubemapSourceType type, unsigned target,
                                                              TvoImageCubemapColorSpace colorSpace,
                                                              int maxSize);
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapBlurFromGLCubemap(Orvane::Zel::Texture *source,
                                                                    unsigned target, int size, int levels);
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapNDotLFromGLCubemap(Orvane::Zel::Texture *source,
                                                                     unsigned target, int size, int levels,
                                                                     float levelsPow);
/// Six faces side by side. \a level gives size and format; the cube is sampled as its own state says.
ZELGL_EXPORT Orvane::Zel::Texture *createGLCubemapStripFromTexture(Orvane::Zel::Texture *cube, int level);
/// Copies level 0 of a cube map to level \a lod of another, which must have its size and format there.
ZELGL_EXPORT bool copyCubeMapTextureAsLod(Orvane::Zel::Texture *source, Orvane::Zel::Texture *target,
                                          int lod);

} // namespace TvoImageCubemapUtils
