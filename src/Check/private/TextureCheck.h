#pragma once

#include "ProgramFacts.h"

#include <set>

namespace Orvane { namespace ZelCheck {

/// Checks the textures that the samplers of a program read.
class TextureCheck
{
public:
    /// Needs the program to be current.
    void check(GLuint program, const ProgramFacts &facts);

    /// A texture has changed: complete ones are checked again.
    void forget() { _complete.clear(); }

private:
    struct Attachment
    {
        GLuint texture;
        GLint level;
    };

    void checkUnit(GLuint program, const ProgramFacts &facts, const ProgramFacts::Sampler &sampler,
                   GLint element, GLuint unit);
    void readAttachments();
    void checkFeedback(GLuint program, const ProgramFacts::Sampler &sampler, GLuint texture,
                       GLuint samplerObject);

    std::set<std::tuple<SharedName, GLuint, int>> _complete; ///< texture, sampler object, kind of values
    std::vector<Attachment> _attachments;                    ///< of the current draw, where it writes
};

/// The binding of a texture target, GL_TEXTURE_BINDING_..., 0 if unknown.
GLenum textureBinding(GLenum target);

/// "GL_TEXTURE_2D", for messages.
const char *textureTargetName(GLenum target);

/// All targets that textures can be bound to.
const std::vector<GLenum> &textureTargets();

}} // namespace Orvane::ZelCheck
