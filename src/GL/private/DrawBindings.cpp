#include "DrawBindings.h"

#include "../Array2DTextureManager.h"
#include "../BindlessTextureManager.h"
#include "../SamplerTextureManager.h"

#include <typeinfo>

namespace Orvane { namespace Zel {

namespace {

/// Whether no code of the host can run in the manager.
bool isOfLibrary(const TextureManager *manager)
{
    if (manager == nullptr) {
        return true;
    }
    // The exact classes: a subclass of the host may override what a draw calls.
    const std::type_info &type = typeid(*manager);
    return type == typeid(SamplerTextureManager) || type == typeid(BindlessTextureManager)
           || type == typeid(Array2DTextureManager);
}

} // namespace

DrawBindings::DrawBindings(ShaderProgram *program, TextureManager *textureManager)
    : _program(program)
    , _textureManager(textureManager)
{
    if (isOfLibrary(textureManager)) {
        _contextHold.emplace();
        _currentProgram = ShaderProgram::currentShaderProgram();
    }
}

void DrawBindings::resume(const References &bound)
{
    std::tie(_object, _material, _boundManager, _vao, _drawBuffers) = bound;
    // The draw unbinds the caller's manager, which may visit another context meanwhile.
    if (!isOfLibrary(_boundManager)) {
        _contextHold.reset();
    }
}

void DrawBindings::storeTo(References bound) const
{
    bound = std::tie(_object, _material, _boundManager, _vao, _drawBuffers);
}

void DrawBindings::unbindData()
{
    if (_boundManager != nullptr) {
        _boundManager->unbind(_program);
    }
    for (InstanceDataCollection *collection : {_material, _object}) {
        if (collection != nullptr) {
            collection->unbind(currentProgram(), _textureManager);
        }
    }
}

void DrawBindings::unbindBuffers()
{
    if (_drawBuffers != nullptr) {
        _drawBuffers->unbind();
    }
}

}} // namespace Orvane::Zel
