#include "SnippetsTest.h"

#include "support/TestBuffer.h"

#include <ZelGL/AutoBinder.h>
#include <ZelGL/DrawBuffers.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/UniformBufferObject.h>
#include <ZelGL/VertexArrayBuilder.h>
#include <ZelGL/VertexArrayObject.h>

using namespace Orvane::Zel;

namespace {

const QVector4D kBlack(0, 0, 0, 0);
const QVector4D kWhite(1, 1, 1, 1);

} // namespace

TEST_F(SnippetsTest, BufferObject)
{
    //! [BufferObject]
    BufferObject positions(nullptr);
    positions.setTarget(GL_ARRAY_BUFFER);
    positions.bind();
    positions.upload(QVector<float>{0, 0, 1, 0, 0, 1}, GL_STATIC_DRAW);
    positions.subUpload(QVector<float>{2, 0}, 2); // the second vertex moves
    positions.unbind();
    //! [BufferObject]
    EXPECT_EQ((std::vector<float>{0, 0, 2, 0, 0, 1}), contentsOf<float>(positions, 6));
}

TEST_F(SnippetsTest, UniformBufferObject)
{
    const auto program = makeProgram(kAllOver, R"(#version 150
layout(std140) uniform Sun { vec4 u_SunColor; };
out vec4 color;
void main() { color = u_SunColor; }
)");
    Canvas canvas;
    const auto drawScene = [&canvas](ShaderProgram &bound) { canvas.draw(bound); };
    program->bind();
    //! [UniformBufferObject]
    const QSharedPointer<BufferObject> buffer(new BufferObject(nullptr));
    buffer->setTarget(GL_UNIFORM_BUFFER);
    buffer->bind();
    buffer->upload(QVector<float>{1.0f, 0.75f, 0.5f, 1.0f}, GL_DYNAMIC_DRAW); // vec4 u_SunColor
    buffer->unbind();

    UniformBufferObject sun("Sun", buffer, nullptr); // layout(std140) uniform Sun { ... };
    sun.bind(program.get());
    drawScene(*program);
    sun.unbind(program.get());
    //! [UniformBufferObject]
    program->unbind();
    EXPECT_TRUE(canvas.pixels().isNear(0, 0, {1.0f, 0.75f, 0.5f, 1.0f}, 0));
}

TEST_F(SnippetsTest, VertexArrayObject)
{
    const auto program = makeProgram(kAllOver);
    Canvas canvas;
    program->bind();
    //! [VertexArrayObject]
    const QSharedPointer<BufferObject> positions(new BufferObject(nullptr));
    positions->setTarget(GL_ARRAY_BUFFER);

    VertexArrayObject triangle(nullptr);
    triangle.upload("va_Vertex", positions, QVector<float>{-1, -1, 1, -1, -1, 1}, 2, GL_STATIC_DRAW);

    triangle.bind();
    triangle.enableShaderProgramArrays(program.get()); // by the names of its attributes
    glDrawArrays(GL_TRIANGLES, 0, 3);
    triangle.unbind();
    //! [VertexArrayObject]
    program->unbind();
    EXPECT_TRUE(canvas.pixels().isNear(1, 1, kWhite, 0));
    EXPECT_TRUE(canvas.pixels().isNear(6, 6, kBlack, 0));
}

TEST_F(SnippetsTest, VertexArrayBuilder)
{
    //! [VertexArrayBuilder]
    VertexArrayBuilder builder;
    builder.setVertexSpec(2, 3); // two floats for each of about three vertices
    builder.setColorSpec(3, 3);
    builder.glVertex2f(0.0f, 0.0f);
    builder.glColor3f(1.0f, 0.0f, 0.0f);
    builder.glVertex2f(1.0f, 0.0f);
    builder.glColor3f(0.0f, 1.0f, 0.0f);
    builder.glVertex2f(0.0f, 1.0f);
    builder.glColor3f(0.0f, 0.0f, 1.0f);

    const QSharedPointer<BufferObject> colors = OpenGLDeviceContext::current()->newBuffer();
    colors->setTarget(GL_ARRAY_BUFFER);
    VertexArrayObject triangle(nullptr);
    triangle.upload("va_Color", colors, builder.getColorData(), int(builder.getVertexCount()) * 3, 3,
                    GL_STATIC_DRAW);
    //! [VertexArrayBuilder]
    EXPECT_EQ((std::vector<float>{1, 0, 0, 0, 1, 0, 0, 0, 1}), contentsOf<float>(*colors, 9));
}

