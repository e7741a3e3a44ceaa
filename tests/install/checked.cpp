// A host that links the check and calls nothing of it: a call before initializeGLFunctions() must be reported and harmless, in
// the table of the core and of extensions, which only the right order of the libraries allows.

#include <ZelGL/ZelGL.h>

#include <cstdio>

static int messages = 0;

int main()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
        messages += text.startsWith("[ZelCheck] initializeGLFunctions() has not been called") ? 1 : 0;
    });
    if (glClear == nullptr || glMultiDrawElementsIndirect == nullptr) {
        std::puts("wrong: the table is empty");
        return 1;
    }
    glClear(GL_COLOR_BUFFER_BIT);
    glMultiDrawElementsIndirect(GL_TRIANGLES, GL_UNSIGNED_INT, nullptr, 1, 0);
    std::printf("%d messages of 2\n", messages);
    return messages == 2 ? 0 : 1;
}
