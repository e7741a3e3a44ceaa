#include "EnvironmentLight.h"

#include "private/Checks.h"
#include "private/FullscreenProgram.h"
#include "private/LightTextures.h"
#include "private/Orphans.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QFile>
#include <QtCore/QSaveFile>

#include <algorithm>
#include <cstring>
#include <iterator>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

constexpr char kMagic[8] = {'Z', 'e', 'l', 'L', 'i', 'g', 'h', 't'};
constexpr quint32 kVersion = 1;
constexpr quint32 kMaxSize = 4096;
constexpr qint64 kTexelBytes = 8; ///< four half floats

/// The start of a file; the texels follow: reflections by level and face, diffuse by face, and the table. All in the byte order of
/// the machine, which the version shows.
struct FileHead
{
    char magic[8];
    quint32 version;
    quint32 reflectionSize;
    quint32 diffuseSize;
    quint32 tableSize;
};
static_assert(sizeof(FileHead) == 24, "without padding");

bool isSize(quint32 size)
{
    return size >= 1 && size <= kMaxSize;
}

qint64 bytesOf(const FileHead &head)
{
    const auto square = [](quint32 side) { return qint64(side) * qint64(side) * kTexelBytes; };
    qint64 bytes = kCubeFaces * square(head.diffuseSize) + square(head.tableSize);
    for (int level = 0; level < MaxLODLevel(int(head.reflectionSize), int(head.reflectionSize)); ++level) {
        bytes += kCubeFaces * square(head.reflectionSize >> level);
    }
    return bytes;
}

/// Calls \a visit with the target, level and side of each image, in the order of the file.
template <typename Visit> void forEachImage(Texture &texture, int levels, const Visit &visit)
{
    const AutoBinder bound(&texture);
    const bool isCube = texture.target() == GL_TEXTURE_CUBE_MAP;
    for (int level = 0; level < levels; ++level) {
        for (int face = 0; face < (isCube ? kCubeFaces : 1); ++face) {
            visit(isCube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + GLenum(face) : GLenum(GL_TEXTURE_2D), level,
                  texture.width(level));
        }
    }
}

void setFilters(Texture &texture, GLenum minFilter, int levels)
{
    const GLenum target = texture.target();
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GLint(minFilter));
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glTexParameteri(target, wrap, GL_CLAMP_TO_EDGE);
    }
    glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, levels - 1);
}

} // namespace

std::unique_ptr<Texture> makeLightCube(int size, int levels)
{
    auto cube = std::make_unique<Texture>(GL_TEXTURE_CUBE_MAP, GL_RGBA16F, size, size, 0, nullptr);
    const AutoBinder bound(cube.get());
    for (int level = 0; level < levels; ++level) {
        for (int face = 0; face < kCubeFaces; ++face) {
            glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + GLenum(face), level, GL_RGBA16F, size >> level,
                         size >> level, 0, GL_RGBA, GL_HALF_FLOAT, nullptr);
        }
    }
    setFilters(*cube, levels > 1 ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR, levels);
    return cube;
}

std::unique_ptr<Texture> makeLightTable(int size)
{
    auto table = std::make_unique<Texture>(nullptr);
    table->create2D(GL_TEXTURE_2D, GL_RGBA16F, size, size);
    const AutoBinder bound(table.get());
    setFilters(*table, GL_LINEAR, 1);
    return table;
}

EnvironmentLight::EnvironmentLight()
    : _context(std::make_unique<OwnContext>())
{
}

EnvironmentLight::~EnvironmentLight()
{
    keepWithoutContext(*_context, "environment light", _reflections, _diffuse, _table);
}

void EnvironmentLight::setUp(GLSLMacroProcessor *processor)
{
    if (processor == nullptr) {
        fail(nullptr, QStringLiteral("environment light: setUp() needs a text processor"));
        return;
    }
    processor->addIncludePath(shaderFolder());
}

