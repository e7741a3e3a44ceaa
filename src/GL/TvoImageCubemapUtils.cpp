#include "TvoImageCubemapUtils.h"

#include "AutoBinder.h"
#include "AutoEnabler.h"
#include "BufferObject.h"
#include "DrawBuffers.h"
#include "FramebufferObject.h"
#include "GLSLMacroProcessor.h"
#include "GLUtilities.h"
#include "OpenGLDeviceContext.h"
#include "ShaderProgram.h"
#include "Texture.h"
#include "VertexArrayObject.h"
#include "private/CubemapConversions.h"
#include "private/CubemapLayouts.h"
#include "private/DefaultRasterState.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QObject>
#include <QtGui/QMatrix4x4>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace TvoImageCubemapUtils {

namespace {

constexpr int kMaxLayersInPass = 8;
// Far more than GL has. Mesa ends the process on depths of 100 million, as on "sizes far above the limit" in
// docs/driver-workarounds.md.
constexpr int kMaxLevels = 1 << 16;

// A source is two-dimensional when its wraps matter, so the third wrap stays.
constexpr GLenum kWraps[] = {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T};

std::unique_ptr<DrawBuffers> makeQuad()
{
    const auto context = OpenGLDeviceContext::current();
    auto quad = std::make_unique<DrawBuffers>(nullptr);
    const auto vao = context->newVAO();
    quad->setVAO(vao);
    quad->setPrimitiveType(GL_TRIANGLE_STRIP);
    quad->setVertexCount(kQuadVertexCount);
    // The normals are directions of the face +X. A matrix for each face turns them, so that one quad serves all six.
    const auto fill = [&](const char *name, const float *values, int valuesPerVertex) {
        const auto buffer = context->newBuffer();
        buffer->setTarget(GL_ARRAY_BUFFER);
        return vao->upload(QLatin1String(name), buffer, values, kQuadVertexCount * valuesPerVertex,
                           valuesPerVertex, GL_STATIC_DRAW);
    };
    if (!fill("tvo_Vertex", kQuadVertices, 2) || !fill("tvo_Normal", kQuadNormals, 3)) {
        ZEL_LOG_DEBUG("Failed to upload buffers.");
    }
    return quad;
}

/// False for formats that no driver renders to. Drivers refuse others, such as GL_RGB9_E5, by an incomplete framebuffer.
bool isRenderable(const LevelShape &shape)
{
    if (shape.isCompressed) {
        ZEL_LOG_DEBUG("[ !! ] Cannot render to the compressed format 0x%X",
                      static_cast<unsigned>(shape.internalFormat));
    }
    return shape.isKnown() && !shape.isCompressed;
}

/// Renders from \a source into a new cube map.
Texture *renderFrom(TvoRenderCubemapBaseTexture &renderer, Texture *source,
                    TvoImageCubemapColorSpace colorSpace, int size, unsigned internalFormat, unsigned target)
{
    renderer.setTextureColorSpace(colorSpace);
    renderer.setTexture(source);
    return renderer.createCubemap(size, internalFormat, target);
}

} // namespace

TvoRenderCubemapBase::TvoRenderCubemapBase()
    : _quad(makeQuad())
{
}

TvoRenderCubemapBase::~TvoRenderCubemapBase() = default;

bool TvoRenderCubemapBase::createShader()
{
    return _program != nullptr;
}

bool TvoRenderCubemapBase::renderBegin(int face)
{
    if (!canRender(face)) {
        return false;
    }
    glUniformMatrix3fv(location(QStringLiteral("u_TvoNormalMatrix")), 1, GL_FALSE,
                       kCubeFaces[face].normalMatrix);
    return true;
}

void TvoRenderCubemapBase::renderEnd(int) {}

void TvoRenderCubemapBase::createShaderDefines() {}

void TvoRenderCubemapBase::removeShaderDefines() {}

void TvoRenderCubemapBase::setLevels(int levels)
{
    _levels = std::clamp(levels, -kMaxLevels, kMaxLevels);
}

