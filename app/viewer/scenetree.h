#pragma once

#include <QTreeWidget>

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

class EditQueue;

/// The scene's elements as a tree: a check box shows and hides, selecting selects in the scene too. Rebuilt when the
/// scene's structure changes. Thread: application.
class SceneTree : public QTreeWidget
{
    Q_OBJECT
public:
    /// `edits` takes what a person changes here; it must outlive the tree.
    explicit SceneTree(EditQueue* edits, QWidget* parent = nullptr);
    ~SceneTree() override;

public slots:
    /// Reads the tree anew from the global scene.
    void rebuild();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void removeSelected();
    void rebuildSoon();
    void addBelow(QTreeWidgetItem* parent, tov::scene::SceneElement* element);
    EditQueue* mp_Edits; ///< not owned
    bool m_Rebuilding = false;
    bool m_RebuildPosted = false;
};

} // namespace tov::viewer
