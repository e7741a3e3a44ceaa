// VisibilityBuffer.glslc reads a deep G-buffer that the test builds.

#include "support/DrawnPixels.h"
#include "support/GLFixture.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QMatrix4x4>

#include <vector>

using namespace Orvane::Zel;

namespace {

/// Pixel 0 has no fragment, pixel 1 has one of draw 0, pixel 2 has the same one and, further away, one of draw 1.
constexpr int kPixels = 3;

const char *const kMain = R"(#version 150
#include "VisibilityBuffer.glslh"
uint getDrawID();
vec3 barycentric(vec3 p, vec3 a, vec3 b, vec3 c) { return p; } // the host's own
uniform vec2 u_Place;
out vec4 out_Position;
out vec4 out_NormalAndDepth;
out vec4 out_Rest;
void main()
{
    uint pointer = 99u;
    vec4 position = vec4(0.0);
    float depth = 0.0;
    vec3 normal = vec3(0.0);
    vec2 texCoord = vec2(0.0);
    int count = 0;
    initializeVisibilityBufferQuery(u_Place, pointer);
    while (doesVisibilityBufferHaveFragment(pointer)) {
        getFragmentInfo(u_Place, pointer, position, depth, normal, texCoord);
        ++count;
    }
    out_Position = position;
    out_NormalAndDepth = vec4(normal, depth);
    out_Rest = vec4(texCoord, float(count), float(getDrawID()));
}
)";

class VisibilityBufferTest : public GLTest
{
protected:
    VisibilityBufferTest()
    {
        _plan->addMember(InstanceDataPlan::eMat4, "ModelMatrix");
        _plan->setMechanism(InstanceDataPlan::eUniformMechanism);
        _plan->setArraySize(2);
        InstanceDataRegistry::Instance()->registerPlan(_plan);
        _capture.take(); // the plan logs its size
        _program.setFragDataLocations({"out_Position", "out_NormalAndDepth", "out_Rest"});
        GLSLMacroProcessor processor;
        _program.setMacroProcessor(&processor);
        _program.addShaderFromFile(GL_VERTEX_SHADER, "passthroughVS.glslc");
        _program.addShaderFromFile(GL_FRAGMENT_SHADER, "VisibilityBuffer.glslc");
        _program.addShader(GL_FRAGMENT_SHADER, _plan->glslc(), QString());
        _program.addShader(GL_FRAGMENT_SHADER, kMain, QString());
        EXPECT_TRUE(_program.link()) << _program.log().toStdString();
        _program.setMacroProcessor(nullptr);
        _program.bind();
    }

    ~VisibilityBufferTest() override
    {
        _program.unbind();
        glDeleteBuffers(GLsizei(_buffers.size()), _buffers.data());
        glDeleteTextures(GLsizei(_textures.size()), _textures.data());
        glActiveTexture(GL_TEXTURE0);
        InstanceDataRegistry::Instance()->clear();
    }

    int location(const char *name) { return _program.getUniformLocation(name); }

    void bindTexture(GLenum target, const char *sampler)
    {
        _textures.emplace_back();
        glGenTextures(1, &_textures.back());
        glActiveTexture(GL_TEXTURE0 + unsigned(_textures.size()));
        glBindTexture(target, _textures.back());
        glUniform1i(location(sampler), int(_textures.size()));
    }

    void setTexture(const char *sampler, GLenum internalFormat, GLenum format, int width, int height,
                    const std::vector<quint32> &values)
    {
        bindTexture(GL_TEXTURE_2D, sampler);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexImage2D(GL_TEXTURE_2D, 0, GLint(internalFormat), width, height, 0, format, GL_UNSIGNED_INT,
                     values.data());
    }

    /// Fills a buffer, which stays bound to this target.
    template <typename Value> GLuint fill(GLenum target, const std::vector<Value> &values)
    {
        _buffers.emplace_back();
        glGenBuffers(1, &_buffers.back());
        glBindBuffer(target, _buffers.back());
        glBufferData(target, GLsizeiptr(values.size() * sizeof(Value)), values.data(), GL_STATIC_DRAW);
        return _buffers.back();
    }

    template <typename Value>
    void setBuffer(const char *sampler, GLenum internalFormat, const std::vector<Value> &values)
    {
        bindTexture(GL_TEXTURE_BUFFER, sampler);
        glTexBuffer(GL_TEXTURE_BUFFER, internalFormat, fill(GL_TEXTURE_BUFFER, values));
    }

    InstanceDataPlan *_plan = new InstanceDataPlan("InstanceInfo"); // owned by the registry
    ShaderProgram _program{nullptr};
    std::vector<GLuint> _textures;
    std::vector<GLuint> _buffers;
};

} // namespace

