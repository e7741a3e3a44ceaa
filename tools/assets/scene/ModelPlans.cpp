#include "scene/ModelPlans.h"

#include "file/Counted.h"

#include <ZelGL/ZelGL.h>

#include <algorithm>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

const QString kObject = QStringLiteral("Object");
const QString kMaterial = QStringLiteral("Material");

/// By MapKind.
const QStringList kMapMembers{QStringLiteral("BaseColorMap"), QStringLiteral("SurfaceMap"),
                              QStringLiteral("NormalMap"), QStringLiteral("OcclusionMap"),
                              QStringLiteral("EmissiveMap")};
static_assert(kMapKinds == 5, "each has a member");

InstanceDataPlan::MechanismType toType(MechanismKind kind)
{
    switch (kind) {
    case MechanismKind::eUniforms:
        return InstanceDataPlan::eUniformMechanism;
    case MechanismKind::eBufferTexture:
        return InstanceDataPlan::eBufferTextureMechanism;
    case MechanismKind::eTexture:
        return InstanceDataPlan::eTextureMechanism;
    case MechanismKind::eStorageBuffer:
        return InstanceDataPlan::eStorageBufferMechanism;
    default:
        return InstanceDataPlan::eUniformBufferMechanism;
    }
}

int limitOf(GLenum name)
{
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// Items that fit into a row of the widest texture; the plan does not check that limit.
int itemsInRow(const InstanceDataPlan &plan)
{
    return limitOf(GL_MAX_TEXTURE_SIZE) / int(plan.totalDataSize() / 16);
}

/// All matrices that GPUModel writes. It stores the nine numbers of the normal matrix in the first of the sixteen.
InstanceDataPlan *newObjectPlan()
{
    auto *plan = new InstanceDataPlan(kObject);
    for (const char *matrix :
         {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix", "ModelNormalMatrix"}) {
        plan->addMember(InstanceDataPlan::eMat4, QLatin1String(matrix));
    }
    return plan;
}

InstanceDataPlan *newMaterialPlan()
{
    auto *plan = new InstanceDataPlan(kMaterial);
    plan->addMember(InstanceDataPlan::eVec4, QStringLiteral("BaseColor"));
    plan->addMember(InstanceDataPlan::eVec3, QStringLiteral("Emission"));
    for (const char *factor : {"AlphaCutoff", "Metalness", "Roughness", "NormalScale", "OcclusionStrength"}) {
        plan->addMember(InstanceDataPlan::eFloat, QLatin1String(factor));
    }
    for (const QString &map : kMapMembers) {
        plan->addMember(InstanceDataPlan::eTexture, map);
    }
    plan->addMember(InstanceDataPlan::eUInt,
                    QStringLiteral("MapSets")); // bit k: the map of MapKind k uses the second set
    plan->addMember(InstanceDataPlan::eUInt, QStringLiteral("MaterialNumber"));
    return plan;
}

void registerPlan(InstanceDataPlan *plan, MechanismKind mechanism, int arraySize)
{
    plan->setMechanism(toType(mechanism));
    plan->setArraySize(ulong(arraySize));
    InstanceDataRegistry::Instance()->registerPlan(plan);
}

/// Deletes the plan unless the registry owns it: after another plan of the same name was registered, it does not.
void release(InstanceDataPlan *plan)
{
    if (InstanceDataRegistry::Instance()->getPlan(plan->name()) != plan) {
        delete plan;
    }
}

template <typename T> void set(InstanceData &item, const char *member, const T &value)
{
    item.set(QLatin1String(member), &value, sizeof value);
}

QStringList describePlan(const InstanceDataPlan &plan, MechanismKind mechanism)
{
    const qint64 limit =
        mechanism == MechanismKind::eTexture ? itemsInRow(plan) : qint64(plan.arraySizeMax());
    QStringList lines{QStringLiteral("plan      %1 by %2: %3 bytes an item, %4 of at most %5")
                          .arg(plan.name(), mechanismName(mechanism))
                          .arg(plan.totalDataSize())
                          .arg(counted(qint64(plan.arraySize()), "item", "items"))
                          .arg(limit)};
    QStringList members = plan.memberNames();
    std::sort(members.begin(), members.end(),
              [&](const QString &a, const QString &b) { return plan.offset(a) < plan.offset(b); });
    for (const QString &member : members) {
        lines.append(QStringLiteral("member    %1 at %2, %3 bytes")
                         .arg(member)
                         .arg(plan.offset(member))
                         .arg(plan.dataSize(member)));
    }
    lines.append(QStringLiteral("header    %1\n%2").arg(plan.name(), plan.glslh()));
    lines.append(QStringLiteral("unit      %1\n%2").arg(plan.name(), plan.glslc()));
    return lines;
}

} // namespace

const QStringList &mechanismNames()
{
    static const QStringList kNames{QStringLiteral("ubo"), QStringLiteral("uniform"),
                                    QStringLiteral("texbuffer"), QStringLiteral("texture"),
                                    QStringLiteral("ssbo")};
    static_assert(kMechanismKinds == 5, "each has a name");
    return kNames;
}

QString mechanismName(MechanismKind kind)
{
    return mechanismNames()[int(kind)];
}

bool ModelPlans::isSupported(MechanismKind kind)
{
    return kind != MechanismKind::eStorageBuffer
           || (InstanceDataPlan::supportsStorageMechanism()
               && limitOf(GL_MAX_VERTEX_SHADER_STORAGE_BLOCKS) > 0);
}

Failure ModelPlans::check(MechanismKind kind)
{
    if (isSupported(kind)) {
        return {};
    }
    return Problem{ExitCode::eGL,
                   QStringLiteral("the driver has no storage blocks, which the mechanism '%1' needs")
                       .arg(mechanismName(kind))};
}

int ModelPlans::wantedObjects(const Scene &scene, bool isPacked)
{
    std::vector<int> together(scene.materials.size());
    int alone = 0;
    for (const Draw &draw : scene.draws) {
        const int material = scene.meshes[size_t(draw.mesh)].material;
        const bool isAlone = scene.materials[size_t(material)].isBlended && !isPacked;
        ++(isAlone ? alone : together[size_t(material)]);
    }
    constexpr qint64 kPadding = 1024; // objects that make no difference
    const qint64 most = 2 * qint64(scene.draws.size()) + kPadding;
    int wanted = std::max(*std::max_element(together.begin(), together.end()), 1);
    const auto padded = [&] {
        qint64 sum = qint64(alone) * wanted;
        for (const int count : together) {
            sum += qint64((count + wanted - 1) / wanted) * wanted;
        }
        return sum;
    };
    while (wanted > 1 && padded() > most) {
        wanted /= 2;
    }
    return wanted;
}

ModelPlans::ModelPlans(MechanismKind mechanism, int wantedObjects, int byteLimit)
    : _mechanism(mechanism)
    , _object(newObjectPlan())
    , _material(newMaterialPlan())
{
    const int itemSize = int(_object->totalDataSize());
    int objects = byteLimit > 0 ? std::min(wantedObjects, byteLimit / itemSize) : wantedObjects;
    if (mechanism == MechanismKind::eTexture) {
        objects = std::min(objects, itemsInRow(*_object));
    }
    registerPlan(_object, mechanism, std::max(objects, 1));
    registerPlan(_material, mechanism, 1);
}

ModelPlans::~ModelPlans()
{
    release(_object);
    release(_material);
}

int ModelPlans::capacity() const
{
    return std::max(int(_object->arraySize()), 1);
}

InstanceDataCollection *ModelPlans::newObjects(int count) const
{
    // A uniform block must not be longer than its buffer.
    const bool isBlock = _mechanism == MechanismKind::eUniformBuffer;
    return new InstanceDataCollection(_object, ulong(isBlock ? capacity() : count));
}

InstanceDataCollection *ModelPlans::newMaterial(const Material &material, int number,
                                                const std::array<TextureToken, kMapKinds> &maps) const
{
    InstanceData item(kMaterial);
    set(item, "BaseColor", material.baseColor);
    set(item, "Emission", material.emission);
    // 0 for blended materials. The others discard what is less opaque, and are drawn opaque.
    set(item, "AlphaCutoff", material.isBlended ? 0.0f : material.alphaCutoff);
    set(item, "Metalness", material.metalness);
    set(item, "Roughness", material.roughness);
    set(item, "NormalScale", material.has(eNormalMap) ? material.normalScale : 0.0f);
    set(item, "OcclusionStrength", material.occlusionStrength);
    set(item, "MaterialNumber", quint32(number));
    quint32 sets = 0;
    for (size_t kind = 0; kind < kMapKinds; ++kind) {
        sets |= quint32(material.maps[kind].set) << kind;
        item.setTextureToken(int(_material->offset(kMapMembers[int(kind)])), maps[kind]);
    }
    set(item, "MapSets", sets);
    return new InstanceDataCollection(kMaterial, {item});
}

QString ModelPlans::objectText() const
{
    return _object->glslc();
}

QString ModelPlans::materialText() const
{
    return _material->glslc();
}

QStringList ModelPlans::describe() const
{
    return describePlan(*_object, _mechanism) + describePlan(*_material, _mechanism);
}

} // namespace zeltools
