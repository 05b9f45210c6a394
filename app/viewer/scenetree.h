#pragma once

#include <QTreeWidget>

#include <memory>
#include <vector>

class QMenu;

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

class EditQueue;

/// The scene's elements as a tree: a check box shows and hides, selecting an item selects the element in the scene, and
/// a context menu isolates, shows all, and removes with undo. Rebuilt when the scene's structure changes. Thread:
/// application.
class SceneTree : public QTreeWidget
{
    Q_OBJECT
public:
    /// `edits` makes the user's changes; it must outlive the tree.
    explicit SceneTree(EditQueue* edits, QWidget* parent = nullptr);
    ~SceneTree() override;

    /// Selects the item of an element (null: none). With `adds` the others stay selected, and an item that is selected
    /// already is deselected.
    void selectElement(const tov::scene::SceneElement* element, bool adds);
    /// Adds the actions for the selected elements to a menu.
    void addPartActions(QMenu* menu);

public slots:
    /// Reads the tree again from the global scene.
    void rebuild();
    /// Hides everything but the selected elements and what is below them.
    void isolateSelected();
    /// Shows every element again.
    void showAll();
    /// Takes the selected elements out of the scene; `undoRemove` puts them back.
    void removeSelected();
    void undoRemove();
    /// Hides the selected elements.
    void hideSelected();
    /// Shows only items whose name contains this text, and their ancestors; an empty text shows all.
    void setFilter(const QString& text);

signals:
    /// The user wants the visible elements to fill the view.
    void fitRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    /// An element that was removed and where it was.
    struct Removed
    {
        std::unique_ptr<tov::scene::SceneElement> element;
        tov::scene::SceneElement* parent; ///< only used while it is in the scene
    };
    void watchScene();
    void submitVisibility(QTreeWidgetItem* item);
    void submitSelection();
    std::vector<tov::scene::SceneElement*> topmostSelected() const;
    bool applyFilter(QTreeWidgetItem* item) const;
    void rebuildSoon();
    void addBelow(QTreeWidgetItem* parent, tov::scene::SceneElement* element);
    EditQueue* mp_Edits;                         ///< not owned
    std::vector<std::vector<Removed>> m_Removed; ///< newest last
    QString m_Filter;
    bool m_Rebuilding = false;
    bool m_RebuildPosted = false;
};

} // namespace tov::viewer
