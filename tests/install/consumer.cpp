// A host that uses only the installed tree, PREFIX: one include for all headers, the libraries, and the GLSL sources
// inside the library, which no files on disk replace.

#include <ZelGL/ZelGL.h>

#include <ZelCore/Resources.h>
#include <ZelShaders/ZelShaders.h>

#include <cstdio>

using namespace Orvane::Zel;

namespace {

int failures = 0;

void check(bool good, const char *what)
{
    if (!good) {
        std::printf("wrong: %s\n", what);
        ++failures;
    }
}

} // namespace

int main(int argc, char **argv)
{
    check(argc == 2, "the prefix is the one argument");
    const QDir prefix(
        QDir(argv[1]).canonicalPath()); // like resourcesPath(), if a build tree is reached through a link
    check(resourcesPath() == prefix.filePath("share/ZelGL"), "the resources lie in the prefix");
    check(!QFile::exists(resourcesPath() + "/GLSL"), "no GLSL sources lie where they would be found first");
    check(QFile::exists(":/GLSL/src/passthroughVS.glslc"), "the GLSL sources are inside the library");

    GLSLMacroProcessor processor;
    processor.addDefine("HOST", "1");
    const QString text =
        GLSLMacroProcessor::process("#version 150\n#include \"ZelUtilities.glslh\"\n", &processor);
    check(text.startsWith("#version 150\n#define HOST 1\n"), "the defines stand behind the version");
    check(text.contains("uint getDrawID();"), "the include is found");
    const Orvane::ZelShaders::LineMap map("#version 150\n", "my.vert", &processor);
    check(map.origin(2).toString() == "defines:1", "a line map has the origin of each line");
    return failures;
}
