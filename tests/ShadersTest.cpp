// The diagnosis of shaders: where each line comes from, what a driver's log means, what a linter finds. The cache of programs.

#include "support/DrawnPixels.h"
#include "support/FakeLimits.h"
#include "support/Files.h"
#include "support/GLFixture.h"
#include "support/TestProgram.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelShaders/ZelShaders.h>

#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

#include <array>
#include <cstdio>
#include <functional>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelShaders;

namespace {

bool gCountsSeconds = false;

class ShadersTest : public GLTest
{
protected:
    ShadersTest() { _processor.addIncludePath(_folder.path()); }
    ~ShadersTest() override { InstanceDataRegistry::Instance()->clear(); }

    QString addFile(const QString &name, const QByteArray &bytes)
    {
        return writeFile(_folder.filePath(name), bytes);
    }

    /// A map whose text is that of the text processor.
    LineMap mapOf(const QString &source, const QString &name = QStringLiteral("main"))
    {
        LineMap map(source, name, &_processor);
        EXPECT_EQ(GLSLMacroProcessor::process(source, &_processor), map.text());
        return map;
    }

    /// Removes the files that a report names.
    static void removeTexts(const QString &report)
    {
        for (const QString &path : report.section("whole text: ", 1).split(", ", Qt::SkipEmptyParts)) {
            QFile::remove(path);
        }
    }

    QTemporaryDir _folder;
    GLSLMacroProcessor _processor;
};

} // namespace

/// Replaces that of the system: a file system may count time in seconds.
extern "C" Q_DECL_EXPORT int stat(const char *path, struct stat *status)
{
    const int result = ::fstatat(AT_FDCWD, path, status, 0);
    if (gCountsSeconds) {
        status->st_mtim.tv_nsec = status->st_ctim.tv_nsec = 0;
    }
    return result;
}

TEST_F(ShadersTest, EachLineOfAnExpandedTextHasItsOrigin)
{
    auto *plan = new InstanceDataPlan("Info");
    plan->addMember(InstanceDataPlan::eMat4, "Matrix");
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.take(); // plans log their size
    const QString a = addFile("a.glslh", "float a;\r\n\r\nfloat b;");
    addFile("tree.glslh", "// tree\n#include \"a.glslh\"\n\t#macro KNOWN x\n");
    _processor.addDefine("B", "2");
    _processor.addDefine("A", "1");
    _processor.addMacro("KNOWN", "float k;\nfloat l;");
    const LineMap map = mapOf("#version 150\n"
                              "#include \"tree.glslh\"\n"
                              "#macro UNKNOWN float u;\n"
                              "#instancedata \"Info\"\n"
                              "void main() {}\n");
    const struct
    {
        const char *text;
        QString origin;
        int depth; // of includes
    } rows[] = {
        {"#version 150", "main:1", 0},      {"#define A 1", "defines:1", 0},
        {"#define B 2", "defines:2", 0},    {"// tree", _folder.filePath("tree.glslh") + ":1", 1},
        {"float a;", a + ":1", 2},          {"float b;", a + ":3", 2},
        {"\tfloat k;", "macro KNOWN:1", 2}, {"float l;", "macro KNOWN:2", 2},
        {"float u;", "main:3", 0},          {"void main() {}", "main:5", 0},
    };
    const QStringList lines = map.text().replace("\r\n", "\n").split('\n');
    ASSERT_EQ(lines.size(), map.lineCount());
    for (const auto &row : rows) {
        const int line = lines.indexOf(row.text) + 1;
        EXPECT_EQ(row.origin, map.origin(line).toString()) << row.text;
        EXPECT_EQ(row.depth, map.includedFrom(line).size()) << row.text;
    }
    // The empty line that the text processor adds after an include belongs to the directive.
    EXPECT_EQ("main:2", map.origin(lines.indexOf("float l;") + 3).toString());
    const int accessor = lines.indexOf(plan->glslh().split('\n').at(1)) + 1;
    EXPECT_EQ("plan Info:2", map.origin(accessor).toString());
    EXPECT_EQ("main:4", map.includedFrom(accessor).first().toString());
    EXPECT_EQ(0, map.origin(0).line);
    EXPECT_EQ(0, map.origin(lines.size() + 1).line);
    EXPECT_EQ("float b;", map.sourceLine({LineMap::eFile, a, 3}));
}

TEST_F(ShadersTest, DirectivesThatFailAreListedAndEndlessOnesAreCut)
{
    addFile("self.glslh", "x\n#include \"self.glslh\"\n");
    _processor.addMacro("M", "#macro M");
    _processor.addMacro("N", "#macro N y");
    const LineMap::PlanTexts plans{{"Known", "known"}};
    const LineMap map("#include \"none\"\n#include \"\"\n#instancedata \"P\"\n#instancedata \"Known\"\n"
                      "#include \"self.glslh\"\n#macro N y\n",
                      "main", &_processor, &plans);
    QStringList failures;
    for (const LineMap::Failure &failure : map.failures()) {
        failures += failure.at.toString() + ' ' + failure.message;
    }
    const QString self = _folder.filePath("self.glslh");
    EXPECT_EQ(
        QStringList({"main:1 no include path has the file 'none'", "main:2 no file name in '#include \"\"'",
                     "main:3 unknown plan 'P': register it before the shader is made",
                     self + ":2 endless: '" + self + "' includes itself",
                     "macro N:1 endless: 'N' includes itself"}),
        failures);
    EXPECT_TRUE(map.text().contains("known"));
}

