// QPainter over a picture of ZelGL, in a QOpenGLWidget.
//
// QPainter expects that nothing is culled, masked or bound, and leaves its own program and blending.
// HostStateGuard gives it the state of a new context, and restores that of the host.

#include "Programs.h"
#include "Shapes.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QOpenGLWidget>
#include <QtWidgets/QShortcut>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {
const QVector<float> kValues = {3, 4, 7, 11, 16, 20, 23, 22, 18, 12, 7, 4};

class Chart : public QOpenGLWidget
{
public:
    ~Chart() override { makeCurrent(); } // for the members
    void initializeGL() override
    {
        new QShortcut(Qt::Key_Escape, this, [this] { close(); });
        if (initializeGLFunctions()) {
            initializeGLDebugging();
            _bars = makeCube(kValues.size());
            _program = makeProgram("09_painter.vert", "support/color.frag");
        }
    }

    void paintGL() override
    {
        if (!_program) {
            return;
        }
        const float aspect = float(width()) / float(height());
        _camera.refit(Bounds({-9.0f, -0.6f, -0.5f}, {9.0f, 7.6f, 0.5f}), aspect);
        const QMatrix4x4 viewProjection = _camera.viewProjection(aspect);
        glClearColor(0.10f, 0.12f, 0.16f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const AutoEnabler depthTest(GL_DEPTH_TEST);
        DrawScope scope(_program.get());
        _program->setUniform("u_ViewProjection", viewProjection);
        _program->setUniform("u_Values", kValues);
        scope.draw(_bars.get());
        const HostStateGuard guard; // the program and the depth test stay as they are for ZelGL
        QPainter painter(this);
        for (int i = 0; i < kValues.size(); ++i) {
            const QVector3D above(1.5f * (float(i) - 5.5f), kValues[i] / 3.3f + 0.7f, 0.0f);
            const QPointF place = viewProjection.map(above).toPointF();
            QRectF label(0, 0, 42, 24);
            label.moveCenter({0.5 * (1.0 + place.x()) * width(), 0.5 * (1.0 - place.y()) * height()});
            painter.fillRect(label, QColor(255, 255, 255, 225));
            painter.drawText(label, Qt::AlignCenter, QString::number(double(kValues[i])) + QChar(0xb0));
        }
    }

    bool event(QEvent *event) override
    {
        if (_camera.handle(event, size())) {
            update();
        }
        return QOpenGLWidget::event(event);
    }

private:
    OrbitCamera _camera{20.0f, 14.0f};
    std::unique_ptr<ShaderProgram> _program;
    std::unique_ptr<DrawBuffers> _bars;
};

} // namespace

int main(int argc, char **argv)
{
    const QString file = readPictureFile(argc, argv);
    HeadlessContext::choosePlatform(HeadlessContext::eForWindows);
    QSurfaceFormat::setDefaultFormat(windowFormat());
    QApplication application(argc, argv);
    const MessageLog log;
    Chart chart;
    chart.resize(windowSize());
    if (!file.isEmpty()) {
        return savePicture(chart.grabFramebuffer(), file, log);
    }
    chart.show();
    return QApplication::exec();
}