Texture *TvoRenderCubemapBase::createCubemap(int size, unsigned internalFormat, unsigned target)
{
    // 1. The texture, and what GL needs to allocate it.
    auto texture =
        std::make_unique<Texture>(target, static_cast<int>(internalFormat), size, size, 0, nullptr);
    const AutoBinder binder(texture.get());
    // Without a free texture unit the calls below would change another texture. Target 0 has no texture to change; the
    // switch reports it.
    if (target != 0 && !texture->isBound()) {
        return nullptr;
    }
    const GLenum format = formatFromInternalFormat(internalFormat);
    const GLenum type = typeFromInternalFormat(internalFormat);
    if (format == 0 || type == 0) {
        return nullptr; // the two functions have reported the format
    }
    // 2. Level 0, without contents.
    switch (target) {
    case GL_TEXTURE_CUBE_MAP:
        for (int face = 0; face < kFaces; ++face) {
            glTexImage2D(faceTarget(face), 0, static_cast<GLint>(internalFormat), size, size, 0, format, type,
                         nullptr);
        }
        break;
    case GL_TEXTURE_CUBE_MAP_ARRAY:
        glTexImage3D(target, 0, static_cast<GLint>(internalFormat), size, size, _levels * kFaces, 0, format,
                     type, nullptr);
        break;
    default:
        // The render reports the target again, and fails: see TvoImageCubemapUtilsTest.SizesAndRefusals.
        ZEL_LOG_DEBUG("[ !! ] Unhandled Texture Type 0x%X", target);
        break;
    }
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    // 3. The faces, and the levels from them.
    if (!renderCubemap(size, internalFormat, texture.get())) {
        return nullptr;
    }
    texture->bind(); // again, since binding the source has made another texture unit the active one
    glGenerateMipmap(target);
    texture->unbind();
    return texture.release();
}