TEST_F(ShadersTest, TheTextOfTheTreeIsThatOfTheTextProcessor)
{
    QString all;
    for (const char *folder : {":/GLSL/src", ":/GLSL/include"}) {
        for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files)) {
            all += bytesOf(file.filePath()) + '\n';
        }
    }
    auto *plan = new InstanceDataPlan("InstanceInfo");
    plan->addMember(InstanceDataPlan::eMat4, "ModelMatrix");
    InstanceDataRegistry::Instance()->registerPlan(plan);
    _capture.take();
    QRegularExpressionMatchIterator names = QRegularExpression("\\b[A-Z][A-Z0-9_]{3,}\\b").globalMatch(all);
    while (names.hasNext()) {
        _processor.addDefine(names.next().captured(), "1");
    }
    _processor.addMacro("TEXTURE_MANAGER_ARRAY2D_GLSL_VERSION", "#version 430");
    for (const QFileInfo &file : QDir(":/GLSL/src").entryInfoList(QDir::Files)) {
        const LineMap map = mapOf(bytesOf(file.filePath()), file.filePath());
        EXPECT_LT(100, map.lineCount()) << "the defines are missing";
        EXPECT_TRUE(map.failures().isEmpty());
        for (const ShaderLint::Finding &finding : ShaderLint::lint(map)) { // no false alarm
            ADD_FAILURE() << qPrintable(finding.toString());
        }
    }
    mapOf(all);
}

// Every line says where it is, so that the origin of each line of the result is known.
TEST_F(ShadersTest, RandomNestingsKeepTheOriginOfEachLine)
{
    std::mt19937 random(17);
    const auto upTo = [&](int count) { return int(random() % unsigned(count)); };
    const QString breaks[] = {"\n", "\r\n", "\r"};
    for (int round = 0; round < 60; ++round) {
        const auto textOf = [&](const QString &name, int level) { // refers to higher levels only
            QString text;
            const int count = 1 + upTo(8);
            for (int line = 1; line <= count; ++line) {
                const QString mark = QString("@%1@%2@").arg(name).arg(line);
                const QString forms[] = {mark,
                                         " " + mark + "#",
                                         "",
                                         "#include \"f%1\"",
                                         "\t#macro m%1 " + mark,
                                         "#macro unknown #include \"f%1\"",
                                         "#macro unknown  " + mark,
                                         "#version " + mark,
                                         "#include \"none\""};
                const QString form = forms[upTo(9)];
                text += form.contains("%1") ? form.arg(level + 1 + upTo(3)) : form;
                text += line == count && count % 2 == 0 ? QString() : breaks[round % 3];
            }
            return text;
        };
        for (int level = 0; level < 8; ++level) {
            addFile(QString("f%1").arg(level),
                    textOf(_folder.filePath(QString("f%1").arg(level)), level).toUtf8());
            _processor.addMacro(QString("m%1").arg(level), textOf(QString("macro m%1").arg(level), level));
        }
        _processor.addDefine("D", "@defines@1@");
        const LineMap map = mapOf(textOf("main", 0));
        const QStringList lines = map.text().split(QRegularExpression("\r\n|\n\r|\r|\n"));
        ASSERT_EQ(lines.size(), map.lineCount());
        for (int line = 1; line <= lines.size(); ++line) {
            const QStringList marks = lines.at(line - 1).split('@');
            if (marks.size() > 1) {
                EXPECT_EQ(marks.at(1) + ':' + marks.at(2), map.origin(line).toString()) << round;
            }
        }
        _capture.take(); // includes that fail
    }
}

TEST_F(ShadersTest, LogsOfEveryDriverAreReportedInTheLinesOfTheSources)
{
    addFile("a.glslh", "float a()\n{\n    return wrong;\n}\n");
    const LineMap map = mapOf(
        "#version 150\n#include \"a.glslh\"\nvoid main()\n{\n    gl_Positon = vec4(a());\n}\n", "my.vert");
    const QString path = ShaderReport::writeText(map);
    EXPECT_EQ(map.text().toUtf8(), bytesOf(path));
    const QString a = _folder.filePath("a.glslh");
    const QString typo = "    4 | {\n>    5 |     gl_Positon = vec4(a());\n     6 | }\n";
    const QString wrong = "    2 | {\n>    3 |     return wrong;\n     4 | }\n";
    const QString end = "whole text: " + path;
    // The expanded text: line 5 is line 3 of a.glslh, line 11 is line 5 of my.vert.
    const struct
    {
        QString log;
        QString report;
    } rows[] = {
        {"0:11(2): error: `gl_Positon' undeclared\n0:11(2): error: value of type vec4 cannot be assigned\n",
         "my.vert:5: error: `gl_Positon' undeclared; value of type vec4 cannot be assigned\n " + typo + end},
        {"0:5(9): preprocessor error: wrong\n", a + ":3 (from my.vert:2): error: wrong\n " + wrong + end},
        {"0(11) : error C1008: undefined variable \"gl_Positon\"\n",
         "my.vert:5: error: C1008: undefined variable \"gl_Positon\"\n " + typo + end},
        {"Vertex shader failed to compile with the following errors:\nERROR: 0:11: error(#143) Undeclared "
         "identifier: "
         "gl_Positon\nERROR: error(#273) 1 compilation errors.  No code generated\n",
         "my.vert:5: error: error(#143) Undeclared identifier: gl_Positon\n " + typo + end},
        {"ERROR: 0:11: 'gl_Positon' : undeclared identifier \nERROR: 0:11: '' : compilation terminated \n",
         "my.vert:5: error: 'gl_Positon' : undeclared identifier\n " + typo + end},
        // Repeated messages are folded, and only two places are shown: errors first.
        {"0:9(1): warning: 2\n0:11(1): error: twice\n0:5(1): error: twice\n0:11(3): error: twice\n0:3(1): "
         "error: 3\n",
         "my.vert:5: error: twice (also at " + a + ":3)\n " + typo + a
             + ":1 (from my.vert:2): error: 3\n>    1 | float a()\n1 more message; " + end},
        {"0:11(1): warning: w\n0:11(2): error: e\n",
         "my.vert:5: error: e\n " + typo + "my.vert:5: warning: w\n>    5 |     gl_Positon = vec4(a());\n"
             + end},
        {"0:99(1): error: beyond the end\n", "line 99 of the text: error: beyond the end\n" + end},
        {"A sentence of a driver.\n\n", "A sentence of a driver.\n" + end},
        {"", end},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.report, ShaderReport::of(row.log, map)) << qPrintable(row.log);
    }
    QFile::remove(path);
}

