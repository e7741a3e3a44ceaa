#pragma once

#include "DrawRecords.h"
#include "ModelTextures.h"
#include "Options.h"
#include "Outcome.h"
#include "Programs.h"

#include <QtCore/QVector>
#include <QtGui/QVector3D>

#include <memory>
#include <vector>

namespace Orvane { namespace Zel {
class BufferObject;
class DrawBuffers;
class Texture;
class VertexArrayObject;
}} // namespace Orvane::Zel

namespace zelview {

class Environment;
class OrbitCamera;
struct Scene;

/// Draws a scene: all geometry in one vertex array, what differs from draw to draw in uniform blocks, found by draw ID.
///
/// On the plain path each block has one draw unit, with a sub-draw for each draw; on the base-instance path every draw is
/// a unit. The picture is the same.
///
/// Context: create, use and delete with one and the same context current.
class ModelRenderer
{
    Q_DISABLE_COPY(ModelRenderer)

public:
    /// The scene is borrowed and must outlive the renderer.
    ///
    /// Errors: ExitCode::eGL when the driver does not support the manager.
    static Expected<std::unique_ptr<ModelRenderer>> create(const Scene &scene, const Options &options,
                                                           ManagerKind manager, bool hasEnvironment);
    ~ModelRenderer();

    /// The frame's first half: the opaque draws' normals and distances, for AmbientOcclusion.
    void drawGeometry(const OrbitCamera &camera, float aspect);
    /// The second, with the same camera: into the bound framebuffer, opaque draws first.
    void draw(const OrbitCamera &camera, Orvane::Zel::Texture *occlusion, Environment *environment,
              float exposure);

    /// Builds what drawSlots() takes, unless that is done.
    Failure prepareSlots();
    /// The texture manager's view of itself, over the bound framebuffer.
    void drawSlots();

    ManagerKind manager() const { return _textures.kind(); }

    /// Textures that could not be read, in words.
    const QStringList &remarks() const { return _textures.remarks(); }

    /// The counters of the last draw().
    QString describeFrame() const;

private:
    ModelRenderer(const Scene &scene, const Options &options, ManagerKind manager, int blockLimit);

    using UnitPointer = QSharedPointer<Orvane::Zel::DrawBuffers>;

    Failure buildPrograms();
    Failure build(ProgramPointer &program, const QStringList &vertexFiles, const QString &fragmentFile);
    void uploadGeometry();
    void sortOutDraws();
    UnitPointer newUnit() const;
    UnitPointer newUnitOfBlock(int block) const;
    UnitPointer newUnitOfDraw(int draw, int drawID) const;

    void uploadFrame(const OrbitCamera &camera, float aspect);
    void sortBlended(const QVector3D &eye);
    void drawInOrder(Orvane::Zel::ShaderProgram *program, const std::vector<int> &draws);
    int textureOf(int draw) const;
    int runOf(int draw) const;
    void drawRun(Orvane::Zel::ShaderProgram *program, int block, int texture, const QVector<int> &drawIDs);
    void drawUnit(Orvane::Zel::ShaderProgram *program, Orvane::Zel::DrawBuffers *unit,
                  const QVector<int> *commands);

    const Scene &_scene;
    DrawIDPath _drawIDPath;
    Programs _programs; ///< with the defines of its texture manager
    ProgramPointer _geometryProgram;
    ProgramPointer _program;
    ProgramPointer _slotsProgram; ///< null until it is wanted
    ModelTextures _textures;
    DrawRecords _records;
    QSharedPointer<Orvane::Zel::UniformBufferObject> _frame;
    QSharedPointer<Orvane::Zel::VertexArrayObject> _vertexArray;
    QSharedPointer<Orvane::Zel::BufferObject> _indexBuffer;
    std::vector<UnitPointer> _units; ///< by block, or by draw on the base-instance path

    std::vector<int> _opaque; ///< draws, by texture
    std::vector<int> _blended;
    std::vector<QVector3D> _centers; ///< of all draws, in the world

    Orvane::Zel::DrawBuffers *_boundUnit = nullptr; ///< while drawing
    qint64 _calls = 0;
    qint64 _batches = 0;
    qint64 _indices = 0;
};

} // namespace zelview
