#pragma once

#include "file/Outcome.h"
#include "scene/Scene.h"

#include <ZelGL/TextureToken.h>

#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>

namespace Orvane { namespace Zel {
class InstanceDataCollection;
class InstanceDataPlan;
}} // namespace Orvane::Zel

namespace zeltools {

/// Which of the library's mechanisms provides instance data to the shaders.
enum class MechanismKind { eUniformBuffer, eUniforms, eBufferTexture, eTexture, eStorageBuffer };
constexpr int kMechanismKinds = 5;

/// By MechanismKind, as on the command line.
const QStringList &mechanismNames();
QString mechanismName(MechanismKind kind);

/// The two instance-data plans of models, registered by name: shaders contain #instancedata "Object" or "Material".
///
/// An object is a mesh with a transform; the library's GPUModel writes its matrices. The draw ID is the index of its item.
/// Each material has its own collection of one item.
///
/// Context: create, use and delete with the same context current; delete after the collections.
class ModelPlans
{
    Q_DISABLE_COPY(ModelPlans)

public:
    static bool isSupported(MechanismKind kind);
    /// Returns ExitCode::eGL if the mechanism is not supported.
    static Failure check(MechanismKind kind);

    /// The greatest useful number of objects in a collection: a larger block would stay partly unused. In a packed
    /// scene, blended objects of a material share collections too.
    static int wantedObjects(const Scene &scene, bool isPacked = false);

    /// \a wantedObjects: capacity of a collection, unless the mechanism or \a byteLimit (0: none) allow less.
    ModelPlans(MechanismKind mechanism, int wantedObjects, int byteLimit = 0);
    ~ModelPlans();

    MechanismKind mechanism() const { return _mechanism; }
    Orvane::Zel::InstanceDataPlan *objectPlan() const { return _object; }

    /// Number of objects that a collection can hold, at least one.
    int capacity() const;

    /// A collection for the matrices of \a count objects, filled with zeros.
    Orvane::Zel::InstanceDataCollection *newObjects(int count) const;
    /// \a maps: the textures that the shaders sample, by MapKind.
    Orvane::Zel::InstanceDataCollection *
    newMaterial(const Material &material, int number,
                const std::array<Orvane::Zel::TextureToken, kMapKinds> &maps) const;

    // The compilation units that define the accessors.
    QString objectText() const;
    QString materialText() const;

    /// Layout, limits and shader text of both plans, as lines.
    QStringList describe() const;

private:
    MechanismKind _mechanism;
    Orvane::Zel::InstanceDataPlan *_object; ///< owned by the registry while it is registered
    Orvane::Zel::InstanceDataPlan *_material;
};

} // namespace zeltools