TEST_F(ShadersTest, AMissingFunctionIsReportedWithItsFileAndTheCallThatLinksIt)
{
    const QString source =
        "#version 150\n#include \"ZelUtilities.glslh\"\nvec2 mine(float x);\nvoid main()\n{\n"
        "    gl_Position = vec4(getDrawID()) + mine(1.0).xyxy;\n}\n";
    const QVector<ShaderReport::Stage> stages{{GL_FRAGMENT_SHADER, mapOf("void main() {}", "my.frag")},
                                              {GL_VERTEX_SHADER, mapOf(source, "my.vert")}};
    for (const QString &log :
         {QStringLiteral(
              "error: unresolved reference to function `getDrawID'\nerror: unresolved reference to "
              "function `mine'\n"),
          QStringLiteral(
              "Vertex info\n-----------\n0(6) : error C3002: call to undefined function \"uint "
              "getDrawID();\"\n0(6) : error C3002: call to undefined function \"vec2 mine(float);\"\n"),
          QStringLiteral("Vertex shader(s) failed to link.\nERROR: error(#401) Function: getDrawID( is not "
                         "implemented\nERROR: error(#401) Function: mine(f1; is not implemented\n"),
          QStringLiteral(
              "ERROR: Linking vertex stage: No function definition (body) found: \n    getDrawID(\n"
              "ERROR: Linking vertex stage: No function definition (body) found: \n    mine(f1;\n")}) {
        QStringList lines = ShaderReport::ofLink(log, stages).split('\n');
        ASSERT_EQ(7, lines.size()) << qPrintable(log);
        removeTexts(lines.takeLast());
        const QString line = ">    6 |     gl_Position = vec4(getDrawID()) + mine(1.0).xyxy;";
        EXPECT_EQ(
            QStringList({"my.vert:6: error: no stage defines getDrawID()", line,
                         "link one of ZelUtilities.glslc, ZelUtilities.vert, VisibilityBuffer.glslc: "
                         "program.addShaderFromFile(GL_VERTEX_SHADER, \"ZelUtilities.glslc\")",
                         "my.vert:6: error: no stage defines mine()", line, "no file of the library has it"}),
            lines)
            << qPrintable(log);
    }
    // A line of a stage that the log does not name could be in the wrong file.
    const QString text =
        ShaderReport::ofLink("0(3) : error C1: x\nVertex info\n0(8) : error C2: y\n", stages);
    EXPECT_EQ("error: line 3: C1: x", text.section('\n', 0, 0));
    EXPECT_TRUE(text.contains("ZelUtilities.glslh:6 (from my.vert:2): error: C2: y\n")) << qPrintable(text);
    removeTexts(text);
    const QString other =
        ShaderReport::ofLink("error: unresolved reference to function `mine'\nerror: undermined\n", stages);
    EXPECT_TRUE(other.contains("\nerror: undermined\n")) << qPrintable(other);
    removeTexts(other);
    // A message without a line is about the declarations of the name that it quotes, if the stages have some.
    const QVector<ShaderReport::Stage> units{
        {GL_VERTEX_SHADER, mapOf("out float x;\nvoid main() {}", "my.vert")},
        {GL_FRAGMENT_SHADER, mapOf("in vec2 x;\nvoid main() {}", "a.frag")},
        {GL_FRAGMENT_SHADER, mapOf("//\n//\nvoid main() {}", "b.frag")}};
    const std::pair<QString, QString> messages[] = {
        {"function `main' is multiply defined", "a.frag:2: error: %1 (also at b.frag:3)"},
        {"function `gl_mesa_tmp_12ab' is multiply defined", "a.frag:2: error: %1 (also at b.frag:3)"},
        {"vertex shader output `x' declared as type `float'", "my.vert:1: error: %1 (also at a.frag:1)"},
        {"vertex shader lacks `main'", "error: %1"}};
    for (const auto &[message, place] : messages) {
        const QString report = ShaderReport::ofLink("error: " + message, units);
        EXPECT_EQ(place.arg(message).replace("gl_mesa_tmp_12ab", "main"), report.section('\n', 0, 0));
        removeTexts(report);
    }
    EXPECT_TRUE(linkAdvice("zelIsValidToken", GL_FRAGMENT_SHADER)
                    .endsWith("TextureManager.glslc: program.addShaderFromFile(GL_FRAGMENT_SHADER, "
                              "manager.getShaderFile()); ProgramBuilder::build() with the manager does it"));
}

