// A scene: drawables, a hierarchy of transforms, culling.
//
// A GPUModel writes the matrices of a transform into the object data of the draw commands that use it. Culling marks the
// commands that the camera does not see, and the draw skips them. Here one drawable has a command for each body of a small
// planetary system; the transform of a planet is the parent of its moons'.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace {

struct Body
{
    int parent; ///< -1: the sun
    float distance;
    float speed; ///< degrees per second
    float radius;
    QRgb color;
};

const std::vector<Body> &bodies()
{
    static const std::vector<Body> list = {
        {-1, 0.0f, 0.0f, 1.1f, 0xffe9a0},    {0, 1.9f, 70.0f, 0.28f, 0xb59a86},
        {0, 2.8f, 52.0f, 0.42f, 0xe3c38b},   {0, 3.9f, 40.0f, 0.48f, 0x6f9fd8},
        {3, 0.85f, 160.0f, 0.16f, 0xc8c8c8}, {0, 5.1f, 30.0f, 0.38f, 0xd07a56},
        {5, 0.6f, 190.0f, 0.11f, 0xa89888},  {5, 0.8f, -130.0f, 0.09f, 0x988878},
        {0, 7.0f, 17.0f, 0.9f, 0xd9b48c},    {8, 1.3f, 120.0f, 0.16f, 0xe8dcb0},
        {8, 1.7f, 95.0f, 0.18f, 0xb8c4d0},   {8, 2.1f, 70.0f, 0.20f, 0x9c8f80},
    };
    return list;
}

const char kVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
#instancedata "Body"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
out vec3 vo_Position;
out vec3 vo_Normal;
flat out vec4 vo_Color;

// The nine numbers are stored in the first of the sixteen of the member.
mat3 normalMatrix()
{
    mat4 numbers = getModelNormalMatrix();
    return mat3(numbers[0], numbers[1], numbers[2].x);
}

void main()
{
    vec4 position = getModelMatrix() * vec4(va_Vertex, 1.0);
    vo_Position = position.xyz;
    vo_Normal = normalMatrix() * va_Normal;
    vo_Color = getColor();
    gl_Position = u_ViewProjection * position;
}
)";

// The sun is at the origin; alpha is the emission of a body.
const char kFragment[] = R"(#version 150
in vec3 vo_Position;
in vec3 vo_Normal;
flat in vec4 vo_Color;
uniform vec3 u_Eye;
out vec4 o_Color;

void main()
{
    vec3 normal = normalize(vo_Normal);
    float lit = 0.12 + 0.88 * max(dot(normal, -normalize(vo_Position)), 0.0);
    float rim = pow(1.0 - max(dot(normal, normalize(u_Eye - vo_Position)), 0.0), 3.0);
    o_Color = vec4(vo_Color.rgb * mix(lit, 1.0, vo_Color.a) + rim * vec3(0.10, 0.12, 0.16), 1.0);
}
)";

/// The model fills the four matrices, which it finds by these names.
InstanceDataPlan *registerPlan()
{
    auto *plan = new InstanceDataPlan("Body");
    for (const char *matrix :
         {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix", "ModelNormalMatrix"}) {
        plan->addMember(InstanceDataPlan::eMat4, matrix);
    }
    plan->addMember(InstanceDataPlan::eVec4, "Color");
    plan->setArraySize(32);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    return plan;
}

class Planets : public Show
{
public:
    Planets()
    {
        InstanceDataPlan *plan = registerPlan();
        DrawBuffers::setup(&_processor);
        ProgramText text;
        text.vertex = kVertex;
        text.fragment = kFragment;
        text.vertexFiles = QStringList{"ZelUtilities.glslc", "ZelUtilities.vert"};
        text.vertexPlans = QStringList{"Body"};
        _program = makeProgram(text, &_processor);

        // The model takes ownership.
        const int count = int(bodies().size());
        auto *data = new InstanceDataCollection(plan, static_cast<unsigned long>(count));
        const int drawable = _model.add(makeSphere(count).release(), 0, nullptr, data, 0);
        const GPUModel::BoundingBox box = {-1.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f};
        _model.loadBoundingBoxes(&box, 1);
        for (int i = 0; i < count; ++i) {
            const Body &body = bodies()[size_t(i)];
            const QColor color(body.color);
            const float rgba[] = {float(color.redF()), float(color.greenF()), float(color.blueF()),
                                  i == 0 ? 1.0f : 0.0f};
            data->set(i, "Color", rgba, sizeof rgba);

            // The position, which is the parent of moons, and the size as its child, which does not apply to them.
            _places.push_back(
                _model.addTransform(body.parent < 0 ? -1 : _places[size_t(body.parent)], QMatrix4x4()));
            QMatrix4x4 size;
            size.scale(body.radius);
            _model.useTransform(drawable, i, _model.addTransform(_places.back(), size));
            _model.useBoundingBox(drawable, i, 0);
        }
    }

    ~Planets() override
    {
        _model.clear();
        InstanceDataRegistry::Instance()->clear();
    }

    void draw(float aspect, float seconds) override
    {
        const QVector3D eye(0.0f, 7.5f, 11.5f);
        QMatrix4x4 viewProjection;
        viewProjection.perspective(38.0f, aspect, 1.0f, 100.0f);
        viewProjection.lookAt(eye, {0.0f, -0.3f, 0.0f}, {0.0f, 1.0f, 0.0f});
        for (size_t i = 0; i < bodies().size(); ++i) {
            QMatrix4x4 place;
            place.rotate(bodies()[i].speed * seconds + 101.0f * float(i), 0.0f, 1.0f, 0.0f);
            place.translate(bodies()[i].distance, 0.0f, 0.0f);
            _model.setLocalTransform(_places[i], place, false);
        }

        _model.updateTransforms();
        _model.resetCulling();
        _model.frustumCull(viewProjection);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        const AutoBinder useProgram(_program.get());
        _program->setUniform("u_ViewProjection", viewProjection);
        _program->setUniform("u_Eye", eye);
        _model.draw(_program.get(), 0, 0, eWindingCCW, false);
        _model.updatePreviousMatrices();
    }

private:
    GLSLMacroProcessor _processor;
    std::unique_ptr<ShaderProgram> _program;
    GPUModel _model;
    std::vector<int> _places; ///< transforms, by body
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Planets>(); });
}
