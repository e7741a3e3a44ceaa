#pragma once

#include "file/Outcome.h"
#include "frame/Programs.h"

#include <ZelGL/ShadowMapManager.h>

#include <QtCore/QSharedPointer>
#include <QtGui/QMatrix4x4>

#include <memory>

namespace Orvane { namespace Zel {
class BufferObject;
class DrawBuffers;
class VertexArrayObject;
}} // namespace Orvane::Zel

namespace zeltools {

/// Draws the volumes of shadow projections as lines; each light has its own colours.
///
/// Context: create, use and delete with the same context current.
class LightLines
{
    Q_DISABLE_COPY(LightLines)

public:
    static Expected<std::unique_ptr<LightLines>> create(Programs &programs);
    ~LightLines();

    /// Draws over the bound framebuffer. Hidden lines are fainter.
    void draw(const QMatrix4x4 &viewProjection, const Orvane::Zel::ShadowMapManager::RenderData &table);

private:
    explicit LightLines(ProgramPointer program);

    void upload(const Orvane::Zel::ShadowMapManager::RenderData &table);

    ProgramPointer _program;
    QSharedPointer<Orvane::Zel::BufferObject> _vertices;
    QSharedPointer<Orvane::Zel::BufferObject> _colors;
    QSharedPointer<Orvane::Zel::VertexArrayObject> _vertexArray;
    QSharedPointer<Orvane::Zel::DrawBuffers> _unit;
};

} // namespace zeltools