// A failure has at most eight lines, and the first place is the mistake.
TEST_F(ShadersTest, AProgramThatFailsIsReportedAtTheLineOfTheMistake)
{
    const QString good =
        "#version 150\nin vec4 a_Position;\n#include \"ZelUtilities.glslh\"\n// 4\n// 5\n// 6\n"
        "void main()\n{\n    gl_Position = a_Position;\n}\n";
    const QString bad = addFile("bad.glslh", "float fine;\nfloat bad = wrong;\n");
    _processor.addMacro("BAD", "\n\nfloat bad = wrong;");
    const QString fragment = "#version 150\nuniform float u_Scale;\nout vec4 color;\nvoid main()\n{\n"
                             "    color = vec4(u_Scale);\n}\n";
    const QString compile = "Failed to compile my.vert, GL_VERTEX_SHADER";
    const QString link = "Failed to link the program";
    const struct
    {
        const char *part; // of the good source
        const char *mistake;
        QStringList starts; // of the first lines of the report
    } rows[] = {
        {"gl_Position", "gl_Positon", {compile, "my.vert:9: error: "}},
        {"a_Position;\n}", "a_Position\n}", {compile, "my.vert:10: error: "}},
        {"a_Position;\n}",
         "a_Position * float(getDrawID());\n}",
         {link, "my.vert:9: error: no stage defines getDrawID()"}},
        {"in vec4", "in vec5", {compile, "my.vert:2: error: "}},
        {"#version 150", "#version 150\n#if wrong (", {compile, "my.vert:2: error: "}},
        {"// 4", "#include \"bad.glslh\"", {compile, bad + ":2 (from my.vert:4): error: "}},
        {"// 5", "#macro BAD x", {compile, "macro BAD:3 (from my.vert:5): error: "}},
        {"// 6", "#macro UNKNOWN float u = wrong;", {compile, "my.vert:6: error: "}},
        {"// 6", "#error Missing", {compile, "my.vert:6: error: #error Missing"}},
        {"#version 150", "#version 999", {compile, "my.vert:1: error: "}},
        {"a_Position;\n}", "max(a_Position, 1.0, 2.0);\n}", {compile, "my.vert:9: error: "}},
        {"// 6", "float f() { return f(); }", {compile, "my.vert:6: error: function `float f()"}},
        {"void main()\n{",
         "uniform vec4 u_Scale;\nvoid main()\n{\n    gl_PointSize = u_Scale.w;",
         {link, "my.frag:2: error: uniform `u_Scale' "}},
    };
    int round = 0;
    for (const auto &row : rows) {
        const char *const lineBreak = std::array<const char *, 3>{"\n", "\r\n", "\r"}.at(round++ % 3);
        ShaderProgram program(nullptr);
        program.setMacroProcessor(&_processor);
        ProgramBuilder builder(program);
        builder.addShader(GL_FRAGMENT_SHADER, fragment, "my.frag");
        builder.addShader(GL_VERTEX_SHADER,
                          QString(good).replace(row.part, row.mistake).replace("\n", lineBreak), "my.vert");
        EXPECT_FALSE(builder.link());
        const QStringList lines = builder.report().split('\n');
        EXPECT_GE(8, lines.size()) << qPrintable(builder.report());
        for (int i = 0; i < row.starts.size(); ++i) {
            EXPECT_TRUE(lines.value(i).startsWith(row.starts.at(i))) << qPrintable(builder.report());
        }
        QStringList logged;
        for (const QString &line : lines) {
            logged += "warning " + line;
        }
        EXPECT_EQ(logged, _capture.takeTexts());
        TestContext::takeDriverReports();
        removeTexts(lines.last());
    }
    const std::pair<QString, QString> withoutDefines[] = {
        {"CubeRender_Blur.frag", "uniform Blur s_blur[TVO_CUBERENDER_BLUR_BATCH_SIZE];"},
        {"ShadowMapManager.glslc", "#error Missing SHADOW_MAP_MANAGER_INFO_ARRAY_SIZE define."}};
    for (const auto &[file, line] : withoutDefines) {
        ShaderProgram program(nullptr);
        ProgramBuilder builder(program);
        builder.addShaderFromFile(GL_FRAGMENT_SHADER, file);
        EXPECT_FALSE(builder.link());
        const QRegularExpression place("/" + file + ":(\\d+): error: .*\\n.*\\n> +\\1 \\| "
                                       + QRegularExpression::escape(line) + "\\n");
        EXPECT_TRUE(builder.report().contains(place)) << qPrintable(builder.report());
        removeTexts(builder.report());
        _capture.take();
        TestContext::takeDriverReports();
    }
    ShaderProgram program(nullptr);
    program.setMacroProcessor(&_processor);
    ProgramBuilder builder(program);
    builder.addShader(GL_FRAGMENT_SHADER, fragment, "my.frag");
    builder.addShader(GL_VERTEX_SHADER, good, "my.vert");
    EXPECT_TRUE(builder.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc"));
    EXPECT_FALSE(builder.addShaderFromFile(GL_VERTEX_SHADER, "none.glslc"));
    const QString self = addFile("self.glslh", "\n#include \"self.glslh\"\n");
    EXPECT_FALSE(builder.addShader(GL_VERTEX_SHADER, "#include \"self.glslh\"", "endless.vert"));
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Couldn't find shader source file 'none.glslc'",
                    "warning " + self + ":2: error: endless: '" + self + "' includes itself");
    EXPECT_TRUE(builder.link());
    EXPECT_EQ("", builder.report());
    EXPECT_MESSAGES();
}

