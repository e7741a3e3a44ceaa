#include "TextureCheck.h"

#include "Driver.h"
#include "Objects.h"
#include "Reports.h"

#include <algorithm>

namespace Orvane { namespace ZelCheck {

namespace {

struct TargetRow
{
    GLenum target;
    GLenum binding;
    const char *name;
};

constexpr TargetRow kTargets[] = {
    {GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D, "GL_TEXTURE_2D"},
    {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY, "GL_TEXTURE_2D_ARRAY"},
    {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP, "GL_TEXTURE_CUBE_MAP"},
    {GL_TEXTURE_1D, GL_TEXTURE_BINDING_1D, "GL_TEXTURE_1D"},
    {GL_TEXTURE_3D, GL_TEXTURE_BINDING_3D, "GL_TEXTURE_3D"},
    {GL_TEXTURE_1D_ARRAY, GL_TEXTURE_BINDING_1D_ARRAY, "GL_TEXTURE_1D_ARRAY"},
    {GL_TEXTURE_RECTANGLE, GL_TEXTURE_BINDING_RECTANGLE, "GL_TEXTURE_RECTANGLE"},
    {GL_TEXTURE_BUFFER, GL_TEXTURE_BINDING_BUFFER, "GL_TEXTURE_BUFFER"},
    {GL_TEXTURE_2D_MULTISAMPLE, GL_TEXTURE_BINDING_2D_MULTISAMPLE, "GL_TEXTURE_2D_MULTISAMPLE"},
    {GL_TEXTURE_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_BINDING_2D_MULTISAMPLE_ARRAY,
     "GL_TEXTURE_2D_MULTISAMPLE_ARRAY"},
    {GL_TEXTURE_CUBE_MAP_ARRAY, GL_TEXTURE_BINDING_CUBE_MAP_ARRAY, "GL_TEXTURE_CUBE_MAP_ARRAY"},
};

const TargetRow *rowOf(GLenum target)
{
    const auto row = std::find_if(std::begin(kTargets), std::end(kTargets),
                                  [target](const TargetRow &one) { return one.target == target; });
    return row != std::end(kTargets) ? row : nullptr;
}

GLint textureInteger(GLenum target, GLenum name)
{
    GLint value = 0;
    driver.glGetTexParameteriv(target, name, &value);
    return value;
}

GLint levelInteger(GLenum image, GLint level, GLenum name)
{
    GLint value = 0;
    driver.glGetTexLevelParameteriv(image, level, name, &value);
    return value;
}

bool hasSamples(GLenum target)
{
    return target == GL_TEXTURE_2D_MULTISAMPLE || target == GL_TEXTURE_2D_MULTISAMPLE_ARRAY;
}

bool hasLevels(GLenum target)
{
    return !hasSamples(target) && target != GL_TEXTURE_RECTANGLE && target != GL_TEXTURE_BUFFER;
}

bool usesLevels(GLint minFilter)
{
    return minFilter != GL_NEAREST && minFilter != GL_LINEAR;
}

/// The filters that apply to the bound texture: its own, or those of a sampler object.
struct Filters
{
    GLint min = GL_NEAREST;
    GLint mag = GL_NEAREST;
    bool areKnown = true;
};

Filters filtersOf(GLenum target, GLuint samplerObject)
{
    Filters filters;
    if (hasSamples(target) || target == GL_TEXTURE_BUFFER) {
        return filters;
    }
    if (samplerObject == 0) {
        filters.min = textureInteger(target, GL_TEXTURE_MIN_FILTER);
        filters.mag = textureInteger(target, GL_TEXTURE_MAG_FILTER);
    } else if (newerFunctions().getSamplerParameteriv != nullptr) {
        newerFunctions().getSamplerParameteriv(samplerObject, GL_TEXTURE_MIN_FILTER, &filters.min);
        newerFunctions().getSamplerParameteriv(samplerObject, GL_TEXTURE_MAG_FILTER, &filters.mag);
    } else {
        filters.areKnown = false;
    }
    return filters;
}

/// The first level, at or after \a base, that the filter needs and that has no image or the wrong size; -1 if there is none.
GLint missingLevel(GLenum target, GLenum image, GLint base)
{
    const GLint width = levelInteger(image, base, GL_TEXTURE_WIDTH);
    const GLint height = target == GL_TEXTURE_1D || target == GL_TEXTURE_1D_ARRAY
                             ? 1
                             : levelInteger(image, base, GL_TEXTURE_HEIGHT);
    const GLint depth = target == GL_TEXTURE_3D ? levelInteger(image, base, GL_TEXTURE_DEPTH) : 1;
    const GLint last = textureInteger(target, GL_TEXTURE_MAX_LEVEL);
    GLint level = base;
    for (GLint size = std::max({width, height, depth}); size > 1 && level < last; size /= 2) {
        ++level;
        if (levelInteger(image, level, GL_TEXTURE_WIDTH) != qMax(width >> (level - base), 1)) {
            return level;
        }
    }
    return -1;
}

/// Why the bound texture cannot be sampled, with the remedy; empty if it can.
QString faultOf(GLenum target, GLuint samplerObject)
{
    if (target == GL_TEXTURE_BUFFER) {
        return integer(GL_TEXTURE_BUFFER_DATA_STORE_BINDING) != 0
                   ? QString()
                   : QStringLiteral("has no buffer: call glTexBuffer() with one");
    }
    const GLint base = hasLevels(target) ? textureInteger(target, GL_TEXTURE_BASE_LEVEL) : 0;
    const bool isCube = target == GL_TEXTURE_CUBE_MAP;
    const GLenum image = isCube ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X) : target;
    const GLint width = levelInteger(image, base, GL_TEXTURE_WIDTH);
    if (width == 0) {
        return QStringLiteral("has no image in level %1: upload one, or create the texture with a size")
            .arg(base);
    }
    for (GLenum face = 1; isCube && face < 6; ++face) {
        if (levelInteger(image + face, base, GL_TEXTURE_WIDTH) != width) {
            return QStringLiteral("lacks face %1 or has it in another size: upload all six faces").arg(face);
        }
    }
    const Filters filters = filtersOf(target, samplerObject);
    if (!filters.areKnown) {
        return QString();
    }
    const GLint type = levelInteger(image, base, GL_TEXTURE_RED_TYPE);
    const bool isInteger = type == GL_INT || type == GL_UNSIGNED_INT;
    const bool isSmooth =
        filters.mag != GL_NEAREST || (filters.min != GL_NEAREST && filters.min != GL_NEAREST_MIPMAP_NEAREST);
    if (isInteger && isSmooth) {
        return QStringLiteral("has an integer format and a linear filter: set both filters to GL_NEAREST");
    }
    const bool isImmutable = newerFunctions().hasImmutableTextures
                             && textureInteger(target, GL_TEXTURE_IMMUTABLE_FORMAT) != GL_FALSE;
    if (hasLevels(target) && usesLevels(filters.min) && !isImmutable) {
        const GLint missing = missingLevel(target, image, base);
        if (missing >= 0) {
            return QStringLiteral(
                       "has a filter with mipmaps and no level %1: call generateMipmaps(), or set the "
                       "filter to GL_LINEAR")
                .arg(missing);
        }
    }
    return QString();
}

/// Whether the values of the bound texture have the type that the sampler returns.
bool hasKind(GLenum target, ProgramFacts::Kind kind)
{
    if (target == GL_TEXTURE_BUFFER) {
        return true; // GL 3.2 has no query of the format of its buffer
    }
    const GLenum image = target == GL_TEXTURE_CUBE_MAP ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X) : target;
    const GLint base = hasLevels(target) ? textureInteger(target, GL_TEXTURE_BASE_LEVEL) : 0;
    const GLint type = levelInteger(image, base, GL_TEXTURE_RED_TYPE);
    if (type == GL_NONE && levelInteger(image, base, GL_TEXTURE_STENCIL_SIZE) != 0) {
        return true; // integers or floats by GL_DEPTH_STENCIL_TEXTURE_MODE, which older drivers do not know
    }
    return (type == GL_INT || type == GL_UNSIGNED_INT) == (kind == ProgramFacts::eInteger);
}

QString samplerName(const ProgramFacts::Sampler &sampler, GLint element)
{
    if (sampler.size == 1) {
        return QString::fromLatin1(sampler.name);
    }
    return QStringLiteral("%1[%2]").arg(QString::fromLatin1(sampler.name).section('[', 0, 0)).arg(element);
}

/// Managers bind textures without an image where no token is read from a slot, as with bindless textures.
bool isOfManager(const QByteArray &sampler)
{
    return sampler.startsWith("u_ManagedTexture") || sampler.startsWith("u_TextureTokenManaged");
}

/// Whether a class of the library sets the sampler.
bool isOfLibrary(const QByteArray &sampler)
{
    return isOfManager(sampler) || sampler.startsWith("u_ShadowMapDepthSampler")
           || ((sampler.startsWith("u_i") || sampler.startsWith("u_f")) && sampler.endsWith("Sampler"));
}

/// What a host has forgotten, for the samplers that classes of the library set.
const char *remedyFor(const QByteArray &sampler)
{
    if (isOfManager(sampler)) {
        return "Call bind() of the texture manager before the draw, with this program.";
    }
    if (sampler.startsWith("u_ShadowMap")) {
        return "Call ShadowMapManager::bind() before the draw, with this program.";
    }
    if ((sampler.startsWith("u_i") || sampler.startsWith("u_f")) && sampler.endsWith("Sampler")) {
        return "Call bind() of the InstanceDataCollection of this plan before the draw, with this program.";
    }
    return "Bind one to the unit, or set the sampler to the unit of its texture (Texture::unit()).";
}

} // namespace

