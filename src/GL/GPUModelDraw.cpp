#include "GPUModel.h"

#include "DrawBuffers.h"
#include "GLUtilities.h"
#include "TextureManager.h"
#include "private/CommandSelection.h"
#include "private/DrawBindings.h"
#include "private/DrawableMarks.h"

#include <utility>

/// \file
/// The draws of GPUModel.

namespace Orvane { namespace Zel {

namespace {

// Required: once per process each, not per context.
bool gPrimitiveRestartForDraw = false;
bool gPrimitiveRestartForDrawSimple = false;

void enablePrimitiveRestart(bool &enabled)
{
    if (!enabled) {
        enabled = true;
        glEnable(GL_PRIMITIVE_RESTART);
        glPrimitiveRestartIndex(0xFFFFFFFF);
    }
}

/// Makes what passes the depth test write the stencil reference. Returns whether the stencil test was enabled before.
bool enableStencilWrites()
{
    const bool wasEnabled = glIsEnabled(GL_STENCIL_TEST) != GL_FALSE;
    glEnable(GL_STENCIL_TEST);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
    glStencilMask(255);
    return wasEnabled;
}

void applyWinding(WindingType winding)
{
    switch (winding) {
    case eWindingDefault:
        break;
    case eWindingOff:
        glDisable(GL_CULL_FACE);
        break;
    case eWindingCCW:
        glEnable(GL_CULL_FACE);
        glFrontFace(GL_CCW);
        break;
    case eWindingCW:
        glEnable(GL_CULL_FACE);
        glFrontFace(GL_CW);
        break;
    }
}

/// What a draw asks for.
struct DrawRequest
{
    bool matches(const GPUModel::Drawable &drawable) const { return (drawable.flags & mask) == flags; }

    unsigned long long flags; ///< under the mask
    unsigned long long mask;
    WindingType winding;
    bool stencil;
};

} // namespace

/// One draw: the drawables as they were when it began, the commands that it chooses, and what it has bound.
///
/// Host code that runs meanwhile (a texture manager, a reader of images, a message handler) may change the model: the draw does
/// not see it, and what clear() and set() remove is deleted after the last running draw; see
/// GPUModelTest.HostCodeMayChangeTheModelAndTheContextDuringADraw.
class GPUModel::DrawPass
{
    Q_DISABLE_COPY(DrawPass)

public:
    DrawPass(GPUModel &model, ShaderProgram *program, TextureManager *textureManager)
        : _running(model)
        , _drawables(model._drawables)
        , _materialDrawables(model._materialDrawables)
        , _selection(model)
        , _bindings(program, textureManager)
    {
    }

    const QHash<int, QVector<int>> &materialDrawables() const { return _materialDrawables; }
    CommandSelection &selection() { return _selection; }
    DrawBindings &bindings() { return _bindings; }
    /// The result of the last drawable that drawMaterial() drew.
    bool result() const { return _result; }

    /// Returns null if there is none.
    const Drawable *drawableAt(int position) const
    {
        return unsigned(position) < unsigned(_drawables.size()) ? &_drawables.at(position) : nullptr;
    }

    void drawMaterial(int materialNumber, const DrawRequest &request)
    {
        bool stencilSet = !request.stencil; // once for each material, by the first drawable that gets there
        const QVector<int> positions = _materialDrawables.value(materialNumber);
        for (const int position : positions) {
            // 1. Drawables without work change no state.
            const Drawable *candidate = drawableAt(position);
            if (candidate == nullptr || !request.matches(*candidate)) {
                continue;
            }
            const int commands = commandCount(*candidate);
            if (commands <= candidate->culledCount) {
                continue;
            }
            // 2. Winding and stencil, where they differ. A two-sided drawable turns off culling for itself alone; see
            //    GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre.
            const WindingType winding =
                (candidate->flags & kFlagTwoSided) != 0 ? Zel::eWindingOff : request.winding;
            if (winding != _winding) {
                applyWinding(winding);
                _winding = winding;
            }
            if (!stencilSet) {
                glStencilFunc(GL_ALWAYS, materialNumber + 1, 255);
                stencilSet = true;
            }
            // 3. The commands. Required: the result is that of the last drawable, unlike in drawSimple().
            _result = drawVisible(position, *candidate, commands, winding);
        }
    }

    /// Changes what differs and draws the commands, or all of them for null.
    bool draw(const Drawable &drawable, const QVector<int> *commands)
    {
        return !_bindings.bind(drawable, commands)
               || _bindings.drawBuffers()->draw(_bindings.program(), commands);
    }