TEST_F(ShadersTest, AProgramGetsWhatItsStagesCallOrTheReportSaysWhatIsMissing)
{
    auto *plan = new InstanceDataPlan("Card");
    plan->addMember(InstanceDataPlan::eTexture, "Picture");
    plan->addMember(InstanceDataPlan::eVec4, "Color");
    InstanceDataRegistry::Instance()->registerPlan(plan);
    SamplerTextureManager manager;
    _capture.take(); // what plan and manager log
    const QString vertex = "#version 150\n#include \"ZelUtilities.glslh\"\n#instancedata \"Card\"\n"
                           "flat out uvec2 v_Picture;\n"
                           "void main() { v_Picture = getPicture(); gl_Position = getColor(); }\n";
    const QString fragment =
        "#version 150\n#include \"TextureManager.glslh\"\n"
        "#include \"ShadowMapManager.glslh\"\nflat in uvec2 v_Picture;\nout vec4 color;\n"
        "void main() { color = managedTexture(v_Picture, vec2(0.5)); }\n";
    const struct
    {
        QString vertex;
        QString fragment;
        TextureManager *manager;
        QString start; // of the second line of the report; empty if the program links
    } rows[] = {
        {vertex, fragment, &manager, ""},
        {vertex, fragment, nullptr, "fragment text:6: error: no stage defines managedTexture()"},
        {"#version 150\nfloat f() { return 1.0; }\n", fragment, &manager,
         "error: GL_VERTEX_SHADER has no main(): no text of vertex text defines it"},
        {QString(vertex).replace("void main", "uint getDrawID() { return 7u; }\nvoid main"), fragment,
         &manager, ""},
    };
    for (const auto &row : rows) {
        const auto program = ProgramBuilder::build(row.vertex, row.fragment, row.manager);
        EXPECT_EQ(row.start.isEmpty(), program->isLinked());
        EXPECT_EQ(nullptr, program->getMacroProcessor());
        const QStringList logged = _capture.takeTexts();
        EXPECT_EQ(row.start,
                  row.start.isEmpty() ? logged.join("") : logged.value(1).mid(8, row.start.size()));
        if (!logged.isEmpty()) {
            removeTexts(logged.last());
        }
        TestContext::takeDriverReports();
    }
    EXPECT_FALSE(ProgramBuilder::build("none.vert", kAllWhite)->isLinked());
    EXPECT_MESSAGES("warning [ShaderProgram.cpp:#] Couldn't find shader source file 'none.vert'");

    if (hasGLExtension("GL_ARB_shader_draw_parameters")) { // without it, Mesa's linker crashes at times
        _processor.addDefine("DRAW_BUFFER_USE_BASE_INSTANCE", "1"); // another file has the draw ID
        EXPECT_TRUE(ProgramBuilder::build(vertex, fragment, &manager, &_processor)->isLinked());
    }
}

TEST_F(ShadersTest, AProgramFollowsItsFilesAndKeepsTheLastGoodState)
{
    gCountsSeconds = true; // steps follow within a second
    QDir(_folder.path()).mkdir("first");
    GLSLMacroProcessor processor;
    processor.addIncludePath(_folder.filePath("first"));
    processor.addIncludePath(_folder.path());
    const QByteArray main = "#version 150\n#include \"a.glslh\"\nuniform float u_Once;\nout vec4 color;\n"
                            "void main() { color = tint() * u_Once; }\n";
    const QByteArray a = "#include \"b.glslh\"\nvec4 tint() { return kTint; }\n";
    const auto constant = [](const char *value) {
        return QByteArray("const vec4 kTint = vec4(") + value + ");\n";
    };
    const QString file = addFile("my.frag", main);
    addFile("a.glslh", a);
    addFile("b.glslh", constant("1, 0, 0, 1"));
    ProgramReloader reloader(
        [&](ShaderProgram &program, ProgramBuilder &builder) {
            program.setMacroProcessor(&processor);
            return builder.addShader(GL_VERTEX_SHADER, kAllOver, "all over")
                   && builder.addShaderFromFile(GL_FRAGMENT_SHADER, file);
        },
        [](ShaderProgram &program) { program.setUniform("u_Once", QVariant(1.0f)); });
    const auto write = [&](const char *name, const QByteArray &bytes) {
        return [=] { addFile(name, bytes); };
    };
    const auto replace = [&](const char *name, const QByteArray &bytes) {
        return [=] { std::rename(qPrintable(addFile("new", bytes)), qPrintable(_folder.filePath(name))); };
    };
    const auto remove = [&](const char *name) { return [=] { QFile::remove(_folder.filePath(name)); }; };
    const struct
    {
        std::function<void()> change;
        QVector4D color;
        QString report; // a part of it; empty for a success
    } steps[] = {
        {write("b.glslh", constant("0, 1, 0, 1")), {0, 1, 0, 1}, ""}, // of the same size
        {write("b.glslh", constant("0, 0, 1, 1")), {0, 0, 1, 1}, ""},
        {write("a.glslh", a + "\n#include \"c.glslh\"\n"), {0, 0, 1, 1}, ""}, // of a missing file
        {write("c.glslh", "vec4 wrong = kTint.xyz;\n"), {0, 0, 1, 1}, "c.glslh:1 (from "},
        {write("c.glslh", "\n"), {0, 0, 1, 1}, ""},
        {write("my.frag", QByteArray(main).replace("tint()", "tint().bgra")), {1, 0, 0, 1}, ""},
        {write("my.frag", QByteArray(main).replace("tint()", "tint(")), {1, 0, 0, 1}, file + ":5: error: "},
        {write("my.frag", main), {0, 0, 1, 1}, ""},
        {replace("b.glslh", constant("1, 1, 0, 1")), {1, 1, 0, 1}, ""},
        {remove("b.glslh"), {1, 1, 0, 1}, "a.glslh:1: error: no include path has the file 'b.glslh'\n"},
        {write("b.glslh", constant("1, 0, 0, 1")), {1, 0, 0, 1}, ""},
        {write("first/b.glslh", constant("0, 1, 1, 1")), {0, 1, 1, 1}, ""},
        {remove("first/b.glslh"), {1, 0, 0, 1}, ""},
        {remove("my.frag"), {1, 0, 0, 1}, "error: couldn't find shader source file '" + file + "'"},
        {write("my.frag", QByteArray(main).replace("tint()", "1.0 - tint()")), {0, 1, 1, 0}, ""},
    };
    for (const auto &step : steps) {
        EXPECT_FALSE(reloader.poll());
        const QSharedPointer<ShaderProgram> before = reloader.program();
        before->bind();
        step.change();
        EXPECT_TRUE(reloader.poll());
        const bool isBuilt = step.report.isEmpty();
        EXPECT_EQ(isBuilt, reloader.report().isEmpty()) << qPrintable(reloader.report());
        EXPECT_TRUE(reloader.report().contains(step.report)) << qPrintable(reloader.report());
        EXPECT_EQ(isBuilt, reloader.program() != before);
        EXPECT_EQ(reloader.program().data(), ShaderProgram::currentShaderProgram());
        EXPECT_TRUE(drawnPixels(*reloader.program(), 1, 1).isNear(0, 0, step.color, 0.0f));
        reloader.program()->unbind();
        removeTexts(reloader.report());
    }
    EXPECT_EQ(7, reloader.files().filter(_folder.path()).size()); // three includes in two folders; the stage
    _capture.take();
    TestContext::takeDriverReports();
}

