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
#include "private/SavedViewport.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QObject>
#include <QtGui/QGenericMatrix>
#include <QtGui/QMatrix4x4>

#include <algorithm>
#include <cmath>

using namespace Orvane::Zel;

namespace TvoImageCubemapUtils {

namespace {

constexpr int kFaces = 6;
constexpr int kMostLayersInPass = 8;
constexpr int kMostLevels = 1 << 16; ///< far more than GL has; Mesa ends the process on depths of 100 million
constexpr int kLastSourceType = eSourceCross;
constexpr GLenum kWraps[] = {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T};

GLenum faceTarget(int face)
{
    return GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face);
}

struct FaceRow
{
    GLfloat normalMatrix[9]; ///< turns the normals of +X to the face; column after column
    GLfloat clearColor[3];   ///< shows wherever nothing is drawn
};

const FaceRow kFaceRows[kFaces] = {
    {{1, 0, 0, 0, 0, -1, 0, -1, 0}, {1, 0, 0}}, {{-1, 0, 0, 0, 0, 1, 0, -1, 0}, {0, 1, 0}},
    {{0, 1, 0, 1, 0, 0, 0, 0, 1}, {0, 0, 1}},   {{0, -1, 0, 1, 0, 0, 0, 0, -1}, {1, 1, 0}},
    {{0, 0, 1, 1, 0, 0, 0, -1, 0}, {0, 1, 1}},  {{0, 0, -1, -1, 0, 0, 0, -1, 0}, {1, 0, 1}},
};

struct CrossLayout
{
    int columns;
    int rows;
    int cells[kFaces][2];
    float turns[kFaces][6];
};

const CrossLayout kCrossLayouts[] = {
    {4,
     3,
     {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}},
     {{0, 0, 0, -1, -1, 0},
      {0, 0, 0, -1, 1, 0},
      {1, 0, 0, 0, 0, 1},
      {1, 0, 0, 0, 0, -1},
      {1, 0, 0, -1, 0, 0},
      {-1, 0, 0, -1, 0, 0}}},
    {3,
     4,
     {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {1, 3}},
     {{0, 0, 0, -1, -1, 0},
      {0, 0, 0, -1, 1, 0},
      {1, 0, 0, 0, 0, 1},
      {1, 0, 0, 0, 0, -1},
      {1, 0, 0, -1, 0, 0},
      {1, 0, 0, 1, 0, 0}}},
};

// From the normal of a face to its place in a strip of six, two rows of four.
const float kStripRows[kFaces][8] = {
    {0, 0, -1.0f / 12, 1.0f / 12, 0, -0.5f, 0, 0.5f}, {0, 0, 1.0f / 12, 3.0f / 12, 0, -0.5f, 0, 0.5f},
    {1.0f / 12, 0, 0, 5.0f / 12, 0, 0, 0.5f, 0.5f},   {1.0f / 12, 0, 0, 7.0f / 12, 0, 0, -0.5f, 0.5f},
    {1.0f / 12, 0, 0, 9.0f / 12, 0, -0.5f, 0, 0.5f},  {-1.0f / 12, 0, 0, 11.0f / 12, 0, -0.5f, 0, 0.5f},
};

// From the quad to directions, row after row.
const GLfloat kStripTransforms[kFaces][9] = {
    {0, 0, -1, 0, 1, 0, -1, 0, 0}, {0, 0, 1, 0, 1, 0, 1, 0, 0},  {1, 0, 0, 0, 0, -1, 0, -1, 0},
    {1, 0, 0, 0, 0, 1, 0, 1, 0},   {1, 0, 0, 0, 1, 0, 0, 0, -1}, {-1, 0, 0, 0, 1, 0, 0, 0, 1},
};

const float kQuadVertices[] = {-1, -1, 1, -1, -1, 1, 1, 1};
const float kQuadNormals[] = {1, -1, -1, 1, 1, -1, 1, -1, 1, 1, 1, 1}; // of the face +X

std::unique_ptr<DrawBuffers> makeQuad()
{
    const auto context = OpenGLDeviceContext::current();
    auto quad = std::make_unique<DrawBuffers>(nullptr);
    const auto vao = context->newVAO();
    quad->setVAO(vao);
    quad->setPrimitiveType(GL_TRIANGLE_STRIP);
    quad->setVertexCount(4);
    const auto fill = [&](const char *name, const float *values, int count, int valuesPerVertex) {
        const auto buffer = context->newBuffer();
        buffer->setTarget(GL_ARRAY_BUFFER);
        return vao->upload(QLatin1String(name), buffer, values, count, valuesPerVertex, GL_STATIC_DRAW);
    };
    if (!fill("tvo_Vertex", kQuadVertices, 8, 2) || !fill("tvo_Normal", kQuadNormals, 12, 3)) {
        ZEL_LOG_DEBUG("Failed to upload buffers.");
    }
    return quad;
}