TEST_F(SnippetsTest, VertexArrayBuilderStorage)
{
    const auto buffer = makeBuffer(GL_ARRAY_BUFFER);
    buffer->bind();
    //! [VertexArrayBuilderStorage]
    VertexArrayBuilderStorage weights;
    weights.setSpec(2, 100); // two floats a vertex
    for (int i = 0; i < 100; ++i) {
        weights.pushData(0.01f * float(i), 1.0f);
    }
    buffer->upload(weights.getData(), int(weights.getSize() * weights.getComponentCount()), GL_STATIC_DRAW);
    //! [VertexArrayBuilderStorage]
    buffer->unbind();
    EXPECT_EQ((std::vector<float>{0.01f * 99, 1}), contentsOf<float>(*buffer, 2, 99 * 2 * sizeof(float)));
}

TEST_F(SnippetsTest, DrawBuffers)
{
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER, R"(#version 150
#include "ZelUtilities.glslh"
in vec2 va_Vertex;
flat out uint id;
void main()
{
    id = getDrawID();
    gl_Position = vec4(va_Vertex + vec2(float(id), 0.0), 0.0, 1.0);
}
)",
                      QString());
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    program.addShader(GL_FRAGMENT_SHADER, R"(#version 150
flat in uint id;
out vec4 color;
void main() { color = vec4(id == 0u, id == 1u, 0.0, 1.0); }
)",
                      QString());
    ASSERT_TRUE(program.link());
    const auto indices = makeBuffer(GL_ELEMENT_ARRAY_BUFFER);
    const unsigned short corners[] = {0, 1, 2, 2, 1, 3};
    indices->bind();
    indices->uploadGLushortData(corners, 6, GL_STATIC_DRAW);
    indices->unbind();
    const auto vao = OpenGLDeviceContext::current()->newVAO();
    vao->upload("va_Vertex", makeBuffer(GL_ARRAY_BUFFER), QVector<float>{-1, -1, 0, -1, -1, 1, 0, 1}, 2,
                GL_STATIC_DRAW);
    Canvas canvas;
    program.bind();
    //! [DrawBuffers]
    DrawBuffers quads(nullptr);
    quads.setVAO(vao);
    quads.setPrimitiveType(GL_TRIANGLES);
    quads.setIndexedDraw(indices, 6, GL_UNSIGNED_SHORT);
    quads.setInstanceCount(2); // getDrawID() of the shader is 0 in the first and 1 in the second

    quads.bind();
    quads.VAO()->enableShaderProgramArrays(&program);
    quads.draw(&program);
    quads.unbind();
    //! [DrawBuffers]
    program.unbind();
    EXPECT_TRUE(canvas.pixels().isNear(3, 4, {1, 0, 0, 1}, 0));
    EXPECT_TRUE(canvas.pixels().isNear(4, 4, {0, 1, 0, 1}, 0));
}

TEST_F(SnippetsTest, OpenGLDeviceContext)
{
    const auto program = makeProgram(kAllOver);
    Canvas canvas;
    //! [OpenGLDeviceContext]
    // A pass over all pixels of the bound framebuffer.
    const QSharedPointer<DrawBuffers> quad = OpenGLDeviceContext::current()->fullscreenQuad();
    program->bind();
    quad->bind();
    quad->VAO()->enableShaderProgramArrays(program.get());
    quad->draw(program.get());
    quad->unbind();
    program->unbind();
    //! [OpenGLDeviceContext]
    EXPECT_TRUE(canvas.pixels().isNear(Pixels(8, 8, kWhite), 0));
}