TEST_F(VisibilityBufferTest, EveryFragmentIsReadWithItsTriangleAndItsDraw)
{
    // Vertices 0 to 2 are unused: the draw is triangle 1, whose vertices, with or without indices, are 3 to 5.
    setTexture("u_SamplerHeadPointer", GL_R32UI, GL_RED_INTEGER, kPixels, 1, {0, 3, 4});
    // Nodes 1 to 4, two per row: next, primitive + 1, depth, draw.
    const quint32 half = 0x3F000000; // the bits of 0.5 and 0.75
    setTexture("u_SamplerNodeBuffer", GL_RGBA32UI, GL_RGBA_INTEGER, 2, 2,
               {0, 0, 0, 0, 0, 2, 0x3F400000, 1, 0, 2, half, 0, 2, 2, half, 0});
    glUniform1i(location("u_SamplerNodeBufferWidth"), 2);
    setBuffer<QVector4D>(
        "u_VertexBuffer", GL_RGBA32F,
        {{9, 9, 9, 1}, {8, 8, 8, 1}, {7, 7, 7, 1}, {-4, -4, 0, 1}, {4, -4, 0, 1}, {-4, 4, 0, 1}});
    setBuffer<QVector4D>("u_NormalBuffer", GL_RGBA32F,
                         {{}, {}, {}, {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}});
    setBuffer<QVector4D>("u_texCoordBuffer", GL_RGBA32F,
                         {{}, {}, {}, {0, 0, 0, 0}, {1, 0, 0, 0}, {0, 1, 0, 0}});
    // firstIndex is 1 and baseVertex 2, so triangle 1 has the indices 4 to 6.
    setBuffer<qint32>("u_IndexBuffer", GL_R32I, {7, 7, 7, 7, 1, 2, 3});

    // Commands in std140 layout: count, instanceCount, firstIndex, baseVertex, baseInstance.
    std::vector<quint32> commands{6, 1, 1, 2, 0, 0, 0, 0, 6, 1, 1, 2, 0};
    commands.resize(100 * 8);
    glBindBufferBase(GL_UNIFORM_BUFFER, 3, fill(GL_UNIFORM_BUFFER, commands));
    const unsigned block = _program.getUniformBlockIndex("u_DrawElementsIndirectCommandsUniform");
    _program.setUniformBlockBinding(block, 3);
    GLint size = 0;
    glGetActiveUniformBlockiv(_program.shaderProgramID(), block, GL_UNIFORM_BLOCK_DATA_SIZE, &size);
    EXPECT_EQ(commands.size() * sizeof(quint32), size_t(size));

    // Draw 1 is twice as large, and half a unit further away.
    const float models[] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0,    1,
                            2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1, 0, 0, 0, 0.5f, 1};
    glUniformMatrix4fv(location("u_ModelMatrix[0]"), 2, GL_FALSE, models);
    QMatrix4x4 inverseProjection;
    inverseProjection.scale(2.0f, 2.0f, 1.0f);
    glUniformMatrix4fv(location("u_InvCameraMatrix"), 1, GL_FALSE, QMatrix4x4().constData());
    glUniformMatrix4fv(location("u_InvProjMatrix"), 1, GL_FALSE, inverseProjection.constData());
    glUniform2f(location("u_Place"), 0.25f, 0.5f); // (-1, 0) in world space

    for (const int indexed : {0, 1}) {
        glUniform1i(location("u_indexedDraw"), indexed);
        const std::vector<Pixels> outputs = drawnPixels(_program, kPixels, 1, 3);
        // (-1, 0) has the weights 1/8, 3/8 and 1/2 in the triangle;
        EXPECT_TRUE(outputs[2].isNear(0, 0, {0, 0, 0, 0}, 0.0f));
        EXPECT_TRUE(outputs[0].isNear(1, 0, {-1, 0, 0, 1}, 1e-5f));
        EXPECT_TRUE(outputs[1].isNear(1, 0, {0.125f, 0.375f, 0.5f, 0.5f}, 1e-5f));
        EXPECT_TRUE(outputs[2].isNear(1, 0, {0.375f, 0.5f, 1.0f, 0.0f}, 1e-5f));
        EXPECT_TRUE(outputs[0].isNear(2, 0, {-0.5f, 0, 0, 1}, 1e-5f));
        EXPECT_TRUE(outputs[1].isNear(2, 0, {0.0625f, 0.4375f, 0.5f, 0.75f}, 1e-5f));
        EXPECT_TRUE(outputs[2].isNear(2, 0, {0.4375f, 0.5f, 2.0f, 1.0f}, 1e-5f));
    }
}
