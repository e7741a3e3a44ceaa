#include "../src/Check/private/EntryPoints.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TestProgram.h"

#include <ZelCheck/Check.h>
#include <ZelGL/ZelGL.h>

#include <QtGui/QImage>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <QtCore/QRegularExpression>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QTemporaryDir>

#include <array>
#include <cstring>

using namespace Orvane::Zel;
using Orvane::ZelCheck::Check;
using Orvane::ZelCheck::Scope;

namespace {

GLuint windowFramebuffer = 0;

} // namespace

/// Replaces that of Qt in this program: a QOpenGLWidget would need a window.
GLuint QOpenGLContext::defaultFramebufferObject() const
{
    return windowFramebuffer;
}

namespace {

constexpr char kVertexStage[] = R"(#version 150
in vec2 a_Position;
in int a_Number;
uniform Placement { vec4 u_Offset; vec4 u_Scale; };
void main() { gl_Position = vec4(a_Position, float(a_Number), 1.0) * u_Scale + u_Offset; }
)";
constexpr char kFragmentStage[] = R"(#version 150
uniform sampler2D u_Map;
uniform float u_Strength;
uniform vec4 u_Initialized = vec4(0.0);
out vec4 color;
void main() { color = texture(u_Map, vec2(0.5)) * u_Strength + u_Initialized; }
)";
constexpr GLsizei kSize = 8;

/// All that a correct draw of two triangles needs, by plain GL. Each row of the test breaks one part.
struct Scene
{
    std::unique_ptr<ShaderProgram> program;
    GLuint name = 0;
    GLuint position = 0;
    GLuint number = 0;
    GLuint vao = 0;
    std::array<GLuint, 5> buffers = {};  ///< positions, numbers, indices, block, commands
    std::array<GLuint, 2> textures = {}; ///< map, target
    GLuint framebuffer = 0;

    explicit Scene(const char *fragmentStage = kFragmentStage)
        : program(makeProgram(kVertexStage, fragmentStage))
    {
        program->bind();
        name = GLuint(program->shaderProgramID());
        glUniform1f(uniform("u_Strength"), 1.0f);
        makeBuffers();
        makeTextures();
        glViewport(0, 0, kSize, kSize);
    }

    ~Scene()
    {
        glUseProgram(0);
        glBindVertexArray(0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glActiveTexture(GL_TEXTURE0);
        glDeleteVertexArrays(1, &vao);
        glDeleteBuffers(5, buffers.data());
        glDeleteTextures(2, textures.data());
        glDeleteFramebuffers(1, &framebuffer);
        for (const GLenum capability :
             {GL_SCISSOR_TEST, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_RASTERIZER_DISCARD}) {
            glDisable(capability);
        }
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glDepthFunc(GL_LESS);
        glStencilFunc(GL_ALWAYS, 0, ~0u);
        glCullFace(GL_BACK);
    }

    GLint uniform(const char *of) const { return glGetUniformLocation(name, of); }

    void makeBuffers()
    {
        const float positions[] = {-1, -1, 1, -1, -1, 1, 1, 1};
        const GLint numbers[] = {0, 0, 0, 0};
        const GLushort indices[] = {0, 1, 2, 2, 1, 3};
        const float block[] = {0, 0, 0, 0, 1, 1, 1, 1};
        position = GLuint(glGetAttribLocation(name, "a_Position"));
        number = GLuint(glGetAttribLocation(name, "a_Number"));
        glGenVertexArrays(1, &vao);
        glBindVertexArray(vao);
        glGenBuffers(5, buffers.data());
        glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
        glBufferData(GL_ARRAY_BUFFER, sizeof positions, positions, GL_STATIC_DRAW);
        glEnableVertexAttribArray(position);
        glVertexAttribPointer(position, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
        glBindBuffer(GL_ARRAY_BUFFER, buffers[1]);
        glBufferData(GL_ARRAY_BUFFER, sizeof numbers, numbers, GL_STATIC_DRAW);
        glEnableVertexAttribArray(number);
        glVertexAttribIPointer(number, 1, GL_INT, 0, nullptr);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[2]);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices, GL_STATIC_DRAW);
        glBindBuffer(GL_UNIFORM_BUFFER, buffers[3]);
        glBufferData(GL_UNIFORM_BUFFER, sizeof block, block, GL_STATIC_DRAW);
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, buffers[3]);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_UNIFORM_BUFFER, 0);
    }

    void makeTextures()
    {
        glGenTextures(2, textures.data());
        for (const GLuint texture : {textures[1], textures[0]}) {
            glBindTexture(GL_TEXTURE_2D, texture);
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kSize, kSize, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        }
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[1], 0);
    }

    void draw(GLsizei count = 6) { glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_SHORT, nullptr); }
};

/// A mistake, what the one line about it says, with '#' for any number, and what it advises. Without a text, a correct draw.
struct Row
{
    const char *name;
    const char *says;
    const char *advises;
    std::function<void(Scene &)> err;
    const char *fragmentStage = kFragmentStage;
    const char *needs = nullptr; ///< an extension
};

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

void set(GLenum capability, void (*state)(Scene &), Scene &scene)
{
    glEnable(capability);
    state(scene);
    scene.draw();
}

