/// \file
/// Functions of other libraries that this library replaces for the calls of a host and, where they are not of libZelGL, for
/// those of libZelGL: each calls the replaced one. They give the check the names of files, the members of instance data and the
/// entry points outside of the table, and enclose the passes of the library in debug groups.

#include "HostCalls.h"

#include "Labels.h"
#include "Objects.h"
#include "Reports.h"
#include "Watch.h"

#include "../Check.h"

#include <ZelGL/GPUModel.h>
#include <ZelGL/InstanceDataCollection.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/PrefilteredEnvMap.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/TextureIO.h>
#include <ZelGL/TextureProcessing.h>
#include <ZelGL/TvoImageCubemapUtils.h>

#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QMutex>

#include <dlfcn.h>

using namespace Orvane::Zel;
using namespace Orvane::ZelCheck;
using Bits = unsigned long long;
using Cubemap = TvoImageCubemapUtils::TvoRenderCubemapBase;
using Uniforms = QHash<QString, QVariant>;

namespace {

template <typename Function> Function *replacedFunction(const char *symbol)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, symbol));
}

/// By object, which may be deleted between two links.
struct StageFiles
{
    QMutex mutex;
    QHash<const ShaderProgram *, QStringList> byProgram;
};

StageFiles &stageFiles()
{
    static StageFiles &files = *new StageFiles; // never destroyed, like objects()
    return files;
}

void addStageFile(ShaderProgram *program, const QString &file)
{
    if (!Check::isRunning()) {
        return;
    }
    StageFiles &files = stageFiles();
    const QMutexLocker locker(&files.mutex);
    if (!files.byProgram.contains(program)) {
        QObject::connect(program, &QObject::destroyed, [program] {
            StageFiles &all = stageFiles();
            const QMutexLocker lockerOfAll(&all.mutex);
            all.byProgram.remove(program);
        });
    }
    QStringList &names = files.byProgram[program];
    const QString name = QFileInfo(file).fileName();
    if (!names.contains(name)) {
        names += name;
    }
}

} // namespace

namespace Orvane { namespace ZelCheck {

QString filesOfProgram(GLuint name)
{
    StageFiles &files = stageFiles();
    const ShaderProgram *const program = ShaderProgram::currentShaderProgram();
    const QMutexLocker locker(&files.mutex);
    const auto names = files.byProgram.constFind(program); // before a look at the program: it may be deleted
    const bool isIt = names != files.byProgram.constEnd() && program->shaderProgramID() == name;
    return isIt ? names->join(QStringLiteral(" + ")) : QString();
}

}} // namespace Orvane::ZelCheck

