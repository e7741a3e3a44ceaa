#pragma once

#include "ProgramFacts.h"
#include "TargetCheck.h"
#include "TextureCheck.h"

namespace Orvane { namespace ZelCheck {

/// The arguments of a draw, whichever entry point it uses.
struct DrawCall
{
    GLenum mode = GL_TRIANGLES;
    GLsizei count = -1;   ///< vertices or indices; -1 if only GL has the numbers
    GLenum indexType = 0; ///< 0 for a draw without indices
    const void *indices = nullptr;
    GLint first = 0; ///< added to all vertex numbers
    GLsizei instances = 1;
    GLuint baseInstance = 0;
};

/// Draws whose numbers are in the buffer of GL_DRAW_INDIRECT_BUFFER.
struct DrawCommands
{
    GLenum mode;
    GLenum indexType; ///< 0 for draws without indices
    const void *offset;
    GLsizei count;  ///< 0 if only GL has the number
    GLsizei stride; ///< 0: the commands follow one another
};

/// Checks all that a draw depends on.
class DrawCheck
{
public:
    Programs programs;
    TextureCheck textures;
    OpenScopes open;
    bool readsIndices = false;
    quint64 changes = 1; ///< calls that may have changed what a draw depends on

    /// Returns false if the driver would read from an invalid address: the draws must not be made. All have the same mode and
    /// type of indices.
    bool allows(const DrawCall *calls, size_t count);
    bool allows(const DrawCommands &commands);

private:
    /// All but the arguments of a draw. If it is as before and had no mistake, it is not checked again.
    struct State
    {
        const void *context = nullptr;
        quint64 changes = 0;
        GLenum mode = 0;
        bool hasIndices = false;

        bool operator==(const State &other) const
        {
            return context == other.context && changes == other.changes && mode == other.mode
                   && hasIndices == other.hasIndices;
        }
    };

    /// Returns the program that may draw, 0 if there is none.
    GLuint checkProgram();
    bool checkState(GLuint program, const DrawCall &call);
    bool checkArrays(GLuint program, const ProgramFacts &facts);
    bool checkArray(GLuint program, const ProgramFacts::Attribute &attribute, GLuint location);
    bool checkIndexBuffer(GLuint program, const DrawCall &call);
    void checkVertexNumbers(GLuint program, const ProgramFacts &facts, const DrawCall &call);
    void checkUniforms(GLuint program, ProgramFacts &facts);

    State _correct;      ///< of the last draw that had no mistake
    GLuint _program = 0; ///< in use there
};

/// The bytes of an index.
int indexSize(GLenum type);

/// Checks the buffer of the commands and, if \a isRead, reads them. Without them the result is a draw of unknown numbers.
std::vector<DrawCall> checkCommands(const DrawCommands &commands, bool isRead);

}} // namespace Orvane::ZelCheck