    /// Draws the commands that are visible and not culled.
    bool drawVisible(int position, const Drawable &drawable, int commands, WindingType winding)
    {
        return !_selection.sorts() && _selection.choosesAll(position, drawable, commands, winding)
                   ? drawAll(drawable, commands)
                   : drawChosen(drawable, commands, winding);
    }

    /// Sorts the commands if asked, and draws them.
    bool drawSorted(const Drawable &drawable, QVector<int> &commands)
    {
        _selection.sort(drawable, commands);
        return draw(drawable, &commands);
    }

private:
    /// Counts the draws that run, since host code may draw during a draw. The last one deletes what was removed.
    class Running
    {
        Q_DISABLE_COPY(Running)

    public:
        explicit Running(GPUModel &model)
            : _model(model)
        {
            ++_model._runningDraws;
        }
        ~Running()
        {
            if (--_model._runningDraws == 0 && !_model._removed.isEmpty()) {
                qDeleteAll(std::exchange(_model._removed, {}));
            }
        }

    private:
        GPUModel &_model;
    };

    bool drawChosen(const Drawable &drawable, int commands, WindingType winding)
    {
        _selection.choose(drawable, commands, winding);
        if (!drawSorted(drawable, _selection.chosen())) {
            return false;
        }
        if (_selection.others().isEmpty()) {
            return true;
        }
        // A mirrored command turns its faces round, so the second pass has the opposite front face.
        glFrontFace(winding == Zel::eWindingCW ? GL_CCW : GL_CW);
        const bool result = drawSorted(drawable, _selection.others());
        glFrontFace(winding == Zel::eWindingCW ? GL_CW : GL_CCW);
        return result;
    }

    /// Draws all commands of the drawable. A draw unit draws them without a list if it is the drawable's own and has no others.
    bool drawAll(const Drawable &drawable, int commands)
    {
        if (!_bindings.bind(drawable, nullptr)) {
            return true;
        }
        DrawBuffers *bound = _bindings.drawBuffers();
        return bound == drawable.drawBuffers && bound->numDrawCommands() == commands
                   ? bound->draw(_bindings.program(), nullptr)
                   : drawFirst(*bound, commands);
    }

    bool drawFirst(DrawBuffers &bound, int commands)
    {
        _selection.chooseFirst(commands);
        return bound.draw(_bindings.program(), &_selection.chosen());
    }

