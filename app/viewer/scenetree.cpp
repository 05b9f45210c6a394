#include "app/viewer/scenetree.h"

#include "app/viewer/editqueue.h"
#include "app/viewer/partedits.h"
#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"

#include <QAction>
#include <QColorDialog>
#include <QContextMenuEvent>
#include <QHash>
#include <QInputDialog>
#include <QMenu>
#include <QScrollBar>
#include <QSet>
#include <QUndoStack>

#include <cmath>
#include <optional>

namespace tov::viewer {

using tov::main::EventManager;
using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using tov::scene::Viewer;

namespace {

SceneElement* elementOf(const QTreeWidgetItem* item)
{
    return static_cast<SceneElement*>(item->data(0, Qt::UserRole).value<void*>());
}

/// The elements of the scene. An item's element may have been deleted by the time it is used.
QSet<const SceneElement*> elementsInScene()
{
    QSet<const SceneElement*> elements;
    std::vector<const SceneElement*> pending;
    if (const auto* root = Viewer::getInstance()->getGlobalScene()->getRootNode())
        pending.push_back(root);
    while (!pending.empty()) {
        const SceneElement* element = pending.back();
        pending.pop_back();
        elements.insert(element);
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
    return elements;
}

} // namespace

SceneTree::SceneTree(EditQueue* edits, PartEdits* parts, QWidget* parent)
    : QTreeWidget(parent), mp_Edits(edits), mp_Parts(parts)
{
    setHeaderHidden(true);
    setSelectionMode(ExtendedSelection);
    setObjectName(QStringLiteral("SceneTree"));
    setAccessibleName(tr("Parts of the scene"));
    createActions();
    watchScene();
    connect(this, &QTreeWidget::itemChanged, this, &SceneTree::submitVisibility);
    connect(this, &QTreeWidget::itemSelectionChanged, this, &SceneTree::submitSelection);
    connect(this, &QTreeWidget::itemSelectionChanged, this, &SceneTree::enableActions);
    connect(parts, &PartEdits::changed, this, [this](bool isStructure) {
        isStructure ? rebuildSoon() : refreshItems();
        enableActions();
    });
    rebuild();
    enableActions();
}

QAction* SceneTree::addPartAction(const char* name, const QString& text, const QKeySequence& key,
                                  void (SceneTree::*slot)())
{
    auto* action = new QAction(text, this);
    action->setObjectName(QLatin1String(name));
    action->setShortcut(key);
    connect(action, &QAction::triggered, this, slot);
    m_Actions << action;
    return action;
}

void SceneTree::createActions()
{
    const auto addSeparator = [this] { m_Actions << nullptr; };
    auto* stack = mp_Parts->getUndoStack();
    auto* undo = stack->createUndoAction(this, tr("&Undo"));
    undo->setObjectName(QStringLiteral("UndoAction"));
    undo->setShortcut(QKeySequence::Undo);
    auto* redo = stack->createRedoAction(this, tr("&Redo"));
    redo->setObjectName(QStringLiteral("RedoAction"));
    redo->setShortcut(QKeySequence::Redo);
    m_Actions << undo << redo;
    addSeparator();
    m_OfSelected << addPartAction("IsolateAction", tr("&Isolate"), Qt::Key_I, &SceneTree::isolateSelected)
                 << addPartAction("HideAction", tr("&Hide"), Qt::Key_H, &SceneTree::hideSelected);
    addPartAction("ShowAllAction", tr("Show &all"), Qt::SHIFT + Qt::Key_H, &SceneTree::showAll);
    addSeparator();
    m_OfSelected << addPartAction("PartColorAction", tr("&Colour ..."), {}, &SceneTree::chooseColor)
                 << addPartAction("PartOpacityAction", tr("&Opacity ..."), {}, &SceneTree::chooseOpacity)
                 << addPartAction("PartResetAction", tr("As in the &file"), {}, &SceneTree::resetSelected);
    addSeparator();
    mp_Remove = addPartAction("RemoveAction", tr("Re&move"), QKeySequence::Delete, &SceneTree::removeSelected);
    // Other lists have entries that this key removes.
    mp_Remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(mp_Remove);
    m_OfSelected << mp_Remove;
    mp_Restore = new QAction(tr("Re&store removed parts"), this);
    mp_Restore->setObjectName(QStringLiteral("RestorePartsAction"));
    connect(mp_Restore, &QAction::triggered, mp_Parts, &PartEdits::restoreRemoved);
    m_Actions << mp_Restore;
}

void SceneTree::addPartActions(QMenu* menu) const
{
    for (QAction* action : m_Actions)
        action ? menu->addAction(action) : void(menu->addSeparator());
}

void SceneTree::enableActions()
{
    const bool any = !selectedItems().isEmpty();
    for (QAction* action : m_OfSelected)
        action->setEnabled(any);
    mp_Restore->setEnabled(mp_Parts->hasRemoved());
}

void SceneTree::watchScene()
{
    auto* events = tov::events::EventHandler::getInstance();
    for (const char* name : {"SCENE_ELEMENT_ADDED", "SCENE_ELEMENT_REMOVED", "SCENE_ELEMENT_RENAMED"})
        EventManager::getInstance()->registerEventFunction(
            events->addEvent("Scene", name),
            [this](const tov::main::Event*) {
                // Events come on the thread that changed the scene.
                QMetaObject::invokeMethod(
                    this, [this] { rebuildSoon(); }, Qt::QueuedConnection);
            },
            static_cast<const void*>(this));
}

void SceneTree::submitVisibility(QTreeWidgetItem* item)
{
    SceneElement* element = elementOf(item);
    const bool isVisible = item->checkState(0) == Qt::Checked;
    // Not only the check box has changed, or the part is gone and the tree will soon be read again.
    if (m_Rebuilding || !elementsInScene().contains(element) || element->isVisible() == isVisible)
        return;
    mp_Parts->setVisible(item->isSelected() ? topmostSelected() : std::vector<SceneElement*>{element}, isVisible);
}

void SceneTree::submitSelection()
{
    if (m_Rebuilding)
        return;
    std::vector<std::pair<SceneElement*, bool>> states;
    for (QTreeWidgetItemIterator it(this); *it; ++it)
        states.emplace_back(elementOf(*it), (*it)->isSelected());
    mp_Edits->submit([states] {
        const auto present = elementsInScene();
        for (const auto& [element, selected] : states)
            if (present.contains(element))
                element->setSelected(selected);
    });
}

SceneTree::~SceneTree()
{
    EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<const void*>(this));
}

void SceneTree::rebuildSoon()
{
    if (m_RebuildPosted)
        return;
    m_RebuildPosted = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_RebuildPosted = false;
            rebuild();
        },
        Qt::QueuedConnection);
}

