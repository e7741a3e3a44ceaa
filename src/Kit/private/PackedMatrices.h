#pragma once

#include <ZelGL/InstanceDataCollection.h>

#include <QtGui/QMatrix4x4>

namespace Orvane { namespace ZelKit {

/// The members of object data that a PackedScene writes, with the values that GPUModel gives them.
class PackedMatrices
{
public:
    /// Returns the reason why a plan cannot be used; empty: it can.
    static QString problemOf(const Zel::InstanceDataPlan *plan);
    /// Whether the scene writes a member.
    static bool isOwn(const QString &member);

    explicit PackedMatrices(Zel::InstanceDataPlan *plan);

    Zel::InstanceDataPlan *plan() const { return _plan; }
    size_t itemSize() const { return _itemSize; }

    // One item. They read and write it as a whole: each access by name is a search in the plan.

    /// Writes all matrices; the previous one is the same.
    void write(Zel::InstanceDataCollection &objects, int item, const QMatrix4x4 &world) const;
    /// Makes the present matrix the previous one, and writes the others.
    void move(Zel::InstanceDataCollection &objects, int item, const QMatrix4x4 &world) const;
    /// Makes the present matrix the previous one.
    void settle(Zel::InstanceDataCollection &objects, int item) const;

private:
    static constexpr int kAbsent = -1;

    int offsetOf(const QString &member) const;
    void copyToPrevious(char *item) const;
    void setWorld(char *item, const QMatrix4x4 &world) const;
    template <typename Change>
    void change(Zel::InstanceDataCollection &objects, int item, Change change) const;

    Zel::InstanceDataPlan *_plan;
    size_t _itemSize;
    QString _firstMember; ///< at offset 0
    // Offsets in an item.
    int _model;
    int _previous;
    int _inverse;
    int _normal;
};

}} // namespace Orvane::ZelKit
