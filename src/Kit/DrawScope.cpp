#include "DrawScope.h"

#include "EnvironmentLight.h"
#include "ShadowLayers.h"
#include "private/Failure.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

/// Whether the data can be bound with this manager; logs why not.
bool isUsable(const InstanceDataCollection *collection, const TextureManager *manager)
{
    if (collection == nullptr || collection->plan() == nullptr) {
        fail(nullptr,
             QStringLiteral("nothing is drawn: the instance data are null or have no registered plan"));
        return false;
    }
    if (manager == nullptr && !collection->plan()->textureTokenOffsets().isEmpty()) {
        fail(nullptr, QStringLiteral("nothing is drawn: the plan '%1' has texture tokens, so the draw scope "
                                     "needs the texture manager")
                          .arg(collection->plan()->name()));
        return false;
    }
    return true;
}

} // namespace

DrawScope::DrawScope(ShaderProgram *program, Collections collections, TextureManager *manager)
    : _program(program)
    , _manager(manager)
{
    if (program == nullptr || !program->isLinked()) {
        fail(nullptr,
             QStringLiteral("nothing is drawn: the program of the draw scope is null or not linked"));
        return;
    }
    if (!program->bind()) {
        return;
    }
    _isBound = bindData(collections);
    if (!_isBound) {
        program->unbind();
    }
}

DrawScope::~DrawScope()
{
    if (!_isBound) {
        return;
    }
    unbindAll();
}

void DrawScope::unbindAll()
{
    if (_unit != nullptr) {
        _unit->unbind();
    }
    if (_environment != nullptr) {
        _environment->unbind();
    }
    if (_shadows != nullptr) {
        _shadows->unbind(_program);
    }
    unbindData();
    _program->unbind();
    _isBound = false;
}

bool DrawScope::setCollections(Collections collections)
{
    if (!_isBound) {
        return false;
    }
    unbindData();
    if (bindData(collections)) {
        return true;
    }
    _manager = nullptr; // is not bound
    unbindAll();
    return false;
}

bool DrawScope::use(ShadowLayers *lights)
{
    return useLights(lights, &_shadows);
}

bool DrawScope::use(EnvironmentLight *light)
{
    return useLights(light, &_environment);
}

template <typename Lights> bool DrawScope::useLights(Lights *lights, Lights **bound)
{
    if (!_isBound) {
        return false;
    }
    if (lights == nullptr) {
        return true;
    }
    if (*bound != nullptr) {
        fail(nullptr, QStringLiteral("the draw scope has such lights already"));
        return false;
    }
    if (!lights->bind(_program)) {
        return false;
    }
    *bound = lights;
    return true;
}

bool DrawScope::draw(DrawBuffers *unit, const QVector<int> *commands)
{
    if (!_isBound) {
        return false;
    }
    if (unit == nullptr || unit->VAO().isNull()) {
        fail(nullptr, QStringLiteral("nothing is drawn: the draw unit is null or has no vertex array"));
        return false;
    }
    if (!unit->rebind(_unit)) {
        _unit = nullptr; // a failed rebind leaves none bound
        return false;
    }
    _unit = unit;
    return unit->VAO()->enableShaderProgramArrays(_program) && unit->draw(_program, commands);
}

bool DrawScope::bindData(Collections collections)
{
    for (InstanceDataCollection *collection : collections) {
        if (!isUsable(collection, _manager) || !collection->bind(_program, _manager)) {
            while (!_collections.isEmpty()) {
                _collections.last()->unbind(_program, _manager);
                _collections.removeLast();
            }
            return false;
        }
        _collections.append(collection);
    }
    if (_manager != nullptr) {
        _manager->bind(_program);
    }
    return true;
}

void DrawScope::unbindData()
{
    if (_manager != nullptr) {
        _manager->unbind(_program);
    }
    while (!_collections.isEmpty()) {
        _collections.last()->unbind(_program, _manager);
        _collections.removeLast();
    }
}

}} // namespace Orvane::ZelKit
