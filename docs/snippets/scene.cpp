#include "SnippetsTest.h"

#include "support/TestBuffer.h"

#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GPUModel.h>
#include <ZelGL/InstanceDataCollection.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/VertexArrayObject.h>

using namespace Orvane::Zel;

namespace {

constexpr char kPlaced[] = R"(#version 150
#instancedata "Object"
in vec2 va_Vertex;
uniform mat4 u_ViewProjection;
void main() { gl_Position = u_ViewProjection * getModelMatrix() * vec4(va_Vertex, 0.0, 1.0); }
)";

/// The square from -1 to 1 in x and y, as one draw command.
DrawBuffers *newSquare()
{
    auto *square = new DrawBuffers(nullptr);
    square->setVAO(OpenGLDeviceContext::current()->newVAO());
    square->VAO()->upload("va_Vertex", makeBuffer(GL_ARRAY_BUFFER),
                          QVector<float>{-1, -1, 1, -1, -1, 1, 1, 1}, 2, GL_STATIC_DRAW);
    square->setPrimitiveType(GL_TRIANGLE_STRIP);
    const auto indexBuffer = makeBuffer(GL_ELEMENT_ARRAY_BUFFER);
    const unsigned short indices[] = {0, 1, 2, 3};
    indexBuffer->bind();
    indexBuffer->uploadGLushortData(indices, 4, GL_STATIC_DRAW);
    indexBuffer->unbind();
    square->setIndexedDraw(indexBuffer, 4, GL_UNSIGNED_SHORT);
    const DrawElementsIndirectCommand command = {4, 1, 0, 0, 0};
    square->setDrawElementsIndirectCommands(&command, 1);
    return square;
}

} // namespace

TEST_F(SnippetsTest, GPUModel)
{
    auto *plan = new InstanceDataPlan("Object");
    for (const char *name : {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix"}) {
        plan->addMember(InstanceDataPlan::eMat4, name);
    }
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.take(); // the limit
    ShaderProgram program(nullptr);
    program.addShader(GL_VERTEX_SHADER, kPlaced, QString());
    program.addShader(GL_VERTEX_SHADER, plan->glslc(), QString());
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    program.addShader(GL_FRAGMENT_SHADER, kAllWhite, QString());
    ASSERT_TRUE(program.link());
    QMatrix4x4 left;
    left.translate(-0.5f, 0.0f);
    left.scale(0.5f);
    QMatrix4x4 viewProjection;
    Canvas canvas;
    program.bind();
    program.setUniform("u_ViewProjection", viewProjection);
    //! [GPUModel]
    GPUModel model;
    auto *objectData = new InstanceDataCollection(plan, 1ul);             // with the member "ModelMatrix"
    const int square = model.add(newSquare(), 0, nullptr, objectData, 0); // a draw unit with one command
    const int transform = model.addTransform(GPUModel::kInvalidTransformRef, left);
    model.useTransform(square, 0, transform);

    // Each frame, after the changes to transforms:
    model.updateTransforms();
    model.resetCulling();
    model.frustumCull(viewProjection);
    model.draw(&program, nullptr, 0, 0, eWindingCCW, false); // the program is bound
    model.updatePreviousMatrices();

    model.clear(); // deletes what add() was given
    //! [GPUModel]
    program.unbind();
    EXPECT_TRUE(canvas.pixels().isNear(2, 4, {1, 1, 1, 1}, 0));
    EXPECT_TRUE(canvas.pixels().isNear(5, 4, {0, 0, 0, 0}, 0));
    EXPECT_EQ(0, DrawBuffers::NumAlive());
}