/// What a level of a texture, or of its first face, is.
struct LevelShape
{
    LevelShape(Texture &texture, int level)
    {
        const AutoBinder binder(&texture);
        width = texture.width(level);
        height = texture.height(level);
        internalFormat = texture.internalFormat(level);
        isCompressed = texture.getTexLevelParameteriv(level, GL_TEXTURE_COMPRESSED) == GL_TRUE;
    }

    /// False where the texture could not be bound.
    bool isKnown() const { return width >= 0; }

    /// False, and logged, where a texture of the same format cannot be rendered to.
    bool isRenderable() const
    {
        if (isCompressed) {
            ZEL_LOG_DEBUG("[ !! ] Cannot render to the compressed format 0x%X",
                          static_cast<unsigned>(internalFormat));
        }
        return isKnown() && !isCompressed;
    }

    bool operator==(const LevelShape &other) const
    {
        return width == other.width && height == other.height && internalFormat == other.internalFormat;
    }

    int width;
    int height;
    int internalFormat;
    bool isCompressed;
};

int maxLevelOf(Texture &texture)
{
    const AutoBinder binder(&texture);
    GLint level = 0;
    glGetTexParameteriv(texture.target(), GL_TEXTURE_MAX_LEVEL, &level);
    return level;
}

/// Sets up a renderer that has a source, and lets it render.
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
                       kFaceRows[face].normalMatrix);
    return true;
}

void TvoRenderCubemapBase::renderEnd(int) {}

void TvoRenderCubemapBase::createShaderDefines() {}

void TvoRenderCubemapBase::removeShaderDefines() {}

void TvoRenderCubemapBase::setLevels(int levels)
{
    _levels = std::clamp(levels, -kMostLevels, kMostLevels);
}

Texture *TvoRenderCubemapBase::createCubemap(int size, unsigned internalFormat, unsigned target)
{
    auto texture =
        std::make_unique<Texture>(target, static_cast<int>(internalFormat), size, size, 0, nullptr);
    const AutoBinder binder(texture.get());
    if (target != 0 && !texture->isBound()) { // the calls below would go to another texture
        return nullptr;
    }
    const GLenum format = formatFromInternalFormat(internalFormat);
    const GLenum type = typeFromInternalFormat(internalFormat);
    if (format == 0 || type == 0) {
        return nullptr; // which was reported there
    }
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
        ZEL_LOG_DEBUG("[ !! ] Unhandled Texture Type 0x%X", target);
        break;
    }
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    if (!renderCubemap(size, internalFormat, texture.get())) {
        return nullptr;
    }
    texture->bind(); // the source was bound meanwhile, and took the active unit with it
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
    createShaderDefines();
    const bool hasShader = createShader();
    removeShaderDefines();
    if (!hasShader || _program == nullptr) {
        ZEL_LOG_DEBUG("[ !! ] Failed to create Shader");
        return false;
    }
    {
        const AutoBinder binder(_quad->VAO().data());
        _quad->VAO()->enableShaderProgramArrays(_program.get());
    }
    FramebufferObject framebuffer(nullptr);
    const AutoBinder framebufferBinder(&framebuffer);
    for (int i = 0; i < _batchSize; ++i) {
        // Scratch, never attached; gone with the framebuffer object.
        (new Texture(&framebuffer))->create2D(GL_TEXTURE_2D, internalFormat, size, size);
    }
    glDisable(GL_BLEND);
    const AutoEnabler encodesSRGB(GL_FRAMEBUFFER_SRGB);
    const AutoBinder programBinder(_program.get());
    const QMatrix4x4 identity;
    glUniformMatrix4fv(location(QStringLiteral("u_TvoModelViewProjectionMatrix")), 1, GL_FALSE,
                       identity.constData());
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
    _program->setMacroProcessor(nullptr);
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
    for (const int size : {8, 4, 2}) {
        if (_layers % size == 0) {
            return size;
        }
    }
    return 1;
}

