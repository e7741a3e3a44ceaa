#include "support/Files.h"
#include "support/MessageCapture.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/InstanceDataRegistry.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

using namespace Orvane::Zel;

namespace {

class GLSLMacroProcessorTest : public MessageTest
{
protected:
    GLSLMacroProcessorTest() { _processor.addIncludePath(_folder.path()); }
    ~GLSLMacroProcessorTest() override { InstanceDataRegistry::Instance()->clear(); } // of unknown names

    void addFile(const QString &name, const QByteArray &bytes) { writeFile(_folder.filePath(name), bytes); }

    QString process(const QString &source) { return GLSLMacroProcessor::process(source, &_processor); }

    QTemporaryDir _folder;
    GLSLMacroProcessor _processor;
};

} // namespace

TEST_F(GLSLMacroProcessorTest, EveryDirectiveExpandsAsItsRuleSays)
{
    addFile("a.glslh", "float a;");
    addFile("tree.glslh", "#include \"a.glslh\"\n#macro KNOWN x\n");
    addFile("versioned.glslh", "#version 330");
    addFile("zero.glslh", QByteArray("before\0after", 12));
    addFile("utf8.glslh", "// \xc3\xa9");
    addFile("sub dir", "blank");
    addFile("empty.glslh", "");
    _processor.addDefine("B", "1");
    _processor.addDefine("A", "1");
    _processor.addDefine("B", "2");
    _processor.addMacro("KNOWN", "#include \"a.glslh\"");
    _processor.addMacro("VERSION", "#version 430");
    _processor.addMacro("EMPTY", "");

    const struct
    {
        const char *source;
        const char *expected;
    } rows[] = {
        // A replaced line ends with two line breaks: one from the replacement and its own.
        {"#version 150\nrest", "#version 150\n#define A 1\n#define B 2\n\nrest"},
        {"#version 150 core # x\r\nrest", "#version 150 core # x\n#define A 1\n#define B 2\n\r\nrest"},
        {"#versions", "#versions\n#define A 1\n#define B 2\n"},
        {"#version", "#version\n#define A 1\n#define B 2\n"},
        {"// c\n#include \"a.glslh\"\nrest", "// c\nfloat a;\n\nrest"},
        {"#include \"a.glslh\"", "float a;\n"},
        {"#include\"a.glslh\" \t\r\n", "float a;\n\r\n"},
        {"#include   \"sub dir\"", "blank\n"},
        {"#include \"empty.glslh\"", "\n"},
        {"#include \"versioned.glslh\"", "#version 330\n#define A 1\n#define B 2\n\n"},
        {"#include \"tree.glslh\"", "float a;\n\nfloat a;\n\n\n\n"},
        {"#include \"zero.glslh\"", "before\n"},
        {"#include \"utf8.glslh\"", "// \xc3\xa9\n"},
        {"#macro UNKNOWN the default\nrest", "the default\n\nrest"},
        {"#macro UNKNOWN #include \"a.glslh\"\n", "float a;\n\n\n"},
        {"\t #macro KNOWN the default", "\t float a;\n\n"},
        {"\xc2\xa0#macro UNKNOWN\xe2\x80\x83x\xe2\x80\x83\n",
         "\xc2\xa0x\xe2\x80\x83\n\n"}, // Unicode white space
        {"x\r#macro UNKNOWN y\r#macro KNOWN\tz\n", "x\ry\n\rfloat a;\n\n\n"},
        {"#macro EMPTY text\n", "\n\n"},
        {"#macro KNOWN \n", "float a;\n\n\n"},
        {"#macro KNOWN\n", "KNOWN\n\n"}, // without a blank after it the name is the default
        {"#macroKNOWN x", "float a;\n\n"},
        {"#macro VERSION #version 150\n", "#version 430\n#define A 1\n#define B 2\n\n\n"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(QString::fromUtf8(row.expected), process(QString::fromUtf8(row.source))) << row.source;
    }
    // Only #macro may be indented, and no other text may precede a directive or follow it.
    for (const QString &unchanged : QStringList{
             "", "no sign at all\r\n", "a#b", "##\n#\n", "#define X 1\n#ifdef X\n#endif", " #version 150\n",
             "x #version 150\n", "#include \"tree.glslh\"|", " #include \"a.glslh\"\n",
             "// #include \"a.glslh\"\n", "#include \"a.glslh\" // why\n", "#include <a.glslh>\n", "#macro\n",
             "// #macro KNOWN x\n", "#instancedata \"Unknown\" x\n"}) {
        EXPECT_EQ(unchanged, process(unchanged));
    }
}

TEST_F(GLSLMacroProcessorTest, AnUnknownPlanAndAFailedIncludeAreWarningsAndLeaveTheirLineOut)
{
    ASSERT_TRUE(QDir(_folder.path()).mkdir("folder"));
    addFile("a.glslh", "x");
    const std::pair<QString, QString> rows[] = {
        {"#instancedata \"Unknown\"",
         "[InstanceDataRegistry.cpp:#] InstanceDataRegistry::getPlan() : Specified "
         "instanceData plan does not exist : Unknown"},
        {"#include \"missing.glslh\"", "Failed to open include file 'missing.glslh'"},
        {"#include \"\" ", "Cannot extract include filename from '#include \"\" '"},
        {"#include \"folder\"", "Failed to open include file 'folder'"},
        {"#include \".\"", "Failed to open include file '.'"}, // a folder of the resources too
        {QString("#include \"a.glslh") + QChar(0) + ".old\"", "Failed to open include file 'a.glslh'"},
    };
    for (const auto &[line, warning] : rows) {
        EXPECT_EQ("a\n\nb", process("a\n" + line + "\nb"));
        EXPECT_MESSAGES("warning " + warning);
    }
}

TEST_F(GLSLMacroProcessorTest, FoldersAreSearchedInTheirOrderAndTheBuiltInTreeComesFirst)
{
    const QTemporaryDir second;
    addFile("a.glslh", "first");
    writeFile(second.filePath("a.glslh"), "second");
    writeFile(second.filePath("b.glslh"), "only second");
    addFile("ZelUtilities.glslh", "shadow");
    _processor.addIncludePath("/no/such/folder");
    _processor.addIncludePath(second.path());
    EXPECT_EQ("first\n", process("#include \"a.glslh\""));
    EXPECT_EQ("only second\n", process("#include \"b.glslh\""));
    const QString builtIn = bytesOf(":/GLSL/include/ZelUtilities.glslh") + '\n';
    EXPECT_EQ(builtIn, process("#include \"ZelUtilities.glslh\""));
    EXPECT_EQ("#version 150\n\n" + builtIn,
              GLSLMacroProcessor::process("#version 150\n#include \"ZelUtilities.glslh\"", nullptr));
    EXPECT_EQ("", GLSLMacroProcessor::processDefines(nullptr));
}

TEST_F(GLSLMacroProcessorTest, RemovedDefinesAndMacrosAreUnknown)
{
    _processor.addDefine("A", "1");
    _processor.addDefine("B", "%1 %2");
    _processor.addMacro("M", "text");
    EXPECT_EQ("#define A 1\n#define B %1 %2\n", GLSLMacroProcessor::processDefines(&_processor));
    GLSLMacroProcessor copy = _processor; // a value
    for (const char *name : {"A", "M", "unknown"}) {
        _processor.removeDefine(name);
        _processor.removeMacro(name);
    }
    EXPECT_EQ("#define B %1 %2\n", GLSLMacroProcessor::processDefines(&_processor));
    EXPECT_EQ("default\n", process("#macro M default"));
    EXPECT_EQ("text\n", GLSLMacroProcessor::process("#macro M default", &copy));
}

TEST_F(GLSLMacroProcessorTest, SingleLinesExpandInPlaceByTheHostsOwnExpressions)
{
    addFile("a.glslh", "#macro M x");
    _processor.addMacro("M", "#macro UNKNOWN y");
    QRegExp include("<(.*)>");
    QRegExp macro("^@(\\w+) (.*)$");
    const auto expanded = [&](QString line, GLSLMacroProcessor *processor) {
        GLSLMacroProcessor::processLineInclude(line, include, processor);
        GLSLMacroProcessor::processLineMacro(line, macro, processor);
        return line;
    };
    EXPECT_EQ("y\n\n", expanded("#include <a.glslh>", &_processor));
    EXPECT_EQ(" #include <a.glslh>", expanded(" #include <a.glslh>", &_processor));
    EXPECT_EQ("y\n", expanded("@M z", &_processor));
    EXPECT_EQ("#macro M z", expanded("@N #macro M z", &_processor)) << "the default is not processed";
    EXPECT_EQ("z", expanded("@M z", nullptr));
    EXPECT_EQ("", expanded("#include <a.glslh>", nullptr));
    EXPECT_EQ("", expanded("#include", &_processor));
    QString line = "#instancedata <Unknown>";
    QRegExp plan("#instancedata <(.*)>");
    GLSLMacroProcessor::processLineMaterial(line, plan, &_processor);
    EXPECT_EQ("#instancedata <Unknown>", line);
    EXPECT_MESSAGES("warning Failed to open include file 'a.glslh'",
                    "warning Cannot extract include filename from '#include'",
                    "warning [InstanceDataRegistry.cpp:#] InstanceDataRegistry::getPlan() : Specified "
                    "instanceData plan does not exist : Unknown");
}
