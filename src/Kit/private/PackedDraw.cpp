#include "PackedDraw.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

const void *bufferOffset(quint64 bytes)
{
    return reinterpret_cast<const void *>(bytes);
}

} // namespace

/// A program with "u_DrawID" was linked without base instance drawing, so only the uniform reaches it.
PackedDraw::Path PackedDraw::pathFor(const ShaderProgram &program, Path best)
{
    return program.getUniformLocationNameID() >= 0 ? eSubDraws : best;
}

PackedDraw::Path PackedDraw::bestPath()
{
    if (!DrawBuffers::isBaseInstanceDrawingSupported()) {
        return eSubDraws;
    }
    const bool hasIndirect = openGlVersionSupported(4, 3) || hasGLExtension("GL_ARB_multi_draw_indirect");
    return hasIndirect && glMultiDrawElementsIndirect != nullptr ? eIndirect : eBaseInstance;
}

PackedDraw::PackedDraw(PackedGeometry &geometry, PackedView &view, Path path, ShaderProgram *program,
                       TextureManager *textureManager, WindingType winding)
    : _geometry(geometry)
    , _view(view)
    , _path(path)
    , _program(program)
    , _textureManager(textureManager)
    , _winding(winding)
    , _unit(&geometry.unit())
{
    _unit->bind();
    _unit->VAO()->enableShaderProgramArrays(program);
    if (path == eIndirect) {
        view.commands().bind();
    }
    if (winding == eWindingOff) {
        glDisable(GL_CULL_FACE);
    }
}

PackedDraw::~PackedDraw()
{
    if (_batch != nullptr) {
        if (_textureManager != nullptr) {
            _textureManager->unbind(_program);
        }
        _batch->unbind(_program, _textureManager);
    }
    if (_material != nullptr) {
        _material->unbind(_program, _textureManager);
    }
    if (_path == eIndirect) {
        _view.commands().unbind();
    }
    _unit->unbind();
    if (_winding == eWindingDefault) {
        setFaces(PackedBatch::eFront); // the host's culling
        return;
    }
    glFrontFace(GL_CCW);
    glDisable(GL_CULL_FACE);
}

bool PackedDraw::draw(const PackedView::Run &run, InstanceDataCollection *material, QVector<int> &numbers)
{
    if (run.batch != _batch) {
        bindData(*run.batch, material);
    }
    setFaces(run.faces);
    switch (_path) {
    case eIndirect:
        glMultiDrawElementsIndirect(
            _geometry.format().primitiveType, _geometry.format().indexType,
            bufferOffset(_view.commands().offset() + quint64(run.first) * sizeof(CommandRing::Command)),
            run.count, sizeof(CommandRing::Command));
        return true;
    case eBaseInstance:
        return drawEach(run);
    case eSubDraws:
        break;
    }
    DrawBuffers &unit = run.batch->subDraws(_geometry);
    if (!unit.rebind(_unit)) { // no GL call: all units share the vertex array and the index buffer
        return false;
    }
    _unit = &unit;
    numbers.resize(run.count);
    std::copy_n(_view.numbers(run), run.count, numbers.begin());
    return unit.drawDrawID(_program, &numbers);
}

void PackedDraw::bindData(PackedBatch &batch, InstanceDataCollection *material)
{
    if (material != _material) {
        if (_material != nullptr) {
            _material->unbind(_program, _textureManager);
        }
        if (material != nullptr) {
            material->bind(_program, _textureManager);
        }
        _material = material;
    }
    if (_batch != nullptr) {
        _batch->unbind(_program, _textureManager);
        if (_textureManager != nullptr) {
            _textureManager->unbind(_program);
        }
    }
    _batch = &batch;
    batch.bind(_program, _textureManager);
    // Last, because only this sends the tokens of the collections to the program.
    if (_textureManager != nullptr) {
        _textureManager->bind(_program);
    }
}

void PackedDraw::setFaces(PackedBatch::Faces faces)
{
    if (faces == _faces || _winding == eWindingOff) {
        return;
    }
    const bool usesHostState = _winding == eWindingDefault;
    if (faces == PackedBatch::eTwoSided) {
        _culls = !usesHostState || glIsEnabled(GL_CULL_FACE) != GL_FALSE;
        glDisable(GL_CULL_FACE);
    } else if (usesHostState ? _faces == PackedBatch::eTwoSided && _culls
                             : _faces == -1 || _faces == PackedBatch::eTwoSided) {
        glEnable(GL_CULL_FACE);
    }
    if (!usesHostState && faces != PackedBatch::eTwoSided) {
        glFrontFace(faces == PackedBatch::eMirrored ? GL_CW : GL_CCW);
    }
    _faces = faces;
}

/// For drivers with base instances but without indirect draws of several commands.
bool PackedDraw::drawEach(const PackedView::Run &run)
{
    for (int i = 0; i < run.count; ++i) {
        const int slot = _view.numbers(run)[i];
        const PackedBatch::Command &command = run.batch->commands()[slot];
        _unit->setIndexedDraw(_unit->indexBO(), int(command.count), _unit->indexType());
        _unit->setIndexBufferOffset(command.firstIndex
                                    * quint64(bytesFromInternalFormat(_unit->indexType())));
        _unit->setBaseVertex(int(command.baseVertex));
        _unit->setDrawIDBase(slot);
        if (!_unit->drawBaseInstance(nullptr)) {
            return false;
        }
    }
    return true;
}

}} // namespace Orvane::ZelKit