    const Running _running; ///< first, so that it ends last: deleting objects may run host code
    const QVector<Drawable> _drawables;
    const QHash<int, QVector<int>> _materialDrawables;
    CommandSelection _selection;
    DrawBindings _bindings;
    WindingType _winding = Zel::eWindingDefault; ///< as applied last
    bool _result = true;
};

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
                    const QList<int> &excludeMaterials, const QList<int> &materials, bool stencil)
{
    if (hasFeatureFlags(kFeatureSimple)) {
        return drawSimple(program, textureManager, flags, mask);
    }
    // 1. The state that all drawables share.
    const bool stencilWasEnabled = !stencil || enableStencilWrites();
    enablePrimitiveRestart(gPrimitiveRestartForDraw);

    // 2. The drawables by material: those of a material usually share its collection, which then stays bound.
    DrawPass pass(*this, program, textureManager);
    pass.selection().sortIfRequested(flags, viewMatrix);
    const DrawRequest request{flags & mask, mask, winding, stencil};
    const QList<int> materialNumbers = materials.isEmpty() ? pass.materialDrawables().keys() : materials;
    for (const int materialNumber : materialNumbers) {
        if (!excludeMaterials.contains(materialNumber)) {
            pass.drawMaterial(materialNumber, request);
        }
    }

    // 3. Nothing stays bound. Required: face culling ends disabled, whatever it was before; see
    //    GPUModelTest.ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre.
    pass.bindings().unbindData();
    if (!stencilWasEnabled) {
        glDisable(GL_STENCIL_TEST);
    }
    pass.bindings().unbindBuffers();
    glDisable(GL_CULL_FACE);
    return pass.result();
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask, const WindingType &winding, const QMatrix4x4 *viewMatrix,
                    bool stencil)
{
    return draw(program, textureManager, flags, mask, winding, viewMatrix, QList<int>(), QList<int>(),
                stencil);
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask, const WindingType &winding, bool stencil)
{
    return draw(program, textureManager, flags, mask, winding, nullptr, stencil);
}

bool GPUModel::draw(ShaderProgram *program, const unsigned long long &flags, const unsigned long long &mask,
                    const WindingType &winding, bool stencil)
{
    return draw(program, TextureManager::Instance(), flags, mask, winding, nullptr, stencil);
}

bool GPUModel::draw(ShaderProgram *program, TextureManager *textureManager, const unsigned long long &flags,
                    const unsigned long long &mask)
{
    return draw(program, textureManager, flags, mask, Zel::eWindingDefault, nullptr, false);
}

bool GPUModel::drawExclude(ShaderProgram *program, TextureManager *textureManager,
                           const unsigned long long &flags, const unsigned long long &mask,
                           const WindingType &winding, const QMatrix4x4 *viewMatrix,
                           const QList<int> &excludeMaterials)
{
    return draw(program, textureManager, flags, mask, winding, viewMatrix, excludeMaterials, QList<int>(),
                false);
}

bool GPUModel::drawExclude(ShaderProgram *program, const unsigned long long &flags,
                           const unsigned long long &mask, const WindingType &winding,
                           const QList<int> &excludeMaterials)
{
    return drawExclude(program, TextureManager::Instance(), flags, mask, winding, nullptr, excludeMaterials);
}

bool GPUModel::drawMaterials(ShaderProgram *program, TextureManager *textureManager,
                             const unsigned long long &flags, const unsigned long long &mask,
                             const WindingType &winding, const QMatrix4x4 *viewMatrix,
                             const QList<int> &materials)
{
    return draw(program, textureManager, flags, mask, winding, viewMatrix, QList<int>(), materials, false);
}

bool GPUModel::drawSimple(ShaderProgram *program, TextureManager *textureManager,
                          const unsigned long long &flags, const unsigned long long &mask)
{
    enablePrimitiveRestart(gPrimitiveRestartForDrawSimple);
    // No winding, no stencil, no culling marks and no order: hosts choose this form for what needs none of them.
    DrawPass pass(*this, program, textureManager);
    const bool filters = hasFeatureFlags(kFeatureFilterSimple);
    const DrawRequest request{flags & mask, mask, Zel::eWindingDefault, false};
    bool result = true;
    for (const QVector<int> &positions : pass.materialDrawables()) {
        for (const int position : positions) {
            const Drawable *candidate = pass.drawableAt(position);
            if (candidate != nullptr && (!filters || request.matches(*candidate))) {
                result = pass.draw(*candidate, nullptr) && result;
            }
        }
    }
    pass.bindings().unbindData();
    pass.bindings().unbindBuffers();
    return result;
}

bool GPUModel::drawMesh(int drawable, InstanceDataCollection *&object, InstanceDataCollection *&material,
                        TextureManager *&boundManager, VertexArrayObject *&vao, DrawBuffers *&boundBuffers,
                        ShaderProgram *program, TextureManager *textureManager,
                        const unsigned long long &flags, const WindingType &winding,
                        const QMatrix4x4 *viewMatrix, QVector<int> commands)
{
    DrawPass pass(*this, program, textureManager);
    const Drawable *drawn = pass.drawableAt(drawable);
    if (drawn == nullptr) {
        return true;
    }
    const DrawBindings::References bound(object, material, boundManager, vao, boundBuffers);
    pass.bindings().resume(bound);
    pass.selection().sortIfRequested(flags, viewMatrix);
    const bool result = commands.isEmpty() ? pass.drawVisible(drawable, *drawn, commandCount(*drawn), winding)
                                           : pass.drawSorted(*drawn, commands);
    pass.bindings().storeTo(bound);
    return result;
}

bool GPUModel::drawMesh(int drawable, QVector<int> *commands, InstanceDataCollection *&object,
                        InstanceDataCollection *&material, TextureManager *&boundManager,
                        VertexArrayObject *&vao, DrawBuffers *&boundBuffers, ShaderProgram *program,
                        TextureManager *textureManager)
{
    DrawPass pass(*this, program, textureManager);
    const Drawable *drawn = pass.drawableAt(drawable);
    if (drawn == nullptr) {
        return true;
    }
    const DrawBindings::References bound(object, material, boundManager, vao, boundBuffers);
    pass.bindings().resume(bound);
    const bool result = pass.draw(*drawn, commands);
    pass.bindings().storeTo(bound);
    return result;
}

bool GPUModel::distanceCompare(const DistanceSort &a, const DistanceSort &b)
{
    return a.distance < b.distance;
}

}} // namespace Orvane::Zel