void SceneTree::rebuild()
{
    m_Rebuilding = true;
    // What the user has folded or unfolded stays so. The elements may be gone and are only compared.
    QHash<const SceneElement*, bool> expansions;
    for (QTreeWidgetItemIterator it(this); *it; ++it)
        expansions[elementOf(*it)] = (*it)->isExpanded();
    const int scrolled = verticalScrollBar()->value();
    clear();
    const auto scene = Viewer::getInstance()->getGlobalScene();
    scene->lock();
    if (auto* root = scene->getRootNode())
        for (auto* child : root->getChildren())
            addBelow(nullptr, child);
    scene->unlock();
    expandToDepth(1);
    for (QTreeWidgetItemIterator it(this); *it; ++it)
        if (const auto known = expansions.constFind(elementOf(*it)); known != expansions.constEnd())
            (*it)->setExpanded(*known);
    verticalScrollBar()->setValue(scrolled);
    m_Rebuilding = false;
    if (!m_Filter.isEmpty())
        setFilter(m_Filter);
    enableActions();
}

void SceneTree::addBelow(QTreeWidgetItem* parent, SceneElement* element)
{
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(this);
    item->setText(0, element->getName().isEmpty() ? tr("(no name)") : element->getName());
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setData(0, Qt::UserRole, QVariant::fromValue(static_cast<void*>(element)));
    item->setSelected(element->isSelected());
    refreshItem(item);
    for (auto* child : element->getChildren())
        addBelow(item, child);
}

void SceneTree::refreshItem(QTreeWidgetItem* item) const
{
    const SceneElement* element = elementOf(item);
    item->setCheckState(0, element->isVisible() ? Qt::Checked : Qt::Unchecked);
    const auto* shape = dynamic_cast<const GeometryElement*>(element);
    const auto color = shape ? shape->getColor() : std::nullopt;
    item->setData(0, Qt::DecorationRole, color ? QVariant(*color) : QVariant());
}

void SceneTree::refreshItems()
{
    m_Rebuilding = true;
    const auto present = elementsInScene();
    for (QTreeWidgetItemIterator it(this); *it; ++it)
        if (present.contains(elementOf(*it)))
            refreshItem(*it);
    m_Rebuilding = false;
}

std::vector<SceneElement*> SceneTree::topmostSelected() const
{
    std::vector<SceneElement*> selected;
    const auto present = elementsInScene();
    // A selected element below another selected one is changed with it.
    for (QTreeWidgetItem* item : selectedItems()) {
        bool covered = false;
        for (QTreeWidgetItem* above = item->parent(); above; above = above->parent())
            covered = covered || above->isSelected();
        if (!covered && present.contains(elementOf(item)))
            selected.push_back(elementOf(item));
    }
    return selected;
}