bool TvoRenderCubemapBase::renderCubemap(int size, unsigned internalFormat, Texture *target)
{
    if (target == nullptr) {
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    _layers = 1;
    if (target->target() == GL_TEXTURE_CUBE_MAP_ARRAY) {
        const AutoBinder binder(target);
        const int depth = target->depth(0);
        _layers = depth / kFaces;
        ZEL_LOG_DEBUG("%p Layer %d %d", static_cast<void *>(target), _layers, depth);
    }
    // 1. The program, after the layers, since filters compile the number of layers of a pass into their shaders.
    createShaderDefines();
    const bool hasShader = createShader();
    removeShaderDefines();
    // A subclass of the host may return true without a program: see
    // TvoImageCubemapUtilsTest.RenderersWithoutAProgramAndFacesThatAreNoneDrawNothing.
    if (!hasShader || _program == nullptr) {
        ZEL_LOG_DEBUG("[ !! ] Failed to create Shader");
        return false;
    }
    // 2. What stays bound during all passes.
    {
        const AutoBinder binder(_quad->VAO().data());
        _quad->VAO()->enableShaderProgramArrays(_program.get());
    }
    FramebufferObject framebuffer(nullptr);
    const AutoBinder framebufferBinder(&framebuffer);
    for (int i = 0; i < _batchSize; ++i) {
        // Scratch textures, one for each layer of a pass. Nothing is attached to them; the framebuffer object deletes
        // them with itself.
        (new Texture(&framebuffer))->create2D(GL_TEXTURE_2D, internalFormat, size, size);
    }
    glDisable(GL_BLEND);
    // texture() decodes sRGB, so the draw must encode: see
    // TvoImageCubemapUtilsTest.ImagesComeOutByDirectionAndStripsGoBackUpsideDown, whose source is in sRGB.
    const AutoEnabler encodesSRGB(GL_FRAMEBUFFER_SRGB);
    const DefaultRasterState rasterState(_batchSize);
    const AutoBinder programBinder(_program.get());
    const QMatrix4x4 identity;
    glUniformMatrix4fv(location(QStringLiteral("u_TvoModelViewProjectionMatrix")), 1, GL_FALSE,
                       identity.constData());
    // 3. The passes. Only subclasses with a larger batch size write several layers at once.
    for (_firstLayer = 0; _firstLayer < _layers; _firstLayer += _batchSize) {
        _layersInPass = std::min(_batchSize, _layers - _firstLayer);
        for (int face = 0; face < kFaces; ++face) {
            if (!renderFace(size, *target, face)) {
                return false;
            }
        }
    }
    glFlush();
    ZEL_LOG_DEBUG("rendercubemap() took %d ms", static_cast<int>(timer.elapsed()));
    return true;
}

void TvoRenderCubemapBase::buildProgram(const QString &fragmentFile, bool convertsColors,
                                        const QString &batchSizeDefine)
{
    GLSLMacroProcessor processor;
    _program = std::make_unique<ShaderProgram>(nullptr);
    if (!batchSizeDefine.isEmpty()) {
        processor.addDefine(batchSizeDefine, QString::number(largestBatchSize()));
        _program->setMacroProcessor(&processor);
    }
    _program->addShaderFromFile(GL_VERTEX_SHADER, QStringLiteral("CubeRender.vert"));
    _program->addShaderFromFile(GL_FRAGMENT_SHADER, fragmentFile);
    if (convertsColors) {
        _program->addShaderFromFile(GL_FRAGMENT_SHADER, QStringLiteral("Func_ColorSpace.glslc"));
    }
    _program->compile();
    _program->link();
    _program->setMacroProcessor(nullptr); // the processor ends with this call
}

ShaderProgram &TvoRenderCubemapBase::program()
{
    return *_program;
}

int TvoRenderCubemapBase::location(const QString &name)
{
    return _program->getUniformLocation(name);
}

int TvoRenderCubemapBase::largestBatchSize() const
{
    // 8 is the number of draw buffers that every driver has.
    for (const int size : {8, 4, 2}) {
        if (_layers % size == 0) {
            return size;
        }
    }
    return 1;
}

void TvoRenderCubemapBase::setBatchSize(int layers)
{
    _batchSize = std::clamp(layers, 1, kMaxLayersInPass);
}

bool TvoRenderCubemapBase::canRender(int face) const
{
    return _program != nullptr && face >= 0 && face < kFaces;
}

float TvoRenderCubemapBase::blurOfLayer(int k) const
{
    return _layers > 1 ? static_cast<float>(_firstLayer + k) / static_cast<float>(_layers - 1) : 0.0f;
}

bool TvoRenderCubemapBase::attachFace(const Texture &target, int face)
{
    switch (target.target()) {
    case GL_TEXTURE_CUBE_MAP:
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(face), target.textureID(), 0);
        return true;
    case GL_TEXTURE_CUBE_MAP_ARRAY:
        for (int k = 0; k < _layersInPass; ++k) {
            glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(k),
                                      target.textureID(), 0, kFaces * (_firstLayer + k) + face);
        }
        return true;
    default:
        ZEL_LOG_DEBUG("[ !! ] Unhandled Texture Type 0x%X", target.target());
        return false;
    }
}

bool TvoRenderCubemapBase::renderFace(int size, const Texture &target, int face)
{
    static constexpr GLenum attachments[kMaxLayersInPass] = {
        GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1, GL_COLOR_ATTACHMENT2, GL_COLOR_ATTACHMENT3,
        GL_COLOR_ATTACHMENT4, GL_COLOR_ATTACHMENT5, GL_COLOR_ATTACHMENT6, GL_COLOR_ATTACHMENT7};
    // 1. The face as the target of the draws.
    _face = face;
    if (!attachFace(target, face)) {
        return false;
    }
    glViewport(0, 0, size, size);
    glDrawBuffers(_layersInPass, attachments);
    // Formats that the driver does not render to end here, before a draw would fail with a GL error.
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        ZEL_LOG_DEBUG("[ !! ] Cannot render to faces of this format and size");
        return false;
    }
    // 2. The clear. The colour of a face shows wherever nothing is drawn, which makes a wrong face easy to recognise.
    const float *color = kCubeFaces[face].clearColor;
    glClearColor(color[0], color[1], color[2], 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    // Required: black remains set; see StateContractTest.EachCallLeavesWhatThePageSays.
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);

    // 3. The draw, unless the subclass refuses. renderEnd() follows in both cases.
    if (renderBegin(face)) {
        _quad->bind();
        _quad->draw(_program.get());
        _quad->unbind();
        glFlush();
        // A filter reads up to 128 * 128 * 6 texels for each pixel. Waiting for each face keeps the GPU's jobs short.
        glFinish();
    }
    renderEnd(face);
    return true;
}

