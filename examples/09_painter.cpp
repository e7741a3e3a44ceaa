// QPainter over a picture of ZelGL, in a QOpenGLWidget.
//
// QPainter expects that nothing is culled, masked or bound, and leaves its own program, textures and blending.
// HostStateGuard gives it the state of a new context, and restores that of the host. The widget needs no other care: Qt
// binds its framebuffer before paintGL().

#include "Pictures.h"
#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QOpenGLWidget>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

constexpr int kBars = 12;
constexpr float kValues[kBars] = {3, 4, 7, 11, 16, 20, 23, 22, 18, 12, 7, 4};

class Chart : public QOpenGLWidget
{
public:
    ~Chart() override { makeCurrent(); } // for the members

protected:
    void initializeGL() override
    {
        if (!initializeGLFunctions()) {
            return;
        }
        initializeGLDebugging();
        _bars = makeCube(kBars);
        DrawBuffers::setup(&_processor);
        _program = makeProgram({"09_painter.vert", "support/color.frag"}, &_processor);
    }

    void paintGL() override
    {
        if (!_program) {
            return;
        }
        const float aspect = float(width()) / float(height());
        _camera.frame(Bounds({-6.5f, 0.0f, -0.5f}, {6.5f, 5.0f, 0.5f}), aspect);
        const QMatrix4x4 viewProjection = _camera.viewProjection(aspect);
        glClearColor(0.11f, 0.13f, 0.17f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        {
            DrawScope scope(_program.get());
            _program->setUniform("u_ViewProjection", viewProjection);
            glUniform1fv(_program->uniformLocation("u_Values"), kBars, kValues);
            scope.draw(_bars.get());
        }
        const HostStateGuard guard;
        QPainter painter(this);
    }
};
}