const char kCubeStage[] =
    "#version 150\nuniform samplerCube u_Map;\nuniform float u_Strength;\nout vec4 color;\n"
    "void main() { color = texture(u_Map, vec3(1.0)) * u_Strength; }\n";
const char kIntegerStage[] =
    "#version 150\nuniform isampler2D u_Map;\nuniform float u_Strength;\nout vec4 color;\n"
    "void main() { color = vec4(texture(u_Map, vec2(0.5))) * u_Strength; }\n";

const char kManagedStage[] =
    "#version 150\nuniform sampler2D u_ManagedTextureSlots[2];\nuniform float u_Strength;\n"
    "out vec4 color;\nvoid main() { color = texture(u_ManagedTextureSlots[1], vec2(0.5)) * u_Strength; }\n";
const char kStorageStage[] = "#version 150\n#extension GL_ARB_shader_storage_buffer_object : require\n"
                             "uniform float u_Strength;\nbuffer Items { vec4 items[]; };\nout vec4 color;\n"
                             "void main() { color = items[0] * u_Strength; }\n";

const char kAccessorStage[] =
    "#version 150\nuniform vec4 u_Tint[2];\nuniform float u_Strength;\nout vec4 color;\n"
    "vec4 getTint(uint Index) { return u_Tint[Index]; }\nvoid main() { color = getTint(0u) * u_Strength; }\n";
const char kIntegerOutputStage[] = "#version 150\nuniform float u_Strength;\nout ivec4 color;\n"
                                   "void main() { color = ivec4(u_Strength); }\n";

const char kStencilStage[] =
    "#version 150\nuniform usampler2D u_Map;\nuniform float u_Strength;\nout vec4 color;\n"
    "void main() { color = vec4(texture(u_Map, vec2(0.5))) * u_Strength; }\n";

constexpr char kIndirect[] = "GL_ARB_draw_indirect";

/// Draws one command, from a buffer of \a size bytes.
void drawIndirect(Scene &scene, std::array<GLuint, 5> command, GLsizeiptr size)
{
    glBindBuffer(GL_DRAW_INDIRECT_BUFFER, scene.buffers[4]);
    glBufferData(GL_DRAW_INDIRECT_BUFFER, size, command.data(), GL_STATIC_DRAW);
    glDrawElementsIndirect(GL_TRIANGLES, GL_UNSIGNED_SHORT, nullptr);
    glBindBuffer(GL_DRAW_INDIRECT_BUFFER, 0);
}

void inQuery(GLenum target, const std::function<void()> &calls)
{
    GLuint query = 0;
    glGenQueries(1, &query);
    glBeginQuery(target, query);
    calls();
    glEndQuery(target);
    glDeleteQueries(1, &query);
}

void drawClosed(Scene &scene)
{
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE), scene.draw();
}

