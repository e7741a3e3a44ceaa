#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

namespace zelview {

/// Which of a model's materials are shown: all, all but some, or one alone; and the one that keys speak of.
///
/// Units: materials by their number in the scene.
class MaterialSelection
{
public:
    explicit MaterialSelection(QStringList names);

    /// -1: none.
    int selected() const { return _selected; }
    void select(int material) { _selected = material; }
    /// The next in the scene's order; behind the last one none, and then the first.
    void selectNext();

    /// The selected one alone, or all again.
    void toggleSolo();
    /// Leaves the selected one out, or takes it in again.
    void toggleExcluded();
    void showAll();

    bool isShown(int material) const;

    /// The selection in words; empty while all are shown and none is selected.
    QString describe() const;

private:
    QStringList _names;
    int _selected = -1;
    int _solo = -1;
    std::vector<bool> _excluded;
};

} // namespace zelview