TvoRenderCubemapBaseTexture::TvoRenderCubemapBaseTexture()
    : _minFilter(GL_NEAREST)
    , _magFilter(GL_NEAREST)
{
}

TvoRenderCubemapBaseTexture::~TvoRenderCubemapBaseTexture() = default;

void TvoRenderCubemapBaseTexture::setTexture(Texture *texture)
{
    _texture = texture;
}

void TvoRenderCubemapBaseTexture::setTextureColorSpace(TvoImageCubemapColorSpace colorSpace)
{
    _colorSpace = colorSpace;
}

TvoImageCubemapColorSpace TvoRenderCubemapBaseTexture::getTextureColorSpace() const
{
    return _colorSpace;
}

bool TvoRenderCubemapBaseTexture::renderBegin(int face)
{
    // Before the bind: a refused face must not leave the source bound. See
    // TvoImageCubemapUtilsTest.RenderersWithoutAProgramAndFacesThatAreNoneDrawNothing.
    if (_texture == nullptr || !canRender(face)) {
        return false;
    }
    if (!_texture->bind()) {
        return false;
    }
    // The filters stay after the render, the wraps do not: see
    // TvoImageCubemapUtilsTest.ImagesComeOutByDirectionAndStripsGoBackUpsideDown.
    glTexParameteri(_texture->target(), GL_TEXTURE_MIN_FILTER, _minFilter);
    glTexParameteri(_texture->target(), GL_TEXTURE_MAG_FILTER, _magFilter);
    for (int i = 0; _clampsSource && i < 2; ++i) {
        if (_wraps[i]
            == 0) { // else a host has called renderBegin() twice, and the wrap is the clamp set here
            glGetTexParameteriv(_texture->target(), kWraps[i], &_wraps[i]);
        }
        glTexParameteri(_texture->target(), kWraps[i], GL_CLAMP_TO_EDGE);
    }
    program().setUniform(location(QStringLiteral("s_texture")), static_cast<int>(_texture->unit()));
    return TvoRenderCubemapBase::renderBegin(face);
}

void TvoRenderCubemapBaseTexture::renderEnd(int face)
{
    if (_texture != nullptr) {
        for (int i = 0; i < 2; ++i) {
            if (_wraps[i] != 0) {
                glTexParameteri(_texture->target(), kWraps[i], _wraps[i]);
                _wraps[i] = 0;
            }
        }
        _texture->unbind();
    }
    TvoRenderCubemapBase::renderEnd(face);
}

void TvoRenderCubemapBaseTexture::setFilters(int minFilter, int magFilter)
{
    _minFilter = minFilter;
    _magFilter = magFilter;
}

bool TvoRenderCubemapBaseTexture::createConversionShader(const QString &fragmentFile)
{
    buildProgram(fragmentFile, true, QString());
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemapBaseTexture::createFilterShader(const QString &fragmentFile)
{
    // Required: the define is that of CubeRender_NDotL.frag for both. CubeRender_Blur.frag reads another one and does not
    // compile, so a blur keeps the clear colours; see TvoImageCubemapUtilsTest.BlursKeepTheClearColours.
    buildProgram(fragmentFile, false, QStringLiteral("TVO_CUBERENDER_NDOT_BATCH_SIZE"));
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemapBaseTexture::beginFilter(int face, float exponent)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    for (int k = 0; k < layersInPass(); ++k) {
        glUniform1f(location(QStringLiteral("s_blur[%1].value").arg(k)), std::pow(blurOfLayer(k), exponent));
    }
    // Without it, the mip levels of the source would show the edges of the faces.
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    return true;
}

void TvoRenderCubemapBaseTexture::endFilter(int face)
{
    // Off, whatever the host had set: see StateContractTest.EachCallLeavesWhatThePageSays.
    glDisable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    TvoRenderCubemapBaseTexture::renderEnd(face);
}

void TvoRenderCubemap_Cross::setLayout(TvoLayout layout)
{
    _layout = layout;
}

bool TvoRenderCubemap_Cross::createShader()
{
    return createConversionShader(QStringLiteral("CubeRender_Cross.frag"));
}

bool TvoRenderCubemap_Cross::renderBegin(int face)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    const QMatrix4x2 toUv = crossMatrix(_layout == eLayout3x4, face);
    glUniformMatrix4x2fv(location(QStringLiteral("u_TvoNormalToUvMatrix")), 1, GL_FALSE, toUv.constData());
    return true;
}

