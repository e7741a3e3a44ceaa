#pragma once

#include "ProgramFacts.h"
#include "TargetCheck.h"
#include "TextureCheck.h"

namespace Orvane { namespace ZelCheck {

/// The arguments of a draw, whichever entry point it uses.
struct DrawCall
{
    GLenum mode = GL_TRIANGLES;
    GLsizei count = -1;   ///< vertices or indices; -1 if only a buffer or an array has the numbers
    GLenum indexType = 0; ///< 0 for a draw without indices
    const void *indices = nullptr;
    GLint first = 0; ///< added to all vertex numbers
    GLsizei instances = 1;
};

/// Checks all that a draw depends on.
class DrawCheck
{
public:
    Programs programs;
    TextureCheck textures;
    OpenScopes open;
    bool readsIndices = false;

    /// Returns false if the driver would read from an invalid address: the draw must not be made.
    bool allows(const DrawCall &call);

private:
    bool checkArrays(GLuint program, const ProgramFacts &facts);
    bool checkArray(GLuint program, const ProgramFacts::Attribute &attribute, GLuint location);
    bool checkIndexBuffer(GLuint program, const DrawCall &call);
    void checkVertexNumbers(GLuint program, const ProgramFacts &facts, const DrawCall &call);
    void checkUniforms(GLuint program, ProgramFacts &facts);
};

}} // namespace Orvane::ZelCheck
