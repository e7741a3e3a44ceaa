// The GLSL tree is complete. The driver and the reference compiler of Khronos compile each of its files alone, with every set of
// defines that the library can give it, or that a host may choose.

#include "support/Files.h"
#include "support/GLFixture.h"

#include <ZelCore/Resources.h>
#include <ZelGL/ZelGL.h>

#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <functional>

using namespace Orvane::Zel;

int qInitResources_GLResources();
int qCleanupResources_GLResources();

namespace {

/// Each set of defines is a function that adds it.
using Sets = std::vector<std::function<void(GLSLMacroProcessor &)>>;

/// Texts such as "NAME VALUE, OTHER VALUE", and for each value one such text with "%" for it.
Sets setsOf(QStringList texts, const QString &pattern = QString(), const std::vector<int> &values = {})
{
    for (const int value : values) {
        texts += QString(pattern).replace('%', QString::number(value));
    }
    Sets sets;
    for (const QString &text : texts) {
        sets.push_back([text](GLSLMacroProcessor &processor) {
            for (const QString &define : text.split(", ", Qt::SkipEmptyParts)) {
                processor.addDefine(define.section(' ', 0, 0), define.section(' ', 1));
            }
        });
    }
    return sets;
}

Sets operator+(Sets a, const Sets &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// The defines of a manager's setup() for several numbers of slots, with and without the host's switch for checks of tokens.
template <typename Manager>
Sets setsOfManager(const std::function<void(Manager &)> &configure = [](Manager &) {})
{
    Sets sets;
    for (const int count : {1, 8, 31, 32, -1, -8, -31, -32}) {
        sets.push_back([configure, count](GLSLMacroProcessor &processor) {
            Manager manager;
            manager.setMaxSlots(std::abs(count));
            configure(manager);
            manager.setup(&processor);
            if (count < 0) {
                processor.addDefine("DEBUG", "1");
            }
        });
    }
    return sets;
}

Sets setsOfArrays()
{
    Sets sets;
    for (int flags = 0; flags < 8; ++flags) {
        sets = sets + setsOfManager<Array2DTextureManager>([flags](Array2DTextureManager &manager) {
                   manager.setUseSlotMapUniforms((flags & 1) != 0);
                   manager.setUseSlotMapTexture((flags & 2) != 0);
                   manager.setUseExplicitlyArrayAccessInGLSL((flags & 4) != 0);
               });
    }
    return sets;
}

/// The models, those of the other numbering, and the other visibility term.
const Sets kShading =
    setsOf({"UNREAL_ONLY 1, ZEL_BRDF 0", "UNREAL_ONLY 1, ZEL_BRDF 1", "BRIX_GTR_CRUE 1, ZEL_BRDF 2"},
           "ZEL_BRDF %", {0, 1, 2, 3, 4});

/// The settings of a host: each preset and option, in one language of SMAA.
Sets setsOfSmaa(const QString &language)
{
    QStringList texts;
    for (const char *option : {"PRESET_LOW", "PRESET_MEDIUM", "PRESET_HIGH", "PRESET_ULTRA", "PREDICATION",
                               "REPROJECTION", "DISABLE_DIAG_DETECTION", "DISABLE_CORNER_DETECTION"}) {
        texts += QString("SMAA_RT_METRICS vec4(0.25), %1 1, SMAA_%2 1").arg(language, option);
    }
    return setsOf(texts);
}

Sets setsFor(const QString &file)
{
    const std::pair<const char *, std::function<Sets()>> rows[] = {
        // by the start of the names of the files
        {"Array2DTextureManager", setsOfArrays},
        {"BindlessTextureManager", [] { return setsOfManager<BindlessTextureManager>(); }},
        {"SamplerTextureManager", [] { return setsOfManager<SamplerTextureManager>(); }},
        {"TextureManager",
         [] { return setsOf({""}) + setsOfManager<SamplerTextureManager>() + setsOfArrays(); }},
        {"ShadowMapManager",
         [] {
             return Sets{[](GLSLMacroProcessor &processor) { ShadowMapManager::setup(&processor, 0); },
                         [](GLSLMacroProcessor &processor) { ShadowMapManager::setup(&processor, 1); }};
         }},
        {"prefilteredEnvMap", [] { return kShading; }},
        {"preintegratedBRDFTable", [] { return kShading; }},
        {"ImportanceSample", [] { return kShading; }},
        {"CubeRender_NDotL",
         [] {
             return setsOf({}, "TVO_CUBERENDER_NDOT_BATCH_SIZE %", {1, 2, 4, 8});
         }},
        // The library never adds the define that it reads.
        {"CubeRender_Blur",
         [] {
             return setsOf({}, "TVO_CUBERENDER_BLUR_BATCH_SIZE %", {1, 2, 4, 8});
         }},
        {"CubeRender_",
         [] {
             return setsOf({"", "TVO_CUBERENDER_CONVERT_COLORSPACE tvoConvert_sRGB_To_Linear"});
         }},
        {"FXAA",
         [] {
             return setsOf({"", "FXAA_GATHER4_ALPHA 0", "FXAA_DISCARD 1"}, "FXAA_QUALITY__PRESET %",
                           {10, 11, 12, 13, 14, 15, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 39});
         }},
        {"SMAA", [] { return setsOfSmaa("SMAA_GLSL_3") + setsOfSmaa("SMAA_GLSL_4"); }},
        {"",
         [] {
             return setsOf({""}) + Sets{[](GLSLMacroProcessor &processor) {
                        DrawBuffers::useBaseInstanceDrawing(true);
                        DrawBuffers::setup(&processor);
                        DrawBuffers::useBaseInstanceDrawing(false);
                    }};
         }},
    };
    return std::find_if(std::begin(rows), std::end(rows),
                        [&](const auto &row) { return file.startsWith(row.first); })
        ->second();
}

const QStringList kIncludes = QDir(":/GLSL/include").entryList(QDir::Files, QDir::Name);
const QStringList kSources = QDir(":/GLSL/src").entryList(QDir::Files, QDir::Name);

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

TEST(GLSLTree, IsInsideTheLibraryBetweenItsTwoFunctions)
{
    EXPECT_EQ(10, kIncludes.size());
    EXPECT_EQ(31, kSources.size());
    for (const char *folder : {"/GLSL/include/", "/GLSL/src/"}) {
        const QDir tree(resourcesPath() + folder);
        EXPECT_EQ(QDir(QString(":") + folder).entryList(QDir::Files), tree.entryList(QDir::Files));
        for (const QString &file : tree.entryList(QDir::Files)) {
            EXPECT_EQ(bytesOf(tree.filePath(file)), bytesOf(QString(":") + folder + file))
                << qPrintable(file);
        }
    }
    qCleanupResources_GLResources();
    EXPECT_FALSE(QFile::exists(":/GLSL/src/ZelUtilities.glslc"));
    qInitResources_GLResources();
    EXPECT_TRUE(QFile::exists(":/GLSL/src/ZelUtilities.glslc"));
}

TEST_P(GLSLTreeTest, CompilesUnderEverySetOfDefines)
{
    const QString file = GetParam();
    const bool isVertexStage = file.endsWith(".vert") || file.contains("VS.");
    const bool isBindless = file.contains("Bindless");
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    const bool driverHasIt =
        (!isBindless || BindlessTextureManager::isSupported())
        && (file != "SMAA.glslh" || context->hasExtension("GL_ARB_gpu_shader5"))
        && (file != "ZelUtilities.vert" || context->hasExtension("GL_ARB_shader_draw_parameters"));
    const QTemporaryDir folder;
    QStringList reference{"-S", isVertexStage ? "vert" : "frag"};
    for (const auto &addDefines : setsFor(file)) {
        GLSLMacroProcessor processor;
        addDefines(processor);
        _capture.take(); // managers log their tokens
        if (isBindless && !driverHasIt) {
            processor.addDefine("TEXTURE_MANAGER_BINDLESS_ARB", "1"); // for the reference compiler
        }
        const QString defines = GLSLMacroProcessor::processDefines(&processor);
        const QString text = file.endsWith(".glslh")
                                 ? QString("#version %1\n#include \"%2\"\n#include \"%2\"\nvoid main() {}\n")
                                       .arg(defines.contains("SMAA_GLSL_4") ? "400" : "150", file)
                                 : QString(bytesOf(":/GLSL/src/" + file));
        QByteArray expanded = GLSLMacroProcessor::process(text, &processor).toLatin1();
        if (file == "ZelUtilities.vert") { // the reference compiler has gl_BaseInstanceARB since version 440
            expanded.replace("#version 150", "#version 440");
        }
        reference += writeFile(folder.filePath(QString::number(reference.size())), expanded);
        ShaderProgram program(nullptr);
        program.setMacroProcessor(&processor);
        program.addShader(isVertexStage ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER, text, QString());
        EXPECT_TRUE(!driverHasIt || program.compile()) << qPrintable(defines);
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
    ASSERT_TRUE(compiler.waitForFinished(-1));
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

} // namespace
