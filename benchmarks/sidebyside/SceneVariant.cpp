#include "SceneVariant.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace {

using Plan = InstanceDataPlan;

const char kVertexSource[] = R"(#version 430
#include "ZelUtilities.glslh"
#instancedata "BoxObject"
#instancedata "BoxMaterial"
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 u_ViewProjection;
out vec3 vo_Normal;
out vec2 vo_TexCoord;
flat out vec4 vo_Color;
flat out uvec2 vo_Texture;
void main()
{
    mat4 m = getModelMatrix();
    vo_Normal = mat3(m) * va_Normal;
    vo_TexCoord = va_TexCoord;
    vo_Color = getColor(0u);
    vo_Texture = getTexture(0u);
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

const char kTexturedFragmentSource[] = R"(#version 430
#include "TextureManager.glslh"
in vec3 vo_Normal;
in vec2 vo_TexCoord;
flat in vec4 vo_Color;
flat in uvec2 vo_Texture;
out vec4 out_Color;
void main()
{
    out_Color = managedTexture(vo_Texture, vo_TexCoord) + vo_Color * (0.5 + 0.5 * normalize(vo_Normal).z);
}
)";

Plan *registeredPlan(const QString &name)
{
    return InstanceDataRegistry::Instance()->getPlan(name);
}

} // namespace

SceneVariant::SceneVariant(Kind kind, const BoxRuns &runs)
    : _kind(kind)
    , _runs(runs)
{
    _textureManager.setMaxSlots(8);
    registerPlans();
    link();
    for (int m = 0; m < runs.materialCount; ++m) {
        const std::array<float, 4> color = colorOfMaterial(m, runs);
        auto *material = new InstanceDataCollection(registeredPlan("BoxMaterial"), 1);
        const TextureToken texture = textureOf(color);
        material->set(0, "Color", color.data(), sizeof color);
        material->set(0, "Texture", &texture.token, sizeof texture.token);
        _materials.push_back(material);
    }
    if (kind == eSharedBase) {
        _model.setFeatureFlags(_model.getFeatureFlags() | GPUModel::kFeatureSimple);
    }
    if (kind == eCommands) {
        addAllAsOne();
    } else {
        addBoxes();
    }
    _model.updateTransforms();
    _model.updatePreviousMatrices();
    if (_shared != nullptr) {
        fillShared();
    }
}

SceneVariant::~SceneVariant()
{
    _model.clear();
    InstanceDataRegistry::Instance()->clear();
}

void SceneVariant::drawFrame()
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    _program.bind();
    _model.draw(&_program, textureManager(), 0, 0, eWindingCCW, nullptr, false);
    _program.unbind();
}

void SceneVariant::registerPlans()
{
    auto *object = new Plan("BoxObject");
    for (const char *member : {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix"}) {
        object->addMember(Plan::eMat4, member);
    }
    object->setArraySize(hasOwnObjects() ? 1 : static_cast<unsigned long>(_runs.boxCount));
    object->setMechanism(hasOwnObjects() ? Plan::eUniformBufferMechanism : Plan::eStorageBufferMechanism);
    auto *material = new Plan("BoxMaterial");
    material->addMember(Plan::eVec4, "Color");
    material->addMember(Plan::eTexture, "Texture");
    material->setArraySize(1);
    InstanceDataRegistry::Instance()->registerPlan(object);
    InstanceDataRegistry::Instance()->registerPlan(material);
}

void SceneVariant::link()
{
    DrawBuffers::useBaseInstanceDrawing(_kind == eSharedBase);
    DrawBuffers::setup(&_processor);
    _program.setMacroProcessor(&_processor);
    _program.addShader(GL_VERTEX_SHADER, kVertexSource, QString());
    _program.addShader(GL_VERTEX_SHADER, registeredPlan("BoxObject")->glslc(), QString());
    _program.addShader(GL_VERTEX_SHADER, registeredPlan("BoxMaterial")->glslc(), QString());
    _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    _program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    if (textureManager() != nullptr) {
        _textureManager.setup(&_processor);
        _program.addShader(GL_FRAGMENT_SHADER, kTexturedFragmentSource, QString());
        _program.addShaderFromFile(GL_FRAGMENT_SHADER, _textureManager.getShaderFile());
    } else {
        _program.addShader(GL_FRAGMENT_SHADER, kFragmentSource, QString());
    }
    _program.link();
    QMatrix4x4 viewProjection;
    viewProjection.scale(1.0f / 64.0f);
    _program.bind();
    _program.setUniform("u_ViewProjection", QVariant::fromValue(viewProjection));
    _program.unbind();
}

void SceneVariant::addBoxes()
{
    const Box box;
    const DrawElementsIndirectCommand whole{unsigned(box.indices.size()), 1, 0, 0, 0};
    _shared = hasOwnObjects() ? nullptr : newObjects(_runs.boxCount);
    for (int m = 0; m < _runs.materialCount; ++m) {
        for (int i = _runs.firstBox(m); i < _runs.firstBox(m + 1); ++i) {
            std::unique_ptr<DrawBuffers> unit = makeUnit(box.vertices, box.indices);
            InstanceDataCollection *material = _materials[size_t(m)];
            InstanceDataCollection *objects = hasOwnObjects() ? newObjects(1) : _shared;
            unit->setDrawIDBase(hasOwnObjects() ? 0 : i);
            if (_kind == eSharedBase) {
                _model.addSimple(unit.release(), m, material, objects, 0);
            } else {
                unit->setDrawElementsIndirectCommands(&whole, 1);
                _model.useTransform(_model.add(unit.release(), m, material, objects, 0), 0, newTransform(i));
            }
        }
    }
}

void SceneVariant::addAllAsOne()
{
    const Box box;
    QVector<DrawElementsIndirectCommand> commands;
    for (int i = 0; i < _runs.boxCount; ++i) {
        commands.append({unsigned(box.indices.size()), 1, 0, 0, 0});
    }
    std::unique_ptr<DrawBuffers> unit = makeUnit(box.vertices, box.indices);
    unit->setDrawElementsIndirectCommands(commands.constData(), commands.size());
    const int drawable = _model.add(unit.release(), 0, _materials.front(), newObjects(_runs.boxCount), 0);
    for (int i = 0; i < _runs.boxCount; ++i) {
        _model.useTransform(drawable, i, newTransform(i));
    }
}

TextureToken SceneVariant::textureOf(const std::array<float, 4> &color)
{
    return _kind == eOwnTokens
               ? _textureManager.tokenForColor(QColor::fromRgbF(color[0], color[1], color[2], color[3]))
               : nullTextureToken;
}

int SceneVariant::newTransform(int box)
{
    return _model.addTransform(GPUModel::kInvalidTransformRef, gridTransform(box, _runs.boxCount));
}

InstanceDataCollection *SceneVariant::newObjects(int count)
{
    return new InstanceDataCollection(registeredPlan("BoxObject"), static_cast<unsigned long>(count));
}

// A transform writes the item with the index of its command; in a shared collection that item belongs to another box.
void SceneVariant::fillShared()
{
    for (int i = 0; i < _runs.boxCount; ++i) {
        _shared->set(i, "ModelMatrix", gridTransform(i, _runs.boxCount).constData(), 64);
    }
}
