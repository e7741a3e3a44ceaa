#pragma once

#include <ZelGL/InstanceDataCollection.h>

#include <QtGui/QMatrix4x4>

namespace Orvane { namespace ZelKit {

/// The members of object data that a PackedScene writes, with the values that GPUModel gives them.
class PackedMatrices
{
public:
    static constexpr int kAbsent = -1; ///< offset of a member that the plan does not have
    static constexpr int kMatrixSize = 64;

    /// A collection, and the address of its bytes until it is resized. The array from which the address comes is gone: while it
    /// existed, each write would copy all bytes. One address serves many items, because an array costs atomic operations.
    struct Items
    {
        explicit Items(Zel::InstanceDataCollection &collection)
            : objects(collection)
            , bytes(collection.dataArray().constData())
        {
        }

        Zel::InstanceDataCollection &objects;
        const char *bytes;
    };

    /// Returns the reason why a plan cannot be used; empty: it can.
    static QString problemOf(const Zel::InstanceDataPlan *plan);
    /// Whether the scene writes a member.
    static bool isOwn(const QString &member);

    explicit PackedMatrices(Zel::InstanceDataPlan *plan);

    Zel::InstanceDataPlan *plan() const { return _plan; }
    size_t itemSize() const { return _itemSize; }

    // In an item.

    int modelOffset() const { return _model; }
    int previousOffset() const { return _previous; }

    // One item. They read and write it as a whole: each access by name is a search in the plan.

    /// Writes all matrices; the previous one is the same.
    void write(const Items &items, int item, const QMatrix4x4 &world) const;
    /// Makes the present matrix the previous one, and writes the others.
    void move(const Items &items, int item, const QMatrix4x4 &world) const;
    /// Makes the present matrix the previous one.
    void settle(const Items &items, int item) const;

private:
    int offsetOf(const QString &member) const;
    void copyToPrevious(char *item) const;
    void setWorld(char *item, const QMatrix4x4 &world) const;
    template <typename Change> void change(const Items &items, int item, Change change) const;

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
