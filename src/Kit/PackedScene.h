#pragma once

#include "KitExport.h"

#include <ZelGL/GPUModel.h>

#include <memory>

namespace Orvane { namespace Zel {
class InstanceDataPlan;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

/// A scene of many drawables, drawn by one GL call for each material.
///
/// Meshes share one vertex and one index buffer. A drawable is a mesh with a material, a world matrix and flags. Its object data
/// are an item of the plan, at the index getDrawID(), with the members that GPUModel writes: "ModelMatrix", and if the plan has
/// them "PreviousModelMatrix", "InverseModelMatrix" and "ModelNormalMatrix". Material data are item 0 of the material's collection.
///
/// Programs that are linked with DrawBuffers::useBaseInstanceDrawing() are drawn by glMultiDrawElementsIndirect(), others, and all
/// on drivers without that function, by the sub-draws of DrawBuffers. The pictures are the same.
///
/// The order of a frame: setTransform(), cull() or selectAll(), any number of draws, updatePreviousMatrices(). A view stores one
/// selection: passes with cameras of their own have a view each. A draw after other changes of the scene selects again.
///
/// A steady frame allocates no memory, except in texture managers. Its GL calls:
/// - commands, at the first indirect draw after the selection has changed: a fence and a wait for the one of three frames before,
///   or without GL_ARB_buffer_storage a map and an unmap of the buffer;
/// - a draw: those that bind the vertex array, each material and its object data; uploads of changed object data; one call for each
///   material, up to three if it has mirrored and two-sided drawables; front face and culling where they change, and with
///   eWindingDefault a query of culling before two-sided drawables.
///
/// \snippet kit.cpp PackedScene
///
/// - Units: the host's unit of length; offsets and strides in bytes.
/// - Context: construct, use and delete with the same context current.
/// - Errors: a call with a wrong argument changes nothing and returns -1 or false. The reason goes to `error`, or is logged.
class ZELKIT_EXPORT PackedScene
{
    Q_DISABLE_COPY(PackedScene)

public:
    /// As VertexArrayObject::registerBO() takes it.
    struct Attribute
    {
        QString name;
        int components;
        unsigned int type;
        bool normalized;
        unsigned int offset; ///< in a vertex
    };

    /// The same for all meshes of a scene.
    struct Format
    {
        QVector<Attribute> attributes;
        unsigned int stride = 0;           ///< size of a vertex
        unsigned int primitiveType = 4;    ///< GL_TRIANGLES
        unsigned int indexType = 0x1405;   ///< GL_UNSIGNED_INT; GL_UNSIGNED_SHORT halves the indices
        bool usesPersistentMapping = true; ///< of commands, if the driver has it
    };

    enum Flag {
        eHidden = 1,
        eTwoSided = 2, ///< drawn without face culling
        eSorted = 4    ///< drawn by eSortedPart, farthest first
    };

    enum Part {
        eAllParts,   ///< the sorted part last
        eOpaquePart, ///< material after material
        eSortedPart
    };

    static constexpr int kNone = -1;

    /// \a objects is registered and outlives the scene. Its array size limits the drawables of a call, not of a material.
    static std::unique_ptr<PackedScene> create(const Format &format, Zel::InstanceDataPlan *objects,
                                               QString *error = nullptr);
    ~PackedScene();

    // Numbers identify meshes, materials and drawables. Those of removed ones are refused.

    /// Copies a mesh. Without \a box its box is that of the attribute "va_Vertex", which must have three floats then.
    int addMesh(const void *vertices, int vertexCount, const quint32 *indices, int indexCount,
                const Zel::GPUModel::BoundingBox *box = nullptr, QString *error = nullptr);
    /// No drawable may use it.
    bool removeMesh(int mesh, QString *error = nullptr);
    /// The caller keeps \a data, which may be null, until the material is removed.
    int addMaterial(Zel::InstanceDataCollection *data, QString *error = nullptr);
    /// No drawable may use it.
    bool removeMaterial(int material, QString *error = nullptr);

    int add(int mesh, int material, const QMatrix4x4 &world, int flags = 0, QString *error = nullptr);
    bool remove(int drawable, QString *error = nullptr);
    /// The present matrix becomes the previous one.
    bool setTransform(int drawable, const QMatrix4x4 &world, QString *error = nullptr);
    bool setFlags(int drawable, int flags, QString *error = nullptr);
    /// Sets a member that the scene does not write.
    bool setObjectData(int drawable, const QString &member, const void *data, unsigned long size,
                       QString *error = nullptr);
    /// Makes the matrices of what has moved the previous ones. Call it once a frame, after the draws.
    void updatePreviousMatrices();
    int drawableCount() const;

    /// Closes the gaps that removals left in buffers and object data, by copies on the GPU, which no side waits for.
    bool compact(QString *error = nullptr);

    /// View 0 exists.
    int addView();
    /// Selects the drawables that are not hidden and not outside of the frustum, and returns their number. Of sorted ones the box
    /// whose centre is farthest from \a eye is drawn first.
    int cull(const QMatrix4x4 &viewProjection, const QVector3D &eye = {}, int view = 0,
             QString *error = nullptr);
    /// The same without a frustum.
    int selectAll(const QVector3D &eye = {}, int view = 0, QString *error = nullptr);

    /// Draws the selection of a view; bind the program first. Mirrored drawables have the opposite front face with eWindingCCW and
    /// eWindingCW. Ends with face culling disabled, like GPUModel::draw(), and with nothing bound.
    bool draw(Zel::ShaderProgram *program, Zel::TextureManager *textureManager, Part part = eAllParts,
              Zel::WindingType winding = Zel::eWindingCCW, int view = 0, QString *error = nullptr);

    // Estimates in bytes, without the collections of materials.

    quint64 memoryEstimateCPU() const;
    quint64 memoryEstimateGPU() const;

private:
    class Data;

    ZELKIT_NO_EXPORT explicit PackedScene(std::unique_ptr<Data> data);

    std::unique_ptr<Data> _data;
};

}} // namespace Orvane::ZelKit
