// Every file of the GLSL tree compiles, by itself, under every set of defines that the library can give it.

#include "support/GLFixture.h"

#include <ZelGL/Array2DTextureManager.h>
#include <ZelGL/BindlessTextureManager.h>
#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/SamplerTextureManager.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/ShadowMapManager.h>

#include <QtCore/QDir>

#include <functional>

using namespace Orvane::Zel;

namespace {

/// A set of defines: what it is called in a failure, and who makes it.
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

/// Each set again with the host's switch for checks of the token.
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

/// What a manager's setup() gives for several numbers of slots.
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

/// One define with each of some values.
Sets valuesOf(const QString &define, const std::vector<int> &values)
{
    Sets sets;
    for (const int value : values) {
        sets.push_back(
            {QStringLiteral("%1 %2").arg(define).arg(value), [define, value](GLSLMacroProcessor &processor) {
                 processor.addDefine(define, QString::number(value));
             }});
    }
    return sets;
}

/// Most files take no defines other than that of the draw ID.
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
        return valuesOf("ZEL_BRDF", {0, 1, 2, 3, 4});
    }
    if (is("CubeRender_NDotL")) {
        return valuesOf("TVO_CUBERENDER_NDOT_BATCH_SIZE", {1, 2, 4, 8});
    }
    if (is("CubeRender_Blur")) { // nothing in the library gives it the define that it reads
        return valuesOf("TVO_CUBERENDER_BLUR_BATCH_SIZE", {1, 2, 4, 8});
    }
    return {kNone, {QStringLiteral("base instance"), setUpBaseInstance}};
}

bool isVertexStage(const QString &file)
{
    return file.endsWith(QLatin1String(".vert")) || file.contains(QLatin1String("VS."));
}

class GLSLTreeTest : public GLTest, public testing::WithParamInterface<QString>
{
};

std::vector<QString> filesOfTree()
{
    std::vector<QString> files;
    for (const char *folder : {"src", "include"}) {
        for (const QString &name : QDir(QString(":/GLSL/") + folder).entryList(QDir::Files)) {
            files.push_back(name);
        }
    }
    return files;
}

} // namespace

TEST_P(GLSLTreeTest, CompilesUnderEverySetOfDefines)
{
    const QString file = GetParam();
    if (file.contains(QLatin1String("Bindless")) && !BindlessTextureManager::isSupported()) {
        GTEST_SKIP() << "Needs GL_ARB_bindless_texture";
    }
    for (const Defines &defines : setsFor(file)) {
        GLSLMacroProcessor processor;
        defines.add(processor);
        _capture.take(); // managers tell of their tokens
        ShaderProgram program(nullptr);
        program.setMacroProcessor(&processor);
        if (file.endsWith(QLatin1String(".glslh"))) {
            program.addShader(GL_FRAGMENT_SHADER, "#version 330\n#include \"" + file + "\"\nvoid main() {}\n",
                              QString());
        } else {
            program.addShaderFromFile(isVertexStage(file) ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER, file);
        }
        EXPECT_TRUE(program.compile()) << qPrintable(defines.name);
        EXPECT_MESSAGES();
        if (HasFailure()) {
            return; // the log of one set is long enough
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, GLSLTreeTest, testing::ValuesIn(filesOfTree()),
                         [](const testing::TestParamInfo<QString> &file) {
                             QString name = file.param;
                             return name.replace('.', '_').toStdString();
                         });