bool TvoRenderCubemap_LatLongSphere::createShader()
{
    clampSource(); // the nadir is exactly v = 1: a repeating wrap would read the sky there
    return createConversionShader(QStringLiteral("CubeRender_LatLongSphere.frag"));
}

bool TvoRenderCubemap_Sphere::createShader()
{
    clampSource(); // the rim is exactly 1 in u or v: a repeating wrap would read the opposite side
    return createConversionShader(QStringLiteral("CubeRender_Sphere.frag"));
}

TvoRenderCubemap_Blur::TvoRenderCubemap_Blur()
{
    setFilters(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR);
}

bool TvoRenderCubemap_Blur::createShader()
{
    const bool hasShader = createFilterShader(QStringLiteral("CubeRender_Blur.frag"));
    setBatchSize(largestBatchSize());
    return hasShader;
}

bool TvoRenderCubemap_Blur::renderBegin(int face)
{
    return beginFilter(face, 1.0f);
}

void TvoRenderCubemap_Blur::renderEnd(int face)
{
    endFilter(face);
}

TvoRenderCubemap_NDotL::TvoRenderCubemap_NDotL()
{
    setFilters(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR);
}

void TvoRenderCubemap_NDotL::setLevelsPow(float levelsPow)
{
    _levelsPow = levelsPow;
}

bool TvoRenderCubemap_NDotL::createShader()
{
    // Required: a pass covers one layer, though the shader may declare more outputs; see
    // TvoImageCubemapUtilsTest.CosineWeightedLayersSharpenFromTheFirstToTheLast.
    return createFilterShader(QStringLiteral("CubeRender_NDotL.frag"));
}

bool TvoRenderCubemap_NDotL::renderBegin(int face)
{
    return beginFilter(face, 1.0f / _levelsPow);
}

void TvoRenderCubemap_NDotL::renderEnd(int face)
{
    endFilter(face);
}

bool TvoRenderCubemap_Linear::createShader()
{
    return createConversionShader(QStringLiteral("CubeRender_Linear.frag"));
}

bool TvoRenderCubemap_Linear::renderBegin(int face)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    const QMatrix4x2 toUv = stripMatrix(face);
    glUniformMatrix4x2fv(location(QStringLiteral("u_TvoNormalToUvMatrix")), 1, GL_FALSE, toUv.constData());
    return true;
}

QString typeAsString(TvoImageCubemapSourceType type)
{
    switch (type) {
    case eSourceNone:
        return QObject::tr("None");
    case eSourceCubemap:
        return QObject::tr("Cubemap");
    case eSourceSphere:
        return QObject::tr("Sphere");
    case eSourceLatLong:
        return QObject::tr("LatLong");
    case eSourceLinear:
        return QObject::tr("Linear");
    case eSourceCross:
        return QObject::tr("Cross");
    }
    return QObject::tr("Unknown");
}

TvoImageCubemapSourceType typeFromString(const QString &text)
{
    for (int type = eSourceNone; type <= eSourceCross; ++type) {
        if (text == typeAsString(static_cast<TvoImageCubemapSourceType>(type))) {
            return static_cast<TvoImageCubemapSourceType>(type);
        }
    }
    return eSourceNone;
}

QList<TvoImageCubemapSourceType> supportedTypes()
{
    static const QList<TvoImageCubemapSourceType> types{eSourceNone, eSourceLatLong, eSourceCross,
                                                        eSourceLinear};
    return types;
}

bool canFileSupport3DCubemap(const QString &path)
{
    return QFileInfo(path).suffix().toLower() == QLatin1String("dds");
}

