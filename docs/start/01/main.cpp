#include <ZelKit/ZelKit.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

int main()
{
    const auto context = HeadlessContext::create();
    if (context == nullptr) {
        return 1; // the reason is logged
    }
    const QImage picture = RenderTarget::picture({640, 360}, [] {
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    });
    return picture.save("picture.png") ? 0 : 1;
}
