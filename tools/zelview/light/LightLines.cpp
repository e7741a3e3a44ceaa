#include "light/LightLines.h"

#include "scene/Scene.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QColor>

#include <cmath>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

constexpr float kHiddenOpacity = 0.15f;

/// What a projection shows, in its own coordinates: those of shadow maps have depths from 0 to 1.
const Box kClipVolume{{-1.0f, -1.0f, 0.0f}, {1.0f, 1.0f, 1.0f}};

/// Each light has a hue; its projections have shades of that hue.
QVector3D colorOf(int light, int projection)
{
    const QColor color = QColor::fromHsvF(std::fmod(0.11 + 0.38 * light + 0.05 * projection, 1.0), 0.75, 1.0);
    return {float(color.redF()), float(color.greenF()), float(color.blueF())};
}

void append(QVector<float> &values, const QVector3D &vector)
{
    values << vector.x() << vector.y() << vector.z();
}

/// Appends the twelve edges of the volume of a projection.
void appendEdges(QVector<float> &points, const QMatrix4x4 &toWorld)
{
    for (int from = 0; from < Box::kCorners; ++from) {
        for (const int axis : {1, 2, 4}) {
            if ((from & axis) == 0) { // each edge once
                append(points, toWorld.map(kClipVolume.corner(from)));
                append(points, toWorld.map(kClipVolume.corner(from | axis)));
            }
        }
    }
}

} // namespace

LightLines::LightLines(ProgramPointer program)
    : _program(std::move(program))
{
    const QSharedPointer<OpenGLDeviceContext> device = OpenGLDeviceContext::current();
    _vertices = device->newBuffer();
    _vertices->setTarget(GL_ARRAY_BUFFER);
    _colors = device->newBuffer();
    _colors->setTarget(GL_ARRAY_BUFFER);
    _vertexArray = device->newVAO();
    _unit.reset(new DrawBuffers(nullptr));
    _unit->setVAO(_vertexArray);
    _unit->setPrimitiveType(GL_LINES);
}

LightLines::~LightLines() = default;

Expected<std::unique_ptr<LightLines>> LightLines::create(Programs &programs)
{
    Expected<ProgramPointer> program =
        programs.build({QStringLiteral("lightLines.vert")}, {QStringLiteral("lightLines.frag")});
    if (!program) {
        return program.problem();
    }
    return std::unique_ptr<LightLines>(new LightLines(*program));
}

void LightLines::draw(const QMatrix4x4 &viewProjection, const ShadowMapManager::RenderData &table)
{
    if (table.transformCount == 0) {
        return;
    }
    upload(table);
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    const AutoEnabler depthClamp(GL_DEPTH_CLAMP); // volumes may exceed the camera's near and far planes
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    const AutoBinder bound(_program.data());
    _program->setUniform(QStringLiteral("u_ViewProjection"), QVariant(viewProjection));
    _vertexArray->bind();
    _vertexArray->enableShaderProgramArrays(_program.data());
    _vertexArray->unbind();
    const AutoBinder boundUnit(_unit.data());
    for (const bool isHidden : {true, false}) {
        glDepthFunc(isHidden ? GL_GEQUAL : GL_LESS);
        _program->setUniform(QStringLiteral("u_Opacity"), QVariant(isHidden ? kHiddenOpacity : 1.0f));
        _unit->draw(_program.data());
    }
    glDepthMask(GL_TRUE);
}

void LightLines::upload(const ShadowMapManager::RenderData &table)
{
    QVector<float> points;
    QVector<float> colors;
    for (int light = 0; light < table.lightCount; ++light) {
        const auto &run = table.projectorInfos.at(light);
        for (int i = 0; i < run.count; ++i) {
            appendEdges(points,
                        QMatrix4x4(table.transforms.at(run.index + i).values.data()).transposed().inverted());
            while (colors.size() < points.size()) {
                append(colors, colorOf(light, i));
            }
        }
    }
    _vertexArray->upload(QStringLiteral("va_Vertex"), _vertices, points, 3, GL_DYNAMIC_DRAW);
    _vertexArray->upload(QStringLiteral("va_Color"), _colors, colors, 3, GL_DYNAMIC_DRAW);
    _unit->setVertexCount(unsigned(points.size() / 3));
}

} // namespace zeltools