Texture *createGLCubemapFromTexture(Texture *source, TvoImageCubemapSourceType type, unsigned target,
                                    TvoImageCubemapColorSpace colorSpace, int maxSize)
{
    if (source == nullptr) {
        return nullptr;
    }
    const LevelShape shape(*source, 0);
    // A face covers a quarter of the horizon, hence a quarter of the width of a panorama.
    const auto render = [&](TvoRenderCubemapBaseTexture &renderer, int size) -> Texture * {
        if (!isRenderable(shape)) {
            return nullptr;
        }
        const int faceSize = maxSize > 0 ? std::min(size, maxSize) : size;
        return renderFrom(renderer, source, colorSpace, faceSize, static_cast<unsigned>(shape.internalFormat),
                          target);
    };
    switch (type) {
    case eSourceSphere: {
        TvoRenderCubemap_Sphere renderer;
        return render(renderer, shape.width / 4);
    }
    case eSourceLatLong: {
        TvoRenderCubemap_LatLongSphere renderer;
        return render(renderer, shape.width / 4);
    }
    case eSourceLinear: {
        TvoRenderCubemap_Linear renderer;
        return render(renderer, shape.width / 6);
    }
    case eSourceCross: {
        // The ratio is not measured: every image that is not square counts as a cross.
        const int lesser = std::min(shape.width, shape.height);
        const int greater = std::max(shape.width, shape.height);
        if (lesser < 1 || lesser == greater) {
            ZEL_LOG_DEBUG("[ !! ] Texture(%d,%d) not a 4:3 or 3:4 image. Cannot load cubemap.", shape.width,
                          shape.height);
            return nullptr;
        }
        TvoRenderCubemap_Cross renderer;
        renderer.setLayout(shape.width == lesser ? eLayout3x4 : eLayout4x3);
        return render(renderer, greater / 4);
    }
    default:
        return nullptr;
    }
}

Texture *createGLCubemapBlurFromGLCubemap(Texture *source, unsigned target, int size, int levels)
{
    if (source == nullptr) {
        return nullptr;
    }
    TvoRenderCubemap_Blur renderer;
    renderer.setLevels(levels);
    Texture *cubemap = renderFrom(renderer, source, eColorSpaceLinear, size, GL_RGBA32F, target);
    if (cubemap == nullptr) {
        ZEL_LOG_DEBUG("[ !! ] Unable to create cubemap blur from cubemap.");
    }
    return cubemap;
}

Texture *createGLCubemapNDotLFromGLCubemap(Texture *source, unsigned target, int size, int levels,
                                           float levelsPow)
{
    if (source == nullptr) {
        return nullptr;
    }
    TvoRenderCubemap_NDotL renderer;
    renderer.setLevels(levels);
    renderer.setLevelsPow(levelsPow);
    Texture *cubemap = renderFrom(renderer, source, eColorSpaceLinear, size, GL_RGBA32F, target);
    if (cubemap == nullptr) {
        ZEL_LOG_DEBUG("[ !! ] Unable to create cubemap NDotL from cubemap.");
    }
    return cubemap;
}

Texture *createGLCubemapStripFromTexture(Texture *cube, int level)
{
    if (cube == nullptr) {
        return nullptr;
    }
    maxLevelOf(*cube); // required, though the result is not used
    const LevelShape shape(*cube, level);
    if (!isRenderable(shape)) {
        return nullptr;
    }
    const auto internalFormat = static_cast<unsigned>(shape.internalFormat);
    const GLenum format = formatFromInternalFormat(internalFormat);
    const GLenum type = typeFromInternalFormat(internalFormat);
    if (format == 0 || type == 0) {
        return nullptr; // the two functions have reported the format
    }
    return stripOfFaces(*cube, shape, format, type).release();
}

bool copyCubeMapTextureAsLod(Texture *source, Texture *target, int lod)
{
    if (source == nullptr || target == nullptr || source->target() != GL_TEXTURE_CUBE_MAP) {
        return false;
    }
    const LevelShape shape(*source, 0);
    if (!shape.isKnown()) {
        return false;
    }
    glViewport(0, 0, shape.width, shape.height);
    // A level above the host's limit is refused: see TvoImageCubemapUtilsTest.LevelsAreCopiedWhereTheyFit.
    const int maxLevel = maxLevelOf(*target);
    if ((maxLevel > 0 && maxLevel < lod) || (maxLevel == 0 && lod != 0)) {
        return false;
    }
    if (!(LevelShape(*target, lod) == shape)) {
        return false;
    }
    return copyFaces(*source, *target, lod, shape);
}

} // namespace TvoImageCubemapUtils