TEST_F(ShadersTest, TheLinterFindsEachMistakeAtItsLine)
{
    addFile("plain.glslh", "float a;\n");
    addFile("guarded.glslh", "// A guard.\n#ifndef G\n#define G\nfloat b;\n#endif\n");
    _processor.addDefine("ONE", "1");
    const LineMap::PlanTexts plans{{"Known", "mat4 getMatrix();\n"}};
    const struct
    {
        const char *source;
        QString finding; // a finding without its file; empty for none
    } rows[] = {
        {"#include \"plain.glslh\"\n#include \"guarded.glslh\"\n#include \"guarded.glslh\"\n", ""},
        {"#include \"plain.glslh\"\n\n#include \"plain.glslh\"\n",
         "3: warning: '" + _folder.filePath("plain.glslh")
             + "' is included again, without an include guard; first at main:1"},
        {"\n#include \"none\"\n", "2: error: no include path has the file 'none'"},
        {"#instancedata \"Known\"", ""},
        {"#instancedata \"Unknown\"",
         "1: error: unknown plan 'Unknown': register it before the shader is made"},
        {"#macro M float m;\n", "1: note: macro 'M' is not registered: its default is used"},
        {" #include \"plain.glslh\"\n", "1: warning: #include is not expanded: it needs a line of its own "
                                        "without indentation, and a name in double quotes"},
        {"// #include <plain.glslh>\n/*\n#include <a>\n*/", ""},
        {"#macro\n", "1: warning: #macro is not expanded: it needs a line of its own, a name and a default"},
        {"#if LIMIT > 3\n#endif\n", "1: error: 'LIMIT' is not defined here; in an #if it has no value"},
        {"#version 150\n#if ONE == 1 && __VERSION__ >= 150 && !defined(LIMIT)\n#else\n#if "
         "LIMIT\n#endif\n#endif\n",
         ""},
        {"#ifdef LIMIT\n#if LIMIT > 3\n#endif\n#elif defined(OTHER) && OTHER > 2\n#elif 0 || (1 + 2) * 3 == "
         "9\n#else\n#if "
         "NEVER\n#endif\n#endif\n",
         ""},
        {"#ifdef GL_ARB_x\n#define X 1\n#endif\n#if X\n#endif\n#ifndef GL_ARB_x\n#if LIMIT\n#endif\n#endif",
         "7: error: 'LIMIT' is not defined here; in an #if it has no value"},
        {"#define SELF SELF + SELF\n#if SELF\n#if LIMIT\n#endif\n#endif\n#undef SELF\n#ifdef SELF\n#if "
         "NEVER\n#endif\n#endif",
         "3: error: 'LIMIT' is not defined here; in an #if it has no value"},
        {"#ifdef GL_ARB_x\n#else\n#define Y 1\n#endif\n#ifndef Y\n#if LIMIT\n#endif\n#endif",
         "6: error: 'LIMIT' is not defined here; in an #if it has no value"},
        {"#if 0\n#elif LIMIT\n#endif\n", "2: error: 'LIMIT' is not defined here; in an #if it has no value"},
        {"#if 1\n", "1: error: this condition has no #endif"},
        {"\n#endif\n", "2: error: #endif without an #if"},
        {"#include \"ZelUtilities.glslh\"\nvoid main()\n{\n    getDrawID();\n    max(1, 2);\n}\n",
         "4: warning: no file of this stage defines getDrawID(); link one of ZelUtilities.glslc, "
         "ZelUtilities.vert, VisibilityBuffer.glslc: program.addShaderFromFile(GL_VERTEX_SHADER, "
         "\"ZelUtilities.glslc\")"},
        {"float a();\nfloat b();\nvoid main()\n{\n    a() + b() * radians(a());\n}\n",
         "5: warning: no file of this stage defines a()\nmain:5: warning: no file of this stage defines b()"},
        {"#include \"ImportanceSample.glslh\"\nvoid main()\n{\n    hammersley();\n    pdfBRDF();\n}\n",
         "4: warning: no file of this stage defines hammersley() and pdfBRDF(); link ImportanceSample.glslc: "
         "program.addShaderFromFile(GL_VERTEX_SHADER, \"ImportanceSample.glslc\")"},
        {"float f();\n#ifdef NEVER\n#define F \\\nfloat f() { }\n#endif\nvoid main() { f(); }\n",
         "6: warning: no file of this stage defines f()"},
        {"float f();\r\n#define F \\\r\nfloat f() { }\r\nvoid main() { f(); }\r\n",
         "4: warning: no file of this stage defines f()"},
        {"// \\\n#if LIMIT\n", ""},
        {"#ifdef NEVER\nint f();\nint g()\n{\n    return f();\n}\n#endif\n", ""},
        {"#include \"ZelUtilities.glslh\"\nuint getDrawID()\n{\n    return 0u;\n}\nvoid main()\n{\n    "
         "getDrawID();\n}\n",
         ""},
    };
    for (const auto &row : rows) {
        const LineMap map(row.source, "main", &_processor, &plans);
        QStringList texts;
        for (const auto &finding : ShaderLint::lint(map) + ShaderLint::lintStage({map}, GL_VERTEX_SHADER)) {
            texts.append(finding.toString());
        }
        EXPECT_EQ(row.finding.isEmpty() ? QString() : "main:" + row.finding, texts.join('\n')) << row.source;
    }
}

