// Uses each library that it is linked with.
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelKit/MessageLog.h>
#include <ZelShaders/LineMap.h>

#include <cstdio>

using namespace Orvane;

int main()
{
    const ZelKit::MessageLog log;
    Zel::GLSLMacroProcessor processor;
    const ZelShaders::LineMap map("#include \"ZelUtilities.glslh\"\n", "my.vert", &processor);
    const bool found = map.text().contains("uint getDrawID();");
    std::puts(found ? "right: the include is found" : "wrong: the include is not found");
    return found ? 0 : 1;
}
