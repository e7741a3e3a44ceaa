// The diagnosis of shaders: where each line comes from, what a driver's log means, what a linter finds.

#include "support/Files.h"
#include "support/GLFixture.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelShaders/ZelShaders.h>

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

#include <random>

using namespace Orvane::Zel;
using namespace Orvane::ZelShaders;

namespace {

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

    QTemporaryDir _folder;
    GLSLMacroProcessor _processor;
};

} // namespace

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
