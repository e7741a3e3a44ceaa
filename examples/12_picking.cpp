// Picking: a click finds the object under the mouse, and the point that it shows.
//
// Picker draws into a framebuffer of one pixel, whose stencil receives the numbers of objects. Its projection magnifies the
// pixel of the mouse to this framebuffer. The host draws as always, with the stencil set to the number of each object plus
// one. Here the picked cube is white, and rings surround the point.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>
#include <ZelKit/Picker.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kColumns = 24;
constexpr int kCubes = kColumns * 15;

class City : public Show
{
public:
    City()
        : _cubes(makeCube(kCubes))
    {
        GLSLMacroProcessor processor;
        processor.addDefine("COLUMNS", QString::number(kColumns));
        _program = makeProgram("12_picking.vert", "12_picking.frag", nullptr, &processor);
    }

    void click(const QPoint &pixel, const QSize &viewport) override
    {
        const QMatrix4x4 closeUp = Picker::closeUp(_viewProjection, pixel, viewport);
        QList<int> numbers;
        for (int i = 0; i < kCubes; ++i) {
            numbers << i;
        }
        glEnable(GL_STENCIL_TEST);
        glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
        const auto hit = _picker.find(closeUp, numbers, [&](const QList<int> &asked) {
            DrawScope scope(_program.get());
            setUniforms(closeUp);
            for (const int number : asked) {
                const QVector<int> command{number};
                glStencilFunc(GL_ALWAYS, qMin(number + 1, 255), 255);
                scope.draw(_cubes.get(), &command);
            }
        });
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
        glDisable(GL_STENCIL_TEST);
        _picked = hit ? hit->number : -1;
        _point = hit ? hit->position : QVector3D(0.0f, -1000.0f, 0.0f);
    }

    void prepare(float aspect, float) override
    {
        const QVector3D center(0.0f, 0.6f, 0.4f);
        _viewProjection = viewProjection(26.0f, aspect, movedEye({-7.0f, 19.0f, 31.0f}, center), center);
        if (!_wasClicked) { // the first picture shows what a click would do
            _wasClicked = true;
            click({545, 262}, {960, 540});
        }
    }

    void draw(float, float) override
    {
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        setUniforms(_viewProjection);
        scope.draw(_cubes.get());
    }

private:
    void setUniforms(const QMatrix4x4 &projection)
    {
        _program->setUniform("u_ViewProjection", projection);
        _program->setUniform("u_Picked", _picked);
        _program->setUniform("u_Point", _point);
    }

    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _cubes;
    Picker _picker;
    QMatrix4x4 _viewProjection;
    int _picked = -1;
    QVector3D _point{0.0f, -1000.0f, 0.0f};
    bool _wasClicked = false;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<City>(); });
}
