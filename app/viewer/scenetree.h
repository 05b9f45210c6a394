#pragma once

#include <QTreeWidget>

#include <vector>

class QMenu;

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

class EditQueue;
class PartEdits;

/// The scene's elements as a tree: a check box shows and hides, selecting an item selects the element in the scene, and
/// a context menu isolates, colours and removes, all with undo. Rebuilt when the scene's structure changes. Thread:
/// application.
class SceneTree : public QTreeWidget
{
    Q_OBJECT
public:
    /// `edits` and `parts` make the user's changes; they must outlive the tree.
    SceneTree(EditQueue* edits, PartEdits* parts, QWidget* parent = nullptr);
    ~SceneTree() override;

    /// Selects the item of an element (null: none). With `adds` the others stay selected, and an item that is selected
    /// already is deselected.
    void selectElement(const tov::scene::SceneElement* element, bool adds);
    /// Adds the actions for the selected elements, with their keys, to a menu.
    void addPartActions(QMenu* menu) const;
    /// The action that removes the selected elements; its key works in the widgets that it is added to.
    QAction* getRemoveAction() const { return mp_Remove; }

public slots:
    /// Reads the tree again from the global scene.
    void rebuild();
    /// Hides everything but the selected elements and what is below them.
    void isolateSelected();
    void hideSelected();
    /// Shows every element again.
    void showAll();
    /// Takes the selected elements out of the scene; undo puts them back.
    void removeSelected();
    /// Asks for the colour of the selected elements and shows each choice immediately.
    void chooseColor();
    /// Asks for the opacity of the selected elements and shows each value immediately.
    void chooseOpacity();
    /// Gives the selected elements colour and opacity of their file.
    void resetSelected();
    /// Shows only items whose name contains this text, and their ancestors; an empty text shows all.
    void setFilter(const QString& text);

signals:
    /// The user wants the visible elements to fill the view.
    void fitRequested();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void createActions();
    QAction* addPartAction(const char* name, const QString& text, const QKeySequence& key, void (SceneTree::*slot)());
    void enableActions();
    void watchScene();
    void submitVisibility(QTreeWidgetItem* item);
    void submitSelection();
    std::vector<tov::scene::SceneElement*> topmostSelected() const;
    bool applyFilter(QTreeWidgetItem* item) const;
    void rebuildSoon();
    void refreshItems();
    void refreshItem(QTreeWidgetItem* item) const;
    void addBelow(QTreeWidgetItem* parent, tov::scene::SceneElement* element);

    EditQueue* mp_Edits;          ///< not owned
    PartEdits* mp_Parts;          ///< not owned
    QList<QAction*> m_Actions;    ///< children, in the order of the menus; null: a separator
    QList<QAction*> m_OfSelected; ///< those that need a selection
    QAction* mp_Remove = nullptr;
    QAction* mp_Restore = nullptr;
    QString m_Filter;
    bool m_Rebuilding = false;
    bool m_RebuildPosted = false;
};

} // namespace tov::viewer
