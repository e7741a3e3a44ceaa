#pragma once

#include "../DrawBuffers.h"
#include "../GPUModel.h"
#include "../InstanceDataCollection.h"
#include "../ShaderProgram.h"
#include "../TextureManager.h"
#include "../VertexArrayObject.h"
#include "ContextHold.h"

#include <optional>
#include <tuple>

namespace Orvane { namespace Zel {

/// What a draw has bound so far. Each drawable binds only what differs from the one before.
///
/// The functions that each drawable calls are inline: in the source file they cost a draw up to 44 instructions more; see the
/// scene rows in benchmarks/README.md.
///
/// Context: that of the bound objects. It is held, and the current program remembered, except with a texture manager of a class
///          of the host, whose code may change both; see GPUModelTest.HostCodeMayChangeTheModelAndTheContextDuringADraw.
/// Private to the library; a part of GPUModel's draws.
class DrawBindings
{
    Q_DISABLE_COPY(DrawBindings)

public:
    /// The caller's references of GPUModel::drawMesh().
    using References = std::tuple<InstanceDataCollection *&, InstanceDataCollection *&, TextureManager *&,
                                  VertexArrayObject *&, DrawBuffers *&>;

    DrawBindings(ShaderProgram *program, TextureManager *textureManager);

    /// Continues after a draw whose bindings the caller kept.
    void resume(const References &bound);
    void storeTo(References bound) const;

    /// Changes what differs. Returns false if there is nothing to draw.
    bool bind(const GPUModel::Drawable &drawable, const QVector<int> *commands)
    {
        // Checked first: a drawable without work changes no state.
        if (drawable.drawBuffers != nullptr && !drawable.drawBuffers->willDraw(_program, commands)) {
            return false;
        }
        if (drawable.materialData != _material || drawable.objectData != _object
            || _textureManager != _boundManager) {
            bindData(drawable);
        }
        return drawable.drawBuffers != nullptr && bindBuffers(*drawable.drawBuffers);
    }

    /// Returns the bound draw unit. If that of the last drawable could not be bound, it is an earlier one.
    DrawBuffers *drawBuffers() const { return _drawBuffers; }
    ShaderProgram *program() const { return _program; }

    void unbindData();
    void unbindBuffers();

private:
    /// Returns the program that collections are bound to, as InstanceDataCollection::bind(TextureManager *) does. It may differ
    /// from the program of the draw.
    ShaderProgram *currentProgram() const
    {
        return _contextHold ? _currentProgram : ShaderProgram::currentShaderProgram();
    }

    void bindData(const GPUModel::Drawable &drawable)
    {
        const bool materialBound = switchTo(_material, drawable.materialData);
        const bool objectBound = switchTo(_object, drawable.objectData);
        if (!materialBound && !objectBound && _textureManager == _boundManager) {
            return;
        }
        // The manager is bound again even if it is the same: only this sends the tokens of a new collection to the shader; see
        // GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre.
        if (_boundManager != nullptr) {
            _boundManager->unbind(_program);
        }
        _boundManager = _textureManager;
        if (_textureManager != nullptr) {
            _textureManager->bind(_program);
        }
    }

    /// Returns true if another collection was bound.
    bool switchTo(InstanceDataCollection *&current, InstanceDataCollection *wanted)
    {
        if (wanted == current) {
            return false;
        }
        if (current != nullptr) {
            current->unbind(currentProgram(), _textureManager);
        }
        current = wanted;
        if (wanted != nullptr) {
            wanted->bind(currentProgram(), _textureManager);
        }
        return wanted != nullptr;
    }

    /// Returns false if no draw unit is bound. If \a wanted cannot be bound, the one before stays in use. That is required; see
    /// GPUModelTest.EachFormOfADrawTakesItsDrawables.
    bool bindBuffers(DrawBuffers &wanted)
    {
        if (&wanted != _drawBuffers && wanted.rebind(_drawBuffers)) {
            _drawBuffers = &wanted;
        }
        if (_drawBuffers == nullptr) {
            return false;
        }
        VertexArrayObject *vao = _drawBuffers->_vao.data(); // VAO() would count a reference
        if (vao != _vao) {
            _vao = vao;
            if (vao != nullptr) {
                vao->enableShaderProgramArrays(_program);
            }
        }
        return true;
    }

    std::optional<ContextHold> _contextHold;
    InstanceDataCollection *_object = nullptr;
    InstanceDataCollection *_material = nullptr;
    TextureManager *_boundManager = nullptr;
    VertexArrayObject *_vao = nullptr;
    DrawBuffers *_drawBuffers = nullptr;
    ShaderProgram *const _program;
    ShaderProgram *_currentProgram = nullptr; ///< while the context is held
    TextureManager *const _textureManager;
};

}} // namespace Orvane::Zel
