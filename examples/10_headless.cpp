// A picture without a window, a display or Qt's application object, as on a server.
//
// HeadlessContext makes a context of EGL; with its default platform it would use GLX if there is a display. RenderTarget::picture()
// draws into a framebuffer, and reads it back. The file of the picture is an argument: "--offscreen FILE".

#include "Programs.h"
#include "Show.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

#include <QtGui/QImage>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

/// The Julia set of a complex number.
QImage drawJuliaSet(const QVector2D &number, const QSize &size)
{
    const std::unique_ptr<ShaderProgram> program = makeProgram("passthroughVS.glslc", "10_headless.frag");
    return RenderTarget::picture(size, [&] {
        DrawScope scope(program.get());
        program->setUniform("u_Aspect", float(size.width()) / float(size.height()));
        program->setUniform("u_Number", number);
        scope.draw(OpenGLDeviceContext::current()->fullscreenQuad().data());
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QString file = readPictureFile(argc, argv);
    if (file.isEmpty()) {
        qCritical("There is no window: --offscreen FILE names the picture");
        return 1;
    }
    const MessageLog log;
    HeadlessContext::Options options;
    options.platform = HeadlessContext::eEGL;
    options.isDebug = true;
    const std::unique_ptr<HeadlessContext> context = HeadlessContext::create(options);
    if (context == nullptr) {
        return 1; // the reason is logged
    }
    initializeGLDebugging();
    const QImage large = drawJuliaSet({-0.7269f, 0.1889f}, 2 * windowSize());
    return savePicture(large.scaled(windowSize(), Qt::KeepAspectRatio, Qt::SmoothTransformation), file, log);
}
