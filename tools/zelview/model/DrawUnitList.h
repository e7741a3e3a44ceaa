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

/// Draws what GPUModel::draw() passes over, drawables without commands: one by one, with the model's own state changes.
/// The model leaves transforms, winding and stencil of such drawables to their host.
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

    /// Those of these material numbers whose transforms are visible. Leaves nothing bound, and GL_CULL_FACE off.
    void draw(Orvane::Zel::GPUModel &model, Orvane::Zel::ShaderProgram *program,
              Orvane::Zel::TextureManager *manager, const QList<int> &numbers, bool writesStencil,
              Orvane::Zel::WindingType winding) const;

private:
    QHash<int, std::vector<Unit>> _units; ///< by material number
};

} // namespace zelview