#ifdef ZELGLSL
TEST_F(ShadersTest, TheToolExpandsLintsAndDrawsAHostsFolder)
{
    const QString file =
        addFile("my.vert", "#version 150\n#include \"a.glslh\"\nvoid main()\n{\n    getDrawID();\n}\n");
    const QString a = addFile("a.glslh", "#include \"ZelUtilities.glslh\"\n#if LIMIT\n#endif\n");
    const QString log =
        addFile("log", "nothing\n[ZelCheck] texture 5 is incomplete and reads as black. It\n");
    const QStringList folder{"-I", _folder.path(), file};
    _processor.addDefine("LIMIT", "0");
    const QString expanded = GLSLMacroProcessor::process(bytesOf(file), &_processor);
    const struct
    {
        QStringList arguments;
        int code;
        QString output; // the start, or all of an expansion
    } rows[] = {
        {QStringList{"expand", "-D", "LIMIT=0"} + folder, 0, expanded},
        {QStringList{"expand", "--map"} + folder, 0, file + ":1\t#version 150\n"},
        {{"expand", file}, 1, "zelglsl: " + file + ":2: no include path has the file 'a.glslh'\n"},
        {QStringList{"lint"} + folder, 1, a + ":2: error: 'LIMIT' is not defined here"},
        {QStringList{"lint", "-DLIMIT=1"} + folder, 0,
         file + ":5: warning: no file of this stage defines getDrawID(); link"},
        {QStringList{"lint", "-DLIMIT=1", "--strict"} + folder, 1, file + ":5: warning: "},
        {QStringList{"lint", "-DLIMIT=1", "--strict", "-L", "ZelUtilities.glslc"} + folder, 0, ""},
        {QStringList{"graph"} + folder, 0, file + "\n    " + a + " (line 2)\n        "},
        {QStringList{"graph", "--dot"} + folder, 0, "digraph shaders {\n"},
        {{"explain", "-h"}, 0, "Usage: "},
        {{"--strict", "explain", "x"}, 2, "zelglsl: explain must be the first argument; see"},
        {{"lint", "--colour"}, 2, "zelglsl: Unknown option 'colour'; see zelglsl --help\n"},
        {{"expand", "-D", "=1", file}, 2, "zelglsl: -D =1: a name is missing; see"},
        {{"lint", "--map", file}, 2, "zelglsl: --map applies to expand, not to lint; see"},
        {{"lint"}, 2, "zelglsl: lint needs a file; see zelglsl --help\n"},
        {{"draw", file}, 2, "zelglsl: unknown command 'draw'"},
        {{"lint", "--stage", "comp", file}, 2, "zelglsl: --stage comp: the stages are"},
        {{"lint", "-I", "/none", file}, 2, "zelglsl: -I /none: no such folder"},
        {{"lint", "none.vert"}, 3, "zelglsl: cannot open none.vert"},
        {{"explain", "[Buffer.cpp:7] [ !! ] Assertion '0 != a' failed: Buffer Object is already bound on "
                     "bind to target 3"},
         0,
         "critical: Buffer Object is already bound on bind to target {}\n    Cause:  `bind()` or"},
        {{"explain", "zelview:", "--camera", "and --view exclude each other"},
         0,
         "error: --camera and --view"},
        {{"explain", "IS null on STORAGE"}, 1, "zelglsl: no known message in this text\n"},
        {{"explain", "is null during STORAGE"},
         0,
         "critical: Buffer Object is NULL during StorageBuffer setup\n"},
        {{"explain", "-"}, 0, "warning: is incomplete and reads as black. It\n"},
        {{"explain"}, 2, "zelglsl: explain needs a message"},
    };
    for (const auto &row : rows) {
        QProcess tool;
        tool.setProcessChannelMode(QProcess::MergedChannels);
        tool.setStandardInputFile(log);
        tool.start(ZELGLSL, row.arguments);
        ASSERT_TRUE(tool.waitForFinished(-1)) << qPrintable(tool.errorString());
        const QString output = tool.readAll();
        EXPECT_EQ(row.code, tool.exitCode()) << qPrintable(row.arguments.join(' ') + '\n' + output);
        EXPECT_EQ(row.output, output.left(row.output.size())) << qPrintable(row.arguments.join(' '));
    }
}
#endif

namespace {

class ProgramCacheTest : public ShadersTest
{
protected:
    /// Builds a program as each start of a host does. Returns how many stages and programs it compiled and linked.
    size_t start(ProgramCache &cache)
    {
        ShaderProgram program(nullptr);
        program.setMacroProcessor(&_processor);
        program.setFragDataLocations(_outputs);
        program.setTransformFeedbackVaryings({"gl_Position"}, _feedbackMode);
        ProgramBuilder builder(program);
        builder.setCache(&cache);
        builder.addShader(GL_VERTEX_SHADER, kAllOver, "my.vert");
        QString source = QString(kAllWhite).replace("void", "uniform Block { vec4 b; };void");
        builder.addShader(GL_FRAGMENT_SHADER, source.replace("1.0", "b"), "my.frag");
        Taps<&glCompileShader, &glLinkProgram> taps;
        EXPECT_TRUE(builder.link());
        GLint point = -1; // not the one that an earlier start has set
        const unsigned int index = program.getUniformBlockIndex("Block");
        glGetActiveUniformBlockiv(program.shaderProgramID(), index, GL_UNIFORM_BLOCK_BINDING, &point);
        EXPECT_EQ(0, point);
        program.setUniformBlockBinding(index, 3);
        EXPECT_EQ(_outputs.indexOf("color"), glGetFragDataLocation(program.shaderProgramID(), "color"));
        return taps.count();
    }

