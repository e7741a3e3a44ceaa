// The GLSL tree is complete. The driver and the reference compiler of Khronos compile each of its files alone, with every set of
// defines that the library can give it, or that a host may choose.

#include "support/Files.h"
#include "support/GLFixture.h"

#include <ZelCore/Resources.h>
#include <ZelGL/Array2DTextureManager.h>
#include <ZelGL/BindlessTextureManager.h>
#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/ShadowMapManager.h>

#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <functional>

using namespace Orvane::Zel;

int qInitResources_GLResources();
int qCleanupResources_GLResources();

namespace {

/// A set of defines: its name in a failure, and the function that adds it.
struct Defines
{
    QString name;
    std::function<void(GLSLMacroProcessor &)> add;
};

using Sets = std::vector<Defines>;

const Defines kNone{QStringLiteral("no defines"), [](GLSLMacroProcessor &) {}};

Sets joined(const std::vector<Sets> &lists)
{
    Sets sets;
    for (const Sets &list : lists) {
        sets.insert(sets.end(), list.begin(), list.end());
    }
    return sets;
}

void setUpBaseInstance(GLSLMacroProcessor &processor)
{
    DrawBuffers::useBaseInstanceDrawing(true);
    DrawBuffers::setup(&processor);
    DrawBuffers::useBaseInstanceDrawing(false);
}

/// Each set, with and without the host's switch for checks of tokens.
Sets withDebug(Sets sets)
{
    for (const Defines &defines : Sets(sets)) {
        sets.push_back({defines.name + " DEBUG", [defines](GLSLMacroProcessor &processor) {
                            defines.add(processor);
                            processor.addDefine("DEBUG", "1");
                        }});
    }
    return sets;
}

/// The defines of a manager's setup(), for several numbers of slots.
template <typename Manager>
Sets setsOf(
    const QString &name, const std::function<void(Manager &)> &configure = [](Manager &) {})
{
    Sets sets;
    for (const int count : {1, 8, 31, 32}) {
        sets.push_back({QStringLiteral("%1, %2 slots").arg(name).arg(count),
                        [configure, count](GLSLMacroProcessor &processor) {
                            Manager manager;
                            manager.setMaxSlots(count);
                            configure(manager);
                            manager.setup(&processor);
                        }});
    }
    return sets;
}

Sets array2DSets()
{
    std::vector<Sets> lists;
    for (int flags = 0; flags < 8; ++flags) {
        const QString name =
            QStringLiteral("array%1%2%3")
                .arg(flags & 1 ? ", map as uniforms" : "", flags & 2 ? ", map as texture" : "",
                     flags & 4 ? ", explicit access" : "");
        lists.push_back(setsOf<Array2DTextureManager>(name, [flags](Array2DTextureManager &manager) {
            manager.setUseSlotMapUniforms((flags & 1) != 0);
            manager.setUseSlotMapTexture((flags & 2) != 0);
            manager.setUseExplicitlyArrayAccessInGLSL((flags & 4) != 0);
        }));
    }
    return joined(lists);
}

Sets shadowSets()
{
    Sets sets;
    for (const int options : {0, 1}) {
        sets.push_back(
            {QStringLiteral("shadows, options %1").arg(options),
             [options](GLSLMacroProcessor &processor) { ShadowMapManager::setup(&processor, options); }});
    }
    return sets;
}

/// One set of several defines.
Defines allOf(const std::vector<std::pair<QString, QString>> &defines)
{
    QStringList names;
    for (const auto &[define, value] : defines) {
        names += define + ' ' + value;
    }
    return {names.join(", "), [defines](GLSLMacroProcessor &processor) {
                for (const auto &[define, value] : defines) {
                    processor.addDefine(define, value);
                }
            }};
}

/// One define, with one of the values in each set.
Sets valuesOf(const QString &define, const std::vector<int> &values)
{
    Sets sets;
    for (const int value : values) {
        sets.push_back(allOf({{define, QString::number(value)}}));
    }
    return sets;
}

/// The models, those of the other numbering, and the other visibility term.
Sets shadingSets()
{
    return joined(
        {valuesOf("ZEL_BRDF", {0, 1, 2, 3, 4}),
         {allOf({{"UNREAL_ONLY", "1"}, {"ZEL_BRDF", "0"}}), allOf({{"UNREAL_ONLY", "1"}, {"ZEL_BRDF", "1"}}),
          allOf({{"BRIX_GTR_CRUE", "1"}, {"ZEL_BRDF", "2"}})}});
}

/// Every preset of FXAA, and no preset at all.
Sets fxaaSets()
{
    return joined({{kNone},
                   valuesOf("FXAA_QUALITY__PRESET",
                            {10, 11, 12, 13, 14, 15, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 39}),
                   valuesOf("FXAA_GATHER4_ALPHA", {0}),
                   valuesOf("FXAA_DISCARD", {1})});
}

/// Both languages of SMAA with every preset, and with the other settings of a host.
Sets smaaSets()
{
    Sets sets;
    for (const char *language : {"SMAA_GLSL_3", "SMAA_GLSL_4"}) {
        for (const char *option : {"SMAA_PRESET_LOW", "SMAA_PRESET_MEDIUM", "SMAA_PRESET_HIGH",
                                   "SMAA_PRESET_ULTRA", "SMAA_PREDICATION", "SMAA_REPROJECTION",
                                   "SMAA_DISABLE_DIAG_DETECTION", "SMAA_DISABLE_CORNER_DETECTION"}) {
            sets.push_back(
                allOf({{"SMAA_RT_METRICS", "vec4(0.25, 0.125, 4.0, 8.0)"}, {language, "1"}, {option, "1"}}));
        }
    }
    return sets;
}

/// Most files take only the define of the draw ID.
Sets setsFor(const QString &file)
{
    const auto is = [&](const char *start) { return file.startsWith(QLatin1String(start)); };
    if (is("Array2DTextureManager")) {
        return withDebug(array2DSets());
    }
    if (is("BindlessTextureManager")) {
        return withDebug(setsOf<BindlessTextureManager>("bindless"));
    }
    if (is("SamplerTextureManager")) {
        return withDebug(setsOf<SamplerTextureManager>("sampler"));
    }
    if (is("TextureManager")) {
        return withDebug(joined({{kNone}, setsOf<SamplerTextureManager>("sampler"), array2DSets()}));
    }
    if (is("ShadowMapManager")) {
        return shadowSets();
    }
    if (is("prefilteredEnvMap") || is("preintegratedBRDFTable") || is("ImportanceSample")) {
        return shadingSets();
    }
    if (is("CubeRender_NDotL")) {
        return valuesOf("TVO_CUBERENDER_NDOT_BATCH_SIZE", {1, 2, 4, 8});
    }
    if (is("CubeRender_Blur")) { // the library never adds the define that it reads
        return valuesOf("TVO_CUBERENDER_BLUR_BATCH_SIZE", {1, 2, 4, 8});
    }
    if (is("CubeRender_") && file.endsWith(QLatin1String(".frag"))) {
        return {kNone, allOf({{"TVO_CUBERENDER_CONVERT_COLORSPACE", "tvoConvert_sRGB_To_Linear"}})};
    }
    if (is("FXAA")) {
        return fxaaSets();
    }
    if (is("SMAA")) {
        return smaaSets();
    }
    return {kNone, {QStringLiteral("base instance"), setUpBaseInstance}};
}

bool isVertexStage(const QString &file)
{
    return file.endsWith(QLatin1String(".vert")) || file.contains(QLatin1String("VS."));
}

class GLSLTreeTest : public GLTest, public testing::WithParamInterface<QString>
{
protected:
    GLSLTreeTest()
    {
        auto *plan = new InstanceDataPlan("InstanceInfo"); // which the host of VisibilityBuffer.glslc adds
        plan->addMember(InstanceDataPlan::eMat4, "ModelMatrix");
        InstanceDataRegistry::Instance()->registerPlan(plan);
        _capture.take(); // plans log their size
    }

