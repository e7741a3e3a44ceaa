// Uses a header of each library.
#include <ZelGL/ZelGL.h>

#include <ZelCheck/Check.h>
#include <ZelKit/MessageLog.h>
#include <ZelShaders/LineMap.h>

#include <cstdio>

int main()
{
    Orvane::Zel::GLSLMacroProcessor processor;
    const QString text = Orvane::Zel::GLSLMacroProcessor::process("#include \"ZelUtilities.glslh\"\n", &processor);
    const bool found = text.contains("uint getDrawID();");
    std::puts(found ? "right: the include is found" : "wrong: the include is not found");
    return found ? 0 : 1;
}
