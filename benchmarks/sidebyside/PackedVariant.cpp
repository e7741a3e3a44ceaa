#include "PackedVariant.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>
#include <cstdio>
#include <random>

using namespace Orvane::Zel;
using Orvane::ZelKit::PackedScene;

namespace {

using Plan = InstanceDataPlan;

const char kVertexSource[] = R"(#version 430
#include "ZelUtilities.glslh"
#instancedata "PackedObject"
#instancedata "PackedMaterial"
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 u_ViewProjection;
out vec3 vo_Normal;
out vec2 vo_TexCoord;
flat out vec4 vo_Color;
void main()
{
    mat4 m = getModelMatrix();
    vo_Normal = mat3(m) * va_Normal;
    vo_TexCoord = va_TexCoord;
    vo_Color = getColor(0u);
    gl_Position = u_ViewProjection * m * vec4(va_Vertex, 1.0);
}
)";

const char kFragmentSource[] = R"(#version 430
in vec3 vo_Normal;
in vec2 vo_TexCoord;
flat in vec4 vo_Color;
out vec4 out_Color;
void main()
{
    out_Color = vo_Color * (0.5 + 0.5 * normalize(vo_Normal).z) + 0.01 * vec4(vo_TexCoord, 0.0, 1.0);
}
)";

constexpr size_t kMovingEvery = 20; ///< 5 % of the boxes

Plan *registerPlan(const QString &name, std::initializer_list<const char *> members, Plan::DataType type,
                   unsigned long items, Plan::MechanismType mechanism)
{
    auto *plan = new Plan(name);
    for (const char *member : members) {
        plan->addMember(type, member);
    }
    plan->setArraySize(items);
    plan->setMechanism(mechanism);
    InstanceDataRegistry::Instance()->registerPlan(plan);
    return plan;
}

PackedScene::Format boxFormat()
{
    PackedScene::Format format;
    format.attributes = {{"va_Vertex", 3, GL_FLOAT, false, 0},
                         {"va_Normal", 3, GL_FLOAT, false, 12},
                         {"va_TexCoord", 2, GL_FLOAT, false, 24}};
    format.stride = kFloatsPerVertex * sizeof(float);
    format.indexType = GL_UNSIGNED_SHORT;
    return format;
}

QMatrix4x4 wholeView()
{
    QMatrix4x4 viewProjection;
    viewProjection.scale(1.0f / 64.0f);
    return viewProjection;
}

} // namespace

PackedVariant::PackedVariant(Kind kind, const BoxRuns &runs)
    : _kind(kind)
    , _runs(runs)
{
    Plan *object =
        registerPlan("PackedObject", {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix"},
                     Plan::eMat4, static_cast<unsigned long>(runs.boxCount), Plan::eStorageBufferMechanism);
    Plan *material = registerPlan("PackedMaterial", {"Color"}, Plan::eVec4, 1, Plan::eUniformBufferMechanism);
    link();
    for (int m = 0; m < runs.materialCount; ++m) {
        const std::array<float, 4> color = colorOfMaterial(m, runs);
        _materials.push_back(std::make_unique<InstanceDataCollection>(material, 1ul));
        _materials.back()->set(0, "Color", color.data(), sizeof color);
    }
    _scene = PackedScene::create(boxFormat(), object);
    addBoxes();
    if (kind == eByHand) {
        prepareByHand();
    }
}

PackedVariant::~PackedVariant()
{
    std::printf("memory of a box, without its mesh: CPU %.0f bytes; with its mesh of %zu: GPU %.0f bytes\n",
                double(_scene->memoryEstimateCPU()) / _runs.boxCount,
                24 * kFloatsPerVertex * sizeof(float) + 36 * sizeof(short),
                double(_scene->memoryEstimateGPU()) / _runs.boxCount);
    _scene.reset();
    _objects.clear();
    _materials.clear();
    InstanceDataRegistry::Instance()->clear();
}

void PackedVariant::drawFrame()
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    _program.bind();
    switch (_kind) {
    case eByHand:
        drawByHand();
        break;
    case eCulled:
    case eCulledScattered:
    case eCulledRandom:
        moveBoxes();
        break;
    case eAll:
    case eSubDraws:
        _scene->selectAll();
        break;
    }
    if (_kind != eByHand) {
        _scene->draw(&_program, nullptr, PackedScene::eAllParts, eWindingDefault);
        _scene->updatePreviousMatrices();
    }
    _program.unbind();
}