namespace {

constexpr const char *kMatrices[] = {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix"};

void checkMember(const InstanceDataCollection *collection, const QString &member)
{
    const InstanceDataPlan *const plan = collection->plan();
    if (!Check::isRunning() || plan == nullptr || plan->contains(member)) {
        return;
    }
    const Inside inside;
    report(Mistake::eMemberUnknown, 0, qHash(plan->name() + QLatin1Char('.') + member), [&] {
        QStringList members = plan->memberNames();
        members.sort();
        return QStringLiteral(
                   "The plan \"%1\" has no member \"%2\", so that set() overwrites its first member. "
                   "Its members are %3.")
            .arg(plan->name(), member, members.join(QLatin1String(", ")));
    });
}

/// A plan with none of the matrices is for drawables without a transform.
void checkMatrices(const InstanceDataCollection *object)
{
    const InstanceDataPlan *const plan = object != nullptr ? object->plan() : nullptr;
    if (!Check::isRunning() || plan == nullptr) {
        return;
    }
    QStringList missing;
    for (const char *name : kMatrices) {
        if (!plan->contains(QLatin1String(name))) {
            missing += QLatin1String(name);
        }
    }
    if (missing.isEmpty() || missing.size() == int(std::size(kMatrices))) {
        return;
    }
    const Inside inside;
    report(Mistake::eMatrixMissing, 0, qHash(plan->name()), [&] {
        return QStringLiteral("The plan \"%1\" of a scene's objects has no %2, so that transforms overwrite "
                              "other members. "
                              "Add it with the type eMat4.")
            .arg(plan->name(), missing.join(QLatin1String(", ")));
    });
}

} // namespace

// Each function gets the name of a symbol of its own; a member function has its object as the first parameter. The block runs
// before the replaced function.
#define ZELCHECK_REPLACE(id, symbol, Result, parameters, arguments, ...)                                     \
    ZELCHECK_EXPORT Result id parameters __asm__(symbol);                                                    \
    Result id parameters                                                                                     \
    {                                                                                                        \
        static const auto replaced = replacedFunction<decltype(id)>(symbol);                                 \
        __VA_ARGS__;                                                                                         \
        return replaced arguments;                                                                           \
    }
#define ZELCHECK_GROUP(id, symbol, Result, parameters, arguments, title)                                     \
    ZELCHECK_REPLACE(id, symbol, Result, parameters, arguments, const Group group(title))

// 1. Look-ups of entry points, files, and instance data.

using AnyFunction = void (*)();

ZELCHECK_EXPORT AnyFunction lookUp(const char *name) __asm__("glXGetProcAddress");
AnyFunction lookUp(const char *name)
{
    static const auto replaced = replacedFunction<decltype(lookUp)>("glXGetProcAddress");
    const AnyFunction found = replaced != nullptr ? replaced(name) : nullptr;
    return reinterpret_cast<AnyFunction>(Watch::checked(name, reinterpret_cast<void *>(found)));
}

ZELCHECK_REPLACE(mapFile, "_ZN6Orvane3Zel16MemoryMappedFileC1ERK7QString", void,
                 (void *file, const QString &path), (file, path), readsImage(path))
ZELCHECK_REPLACE(addStage, "_ZN6Orvane3Zel13ShaderProgram17addShaderFromFileEiRK7QString", void,
                 (ShaderProgram * program, int type, const QString &file), (program, type, file),
                 addStageFile(program, file))

ZELCHECK_REPLACE(setMember, "_ZN6Orvane3Zel22InstanceDataCollection3setEiRK7QStringPKvm", void,
                 (InstanceDataCollection * collection, int index, const QString &member, const void *data,
                  unsigned long size),
                 (collection, index, member, data, size), checkMember(collection, member))
ZELCHECK_REPLACE(addDrawable,
                 "_ZN6Orvane3Zel8GPUModel3addEPNS0_11DrawBuffersEiPNS0_22InstanceDataCollectionES5_RKy", int,
                 (GPUModel * model, DrawBuffers *unit, int number, InstanceDataCollection *material,
                  InstanceDataCollection *object, const Bits &flags),
                 (model, unit, number, material, object, flags), checkMatrices(object))

// 2. Passes: images, and what is made of them.

ZELCHECK_GROUP(loadFile, "_ZN6Orvane3Zel19LoadTextureFromFileERK7QStringRKNS0_15TextureFileInfoE", Texture *,
               (const QString &path, const TextureFileInfo &info), (path, info), "LoadTextureFromFile")
ZELCHECK_REPLACE(loadQImageFile,
                 "_ZN6Orvane3Zel25LoadTextureFromQImageFileERK7QStringRKNS0_15TextureFileInfoE", Texture *,
                 (const QString &path, const TextureFileInfo &info), (path, info), readsImage(path);
                 const Group group("LoadTextureFromQImageFile"))
ZELCHECK_GROUP(
    processTexture,
    "_ZN6Orvane3Zel14ProcessTextureEPNS0_13ShaderProgramERK5QHashI7QString8QVariantEPNS0_7TextureESA_", void,
    (ShaderProgram * program, const Uniforms &uniforms, Texture *source, Texture *target),
    (program, uniforms, source, target), "ProcessTexture")
ZELCHECK_GROUP(blit, "_ZN6Orvane3Zel11BlitTextureEPKNS0_7TextureES3_NS0_13TextureFormatEii", void,
               (const Texture *source, const Texture *target, TextureFormat format, int width, int height),
               (source, target, format, width, height), "BlitTexture")
ZELCHECK_GROUP(toLinear, "_ZN6Orvane3Zel12SrgbToLinearERPNS0_7TextureE", bool, (Texture * &texture),
               (texture), "SrgbToLinear")
ZELCHECK_GROUP(toSrgb, "_ZN6Orvane3Zel12LinearToSrgbERPNS0_7TextureE", bool, (Texture * &texture), (texture),
               "LinearToSrgb")
ZELCHECK_GROUP(premultiply, "_ZN6Orvane3Zel11PremultiplyERPNS0_7TextureE", bool, (Texture * &texture),
               (texture), "Premultiply")
ZELCHECK_GROUP(flip, "_ZN6Orvane3Zel5FlipYERPNS0_7TextureE", bool, (Texture * &texture), (texture), "FlipY")
ZELCHECK_GROUP(remap, "_ZN6Orvane3Zel15RemapColorRangeERPNS0_7TextureEff", bool,
               (Texture * &texture, float low, float high), (texture, low, high), "RemapColorRange")

// 3. Passes: environments.

ZELCHECK_GROUP(
    prefilterCube,
    "_ZN6Orvane3Zel27CreatePrefilteredCubeEnvMapEPNS0_7TextureEijNS0_12ShadingModelENS0_13TextureFormatE",
    Texture *, (Texture * map, int size, unsigned samples, ShadingModel model, TextureFormat format),
    (map, size, samples, model, format), "CreatePrefilteredCubeEnvMap")
ZELCHECK_GROUP(
    prefilterLatLong,
    "_ZN6Orvane3Zel30CreatePrefilteredLatLongEnvMapEPNS0_7TextureEiijNS0_12ShadingModelENS0_13TextureFormatE",
    Texture *,
    (Texture * map, int width, int height, unsigned samples, ShadingModel model, TextureFormat format),
    (map, width, height, samples, model, format), "CreatePrefilteredLatLongEnvMap")
ZELCHECK_GROUP(preintegrate,
               "_ZN6Orvane3Zel28CreatePreintegratedBRDFTableEiijNS0_12ShadingModelENS0_13TextureFormatE",
               Texture *, (int width, int height, unsigned levels, ShadingModel model, TextureFormat format),
               (width, height, levels, model, format), "CreatePreintegratedBRDFTable")
ZELCHECK_GROUP(createCubemap, "_ZN20TvoImageCubemapUtils20TvoRenderCubemapBase13createCubemapEijj", Texture *,
               (Cubemap * renderer, int size, unsigned format, unsigned target),
               (renderer, size, format, target), "TvoRenderCubemapBase::createCubemap")
ZELCHECK_GROUP(renderCubemap,
               "_ZN20TvoImageCubemapUtils20TvoRenderCubemapBase13renderCubemapEijPN6Orvane3Zel7TextureE",
               bool, (Cubemap * renderer, int size, unsigned format, Texture *target),
               (renderer, size, format, target), "TvoRenderCubemapBase::renderCubemap")
ZELCHECK_GROUP(cubemapFrom,
               "_ZN20TvoImageCubemapUtils26createGLCubemapFromTextureEPN6Orvane3Zel7TextureENS_"
               "25TvoImageCubemapSourceTypeEjNS_25TvoImageCubemapColorSpaceEi",
               Texture *,
               (Texture * source, TvoImageCubemapUtils::TvoImageCubemapSourceType type, unsigned target,
                TvoImageCubemapUtils::TvoImageCubemapColorSpace colors, int maxSize),
               (source, type, target, colors, maxSize), "createGLCubemapFromTexture")
ZELCHECK_GROUP(blurCubemap,
               "_ZN20TvoImageCubemapUtils32createGLCubemapBlurFromGLCubemapEPN6Orvane3Zel7TextureEjii",
               Texture *, (Texture * source, unsigned target, int size, int levels),
               (source, target, size, levels), "createGLCubemapBlurFromGLCubemap")
ZELCHECK_GROUP(lightCubemap,
               "_ZN20TvoImageCubemapUtils33createGLCubemapNDotLFromGLCubemapEPN6Orvane3Zel7TextureEjiif",
               Texture *, (Texture * source, unsigned target, int size, int levels, float power),
               (source, target, size, levels, power), "createGLCubemapNDotLFromGLCubemap")
ZELCHECK_GROUP(cubemapStrip,
               "_ZN20TvoImageCubemapUtils31createGLCubemapStripFromTextureEPN6Orvane3Zel7TextureEi",
               Texture *, (Texture * cube, int level), (cube, level), "createGLCubemapStripFromTexture")

// 4. Draws of the scene: every form.

ZELCHECK_GROUP(
    drawAll,
    "_ZN6Orvane3Zel8GPUModel4drawEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_RKNS0_11WindingTypeEPK10"
    "QMatrix4x4RK5QListIiESH_b",
    bool,
    (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags, const Bits &mask,
     const WindingType &winding, const QMatrix4x4 *view, const QList<int> &excluded,
     const QList<int> &materials, bool stencil),
    (model, program, manager, flags, mask, winding, view, excluded, materials, stencil), "GPUModel::draw")
ZELCHECK_GROUP(
    drawSorted,
    "_ZN6Orvane3Zel8GPUModel4drawEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_RKNS0_11WindingTypeEPK10"
    "QMatrix4x4b",
    bool,
    (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags, const Bits &mask,
     const WindingType &winding, const QMatrix4x4 *view, bool stencil),
    (model, program, manager, flags, mask, winding, view, stencil), "GPUModel::draw")
ZELCHECK_GROUP(
    drawWound,
    "_ZN6Orvane3Zel8GPUModel4drawEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_RKNS0_11WindingTypeEb",
    bool,
    (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags, const Bits &mask,
     const WindingType &winding, bool stencil),
    (model, program, manager, flags, mask, winding, stencil), "GPUModel::draw")
ZELCHECK_GROUP(drawUntextured,
               "_ZN6Orvane3Zel8GPUModel4drawEPNS0_13ShaderProgramERKyS5_RKNS0_11WindingTypeEb", bool,
               (GPUModel * model, ShaderProgram *program, const Bits &flags, const Bits &mask,
                const WindingType &winding, bool stencil),
               (model, program, flags, mask, winding, stencil), "GPUModel::draw")
ZELCHECK_GROUP(drawPlain, "_ZN6Orvane3Zel8GPUModel4drawEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_",
               bool,
               (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags,
                const Bits &mask),
               (model, program, manager, flags, mask), "GPUModel::draw")
ZELCHECK_GROUP(
    drawExcludeSorted,
    "_ZN6Orvane3Zel8GPUModel11drawExcludeEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_RKNS0_11"
    "WindingTypeEPK10QMatrix4x4RK5QListIiE",
    bool,
    (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags, const Bits &mask,
     const WindingType &winding, const QMatrix4x4 *view, const QList<int> &excluded),
    (model, program, manager, flags, mask, winding, view, excluded), "GPUModel::drawExclude")
ZELCHECK_GROUP(
    drawExclude,
    "_ZN6Orvane3Zel8GPUModel11drawExcludeEPNS0_13ShaderProgramERKyS5_RKNS0_11WindingTypeERK5QListIiE", bool,
    (GPUModel * model, ShaderProgram *program, const Bits &flags, const Bits &mask,
     const WindingType &winding, const QList<int> &excluded),
    (model, program, flags, mask, winding, excluded), "GPUModel::drawExclude")
ZELCHECK_GROUP(
    drawMaterials,
    "_ZN6Orvane3Zel8GPUModel13drawMaterialsEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_RKNS0_11"
    "WindingTypeEPK10QMatrix4x4RK5QListIiE",
    bool,
    (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags, const Bits &mask,
     const WindingType &winding, const QMatrix4x4 *view, const QList<int> &materials),
    (model, program, manager, flags, mask, winding, view, materials), "GPUModel::drawMaterials")
ZELCHECK_GROUP(drawSimple,
               "_ZN6Orvane3Zel8GPUModel10drawSimpleEPNS0_13ShaderProgramEPNS0_14TextureManagerERKyS7_", bool,
               (GPUModel * model, ShaderProgram *program, TextureManager *manager, const Bits &flags,
                const Bits &mask),
               (model, program, manager, flags, mask), "GPUModel::drawSimple")