std::unique_ptr<EnvironmentLight> EnvironmentLight::load(const QString &path, QString *error)
{
    if (!hasContext("environment light", error)) {
        return nullptr;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(error, QStringLiteral("'%1' cannot be opened: %2").arg(path, file.errorString()));
        return nullptr;
    }
    const QByteArray bytes = file.readAll();
    FileHead head = {};
    std::memcpy(&head, bytes.constData(), std::min(sizeof(head), size_t(bytes.size())));
    if (std::memcmp(head.magic, kMagic, sizeof(kMagic)) != 0 || head.version != kVersion
        || !isSize(head.reflectionSize) || !isSize(head.diffuseSize) || !isSize(head.tableSize)
        || bytes.size() != qint64(sizeof(head)) + bytesOf(head)) {
        fail(error,
             QStringLiteral("'%1' is not a saved environment light, or damaged; bake and save it again")
                 .arg(path));
        return nullptr;
    }
    std::unique_ptr<EnvironmentLight> light(new EnvironmentLight);
    light->_levels = MaxLODLevel(int(head.reflectionSize), int(head.reflectionSize));
    light->_reflections = makeLightCube(int(head.reflectionSize), light->_levels);
    light->_diffuse = makeLightCube(int(head.diffuseSize), 1);
    light->_table = makeLightTable(int(head.tableSize));
    const char *texels = bytes.constData() + sizeof(head);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    const auto read = [&texels](GLenum target, int level, int side) {
        glTexSubImage2D(target, level, 0, 0, side, side, GL_RGBA, GL_HALF_FLOAT, texels);
        texels += side * side * kTexelBytes;
    };
    forEachImage(*light->_reflections, light->_levels, read);
    forEachImage(*light->_diffuse, 1, read);
    forEachImage(*light->_table, 1, read);
    return light;
}

bool EnvironmentLight::save(const QString &path, QString *error)
{
    if (!hasContext("environment light", error) || !_context->isCurrent("environment light", error)) {
        return false;
    }
    FileHead head = {};
    std::memcpy(head.magic, kMagic, sizeof(kMagic));
    head.version = kVersion;
    const auto sideOf = [](Texture &texture) {
        const AutoBinder bound(&texture);
        return quint32(texture.width(0));
    };
    head.reflectionSize = sideOf(*_reflections);
    head.diffuseSize = sideOf(*_diffuse);
    head.tableSize = sideOf(*_table);
    QByteArray bytes(int(sizeof(head) + bytesOf(head)), Qt::Uninitialized);
    std::memcpy(bytes.data(), &head, sizeof(head));
    char *texels = bytes.data() + sizeof(head);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    const auto write = [&texels](GLenum target, int level, int side) {
        glGetTexImage(target, level, GL_RGBA, GL_HALF_FLOAT, texels);
        texels += side * side * kTexelBytes;
    };
    forEachImage(*_reflections, _levels, write);
    forEachImage(*_diffuse, 1, write);
    forEachImage(*_table, 1, write);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        fail(error, QStringLiteral("'%1' cannot be written: %2").arg(path, file.errorString()));
        return false;
    }
    return true;
}

bool EnvironmentLight::bind(ShaderProgram *program)
{
    if (program == nullptr) {
        fail(nullptr, QStringLiteral("environment light: bind() needs a program that is bound"));
        return false;
    }
    if (!_context->isCurrent("environment light")) {
        return false;
    }
    const auto set = [program](const QString &name, const QVariant &value) {
        if (program->hasUniform(name)) { // the driver removes unused uniforms
            program->setUniform(name, value);
        }
    };
    Texture *const textures[] = {_reflections.get(), _diffuse.get(), _table.get()};
    for (Texture *const &texture : textures) {
        if (!texture->bind()) {
            std::for_each(std::begin(textures), &texture, [](Texture *bound) { bound->unbind(); });
            return false;
        }
    }
    set(QStringLiteral("u_EnvironmentSpecular"), int(_reflections->unit()));
    set(QStringLiteral("u_EnvironmentDiffuse"), int(_diffuse->unit()));
    set(QStringLiteral("u_EnvironmentBrdf"), int(_table->unit()));
    set(QStringLiteral("u_EnvironmentLastLevel"), float(_levels - 1));
    set(QStringLiteral("u_ToEnvironment"), _toImage);
    return true;
}

void EnvironmentLight::unbind()
{
    if (!_context->isCurrent("environment light")) {
        return;
    }
    for (const auto *texture : {&_reflections, &_diffuse, &_table}) {
        (*texture)->unbind();
    }
}

}} // namespace Orvane::ZelKit
