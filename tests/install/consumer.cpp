// A host that uses only the installed tree, PREFIX: one include for all headers, the libraries, and the GLSL sources
// inside the library, which no files on disk replace.

#include <ZelGL/ZelGL.h>

#include <ZelCore/Resources.h>
#include <ZelShaders/ZelShaders.h>

#include <cstdio>

using namespace Orvane::Zel;

int main(int argc, char **argv)
{
    int failures = 0;
    const auto check = [&failures](bool good, const char *what) {
        failures += good ? 0 : 1;
        std::printf("%s: %s\n", good ? "right" : "wrong", what);
    };
    check(argc == 2, "the prefix is the one argument");
    const QDir prefix(
        QDir(argv[1]).canonicalPath()); // like resourcesPath(), if a build tree is reached through a link
    check(resourcesPath() == prefix.filePath("share/ZelGL"), "the resources are in the prefix");
    check(!QFile::exists(resourcesPath() + "/GLSL"), "no GLSL sources are where they would be found first");
    check(QFile::exists(":/GLSL/src/passthroughVS.glslc"), "the GLSL sources are inside the library");

    GLSLMacroProcessor processor;
    processor.addDefine("HOST", "1");
    const QString text =
        GLSLMacroProcessor::process("#version 150\n#include \"ZelUtilities.glslh\"\n", &processor);
    check(text.startsWith("#version 150\n#define HOST 1\n"), "the defines follow the version");
    check(text.contains("uint getDrawID();"), "the include is found");
    const Orvane::ZelShaders::LineMap map("#version 150\n", "my.vert", &processor);
    check(map.origin(2).toString() == "defines:1", "a line map has the origin of each line");
    return failures;
}