    size_t start() { return start(_cache); }

    QStringList files() const { return QDir(_cache.folder()).entryList(QDir::Files); }

    const bool _hasBinaries = hasGLExtension("GL_ARB_get_program_binary");
    QStringList _outputs{"color"};
    GLenum _feedbackMode = GL_INTERLEAVED_ATTRIBS;
    ProgramCache _cache{_folder.filePath("new/programs")};
    const QString _logged = "warning [ProgramCache.cpp:#] ";
};

} // namespace

TEST_F(ProgramCacheTest, AWarmStartCompilesAndLinksNothing)
{
    Hook<&glGetString> strings;
    const std::function<void()> changes[] = {
        [] {},
        [&] { _processor.addDefine("CHANGED", "1"); },
        [&] { _outputs.prepend("none"); },
        [&] { _feedbackMode = GL_SEPARATE_ATTRIBS; },
        [&] { strings.replace([&](GLenum) { return reinterpret_cast<const GLubyte *>("foreign driver"); }); },
    };
    for (const auto &change : changes) {
        change();
        EXPECT_EQ(3u, start());
        EXPECT_EQ(_hasBinaries ? 0u : 3u, start());
    }
    EXPECT_EQ(_hasBinaries ? int(std::size(changes)) : 0, files().size());
    const FakeLimits none(GL_NUM_PROGRAM_BINARY_FORMATS, 0);
    EXPECT_EQ(6u, start() + start());
    EXPECT_MESSAGES(_logged
                    + "The driver has no program binaries: update it, or switch on its own shader cache");
    ProgramCache other(_cache.folder());
    ShaderProgram program(nullptr);
    ProgramBuilder builder(program);
    builder.setCache(&other);
    builder.addShader(GL_VERTEX_SHADER, "wrong", "my.vert");
    EXPECT_FALSE(builder.link());
    EXPECT_TRUE(_capture.takeTexts().value(0).contains("no program binaries")) << "the report replaces it";
    removeTexts(builder.report());
    TestContext::takeDriverReports();
}

TEST_F(ProgramCacheTest, UnusableFilesAreWrittenAgainAndUnusedOnesAreDeleted)
{
    if (!_hasBinaries) {
        GTEST_SKIP() << "Needs GL_ARB_get_program_binary";
    }
    Hook<&glLinkProgram> links;
    bool isFirst = true;
    links.replace([&](GLuint name) { // another process is the first to write the file
        links.original(name);
        EXPECT_TRUE(!std::exchange(isFirst, false) || start() == 3);
    });
    EXPECT_EQ(6u, start() + start());
    const QString path = _cache.folder() + '/' + files().value(0);
    const QByteArray good = bytesOf(path);
    for (const int offset : {0, 16, 48, 52, 56, 76, good.size() - 1}) { // the start of each part, and the end
        QByteArray changed = good;
        changed[offset] = char(good.at(offset) ^ 1);
        for (const QByteArray &bytes : {changed, good.left(offset), good + good.left(offset + 1)}) {
            writeFile(path, bytes);
            EXPECT_EQ(3u, start() + start());
            EXPECT_MESSAGES(_logged + "'" + path
                            + "' is damaged or of another program: it is deleted and written again");
        }
    }
    Hook<&glGetProgramiv> queries;
    GLenum failure = GL_LINK_STATUS; // once
    queries.replace([&](GLuint name, GLenum parameter, GLint *value) {
        queries.original(name, parameter, value);
        *value = parameter == failure ? int(failure = 0) : *value;
    });
    EXPECT_EQ(3u, start() + start());
    EXPECT_MESSAGES(_logged + "The driver refuses '" + path + "': it is deleted and written again");
    {
        const FakeLimits others(GL_PROGRAM_BINARY_FORMATS, 1);
        EXPECT_EQ(3u, start());
        EXPECT_MESSAGES(_logged + "The driver refuses '" + path + "': it is deleted and written again");
    }
    failure = GL_PROGRAM_BINARY_LENGTH; // a driver that needs the hint before a link
    EXPECT_EQ(4u, start() + start());

    writeFile(path + ".temporary", "of another process");
    ProgramCache two(_cache.folder(), good.size() * 5 / 2);
    for (const char *define : {"A", "B", "C", "D"}) {
        _processor.addDefine(define, "1");
        EXPECT_EQ(3u, start(two));
        _processor.removeDefine(define);
        EXPECT_EQ(0, QProcess::execute("sh", {"-c", "touch -d @1 " + _cache.folder() + "/*"}));
        EXPECT_EQ(0u, start(two)) << "the other file is now the least recently used";
        EXPECT_EQ(*define == 'A' ? 3 : 2, files().size()) << "an old temporary file is deleted";
    }
}

TEST_F(ProgramCacheTest, WhatCannotBeKeptIsLinkedFromSource)
{
    const QString file = writeFile(_folder.filePath("file"), "");
    ProgramCache blocked(file + "/programs");
    ProgramCache small(_folder.path(), 99);
    EXPECT_EQ(12u, start(blocked) + start(blocked) + start(small) + start(small));
    ShaderProgram cleared(nullptr); // its key would be that of others too
    cleared.addShader(GL_VERTEX_SHADER, kAtOrigin, QString());
    EXPECT_TRUE(cleared.compile());
    cleared.clearSource();
    EXPECT_TRUE(_cache.link(cleared));
    EXPECT_EQ(QStringList(), files());
    const QStringList logged = _capture.takeTexts();
    EXPECT_EQ(_hasBinaries ? 2 : 3, logged.size()) << "each cache once";
    const QRegularExpression text("Programs are not kept in '.*': (the folder cannot|a program of) .* Give");
    EXPECT_EQ(_hasBinaries ? 2 : 0, logged.filter(text).size());
}
