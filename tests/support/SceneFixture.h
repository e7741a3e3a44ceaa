#pragma once

#include "GLFixture.h"
#include "TestBuffer.h"

#include <ZelGL/BufferObject.h>
#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/GPUModel.h>
#include <ZelGL/InstanceDataCollection.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/TextureManager.h>
#include <ZelGL/VertexArrayObject.h>

/// A model of unit squares with the plan "SceneObject" for their object data. It owns everything that is added.
class SceneTest : public GLTest
{
protected:
    static constexpr unsigned long long kAll = ~0ull;

    SceneTest()
    {
        auto *plan = new Orvane::Zel::InstanceDataPlan("SceneObject");
        for (const char *member :
             {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix", "ModelNormalMatrix"}) {
            plan->addMember(Orvane::Zel::InstanceDataPlan::eMat4, member);
        }
        plan->setArraySize(32);
        Orvane::Zel::InstanceDataRegistry::Instance()->registerPlan(plan);
        _capture.take(); // the message about the limit
    }

    ~SceneTest() override
    {
        _model.clear();
        Orvane::Zel::InstanceDataRegistry::Instance()->clear();
        Orvane::Zel::OpenGLDeviceContext::resetContext();
    }

    Orvane::Zel::InstanceDataCollection *objects(int count)
    {
        auto *plan = Orvane::Zel::InstanceDataRegistry::Instance()->getPlan("SceneObject");
        return new Orvane::Zel::InstanceDataCollection(plan, static_cast<unsigned long>(count));
    }

    /// A counter-clockwise unit square in x and y, drawn by \a count commands.
    Orvane::Zel::DrawBuffers *squares(int count)
    {
        auto *unit = new Orvane::Zel::DrawBuffers(nullptr);
        unit->setVAO(Orvane::Zel::OpenGLDeviceContext::current()->newVAO());
        unit->VAO()->upload("va_Vertex", makeBuffer(GL_ARRAY_BUFFER), QVector<float>{0, 0, 1, 0, 0, 1, 1, 1},
                            2, GL_STATIC_DRAW);
        unit->setPrimitiveType(GL_TRIANGLES);
        const unsigned short indices[] = {0, 1, 2, 2, 1, 3};
        const auto indexBuffer = makeBuffer(GL_ELEMENT_ARRAY_BUFFER);
        indexBuffer->bind();
        indexBuffer->uploadGLushortData(indices, 6, GL_STATIC_DRAW);
        indexBuffer->unbind();
        unit->setIndexedDraw(indexBuffer, 6, GL_UNSIGNED_SHORT);
        const QVector<Orvane::Zel::DrawElementsIndirectCommand> commands(count, {6, 1, 0, 0, 0});
        unit->setDrawElementsIndirectCommands(commands.constData(), count);
        return unit;
    }

    /// Adds a drawable of squares, each with its own transform.
    int addSquares(const QVector<QMatrix4x4> &matrices, unsigned long long flags = 0, int materialNumber = 0,
                   Orvane::Zel::InstanceDataCollection *material = nullptr)
    {
        const int instance =
            _model.add(squares(matrices.size()), materialNumber, material, objects(matrices.size()), flags);
        for (int i = 0; i < matrices.size(); ++i) {
            _model.useTransform(instance, i, _model.addTransform(-1, matrices.at(i)));
        }
        return instance;
    }

    Orvane::Zel::GPUModel _model;
};

/// A matrix that scales, then translates.
inline QMatrix4x4 placed(float x, float y, float scaleX = 1.0f, float scaleY = 1.0f)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y);
    matrix.scale(scaleX, scaleY);
    return matrix;
}
