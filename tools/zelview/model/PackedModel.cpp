#include "model/PackedModel.h"

#include "model/ModelTextures.h"
#include "scene/ModelPlans.h"
#include "scene/Scene.h"

#include <ZelGL/ZelGL.h>

#include <cstddef>

using namespace Orvane::Zel;
using Orvane::ZelKit::PackedScene;

namespace zeltools {

namespace {

PackedScene::Format vertexFormat()
{
    PackedScene::Format format;
    format.attributes = {{"va_Vertex", 3, GL_FLOAT, false, offsetof(Vertex, position)},
                         {"va_Normal", 3, GL_FLOAT, false, offsetof(Vertex, normal)},
                         {"va_TexCoord", 2, GL_FLOAT, false, offsetof(Vertex, texCoord)},
                         {"va_TexCoord2", 2, GL_FLOAT, false, offsetof(Vertex, texCoord2)},
                         {"va_Color", 4, GL_UNSIGNED_BYTE, true, offsetof(Vertex, color)}};
    format.stride = sizeof(Vertex);
    return format;
}

int flagsOf(const Material &material)
{
    return (material.isTwoSided ? PackedScene::eTwoSided : 0)
           | (material.isBlended ? PackedScene::eSorted : 0);
}

} // namespace

PackedModel::PackedModel(const Scene &scene, const ModelTextures &textures)
    : _scene(scene)
    , _textures(textures)
    , _drawables(scene.materials.size())
    , _shown(scene.materials.size(), true)
{
}

PackedModel::~PackedModel() = default;

Expected<std::unique_ptr<PackedModel>> PackedModel::create(const Scene &scene, const ModelTextures &textures,
                                                           const ModelPlans &plans)
{
    std::unique_ptr<PackedModel> model(new PackedModel(scene, textures));
    if (const Failure failure = model->fill(plans)) {
        return *failure;
    }
    return model;
}

Failure PackedModel::fill(const ModelPlans &plans)
{
    QString error;
    const auto problem = [&] { return Problem{ExitCode::eGL, error}; };
    _packed = PackedScene::create(vertexFormat(), plans.objectPlan(), &error);
    if (_packed == nullptr) {
        return problem();
    }
    while (_packed->addView() < kObservers - 1) {}
    for (int i = 0; i < int(_scene.materials.size()); ++i) { // the number is the index
        _materials.emplace_back(
            plans.newMaterial(_scene.materials[size_t(i)], i, _textures.tokens(_scene.materials[size_t(i)])));
        if (_packed->addMaterial(_materials.back().get(), &error) != i) {
            return problem();
        }
    }
    for (const Mesh &mesh : _scene.meshes) {
        const GPUModel::BoundingBox box = toModelBox(mesh.bounds);
        if (_packed->addMesh(&_scene.vertices[mesh.firstVertex], int(mesh.vertexCount),
                             &_scene.indices[mesh.firstIndex], int(mesh.indexCount), &box, &error)
            < 0) {
            return problem();
        }
    }
    for (const Draw &draw : _scene.draws) {
        const int material = _scene.meshes[size_t(draw.mesh)].material;
        const int flags = flagsOf(_scene.materialOf(draw)) | (draw.isHidden ? int(PackedScene::eHidden) : 0);
        const int drawable = _packed->add(draw.mesh, material, draw.transform, flags, &error);
        if (drawable == PackedScene::kNone) {
            return problem();
        }
        if (!draw.isHidden) {
            _drawables[size_t(material)].push_back(drawable);
        }
    }
    _packed->compact();
    return {};
}

void PackedModel::setShown(const std::vector<bool> &materials)
{
    for (size_t i = 0; i < materials.size(); ++i) {
        if (_shown[i] != materials[i]) {
            hide(int(i), !materials[i]);
        }
    }
    _shown = materials;
}

void PackedModel::draw(ShaderProgram *program, const Pass &pass)
{
    const int selected = _packed->cull(pass.frustum, pass.eye, pass.observer);
    if (pass.observer == eCamera) {
        _drawn = selected;
    }
    _packed->draw(program, _textures.manager(),
                  pass.part == ModelDrawables::eOpaque ? PackedScene::eOpaquePart : PackedScene::eSortedPart,
                  pass.winding, pass.observer);
}

QList<int> PackedModel::shownMaterials() const
{
    QList<int> materials;
    for (int i = 0; i < int(_shown.size()); ++i) {
        if (_shown[size_t(i)]) {
            materials.append(i);
        }
    }
    return materials;
}

void PackedModel::drawNumbers(ShaderProgram *program, const QMatrix4x4 &frustum, const QList<int> &materials)
{
    for (const int material : shownMaterials()) {
        hide(material, true);
    }
    const AutoEnabler stencilTest(GL_STENCIL_TEST);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    glStencilMask(255);
    for (const int material : materials) {
        glStencilFunc(GL_ALWAYS, material + 1, 255); // GL limits the number
        hide(material, false);
        _packed->cull(frustum, {}, eGhosts);
        _packed->draw(program, _textures.manager(), PackedScene::eAllParts, eWindingCCW, eGhosts);
        hide(material, true);
    }
    for (const int material : shownMaterials()) {
        hide(material, false);
    }
}

void PackedModel::hide(int material, bool isHidden)
{
    const int flags =
        flagsOf(_scene.materials[size_t(material)]) | (isHidden ? int(PackedScene::eHidden) : 0);
    for (const int drawable : _drawables[size_t(material)]) {
        _packed->setFlags(drawable, flags);
    }
}

} // namespace zeltools