GLenum textureBinding(GLenum target)
{
    const TargetRow *row = rowOf(target);
    return row != nullptr ? row->binding : 0;
}

const char *textureTargetName(GLenum target)
{
    const TargetRow *row = rowOf(target);
    return row != nullptr ? row->name : "another target";
}

const std::vector<GLenum> &textureTargets()
{
    static const auto &targets = *new std::vector<GLenum>([] { // never destroyed
        std::vector<GLenum> all;
        for (const TargetRow &row : kTargets) {
            // GL 3.2 itself has no arrays of cube maps.
            if (row.target != GL_TEXTURE_CUBE_MAP_ARRAY || ogl_ext_ARB_texture_cube_map_array != 0) {
                all.push_back(row.target);
            }
        }
        return all;
    }());
    return targets;
}

void TextureCheck::check(GLuint program, const ProgramFacts &facts)
{
    if (facts.samplers.empty()) {
        return;
    }
    readAttachments();
    const GLenum active = GLenum(integer(GL_ACTIVE_TEXTURE));
    GLenum current = active;
    static const GLint unitCount = integer(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS);
    for (const ProgramFacts::Sampler &sampler : facts.samplers) {
        for (GLint element = 0; element < sampler.size; ++element) {
            GLint unit = -1;
            driver.glGetUniformiv(program, sampler.location + element, &unit);
            if (unit < 0 || unit >= unitCount) {
                continue; // GL refuses the value in glUniform1i(); another one is a handle
            }
            if (current != GL_TEXTURE0 + GLenum(unit)) {
                current = GL_TEXTURE0 + GLenum(unit);
                driver.glActiveTexture(current);
            }
            checkUnit(program, facts, sampler, element, GLuint(unit));
        }
    }
    if (current != active) {
        driver.glActiveTexture(active);
    }
}