const Row kRows[] = {
    {"NoProgram", "A draw without a program", "Call bind()",
     [](Scene &scene) { glUseProgram(0), scene.draw(); }},
    {"UnlinkedProgram", "cannot be used: it is not linked", "Call link()",
     [](Scene &) {
         const GLuint unlinked = glCreateProgram();
         glUseProgram(unlinked);
         glDeleteProgram(unlinked);
     }},
    {"ShaderAsProgram", "glUseProgram(#) caused GL_INVALID_OPERATION", "Check what is bound",
     [](Scene &) {
         const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
         glUseProgram(shader);
         glDeleteShader(shader);
     }},
    {"FailedLink", "its last link failed", "Read its log",
     [](Scene &scene) {
         const GLuint shader = glCreateShader(GL_FRAGMENT_SHADER);
         glAttachShader(scene.name, shader);
         glDeleteShader(shader);
         glLinkProgram(scene.name);
         scene.draw();
     }},
    {"NoVertexArray", "without a vertex array object", "Bind a VertexArrayObject",
     [](Scene &scene) { glBindVertexArray(0), scene.draw(); }},
    {"DisabledArray", "the attribute a_Position (location #) has no enabled array",
     "enableShaderProgramArrays()",
     [](Scene &scene) { glDisableVertexAttribArray(scene.position), scene.draw(); }},
    {"FloatsForIntegers", "a_Number (location #) is of integers, but its array has floats",
     "glVertexAttribIPointer()",
     [](Scene &scene) {
         glBindBuffer(GL_ARRAY_BUFFER, scene.buffers[1]);
         glVertexAttribPointer(scene.number, 1, GL_INT, GL_FALSE, 0, nullptr);
         scene.draw();
     }},
    {"IntegersForFloats", "a_Position (location #) is of floats, but its array has integers",
     "glVertexAttribPointer()",
     [](Scene &scene) {
         glBindBuffer(GL_ARRAY_BUFFER, scene.buffers[0]);
         glVertexAttribIPointer(scene.position, 2, GL_INT, 0, nullptr);
         scene.draw();
     }},
    {"ArrayWithoutBuffer", "a_Number (location #) has no buffer", "Bind a buffer before the array is set",
     [](Scene &scene) {
         glBindBuffer(GL_ARRAY_BUFFER, 0);
         glVertexAttribIPointer(scene.number, 1, GL_INT, 0, nullptr);
         scene.draw();
     }},
    {"NoIndexBuffer", "has no index buffer", "Bind it after the vertex array",
     [](Scene &scene) { glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0), scene.draw(); }},
    {"TooManyIndices", "end at byte 1200, but index buffer # has 12 bytes", "Check count",
     [](Scene &scene) { scene.draw(600); }},
    {"IndexBeyondVertices", "draws vertex 4, but the array of the attribute a_Position has 4 vertices",
     "Check the indices and the base vertex",
     [](Scene &scene) {
         const GLushort indices[] = {0, 1, 4};
         glBindBuffer(GL_ARRAY_BUFFER, scene.buffers[1]);
         glBufferData(GL_ARRAY_BUFFER, 64, nullptr, GL_STATIC_DRAW);
         glBufferSubData(GL_ELEMENT_ARRAY_BUFFER, 0, sizeof indices, indices);
         scene.draw(3);
     }},
    {"VerticesBeyondBuffer", "draws vertex 5, but the array of the attribute a_Position has 4 vertices",
     "Check first and count",
     [](Scene &scene) {
         glBindBuffer(GL_ARRAY_BUFFER, scene.buffers[1]);
         glBufferData(GL_ARRAY_BUFFER, 64, nullptr, GL_STATIC_DRAW);
         glDrawArrays(GL_TRIANGLES, 0, 6);
     }},
    {"SecondOfSeveralDraws", "with 9 indices that end at byte 18, but index buffer # has 12 bytes",
     "Check count",
     [](Scene &) {
         const GLsizei counts[] = {6, 9};
         const void *const offsets[] = {nullptr, nullptr};
         glMultiDrawElements(GL_TRIANGLES, counts, GL_UNSIGNED_SHORT, offsets, 2);
     }},
    {"BaseInstance", "has no index buffer", "Bind it after the vertex array",
     [](Scene &) {
         glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
         reinterpret_cast<PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC>(
             getGLProcAddress("glDrawElementsInstancedBaseVertexBaseInstance", true))(
             GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, nullptr, 1, 0, 0);
     },
     kFragmentStage, "GL_ARB_base_instance"},
    {"NoCommandBuffer", "no buffer is bound to GL_DRAW_INDIRECT_BUFFER", "Bind the buffer of the commands",
     [](Scene &) { glDrawElementsIndirect(GL_TRIANGLES, GL_UNSIGNED_SHORT, nullptr); }, kFragmentStage,
     kIndirect},
    {"CommandBeyondBuffer", "draws 1 commands that end at byte 20, but buffer # has 16 bytes",
     "Check count, stride",
     [](Scene &scene) {
         drawIndirect(scene, {6, 1, 0, 0, 0}, 16);
     },
     kFragmentStage, kIndirect},
    {"CommandBeyondVertices", "draws vertex 13, but the array of the attribute a_Position has 4 vertices",
     "Check the indices and the base vertex",
     [](Scene &scene) {
         glBindBuffer(GL_ARRAY_BUFFER, scene.buffers[1]);
         glBufferData(GL_ARRAY_BUFFER, 64, nullptr, GL_STATIC_DRAW);
         drawIndirect(scene, {6, 1, 0, 10, 0}, 20);
     },
     kFragmentStage, kIndirect},
    {"InstanceBeyondBuffer", "draws instance 9, but the array of the attribute a_Number has 4 items",
     "the base instance and the divisor",
     [](Scene &scene) {
         reinterpret_cast<PFNGLVERTEXATTRIBDIVISORPROC>(getGLProcAddress("glVertexAttribDivisor", true))(
             scene.number, 2);
         glDrawElementsInstanced(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, nullptr, 10);
     },
     kFragmentStage, "GL_ARB_instanced_arrays"},
    {"NoTexture", "u_Map reads texture unit 0, which has no texture", "Bind one",
     [](Scene &scene) { glBindTexture(GL_TEXTURE_2D, 0), scene.draw(); }},
    {"OtherUnit", "u_Map reads texture unit 3, which has no texture", "set the sampler to the unit",
     [](Scene &scene) { glUniform1i(scene.uniform("u_Map"), 3), scene.draw(); }},
    {"OtherTarget", "has the target GL_TEXTURE_2D instead of GL_TEXTURE_CUBE_MAP", "Bind one to the unit",
     [](Scene &scene) { scene.draw(); }, kCubeStage},
    {"FloatTextureForIntegers", "reads integers, but its texture has a format of floats",
     "use an integer format", [](Scene &scene) { scene.draw(); }, kIntegerStage},
    {"IntegerTextureForFloats", "reads floats, but its texture has an integer format",
     "Declare it as isampler",
     [](Scene &scene) {
         glTexImage2D(GL_TEXTURE_2D, 0, GL_R32I, 4, 4, 0, GL_RED_INTEGER, GL_INT, nullptr);
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
         scene.draw();
     }},
    {"IntegersFilteredLinearly", "has an integer format and a linear filter",
     "set both filters to GL_NEAREST",
     [](Scene &scene) {
         glTexImage2D(GL_TEXTURE_2D, 0, GL_R32I, 4, 4, 0, GL_RED_INTEGER, GL_INT, nullptr);
         scene.draw();
     },
     kIntegerStage},
    {"NoImage", "is incomplete and reads as black. It has no image in level 2", "upload one",
     [](Scene &scene) { glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 2), scene.draw(); }},
    {"LabelledByGL", "whose texture \"brick wall\" (#) is incomplete", "call generateMipmaps()",
     [](Scene &scene) {
         reinterpret_cast<PFNGLOBJECTLABELPROC>(getGLProcAddress("glObjectLabel", true))(
             GL_TEXTURE, scene.textures[0], -1, "brick\nwall");
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
         scene.draw();
     },
     kFragmentStage, "GL_KHR_debug"},
    {"LabelledByHost", "Program \"the 50_1 program\" (ShaderProgram #) draws with a viewport",
     "Call glViewport()",
     [](Scene &scene) {
         Check::setLabel(GL_PROGRAM, scene.name, "the 50%1 program");
         glViewport(0, 0, 0, kSize), scene.draw();
     }},
    {"NoMipmaps", "is incomplete and reads as black. It has a filter with mipmaps and no level 1",
     "call generateMipmaps()",
     [](Scene &scene) {
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
         scene.draw();
     }},
    {"CubeOfOneFace", "is incomplete and reads as black. It lacks face 1", "upload all six faces",
     [](Scene &scene) {
         glDeleteTextures(1, scene.textures.data());
         glGenTextures(1, scene.textures.data());
         glBindTexture(GL_TEXTURE_CUBE_MAP, scene.textures[0]);
         glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                      nullptr);
         scene.draw();
     },
     kCubeStage},
    {"TextureIsTarget", "which the draw also writes as an attachment", "Draw into another texture",
     [](Scene &scene) { glBindTexture(GL_TEXTURE_2D, scene.textures[1]), scene.draw(); }},
    {"NoBlockBuffer", "the uniform block Placement reads binding 0, which has no buffer", "Bind its buffer",
     [](Scene &scene) { glBindBufferBase(GL_UNIFORM_BUFFER, 0, 0), scene.draw(); }},
    {"OtherBlockBinding", "the uniform block Placement reads binding 5, which has no buffer",
     "Bind its buffer",
     [](Scene &scene) {
         glUniformBlockBinding(scene.name, glGetUniformBlockIndex(scene.name, "Placement"), 5);
         scene.draw();
     }},
    {"UnboundManager", "u_ManagedTextureSlots[1] reads texture unit #, which has no texture",
     "Call bind() of the texture manager",
     [](Scene &scene) {
         glUniform1i(scene.uniform("u_ManagedTextureSlots[1]"), 4);
         scene.draw();
     },
     kManagedStage},
    {"ManagerWithoutBind", "u_ManagedTextureSlots[0] was never set since the link",
     "Call bind() of the texture manager", [](Scene &scene) { scene.draw(); }, kManagedStage},
    {"NoStorageBuffer", "the storage block Items reads binding 0, which has no buffer",
     "Bind its buffer or collection", [](Scene &scene) { scene.draw(); }, kStorageStage,
     "GL_ARB_shader_storage_buffer_object"},
    {"SmallBlockBuffer", "Placement needs 32 bytes, but buffer # of binding 0 provides 16",
     "Upload the whole block",
     [](Scene &scene) {
         glBindBuffer(GL_UNIFORM_BUFFER, scene.buffers[3]);
         glBufferData(GL_UNIFORM_BUFFER, 16, nullptr, GL_STATIC_DRAW);
         scene.draw();
     }},
    {"BlockRangeBeyondBuffer", "Placement needs 32 bytes, but buffer # of binding 0 provides 16",
     "Upload the whole block",
     [](Scene &scene) {
         glBindBufferRange(GL_UNIFORM_BUFFER, 0, scene.buffers[3], 0, 32);
         glBufferData(GL_UNIFORM_BUFFER, 16, nullptr, GL_STATIC_DRAW);
         scene.draw();
     }},
    {"UniformsLostByLink", "the uniform u_Strength was never set since the link",
     "Call setUniform() after link()",
     [](Scene &scene) { glLinkProgram(scene.name), glUseProgram(scene.name), scene.draw(); }},
    {"CollectionWithoutBind", "the uniform u_Tint[0] was never set since the link",
     "of its InstanceDataCollection", [](Scene &scene) { scene.draw(); }, kAccessorStage},
    {"FloatTargetOfIntegers",
     "the output color is of integers, but draw buffer 0 of framebuffer # has a format of floats",
     "Attach a texture of the other kind", [](Scene &scene) { scene.draw(); }, kIntegerOutputStage,
     "GL_ARB_program_interface_query"},
    {"IncompleteFramebuffer", "which is incomplete: it has no attachment", "Attach a texture",
     [](Scene &scene) {
         glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
         scene.draw();
     }},
    {"FramebufferOfNoWindow", "into framebuffer 0, but the window of the context shows framebuffer 7",
     "Bind QOpenGLContext",
     [](Scene &scene) {
         const QScopedValueRollback<GLuint> window(windowFramebuffer, 7);
         glBindFramebuffer(GL_FRAMEBUFFER, 0);
         scene.draw();
     }},
    {"EmptyViewport", "with a viewport of 0 x 8 pixels", "Call glViewport()",
     [](Scene &scene) { glViewport(0, 0, 0, kSize), scene.draw(); }},
    {"EmptyScissor", "with a scissor box of 0 x 0 pixels", "Disable GL_SCISSOR_TEST",
     [](Scene &scene) {
         set(
             GL_SCISSOR_TEST, [](Scene &) { glScissor(0, 0, 0, 0); }, scene);
     }},
    {"ClosedMask", "with the colour mask closed or no draw buffer", "Call glColorMask()", drawClosed},
    {"ClosedMaskInTimer", "with the colour mask closed or no draw buffer", "Call glColorMask()",
     [](Scene &scene) { inQuery(GL_TIME_ELAPSED, [&] { drawClosed(scene); }); }, kFragmentStage,
     "GL_ARB_timer_query"},
    {"NoDrawBuffer", "with the colour mask closed or no draw buffer", "or glDrawBuffers()",
     [](Scene &scene) { glDrawBuffer(GL_NONE), scene.draw(); }},
    {"DepthNever", "with the depth function GL_NEVER", "disable GL_DEPTH_TEST",
     [](Scene &scene) {
         set(
             GL_DEPTH_TEST, [](Scene &) { glDepthFunc(GL_NEVER); }, scene);
     }},
    {"StencilNever", "with the stencil function GL_NEVER", "Call glStencilFunc()",
     [](Scene &scene) {
         set(
             GL_STENCIL_TEST, [](Scene &) { glStencilFunc(GL_NEVER, 0, 1); }, scene);
     }},
    {"AllCulled", "with front and back faces culled", "Call glCullFace(GL_BACK)",
     [](Scene &scene) {
         set(
             GL_CULL_FACE, [](Scene &) { glCullFace(GL_FRONT_AND_BACK); }, scene);
     }},
    {"RasterizerOff", "GL_RASTERIZER_DISCARD enabled", "Call glDisable(GL_RASTERIZER_DISCARD)",
     [](Scene &scene) {
         set(
             GL_RASTERIZER_DISCARD, [](Scene &) {}, scene);
     }},
    {"InvalidEnum", "glEnable(0x1234) caused GL_INVALID_ENUM", "Use an enumerator",
     [](Scene &) { glEnable(0x1234); }},
    {"InvalidValue", "glViewport(0, 0, -1, 8) caused GL_INVALID_VALUE", "Check the numbers",
     [](Scene &) { glViewport(0, 0, -1, 8); }},
    {"InvalidOperation", "glUniform4f(#, 1, 2, 3, 4) caused GL_INVALID_OPERATION", "Check what is bound",
     [](Scene &scene) { glUniform4f(scene.uniform("u_Strength"), 1, 2, 3, 4); }},
    {"ErrorOutsideOfTheTable",
     "A call before glFlush(), of an entry point that is not in the table, caused GL_INVALID_ENUM",
     "Use an enumerator", [](Scene &) { driver()->glEnable(0x1234), glFlush(); }},
    {"LeftBound", "The frame ended with vertex array # bound", "Call unbind()",
     [](Scene &scene) {
         glUseProgram(0);
         glBindFramebuffer(GL_FRAMEBUFFER, 0);
         glBindTexture(GL_TEXTURE_2D, 0);
         Check::endFrame();
         glUseProgram(scene.name);
     }},
    {"TextureLeftBound", "The frame ended with texture # bound to GL_TEXTURE_2D of texture unit 0",
     "Call unbind()",
     [](Scene &) {
         glUseProgram(0);
         glBindVertexArray(0);
         glBindFramebuffer(GL_FRAMEBUFFER, 0);
         Check::endFrame();
     }},
    {"DeletedWhileBound", "The frame ended with texture unit # in use, but without a texture",
     "Call its unbind() before you delete it",
     [](Scene &) {
         auto texture = std::make_unique<Texture>(GL_TEXTURE_2D, GL_RGBA8, 1, 1, 1, nullptr);
         texture->bind();
         const GLuint name = texture->textureID();
         texture.reset();
         glUseProgram(0);
         glBindVertexArray(0);
         glBindFramebuffer(GL_FRAMEBUFFER, 0);
         glActiveTexture(GL_TEXTURE0);
         glBindTexture(GL_TEXTURE_2D, 0);
         Check::endFrame();
         Texture sameName(name, nullptr); // gives the unit back
         sameName.setTarget(GL_TEXTURE_2D);
         sameName.unbind();
     }},
    // What looks like a mistake and is none.
    {"PackedVertices", "", "",
     [](Scene &scene) {
         glBindBuffer(GL_ARRAY_BUFFER, scene.buffers[0]);
         glBufferData(GL_ARRAY_BUFFER, 16, nullptr, GL_STATIC_DRAW);
         glVertexAttribPointer(scene.position, 4, GL_INT_2_10_10_10_REV, GL_TRUE, 0, nullptr);
         scene.draw();
     },
     kFragmentStage, "GL_ARB_vertex_type_2_10_10_10_rev"},
    {"FixedRestart", "", "",
     [](Scene &scene) {
         const GLushort indices[] = {0, 1, 0xFFFF};
         glBufferSubData(GL_ELEMENT_ARRAY_BUFFER, 0, sizeof indices, indices);
         glEnable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
         scene.draw(3);
         glDisable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
     },
     kFragmentStage, "GL_ARB_ES3_compatibility"},
    {"StencilOfBackFaces", "", "",
     [](Scene &scene) {
         glStencilOpSeparate(GL_BACK, GL_INCR, GL_KEEP, GL_KEEP);
         set(
             GL_STENCIL_TEST, [](Scene &) { glStencilFunc(GL_NEVER, 0, 1); }, scene);
         glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
     }},
    {"StencilTexture", "", "",
     [](Scene &scene) {
         glTexImage2D(GL_TEXTURE_2D, 0, GL_DEPTH24_STENCIL8, 4, 4, 0, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8,
                      nullptr);
         glTexParameteri(GL_TEXTURE_2D, GL_DEPTH_STENCIL_TEXTURE_MODE, GL_STENCIL_INDEX);
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
         scene.draw();
     },
     kStencilStage, "GL_ARB_stencil_texturing"},
    {"LevelThatTheSamplerObjectSkips", "", "",
     [](Scene &scene) {
         const auto find = [](const char *name) { return getGLProcAddress(name, true); };
         const auto bind = reinterpret_cast<PFNGLBINDSAMPLERPROC>(find("glBindSampler"));
         GLuint sampler = 0;
         reinterpret_cast<PFNGLGENSAMPLERSPROC>(find("glGenSamplers"))(1, &sampler);
         reinterpret_cast<PFNGLSAMPLERPARAMETERIPROC>(find("glSamplerParameteri"))(
             sampler, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
         bind(0, sampler);
         glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
         glGenerateMipmap(GL_TEXTURE_2D);
         glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, scene.textures[0], 1);
         scene.draw();
         bind(0, 0);
         reinterpret_cast<PFNGLDELETESAMPLERSPROC>(find("glDeleteSamplers"))(1, &sampler);
     },
     kFragmentStage, "GL_ARB_sampler_objects"},
    {"QueryOlderThanTheCheck", "", "",
     [](Scene &scene) {
         Check::stop();
         inQuery(GL_PRIMITIVES_GENERATED, [] { Check::start(); });
         inQuery(GL_PRIMITIVES_GENERATED, [&] { drawClosed(scene); });
     }},
    {"UniformOfPipeline", "", "",
     [](Scene &scene) {
         const auto find = [](const char *name) { return getGLProcAddress(name, true); };
         GLuint pipeline = 0;
         reinterpret_cast<PFNGLGENPROGRAMPIPELINESPROC>(find("glGenProgramPipelines"))(1, &pipeline);
         const auto bind = reinterpret_cast<PFNGLBINDPROGRAMPIPELINEPROC>(find("glBindProgramPipeline"));
         glUseProgram(0);
         bind(pipeline);
         reinterpret_cast<PFNGLACTIVESHADERPROGRAMPROC>(find("glActiveShaderProgram"))(pipeline, scene.name);
         glUniform1f(scene.uniform("u_Strength"), 2.0f);
         bind(0);
         reinterpret_cast<PFNGLDELETEPROGRAMPIPELINESPROC>(find("glDeleteProgramPipelines"))(1, &pipeline);
         glFlush();
     },
     kFragmentStage, "GL_ARB_separate_shader_objects"},
};

