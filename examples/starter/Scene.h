#pragma once

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <memory>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

/// What the window shows.
class Scene
{
public:
    OrbitCamera camera;

    Scene()
    {
        auto *plan = new InstanceDataPlan("Gem");
        plan->addMember(InstanceDataPlan::eVec4, "Place"); // the position and the size
        plan->addMember(InstanceDataPlan::eVec4, "Color");
        InstanceDataRegistry::Instance()->registerPlan(plan); // takes ownership
        _data = std::make_unique<InstanceDataCollection>(plan, 125);
        for (int i = 0; i < 125; ++i) { // five by five by five
            const QVector4D place(float(i % 5 - 2), float(i / 5 % 5 - 2), float(i / 25 - 2), 0.42f);
            const QVector4D color = QVector4D(0.6f, 0.6f, 0.6f, 1.0f) + 0.2f * place;
            _data->set(i, "Place", &place, sizeof place);
            _data->set(i, "Color", &color, sizeof color);
        }
        QVector<float> corners; // of the eight triangles of an octahedron
        for (int i = 0; i < 8; ++i) {
            corners << (i & 1 ? 1 : -1) << 0 << 0 << 0 << (i & 2 ? 1 : -1) << 0 << 0 << 0 << (i & 4 ? 1 : -1);
        }
        const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
        buffer->setTarget(GL_ARRAY_BUFFER);
        _gem.setVAO(OpenGLDeviceContext::current()->newVAO());
        _gem.VAO()->upload("va_Vertex", buffer, corners, 3, GL_STATIC_DRAW);
        _gem.setPrimitiveType(GL_TRIANGLES);
        _gem.setVertexCount(24);
        _gem.setInstanceCount(125);

        DrawBuffers::setup(&_processor);
        _program.setMacroProcessor(&_processor);
        _program.addShaderFromFile(GL_VERTEX_SHADER, FOLDER "/gem.vert");
        _program.addShader(GL_VERTEX_SHADER, plan->glslc(), "");
        _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
        _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
        _program.addShaderFromFile(GL_FRAGMENT_SHADER, FOLDER "/gem.frag");
        _program.link();
    }

    void draw(const QSize &size)
    {
        const float aspect = float(size.width()) / float(size.height());
        camera.frame(Bounds({-2.5f, -2.5f, -2.5f}, {2.5f, 2.5f, 2.5f}), aspect);
        glViewport(0, 0, size.width(), size.height());
        glClearColor(0.07f, 0.09f, 0.12f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(&_program, {_data.get()});
        _program.setUniform("u_ViewProjection", camera.viewProjection(aspect));
        scope.draw(&_gem);
    }

private:
    GLSLMacroProcessor _processor;
    ShaderProgram _program{nullptr};
    DrawBuffers _gem{nullptr};
    std::unique_ptr<InstanceDataCollection> _data;
};