    ~GLSLTreeTest() override { InstanceDataRegistry::Instance()->clear(); }
};

QStringList sortedFilesOf(const QString &folder)
{
    QStringList files = QDir(folder).entryList(QDir::Files);
    std::sort(files.begin(), files.end());
    return files;
}

const QStringList kIncludes = sortedFilesOf(":/GLSL/include");
const QStringList kSources = sortedFilesOf(":/GLSL/src");

} // namespace

TEST(GLSLTree, InsideTheLibraryIsTheTreeOfTheSources)
{
    for (const auto &[folder, files, count] :
         {std::tuple<QString, QStringList, int>("/GLSL/include/", kIncludes, 10),
          {"/GLSL/src/", kSources, 31}}) {
        EXPECT_EQ(count, files.size());
        EXPECT_EQ(files, sortedFilesOf(resourcesPath() + folder));
        for (const QString &file : files) {
            EXPECT_EQ(bytesOf(resourcesPath() + folder + file), bytesOf(':' + folder + file))
                << qPrintable(file);
        }
    }
}

TEST(GLSLTree, ComesAndGoesWithItsTwoFunctions)
{
    qCleanupResources_GLResources();
    EXPECT_FALSE(QFile::exists(":/GLSL/src/ZelUtilities.glslc"));
    qInitResources_GLResources();
    EXPECT_TRUE(QFile::exists(":/GLSL/src/ZelUtilities.glslc"));
}