class CheckTest : public GLTest
{
protected:
    Check::Options withIndices() const
    {
        Check::Options options;
        options.readIndices = true;
        return options;
    }
};

class CheckMistakesTest : public CheckTest, public testing::WithParamInterface<Row>
{
};

} // namespace

TEST_P(CheckMistakesTest, OneLineNamesTheMistakeAndItsRemedy)
{
    const Row &row = GetParam();
    if (row.needs != nullptr && !context()->hasExtension(row.needs)) {
        GTEST_SKIP() << "Needs " << row.needs;
    }
    const Scope check(withIndices());
    Scene scene(row.fragmentStage);
    if (row.fragmentStage == kFragmentStage) {
        scene.draw(); // the mistake is found after a correct draw too
    }
    EXPECT_MESSAGES() << "Of the preparation";
    row.err(scene);
    const QStringList lines = _capture.takeTexts();
    takeGLErrors();
    ASSERT_EQ(*row.says != '\0' ? 1 : 0, lines.size()) << qPrintable(lines.join('\n'));
    if (lines.isEmpty()) {
        return;
    }
    const QString says = QRegularExpression::escape(row.says).replace("\\#", "[0-9]+");
    EXPECT_TRUE(lines[0].startsWith("warning [ZelCheck] ")) << qPrintable(lines[0]);
    EXPECT_TRUE(lines[0].contains(QRegularExpression(says))) << qPrintable(lines[0]);
    EXPECT_TRUE(lines[0].contains(row.advises)) << qPrintable(lines[0]);
}

