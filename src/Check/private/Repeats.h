#pragma once

#include <ZelGL/GLLoader.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <map>

namespace Orvane { namespace ZelCheck {

/// A call that sets state, and whether the state is set already.
struct Repeat
{
    bool isSame;
    QString object; ///< what it sets: "u_Strength of program 3"
};

/// Counts the calls that change nothing. Only within an Inside.
class Repeats
{
public:
    bool isOn = false;

    void add(const char *call, const Repeat &repeat);
    /// The table since the last call, a line each, the most frequent row first; empty if no call was redundant.
    QStringList take();
    /// The same; empty also if it is the table that was returned before.
    QStringList takeIfChanged();

private:
    struct Count
    {
        int redundant = 0;
        int all = 0;
    };

    std::map<std::pair<QString, QString>, Count> _counts; ///< by entry point and object
    QStringList _last;
};

Repeats &repeats();

// What the calls set, compared with the state of GL.

Repeat bindsBuffer(GLenum target, GLuint buffer);
Repeat bindsTexture(GLenum target, GLuint texture);
Repeat bindsRange(GLenum target, GLuint index, GLuint buffer, GLintptr offset, GLsizeiptr size);
Repeat activatesUnit(GLenum unit);
Repeat usesProgram(GLuint program);
Repeat bindsVertexArray(GLuint vertexArray);
Repeat bindsFramebuffer(GLenum target, GLuint framebuffer);
Repeat enables(GLenum capability, bool isEnabled);
Repeat enablesArray(GLuint location, bool isEnabled);

/// State of GL that glGetIntegerv() returns, one value after the other for several names.
Repeat setsIntegers(std::initializer_list<GLenum> names, std::initializer_list<GLint> values);

// Uniforms of the current program. A value has \a components; \a count elements follow one another.
Repeat setsUniform(GLint location, GLsizei count, int components, const GLfloat *values);
Repeat setsUniform(GLint location, GLsizei count, int components, const GLint *values);
Repeat setsUniform(GLint location, GLsizei count, int components, const GLuint *values);

}} // namespace Orvane::ZelCheck