TEST_P(GLSLTreeTest, CompilesUnderEverySetOfDefines)
{
    const QString file = GetParam();
    const bool isBindless = file.contains("Bindless");
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const bool driverHasIt =
        (!isBindless || BindlessTextureManager::isSupported())
        && (file != "SMAA.glslh" || context->hasExtension("GL_ARB_gpu_shader5"))
        && (file != "ZelUtilities.vert" || context->hasExtension("GL_ARB_shader_draw_parameters"));
    const QTemporaryDir folder;
    QStringList reference{"-S", isVertexStage(file) ? "vert" : "frag"};
    for (const Defines &defines : setsFor(file)) {
        GLSLMacroProcessor processor;
        defines.add(processor);
        _capture.take(); // managers log their tokens
        if (isBindless && !driverHasIt) {
            processor.addDefine("TEXTURE_MANAGER_BINDLESS_ARB", "1"); // for the reference compiler
        }
        const QString text = file.endsWith(QLatin1String(".glslh"))
                                 ? QStringLiteral("#version %1\n#include \"%2\"\nvoid main() {}\n")
                                       .arg(defines.name.contains("GLSL_4") ? "400" : "150", file)
                                 : QString(bytesOf(":/GLSL/src/" + file));
        QByteArray expanded = GLSLMacroProcessor::process(text, &processor).toLatin1();
        if (file == "ZelUtilities.vert") { // the reference compiler has gl_BaseInstanceARB since version 440
            expanded.replace("#version 150", "#version 440");
        }
        reference += writeFile(folder.filePath(QString::number(reference.size())), expanded);
        ShaderProgram program(nullptr);
        program.setMacroProcessor(&processor);
        program.addShader(isVertexStage(file) ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER, text, QString());
        EXPECT_TRUE(!driverHasIt || program.compile()) << qPrintable(defines.name);
        EXPECT_MESSAGES();
        if (HasFailure()) {
            return; // the log of one set is enough
        }
    }
    QProcess compiler;
    compiler.start("glslangValidator", reference);
    if (!compiler.waitForStarted()) {
        GTEST_SKIP() << "Needs the program glslangValidator";
    }
    ASSERT_TRUE(compiler.waitForFinished());
    EXPECT_EQ(0, compiler.exitCode()) << compiler.readAll().toStdString();
    if (!driverHasIt && !HasFailure()) {
        GTEST_SKIP() << "The driver lacks an extension of the file, which the reference compiler accepts";
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, GLSLTreeTest, testing::ValuesIn(kSources + kIncludes),
                         [](const testing::TestParamInfo<QString> &file) {
                             QString name = file.param;
                             return name.replace('.', '_').toStdString();
                         });
