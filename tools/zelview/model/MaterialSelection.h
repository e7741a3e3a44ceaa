#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

namespace zeltools {

/// Which materials of a model are shown: all, all but the excluded ones, or only one; and which one is selected.
///
/// Units: materials by their index in the scene.
class MaterialSelection
{
public:
    explicit MaterialSelection(QStringList names);

    /// -1: none.
    int selected() const { return _selected; }
    void select(int material) { _selected = material; }
    /// Selects the next material in the order of the scene; after the last one none, then the first.
    void selectNext();

    /// Shows only the selected material, or all again.
    void toggleSolo();
    /// Excludes the selected material, or includes it again.
    void toggleExcluded();
    void showAll();

    bool isShown(int material) const;

    /// The selection as text; empty if all are shown and none is selected.
    QString describe() const;

private:
    QStringList _names;
    int _selected = -1;
    int _solo = -1;
    std::vector<bool> _excluded;
};

} // namespace zeltools
