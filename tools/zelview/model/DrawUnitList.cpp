#include "model/DrawUnitList.h"

#include <ZelGL/ZelGL.h>

#include <optional>

using namespace Orvane::Zel;

namespace zelview {

namespace {

/// The bindings that consecutive draws of a model share.
class BoundState
{
public:
    BoundState(GPUModel &model, ShaderProgram *program, TextureManager *manager)
        : _model(model)
        , _program(program)
        , _manager(manager)
    {
    }

    void draw(int drawable)
    {
        _model.drawMesh(drawable, nullptr, _object, _material, _boundManager, _vertexArray, _buffers,
                        _program, _manager);
    }

    void release()
    {
        if (_boundManager != nullptr) {
            _boundManager->unbind(_program);
        }
        for (InstanceDataCollection *data : {_material, _object}) {
            if (data != nullptr) {
                data->unbind(_manager);
            }
        }
        if (_buffers != nullptr) {
            _buffers->unbind();
        }
    }

private:
    GPUModel &_model;
    ShaderProgram *_program;
    TextureManager *_manager;
    InstanceDataCollection *_object = nullptr;
    InstanceDataCollection *_material = nullptr;
    TextureManager *_boundManager = nullptr;
    VertexArrayObject *_vertexArray = nullptr;
    DrawBuffers *_buffers = nullptr;
};

void setWinding(bool isTwoSided, bool isMirrored)
{
    if (isTwoSided) {
        glDisable(GL_CULL_FACE);
    } else {
        glEnable(GL_CULL_FACE);
        glFrontFace(isMirrored ? GL_CW : GL_CCW);
    }
}

} // namespace

void DrawUnitList::add(int number, const Unit &unit)
{
    _units[number].push_back(unit);
}

void DrawUnitList::draw(GPUModel &model, ShaderProgram *program, TextureManager *manager,
                        const QList<int> &numbers, bool writesStencil, WindingType winding) const
{
    BoundState state(model, program, manager);
    if (writesStencil) {
        glEnable(GL_STENCIL_TEST);
        glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
        glStencilMask(255);
    }
    for (const int number : numbers) {
        if (writesStencil) {
            glStencilFunc(GL_ALWAYS, number + 1, 255);
        }
        const auto units = _units.constFind(number);
        if (units == _units.constEnd()) {
            continue;
        }
        for (const Unit &unit : *units) {
            if (model.isVisible(unit.transform)) {
                setWinding(unit.isTwoSided || winding == eWindingOff,
                           GPUModel::SwapsHandedness(model.worldTransform(unit.transform)));
                state.draw(unit.drawable);
            }
        }
    }
    state.release();
    glDisable(GL_CULL_FACE);
    if (writesStencil) {
        glDisable(GL_STENCIL_TEST);
    }
}

} // namespace zelview
