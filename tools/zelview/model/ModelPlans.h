#pragma once

#include "frame/Options.h"
#include "frame/Outcome.h"

#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>

namespace Orvane { namespace Zel {
class InstanceDataCollection;
class InstanceDataPlan;
}} // namespace Orvane::Zel

namespace zelview {

class ModelTextures;
struct Material;

/// The two instance-data plans of models, registered by their names: shaders write #instancedata "Object" or "Material".
///
/// An object is a mesh in its place; the library's GPUModel writes its matrices. Its item has the number of the draw ID.
/// A material stands alone in its collection.
///
/// Context: create, use and delete with one and the same context current, and delete behind the collections.
class ModelPlans
{
    Q_DISABLE_COPY(ModelPlans)

public:
    static bool isSupported(MechanismKind kind);
    /// ExitCode::eGL where it is not.
    static Failure check(MechanismKind kind);

    /// \a wantedObjects: of one collection, as far as the mechanism and \a byteLimit allow (0: as far as the mechanism).
    ModelPlans(MechanismKind mechanism, int wantedObjects, int byteLimit);
    ~ModelPlans();

    MechanismKind mechanism() const { return _mechanism; }

    /// Objects that a collection may hold, at least one.
    int capacity() const;

    /// Matrices of so many objects, of zeros.
    Orvane::Zel::InstanceDataCollection *newObjects(int count) const;
    Orvane::Zel::InstanceDataCollection *newMaterial(const Material &material, int number,
                                                     const ModelTextures &textures) const;

    /// The compilation units that define the accessors.
    QString objectText() const;
    QString materialText() const;

    /// Layout, limits and texts of both, in words.
    QStringList describe() const;

private:
    MechanismKind _mechanism;
    Orvane::Zel::InstanceDataPlan *_object; ///< the registry's, as long as it stands there
    Orvane::Zel::InstanceDataPlan *_material;
};

} // namespace zelview
