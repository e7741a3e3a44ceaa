#include "GLLedger.h"

#include "Tap.h"

#include <QtGui/QOpenGLContext>

#include <QtCore/QVector>

#include <array>
#include <map>
#include <numeric>
#include <set>

namespace {

constexpr std::array<const char *, GLLedger::eKindCount> kWords = {"buffer",      "vertex array", "texture",
                                                                   "framebuffer", "shader",       "program"};

/// Contexts of a share group share all names but those of vertex arrays and framebuffers.
const void *nameSpace(GLLedger::Kind kind)
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const bool ownOfContext = kind == GLLedger::eVertexArray || kind == GLLedger::eFramebuffer;
    return context == nullptr || ownOfContext ? static_cast<const void *>(context) : context->shareGroup();
}

} // namespace

struct GLLedger::Books
{
    std::array<std::map<const void *, std::set<GLuint>>, eKindCount> alive; ///< by name space
    QStringList faults;

    void made(Kind kind, GLuint name)
    {
        if (name != 0) {
            alive[kind][nameSpace(kind)].insert(name);
        }
    }

    void deleted(Kind kind, GLuint name)
    {
        if (name != 0 && alive[kind][nameSpace(kind)].erase(name) == 0) {
            faults += QString("deleted %1 %2, which is not alive").arg(kWords[kind]).arg(name);
        }
    }

    /// The hooks for a kind whose names are generated and deleted in arrays.
    template <auto Gen, auto Delete> struct Arrays
    {
        Hook<Gen> gen;
        Hook<Delete> del;

        Arrays(Books &books, Kind kind)
        {
            gen.replace([this, &books, kind](GLsizei count, GLuint *names) {
                gen.original(count, names);
                for (GLsizei i = 0; i < count; ++i) {
                    books.made(kind, names[i]);
                }
            });
            del.replace([this, &books, kind](GLsizei count, const GLuint *names) {
                for (GLsizei i = 0; i < count; ++i) {
                    books.deleted(kind, names[i]);
                }
                del.original(count, names);
            });
        }
    };

    /// The hooks for a kind whose names are created and deleted one by one.
    template <auto Create, auto Delete> struct Singles
    {
        Hook<Create> create;
        Hook<Delete> del;

        Singles(Books &books, Kind kind)
        {
            create.replace([this, &books, kind](auto... arguments) {
                const GLuint name = create.original(arguments...);
                books.made(kind, name);
                return name;
            });
            del.replace([this, &books, kind](GLuint name) {
                books.deleted(kind, name);
                del.original(name);
            });
        }
    };

    Arrays<&glGenBuffers, &glDeleteBuffers> buffers{*this, eBuffer};
    Arrays<&glGenVertexArrays, &glDeleteVertexArrays> vertexArrays{*this, eVertexArray};
    Arrays<&glGenTextures, &glDeleteTextures> textures{*this, eTexture};
    Arrays<&glGenFramebuffers, &glDeleteFramebuffers> framebuffers{*this, eFramebuffer};
    Singles<&glCreateShader, &glDeleteShader> shaders{*this, eShader};
    Singles<&glCreateProgram, &glDeleteProgram> programs{*this, eProgram};
};

GLLedger::GLLedger()
    : _books(std::make_unique<Books>())
{
}

GLLedger::~GLLedger() = default;

int GLLedger::alive(Kind kind) const
{
    const auto &spaces = _books->alive[kind];
    return std::accumulate(spaces.begin(), spaces.end(), 0,
                           [](int sum, const auto &space) { return sum + int(space.second.size()); });
}

int GLLedger::alive() const
{
    return alive(eBuffer) + alive(eVertexArray) + alive(eTexture) + alive(eFramebuffer) + alive(eShader)
           + alive(eProgram);
}

QStringList GLLedger::faults() const
{
    QStringList faults = _books->faults;
    for (int kind = 0; kind < eKindCount; ++kind) {
        for (const auto &space : _books->alive[kind]) {
            for (const GLuint name : space.second) {
                faults += QString("%1 %2 is still alive").arg(kWords[kind]).arg(name);
            }
        }
    }
    return faults;
}
