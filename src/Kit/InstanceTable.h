#pragma once

#include "KitExport.h"

#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/TextureToken.h>

#include <QtCore/QVector>
#include <QtGui/QColor>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <array>
#include <memory>
#include <vector>

namespace Orvane { namespace Zel {
class InstanceDataCollection;
}} // namespace Orvane::Zel

namespace Orvane { namespace ZelKit {

/// Data for each instance of a draw: a plan and a collection of its items, with values of Qt's types.
///
/// The plan is registered under its name, so that `#instancedata "Name"` declares its accessors. Names and types of values are
/// checked, which InstanceDataCollection does not do: there an unknown name overwrites the first member.
///
/// \snippet kit.cpp InstanceTable
///
/// - Units: items count from 0.
/// - Context: create, bind and delete with the same context current.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
class ZELKIT_EXPORT InstanceTable
{
    Q_DISABLE_COPY(InstanceTable)

public:
    struct Member
    {
        Zel::InstanceDataPlan::DataType type;
        QString name;
    };

    /// A value of a member, as the plan stores it.
    class ZELKIT_EXPORT Value
    {
    public:
        Value(int value);
        Value(unsigned int value);
        Value(float value);
        Value(double value);
        Value(const QVector2D &value);
        Value(const QVector3D &value);
        Value(const QVector4D &value);
        /// For a member eVec4. Stores the components as they are, so decode sRGB for linear light.
        Value(const QColor &value);
        Value(const QMatrix4x4 &value);
        Value(const Zel::TextureToken &value);

    private:
        friend class InstanceTable;

        ZELKIT_NO_EXPORT Value(Zel::InstanceDataPlan::DataType type, const void *data, size_t size);

        Zel::InstanceDataPlan::DataType _type;
        size_t _size;
        std::array<float, 16> _data;
    };

    /// Null if a name is no identifier or is used twice, without an item or a context, or if the driver cannot hold as many items
    /// with this mechanism. A registered plan of the same name is replaced: delete its tables before.
    static std::unique_ptr<InstanceTable>
    create(const QString &plan, const QVector<Member> &members, int count,
           Zel::InstanceDataPlan::MechanismType mechanism = Zel::InstanceDataPlan::eUniformBufferMechanism,
           QString *error = nullptr);
    /// The same for these items, each with its values in the order of the members. Null, besides, if one has another number or
    /// other types of values.
    static std::unique_ptr<InstanceTable>
    create(const QString &plan, const QVector<Member> &members, const std::vector<std::vector<Value>> &items,
           Zel::InstanceDataPlan::MechanismType mechanism = Zel::InstanceDataPlan::eUniformBufferMechanism,
           QString *error = nullptr);
    ~InstanceTable();

    /// Sets a member of one item. False, and nothing changes, for an unknown item or member, or a value of another type.
    bool set(int index, const QString &member, const Value &value, QString *error = nullptr);

    /// Sets all members of one item, in the order of create(). Also false for another number of values.
    bool set(int index, const std::vector<Value> &values, QString *error = nullptr);

    /// For DrawScope and other draws; the table owns it. Call it for each draw: it updates the list of textures.
    Zel::InstanceDataCollection *data();

private:
    ZELKIT_NO_EXPORT InstanceTable(Zel::InstanceDataPlan *plan, const QVector<Member> &members, int count);
    ZELKIT_NO_EXPORT bool accepts(int index, const QString &member, const Value &value, QString *error) const;
    ZELKIT_NO_EXPORT void store(int index, const QString &member, const Value &value);

    Zel::InstanceDataPlan *_plan; ///< of the registry
    QVector<Member> _members;
    std::unique_ptr<Zel::InstanceDataCollection> _data;
    bool _hasNewTokens = false;
};

}} // namespace Orvane::ZelKit