void PackedVariant::link()
{
    DrawBuffers::useBaseInstanceDrawing(_kind != eSubDraws);
    DrawBuffers::setup(&_processor);
    _program.setMacroProcessor(&_processor);
    _program.addShader(GL_VERTEX_SHADER, kVertexSource, QString());
    for (const char *plan : {"PackedObject", "PackedMaterial"}) {
        _program.addShader(GL_VERTEX_SHADER, InstanceDataRegistry::Instance()->getPlan(plan)->glslc(),
                           QString());
    }
    _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    _program.addShader(GL_FRAGMENT_SHADER, kFragmentSource, QString());
    _program.link();
    _program.bind();
    _program.setUniform("u_ViewProjection", QVariant::fromValue(wholeView()));
    _program.unbind();
}

void PackedVariant::addBoxes()
{
    const Box box;
    const std::vector<quint32> indices(box.indices.begin(), box.indices.end());
    for (int m = 0; m < _runs.materialCount; ++m) {
        const int material = _scene->addMaterial(_materials[size_t(m)].get());
        for (int i = _runs.firstBox(m); i < _runs.firstBox(m + 1); ++i) {
            const int mesh = _scene->addMesh(box.vertices.constData(), box.vertices.size() / kFloatsPerVertex,
                                             indices.data(), int(indices.size()));
            _places.push_back(gridTransform(i, _runs.boxCount));
            _drawables.push_back(_scene->add(mesh, material, _places.back()));
        }
    }
    _scene->compact();
    if (_kind == eCulledRandom) { // both in the same order
        std::shuffle(_drawables.begin(), _drawables.end(), std::mt19937(1));
        std::shuffle(_places.begin(), _places.end(), std::mt19937(1));
    }
}

void PackedVariant::moveBoxes()
{
    ++_frame;
    const size_t part = size_t(_frame % kMovingEvery);
    const size_t moving = _drawables.size() / kMovingEvery;
    for (size_t i = 0; i < moving; ++i) {
        const size_t box = _kind == eCulled ? part * moving + i : i * kMovingEvery + part;
        _places[box].translate(0.0f, 0.0f, _frame % 2 == 0 ? 0.01f : -0.01f);
        _scene->setTransform(_drawables[box], _places[box]);
    }
    QMatrix4x4 viewProjection = wholeView();
    viewProjection.rotate(float(_frame % 2), 0.0f, 1.0f, 0.0f);
    _scene->cull(viewProjection);
}

void PackedVariant::prepareByHand()
{
    const Box box;
    QVector<float> vertices;
    QVector<unsigned short> indices;
    std::vector<DrawElementsIndirectCommand> commands;
    for (int m = 0; m < _runs.materialCount; ++m) {
        const int first = _runs.firstBox(m);
        _objects.push_back(std::make_unique<InstanceDataCollection>(
            InstanceDataRegistry::Instance()->getPlan("PackedObject"),
            static_cast<unsigned long>(_runs.firstBox(m + 1) - first)));
        for (int i = first; i < _runs.firstBox(m + 1); ++i) {
            commands.push_back({36, 1, unsigned(indices.size()), unsigned(vertices.size() / kFloatsPerVertex),
                                unsigned(i - first)});
            vertices += box.vertices;
            indices += box.indices;
            _objects.back()->set(i - first, "ModelMatrix", _places[size_t(i)].constData(), 64);
        }
    }
    _unit = makeUnit(vertices, indices);
    _commands = makeBuffer(GL_DRAW_INDIRECT_BUFFER, commands.data(), int(commands.size()),
                           sizeof(DrawElementsIndirectCommand));
}

void PackedVariant::drawByHand()
{
    _unit->bind();
    _unit->VAO()->enableShaderProgramArrays(&_program);
    _commands->bind();
    for (int m = 0; m < _runs.materialCount; ++m) {
        _materials[size_t(m)]->bind(&_program, nullptr);
        _objects[size_t(m)]->bind(&_program, nullptr);
        const quint64 offset = quint64(_runs.firstBox(m)) * sizeof(DrawElementsIndirectCommand);
        glMultiDrawElementsIndirect(GL_TRIANGLES, GL_UNSIGNED_SHORT, reinterpret_cast<const void *>(offset),
                                    _runs.firstBox(m + 1) - _runs.firstBox(m),
                                    sizeof(DrawElementsIndirectCommand));
        _objects[size_t(m)]->unbind(&_program, nullptr);
        _materials[size_t(m)]->unbind(&_program, nullptr);
    }
    _commands->unbind();
    _unit->unbind();
}
