#include "InstanceTable.h"

#include "private/Failure.h"
#include "private/Library.h"

#include <ZelGL/InstanceDataCollection.h>
#include <ZelGL/InstanceDataRegistry.h>

#include <QtCore/QSet>

#include <cstring>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

bool isName(const QString &name)
{
    return QRegExp(gInstanceDataNameValidator).exactMatch(name); // a copy: matching changes it
}

bool areValid(const QString &plan, const QVector<InstanceTable::Member> &members, int count, QString *error)
{
    QSet<QString> names;
    bool isValid = isName(plan) && !members.isEmpty();
    for (const InstanceTable::Member &member : members) {
        isValid = isValid && isName(member.name) && !names.contains(member.name);
        names.insert(member.name);
    }
    if (!isValid || count < 1) {
        fail(error, QStringLiteral("instance table '%1': it needs an item and a member at least, and names "
                                   "that are identifiers, each used once")
                        .arg(plan));
        return false;
    }
    return true;
}

} // namespace

InstanceTable::Value::Value(InstanceDataPlan::DataType type, const void *data, size_t size)
    : _type(type)
    , _size(size)
{
    std::memcpy(_data.data(), data, size);
}

InstanceTable::Value::Value(int value)
    : Value(InstanceDataPlan::eInt, &value, sizeof value)
{
}

InstanceTable::Value::Value(unsigned int value)
    : Value(InstanceDataPlan::eUInt, &value, sizeof value)
{
}

InstanceTable::Value::Value(float value)
    : Value(InstanceDataPlan::eFloat, &value, sizeof value)
{
}

InstanceTable::Value::Value(double value)
    : Value(float(value))
{
}

InstanceTable::Value::Value(const QVector2D &value)
    : Value(InstanceDataPlan::eVec2, &value, sizeof value)
{
}

InstanceTable::Value::Value(const QVector3D &value)
    : Value(InstanceDataPlan::eVec3, &value, sizeof value)
{
}

InstanceTable::Value::Value(const QVector4D &value)
    : Value(InstanceDataPlan::eVec4, &value, sizeof value)
{
}

InstanceTable::Value::Value(const QColor &value)
    : Value(
        QVector4D(float(value.redF()), float(value.greenF()), float(value.blueF()), float(value.alphaF())))
{
}

InstanceTable::Value::Value(const QMatrix4x4 &value)
    : Value(InstanceDataPlan::eMat4, value.constData(), 16 * sizeof(float)) // the object is larger
{
}

InstanceTable::Value::Value(const TextureToken &value)
    : Value(InstanceDataPlan::eTexture, &value.token, sizeof value.token)
{
}

InstanceTable::InstanceTable(InstanceDataPlan *plan, const QVector<Member> &members, int count)
    : _plan(plan)
    , _members(members)
    , _data(std::make_unique<InstanceDataCollection>(plan, static_cast<unsigned long>(count)))
{
}

InstanceTable::~InstanceTable() = default;

std::unique_ptr<InstanceTable> InstanceTable::create(const QString &plan, const QVector<Member> &members,
                                                     int count, InstanceDataPlan::MechanismType mechanism,
                                                     QString *error)
{
    if (!areValid(plan, members, count, error) || !isLibraryReady(error)) {
        return nullptr;
    }
    auto *const registered = new InstanceDataPlan(plan);
    for (const Member &member : members) {
        registered->addMember(member.type, member.name);
    }
    registered->setMechanism(mechanism);
    registered->setArraySize(static_cast<unsigned long>(count));
    InstanceDataRegistry::Instance()->registerPlan(registered); // takes ownership
    if (registered->arraySize() < size_t(count)) {
        fail(error, QStringLiteral("instance table '%1': this driver holds %2 items instead of %3; use "
                                   "several tables, or another mechanism")
                        .arg(plan)
                        .arg(registered->arraySize())
                        .arg(count));
        return nullptr;
    }
    return std::unique_ptr<InstanceTable>(new InstanceTable(registered, members, count));
}

std::unique_ptr<InstanceTable> InstanceTable::create(const QString &plan, const QVector<Member> &members,
                                                     const std::vector<std::vector<Value>> &items,
                                                     InstanceDataPlan::MechanismType mechanism,
                                                     QString *error)
{
    std::unique_ptr<InstanceTable> table = create(plan, members, int(items.size()), mechanism, error);
    for (size_t i = 0; table != nullptr && i < items.size(); ++i) {
        if (!table->set(int(i), items[i], error)) {
            table.reset();
        }
    }
    return table;
}

bool InstanceTable::accepts(int index, const QString &member, const Value &value, QString *error) const
{
    if (index < 0 || index >= _data->size() || !_plan->contains(member)
        || _plan->dataType(member) != value._type) {
        fail(error,
             QStringLiteral("instance table '%1': item %2 of %3 has no member '%4' of the type of this value")
                 .arg(_plan->name())
                 .arg(index)
                 .arg(_data->size())
                 .arg(member));
        return false;
    }
    return true;
}

void InstanceTable::store(int index, const QString &member, const Value &value)
{
    _data->set(index, member, value._data.data(), static_cast<unsigned long>(value._size));
    _hasNewTokens = _hasNewTokens || value._type == InstanceDataPlan::eTexture;
}

bool InstanceTable::set(int index, const QString &member, const Value &value, QString *error)
{
    if (!accepts(index, member, value, error)) {
        return false;
    }
    store(index, member, value);
    return true;
}

bool InstanceTable::set(int index, const std::vector<Value> &values, QString *error)
{
    if (values.size() != size_t(_members.size())) {
        fail(error, QStringLiteral("instance table '%1': an item has %2 members, and set() got %3 values")
                        .arg(_plan->name())
                        .arg(_members.size())
                        .arg(values.size()));
        return false;
    }
    for (int i = 0; i < _members.size(); ++i) {
        if (!accepts(index, _members.at(i).name, values[size_t(i)], error)) {
            return false;
        }
    }
    for (int i = 0; i < _members.size(); ++i) {
        store(index, _members.at(i).name, values[size_t(i)]);
    }
    return true;
}

InstanceDataCollection *InstanceTable::data()
{
    if (_hasNewTokens) { // the collection looks for tokens only after update()
        const QByteArray bytes = _data->dataArray();
        _data->update(bytes.constData(), static_cast<unsigned long>(bytes.size()));
        _hasNewTokens = false;
    }
    return _data.get();
}

}} // namespace Orvane::ZelKit