void TextureCheck::checkUnit(GLuint program, const ProgramFacts &facts, const ProgramFacts::Sampler &sampler,
                             GLint element, GLuint unit)
{
    const quint64 place = quint64(sampler.location + element);
    if (element == 0 && facts.isHistoryKnown && !sampler.isSet && isOfLibrary(sampler.name)) {
        report(Mistake::eSamplerNeverSet, program, place, [&] {
            return QStringLiteral("Program %1: the sampler %2 was never set since the link. ")
                       .arg(nameOf(Kind::eProgram, program), samplerName(sampler, element))
                   + remedyFor(sampler.name);
        });
    }
    const GLuint texture = GLuint(integer(textureBinding(sampler.target)));
    const auto text = [&](const char *format) {
        return QString(QLatin1String(format))
            .arg(nameOf(Kind::eProgram, program))
            .arg(samplerName(sampler, element))
            .arg(unit);
    };
    if (texture == 0) {
        for (const GLenum other : textureTargets()) {
            if (other != sampler.target && integer(textureBinding(other)) != 0) {
                report(Mistake::eSamplerOfOtherTarget, program, place, [&] {
                    return text("Program %1: the sampler %2 reads texture unit %3, whose texture has the "
                                "target ")
                           + textureTargetName(other) + " instead of " + textureTargetName(sampler.target)
                           + ". " + remedyFor(sampler.name);
                });
                return;
            }
        }
        report(Mistake::eSamplerWithoutTexture, program, place, [&] {
            return text("Program %1: the sampler %2 reads texture unit %3, which has no texture. ")
                   + remedyFor(sampler.name);
        });
        return;
    }
    const GLuint samplerObject =
        newerFunctions().getSamplerParameteriv != nullptr ? GLuint(integer(GL_SAMPLER_BINDING)) : 0;
    checkFeedback(program, sampler, texture, samplerObject);
    const auto key = std::make_tuple(sharedName(texture), samplerObject, int(sampler.kind));
    if (_complete.count(key) != 0) {
        return;
    }
    const QString fault = isOfManager(sampler.name) ? QString() : faultOf(sampler.target, samplerObject);
    if (!fault.isEmpty()) {
        report(Mistake::eTextureIncomplete, program, texture, [&] {
            return text("Program %1: the sampler %2 reads texture unit %3, whose texture ")
                   + nameOf(Kind::eTexture, texture) + " is incomplete and reads as black. It " + fault + '.';
        });
    } else if (!isOfManager(sampler.name) && !hasKind(sampler.target, sampler.kind)) {
        report(Mistake::eSamplerOfOtherKind, program, texture, [&] {
            const bool isInteger = sampler.kind == ProgramFacts::eInteger;
            return text("Program %1: the sampler %2 of texture unit %3 ")
                   + (isInteger
                          ? "reads integers, but its texture has a format of floats. Declare it as sampler, "
                            "or use an integer format."
                          : "reads floats, but its texture has an integer format. Declare it as isampler or "
                            "usampler, or use a format of floats.");
        });
    } else {
        _complete.insert(key);
    }
}