void SceneTree::isolateSelected()
{
    mp_Parts->isolate(topmostSelected());
}

void SceneTree::hideSelected()
{
    mp_Parts->setVisible(topmostSelected(), false);
}

void SceneTree::showAll()
{
    mp_Parts->showAll();
}

void SceneTree::removeSelected()
{
    mp_Parts->remove(topmostSelected());
}

void SceneTree::resetSelected()
{
    const auto selected = topmostSelected();
    mp_Parts->getUndoStack()->beginMacro(tr("colour and opacity of the file"));
    mp_Parts->setColor(selected, std::nullopt);
    mp_Parts->setOpacity(selected, 1);
    mp_Parts->getUndoStack()->endMacro();
}

void SceneTree::chooseColor()
{
    const auto shapes = PartEdits::shapesOf(topmostSelected());
    if (shapes.empty())
        return;
    const auto* first = static_cast<GeometryElement*>(shapes.front());
    const auto initial = first->getColor();
    const int gesture = mp_Parts->beginGesture();
    auto* dialog = new QColorDialog(initial.value_or(tov::scene::displayColor(*first->getMaterial())), this);
    dialog->setObjectName(QStringLiteral("PartColorDialog"));
    dialog->setWindowTitle(tr("Colour of the selected parts"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    const auto apply = [this, gesture](const QColor& color) { mp_Parts->setColor(topmostSelected(), color, gesture); };
    connect(dialog, &QColorDialog::currentColorChanged, this, apply);
    connect(dialog, &QColorDialog::colorSelected, this, apply);
    const int before = mp_Parts->getUndoStack()->index();
    connect(dialog, &QDialog::rejected, this, [this, before] {
        if (mp_Parts->getUndoStack()->index() > before)
            mp_Parts->getUndoStack()->undo();
    });
    dialog->open();
}

void SceneTree::chooseOpacity()
{
    const auto shapes = PartEdits::shapesOf(topmostSelected());
    if (shapes.empty())
        return;
    const double initial = double(static_cast<GeometryElement*>(shapes.front())->getOpacity());
    const int gesture = mp_Parts->beginGesture();
    auto* dialog = new QInputDialog(this);
    dialog->setObjectName(QStringLiteral("PartOpacityDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Opacity of the selected parts"));
    dialog->setLabelText(tr("Percent, 100 = opaque:"));
    dialog->setInputMode(QInputDialog::IntInput);
    dialog->setIntRange(0, 100);
    dialog->setIntStep(5);
    dialog->setIntValue(int(std::lround(initial * 100)));
    const int before = mp_Parts->getUndoStack()->index();
    connect(dialog, &QInputDialog::intValueChanged, this,
            [this, gesture](int percent) { mp_Parts->setOpacity(topmostSelected(), percent / 100.0, gesture); });
    connect(dialog, &QDialog::rejected, this, [this, before] {
        if (mp_Parts->getUndoStack()->index() > before)
            mp_Parts->getUndoStack()->undo();
    });
    dialog->open();
}

void SceneTree::setFilter(const QString& text)
{
    m_Filter = text.trimmed();
    for (int i = 0; i < topLevelItemCount(); ++i)
        applyFilter(topLevelItem(i));
}

bool SceneTree::applyFilter(QTreeWidgetItem* item) const
{
    bool shown = m_Filter.isEmpty() || item->text(0).contains(m_Filter, Qt::CaseInsensitive);
    for (int i = 0; i < item->childCount(); ++i)
        shown = applyFilter(item->child(i)) || shown;
    item->setHidden(!shown);
    if (shown && !m_Filter.isEmpty())
        item->setExpanded(true);
    return shown;
}

void SceneTree::selectElement(const SceneElement* element, bool adds)
{
    QTreeWidgetItem* item = nullptr;
    for (QTreeWidgetItemIterator it(this); *it && !item; ++it)
        if (elementOf(*it) == element)
            item = *it;
    if (adds) {
        if (item)
            item->setSelected(!item->isSelected());
    } else if (item) {
        setCurrentItem(item, 0, QItemSelectionModel::ClearAndSelect);
    } else {
        clearSelection();
    }
    if (item)
        scrollToItem(item);
}

void SceneTree::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("TreeMenu"));
    addPartActions(menu);
    menu->addSeparator();
    menu->addAction(tr("Fit to view"), this, &SceneTree::fitRequested);
    menu->popup(event->globalPos());
}

} // namespace tov::viewer
