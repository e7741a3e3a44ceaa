#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

int main()
{
    const auto context = HeadlessContext::create();
    const auto target = context ? RenderTarget::create({640, 360}, GL_RGBA8) : nullptr;
    if (target == nullptr) {
        return 1; // the reason is logged
    }
    {
        const AutoBinder bound(target->framebuffer());
        glClearColor(0.16f, 0.20f, 0.26f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    return target->image().save("picture.png") ? 0 : 1;
}