/// Textures of depth buffers count only if the draw writes the depth, those of colours only if the mask is open: passes that
/// read a texture they do not write are correct. Single layers of an array do not count either, since the shader may read
/// others.
void TextureCheck::readAttachments()
{
    _attachments.clear();
    if (integer(GL_DRAW_FRAMEBUFFER_BINDING) == 0) {
        return;
    }
    const auto add = [this](GLenum attachment) {
        const auto query = [attachment](GLenum name) {
            GLint value = 0;
            driver.glGetFramebufferAttachmentParameteriv(GL_DRAW_FRAMEBUFFER, attachment, name, &value);
            return value;
        };
        if (query(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE) == GL_TEXTURE
            && (attachment == GL_DEPTH_ATTACHMENT || query(GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER) == 0)) {
            _attachments.push_back({GLuint(query(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME)),
                                    query(GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL)});
        }
    };
    static const GLint count = integer(GL_MAX_DRAW_BUFFERS);
    for (GLint i = 0; i < count; ++i) {
        const GLint attachment = integer(GL_DRAW_BUFFER0 + GLenum(i));
        if (attachment == GL_NONE) {
            continue;
        }
        GLboolean mask[4] = {};
        driver.glGetBooleani_v(GL_COLOR_WRITEMASK, GLuint(i), mask);
        if (mask[0] || mask[1] || mask[2] || mask[3]) {
            add(GLenum(attachment));
        }
    }
    if (driver.glIsEnabled(GL_DEPTH_TEST) && integer(GL_DEPTH_WRITEMASK) != GL_FALSE) {
        add(GL_DEPTH_ATTACHMENT);
    }
}

void TextureCheck::checkFeedback(GLuint program, const ProgramFacts::Sampler &sampler, GLuint texture,
                                 GLuint samplerObject)
{
    for (const Attachment &attachment : _attachments) {
        if (attachment.texture != texture) {
            continue;
        }
        const bool isArray = sampler.target == GL_TEXTURE_2D_ARRAY || sampler.target == GL_TEXTURE_1D_ARRAY
                             || sampler.target == GL_TEXTURE_3D || sampler.target == GL_TEXTURE_CUBE_MAP_ARRAY
                             || sampler.target == GL_TEXTURE_2D_MULTISAMPLE_ARRAY;
        const bool readsLevel =
            !hasLevels(sampler.target)
            || (attachment.level >= textureInteger(sampler.target, GL_TEXTURE_BASE_LEVEL)
                && attachment.level <= textureInteger(sampler.target, GL_TEXTURE_MAX_LEVEL)
                && (attachment.level == textureInteger(sampler.target, GL_TEXTURE_BASE_LEVEL)
                    || usesLevels(filtersOf(sampler.target, samplerObject).min)));
        if (!isArray && readsLevel) {
            report(Mistake::eTextureDrawnInto, program, texture, [&] {
                return QStringLiteral(
                           "Program %1: the sampler %2 reads texture %3, which the draw also writes as "
                           "an attachment of the framebuffer. Draw into another texture, or unbind this "
                           "one.")
                    .arg(nameOf(Kind::eProgram, program))
                    .arg(QString::fromLatin1(sampler.name))
                    .arg(nameOf(Kind::eTexture, texture));
            });
        }
    }
}

}} // namespace Orvane::ZelCheck