INSTANTIATE_TEST_SUITE_P(, CheckMistakesTest, testing::ValuesIn(kRows),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(CheckTest, ACorrectDrawIsSilentAndTheTableIsAsBefore)
{
    const auto table = [] {
        std::vector<void *> all;
#define TAKE(name) all.push_back(reinterpret_cast<void *>(name));
        ZELCHECK_CORE_ENTRY_POINTS(TAKE)
        ZELCHECK_EXTENSION_ENTRY_POINTS(TAKE)
#undef TAKE
        return all;
    };
    const std::vector<void *> before = table();
    {
        const Scope check(withIndices());
        const std::vector<void *> during = table();
        for (size_t i = 0; i < before.size(); ++i) { // the library compares with null
            EXPECT_EQ(before[i] == nullptr, before[i] == during[i]) << i;
        }
        Scene scene;
        scene.draw();
        scene.draw();
    }
    EXPECT_EQ(before, table());
    EXPECT_FALSE(Check::isRunning());
}

TEST_F(CheckTest, AnErrorIsReportedOnceAndTheHostStillGetsIt)
{
    const Scope check;
    glEnable(0x1234);
    EXPECT_EQ(GLenum(GL_INVALID_ENUM), glGetError());
    glDeleteProgram(0);
    glEnable(0x1234);
    EXPECT_MESSAGES(startsWith("warning [ZelCheck] glEnable(0x1234) caused GL_INVALID_ENUM"));
    EXPECT_EQ(GLenum(GL_INVALID_ENUM), glGetError());
    EXPECT_EQ(GLenum(GL_NO_ERROR), glGetError());
    takeGLErrors();
}

TEST_F(CheckTest, AMessageHandlerMayUseTheCheck)
{
    static QtMessageHandler next = nullptr;
    const Scope check;
    next =
        qInstallMessageHandler([](QtMsgType level, const QMessageLogContext &context, const QString &text) {
            Check::takeRedundantCalls();
            next(level, context, text);
        });
    driver()->glEnable(0x1234);
    glEnable(0x4321); // two messages: one before the call of the driver, one after it
    qInstallMessageHandler(next);
    EXPECT_MESSAGES(startsWith("warning [ZelCheck] A call before glEnable(), "),
                    startsWith("warning [ZelCheck] glEnable(0x4321) caused GL_INVALID_ENUM"));
    takeGLErrors();
}

TEST_F(CheckTest, UnknownMembersAndMissingMatricesAreReported)
{
    auto *plan = new InstanceDataPlan("Brick");
    plan->addMember(InstanceDataPlan::eMat4, "ModelMatrix");
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.takeTexts();
    {
        InstanceDataCollection bricks(plan, 1ul);
        GPUModel scene;
        scene.setDeleteOnClear(false);
        const Scope check;
        const float value[16] = {};
        bricks.set(0, "ModelMatrix", value, sizeof value);
        bricks.set(0, "Colour", value, sizeof value);
        EXPECT_MESSAGES("warning [ZelCheck] The plan \"Brick\" has no member \"Colour\", so that set() "
                        "overwrites its first member. Its members are ModelMatrix.");
        scene.add(nullptr, 0, nullptr, &bricks, 0);
        EXPECT_MESSAGES(
            "warning [ZelCheck] The plan \"Brick\" of a scene's objects has no PreviousModelMatrix, "
            "InverseModelMatrix, so that transforms overwrite other members. Add it with the type "
            "eMat4.");
    }
    InstanceDataRegistry::Instance()->clear();
}

TEST_F(CheckTest, MessagesAndLabelsOfGLNameFilesAndPassesAreGroups)
{
    ZEL_NEEDS_EXTENSION("GL_KHR_debug");
    Check::Options options;
    options.labels = true;
    const Scope check(options);
    const Scene scene;
    const QTemporaryDir folder;
    QImage image(2, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    ASSERT_TRUE(image.save(folder.filePath("wall.png")));
    Texture *texture = LoadTextureFromFile(folder.filePath("wall.png"), TextureFileInfo());
    ShaderProgram program(nullptr);
    program.addShaderFromFile(GL_VERTEX_SHADER, writeFile(folder.filePath("point.vsh"), kAtOrigin));
    program.addShader(GL_FRAGMENT_SHADER,
                      "#version 150\nuniform sampler2D u_Wall;\nout vec4 color;\n"
                      "void main() { color = texture(u_Wall, vec2(0.5)); }\n",
                      QString());
    ASSERT_TRUE(texture != nullptr && program.link() && program.bind() && texture->bind());
    program.setUniform("u_Wall", int(texture->unit()));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 7);
    glDrawArrays(GL_POINTS, 0, 1);
    const QString names = QString("warning [ZelCheck] Program \"point.vsh\" (ShaderProgram %1): the sampler "
                                  "u_Wall reads texture unit %2, "
                                  "whose texture \"wall.png\" (Texture %3) is incomplete")
                              .arg(program.shaderProgramID())
                              .arg(texture->unit())
                              .arg(texture->textureID());
    EXPECT_MESSAGES(startsWith("debug Texture "), startsWith(names));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
    const auto label = [](GLenum identifier, GLuint name) {
        char text[64] = {};
        reinterpret_cast<PFNGLGETOBJECTLABELPROC>(getGLProcAddress("glGetObjectLabel", true))(
            identifier, name, 64, nullptr, text);
        return QString(text);
    };
    EXPECT_EQ("wall.png", label(GL_TEXTURE, texture->textureID()));
    EXPECT_EQ("point.vsh", label(GL_PROGRAM, program.shaderProgramID()));
    EXPECT_EQ("", label(GL_VERTEX_ARRAY, scene.vao)) << "Of the host, which has not named it";
    texture->unbind();
    std::vector<GLint> depths;
    Hook<&glUseProgram> uses;
    uses.replace([&](GLuint name) {
        depths.push_back(integerOf(GL_DEBUG_GROUP_STACK_DEPTH));
        uses.original(name);
    });
    const Orvane::ZelCheck::Group group("outer");
    EXPECT_TRUE(FlipY(texture));
    program.unbind();
    ASSERT_GE(depths.size(), 2u);
    EXPECT_EQ(3, depths.front()) << "GL itself, outer and FlipY";
    EXPECT_EQ(2, depths.back());
    delete texture;
}

TEST_F(CheckTest, RedundantCallsAreCountedByEntryPointAndObject)
{
    Check::Options options;
    options.countRedundant = true;
    const Scope check(options);
    Scene scene;
    Check::takeRedundantCalls();
    for (const float strength : {1.0f, 1.0f, 1.0f, 2.0f}) {
        glUniform1f(scene.uniform("u_Strength"), strength);
    }
    glEnable(GL_CULL_FACE);
    glEnable(GL_CULL_FACE);
    glBindTexture(GL_TEXTURE_2D, scene.textures[0]);
    glBindTexture(GL_TEXTURE_2D, scene.textures[1]);
    glBindBuffer(GL_TEXTURE_BUFFER, scene.buffers[0]); // also a target of textures
    glBindBuffer(GL_TEXTURE_BUFFER, scene.buffers[0]);
    const QStringList table = {
        "Redundant calls: 6 of 10 that set state. Leave them out where the order of the draws allows it.",
        QString("  3 of 4  glUniform1f u_Strength of program %1").arg(scene.name),
        QString("  1 of 2  glBindBuffer GL_TEXTURE_BUFFER, buffer %1").arg(scene.buffers[0]),
        QString("  1 of 1  glBindTexture GL_TEXTURE_2D of unit 0, texture %1").arg(scene.textures[0]),
        "  1 of 2  glEnable GL_CULL_FACE"};
    EXPECT_EQ(table, Check::takeRedundantCalls());
    EXPECT_EQ(QStringList(), Check::takeRedundantCalls());
}

/// Without the ledger of GLTest, which fails on the same mistake.
class CheckContextTest : public MessageTest
{
};

TEST_F(CheckContextTest, ADeletionInAnotherContextIsReported)
{
    const auto own = TestContext::create();
    ASSERT_TRUE(own && initializeGLFunctions());
    const Scope check;
    GLuint vao = 0;
    glGenVertexArrays(1, &vao);
    const auto other = TestContext::create();
    glDeleteVertexArrays(1, &vao);
    EXPECT_MESSAGES(
        startsWith(QString("warning [ZelCheck] glDeleteVertexArrays() of object %1, which belongs to "
                           "another context: the one that is current does not share it.")
                       .arg(vao)));
    own->makeCurrent();
    glDeleteVertexArrays(1, &vao);
}

TEST_F(CheckContextTest, ProgramsOfTheSameNameInTwoContextsAreReportedEach)
{
    const auto own = TestContext::create();
    ASSERT_TRUE(own && initializeGLFunctions());
    const Scope check;
    const auto drawWithoutArrays = [this](Scene &scene) {
        glBindVertexArray(0), scene.draw();
        EXPECT_MESSAGES(startsWith(
            QString("warning [ZelCheck] Program %1 draws without a vertex array").arg(scene.name)));
        takeGLErrors();
    };
    auto first = std::make_unique<Scene>();
    drawWithoutArrays(*first);
    const auto other = TestContext::create();
    {
        Scene second;
        drawWithoutArrays(second);
    }
    own->makeCurrent();
    first.reset();
}

/// Each in a process that has not called initializeGLFunctions().
class CheckOwnProcessTest : public MessageTest
{
};

TEST_F(CheckOwnProcessTest, ACallBeforeInitialisationIsReportedAndHarmless)
{
    EXPECT_EQ(0u, glCreateShader(GL_VERTEX_SHADER));
    glMultiDrawElementsIndirect(GL_TRIANGLES, GL_UNSIGNED_INT, nullptr, 1, 0);
    const QString text =
        "warning [ZelCheck] initializeGLFunctions() has not been called, so %1() has no effect. "
        "Call it once, with a context current.";
    EXPECT_MESSAGES(text.arg("glCreateShader"), text.arg("glMultiDrawElementsIndirect"));
    const auto context = TestContext::create();
    ASSERT_TRUE(context && initializeGLFunctions());
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    EXPECT_NE(0u, shader);
    glDeleteShader(shader);
    EXPECT_EQ(ogl_ext_ARB_multi_draw_indirect != 0, glMultiDrawElementsIndirect != nullptr)
        << "The library compares with null";
}

TEST_F(CheckOwnProcessTest, AStartBeforeInitialisationTakesEffectWithIt)
{
    const Scope check;
    EXPECT_FALSE(Check::isRunning());
    const auto context = TestContext::create();
    ASSERT_TRUE(context && initializeGLFunctions());
    EXPECT_TRUE(Check::isRunning());
}

TEST_F(CheckOwnProcessTest, TheEnvironmentStartsTheCheck)
{
    const auto context = TestContext::create();
    ASSERT_TRUE(context && initializeGLFunctions());
    const QString words = qEnvironmentVariable("ZELGL_CHECK"); // ctest runs this with and without
    EXPECT_EQ(!words.isEmpty(), Check::isRunning());
    if (words.contains("indexes")) {
        EXPECT_MESSAGES(
            "warning [ZelCheck] Unknown in ZELGL_CHECK: \"indexes\", \"on\". The words are 1, 2, "
            "indices, redundant and labels, separated by commas; 0 alone switches the check off.");
    }
}
