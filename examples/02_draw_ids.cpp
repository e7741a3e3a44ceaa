// One draw unit with many sub-draws, distinguished by their draw ID.
//
// A DrawBuffers holds one cube and a list of commands that all draw it. draw() takes the indices of the commands to draw,
// here those of a moving wave. In the shader, getDrawID() of the library's ZelUtilities returns the index of the command.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/DrawScope.h>

using namespace Orvane::Zel;
using Orvane::ZelKit::DrawScope;

namespace {

constexpr int kColumns = 24;
constexpr int kRows = 13;

const char kVertex[] = R"(#version 150
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
uniform mat4 u_ViewProjection;
uniform float u_Seconds;
flat out vec3 vo_Color;

void main()
{
    uint id = getDrawID();
    vec2 place = vec2(id % uint(COLUMNS), id / uint(COLUMNS)) - 0.5 * vec2(COLUMNS - 1, ROWS - 1);
    float wave = sin(0.5 * length(place) - 2.0 * u_Seconds);
    vec3 position = va_Vertex * 0.42 + vec3(place.x, 1.1 * wave, place.y);
    vec3 hue = 0.5 + 0.5 * cos(6.2831853 * (0.6 + 0.055 * length(place) + vec3(0.0, 0.33, 0.67)));
    vo_Color = mix(hue, vec3(1.0), 0.25 + 0.2 * wave) * (0.55 + 0.45 * dot(va_Normal, normalize(vec3(0.3, 0.8, 0.5))));
    gl_Position = u_ViewProjection * vec4(position, 1.0);
}
)";

class Wave : public Show
{
public:
    Wave()
        : _cubes(makeCube(kColumns * kRows))
    {
        GLSLMacroProcessor processor;
        processor.addDefine("COLUMNS", QString::number(kColumns));
        processor.addDefine("ROWS", QString::number(kRows));
        _program = makeProgram(kVertex, "support/color.frag", nullptr, &processor);
    }

    void draw(float aspect, float seconds) override
    {
        const QVector3D center(0.0f, -0.5f, -0.8f);
        const QVector3D eye = movedEye({0.0f, 17.0f, 25.5f}, center);
        QVector<int> commands; // every third diagonal has a gap
        for (int id = 0; id < kColumns * kRows; ++id) {
            if ((id % kColumns + id / kColumns) % 3 != 0) {
                commands << id;
            }
        }
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        _program->setUniform("u_ViewProjection", viewProjection(32.0f, aspect, eye, center));
        _program->setUniform("u_Seconds", seconds);
        scope.draw(_cubes.get(), &commands);
    }

private:
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _cubes;
};

} // namespace

int main(int argc, char **argv)
{
    return present(argc, argv, [] { return std::make_unique<Wave>(); });
}
