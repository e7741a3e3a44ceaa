#pragma once

#include <ZelGL/GPUModel.h>

#include <QtCore/QHash>
#include <QtCore/QList>

#include <vector>

namespace Orvane { namespace Zel {
class ShaderProgram;
class TextureManager;
}} // namespace Orvane::Zel

namespace zelview {

/// Draws the drawables without commands, which GPUModel::draw() skips: one by one, by GPUModel::drawMesh(). The host must
/// handle visibility, winding and stencil of such drawables itself.
class DrawUnitList
{
public:
    struct Unit
    {
        int drawable;
        int transform;
        bool isTwoSided;
    };

    void add(int number, const Unit &unit);

    /// Draws the units of these material numbers whose transforms are visible. Leaves nothing bound, and GL_CULL_FACE disabled.
    void draw(Orvane::Zel::GPUModel &model, Orvane::Zel::ShaderProgram *program,
              Orvane::Zel::TextureManager *manager, const QList<int> &numbers, bool writesStencil,
              Orvane::Zel::WindingType winding) const;

private:
    QHash<int, std::vector<Unit>> _units; ///< by material number
};

} // namespace zelview