void TvoRenderCubemapBase::setBatchSize(int layers)
{
    _batchSize = std::clamp(layers, 1, kMostLayersInPass);
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
    static constexpr GLenum attachments[kMostLayersInPass] = {
        GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1, GL_COLOR_ATTACHMENT2, GL_COLOR_ATTACHMENT3,
        GL_COLOR_ATTACHMENT4, GL_COLOR_ATTACHMENT5, GL_COLOR_ATTACHMENT6, GL_COLOR_ATTACHMENT7};
    _face = face;
    if (!attachFace(target, face)) {
        return false;
    }
    glViewport(0, 0, size, size);
    glDrawBuffers(_layersInPass, attachments);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        ZEL_LOG_DEBUG("[ !! ] Cannot render to faces of this format and size");
        return false;
    }
    const GLfloat *color = kFaceRows[face].clearColor;
    glClearColor(color[0], color[1], color[2], 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    if (renderBegin(face)) {
        _quad->bind();
        _quad->draw(_program.get());
        _quad->unbind();
        glFlush();
        glFinish(); // these are heavy draws: one face at a time
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
    if (_texture == nullptr || !canRender(face)) {
        return false;
    }
    if (!_texture->bind()) {
        return false;
    }
    glTexParameteri(_texture->target(), GL_TEXTURE_MIN_FILTER, _minFilter);
    glTexParameteri(_texture->target(), GL_TEXTURE_MAG_FILTER, _magFilter);
    for (int i = 0; _clampsSource && i < 2; ++i) {
        if (_wraps[i] == 0) { // else a host begins again without an end
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

void TvoRenderCubemap_Cross::setLayout(TvoLayout layout)
{
    _layout = layout;
}

bool TvoRenderCubemap_Cross::createShader()
{
    buildProgram(QStringLiteral("CubeRender_Cross.frag"), true, QString());
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemap_Cross::renderBegin(int face)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    const CrossLayout &layout = kCrossLayouts[_layout == eLayout3x4 ? 1 : 0];
    const float *t = layout.turns[face];
    const float sx = 0.5f / static_cast<float>(layout.columns);
    const float sy = 0.5f / static_cast<float>(layout.rows);
    // The numbers fill the matrix row after row; settled, and not to be exchanged for columns.
    const float values[] = {t[0] * sx,
                            t[1] * sy,
                            t[2] * sx,
                            t[3] * sy,
                            t[4] * sx,
                            t[5] * sy,
                            static_cast<float>(2 * layout.cells[face][0] + 1) * sx,
                            static_cast<float>(2 * layout.cells[face][1] + 1) * sy};
    const QMatrix4x2 toUv(values);
    glUniformMatrix4x2fv(location(QStringLiteral("u_TvoNormalToUvMatrix")), 1, GL_FALSE, toUv.constData());
    return true;
}

bool TvoRenderCubemap_LatLongSphere::createShader()
{
    clampSource(); // the nadir is exactly v = 1
    buildProgram(QStringLiteral("CubeRender_LatLongSphere.frag"), true, QString());
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemap_Sphere::createShader()
{
    clampSource(); // the rim is exactly 1 in u or v
    buildProgram(QStringLiteral("CubeRender_Sphere.frag"), true, QString());
    return TvoRenderCubemapBase::createShader();
}

TvoRenderCubemap_Blur::TvoRenderCubemap_Blur()
{
    setFilters(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR);
}

bool TvoRenderCubemap_Blur::createShader()
{
    // The shader reads another define than this, and so does not compile: a blur keeps the clear colours. Left so.
    buildProgram(QStringLiteral("CubeRender_Blur.frag"), false,
                 QStringLiteral("TVO_CUBERENDER_NDOT_BATCH_SIZE"));
    setBatchSize(largestBatchSize());
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemap_Blur::renderBegin(int face)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    for (int k = 0; k < layersInPass(); ++k) {
        glUniform1f(location(QStringLiteral("s_blur[%1].value").arg(k)), blurOfLayer(k));
    }
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    return true;
}

void TvoRenderCubemap_Blur::renderEnd(int face)
{
    glDisable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    TvoRenderCubemapBaseTexture::renderEnd(face);
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
    // The batch size of the passes stays 1, whatever the shader declares.
    buildProgram(QStringLiteral("CubeRender_NDotL.frag"), false,
                 QStringLiteral("TVO_CUBERENDER_NDOT_BATCH_SIZE"));
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemap_NDotL::renderBegin(int face)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    for (int k = 0; k < layersInPass(); ++k) {
        glUniform1f(location(QStringLiteral("s_blur[%1].value").arg(k)),
                    std::pow(blurOfLayer(k), 1.0f / _levelsPow));
    }
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    return true;
}

void TvoRenderCubemap_NDotL::renderEnd(int face)
{
    glDisable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    TvoRenderCubemapBaseTexture::renderEnd(face);
}

bool TvoRenderCubemap_Linear::createShader()
{
    buildProgram(QStringLiteral("CubeRender_Linear.frag"), true, QString());
    return TvoRenderCubemapBase::createShader();
}

bool TvoRenderCubemap_Linear::renderBegin(int face)
{
    if (!TvoRenderCubemapBaseTexture::renderBegin(face)) {
        return false;
    }
    const QMatrix4x2 toUv(kStripRows[face]);
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
    for (int type = eSourceNone; type <= kLastSourceType; ++type) {
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
    const auto render = [&](TvoRenderCubemapBaseTexture &renderer, int size) -> Texture * {
        if (!shape.isRenderable()) {
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
    maxLevelOf(*cube); // asked, and not looked at
    const LevelShape shape(*cube, level);
    if (!shape.isRenderable()) {
        return nullptr;
    }
    const auto internalFormat = static_cast<unsigned>(shape.internalFormat);
    const GLenum format = formatFromInternalFormat(internalFormat);
    const GLenum type = typeFromInternalFormat(internalFormat);
    if (format == 0 || type == 0) {
        return nullptr; // which was reported there
    }
    const SavedViewport viewport;
    const AutoEnabler encodesSRGB(GL_FRAMEBUFFER_SRGB);
    ShaderProgram program(nullptr);
    program.setFragDataLocations({QStringLiteral("out_FragColor")});
    program.addShaderFromFile(GL_VERTEX_SHADER, QStringLiteral("CubeRender_ToLinearVS.glslc"));
    program.addShaderFromFile(GL_FRAGMENT_SHADER, QStringLiteral("CubeRender_ToLinearFS.glslc"));
    program.compile();
    program.link();

    const int stripWidth = kFaces * shape.width;
    auto strip =
        std::make_unique<Texture>(GL_TEXTURE_2D, shape.internalFormat, stripWidth, shape.height, 0, nullptr);
    if (!strip->bind()) { // the calls below would go to another texture
        return nullptr;
    }
    glTexImage2D(GL_TEXTURE_2D, 0, shape.internalFormat, stripWidth, shape.height, 0, format, type, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glGenerateMipmap(GL_TEXTURE_2D);
    strip->unbind();

    FramebufferObject framebuffer(nullptr);
    const AutoBinder framebufferBinder(&framebuffer);
    const AutoBinder programBinder(&program);
    const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
    {
        const AutoBinder binder(quad->VAO().data());
        quad->VAO()->enableShaderProgramArrays(&program);
    }
    const AutoBinder quadBinder(quad.data());
    const AutoBinder cubeBinder(cube);
    program.setUniform(program.getUniformLocation(QStringLiteral("u_Texture")),
                       static_cast<int>(cube->unit()));
    const int transform = program.getUniformLocation(QStringLiteral("u_Transform"));
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    for (int face = 0; face < kFaces; ++face) {
        glViewport(shape.width * face, 0, shape.width, shape.height);
        framebuffer.attach(strip.get(), GL_COLOR_ATTACHMENT0, 0);
        if (!framebuffer.isComplete()) {
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            return nullptr;
        }
        if (transform >= 0) {
            glUniformMatrix3fv(transform, 1, GL_TRUE, kStripTransforms[face]);
        }
        quad->draw(&program);
        glFlush();
        framebuffer.detach(GL_COLOR_ATTACHMENT0);
    }
    return strip.release();
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
    const int maxLevel = maxLevelOf(*target);
    if ((maxLevel > 0 && maxLevel < lod) || (maxLevel == 0 && lod != 0)) {
        return false;
    }
    if (!(LevelShape(*target, lod) == shape)) {
        return false;
    }
    for (int face = 0; face < kFaces; ++face) {
        const FramebufferObject read(nullptr);
        const FramebufferObject draw(nullptr);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, read.getFBO());
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, draw.getFBO());
        glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(face),
                               source->textureID(), 0);
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(face),
                               target->textureID(), lod);
        const bool complete = glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
        if (complete) {
            glBlitFramebuffer(0, 0, shape.width, shape.height, 0, 0, shape.width, shape.height,
                              GL_COLOR_BUFFER_BIT, GL_LINEAR);
        }
        glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
        if (!complete) {
            return false;
        }
    }
    return true;
}

} // namespace TvoImageCubemapUtils
