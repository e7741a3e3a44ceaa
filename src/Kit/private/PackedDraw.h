#pragma once

#include "PackedView.h"

namespace Orvane { namespace ZelKit {

/// One draw of a view: binds what differs from run to run. Nothing stays bound.
class PackedDraw
{
    Q_DISABLE_COPY(PackedDraw)

public:
    /// How draw IDs reach a program: in the base instance of indirect commands or of single draws, or in a uniform.
    enum Path { eIndirect, eBaseInstance, eSubDraws };

    /// Of the driver.
    static Path bestPath();
    static Path pathFor(const Zel::ShaderProgram &program, Path best);

    PackedDraw(PackedGeometry &geometry, PackedView &view, Path path, Zel::ShaderProgram *program,
               Zel::TextureManager *textureManager, Zel::WindingType winding);
    ~PackedDraw();

    /// \a material is that of the batch. Returns false if GL refuses.
    bool draw(const PackedView::Run &run, Zel::InstanceDataCollection *material, QVector<int> &numbers);

private:
    void bindData(PackedBatch &batch, Zel::InstanceDataCollection *material);
    void setFaces(PackedBatch::Faces faces);
    bool drawEach(const PackedView::Run &run);

    PackedGeometry &_geometry;
    PackedView &_view;
    const Path _path;
    Zel::ShaderProgram *const _program;
    Zel::TextureManager *const _textureManager;
    const Zel::WindingType _winding;
    Zel::DrawBuffers *_unit;
    Zel::InstanceDataCollection *_material = nullptr;
    PackedBatch *_batch = nullptr;
    int _faces = -1; ///< as set last
    bool _culls =
        true; ///< whether faces are culled outside of two-sided runs; known after the first of these
};

}} // namespace Orvane::ZelKit
