#pragma once

#include <ZelGL/GLLoader.h>

#include <QtCore/QString>

#include <array>
#include <map>
#include <optional>

namespace Orvane { namespace ZelCheck {

enum class Kind { eBuffer, eTexture, eRenderbuffer, eQuery, eVertexArray, eFramebuffer, eProgram, eShader };

/// What is known of a GL object: the contexts that have made the name, and what the host calls it.
struct ObjectFacts
{
    QString label;                      ///< of Check::setLabel()
    QString file;                       ///< of the image or of the stages
    bool isTitled = false;              ///< got its title as a label of GL, if there is one
    std::array<void *, 24> frames = {}; ///< who made it: the addresses of the calls, innermost first
    int frameCount = 0;
};

/// The objects that were made while the check runs. Only within an Inside.
class Objects
{
public:
    void made(Kind kind, GLsizei count, const GLuint *names);
    /// Reports an object that the current context cannot delete. \a call is the entry point.
    void deletes(Kind kind, GLuint name, const char *call);
    /// The object of the current context; null if it is unknown.
    ObjectFacts *find(Kind kind, GLuint name);
    /// The same, which exists from now on.
    ObjectFacts &known(Kind kind, GLuint name);
    void clear() { _facts.clear(); }

private:
    /// By owner: a context, or its share group.
    using ByOwner = std::map<const void *, ObjectFacts>;

    std::map<std::pair<Kind, GLuint>, ByOwner> _facts;
};

Objects &objects();

/// The object as the host knows it, for messages: `"bricks.ktx" (Texture 5)`, or `5` if only the name of GL is known. Needs a
/// current context for labels of GL.
QString nameOf(Kind kind, GLuint name);

/// What objects() knows for a label: `bricks.ktx`, or `Texture 5 of ShadowMapManager`. Empty for an object that the library
/// has not made.
QString titleOf(Kind kind, GLuint name);

/// The label of GL; empty without GL_KHR_debug and for names that GL has made no object for.
QString labelOf(Kind kind, GLuint name);
void setLabelOf(Kind kind, GLuint name, const QString &label);

/// The kind as glObjectLabel() has it, and back.
GLenum identifierOf(Kind kind);
std::optional<Kind> kindOf(GLenum identifier);

/// "texture", for messages.
const char *wordFor(Kind kind);

/// The image that this thread reads, for the textures that the library makes of it.
void readsImage(const QString &path);

}} // namespace Orvane::ZelCheck
